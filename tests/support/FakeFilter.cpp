#include "support/FakeFilter.h"

#include <cstring>

FakeFilter::FakeFilter(CallLog* pLog, std::string sName)
    : m_pin(pLog), m_pLog(pLog), m_sName(std::move(sName))
{
    m_pin.m_pFilter = this;
}

FakeFilter::~FakeFilter() = default;

void FakeFilter::Enter(const char* pszCall)
{
    if (m_pLog != nullptr)
        m_pLog->Add(m_sName + "." + pszCall);
}

STDMETHODIMP FakeFilter::QueryInterface(REFIID riid, void** ppv)
{
    *ppv = nullptr;
    if (!IsEqualGUID(riid, IID_IUnknown) && !IsEqualGUID(riid, IID_IPersist) &&
        !IsEqualGUID(riid, IID_IMediaFilter) && !IsEqualGUID(riid, IID_IBaseFilter))
        return E_NOINTERFACE;
    *ppv = static_cast<IBaseFilter*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP FakeFilter::GetClassID(CLSID* pClassID)
{
    *pClassID = CLSID_NULL;
    return S_OK;
}

STDMETHODIMP FakeFilter::Stop()
{
    Enter("Stop");
    m_eState = State_Stopped;
    if (m_bStopOpensGate)
        m_pin.m_gate.Open();
    return S_OK;
}

STDMETHODIMP FakeFilter::Pause()
{
    Enter("Pause");
    m_eState = State_Paused;
    return S_OK;
}

STDMETHODIMP FakeFilter::Run(REFERENCE_TIME)
{
    Enter("Run");
    m_eState = State_Running;
    return S_OK;
}

STDMETHODIMP FakeFilter::GetState(DWORD, FILTER_STATE* State)
{
    *State = m_eState;
    return S_OK;
}

STDMETHODIMP FakeFilter::GetSyncSource(IReferenceClock** ppClock)
{
    *ppClock = nullptr;
    return S_OK;
}

STDMETHODIMP FakeFilter::QueryFilterInfo(FILTER_INFO* pInfo)
{
    memset(pInfo, 0, sizeof(*pInfo));
    for (size_t i = 0; i < m_sName.size() && i < 127; ++i)
        pInfo->achName[i] = static_cast<wchar_t>(m_sName[i]);
    pInfo->pGraph = m_pGraph;
    if (m_pGraph != nullptr)
        m_pGraph->AddRef();
    return S_OK;
}

STDMETHODIMP FakeFilter::JoinFilterGraph(IFilterGraph* pGraph, LPCWSTR)
{
    m_pGraph = pGraph;
    return S_OK;
}
