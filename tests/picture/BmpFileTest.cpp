#include "BmpBuilder.h"
#include "Common/Common.h"
#include "Video/TgaBmp/BmpFile.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <random>

namespace
{
using Texts = std::vector<std::string>;

struct BmpFile : testing::Test
{
    HRESULT Load(const Bytes& bytes)
    {
        std::memset(&bmi, 0xCC, sizeof(bmi));
        const HRESULT hr = LoadBmpFile(WideText(folder.Write("picture.bmp", bytes)), &bmi, pPicture.Out());
        const BITMAPINFOHEADER zero{};
        EXPECT_EQ(FAILED(hr), std::memcmp(&bmi, &zero, sizeof(bmi)) == 0);
        EXPECT_EQ(FAILED(hr), !pPicture);
        return hr;
    }

    /// The pixels as stored, and zeros behind them up to what the loader records.
    void ExpectPixels(const BmpBuilder& builder)
    {
        const size_t cbRecorded = size_t{AbsHeight(bmi.biHeight)} * static_cast<size_t>(bmi.biWidth) * 4;
        Bytes expected = builder.pixels;
        expected.resize(std::max(cbRecorded, expected.size()), 0);
        ASSERT_TRUE(pPicture);
        EXPECT_EQ(Bytes(pPicture.Get(), pPicture.Get() + expected.size()), expected);
    }

    TempFolder folder;
    BITMAPINFOHEADER bmi;
    CTaskBytes pPicture;
    LogCapture log;
    AssertCapture asserts;
};

TEST_F(BmpFile, Arguments)
{
    const WideText name(folder.Write("picture.bmp", BmpBuilder(32, 2, 2).File()));
    EXPECT_EQ(LoadBmpFile(nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(LoadBmpFile(name, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(LoadBmpFile(name, &bmi, nullptr), E_POINTER);
    EXPECT_EQ(asserts.Texts(), (Texts{"pszFileName != NULL", "pBmpHeader != NULL", "ppPicture != NULL"}));
}

TEST_F(BmpFile, MissingFile)
{
    BYTE by = 0;
    BYTE* pb = &by;
    EXPECT_EQ(LoadBmpFile(WideText(folder.Path("no.bmp")), &bmi, &pb),
              HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(pb, nullptr);
    EXPECT_EQ(bmi.biSize, 0u);
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(BmpFile, DepthsAndRowOrders)
{
    for (WORD nBits : {16, 24, 32})
    {
        for (LONG nHeight : {3, -3, 1, -1})
        {
            for (LONG nWidth : {1, 2, 3, 4, 5, 100})
            {
                SCOPED_TRACE(testing::Message() << nBits << " " << nWidth << " " << nHeight);
                const BmpBuilder builder(nBits, nWidth, nHeight);
                ASSERT_EQ(Load(builder.File()), S_OK);
                EXPECT_EQ(bmi.biWidth, nWidth);
                EXPECT_EQ(bmi.biHeight, nHeight);
                EXPECT_EQ(bmi.biBitCount, nBits);
                EXPECT_EQ(bmi.biSizeImage, builder.pixels.size());
                ExpectPixels(builder);
            }
        }
    }
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(BmpFile, PaletteIsRefused)
{
    for (WORD nBits : {1, 4, 8})
    {
        BmpBuilder builder(nBits, 8, 2);
        builder.gap = Pattern(4u << nBits);
        builder.file.bfOffBits += static_cast<DWORD>(builder.gap.size());
        builder.file.bfSize += static_cast<DWORD>(builder.gap.size());
        EXPECT_EQ(Load(builder.File()), E_FAIL);
    }
}

TEST_F(BmpFile, MissingImageSize)
{
    BmpBuilder builder(32, 3, 2);
    builder.info.biSizeImage = 0;
    ASSERT_EQ(Load(builder.File()), S_OK);
    EXPECT_EQ(bmi.biSizeImage, 24u);
    EXPECT_EQ(log.Texts(4), Texts{"WARNING. CPicturePersist::TestAndCorrectBmpHeader(): correcting bad image "
                                  "size: old=0, new=24\n"});
    ExpectPixels(builder);
}

TEST_F(BmpFile, FileHeader)
{
    const BmpBuilder good(32, 3, 2);
    const struct
    {
        const char* pszField;
        void (*pfnBreak)(BmpBuilder& builder);
        HRESULT hr;
    } rgRows[] = {
        {"type", [](BmpBuilder& builder) { builder.file.bfType = 0x4D43; }, E_FAIL},
        {"offset 53", [](BmpBuilder& builder) { builder.file.bfOffBits = 53; }, E_FAIL},
        {"offset = size", [](BmpBuilder& builder) { builder.file.bfSize = 54; }, E_FAIL},
        {"size one short", [](BmpBuilder& builder) { --builder.file.bfSize; }, E_FAIL},
        {"size 0", [](BmpBuilder& builder) { builder.file.bfSize = 0; }, E_FAIL},
        {"size too large", [](BmpBuilder& builder) { builder.file.bfSize = 0xFFFFFFFF; }, S_OK},
        {"sum that would wrap",
         [](BmpBuilder& builder)
         {
             builder.file.bfOffBits = 0xFFFFFFF0;
             builder.file.bfSize = 0xFFFFFFFF;
         },
         E_FAIL},
        {"offset far behind the end",
         [](BmpBuilder& builder)
         {
             builder.file.bfOffBits = 0xFFFFFF00;
             builder.file.bfSize = 0xFFFFFFFF;
         },
         E_FAIL},
        {"reserved", [](BmpBuilder& builder) { builder.file.bfReserved1 = 7; }, S_OK},
        {"planes", [](BmpBuilder& builder) { builder.info.biPlanes = 2; }, E_FAIL},
        {"header of another size", [](BmpBuilder& builder) { builder.info.biSize = 124; }, E_FAIL},
    };
    for (const auto& row : rgRows)
    {
        SCOPED_TRACE(row.pszField);
        BmpBuilder builder = good;
        row.pfnBreak(builder);
        EXPECT_EQ(Load(builder.File()), row.hr);
        EXPECT_TRUE(log.Lines().empty());
    }
}

TEST_F(BmpFile, GapBeforeThePixels)
{
    for (size_t cbGap : {1, 12, 100000})
    {
        BmpBuilder builder(24, 7, 5);
        builder.gap = Pattern(cbGap, 9);
        builder.file.bfOffBits += static_cast<DWORD>(cbGap);
        builder.file.bfSize += static_cast<DWORD>(cbGap);
        ASSERT_EQ(Load(builder.File()), S_OK);
        ExpectPixels(builder);
    }
}

TEST_F(BmpFile, EveryCut)
{
    BmpBuilder builder(24, 3, 2);
    builder.gap = Bytes(2);
    builder.file.bfOffBits += 2;
    builder.file.bfSize += 2;
    Bytes bytes = builder.File();
    Append(bytes, Bytes(3, 0xEE)); // what follows does not matter
    for (size_t cb = 0; cb <= bytes.size(); ++cb)
    {
        const HRESULT hr = Load(Bytes(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(cb)));
        ASSERT_EQ(hr, cb < 54 + 2 + 24 ? E_FAIL : S_OK) << cb;
    }
}

/// A depth of 32 beside a format code of fewer bytes a pixel: the block is as large as the loader records.
TEST_F(BmpFile, FormatCodeWithAFalseDepth)
{
    BmpBuilder builder(16, 4, 2);
    builder.info.biCompression = FOURCC_YUY2;
    builder.info.biBitCount = 32;
    ASSERT_EQ(Load(builder.File()), S_OK);
    EXPECT_EQ(bmi.biSizeImage, 16u);
    ExpectPixels(builder);

    BmpBuilder builderWide(32, 4, 2);
    builderWide.info.biCompression = FOURCC_v210; // rows of 128 bytes
    builderWide.pixels = Pattern(256);
    builderWide.file.bfSize = 54 + 256;
    ASSERT_EQ(Load(builderWide.File()), S_OK);
    EXPECT_EQ(bmi.biSizeImage, 256u);
    ExpectPixels(builderWide);
}

TEST_F(BmpFile, RandomBytes)
{
    std::mt19937 random(815);
    int nLoaded = 0;
    for (int i = 0; i < 1500; ++i)
    {
        const WORD rgBits[] = {16, 24, 32};
        BmpBuilder builder(rgBits[random() % 3], static_cast<LONG>(random() % 9 + 1),
                           static_cast<LONG>(random() % 9) - 10);
        Bytes bytes = builder.File();
        for (unsigned n = random() % 4; n > 0; --n)
            bytes[random() % std::min<size_t>(bytes.size(), 60)] ^= static_cast<BYTE>(1u << random() % 8);
        if (random() % 4 == 0)
            bytes.resize(random() % bytes.size());
        const HRESULT hr = Load(bytes);
        ASSERT_TRUE(hr == S_OK || hr == E_FAIL || hr == E_OUTOFMEMORY);
        if (hr == S_OK)
        {
            ++nLoaded;
            ASSERT_LE(54 + bmi.biSizeImage, bytes.size());
        }
    }
    EXPECT_GT(nLoaded, 200);
}
} // namespace
