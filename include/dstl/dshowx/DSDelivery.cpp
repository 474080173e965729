/// The way of a sample: what the worker calls. Only m_crsLink is taken, for the time of a counted copy, so
/// that a connection that breaks meanwhile cannot pull an interface from under a call.

#include "dstl/dshowx/DSParsers.h"
#include "dstl/dshowx/DSPins.h"

CComPtr<IMemAllocator> COutputPinBase::GetAllocator() noexcept
{
    CScopedLock lock(&m_crsLink);
    return HookAllocator().m_spAllocOut;
}

HRESULT COutputPinBase::GetSample(IMediaSample** ppSample, DWORD dwFlags) noexcept
{
    DSASSERT(ppSample != NULL);
    if (ppSample == nullptr)
        return E_POINTER;
    *ppSample = nullptr;
    const CComPtr<IMemAllocator> spMemAlloc = GetAllocator();
    if (!spMemAlloc)
        return VFW_E_NO_ALLOCATOR;

    const HRESULT hr = spMemAlloc->GetBuffer(ppSample, nullptr, nullptr, dwFlags);
    if (hr == S_OK)
        return S_OK;
    if (hr == VFW_E_TIMEOUT && (dwFlags & AM_GBF_NOWAIT) != 0)
        trace(atlTraceGeneral, eTL_Frame,
              L"###Err### %s GetSample(): spMemAlloc->GetBuffer()=VFW_E_TIMEOUT\n", GetClassName());
    else if (hr == VFW_E_NOT_COMMITTED)
        trace(atlTraceGeneral, eTL_Error, L"%s GetSample(): spMemAlloc->GetBuffer()=VFW_E_NOT_COMMITTED\n",
              GetClassName());
    else
        trace(atlTraceGeneral, eTL_Error, L"###Err### %s GetSample(): spMemAlloc->GetBuffer()=0x%X\n",
              GetClassName(), static_cast<unsigned>(hr));
    return DSTLFailure(hr);
}

HRESULT COutputPinBase::SendSample(IMediaSample* pSample) noexcept
{
    DSASSERT(pSample != NULL);
    CScopedLock lock(&m_crsLink);
    const CComPtr<IMemInputPin> spMemInput = m_spMemInput;
    lock.Unlock();
    if (!spMemInput)
        return VFW_E_NOT_SAMPLE_CONNECTION;
    if (pSample == nullptr)
        return E_POINTER;

    const HRESULT hr = spMemInput->Receive(pSample);
    switch (hr)
    {
    case S_OK:
        break;
    case S_FALSE:
        trace(atlTraceGeneral, eTL_Main, L"%s SendSample(): spMemInput->Receive()=S_FALSE\n", GetClassName());
        break;
    case VFW_E_NOT_COMMITTED:
        trace(atlTraceGeneral, eTL_Main, L"%s SendSample(): spMemInput->Receive()=VFW_E_NOT_COMMITTED\n",
              GetClassName());
        break;
    case VFW_E_WRONG_STATE:
        trace(atlTraceGeneral, eTL_Main, L"%s SendSample(): spMemInput->Receive()=VFW_E_WRONG_STATE\n",
              GetClassName());
        break;
    default:
        trace(atlTraceGeneral, eTL_Error, L"###Err### %s SendSample(): spMemInput->Receive()=0x%X\n",
              GetClassName(), static_cast<unsigned>(hr));
    }
    return hr;
}

HRESULT COutputPinBase::SetMediaTypeFromSample(IMediaSample* pSample) noexcept
{
    DSASSERT(pSample != NULL);
    if (pSample == nullptr)
        return E_POINTER;
    CMediaTypeHolder pmt;
    HRESULT hr = pSample->GetMediaType(&pmt);
    if (hr != S_OK)
        return hr;
    trace(atlTraceGeneral, eTL_Main, L"%s SetMediaTypeFromSample(): new mediatype is received\n",
          GetClassName());
    DSASSERT_TEXT(pmt.Get() != nullptr, "pmt != NULL");
    Debug_MediaType(atlTraceGeneral, eTL_Error, pmt.Get(), L"");
    if (!HookQueryAcceptMT(pmt.Get()))
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### %s SetMediaTypeFromSample(): new mediatype is not accepted\n", GetClassName());
        return VFW_E_INVALIDMEDIATYPE;
    }
    HookApplyOutputType(pmt.Get());
    return S_OK;
}
