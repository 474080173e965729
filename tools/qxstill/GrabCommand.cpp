#include "GrabCommand.h"
#include "Clock.h"
#include "Com.h"
#include "Connection.h"
#include "Failure.h"
#include "FilterGraph.h"
#include "FrameCollector.h"
#include "FrameEnd.h"
#include "FrameWriter.h"
#include "WaitForFrames.h"
#include <cstdio>
#include <filesystem>

namespace
{
std::wstring MakeFolder(const std::string& name)
{
    const std::filesystem::path folder(FromUtf8(name));
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (!std::filesystem::is_directory(folder, error))
        throw Failure("cannot make the folder \"" + name + "\"", DSTLLastError());
    return folder.wstring();
}

void ShowAndCollect(const GrabOptions& options)
{
    const CComPtr<IBaseFilter> source = CreateSource();
    SetUpSource(source, options.source);

    FrameCollector collector(MakeFolder(options.out), options.frames);
    FilterGraph graph;
    graph.Add(source, L"QXStillSource");
    std::string sinkName;
    const CComPtr<IBaseFilter> sink = ConnectFrameEnd(graph, source, collector, options.sink, sinkName);
    const VideoFormat format = PrintConnection(source, sink, options.source.picture, sinkName);
    if (!CanWriteFrames(format))
        throw Failure("frames in " + SubtypeName(format.subtype) +
                      " cannot be written as pictures; RGB24, RGB32 and ARGB32 can, and --format asks "
                      "for them");
    collector.SetFormat(format);

    const LONGLONG start = Tick();
    graph.Run();
    const bool isFull = WaitForFrames(graph, collector, options.timeout);
    graph.Stop();
    Check(collector.Result(), "a frame cannot be written");

    const long count = collector.Count();
    std::printf("frames      %ld in %s%s\n", count, options.out.c_str(), isFull ? "" : " (the stream ended)");
    if (count > 0)
        std::printf("time        %.1f ms to the first frame, %.1f ms to the last, files written\n",
                    Milliseconds(start, collector.FirstTick()), Milliseconds(start, collector.LastTick()));
}
} // namespace

void RunGrab(const GrabOptions& options)
{
    const ComApartment com(COINIT_MULTITHREADED);
    ShowAndCollect(options);
}
