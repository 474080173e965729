// Loaded pictures in frames of another size, shape or format.
#include "FilterSupport.h"

#include <array>
#include <cstdlib>

namespace
{

/// Blue, green, red.
using Colour = std::array<BYTE, 3>;

constexpr Colour g_black = {0, 0, 0};
constexpr Colour g_white = {255, 255, 255};
constexpr Colour g_red = {0, 0, 255};
constexpr Colour g_green = {0, 255, 0};
constexpr Colour g_blue = {255, 0, 0};

class CompositionAspect : public FilterTest
{
protected:
    /// Shows a picture in RGB32 whose colours come from a function of the place from the top left.
    template <class TColourAt>
    void ShowPicture(LONG nWidth, LONG nHeight, TColourAt colourAt)
    {
        Bytes pixels;
        pixels.reserve(static_cast<size_t>(nWidth) * nHeight * 4);
        for (LONG y = nHeight - 1; y >= 0; y--) // the bottom row comes first
        {
            for (LONG x = 0; x < nWidth; x++)
            {
                const Colour c = colourAt(x, y);
                for (const BYTE by : c)
                    pixels.push_back(by);
                pixels.push_back(0);
            }
        }
        Show(FOURCC_RGB32, nWidth, nHeight, pixels);
    }

    void Compose(eQGKeepAspect eKeepAspect, DWORD fcc, LONG nWidth, LONG nHeight)
    {
        InsideFilter().m_VidProps.eKeepAspect = eKeepAspect;
        const CMType mt = VideoType(fcc, nWidth, nHeight);
        Out().ApplyOutputType(&mt);
        m_frame.assign(GetPicSize(&Inside().m_picOutput), 0xEE);
        ASSERT_EQ(FillSampleBuffer(m_frame.data(), static_cast<DWORD>(m_frame.size())), S_OK);
        EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
    }

    /// Of a frame in RGB32, from the top left.
    Colour At(LONG x, LONG y)
    {
        const PicProps& pic = Inside().m_picOutput;
        const BYTE* pb = m_frame.data() + (static_cast<size_t>(pic.nHeight - 1 - y) * pic.nWidth + x) * 4;
        return {pb[0], pb[1], pb[2]};
    }

    Bytes m_frame;
};

TEST_F(CompositionAspect, OddSizesAreCutToEvenOnesBeforeAConversion)
{
    // The last column and the last row would show.
    const auto colourAt = [](LONG x, LONG y) { return x == 720 || y == 576 ? g_white : g_black; };
    ShowPicture(721, 577, colourAt);
    Compose(eQGKA_Crop, FOURCC_UYVY, 720, 576);
    Bytes expected;
    for (int i = 0; i < 720 * 576 / 2; i++)
        Append(expected, {128, 16, 128, 16});
    EXPECT_EQ(m_frame, expected);
    EXPECT_EQ(Inside().m_picSource, (PicProps{FOURCC_RGB32, 721, 577, 721})); // as it was

    // Without a conversion all of it is scaled.
    Compose(eQGKA_None, FOURCC_RGB32, 720, 576);
    EXPECT_NE(At(719, 300), g_black);
    EXPECT_NE(At(300, 575), g_black);
    EXPECT_EQ(At(300, 300), g_black);
}

TEST_F(CompositionAspect, CropCutsTheTopAndTheBottomEqually)
{
    // 480 rows in 360: 60 go at either end, and one of each coloured strip is left.
    ShowPicture(640, 480, [](LONG, LONG y) { return y < 61 ? g_red : y >= 480 - 61 ? g_blue : g_green; });
    Compose(eQGKA_Crop, FOURCC_RGB32, 640, 360);
    for (const LONG x : {0, 320, 639})
    {
        EXPECT_EQ(At(x, 0), g_red);
        EXPECT_EQ(At(x, 1), g_green);
        EXPECT_EQ(At(x, 358), g_green);
        EXPECT_EQ(At(x, 359), g_blue);
    }
}

TEST_F(CompositionAspect, CropCutsTheSidesEqually)
{
    ShowPicture(640, 360, [](LONG x, LONG) { return x < 81 ? g_red : x >= 640 - 81 ? g_blue : g_green; });
    Compose(eQGKA_Crop, FOURCC_RGB32, 480, 360);
    EXPECT_EQ(At(0, 0), g_red);
    EXPECT_EQ(At(1, 0), g_green);
    EXPECT_EQ(At(478, 359), g_green);
    EXPECT_EQ(At(479, 359), g_blue);
}

TEST_F(CompositionAspect, LetterBoxLeavesEqualBands)
{
    ShowPicture(480, 360, [](LONG, LONG) { return g_white; });
    Compose(eQGKA_LetterBox, FOURCC_RGB32, 640, 360);
    for (LONG y = 0; y < 360; y++)
    {
        for (LONG x = 0; x < 640; x++)
            ASSERT_EQ(At(x, y), x < 80 || x >= 560 ? g_black : g_white) << x << " " << y;
    }

    // In YUV the bands have the black of that format.
    Compose(eQGKA_LetterBox, FOURCC_UYVY, 640, 360);
    for (size_t i = 0; i < m_frame.size(); i += 4)
    {
        const size_t x = i / 2 % 640;
        const BYTE byLuma = x < 80 || x >= 560 ? 16 : 235;
        ASSERT_EQ(Bytes(m_frame.begin() + i, m_frame.begin() + i + 4), (Bytes{128, byLuma, 128, byLuma}))
            << i;
    }

    ShowPicture(640, 180, [](LONG, LONG) { return g_white; });
    Compose(eQGKA_LetterBox, FOURCC_RGB32, 640, 360);
    EXPECT_EQ(At(0, 89), g_black);
    EXPECT_EQ(At(0, 90), g_white);
    EXPECT_EQ(At(639, 269), g_white);
    EXPECT_EQ(At(639, 270), g_black);
}

TEST_F(CompositionAspect, DefaultStretchesWhatDiffersInOneDirection)
{
    for (const SIZE size : {SIZE{320, 360}, SIZE{640, 180}, SIZE{640, -180}, SIZE{32, -360}})
    {
        Show(FOURCC_RGB32, size.cx, size.cy,
             Bytes(static_cast<size_t>(size.cx) * std::abs(size.cy) * 4, 0xFF));
        Compose(eQGKA_Default, FOURCC_RGB32, 640, 360);
        EXPECT_EQ(m_frame, Bytes(m_frame.size(), 0xFF)) << size.cx;
    }
    // 320 * 200 becomes 576 * 360.
    ShowPicture(320, 200, [](LONG, LONG) { return g_white; });
    Compose(eQGKA_Default, FOURCC_RGB32, 640, 360);
    EXPECT_EQ(At(31, 0), g_black);
    EXPECT_EQ(At(32, 0), g_white);
    EXPECT_EQ(At(607, 359), g_white);
    EXPECT_EQ(At(608, 359), g_black);
}

TEST_F(CompositionAspect, NoneStretchesEverything)
{
    ShowPicture(30, 90, [](LONG, LONG) { return g_white; });
    Compose(eQGKA_None, FOURCC_RGB24, 640, 360);
    EXPECT_EQ(m_frame, Bytes(m_frame.size(), 0xFF));
}

/// 16:9 on 720 * 576 is a pixel aspect of 1.25 / 1.777, which narrows the frame; that way round on purpose.
TEST_F(CompositionAspect, AspectOfTheFrameEntersAsOneOfItsPixels)
{
    ShowPicture(1024, 576, [](LONG, LONG) { return g_white; });
    InsideFilter().m_VidProps.nAspectX = 16;
    InsideFilter().m_VidProps.nAspectY = 9;
    Compose(eQGKA_LetterBox, FOURCC_RGB32, 720, 576);
    EXPECT_EQ(At(0, 145), g_black);
    EXPECT_EQ(At(0, 146), g_white);
    EXPECT_EQ(At(719, 429), g_white);
    EXPECT_EQ(At(719, 430), g_black);
    // One of the two alone says nothing.
    InsideFilter().m_VidProps.nAspectY = 0;
    Compose(eQGKA_LetterBox, FOURCC_RGB32, 1024, 576);
    EXPECT_EQ(At(0, 0), g_white);
}

/// Loaded pictures are scaled with interpolation, unlike those of the module.
TEST_F(CompositionAspect, LoadedPicturesAreInterpolated)
{
    ShowPicture(4, 4, [](LONG x, LONG) { return x < 2 ? g_black : g_white; });
    Compose(eQGKA_None, FOURCC_RGB32, 16, 16);
    EXPECT_EQ(At(0, 0), g_black);
    EXPECT_EQ(At(15, 0), g_white);
    int nBetween = 0;
    for (LONG x = 0; x < 16; x++)
        nBetween += At(x, 8) != g_black && At(x, 8) != g_white;
    EXPECT_GT(nBetween, 0);
}

} // namespace
