// What the library knows about each format code.
#include "ImageTest.h"

namespace
{

struct FormatRow
{
    const char* pszName;
    DWORD fccType;
    DWORD dwValue;
    bool bYUV;
    bool bPlanar;
    DWORD dwBitCount;
};

constexpr FormatRow arrRows[] = {
    {"RGB8", FOURCC_RGB8, 0xE436EB7A, false, false, 8},
    {"RGB565", FOURCC_RGB565, 0xE436EB7B, false, false, 16},
    {"RGB555", FOURCC_RGB555, 0xE436EB7C, false, false, 16},
    {"RGB24", FOURCC_RGB24, 0xE436EB7D, false, false, 24},
    {"RGB32", FOURCC_RGB32, 0xE436EB7E, false, false, 32},
    {"ARGB32", FOURCC_ARGB32, 0x773C9AC0, false, false, 32},
    {"YUY2", FOURCC_YUY2, 0x32595559, true, false, 16},
    {"UYVY", FOURCC_UYVY, 0x59565955, true, false, 16},
    {"HDYC", FOURCC_HDYC, 0x43594448, true, false, 16},
    {"YVYU", FOURCC_YVYU, 0x55595659, true, false, 16},
    {"I420", FOURCC_I420, 0x30323449, true, true, 12},
    {"YV12", FOURCC_YV12, 0x32315659, true, true, 12},
};

TEST(Formats, EveryUsableFormatHasItsFacts)
{
    for (const FormatRow& row : arrRows)
    {
        SCOPED_TRACE(row.pszName);
        EXPECT_EQ(row.fccType, row.dwValue);
        const PicProps pic = {row.fccType, 16, 8, 0};
        bool bYUV = !row.bYUV;
        bool bPlanar = !row.bPlanar;
        DWORD dwBitCount = 99;
        AssertCapture asserts;
        EXPECT_TRUE(GetPicFormat(&pic, &bYUV, &bPlanar, &dwBitCount));
        EXPECT_EQ(bYUV, row.bYUV);
        EXPECT_EQ(bPlanar, row.bPlanar);
        EXPECT_EQ(dwBitCount, row.dwBitCount);
        EXPECT_EQ(GetBitCount(row.fccType), row.dwBitCount);
        EXPECT_TRUE(GetPicFormat(&pic, nullptr, nullptr, nullptr));
        EXPECT_EQ(asserts.Texts(), Texts{});
    }
}

TEST(Formats, OtherCodesAreRefusedAndNothingIsWritten)
{
    for (const DWORD fccType : arrRefusedFormats)
    {
        const PicProps pic = {fccType, 16, 8, 0};
        SCOPED_TRACE(Str(pic));
        bool bYUV = true;
        bool bPlanar = true;
        DWORD dwBitCount = 99;
        AssertCapture asserts;
        EXPECT_FALSE(GetPicFormat(&pic, &bYUV, &bPlanar, &dwBitCount));
        EXPECT_TRUE(bYUV);
        EXPECT_TRUE(bPlanar);
        EXPECT_EQ(dwBitCount, 99u);
        EXPECT_EQ(asserts.Texts(), Texts{});
    }
}

TEST(Formats, BitCountsOfAllKnownCodes)
{
    constexpr struct
    {
        DWORD fccType;
        DWORD dwBitCount;
    } arrBits[] = {{FOURCC_v210, 20},
                   {FOURCC_r210, 32},
                   {FOURCC_NV12, 16},
                   {FOURCC_Y422, 16},
                   {FOURCC_Y444, 24},
                   {FOURCC_IYU2, 24},
                   {FOURCC_YVU9, 9},
                   {0, 0},
                   {1, 0},
                   {0xFFFFFFFF, 0},
                   {0xE436EB79, 0},
                   {0xE436EB7F, 0}};
    for (const auto& bits : arrBits)
        EXPECT_EQ(GetBitCount(bits.fccType), bits.dwBitCount) << std::hex << bits.fccType;
}

TEST(Formats, NullAndShortRowAssert)
{
    AssertCapture asserts;
    EXPECT_FALSE(GetPicFormat(nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(asserts.Texts(), Texts{"_pProps != NULL"});

    asserts.Clear();
    const PicProps picShort = {FOURCC_RGB32, 16, 8, 15};
    EXPECT_FALSE(GetPicFormat(&picShort, nullptr, nullptr, nullptr));
    EXPECT_EQ(asserts.Texts(), Texts{"_pProps->nRowWidth == 0 || _pProps->nRowWidth >= _pProps->nWidth"});

    asserts.Clear();
    const PicProps picNegative = {FOURCC_RGB32, 16, 8, -16};
    EXPECT_FALSE(GetPicFormat(&picNegative, nullptr, nullptr, nullptr));
    EXPECT_EQ(asserts.Texts().size(), 1u);
}

TEST(Formats, OddWidthsAreForRGBOnly)
{
    constexpr LONG arrSizes[][2] = {{15, 0}, {15, 16}, {16, 17}, {15, 17}};
    for (const FormatRow& row : arrRows)
    {
        for (const auto& arrSize : arrSizes)
        {
            const PicProps pic = {row.fccType, arrSize[0], 7, arrSize[1]};
            SCOPED_TRACE(Str(pic));
            EXPECT_EQ(GetPicFormat(&pic, nullptr, nullptr, nullptr), !row.bYUV);
        }
        const PicProps picOddHeight = {row.fccType, 16, 7, 18};
        EXPECT_TRUE(GetPicFormat(&picOddHeight, nullptr, nullptr, nullptr));
    }
}

TEST(Formats, IsRGBFormat)
{
    for (const DWORD fccType :
         {FOURCC_r210, FOURCC_ARGB32, FOURCC_RGB8, FOURCC_RGB565, FOURCC_RGB555, FOURCC_RGB24, FOURCC_RGB32})
        EXPECT_TRUE(IsRGBFormat(fccType)) << std::hex << fccType;
    for (const DWORD fccType : {FOURCC_YUY2, FOURCC_UYVY, FOURCC_HDYC, FOURCC_YVYU, FOURCC_I420, FOURCC_YV12,
                                FOURCC_YVU9, FOURCC_IYU2, FOURCC_NV12, FOURCC_Y422, FOURCC_Y444, FOURCC_v210})
        EXPECT_FALSE(IsRGBFormat(fccType)) << std::hex << fccType;
    for (const DWORD fccType : {0u, 1u, 0xFFFFFFFFu, 0xE436EB79u, 0xE436EB7Fu, 0x773C9AC1u})
        EXPECT_FALSE(IsRGBFormat(fccType)) << std::hex << fccType;
}

TEST(Formats, Is10Bit)
{
    AssertCapture asserts;
    EXPECT_TRUE(Is10Bit(FOURCC_v210));
    EXPECT_TRUE(Is10Bit(FOURCC_r210));
    for (const DWORD fccType : {FOURCC_I420, FOURCC_NV12, FOURCC_YV12, FOURCC_Y422, FOURCC_IYU2, FOURCC_YUY2,
                                FOURCC_Y444, FOURCC_HDYC, FOURCC_UYVY, FOURCC_YVYU, FOURCC_ARGB32,
                                FOURCC_RGB8, FOURCC_RGB565, FOURCC_RGB555, FOURCC_RGB24, FOURCC_RGB32})
        EXPECT_FALSE(Is10Bit(fccType)) << std::hex << fccType;
    EXPECT_EQ(asserts.Texts(), Texts{});

    for (const DWORD fccType : {DWORD{FOURCC_YVU9}, DWORD{0}, DWORD{0xFFFFFFFF}})
    {
        asserts.Clear();
        EXPECT_FALSE(Is10Bit(fccType));
        EXPECT_EQ(asserts.Texts(), Texts{"Is10Bit(): unknown FOURCC code"});
    }
}

} // namespace
