#include "dstl/dshowx/DSAllocators.h"

#include <utility>

#include "dstl/WinAPI/Wrappers.h"
#include "dstl/dshowx/dumps/SampleDump.h"
#include "dstl/dshowx/DSPins.h"
#include "dstl/dshowx/DSVideo.h"
#include "dstl/dshowx/memory/GreedAllocator.h"

LPCWSTR AllocSrcName(eAllocSrc eSrc) noexcept
{
    switch (eSrc)
    {
    case eAS_Upstream:
        return L"upstream";
    case eAS_Downstream:
        return L"downstream";
    default:
        return L"internal";
    }
}

HRESULT CAllocatorMatchBase::CreateOwn(IMemAllocator** ppAllocator) noexcept
{
    return CGreedMemoryAllocator::Create(ppAllocator);
}

const CAllocatorMatchBase::MatchTexts CAllocatorMatchBase::s_rgExternTexts = {
    L"###Err### %s CAllocatorMatch::MatchExternAllocator(): pMemInput->GetAllocator()=0x%X\n",
    L"###Err### %s CAllocatorMatch::MatchExternAllocator(): spMemAlloc->SetProperties()=0x%X\n",
    L"###Err### %s CAllocatorMatch::MatchExternAllocator(): pOutPin->AllocatorTestProps()=0x%X\n",
    L"###Err### %s CAllocatorMatch::MatchExternAllocator(): pMemInput->NotifyAllocator()=0x%X\n"};

const CAllocatorMatchBase::MatchTexts CAllocatorMatchBase::s_rgOurTexts = {
    L"###Err### %s CAllocatorMatch::MatchOurAllocator(): pOutPin->AllocatorCreate()=0x%X\n",
    L"###Err### %s CAllocatorMatch::MatchOurAllocator(): spMemAlloc->SetProperties()=0x%X\n",
    L"###Err### %s CAllocatorMatch::MatchOurAllocator(): pOutPin->AllocatorTestProps()=0x%X\n",
    L"###Err### %s CAllocatorMatch::MatchOurAllocator(): pMemInput->NotifyAllocator()=0x%X\n"};

HRESULT CAllocatorMatchBase::MatchFailed(const CPin& pin, LPCWSTR pszText, HRESULT hr) noexcept
{
    trace(atlTraceGeneral, eTL_Error, pszText, pin.GetClassName(), static_cast<unsigned>(hr));
    return DSTLFailure(hr);
}

HRESULT CAllocatorMatchBase::MatchSetProperties(const CPin& pin, const MatchTexts& rgTexts,
                                                HRESULT hrObtained, IMemAllocator* pAllocator,
                                                ALLOCATOR_PROPERTIES* pProps,
                                                ALLOCATOR_PROPERTIES* pActual) noexcept
{
    if (hrObtained == S_OK && pAllocator == nullptr)
        hrObtained = E_FAIL; // a peer that claims to have handed one out
    if (hrObtained != S_OK)
        return MatchFailed(pin, rgTexts.pszObtain, hrObtained);
    const HRESULT hr = pAllocator->SetProperties(pProps, pActual);
    return hr == S_OK ? S_OK : MatchFailed(pin, rgTexts.pszSetProperties, hr);
}

void CAllocatorMatchBase::TraceAgreementFailed(const CPin& pin, HRESULT hr) noexcept
{
    trace(atlTraceGeneral, eTL_Main,
          L"###Err### %s CStdAllocator::AllocatorAgree() - allocator agreement failed, hr=0x%X\n",
          pin.GetClassName(), static_cast<unsigned>(hr));
}

void CAllocatorMatchBase::GetRequirements(IMemInputPin* pMemInput, ALLOCATOR_PROPERTIES* pProps) noexcept
{
    DSASSERT(pMemInput != NULL);
    if (pMemInput == nullptr || FAILED(pMemInput->GetAllocatorRequirements(pProps)))
        *pProps = {};
    AllocatorMaxProps(*pProps, rgDefaultAllocatorProps);
}

HRESULT CAllocatorMatchBase::DecideProps(const CMType* pMediaType, const PicProps* pPicture,
                                         ALLOCATOR_PROPERTIES* pProps) noexcept
{
    DSASSERT_TEXT(pMediaType->IsDefined(), "m_theMediaType.IsDefined()");
    if (!FitsSample(*pPicture))
        return E_INVALIDARG;
    const BITMAPINFOHEADER* pHeader = MTGetBmpHeader(pMediaType);
    const DWORD cbSize = pHeader != nullptr ? pHeader->biSizeImage : 0;
    const auto cbFrame = static_cast<DWORD>(SampleBytes(*pPicture));
    AdjustAllocatorProps(*pProps, cbSize, pMediaType->lSampleSize, cbFrame);
    return S_OK;
}

void CAllocatorMatchBase::Attach(CPin& pin, IMemAllocator* pAllocator, eAllocSrc eAllocSrc) noexcept
{
    DSASSERT(pAllocator != NULL);
    DSASSERT(eAllocSrc != eAS_None);
    m_rgPropsOut = {};
    const HRESULT hr = pAllocator != nullptr ? pAllocator->GetProperties(&m_rgPropsOut) : E_POINTER;
    DSASSERT_TEXT(hr == S_OK, "CAllocatorMatch::AttachAllocator(): GetProperties() != S_OK");

    CComPtr<IMemAllocator> spAllocator(pAllocator); // the old one is released outside the lock
    {
        CScopedLock lock(&pin.m_crsLink);
        std::swap(m_spAllocOut.p, spAllocator.p);
    }
    m_eAllocSrc = eAllocSrc;
    trace(atlTraceGeneral, eTL_Main, L"@@@@ %s CAllocatorMatch::AttachAllocator(): use %s allocator\n",
          pin.GetClassName(), AllocSrcName(eAllocSrc));
    Debug_Allocator(atlTraceGeneral, eTL_Main, pAllocator, L"");
}

HRESULT CAllocatorMatchBase::Activate(CPin& pin, bool bActivate) noexcept
{
    if (!pin.IsConnected())
        return VFW_E_NOT_CONNECTED;
    DSASSERT(m_spAllocOut != NULL);
    CComPtr<IMemAllocator> spAllocator;
    {
        CScopedLock lock(&pin.m_crsLink);
        if (!m_spAllocOut)
            return VFW_E_NO_ALLOCATOR;
        if (m_bActive == bActivate)
            return S_OK;
        spAllocator = m_spAllocOut;
    }

    // Without a lock of the pin: an allocator may wait for the worker, or stop the filter. The filter changes
    // its state on one thread at a time, and no connection is made or broken while it is not stopped.
    ALLOCATOR_PROPERTIES rgProps{};
    HRESULT hr = S_OK;
    {
        const CPin::CStateCall call(pin);
        hr = bActivate ? spAllocator->Commit() : spAllocator->Decommit();
        if (hr == S_OK && bActivate)
        {
            const HRESULT hrProps = spAllocator->GetProperties(&rgProps); // the final values
            DSASSERT_TEXT(hrProps == S_OK, "CAllocatorMatch::AllocatorActivate(): GetProperties() != S_OK");
        }
    }
    if (hr != S_OK)
        return DSTLFailure(hr);

    CScopedLock lock(&pin.m_crsLink);
    if (m_spAllocOut != spAllocator)
        return S_OK; // the connection has gone within the call
    if (bActivate)
        m_rgPropsOut = rgProps;
    m_bActive = bActivate;
    return S_OK;
}

void CAllocatorMatchBase::TakeOut(CComPtr<IMemAllocator>& spAllocator) noexcept
{
    std::swap(m_spAllocOut.p, spAllocator.p);
    m_rgPropsOut = {};
    m_bActive = false;
    m_eAllocSrc = eAS_None;
}
