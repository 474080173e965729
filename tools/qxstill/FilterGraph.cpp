#include "FilterGraph.h"
#include "Failure.h"

CComPtr<IPin> FindPin(IBaseFilter* filter, PIN_DIRECTION direction)
{
    CComPtr<IEnumPins> pins;
    if (FAILED(filter->EnumPins(&pins)))
        return {};
    for (;;)
    {
        CComPtr<IPin> pin;
        if (pins->Next(1, &pin, nullptr) != S_OK)
            return {};
        PIN_DIRECTION found = PINDIR_INPUT;
        if (SUCCEEDED(pin->QueryDirection(&found)) && found == direction)
            return pin;
    }
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
    if (m_control)
        m_control->Stop();
    if (!m_graph)
        return;
    for (;;)
    {
        // Removing a filter ends an enumeration, so each round starts a new one.
        CComPtr<IEnumFilters> filters;
        CComPtr<IBaseFilter> filter;
        if (FAILED(m_graph->EnumFilters(&filters)) || filters->Next(1, &filter, nullptr) != S_OK ||
            FAILED(m_graph->RemoveFilter(filter)))
            return;
    }
}

void FilterGraph::Add(IBaseFilter* filter, const wchar_t* name)
{
    Check(m_graph->AddFilter(filter, name), "the graph refuses a filter");
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
