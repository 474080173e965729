// The worker: gets samples, fills and stamps them, and sends them. The downstream filter's blocking paces it.
#include "CoQXStillSource.h"
#include "FrameRate.h"
#include "dstl/dshowx/dumps/SampleDump.h"
#include "dstl/dshowx/dumps/TimeText.h"
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
    {
        const CStreamPosition::CHold position(m_position); // let go before Receive, which may block
        if (m_position.SegmentBegins())
            AnnounceSegment();
        hr = PrepareSample(spSample);
        if (hr != S_OK)
        {
            // The normal end of the stream writes this line too.
            trace(atlTraceGeneral, eTL_Error, L"###Err### %s: Send(): PrepareSample()=0x%X\n", GetClassName(),
                  hr);
            return INFINITE;
        }
    }
    Debug_Sample(atlTraceGeneral, eTL_Main, spSample, L"[CCoQXStillSourceOut]: ");
    return SendSample(spSample) == S_OK ? 0 : INFINITE;
}

void CCoQXStillSourceOut::AnnounceSegment() noexcept
{
    const REFERENCE_TIME rtFrame = FrameTimeOrDefault(FrameTime());
    const REFERENCE_TIME rtStart = m_position.StartTime(rtFrame);
    const REFERENCE_TIME rtStop = m_position.StopTime(rtFrame);
    trace(atlTraceGeneral, eTL_Error, L"%s: NewSegment( %s - %s)\n", GetClassName(),
          RefTimeText(rtStart, CTimeText().sz), RefTimeText(rtStop, CTimeText().sz));
    if (const CComPtr<IPin> spPeer = GetPeer())
        spPeer->NewSegment(rtStart, rtStop, 1.0);
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

    if (m_position.IsPastEnd())
    {
        if (const CComPtr<IPin> spPeer = GetPeer())
            spPeer->EndOfStream();
        return S_FALSE;
    }

    const StreamFormat format = GetStreamFormat();
    const LONG cbSize = SampleBytes(format.pic);
    DSASSERT(sample.m_pbBuf != NULL);
    DSASSERT(sample.m_cbBuf >= cbSize);

    // Not counted: the end of the filter waits for this step, unless it came from within the calls above.
    CCoQXStillSource* const pFilter = m_pFilter;
    if (pFilter == nullptr)
        return VFW_E_WRONG_STATE;
    const QG_VID_PROPS props = pFilter->GetProps();
    m_picture.SelectListEntry(m_position.NextFrame(), KeepsAlpha(props));
    hr = m_picture.FillSampleBuffer(sample.m_pbBuf, static_cast<DWORD>(sample.m_cbBuf), props);
    if (hr != S_OK)
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### %s: PrepareSample(): FillSampleBuffer()=0x%X\n",
              GetClassName(), hr);
        return hr;
    }
    return StampSample(sample, pSample, cbSize, FrameTimeOrDefault(format.rtFrame));
}

HRESULT CCoQXStillSourceOut::StampSample(CSampleT& sample, IMediaSample* pSample, LONG cbSize,
                                         REFERENCE_TIME rtFrame) noexcept
{
    const CStreamPosition::CHold position(m_position);
    const FrameStamp stamp = m_position.Stamp(rtFrame);
    sample.RemoveProps(PM_BUFFER);
    sample.SetActualDataLength(cbSize);
    sample.SetDiscontinuity(stamp.bSegmentBegins);
    sample.SetSyncPoint(TRUE);
    sample.SetMediaTime(stamp.nFrame, stamp.nNextFrame);
    sample.SetTime(stamp.rtStart, stamp.rtEnd);
    const HRESULT hr = sample.Save(pSample, PM_ALL);
    if (hr != S_OK)
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### %s: PrepareSample(): sample.Save()=0x%X\n",
              GetClassName(), hr);
        return hr;
    }
    m_position.Advance(stamp);
    return S_OK;
}

HRESULT CCoQXStillSourceOut::StreamStart() noexcept
{
    m_position.BeginSegment(); // the frame number goes on
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
