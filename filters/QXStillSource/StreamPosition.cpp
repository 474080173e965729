#include "StreamPosition.h"

#include <strmif.h>

#include "FrameTimes.h"

namespace
{

constexpr DWORD dwPositioned = AM_SEEKING_AbsolutePositioning | AM_SEEKING_RelativePositioning;

LONGLONG ChangedFrame(LONGLONG nFrame, const PositionChange& change, LONGLONG rtFrame) noexcept
{
    if (change.pTime == nullptr)
        return nFrame;
    if ((change.dwFlags & AM_SEEKING_RelativePositioning) != 0)
        *change.pTime = AddTimes(*change.pTime, FrameToTime(nFrame, rtFrame));
    return (change.dwFlags & dwPositioned) != 0 ? TimeToFrame(*change.pTime, rtFrame) : nFrame;
}

} // namespace

bool CStreamPosition::IsPastEnd() const noexcept
{
    const LONGLONG nStopFrame = m_nStopFrame;
    return m_nFrame > nStopFrame && nStopFrame > 0;
}

LONGLONG CStreamPosition::StartTime(LONGLONG rtFrame) const noexcept
{
    return FrameToTime(m_nFrame, rtFrame);
}

LONGLONG CStreamPosition::StopTime(LONGLONG rtFrame) const noexcept
{
    return FrameToTime(m_nStopFrame, rtFrame);
}

FrameStamp CStreamPosition::Stamp(LONGLONG rtFrame) const noexcept
{
    const LONGLONG nFrame = m_nFrame;
    const LONGLONG rtStart = m_rtCurrent;
    return {nFrame, AddTimes(nFrame, 1), rtStart, AddTimes(rtStart, rtFrame), rtStart == 0};
}

void CStreamPosition::Advance(const FrameStamp& stamp) noexcept
{
    m_nFrame = stamp.nNextFrame;
    m_rtCurrent = stamp.rtEnd;
}

void CStreamPosition::Seek(const PositionChange& current, const PositionChange& stop,
                           LONGLONG rtFrame) noexcept
{
    m_nFrame = ChangedFrame(m_nFrame, current, rtFrame);
    m_nStopFrame = ChangedFrame(m_nStopFrame, stop, rtFrame);
    BeginSegment(); // also when nothing moved
}
