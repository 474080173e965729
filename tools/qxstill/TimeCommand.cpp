#include "Commands.h"
#include "Clock.h"
#include "Connection.h"
#include "FilterGraph.h"
#include "FrameEnd.h"
#include <cstdio>

namespace
{
void PrintPace(const FrameCollector& collector, long frameSize, LONGLONG start, bool isFull)
{
    const long count = collector.Count();
    std::printf("frames      %ld%s\n", count, isFull ? "" : " (the stream ended)");
    if (count == 0)
        return;
    std::printf("first       %.2f ms from the start of the graph\n",
                Milliseconds(start, collector.FirstTick()));
    const double span = Milliseconds(collector.FirstTick(), collector.LastTick());
    if (count < 2 || span <= 0)
        return;
    const double perSecond = static_cast<double>(count - 1) * 1000 / span;
    std::printf("pace        %.1f frames/s, %.4f ms a frame, %.1f MB/s\n", perSecond, 1000 / perSecond,
                perSecond * static_cast<double>(frameSize) / 1e6);
}

void Time(const TimeOptions& options)
{
    const CComPtr<IBaseFilter> source = CreateSource();
    SetUpSource(source, options.source);
    ChooseFormat(source, options.source, {"RGB32"}, "the sink", [](const VideoFormat&) { return true; });
    FrameCollector collector({}, options.frames);
    FilterGraph graph;
    graph.Add(source, L"QXStillSource");
    std::string sinkName;
    const CComPtr<IBaseFilter> sink = ConnectFrameEnd(graph, source, collector, options.sink, sinkName);
    const VideoFormat format = PrintConnection(source, sink, options.source.picture, sinkName);
    PrintUnshownEntries(options.source.picture, static_cast<size_t>(options.frames));

    const LONGLONG start = Tick();
    graph.Run();
    const bool isFull = WaitForFrames(graph, collector, options.timeout);
    graph.Stop();
    PrintPace(collector, format.imageSize, start, isFull);
}
} // namespace

void RunTime(const TimeOptions& options)
{
    const ComApartment com(COINIT_MULTITHREADED);
    Time(options);
}
