#include "dstl/dshowx/DSPins.h"

#include <cstring>
#include <utility>

#include "dstl/dshowx/DSParsers.h"
#include "dstl/dshowx/DSVideo.h"

namespace
{
/// A peer's list of types that never ends is cut here.
constexpr int nMaxTypesTried = 4096;

unsigned Hr(HRESULT hr) noexcept
{
    return static_cast<unsigned>(hr);
}
} // namespace

// --- Peer and direction

CComPtr<IPin> CPin::GetPeer() const noexcept
{
    CScopedLock lock(&m_crsLink);
    return m_spConnected;
}

void CPin::SetPeer(IPin* pPeer) noexcept
{
    CComPtr<IPin> spPeer(pPeer);
    CScopedLock lock(&m_crsLink);
    std::swap(m_spConnected.p, spPeer.p);
}

bool CPin::BeginStart() noexcept
{
    CScopedLock lock(&m_crsLink);
    m_bStarting = m_spConnected && !m_bLinking;
    return m_bStarting;
}

void CPin::EndStart() noexcept
{
    CScopedLock lock(&m_crsLink);
    m_bStarting = false;
}

bool CPin::CheckDirection(IPin* pPeer) const noexcept
{
    const int ePinDirection = QueryPinDirection(pPeer);
    DSASSERT(ePinDirection == PINDIR_INPUT || ePinDirection == PINDIR_OUTPUT);
    return ePinDirection != m_ePinDir;
}

// --- Media type

void CMTSingle::SetMediaType(const AM_MEDIA_TYPE* pmt) noexcept
{
    CMType mt(pmt);
    PicProps pic{};
    MTGetPicProps(&mt, &pic);
    // The records change places, so that the old type is freed outside the lock.
    CScopedLock lock(&m_crsType);
    std::swap(static_cast<AM_MEDIA_TYPE&>(mt), static_cast<AM_MEDIA_TYPE&>(m_theMediaType));
    m_picType = pic;
}

HRESULT CMTSingle::CopyMediaType(AM_MEDIA_TYPE* pmt) const noexcept
{
    CScopedLock lock(&m_crsType);
    return MTCopy(pmt, &m_theMediaType);
}

HRESULT CMTSingle::GetMediaType(ULONG i, AM_MEDIA_TYPE** ppmt) const noexcept
{
    *ppmt = nullptr;
    CScopedLock lock(&m_crsType);
    if (i != 0 || !m_theMediaType.IsDefined())
        return S_FALSE;
    *ppmt = MTDup(&m_theMediaType);
    return *ppmt != nullptr ? S_OK : E_OUTOFMEMORY;
}

StreamFormat CMTSingle::GetStreamFormat() const noexcept
{
    CScopedLock lock(&m_crsType);
    return {m_picType, MTFrameTime(&m_theMediaType)};
}

PicProps CMTSingle::GetPicProps() const noexcept
{
    CScopedLock lock(&m_crsType);
    return m_picType;
}

REFERENCE_TIME CMTSingle::FrameTime() const noexcept
{
    CScopedLock lock(&m_crsType);
    return MTFrameTime(&m_theMediaType);
}

// --- Queries

HRESULT COutputPinBase::PinConnectedTo(IPin** ppPin) noexcept
{
    TracePin(eTL_Frame, L"%s IPinImpl::ConnectedTo() [%s]\n");
    DSASSERT(ppPin != NULL);
    if (ppPin == nullptr)
        return E_POINTER;
    *ppPin = GetPeer().Detach();
    return *ppPin != nullptr ? S_OK : VFW_E_NOT_CONNECTED;
}

HRESULT COutputPinBase::PinConnectionMediaType(AM_MEDIA_TYPE* pmt) noexcept
{
    TracePin(eTL_Frame, L"%s IPinImpl::ConnectionMediaType() [%s]\n");
    DSASSERT(pmt != NULL);
    if (pmt == nullptr)
        return E_POINTER;
    // Within a call of ours the type as it is now: the connection may be waiting for that call.
    const CScopedTryLock lock(&m_lock, !IsInCall());
    return IsConnected() ? HookMediaType().CopyMediaType(pmt) : VFW_E_NOT_CONNECTED;
}

HRESULT COutputPinBase::PinQueryPinInfo(PIN_INFO* pInfo) noexcept
{
    TracePin(eTL_Frame, L"%s IPinImpl::QueryPinInfo() [%s]\n");
    DSASSERT(pInfo != NULL);
    if (pInfo == nullptr)
        return E_POINTER;
    pInfo->pFilter = HookFilter().Detach();
    pInfo->dir = m_ePinDir;
    CopyDSName(pInfo->achName, m_szName);
    return S_OK;
}

HRESULT COutputPinBase::PinQueryDirection(PIN_DIRECTION* pPinDir) noexcept
{
    TracePin(eTL_Frame, L"%s IPinImpl::QueryDirection() [%s]\n");
    DSASSERT(pPinDir != NULL);
    if (pPinDir == nullptr)
        return E_POINTER;
    *pPinDir = m_ePinDir;
    return S_OK;
}

HRESULT COutputPinBase::PinQueryId(LPWSTR* Id) noexcept
{
    TracePin(eTL_Frame, L"%s IPinImpl::QueryId() [%s]\n");
    DSASSERT(Id != NULL);
    if (Id == nullptr)
        return E_POINTER;
    const size_t cbName = (wcslen(m_szName) + 1) * sizeof(wchar_t);
    *Id = static_cast<LPWSTR>(CoTaskMemAlloc(cbName));
    if (*Id == nullptr)
        return E_OUTOFMEMORY;
    memcpy(*Id, m_szName, cbName);
    return S_OK;
}

HRESULT COutputPinBase::PinQueryAccept(const AM_MEDIA_TYPE* pmt) noexcept
{
    TracePin(eTL_Frame, L"%s IPinImpl::QueryAccept() [%s]\n");
    const bool bAccepted = HookQueryAcceptMT(pmt);
    trace(atlTraceGeneral, eTL_Main, L"%s IPinImpl::QueryAccept()=%s [%s]\n", GetClassName(),
          bAccepted ? L"S_OK" : L"S_FALSE", DirectionName());
    return bAccepted ? S_OK : S_FALSE;
}

HRESULT COutputPinBase::PinQueryInternalConnections() noexcept
{
    trace(atlTraceGeneral, eTL_Frame, L"%s IPinImpl::QueryInternalConnections not implemented\n",
          GetClassName());
    return E_NOTIMPL;
}

// --- Connection

/// Keeps the state of the filter at Stopped, and other connections out, while one is made or broken.
class COutputPinBase::CLinkChange
{
public:
    explicit CLinkChange(COutputPinBase& pin) noexcept : m_pin(pin), m_hr(pin.BeginLink()) {}
    ~CLinkChange()
    {
        if (m_hr == S_OK)
            m_pin.EndLink();
    }
    CLinkChange(const CLinkChange&) = delete;
    CLinkChange& operator=(const CLinkChange&) = delete;

    /// S_OK; VFW_E_NOT_STOPPED; VFW_E_STATE_CHANGED within a call of another change, on the same thread.
    HRESULT Result() const noexcept { return m_hr; }

private:
    COutputPinBase& m_pin;
    const HRESULT m_hr;
};

HRESULT COutputPinBase::BeginLink() noexcept
{
    CScopedLock lock(&m_crsLink);
    if (m_bStarting || HookFilterState() != State_Stopped)
        return VFW_E_NOT_STOPPED;
    if (m_bLinking)
        return VFW_E_STATE_CHANGED;
    m_bLinking = true;
    return S_OK;
}

void COutputPinBase::EndLink() noexcept
{
    CScopedLock lock(&m_crsLink);
    m_bLinking = false;
}

HRESULT COutputPinBase::PinConnect(IPin* pReceivePin, const AM_MEDIA_TYPE* pmt) noexcept
{
    trace(atlTraceGeneral, eTL_Main, L"*************** %s start of connection to ", GetClassName());
    Debug_FilterFromPin(atlTraceGeneral, eTL_Main, pReceivePin, L"");
    if (pmt != nullptr)
        Debug_MediaType(atlTraceGeneral, eTL_Main, pmt, L"");
    else
        trace(atlTraceGeneral, eTL_Main, L"Empty media type\n");

    DSASSERT(m_ePinDir == PINDIR_OUTPUT);
    // Held to the end: the peer may release the last other reference within a call of the connection.
    const CComPtr<IBaseFilter> spFilter = HookFilter();
    DSASSERT_TEXT(spFilter != nullptr, "m_pFilter != NULL");
    DSASSERT(pReceivePin != NULL);
    if (pReceivePin == nullptr)
        return E_POINTER;

    const CScopedTryLock lock(&m_lock, !IsInCall());
    if (!lock.IsHeld())
        return VFW_E_STATE_CHANGED;
    if (IsConnected())
        return VFW_E_ALREADY_CONNECTED;
    const CLinkChange change(*this); // before the peer is asked, which may try to connect as well
    if (change.Result() == VFW_E_STATE_CHANGED)
        return VFW_E_STATE_CHANGED;
    if (!CheckDirection(pReceivePin))
        return VFW_E_INVALID_DIRECTION;
    if (change.Result() != S_OK)
        return change.Result();

    HRESULT hr = S_OK;
    if (MTIsSet(pmt))
        hr = AttemptConnection(pReceivePin, pmt);
    else
    {
        hr = TryTypes(pReceivePin);
        if (hr != S_OK)
            hr = HookNoTypes(hr);
    }
    if (hr == S_OK)
    {
        hr = AgreeAllocator();
        if (hr == S_OK && !IsConnected())
            hr = VFW_E_NOT_CONNECTED; // the peer has disconnected the pin within a call of the agreement
        if (hr == S_OK)
        {
            trace(atlTraceGeneral, eTL_Main, L"*************** %s connection established\n", GetClassName());
            return S_OK;
        }
        HookDisconnect();
        BreakConnection();
        DropAllocator(); // what was agreed behind a disconnection
    }
    trace(atlTraceGeneral, eTL_Main, L"*** WARNING *** %s connection not accepted, hr=0x%X\n", GetClassName(),
          Hr(hr));
    return FAILED(hr) ? hr : VFW_E_NO_ACCEPTABLE_TYPES;
}

HRESULT COutputPinBase::PinDisconnect() noexcept
{
    TracePin(eTL_Main, L"%s IPinImpl::Disconnect() [%s]\n");
    const CScopedTryLock lock(&m_lock, !IsInCall());
    if (!lock.IsHeld())
        return VFW_E_STATE_CHANGED;
    if (!IsConnected())
        return S_FALSE;
    const CLinkChange change(*this);
    if (change.Result() == VFW_E_NOT_STOPPED)
        return VFW_E_NOT_STOPPED;
    // Also within the connection that is being made: it then reports that it has failed.
    BreakConnection();
    return S_OK;
}

HRESULT COutputPinBase::TryTypes(IPin* pReceivePin) noexcept
{
    DSASSERT(pReceivePin != NULL);
    if (pReceivePin == nullptr)
        return E_POINTER;
    HRESULT hr = AgreeExternMT(pReceivePin);
    if (hr != S_OK)
        hr = AgreeInnerMT(pReceivePin);
    return hr;
}

HRESULT COutputPinBase::AgreeExternMT(IPin* pReceivePin) noexcept
{
    DSASSERT(pReceivePin != NULL);
    if (pReceivePin == nullptr)
        return E_POINTER;
    CComPtr<IEnumMediaTypes> spEnum;
    HRESULT hr = pReceivePin->EnumMediaTypes(&spEnum);
    if (hr == S_OK)
        hr = TryMediaTypes(pReceivePin, spEnum);
    if (hr == S_OK)
    {
        trace(atlTraceGeneral, eTL_Frame, L"%s AgreeExternMT() successful\n", GetClassName());
        return S_OK;
    }
    trace(atlTraceGeneral, eTL_Main, L"%s AgreeExternMT() FAILED, hr=0x%X\n", GetClassName(), Hr(hr));
    return FAILED(hr) ? hr : VFW_E_NO_ACCEPTABLE_TYPES;
}

HRESULT COutputPinBase::AgreeInnerMT(IPin* pReceivePin) noexcept
{
    DSASSERT(pReceivePin != NULL);
    if (pReceivePin == nullptr)
        return E_POINTER;
    CComPtr<IEnumMediaTypes> spEnum;
    HRESULT hr = HookPin()->EnumMediaTypes(&spEnum);
    if (hr == S_OK)
        hr = TryMediaTypes(pReceivePin, spEnum);
    if (hr == S_OK)
    {
        trace(atlTraceGeneral, eTL_Frame, L"%s AgreeInnerMT() successful\n", GetClassName());
        return S_OK;
    }
    trace(atlTraceGeneral, eTL_Main, L"%s AgreeInnerMT() FAILED, hr=0x%X\n", GetClassName(), Hr(hr));
    return FAILED(hr) ? hr : VFW_E_NO_ACCEPTABLE_TYPES;
}

HRESULT COutputPinBase::TryMediaTypes(IPin* pReceivePin, IEnumMediaTypes* pEnum) noexcept
{
    trace(atlTraceGeneral, eTL_Frame, L"%s TryMediaTypes\n", GetClassName());
    DSASSERT(pEnum != NULL);
    if (pEnum == nullptr)
        return E_POINTER;
    HRESULT hr = pEnum->Reset();
    if (FAILED(hr))
        return hr;
    for (int i = 0; i < nMaxTypesTried; ++i)
    {
        CMediaTypeHolder pmt;
        ULONG ulMediaCount = 0;
        hr = pEnum->Next(1, &pmt, &ulMediaCount);
        if (hr != S_OK)
            return FAILED(hr) ? hr : VFW_E_NO_ACCEPTABLE_TYPES;
        DSASSERT(ulMediaCount == 1);
        DSASSERT_TEXT(pmt.Get() != nullptr, "pmt != NULL");
        if (AttemptConnection(pReceivePin, pmt.Get()) == S_OK)
            return S_OK;
    }
    return VFW_E_NO_ACCEPTABLE_TYPES;
}

HRESULT COutputPinBase::AttemptConnection(IPin* pReceivePin, const AM_MEDIA_TYPE* pmt) noexcept
{
    trace(atlTraceGeneral, eTL_Frame, L"%s AttemptConnection\n", GetClassName());
    DSASSERT(pmt != NULL);
    if (pmt == nullptr)
        return E_POINTER;
    if (!HookQueryAcceptMT(pmt))
        return VFW_E_TYPE_NOT_ACCEPTED;

    CMType mtSaved;
    HookMediaType().CopyMediaType(&mtSaved);
    HookApplyOutputType(pmt);
    const HRESULT hr = ExecConnection(pReceivePin);
    if (hr == S_OK)
        return S_OK;
    HookApplyOutputType(&mtSaved);
    return FAILED(hr) ? hr : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT COutputPinBase::ExecConnection(IPin* pReceivePin) noexcept
{
    trace(atlTraceGeneral, eTL_Frame, L"%s ExecConnection\n", GetClassName());
    DSASSERT_TEXT(HookFilter() != nullptr, "m_pFilter != NULL");
    DSASSERT(pReceivePin != NULL);
    if (pReceivePin == nullptr)
        return E_POINTER;
    DSASSERT(IsCounterpart(pReceivePin));

    CMType mt;
    HRESULT hr = HookMediaType().CopyMediaType(&mt);
    if (FAILED(hr) || !mt.IsDefined())
        return FAILED(hr) ? hr : VFW_E_TYPE_NOT_ACCEPTED;

    SetPeer(pReceivePin);
    hr = pReceivePin->ReceiveConnection(HookPin(), &mt);
    if (hr != S_OK)
    {
        trace(atlTraceGeneral, eTL_Main, L"%s ExecConnection(): m_spConnected->ReceiveConnection()=0x%X\n",
              GetClassName(), Hr(hr));
    }
    else
    {
        trace(atlTraceGeneral, eTL_Main, L"%s ExecConnection(): connection accepted\n", GetClassName());
        Debug_MediaType(atlTraceGeneral, eTL_Main, &mt, L"");
        hr = HookCompleteConnect(pReceivePin);
        if (hr == S_OK)
        {
            // A peer that has disconnected the pin within ReceiveConnection: it is told, and the agreement on
            // an allocator fails.
            if (!IsConnected())
                pReceivePin->Disconnect();
            return S_OK;
        }
        trace(atlTraceGeneral, eTL_Main, L"%s ExecConnection(): m_pFilter->Filter_CompleteConnect()=0x%X\n",
              GetClassName(), Hr(hr));
        pReceivePin->Disconnect();
    }
    SetPeer(nullptr);
    return FAILED(hr) ? hr : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT COutputPinBase::AgreeAllocator() noexcept
{
    DSASSERT(!m_spMemInput);
    CComPtr<IMemInputPin> spMemInput;
    const CComPtr<IPin> spPeer = GetPeer();
    HRESULT hr = spPeer ? spPeer->QueryInterface(IID_IMemInputPin, reinterpret_cast<void**>(&spMemInput))
                        : VFW_E_NOT_CONNECTED;
    if (hr == S_OK)
        hr = HookAllocatorAgree(spMemInput);
    if (hr != S_OK)
    {
        trace(atlTraceGeneral, eTL_Main, L"%s Allocator agreement FAILED, hr=0x%X\n", GetClassName(), Hr(hr));
        return DSTLFailure(hr);
    }
    {
        CScopedLock lock(&m_crsLink);
        std::swap(m_spMemInput.p, spMemInput.p);
    }
    trace(atlTraceGeneral, eTL_Main, L"%s Allocator agreement successful\n", GetClassName());
    return S_OK;
}

void COutputPinBase::BreakConnection() noexcept
{
    if (!IsConnected())
        return;
    DropAllocator();
    CComPtr<IPin> spPeer;
    {
        CScopedLock lock(&m_crsLink);
        std::swap(m_spConnected.p, spPeer.p);
    }
    if (spPeer)
        spPeer->Disconnect();
}

void COutputPinBase::DropAllocator() noexcept
{
    CComPtr<IMemAllocator> spAllocator;
    CComPtr<IMemInputPin> spMemInput;
    {
        CScopedLock lock(&m_crsLink);
        HookAllocator().TakeOut(spAllocator);
        std::swap(m_spMemInput.p, spMemInput.p);
    }
    // Outside the leaf lock, as an allocator has locks of its own.
    if (spAllocator)
        spAllocator->Decommit();
}
