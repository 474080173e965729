#pragma once
/// A downstream filter for tests, with one FakeInputPin. The test owns the object; counts are only kept.

#include "support/FakePin.h"

#include <string>

class FakeFilter : public IBaseFilter
{
public:
    /// \param pLog optional; receives "<name>.Pause" and so on, and the pin's calls as "in.Receive"
    explicit FakeFilter(CallLog* pLog = nullptr, std::string sName = "sink");
    virtual ~FakeFilter();
    FakeFilter(const FakeFilter&) = delete;
    FakeFilter& operator=(const FakeFilter&) = delete;

    long Refs() const { return m_nRefs; }

    FakeInputPin m_pin;
    /// Opened by Stop, as a renderer lets go of a blocked Receive.
    bool m_bStopOpensGate = true;
    FILTER_STATE m_eState = State_Stopped;

    // IUnknown
    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) override;
    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++m_nRefs); }
    STDMETHOD_(ULONG, Release)() override { return static_cast<ULONG>(--m_nRefs); }
    // IBaseFilter
    STDMETHOD(GetClassID)(CLSID* pClassID) override;
    STDMETHOD(Stop)() override;
    STDMETHOD(Pause)() override;
    STDMETHOD(Run)(REFERENCE_TIME tStart) override;
    STDMETHOD(GetState)(DWORD, FILTER_STATE* State) override;
    STDMETHOD(SetSyncSource)(IReferenceClock*) override { return S_OK; }
    STDMETHOD(GetSyncSource)(IReferenceClock** ppClock) override;
    STDMETHOD(EnumPins)(IEnumPins**) override { return E_NOTIMPL; }
    STDMETHOD(FindPin)(LPCWSTR, IPin**) override { return E_NOTIMPL; }
    STDMETHOD(QueryFilterInfo)(FILTER_INFO* pInfo) override;
    STDMETHOD(JoinFilterGraph)(IFilterGraph* pGraph, LPCWSTR) override;
    STDMETHOD(QueryVendorInfo)(LPWSTR*) override { return E_NOTIMPL; }

private:
    void Enter(const char* pszCall);

    CallLog* const m_pLog;
    const std::string m_sName;
    std::atomic<long> m_nRefs = 0;
    IFilterGraph* m_pGraph = nullptr; ///< not counted
};
