// The three operations of IMediaSeeking that touch the stream. Positions are frame numbers inside and times
// outside.
#include "CoQXStillSource.h"

#include "FrameTimes.h"

namespace
{

constexpr DWORD dwPositioned = AM_SEEKING_AbsolutePositioning | AM_SEEKING_RelativePositioning;

/// Moves a position. \param pTime the host's variable, null for none: a relative time in it becomes absolute
LONGLONG MovedFrame(LONGLONG nFrame, LONGLONG* pTime, DWORD dwFlags, REFERENCE_TIME rtFrame) noexcept
{
    if (pTime == nullptr)
        return nFrame;
    if ((dwFlags & AM_SEEKING_RelativePositioning) != 0)
        *pTime = AddTimes(*pTime, FrameToTime(nFrame, rtFrame));
    return (dwFlags & dwPositioned) != 0 ? TimeToFrame(*pTime, rtFrame) : nFrame;
}

} // namespace

STDMETHODIMP CCoQXStillSourceOut::GetDuration(LONGLONG* pDuration) noexcept
{
    TraceSeeking(eTL_Frame, L"%s: IMediaSeekingImpl::GetDuration\n");
    DSASSERT(pDuration != NULL);
    if (pDuration == nullptr)
        return E_POINTER;
    *pDuration = FrameToTime(m_nStopFrame, FrameTime());
    return S_OK;
}

STDMETHODIMP CCoQXStillSourceOut::SetPositions(LONGLONG* pCurrent, DWORD dwCurrentFlags, LONGLONG* pStop,
                                               DWORD dwStopFlags) noexcept
{
    TraceSeeking(eTL_Main, L"%s: IMediaSeekingImpl::SetPositions\n");
    if (m_crsSeek.IsMine())
        return VFW_E_STATE_CHANGED; // the peer seeks from within the flush of a seek
    const bool bMayWait = !IsInCall();
    const CScopedTryLock seek(&m_crsSeek, bMayWait);
    if (!seek.IsHeld())
        return VFW_E_STATE_CHANGED; // the other seek may be waiting for the call that this one comes from
    {
        // The position is free while the peer flushes, which may need the worker's step to end.
        const CPumpThread::CHold hold(m_pump);
        // Always flushed, deliberately: no flag of a seek but the two of positioning is looked at.
        if (const CComPtr<IPin> spPeer = GetPeer())
        {
            spPeer->BeginFlush();
            spPeer->EndFlush();
        }
        const CScopedTryLock crs(&m_crsPosition, bMayWait);
        if (!crs.IsHeld())
            return VFW_E_STATE_CHANGED; // so may the worker, within a call for the frame that it prepares
        const REFERENCE_TIME rtFrame = GetFrameTime();
        m_nFrame = MovedFrame(m_nFrame, pCurrent, dwCurrentFlags, rtFrame);
        m_nStopFrame = MovedFrame(m_nStopFrame, pStop, dwStopFlags, rtFrame);
        m_rtCurrent = 0; // also when nothing moved: the next sample begins a segment
    }
    m_pump.Wake();
    return S_OK;
}

STDMETHODIMP CCoQXStillSourceOut::GetPositions(LONGLONG* pCurrent, LONGLONG* pStop) noexcept
{
    TraceSeeking(eTL_Frame, L"%s: IMediaSeekingImpl::GetPositions\n");
    // Within a call of the pin without the lock, which the worker holds while it prepares a frame. The frames
    // are those from before a seek or from after it.
    CScopedLock crs(IsInCall() ? nullptr : &m_crsPosition);
    const LONGLONG nFrame = m_nFrame;
    const LONGLONG nStopFrame = m_nStopFrame;
    const REFERENCE_TIME rtFrame = FrameTime();
    if (pCurrent != nullptr)
        *pCurrent = FrameToTime(nFrame, rtFrame);
    if (pStop != nullptr)
        *pStop = FrameToTime(nStopFrame, rtFrame);
    return S_OK;
}
