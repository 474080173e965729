#include "Commands.h"
#include "AviMux.h"
#include "Clock.h"
#include "Connection.h"
#include "Interrupt.h"
#include "PictureCheck.h"
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
        "the filter rejects the length");
}

// Neither a picture nor, without --force, any other file is written over.
void CheckTarget(const RecordOptions& options, const std::filesystem::path& path)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        return; // there is nothing to write over; what else is wrong shows when it is made
    for (const std::wstring& picture : ExpandPictureName(FromUtf8(options.source.picture)))
    {
        if (std::filesystem::equivalent(picture, path, error))
            throw Failure("cannot write \"" + options.out +
                          "\": it is one of the pictures to record; choose another --out");
    }
    if (!options.force)
        throw Failure("cannot write \"" + options.out +
                      "\": the file exists; choose another --out, or --force to overwrite it");
}

void CheckFile(const StreamFile& file, const std::string& name)
{
    if (FAILED(file.Result()))
        throw Failure("cannot write \"" + name + "\"", file.Result());
}

// Waits for the end of the stream. Throws if the graph aborts, or the file fails or stops growing.
// @param interrupted null: nothing interrupts the wait
// @return false where the user has interrupted it
bool WaitForEnd(FilterGraph& graph, const StreamFile& file, const RecordOptions& options, HANDLE interrupted)
{
    const HANDLE handles[] = {file.FailedEvent(), graph.EventHandle(), interrupted};
    const DWORD count = interrupted ? 3 : 2;
    for (ULONGLONG before = 0;;)
    {
        const DWORD wait =
            WaitForMultipleObjects(count, handles, FALSE, static_cast<DWORD>(options.timeout * 1000));
        if (wait == WAIT_OBJECT_0 + 2)
            return false;
        CheckFile(file, options.out);
        long code = 0;
        HRESULT result = S_OK;
        while (graph.NextEvent(code, result))
        {
            if (code == EC_COMPLETE)
                return true;
            if (code == EC_ERRORABORT)
                throw Failure("the graph aborts", result);
        }
        const ULONGLONG size = file.Size();
        if (wait == WAIT_TIMEOUT && size == before)
        {
            char text[128] = {};
            std::snprintf(text, sizeof(text),
                          "the stream did not end: %llu bytes, and no more within %g seconds",
                          static_cast<unsigned long long>(size), options.timeout);
            throw Failure(text);
        }
        before = size;
    }
}

// Stops the source at the end of a scope. A graph stops its filters from the last one on, and the platform's
// mux does not survive that amid a frame.
class SourceGuard
{
public:
    explicit SourceGuard(IBaseFilter* source) : m_source(source) {}
    ~SourceGuard() { m_source->Stop(); }
    SourceGuard(const SourceGuard&) = delete;
    SourceGuard& operator=(const SourceGuard&) = delete;

private:
    IBaseFilter* const m_source;
};

// Ends a stream early, but behind a whole frame.
void EndStream(IBaseFilter* source, IBaseFilter* mux)
{
    Check(source->Stop(), "the filter does not stop");
    Check(FindPin(mux, PINDIR_INPUT)->EndOfStream(), "the AVI mux does not end the stream");
}

std::string FramesOf(uint32_t count, const RecordOptions& options)
{
    return std::to_string(count) + " of " + std::to_string(options.frames) + " frames";
}
} // namespace

void Record(IBaseFilter* source, const RecordOptions& options, HANDLE interrupted, const WriteBytes& write)
{
    const std::filesystem::path path(FromUtf8(options.out));
    SetUpSource(source, options.source);
    CheckTarget(options, path);
    std::error_code ignored; // the file's own failure says what is wrong
    std::filesystem::create_directories(path.parent_path(), ignored);
    UnfinishedFile target(path.wstring());
    StreamFile file(target.File(), write);

    FilterGraph graph;
    graph.Add(source, L"QXStillSource");
    CComPtr<IBaseFilter> mux;
    ChooseFormat(source, options.source, {"RGB32"}, "the AVI mux", [](const VideoFormat&) { return true; });
    Check(ConnectAviMux(graph, source, file, mux),
          "the filter does not connect to the AVI mux, which takes neither --fields nor --shape");
    const VideoFormat format = PrintConnection(source, mux, options.source.picture, "the platform's AVI mux");
    CheckAviSize(format, options.frames);
    PrintUnshownEntries(options.source.picture, static_cast<size_t>(options.frames));
    SetLength(source, format.frameTime, options.frames);

    const SourceGuard guard(source);
    const LONGLONG start = Tick();
    graph.Run();
    const bool isWhole = WaitForEnd(graph, file, options, interrupted);
    if (!isWhole)
    {
        EndStream(source, mux);
        WaitForEnd(graph, file, options, nullptr);
    }
    graph.Stop(); // writes the index and the headers
    CheckFile(file, options.out);
    const uint32_t count = CountAviFrames(target.File()->Get());
    if (isWhole && count != static_cast<uint32_t>(options.frames))
        throw Failure("the AVI mux has written " + FramesOf(count, options) + "; no file is left");
    if (count == 0)
        throw Failure("interrupted before the first frame; no file is left");
    const ULONGLONG size = file.Size();
    target.Finish(options.force);
    std::printf("frames      %u in %s, %llu bytes\n", count, options.out.c_str(),
                static_cast<unsigned long long>(size));
    std::printf("time        %.1f ms\n", Milliseconds(start, Tick()));
    std::fflush(stdout);
    if (!isWhole)
        throw Failure("interrupted after " + FramesOf(count, options) + "; \"" + options.out +
                      "\" has these");
}

void RunRecord(const RecordOptions& options)
{
    const ComApartment com(COINIT_MULTITHREADED);
    const Interrupt interrupt;
    Record(CreateSource(), options, interrupt.Event());
}
