#pragma once
/// What the tests of the filter in a real graph share.

#include "dstl/WinAPI/Platform.h"
#include "FilterGraph.h"
#include "FrameSink.h"
#include "Pictures.h"
#include "QXStillSource.h"
#include <atlbase.h>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

/// Milliseconds after which a wait has failed.
constexpr DWORD g_limit = 30000;

/// COM in the multithreaded apartment for the length of a scope.
class ComScope
{
public:
    ComScope() { CoInitializeEx(nullptr, COINIT_MULTITHREADED); }
    ~ComScope() { CoUninitialize(); }
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;
};

/// The DLL beside the test program, loaded without registration.
class FilterModule
{
public:
    FilterModule();
    ~FilterModule();
    FilterModule(const FilterModule&) = delete;
    FilterModule& operator=(const FilterModule&) = delete;

    /// A new filter from the class factory; throws Failure.
    CComPtr<IBaseFilter> CreateSource() const;
    /// S_OK when no object of the module lives.
    HRESULT CanUnloadNow() const;

private:
    HMODULE m_module;
};

/// A folder of its own, with a name beyond the code pages, removed with all that is in it.
class TempFolder
{
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    /// Writes a file and gives its full name.
    std::wstring Write(const std::wstring& name, const Bytes& bytes) const;
    std::wstring Name(const std::wstring& name) const { return (m_path / name).wstring(); }
    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

/// A frame as it arrived.
struct ReceivedFrame
{
    Bytes bytes;
    REFERENCE_TIME start = -1;
    REFERENCE_TIME end = -1;
    LONGLONG mediaStart = -1;
    LONGLONG mediaEnd = -1;
    bool isSyncPoint = false;
    bool isDiscontinuity = false;
};

/// Keeps the first frames that arrive, then wants no more.
class FrameKeeper final : public FrameReceiver
{
public:
    explicit FrameKeeper(size_t wanted);
    ~FrameKeeper();
    FrameKeeper(const FrameKeeper&) = delete;
    FrameKeeper& operator=(const FrameKeeper&) = delete;

    void SetFormat(const VideoFormat& format) override { m_format = format; }
    HRESULT OnFrame(IMediaSample* sample) override;

    /// Waits until all are there. \return false if they did not come within the limit
    bool Wait() const { return WaitForSingleObject(m_done, g_limit) == WAIT_OBJECT_0; }
    /// Begins anew, while the graph is stopped.
    void Forget()
    {
        m_frames.clear();
        ResetEvent(m_done);
    }
    /// Once the graph has stopped.
    const std::vector<ReceivedFrame>& Frames() const { return m_frames; }
    const VideoFormat& Format() const { return m_format; }

private:
    const size_t m_wanted;
    const HANDLE m_done;
    VideoFormat m_format;
    std::vector<ReceivedFrame> m_frames;
};

HRESULT SetPicture(IBaseFilter* source, const std::wstring& name);
/// The name that the filter gives for what it shows.
std::wstring CurrentFile(IBaseFilter* source);

/// Shows what the source is set to in a graph of its own; throws Failure, and fails the test if the frames do
/// not come.
std::vector<ReceivedFrame> GrabFrames(IBaseFilter* source, size_t count, VideoFormat* format = nullptr);

/// Waits until a running graph tells the end of its stream, and fails the test if that does not come.
void WaitForTheEnd(FilterGraph& graph);

/// Shows what the source is set to in a graph that is given, to the end of the stream or to the limit of frames, and
/// takes the source out of it again; throws Failure, and fails the test if the end does not come.
std::vector<ReceivedFrame> PlayToEnd(FilterGraph& graph, IBaseFilter* source, size_t limit);
