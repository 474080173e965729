/// The built-in patterns and the colours, from the DLL to the frames of a real graph.

#include "GraphSupport.h"
#include "FrameSink.h"
#include <gtest/gtest.h>

namespace
{
class Patterns : public testing::Test
{
protected:
    Patterns() : m_source(m_module.CreateSource())
    {
        Check(m_source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&m_control)));
    }
    ~Patterns() override
    {
        m_control.Release();
        m_source.Release();
        EXPECT_EQ(m_module.CanUnloadNow(), S_OK);
    }

    static void Check(HRESULT hr) { EXPECT_EQ(hr, S_OK); }

    // One frame in RGB32, as bytes from the top left.
    void Show(const wchar_t* name, int width, int height)
    {
        Check(SetPicture(m_source, name));
        Check(m_control->SetOutputFormat(CComBSTR(L"RGB32"), width, height));
        const std::vector<ReceivedFrame> frames = GrabFrames(m_source, 2);
        ASSERT_EQ(frames.size(), 2u);
        ASSERT_EQ(frames[0].bytes.size(), static_cast<size_t>(width) * height * 4);
        EXPECT_EQ(frames[1].bytes, frames[0].bytes);
        m_frame = frames[0].bytes;
        m_width = width;
        m_height = height;
    }

    // Red, green and blue as one number.
    unsigned Colour(int x, int y) const
    {
        const size_t at = (static_cast<size_t>(m_height - 1 - y) * m_width + x) * 4;
        return m_frame[at + 2] << 16 | m_frame[at + 1] << 8 | m_frame[at];
    }

    ComScope m_com;
    FilterModule m_module;
    CComPtr<IBaseFilter> m_source;
    CComPtr<IQXStillSource> m_control;
    Bytes m_frame;
    int m_width = 0;
    int m_height = 0;
};
} // namespace

TEST_F(Patterns, NewFilterShowsBars)
{
    VideoFormat format;
    const std::vector<ReceivedFrame> frames = GrabFrames(m_source, 1, &format);
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_EQ(SubtypeName(format.subtype), "UYVY");
    EXPECT_EQ(format.width, 720);
    EXPECT_EQ(format.height, 576);
    ASSERT_EQ(frames[0].bytes.size(), 720u * 576 * 2);
    const Bytes start(frames[0].bytes.begin(), frames[0].bytes.begin() + 4);
    EXPECT_EQ(start, (Bytes{128, 181, 128, 181})); // grey at three quarters
}

TEST_F(Patterns, OfTheModule)
{
    Show(L"barsSD", 720, 576);
    EXPECT_EQ(Colour(101, 0), 0xC0C0C0u);
    EXPECT_EQ(Colour(102, 0), 0xC0C000u);
    EXPECT_EQ(Colour(0, 575), 0x00214Cu);
    Show(L"barsHD", 800, 450);
    EXPECT_EQ(Colour(0, 263), 0x00FFFFu);
    EXPECT_EQ(Colour(698, 300), 0xFEFEFEu);
    Show(L"bars100", 720, 576);
    EXPECT_EQ(Colour(90, 0), 0xFFFF00u);
    Show(L"bars75", 720, 576);
    EXPECT_EQ(Colour(90, 0), 0xBFBF00u);
    Show(L"bars", 1280, 719);
    EXPECT_EQ(Colour(0, 0), 0xC0C0C0u);
    Show(L"bars", 1280, 720);
    EXPECT_EQ(Colour(0, 0), 0x696969u);
    Show(L"", 1280, 720);
    EXPECT_EQ(Colour(0, 0), 0x696969u);
}

TEST_F(Patterns, Colours)
{
    const struct
    {
        const wchar_t* name;
        unsigned colour;
    } rows[] = {{L"red", 0xFF0000},   {L"green", 0x00FF00}, {L"blue", 0x0000FF}, {L"white", 0xFFFFFF},
                {L"black", 0x000000}, {L"none", 0x000000},  {L"BLUE", 0x0000FF}};
    for (const auto& row : rows)
    {
        Show(row.name, 16, 8);
        EXPECT_EQ(Colour(0, 0), row.colour);
        EXPECT_EQ(Colour(15, 7), row.colour);
    }
}

// The resources that this pattern asks for do not exist: the filter connects, and no frame comes.
TEST_F(Patterns, VideoQualityGivesNoFrame)
{
    ASSERT_EQ(SetPicture(m_source, L"videoq"), S_OK);
    FrameKeeper keeper(1);
    FilterGraph graph;
    CComPtr<IBaseFilter> sink;
    ASSERT_EQ(CreateFrameSink(keeper, sink), S_OK);
    graph.Add(m_source, L"Source");
    graph.Add(sink, L"Sink");
    ASSERT_EQ(graph.Connect(m_source, sink), S_OK);
    graph.Run();
    graph.Stop(); // answered although the worker has given up
    EXPECT_EQ(keeper.Frames().size(), 0u);
}
