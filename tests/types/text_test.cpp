// Text makers: times, media times, format codes, identifiers.

#include "dstl/dshowx/DSParsers.h"
#include "dstl/dshowx/DSTrace.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <iterator>

namespace
{
struct TextRow
{
    LONGLONG nValue;
    const char* pszText;
};

const TextRow rgRefTimes[] = {
    {0, "0.000"},
    {1, "0.000'0001"},
    {-1, "-0.000'0001"},
    {9999, "0.000'9999"},
    {-9999, "-0.000'9999"},
    {10000, "0.001"},
    {-10000, "-0.001"},
    {-10001, "-0.001'0001"},
    {400000, "0.040"},
    {333667, "0.033'3667"},
    {9999999, "0.999'9999"},
    {-9999999, "-0.999'9999"},
    {-9990000, "-0.999"},
    {10000000, "1.000"},
    {-10000000, "-1.000"},
    {-10000001, "-1.000'0001"},
    {12345678, "1.234'5678"},
    {-12345678, "-1.234'5678"},
    {36000000000, "3600.000"},
    {9999999999999999, "999999999.999'9999"},
    {10000000000000000, "1000000000.000"},
    {-10000000000000000, "-1000000000.000"},
    {10000000000000001, "1000000000.000'0001"},
    {10000000010000000, "1000000001.000"},
    {-10000000012345678, "-1000000001.234'5678"},
    {LLONG_MAX - 1, "922337203685.477'5806"},
    {LLONG_MIN + 1, "-922337203685.477'5807"},
    {LLONG_MAX, "*"},
    {LLONG_MIN, "-"},
};

const TextRow rgMediaTimes[] = {
    {0, "0"},
    {1, "1"},
    {-1, "-1"},
    {999, "999"},
    {1000, "1 000"},
    {-1000, "-1 000"},
    {1001, "1 001"},
    {12345678, "12 345 678"},
    {1000000, "1 000 000"},
    {1000000000000000000, "1 000 000 000 000 000 000"},
    {LLONG_MAX, "9 223 372 036 854 775 807"},
    {LLONG_MIN + 1, "-9 223 372 036 854 775 807"},
};

struct CodeRow
{
    DWORD dwCode;
    const char* pszName;
};

const CodeRow rgCompressions[] = {
    {0, "BI_RGB"},
    {1, "BI_RLE8"},
    {2, "BI_RLE4"},
    {3, "BI_BITFIELDS"},
    {0xE436EB78, "RGB1"},
    {0xE436EB79, "RGB4"},
    {0xE436EB7A, "RGB8"},
    {0xE436EB7B, "RGB565"},
    {0xE436EB7C, "RGB555"},
    {0xE436EB7D, "RGB24"},
    {0xE436EB7E, "RGB32"},
    {0x297C55AF, "ARGB1555"},
    {0x6E6415E6, "ARGB4444"},
    {0x773C9AC0, "ARGB32"},
};

/// A buffer that shows what was written beyond the terminator.
template <size_t cch>
struct GuardedText
{
    static constexpr wchar_t chGuard = 0xA5A5;
    wchar_t sz[cch + 8];

    GuardedText() { std::fill(std::begin(sz), std::end(sz), chGuard); }
    bool Intact() const
    {
        return std::all_of(sz + cch, std::end(sz), [](wchar_t ch) { return ch == chGuard; });
    }
};
} // namespace

TEST(RefTimeText, Values)
{
    for (const TextRow& row : rgRefTimes)
    {
        GuardedText<cchTimeText> text;
        EXPECT_EQ(RefTimeText(row.nValue, text.sz), text.sz);
        EXPECT_EQ(Utf8(text.sz), row.pszText) << row.nValue;
        EXPECT_TRUE(text.Intact()) << row.nValue;
    }
}

TEST(MediaTimeText, Values)
{
    for (const TextRow& row : rgMediaTimes)
    {
        GuardedText<cchTimeText> text;
        EXPECT_EQ(MediaTimeText(row.nValue, text.sz), text.sz);
        EXPECT_EQ(Utf8(text.sz), row.pszText) << row.nValue;
        EXPECT_TRUE(text.Intact()) << row.nValue;
    }
}

TEST(MediaTimeText, LowestValueIsLiteral)
{
    wchar_t sz[cchTimeText] = L"untouched";
    const wchar_t* psz = MediaTimeText(LLONG_MIN, sz);
    EXPECT_NE(psz, sz);
    EXPECT_EQ(Utf8(psz), "MINLONGLONG");
    EXPECT_EQ(Utf8(sz), "untouched");
}

TEST(Fourcc2Str, Characters)
{
    struct
    {
        DWORD dwCode;
        const char* pszText;
    } const rgRows[] = {
        {0x32595559, "YUY2"},
        {0x30313276, "v210"},
        {0x43594448, "HDYC"},
        {0x20203859, "Y8  "},
        {0x7E7E7E7E, "~~~~"},
        {0x1F595559, ""},
        {0x327F5559, ""},
        {0x32598059, ""},
        {0x325955FF, ""},
        {0x00595559, ""},
        {0, ""},
        {0xE436EB7E, ""},
    };
    for (const auto& row : rgRows)
    {
        GuardedText<cchFourccStr> text;
        EXPECT_EQ(Fourcc2Str(row.dwCode, text.sz), text.sz);
        EXPECT_EQ(Utf8(text.sz), row.pszText) << std::hex << row.dwCode;
        EXPECT_TRUE(text.Intact());
    }
}

TEST(Fourcc2Name, EveryRow)
{
    ASSERT_EQ(std::size(rgCompressions), 14u);
    for (const CodeRow& row : rgCompressions)
    {
        GuardedText<cchFourccName> text;
        EXPECT_EQ(Fourcc2Name(row.dwCode, text.sz), text.sz);
        EXPECT_EQ(Utf8(text.sz), row.pszName);
        EXPECT_TRUE(text.Intact());
    }
}

TEST(Fourcc2Name, CharactersFirstThenNumber)
{
    wchar_t sz[cchFourccName];
    EXPECT_EQ(Utf8(Fourcc2Name(0x59565955, sz)), "UYVY");
    EXPECT_EQ(Utf8(Fourcc2Name(0x30313272, sz)), "r210");
    EXPECT_EQ(Utf8(Fourcc2Name(4, sz)), "0x4");
    EXPECT_EQ(Utf8(Fourcc2Name(0xE436EB7F, sz)), "0xE436EB7F");
    EXPECT_EQ(Utf8(Fourcc2Name(0xFFFFFFFF, sz)), "0xFFFFFFFF");
    EXPECT_EQ(Utf8(Fourcc2Name(0x00595559, sz)), "0x595559");
}

TEST(GuidText, UsualForm)
{
    const GUID guid = {0x0123ABCD, 0x00EF, 0x4567, {0x89, 0x00, 0x0A, 0xBC, 0xDE, 0xF0, 0x01, 0x02}};
    GuardedText<cchGuidText> text;
    EXPECT_EQ(GuidText(guid, text.sz), text.sz);
    EXPECT_EQ(Utf8(text.sz), "{0123ABCD-00EF-4567-8900-0ABCDEF00102}");
    EXPECT_TRUE(text.Intact());
}

TEST(TextMakers, NoBuffer)
{
    AssertCapture asserts;
    EXPECT_EQ(RefTimeText(0, nullptr), nullptr);
    EXPECT_EQ(MediaTimeText(0, nullptr), nullptr);
    EXPECT_EQ(Fourcc2Str(0, nullptr), nullptr);
    EXPECT_EQ(Fourcc2Name(0, nullptr), nullptr);
    EXPECT_EQ(GuidText(GUID_NULL, nullptr), nullptr);
    const std::vector<std::string> expected = {"pszConv != NULL", "pszConv != NULL", "pszFCC != NULL",
                                               "pszFCC != NULL", "pszName != NULL"};
    EXPECT_EQ(asserts.Texts(), expected);
}
