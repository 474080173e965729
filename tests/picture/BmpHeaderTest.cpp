#include "Common/Common.h"
#include "BmpBuilder.h"
#include "Video/TgaBmp/BmpHeader.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

namespace
{
using Texts = std::vector<std::string>;

std::string Corrected(DWORD nOld, DWORD nNew)
{
    return "WARNING. CPicturePersist::TestAndCorrectBmpHeader(): correcting bad image size: old=" +
           std::to_string(nOld) + ", new=" + std::to_string(nNew) + "\n";
}

BITMAPINFOHEADER Header(WORD nBits, LONG nWidth, LONG nHeight, DWORD dwCompression, DWORD cbImage)
{
    BITMAPINFOHEADER bmi{};
    bmi.biSize = 40;
    bmi.biWidth = nWidth;
    bmi.biHeight = nHeight;
    bmi.biPlanes = 1;
    bmi.biBitCount = nBits;
    bmi.biCompression = dwCompression;
    bmi.biSizeImage = cbImage;
    return bmi;
}

TEST(BmpHeader, Null)
{
    AssertCapture asserts;
    EXPECT_FALSE(TestAndCorrectBmpHeader(nullptr));
    EXPECT_EQ(asserts.Texts(), Texts{"pBmpHeader != NULL"});
}

TEST(BmpHeader, EveryBitCount)
{
    for (DWORD dwCompression : {BI_RGB, BI_BITFIELDS})
    {
        for (int nBits = 0; nBits < 70; ++nBits)
        {
            BITMAPINFOHEADER bmi = Header(static_cast<WORD>(nBits), 5, 3, dwCompression, 0);
            const bool bKnown = nBits == 16 || nBits == 24 || nBits == 32;
            EXPECT_EQ(TestAndCorrectBmpHeader(&bmi), bKnown) << nBits;
            EXPECT_EQ(bmi.biSizeImage, bKnown ? (5u * nBits / 8 + 3) / 4 * 4 * 3 : 0u) << nBits;
        }
    }
}

struct SizeRow
{
    DWORD dwCompression;
    WORD nBits;
    LONG nWidth;
    LONG nHeight;
    DWORD cbImage; ///< 0: refused
};

/// The format's own rule gives the size.
TEST(BmpHeader, Sizes)
{
    const SizeRow rgRows[] = {
        {BI_RGB, 32, 720, 576, 1658880},
        {BI_RGB, 32, 720, -576, 1658880},
        {BI_RGB, 24, 5, 7, 112},
        {BI_RGB, 24, 5, -7, 112},
        {BI_RGB, 16, 3, 5, 40},
        {BI_RLE8, 8, 8, 8, 0},
        {BI_RLE4, 4, 8, 8, 0},
        {4, 24, 8, 8, 0}, // a JPEG inside
        {FOURCC_YUY2, 16, 720, 576, 829440},
        {FOURCC_YUY2, 16, 721, 576, 0},
        {FOURCC_YUY2, 99, 720, 577, 830880}, // the bit count is not looked at
        {FOURCC_I420, 12, 720, 576, 622080},
        {FOURCC_I420, 12, 720, 577, 0},
        {FOURCC_RGB32, 32, 10, 10, 400},
        {FOURCC_v210, 20, 1920, 1080, 5529600},
        {0x34363248, 24, 8, 8, 0}, // a format of no table
        {BI_RGB, 32, 32768, 32767, 4294836224},
        {BI_RGB, 32, 32768, 32768, 0}, // 4 GiB
        {BI_RGB, 32, 0x40000001, 1, 0},
        {BI_RGB, 32, 0x7FFFFFFF, 0x7FFFFFFF, 0},
        {BI_RGB, 32, 1, static_cast<LONG>(0x80000000), 0},
        {BI_RGB, 32, -5, 7, 0},
        {BI_RGB, 32, static_cast<LONG>(0x80000000), 1, 0},
        {FOURCC_I420, 12, 65536, 65536, 0},
    };
    for (const SizeRow& row : rgRows)
    {
        SCOPED_TRACE(testing::Message() << row.dwCompression << " " << row.nWidth << " " << row.nHeight);
        BITMAPINFOHEADER bmi = Header(row.nBits, row.nWidth, row.nHeight, row.dwCompression, 77);
        LogCapture log;
        EXPECT_EQ(TestAndCorrectBmpHeader(&bmi), row.cbImage != 0);
        EXPECT_EQ(bmi.biSizeImage, row.cbImage != 0 ? row.cbImage : 77);
        EXPECT_EQ(log.Texts(4), row.cbImage != 0 ? Texts{Corrected(77, row.cbImage)} : Texts{});
        if (row.cbImage != 0)
        {
            log.Clear();
            EXPECT_TRUE(TestAndCorrectBmpHeader(&bmi));
            EXPECT_TRUE(log.Lines().empty()) << "a true size is not mended";
        }
    }
}

TEST(BmpHeader, Fields)
{
    const BITMAPINFOHEADER good = Header(32, 4, 4, BI_RGB, 64);
    const struct
    {
        const char* pszField;
        void (*pfnBreak)(BITMAPINFOHEADER& bmi);
    } rgRows[] = {
        {"size 39", [](BITMAPINFOHEADER& bmi) { bmi.biSize = 39; }},
        {"size 108", [](BITMAPINFOHEADER& bmi) { bmi.biSize = 108; }},
        {"no plane", [](BITMAPINFOHEADER& bmi) { bmi.biPlanes = 0; }},
        {"two planes", [](BITMAPINFOHEADER& bmi) { bmi.biPlanes = 2; }},
        {"width", [](BITMAPINFOHEADER& bmi) { bmi.biWidth = 0; }},
        {"height", [](BITMAPINFOHEADER& bmi) { bmi.biHeight = 0; }},
        {"colours used", [](BITMAPINFOHEADER& bmi) { bmi.biClrUsed = 1; }},
        {"colours important", [](BITMAPINFOHEADER& bmi) { bmi.biClrImportant = 1; }},
    };
    for (const auto& row : rgRows)
    {
        LogCapture log;
        BITMAPINFOHEADER bmi = good;
        bmi.biSizeImage = 1;
        row.pfnBreak(bmi);
        EXPECT_FALSE(TestAndCorrectBmpHeader(&bmi)) << row.pszField;
        EXPECT_EQ(bmi.biSizeImage, 1u) << row.pszField;
        EXPECT_TRUE(log.Lines().empty());
    }
    BITMAPINFOHEADER bmi = good;
    bmi.biXPelsPerMeter = 2834;
    EXPECT_TRUE(TestAndCorrectBmpHeader(&bmi));
}

TEST(BmpHeader, RecordedSize)
{
    const struct
    {
        LONG nWidth;
        LONG nHeight;
        DWORD cb;
    } rgRows[] = {{5, 7, 140},
                  {5, -7, 140},
                  {32768, 32767, 4294836224},
                  {32768, 32768, 0},
                  {1, static_cast<LONG>(0x80000000), 0},
                  {0x7FFFFFFF, 1, 0},
                  {-1, 1, 0},
                  {0, 1, 0}};
    for (const auto& row : rgRows)
    {
        BITMAPINFOHEADER bmi = Header(24, row.nWidth, row.nHeight, BI_RGB, 1);
        EXPECT_EQ(RecordedPictureSize(bmi), row.cb);
        EXPECT_EQ(PictureBlockSize(bmi), row.cb);
        bmi.biSizeImage = 0xFFFFFFFF;
        EXPECT_EQ(PictureBlockSize(bmi), row.cb != 0 ? 0xFFFFFFFF : 0);
    }
}
} // namespace
