#include "dstl/dshowx/DSFilters.h"

#include <cwchar>

#include "dstl/dshowx/DSParsers.h"
#include "dstl/dshowx/FilterChainParser.h"
#include "dstl/dshowx/LogLoader.h"

namespace
{
unsigned Hr(HRESULT hr) noexcept
{
    return static_cast<unsigned>(hr);
}

/// A string in task memory.
class CTaskString
{
public:
    CTaskString() noexcept = default;
    ~CTaskString() { CoTaskMemFree(m_psz); }
    CTaskString(const CTaskString&) = delete;
    CTaskString& operator=(const CTaskString&) = delete;

    LPWSTR* operator&() noexcept { return &m_psz; }
    LPCWSTR Get() const noexcept { return m_psz; }

private:
    LPWSTR m_psz = nullptr;
};
} // namespace

CFilterCore::~CFilterCore()
{
    DSASSERT(m_eState == State_Stopped);
}

// --- State

HRESULT CFilterCore::FilterGetState(FILTER_STATE* State) noexcept
{
    trace(atlTraceGeneral, eTL_Frame, L"%s IBaseFilterImpl::GetState\n", GetClassName());
    DSASSERT(State != NULL);
    if (State == nullptr)
        return E_POINTER;
    *State = m_eState;
    return S_OK;
}

HRESULT CFilterCore::PauseBeforeStop(IBaseFilter* pThis) noexcept
{
    trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::Stop\n", GetClassName());
    if (m_eState != State_Running)
        return S_OK;
    trace(atlTraceGeneral, eTL_Warning,
          L"WARNING. %s IBaseFilterImpl::Stop(): current state is State_Running, call Pause() command\n",
          GetClassName());
    const HRESULT hr = pThis->Pause();
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### %s IBaseFilterImpl::Stop(): Pause()=0x%X\n",
              GetClassName(), Hr(hr));
        return hr;
    }
    trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::Stop(): stop after pause\n", GetClassName());
    return S_OK;
}

HRESULT CFilterCore::PauseBeforeRun(IBaseFilter* pThis, REFERENCE_TIME tStart) noexcept
{
    trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::Run( %s )\n", GetClassName(),
          RefTimeText(tStart, CTimeText().sz));
    if (m_eState != State_Stopped)
        return S_OK;
    trace(atlTraceGeneral, eTL_Warning,
          L"WARNING. %s IBaseFilterImpl::Run(): current state is State_Stopped, call Pause() command\n",
          GetClassName());
    const HRESULT hr = pThis->Pause();
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### %s IBaseFilterImpl::Run(): Pause()=0x%X\n",
              GetClassName(), Hr(hr));
        return hr;
    }
    trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::Run(): run after pause\n", GetClassName());
    return S_OK;
}

// --- Identity, clock, graph

HRESULT CFilterCore::FilterGetClassID(const CLSID& clsid, CLSID* pClassID) noexcept
{
    trace(atlTraceGeneral, eTL_Frame, L"%s IBaseFilterImpl::GetClassID\n", GetClassName());
    DSASSERT(pClassID != NULL);
    if (pClassID == nullptr)
        return E_INVALIDARG;
    *pClassID = clsid;
    return S_OK;
}

HRESULT CFilterCore::FilterSetSyncSource(IReferenceClock* pClock) noexcept
{
    CComPtr<IReferenceClock> spClock(pClock); // the old clock is released outside the lock
    {
        CScopedLock crs(&m_crsJoin);
        std::swap(m_spClock.p, spClock.p);
    }
    if (pClock == nullptr)
    {
        trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::SetSyncSource( NULL )\n", GetClassName());
        return S_OK;
    }
    CComPtr<IPersist> spPersist;
    if (FAILED(pClock->QueryInterface(IID_IPersist, reinterpret_cast<void**>(&spPersist))) || !spPersist)
    {
        trace(atlTraceGeneral, eTL_Warning,
              L"WARNING. %s IBaseFilterImpl::SetSyncSource( 0x%X ): clock hasn't CLSID\n", GetClassName(),
              TracePtr(pClock));
        return S_OK;
    }
    CLSID clsid = CLSID_NULL;
    const HRESULT hr = spPersist->GetClassID(&clsid);
    if (FAILED(hr))
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### %s IBaseFilterImpl::SetSyncSource( 0x%X ): spPersist->GetClassID()=0x%X\n",
              GetClassName(), TracePtr(pClock), Hr(hr));
    else
        trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::SetSyncSource( 0x%X ): CLSID = %s\n",
              GetClassName(), TracePtr(pClock), GuidText(clsid, CGuidText().sz));
    return S_OK;
}

HRESULT CFilterCore::FilterGetSyncSource(IReferenceClock** ppClock) noexcept
{
    trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::GetSyncSource\n", GetClassName());
    CScopedLock crs(&m_crsJoin);
    return m_spClock.CopyTo(ppClock);
}

HRESULT CFilterCore::FilterFindPin(IBaseFilter* pThis, LPCWSTR Id, IPin** ppPin) noexcept
{
    trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::FindPin\n", GetClassName());
    DSASSERT(ppPin != NULL && Id != NULL);
    if (ppPin == nullptr || Id == nullptr)
        return E_POINTER;
    *ppPin = nullptr;

    CComPtr<IEnumPins> spEnum;
    HRESULT hr = pThis->EnumPins(&spEnum);
    if (hr != S_OK)
        return DSTLFailure(hr);
    spEnum->Reset();
    for (;;)
    {
        CComPtr<IPin> spPin;
        hr = spEnum->Next(1, &spPin, nullptr);
        if (hr != S_OK)
            return hr == S_FALSE ? VFW_E_NOT_FOUND : E_FAIL;
        CTaskString strId;
        if (SUCCEEDED(spPin->QueryId(&strId)) && wcscmp(strId.Get(), Id) == 0)
        {
            *ppPin = spPin.Detach();
            return S_OK;
        }
    }
}

HRESULT CFilterCore::FilterQueryFilterInfo(FILTER_INFO* pInfo) noexcept
{
    trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::QueryFilterInfo\n", GetClassName());
    DSASSERT(pInfo != NULL);
    if (pInfo == nullptr)
        return E_INVALIDARG;
    CScopedLock crs(&m_crsJoin);
    CopyDSName(pInfo->achName, m_szName);
    pInfo->pGraph = CComPtr<IFilterGraph>(m_pFilterGraphJoin).Detach();
    return S_OK;
}

HRESULT CFilterCore::FilterJoinFilterGraph(IFilterGraph* pGraph, LPCWSTR pName) noexcept
{
    trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::JoinFilterGraph( 0x%08X, '%s' )\n", GetClassName(),
          TracePtr(pGraph), pName != nullptr ? pName : L"");
    // The pointer is not counted: the graph holds the filter and outlives its membership. It is stored before
    // the graph is asked, so that no other thread joins meanwhile, and no lock is held while it is asked.
    const bool bJoins = SetGraph(pGraph, pName);
    DSASSERT_TEXT(bJoins, "pT->m_pFilterGraphJoin == NULL || pGraph == NULL");
    if (!bJoins)
        return E_FAIL;
    if (pGraph == nullptr)
        return S_OK;
    CComPtr<IMediaEventSink> spEventSink;
    const HRESULT hr = pGraph->QueryInterface(IID_IMediaEventSink, reinterpret_cast<void**>(&spEventSink));
    CScopedLock crs(&m_crsJoin);
    if (m_pFilterGraphJoin != pGraph)
        return FAILED(hr) ? hr : VFW_E_STATE_CHANGED; // the graph has taken the filter out within its answer
    if (SUCCEEDED(hr))
        m_pEventSink = spEventSink; // not counted either
    else
        ClearGraph();
    return FAILED(hr) ? hr : S_OK;
}

bool CFilterCore::SetGraph(IFilterGraph* pGraph, LPCWSTR pName) noexcept
{
    CScopedLock crs(&m_crsJoin);
    if (m_pFilterGraphJoin != nullptr && pGraph != nullptr)
        return false;
    ClearGraph();
    m_pFilterGraphJoin = pGraph;
    if (pGraph != nullptr)
        CopyDSName(m_szName, pName);
    return true;
}

void CFilterCore::ClearGraph() noexcept
{
    m_pFilterGraphJoin = nullptr;
    m_pEventSink = nullptr;
    CopyDSName(m_szName, nullptr);
}

bool CFilterCore::IsInGraph() const noexcept
{
    CScopedLock crs(&m_crsJoin);
    return m_pFilterGraphJoin != nullptr;
}

CComPtr<IFilterGraph> CFilterCore::GetGraph() const noexcept
{
    CScopedLock crs(&m_crsJoin);
    return CComPtr<IFilterGraph>(m_pFilterGraphJoin);
}

// --- Reconnection

HRESULT CFilterCore::MakeReconnect(const AM_MEDIA_TYPE* pmt, IPin* pPin) noexcept
{
    const bool bInGraph = IsInGraph();
    DSASSERT_TEXT(bInGraph, "m_pFilterGraphJoin != NULL");
    if (!bInGraph)
        return VFW_E_NOT_IN_GRAPH;
    DSASSERT(pPin != NULL);
    if (pPin == nullptr || m_eState != State_Stopped)
        return S_OK;

    CComPtr<IPin> spPeer;
    if (pPin->ConnectedTo(&spPeer) != S_OK)
        return S_OK; // an unconnected pin needs nothing
    const int ePinDir = QueryPinDirection(pPin);
    DSASSERT(ePinDir == PINDIR_INPUT || ePinDir == PINDIR_OUTPUT);
    trace(atlTraceGeneral, eTL_Main, L"%s CBaseFilter::MakeReconnect( %s )\n", GetClassName(),
          ePinDir == PINDIR_OUTPUT ? L"Out" : L"In");
    if (ePinDir == PINDIR_OUTPUT)
    {
        CMType mtConnection;
        const HRESULT hr = pPin->ConnectionMediaType(&mtConnection);
        if (hr != S_OK)
        {
            trace(atlTraceGeneral, eTL_Error,
                  L"###Err### %s CBaseFilter::MakeReconnect( Out ): pPin->ConnectionMediaType()=0x%X\n",
                  GetClassName(), Hr(hr));
            return hr;
        }
        if (MTEqual(&mtConnection, pmt))
        {
            trace(atlTraceGeneral, eTL_Main,
                  L"%s CBaseFilter::MakeReconnect( Out ): reconnection stopped - media types are equal\n",
                  GetClassName());
            return S_OK;
        }
    }
    return ReconnectPin(pPin, pmt);
}

HRESULT CFilterCore::ReconnectPin(IPin* pPin, const AM_MEDIA_TYPE* pmt) noexcept
{
    trace(atlTraceGeneral, eTL_Frame, L"%s CBaseFilter::ReconnectPin()\n", GetClassName());
    const CComPtr<IFilterGraph> spGraph = GetGraph(); // another thread may take the filter out meanwhile
    DSASSERT_TEXT(spGraph != nullptr, "m_pFilterGraphJoin != NULL");
    if (!spGraph)
        return VFW_E_NOT_IN_GRAPH;
    CComPtr<IFilterGraph2> spGraph2;
    if (SUCCEEDED(spGraph->QueryInterface(IID_IFilterGraph2, reinterpret_cast<void**>(&spGraph2))) &&
        spGraph2)
        return spGraph2->ReconnectEx(pPin, pmt);
    return spGraph->Reconnect(pPin); // without the type: the pin negotiates from its current one
}

// --- Graph dump

void CFilterCore::FilterParseGraph() noexcept
{
    if (!IsTraced(eTL_Error))
        return; // nobody would read what the walk costs
    const CComPtr<IFilterGraph> spGraph = GetGraph();
    if (!spGraph)
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### %s CBaseFilter::ParseGraphToLogFile(): empty graph pointer\n", GetClassName());
        return;
    }
    CTaskString strChain;
    const HRESULT hr = CFilterChainParser().GetFiltersChain(spGraph, &strChain);
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### %s CBaseFilter::ParseGraphToLogFile(): GetFiltersChain()=0x%X\n", GetClassName(),
              Hr(hr));
        return;
    }
    LogWriteText(strChain.Get());
}
