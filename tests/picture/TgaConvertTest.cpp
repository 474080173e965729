// From stored pixels to a bottom-up bitmap and an alpha plane.
#include "Common/Common.h"
#include "OpenTga.h"
#include "TgaBuilder.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <functional>

namespace
{
constexpr DWORD rgFormats[] = {FOURCC_RGB24, FOURCC_RGB32, FOURCC_ARGB32};
constexpr BYTE byUntouched = 0xC5;

using Texts = std::vector<std::string>;

/// What a stored pixel becomes: B, G, R, fourth byte of FOURCC_ARGB32, alpha plane (-1: not written).
struct Expected
{
    BYTE b, g, r, a;
    int nPlane;
};

Expected ExpectedOf(const BYTE* pb, unsigned nBPP)
{
    if (nBPP == 15 || nBPP == 16)
    {
        const unsigned v = pb[0] + 256u * pb[1];
        const BYTE a = v >= 0x8000 ? 255 : 0;
        return {static_cast<BYTE>(v % 32 * 8), static_cast<BYTE>(v / 32 % 32 * 8),
                static_cast<BYTE>(v / 1024 % 32 * 8), a, a};
    }
    if (nBPP == 24)
        return {pb[0], pb[1], pb[2], 255, -1};
    return {pb[0], pb[1], pb[2], pb[3], nBPP == 32 ? pb[3] : -1};
}

struct TgaConvert : testing::Test
{
    void Load(const TgaBuilder& builder)
    {
        ASSERT_EQ(tga.LoadFile(WideText(folder.Write("picture.tga", builder.File()))), S_OK);
        log.Clear();
        asserts.Clear();
    }

    /// Converts to every format, with and without an alpha plane, and compares every byte.
    /// \param pixelAt the four bytes from which pixel (x, y) comes, y counted in stored rows
    void ExpectPicture(unsigned nBPP, const std::function<const BYTE*(size_t x, size_t y)>& pixelAt)
    {
        const size_t nWidth = tga.Columns();
        const size_t nHeight = tga.Rows();
        for (DWORD fccType : rgFormats)
        {
            for (const bool bAlpha : {false, true})
            {
                const size_t cbPixel = fccType == FOURCC_RGB24 ? 3 : 4;
                const size_t cbRow = (nWidth * cbPixel + 3) / 4 * 4;
                const size_t cbAlphaRow = (nWidth + 3) / 4 * 4;
                Bytes bmp(cbRow * nHeight, byUntouched);
                Bytes alpha(cbAlphaRow * nHeight, byUntouched);
                Bytes bmpExpected = bmp;
                Bytes alphaExpected = alpha;
                for (size_t y = 0; y < nHeight; ++y)
                {
                    for (size_t x = 0; x < nWidth; ++x)
                    {
                        const Expected e =
                            ExpectedOf(pixelAt(x, tga.IsTopOrigin() ? nHeight - 1 - y : y), nBPP);
                        BYTE* pb = &bmpExpected[y * cbRow + x * cbPixel];
                        pb[0] = e.b;
                        pb[1] = e.g;
                        pb[2] = e.r;
                        if (cbPixel == 4)
                            pb[3] = fccType == FOURCC_ARGB32 ? e.a : 0;
                        BYTE& byAlpha = alphaExpected[y * cbAlphaRow + x];
                        if (!tga.HasAlpha())
                            byAlpha = 255;
                        else if (e.nPlane >= 0)
                            byAlpha = static_cast<BYTE>(e.nPlane);
                    }
                }
                ASSERT_EQ(tga.ConvertToBmp(fccType, bmp.data(), bAlpha ? alpha.data() : nullptr), S_OK);
                ASSERT_EQ(bmp, bmpExpected);
                if (bAlpha)
                {
                    ASSERT_EQ(alpha, alphaExpected);
                }
                else
                {
                    ASSERT_EQ(alpha, Bytes(alpha.size(), byUntouched));
                }
            }
        }
    }

    TempFolder folder;
    OpenTga tga;
    LogCapture log;
    AssertCapture asserts;
};

TEST_F(TgaConvert, TrueColour)
{
    for (BYTE nDepth : {15, 16, 24, 32})
    {
        for (BYTE fDesc : {0x00, 0x01, 0x08, 0x20, 0x28, 0x10, 0xD8})
        {
            for (auto [nWidth, nHeight] :
                 {std::pair<WORD, WORD>{1, 1}, {1, 5}, {6, 1}, {7, 4}, {8, 3}, {130, 9}})
            {
                SCOPED_TRACE(testing::Message()
                             << unsigned{nDepth} << " " << unsigned{fDesc} << " " << nWidth);
                TgaBuilder builder = TgaBuilder::TrueColour(nDepth, nWidth, nHeight);
                builder.fImageDesc = fDesc;
                Bytes decoded = builder.image;
                for (const bool bPacked : {false, true})
                {
                    Load(bPacked ? builder.Packed({3, 2}, &decoded) : builder);
                    ExpectPicture(nDepth, [&](size_t x, size_t y)
                                  { return &decoded[(y * builder.nWidth + x) * builder.Depth()]; });
                    EXPECT_TRUE(asserts.Texts().empty());
                    EXPECT_TRUE(log.Lines().empty());
                }
            }
        }
    }
}

TEST_F(TgaConvert, ColourMap)
{
    for (BYTE nMapDepth : {15, 16, 24, 32})
    {
        for (BYTE nIndexDepth : {1, 8, 9, 16})
        {
            for (BYTE fDesc : {0x00, 0x08, 0x20, 0x21})
            {
                const WORD nEntries = nIndexDepth > 8 ? 300 : 5;
                TgaBuilder builder = TgaBuilder::ColMap(nMapDepth, nEntries, nIndexDepth, 31, 13);
                builder.fImageDesc = fDesc;
                builder.nColMapFirst = 3; // never applied
                Load(builder);
                const size_t cbEntry = (nMapDepth + 7u) / 8;
                ExpectPicture(nMapDepth, [&](size_t x, size_t y)
                              { return &builder.colMap[(y * 31 + x) % nEntries * cbEntry]; });
                EXPECT_TRUE(asserts.Texts().empty());
            }
        }
    }
}

TEST_F(TgaConvert, FiveBitChannels)
{
    TgaBuilder builder = TgaBuilder::TrueColour(16, 4, 1);
    builder.image = {0xFF, 0x7F, 0xFF, 0xFF, 0x21, 0x84, 0x00, 0x80};
    Load(builder);
    Bytes bmp(16);
    ASSERT_EQ(tga.ConvertToBmp(FOURCC_ARGB32, bmp.data(), nullptr), S_OK);
    EXPECT_EQ(bmp, (Bytes{248, 248, 248, 0, 248, 248, 248, 255, 8, 8, 8, 255, 0, 0, 0, 255}));
    // Without alpha bits the plane is solid, while bit 15 still decides the fourth byte.
    Bytes alpha(4);
    ASSERT_EQ(tga.ConvertToBmp(FOURCC_ARGB32, bmp.data(), alpha.data()), S_OK);
    EXPECT_EQ(alpha, Bytes(4, 255));
    EXPECT_EQ(bmp[3], 0);
}

TEST_F(TgaConvert, OneRowFromTheTop)
{
    TgaBuilder builder = TgaBuilder::TrueColour(24, 4, 1);
    builder.fImageDesc = 0x20;
    Load(builder);
    Bytes bmp(12);
    ASSERT_EQ(tga.ConvertToBmp(FOURCC_RGB24, bmp.data(), nullptr), S_OK);
    EXPECT_EQ(bmp, builder.image);
}

/// Depths that no table names: four bytes are taken, one assertion a pixel.
TEST_F(TgaConvert, OddDepths)
{
    for (BYTE nDepth : {1, 7, 8, 9, 14, 17, 23, 25, 31})
    {
        SCOPED_TRACE(unsigned{nDepth});
        TgaBuilder builder = TgaBuilder::TrueColour(nDepth, 5, 3);
        builder.fImageDesc = 0x08;
        Load(builder);
        Bytes image = builder.image;
        image.resize(image.size() + 4, 0); // what lies behind the image reads as zero
        ExpectPicture(nDepth, [&](size_t x, size_t y) { return &image[(y * 5 + x) * builder.Depth()]; });
        EXPECT_EQ(asserts.Texts(), Texts(6 * 15, "nBPP == 24 || nBPP == 32"));
    }
}

TEST_F(TgaConvert, OddDepthsOfTheColourMap)
{
    for (BYTE nDepth : {1, 8, 12, 17, 31})
    {
        SCOPED_TRACE(unsigned{nDepth});
        TgaBuilder builder = TgaBuilder::ColMap(nDepth, 3, 8, 5, 3);
        builder.fImageDesc = 0x08;
        Load(builder);
        Bytes map = builder.colMap;
        map.resize(map.size() + 4, 0);
        ExpectPicture(nDepth,
                      [&](size_t x, size_t y) { return &map[(y * 5 + x) % 3 * ((nDepth + 7u) / 8)]; });
        EXPECT_EQ(asserts.Texts(), Texts(6 * 15, "nBPP == 24 || nBPP == 32"));
    }
}

TEST_F(TgaConvert, IndicesBeyondTheMap)
{
    for (BYTE nMapDepth : {16, 24, 32})
    {
        for (BYTE nIndexDepth : {8, 16})
        {
            TgaBuilder builder = TgaBuilder::ColMap(nMapDepth, 3, nIndexDepth, 4, 1);
            const Bytes indices8 = {2, 3, 255, 0};
            const Bytes indices16 = {2, 0, 3, 0, 0xFF, 0xFF, 0, 0};
            builder.image = nIndexDepth == 8 ? indices8 : indices16;
            Load(builder);
            const Bytes zeros(4, 0);
            const size_t cbEntry = nMapDepth / 8u;
            ExpectPicture(
                nMapDepth, [&](size_t x, size_t)
                { return x == 1 || x == 2 ? zeros.data() : &builder.colMap[x == 0 ? 2 * cbEntry : 0]; });
            EXPECT_EQ(asserts.Texts(), Texts(6 * 2, "idx < m_header.nColMapEntries"));
        }
    }
}

TEST_F(TgaConvert, EntriesReadThirtyTwoBits)
{
    TgaBuilder builder = TgaBuilder::ColMap(16, 3);
    builder.colMap = {1, 2, 3, 4, 5, 6};
    Load(builder);
    EXPECT_EQ(tga.ColMapEntry(0), 0x04030201u);
    EXPECT_EQ(tga.ColMapEntry(1), 0x06050403u);
    EXPECT_EQ(tga.ColMapEntry(2), 0x00000605u);
    EXPECT_TRUE(asserts.Texts().empty());
    EXPECT_EQ(tga.ColMapEntry(3), 0u);
    EXPECT_EQ(tga.ColMapEntry(0xFFFFFFFF), 0u);
    EXPECT_EQ(asserts.Texts(), Texts(2, "idx < m_header.nColMapEntries"));
}

TEST_F(TgaConvert, IndexOfMoreThanTwoBytes)
{
    for (BYTE nDepth : {17, 24, 32})
    {
        TgaBuilder builder = TgaBuilder::ColMap(24, 3);
        builder.nBitDepth = nDepth;
        builder.image = Pattern(builder.ImageSize());
        Load(builder);
        Bytes bmp(100, byUntouched);
        EXPECT_EQ(tga.ConvertToBmp(FOURCC_ARGB32, bmp.data(), nullptr), E_FAIL);
        EXPECT_EQ(asserts.Texts(), Texts{"Depth() == 1 || Depth() == 2"});
        EXPECT_EQ(log.Texts(2), Texts{"###Err### CTga::ConvertToBmp(): Convert_ColMap()=0x80004005\n"});
        EXPECT_EQ(bmp, Bytes(100, byUntouched));
    }
}

TEST_F(TgaConvert, BlackAndWhiteIsRefused)
{
    for (const bool bPacked : {false, true})
    {
        const TgaBuilder builder = TgaBuilder::Grey();
        Load(bPacked ? builder.Packed({2, 2}) : builder);
        EXPECT_EQ(tga.Mode(), eTGAMode_BW);
        Bytes bmp(100, byUntouched);
        EXPECT_EQ(tga.ConvertToBmp(FOURCC_RGB32, bmp.data(), bmp.data()), E_FAIL);
        EXPECT_EQ(asserts.Texts(), Texts{"CTga::Convert_BW(): not ready yet"});
        EXPECT_EQ(log.Texts(2), Texts{"###Err### CTga::ConvertToBmp(): Convert_BW()=0x80004005\n"});
        EXPECT_EQ(bmp, Bytes(100, byUntouched));
    }
}

TEST_F(TgaConvert, ChecksInTheirOrder)
{
    const char* const pszFormat =
        "fccType == FOURCC_RGB24 || fccType == FOURCC_RGB32 || fccType == FOURCC_ARGB32";
    BYTE by = 0;
    EXPECT_EQ(tga.ConvertToBmp(FOURCC_RGB565, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(tga.ConvertToBmp(FOURCC_RGB24, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(tga.ConvertToBmp(FOURCC_RGB24, &by, nullptr), E_FAIL);
    tga.m_header.nWidth = 1;
    EXPECT_EQ(tga.ConvertToBmp(FOURCC_RGB24, &by, nullptr), E_FAIL);
    tga.m_header.nHeight = 1;
    EXPECT_EQ(tga.ConvertToBmp(FOURCC_RGB24, &by, nullptr), E_FAIL);
    Load(TgaBuilder::TrueColour(24, 1, 1)); // also clears the captures
    EXPECT_EQ(tga.ConvertToBmp(0, &by, nullptr), E_INVALIDARG);
    tga.m_eMode = eTGAMode_None;
    EXPECT_EQ(tga.ConvertToBmp(FOURCC_RGB24, &by, nullptr), E_FAIL);
    EXPECT_EQ(asserts.Texts(), (Texts{pszFormat, "CTga::ConvertToBmp(): Unknown mode of picture"}));
    EXPECT_TRUE(log.Texts(2).empty());
}

TEST_F(TgaConvert, ChecksOfAnEmptyReader)
{
    BYTE by = 0;
    EXPECT_EQ(tga.ConvertToBmp(FOURCC_RGB565, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(tga.ConvertToBmp(FOURCC_RGB24, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(tga.ConvertToBmp(FOURCC_RGB24, &by, nullptr), E_FAIL);
    tga.m_header.nWidth = 1;
    tga.m_header.nHeight = 1;
    EXPECT_EQ(tga.ConvertToBmp(FOURCC_RGB24, &by, nullptr), E_FAIL);
    EXPECT_EQ(asserts.Texts(),
              (Texts{"fccType == FOURCC_RGB24 || fccType == FOURCC_RGB32 || fccType == FOURCC_ARGB32",
                     "pBmp != NULL", "Columns() > 0 && Rows() > 0", "Image() != NULL"}));
}

TEST_F(TgaConvert, ChecksOfTheSingleConversions)
{
    BYTE rgPixel[4] = {};
    Load(TgaBuilder::TrueColour(24, 1, 1));
    EXPECT_EQ(tga.Convert_ColMap(FOURCC_RGB24, rgPixel, nullptr), E_FAIL);
    EXPECT_EQ(asserts.Texts(), Texts{"Mode() == eTGAMode_ColMap"});
    EXPECT_EQ(tga.Convert_ColMap(FOURCC_RGB24, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(tga.Convert_TrueColor(1, rgPixel, nullptr), E_INVALIDARG);
    EXPECT_EQ(tga.Convert_TrueColor(FOURCC_RGB24, rgPixel, nullptr), S_OK);
    Load(TgaBuilder::ColMap(24, 1, 8, 1, 1));
    EXPECT_EQ(tga.Convert_TrueColor(FOURCC_RGB24, rgPixel, nullptr), E_FAIL);
    EXPECT_EQ(asserts.Texts(), Texts{"Mode() == eTGAMode_TrueColor"});
    EXPECT_EQ(tga.Convert_ColMap(FOURCC_RGB24, rgPixel, nullptr), S_OK);
    EXPECT_TRUE(log.Texts(2).empty()) << "ConvertToBmp traces, not the single conversions";
}

TEST_F(TgaConvert, AnyNumberOfTimes)
{
    const TgaBuilder builder = TgaBuilder::TrueColour(32, 2, 2);
    Load(builder);
    for (int i = 0; i < 3; ++i)
    {
        Bytes bmp(16);
        ASSERT_EQ(tga.ConvertToBmp(FOURCC_ARGB32, bmp.data(), nullptr), S_OK);
        EXPECT_EQ(bmp, builder.image);
    }
}
} // namespace
