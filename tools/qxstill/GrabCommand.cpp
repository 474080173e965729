#include "Commands.h"
#include "Clock.h"
#include "Connection.h"
#include "Failure.h"
#include "FilterGraph.h"
#include "FrameCollector.h"
#include "FrameEnd.h"
#include "FrameWriter.h"
#include <cstdio>
#include <filesystem>

namespace
{
std::wstring MakeFolder(const std::string& name)
{
    const std::filesystem::path folder(FromUtf8(name));
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    if (std::filesystem::is_directory(folder, ignored))
        return folder.wstring();
    if (std::filesystem::exists(folder, ignored))
        throw Failure("cannot make the folder \"" + name + "\": a file has that name; choose another --out");
    CreateDirectoryW(folder.c_str(), nullptr); // the library's error is not always the system's
    throw Failure("cannot make the folder \"" + name + "\"", DSTLLastError());
}

void ShowAndCollect(const GrabOptions& options)
{
    const CComPtr<IBaseFilter> source = CreateSource();
    SetUpSource(source, options.source);

    ChooseFormat(source, options.source, {"RGB32"}, "a BMP file", CanWriteFrames);

    FrameCollector collector(MakeFolder(options.out), options.frames);
    FilterGraph graph;
    graph.Add(source, L"QXStillSource");
    std::string sinkName;
    const CComPtr<IBaseFilter> sink = ConnectFrameEnd(graph, source, collector, options.sink, sinkName);
    const VideoFormat format = PrintConnection(source, sink, options.source.picture, sinkName);
    if (!CanWriteFrames(format))
        throw Failure("frames in " + SubtypeName(format.subtype) +
                      " cannot be written as BMP files; ask for RGB24, RGB32 or ARGB32 with --format");
    PrintUnshownEntries(options.source.picture, static_cast<size_t>(options.frames));
    collector.SetFormat(format);

    const LONGLONG start = Tick();
    graph.Run();
    const bool isFull = WaitForFrames(graph, collector, options.timeout);
    graph.Stop();
    const long count = collector.Count();
    if (FAILED(collector.Result()))
        throw Failure("cannot write frame " + std::to_string(count + 1) + " to the folder \"" + options.out +
                          "\"",
                      collector.Result());
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
