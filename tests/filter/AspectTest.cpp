#include "AspectRects.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

// In the namespace of RECT, where the comparing macros look.
static bool operator==(const RECT& a, const RECT& b)
{
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

namespace
{

struct Rects
{
    RECT rcIn;
    RECT rcOut;
};

/// Both rectangles whole, then CalcAspectRects.
Rects Calc(LONG nInW, LONG nInH, LONG nOutW, LONG nOutH, int nMode, double dblIn = 1.0, double dblOut = 1.0)
{
    const PicProps picIn = {FOURCC_RGB32, nInW, nInH, nInW};
    const PicProps picOut = {FOURCC_RGB32, nOutW, nOutH, nOutW};
    Rects rects = {{0, 0, nInW, std::abs(nInH)}, {0, 0, nOutW, std::abs(nOutH)}};
    CalcAspectRects(&picIn, &picOut, nMode, &rects.rcIn, &rects.rcOut, dblIn, dblOut);
    return rects;
}

TEST(AspectRects, LetterBoxLeavesEqualBandsAtTheSides)
{
    const Rects rects = Calc(720, 540, 1920, 1080, eAR_LetterBox);
    EXPECT_EQ(rects.rcIn, (RECT{0, 0, 720, 540}));
    EXPECT_EQ(rects.rcOut, (RECT{240, 0, 1680, 1080})); // 1440 of 1920
}

TEST(AspectRects, LetterBoxLeavesEqualBandsAboveAndBelow)
{
    const Rects rects = Calc(1920, 1080, 720, 540, eAR_LetterBox);
    EXPECT_EQ(rects.rcIn, (RECT{0, 0, 1920, 1080}));
    EXPECT_EQ(rects.rcOut, (RECT{0, 68, 720, 472})); // (540 - 405) / 2 = 67.5, away from zero
}

TEST(AspectRects, CropCutsTopAndBottomEqually)
{
    const Rects rects = Calc(720, 540, 1920, 1080, eAR_Crop);
    EXPECT_EQ(rects.rcIn, (RECT{0, 68, 720, 472})); // 405 of 540
    EXPECT_EQ(rects.rcOut, (RECT{0, 0, 1920, 1080}));
}

TEST(AspectRects, CropCutsTheSidesEqually)
{
    const Rects rects = Calc(1920, 1080, 720, 540, eAR_Crop);
    EXPECT_EQ(rects.rcIn, (RECT{240, 0, 1680, 1080}));
    EXPECT_EQ(rects.rcOut, (RECT{0, 0, 720, 540}));
}

TEST(AspectRects, EveryModeAboveLetterBoxCrops)
{
    for (const int nMode : {2, 3, 4, 100, INT_MAX})
    {
        const Rects rects = Calc(1920, 1080, 720, 540, nMode);
        EXPECT_EQ(rects.rcIn, (RECT{240, 0, 1680, 1080})) << nMode;
    }
}

TEST(AspectRects, SameShapeChangesNothing)
{
    for (const int nMode : {eAR_LetterBox, eAR_Crop})
    {
        const Rects rects = Calc(1280, 720, 640, 360, nMode);
        EXPECT_EQ(rects.rcIn, (RECT{0, 0, 1280, 720}));
        EXPECT_EQ(rects.rcOut, (RECT{0, 0, 640, 360}));
    }
}

TEST(AspectRects, ModeBelowOneKeepsTheRectangles)
{
    for (const int nMode : {0, -1, INT_MIN})
    {
        const Rects rects = Calc(1920, 1080, 720, 540, nMode);
        EXPECT_EQ(rects.rcIn, (RECT{0, 0, 1920, 1080}));
        EXPECT_EQ(rects.rcOut, (RECT{0, 0, 720, 540}));
    }
}

TEST(AspectRects, EmptyRectanglesBothBecomeThePicture)
{
    const PicProps picIn = {FOURCC_RGB32, 320, -200, 320};
    const PicProps picOut = {FOURCC_RGB32, 640, 480, 640};
    RECT rcIn = {5, 5, 5, 9};
    RECT rcOut = {0, 7, 9, 7};
    CalcAspectRects(&picIn, &picOut, eAR_Stretch, &rcIn, &rcOut, 1.0, 1.0);
    EXPECT_EQ(rcIn, (RECT{0, 0, 320, 200}));
    EXPECT_EQ(rcOut, (RECT{0, 0, 320, 200}));
}

TEST(AspectRects, RectanglesWithAnOriginAreShrunkInPlace)
{
    const PicProps pic = {FOURCC_RGB32, 1000, 1000, 1000};
    RECT rcIn = {100, 100, 300, 200}; // 2 to 1
    RECT rcOut = {10, 20, 110, 120};  // 1 to 1
    CalcAspectRects(&pic, &pic, eAR_LetterBox, &rcIn, &rcOut, 1.0, 1.0);
    EXPECT_EQ(rcIn, (RECT{100, 100, 300, 200}));
    EXPECT_EQ(rcOut, (RECT{10, 45, 110, 95}));
}

TEST(AspectRects, PixelAspectOfTheFrameCounts)
{
    // 16 to 9 on 720 by 576: the picture fills the frame exactly.
    const double dbl = PixelAspect(720, 576, 16, 9);
    const Rects crop = Calc(1920, 1080, 720, 576, eAR_Crop, 1.0, dbl);
    // The frame counts as 506.25 by 576, so the picture is cut at the sides.
    EXPECT_EQ(crop.rcIn, (RECT{485, 0, 1435, 1080})); // (1920 - 1080 * 506.25 / 576) / 2 = 485.39
    EXPECT_EQ(crop.rcOut, (RECT{0, 0, 720, 576}));
    const Rects box = Calc(1920, 1080, 720, 576, eAR_LetterBox, 1.0, dbl);
    EXPECT_EQ(box.rcIn, (RECT{0, 0, 1920, 1080}));
    EXPECT_EQ(box.rcOut, (RECT{0, 146, 720, 430})); // (576 - 506.25 * 1080 / 1920) / 2 = 145.6
}

TEST(AspectRects, PixelAspectDividesTheHorizontalResults)
{
    // A frame of wide pixels: its 100 columns are worth 200.
    const Rects box = Calc(100, 100, 100, 100, eAR_LetterBox, 1.0, 2.0);
    EXPECT_EQ(box.rcOut, (RECT{25, 0, 75, 100})); // 50 units of 2 on each side
    // A picture of wide pixels is cut in its own pixels.
    const Rects crop = Calc(100, 100, 100, 100, eAR_Crop, 2.0, 1.0);
    EXPECT_EQ(crop.rcIn, (RECT{25, 0, 75, 100}));
}

TEST(AspectRects, PixelAspectOfZeroOrLessIsOne)
{
    for (const double dbl : {0.0, -1.0, -1e300, std::nan("")})
    {
        const Rects rects = Calc(1920, 1080, 720, 540, eAR_Crop, dbl, dbl);
        EXPECT_EQ(rects.rcIn, (RECT{240, 0, 1680, 1080})) << dbl;
    }
}

TEST(AspectRects, SymmetricForAllSmallSizes)
{
    for (LONG nInW = 1; nInW < 20; nInW++)
    {
        for (LONG nOutW = 1; nOutW < 20; nOutW++)
        {
            for (const LONG nInH : {1, 2, 7, 16})
            {
                for (const LONG nOutH : {1, 3, 8, 16})
                {
                    const Rects box = Calc(nInW, nInH, nOutW, nOutH, eAR_LetterBox);
                    EXPECT_EQ(box.rcIn, (RECT{0, 0, nInW, nInH}));
                    EXPECT_EQ(box.rcOut.left, nOutW - box.rcOut.right);
                    EXPECT_EQ(box.rcOut.top, nOutH - box.rcOut.bottom);
                    EXPECT_TRUE(box.rcOut.left == 0 || box.rcOut.top == 0);
                    const Rects crop = Calc(nInW, nInH, nOutW, nOutH, eAR_Crop);
                    EXPECT_EQ(crop.rcOut, (RECT{0, 0, nOutW, nOutH}));
                    EXPECT_EQ(crop.rcIn.left, nInW - crop.rcIn.right);
                    EXPECT_EQ(crop.rcIn.top, nInH - crop.rcIn.bottom);
                    EXPECT_TRUE(crop.rcIn.left == 0 || crop.rcIn.top == 0);
                }
            }
        }
    }
}

TEST(AspectRects, DegenerateSizesStayDefined)
{
    // No size at all, the greatest, and the lowest height: no overflow, no endless number.
    for (const LONG n : {0, 1, INT_MAX})
    {
        for (const LONG nHeight : {0, 1, INT_MAX, INT_MIN})
        {
            const PicProps pic = {FOURCC_RGB32, n, nHeight, n};
            for (const int nMode : {1, 2})
            {
                RECT rcIn = {0, 0, n, 0};
                RECT rcOut = {INT_MIN, INT_MIN, INT_MAX, INT_MAX};
                CalcAspectRects(&pic, &pic, nMode, &rcIn, &rcOut, 1.0,
                                std::numeric_limits<double>::infinity());
                EXPECT_GE(rcIn.left, 0) << "for the tools that watch undefined behaviour";
            }
        }
    }
}

TEST(PixelAspect, FrameShapeByPictureShape)
{
    EXPECT_DOUBLE_EQ(PixelAspect(720, 576, 16, 9), 0.703125);
    EXPECT_DOUBLE_EQ(PixelAspect(720, 576, 5, 4), 1.0);
    EXPECT_DOUBLE_EQ(PixelAspect(1920, 1080, 16, 9), 1.0);
    EXPECT_DOUBLE_EQ(PixelAspect(720, 576, 4, 3), 0.9375);
}

TEST(PixelAspect, OneUnlessBothAreAboveZero)
{
    EXPECT_EQ(PixelAspect(720, 576, 0, 9), 1.0);
    EXPECT_EQ(PixelAspect(720, 576, 16, 0), 1.0);
    EXPECT_EQ(PixelAspect(720, 576, -16, 9), 1.0);
    EXPECT_EQ(PixelAspect(720, 576, 16, -9), 1.0);
    EXPECT_EQ(PixelAspect(720, 576, 0, 0), 1.0);
}

TEST(Margins, RightRepeatsLeftAndBottomTop)
{
    EXPECT_EQ(MarginsOfRect({12, 34, 500, 600}), (RECT{12, 34, 12, 34}));
    EXPECT_EQ(MarginsOfRect({0, 0, 500, 600}), (RECT{0, 0, 0, 0}));
}

TEST(Margins, FourRectanglesInOrder)
{
    RECT arrRects[4];
    ASSERT_EQ(MarginRects(100, 80, {10, 5, 20, 15}, arrRects), 4);
    EXPECT_EQ(arrRects[0], (RECT{0, 5, 10, 65}));   // left
    EXPECT_EQ(arrRects[1], (RECT{80, 5, 100, 65})); // right
    EXPECT_EQ(arrRects[2], (RECT{0, 0, 100, 5}));   // top
    EXPECT_EQ(arrRects[3], (RECT{0, 65, 100, 80})); // bottom
}

TEST(Margins, OnlyThoseAboveZero)
{
    RECT arrRects[4];
    EXPECT_EQ(MarginRects(100, 80, {0, 0, 0, 0}, arrRects), 0);
    EXPECT_EQ(MarginRects(100, 80, {-1, -1, -1, -1}, arrRects), 0);
    ASSERT_EQ(MarginRects(100, 80, {7, 0, 7, 0}, arrRects), 2);
    EXPECT_EQ(arrRects[0], (RECT{0, 0, 7, 80}));
    EXPECT_EQ(arrRects[1], (RECT{93, 0, 100, 80}));
    ASSERT_EQ(MarginRects(100, 80, {0, 9, 0, 9}, arrRects), 2);
    EXPECT_EQ(arrRects[0], (RECT{0, 0, 100, 9}));
    EXPECT_EQ(arrRects[1], (RECT{0, 71, 100, 80}));
}

} // namespace
