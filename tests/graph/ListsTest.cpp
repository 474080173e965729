/// Lists that mix files, colours and patterns: which picture each frame shows.

#include "GraphSupport.h"
#include "support/picture/PngFile.h"
#include <gtest/gtest.h>

namespace
{
constexpr int g_width = 16;
constexpr int g_height = 8;

class Lists : public testing::Test
{
protected:
    Lists() : m_source(m_module.CreateSource())
    {
        CComPtr<IQXStillSource> control;
        EXPECT_EQ(m_source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&control)),
                  S_OK);
        EXPECT_EQ(control->SetOutputFormat(CComBSTR(L"RGB24"), g_width, g_height), S_OK);
    }

    // A file of one colour in the size of the frames.
    std::wstring File(const wchar_t* name, unsigned colour) const
    {
        PngFile png;
        png.nWidth = g_width;
        png.nHeight = g_height;
        png.colour = ePNG_Rgb;
        for (int i = 0; i < g_width * g_height; ++i)
        {
            for (const int shift : {16, 8, 0})
                png.samples.push_back(colour >> shift & 0xFF);
        }
        return m_folder.Write(name, png.Encode());
    }

    std::wstring BrokenFile(const wchar_t* name) const { return m_folder.Write(name, {1, 2, 3}); }

    // The colour in the upper left corner of every frame, from the first one or another until the end of the
    // stream.
    std::vector<unsigned> Play(const std::wstring& list, LONGLONG first = 0)
    {
        EXPECT_EQ(SetPicture(m_source, list), S_OK);
        if (first != 0)
            SeekTo(first);
        FilterGraph graph;
        const std::vector<ReceivedFrame> frames = PlayToEnd(graph, m_source, 100);
        std::vector<unsigned> colours;
        for (const ReceivedFrame& frame : frames)
        {
            const Bytes& b = frame.bytes;
            EXPECT_EQ(b.size(), static_cast<size_t>(g_width) * g_height * 3);
            const size_t corner = static_cast<size_t>(g_width) * (g_height - 1) * 3;
            colours.push_back(b[corner + 2] << 16 | b[corner + 1] << 8 | b[corner]);
        }
        return colours;
    }

    void SeekTo(LONGLONG frame)
    {
        constexpr LONGLONG length = 400000;
        CComPtr<IMediaSeeking> seeking;
        EXPECT_EQ(FindPin(m_source, PINDIR_OUTPUT)
                      ->QueryInterface(IID_IMediaSeeking, reinterpret_cast<void**>(&seeking)),
                  S_OK);
        LONGLONG position = frame * length;
        EXPECT_EQ(seeking->SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, 0), S_OK);
    }

    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
    CComPtr<IBaseFilter> m_source;
};

using Colours = std::vector<unsigned>;
} // namespace

// One frame more than entries: the number of the last one is delivered too.
TEST_F(Lists, Files)
{
    const std::wstring a = File(L"a.png", 0x112233), b = File(L"b.png", 0x445566),
                       c = File(L"c.png", 0x778899);
    EXPECT_EQ(Play(a + L"|" + b + L"|" + c), (Colours{0x112233, 0x445566, 0x778899, 0x112233}));
}

// A list goes round in both directions: frame -1 shows the last entry.
TEST_F(Lists, SeekBeforeTheFirstFrame)
{
    const std::wstring list =
        File(L"a.png", 0x112233) + L"|" + File(L"b.png", 0x445566) + L"|" + File(L"c.png", 0x778899);
    const Colours entries = {0x112233, 0x445566, 0x778899};
    for (const int before : {1, 2, 3, 4, 5, 6})
    {
        Colours expected;
        for (int frame = -before; frame <= 3; ++frame)
            expected.push_back(entries[static_cast<size_t>(frame + 6) % 3]);
        EXPECT_EQ(Play(list, -before), expected) << before;
    }
}

// A colour changes nothing once there is a frame.
TEST_F(Lists, ColoursAlone)
{
    EXPECT_EQ(Play(L"red|green|blue"), (Colours{0xFF0000, 0xFF0000, 0xFF0000, 0xFF0000}));
}

TEST_F(Lists, PatternsAlone)
{
    EXPECT_EQ(Play(L"bars75|red|bars"), (Colours{0xFFFFFF, 0xFFFFFF, 0xFFFFFF, 0xFFFFFF}));
}

TEST_F(Lists, EmptyEntriesAreBars)
{
    const std::wstring a = File(L"a.png", 0x112233);
    EXPECT_EQ(Play(L"|" + a), (Colours{0xC0C0C0, 0x112233, 0x112233}));
}

// A loaded picture outranks what comes behind it, until the next file.
TEST_F(Lists, FilesColoursAndPatterns)
{
    const std::wstring a = File(L"a.png", 0x112233), b = File(L"b.png", 0x445566);
    EXPECT_EQ(Play(L"red|" + a + L"|green|bars|" + b + L"|"),
              (Colours{0xFF0000, 0x112233, 0x112233, 0x112233, 0x445566, 0x445566, 0x445566}));
}

TEST_F(Lists, FileFirst)
{
    const std::wstring a = File(L"a.png", 0x112233);
    const std::wstring b = File(L"b.png", 0x445566);
    EXPECT_EQ(Play(a + L"|red|bars100|" + b), (Colours{0x112233, 0x112233, 0x112233, 0x445566, 0x112233}));
}

// The part up to the last separator is then a folder, and nothing in it has the name that follows.
TEST_F(Lists, FileFirstAndAPlainNameLast)
{
    const std::wstring a = File(L"a.png", 0x112233);
    EXPECT_EQ(SetPicture(m_source, a + L"|red"), E_INVALIDARG);
    EXPECT_EQ(SetPicture(m_source, a + L"|"), E_INVALIDARG);
    EXPECT_EQ(CurrentFile(m_source), L"");
}

// What cannot be loaded leaves the picture before it.
TEST_F(Lists, BrokenFilesInBetween)
{
    const std::wstring a = File(L"a.png", 0x112233), b = File(L"b.png", 0x445566);
    const std::wstring broken = BrokenFile(L"broken.png"), missing = L"C:\\no such folder\\x.png";
    EXPECT_EQ(Play(a + L"|" + broken + L"|" + b + L"|" + missing + L"|" + broken),
              (Colours{0x112233, 0x112233, 0x445566, 0x445566, 0x445566, 0x112233}));
}

TEST_F(Lists, BrokenFileFirst)
{
    const std::wstring a = File(L"a.png", 0x112233);
    EXPECT_EQ(SetPicture(m_source, BrokenFile(L"broken.png") + L"|" + a), E_FAIL);
    EXPECT_EQ(CurrentFile(m_source), L"");
}

// A pattern without pictures that is shown alone delivers nothing, behind a file it is that file.
TEST_F(Lists, VideoQuality)
{
    const std::wstring a = File(L"a.png", 0x112233);
    EXPECT_EQ(Play(a + L"|videoq|" + a), (Colours{0x112233, 0x112233, 0x112233, 0x112233}));
}

// Pictures of any size and format come in the size and format that was agreed at the start.
TEST_F(Lists, SizesAndFormatsThatDiffer)
{
    PngFile large;
    large.nWidth = 100;
    large.nHeight = 50;
    large.colour = ePNG_Grey;
    large.samples.assign(5000, 0x77);
    const TgaCase tga = PlainTga("same size", g_width, g_height, 5);
    const Bytes corner(tga.frame.begin() + g_width * (g_height - 1) * 4, tga.frame.end());
    const std::wstring a = File(L"a.png", 0x112233), b = m_folder.Write(L"b.png", large.Encode()),
                       c = m_folder.Write(L"c.tga", tga.file);
    EXPECT_EQ(Play(a + L"|" + b + L"|" + c),
              (Colours{0x112233, 0x777777,
                       static_cast<unsigned>(corner[2] << 16 | corner[1] << 8 | corner[0]), 0x112233}));
}

// The conversion takes even sizes: nothing is left of a picture of a single pixel, and the frame is black.
TEST_F(Lists, PictureOfOnePixelInAnotherFormat)
{
    const std::wstring a = File(L"a.png", 0x112233);
    const std::wstring b = m_folder.Write(L"b.tga", PlainTga("one", 1, 1, 5).file);
    EXPECT_EQ(Play(a + L"|" + b), (Colours{0x112233, 0, 0x112233}));
}
