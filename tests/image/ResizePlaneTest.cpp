// The scaling of single planes, against the filters in double precision.
#include "ResizeReference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace
{

constexpr int arrModes[] = {eIP_Nearest, eIP_Linear, eIP_Cubic, eIP_Super};
constexpr int arrChannels[] = {1, 3, 4};

/// Levels by which a filter may differ from its reference: none where no weight is rounded.
int Tolerance(int nMode)
{
    return nMode == eIP_Nearest ? 0 : 1;
}

void ExpectLikeReference(const Plane& src, const Plane& dst, const PlaneScale& scale, int nMode)
{
    for (LONG y = 0; y < scale.dstSize.nHeight; y++)
    {
        for (LONG x = 0; x < scale.dstSize.nWidth; x++)
        {
            for (int c = 0; c < src.nChannels; c++)
            {
                const int nExpected = ReferenceLevel(src, scale, nMode, x, y, c);
                ASSERT_LE(std::abs(dst.At(x, y, c) - nExpected), Tolerance(nMode))
                    << "at " << x << ", " << y << " channel " << c << ": " << int{dst.At(x, y, c)}
                    << " instead of " << nExpected;
            }
        }
    }
}

std::string Str(const PlaneScale& scale, int nMode, int nChannels)
{
    const auto str = [](LONG n) { return std::to_string(n); };
    return str(scale.srcSize.nWidth) + " x " + str(scale.srcSize.nHeight) + " at " + str(scale.srcRoi.nLeft) +
           ", " + str(scale.srcRoi.nTop) + " size " + str(scale.srcRoi.nWidth) + " x " +
           str(scale.srcRoi.nHeight) + " to " + str(scale.dstSize.nWidth) + " x " +
           str(scale.dstSize.nHeight) + " mode " + std::to_string(nMode) + " channels " +
           std::to_string(nChannels);
}

struct SizePair
{
    RoiSize src;
    RoiSize dst;
};

/// Enlarged and reduced, either way, odd sizes, single samples and rows, extremes.
constexpr SizePair arrSizes[] = {
    {{16, 12}, {33, 25}}, {{33, 25}, {16, 12}},  {{40, 9}, {17, 31}},  {{17, 31}, {40, 9}},
    {{8, 8}, {8, 8}},     {{8, 8}, {16, 8}},     {{8, 8}, {8, 16}},    {{64, 48}, {24, 26}},
    {{1, 1}, {1, 1}},     {{1, 1}, {19, 7}},     {{19, 7}, {1, 1}},    {{2, 2}, {9, 9}},
    {{3, 3}, {7, 7}},     {{2, 5}, {5, 2}},      {{3, 1}, {1, 3}},     {{1, 30}, {30, 1}},
    {{4, 4}, {100, 3}},   {{200, 3}, {7, 5}},    {{257, 5}, {3, 2}},   {{5, 130}, {4, 3}},
    {{60, 60}, {20, 15}}, {{31, 17}, {130, 70}}, {{300, 4}, {113, 4}}, {{300, 4}, {37, 3}},
    {{90, 6}, {22, 6}},   {{16, 3}, {15, 3}},    {{15, 3}, {16, 3}},   {{5, 5}, {300, 1}},
    {{6, 300}, {6, 1}},   {{18, 2}, {9, 1}},     {{1, 1}, {2, 2}},     {{2, 3}, {4, 6}},
    {{77, 5}, {154, 10}}, {{80, 6}, {40, 3}},
};

TEST(ResizePlane, WholePlanesLikeTheReference)
{
    unsigned nSeed = 1;
    for (const SizePair& sizes : arrSizes)
    {
        for (const int nChannels : arrChannels)
        {
            for (const int nMode : arrModes)
            {
                const PlaneScale scale = WholeScale(sizes.src, sizes.dst);
                SCOPED_TRACE(Str(scale, nMode, nChannels));
                Plane src(sizes.src.nWidth, sizes.src.nHeight, nChannels, nSeed % 5);
                Plane dst(sizes.dst.nWidth, sizes.dst.nHeight, nChannels, nSeed % 3);
                src.Fill(nSeed++);
                ASSERT_EQ(RunPlane(src, dst, scale, nMode), ePS_Done);
                ExpectLikeReference(src, dst, scale, nMode);
                if (testing::Test::HasFatalFailure())
                    return;
            }
        }
    }
}

/// Regions of a larger picture: filters reach over their edges.
TEST(ResizePlane, RegionsLikeTheReference)
{
    unsigned nSeed = 12345;
    const auto below = [&nSeed](LONG nLimit)
    {
        nSeed = nSeed * 1664525u + 1013904223u;
        return static_cast<LONG>((nSeed >> 8) % static_cast<unsigned>(nLimit));
    };
    for (int i = 0; i < 400; i++)
    {
        const RoiSize srcSize = {1 + below(40), 1 + below(20)};
        PlaneScale scale = WholeScale(srcSize, {1 + below(50), 1 + below(20)});
        scale.srcRoi.nLeft = below(srcSize.nWidth);
        scale.srcRoi.nTop = below(srcSize.nHeight);
        scale.srcRoi.nWidth = 1 + below(srcSize.nWidth - scale.srcRoi.nLeft);
        scale.srcRoi.nHeight = 1 + below(srcSize.nHeight - scale.srcRoi.nTop);
        scale.factorX = {scale.dstSize.nWidth, scale.srcRoi.nWidth};
        scale.factorY = {scale.dstSize.nHeight, scale.srcRoi.nHeight};
        const int nChannels = arrChannels[below(3)];
        const int nMode = arrModes[i % 4];
        SCOPED_TRACE(Str(scale, nMode, nChannels));
        Plane src(srcSize.nWidth, srcSize.nHeight, nChannels, below(4));
        Plane dst(scale.dstSize.nWidth, scale.dstSize.nHeight, nChannels, below(4));
        src.Fill(nSeed);
        ASSERT_EQ(RunPlane(src, dst, scale, nMode), ePS_Done);
        ExpectLikeReference(src, dst, scale, nMode);
        if (testing::Test::HasFatalFailure())
            return;
    }
}

/// Doubled and halved regions inside of a picture, which have ways of their own.
TEST(ResizePlane, RegionsByTwo)
{
    for (const int nChannels : arrChannels)
    {
        for (const int nMode : arrModes)
        {
            for (const LONG nLeft : {0, 1, 7, 14})
            {
                for (const bool bDouble : {false, true})
                {
                    Plane src(90, 11, nChannels, 3);
                    src.Fill(static_cast<unsigned>(nLeft));
                    const RoiSize roi = {76, 6};
                    const RoiSize dstSize = bDouble ? RoiSize{152, 12} : RoiSize{38, 3};
                    const PlaneScale scale = {src.size,
                                              {nLeft, nLeft / 3, roi.nWidth, roi.nHeight},
                                              dstSize,
                                              {dstSize.nWidth, roi.nWidth},
                                              {dstSize.nHeight, roi.nHeight}};
                    SCOPED_TRACE(Str(scale, nMode, nChannels));
                    Plane dst(dstSize.nWidth, dstSize.nHeight, nChannels, 2);
                    ASSERT_EQ(RunPlane(src, dst, scale, nMode), ePS_Done);
                    ExpectLikeReference(src, dst, scale, nMode);
                    if (testing::Test::HasFatalFailure())
                        return;
                }
            }
        }
    }
}

/// The factor of chroma may be that of luma with an odd number of rows: samples stand where luma has them.
TEST(ResizePlane, FactorsOfAnotherPlane)
{
    for (const int nMode : {eIP_Nearest, eIP_Linear, eIP_Cubic})
    {
        PlaneScale scale = WholeScale({4, 2}, {9, 4});
        scale.factorX = {19, 9};
        scale.factorY = {9, 5};
        Plane src(4, 2, 1, 0);
        Plane dst(9, 4, 1, 0);
        src.Fill(3);
        ASSERT_EQ(RunPlane(src, dst, scale, nMode), ePS_Done);
        ExpectLikeReference(src, dst, scale, nMode);
    }
}

TEST(ResizePlane, FlatStaysFlat)
{
    for (const int nLevel : {0, 1, 16, 127, 128, 235, 254, 255})
    {
        for (const SizePair& sizes : arrSizes)
        {
            for (const int nMode : arrModes)
            {
                const int nChannels = arrChannels[nLevel % 3];
                const PlaneScale scale = WholeScale(sizes.src, sizes.dst);
                SCOPED_TRACE(Str(scale, nMode, nChannels));
                Plane src(sizes.src.nWidth, sizes.src.nHeight, nChannels, 0);
                Plane dst(sizes.dst.nWidth, sizes.dst.nHeight, nChannels, 0);
                src.Flat(static_cast<BYTE>(nLevel));
                ASSERT_EQ(RunPlane(src, dst, scale, nMode), ePS_Done);
                ASSERT_EQ(std::count(dst.bytes.begin(), dst.bytes.end(), nLevel),
                          static_cast<ptrdiff_t>(dst.bytes.size()));
            }
        }
    }
}

/// Sides reduced by whole factors: the mean of the block, rounded half up, to the bit.
TEST(ResizePlane, SupersamplingIsTheExactMean)
{
    for (LONG nX = 1; nX <= 9; nX++)
    {
        for (LONG nY = 1; nY <= 7; nY++)
        {
            for (const int nChannels : arrChannels)
            {
                constexpr LONG nWidth = 21;
                constexpr LONG nHeight = 4;
                Plane src(nWidth * nX, nHeight * nY, nChannels, 0);
                Plane dst(nWidth, nHeight, nChannels, 0);
                src.Fill(static_cast<unsigned>(nX * 100 + nY));
                ASSERT_EQ(RunPlane(src, dst, WholeScale(src.size, dst.size), eIP_Super), ePS_Done);
                for (LONG y = 0; y < nHeight; y++)
                {
                    for (LONG x = 0; x < nWidth; x++)
                    {
                        for (int c = 0; c < nChannels; c++)
                        {
                            LONG nSum = 0;
                            for (LONG j = 0; j < nX * nY; j++)
                                nSum += src.At(x * nX + j % nX, y * nY + j / nX, c);
                            ASSERT_EQ(int{dst.At(x, y, c)}, (2 * nSum + nX * nY) / (2 * nX * nY));
                        }
                    }
                }
            }
        }
    }
}

/// Ratios with terms so large that sums need 64 bits.
TEST(ResizePlane, SupersamplingOfUnfriendlyRatios)
{
    constexpr SizePair arrWide[] = {
        {{4099, 2053}, {2, 3}}, {{70001, 2}, {40009, 1}}, {{40009, 1}, {70001, 1}}};
    for (const SizePair& sizes : arrWide)
    {
        Plane src(sizes.src.nWidth, sizes.src.nHeight, 1, 0);
        Plane dst(sizes.dst.nWidth, sizes.dst.nHeight, 1, 0);
        src.Fill(9);
        const PlaneScale scale = WholeScale(src.size, dst.size);
        ASSERT_EQ(RunPlane(src, dst, scale, eIP_Super), ePS_Done);
        for (LONG x = 0; x < sizes.dst.nWidth; x += std::max<LONG>(1, sizes.dst.nWidth / 7))
            EXPECT_LE(std::abs(dst.At(x, 0, 0) - ReferenceLevel(src, scale, eIP_Super, x, 0, 0)), 1) << x;
    }
}

TEST(ResizePlane, Mirrored)
{
    // The filters are symmetric: a turned source gives a turned output, but for ties of the nearest sample.
    for (const int nMode : {eIP_Linear, eIP_Cubic, eIP_Super})
    {
        Plane src(37, 1, 1, 0);
        Plane turned(37, 1, 1, 0);
        Plane dst(23, 1, 1, 0);
        Plane dstTurned(23, 1, 1, 0);
        src.Fill(4);
        std::reverse_copy(src.bytes.begin(), src.bytes.end(), turned.bytes.begin());
        const PlaneScale scale = WholeScale(src.size, dst.size);
        ASSERT_EQ(RunPlane(src, dst, scale, nMode), ePS_Done);
        ASSERT_EQ(RunPlane(turned, dstTurned, scale, nMode), ePS_Done);
        std::reverse(dstTurned.bytes.begin(), dstTurned.bytes.end());
        for (size_t i = 0; i < dst.bytes.size(); i++)
            EXPECT_LE(std::abs(dst.bytes[i] - dstTurned.bytes[i]), 1) << i;
    }
}

TEST(ResizePlane, Refusals)
{
    Plane src(4, 4, 1, 0);
    Plane dst(8, 8, 1, 0);
    const PlaneScale scale = WholeScale(src.size, dst.size);
    for (const int nMode : {0, 3, 5, 7, 9, 16, 0x20, 0x22, 0x23, -1, 0x7FFFFFFF})
        EXPECT_EQ(RunPlane(src, dst, scale, nMode), ePS_Interpolation) << nMode;
    EXPECT_EQ(ResizePlane1(nullptr, 4, dst.Data(), 8, scale, 1, dst.Data()), ePS_NullPointer);
    EXPECT_EQ(ResizePlane1(src.Data(), 4, nullptr, 8, scale, 1, dst.Data()), ePS_NullPointer);
    EXPECT_EQ(ResizePlane1(src.Data(), 4, dst.Data(), 8, scale, 1, nullptr), ePS_NullPointer);

    const auto refused = [&](auto change)
    {
        PlaneScale changed = scale;
        change(changed);
        return RunPlane(src, dst, changed, eIP_Linear) == ePS_SizeError &&
               ResizeWorkSize(changed, eIP_Linear, 1) == 0;
    };
    EXPECT_TRUE(refused([](PlaneScale& s) { s.srcRoi.nWidth = 0; }));
    EXPECT_TRUE(refused([](PlaneScale& s) { s.srcRoi.nHeight = -1; }));
    EXPECT_TRUE(refused([](PlaneScale& s) { s.srcRoi.nLeft = 1; }));
    EXPECT_TRUE(refused([](PlaneScale& s) { s.srcRoi.nLeft = -1; }));
    EXPECT_TRUE(refused([](PlaneScale& s) { s.srcRoi.nTop = 0x7FFFFFFF; }));
    EXPECT_TRUE(refused([](PlaneScale& s) { s.dstSize.nWidth = 0; }));
    EXPECT_TRUE(refused([](PlaneScale& s) { s.dstSize.nHeight = -8; }));
    EXPECT_TRUE(refused([](PlaneScale& s) { s.factorX.nSrc = 0; }));
    EXPECT_TRUE(refused([](PlaneScale& s) { s.factorY.nDst = -1; }));
    EXPECT_EQ(std::count(dst.bytes.begin(), dst.bytes.end(), 0), static_cast<ptrdiff_t>(dst.bytes.size()));
}

} // namespace
