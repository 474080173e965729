#pragma once
/// Allocator negotiation of an output pin: the downstream pin's allocator is tried first, our own after it.
///
/// What the concrete pin T supplies:
///  - it is a CPin (name, m_lock, m_crsLink, IsConnected) and a CMTSingle, whose picture the buffers have to
///  hold
/// It may hide any operation of CStdAllocator with its own of the same name.

#include "dstl/WinAPI/Atl.h"

#include <strmif.h>

#include "Common/Common.h"
#include "dstl/dshowx/memory/AllocatorProps.h"
#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/DSTypes.h"

class CPin;

/// Where an allocator comes from. An output pin uses only the last two.
enum eAllocSrc : DWORD
{
    eAS_None = 0,
    eAS_Upstream = 1,
    eAS_Internal = 2,
    eAS_Downstream = 3
};

/// "upstream", "downstream", and "internal" for everything else.
LPCWSTR AllocSrcName(eAllocSrc eSrc) noexcept;

/// The outcome of the negotiation, and the steps that do not depend on the pin's class.
class CAllocatorMatchBase
{
protected:
    ALLOCATOR_PROPERTIES m_rgPropsOut{}; ///< properties of the attached allocator as it reported them
    CComPtr<IMemAllocator> m_spAllocOut; ///< the attached allocator; written under the pin's m_crsLink
    bool m_bActive = false;              ///< whether this pin has committed it
    eAllocSrc m_eAllocSrc = eAS_None;    ///< where it came from

    /// Lines of one of the two attempts, one for each step.
    struct MatchTexts
    {
        LPCWSTR pszObtain;
        LPCWSTR pszSetProperties;
        LPCWSTR pszTestProps;
        LPCWSTR pszNotify;
    };
    static const MatchTexts s_rgExternTexts;
    static const MatchTexts s_rgOurTexts;

    /// Writes the line of a step that did not answer S_OK and turns its result into a failure.
    static HRESULT MatchFailed(const CPin& pin, LPCWSTR pszText, HRESULT hr) noexcept;
    /// Reports an allocator that could not be obtained, else sets its properties.
    /// \param hrObtained the result of obtaining the allocator \param pActual zeroed by the caller
    static HRESULT MatchSetProperties(const CPin& pin, const MatchTexts& rgTexts, HRESULT hrObtained,
                                      IMemAllocator* pAllocator, ALLOCATOR_PROPERTIES* pProps,
                                      ALLOCATOR_PROPERTIES* pActual) noexcept;
    static void TraceAgreementFailed(const CPin& pin, HRESULT hr) noexcept;
    /// The larger of the downstream pin's requirements and the default request.
    static void GetRequirements(IMemInputPin* pMemInput, ALLOCATOR_PROPERTIES* pProps) noexcept;
    static HRESULT DecideProps(const CMType* pMediaType, const PicProps* pPicture,
                               ALLOCATOR_PROPERTIES* pProps) noexcept;

    /// A new allocator of our own. \param ppAllocator receives it counted; null on failure
    static HRESULT CreateOwn(IMemAllocator** ppAllocator) noexcept;

    void Attach(CPin& pin, IMemAllocator* pAllocator, eAllocSrc eAllocSrc) noexcept;
    HRESULT Activate(CPin& pin, bool bActivate) noexcept;

    template <class, class>
    friend class COutputPin;
    /// Takes the allocator out and resets the rest; the caller holds m_crsLink and decommits afterwards.
    void TakeOut(CComPtr<IMemAllocator>& spAllocator) noexcept;
};

/// The attempts with one allocator each. \tparam T the pin
template <class T>
class CAllocatorMatch : public CAllocatorMatchBase
{
public:
    /// Tries the allocator that the downstream pin offers.
    HRESULT MatchExternAllocator(IMemInputPin* pMemInput, ALLOCATOR_PROPERTIES* pProps,
                                 BOOL bReadOnly) noexcept
    {
        DSASSERT(pMemInput != NULL);
        if (pMemInput == nullptr)
            return E_POINTER;
        CComPtr<IMemAllocator> spMemAlloc;
        const HRESULT hr = pMemInput->GetAllocator(&spMemAlloc);
        return Match(s_rgExternTexts, hr, spMemAlloc, eAS_Downstream, pMemInput, pProps, bReadOnly);
    }
    /// Tries the pin's own allocator, which the downstream pin is told of.
    HRESULT MatchOurAllocator(IMemInputPin* pMemInput, ALLOCATOR_PROPERTIES* pProps, BOOL bReadOnly) noexcept
    {
        DSASSERT(pMemInput != NULL);
        if (pMemInput == nullptr)
            return E_POINTER;
        CComPtr<IMemAllocator> spMemAlloc;
        const HRESULT hr = Pin().AllocatorCreate(&spMemAlloc);
        return Match(s_rgOurTexts, hr, spMemAlloc, eAS_Internal, pMemInput, pProps, bReadOnly);
    }
    /// Keeps an agreed allocator.
    void AttachAllocator(IMemAllocator* pAllocator, eAllocSrc eAllocSrc) noexcept
    {
        Attach(Pin(), pAllocator, eAllocSrc);
    }
    /// Commits or decommits the agreed allocator. Twice the same does nothing the second time.
    HRESULT AllocatorActivate(bool bActivate) noexcept { return Activate(Pin(), bActivate); }

private:
    T& Pin() noexcept { return *static_cast<T*>(this); }

    HRESULT Match(const MatchTexts& rgTexts, HRESULT hrObtained, IMemAllocator* pAllocator, eAllocSrc eSrc,
                  IMemInputPin* pMemInput, ALLOCATOR_PROPERTIES* pProps, BOOL bReadOnly) noexcept
    {
        ALLOCATOR_PROPERTIES rgActual{};
        HRESULT hr = MatchSetProperties(Pin(), rgTexts, hrObtained, pAllocator, pProps, &rgActual);
        if (FAILED(hr))
            return hr;
        hr = Pin().AllocatorTestProps(pProps, &rgActual);
        if (FAILED(hr))
            return MatchFailed(Pin(), rgTexts.pszTestProps, hr);
        hr = pMemInput->NotifyAllocator(pAllocator, bReadOnly);
        if (hr != S_OK)
            return MatchFailed(Pin(), rgTexts.pszNotify, hr);
        AttachAllocator(pAllocator, eSrc);
        return S_OK;
    }
};

/// The policy of an output pin: what is asked for, what is accepted, which allocator comes first.
/// \tparam T the pin \tparam bReadOnly what NotifyAllocator is told; 0, as samples are written to afterwards
template <class T, BOOL bReadOnly>
class CStdAllocator : public CAllocatorMatch<T>
{
public:
    /// Agrees an allocator with the downstream pin. On success m_spAllocOut is set.
    HRESULT AllocatorAgree(IMemInputPin* pMemInput) noexcept
    {
        DSASSERT_TEXT(!this->m_spAllocOut, "!m_spAllocOut");
        DSASSERT(pMemInput != NULL);
        if (pMemInput == nullptr)
            return E_POINTER;
        ALLOCATOR_PROPERTIES rgAP{};
        HRESULT hr = Pin().AllocatorGetProps(pMemInput, &rgAP);
        if (SUCCEEDED(hr))
        {
            hr = this->MatchExternAllocator(pMemInput, &rgAP, bReadOnly);
            if (FAILED(hr))
                hr = this->MatchOurAllocator(pMemInput, &rgAP, bReadOnly);
        }
        if (FAILED(hr))
            this->TraceAgreementFailed(Pin(), hr);
        return hr;
    }
    /// The request: the larger of the downstream pin's wishes and the default, raised to the pin's own
    /// demand.
    HRESULT AllocatorGetProps(IMemInputPin* pMemInput, ALLOCATOR_PROPERTIES* pProps) noexcept
    {
        this->GetRequirements(pMemInput, pProps);
        return Pin().AllocatorDecideProps(pProps);
    }
    /// Raises a request to what the media type and the output picture need.
    /// \return S_OK; E_INVALIDARG for a picture that no sample can hold
    HRESULT AllocatorDecideProps(ALLOCATOR_PROPERTIES* pProps) noexcept
    {
        CMType mt; // a copy, as the worker may be taking over another type
        Pin().CopyMediaType(&mt);
        const PicProps pic = Pin().GetPicProps();
        return this->DecideProps(&mt, &pic, pProps);
    }
    HRESULT AllocatorTestProps(const ALLOCATOR_PROPERTIES* pRequest,
                               const ALLOCATOR_PROPERTIES* pActual) noexcept
    {
        return ::AllocatorTestProps(*pRequest, *pActual);
    }
    HRESULT AllocatorCreate(IMemAllocator** ppAllocator) noexcept { return this->CreateOwn(ppAllocator); }

private:
    T& Pin() noexcept { return *static_cast<T*>(this); }
};
