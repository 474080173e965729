#include "dstl/dshowx/memory/SampleWrapper.h"

#include "dstl/dshowx/dumps/MediaTypeDump.h"
#include "dstl/dshowx/dumps/TimeText.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>
#include <vfwmsgs.h>

namespace
{
LPCWSTR BoolText(bool b) noexcept
{
    return b ? L"TRUE" : L"FALSE";
}
} // namespace

void IMediaSample2Wrapper::AttachBuffer(BYTE* pBuffer, LONG cbBuffer) noexcept
{
    DSASSERT((m_pBuffer != NULL && m_cbBuffer != 0) || (m_pBuffer == NULL && m_cbBuffer == 0));
    m_pBuffer = pBuffer;
    m_cbBuffer = cbBuffer;
}

// --- Buffer

STDMETHODIMP IMediaSample2Wrapper::GetPointer(BYTE** ppBuffer) noexcept
{
    trace(atlTraceGeneral, eTL_Call, L"%s: IMediaSample::GetPointer(): pBuffer=0x%X\n", GetClassName(),
          TracePtr(m_pBuffer));
    DSASSERT(ppBuffer != NULL);
    if (ppBuffer == nullptr)
        return E_POINTER;
    DSASSERT(m_pBuffer != NULL);
    *ppBuffer = m_pBuffer;
    return m_pBuffer != nullptr ? S_OK : E_FAIL;
}

STDMETHODIMP_(LONG) IMediaSample2Wrapper::GetSize() noexcept
{
    trace(atlTraceGeneral, eTL_Call, L"%s: IMediaSample::GetSize(): cbBuffer=%u (0x%X)\n", GetClassName(),
          static_cast<unsigned>(m_cbBuffer), static_cast<unsigned>(m_cbBuffer));
    return m_cbBuffer;
}

STDMETHODIMP_(LONG) IMediaSample2Wrapper::GetActualDataLength() noexcept
{
    trace(atlTraceGeneral, eTL_Call, L"%s: IMediaSample::GetActualDataLength(): cbActual=%u\n",
          GetClassName(), static_cast<unsigned>(m_cbActual));
    return m_cbActual;
}

STDMETHODIMP IMediaSample2Wrapper::SetActualDataLength(LONG lLen) noexcept
{
    trace(atlTraceGeneral, eTL_Frame, L"%s: IMediaSample::SetActualDataLength( %u )\n", GetClassName(),
          static_cast<unsigned>(lLen));
    if (lLen > m_cbBuffer) // signed, so that a negative length deliberately passes
    {
        DSASSERT_TEXT(false, "Actual sample's data length greater then buffer size");
        return VFW_E_BUFFER_OVERFLOW;
    }
    m_cbActual = lLen;
    return S_OK;
}

// --- Flags

HRESULT IMediaSample2Wrapper::TellFlag(DWORD dwFlag, LPCWSTR pszFormat) const noexcept
{
    const bool bSet = HasFlag(dwFlag);
    trace(atlTraceGeneral, eTL_Call, pszFormat, GetClassName(), BoolText(bSet));
    return bSet ? S_OK : S_FALSE;
}

HRESULT IMediaSample2Wrapper::PutFlag(DWORD dwFlag, BOOL bSet, LPCWSTR pszFormat) noexcept
{
    trace(atlTraceGeneral, eTL_Frame, pszFormat, GetClassName(), BoolText(bSet != FALSE));
    m_dwSampleFlags = bSet ? m_dwSampleFlags | dwFlag : m_dwSampleFlags & ~dwFlag;
    return S_OK;
}

STDMETHODIMP IMediaSample2Wrapper::IsSyncPoint() noexcept
{
    return TellFlag(AM_SAMPLE_SPLICEPOINT, L"%s: IMediaSample::IsSyncPoint(): %s\n");
}

STDMETHODIMP IMediaSample2Wrapper::SetSyncPoint(BOOL bIsSyncPoint) noexcept
{
    return PutFlag(AM_SAMPLE_SPLICEPOINT, bIsSyncPoint, L"%s: IMediaSample::SetSyncPoint( %s )\n");
}

STDMETHODIMP IMediaSample2Wrapper::IsPreroll() noexcept
{
    return TellFlag(AM_SAMPLE_PREROLL, L"%s: IMediaSample::IsPreroll(): %s\n");
}

STDMETHODIMP IMediaSample2Wrapper::SetPreroll(BOOL bIsPreroll) noexcept
{
    return PutFlag(AM_SAMPLE_PREROLL, bIsPreroll, L"%s: IMediaSample::SetPreroll( %s )\n");
}

STDMETHODIMP IMediaSample2Wrapper::IsDiscontinuity() noexcept
{
    return TellFlag(AM_SAMPLE_DATADISCONTINUITY, L"%s: IMediaSample::IsDiscontinuity(): %s\n");
}

STDMETHODIMP IMediaSample2Wrapper::SetDiscontinuity(BOOL bDiscontinuity) noexcept
{
    return PutFlag(AM_SAMPLE_DATADISCONTINUITY, bDiscontinuity,
                   L"%s: IMediaSample::SetDiscontinuity( %s )\n");
}

// --- Times

void IMediaSample2Wrapper::TraceTimes(LPCWSTR pszFormat, const REFERENCE_TIME* pStart,
                                      const REFERENCE_TIME* pEnd) const noexcept
{
    if (!IsTraced(eTL_Call))
        return;
    CTimeText start, end;
    trace(atlTraceGeneral, eTL_Call, pszFormat, GetClassName(),
          pStart != nullptr ? RefTimeText(*pStart, start.sz) : L"???",
          pEnd != nullptr ? RefTimeText(*pEnd, end.sz) : L"???");
}

STDMETHODIMP IMediaSample2Wrapper::GetTime(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) noexcept
{
    TraceTimes(L"%s: IMediaSample::GetTime(), tS=%s  tE=%s\n",
               HasFlag(AM_SAMPLE_TIMEVALID) ? &m_tStart : nullptr,
               HasFlag(AM_SAMPLE_STOPVALID) ? &m_tEnd : nullptr);
    DSASSERT(pTimeStart != NULL);
    DSASSERT(pTimeEnd != NULL);
    if (pTimeStart == nullptr || pTimeEnd == nullptr)
        return E_INVALIDARG;
    if (HasFlag(AM_SAMPLE_STOPVALID)) // the start's bit deliberately plays no part
    {
        *pTimeStart = m_tStart;
        *pTimeEnd = m_tEnd;
        return S_OK;
    }
    if (!HasFlag(AM_SAMPLE_TIMEVALID))
        return VFW_E_SAMPLE_TIME_NOT_SET;
    *pTimeStart = m_tStart;
    *pTimeEnd = static_cast<REFERENCE_TIME>(static_cast<ULONGLONG>(m_tStart) + 1);
    return VFW_S_NO_STOP_TIME;
}

STDMETHODIMP IMediaSample2Wrapper::SetTime(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) noexcept
{
    TraceTimes(L"%s: IMediaSample::SetTime( tS=%s  tE=%s )\n", pTimeStart, pTimeEnd);
    if (pTimeStart == nullptr)
    {
        DSASSERT(pTimeEnd == NULL);
        m_dwSampleFlags &= ~(AM_SAMPLE_TIMEVALID | AM_SAMPLE_STOPVALID);
        m_tStart = m_tEnd = 0;
        return S_OK;
    }
    if (pTimeEnd == nullptr)
    {
        m_dwSampleFlags &= ~AM_SAMPLE_STOPVALID;
        m_tEnd = 0;
        m_tStart = *pTimeStart;
        m_dwSampleFlags |= AM_SAMPLE_TIMEVALID;
        return S_OK;
    }
    DSASSERT(*pTimeEnd >= *pTimeStart);
    if (*pTimeEnd < *pTimeStart)
        return E_INVALIDARG;
    m_tStart = *pTimeStart;
    m_tEnd = *pTimeEnd;
    m_dwSampleFlags |= AM_SAMPLE_TIMEVALID | AM_SAMPLE_STOPVALID;
    return S_OK;
}

STDMETHODIMP IMediaSample2Wrapper::GetMediaTime(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) noexcept
{
    trace(atlTraceGeneral, eTL_Call, L"%s: IMediaSample::GetMediaTime(): mS=%I64i  mE=%I64i\n",
          GetClassName(), m_llMediaStart, m_llMediaEnd);
    DSASSERT(pTimeStart != NULL);
    DSASSERT(pTimeEnd != NULL);
    if (pTimeStart == nullptr || pTimeEnd == nullptr)
        return E_INVALIDARG;
    const bool bSet = HasFlag(SAMPLE_MEDIATIMEVALID);
    *pTimeStart = bSet ? m_llMediaStart : 0; // unlike GetTime, which leaves its outputs alone
    *pTimeEnd = bSet ? m_llMediaEnd : 0;
    return bSet ? S_OK : VFW_E_MEDIA_TIME_NOT_SET;
}

STDMETHODIMP IMediaSample2Wrapper::SetMediaTime(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) noexcept
{
    trace(atlTraceGeneral, eTL_Call, L"%s: IMediaSample::SetMediaTime( mS=%I64i  mE=%I64i )\n",
          GetClassName(), pTimeStart != nullptr ? *pTimeStart : 0, pTimeEnd != nullptr ? *pTimeEnd : 0);
    if (pTimeStart == nullptr)
    {
        DSASSERT(pTimeEnd == NULL);
        m_dwSampleFlags &= ~SAMPLE_MEDIATIMEVALID;
        m_llMediaStart = m_llMediaEnd = 0;
        return S_OK;
    }
    DSASSERT(pTimeEnd != NULL);
    if (pTimeEnd == nullptr)
        return E_INVALIDARG;
    if (*pTimeEnd == *pTimeStart) // reported, and stored all the same
        trace(atlTraceGeneral, eTL_Error, L"###Err### %s: SetMediaTime(): *pTimeEnd == *pTimeStart = %s\n",
              GetClassName(), MediaTimeText(*pTimeStart, CTimeText().sz));
    if (*pTimeEnd < *pTimeStart)
    {
        DSASSERT_TEXT(false, "IMediaSample2Wrapper::SetMediaTime(): *pTimeEnd < *pTimeStart");
        return E_INVALIDARG;
    }
    m_llMediaStart = *pTimeStart;
    m_llMediaEnd = *pTimeEnd;
    m_dwSampleFlags |= SAMPLE_MEDIATIMEVALID;
    return S_OK;
}

// --- Media type

STDMETHODIMP IMediaSample2Wrapper::GetMediaType(AM_MEDIA_TYPE** ppMediaType) noexcept
{
    trace(atlTraceGeneral, eTL_Call, L"%s: IMediaSample::GetMediaType()\n", GetClassName());
    DSASSERT(ppMediaType != NULL);
    if (ppMediaType == nullptr)
        return E_POINTER;
    *ppMediaType = nullptr;
    if (!HasFlag(AM_SAMPLE_TYPECHANGED))
    {
        DSASSERT_TEXT(!m_pMediaType, "m_pMediaType == NULL");
        return S_FALSE;
    }
    DSASSERT_TEXT(m_pMediaType, "m_pMediaType != NULL");
    *ppMediaType = MTDup(m_pMediaType.Get());
    return *ppMediaType != nullptr ? S_OK : E_OUTOFMEMORY;
}

STDMETHODIMP IMediaSample2Wrapper::SetMediaType(AM_MEDIA_TYPE* pmt) noexcept
{
    if (pmt != nullptr)
    {
        trace(atlTraceGeneral, eTL_Main, L"%s: IMediaSample::SetMediaType()\n", GetClassName());
        Debug_MediaType(atlTraceGeneral, eTL_Main, pmt, L"");
    }
    else if (m_pMediaType)
        trace(atlTraceGeneral, eTL_Main, L"%s: IMediaSample::SetMediaType( NULL )\n", GetClassName());

    COwnedMediaType pOld = std::move(m_pMediaType);
    if (pOld.Get() != pmt)
        pOld.Close(); // the sample's own type is still to be copied
    m_dwSampleFlags &= ~AM_SAMPLE_TYPECHANGED;
    if (pmt == nullptr)
        return S_OK;
    m_pMediaType.Attach(MTDup(pmt));
    if (!m_pMediaType)
        return E_OUTOFMEMORY;
    m_dwSampleFlags |= AM_SAMPLE_TYPECHANGED;
    return S_OK;
}

// --- Properties

namespace
{
/// Where the fields of the record end: a field takes part when the size reaches so far.
enum ePropsEnd : DWORD
{
    ePE_TypeFlags = offsetof(AM_SAMPLE2_PROPERTIES, dwSampleFlags),
    ePE_SampleFlags = offsetof(AM_SAMPLE2_PROPERTIES, lActual),
    ePE_Actual = offsetof(AM_SAMPLE2_PROPERTIES, tStart),
    ePE_Start = offsetof(AM_SAMPLE2_PROPERTIES, tStop),
    ePE_Stop = offsetof(AM_SAMPLE2_PROPERTIES, dwStreamId),
    ePE_StreamId = offsetof(AM_SAMPLE2_PROPERTIES, dwStreamId) + sizeof(DWORD),
    ePE_MediaType = offsetof(AM_SAMPLE2_PROPERTIES, pbBuffer),
    ePE_Buffer = offsetof(AM_SAMPLE2_PROPERTIES, cbBuffer),
    ePE_BufferSize = offsetof(AM_SAMPLE2_PROPERTIES, cbBuffer) + sizeof(LONG),
    ePE_End = sizeof(AM_SAMPLE2_PROPERTIES)
};
static_assert(ePE_TypeFlags == 8 && ePE_SampleFlags == 12 && ePE_Actual == 16 && ePE_Start == 24 &&
                  ePE_Stop == 32 && ePE_StreamId == 36 && ePE_MediaType == 48 && ePE_Buffer == 56 &&
                  ePE_BufferSize == 60 && ePE_End == 64,
              "the record of a 64-bit process");

/// Flags that may come in.
constexpr DWORD dwSettableFlags = AM_SAMPLE_SPLICEPOINT | AM_SAMPLE_PREROLL | AM_SAMPLE_DATADISCONTINUITY |
                                  AM_SAMPLE_TYPECHANGED | AM_SAMPLE_TIMEVALID | AM_SAMPLE_TIMEDISCONTINUITY |
                                  AM_SAMPLE_FLUSH_ON_PAUSE | AM_SAMPLE_STOPVALID;
static_assert(~dwSettableFlags == 0xFFFFFE20);
} // namespace

STDMETHODIMP IMediaSample2Wrapper::GetProperties(DWORD cbProperties, BYTE* pbProperties) noexcept
{
    trace(atlTraceGeneral, eTL_Call, L"%s: IMediaSample2::GetProperties( cbProps=%u )\n", GetClassName(),
          static_cast<unsigned>(cbProperties));
    if (cbProperties == 0)
        return S_OK;
    DSASSERT(pbProperties != NULL);
    if (pbProperties == nullptr)
        return E_POINTER;
    AM_SAMPLE2_PROPERTIES rgProps;
    memset(&rgProps, 0, sizeof(rgProps)); // the gaps between the fields go out as well
    rgProps.cbData = std::min<DWORD>(cbProperties, sizeof(rgProps));
    rgProps.dwTypeSpecificFlags = m_dwTypeFlags;
    rgProps.dwSampleFlags = m_dwSampleFlags & ~SAMPLE_MEDIATIMEVALID;
    rgProps.lActual = m_cbActual;
    rgProps.tStart = m_tStart;
    rgProps.tStop = m_tEnd;
    rgProps.dwStreamId = m_dwStreamId;
    rgProps.pMediaType = HasFlag(AM_SAMPLE_TYPECHANGED) ? m_pMediaType.Get() : nullptr; // not a copy
    rgProps.pbBuffer = m_pBuffer;
    rgProps.cbBuffer = m_cbBuffer;
    memcpy(pbProperties, &rgProps, rgProps.cbData);
    return S_OK;
}

/// The refusals. \param rgProps zeros where the size does not reach
HRESULT IMediaSample2Wrapper::CheckProperties(DWORD cbProps,
                                              const AM_SAMPLE2_PROPERTIES& rgProps) const noexcept
{
    if (cbProps > ePE_End)
        return E_INVALIDARG;
    if (cbProps >= ePE_SampleFlags && (rgProps.dwSampleFlags & ~dwSettableFlags) != 0)
        return E_INVALIDARG;
    if (cbProps < ePE_Stop && (rgProps.dwSampleFlags & AM_SAMPLE_TIMEVALID) != 0 &&
        !HasFlag(AM_SAMPLE_STOPVALID))
        return E_INVALIDARG;
    if (cbProps >= ePE_Buffer && rgProps.pbBuffer != nullptr && rgProps.pbBuffer != m_pBuffer)
        return E_INVALIDARG;
    if (cbProps >= ePE_BufferSize &&
        ((rgProps.cbBuffer != 0 && rgProps.cbBuffer != m_cbBuffer) || rgProps.cbBuffer < rgProps.lActual))
        return E_INVALIDARG;
    return S_OK;
}

void IMediaSample2Wrapper::StoreFields(DWORD cbProps, const AM_SAMPLE2_PROPERTIES& rgProps,
                                       DWORD dwSampleFlags) noexcept
{
    if (cbProps >= ePE_TypeFlags)
        m_dwTypeFlags = rgProps.dwTypeSpecificFlags;
    if (cbProps >= ePE_SampleFlags)
        m_dwSampleFlags = dwSampleFlags | (m_dwSampleFlags & SAMPLE_MEDIATIMEVALID);
    if (cbProps >= ePE_Actual)
        m_cbActual = rgProps.lActual;
    if (cbProps >= ePE_Start)
        m_tStart = rgProps.tStart;
    if (cbProps >= ePE_Stop)
        m_tEnd = rgProps.tStop;
    if (cbProps >= ePE_StreamId)
        m_dwStreamId = rgProps.dwStreamId;
}

STDMETHODIMP IMediaSample2Wrapper::SetProperties(DWORD cbProperties, const BYTE* pbProperties) noexcept
{
    trace(atlTraceGeneral, eTL_Call, L"%s IMediaSample2::SetProperties( cbProps=%u, pbProps=0x%X )\n",
          GetClassName(), static_cast<unsigned>(cbProperties), TracePtr(pbProperties));
    if (cbProperties < ePE_TypeFlags)
        return S_OK;
    DSASSERT(pbProperties != NULL);
    if (pbProperties == nullptr)
        return E_POINTER;

    // What lies behind the smaller of the two sizes is not the caller's to give: it takes no part.
    AM_SAMPLE2_PROPERTIES rgProps = {};
    memcpy(&rgProps.cbData, pbProperties, sizeof(rgProps.cbData));
    const DWORD cbProps = std::min(cbProperties, rgProps.cbData);
    memcpy(static_cast<void*>(&rgProps), pbProperties, std::min<DWORD>(cbProps, sizeof(rgProps)));
    if (cbProps < ePE_SampleFlags)
        rgProps.dwSampleFlags = 0; // there may be a piece of it
    const HRESULT hr = CheckProperties(cbProps, rgProps);
    if (FAILED(hr))
        return hr;

    DWORD dwSampleFlags = rgProps.dwSampleFlags;
    COwnedMediaType pMediaType;
    if (cbProps < ePE_MediaType)
    {
        if (!m_pMediaType)
            dwSampleFlags &= ~AM_SAMPLE_TYPECHANGED;
    }
    else if (rgProps.pMediaType == nullptr)
    {
        dwSampleFlags &= ~AM_SAMPLE_TYPECHANGED;
        m_pMediaType.Close();
    }
    else
    {
        // Deliberate: a type counts whether or not the caller has set the flag.
        trace(atlTraceGeneral, eTL_Main,
              L"%s IMediaSample2::SetProperties - change media type (corrected for Mainconcept)\n",
              GetClassName());
        pMediaType.Attach(MTDup(rgProps.pMediaType));
        if (!pMediaType)
            return E_OUTOFMEMORY;
        dwSampleFlags |= AM_SAMPLE_TYPECHANGED;
    }

    StoreFields(cbProps, rgProps, dwSampleFlags);
    if (pMediaType)
        m_pMediaType = std::move(pMediaType);
    TraceProperties(cbProps);
    return S_OK;
}

void IMediaSample2Wrapper::TraceProperties(DWORD cbProps) const noexcept
{
    if (cbProps < ePE_TypeFlags || !IsTraced(eTL_Call))
        return;
    wchar_t szText[256];
    int nLength = wsprintfW(szText, L"TypeFlags=0x%X", static_cast<unsigned>(m_dwTypeFlags));
    if (cbProps >= ePE_SampleFlags)
        nLength += wsprintfW(szText + nLength, L", SampleFlags=0x%X", static_cast<unsigned>(m_dwSampleFlags));
    if (cbProps >= ePE_Actual)
        nLength += wsprintfW(szText + nLength, L", cbActual=0x%X", static_cast<unsigned>(m_cbActual));
    if (cbProps >= ePE_Start)
        nLength += wsprintfW(szText + nLength, L", tS=%s", RefTimeText(m_tStart, CTimeText().sz));
    if (cbProps >= ePE_Stop)
        nLength += wsprintfW(szText + nLength, L", tE=%s", RefTimeText(m_tEnd, CTimeText().sz));
    if (cbProps >= ePE_StreamId)
        wsprintfW(szText + nLength, L", StreamId=0x%X", static_cast<unsigned>(m_dwStreamId));
    trace(atlTraceGeneral, eTL_Call, L"Properties: %s\n", szText);
    if (cbProps >= ePE_MediaType && m_pMediaType)
        Debug_MediaType(atlTraceGeneral, eTL_Call, m_pMediaType.Get(), L"");
}
