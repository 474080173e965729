#include "CoQXStillSourceOut.h"

#include "CoQXStillSource.h"
#include "dstl/Old/GDIPlusHelpers.h"

HRESULT CCoQXStillSourceOut::FinalConstruct() noexcept
{
    GdiPlusStart(&m_nGdiPlusToken);
    InitTimeFormats();
    trace(atlTraceGeneral, eTL_Error, L"CCoQXStillSourceOut::FinalConstruct\n");
    const HRESULT hr = m_pump.Init(this, &ThreadProc);
    DSASSERT(hr == S_OK);
    return S_OK; // also without a worker
}

void CCoQXStillSourceOut::FinalRelease() noexcept
{
    GdiPlusStop(m_nGdiPlusToken);
    trace(atlTraceGeneral, eTL_Error, L"CCoQXStillSourceOut::FinalRelease\n");
    m_pump.End();
}

ULONG CCoQXStillSourceOut::InternalRelease() noexcept
{
    const ULONG nRefs = CComObjectRootEx::InternalRelease();
    if (nRefs != 0 || m_bWorkerLeaves || !m_pump.IsCurrent())
        return nRefs;
    m_bWorkerOwns = true;
    m_pump.Leave();
    return InternalAddRef();
}

void CCoQXStillSourceOut::SetStopFrame(LONGLONG nFrame) noexcept
{
    // Within a call of the pin perhaps without the lock: the worker, which has it then, only reads the
    // number.
    const CStreamPosition::CHold hold(m_position, !IsInCall());
    m_position.SetStopFrame(nFrame);
}

void CCoQXStillSourceOut::ApplyOutputType(const AM_MEDIA_TYPE* pmt) noexcept
{
    SetMediaType(pmt);
    m_picture.SetOutput(GetPicProps());
}

HRESULT CCoQXStillSourceOut::ApplyUnconnected(const AM_MEDIA_TYPE* pmt) noexcept
{
    if (IsConnected())
        return S_FALSE; // without the lock, which a connection holds while it asks its peer
    const CScopedTryLock lock(&m_lock, !IsInCall());
    if (!lock.IsHeld())
        return VFW_E_STATE_CHANGED;
    if (IsConnected())
        return S_FALSE;
    ApplyOutputType(pmt);
    return S_OK;
}
