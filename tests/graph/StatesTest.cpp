/// State changes of the filter in a real graph, with a stream that never ends by itself.

#include "GraphSupport.h"
#include "FrameSink.h"
#include "dstl/WinAPI/Threads.h"
#include "support/LogCapture.h"
#include <gtest/gtest.h>
#include <atomic>

namespace
{
constexpr int g_mainEvents = 8; // trace levels
constexpr int g_warnings = 4;

// Counts frames and goes on for ever; one that it was told to holds the streaming thread up.
class Counter final : public FrameReceiver
{
public:
    void SetFormat(const VideoFormat&) override {}
    HRESULT OnFrame(IMediaSample*) override
    {
        ++m_count;
        SetEvent(m_came);
        if (m_blocks)
            WaitForSingleObject(m_goOn, g_limit);
        return S_OK;
    }
    bool WaitForFrame() { return WaitForSingleObject(m_came, g_limit) == WAIT_OBJECT_0; }

    std::atomic<long> m_count{0};
    std::atomic<bool> m_blocks{false};
    CHandle m_came{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    CHandle m_goOn{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};

class States : public testing::Test
{
protected:
    States()
    {
        m_source = m_module.CreateSource();
        EXPECT_EQ(SetPicture(m_source, m_folder.Write(L"picture.tga", PlainTga("states", 32, 32, 1).file)),
                  S_OK);
        EXPECT_EQ(CreateFrameSink(m_counter, m_sink), S_OK);
        m_graph.Add(m_source, L"Source");
        m_graph.Add(m_sink, L"Sink");
        EXPECT_EQ(m_graph.Connect(m_source, m_sink), S_OK);
    }

    FILTER_STATE State()
    {
        FILTER_STATE state = State_Stopped;
        EXPECT_EQ(m_source->GetState(0, &state), S_OK);
        return state;
    }

    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
    Counter m_counter;
    FilterGraph m_graph;
    CComPtr<IBaseFilter> m_source;
    CComPtr<IBaseFilter> m_sink;
};
} // namespace

TEST_F(States, StopFromRunningPassesThroughPause)
{
    m_graph.Run();
    ASSERT_TRUE(m_counter.WaitForFrame());
    EXPECT_EQ(State(), State_Running);

    LogCapture log;
    EXPECT_EQ(m_source->Stop(), S_OK);
    EXPECT_EQ(State(), State_Stopped);
    EXPECT_EQ(log.Count(g_warnings, "WARNING. CCoQXStillSource IBaseFilterImpl::Stop(): current state is "
                                    "State_Running, call Pause() command\n"),
              1);
    EXPECT_EQ(log.Count(g_mainEvents, "CCoQXStillSource IBaseFilterImpl::Pause\n"), 1);
    EXPECT_EQ(log.Count(g_mainEvents, "CCoQXStillSource IBaseFilterImpl::Stop(): stop after pause\n"), 1);
    const long count = m_counter.m_count;
    // The sink by itself: a stop of the graph would pause the source first, and a frame would come.
    EXPECT_EQ(m_sink->Stop(), S_OK);
    EXPECT_EQ(m_counter.m_count, count); // no frame after Stop has come back
}

TEST_F(States, RunFromStoppedPassesThroughPause)
{
    LogCapture log;
    EXPECT_EQ(m_sink->Run(0), S_OK);
    EXPECT_EQ(m_source->Run(0), S_OK);
    EXPECT_EQ(State(), State_Running);
    EXPECT_EQ(log.Count(g_warnings, "WARNING. CCoQXStillSource IBaseFilterImpl::Run(): current state is "
                                    "State_Stopped, call Pause() command\n"),
              1);
    EXPECT_EQ(log.Count(g_mainEvents, "CCoQXStillSource IBaseFilterImpl::Run(): run after pause\n"), 1);
    EXPECT_TRUE(m_counter.WaitForFrame());
    EXPECT_EQ(m_source->Stop(), S_OK);
    EXPECT_EQ(m_sink->Stop(), S_OK);
}

TEST_F(States, FramesFlowWhilePaused)
{
    EXPECT_EQ(m_sink->Pause(), S_OK);
    EXPECT_EQ(m_source->Pause(), S_OK);
    EXPECT_EQ(State(), State_Paused);
    EXPECT_TRUE(m_counter.WaitForFrame());
    EXPECT_EQ(m_source->Stop(), S_OK);
    EXPECT_EQ(m_sink->Stop(), S_OK);
}

TEST_F(States, TheGraphStopsWhileFramesFlow)
{
    for (int i = 0; i < 20; ++i)
    {
        m_graph.Run();
        ASSERT_TRUE(m_counter.WaitForFrame());
        m_graph.Stop();
        ASSERT_EQ(State(), State_Stopped);
        const long count = m_counter.m_count;
        ResetEvent(m_counter.m_came);
        ASSERT_EQ(m_counter.m_count, count);
    }
}

// A sink that holds the streaming thread up makes Stop wait, and no longer than that.
TEST_F(States, StopWaitsForABlockedReceive)
{
    m_counter.m_blocks = true;
    m_graph.Run();
    ASSERT_TRUE(m_counter.WaitForFrame());

    struct Stopper
    {
        IBaseFilter* source;
        HRESULT hr;
    } stopper = {m_source, E_UNEXPECTED};
    CHandle thread(CreateThread(
        nullptr, 0,
        [](void* argument) -> DWORD
        {
            Stopper& stopper = *static_cast<Stopper*>(argument);
            stopper.hr = stopper.source->Stop();
            return 0;
        },
        &stopper, 0, nullptr));
    ASSERT_NE(static_cast<HANDLE>(thread), nullptr);
    // Until the frame is let go Stop cannot come back: the worker would have to answer first.
    EXPECT_EQ(WaitForSingleObject(thread, 200), static_cast<DWORD>(WAIT_TIMEOUT));
    m_counter.m_blocks = false;
    SetEvent(m_counter.m_goOn);
    ASSERT_EQ(WaitForSingleObject(thread, g_limit), static_cast<DWORD>(WAIT_OBJECT_0)) << "Stop hangs";
    EXPECT_EQ(stopper.hr, S_OK);
    m_graph.Stop();
}

TEST_F(States, NothingIsLeftBehind)
{
    m_graph.Run();
    ASSERT_TRUE(m_counter.WaitForFrame());
    m_graph.Stop();
    EXPECT_EQ(m_module.CanUnloadNow(), S_FALSE);
    m_graph.Remove(m_source);
    m_source.Release();
    EXPECT_EQ(m_module.CanUnloadNow(), S_OK);
}
