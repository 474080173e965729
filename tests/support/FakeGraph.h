#pragma once
/// A filter graph for tests: with or without IFilterGraph2 and IMediaEventSink, reconnections recorded and
/// scriptable. The test owns the object; reference counts are only kept.

#include "dstl/dshowx/DSTypes.h"
#include "support/CallLog.h"

#include <strmif.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

class FakeGraph : public IFilterGraph2, public IMediaEventSink
{
public:
    /// \param pLog optional; receives "graph.Reconnect" and "graph.ReconnectEx"
    explicit FakeGraph(CallLog* pLog = nullptr) : m_pLog(pLog) {}
    virtual ~FakeGraph() = default;
    FakeGraph(const FakeGraph&) = delete;
    FakeGraph& operator=(const FakeGraph&) = delete;

    long Refs() const { return m_nRefs; }
    /// The graph as filters join it.
    IFilterGraph* Graph() { return static_cast<IFilterGraph2*>(this); }

    // --- Scripts
    bool m_bGraph2 = true;
    HRESULT m_hrEventSink = S_OK; ///< what the query for IMediaEventSink answers
    HRESULT m_hrReconnect = S_OK; ///< result of both reconnections when they do nothing
    /// Disconnect and connect the pin anew, as a real graph does.
    bool m_bReallyReconnect = false;
    /// Called within a reconnection, before it is done.
    std::function<void(IPin*)> m_onReconnect;
    /// Called within EnumFilters, which has none to give.
    std::function<void()> m_onEnumFilters;

    struct Reconnection
    {
        IPin* pPin;
        bool bEx;
        bool bType; ///< a type came along
        CMType mt;
    };
    std::vector<Reconnection> Reconnections() const;

    // IUnknown
    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) override;
    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++m_nRefs); }
    STDMETHOD_(ULONG, Release)() override { return static_cast<ULONG>(--m_nRefs); }
    // IFilterGraph
    STDMETHOD(AddFilter)(IBaseFilter* pFilter, LPCWSTR pName) override;
    STDMETHOD(RemoveFilter)(IBaseFilter* pFilter) override;
    STDMETHOD(EnumFilters)(IEnumFilters**) override
    {
        if (m_onEnumFilters)
            m_onEnumFilters();
        return E_NOTIMPL;
    }
    STDMETHOD(FindFilterByName)(LPCWSTR, IBaseFilter**) override { return E_NOTIMPL; }
    STDMETHOD(ConnectDirect)(IPin* ppinOut, IPin* ppinIn, const AM_MEDIA_TYPE* pmt) override;
    STDMETHOD(Reconnect)(IPin* ppin) override;
    STDMETHOD(Disconnect)(IPin* ppin) override;
    STDMETHOD(SetDefaultSyncSource)() override { return E_NOTIMPL; }
    // IGraphBuilder
    STDMETHOD(Connect)(IPin*, IPin*) override { return E_NOTIMPL; }
    STDMETHOD(Render)(IPin*) override { return E_NOTIMPL; }
    STDMETHOD(RenderFile)(LPCWSTR, LPCWSTR) override { return E_NOTIMPL; }
    STDMETHOD(AddSourceFilter)(LPCWSTR, LPCWSTR, IBaseFilter**) override { return E_NOTIMPL; }
    STDMETHOD(SetLogFile)(DWORD_PTR) override { return E_NOTIMPL; }
    STDMETHOD(Abort)() override { return E_NOTIMPL; }
    STDMETHOD(ShouldOperationContinue)() override { return S_OK; }
    // IFilterGraph2
    STDMETHOD(AddSourceFilterForMoniker)(IMoniker*, IBindCtx*, LPCWSTR, IBaseFilter**) override
    {
        return E_NOTIMPL;
    }
    STDMETHOD(ReconnectEx)(IPin* ppin, const AM_MEDIA_TYPE* pmt) override;
    STDMETHOD(RenderEx)(IPin*, DWORD, DWORD*) override { return E_NOTIMPL; }
    // IMediaEventSink
    STDMETHOD(Notify)(LONG, LONG_PTR, LONG_PTR) override { return S_OK; }

private:
    HRESULT DoReconnect(IPin* pPin, const AM_MEDIA_TYPE* pmt, bool bEx);

    CallLog* const m_pLog;
    std::atomic<long> m_nRefs = 0;
    mutable std::mutex m_lock;
    std::vector<Reconnection> m_reconnections;
};
