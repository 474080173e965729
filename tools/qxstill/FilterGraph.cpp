#include "FilterGraph.h"
#include "Failure.h"

namespace
{
std::vector<CComPtr<IPin>> PinsOf(IBaseFilter* filter)
{
    std::vector<CComPtr<IPin>> result;
    CComPtr<IEnumPins> pins;
    if (FAILED(filter->EnumPins(&pins)))
        return result;
    for (;;)
    {
        CComPtr<IPin> pin;
        if (pins->Next(1, &pin, nullptr) != S_OK)
            return result;
        result.push_back(pin);
    }
}
} // namespace

CComPtr<IPin> FindPin(IBaseFilter* filter, PIN_DIRECTION direction)
{
    for (const CComPtr<IPin>& pin : PinsOf(filter))
    {
        PIN_DIRECTION found = PINDIR_INPUT;
        if (SUCCEEDED(pin->QueryDirection(&found)) && found == direction)
            return pin;
    }
    return {};
}

FilterGraph::FilterGraph()
{
    Check(m_graph.CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC_SERVER),
          "the platform has no filter graph");
    Check(m_graph->QueryInterface(IID_IMediaControl, reinterpret_cast<void**>(&m_control)),
          "the graph has no media control");
    Check(m_graph->QueryInterface(IID_IMediaEvent, reinterpret_cast<void**>(&m_events)),
          "the graph has no events");
    OAEVENT handle = 0;
    Check(m_events->GetEventHandle(&handle), "the graph has no event handle");
    m_eventHandle = reinterpret_cast<HANDLE>(handle);
    Check(
        Query<IMediaFilter>(IID_IMediaFilter, "the graph cannot go without a clock")->SetSyncSource(nullptr),
        "the graph cannot go without a clock");
}

FilterGraph::~FilterGraph()
{
    m_control->Stop();
    while (!m_filters.empty())
        Remove(CComPtr<IBaseFilter>(m_filters.back()));
}

void FilterGraph::Add(IBaseFilter* filter, const wchar_t* name)
{
    Check(m_graph->AddFilter(filter, name), "the graph rejects a filter");
    m_filters.push_back(filter);
    // The platform hands a clock only to the filters that are there when it is set.
    if (m_clock)
        Check(filter->SetSyncSource(m_clock), "a filter rejects the clock");
}

void FilterGraph::Remove(IBaseFilter* filter)
{
    // One by one: the graph leaves a filter in whose neighbour does not stop, or that does not disconnect.
    FILTER_STATE state = State_Running;
    if (FAILED(filter->GetState(0, &state)) || state != State_Stopped)
        filter->Stop();
    for (const CComPtr<IPin>& pin : PinsOf(filter))
    {
        CComPtr<IPin> peer;
        if (pin->ConnectedTo(&peer) != S_OK)
            continue;
        m_graph->Disconnect(peer);
        m_graph->Disconnect(pin);
    }
    m_graph->RemoveFilter(filter);
    std::erase_if(m_filters, [&](const CComPtr<IBaseFilter>& added) { return added == filter; });
}

HRESULT FilterGraph::Connect(IBaseFilter* from, IBaseFilter* to)
{
    const CComPtr<IPin> output = FindPin(from, PINDIR_OUTPUT);
    const CComPtr<IPin> input = FindPin(to, PINDIR_INPUT);
    if (!output || !input)
        return VFW_E_NOT_FOUND;
    return m_graph->ConnectDirect(output, input, nullptr);
}

void FilterGraph::Run()
{
    Check(m_control->Run(), "the graph does not run");
}

void FilterGraph::Pause()
{
    Check(m_control->Pause(), "the graph does not pause");
}

void FilterGraph::UseDefaultClock()
{
    Check(m_graph->SetDefaultSyncSource(), "the graph has no clock");
    m_clock.Release();
    Check(Query<IMediaFilter>(IID_IMediaFilter, "the graph has no clock")->GetSyncSource(&m_clock),
          "the graph has no clock");
}

void FilterGraph::Stop()
{
    Check(m_control->Stop(), "the graph does not stop");
}

bool FilterGraph::NextEvent(long& code, HRESULT& result)
{
    LONG_PTR first = 0;
    LONG_PTR second = 0;
    if (m_events->GetEvent(&code, &first, &second, 0) != S_OK)
        return false;
    result = static_cast<HRESULT>(first);
    m_events->FreeEventParams(code, first, second);
    return true;
}
