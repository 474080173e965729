// The worker: gets samples, fills and stamps them, and sends them. The downstream filter's blocking paces it.
#include "CoQXStillSource.h"

#include "FrameTimes.h"
#include "dstl/dshowx/DSParsers.h"
#include "dstl/dshowx/DSSample.h"

DWORD CCoQXStillSourceOut::ThreadProc(void* pv) noexcept
{
    const HRESULT hr = CoInitializeEx(NULL, 0); // the multithreaded apartment
    DSASSERT(hr == S_OK);
    auto* const pPin = static_cast<CCoQXStillSourceOut*>(pv);
    pPin->m_pump.Loop(pPin, &Step);
    const bool bOwns = pPin->m_bWorkerOwns;
    if (bOwns)
    {
        _Module.Lock(); // outlives the pin
        pPin->m_bWorkerLeaves = true;
        pPin->Release(); // nobody waits: the thread keeps the module's code loaded until it has left
    }
    if (SUCCEEDED(hr))
        CoUninitialize();
    if (bOwns)
        _Module.Unlock();
    return 0;
}

DWORD CCoQXStillSourceOut::Step(void* pv) noexcept
{
    return static_cast<CCoQXStillSourceOut*>(pv)->Send();
}

DWORD CCoQXStillSourceOut::Send() noexcept
{
    if (FilterState() == State_Stopped)
        return INFINITE;
    if (!HasAllocator())
        return INFINITE;

    CComPtr<IMediaSample> spSample;
    HRESULT hr = GetSample(&spSample, 0);
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### %s: Send(): m_spAllocOut->GetBuffer()=0x%X\n",
              GetClassName(), hr);
        return INFINITE;
    }

    m_pump.PassHolds(); // a seek that flushes lands before this frame
    CScopedLock lock(&m_crsPosition);
    if (m_rtCurrent == 0)
    {
        const REFERENCE_TIME rtFrame = GetFrameTime();
        const REFERENCE_TIME rtStart = FrameToTime(m_nFrame, rtFrame);
        const REFERENCE_TIME rtStop = FrameToTime(m_nStopFrame, rtFrame);
        trace(atlTraceGeneral, eTL_Error, L"%s: NewSegment( %s - %s)\n", GetClassName(),
              RefTimeText(rtStart, CTimeText().sz), RefTimeText(rtStop, CTimeText().sz));
        if (const CComPtr<IPin> spPeer = GetPeer())
            spPeer->NewSegment(rtStart, rtStop, 1.0);
    }
    hr = PrepareSample(spSample);
    if (hr != S_OK)
    {
        // The normal end of the stream writes this line too.
        trace(atlTraceGeneral, eTL_Error, L"###Err### %s: Send(): PrepareSample()=0x%X\n", GetClassName(),
              hr);
        return INFINITE;
    }
    lock.Unlock(); // or a blocked Receive would hold up whoever asks for the position

    Debug_Sample(atlTraceGeneral, eTL_Main, spSample, L"[CCoQXStillSourceOut]: ");
    return SendSample(spSample) == S_OK ? 0 : INFINITE;
}

HRESULT CCoQXStillSourceOut::PrepareSample(IMediaSample* pSample) noexcept
{
    DSASSERT(pSample != NULL);
    if (pSample == nullptr)
        return E_INVALIDARG;
    if (FilterState() == State_Stopped)
        return VFW_E_WRONG_STATE;

    CSampleT sample;
    HRESULT hr = sample.Load(pSample, PM_BUFFER);
    if (hr != S_OK)
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### %s: PrepareSample(): sample.Load()=0x%X\n",
              GetClassName(), hr);
        return hr;
    }
    SetMediaTypeFromSample(pSample);

    // The last number is sent too, so that there is one frame more than the number says: this is deliberate.
    if (m_nFrame > m_nStopFrame && m_nStopFrame > 0)
    {
        if (const CComPtr<IPin> spPeer = GetPeer())
            spPeer->EndOfStream();
        return S_FALSE;
    }

    const REFERENCE_TIME rtFrame = GetFrameTime();
    const LONG cbSize = SampleBytes(m_picOutput);
    DSASSERT(sample.m_pbBuf != NULL);
    DSASSERT(sample.m_cbBuf >= cbSize);

    // Not counted: the end of the filter waits for this step, unless it came from within the calls above.
    CCoQXStillSource* const pFilter = m_pFilter;
    if (pFilter == nullptr)
        return VFW_E_WRONG_STATE;
    CComBSTR bsName;
    if (pFilter->GetListEntry(m_nFrame, bsName))
        SelectPictureByName(pFilter, bsName); // a name that fails leaves the picture as it was

    hr = FillSampleBuffer(sample.m_pbBuf, static_cast<DWORD>(sample.m_cbBuf));
    if (hr != S_OK)
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### %s: PrepareSample(): FillSampleBuffer()=0x%X\n",
              GetClassName(), hr);
        return hr;
    }

    sample.RemoveProps(PM_BUFFER);
    CScopedLock crs(&m_crsPosition);
    sample.SetActualDataLength(cbSize);
    sample.SetDiscontinuity(m_rtCurrent == 0);
    sample.SetSyncPoint(TRUE);
    sample.SetMediaTime(m_nFrame, AddTimes(m_nFrame, 1));
    sample.SetTime(m_rtCurrent, AddTimes(m_rtCurrent, rtFrame));
    hr = sample.Save(pSample, PM_ALL);
    if (hr != S_OK)
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### %s: PrepareSample(): sample.Save()=0x%X\n",
              GetClassName(), hr);
        return hr;
    }
    m_nFrame = AddTimes(m_nFrame, 1);
    m_rtCurrent = sample.m_tE;
    return S_OK;
}

HRESULT CCoQXStillSourceOut::StreamStart() noexcept
{
    m_rtCurrent = 0; // a new segment; the frame number goes on
    if (!IsConnected())
        return VFW_E_NOT_CONNECTED;
    m_pump.Start();
    return S_OK;
}

void CCoQXStillSourceOut::StreamStop() noexcept
{
    // Within a call of ours the worker may be waiting for the very thread that stops: it rests when its
    // current call has returned.
    m_pump.Stop(!IsInCall());
}

void CCoQXStillSourceOut::StreamAbandon() noexcept
{
    if (!m_pump.IsBusy())
        return;
    if (m_pump.IsCurrent())
    {
        m_pump.Stop(false);
        if (const CComPtr<IMemAllocator> spAllocator = GetAllocator())
            spAllocator->Decommit();
        return;
    }
    AllocatorActivate(false);
    m_pump.Stop(true); // the step uses the filter, which ends with this call
}
