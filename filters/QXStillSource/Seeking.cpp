// The three operations of IMediaSeeking that touch the stream. Positions are frame numbers inside and times
// outside.
#include "CoQXStillSource.h"
#include "FrameRate.h"

STDMETHODIMP CCoQXStillSourceOut::GetDuration(LONGLONG* pDuration) noexcept
{
    TraceSeeking(eTL_Frame, L"%s: IMediaSeekingImpl::GetDuration\n");
    DSASSERT(pDuration != NULL);
    if (pDuration == nullptr)
        return E_POINTER;
    *pDuration = m_position.StopTime(FrameTime());
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
        const CStreamPosition::CHold position(m_position, bMayWait);
        if (!position.IsHeld())
            return VFW_E_STATE_CHANGED; // so may the worker, within a call for the frame that it prepares
        m_position.Seek({pCurrent, dwCurrentFlags}, {pStop, dwStopFlags}, FrameTimeOrDefault(FrameTime()));
    }
    m_pump.Wake();
    return S_OK;
}

STDMETHODIMP CCoQXStillSourceOut::GetPositions(LONGLONG* pCurrent, LONGLONG* pStop) noexcept
{
    TraceSeeking(eTL_Frame, L"%s: IMediaSeekingImpl::GetPositions\n");
    // Within a call of the pin perhaps without the lock, which the worker holds while it prepares a frame.
    // The frames are those from before a seek or from after it.
    const CStreamPosition::CHold position(m_position, !IsInCall());
    const REFERENCE_TIME rtFrame = FrameTime();
    if (pCurrent != nullptr)
        *pCurrent = m_position.StartTime(rtFrame);
    if (pStop != nullptr)
        *pStop = m_position.StopTime(rtFrame);
    return S_OK;
}
