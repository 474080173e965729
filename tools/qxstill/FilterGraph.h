#pragma once
/// A filter graph as this program needs it: a source, a sink, and no clock unless one is asked for.

#include "Failure.h"
#include <atlbase.h>
#include <dshow.h>
#include <vector>

/// COM for the length of a scope.
class ComApartment
{
public:
    /// Throws Failure.
    explicit ComApartment(DWORD apartment)
    {
        Check(CoInitializeEx(nullptr, apartment), "COM does not start");
    }
    ~ComApartment() { CoUninitialize(); }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
};

/// The pin of `filter` with that direction, the first one that is there; empty if there is none.
CComPtr<IPin> FindPin(IBaseFilter* filter, PIN_DIRECTION direction);

/// Owns the platform's graph. Leaving the scope stops it and takes every filter out, also where one of them
/// does not stop.
class FilterGraph
{
public:
    /// Makes an empty graph without a clock: nothing waits for time stamps. Throws Failure.
    FilterGraph();
    ~FilterGraph();
    FilterGraph(const FilterGraph&) = delete;
    FilterGraph& operator=(const FilterGraph&) = delete;

    void Add(IBaseFilter* filter, const wchar_t* name);
    /// Stops the filter, disconnects its pins and takes it out.
    void Remove(IBaseFilter* filter);
    /// Connects the first output pin of one filter to the first input pin of another, with no filter between.
    HRESULT Connect(IBaseFilter* from, IBaseFilter* to);
    /// Starts the graph.
    void Run();
    void Pause();
    void Stop();
    /// Takes the platform's default clock instead of none, for the filters that are in the graph and those
    /// that come: renderers then show each frame at its time.
    void UseDefaultClock();

    /// One of the graph's interfaces; throws Failure with `what` where it has none.
    template <class T>
    CComPtr<T> Query(REFIID iid, const char* what) const
    {
        CComPtr<T> result;
        Check(m_graph->QueryInterface(iid, reinterpret_cast<void**>(&result)), what);
        return result;
    }

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
    CComPtr<IReferenceClock> m_clock; // null: none
    std::vector<CComPtr<IBaseFilter>> m_filters;
};
