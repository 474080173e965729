#include "dstl/dshowx/DSFilters.h"

#include "dstl/dshowx/dumps/FilterChainParser.h"
#include "dstl/dshowx/LogLoader.h"

namespace
{
unsigned Hr(HRESULT hr) noexcept
{
    return static_cast<unsigned>(hr);
}

} // namespace

CFilterCore::~CFilterCore()
{
    DSASSERT(m_eState == State_Stopped);
}

// --- Graph

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

CComPtr<IFilterGraph> CFilterCore::GetGraph() const noexcept
{
    CScopedLock crs(&m_crsJoin);
    return CComPtr<IFilterGraph>(m_pFilterGraphJoin);
}

// --- Reconnection

HRESULT CFilterCore::MakeReconnect(const AM_MEDIA_TYPE* pmt, IPin* pPin) noexcept
{
    const bool bInGraph = GetGraph() != nullptr;
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

void CFilterCore::ParseGraphToLogFile() noexcept
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
    COwnedTask<WCHAR> strChain;
    const HRESULT hr = CFilterChainParser().GetFiltersChain(spGraph, strChain.Out());
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error,
              L"###Err### %s CBaseFilter::ParseGraphToLogFile(): GetFiltersChain()=0x%X\n", GetClassName(),
              Hr(hr));
        return;
    }
    LogWriteText(strChain.Get());
}
