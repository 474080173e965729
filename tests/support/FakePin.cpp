#include "support/FakePin.h"

#include <vfwmsgs.h>

#include <cstring>

// --- FakeTypeEnum

std::atomic<int> FakeTypeEnum::s_nLiving = 0;
std::atomic<int> FakeTypeEnum::s_nFetched = 0;

FakeTypeEnum::FakeTypeEnum(std::vector<CMType> types, eFakeEnum eMode, HRESULT hrReset, HRESULT hrEnd)
    : m_types(std::move(types)), m_eMode(eMode), m_hrReset(hrReset), m_hrEnd(hrEnd)
{
    ++s_nLiving;
}

STDMETHODIMP FakeTypeEnum::QueryInterface(REFIID riid, void** ppv)
{
    *ppv = nullptr;
    if (!IsEqualGUID(riid, IID_IUnknown) && !IsEqualGUID(riid, IID_IEnumMediaTypes))
        return E_NOINTERFACE;
    *ppv = static_cast<IEnumMediaTypes*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) FakeTypeEnum::Release()
{
    const long nRefs = --m_nRefs;
    if (nRefs == 0)
        delete this;
    return static_cast<ULONG>(nRefs);
}

STDMETHODIMP FakeTypeEnum::Next(ULONG cTypes, AM_MEDIA_TYPE** ppTypes, ULONG* pcFetched)
{
    const bool bEndless = m_eMode == eFE_Endless || m_eMode == eFE_EndlessNull;
    ULONG nCount = 0;
    while (nCount < cTypes && (bEndless || m_nIndex < m_types.size()))
    {
        const size_t nIndex = bEndless ? 0 : m_nIndex++;
        ++s_nFetched;
        ppTypes[nCount++] =
            m_eMode == eFE_NullTypes || m_eMode == eFE_EndlessNull ? nullptr : MTDup(&m_types[nIndex]);
    }
    if (pcFetched != nullptr)
        *pcFetched = nCount;
    return nCount == cTypes ? S_OK : m_hrEnd;
}

STDMETHODIMP FakeTypeEnum::Reset()
{
    m_nIndex = 0;
    return m_hrReset;
}

// --- FakeInputPin

FakeInputPin::FakeInputPin(CallLog* pLog, std::string sName) : m_pLog(pLog), m_sName(std::move(sName)) {}

void FakeInputPin::Enter(const char* pszCall)
{
    if (m_pLog != nullptr)
        m_pLog->Add(m_sName + "." + pszCall);
}

bool FakeInputPin::IsConnected() const
{
    const std::lock_guard lock(m_lock);
    return m_pConnected != nullptr;
}

CMType FakeInputPin::ConnectionType() const
{
    const std::lock_guard lock(m_lock);
    return m_mtConnection;
}

std::vector<FakeInputPin::Received> FakeInputPin::Samples() const
{
    const std::lock_guard lock(m_lock);
    return m_received;
}

std::vector<FakeInputPin::Segment> FakeInputPin::Segments() const
{
    const std::lock_guard lock(m_lock);
    return m_segments;
}

void FakeInputPin::ReleaseSamples()
{
    std::vector<IMediaSample*> held;
    {
        const std::lock_guard lock(m_lock);
        held.swap(m_held);
    }
    for (IMediaSample* pSample : held)
        pSample->Release();
}

STDMETHODIMP FakeInputPin::QueryInterface(REFIID riid, void** ppv)
{
    *ppv = nullptr;
    if (IsEqualGUID(riid, IID_IUnknown) || IsEqualGUID(riid, IID_IPin))
        *ppv = static_cast<IPin*>(this);
    else if (IsEqualGUID(riid, IID_IMemInputPin) && m_bMemInput)
        *ppv = static_cast<IMemInputPin*>(this);
    else
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

STDMETHODIMP FakeInputPin::ReceiveConnection(IPin* pConnector, const AM_MEDIA_TYPE* pmt)
{
    Enter("ReceiveConnection");
    if (m_onReceiveConnection)
        m_onReceiveConnection(pConnector);
    const HRESULT hr = m_accept ? m_accept(pmt) : S_OK;
    if (hr != S_OK)
        return hr;
    pConnector->AddRef();
    const std::lock_guard lock(m_lock);
    m_pConnected = pConnector;
    m_mtConnection = pmt;
    return S_OK;
}

STDMETHODIMP FakeInputPin::Disconnect()
{
    Enter("Disconnect");
    if (m_onDisconnect)
        m_onDisconnect();
    IPin* pConnected = nullptr;
    {
        const std::lock_guard lock(m_lock);
        std::swap(pConnected, m_pConnected);
    }
    if (pConnected == nullptr)
        return S_FALSE;
    pConnected->Release();
    return S_OK;
}

STDMETHODIMP FakeInputPin::ConnectedTo(IPin** ppPin)
{
    const std::lock_guard lock(m_lock);
    *ppPin = m_pConnected;
    if (m_pConnected == nullptr)
        return VFW_E_NOT_CONNECTED;
    m_pConnected->AddRef();
    return S_OK;
}

STDMETHODIMP FakeInputPin::ConnectionMediaType(AM_MEDIA_TYPE* pmt)
{
    const std::lock_guard lock(m_lock);
    return m_pConnected != nullptr ? MTCopy(pmt, &m_mtConnection) : VFW_E_NOT_CONNECTED;
}

STDMETHODIMP FakeInputPin::QueryPinInfo(PIN_INFO* pInfo)
{
    memset(pInfo, 0, sizeof(*pInfo));
    pInfo->pFilter = m_pFilter;
    if (m_pFilter != nullptr)
        m_pFilter->AddRef();
    memcpy(&pInfo->dir, &m_eDir, sizeof(m_eDir));
    for (size_t i = 0; i < m_sName.size() && i < 127; ++i)
        pInfo->achName[i] = static_cast<wchar_t>(m_sName[i]);
    return S_OK;
}

STDMETHODIMP FakeInputPin::QueryDirection(PIN_DIRECTION* pPinDir)
{
    if (FAILED(m_hrQueryDirection))
        return m_hrQueryDirection;
    memcpy(pPinDir, &m_eDir, sizeof(m_eDir));
    return m_hrQueryDirection;
}

STDMETHODIMP FakeInputPin::QueryId(LPWSTR* Id)
{
    *Id = static_cast<LPWSTR>(CoTaskMemAlloc((m_sName.size() + 1) * sizeof(wchar_t)));
    for (size_t i = 0; i <= m_sName.size(); ++i)
        (*Id)[i] = i < m_sName.size() ? static_cast<wchar_t>(m_sName[i]) : L'\0';
    return S_OK;
}

STDMETHODIMP FakeInputPin::QueryAccept(const AM_MEDIA_TYPE* pmt)
{
    return !m_accept || m_accept(pmt) == S_OK ? S_OK : S_FALSE;
}

STDMETHODIMP FakeInputPin::EnumMediaTypes(IEnumMediaTypes** ppEnum)
{
    Enter("EnumMediaTypes");
    *ppEnum = nullptr;
    if (m_hrEnumMediaTypes != S_OK || m_bNullEnum)
        return m_hrEnumMediaTypes;
    *ppEnum = new FakeTypeEnum(m_arrTypes, m_eEnum, m_hrReset, m_hrEnumEnd);
    return S_OK;
}

STDMETHODIMP FakeInputPin::EndOfStream()
{
    Enter("EndOfStream");
    return S_OK;
}

STDMETHODIMP FakeInputPin::BeginFlush()
{
    Enter("BeginFlush");
    if (m_onBeginFlush)
        m_onBeginFlush();
    return m_hrFlush;
}

STDMETHODIMP FakeInputPin::EndFlush()
{
    Enter("EndFlush");
    return m_hrFlush;
}

STDMETHODIMP FakeInputPin::NewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop, double dRate)
{
    {
        const std::lock_guard lock(m_lock);
        m_segments.push_back({tStart, tStop, dRate});
    }
    Enter("NewSegment");
    return S_OK;
}

STDMETHODIMP FakeInputPin::GetAllocator(IMemAllocator** ppAllocator)
{
    Enter("GetAllocator");
    *ppAllocator = nullptr;
    if (m_hrGetAllocator && *m_hrGetAllocator != S_OK)
        return *m_hrGetAllocator;
    if (m_pAllocator == nullptr)
        return m_hrGetAllocator.value_or(VFW_E_NO_ALLOCATOR);
    m_pAllocator->AddRef();
    *ppAllocator = m_pAllocator;
    return S_OK;
}

STDMETHODIMP FakeInputPin::NotifyAllocator(IMemAllocator* pAllocator, BOOL bReadOnly)
{
    Enter("NotifyAllocator");
    m_pNotified = pAllocator;
    m_bNotifiedReadOnly = bReadOnly;
    return m_hrNotify;
}

STDMETHODIMP FakeInputPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES* pProps)
{
    Enter("GetAllocatorRequirements");
    if (!m_rgRequire)
        return E_NOTIMPL;
    *pProps = *m_rgRequire;
    return S_OK;
}

STDMETHODIMP FakeInputPin::Receive(IMediaSample* pSample)
{
    Received rec{};
    rec.hrTime = pSample->GetTime(&rec.tS, &rec.tE);
    rec.hrMediaTime = pSample->GetMediaTime(&rec.llMS, &rec.llME);
    rec.bSync = pSample->IsSyncPoint() == S_OK;
    rec.bDiscontinuity = pSample->IsDiscontinuity() == S_OK;
    rec.bPreroll = pSample->IsPreroll() == S_OK;
    rec.lActual = pSample->GetActualDataLength();
    BYTE* pb = nullptr;
    if (m_bCopyData && pSample->GetPointer(&pb) == S_OK && pb != nullptr && rec.lActual > 0)
        rec.arrData.assign(pb, pb + rec.lActual);
    {
        const std::lock_guard lock(m_lock);
        m_received.push_back(std::move(rec));
        if (m_bHold)
        {
            pSample->AddRef();
            m_held.push_back(pSample);
        }
    }
    Enter("Receive");
    if (!m_gate.Pass())
        return E_ABORT; // the test has hung
    return m_onReceive ? m_onReceive(pSample) : m_hrReceive;
}
