#include "RecordCommand.h"
#include "AviEnd.h"
#include "Clock.h"
#include "Com.h"
#include "Connection.h"
#include "Failure.h"
#include <cstdio>
#include <filesystem>

namespace
{
// The stream is to end by itself after that many frames. The stop position counts the first frame as 0, so
// the frame that it names is the last one.
void SetLength(IBaseFilter* source, REFERENCE_TIME frameTime, long frames)
{
    CComPtr<IMediaSeeking> seeking;
    const CComPtr<IPin> output = FindPin(source, PINDIR_OUTPUT);
    Check(output->QueryInterface(IID_IMediaSeeking, reinterpret_cast<void**>(&seeking)),
          "the filter's pin has no IMediaSeeking");
    LONGLONG start = 0;
    LONGLONG stop = (frames - 1) * frameTime;
    Check(
        seeking->SetPositions(&start, AM_SEEKING_AbsolutePositioning, &stop, AM_SEEKING_AbsolutePositioning),
        "the filter refuses the length");
}

// Waits for the end of the stream. Throws if the graph aborts, or the file stops growing.
void WaitForEnd(FilterGraph& graph, const StreamFile& file, double timeout)
{
    for (ULONGLONG before = 0;;)
    {
        const DWORD wait = WaitForSingleObject(graph.EventHandle(), static_cast<DWORD>(timeout * 1000));
        long code = 0;
        HRESULT result = S_OK;
        while (wait == WAIT_OBJECT_0 && graph.NextEvent(code, result))
        {
            if (code == EC_COMPLETE)
                return;
            if (code == EC_ERRORABORT)
                throw Failure("the graph aborts", result);
        }
        Check(file.Result(), "the file cannot be written");
        const ULONGLONG size = file.Size();
        if (wait == WAIT_TIMEOUT && size == before)
        {
            char text[128] = {};
            std::snprintf(text, sizeof(text),
                          "the stream did not end: %llu bytes, and no more within %g seconds",
                          static_cast<unsigned long long>(size), timeout);
            throw Failure(text);
        }
        before = size;
    }
}

void Record(const RecordOptions& options)
{
    const CComPtr<IBaseFilter> source = CreateSource();
    SetUpSource(source, options.source);

    const std::filesystem::path path(FromUtf8(options.out));
    std::error_code ignored; // the file's own failure says what is wrong
    std::filesystem::create_directories(path.parent_path(), ignored);
    StreamFile file(path.wstring());
    FilterGraph graph;
    graph.Add(source, L"QXStillSource");
    CComPtr<IBaseFilter> mux;
    Check(ConnectAviMux(graph, source, file, mux), "the filter does not connect to the AVI mux");
    const VideoFormat format = PrintConnection(source, mux, options.source.picture, "the platform's AVI mux");
    SetLength(source, format.frameTime, options.frames);

    const LONGLONG start = Tick();
    graph.Run();
    WaitForEnd(graph, file, options.timeout);
    graph.Stop(); // writes the index and the headers
    Check(file.Result(), "the file cannot be written");
    std::printf("frames      %ld in %s, %llu bytes\n", options.frames, options.out.c_str(),
                static_cast<unsigned long long>(file.Size()));
    std::printf("time        %.1f ms\n", Milliseconds(start, Tick()));
}
} // namespace

void RunRecord(const RecordOptions& options)
{
    const ComApartment com(COINIT_MULTITHREADED);
    Record(options);
}
