/// Pictures that the platform decodes, from the file to the frames of a real graph.

#include "GraphSupport.h"
#include "support/picture/GifFile.h"
#include "support/picture/JpegFiles.h"
#include "support/picture/PngFile.h"
#include "support/picture/TiffFile.h"
#include <gtest/gtest.h>
#include <cstdlib>

namespace
{
class Decoded : public testing::Test
{
protected:
    Decoded() : m_source(m_module.CreateSource()) {}

    void Set(const std::wstring& name, const Bytes& file)
    {
        ASSERT_EQ(SetPicture(m_source, m_folder.Write(name, file)), S_OK);
    }

    // The one frame, RGB from the bottom row on, and what was agreed.
    Bytes Show(const std::string& subtype, int width, int height)
    {
        VideoFormat format;
        const std::vector<ReceivedFrame> frames = GrabFrames(m_source, 2, &format);
        EXPECT_EQ(SubtypeName(format.subtype), subtype);
        EXPECT_EQ(format.width, width);
        EXPECT_EQ(format.height, height);
        EXPECT_EQ(format.topDown, subtype.find("RGB") == std::string::npos); // YUV runs from the top
        if (frames.size() != 2)
            return {};
        EXPECT_EQ(frames[0].bytes, frames[1].bytes); // also of a picture with several frames
        return frames[0].bytes;
    }

    void SetFormat(const wchar_t* name)
    {
        CComPtr<IQXStillSource> control;
        ASSERT_EQ(m_source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&control)),
                  S_OK);
        ASSERT_EQ(control->SetOutputFormat(CComBSTR(name), 0, 0), S_OK);
    }

    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
    CComPtr<IBaseFilter> m_source;
};

PngFile TransparentPng()
{
    PngFile png;
    png.nWidth = 2;
    png.nHeight = 2;
    png.samples = {10, 20, 30, 255, 50, 100, 150, 51, 255, 255, 255, 0, 5, 10, 15, 102};
    return png;
}
} // namespace

TEST_F(Decoded, PngWithAlphaIsMultiplied)
{
    Set(L"a.png", TransparentPng().Encode());
    EXPECT_EQ(Show("ARGB32", 2, 2), (Bytes{0, 0, 0, 0, 6, 4, 2, 102, 30, 20, 10, 255, 30, 20, 10, 51}));
}

TEST_F(Decoded, PngWithAlphaStaysStraightWhereArgbIsAskedFor)
{
    SetFormat(L"ARGB32");
    Set(L"a.png", TransparentPng().Encode());
    const Bytes frame = Show("ARGB32", 2, 2);
    EXPECT_EQ(Bytes(frame.begin() + 4, frame.end()),
              (Bytes{15, 10, 5, 102, 30, 20, 10, 255, 150, 100, 50, 51}));
    EXPECT_EQ(frame[3], 0);
}

TEST_F(Decoded, OpaquePngIsRgb)
{
    PngFile png;
    png.nWidth = 3;
    png.nHeight = 1;
    png.colour = ePNG_Palette;
    png.nDepth = 2;
    png.palette = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    png.samples = {2, 0, 1};
    Set(L"a.png", png.Encode());
    EXPECT_EQ(Show("RGB32", 3, 1), (Bytes{9, 8, 7, 255, 3, 2, 1, 255, 6, 5, 4, 255}));
    png.transparency = {0}; // one entry without colour
    Set(L"a.png", png.Encode());
    EXPECT_EQ(Show("ARGB32", 3, 1), (Bytes{9, 8, 7, 255, 0, 0, 0, 0, 6, 5, 4, 255}));
}

TEST_F(Decoded, AnimationShowsItsFirstFrame)
{
    GifFile gif;
    gif.nWidth = 4;
    gif.nHeight = 4;
    gif.bAnimated = true;
    gif.palette = {200, 100, 50, 1, 2, 3};
    for (const uint8_t index : {0, 1})
    {
        GifFrame frame;
        frame.nWidth = 4;
        frame.nHeight = 4;
        frame.nDelay = 5;
        frame.indices.assign(16, index);
        gif.frames.push_back(frame);
    }
    Set(L"a.gif", gif.Encode());
    const Bytes frame = Show("RGB32", 4, 4);
    ASSERT_EQ(frame.size(), 64u);
    for (size_t i = 0; i < frame.size(); i += 4)
        EXPECT_EQ(Bytes(frame.begin() + i, frame.begin() + i + 4), (Bytes{50, 100, 200, 255}));
}

TEST_F(Decoded, Jpeg)
{
    const Bytes left = {40, 40, 200, 255};
    const Bytes right = {160, 80, 40, 255};
    for (const Bytes& file : {g_jpegBaseline, g_jpegProgressive})
    {
        Set(L"a.jpg", file);
        const Bytes frame = Show("RGB32", 16, 8);
        ASSERT_EQ(frame.size(), 16u * 8 * 4);
        for (size_t i = 0; i < frame.size(); ++i)
            EXPECT_LE(std::abs(frame[i] - (i % 64 < 32 ? left : right)[i % 4]), 2) << i;
    }
}

TEST_F(Decoded, TiffByAnyName)
{
    TiffPage page;
    page.nWidth = 2;
    page.nHeight = 2;
    page.samples = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    for (const wchar_t* name :
         {L"a.tif", L"a.tga", L"a.bmp", L"a", L"a b.\u00E4\u00F6\u00FC", L"\u4E2D\u6587.png"})
    {
        Set(name, EncodeTiff({page}));
        EXPECT_EQ(Show("RGB32", 2, 2), (Bytes{9, 8, 7, 255, 12, 11, 10, 255, 3, 2, 1, 255, 6, 5, 4, 255}));
    }
}

TEST_F(Decoded, EveryOutputFormatFromAPng)
{
    PngFile png;
    png.nWidth = 16;
    png.nHeight = 8;
    png.colour = ePNG_Rgb;
    for (int i = 0; i < 128; ++i)
    {
        for (const uint16_t c : {255, 0, 0})
            png.samples.push_back(c);
    }
    const struct
    {
        const wchar_t* name;
        std::string subtype;
        Bytes start;
    } rows[] = {{L"RGB24", "RGB24", {0, 0, 255, 0, 0, 255}}, {L"RGB32", "RGB32", {0, 0, 255, 255}},
                {L"ARGB32", "ARGB32", {0, 0, 255, 255}},     {L"YUY2", "YUY2", {82, 90, 82, 240}},
                {L"UYVY", "UYVY", {90, 82, 240, 82}},        {L"HDYC", "HDYC", {90, 82, 240, 82}},
                {L"I420", "I420", {82, 82, 82, 82}},         {L"YV12", "YV12", {82, 82, 82, 82}}};
    for (const auto& row : rows)
    {
        SetFormat(row.name);
        Set(L"a.png", png.Encode());
        const Bytes frame = Show(row.subtype, 16, 8);
        ASSERT_GE(frame.size(), row.start.size());
        EXPECT_EQ(Bytes(frame.begin(), frame.begin() + static_cast<ptrdiff_t>(row.start.size())), row.start);
    }
}
