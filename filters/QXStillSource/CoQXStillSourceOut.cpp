#include "CoQXStillSourceOut.h"

#include "CoQXStillSource.h"
#include "FrameRate.h"
#include "dstl/dshowx/DSVideo.h"

HRESULT CCoQXStillSourceOut::FinalConstruct() noexcept
{
    GdiPlusStart(&m_nGdiPlusToken);
    InitTimeFormats();
    trace(atlTraceGeneral, eTL_Error, L"CCoQXStillSourceOut::FinalConstruct\n");
    const HRESULT hr = m_Thread.InitThread(this, &ThreadProc, 0);
    DSASSERT(hr == S_OK);
    if (!m_evStopped.Create(false))
        m_Thread.Stop(INFINITE, false, false); // nobody could wait for the worker: the pin stands without
    return S_OK;
}

void CCoQXStillSourceOut::FinalRelease() noexcept
{
    GdiPlusStop(m_nGdiPlusToken);
    trace(atlTraceGeneral, eTL_Error, L"CCoQXStillSourceOut::FinalRelease\n");
    m_Thread.Stop(INFINITE, false, false);
}

ULONG CCoQXStillSourceOut::InternalRelease() noexcept
{
    const ULONG nRefs = CComObjectRootEx::InternalRelease();
    if (nRefs != 0 || m_bWorkerLeaves || !m_Thread.IsCurrent())
        return nRefs;
    m_bWorkerOwns = true;
    m_Thread.m_bRun = false;
    return InternalAddRef();
}

PicProps CCoQXStillSourceOut::GetSourceProps() noexcept
{
    CScopedLock crs(&m_crsPicture);
    return m_picSource;
}

void CCoQXStillSourceOut::ApplyOutputType(const AM_MEDIA_TYPE* pmt) noexcept
{
    CScopedLock crs(&m_crsPicture);
    m_blobFrame.SetSize(0);
    SetMediaType(pmt);
    m_picOutput = GetPicProps();
}

bool CCoQXStillSourceOut::ApplyUnconnected(const AM_MEDIA_TYPE* pmt) noexcept
{
    if (IsConnected())
        return false; // without the lock, which a connection holds while it asks its peer
    CScopedLock lock(&m_lock);
    if (IsConnected())
        return false;
    ApplyOutputType(pmt);
    return true;
}

REFERENCE_TIME CCoQXStillSourceOut::GetFrameTime() const noexcept
{
    const REFERENCE_TIME rtFrame = FrameTime();
    return rtFrame != 0 ? rtFrame : rtDefaultFrame;
}
