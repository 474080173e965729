/// A thousand lives of the filter in a real graph: nothing hangs, nothing is left behind.

#include "GraphSupport.h"
#include "Failure.h"
#include "FrameSink.h"
#include "ProcessUsage.h"
#include "support/Watchdog.h"
#include <gtest/gtest.h>
#include <cstdio>

namespace
{
constexpr int g_cycles = 1000;
constexpr int g_warmUp = 50; // the platform fills its caches

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
