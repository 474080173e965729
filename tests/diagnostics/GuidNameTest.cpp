// Names of identifiers: the table, tags of sound, codes of four characters.
#include "diagnostics/GuidRows.h"
#include "dstl/dshowx/dumps/GuidNames.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace
{

GUID FromText(const char* psz)
{
    unsigned d1 = 0, d2 = 0, d3 = 0;
    unsigned d4[8] = {};
    EXPECT_EQ(sscanf(psz, "{%8x-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x}", &d1, &d2, &d3, &d4[0], &d4[1], &d4[2],
                     &d4[3], &d4[4], &d4[5], &d4[6], &d4[7]),
              11)
        << psz;
    GUID guid = {};
    guid.Data1 = d1;
    guid.Data2 = static_cast<unsigned short>(d2);
    guid.Data3 = static_cast<unsigned short>(d3);
    std::copy(std::begin(d4), std::end(d4), guid.Data4);
    return guid;
}

GUID Family(DWORD dwValue)
{
    GUID guid = FromText("{00000000-0000-0010-8000-00AA00389B71}");
    guid.Data1 = dwValue;
    return guid;
}

std::string Name(const GUID& guid, size_t nMaxSym = cchGuidName)
{
    std::vector<wchar_t> buffer(nMaxSym + 8, wchar_t(0xA5A5));
    EXPECT_EQ(Guid2Name(guid, buffer.data(), nMaxSym), buffer.data());
    EXPECT_TRUE(std::all_of(buffer.begin() + static_cast<ptrdiff_t>(nMaxSym), buffer.end(),
                            [](wchar_t ch) { return ch == 0xA5A5; }));
    return Utf8(buffer.data());
}

/// Many threads may come first at once: each finds the table sorted. The first test of the program.
TEST(GuidNames, ThreadsMayComeFirstTogether)
{
    std::vector<std::thread> threads;
    std::vector<int> arrFound(8);
    for (int& nFound : arrFound)
    {
        threads.emplace_back(
            [&nFound]
            {
                for (const GuidRow& row : rgGuidRows)
                    nFound += Utf8(GuidTableName(FromText(row.pszGuid))) == row.pszName;
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const int nFound : arrFound)
        EXPECT_EQ(nFound, 280);
}

TEST(GuidNames, EveryRow)
{
    ASSERT_EQ(std::size(rgGuidRows), 280u); // of 283 names three have no published value
    AssertCapture asserts;
    std::set<std::string> names;
    for (const GuidRow& row : rgGuidRows)
    {
        const GUID guid = FromText(row.pszGuid);
        EXPECT_EQ(Utf8(GuidTableName(guid)), row.pszName) << row.pszGuid;
        EXPECT_EQ(Name(guid), row.pszName) << row.pszGuid;
        wchar_t sz[cchGuidText];
        EXPECT_EQ(Utf8(GuidText(guid, sz)), row.pszGuid);
        names.insert(row.pszName);
    }
    EXPECT_EQ(names.size(), 280u);
    EXPECT_TRUE(asserts.Texts().empty());
}

TEST(GuidNames, TheTableHasTheseRowsAndNoOthersAndIsSorted)
{
    GuidTableName(GUID_NULL);
    EXPECT_EQ(g_GuidNames.cElems, 280u);
    EXPECT_EQ(g_GuidNames.pNext, nullptr);
    std::set<std::string> expected;
    for (const GuidRow& row : rgGuidRows)
        expected.insert(row.pszName);
    std::set<std::string> names;
    for (DWORD i = 0; i < g_GuidNames.cElems; i++)
    {
        names.insert(Utf8(g_GuidNames.pGuidName[i].pszName));
        if (i > 0)
        {
            EXPECT_LT(
                memcmp(g_GuidNames.pGuidName[i - 1].pGuid, g_GuidNames.pGuidName[i].pGuid, sizeof(GUID)), 0);
        }
    }
    EXPECT_EQ(names, expected);
    for (const char* pszName : {"WMP DMO Container", "WME Sink (?\?\?)", "Still Video Source"})
        EXPECT_EQ(names.count(pszName), 0u);
}

TEST(GuidNames, AnAbsentIdentifierHasAnEmptyTableName)
{
    EXPECT_EQ(Utf8(GuidTableName(FromText("{00000000-0000-0000-0000-000000000001}"))), "");
    EXPECT_EQ(Utf8(GuidTableName(FromText("{FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF}"))), "");
    EXPECT_EQ(Utf8(GuidTableName(Family(0x55))), "");
}

TEST(GuidNames, WithoutATableName)
{
    struct
    {
        GUID guid;
        const char* pszName;
    } const rgRows[] = {
        {Family(0), "TAG_0x0"},
        {Family(0x54), "TAG_0x54"},
        {Family(0x55), "TAG_0x55(MP3)"},
        {Family(0x56), "TAG_0x56"},
        {Family(0x161), "TAG_0x161"},
        {Family(0xFFFE), "TAG_0xFFFE"},
        // This one is no tag, and its characters cannot be printed.
        {Family(0xFFFF), "{0000FFFF-0000-0010-8000-00AA00389B71}"},
        {Family(0x10000), "{00010000-0000-0010-8000-00AA00389B71}"},
        {Family(0x32315659), "MEDIASUBTYPE_YV12"}, // the table comes first
        {Family(0x32595559), "MEDIASUBTYPE_YUY2"},
        {Family(1), "MEDIASUBTYPE_PCM"},
        {Family(0x3231564E), "FCC_NV12"},
        {Family(0x30313276), "FCC_v210"},
        {Family(0x43594448), "FCC_HDYC"},
        {Family(0x7E7E2020), "FCC_  ~~"},
        {Family(0x7F595559), "{7F595559-0000-0010-8000-00AA00389B71}"},
        {Family(0x1F595559), "{1F595559-0000-0010-8000-00AA00389B71}"},
        // Outside the family by one bit at each of its ends.
        {FromText("{00000055-0001-0010-8000-00AA00389B71}"), "{00000055-0001-0010-8000-00AA00389B71}"},
        {FromText("{3231564E-0000-0010-8000-00AA00389B70}"), "{3231564E-0000-0010-8000-00AA00389B70}"},
        {FromText("{0123ABCD-00EF-4567-8900-0ABCDEF00102}"), "{0123ABCD-00EF-4567-8900-0ABCDEF00102}"},
    };
    for (const auto& row : rgRows)
        EXPECT_EQ(Name(row.guid), row.pszName);
}

TEST(GuidNames, ATextThatIsTooLongIsCut)
{
    const std::string sTable = "MEDIASUBTYPE_YV12"; // 17 characters
    for (const size_t nMax : {1u, 2u, 16u, 17u, 18u, 19u, 128u})
        EXPECT_EQ(Name(Family(0x32315659), nMax), sTable.substr(0, nMax - 1)) << nMax;
    const std::string sUsual = "{0123ABCD-00EF-4567-8900-0ABCDEF00102}"; // 38 characters
    for (const size_t nMax : {1u, 37u, 38u, 39u, 40u})
        EXPECT_EQ(Name(FromText(sUsual.c_str()), nMax), sUsual.substr(0, nMax - 1)) << nMax;
    EXPECT_EQ(Name(Family(0x55), 9), "TAG_0x55");
    EXPECT_EQ(Name(Family(0x3231564E), 5), "FCC_");
}

TEST(GuidNames, NoBufferOrRoom)
{
    AssertCapture asserts;
    wchar_t sz[2] = L"x";
    EXPECT_EQ(Guid2Name(GUID_NULL, nullptr, 10), nullptr);
    EXPECT_EQ(Guid2Name(GUID_NULL, sz, 0), nullptr);
    EXPECT_EQ(Guid2Name(GUID_NULL, nullptr, 0), nullptr);
    EXPECT_EQ(Utf8(sz), "x");
    EXPECT_EQ(asserts.Texts(),
              (std::vector<std::string>{"pszName != NULL", "nMaxSym > 0", "pszName != NULL", "nMaxSym > 0"}));
}

} // namespace
