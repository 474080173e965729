#pragma once
/// The position of the stream: which frame is next, which is the last one, and the next one's time.

#include "dstl/WinAPI/Platform.h"

#include <atomic>
#include <cstdint>

#include "dstl/WinAPI/Wrappers.h"

/// What the next sample says about its place in the stream. Times in units of 100 ns.
struct FrameStamp
{
    LONGLONG nFrame;     ///< number of the frame; its media time
    LONGLONG nNextFrame; ///< number of the frame behind it
    LONGLONG rtStart;    ///< within the segment
    LONGLONG rtEnd;      ///< start of the frame behind it
    bool bSegmentBegins; ///< the first frame of a segment
};

/// One of the two positions that a seek sets.
struct PositionChange
{
    LONGLONG* pTime; ///< null: the position stays. A relative time becomes the absolute one
    DWORD dwFlags;   ///< AM_SEEKING_*; only absolute and relative positioning have an effect
};

/// Frame numbers inside, times outside. All products and sums wrap at 64 bits (FrameTimes.h).
///
/// The worker holds the lock while it makes a frame, a seek while it sets the positions. What needs no more
/// than one number is read without it.
class CStreamPosition
{
public:
    /// 90000 times the highest 32-bit count.
    static constexpr LONGLONG nNoStopFrame = 90000LL * 2147483647LL;

    /// Holds the position for a scope. It is recursive.
    class CHold
    {
    public:
        /// \param bMayWait false: only if the position is free or the caller's own
        explicit CHold(const CStreamPosition& position, bool bMayWait = true) noexcept
            : m_lock(&position.m_crsPosition, bMayWait)
        {
        }
        bool IsHeld() const noexcept { return m_lock.IsHeld(); }

    private:
        const CScopedTryLock<CCritSec> m_lock;
    };

    // --- Without the lock

    /// The next frame begins a segment. Its number stays.
    void BeginSegment() noexcept { m_rtCurrent = 0; }
    bool SegmentBegins() const noexcept { return m_rtCurrent == 0; }
    /// Number of the next frame.
    LONGLONG NextFrame() const noexcept { return m_nFrame; }
    /// Whether the next frame lies behind the last one. The last number is sent too, so that there is one
    /// frame more than the number says: this is deliberate.
    bool IsPastEnd() const noexcept;
    /// Start of the next frame. \param rtFrame length of a frame in units of 100 ns
    LONGLONG StartTime(LONGLONG rtFrame) const noexcept;
    /// Start of the last frame.
    LONGLONG StopTime(LONGLONG rtFrame) const noexcept;
    /// \param nFrame the last frame; 0 or less: the stream has no end
    void SetStopFrame(LONGLONG nFrame) noexcept { m_nStopFrame = nFrame; }

    // --- Under a CHold

    FrameStamp Stamp(LONGLONG rtFrame) const noexcept;
    /// Goes on to the frame behind the one stamped.
    void Advance(const FrameStamp& stamp) noexcept;
    /// Sets the positions, times being cut to frames toward zero, and begins a segment.
    void Seek(const PositionChange& current, const PositionChange& stop, LONGLONG rtFrame) noexcept;

private:
    friend struct PinProbe; // tests

    std::atomic<int64_t> m_rtCurrent = 0;             ///< start of the next sample; 0 also begins a segment
    std::atomic<int64_t> m_nFrame = 0;                ///< number of the next frame; it survives a stop
    std::atomic<int64_t> m_nStopFrame = nNoStopFrame; ///< the last frame; 0 or less means no end
    mutable CCritSec m_crsPosition;                   ///< guards changes of the three
};
