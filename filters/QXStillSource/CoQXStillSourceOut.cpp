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
    m_evStopped.Create(false);
    return S_OK;
}

void CCoQXStillSourceOut::FinalRelease() noexcept
{
    GdiPlusStop(m_nGdiPlusToken);
    trace(atlTraceGeneral, eTL_Error, L"CCoQXStillSourceOut::FinalRelease\n");
    m_Thread.Stop(INFINITE, false, false);
}

PicProps CCoQXStillSourceOut::GetSourceProps() noexcept
{
    CScopedLock crs(&m_crsPicture);
    return m_picSource;
}

void CCoQXStillSourceOut::ApplyOutputType(const AM_MEDIA_TYPE* pmt) noexcept
{
    m_blobFrame.SetSize(0);
    m_picOutput = {};
    SetMediaType(pmt);
    MTGetPicProps(&m_theMediaType, &m_picOutput);
}

REFERENCE_TIME CCoQXStillSourceOut::GetFrameTime() const noexcept
{
    const REFERENCE_TIME rtFrame = FrameTime();
    return rtFrame != 0 ? rtFrame : rtDefaultFrame;
}
