#pragma once
/// A filter graph as this program needs it: a source, a sink, no clock.

#include "dstl/WinAPI/Platform.h"
#include <atlbase.h>
#include <dshow.h>

/// The pin of `filter` with that direction, the first one that is there; empty if there is none.
CComPtr<IPin> FindPin(IBaseFilter* filter, PIN_DIRECTION direction);

/// Owns the platform's graph. Leaving the scope stops it and takes every filter out.
class FilterGraph
{
public:
    /// Makes an empty graph without a clock: nothing waits for time stamps. Throws Failure.
    FilterGraph();
    ~FilterGraph();
    FilterGraph(const FilterGraph&) = delete;
    FilterGraph& operator=(const FilterGraph&) = delete;

    void Add(IBaseFilter* filter, const wchar_t* name);
    void Remove(IBaseFilter* filter) { m_graph->RemoveFilter(filter); }
    /// Connects the first output pin of one filter to the first input pin of another, with no filter between.
    HRESULT Connect(IBaseFilter* from, IBaseFilter* to);
    void Run();
    void Stop();

    /// Signalled while the graph has events to tell. Owned by the graph.
    HANDLE EventHandle() const { return m_eventHandle; }
    /// Takes one event from the queue.
    /// @param result the event's first parameter, which for an abort is the reason
    bool NextEvent(long& code, HRESULT& result);

private:
    CComPtr<IGraphBuilder> m_graph;
    CComPtr<IMediaControl> m_control;
    CComPtr<IMediaEvent> m_events;
    HANDLE m_eventHandle = nullptr;
};
