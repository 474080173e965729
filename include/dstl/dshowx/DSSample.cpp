#include "dstl/dshowx/DSSample.h"

#include "dstl/Old/dsnew.h"
#include "dstl/dshowx/dumps/TimeText.h"
#include "dstl/dshowx/DSTrace.h"

#include <vfwmsgs.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace
{
/// A counted interface pointer for the time of one step.
class CSample2Ptr
{
public:
    explicit CSample2Ptr(IMediaSample* pSample) noexcept
    {
        void* pv = nullptr;
        if (pSample->QueryInterface(IID_IMediaSample2, &pv) == S_OK)
            m_p = static_cast<IMediaSample2*>(pv);
    }
    ~CSample2Ptr()
    {
        if (m_p)
            m_p->Release();
    }
    CSample2Ptr(const CSample2Ptr&) = delete;
    CSample2Ptr& operator=(const CSample2Ptr&) = delete;

    explicit operator bool() const noexcept { return m_p != nullptr; }
    IMediaSample2* operator->() const noexcept { return m_p; }

private:
    IMediaSample2* m_p = nullptr;
};

/// Bytes of AM_SAMPLE2_PROPERTIES up to and with dwTypeSpecificFlags, and up to and with dwStreamId.
constexpr DWORD cbThroughTypeFlags = offsetof(AM_SAMPLE2_PROPERTIES, dwTypeSpecificFlags) + sizeof(DWORD);
constexpr DWORD cbThroughStreamId = offsetof(AM_SAMPLE2_PROPERTIES, dwStreamId) + sizeof(DWORD);
static_assert(cbThroughTypeFlags == 8 && cbThroughStreamId == 36);

constexpr DWORD PropertiesSize(WORD wMask) noexcept
{
    return wMask & PM_STREAMID ? cbThroughStreamId : cbThroughTypeFlags;
}

/// The next time; the highest wraps.
constexpr REFERENCE_TIME NextTime(REFERENCE_TIME rtTime) noexcept
{
    return static_cast<REFERENCE_TIME>(static_cast<ULONGLONG>(rtTime) + 1);
}

/// A flag of the sample that is read with one call and no argument.
struct FlagGetter
{
    WORD wProp;
    decltype(&IMediaSample::IsSyncPoint) pfnGet; ///< all flags are asked alike
    BOOL CSampleT::*pbValue;
    const wchar_t* pszTrace;
    const char* pszAssert;
};

const FlagGetter rgFlagGetters[] = {
    {PM_SYNCPOINT, &IMediaSample::IsSyncPoint, &CSampleT::m_bSync,
     L"###Err### CSampleT::Load(): IsSyncPoint()=0x%X\n", "CSampleT::Load(): IsSyncPoint() FAILED"},
    {PM_PREROLL, &IMediaSample::IsPreroll, &CSampleT::m_bPreroll,
     L"###Err### CSampleT::Load(): IsPreroll()=0x%X\n", "CSampleT::Load(): IsPreroll() FAILED"},
    {PM_DISCONTINUITY, &IMediaSample::IsDiscontinuity, &CSampleT::m_bDiscont,
     L"###Err### CSampleT::Load(): IsDiscontinuity()=0x%X\n", "CSampleT::Load(): IsDiscontinuity() FAILED"},
};

/// Reports a step that did not answer S_OK. \return the result of the operation that stops there
HRESULT ReportStep(HRESULT hr, const wchar_t* pszTrace, const char* pszAssert) noexcept
{
    trace(atlTraceGeneral, eTL_Error, pszTrace, hr);
    DSASSERT_TEXT(false, pszAssert);
    return DSTLFailure(hr);
}
} // namespace

HRESULT CSampleCopier::CopyBuffer(IMediaSample* pDst, BYTE* pbSrc, LONG lActual, WORD wMask) noexcept
{
    if (wMask & PM_BUFFER)
    {
        DSASSERT(pbSrc != NULL);
        if (!pbSrc)
            return E_INVALIDARG;
        DSASSERT(wMask & PM_ACTLEN);
        if (!(wMask & PM_ACTLEN)) // no bytes without a length
            return E_INVALIDARG;
    }

    const bool bLength = (wMask & PM_ACTLEN) != 0;
    const bool bBytes = (wMask & PM_BUFFER) && lActual != 0;
    if (!bLength)
        return S_OK;
    if (!pDst)
        return E_INVALIDARG;

    BYTE* pbDst = nullptr;
    if (lActual != 0)
    {
        const HRESULT hr = pDst->GetPointer(&pbDst);
        if (hr == S_OK && !pbDst)
        {
            trace(atlTraceGeneral, eTL_Error,
                  L"###Err### CSampleCopier::CopyBuffer(): GetPointer()=S_OK, pbDst==NULL\n");
            DSASSERT_TEXT(false, "CSampleCopier::CopyBuffer(): GetPointer()=S_OK, pbDst==NULL");
            return E_FAIL;
        }
        if (hr != S_OK)
            return ReportStep(hr, L"###Err### CSampleCopier::CopyBuffer(): GetPointer()=0x%X\n",
                              "CSampleCopier::CopyBuffer(): GetPointer() FAILED");
    }

    const LONG cbDst = pDst->GetSize();
    if (cbDst < lActual)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CSampleCopier::CopyBuffer(): GetSize()=%i, lActual=%i\n", cbDst, lActual);
        DSASSERT_TEXT(false, "CSampleCopier::CopyBuffer(): GetSize() < actual data length");
        return E_FAIL;
    }
    const HRESULT hr = pDst->SetActualDataLength(lActual);
    if (hr != S_OK)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CSampleCopier::CopyBuffer(): SetActualDataLength( %i )=0x%X\n", lActual, hr);
        DSASSERT_TEXT(false, "CSampleCopier::CopyBuffer(): SetActualDataLength() FAILED");
        return DSTLFailure(hr);
    }

    // A sample that takes a negative length gets no bytes. Source and destination may be one buffer.
    if (bBytes && lActual > 0)
        memmove(pbDst, pbSrc, static_cast<size_t>(lActual));
    return S_OK;
}

CSampleT::CSampleT() noexcept : m_pMT(nullptr)
{
    Clear();
}

CSampleT::~CSampleT()
{
    MTDelete(m_pMT);
}

void CSampleT::Clear() noexcept
{
    MTDelete(m_pMT);
    m_wProps = 0;
    m_tS = m_tE = 0;
    m_llMS = m_llME = 0;
    m_bSync = m_bPreroll = m_bDiscont = FALSE;
    m_dwTypeFlags = 0;
    m_pMT = nullptr;
    m_lActual = 0;
    m_pbBuf = nullptr;
    m_cbBuf = 0;
    m_dwStreamId = 0;
}

void CSampleT::RemoveProps(WORD wMask) noexcept
{
    m_wProps = static_cast<WORD>(m_wProps & ~wMask);
}

void CSampleT::SetTime(REFERENCE_TIME tS, REFERENCE_TIME tE) noexcept
{
    DSASSERT_TEXT(tE == rtNoEnd || tE > tS, "tE == (REFERENCE_TIME)MINLONGLONG || tE > tS");
    m_tS = tS;
    m_tE = tE;
    m_wProps |= PM_TIMESTART;
    if (tE == rtNoEnd)
        RemoveProps(PM_TIMEEND);
    else
        m_wProps |= PM_TIMEEND;
}

void CSampleT::SetMediaTime(LONGLONG llMS, LONGLONG llME) noexcept
{
    DSASSERT(llME > llMS);
    m_llMS = llMS;
    m_llME = llME;
    m_wProps |= PM_MEDIATIME;
}

void CSampleT::SetSyncPoint(BOOL bSync) noexcept
{
    m_bSync = bSync;
    m_wProps |= PM_SYNCPOINT;
}

void CSampleT::SetDiscontinuity(BOOL bDiscont) noexcept
{
    m_bDiscont = bDiscont;
    m_wProps |= PM_DISCONTINUITY;
}

void CSampleT::SetActualDataLength(LONG lActual) noexcept
{
    m_lActual = lActual;
    m_wProps |= PM_ACTLEN;
}

// Times, media times and the buffer pointer may be missing: that is reported and the rest still loaded. A
// flag with a strange answer or a length above the buffer is a fault of the sample and ends the load.
// IMediaSample2 comes after the flags and the length last; Save goes the other way round.
HRESULT CSampleT::Load(IMediaSample* pSrc, WORD wMask) noexcept
{
    DSASSERT(pSrc != NULL);
    DSASSERT(wMask != 0);
    if (!pSrc || wMask == 0)
        return E_INVALIDARG;
    Clear();

    if (wMask & (PM_TIMESTART | PM_TIMEEND))
        LoadTime(pSrc, wMask);
    if (wMask & PM_MEDIATIME)
        LoadMediaTime(pSrc);

    HRESULT hr = LoadFlags(pSrc, wMask);
    if (FAILED(hr))
        return hr;
    if (wMask & (PM_TYPEFLAGS | PM_STREAMID))
    {
        hr = LoadProperties2(pSrc, wMask);
        if (FAILED(hr))
            return hr;
    }
    if (wMask & PM_MEDIATYPE)
    {
        hr = LoadMediaType(pSrc);
        if (FAILED(hr))
            return hr;
    }
    if (wMask & (PM_BUFFER | PM_ACTLEN))
    {
        hr = LoadBuffer(pSrc, wMask);
        if (FAILED(hr))
            return hr;
    }

    if (m_wProps == 0)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CSampleT::Load(): Can't load wanted (0x%x) properties\n", wMask);
        return E_FAIL;
    }
    if (wMask != PM_ALL && wMask != m_wProps)
    {
        trace(atlTraceGeneral, eTL_Frame,
              L"CSampleT::Load(): Not all wanted properties was loaded: wanted 0x%X, loaded 0x%X\n", wMask,
              m_wProps);
        return S_FALSE;
    }
    return S_OK;
}

void CSampleT::LoadTime(IMediaSample* pSrc, WORD wMask) noexcept
{
    const HRESULT hr = pSrc->GetTime(&m_tS, &m_tE);
    if (hr == VFW_S_NO_STOP_TIME)
    {
        m_wProps |= wMask & PM_TIMESTART;
        m_tE = NextTime(m_tS); // as a sample without an end tells it; not held
        return;
    }
    if (hr != S_OK)
    {
        trace(atlTraceGeneral, eTL_Frame, L"WARNING. CSampleT::Load(): GetTime()=0x%X\n", hr);
        return;
    }

    m_wProps |= wMask & (PM_TIMESTART | PM_TIMEEND);
    CTimeText tmStart, tmEnd;
    if (m_tE == m_tS)
    {
        trace(atlTraceGeneral, eTL_Main, L"WARNING. CSampleT::Load(): GetTime(): m_tE==m_tS=%s\n",
              RefTimeText(m_tS, tmStart.sz));
        m_tE = NextTime(m_tS);
    }
    else if (m_tS > m_tE)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CSampleT::Load(): GetTime(): m_tS > m_tE,  m_tS=%s  m_tE=%s\n",
              RefTimeText(m_tS, tmStart.sz), RefTimeText(m_tE, tmEnd.sz));
        DSASSERT_TEXT(false, "CSampleT::Load(): GetTime(): start time > end time ");
        m_tE = NextTime(m_tS);
    }
}

// Unlike stream times, media times that contradict each other are only reported.
void CSampleT::LoadMediaTime(IMediaSample* pSrc) noexcept
{
    const HRESULT hr = pSrc->GetMediaTime(&m_llMS, &m_llME);
    if (hr != S_OK)
    {
        trace(atlTraceGeneral, eTL_Frame, L"WARNING. CSampleT::Load(): GetMediaTime()=0x%X\n", hr);
        return;
    }

    m_wProps |= PM_MEDIATIME;
    CTimeText tmStart, tmEnd;
    if (m_llMS == m_llME)
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### CSampleT::Load(): GetMediaTime(): m_llME==m_llMS=%s\n",
              MediaTimeText(m_llMS, tmStart.sz));
    }
    else if (m_llMS > m_llME)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CSampleT::Load(): GetMediaTime(): m_llMS > m_llME, m_llMS=%s m_llME=%s\n",
              MediaTimeText(m_llMS, tmStart.sz), MediaTimeText(m_llME, tmEnd.sz));
        DSASSERT_TEXT(false, "CSampleT::Load(): GetMediaTime(): start media time > end media time");
    }
}

HRESULT CSampleT::LoadFlags(IMediaSample* pSrc, WORD wMask) noexcept
{
    for (const FlagGetter& rgGetter : rgFlagGetters)
    {
        if (!(wMask & rgGetter.wProp))
            continue;
        const HRESULT hr = (pSrc->*rgGetter.pfnGet)();
        if (hr != S_OK && hr != S_FALSE)
            return ReportStep(hr, rgGetter.pszTrace, rgGetter.pszAssert);
        this->*rgGetter.pbValue = hr == S_OK;
        m_wProps |= rgGetter.wProp;
    }
    return S_OK;
}

HRESULT CSampleT::LoadProperties2(IMediaSample* pSrc, WORD wMask) noexcept
{
    CSample2Ptr spMS2(pSrc);
    if (!spMS2)
        return S_OK; // not every sample has these properties

    const DWORD cbData = PropertiesSize(wMask);
    AM_SAMPLE2_PROPERTIES rgProps = {};
    rgProps.cbData = cbData;
    const HRESULT hr = spMS2->GetProperties(cbData, reinterpret_cast<BYTE*>(&rgProps));
    if (hr != S_OK || rgProps.cbData < cbData)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### CSampleT::Load(): spMS2->GetProperties()=0x%X, cbData=%u, rgProps.cbData=%u\n", hr,
              cbData, rgProps.cbData);
        DSASSERT_TEXT(false, "CSampleT::Load(): spMS2->GetProperties() FAILED");
        return DSTLFailure(hr);
    }
    if (wMask & PM_TYPEFLAGS)
    {
        m_dwTypeFlags = rgProps.dwTypeSpecificFlags;
        m_wProps |= PM_TYPEFLAGS;
    }
    if (wMask & PM_STREAMID)
    {
        m_dwStreamId = rgProps.dwStreamId;
        m_wProps |= PM_STREAMID;
    }
    return S_OK;
}

HRESULT CSampleT::LoadMediaType(IMediaSample* pSrc) noexcept
{
    if (pSrc->GetMediaType(&m_pMT) != S_OK)
    {
        m_pMT = nullptr;
        return S_OK;
    }
    if (!m_pMT)
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### CSampleT::Load(): GetMediaType()=S_OK, pMT=NULL\n");
        DSASSERT_TEXT(false, "CSampleT::Load(): GetMediaType()=S_OK, pMT=NULL");
        return E_FAIL;
    }
    m_wProps |= PM_MEDIATYPE;
    return S_OK;
}

HRESULT CSampleT::LoadBuffer(IMediaSample* pSrc, WORD wMask) noexcept
{
    const LONG lActual = pSrc->GetActualDataLength();

    if (wMask & PM_BUFFER)
    {
        const HRESULT hr = pSrc->GetPointer(&m_pbBuf);
        if (hr != S_OK)
        {
            trace(atlTraceGeneral, eTL_Error, L"###Err### CSampleT::Load(): GetPointer()=0x%X\n", hr);
            m_pbBuf = nullptr;
        }
        else if (!m_pbBuf)
        {
            if (lActual != 0)
                trace(atlTraceGeneral, eTL_Error,
                      L"###Err### CSampleT::Load(): GetPointer()=S_OK, pbBuf==NULL\n");
        }
        else
        {
            m_cbBuf = std::max<LONG>(pSrc->GetSize(), 0); // a negative size holds no byte either
            if (m_cbBuf == 0)
            {
                trace(atlTraceGeneral, eTL_Error,
                      L"###Err### CSampleT::Load(): GetPointer()/GetSize(), pbBuf=0x%X, cbBuf==0\n",
                      TracePtr(m_pbBuf));
                m_pbBuf = nullptr;
            }
            else
            {
                m_wProps |= PM_BUFFER;
            }
        }
    }

    if (wMask & PM_ACTLEN)
    {
        if ((m_wProps & PM_BUFFER) && m_cbBuf < lActual)
        {
            // The first value is deliberately m_lActual, which is still 0 here.
            trace(atlTraceGeneral, eTL_Error,
                  L"###Err### CSampleT::Load(): GetActualDataLength()=%i, cbBuf=%i\n", m_lActual, m_cbBuf);
            DSASSERT_TEXT(false, "CSampleT::Load(): GetActualDataLength() > buffer size");
            return E_FAIL;
        }
        m_lActual = lActual;
        m_wProps |= PM_ACTLEN;
    }
    return S_OK;
}

HRESULT CSampleT::SaveFields(IMediaSample* pDst, WORD wSave) const noexcept
{
    struct Step
    {
        WORD wProp;
        HRESULT (*pfnSet)(const CSampleT& from, IMediaSample* pDst, WORD wSave);
        const wchar_t* pszTrace;
        const char* pszAssert;
    };
    static constexpr Step rgStep[] = {
        {PM_TIMESTART,
         [](const CSampleT& from, IMediaSample* pDst, WORD wSave)
         {
             REFERENCE_TIME tS = from.m_tS;
             REFERENCE_TIME tE = from.m_tE;
             return pDst->SetTime(&tS, wSave & PM_TIMEEND ? &tE : nullptr);
         },
         L"###Err### CSampleT::Save(): SetTime()=0x%X\n", "CSampleT::Save(): SetTime() FAILED"},
        {PM_MEDIATIME,
         [](const CSampleT& from, IMediaSample* pDst, WORD)
         {
             LONGLONG llMS = from.m_llMS;
             LONGLONG llME = from.m_llME;
             return pDst->SetMediaTime(&llMS, &llME);
         },
         L"###Err### CSampleT::Save(): SetMediaTime()=0x%X\n", "CSampleT::Save(): SetMediaTime() FAILED"},
        {PM_SYNCPOINT,
         [](const CSampleT& from, IMediaSample* pDst, WORD) { return pDst->SetSyncPoint(from.m_bSync); },
         L"###Err### CSampleT::Save(): SetSyncPoint()=0x%X\n", "CSampleT::Save(): SetSyncPoint() FAILED"},
        {PM_PREROLL,
         [](const CSampleT& from, IMediaSample* pDst, WORD) { return pDst->SetPreroll(from.m_bPreroll); },
         L"###Err### CSampleT::Save(): SetPreroll()=0x%X\n", "CSampleT::Save(): SetPreroll() FAILED"},
        {PM_DISCONTINUITY,
         [](const CSampleT& from, IMediaSample* pDst, WORD)
         { return pDst->SetDiscontinuity(from.m_bDiscont); },
         L"###Err### CSampleT::Save(): SetDiscontinuity()=0x%X\n",
         "CSampleT::Save(): SetDiscontinuity() FAILED"},
        {PM_MEDIATYPE,
         [](const CSampleT& from, IMediaSample* pDst, WORD) { return pDst->SetMediaType(from.m_pMT); },
         L"###Err### CSampleT::Save(): SetMediaType()=0x%X\n", "CSampleT::Save(): SetMediaType() FAILED"},
    };
    for (const Step& step : rgStep)
    {
        if (!(wSave & step.wProp))
            continue;
        const HRESULT hr = step.pfnSet(*this, pDst, wSave);
        if (hr != S_OK)
            return ReportStep(hr, step.pszTrace, step.pszAssert);
    }
    return S_OK;
}

// IMediaSample2 comes first and the payload last, so that SetProperties can never overwrite a time or flag
// just set.
HRESULT CSampleT::Save(IMediaSample* pDst, WORD wMask) noexcept
{
    DSASSERT(pDst != NULL);
    if (!pDst)
        return E_INVALIDARG;

    const WORD wSave = wMask & m_wProps;
    if (wSave == 0)
    {
        if (m_wProps == 0)
        {
            trace(atlTraceGeneral, eTL_Error, L"###Err### CSampleT::Save(): sample not loaded yet\n");
            DSASSERT_TEXT(false, "CSampleT::Save(): sample not loaded yet");
            return E_FAIL;
        }
        trace(atlTraceGeneral, eTL_Main,
              L"CSampleT::Save(): Can't save wanted properties: wanted 0x%X, exist 0x%X\n", wMask, m_wProps);
        return S_FALSE;
    }

    if (wSave & (PM_TYPEFLAGS | PM_STREAMID))
    {
        const HRESULT hr = SaveProperties2(pDst, wSave);
        if (FAILED(hr))
            return hr;
    }
    const HRESULT hr = SaveFields(pDst, wSave);
    if (FAILED(hr))
        return hr;

    if (wSave & (PM_BUFFER | PM_ACTLEN))
    {
        // A length set by hand may lie beyond the borrowed buffer: its bytes are not ours to read.
        if ((wSave & PM_BUFFER) && (wSave & PM_ACTLEN) && m_lActual > m_cbBuf)
            return E_FAIL;
        return CopyBuffer(pDst, m_pbBuf, m_lActual, wSave);
    }
    return S_OK;
}

HRESULT CSampleT::SaveProperties2(IMediaSample* pDst, WORD wSave) noexcept
{
    CSample2Ptr spMS2(pDst);
    if (!spMS2)
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### CSampleT::Save(): QI( IMediaSample2 ) FAILED\n");
        DSASSERT_TEXT(false, "CSampleT::Save(): QI( IMediaSample2 ) FAILED");
        return E_NOINTERFACE;
    }

    // The record is read first: setting it writes the fields between the two wanted ones as well.
    const DWORD cbData = PropertiesSize(wSave);
    AM_SAMPLE2_PROPERTIES rgProps = {};
    rgProps.cbData = cbData;
    HRESULT hr = spMS2->GetProperties(cbData, reinterpret_cast<BYTE*>(&rgProps));
    if (hr != S_OK)
        return ReportStep(hr, L"###Err### CSampleT::Save(): spMS2->GetProperties()=0x%X\n",
                          "CSampleT::Save(): spMS2->GetProperties() FAILED");
    if (wSave & PM_TYPEFLAGS)
        rgProps.dwTypeSpecificFlags = m_dwTypeFlags;
    if (wSave & PM_STREAMID)
        rgProps.dwStreamId = m_dwStreamId;
    hr = spMS2->SetProperties(cbData, reinterpret_cast<const BYTE*>(&rgProps));
    if (hr != S_OK)
        return ReportStep(hr, L"###Err### CSampleT::Save(): spMS2->SetProperties()=0x%X\n",
                          "CSampleT::Save(): spMS2->SetProperties() FAILED");
    return S_OK;
}
