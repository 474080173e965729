// The table of video formats and the ways between code and size, bitmap header and media type.

#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/DSVideo.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

namespace
{
using Texts = std::vector<std::string>;

constexpr LONG nLowest = std::numeric_limits<LONG>::min();
constexpr LONG nHighest = std::numeric_limits<LONG>::max();

struct Row
{
    GUID guid;
    DWORD dwCode;
    int nBits, nHorz, nVert;
    int arrOffset[3], arrStep[3];
    int nPlanar, nYUV;
};

constexpr GUID Tail(DWORD dwFirst)
{
    return {dwFirst, 0, 0x10, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}};
}

constexpr GUID Rgb(DWORD dwFirst)
{
    return {dwFirst, 0x524F, 0x11CE, {0x9F, 0x53, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70}};
}

constexpr GUID guidArgb32 = {0x773C9AC0, 0x3274, 0x11D0, {0xB7, 0x24, 0x00, 0xAA, 0x00, 0x6C, 0x1A, 0x01}};

const Row rgRows[] = {
    {Tail(0x32595559), 0x32595559, 16, 2, 1, {0, 1, 3}, {2, 4, 4}, 0, 1}, // YUY2
    {Tail(0x59565955), 0x59565955, 16, 2, 1, {1, 0, 2}, {2, 4, 4}, 0, 1}, // UYVY
    {Tail(0x32315659), 0x32315659, 12, 2, 2, {0, 0, 0}, {1, 1, 1}, 1, 1}, // YV12
    {Tail(0x55595659), 0x55595659, 16, 2, 1, {0, 3, 1}, {2, 4, 4}, 0, 1}, // YVYU
    {Tail(0x30323449), 0x30323449, 12, 2, 2, {0, 0, 0}, {1, 1, 1}, 1, 1}, // I420
    {Tail(0x32555949), 0x32555949, 24, 1, 1, {2, 1, 0}, {3, 3, 3}, 0, 1}, // IYU2
    {Rgb(0xE436EB7E), 0xE436EB7E, 32, 1, 1, {2, 1, 0}, {4, 4, 4}, 0, 0},  // RGB32
    {guidArgb32, 0x773C9AC0, 32, 1, 1, {2, 1, 0}, {4, 4, 4}, 0, 0},       // ARGB32
    {Rgb(0xE436EB7D), 0xE436EB7D, 24, 1, 1, {2, 1, 0}, {3, 3, 3}, 0, 0},  // RGB24
    {Rgb(0xE436EB7B), 0xE436EB7B, 16, 1, 1, {1, 0, 0}, {2, 2, 2}, 0, 0},  // RGB565
    {Rgb(0xE436EB7C), 0xE436EB7C, 16, 1, 1, {1, 0, 0}, {2, 2, 2}, 0, 0},  // RGB555
    {Tail(0x43594448), 0x43594448, 16, 2, 1, {1, 0, 2}, {2, 4, 4}, 0, 1}, // HDYC
    {Tail(0x30313276), 0x30313276, 20, 2, 1, {1, 0, 2}, {2, 4, 4}, 0, 1}, // v210
    {Tail(0x30313272), 0x30313272, 32, 1, 1, {0, 1, 2}, {4, 4, 4}, 0, 0}, // r210
    {Tail(0x3231564E), 0x3231564E, 12, 2, 2, {0, 0, 0}, {1, 1, 1}, 1, 1}, // NV12
};

const DWORD fccUnknown = 0x31313131;

/// Bytes of a row for widths that need no rounding of their own, reckoned independently.
DWORD ExpectedRow(const Row& row, LONG nWidth)
{
    if (row.nPlanar)
        return nWidth;
    if (row.dwCode == FOURCC_v210)
        return (nWidth + 47) / 48 * 128;
    if (row.dwCode == FOURCC_r210)
        return (nWidth + 63) / 64 * 256;
    return (nWidth * row.nBits / 8 + 3) / 4 * 4;
}

DWORD ExpectedImage(const Row& row, LONG nWidth, LONG nHeight)
{
    const LONG nRows = std::abs(nHeight);
    DWORD cb = ExpectedRow(row, nWidth) * nRows;
    if (row.nPlanar)
        cb += (nWidth / row.nHorz) * (nRows / row.nVert) * 2;
    return cb;
}

const MediaFormat& Entry(DWORD dwCode)
{
    return rgFormat[FindFormat(dwCode)];
}

/// A type with a block of the test's own, which sanitizers see the ends of.
struct TestType
{
    std::vector<BYTE> arrBlock;
    AM_MEDIA_TYPE mt = {};

    TestType(const GUID& guidFormat, size_t cbBlock, const GUID& guidSub, LONG nRowWidth, LONG nHeight,
             RECT rcTarget = {})
        : arrBlock(cbBlock)
    {
        mt.majortype = MEDIATYPE_Video;
        mt.subtype = guidSub;
        mt.formattype = guidFormat;
        mt.cbFormat = static_cast<ULONG>(cbBlock);
        mt.pbFormat = arrBlock.data();
        BITMAPINFOHEADER bmiHeader = {};
        bmiHeader.biSize = sizeof(bmiHeader);
        bmiHeader.biWidth = nRowWidth;
        bmiHeader.biHeight = nHeight;
        const size_t nShift = guidFormat == FORMAT_VideoInfo2 ? 72 : 48;
        if (cbBlock >= nShift + sizeof(bmiHeader))
        {
            memcpy(arrBlock.data() + 16, &rcTarget, sizeof(rcTarget));
            memcpy(arrBlock.data() + nShift, &bmiHeader, sizeof(bmiHeader));
        }
    }
};

struct BothFormats
{
    const GUID& guid;
    size_t cbBlock;
    const char* pszShort;
};

const BothFormats rgBothFormats[] = {
    {FORMAT_VideoInfo, 88, "pmt->cbFormat >= sizeof(VIDEOINFOHEADER)"},
    {FORMAT_VideoInfo2, 112, "pmt->cbFormat >= sizeof(VIDEOINFOHEADER2)"},
};

const LONG nKept = -12345;
} // namespace

static_assert(static_cast<ULONG>(VFW_E_INVALID_MEDIA_TYPE) == 0x80040248);

TEST(FormatTable, EveryRow)
{
    ASSERT_EQ(nMediaFormats, 15);
    ASSERT_EQ(std::size(rgRows), 15u);
    for (int i = 0; i < nMediaFormats; ++i)
    {
        const MediaFormat& entry = rgFormat[i];
        const Row& row = rgRows[i];
        EXPECT_TRUE(*entry.pSubtype == row.guid) << i;
        EXPECT_EQ(entry.Code(), row.dwCode) << i;
        EXPECT_EQ(entry.nBitCount, row.nBits) << i;
        EXPECT_EQ(entry.nHorzYtoUV, row.nHorz) << i;
        EXPECT_EQ(entry.nVertYtoUV, row.nVert) << i;
        for (int j = 0; j < 3; ++j)
        {
            EXPECT_EQ(entry.arrOffset[j], row.arrOffset[j]) << i;
            EXPECT_EQ(entry.arrStep[j], row.arrStep[j]) << i;
        }
        EXPECT_EQ(entry.bPlanar, row.nPlanar) << i;
        EXPECT_EQ(entry.bYUV, row.nYUV) << i;
        EXPECT_EQ(FindFormat(row.dwCode), i);
        EXPECT_EQ(FindSubtype(row.guid), i);
        EXPECT_EQ(IsRGBFormat(row.dwCode), row.nYUV == 0) << i;
    }
}

TEST(FormatTable, Unknown)
{
    EXPECT_EQ(FindFormat(0), -1);
    EXPECT_EQ(FindFormat(fccUnknown), -1);
    EXPECT_EQ(FindFormat(FOURCC_YVU9), -1);
    EXPECT_EQ(FindFormat(FOURCC_RGB8), -1);
    EXPECT_EQ(FindSubtype(GUID_NULL), -1);
    EXPECT_EQ(FindSubtype(Tail(0xE436EB7E)), -1); // the code is right, the tail is not
    EXPECT_EQ(FindSubtype(Rgb(0x32595559)), -1);
}

TEST(CheckSize, Values)
{
    struct
    {
        DWORD dwCode;
        LONG nWidth, nHeight, nRowWidth;
        int nExpected;
    } const rgCases[] = {
        {FOURCC_YUY2, 720, 576, 0, 0},
        {FOURCC_YUY2, 720, 576, 720, 0},
        {FOURCC_YUY2, 720, 576, 736, 0},
        {FOURCC_YUY2, 721, 576, 0, -1},
        {FOURCC_YUY2, 720, 576, 719, -1},
        {FOURCC_YUY2, 720, 576, 721, -1},
        {FOURCC_YUY2, 720, 577, 0, 0},
        {FOURCC_I420, 720, 577, 0, -1},
        {FOURCC_I420, 720, -577, 0, -1},
        {FOURCC_I420, 720, -576, 0, 4},
        {FOURCC_I420, 720, 576, 0, 4},
        {FOURCC_I420, 721, 576, 0, -1},
        {FOURCC_YUY2, 0, 576, 0, -1},
        {FOURCC_YUY2, 720, 0, 0, -1},
        {FOURCC_YUY2, 0, 576, 720, -1},
        {fccUnknown, 720, 576, 0, -1},
        {0, 720, 576, 0, -1},
        {FOURCC_RGB24, 1, 1, 0, 8},
        {FOURCC_RGB24, 721, -577, 723, 8},
        {FOURCC_RGB24, 721, 577, 720, -1},
        {FOURCC_RGB32, nHighest, nLowest, 0, 6},
        {FOURCC_YV12, 2, nLowest, 0, 2},
        {FOURCC_YV12, 2, nHighest, 0, -1},
        {FOURCC_NV12, 2, 2, 2, 14},
        {FOURCC_v210, 6, 1, 0, 12},
        {FOURCC_v210, 5, 1, 0, -1},
        {FOURCC_r210, 5, 1, 0, 13},
    };
    for (const auto& row : rgCases)
        EXPECT_EQ(CheckSize(row.dwCode, row.nWidth, row.nHeight, row.nRowWidth), row.nExpected)
            << std::hex << row.dwCode << std::dec << ' ' << row.nWidth << ' ' << row.nHeight << ' '
            << row.nRowWidth;
}

TEST(CheckSize, EveryFormat)
{
    for (int i = 0; i < nMediaFormats; ++i)
        for (LONG nWidth = 1; nWidth <= 4; ++nWidth)
            for (LONG nHeight = -3; nHeight <= 3; ++nHeight)
            {
                const bool bFits =
                    nHeight != 0 && nWidth % rgRows[i].nHorz == 0 && nHeight % rgRows[i].nVert == 0;
                EXPECT_EQ(CheckSize(rgRows[i].dwCode, nWidth, nHeight, 0), bFits ? i : -1);
                EXPECT_EQ(CheckSize(rgRows[i].dwCode, nWidth, nHeight, nWidth), bFits ? i : -1);
                EXPECT_EQ(CheckSize(rgRows[i].dwCode, nWidth, nHeight, nWidth + 2), bFits ? i : -1);
            }
}

TEST(RowBytes, EveryFormat)
{
    AssertCapture asserts;
    for (int i = 0; i < nMediaFormats; ++i)
        for (LONG nWidth = rgRows[i].nHorz; nWidth <= 400; nWidth += rgRows[i].nHorz)
            EXPECT_EQ(RowBytes(rgFormat[i], nWidth), ExpectedRow(rgRows[i], nWidth)) << i << ' ' << nWidth;
    EXPECT_EQ(RowBytes(Entry(FOURCC_v210), 1920), 5120u);
    EXPECT_EQ(RowBytes(Entry(FOURCC_v210), 720), 1920u);
    EXPECT_EQ(RowBytes(Entry(FOURCC_v210), 2), 128u);
    EXPECT_EQ(RowBytes(Entry(FOURCC_r210), 1920), 7680u);
    EXPECT_EQ(RowBytes(Entry(FOURCC_RGB24), 1), 4u);
    EXPECT_EQ(RowBytes(Entry(FOURCC_RGB24), 719), 2160u);
    EXPECT_EQ(RowBytes(Entry(FOURCC_RGB565), 3), 8u);
    EXPECT_EQ(RowBytes(Entry(FOURCC_YV12), 722), 722u); // planar rows have no padding
    EXPECT_TRUE(asserts.Texts().empty());
}

TEST(RowBytes, OddWidthIsReported)
{
    AssertCapture asserts;
    EXPECT_EQ(RowBytes(Entry(FOURCC_YUY2), 721), 1444u);
    EXPECT_EQ(RowBytes(Entry(FOURCC_I420), 721), 721u);
    EXPECT_EQ(asserts.Texts(), Texts(2, "nWidth % rgFormat.nHorzYtoUV == 0"));
}

TEST(ImageSize, EveryFormat)
{
    AssertCapture asserts;
    for (int i = 0; i < nMediaFormats; ++i)
        for (const LONG nWidth : {2, 4, 46, 720, 1920})
            for (const LONG nHeight : {2, -2, 576, -1080})
            {
                const DWORD cbExpected = ExpectedImage(rgRows[i], nWidth, nHeight);
                EXPECT_EQ(ImageSize(rgFormat[i], nWidth, nHeight), cbExpected);
                DWORD cb = 1;
                EXPECT_EQ(ImageSizeOf(rgRows[i].dwCode, nWidth, nHeight, &cb), S_OK);
                EXPECT_EQ(cb, cbExpected);
            }
    EXPECT_EQ(ImageSize(Entry(FOURCC_I420), 720, 576), 622080u);
    EXPECT_EQ(ImageSize(Entry(FOURCC_NV12), 720, 576), 622080u);
    EXPECT_EQ(ImageSize(Entry(FOURCC_YUY2), 720, 577), 720u * 577 * 2);
    EXPECT_TRUE(asserts.Texts().empty());
}

TEST(ImageSize, OddPlanarSizeDividesInIntegers)
{
    AssertCapture asserts;
    EXPECT_EQ(ImageSize(Entry(FOURCC_YV12), 721, 577), 721u * 577 + 360 * 288 * 2);
    EXPECT_EQ(ImageSize(Entry(FOURCC_YV12), 721, -577), 721u * 577 + 360 * 288 * 2);
    EXPECT_EQ(asserts.Texts(),
              (Texts{"nHeight % rgFormat.nVertYtoUV == 0", "nWidth % rgFormat.nHorzYtoUV == 0",
                     "nHeight % rgFormat.nVertYtoUV == 0", "nWidth % rgFormat.nHorzYtoUV == 0"}));
}

TEST(ImageSize, ExtremesAreDefined)
{
    AssertCapture asserts;
    for (int i = 0; i < nMediaFormats; ++i)
        for (const LONG nWidth : {nLowest, LONG(-720), LONG(-1), LONG(0), LONG(1), nHighest})
            for (const LONG nHeight : {nLowest, LONG(-1), LONG(0), nHighest})
                ImageSize(rgFormat[i], nWidth, nHeight);
    // The low 32 bits of 0x7FFFFFFF x 4 (rounded) x 2.
    EXPECT_EQ(ImageSize(Entry(FOURCC_RGB32), nHighest, 2), 0xFFFFFFF8u);
    EXPECT_EQ(ImageSize(Entry(FOURCC_RGB32), 1, nLowest), 0u);
}

TEST(ImageSizeOf, SizeBeyond32Bits)
{
    AssertCapture asserts;
    const struct
    {
        DWORD dwCode;
        LONG nWidth, nHeight;
        DWORD cbImage; ///< 0: refused
    } rgCases[] = {
        {FOURCC_RGB32, 32768, 32767, 4294836224},
        {FOURCC_RGB32, 32768, 32768, 0},
        {FOURCC_RGB32, 1, nLowest, 0},
        {FOURCC_r210, nHighest, nLowest, 0},
        {FOURCC_I420, 2, 0x55555554, 4294967292},
        {FOURCC_I420, 2, 0x55555556, 0},
        {FOURCC_NV12, 2, 0x55555554, 4294967292},
        {FOURCC_YV12, nHighest - 1, nLowest, 0},
    };
    for (const auto& row : rgCases)
    {
        SCOPED_TRACE(testing::Message() << std::hex << row.dwCode << std::dec << ' ' << row.nWidth);
        DWORD cb = 77;
        EXPECT_EQ(ImageSizeOf(row.dwCode, row.nWidth, row.nHeight, &cb), row.cbImage ? S_OK : E_INVALIDARG);
        EXPECT_EQ(cb, row.cbImage);
        BITMAPINFOHEADER bmiHeader = {};
        bmiHeader.biSizeImage = 77;
        EXPECT_EQ(MakeBmpHeader(row.dwCode, row.nWidth, row.nHeight, &bmiHeader),
                  row.cbImage ? S_OK : E_INVALIDARG);
        EXPECT_EQ(bmiHeader.biSizeImage, row.cbImage ? row.cbImage : 77);
    }
}

TEST(ImageSizeOf, Failures)
{
    AssertCapture asserts;
    DWORD cb = 77;
    EXPECT_EQ(ImageSizeOf(fccUnknown, 720, 576, &cb), E_INVALIDARG);
    EXPECT_EQ(cb, 0u);
    EXPECT_TRUE(asserts.Texts().empty());
    EXPECT_EQ(ImageSizeOf(FOURCC_YUY2, 720, 576, nullptr), E_POINTER);
    EXPECT_EQ(asserts.Texts(), Texts{"pcbImageSize != NULL"});
}

TEST(MakeBmpHeader, EveryFormat)
{
    for (const Row& row : rgRows)
        for (const LONG nHeight : {576, -576})
        {
            BITMAPINFOHEADER bmiHeader;
            memset(&bmiHeader, 0xEE, sizeof(bmiHeader));
            ASSERT_EQ(MakeBmpHeader(row.dwCode, 720, nHeight, &bmiHeader), S_OK);
            EXPECT_EQ(bmiHeader.biSize, 40u);
            EXPECT_EQ(bmiHeader.biWidth, 720);
            EXPECT_EQ(bmiHeader.biHeight, nHeight);
            EXPECT_EQ(bmiHeader.biPlanes, 1);
            EXPECT_EQ(bmiHeader.biBitCount, row.nBits);
            EXPECT_EQ(bmiHeader.biCompression, row.nYUV ? row.dwCode : 0u);
            EXPECT_EQ(bmiHeader.biSizeImage, ExpectedImage(row, 720, nHeight));
            EXPECT_EQ(bmiHeader.biXPelsPerMeter, 0);
            EXPECT_EQ(bmiHeader.biYPelsPerMeter, 0);
            EXPECT_EQ(bmiHeader.biClrUsed, 0u);
            EXPECT_EQ(bmiHeader.biClrImportant, 0u);
        }
}

TEST(MakeBmpHeader, Failures)
{
    AssertCapture asserts;
    BITMAPINFOHEADER bmiHeader;
    EXPECT_EQ(MakeBmpHeader(fccUnknown, 720, 576, &bmiHeader), E_INVALIDARG);
    EXPECT_TRUE(asserts.Texts().empty());
    EXPECT_EQ(MakeBmpHeader(fccUnknown, 720, 576, nullptr), E_POINTER);
    EXPECT_EQ(asserts.Texts(), Texts{"pBmpHeader != NULL"});
}

TEST(MTCreate, BlockAndFields)
{
    const BYTE arrBytes[] = {1, 2, 3};
    CMType mt(FORMAT_None, FORMAT_None);
    mt.lSampleSize = 99;
    mt.bTemporalCompression = TRUE;
    ASSERT_EQ(MTCreate(&mt, MEDIATYPE_Video, Tail(7), FORMAT_VideoInfo, 3, arrBytes), S_OK);
    EXPECT_TRUE(mt.majortype == MEDIATYPE_Video);
    EXPECT_TRUE(mt.subtype == Tail(7));
    EXPECT_TRUE(mt.formattype == FORMAT_VideoInfo);
    EXPECT_EQ(mt.lSampleSize, 1u);
    EXPECT_EQ(mt.bFixedSizeSamples, TRUE);
    EXPECT_EQ(mt.bTemporalCompression, FALSE);
    EXPECT_EQ(std::vector<BYTE>(mt.pbFormat, mt.pbFormat + mt.cbFormat), (std::vector<BYTE>{1, 2, 3}));

    // Everything may come out of the type itself.
    ASSERT_EQ(MTCreate(&mt, mt.subtype, mt.majortype, mt.formattype, 2, mt.pbFormat + 1), S_OK);
    EXPECT_TRUE(mt.majortype == Tail(7));
    EXPECT_TRUE(mt.subtype == MEDIATYPE_Video);
    EXPECT_TRUE(mt.formattype == FORMAT_VideoInfo);
    EXPECT_EQ(std::vector<BYTE>(mt.pbFormat, mt.pbFormat + mt.cbFormat), (std::vector<BYTE>{2, 3}));

    ASSERT_EQ(MTCreate(&mt, MEDIATYPE_Video, Tail(7), FORMAT_VideoInfo, 4, nullptr), S_OK);
    EXPECT_EQ(std::vector<BYTE>(mt.pbFormat, mt.pbFormat + mt.cbFormat), std::vector<BYTE>(4, 0));
    ASSERT_EQ(MTCreate(&mt, MEDIATYPE_Video, Tail(7), FORMAT_VideoInfo, 0, nullptr), S_OK);
    EXPECT_EQ(mt.cbFormat, 0u);
    EXPECT_EQ(mt.pbFormat, nullptr);
}

TEST(MTCreateVideo, EveryFormat)
{
    for (const Row& row : rgRows)
        for (const BothFormats& format : rgBothFormats)
            for (const LONG nRowWidth : {0, 720, 736})
                for (const LONG nHeight : {576, -576})
                {
                    CMType mt;
                    ASSERT_EQ(MTCreateVideo(&mt, row.dwCode, format.guid, 720, nHeight, nRowWidth), S_OK);
                    EXPECT_TRUE(mt.majortype == MEDIATYPE_Video);
                    EXPECT_TRUE(mt.subtype == row.guid);
                    EXPECT_TRUE(mt.formattype == format.guid);
                    ASSERT_EQ(mt.cbFormat, format.cbBlock);

                    // The block from scratch, so that nothing else can stand in it.
                    const bool bHeader2 = format.cbBlock == 112;
                    const LONG nRow = nRowWidth ? nRowWidth : 720;
                    std::vector<BYTE> arrExpected(format.cbBlock);
                    const RECT rcPicture = {0, 0, 720, 576};
                    if (nRow != 720)
                    {
                        memcpy(arrExpected.data(), &rcPicture, sizeof(rcPicture));
                        memcpy(arrExpected.data() + 16, &rcPicture, sizeof(rcPicture));
                    }
                    if (bHeader2)
                    {
                        arrExpected[offsetof(VIDEOINFOHEADER2, dwPictAspectRatioX)] = 4;
                        arrExpected[offsetof(VIDEOINFOHEADER2, dwPictAspectRatioY)] = 3;
                    }
                    BITMAPINFOHEADER bmiHeader = {};
                    bmiHeader.biSize = 40;
                    bmiHeader.biWidth = nRow;
                    bmiHeader.biHeight = nHeight;
                    bmiHeader.biPlanes = 1;
                    bmiHeader.biBitCount = static_cast<WORD>(row.nBits);
                    bmiHeader.biCompression = row.nYUV ? row.dwCode : 0;
                    bmiHeader.biSizeImage = ExpectedImage(row, nRow, nHeight);
                    memcpy(arrExpected.data() + (bHeader2 ? 72 : 48), &bmiHeader, sizeof(bmiHeader));
                    EXPECT_EQ(std::vector<BYTE>(mt.pbFormat, mt.pbFormat + mt.cbFormat), arrExpected);
                    EXPECT_EQ(mt.lSampleSize, bmiHeader.biSizeImage);
                    EXPECT_EQ(mt.bFixedSizeSamples, TRUE);
                    EXPECT_EQ(MTCheckVideo(&mt, bHeader2), S_OK);
                    EXPECT_TRUE(MTIsComplete(&mt));
                    EXPECT_EQ(MTFrameTime(&mt), 0);

                    // And back again.
                    LONG nWidth = 0, nHeightBack = 0, nRowBack = 0;
                    EXPECT_EQ(MTGetFormat(&mt, &nWidth, &nHeightBack, &nRowBack), FindFormat(row.dwCode));
                    EXPECT_EQ(nWidth, 720);
                    EXPECT_EQ(nRowBack, nRow);
                    EXPECT_EQ(nHeightBack, row.nYUV ? 576 : nHeight);
                }
}

TEST(MTCreateVideo, NoRowWidthIsTheWidth)
{
    for (const BothFormats& format : rgBothFormats)
    {
        CMType mt1, mt2;
        ASSERT_EQ(MTCreateVideo(&mt1, FOURCC_UYVY, format.guid, 720, 576, 0), S_OK);
        ASSERT_EQ(MTCreateVideo(&mt2, FOURCC_UYVY, format.guid, 720, 576, 720), S_OK);
        EXPECT_TRUE(MTEqual(&mt1, &mt2));
    }
}

TEST(MTCreateVideo, FailuresKeepTheOldType)
{
    CMType mt;
    ASSERT_EQ(MTCreateVideo(&mt, FOURCC_RGB32, FORMAT_VideoInfo, 720, 576, 0), S_OK);
    const CMType mtBefore(mt);
    AssertCapture asserts;
    EXPECT_EQ(MTCreateVideo(&mt, FOURCC_UYVY, FORMAT_MPEGVideo, 720, 576, 0), E_INVALIDARG);
    EXPECT_EQ(MTCreateVideo(&mt, FOURCC_UYVY, GUID_NULL, 720, 576, 0), E_INVALIDARG);
    EXPECT_EQ(MTCreateVideo(&mt, fccUnknown, FORMAT_VideoInfo, 720, 576, 0), E_INVALIDARG);
    EXPECT_EQ(MTCreateVideo(&mt, FOURCC_UYVY, FORMAT_VideoInfo, 721, 576, 0), E_INVALIDARG);
    EXPECT_EQ(MTCreateVideo(&mt, FOURCC_UYVY, FORMAT_VideoInfo, 720, 0, 0), E_INVALIDARG);
    EXPECT_EQ(MTCreateVideo(&mt, FOURCC_UYVY, FORMAT_VideoInfo, 720, 576, 718), E_INVALIDARG);
    EXPECT_EQ(MTCreateVideo(nullptr, FOURCC_UYVY, FORMAT_VideoInfo, 720, 576, 718), E_INVALIDARG);
    EXPECT_TRUE(asserts.Texts().empty());
    EXPECT_EQ(MTCreateVideo(nullptr, FOURCC_UYVY, FORMAT_VideoInfo, 720, 576, 0), E_POINTER);
    EXPECT_TRUE(MTEqual(&mt, &mtBefore));
}

namespace
{
/// The greatest number of rows of a width that a sample can hold.
LONG MostRows(const Row& row, LONG nWidth)
{
    // A sample of NV12 is as long as 16 bits a pixel make it.
    const LONGLONG cbTwoRows = row.nPlanar ? LONGLONG{nWidth} * (row.dwCode == FOURCC_NV12 ? 4 : 3)
                                           : LONGLONG{ExpectedRow(row, nWidth)} * 2;
    const LONG nRows = static_cast<LONG>(nHighest * 2LL / cbTwoRows);
    return nRows - nRows % row.nVert;
}
} // namespace

TEST(MTCreateVideo, FrameThatFitsNoSample)
{
    for (const Row& row : rgRows)
        for (const BothFormats& format : rgBothFormats)
            for (const LONG nRowWidth : {2, 10, 720, 100000, 50000000})
            {
                const LONG nRows = MostRows(row, nRowWidth);
                SCOPED_TRACE(testing::Message()
                             << std::hex << row.dwCode << std::dec << ' ' << nRowWidth << ' ' << nRows);
                CMType mt;
                if (nRows != 0)
                {
                    ASSERT_EQ(MTCreateVideo(&mt, row.dwCode, format.guid, 2, nRows, nRowWidth), S_OK);
                    EXPECT_EQ(mt.lSampleSize, ExpectedImage(row, nRowWidth, nRows));
                    EXPECT_LE(mt.lSampleSize, static_cast<ULONG>(nHighest));
                    EXPECT_EQ(MTGetFormat(&mt, nullptr, nullptr, nullptr), FindFormat(row.dwCode));
                }
                const CMType mtBefore = mt;
                for (const LONG nHeight : {nRows + row.nVert, -nRows - row.nVert, nLowest})
                {
                    EXPECT_EQ(MTCreateVideo(&mt, row.dwCode, format.guid, 2, nHeight, nRowWidth),
                              E_INVALIDARG);
                    const TestType type(format.guid, format.cbBlock, row.guid, nRowWidth, nHeight,
                                        {0, 0, 2, nHeight});
                    PicProps pic = {1, nKept, nKept, nKept};
                    EXPECT_EQ(MTGetFormat(&type.mt, nullptr, nullptr, nullptr), -1);
                    EXPECT_EQ(MTGetPicProps(&type.mt, &pic), -1);
                    EXPECT_EQ(pic.nWidth, nKept);
                    EXPECT_EQ(MTGetVideoSize(&type.mt, &pic), VFW_E_INVALID_MEDIA_TYPE);
                    EXPECT_EQ(pic.nWidth, 0);
                }
                EXPECT_TRUE(MTEqual(&mt, &mtBefore));
            }
}

TEST(MTCreateVideo, NegativeWidthHasNoSize)
{
    CMType mt;
    EXPECT_EQ(MTCreateVideo(&mt, FOURCC_RGB32, FORMAT_VideoInfo, -8, 4, 0), E_INVALIDARG);
    EXPECT_EQ(MTCreateVideo(&mt, FOURCC_RGB32, FORMAT_VideoInfo, nLowest, 4, nLowest), E_INVALIDARG);
    EXPECT_FALSE(mt.IsDefined());
}

namespace
{
BITMAPINFO Header(WORD nBits, DWORD dwCompression)
{
    BITMAPINFO rgInfo = {};
    rgInfo.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    rgInfo.bmiHeader.biWidth = 720;
    rgInfo.bmiHeader.biHeight = -576;
    rgInfo.bmiHeader.biPlanes = 1;
    rgInfo.bmiHeader.biBitCount = nBits;
    rgInfo.bmiHeader.biCompression = dwCompression;
    rgInfo.bmiHeader.biSizeImage = 4711;
    rgInfo.bmiHeader.biXPelsPerMeter = 2835;
    return rgInfo;
}
} // namespace

TEST(MTHelpCreateVideo, Subtypes)
{
    struct
    {
        WORD nBits;
        DWORD dwCompression;
        GUID guid;
    } const rgCases[] = {
        {32, BI_RGB, Rgb(0xE436EB7E)},
        {24, BI_RGB, Rgb(0xE436EB7D)},
        {16, BI_RGB, Rgb(0xE436EB7B)},
        {16, FOURCC_YUY2, Tail(FOURCC_YUY2)},
        {0, 0x44434241, Tail(0x44434241)}, // not in the table
        {8, 4, Tail(4)},
    };
    for (const auto& row : rgCases)
        for (const BothFormats& format : rgBothFormats)
        {
            const BITMAPINFO rgInfo = Header(row.nBits, row.dwCompression);
            CMType mt;
            ASSERT_EQ(MTHelp::MTCreateVideo(&mt, format.guid, &rgInfo), S_OK);
            EXPECT_TRUE(mt.majortype == MEDIATYPE_Video);
            EXPECT_TRUE(mt.subtype == row.guid);
            EXPECT_TRUE(mt.formattype == format.guid);
            EXPECT_EQ(mt.lSampleSize, 4711u);
            ASSERT_EQ(mt.cbFormat, format.cbBlock);
            std::vector<BYTE> arrExpected(format.cbBlock - 40);
            const BYTE* pbHeader = reinterpret_cast<const BYTE*>(&rgInfo);
            arrExpected.insert(arrExpected.end(), pbHeader, pbHeader + 40);
            EXPECT_EQ(std::vector<BYTE>(mt.pbFormat, mt.pbFormat + mt.cbFormat), arrExpected);
        }
}

TEST(MTHelpCreateVideo, LongerHeader)
{
    for (const BothFormats& format : rgBothFormats)
        for (const DWORD cbHeader : {41u, 108u, 124u, 1000u})
        {
            std::vector<BYTE> arrHeader(cbHeader);
            std::iota(arrHeader.begin(), arrHeader.end(), BYTE(0));
            BITMAPINFO rgInfo = Header(32, BI_RGB);
            rgInfo.bmiHeader.biSize = cbHeader;
            memcpy(arrHeader.data(), &rgInfo, 40);
            CMType mt;
            ASSERT_EQ(
                MTHelp::MTCreateVideo(&mt, format.guid, reinterpret_cast<BITMAPINFO*>(arrHeader.data())),
                S_OK);
            ASSERT_EQ(mt.cbFormat, format.cbBlock - 40 + cbHeader);
            std::vector<BYTE> arrExpected(format.cbBlock - 40);
            arrExpected.insert(arrExpected.end(), arrHeader.begin(), arrHeader.end());
            EXPECT_EQ(std::vector<BYTE>(mt.pbFormat, mt.pbFormat + mt.cbFormat), arrExpected);
        }
}

TEST(MTHelpCreateVideo, FrameThatFitsNoSample)
{
    const struct
    {
        WORD nBits;
        DWORD dwCompression;
        LONG nWidth, nHeight;
        HRESULT hr;
    } rgCases[] = {
        {32, BI_RGB, 30000, -30000, E_INVALIDARG},
        {32, BI_RGB, 32768, 32768, E_INVALIDARG},
        {32, BI_RGB, 1, 0x1FFFFFFF, S_OK},
        {32, BI_RGB, 1, 0x20000000, E_INVALIDARG},
        {24, BI_RGB, 1, nLowest, E_INVALIDARG},
        {16, FOURCC_UYVY, 40000, 40000, E_INVALIDARG},
        {20, FOURCC_v210, 6, 16800000, E_INVALIDARG},
        {0, 0x44434241, 40000, 40000, S_OK}, // not in the table
    };
    for (const auto& row : rgCases)
        for (const BothFormats& format : rgBothFormats)
        {
            BITMAPINFO rgInfo = Header(row.nBits, row.dwCompression);
            rgInfo.bmiHeader.biWidth = row.nWidth;
            rgInfo.bmiHeader.biHeight = row.nHeight;
            CMType mt;
            EXPECT_EQ(MTHelp::MTCreateVideo(&mt, format.guid, &rgInfo), row.hr)
                << row.nWidth << ' ' << row.nHeight;
            EXPECT_EQ(mt.IsDefined(), row.hr == S_OK);
        }
}

TEST(MTHelpCreateVideo, Failures)
{
    CMType mt;
    ASSERT_EQ(MTCreateVideo(&mt, FOURCC_RGB32, FORMAT_VideoInfo, 720, 576, 0), S_OK);
    const CMType mtBefore(mt);
    const char* const pszBits = "MTHelp::MTCreateVideo() : Unsupported BMP::biBitCount";
    const char* const pszCompression = "MTHelp::MTCreateVideo() : Unsupported BMP::biCompression";
    {
        AssertCapture asserts;
        EXPECT_EQ(MTHelp::MTCreateVideo(&mt, FORMAT_VideoInfo, nullptr), E_INVALIDARG);
        BITMAPINFO rgInfo = Header(32, BI_RGB);
        rgInfo.bmiHeader.biSize = 39;
        EXPECT_EQ(MTHelp::MTCreateVideo(&mt, FORMAT_VideoInfo, &rgInfo), E_INVALIDARG);
        EXPECT_EQ(asserts.Texts(),
                  (Texts{"pBMPInfo != NULL", "bmiHeader.biSize >= sizeof(BITMAPINFOHEADER)"}));
    }
    for (const WORD nBits : {0, 1, 4, 8, 15, 48})
    {
        AssertCapture asserts;
        const BITMAPINFO rgInfo = Header(nBits, BI_RGB);
        EXPECT_EQ(MTHelp::MTCreateVideo(&mt, FORMAT_VideoInfo, &rgInfo), E_INVALIDARG);
        EXPECT_EQ(asserts.Texts(), Texts{pszBits});
        // The format type comes first.
        EXPECT_EQ(MTHelp::MTCreateVideo(&mt, FORMAT_MPEGVideo, &rgInfo), E_INVALIDARG);
        EXPECT_EQ(asserts.Texts(), Texts{pszBits});
    }
    for (const DWORD dwCompression : {BI_RLE8, BI_RLE4, BI_BITFIELDS})
    {
        AssertCapture asserts;
        const BITMAPINFO rgInfo = Header(32, dwCompression);
        EXPECT_EQ(MTHelp::MTCreateVideo(&mt, FORMAT_VideoInfo2, &rgInfo), E_INVALIDARG);
        EXPECT_EQ(asserts.Texts(), Texts{pszCompression});
    }
    {
        AssertCapture asserts;
        BITMAPINFO rgInfo = Header(32, BI_RGB);
        EXPECT_EQ(MTHelp::MTCreateVideo(nullptr, FORMAT_VideoInfo, &rgInfo), E_POINTER);
        rgInfo.bmiHeader.biSize = 0xFFFFFFF8; // no block can hold it
        EXPECT_EQ(MTHelp::MTCreateVideo(&mt, FORMAT_VideoInfo, &rgInfo), E_OUTOFMEMORY);
    }
    EXPECT_TRUE(MTEqual(&mt, &mtBefore));
}

TEST(MTGetFormat, HeightOfYUVIsPositive)
{
    for (const Row& row : rgRows)
        for (const BothFormats& format : rgBothFormats)
        {
            const TestType type(format.guid, format.cbBlock, row.guid, 720, -576);
            LONG nWidth = 0, nHeight = 0, nRowWidth = 0;
            EXPECT_EQ(MTGetFormat(&type.mt, &nWidth, &nHeight, &nRowWidth), FindFormat(row.dwCode));
            EXPECT_EQ(nWidth, 720);
            EXPECT_EQ(nHeight, row.nYUV ? 576 : -576);
            EXPECT_EQ(nRowWidth, 720);

            PicProps pic = {1, nKept, nKept, nKept};
            EXPECT_EQ(MTGetPicProps(&type.mt, &pic), FindFormat(row.dwCode));
            EXPECT_EQ(pic.fccType, row.dwCode);
            EXPECT_EQ(pic.nWidth, 720);
            EXPECT_EQ(pic.nHeight, row.nYUV ? 576 : -576);
            EXPECT_EQ(pic.nRowWidth, 720);

            EXPECT_EQ(MTGetVideoSize(&type.mt, &pic), S_OK);
            EXPECT_EQ(pic.fccType, row.dwCode);
            EXPECT_EQ(pic.nWidth, 720);
            EXPECT_EQ(pic.nHeight, -576); // the sign stays
            EXPECT_EQ(pic.nRowWidth, 720);
        }
}

namespace
{
/// What the three readers make of a type: width, or -1 where they refuse it.
struct SizeCase
{
    DWORD dwCode;
    LONG nRowWidth, nHeight;
    RECT rcTarget;
    LONG nWidth; ///< 0: MTGetFormat refuses
    bool bSize;  ///< MTGetVideoSize accepts
};

const SizeCase rgSizeCases[] = {
    {FOURCC_YUY2, 736, 576, {0, 0, 720, 576}, 720, true},
    {FOURCC_YUY2, 736, 576, {8, 0, 728, 576}, 720, true},
    {FOURCC_YUY2, 736, 576, {5, 1, 5, 9}, 736, true}, // an empty width means the whole row
    {FOURCC_YUY2, 736, 576, {0, 0, 736, 576}, 736, true},
    {FOURCC_YUY2, 720, 576, {0, 0, 722, 576}, 0, false},
    {FOURCC_YUY2, 0, 576, {}, 0, false},
    {FOURCC_YUY2, 0, 576, {0, 0, 720, 576}, 0, false},
    {FOURCC_YUY2, 720, 0, {}, 0, false},
    {FOURCC_YUY2, 721, 576, {}, 0, true}, // row not even
    {FOURCC_YUY2, 722, 576, {0, 0, 721, 576}, 0, true},
    {FOURCC_YUY2, 720, 577, {}, 720, true},
    {FOURCC_I420, 720, 577, {}, 0, true},
    {FOURCC_I420, 720, -577, {}, 0, true},
    {FOURCC_I420, 720, nLowest, {}, 0, false}, // no positive counterpart
    {FOURCC_RGB24, 721, nLowest, {}, 0, false},
    {fccUnknown, 721, nLowest, {}, 0, true}, // nobody knows its size
    {FOURCC_RGB24, -720, 576, {}, 0, false}, // no size at all
    {FOURCC_UYVY, 40000, 40000, {}, 0, false},
    {FOURCC_RGB32, 32768, 32768, {}, 0, false},
    {FOURCC_RGB32, 0x20000000, 4, {0, 0, 8, 4}, 0, false}, // a small picture in rows that fit no sample
    {FOURCC_RGB32, 0x2000000, 15, {0, 0, 8, 4}, 8, true},
    {FOURCC_RGB24, 721, 577, {0, 0, 1, 1}, 1, true},
    {fccUnknown, 720, 576, {}, 0, true},
    {FOURCC_RGB24, 720, 576, {nLowest, 0, nHighest, 0}, 0, false}, // wider than 32 bits
    {FOURCC_RGB24, 720, 576, {nHighest, 0, nLowest, 0}, 0, false},
};
} // namespace

TEST(MTGetFormat, Sizes)
{
    AssertCapture asserts;
    for (const SizeCase& row : rgSizeCases)
        for (const BothFormats& format : rgBothFormats)
        {
            SCOPED_TRACE(testing::Message() << &row - rgSizeCases << ' ' << format.cbBlock);
            const int nIndex = row.nWidth ? FindFormat(row.dwCode) : -1;
            const GUID guidSub = nIndex >= 0 ? *rgFormat[nIndex].pSubtype : FourccSubtype(row.dwCode);
            const TestType type(format.guid, format.cbBlock, guidSub, row.nRowWidth, row.nHeight,
                                row.rcTarget);

            LONG nWidth = nKept, nHeight = nKept, nRowWidth = nKept;
            EXPECT_EQ(MTGetFormat(&type.mt, &nWidth, &nHeight, &nRowWidth), nIndex);
            EXPECT_EQ(nWidth, row.nWidth ? row.nWidth : nKept);
            EXPECT_EQ(nHeight, row.nWidth ? row.nHeight : nKept);
            EXPECT_EQ(nRowWidth, row.nWidth ? row.nRowWidth : nKept);
            EXPECT_EQ(MTGetFormat(&type.mt, nullptr, nullptr, nullptr), nIndex);

            PicProps pic = {1, nKept, nKept, nKept};
            EXPECT_EQ(MTGetPicProps(&type.mt, &pic), nIndex);
            EXPECT_EQ(pic.fccType, row.nWidth ? row.dwCode : 1);
            EXPECT_EQ(pic.nWidth, row.nWidth ? row.nWidth : nKept);

            EXPECT_EQ(MTGetVideoSize(&type.mt, &pic), row.bSize ? S_OK : VFW_E_INVALID_MEDIA_TYPE);
            const LONG nTarget = row.bSize ? row.rcTarget.right - row.rcTarget.left : 0;
            EXPECT_EQ(pic.fccType, row.bSize ? row.dwCode : 0);
            EXPECT_EQ(pic.nWidth, !row.bSize ? 0 : nTarget != 0 ? nTarget : row.nRowWidth);
            EXPECT_EQ(pic.nHeight, row.bSize ? row.nHeight : 0);
            EXPECT_EQ(pic.nRowWidth, row.bSize ? row.nRowWidth : 0);
        }
    EXPECT_TRUE(asserts.Texts().empty());
}

TEST(MTGetFormat, OutputsAreOptional)
{
    const TestType type(FORMAT_VideoInfo, 88, Tail(FOURCC_YUY2), 736, 576, {0, 0, 720, 576});
    LONG n = 0;
    EXPECT_EQ(MTGetFormat(&type.mt, &n, nullptr, nullptr), 0);
    EXPECT_EQ(n, 720);
    EXPECT_EQ(MTGetFormat(&type.mt, nullptr, &n, nullptr), 0);
    EXPECT_EQ(n, 576);
    EXPECT_EQ(MTGetFormat(&type.mt, nullptr, nullptr, &n), 0);
    EXPECT_EQ(n, 736);
}

TEST(MTGetFormat, NoVideoType)
{
    AssertCapture asserts;
    const auto refused = [](const AM_MEDIA_TYPE& mt)
    {
        PicProps pic = {1, nKept, nKept, nKept};
        EXPECT_EQ(MTGetFormat(&mt, nullptr, nullptr, nullptr), -1);
        EXPECT_EQ(MTGetPicProps(&mt, &pic), -1);
        EXPECT_EQ(pic.fccType, 1u);
        EXPECT_EQ(pic.nWidth, nKept);
        EXPECT_EQ(MTGetVideoSize(&mt, &pic), VFW_E_INVALID_MEDIA_TYPE);
        EXPECT_EQ(pic.fccType, 0u);
        EXPECT_EQ(pic.nWidth, 0);
    };
    TestType type(FORMAT_VideoInfo, 88, Tail(FOURCC_YUY2), 720, 576);
    type.mt.majortype = MEDIATYPE_Audio;
    refused(type.mt);
    type.mt.majortype = MEDIATYPE_Video;
    type.mt.formattype = FORMAT_MPEGVideo;
    refused(type.mt);
    type.mt.formattype = GUID_NULL;
    refused(type.mt);
    type.mt.formattype = FORMAT_VideoInfo;
    type.mt.pbFormat = nullptr;
    refused(type.mt);
    EXPECT_TRUE(asserts.Texts().empty());
}

TEST(MTGetFormat, ShortBlockIsNotRead)
{
    for (const BothFormats& format : rgBothFormats)
        for (const size_t cbBlock : {size_t(0), size_t(1), size_t(48), format.cbBlock - 1})
        {
            TestType type(format.guid, cbBlock, Tail(FOURCC_YUY2), 720, 576);
            std::vector<BYTE> arrOne(1); // an empty vector has no address
            if (cbBlock == 0)
                type.mt.pbFormat = arrOne.data();
            PicProps pic = {1, nKept, nKept, nKept};
            AssertCapture asserts;
            EXPECT_EQ(MTGetFormat(&type.mt, nullptr, nullptr, nullptr), -1);
            EXPECT_EQ(MTGetPicProps(&type.mt, &pic), -1);
            EXPECT_EQ(pic.nWidth, nKept);
            EXPECT_EQ(MTGetVideoSize(&type.mt, &pic), -1);
            EXPECT_EQ(pic.nWidth, 0);
            EXPECT_EQ(asserts.Texts(), Texts(3, format.pszShort));
            EXPECT_EQ(MTGetBmpHeader(&type.mt), nullptr);
            EXPECT_EQ(MTGetFrameTime(&type.mt), nullptr);
        }
}

TEST(MTGetFormat, BlockAtOddAddress)
{
    for (const BothFormats& format : rgBothFormats)
    {
        const TestType type(format.guid, format.cbBlock, Tail(FOURCC_YUY2), 720, 576);
        std::vector<BYTE> arrShifted(format.cbBlock + 1);
        memcpy(arrShifted.data() + 1, type.arrBlock.data(), format.cbBlock);
        AM_MEDIA_TYPE mt = type.mt;
        mt.pbFormat = arrShifted.data() + 1;
        EXPECT_EQ(MTGetFormat(&mt, nullptr, nullptr, nullptr), 0);
    }
}

TEST(MTGetFormat, NullArguments)
{
    AssertCapture asserts;
    PicProps pic = {1, nKept, nKept, nKept};
    const TestType type(FORMAT_VideoInfo, 88, Tail(FOURCC_YUY2), 720, 576);
    EXPECT_EQ(MTGetFormat(nullptr, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(MTGetPicProps(nullptr, &pic), -1);
    EXPECT_EQ(pic.nHeight, nKept);
    EXPECT_EQ(MTGetPicProps(&type.mt, nullptr), E_POINTER);
    EXPECT_EQ(asserts.Texts(), (Texts{"pmt != NULL", "pmt != NULL", "pPicProps != NULL"}));
    EXPECT_EQ(MTGetVideoSize(nullptr, &pic), E_POINTER);
    EXPECT_EQ(MTGetVideoSize(&type.mt, nullptr), E_POINTER);
}

TEST(MTAccess, HeaderAndFrameTime)
{
    for (const BothFormats& format : rgBothFormats)
    {
        CMType mt;
        ASSERT_EQ(MTCreateVideo(&mt, FOURCC_UYVY, format.guid, 720, 576, 0), S_OK);
        BITMAPINFOHEADER* pHeader = MTGetBmpHeader(&mt);
        EXPECT_EQ(reinterpret_cast<BYTE*>(pHeader), mt.pbFormat + (format.cbBlock - 40));
        EXPECT_EQ(pHeader->biHeight, 576);
        REFERENCE_TIME* prtFrame = MTGetFrameTime(&mt);
        ASSERT_NE(prtFrame, nullptr);
        *prtFrame = 400000;
        EXPECT_EQ(MTFrameTime(&mt), 400000);
    }
    EXPECT_EQ(MTGetBmpHeader(nullptr), nullptr);
    EXPECT_EQ(MTGetFrameTime(nullptr), nullptr);
    CMType mt;
    EXPECT_EQ(MTGetBmpHeader(&mt), nullptr);
}
