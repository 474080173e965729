/// The platform's own ends of a graph. They bring no allocator, so the frames lie in the filter's own memory.

#include "GraphSupport.h"
#include "Failure.h"
#include "FrameEnd.h"
#include "dstl/dshowx/DSTypes.h"
#include "support/LogCapture.h"
#include <gtest/gtest.h>
#include <qedit.h>

namespace
{
constexpr int g_errors = 2; // trace levels
constexpr int g_mainEvents = 8;

class StockSinks : public testing::Test
{
protected:
    StockSinks()
    {
        m_source = m_module.CreateSource();
        EXPECT_EQ(SetPicture(m_source, m_folder.Write(L"picture.tga", m_tga.file)), S_OK);
    }

    /// Source, grabber and null renderer in a graph, connected.
    void Connect(FilterGraph& graph, FrameReceiver& receiver)
    {
        Check(CreatePlatformSink(receiver, m_sink), "no platform sink");
        graph.Add(m_source, L"Source");
        graph.Add(m_sink.grabber, L"Grabber");
        graph.Add(m_sink.renderer, L"Renderer");
        Check(graph.Connect(m_source, m_sink.grabber), "no connection to the grabber");
        Check(graph.Connect(m_sink.grabber, m_sink.renderer), "no connection to the renderer");
    }

    const TgaCase m_tga = PlainTga("stock", 64, 48, 5);
    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
    CComPtr<IBaseFilter> m_source;
    PlatformSink m_sink;
};

/// Keeps samples, not copies of them.
class SampleKeeper final : public FrameReceiver
{
public:
    explicit SampleKeeper(size_t wanted) : m_wanted(wanted) {}
    ~SampleKeeper() { CloseHandle(m_done); }
    SampleKeeper(const SampleKeeper&) = delete;
    SampleKeeper& operator=(const SampleKeeper&) = delete;

    void SetFormat(const VideoFormat&) override {}
    HRESULT OnFrame(IMediaSample* sample) override
    {
        if (m_samples.size() < m_wanted)
            m_samples.push_back(sample);
        if (m_samples.size() == m_wanted)
            SetEvent(m_done);
        return S_OK;
    }
    bool Wait() const { return WaitForSingleObject(m_done, g_limit) == WAIT_OBJECT_0; }

    std::vector<CComPtr<IMediaSample>> m_samples;

private:
    const size_t m_wanted;
    const HANDLE m_done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

Bytes BytesOf(IMediaSample* sample)
{
    BYTE* bits = nullptr;
    EXPECT_EQ(sample->GetPointer(&bits), S_OK);
    return {bits, bits + sample->GetActualDataLength()};
}
} // namespace

TEST_F(StockSinks, GrabberAndNullRenderer)
{
    FrameKeeper keeper(20);
    {
        FilterGraph graph;
        const LogCapture log;
        Connect(graph, keeper);
        EXPECT_TRUE(log.Has(g_errors,
                            "###Err### [CCoQXStillSourceOut] CAllocatorMatch::MatchExternAllocator(): "
                            "pMemInput->GetAllocator()=0x8004020A\n"));
        EXPECT_TRUE(log.Has(
            g_mainEvents,
            "@@@@ [CCoQXStillSourceOut] CAllocatorMatch::AttachAllocator(): use internal allocator\n"));
        graph.Run();
        EXPECT_TRUE(keeper.Wait());
        graph.Stop();
    }
    m_sink = {};
    ASSERT_EQ(keeper.Frames().size(), 20u);
    for (size_t i = 0; i < keeper.Frames().size(); ++i)
    {
        EXPECT_EQ(keeper.Frames()[i].bytes, m_tga.frame) << i;
        EXPECT_EQ(keeper.Frames()[i].start, static_cast<REFERENCE_TIME>(i) * 400000);
        EXPECT_EQ(keeper.Frames()[i].mediaEnd, static_cast<LONGLONG>(i + 1));
    }
    m_source.Release();
    EXPECT_EQ(m_module.CanUnloadNow(), S_OK);
}

TEST_F(StockSinks, NullRendererAlone)
{
    // A list of pictures is a stream that ends.
    const std::wstring first = m_folder.Write(L"a.tga", m_tga.file);
    const std::wstring second = m_folder.Write(L"b.tga", m_tga.file);
    ASSERT_EQ(SetPicture(m_source, first + L"|" + second), S_OK);
    FrameKeeper unused(1);
    Check(CreatePlatformSink(unused, m_sink), "no platform sink");
    {
        FilterGraph graph;
        graph.Add(m_source, L"Source");
        graph.Add(m_sink.renderer, L"Renderer");
        ASSERT_EQ(graph.Connect(m_source, m_sink.renderer), S_OK);
        for (int i = 0; i < 3; ++i)
        {
            graph.Run();
            WaitForTheEnd(graph);
            graph.Stop();
        }
    }
    m_sink = {};
    m_source.Release();
    EXPECT_EQ(m_module.CanUnloadNow(), S_OK);
}

// The stopped graph connects the pin anew with the type that it is given.
TEST_F(StockSinks, AnotherRateReachesAConnectionThatStands)
{
    CComPtr<IQXStillSource> control;
    ASSERT_EQ(m_source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&control)), S_OK);
    FrameKeeper keeper(3);
    {
        FilterGraph graph;
        Connect(graph, keeper);
        graph.Run();
        EXPECT_TRUE(keeper.Wait());
        graph.Stop();
        EXPECT_EQ(keeper.Frames()[2].end, 3 * 400000);
        keeper.Forget();

        const LogCapture log;
        ASSERT_EQ(control->SetFrameRate(50), S_OK);
        EXPECT_EQ(log.Count(g_mainEvents, "*************** [CCoQXStillSourceOut] connection established\n"),
                  1);
        CMType type;
        ASSERT_EQ(FindPin(m_sink.grabber, PINDIR_INPUT)->ConnectionMediaType(&type), S_OK);
        VideoFormat format;
        ASSERT_TRUE(ReadVideoFormat(type, format));
        EXPECT_EQ(format.frameTime, 200000);
        graph.Run();
        EXPECT_TRUE(keeper.Wait());
        graph.Stop();
    }
    ASSERT_EQ(keeper.Frames().size(), 3u);
    EXPECT_EQ(keeper.Frames()[2].end, 3 * 200000);
    EXPECT_EQ(keeper.Frames()[2].bytes, m_tga.frame);

    // The null renderer alone.
    FrameKeeper unused(1);
    PlatformSink sink;
    Check(CreatePlatformSink(unused, sink), "no platform sink");
    FilterGraph graph;
    graph.Add(m_source, L"Source");
    graph.Add(sink.renderer, L"Renderer");
    ASSERT_EQ(graph.Connect(m_source, sink.renderer), S_OK);
    ASSERT_EQ(control->SetFrameRate(30), S_OK);
    CMType type;
    ASSERT_EQ(FindPin(sink.renderer, PINDIR_INPUT)->ConnectionMediaType(&type), S_OK);
    VideoFormat format;
    ASSERT_TRUE(ReadVideoFormat(type, format));
    EXPECT_EQ(format.frameTime, 333333);
}

/// A sink that keeps samples beyond stop, disconnection and the filter's release: they stay readable, and
/// with the last of them all is gone.
TEST_F(StockSinks, SamplesOutliveTheFilter)
{
    for (const size_t wanted : {1, 2})
    {
        SampleKeeper keeper(wanted);
        {
            if (!m_source)
            {
                m_source = m_module.CreateSource();
                ASSERT_EQ(SetPicture(m_source, m_folder.Name(L"picture.tga")), S_OK);
            }
            FilterGraph graph;
            Connect(graph, keeper);
            graph.Run();
            ASSERT_TRUE(keeper.Wait()); // with two of two kept the filter waits for a buffer by now
            graph.Stop();
            ASSERT_EQ(FindPin(m_source, PINDIR_OUTPUT)->Disconnect(), S_OK);
            graph.Remove(m_source);
        }
        m_sink = {};
        m_source.Release();
        EXPECT_EQ(m_module.CanUnloadNow(), S_FALSE) << "samples are still out";
        for (CComPtr<IMediaSample>& sample : keeper.m_samples)
        {
            EXPECT_EQ(BytesOf(sample), m_tga.frame);
            sample.Release();
        }
        EXPECT_EQ(m_module.CanUnloadNow(), S_OK);
    }
}
