/// The host program's graph: its clock, and the format that it chooses.

#include "Failure.h"
#include "SourceFilter.h"
#include "FrameSink.h"
#include "GraphSupport.h"
#include <gtest/gtest.h>
#include <algorithm>

namespace
{
class HostGraph : public testing::Test
{
protected:
    HostGraph() : m_source(m_module.CreateSource())
    {
        EXPECT_EQ(SetPicture(m_source, m_folder.Write(L"a.tga", PlainTga("graph", 32, 16, 1).file)), S_OK);
        EXPECT_EQ(CreateFrameSink(m_keeper, m_sink), S_OK);
    }
    ~HostGraph() override
    {
        m_sink.Release();
        m_source.Release();
        EXPECT_EQ(m_module.CanUnloadNow(), S_OK);
    }

    static bool HasClock(IBaseFilter* filter)
    {
        CComPtr<IReferenceClock> clock;
        EXPECT_EQ(filter->GetSyncSource(&clock), S_OK);
        return clock != nullptr;
    }

    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
    CComPtr<IBaseFilter> m_source;
    FrameKeeper m_keeper{2};
    CComPtr<IBaseFilter> m_sink;
};

} // namespace

TEST_F(HostGraph, EachFilterHasTheClockWhateverTheOrder)
{
    for (const bool isClockFirst : {true, false})
    {
        SCOPED_TRACE(isClockFirst ? "clock, then filters" : "filters, then clock");
        m_keeper.Forget();
        FilterGraph graph;
        if (isClockFirst)
            graph.UseDefaultClock();
        graph.Add(m_source, L"Source");
        graph.Add(m_sink, L"Sink");
        if (!isClockFirst)
            graph.UseDefaultClock();
        ASSERT_EQ(graph.Connect(m_source, m_sink), S_OK);
        graph.Run();
        EXPECT_TRUE(HasClock(m_source));
        EXPECT_TRUE(HasClock(m_sink));
        EXPECT_TRUE(m_keeper.Wait());
        graph.Stop();
    }
}

TEST_F(HostGraph, HasNoClockUnlessAsked)
{
    FilterGraph graph;
    graph.Add(m_source, L"Source");
    graph.Add(m_sink, L"Sink");
    ASSERT_EQ(graph.Connect(m_source, m_sink), S_OK);
    graph.Run();
    EXPECT_FALSE(HasClock(m_source));
    EXPECT_FALSE(HasClock(m_sink));
    EXPECT_TRUE(m_keeper.Wait());
    graph.Stop();
}

// --- The format that is chosen

namespace
{
class FormatChoiceTest : public HostGraph
{
protected:
    // What a taker of these formats gets; empty for nothing.
    std::string Choose(const SourceOptions& options, const std::vector<std::string>& others,
                       const std::vector<std::string>& takes)
    {
        std::string taken;
        ChooseFormat(m_bars, options, others, "the sink",
                     [&](const VideoFormat& format)
                     {
                         const std::string name = SubtypeName(format.subtype);
                         const bool isTaken = std::find(takes.begin(), takes.end(), name) != takes.end();
                         taken = isTaken ? name : "";
                         return isTaken;
                     });
        return taken;
    }
    const CComPtr<IBaseFilter> m_bars = m_module.CreateSource();
};
} // namespace

TEST_F(FormatChoiceTest, TakesThePicturesOwnFirst)
{
    EXPECT_EQ(Choose({}, {"RGB32"}, {"UYVY", "RGB32"}), "UYVY");
}

TEST_F(FormatChoiceTest, TakesTheFirstOtherThatFits)
{
    EXPECT_EQ(Choose({}, {"RGB32", "RGB24", "YUY2"}, {"YUY2", "RGB24"}), "RGB24");
    EXPECT_EQ(Choose({}, {"RGB32"}, {"YV12"}), "");
}

TEST_F(FormatChoiceTest, TakesNoOtherThanTheOneThatWasAskedFor)
{
    SourceOptions options;
    options.format = "UYVY";
    SetUpSource(m_bars, options);
    EXPECT_EQ(Choose(options, {"RGB32"}, {"RGB32"}), "");
}

TEST_F(FormatChoiceTest, ASizeThatThePicturesOwnCannotHaveTakesAnother)
{
    SourceOptions options;
    options.size = {101, 50};
    SetUpSource(m_bars, options);
    EXPECT_EQ(Choose(options, {"RGB32"}, {"UYVY", "RGB32"}), "RGB32");
    options.format = "UYVY";
    SetUpSource(m_bars, options);
    EXPECT_THROW(Choose(options, {"RGB32"}, {"UYVY", "RGB32"}), Failure);
}
