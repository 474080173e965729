// A picture that is converted while it is read is the one that comes of reading first and converting then.
#include "OpenTga.h"
#include "TgaBuilder.h"
#include "Video/TgaBmp/TgaBmp.h"
#include "asm/Cpu.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

namespace
{
struct Shape
{
    WORD nWidth, nHeight;
};

/// Single pixels and rows, rows that end in padding, pictures of many bands, one row a band.
constexpr Shape rgShapes[] = {{1, 1},  {1, 7},     {2, 3},      {3, 2},    {5, 5},
                              {17, 9}, {640, 300}, {1021, 211}, {65535, 3}};
constexpr DWORD rgTypes[] = {FOURCC_RGB24, FOURCC_RGB32, FOURCC_ARGB32};

struct TgaOnTheWay : testing::Test
{
    /// The bitmap of the one way and of the other.
    void Compare(const TgaBuilder& builder, DWORD fccType)
    {
        const WideText name(folder.Write("picture.tga", builder.File()));
        OpenTga tga;
        ASSERT_EQ(tga.LoadFile(name), S_OK);
        BITMAPINFOHEADER bmiExpected;
        ASSERT_TRUE(MakeTgaBmpHeader(tga.Columns(), tga.Rows(), fccType, &bmiExpected));
        Bytes expected(bmiExpected.biSizeImage); // row ends are zero
        ASSERT_EQ(tga.ConvertToBmp(fccType, expected.data(), nullptr), S_OK);

        BITMAPINFOHEADER bmi;
        CTaskBytes pBmp;
        ASSERT_EQ(TgaBmpConv(name, fccType, &bmi, pBmp.Out(), nullptr, false), S_OK);
        EXPECT_EQ(std::memcmp(&bmi, &bmiExpected, sizeof(bmi)), 0);
        EXPECT_TRUE(Bytes(pBmp.Get(), pBmp.Get() + expected.size()) == expected);

        CTaskBytes pWay;
        CTga::eBitmap eBitmap = CTga::eBitmap_NoMemory;
        CTga way;
        ASSERT_EQ(way.LoadFile(name, fccType, &pWay, &eBitmap), S_OK);
        EXPECT_EQ(eBitmap, CTga::eBitmap_Made) << "it really came on the way";
        EXPECT_EQ(way.Image(), nullptr);
        EXPECT_EQ(way.Mode(), eTGAMode_TrueColor);
        EXPECT_EQ(way.Header().nImageType, 2);
    }

    TempFolder folder;
    LogCapture log;
};

TEST_F(TgaOnTheWay, EveryDepthShapeAndOrder)
{
    for (BYTE nDepth : {15, 16, 24, 32})
    {
        for (const Shape& shape : rgShapes)
        {
            for (BYTE fDesc : {0x00, 0x20, 0x08})
            {
                TgaBuilder builder = TgaBuilder::TrueColour(nDepth, shape.nWidth, shape.nHeight);
                builder.fImageDesc = fDesc;
                for (DWORD fccType : rgTypes)
                {
                    SCOPED_TRACE(testing::Message()
                                 << int{nDepth} << " bits " << shape.nWidth << "x" << shape.nHeight
                                 << " desc " << int{fDesc} << " type " << fccType);
                    Compare(builder, fccType);
                    if (HasFatalFailure())
                        return;
                }
            }
        }
    }
    EXPECT_TRUE(log.Lines().empty());
}

/// Packets run across the ends of rows and of bands.
TEST_F(TgaOnTheWay, EveryPacking)
{
    for (BYTE nDepth : {15, 16, 24, 32})
    {
        for (const Shape& shape : rgShapes)
        {
            for (const std::vector<int>& lengths :
                 {std::vector<int>{1}, {128}, {2, 128, 1}, {127, 3, 64, 77}})
            {
                TgaBuilder builder =
                    TgaBuilder::TrueColour(nDepth, shape.nWidth, shape.nHeight).Packed(lengths);
                for (BYTE fDesc : {0x00, 0x20})
                {
                    builder.fImageDesc = fDesc;
                    SCOPED_TRACE(testing::Message()
                                 << int{nDepth} << " bits " << shape.nWidth << "x" << shape.nHeight
                                 << " desc " << int{fDesc} << " packets " << lengths[0]);
                    Compare(builder, FOURCC_ARGB32);
                    Compare(builder, FOURCC_RGB24);
                    if (HasFatalFailure())
                        return;
                }
            }
        }
    }
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(TgaOnTheWay, EveryProcessor)
{
    for (eCPU eLimit : {eCPU_Scalar, eCPU_SSE41, eCPU_AVX2})
    {
        const CCpuLimit limit(eLimit);
        for (WORD nWidth = 1; nWidth <= 70; ++nWidth)
        {
            Compare(TgaBuilder::TrueColour(24, nWidth, 3), FOURCC_ARGB32);
            Compare(TgaBuilder::TrueColour(24, nWidth, 3), FOURCC_RGB32);
            Compare(TgaBuilder::TrueColour(32, nWidth, 3), FOURCC_RGB24);
        }
    }
}

/// Pixels by the published layout, without the reader's help.
TEST_F(TgaOnTheWay, PixelsOfATopOrigin)
{
    TgaBuilder builder = TgaBuilder::TrueColour(24, 2, 2);
    builder.fImageDesc = 0x20;
    builder.image = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    BITMAPINFOHEADER bmi;
    CTaskBytes pBmp;
    ASSERT_EQ(TgaBmpConv(WideText(folder.Write("a.tga", builder.File())), FOURCC_ARGB32, &bmi, pBmp.Out(),
                         nullptr, false),
              S_OK);
    EXPECT_EQ(Bytes(pBmp.Get(), pBmp.Get() + 16),
              (Bytes{7, 8, 9, 255, 10, 11, 12, 255, 1, 2, 3, 255, 4, 5, 6, 255}));
}

/// What has something to report while it is converted is read first.
TEST_F(TgaOnTheWay, OthersAreReadFirst)
{
    AssertCapture asserts;
    std::vector<TgaBuilder> builders = {TgaBuilder::ColMap(24, 4), TgaBuilder::Grey(),
                                        TgaBuilder::TrueColour(17)};
    builders.push_back(TgaBuilder::ColMap(32, 9).Packed({2, 3}));
    for (const TgaBuilder& builder : builders)
    {
        CTga tga;
        CTaskBytes pBmp;
        CTga::eBitmap eBitmap = CTga::eBitmap_Made;
        ASSERT_EQ(
            tga.LoadFile(WideText(folder.Write("a.tga", builder.File())), FOURCC_ARGB32, &pBmp, &eBitmap),
            S_OK);
        EXPECT_EQ(eBitmap, CTga::eBitmap_ToConvert);
        EXPECT_FALSE(pBmp);
        EXPECT_NE(tga.Image(), nullptr);
    }
    EXPECT_TRUE(asserts.Texts().empty());
}
} // namespace
