#include "PictureNames.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "QXStillSource.h"
#include "support/LogCapture.h"

namespace
{

/// A table up to its null entry.
std::vector<std::string> Entries(const wchar_t* const* pp)
{
    std::vector<std::string> entries;
    for (; *pp != nullptr; pp++)
        entries.push_back(Utf8(*pp));
    return entries;
}

TEST(NameTables, KeepAspect)
{
    const std::vector<std::string> entries = Entries(arrKeepAspectNames);
    ASSERT_EQ(entries.size(), 4u);
    EXPECT_EQ(entries[eQGKA_Default], "default");
    EXPECT_EQ(entries[eQGKA_None], "none");
    EXPECT_EQ(entries[eQGKA_LetterBox], "letter-box");
    EXPECT_EQ(entries[eQGKA_Crop], "crop");
}

TEST(NameTables, FieldOrder)
{
    const std::vector<std::string> entries = Entries(arrInterlaceNames);
    ASSERT_EQ(entries.size(), 4u);
    EXPECT_EQ(entries[eQGI_Default], "auto");
    EXPECT_EQ(entries[eQGI_Field1First], "top");
    EXPECT_EQ(entries[eQGI_Field2First], "bottom");
    EXPECT_EQ(entries[eQGI_Progressive], "progressive");
}

TEST(NameTables, NetworkPrefix)
{
    EXPECT_EQ(Utf8(pszHttpPrefix), "http://");
}

struct FourccRow
{
    const wchar_t* pszName;
    DWORD fcc;
};

constexpr FourccRow arrRows[] = {
    {L"ARGB32", 0x773C9AC0}, {L"RGB32", 0xE436EB7E},  {L"RGB24", 0xE436EB7D}, {L"RGB565", 0xE436EB7B},
    {L"RGB555", 0xE436EB7C}, {L"RGB8", 0xE436EB7A},   {L"YUY2", 0x32595559},  {L"YVYU", 0x55595659},
    {L"UYVY", 0x59565955},   {L"YV12", 0x32315659},   {L"I420", 0x30323449},  {L"YVU9", 0x39555659},
    {L"argb32", 0x773C9AC0}, {L"rGb565", 0xE436EB7B}, {L"yuy2", 0x32595559},
};

TEST(FourccNames, Table)
{
    for (const FourccRow& row : arrRows)
    {
        DWORD fcc = 0;
        EXPECT_TRUE(FindFourccName(row.pszName, &lstrcmpiW, &fcc));
        EXPECT_EQ(fcc, row.fcc);
    }
}

TEST(FourccNames, OthersAreNotInTheTable)
{
    for (const wchar_t* psz :
         {L"", L"HDYC", L"v210", L"r210", L"NV12", L"RGB", L"RGB322", L"UYVY ", L"default"})
    {
        DWORD fcc = 0x12345678;
        EXPECT_FALSE(FindFourccName(psz, &lstrcmpiW, &fcc));
        EXPECT_EQ(fcc, 0x12345678u);
    }
}

std::vector<std::string> g_compared;

int WINAPI RecordCompare(LPCWSTR, LPCWSTR pszRow)
{
    g_compared.push_back(Utf8(pszRow));
    return 1;
}

TEST(FourccNames, ComparedInOrder)
{
    g_compared.clear();
    DWORD fcc = 0;
    EXPECT_FALSE(FindFourccName(L"x", &RecordCompare, &fcc));
    ASSERT_EQ(g_compared.size(), 12u);
    for (size_t i = 0; i < g_compared.size(); i++)
        EXPECT_EQ(g_compared[i], Utf8(arrRows[i].pszName)) << i;
}

TEST(FourccBytes, FirstFour)
{
    EXPECT_EQ(FourccFromBytes("HDYC", 4), 0x43594448u);
    EXPECT_EQ(FourccFromBytes("v210", 4), 0x30313276u);
    EXPECT_EQ(FourccFromBytes("r210xyz", 7), 0x30313272u);
    EXPECT_EQ(FourccFromBytes("\xFF\xFE\xFD\xFC", 4), 0xFCFDFEFFu);
}

TEST(FourccBytes, ShorterOnesEndInZeroBytes)
{
    EXPECT_EQ(FourccFromBytes("", 0), 0u);
    EXPECT_EQ(FourccFromBytes("A", 1), 0x41u);
    EXPECT_EQ(FourccFromBytes("AB", 2), 0x4241u);
    EXPECT_EQ(FourccFromBytes("ABC", 3), 0x434241u);
    EXPECT_EQ(FourccFromBytes("ABCD", 3), 0x434241u);
}

} // namespace

namespace
{

TEST(Resources, ByPictureAndHeight)
{
    struct
    {
        LONG nPictureId, nHeight;
        UINT nResource;
    } const rows[] = {
        {-2, 480, 115},     {-2, 1, 115},     {-2, -1080, 115}, {-2, 481, 116},  {-2, 486, 116},
        {-2, 487, 117},     {-2, 576, 117},   {-2, 577, 118},   {-2, 720, 118},  {-2, 721, 119},
        {-2, INT_MAX, 119}, {-1, 719, 107},   {-1, 720, 108},   {-1, 1080, 108}, {-1, 0, 107},
        {-1, -1080, 107},   {107, 1080, 107}, {108, 100, 108},  {109, 576, 109}, {110, 576, 110},
        {4711, 576, 4711},
    };
    for (const auto& row : rows)
        EXPECT_EQ(FindResourceNumber(row.nPictureId, row.nHeight), row.nResource)
            << row.nPictureId << " " << row.nHeight;
}

} // namespace
