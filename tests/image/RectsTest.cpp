// Rectangles: rounding, cutting, clipping, results.
#include "ImageTest.h"

#include <climits>

namespace
{

struct RectRow
{
    const char* pszWhat;
    PicProps picInput, picOutput;
    bool bScale;
    RECT rcInput, rcOutput;
    HRESULT hr;
    RECT rcSrc, rcDst;
};

constexpr PicProps picRGB = {FOURCC_RGB32, 100, 100, 0};
constexpr PicProps picRGBLarge = {FOURCC_RGB24, 400, -400, 0};
constexpr PicProps picYUV = {FOURCC_YUY2, 100, 100, 0};
constexpr PicProps picYUVLarge = {FOURCC_I420, 400, 400, 0};

constexpr RectRow arrRows[] = {
    {"RGB and RGB keep odd columns",
     picRGB,
     picRGB,
     false,
     {1, 0, 5, 4},
     {1, 0, 5, 4},
     S_OK,
     {1, 0, 5, 4},
     {1, 0, 5, 4}},
    {"RGB and YUV", picRGB, picYUV, false, {1, 0, 5, 4}, {1, 0, 5, 4}, S_OK, {0, 0, 6, 4}, {0, 0, 6, 4}},
    {"YUV and RGB", picYUV, picRGB, false, {1, 1, 5, 4}, {3, 1, 7, 4}, S_OK, {0, 1, 6, 4}, {2, 1, 8, 4}},
    {"YUV and YUV", picYUV, picYUV, false, {1, 1, 5, 4}, {3, 1, 7, 4}, S_OK, {0, 1, 6, 4}, {2, 1, 8, 4}},
    {"scaled RGB and YUV",
     picRGB,
     picYUV,
     true,
     {1, 3, 5, 7},
     {10, 20, 19, 29},
     S_OK,
     {0, 3, 6, 7},
     {10, 20, 20, 29}},
    {"cut to the smaller width and height",
     picRGB,
     picRGBLarge,
     false,
     {10, 20, 30, 80},
     {50, 60, 90, 70},
     S_OK,
     {10, 20, 30, 30},
     {50, 60, 70, 70}},

    // Scaled by 2 across and 3 down: the starts take the other direction's ratio.
    {"source starts above",
     picRGB,
     picRGBLarge,
     true,
     {10, -10, 60, 40},
     {20, 20, 120, 170},
     S_OK,
     {10, 0, 60, 40},
     {20, 40, 120, 170}},
    {"destination starts above",
     picRGB,
     picRGBLarge,
     true,
     {10, 10, 60, 60},
     {20, -10, 120, 140},
     S_OK,
     {10, 15, 60, 60},
     {20, 0, 120, 140}},
    {"source starts left",
     picRGB,
     picRGBLarge,
     true,
     {-10, 10, 40, 60},
     {20, 20, 120, 170},
     S_OK,
     {0, 10, 40, 60},
     {50, 20, 120, 170}},
    {"destination starts left",
     picRGB,
     picRGBLarge,
     true,
     {10, 10, 60, 60},
     {-10, 20, 90, 170},
     S_OK,
     {13, 10, 60, 60},
     {0, 20, 90, 170}},
    {"source ends right",
     picRGB,
     picRGBLarge,
     true,
     {60, 10, 110, 60},
     {20, 20, 120, 170},
     S_OK,
     {60, 10, 100, 60},
     {20, 20, 100, 170}},
    {"destination ends right",
     picRGB,
     picRGBLarge,
     true,
     {10, 10, 60, 60},
     {310, 20, 410, 170},
     S_OK,
     {10, 10, 55, 60},
     {310, 20, 400, 170}},
    {"source ends below",
     picRGB,
     picRGBLarge,
     true,
     {10, 60, 60, 110},
     {20, 20, 120, 170},
     S_OK,
     {10, 60, 60, 100},
     {20, 20, 120, 140}},
    {"destination ends below",
     picRGB,
     picRGBLarge,
     true,
     {10, 10, 60, 60},
     {20, 260, 120, 410},
     S_OK,
     {10, 10, 60, 57},
     {20, 260, 120, 400}},
    {"top -10, ratios 2 and 1",
     picRGB,
     picRGBLarge,
     true,
     {0, -10, 50, 40},
     {0, 0, 100, 50},
     S_OK,
     {0, 0, 50, 40},
     {0, 20, 100, 50}},
    {"halves go away from zero",
     picRGB,
     picRGBLarge,
     true,
     {-5, -5, 35, 35},
     {0, 0, 20, 20},
     S_OK,
     {0, 0, 35, 35},
     {3, 3, 20, 20}},
    {"halves at the ends",
     picRGB,
     picRGBLarge,
     true,
     {65, 65, 105, 105},
     {0, 0, 20, 20},
     S_OK,
     {65, 65, 100, 100},
     {0, 0, 17, 17}},
    {"thirds down",
     picRGB,
     picRGBLarge,
     true,
     {0, 0, 100, 100},
     {-100, -100, 200, 200},
     S_OK,
     {33, 33, 100, 100},
     {0, 0, 200, 200}},
    {"all four sides at once",
     picRGB,
     picRGBLarge,
     true,
     {-10, -10, 110, 110},
     {-10, -10, 110, 110},
     S_OK,
     {0, 0, 100, 100},
     {0, 0, 100, 100}},
    {"odd result is rounded again",
     picYUV,
     picYUVLarge,
     true,
     {0, 10, 60, 60},
     {-10, 20, 50, 170},
     S_OK,
     {2, 10, 60, 60},
     {0, 20, 50, 170}},

    // Not scaled: both lose the same.
    {"starts and ends",
     picRGB,
     picRGB,
     false,
     {-10, -20, 50, 60},
     {5, 5, 65, 85},
     S_OK,
     {0, 0, 50, 60},
     {15, 25, 65, 85}},
    {"ends",
     picRGB,
     picRGB,
     false,
     {50, 60, 150, 160},
     {0, 0, 100, 100},
     S_OK,
     {50, 60, 100, 100},
     {0, 0, 50, 40}},

    // Outside.
    {"source right of the picture",
     picRGB,
     picRGB,
     false,
     {100, 0, 150, 50},
     {0, 0, 50, 50},
     S_FALSE,
     {100, 0, 100, 50},
     {0, 0, 0, 50}},
    {"source far right",
     picRGB,
     picRGB,
     false,
     {150, 0, 200, 50},
     {0, 0, 50, 50},
     S_FALSE,
     {150, 0, 100, 50},
     {0, 0, -50, 50}},
    {"source left of the picture",
     picRGB,
     picRGB,
     false,
     {-50, 0, -10, 50},
     {0, 0, 40, 50},
     S_FALSE,
     {0, 0, -10, 50},
     {50, 0, 40, 50}},
    {"source above",
     picRGB,
     picRGB,
     false,
     {0, -50, 50, -10},
     {0, 0, 50, 40},
     S_FALSE,
     {0, 0, 50, -10},
     {0, 50, 50, 40}},
    {"source below",
     picRGB,
     picRGB,
     false,
     {0, 100, 50, 120},
     {0, 0, 50, 20},
     S_FALSE,
     {0, 100, 50, 100},
     {0, 0, 50, 0}},
    {"destination right of the picture",
     picRGB,
     picRGB,
     false,
     {0, 0, 50, 50},
     {100, 0, 150, 50},
     S_FALSE,
     {0, 0, 0, 50},
     {100, 0, 100, 50}},
    {"destination left of the picture",
     picRGB,
     picRGB,
     false,
     {0, 0, 40, 50},
     {-50, 0, -10, 50},
     S_FALSE,
     {50, 0, 40, 50},
     {0, 0, -10, 50}},
    {"destination above",
     picRGB,
     picRGB,
     false,
     {0, 0, 50, 40},
     {0, -50, 50, -10},
     S_FALSE,
     {0, 50, 50, 40},
     {0, 0, 50, -10}},
    {"destination below",
     picRGB,
     picRGB,
     false,
     {0, 0, 50, 50},
     {0, 100, 50, 150},
     S_FALSE,
     {0, 0, 50, 0},
     {0, 100, 50, 100}},
    // The ends are compared with 0: what ends exactly there is empty and passes.
    {"ends at column 0",
     picRGB,
     picRGB,
     false,
     {-50, 0, 0, 50},
     {0, 0, 50, 50},
     S_OK,
     {0, 0, 0, 50},
     {50, 0, 50, 50}},
    {"ends at row 0",
     picRGB,
     picRGB,
     false,
     {0, -50, 50, 0},
     {0, 0, 50, 50},
     S_OK,
     {0, 0, 50, 0},
     {0, 50, 50, 50}},
    {"turned inside the picture",
     picRGB,
     picRGB,
     false,
     {80, 0, 120, 50},
     {-30, 0, 10, 50},
     S_FALSE,
     {110, 0, 100, 50},
     {0, 0, -10, 50}},
    {"empty inside the picture",
     picRGB,
     picRGBLarge,
     false,
     {-60, 0, 40, 50},
     {350, 0, 450, 50},
     S_FALSE,
     {0, 0, -10, 50},
     {410, 0, 400, 50}},

    // Extremes neither overflow nor leave the pictures.
    {"whole number range",
     picRGB,
     picRGB,
     false,
     {INT_MIN, INT_MIN, INT_MAX, INT_MAX},
     {INT_MIN, INT_MIN, INT_MAX, INT_MAX},
     S_OK,
     {0, 0, 100, 100},
     {0, 0, 100, 100}},
    {"whole number range, even columns",
     picYUV,
     picYUV,
     true,
     {INT_MIN, INT_MIN, INT_MAX, INT_MAX},
     {INT_MIN, INT_MIN, INT_MAX, INT_MAX},
     S_OK,
     {0, 0, 100, 100},
     {0, 0, 100, 100}},
    {"huge ratio",
     picRGB,
     picRGB,
     true,
     {-1, -1, 0, 0},
     {INT_MIN, INT_MIN, INT_MAX, INT_MAX},
     S_FALSE,
     {0, 0, 0, 0},
     {INT_MAX, INT_MAX, 100, 100}},
};

TEST(Rects, EveryRow)
{
    for (const RectRow& row : arrRows)
    {
        SCOPED_TRACE(row.pszWhat);
        RECT rcSrc = {};
        RECT rcDst = {};
        AssertCapture asserts;
        EXPECT_EQ(NormalizeRects(&row.picInput, &row.picOutput, &rcSrc, &rcDst, row.bScale, &row.rcInput,
                                 &row.rcOutput),
                  row.hr);
        EXPECT_EQ(Str(rcSrc), Str(row.rcSrc));
        EXPECT_EQ(Str(rcDst), Str(row.rcDst));
        EXPECT_EQ(asserts.Texts(), Texts{});
    }
}

TEST(Rects, NoneGivenIsTheWholePicture)
{
    RECT rcSrc = {};
    RECT rcDst = {};
    EXPECT_EQ(NormalizeRects(&picRGB, &picRGB, &rcSrc, &rcDst, false, nullptr, nullptr), S_OK);
    EXPECT_EQ(Str(rcSrc), "0, 0, 100, 100");
    EXPECT_EQ(Str(rcDst), "0, 0, 100, 100");
    EXPECT_EQ(NormalizeRects(&picRGB, &picRGBLarge, &rcSrc, &rcDst, true, nullptr, nullptr), S_OK);
    EXPECT_EQ(Str(rcSrc), "0, 0, 100, 100");
    EXPECT_EQ(Str(rcDst), "0, 0, 400, 400");
    EXPECT_EQ(NormalizeRects(&picRGBLarge, &picRGB, &rcSrc, &rcDst, false, nullptr, nullptr), S_OK);
    EXPECT_EQ(Str(rcSrc), "0, 0, 100, 100");
    EXPECT_EQ(Str(rcDst), "0, 0, 100, 100");

    // An odd RGB picture against a YUV one: the columns are rounded beyond it.
    const PicProps picOdd = {FOURCC_RGB24, 5, 3, 0};
    const PicProps picEven = {FOURCC_YUY2, 6, 3, 0};
    EXPECT_EQ(NormalizeRects(&picOdd, &picEven, &rcSrc, &rcDst, false, nullptr, nullptr), S_OK);
    EXPECT_EQ(Str(rcSrc), "0, 0, 6, 3");
    EXPECT_EQ(Str(rcDst), "0, 0, 6, 3");
}

TEST(Rects, RefusedArguments)
{
    RECT rcSrc = {7, 7, 7, 7};
    RECT rcDst = {8, 8, 8, 8};
    AssertCapture asserts;
    EXPECT_EQ(NormalizeRects(nullptr, &picRGB, &rcSrc, &rcDst, false, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(NormalizeRects(&picRGB, nullptr, &rcSrc, &rcDst, false, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), (Texts{"_pInputProps && _pOutputProps", "_pInputProps && _pOutputProps"}));
    asserts.Clear();
    EXPECT_EQ(NormalizeRects(&picRGB, &picRGB, nullptr, &rcDst, false, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(NormalizeRects(&picRGB, &picRGB, &rcSrc, nullptr, false, nullptr, nullptr), E_INVALIDARG);
    asserts.Clear();

    const RECT rcGood = {0, 0, 10, 10};
    for (const RECT& rc : {RECT{10, 0, 10, 10}, RECT{11, 0, 10, 10}, RECT{0, 10, 10, 10}, RECT{0, 11, 10, 10},
                           RECT{0, 0, 0, 0}, RECT{INT_MAX, 0, INT_MIN, 10}})
    {
        EXPECT_EQ(NormalizeRects(&picRGB, &picRGB, &rcSrc, &rcDst, false, &rc, &rcGood), E_INVALIDARG)
            << Str(rc);
        EXPECT_EQ(NormalizeRects(&picRGB, &picRGB, &rcSrc, &rcDst, true, &rcGood, &rc), E_INVALIDARG)
            << Str(rc);
        EXPECT_EQ(NormalizeRects(&picRGB, &picRGB, &rcSrc, &rcDst, true, &rc, nullptr), E_INVALIDARG)
            << Str(rc);
    }
    EXPECT_EQ(Str(rcSrc), "7, 7, 7, 7");
    EXPECT_EQ(Str(rcDst), "8, 8, 8, 8");
    EXPECT_EQ(asserts.Texts(), Texts{});
}

TEST(Rects, BadInputDescriptorsOnlyAssert)
{
    constexpr struct
    {
        PicProps pic;
        const char* pszText;
    } arrBad[] = {
        {{FOURCC_RGB32, 0, 100, 0}, "_pInputProps->nWidth > 0"},
        {{FOURCC_RGB32, -100, 100, 0}, "_pInputProps->nWidth > 0"},
        {{FOURCC_RGB32, 100, 100, 99},
         "_pInputProps->nRowWidth == 0 || _pInputProps->nRowWidth >= _pInputProps->nWidth"},
        {{FOURCC_RGB32, 100, 0, 0}, "_pInputProps->nHeight != 0"},
    };
    for (const auto& bad : arrBad)
    {
        SCOPED_TRACE(Str(bad.pic));
        RECT rcSrc;
        RECT rcDst;
        AssertCapture asserts;
        const bool bNoPixels = bad.pic.nWidth <= 0 || bad.pic.nHeight == 0;
        EXPECT_EQ(NormalizeRects(&bad.pic, &picRGB, &rcSrc, &rcDst, false, nullptr, nullptr),
                  bNoPixels ? S_FALSE : S_OK);
        EXPECT_EQ(asserts.Texts(), Texts{bad.pszText});
        // The output's descriptor is not looked at, and scaling by nothing is no fault either.
        asserts.Clear();
        EXPECT_EQ(NormalizeRects(&picRGB, &bad.pic, &rcSrc, &rcDst, true, nullptr, nullptr),
                  bNoPixels ? S_FALSE : S_OK);
        EXPECT_EQ(asserts.Texts(), Texts{});
        EXPECT_EQ(NormalizeRects(&bad.pic, &picRGB, &rcSrc, &rcDst, true, nullptr, nullptr),
                  bNoPixels ? S_FALSE : S_OK);
    }
}

TEST(Rects, LowestHeight)
{
    const PicProps pic = {FOURCC_RGB8, 1, INT_MIN, 0};
    RECT rcSrc;
    RECT rcDst;
    EXPECT_EQ(NormalizeRects(&pic, &pic, &rcSrc, &rcDst, false, nullptr, nullptr), S_OK);
    EXPECT_EQ(Str(rcSrc), "0, 0, 1, 2147483647");
    EXPECT_EQ(Str(rcDst), "0, 0, 1, 2147483647");
}

TEST(Rects, GetRectsChecksBothDescriptors)
{
    const PicProps pic16 = {FOURCC_RGB565, 100, 100, 0};
    const PicProps pic15 = {FOURCC_RGB555, 100, 100, 0};
    const PicProps picOdd = {FOURCC_YUY2, 99, 100, 0};
    const PicProps picTen = {FOURCC_v210, 96, 100, 0};
    RECT rcSrc = {};
    RECT rcDst = {};
    EXPECT_EQ(Img_GetRects(&picRGB, &picYUV, &rcSrc, &rcDst, true, nullptr, nullptr), S_OK);
    // 16-bit RGB only without scaling
    for (const PicProps* pPic : {&pic16, &pic15})
    {
        EXPECT_EQ(Img_GetRects(pPic, &picRGB, &rcSrc, &rcDst, false, nullptr, nullptr), S_OK);
        EXPECT_EQ(Img_GetRects(&picRGB, pPic, &rcSrc, &rcDst, false, nullptr, nullptr), S_OK);
        EXPECT_EQ(Img_GetRects(pPic, &picRGB, &rcSrc, &rcDst, true, nullptr, nullptr), E_INVALIDARG);
        EXPECT_EQ(Img_GetRects(&picRGB, pPic, &rcSrc, &rcDst, true, nullptr, nullptr), E_INVALIDARG);
    }
    for (const PicProps* pPic : {&picOdd, &picTen})
    {
        EXPECT_EQ(Img_GetRects(pPic, &picRGB, &rcSrc, &rcDst, false, nullptr, nullptr), E_INVALIDARG);
        EXPECT_EQ(Img_GetRects(&picRGB, pPic, &rcSrc, &rcDst, false, nullptr, nullptr), E_INVALIDARG);
    }
    const RECT rcOutside = {100, 0, 120, 10};
    EXPECT_EQ(Img_GetRects(&picRGB, &picRGB, &rcSrc, &rcDst, false, &rcOutside, nullptr), S_FALSE);
    const RECT rcBad = {10, 0, 10, 10};
    EXPECT_EQ(Img_GetRects(&picRGB, &picRGB, &rcSrc, &rcDst, false, &rcBad, nullptr), E_INVALIDARG);

    AssertCapture asserts;
    EXPECT_EQ(Img_GetRects(nullptr, &picRGB, &rcSrc, &rcDst, false, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(Img_GetRects(&picRGB, nullptr, &rcSrc, &rcDst, false, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), (Texts{"_pProps != NULL", "_pProps != NULL"}));
}

} // namespace
