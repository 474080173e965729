// Pictures that the platform decodes: every kind of file, alpha, frames and delays.
#include "GdiPlusScope.h"
#include "TempFiles.h"
#include "dstl/Old/GDIPlusFrames.h"
#include "support/LogCapture.h"
#include "support/picture/GifFile.h"
#include "support/picture/JpegFiles.h"
#include "support/picture/PngFile.h"
#include "support/picture/TiffFile.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace
{
struct Pixel
{
    int nRed, nGreen, nBlue, nAlpha;
    bool operator==(const Pixel&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Pixel& p)
{
    return out << p.nRed << ", " << p.nGreen << ", " << p.nBlue << ", " << p.nAlpha;
}

using Pixels = std::vector<Pixel>;

/// From the top left.
Pixels PixelsOf(const PictureFrame& frame)
{
    Pixels pixels;
    for (LONG y = frame.props.nHeight - 1; y >= 0; --y)
    {
        for (LONG x = 0; x < frame.props.nWidth; ++x)
        {
            const BYTE* pb = frame.blob.GetPtr() + (static_cast<size_t>(y) * frame.props.nWidth + x) * 4;
            pixels.push_back({pb[2], pb[1], pb[0], pb[3]});
        }
    }
    return pixels;
}

/// Of one colour in straight alpha, as the frame carries it with the colours multiplied.
Pixel Multiplied(const Pixel& p)
{
    const auto times = [&p](int c) { return (c * p.nAlpha + 127) / 255; };
    return {times(p.nRed), times(p.nGreen), times(p.nBlue), p.nAlpha};
}

struct GdiPlus : testing::Test
{
    /// Decodes a file of that content, whatever its name.
    HRESULT Load(const Bytes& bytes, bool bAlpha, bool bFirstOnly = true)
    {
        frames.RemoveAll();
        return LoadFramesByGdiPlus(WideText(folder.Write("picture", bytes)), nullptr, bAlpha, frames,
                                   bFirstOnly);
    }

    /// The one frame of a file, in both modes of alpha.
    void ExpectPicture(const Bytes& bytes, LONG nWidth, LONG nHeight, const Pixels& expected)
    {
        for (const bool bAlpha : {true, false})
        {
            ASSERT_EQ(Load(bytes, bAlpha), S_OK);
            ASSERT_EQ(frames.GetSize(), 1);
            const PictureFrame& frame = frames[0];
            EXPECT_EQ(frame.props.fccType, FOURCC_ARGB32);
            EXPECT_EQ(frame.props.nWidth, nWidth);
            EXPECT_EQ(frame.props.nHeight, nHeight);
            EXPECT_EQ(frame.props.nRowWidth, nWidth);
            EXPECT_EQ(frame.blob.GetSize(), static_cast<DWORD>(nWidth * nHeight * 4));
            EXPECT_EQ(frame.rtStart, 0);
            EXPECT_EQ(frame.rtDuration, 0);
            const Pixels pixels = PixelsOf(frame);
            ASSERT_EQ(pixels.size(), expected.size());
            for (size_t i = 0; i < pixels.size(); ++i)
                EXPECT_EQ(pixels[i], bAlpha ? expected[i] : Multiplied(expected[i]))
                    << "pixel " << i << (bAlpha ? ", straight" : ", multiplied");
        }
        EXPECT_EQ(asserts.Texts(), std::vector<std::string>{});
        EXPECT_TRUE(log.Texts(2).empty());
    }

    const GdiPlusScope gdiPlus;
    TempFolder folder;
    CSimpleArray2<PictureFrame> frames;
    LogCapture log;
    AssertCapture asserts;
};

/// So many levels of a channel of that depth, as eight bits.
int Level(int nSample, int nDepth)
{
    return nDepth == 16 ? nSample >> 8 : nSample * 255 / ((1 << nDepth) - 1);
}

TEST_F(GdiPlus, PngGrey)
{
    for (const bool bInterlaced : {false, true})
    {
        for (const int nDepth : {1, 2, 4, 8, 16})
        {
            SCOPED_TRACE(testing::Message() << nDepth << (bInterlaced ? " interlaced" : ""));
            PngFile png;
            png.nWidth = 9;
            png.nHeight = 5;
            png.nDepth = static_cast<uint8_t>(nDepth);
            png.colour = ePNG_Grey;
            png.bInterlaced = bInterlaced;
            Pixels expected;
            for (int i = 0; i < 45; ++i)
            {
                // 16 bits with both bytes alike, so that it does not matter how they are rounded
                const int nSample = nDepth == 16 ? i * 5 * 0x101 : i * 5 % (1 << nDepth);
                png.samples.push_back(static_cast<uint16_t>(nSample));
                const int n = Level(nSample, nDepth);
                expected.push_back({n, n, n, 255});
            }
            ExpectPicture(png.Encode(), 9, 5, expected);
        }
    }
}

TEST_F(GdiPlus, PngTrueColour)
{
    for (const bool bInterlaced : {false, true})
    {
        for (const int nDepth : {8, 16})
        {
            SCOPED_TRACE(testing::Message() << nDepth << (bInterlaced ? " interlaced" : ""));
            PngFile png;
            png.nWidth = 7;
            png.nHeight = 3;
            png.nDepth = static_cast<uint8_t>(nDepth);
            png.colour = ePNG_Rgb;
            png.bInterlaced = bInterlaced;
            Pixels expected;
            for (int i = 0; i < 21; ++i)
            {
                const Pixel p = {i * 12, 255 - i * 7, i * 3, 255};
                for (const int c : {p.nRed, p.nGreen, p.nBlue})
                    png.samples.push_back(static_cast<uint16_t>(nDepth == 16 ? c * 0x101 : c));
                expected.push_back(p);
            }
            ExpectPicture(png.Encode(), 7, 3, expected);
        }
    }
}

TEST_F(GdiPlus, PngWithAlpha)
{
    for (const bool bInterlaced : {false, true})
    {
        PngFile png;
        png.nWidth = 6;
        png.nHeight = 2;
        png.bInterlaced = bInterlaced;
        // Multiples of five at a fifth of opacity: products without a fraction
        const Pixels expected = {{255, 0, 10, 255},    {10, 20, 30, 0},    {5, 50, 250, 51},
                                 {100, 150, 200, 102}, {255, 255, 255, 1}, {0, 0, 0, 51},
                                 {25, 35, 45, 153},    {55, 65, 75, 204},  {255, 255, 255, 0},
                                 {1, 2, 3, 255},       {200, 100, 0, 51},  {255, 255, 255, 254}};
        for (const Pixel& p : expected)
        {
            for (const int c : {p.nRed, p.nGreen, p.nBlue, p.nAlpha})
                png.samples.push_back(static_cast<uint16_t>(c));
        }
        ExpectPicture(png.Encode(), 6, 2, expected);
    }
}

TEST_F(GdiPlus, PngPalette)
{
    for (const int nDepth : {1, 2, 4, 8})
    {
        for (const bool bTransparent : {false, true})
        {
            SCOPED_TRACE(testing::Message() << nDepth << (bTransparent ? " transparent" : ""));
            PngFile png;
            png.nWidth = 11;
            png.nHeight = 4;
            png.nDepth = static_cast<uint8_t>(nDepth);
            png.colour = ePNG_Palette;
            const int nEntries = 1 << nDepth;
            for (int i = 0; i < nEntries; ++i)
            {
                for (const int c : {(i * 40 + 5) % 255, (i * 90) % 255, 255 - i})
                    png.palette.push_back(static_cast<uint8_t>(c));
            }
            if (bTransparent)
                png.transparency = {0, 255}; // the first entry alone
            Pixels expected;
            for (int i = 0; i < 44; ++i)
            {
                const int n = i % nEntries;
                png.samples.push_back(static_cast<uint16_t>(n));
                expected.push_back({png.palette[n * 3], png.palette[n * 3 + 1], png.palette[n * 3 + 2],
                                    bTransparent && n == 0 ? 0 : 255});
            }
            ExpectPicture(png.Encode(), 11, 4, expected);
        }
    }
}

TEST_F(GdiPlus, Jpeg)
{
    const struct
    {
        const Bytes& file;
        Pixel left, right;
    } rgRows[] = {{g_jpegBaseline, {200, 40, 40, 255}, {40, 80, 160, 255}},
                  {g_jpegProgressive, {200, 40, 40, 255}, {40, 80, 160, 255}},
                  {g_jpegGrey, {40, 40, 40, 255}, {200, 200, 200, 255}}};
    for (const auto& row : rgRows)
    {
        for (const bool bAlpha : {true, false})
        {
            ASSERT_EQ(Load(row.file, bAlpha), S_OK);
            ASSERT_EQ(frames.GetSize(), 1);
            EXPECT_EQ(frames[0].props.nWidth, 16);
            EXPECT_EQ(frames[0].props.nHeight, 8);
            const Pixels pixels = PixelsOf(frames[0]);
            for (size_t i = 0; i < pixels.size(); ++i)
            {
                const Pixel& expected = i % 16 < 8 ? row.left : row.right;
                EXPECT_LE(std::abs(pixels[i].nRed - expected.nRed), 2) << i;
                EXPECT_LE(std::abs(pixels[i].nGreen - expected.nGreen), 2) << i;
                EXPECT_LE(std::abs(pixels[i].nBlue - expected.nBlue), 2) << i;
                EXPECT_EQ(pixels[i].nAlpha, 255) << i;
            }
        }
    }
}

TEST_F(GdiPlus, Tiff)
{
    TiffPage page;
    page.nWidth = 5;
    page.nHeight = 3;
    Pixels expected;
    for (int i = 0; i < 15; ++i)
    {
        const Pixel p = {i * 17, 255 - i, i * 3, 255};
        for (const int c : {p.nRed, p.nGreen, p.nBlue})
            page.samples.push_back(static_cast<uint8_t>(c));
        expected.push_back(p);
    }
    ExpectPicture(EncodeTiff({page}), 5, 3, expected);
}

/// Pages of a file are frames without a delay.
TEST_F(GdiPlus, TiffPages)
{
    std::vector<TiffPage> pages;
    for (uint8_t i = 0; i < 3; ++i)
    {
        TiffPage page;
        page.nWidth = 4u + i;
        page.nHeight = 2;
        for (uint32_t n = 0; n < page.nWidth * 2; ++n)
        {
            for (const int c : {i * 50, 10, 20})
                page.samples.push_back(static_cast<uint8_t>(c));
        }
        pages.push_back(page);
    }
    ASSERT_EQ(Load(EncodeTiff(pages), true, false), S_OK);
    ASSERT_EQ(frames.GetSize(), 3);
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(frames[i].props.nWidth, 4 + i);
        EXPECT_EQ(PixelsOf(frames[i]), Pixels(static_cast<size_t>(4 + i) * 2, {i * 50, 10, 20, 255}));
        EXPECT_EQ(frames[i].rtDuration, 0);
        EXPECT_EQ(frames[i].rtStart, i * 400000);
    }
    ASSERT_EQ(Load(EncodeTiff(pages), true, true), S_OK);
    EXPECT_EQ(frames.GetSize(), 1);
}

GifFile Animation(const std::vector<uint16_t>& delays)
{
    GifFile gif;
    gif.nWidth = 20;
    gif.nHeight = 16;
    gif.bAnimated = true;
    for (size_t i = 0; i < delays.size(); ++i)
    {
        for (const size_t c : {i * 30, 255 - i * 30, size_t{7}})
            gif.palette.push_back(static_cast<uint8_t>(c));
        GifFrame frame;
        frame.nWidth = gif.nWidth;
        frame.nHeight = gif.nHeight;
        frame.nDelay = delays[i];
        frame.indices.assign(size_t{20} * 16, static_cast<uint8_t>(i));
        gif.frames.push_back(frame);
    }
    return gif;
}

TEST_F(GdiPlus, AnimationGivesFramesAndTheirTimes)
{
    const GifFile gif = Animation({0, 1, 2, 3, 10, 0});
    ASSERT_EQ(Load(gif.Encode(), true, false), S_OK);
    ASSERT_EQ(frames.GetSize(), 6);
    const LONGLONG rgDurations[] = {0, 1000000, 2000000, 300000, 1000000, 0};
    LONGLONG rtStart = 0;
    for (int i = 0; i < 6; ++i)
    {
        EXPECT_EQ(PixelsOf(frames[i]), Pixels(320, {i * 30, 255 - i * 30, 7, 255})) << i;
        EXPECT_EQ(frames[i].rtDuration, rgDurations[i]) << i;
        EXPECT_EQ(frames[i].rtStart, rtStart) << i;
        rtStart += rgDurations[i] != 0 ? rgDurations[i] : 400000;
    }
}

TEST_F(GdiPlus, AnimationGivesItsFirstFrameAlone)
{
    const GifFile gif = Animation({5, 5, 5});
    ASSERT_EQ(Load(gif.Encode(), true), S_OK);
    ASSERT_EQ(frames.GetSize(), 1);
    EXPECT_EQ(PixelsOf(frames[0]), Pixels(320, {0, 255, 7, 255}));
    EXPECT_EQ(frames[0].rtDuration, 500000);
    EXPECT_EQ(frames[0].rtStart, 0);

    CBLOBHolder<CTaskMemory> blob;
    PicProps props{};
    ASSERT_EQ(CPicturePersist::LoadPicture(WideText(folder.Write("a.gif", gif.Encode())), nullptr, true, blob,
                                           props),
              S_OK);
    EXPECT_EQ(blob.GetSize(), 320u * 4);
    EXPECT_EQ(blob.GetPtr()[1], 255);
}

TEST_F(GdiPlus, GifStillAndTransparent)
{
    GifFile gif;
    gif.nWidth = 3;
    gif.nHeight = 2;
    gif.palette = {10, 20, 30, 40, 50, 60, 70, 80, 90};
    GifFrame frame;
    frame.nWidth = 3;
    frame.nHeight = 2;
    frame.indices = {0, 1, 2, 2, 1, 0};
    gif.frames = {frame};
    const Pixel a = {10, 20, 30, 255}, b = {40, 50, 60, 255}, c = {70, 80, 90, 255};
    ExpectPicture(gif.Encode(), 3, 2, {a, b, c, c, b, a});

    gif.frames[0].nTransparent = 1;
    for (const bool bAlpha : {true, false})
    {
        ASSERT_EQ(Load(gif.Encode(), bAlpha), S_OK);
        const Pixels pixels = PixelsOf(frames[0]);
        ASSERT_EQ(pixels.size(), 6u);
        EXPECT_EQ(pixels[0], a);
        EXPECT_EQ(pixels[1].nAlpha, 0);
        EXPECT_EQ(pixels[2], c);
        EXPECT_EQ(pixels[4].nAlpha, 0);
        if (!bAlpha)
        {
            EXPECT_EQ(pixels[1], (Pixel{0, 0, 0, 0}));
        }
    }
}

/// A large frame goes through the same steps: rows of several kilobytes, bottom row first.
TEST_F(GdiPlus, Large)
{
    PngFile png;
    png.nWidth = 1001;
    png.nHeight = 703;
    png.colour = ePNG_Rgb;
    png.samples.reserve(size_t{1001} * 703 * 3);
    for (uint32_t y = 0; y < png.nHeight; ++y)
    {
        for (uint32_t x = 0; x < png.nWidth; ++x)
        {
            for (const uint32_t c : {x, y, x ^ y})
                png.samples.push_back(c & 0xFF);
        }
    }
    ASSERT_EQ(Load(png.Encode(), false), S_OK);
    ASSERT_EQ(frames.GetSize(), 1);
    const Pixels pixels = PixelsOf(frames[0]);
    ASSERT_EQ(pixels.size(), size_t{1001} * 703);
    for (size_t i = 0; i < pixels.size(); ++i)
    {
        const int x = static_cast<int>(i % 1001), y = static_cast<int>(i / 1001);
        ASSERT_EQ(pixels[i], (Pixel{x & 0xFF, y & 0xFF, (x ^ y) & 0xFF, 255})) << i;
    }
}

TEST_F(GdiPlus, WhatCannotBeDecoded)
{
    PngFile png;
    png.nWidth = 4;
    png.nHeight = 4;
    png.colour = ePNG_Grey;
    png.samples.assign(16, 1);
    const Bytes whole = png.Encode();
    for (const size_t cb : {size_t{0}, size_t{1}, size_t{8}, size_t{20}})
    {
        EXPECT_EQ(Load(Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(cb)), true), E_FAIL) << cb;
        EXPECT_EQ(frames.GetSize(), 0);
    }
    EXPECT_EQ(Load(Pattern(10000), true), E_FAIL);
    EXPECT_EQ(Load(Bytes(10000, 0), true), E_FAIL);
    EXPECT_EQ(LoadFramesByGdiPlus(WideText(folder.Path("missing")), nullptr, true, frames, true), E_FAIL);
    EXPECT_EQ(LoadFramesByGdiPlus(WideText(folder.Path()), nullptr, true, frames, true), E_FAIL);
    EXPECT_EQ(LoadFramesByGdiPlus(L"", nullptr, true, frames, true), E_FAIL);
    EXPECT_EQ(LoadFramesByGdiPlus(nullptr, nullptr, true, frames, true), E_FAIL);
    EXPECT_EQ(frames.GetSize(), 0);
    EXPECT_EQ(asserts.Texts(), std::vector<std::string>{});
}

/// What the array holds before counts as a success, whoever put it there.
TEST_F(GdiPlus, FramesAreAppended)
{
    ASSERT_EQ(Load(g_jpegGrey, true), S_OK);
    const std::string sPath = folder.Write("b", Animation({5, 5}).Encode());
    ASSERT_EQ(LoadFramesByGdiPlus(WideText(sPath), nullptr, true, frames, false), S_OK);
    ASSERT_EQ(frames.GetSize(), 3);
    EXPECT_EQ(frames[0].props.nWidth, 16);
    EXPECT_EQ(frames[1].rtStart, 0); // each call counts from 0
    EXPECT_EQ(frames[2].rtStart, 500000);
    EXPECT_EQ(LoadFramesByGdiPlus(WideText(folder.Path("missing")), nullptr, true, frames, true), S_OK);
    EXPECT_EQ(frames.GetSize(), 3);
}

TEST_F(GdiPlus, HandleOfABitmap)
{
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = 3;
    info.bmiHeader.biHeight = -2;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 24;
    void* pvBits = nullptr;
    const HBITMAP hBitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &pvBits, nullptr, 0);
    ASSERT_NE(pvBits, nullptr);
    const Bytes rows = {1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 0, 0, 11, 12, 13, 14, 15, 16, 17, 18, 19, 0, 0, 0};
    std::copy(rows.begin(), rows.end(), static_cast<BYTE*>(pvBits));
    for (const bool bAlpha : {true, false})
    {
        frames.RemoveAll();
        ASSERT_EQ(LoadFramesByGdiPlus(L"not looked at", hBitmap, bAlpha, frames, true), S_OK);
        ASSERT_EQ(frames.GetSize(), 1);
        EXPECT_EQ(PixelsOf(frames[0]), (Pixels{{3, 2, 1, 255},
                                               {6, 5, 4, 255},
                                               {9, 8, 7, 255},
                                               {13, 12, 11, 255},
                                               {16, 15, 14, 255},
                                               {19, 18, 17, 255}}));
    }
    DeleteObject(hBitmap);
}

/// The file is free as soon as it has been read, whatever came of it.
TEST_F(GdiPlus, FilesAreLeftAlone)
{
    for (const Bytes& bytes : {g_jpegBaseline, Animation({1, 2, 3}).Encode(), Pattern(100)})
    {
        for (const bool bFirstOnly : {true, false})
        {
            Load(bytes, true, bFirstOnly);
            EXPECT_TRUE(DeleteFileW(WideText(folder.Path("picture"))));
            EXPECT_FALSE(folder.Has("picture"));
        }
    }
}
} // namespace
