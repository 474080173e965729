#pragma once
/// The generic half of a source filter with one output pin: state, clock, graph, name, and the pin's life.
///
/// What the concrete filter T supplies, beside its COM map with IBaseFilter, IMediaFilter and IPersist:
///  - `LPCWSTR GetClassName() const noexcept override`: the name in its trace lines
///  - `bool QueryAcceptMT(const AM_MEDIA_TYPE* pmt) noexcept`: which types the pin accepts
///  - its class identifier through CComCoClass
///  - `FinalConstruct` and `FinalRelease` that call those of CSourceFilter
/// It may hide the hooks of CSourceFilter and CBaseFilter with its own of the same name, override CreatePin,
/// and override Stop and Pause around those of IBaseFilterImpl (holding m_lock, which is recursive). What the
/// output pin TOut supplies: see DSPins.h.

#include "dstl/WinAPI/Atl.h"

#include <atomic>

#include <control.h>
#include <strmif.h>
#include <vfwmsgs.h>

#include "dstl/WinAPI/Wrappers.h"
#include "dstl/dshowx/DSEnums.h"
#include "dstl/dshowx/DSPins.h"
#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/DSWrappers.h"

/// State, clock and graph of a filter, as far as they do not depend on its class.
class CFilterCore
{
public:
    CFilterCore(const CFilterCore&) = delete;
    CFilterCore& operator=(const CFilterCore&) = delete;

    /// The name in trace lines.
    virtual LPCWSTR GetClassName() const noexcept = 0;

    /// The state, without any lock: the worker asks too.
    FILTER_STATE FilterState() const noexcept { return m_eState; }

    wchar_t m_szName[cchDSName] = {};                   ///< the name under which the graph knows the filter
    IFilterGraph* m_pFilterGraphJoin = nullptr;         ///< the graph, not counted: it outlives its filters
    IMediaEventSink* m_pEventSink = nullptr;            ///< the graph's sink, not counted
    CComPtr<IReferenceClock> m_spClock;                 ///< stored and handed out; nothing reads it
    std::atomic<FILTER_STATE> m_eState = State_Stopped; ///< written under m_lock
    REFERENCE_TIME m_tStart = 0;                        ///< start time given to Run; stored only
    bool m_bGraphDumpDue = true;                        ///< write the graph to the log at the next start
    mutable CComAutoCriticalSection m_lock;             ///< guards all of the above

    /// Hands a new type to the graph, which connects the pin anew, unless pin and type need nothing.
    HRESULT MakeReconnect(const AM_MEDIA_TYPE* pmt, IPin* pPin) noexcept;

    HRESULT ReconnectPin(IPin* pPin, const AM_MEDIA_TYPE* pmt) noexcept;

    /// What the interface operations do behind their trace line.
    HRESULT CoreJoinFilterGraph(IFilterGraph* pGraph, LPCWSTR pName) noexcept;
    HRESULT CoreQueryFilterInfo(FILTER_INFO* pInfo) noexcept;
    HRESULT CoreSetSyncSource(IReferenceClock* pClock) noexcept;
    HRESULT CoreGetSyncSource(IReferenceClock** ppClock) noexcept;
    HRESULT CoreGetState(FILTER_STATE* State) noexcept;
    HRESULT CoreFindPin(IBaseFilter* pThis, LPCWSTR Id, IPin** ppPin) noexcept;
    HRESULT CoreGetClassID(REFCLSID clsid, CLSID* pClassID) noexcept;
    void TraceRun(REFERENCE_TIME tStart) noexcept;
    /// Reads the state under the lock.
    FILTER_STATE LockedState() const noexcept;

protected:
    CFilterCore() noexcept = default;
    ~CFilterCore();
};

/// State changes. \tparam T the filter
template <class T>
class CBaseFilter : public CFilterCore
{
public:
    /// Changes the state with the lock held: the allocator of the pin first, then the state.
    /// \return VFW_E_WRONG_STATE when there is no connected pin to start
    HRESULT ChangeState(FILTER_STATE eNew, REFERENCE_TIME tStart) noexcept;
    /// Stores a state; the first start after a stop writes the graph to the log.
    void SetState(FILTER_STATE eNew, REFERENCE_TIME tStart) noexcept;
    /// Writes the graph to the log.
    HRESULT ParseGraphToLogFile() noexcept { return E_NOTIMPL; }
};

/// IBaseFilter. \tparam T the filter, a CSourceFilter
template <class T>
class IBaseFilterImpl : public IBaseFilter
{
public:
    STDMETHOD(GetClassID)(CLSID* pClassID) noexcept override;
    STDMETHOD(Stop)() noexcept override;
    STDMETHOD(Pause)() noexcept override;
    STDMETHOD(Run)(REFERENCE_TIME tStart) noexcept override;
    STDMETHOD(GetState)(DWORD dwMilliSecsTimeout, FILTER_STATE* State) noexcept override;
    STDMETHOD(SetSyncSource)(IReferenceClock* pClock) noexcept override;
    STDMETHOD(GetSyncSource)(IReferenceClock** ppClock) noexcept override;
    STDMETHOD(EnumPins)(IEnumPins** ppEnum) noexcept override;
    STDMETHOD(FindPin)(LPCWSTR Id, IPin** ppPin) noexcept override;
    STDMETHOD(QueryFilterInfo)(FILTER_INFO* pInfo) noexcept override;
    STDMETHOD(JoinFilterGraph)(IFilterGraph* pGraph, LPCWSTR pName) noexcept override;
    STDMETHOD(QueryVendorInfo)(LPWSTR* pVendorInfo) noexcept override;

    virtual LPCWSTR GetClassName() const noexcept = 0;

private:
    T& Filter() noexcept { return *static_cast<T*>(this); }
};

/// A filter with one output pin. \tparam T the filter \tparam TOut the pin
template <class T, class TOut>
class CSourceFilter : public CBaseFilter<T>, public IBaseFilterImpl<T>
{
public:
    /// Makes the output pin. The default names it "Video Out".
    virtual HRESULT CreatePin() noexcept { return MakePin(L"Video Out"); }
    virtual ~CSourceFilter();

    /// One function for both bases.
    LPCWSTR GetClassName() const noexcept override = 0;

    HRESULT FinalConstruct() noexcept { return CreatePin(); }
    void FinalRelease() noexcept { ClearPin(); }

    /// The output pin, not counted; null without one.
    TOut* OutPin() const noexcept { return m_apOut; }

    /// Asked when a peer has accepted the connection. S_OK keeps it.
    HRESULT Filter_CompleteConnect(IPin*) noexcept { return S_OK; }
    /// Gives the result of a connection for which no type was found.
    HRESULT Filter_NoTypes(HRESULT) noexcept { return VFW_E_NO_ACCEPTABLE_TYPES; }
    /// Told before a connection without an allocator is broken.
    void Filter_Disconnect() noexcept {}

    CComPtr<CComObject<TOut>> m_apOut; ///< the output pin

protected:
    /// Makes a pin of this name in place of any earlier one; null or empty falls back to "Out".
    HRESULT MakePin(LPCWSTR pszName) noexcept;
    /// Lets the pin go. A host may go on holding it: it then has no filter.
    void ClearPin() noexcept;
};
