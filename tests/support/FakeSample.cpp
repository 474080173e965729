#include "support/FakeSample.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

FakeSample::FakeSample(LONG cbBuffer, bool bSample2, BYTE* pbBuffer)
    : m_cbBuffer(cbBuffer), m_bSample2(bSample2), m_pbOwn(pbBuffer), m_nRefs(0),
      m_arrStore(static_cast<size_t>(cbBuffer) + 2 * cbGuard, byGuard)
{
    std::fill_n(Buffer(), cbBuffer, byFill);
    Reset();
}

FakeSample::~FakeSample() = default;

void FakeSample::Reset()
{
    m_bTimeStart = m_bTimeEnd = m_bMediaTime = false;
    m_tS = m_tE = 0;
    m_llMS = m_llME = 0;
    m_bSync = m_bPreroll = m_bDiscont = false;
    m_lActual = m_cbBuffer;
    m_dwTypeFlags = m_dwStreamId = 0;
    m_cbDataAnswer = 0;
    m_bNullPointer = m_bNullType = false;
    m_mt.Clear();
}

void FakeSample::Script(eSampleCall eCall, HRESULT hr)
{
    std::lock_guard lock(m_lock);
    m_arrScript[eCall] = hr;
}

void FakeSample::Unscript(eSampleCall eCall)
{
    std::lock_guard lock(m_lock);
    m_arrScript[eCall].reset();
}

int FakeSample::Calls(eSampleCall eCall) const
{
    std::lock_guard lock(m_lock);
    return static_cast<int>(std::count(m_arrCalls.begin(), m_arrCalls.end(), eCall));
}

std::vector<eSampleCall> FakeSample::CallOrder() const
{
    std::lock_guard lock(m_lock);
    return m_arrCalls;
}

void FakeSample::ForgetCalls()
{
    std::lock_guard lock(m_lock);
    m_arrCalls.clear();
}

bool FakeSample::GuardsIntact() const
{
    const auto isGuard = [](BYTE by) { return by == byGuard; };
    return std::all_of(m_arrStore.begin(), m_arrStore.begin() + cbGuard, isGuard) &&
           std::all_of(m_arrStore.end() - cbGuard, m_arrStore.end(), isGuard);
}

std::optional<HRESULT> FakeSample::Enter(eSampleCall eCall)
{
    std::lock_guard lock(m_lock);
    m_arrCalls.push_back(eCall);
    return m_arrScript[eCall];
}

HRESULT FakeSample::QueryInterface(REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    const bool bSample2 = riid == IID_IMediaSample2;
    if (bSample2)
    {
        if (const auto hr = Enter(eSC_QuerySample2))
            return *hr;
        if (!m_bSample2)
            return E_NOINTERFACE;
    }
    else if (riid != IID_IUnknown && riid != IID_IMediaSample)
    {
        return E_NOINTERFACE;
    }
    *ppv = static_cast<IMediaSample2*>(this);
    AddRef();
    return S_OK;
}

ULONG FakeSample::AddRef()
{
    return static_cast<ULONG>(++m_nRefs);
}

ULONG FakeSample::Release()
{
    const long nRefs = --m_nRefs;
    if (nRefs == 0 && m_onLastRelease)
        m_onLastRelease(this);
    return static_cast<ULONG>(nRefs);
}

HRESULT FakeSample::GetPointer(BYTE** ppBuffer)
{
    const auto hr = Enter(eSC_GetPointer);
    if (hr && FAILED(*hr))
        return *hr;
    if (!ppBuffer)
        return E_POINTER;
    *ppBuffer = m_bNullPointer ? nullptr : Buffer();
    return hr.value_or(S_OK);
}

LONG FakeSample::GetSize()
{
    const auto hr = Enter(eSC_GetSize);
    return hr ? *hr : m_cbBuffer;
}

HRESULT FakeSample::GetTime(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd)
{
    const auto hr = Enter(eSC_GetTime);
    if (hr && FAILED(*hr))
        return *hr;
    if (!pTimeStart || !pTimeEnd)
        return E_INVALIDARG;
    if (!m_bTimeStart && !hr)
        return VFW_E_SAMPLE_TIME_NOT_SET;
    *pTimeStart = m_tS;
    *pTimeEnd = m_bTimeEnd ? m_tE : m_tS + 1;
    return hr ? *hr : m_bTimeEnd ? S_OK : VFW_S_NO_STOP_TIME;
}

HRESULT FakeSample::SetTime(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd)
{
    if (const auto hr = Enter(eSC_SetTime))
        return *hr;
    m_bTimeStart = pTimeStart != nullptr;
    m_bTimeEnd = pTimeStart && pTimeEnd;
    m_tS = pTimeStart ? *pTimeStart : 0;
    m_tE = m_bTimeEnd ? *pTimeEnd : 0;
    return S_OK;
}

HRESULT FakeSample::IsSyncPoint()
{
    const auto hr = Enter(eSC_IsSyncPoint);
    return hr ? *hr : m_bSync ? S_OK : S_FALSE;
}

HRESULT FakeSample::SetSyncPoint(BOOL bIsSyncPoint)
{
    if (const auto hr = Enter(eSC_SetSyncPoint))
        return *hr;
    m_bSync = bIsSyncPoint != FALSE;
    return S_OK;
}

HRESULT FakeSample::IsPreroll()
{
    const auto hr = Enter(eSC_IsPreroll);
    return hr ? *hr : m_bPreroll ? S_OK : S_FALSE;
}

HRESULT FakeSample::SetPreroll(BOOL bIsPreroll)
{
    if (const auto hr = Enter(eSC_SetPreroll))
        return *hr;
    m_bPreroll = bIsPreroll != FALSE;
    return S_OK;
}

LONG FakeSample::GetActualDataLength()
{
    const auto hr = Enter(eSC_GetActualDataLength);
    return hr ? *hr : m_lActual;
}

HRESULT FakeSample::SetActualDataLength(LONG lLen)
{
    if (const auto hr = Enter(eSC_SetActualDataLength))
        return *hr;
    if (lLen < 0 || lLen > m_cbBuffer)
        return VFW_E_BUFFER_OVERFLOW;
    m_lActual = lLen;
    return S_OK;
}

HRESULT FakeSample::GetMediaType(AM_MEDIA_TYPE** ppMediaType)
{
    const auto hr = Enter(eSC_GetMediaType);
    if (hr && FAILED(*hr))
        return *hr;
    if (!ppMediaType)
        return E_POINTER;
    *ppMediaType = nullptr;
    if (!hr && !m_bNullType && !m_mt.IsDefined())
        return S_FALSE;
    if (!m_bNullType && m_mt.IsDefined() && hr.value_or(S_OK) == S_OK)
        *ppMediaType = MTDup(&m_mt);
    return hr.value_or(S_OK);
}

HRESULT FakeSample::SetMediaType(AM_MEDIA_TYPE* pMediaType)
{
    if (const auto hr = Enter(eSC_SetMediaType))
        return *hr;
    return m_mt.Set(pMediaType);
}

HRESULT FakeSample::IsDiscontinuity()
{
    const auto hr = Enter(eSC_IsDiscontinuity);
    return hr ? *hr : m_bDiscont ? S_OK : S_FALSE;
}

HRESULT FakeSample::SetDiscontinuity(BOOL bDiscontinuity)
{
    if (const auto hr = Enter(eSC_SetDiscontinuity))
        return *hr;
    m_bDiscont = bDiscontinuity != FALSE;
    return S_OK;
}

HRESULT FakeSample::GetMediaTime(LONGLONG* pTimeStart, LONGLONG* pTimeEnd)
{
    const auto hr = Enter(eSC_GetMediaTime);
    if (hr && FAILED(*hr))
        return *hr;
    if (!pTimeStart || !pTimeEnd)
        return E_INVALIDARG;
    if (!m_bMediaTime && !hr)
        return VFW_E_MEDIA_TIME_NOT_SET;
    *pTimeStart = m_llMS;
    *pTimeEnd = m_llME;
    return hr.value_or(S_OK);
}

HRESULT FakeSample::SetMediaTime(LONGLONG* pTimeStart, LONGLONG* pTimeEnd)
{
    if (const auto hr = Enter(eSC_SetMediaTime))
        return *hr;
    m_bMediaTime = pTimeStart && pTimeEnd;
    m_llMS = m_bMediaTime ? *pTimeStart : 0;
    m_llME = m_bMediaTime ? *pTimeEnd : 0;
    return S_OK;
}

HRESULT FakeSample::GetProperties(DWORD cbProperties, BYTE* pbProperties)
{
    const auto hr = Enter(eSC_GetProperties);
    if (hr && FAILED(*hr))
        return *hr;
    if (!pbProperties)
        return E_POINTER;
    AM_SAMPLE2_PROPERTIES rgProps = {};
    const DWORD cb = std::min<DWORD>(cbProperties, sizeof(rgProps));
    rgProps.cbData = m_cbDataAnswer ? m_cbDataAnswer : cb;
    rgProps.dwTypeSpecificFlags = m_dwTypeFlags;
    rgProps.dwSampleFlags =
        (m_bSync ? AM_SAMPLE_SPLICEPOINT : 0) | (m_bPreroll ? AM_SAMPLE_PREROLL : 0) |
        (m_bDiscont ? AM_SAMPLE_DATADISCONTINUITY : 0) | (m_bTimeStart ? AM_SAMPLE_TIMEVALID : 0) |
        (m_bTimeEnd ? AM_SAMPLE_STOPVALID : 0) | (m_mt.IsDefined() ? AM_SAMPLE_TYPECHANGED : 0);
    rgProps.lActual = m_lActual;
    rgProps.tStart = m_tS;
    rgProps.tStop = m_tE;
    rgProps.dwStreamId = m_dwStreamId;
    rgProps.pMediaType = m_mt.IsDefined() ? &m_mt : nullptr;
    rgProps.pbBuffer = Buffer();
    rgProps.cbBuffer = m_cbBuffer;
    memcpy(pbProperties, &rgProps, cb);
    return hr.value_or(S_OK);
}

HRESULT FakeSample::SetProperties(DWORD cbProperties, const BYTE* pbProperties)
{
    if (const auto hr = Enter(eSC_SetProperties))
        return *hr;
    if (!pbProperties)
        return E_POINTER;

    // A field is set when the size reaches behind it.
    AM_SAMPLE2_PROPERTIES rgProps = {};
    memcpy(&rgProps, pbProperties, std::min<size_t>(cbProperties, sizeof(rgProps)));
    if (cbProperties >= offsetof(AM_SAMPLE2_PROPERTIES, dwSampleFlags))
        m_dwTypeFlags = rgProps.dwTypeSpecificFlags;
    if (cbProperties >= offsetof(AM_SAMPLE2_PROPERTIES, lActual))
    {
        m_bSync = (rgProps.dwSampleFlags & AM_SAMPLE_SPLICEPOINT) != 0;
        m_bPreroll = (rgProps.dwSampleFlags & AM_SAMPLE_PREROLL) != 0;
        m_bDiscont = (rgProps.dwSampleFlags & AM_SAMPLE_DATADISCONTINUITY) != 0;
        m_bTimeStart = (rgProps.dwSampleFlags & AM_SAMPLE_TIMEVALID) != 0;
        m_bTimeEnd = (rgProps.dwSampleFlags & AM_SAMPLE_STOPVALID) != 0;
    }
    if (cbProperties >= offsetof(AM_SAMPLE2_PROPERTIES, tStart))
        m_lActual = rgProps.lActual;
    if (cbProperties >= offsetof(AM_SAMPLE2_PROPERTIES, tStop))
        m_tS = rgProps.tStart;
    if (cbProperties >= offsetof(AM_SAMPLE2_PROPERTIES, dwStreamId))
        m_tE = rgProps.tStop;
    if (cbProperties >= offsetof(AM_SAMPLE2_PROPERTIES, dwStreamId) + sizeof(DWORD))
        m_dwStreamId = rgProps.dwStreamId;
    return S_OK;
}
