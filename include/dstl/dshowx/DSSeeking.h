#pragma once
/// The generic part of seeking on an output pin: capabilities, time formats and the stored rate.
///
/// What the concrete pin T supplies: GetDuration, SetPositions and GetPositions, which touch the stream, the
/// first call of InitTimeFormats at its FinalConstruct, and the name accessor.

#include "dstl/WinAPI/Atl.h"

#include <strmif.h>
#include <uuids.h>

#include "dstl/WinAPI/Containers.h"
#include "dstl/dshowx/DSTrace.h"

/// What does not depend on the pin's class. No lock: a host that sets format or rate does so from one thread.
class CMediaSeekingFields
{
public:
    /// Offers reference time as the only format, and makes it the current one.
    /// \return S_OK or E_OUTOFMEMORY, which leaves no format
    HRESULT InitTimeFormats() noexcept
    {
        if (!m_arrTimeFormats.Add(TIME_FORMAT_MEDIA_TIME))
            return E_OUTOFMEMORY;
        m_nTimeFormat = 0;
        return S_OK;
    }

protected:
    /// Index of a format, -1 for one that the pin does not know.
    LONG FindTimeFormat(const GUID& guidFormat) const noexcept
    {
        for (int i = 0; i < m_arrTimeFormats.GetSize(); i++)
        {
            if (IsEqualGUID(m_arrTimeFormats[i], guidFormat))
                return i;
        }
        return -1;
    }
    /// The current format; null when the index is outside the array.
    const GUID* CurrentTimeFormat() const noexcept
    {
        const bool bInside = m_nTimeFormat >= 0 && m_nTimeFormat < m_arrTimeFormats.GetSize();
        return bInside ? &m_arrTimeFormats[m_nTimeFormat] : nullptr;
    }

    CSimpleArray2<GUID> m_arrTimeFormats; ///< the formats that the pin knows, filled at its FinalConstruct
    LONG m_nTimeFormat = -1;              ///< index of the current one; -1 before FinalConstruct
    DWORD m_dwCapabilities = AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanSeekForwards |
                             AM_SEEKING_CanSeekBackwards | AM_SEEKING_CanGetCurrentPos |
                             AM_SEEKING_CanGetStopPos;
    double m_dblRate = 1.0; ///< stored and handed out, without effect on the stream
};

/// IMediaSeeking of an output pin. \tparam T the pin
template <class T>
class IMediaSeekingImpl : public IMediaSeeking, public CMediaSeekingFields
{
public:
    STDMETHOD(GetCapabilities)(DWORD* pCapabilities) noexcept override
    {
        TraceSeeking(eTL_Main, L"%s IMediaSeekingImpl::GetCapabilities\n");
        DSASSERT(pCapabilities != NULL);
        if (pCapabilities == nullptr)
            return E_POINTER;
        *pCapabilities = m_dwCapabilities;
        return S_OK;
    }
    /// \param pCapabilities what the host wants; what the pin lacks is taken out
    /// \return S_OK when nothing was taken out, S_FALSE when something is left, E_FAIL when nothing is
    STDMETHOD(CheckCapabilities)(DWORD* pCapabilities) noexcept override
    {
        TraceSeeking(eTL_Main, L"%s IMediaSeekingImpl::CheckCapabilities\n");
        DSASSERT(pCapabilities != NULL);
        if (pCapabilities == nullptr)
            return E_POINTER;
        const DWORD dwWanted = *pCapabilities;
        *pCapabilities &= m_dwCapabilities;
        if (*pCapabilities == dwWanted)
            return S_OK;
        return *pCapabilities != 0 ? S_FALSE : E_FAIL;
    }
    STDMETHOD(IsFormatSupported)(const GUID* pFormat) noexcept override
    {
        TraceSeeking(eTL_Main, L"%s IMediaSeekingImpl::IsFormatSupported\n");
        DSASSERT(pFormat != NULL);
        if (pFormat == nullptr)
            return E_POINTER;
        return FindTimeFormat(*pFormat) >= 0 ? S_OK : S_FALSE;
    }
    STDMETHOD(QueryPreferredFormat)(GUID* pFormat) noexcept override
    {
        TraceSeeking(eTL_Main, L"%s IMediaSeekingImpl::QueryPreferredFormat\n");
        DSASSERT(pFormat != NULL);
        if (pFormat == nullptr)
            return E_POINTER;
        if (m_arrTimeFormats.GetSize() == 0)
            return E_FAIL;
        *pFormat = m_arrTimeFormats[0];
        return S_OK;
    }
    STDMETHOD(GetTimeFormat)(GUID* pFormat) noexcept override
    {
        TraceSeeking(eTL_Frame, L"%s IMediaSeekingImpl::GetTimeFormat\n");
        DSASSERT(pFormat != NULL);
        if (pFormat == nullptr)
            return E_POINTER;
        const GUID* const pCurrent = CurrentTimeFormat();
        if (pCurrent == nullptr)
            return E_FAIL;
        *pFormat = *pCurrent;
        return S_OK;
    }
    STDMETHOD(IsUsingTimeFormat)(const GUID* pFormat) noexcept override
    {
        TraceSeeking(eTL_Frame, L"%s IMediaSeekingImpl::IsUsingTimeFormat\n");
        DSASSERT(pFormat != NULL);
        if (pFormat == nullptr)
            return E_POINTER;
        const GUID* const pCurrent = CurrentTimeFormat();
        if (pCurrent == nullptr)
            return E_INVALIDARG;
        return IsEqualGUID(*pCurrent, *pFormat) ? S_OK : S_FALSE;
    }
    /// In any state of the filter.
    STDMETHOD(SetTimeFormat)(const GUID* pFormat) noexcept override
    {
        TraceSeeking(eTL_Main, L"%s IMediaSeekingImpl::SetTimeFormat\n");
        DSASSERT(pFormat != NULL);
        if (pFormat == nullptr)
            return E_POINTER;
        const LONG nFormat = FindTimeFormat(*pFormat);
        if (nFormat < 0)
            return E_INVALIDARG;
        m_nTimeFormat = nFormat;
        return S_OK;
    }
    STDMETHOD(GetStopPosition)(LONGLONG* pStop) noexcept override
    {
        TraceSeeking(eTL_Main, L"%s: IMediaSeekingImpl::GetStopPosition\n");
        DSASSERT(pStop != NULL);
        if (pStop == nullptr)
            return E_POINTER;
        return this->GetPositions(NULL, pStop);
    }
    STDMETHOD(GetCurrentPosition)(LONGLONG* pCurrent) noexcept override
    {
        TraceSeeking(eTL_Main, L"%s: IMediaSeekingImpl::GetCurrentPosition\n");
        DSASSERT(pCurrent != NULL);
        if (pCurrent == nullptr)
            return E_POINTER;
        return this->GetPositions(pCurrent, nullptr);
    }
    STDMETHOD(ConvertTimeFormat)(LONGLONG* pTarget, const GUID*, LONGLONG, const GUID*) noexcept override
    {
        TraceSeeking(eTL_Main, L"%s: IMediaSeekingImpl::ConvertTimeFormat\n");
        DSASSERT(pTarget != NULL);
        return pTarget != nullptr ? E_NOTIMPL : E_POINTER;
    }
    STDMETHOD(GetAvailable)(LONGLONG* pEarliest, LONGLONG* pLatest) noexcept override
    {
        TraceSeeking(eTL_Main, L"%s: IMediaSeekingImpl::GetAvailable\n");
        DSASSERT(pEarliest != NULL);
        if (pEarliest == nullptr)
            return E_POINTER;
        DSASSERT(pLatest != NULL);
        if (pLatest == nullptr)
            return E_POINTER;
        *pEarliest = 0;
        return this->GetDuration(pLatest);
    }
    /// \param dRate stored, without effect on the stream: 0 alone is refused, a negative one is not
    STDMETHOD(SetRate)(double dRate) noexcept override
    {
        TraceSeeking(eTL_Main, L"%s: IMediaSeekingImpl::SetRate\n");
        if (dRate == 0.0)
            return E_INVALIDARG;
        m_dblRate = dRate;
        return S_OK;
    }
    STDMETHOD(GetRate)(double* pdRate) noexcept override
    {
        TraceSeeking(eTL_Main, L"%s: IMediaSeekingImpl::GetRate\n");
        DSASSERT(pdRate != NULL);
        if (pdRate == nullptr)
            return E_POINTER;
        *pdRate = m_dblRate;
        return S_OK;
    }
    STDMETHOD(GetPreroll)(LONGLONG* pllPreroll) noexcept override
    {
        TraceSeeking(eTL_Main, L"%s: IMediaSeekingImpl::GetPreroll\n");
        DSASSERT(pllPreroll != NULL);
        return pllPreroll != nullptr ? E_NOTIMPL : E_POINTER;
    }

    virtual LPCWSTR GetClassName() const noexcept = 0;

protected:
    /// Writes the entry line of an operation. \param pszFormat with the class
    void TraceSeeking(UINT nLevel, LPCWSTR pszFormat) const noexcept
    {
        trace(atlTraceGeneral, nLevel, pszFormat, GetClassName());
    }
};
