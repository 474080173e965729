#include "AlphaPlane.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace
{

/// Pixel i is (1, 2, 3, i + 1).
std::vector<BYTE> Pixels(size_t nPixels)
{
    std::vector<BYTE> pixels(nPixels * 4);
    for (size_t i = 0; i < pixels.size(); i++)
        pixels[i] = static_cast<BYTE>(i % 4 == 3 ? i / 4 + 1 : i % 4 + 1);
    return pixels;
}

/// A plane that held something before.
std::vector<BYTE> Plane(size_t cb)
{
    return std::vector<BYTE>(cb, 0xEE);
}

using Bytes = std::vector<BYTE>;

TEST(ExtractAlpha, FourthByteOfEachPixel)
{
    const Bytes pixels = Pixels(6);
    Bytes plane = Plane(6);
    ExtractAlpha(pixels.data(), pixels.size(), 12, plane.data(), plane.size(), 3, 3, 2);
    EXPECT_EQ(plane, (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST(ExtractAlpha, RowsLongerThanThePicture)
{
    const Bytes pixels = Pixels(8);
    Bytes plane = Plane(8);
    ExtractAlpha(pixels.data(), pixels.size(), 16, plane.data(), plane.size(), 4, 3, 2);
    EXPECT_EQ(plane, (Bytes{1, 2, 3, 0, 5, 6, 7, 0})); // what no pixel wrote is zero
}

TEST(ExtractAlpha, FourfoldStepsLookAtEveryFourthRow)
{
    // 2 by 8, source step 16 times and plane step 4 times the width.
    const Bytes pixels = Pixels(16);
    Bytes plane = Plane(64);
    ExtractAlpha(pixels.data(), pixels.size(), 32, plane.data(), plane.size(), 8, 2, 8);
    Bytes expected(64, 0);
    expected[0] = 1;
    expected[1] = 2;
    expected[8] = 9; // row 4 of the picture
    expected[9] = 10;
    EXPECT_EQ(plane, expected);
}

TEST(ExtractAlpha, PixelsOutsideThePictureAreZero)
{
    const Bytes pixels = Pixels(4);
    Bytes plane = Plane(6);
    ExtractAlpha(pixels.data(), pixels.size(), 12, plane.data(), plane.size(), 3, 3, 2);
    EXPECT_EQ(plane, (Bytes{1, 2, 3, 4, 0, 0}));
    plane = Plane(6);
    ExtractAlpha(pixels.data(), 15, 12, plane.data(), plane.size(), 3, 3, 2); // the last pixel is cut
    EXPECT_EQ(plane, (Bytes{1, 2, 3, 0, 0, 0}));
}

TEST(ExtractAlpha, WhatThePlaneCannotHoldIsDropped)
{
    const Bytes pixels = Pixels(6);
    Bytes plane = Plane(5);
    ExtractAlpha(pixels.data(), pixels.size(), 12, plane.data(), 4, 3, 3, 2);
    EXPECT_EQ(plane, (Bytes{1, 2, 3, 4, 0xEE}));
}

TEST(ExtractAlpha, NothingToRead)
{
    Bytes plane = Plane(4);
    ExtractAlpha(nullptr, 0, 8, plane.data(), plane.size(), 2, 2, 2);
    EXPECT_EQ(plane, Bytes(4, 0));
    const Bytes pixels = Pixels(4);
    ExtractAlpha(pixels.data(), pixels.size(), 8, nullptr, 0, 2, 2, 2);
    plane = Plane(4);
    ExtractAlpha(pixels.data(), pixels.size(), 8, plane.data(), plane.size(), 2, 0, 2);
    EXPECT_EQ(plane, Bytes(4, 0));
    plane = Plane(4);
    ExtractAlpha(pixels.data(), pixels.size(), 8, plane.data(), plane.size(), 2, 2, 0);
    EXPECT_EQ(plane, Bytes(4, 0));
}

TEST(ExtractAlpha, HugeRegionEndsWithTheBlocks)
{
    const Bytes pixels = Pixels(4);
    Bytes plane = Plane(4);
    ExtractAlpha(pixels.data(), pixels.size(), 8, plane.data(), plane.size(), 2, 0xFFFFFFFF, 0xFFFFFFFF);
    EXPECT_EQ(plane, (Bytes{1, 2, 3, 4}));
    // Steps of 0 would stay on the first row for ever.
    plane = Plane(4);
    ExtractAlpha(pixels.data(), pixels.size(), 0, plane.data(), plane.size(), 0, 2, 0xFFFFFFFF);
    EXPECT_EQ(plane, (Bytes{1, 2, 0, 0}));
}

TEST(SetAlphaSolid, EveryWholePixel)
{
    Bytes pixels = Pixels(4);
    SetAlphaSolid(pixels.data(), 15); // the last pixel is cut
    EXPECT_EQ(pixels, (Bytes{1, 2, 3, 255, 1, 2, 3, 255, 1, 2, 3, 255, 1, 2, 3, 4}));
    SetAlphaSolid(nullptr, 0);
}

} // namespace
