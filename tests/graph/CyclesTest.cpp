/// A thousand lives of the filter in a real graph: nothing hangs, nothing is left behind.

#include "GraphSupport.h"
#include "Failure.h"
#include "FrameSink.h"
#include "dstl/WinAPI/Threads.h"
#include <gtest/gtest.h>
#include <psapi.h>
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

struct Usage
{
    DWORD handles = 0;
    size_t privateBytes = 0;
};

Usage CurrentUsage()
{
    Usage usage;
    GetProcessHandleCount(GetCurrentProcess(), &usage.handles);
    PROCESS_MEMORY_COUNTERS_EX counters = {};
    counters.cb = sizeof(counters);
    GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                         sizeof(counters));
    usage.privateBytes = counters.PrivateUsage;
    return usage;
}

void OneCycle(const FilterModule& module, const std::wstring& picture, const TgaCase& tga, int cycle,
              Watchdog& watchdog)
{
    FrameKeeper keeper(1 + static_cast<size_t>(cycle) % 4);
    watchdog.Step(cycle, "create the filter");
    CComPtr<IBaseFilter> source = module.CreateSource();
    watchdog.Step(cycle, "set the picture");
    ASSERT_EQ(SetPicture(source, picture), S_OK);
    {
        watchdog.Step(cycle, "make the graph");
        FilterGraph graph;
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
        const CComPtr<IPin> output = FindPin(source, PINDIR_OUTPUT);
        const CComPtr<IPin> input = FindPin(sink, PINDIR_INPUT);
        ASSERT_EQ(output->Disconnect(), S_OK);
        ASSERT_EQ(input->Disconnect(), S_OK);
        watchdog.Step(cycle, "take the graph apart");
    }
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
    Watchdog watchdog;

    Usage before;
    for (int cycle = 0; cycle < g_cycles; ++cycle)
    {
        if (cycle == g_warmUp)
            before = CurrentUsage();
        ASSERT_NO_FATAL_FAILURE(OneCycle(module, picture, tga, cycle, watchdog));
    }
    const Usage after = CurrentUsage();
    RecordProperty("handles", std::to_string(before.handles) + " to " + std::to_string(after.handles));
    RecordProperty("bytes",
                   std::to_string(before.privateBytes) + " to " + std::to_string(after.privateBytes));
    std::printf("handles %lu to %lu, private bytes %zu to %zu\n", before.handles, after.handles,
                before.privateBytes, after.privateBytes);

    // One handle, or 100 bytes, a cycle would already be far above these.
    EXPECT_LE(after.handles, before.handles + 8);
    EXPECT_LE(after.privateBytes, before.privateBytes + 1024 * 1024);
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
}
