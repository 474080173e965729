#pragma once
/// Enumerators of pins and of media types. An enumerator has no list of its own: it asks its source for the
/// element at an index, each time. The accessor is all that differs between the two.
///
/// What the source supplies:
///  - CMediaTypesAccessor<TPin>: `HRESULT GetMediaType(ULONG i, AM_MEDIA_TYPE** ppmt)` (CMTSingle has it)
///  - CPinAccessor<TFilter>: `IPin* OutPin()`, not counted, null without a pin (CSourceFilter has it)

#include "dstl/WinAPI/Atl.h"

#include <strmif.h>
#include <vfwmsgs.h>

#include "dstl/WinAPI/Wrappers.h"
#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/DSTypes.h"
#include "dstl/dshowx/DSWrappers.h"

/// Elements of a pin's list of media types. Each element is a fresh copy.
template <class TPin>
class CMediaTypesAccessor
{
public:
    using Element = AM_MEDIA_TYPE*;
    using Source = TPin;

    /// \return S_OK, S_FALSE behind the end, or a failure
    HRESULT Get(ULONG i, Element* ppData) noexcept
    {
        DSASSERT(m_pSource != NULL);
        DSASSERT(ppData != NULL);
        *ppData = nullptr;
        return m_pSource->GetMediaType(i, ppData);
    }
    void Free(Element pData) noexcept
    {
        DSASSERT(pData != NULL);
        MTDelete(pData);
    }

    CComPtr<TPin> m_pSource;
};

/// Pins of a filter that has one output pin.
template <class TFilter>
class CPinAccessor
{
public:
    using Element = IPin*;
    using Source = TFilter;

    /// \return S_OK with a reference for the caller, S_FALSE behind the end, or a failure
    HRESULT Get(ULONG i, Element* ppData) noexcept
    {
        *ppData = nullptr;
        if (i != 0 || m_pSource->OutPin() == nullptr)
            return S_FALSE;
        return DSTLQuery(static_cast<IPin*>(m_pSource->OutPin()), ppData); // one of its several IUnknown
    }
    void Free(Element pData) noexcept { CComPtr<IPin>().Attach(pData); }

    CComPtr<TFilter> m_pSource;
};

/// The four operations of an enumerator. One thread at a time; no lock.
template <class TAccessor, class TInterface>
class CComDSEnumImpl : public TAccessor, public TInterface
{
public:
    using Element = typename TAccessor::Element;

    STDMETHOD(Next)(ULONG cElements, Element* ppOut, ULONG* pcFetched) noexcept override;
    STDMETHOD(Skip)(ULONG cElements) noexcept override;
    STDMETHOD(Reset)() noexcept override;
    STDMETHOD(Clone)(TInterface** ppEnum) noexcept override;

protected:
    /// Looks at an element without keeping it.
    HRESULT Test(ULONG nIndex) noexcept;

    ULONG m_nIndex = 0;
    /// Set when the accessor answers VFW_E_ENUM_OUT_OF_SYNC; only Reset clears it.
    bool m_bOutOfSync = false;
};

/// An enumerator as an object.
template <class TAccessor, class TInterface>
class CComDSEnum : public CComDSEnumImpl<TAccessor, TInterface>, public CComObjectRootEx<CComMultiThreadModel>
{
public:
    BEGIN_COM_MAP(CComDSEnum)
    COM_INTERFACE_ENTRY(TInterface)
    END_COM_MAP()

    /// Makes an enumerator that starts at nIndex and keeps its source alive.
    static HRESULT Create(TInterface** ppEnum, typename TAccessor::Source* pSource, ULONG nIndex) noexcept;
};

template <class TAccessor, class TInterface>
STDMETHODIMP CComDSEnumImpl<TAccessor, TInterface>::Next(ULONG cElements, Element* ppOut,
                                                         ULONG* pcFetched) noexcept
{
    trace(atlTraceCOM, eTL_Frame, L"CComDSEnumImpl::Next( %u )\n", static_cast<unsigned>(cElements));
    if (ppOut == nullptr)
        return E_POINTER;
    if (pcFetched == nullptr && cElements >= 2)
        return E_INVALIDARG;
    if (m_bOutOfSync)
        return VFW_E_ENUM_OUT_OF_SYNC;

    HRESULT hr = S_OK;
    ULONG nCount = 0;
    while (nCount < cElements)
    {
        Element item = nullptr;
        hr = this->Get(m_nIndex, &item);
        if (hr != S_OK)
            break;
        ++m_nIndex;
        ppOut[nCount++] = item;
    }
    if (SUCCEEDED(hr))
    {
        if (pcFetched != nullptr)
            *pcFetched = nCount;
        return nCount < cElements ? S_FALSE : S_OK;
    }

    m_nIndex -= nCount;
    while (nCount > 0)
    {
        --nCount;
        this->Free(ppOut[nCount]);
        ppOut[nCount] = nullptr;
    }
    if (hr == VFW_E_ENUM_OUT_OF_SYNC)
        m_bOutOfSync = true;
    return hr;
}

template <class TAccessor, class TInterface>
STDMETHODIMP CComDSEnumImpl<TAccessor, TInterface>::Skip(ULONG cElements) noexcept
{
    trace(atlTraceCOM, eTL_Frame, L"CComDSEnumImpl::Skip( %u )\n", static_cast<unsigned>(cElements));
    if (m_bOutOfSync)
        return VFW_E_ENUM_OUT_OF_SYNC;
    const HRESULT hr = Test(cElements != 0 ? m_nIndex + cElements - 1 : m_nIndex);
    if (FAILED(hr))
        return hr;
    m_nIndex += cElements; // deliberately also past the end
    return hr;
}

template <class TAccessor, class TInterface>
STDMETHODIMP CComDSEnumImpl<TAccessor, TInterface>::Reset() noexcept
{
    trace(atlTraceCOM, eTL_Frame, L"CComDSEnumImpl::Reset()\n");
    m_nIndex = 0;
    m_bOutOfSync = false;
    return S_OK;
}

template <class TAccessor, class TInterface>
STDMETHODIMP CComDSEnumImpl<TAccessor, TInterface>::Clone(TInterface** ppEnum) noexcept
{
    trace(atlTraceCOM, eTL_Frame, L"CComDSEnumImpl::Clone()\n");
    if (m_bOutOfSync)
        return VFW_E_ENUM_OUT_OF_SYNC;
    const HRESULT hr = Test(m_nIndex);
    if (FAILED(hr))
        return hr;
    return CComDSEnum<TAccessor, TInterface>::Create(ppEnum, this->m_pSource, m_nIndex);
}

template <class TAccessor, class TInterface>
HRESULT CComDSEnumImpl<TAccessor, TInterface>::Test(ULONG nIndex) noexcept
{
    Element item = nullptr;
    const HRESULT hr = this->Get(nIndex, &item);
    if (hr == S_OK)
        this->Free(item);
    else if (hr == VFW_E_ENUM_OUT_OF_SYNC)
        m_bOutOfSync = true;
    return hr;
}

template <class TAccessor, class TInterface>
HRESULT CComDSEnum<TAccessor, TInterface>::Create(TInterface** ppEnum, typename TAccessor::Source* pSource,
                                                  ULONG nIndex) noexcept
{
    DSASSERT(ppEnum != NULL);
    if (ppEnum == nullptr)
        return E_POINTER;
    DSASSERT(pSource != NULL);
    if (pSource == nullptr)
        return E_INVALIDARG;
    *ppEnum = nullptr;

    CComPtr<CComObject<CComDSEnum>> spEnum;
    const HRESULT hr = DSTLCreateObject(&spEnum);
    if (FAILED(hr))
        return hr;
    spEnum->m_pSource = pSource;
    spEnum->m_nIndex = nIndex;
    return spEnum->QueryInterface(ppEnum);
}
