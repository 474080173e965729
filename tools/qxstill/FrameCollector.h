#pragma once
/// What becomes of the frames that a sink receives: they are counted, and written to files.

#include "FrameSink.h"
#include "dstl/WinAPI/Owner.h"
#include <atomic>
#include <string>

/// Takes frames on the streaming thread until it has as many as asked for.
class FrameCollector final : public FrameReceiver
{
public:
    /// @param folder where the files go; it exists. Empty: the frames are only counted.
    /// @param wanted how many frames, at least one
    FrameCollector(std::wstring folder, long wanted);
    ~FrameCollector() = default;
    FrameCollector(const FrameCollector&) = delete;
    FrameCollector& operator=(const FrameCollector&) = delete;

    long Wanted() const { return m_wanted; }
    void SetFormat(const VideoFormat& format) override { m_format = format; }

    /// A failure is returned and noted for Result as well.
    HRESULT OnFrame(IMediaSample* sample) override;

    long Count() const { return m_count; }
    /// The first failure on the streaming thread; S_OK if there was none.
    HRESULT Result() const { return m_result; }
    /// Set after the last frame, or at a failure. Owned by the collector.
    HANDLE DoneEvent() const { return m_done.Get(); }
    /// Readings of the performance counter at the first and the latest frame; 0 before.
    LONGLONG FirstTick() const { return m_firstTick; }
    LONGLONG LastTick() const { return m_lastTick; }

private:
    HRESULT Write(IMediaSample* sample, long number);

    const std::wstring m_folder;
    const long m_wanted;
    const COwnedHandle m_done;
    VideoFormat m_format;
    std::atomic<long> m_count{0};
    std::atomic<HRESULT> m_result{S_OK};
    std::atomic<LONGLONG> m_firstTick{0};
    std::atomic<LONGLONG> m_lastTick{0};
};
