/// A thousand lives of the filter in a real graph: nothing hangs, nothing is left behind.

#include "GraphSupport.h"
#include "Failure.h"
#include "FrameSink.h"
#include "ProcessUsage.h"
#include "dstl/WinAPI/Threads.h"
#include <gtest/gtest.h>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace
{
constexpr int g_cycles = 1000;
constexpr int g_warmUp = 50; // the platform fills its caches

// Ends the program when a step takes longer than the limit, and says which one.
class Watchdog
{
public:
    Watchdog() : m_thread([this] { Watch(); }) {}
    ~Watchdog()
    {
        SetEvent(m_end);
        m_thread.join();
    }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    void Step(int cycle, const char* name)
    {
        m_cycle = cycle;
        m_name = name;
        ++m_steps;
    }

private:
    void Watch()
    {
        for (long long before = -1; WaitForSingleObject(m_end, g_limit) == WAIT_TIMEOUT;)
        {
            const long long now = m_steps;
            if (now == before)
            {
                std::fprintf(stderr, "cycle %d hangs in the step \"%s\"\n", m_cycle.load(), m_name.load());
                std::fflush(stderr);
                TerminateProcess(GetCurrentProcess(), 3);
            }
            before = now;
        }
    }

    CHandle m_end{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    std::atomic<int> m_cycle{0};
    std::atomic<const char*> m_name{"start"};
    std::atomic<long long> m_steps{0};
    std::thread m_thread;
};

void OneCycle(const FilterModule& module, FilterGraph& graph, const std::wstring& picture, const TgaCase& tga,
              int cycle, Watchdog& watchdog)
{
    FrameKeeper keeper(1 + static_cast<size_t>(cycle) % 4);
    watchdog.Step(cycle, "create the filter");
    CComPtr<IBaseFilter> source = module.CreateSource();
    watchdog.Step(cycle, "set the picture");
    ASSERT_EQ(SetPicture(source, picture), S_OK);
    CComPtr<IBaseFilter> sink;
    ASSERT_EQ(CreateFrameSink(keeper, sink), S_OK);
    graph.Add(source, L"Source");
    graph.Add(sink, L"Sink");
    watchdog.Step(cycle, "connect");
    ASSERT_EQ(graph.Connect(source, sink), S_OK);
    watchdog.Step(cycle, "run");
    graph.Run();
    watchdog.Step(cycle, "wait for the frames");
    ASSERT_TRUE(keeper.Wait());
    watchdog.Step(cycle, "stop");
    graph.Stop();
    ASSERT_EQ(keeper.Frames().back().bytes, tga.frame);
    watchdog.Step(cycle, "disconnect");
    ASSERT_EQ(FindPin(source, PINDIR_OUTPUT)->Disconnect(), S_OK);
    ASSERT_EQ(FindPin(sink, PINDIR_INPUT)->Disconnect(), S_FALSE); // the source's pin has told its peer
    watchdog.Step(cycle, "leave the graph");
    graph.Remove(sink);
    graph.Remove(source);
    watchdog.Step(cycle, "release the filter");
    source.Release();
    ASSERT_EQ(module.CanUnloadNow(), S_OK);
}
} // namespace

TEST(Cycles, LeaveNothingBehind)
{
    const ComScope com;
    const FilterModule module;
    const TempFolder folder;
    const TgaCase tga = PlainTga("cycle", 64, 48, 3);
    const std::wstring picture = folder.Write(L"cycle.tga", tga.file);
    const size_t kept = HeapBytesKeptByAnEmptyRun();
    // One graph for all: Wine's graph itself leaves a handle behind.
    FilterGraph graph;
    Watchdog watchdog;

    Usage before;
    for (int cycle = 0; cycle < g_cycles; ++cycle)
    {
        if (cycle == g_warmUp)
            before = CurrentUsage();
        ASSERT_NO_FATAL_FAILURE(OneCycle(module, graph, picture, tga, cycle, watchdog));
    }
    const Usage after = CurrentUsage();
    Tell(before, after);
    EXPECT_GT(before.handles, 0u);
    EXPECT_GT(before.heapBytes, 0u);
    EXPECT_GT(before.privateBytes, 0u);

    // A leak of one handle, or of ten bytes, a cycle would be above these.
    EXPECT_LE(after.handles, before.handles + 8);
    EXPECT_LE(after.heapBytes, before.heapBytes + kept * (g_cycles - g_warmUp) + 8 * 1024);
    EXPECT_LE(after.privateBytes, before.privateBytes + 4 * 1024 * 1024);
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
}
