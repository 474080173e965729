#pragma once
/// The generic half of a source filter with one output pin: state, clock, graph, name, and the pin's life.
///
/// What the concrete filter T supplies, beside its COM map with IBaseFilter, IMediaFilter and IPersist:
///  - `LPCWSTR GetClassName() const noexcept override`: the name in its trace lines
///  - `bool QueryAcceptMT(const AM_MEDIA_TYPE* pmt) noexcept`: which types the pin accepts
///  - its class identifier through CComCoClass
///  - `FinalConstruct` and `FinalRelease` that call those of CSourceFilter
/// It may hide the hooks of CSourceFilter and CBaseFilter with its own of the same name, override CreatePin,
/// and override Stop and Pause around those of IBaseFilterImpl (within a CStateChange). What the output pin
/// TOut supplies: see DSPins.h.
///
/// m_lock is the turn to change the state. A thread that is within a call of the filter or its pin does not
/// wait for its turn: see CStateChange.

#include "dstl/WinAPI/Atl.h"

#include <atomic>
#include <utility>

#include <control.h>
#include <strmif.h>
#include <vfwmsgs.h>

#include "dstl/WinAPI/Wrappers.h"
#include "dstl/dshowx/DSEnums.h"
#include "dstl/dshowx/dumps/GuidNames.h"
#include "dstl/dshowx/dumps/TimeText.h"
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

    /// Hands a new type to the graph, which connects the pin anew, unless pin and type need nothing.
    HRESULT MakeReconnect(const AM_MEDIA_TYPE* pmt, IPin* pPin) noexcept;

    HRESULT ReconnectPin(IPin* pPin, const AM_MEDIA_TYPE* pmt) noexcept;

    /// Writes the whole graph of the filter to the log, as one text. Without a log it asks the graph nothing.
    void ParseGraphToLogFile() noexcept;

    /// A counted copy of the graph, for any thread; null when in none.
    CComPtr<IFilterGraph> GetGraph() const noexcept;
    /// Stores a graph and the name in it, or null. \return false for a second graph, which changes nothing
    bool SetGraph(IFilterGraph* pGraph, LPCWSTR pName) noexcept;
    /// With m_crsJoin held.
    void ClearGraph() noexcept;

protected:
    template <class>
    friend class IBaseFilterImpl;

    CFilterCore() noexcept = default;
    ~CFilterCore();

    wchar_t m_szName[cchDSName] = {};                   ///< the name under which the graph knows the filter
    IFilterGraph* m_pFilterGraphJoin = nullptr;         ///< the graph, not counted: it outlives its filters
    IMediaEventSink* m_pEventSink = nullptr;            ///< the graph's sink, not counted
    CComPtr<IReferenceClock> m_spClock;                 ///< stored and handed out; nothing reads it
    std::atomic<FILTER_STATE> m_eState = State_Stopped; ///< written under m_lock
    REFERENCE_TIME m_tStart = 0;                        ///< start time given to Run; stored only
    bool m_bGraphDumpDue = true; ///< write the graph to the log at the next start; written under m_lock
    mutable CCritSec m_lock;     ///< the turn to change the state; held by a Stop that waits for the worker
    /// Leaf; guards the name, the graph and the clock: who asks for them or sets them may be the peer within
    /// a Receive that a Stop, holding m_lock, waits for.
    mutable CCritSec m_crsJoin;

    int m_nStateChanges = 0;                 ///< depth of CStateChange; guarded by m_lock
    unsigned m_nStops = 0;                   ///< changes to State_Stopped, counted round; guarded by m_lock
    bool m_bDumpNow = false;                 ///< behind the change of state; guarded by m_lock
    std::atomic<bool> m_bStopWanted = false; ///< a Stop was left to the thread that has m_lock
};

/// State changes. \tparam T the filter
template <class T>
class CBaseFilter : public CFilterCore
{
public:
    /// One change of the state, or a part of one: holds m_lock.
    ///
    /// A thread that is within a call of the filter or its pin does not wait for the lock, whose owner may be
    /// waiting for that call. Its Stop is left to the owner, who stops before the lock goes; its Pause and
    /// Run are refused. The graph is written to the log behind the outermost change, without the lock.
    class CStateChange
    {
    public:
        CStateChange(CBaseFilter& filter, FILTER_STATE eTo) noexcept : m_filter(filter)
        {
            auto* const pOut = filter.Filter().OutPin();
            const bool bInCall = filter.IsInCall();
            if (!bInCall)
                filter.m_lock.Lock();
            else if ((pOut != nullptr && pOut->IsInStateCall()) || !filter.m_lock.TryLock())
            {
                m_bRefused = true;
                if (eTo == State_Stopped)
                {
                    filter.m_bStopWanted = true;
                    StopIfLeftOver(); // the owner may just have looked for the last time
                }
                else
                    m_hrRefused = VFW_E_STATE_CHANGED;
                return;
            }
            ++filter.m_nStateChanges;
        }
        ~CStateChange()
        {
            if (m_bRefused)
                return;
            const bool bOutermost = --m_filter.m_nStateChanges == 0;
            const bool bDump = bOutermost && m_filter.m_bDumpNow;
            if (bDump)
                m_filter.m_bDumpNow = false;
            m_filter.m_lock.Unlock();
            if (bOutermost)
                StopIfLeftOver();
            if (bDump)
                m_filter.Filter().ParseGraphToLogFile();
        }
        CStateChange(const CStateChange&) = delete;
        CStateChange& operator=(const CStateChange&) = delete;

        bool IsRefused() const noexcept { return m_bRefused; }
        /// S_OK for a Stop, which is left to another thread; VFW_E_STATE_CHANGED.
        HRESULT Refusal() const noexcept { return m_hrRefused; }
        /// Whether a Stop has been left to this change.
        bool IsStopWanted() const noexcept { return m_filter.m_bStopWanted; }
        /// Writes the graph to the log where that is due, before a pump starts. The lock is let go meanwhile:
        /// the graph may be stopping the filter on another thread. \return false when the filter has been
        /// stopped meanwhile
        bool WriteGraph() noexcept
        {
            if (m_filter.m_nStateChanges > 1 || !m_filter.m_bDumpNow)
                return true;
            m_filter.m_bDumpNow = false;
            const unsigned nStops = m_filter.m_nStops;
            m_filter.m_nStateChanges = 0;
            m_filter.m_lock.Unlock();
            m_filter.Filter().ParseGraphToLogFile();
            m_filter.m_lock.Lock();
            m_filter.m_nStateChanges = 1;
            return m_filter.m_nStops == nStops;
        }
        /// The end of a change to State_Stopped. \param hr its result, which is returned
        HRESULT Stopped(HRESULT hr) noexcept
        {
            m_filter.m_bStopWanted = false;
            return hr;
        }
        /// The end of a start, which stops again if a Stop has been left to it.
        /// \param hr its result \return hr, or VFW_E_STATE_CHANGED for a success that did not last
        HRESULT Started(HRESULT hr) noexcept
        {
            if (m_filter.m_nStateChanges > 1 || !m_filter.m_bStopWanted)
                return hr;
            m_filter.Filter().Stop();
            return FAILED(hr) ? hr : VFW_E_STATE_CHANGED;
        }

    private:
        void StopIfLeftOver() noexcept
        {
            if (!m_filter.m_bStopWanted || !m_filter.m_lock.TryLock())
                return; // or the new owner looks for it
            if (m_filter.m_nStateChanges == 0)
                m_filter.Filter().Stop();
            m_filter.m_lock.Unlock();
        }

        CBaseFilter& m_filter;
        bool m_bRefused = false;
        HRESULT m_hrRefused = S_OK;
    };

    /// Whether the caller is within a call of the filter or its pin to somebody else.
    bool IsInCall() noexcept
    {
        auto* const pOut = Filter().OutPin();
        return m_crsJoin.IsMine() || (pOut != nullptr && pOut->IsInCall());
    }

    /// Changes the state with the lock held: the allocator of the pin first, then the state.
    /// \return VFW_E_WRONG_STATE when there is no connected pin to start, or while its connection is being
    /// made or broken
    HRESULT ChangeState(FILTER_STATE eNew, REFERENCE_TIME tStart) noexcept
    {
        auto* const pOut = Filter().OutPin();
        const bool bStart = eNew != State_Stopped;
        if (bStart && (pOut == nullptr || !pOut->BeginStart()))
        {
            SetState(State_Stopped, 0);
            return VFW_E_WRONG_STATE;
        }
        const HRESULT hr = pOut != nullptr ? pOut->AllocatorActivate(bStart) : VFW_E_NOT_CONNECTED;
        if (hr == S_OK)
            SetState(eNew, tStart);
        if (bStart)
            pOut->EndStart();
        return hr;
    }
    /// Stores a state; the first start after a stop writes the graph to the log. One within a call of the
    /// filter leaves that to the next: the graph may be waiting for that call.
    void SetState(FILTER_STATE eNew, REFERENCE_TIME tStart) noexcept
    {
        if (eNew == State_Stopped)
        {
            m_bGraphDumpDue = true;
            m_nStops++;
        }
        else if (m_bGraphDumpDue && !IsInCall())
        {
            m_bGraphDumpDue = false;
            m_bDumpNow = true;
        }
        m_eState = eNew;
        if (eNew == State_Running)
            m_tStart = tStart;
    }

private:
    T& Filter() noexcept { return *static_cast<T*>(this); }
};

/// IBaseFilter. \tparam T the filter, a CSourceFilter
template <class T>
class IBaseFilterImpl : public IBaseFilter
{
public:
    STDMETHOD(GetClassID)(CLSID* pClassID) noexcept override
    {
        trace(atlTraceGeneral, eTL_Frame, L"%s IBaseFilterImpl::GetClassID\n", this->GetClassName());
        DSASSERT(pClassID != NULL);
        if (pClassID == nullptr)
            return E_INVALIDARG;
        *pClassID = T::GetObjectCLSID();
        return S_OK;
    }
    /// A running filter pauses first.
    STDMETHOD(Stop)() noexcept override
    {
        typename CBaseFilter<T>::CStateChange change(Filter(), State_Stopped);
        if (change.IsRefused())
            return change.Refusal();
        trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::Stop\n", GetClassName());
        if (Filter().FilterState() == State_Running)
        {
            trace(atlTraceGeneral, eTL_Warning,
                  L"WARNING. %s IBaseFilterImpl::Stop(): current state is State_Running, call Pause() "
                  L"command\n",
                  GetClassName());
            const HRESULT hr = this->Pause();
            if (FAILED(hr))
            {
                trace(atlTraceGeneral, eTL_Error, L"###Err### %s IBaseFilterImpl::Stop(): Pause()=0x%X\n",
                      GetClassName(), static_cast<unsigned>(hr));
                return change.Stopped(hr);
            }
            trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::Stop(): stop after pause\n",
                  GetClassName());
        }
        return change.Stopped(Filter().ChangeState(State_Stopped, 0));
    }
    STDMETHOD(Pause)() noexcept override
    {
        trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::Pause\n", GetClassName());
        typename CBaseFilter<T>::CStateChange change(Filter(), State_Paused);
        if (change.IsRefused())
            return change.Refusal();
        return change.Started(Filter().ChangeState(State_Paused, 0));
    }
    /// A stopped filter pauses first.
    STDMETHOD(Run)(REFERENCE_TIME tStart) noexcept override
    {
        trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::Run( %s )\n", GetClassName(),
              RefTimeText(tStart, CTimeText().sz));
        if (Filter().FilterState() == State_Stopped)
        {
            trace(
                atlTraceGeneral, eTL_Warning,
                L"WARNING. %s IBaseFilterImpl::Run(): current state is State_Stopped, call Pause() command\n",
                GetClassName());
            const HRESULT hr = this->Pause();
            if (FAILED(hr))
            {
                trace(atlTraceGeneral, eTL_Error, L"###Err### %s IBaseFilterImpl::Run(): Pause()=0x%X\n",
                      GetClassName(), static_cast<unsigned>(hr));
                return hr;
            }
            trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::Run(): run after pause\n", GetClassName());
        }
        typename CBaseFilter<T>::CStateChange change(Filter(), State_Running);
        if (change.IsRefused())
            return change.Refusal();
        if (Filter().FilterState() == State_Stopped)
            return VFW_E_STATE_CHANGED; // another thread has stopped the filter since
        return change.Started(Filter().ChangeState(State_Running, tStart));
    }
    STDMETHOD(GetState)(DWORD, FILTER_STATE* State) noexcept override
    {
        T& filter = Filter();
        trace(atlTraceGeneral, eTL_Frame, L"%s IBaseFilterImpl::GetState\n", this->GetClassName());
        DSASSERT(State != NULL);
        if (State == nullptr)
            return E_POINTER;
        *State = filter.FilterState();
        return S_OK;
    }
    STDMETHOD(SetSyncSource)(IReferenceClock* pClock) noexcept override
    {
        T& filter = Filter();
        CComPtr<IReferenceClock> spClock(pClock); // the old clock is released outside the lock
        {
            CScopedLock crs(&filter.m_crsJoin);
            std::swap(filter.m_spClock.p, spClock.p);
        }
        if (pClock == nullptr)
        {
            trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::SetSyncSource( NULL )\n",
                  this->GetClassName());
            return S_OK;
        }
        CComPtr<IPersist> spPersist;
        if (FAILED(pClock->QueryInterface(IID_IPersist, reinterpret_cast<void**>(&spPersist))) || !spPersist)
        {
            trace(atlTraceGeneral, eTL_Warning,
                  L"WARNING. %s IBaseFilterImpl::SetSyncSource( 0x%X ): clock hasn't CLSID\n",
                  this->GetClassName(), TracePtr(pClock));
            return S_OK;
        }
        CLSID clsid = CLSID_NULL;
        const HRESULT hr = spPersist->GetClassID(&clsid);
        if (FAILED(hr))
            trace(atlTraceGeneral, eTL_Error,
                  L"###Err### %s IBaseFilterImpl::SetSyncSource( 0x%X ): spPersist->GetClassID()=0x%X\n",
                  this->GetClassName(), TracePtr(pClock), static_cast<unsigned>(hr));
        else
            trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::SetSyncSource( 0x%X ): CLSID = %s\n",
                  this->GetClassName(), TracePtr(pClock), GuidText(clsid, CGuidText().sz));
        return S_OK;
    }
    STDMETHOD(GetSyncSource)(IReferenceClock** ppClock) noexcept override
    {
        T& filter = Filter();
        trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::GetSyncSource\n", this->GetClassName());
        CScopedLock crs(&filter.m_crsJoin);
        return filter.m_spClock.CopyTo(ppClock);
    }
    STDMETHOD(EnumPins)(IEnumPins** ppEnum) noexcept override
    {
        trace(atlTraceGeneral, eTL_Frame, L"%s IBaseFilterImpl::EnumPins\n", GetClassName());
        // No lock: the pin stays the same from the construction on, and m_lock may be held by a Stop that
        // waits for the worker, in whose Receive a peer asks for the pins.
        return CComDSEnum<CPinAccessor<T>, IEnumPins>::Create(ppEnum, &Filter(), 0);
    }
    STDMETHOD(FindPin)(LPCWSTR Id, IPin** ppPin) noexcept override
    {
        trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::FindPin\n", this->GetClassName());
        DSASSERT(ppPin != NULL && Id != NULL);
        if (ppPin == nullptr || Id == nullptr)
            return E_POINTER;
        *ppPin = nullptr;

        CComPtr<IEnumPins> spEnum;
        HRESULT hr = this->EnumPins(&spEnum);
        if (hr != S_OK)
            return DSTLFailure(hr);
        spEnum->Reset();
        for (;;)
        {
            CComPtr<IPin> spPin;
            hr = spEnum->Next(1, &spPin, nullptr);
            if (hr != S_OK)
                return hr == S_FALSE ? VFW_E_NOT_FOUND : E_FAIL;
            COwnedTask<WCHAR> strId;
            if (SUCCEEDED(spPin->QueryId(strId.Out())) && wcscmp(strId.Get(), Id) == 0)
            {
                *ppPin = spPin.Detach();
                return S_OK;
            }
        }
    }
    STDMETHOD(QueryFilterInfo)(FILTER_INFO* pInfo) noexcept override
    {
        T& filter = Filter();
        trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::QueryFilterInfo\n", this->GetClassName());
        DSASSERT(pInfo != NULL);
        if (pInfo == nullptr)
            return E_INVALIDARG;
        CScopedLock crs(&filter.m_crsJoin);
        CopyDSName(pInfo->achName, filter.m_szName);
        pInfo->pGraph = CComPtr<IFilterGraph>(filter.m_pFilterGraphJoin).Detach();
        return S_OK;
    }
    STDMETHOD(JoinFilterGraph)(IFilterGraph* pGraph, LPCWSTR pName) noexcept override
    {
        T& filter = Filter();
        trace(atlTraceGeneral, eTL_Main, L"%s IBaseFilterImpl::JoinFilterGraph( 0x%08X, '%s' )\n",
              this->GetClassName(), TracePtr(pGraph), pName != nullptr ? pName : L"");
        // The pointer is not counted: the graph holds the filter and outlives its membership. It is stored
        // before the graph is asked, so that no other thread joins meanwhile, and no lock is held while it is
        // asked.
        const bool bJoins = filter.SetGraph(pGraph, pName);
        DSASSERT_TEXT(bJoins, "pT->m_pFilterGraphJoin == NULL || pGraph == NULL");
        if (!bJoins)
            return E_FAIL;
        if (pGraph == nullptr)
            return S_OK;
        CComPtr<IMediaEventSink> spEventSink;
        const HRESULT hr =
            pGraph->QueryInterface(IID_IMediaEventSink, reinterpret_cast<void**>(&spEventSink));
        CScopedLock crs(&filter.m_crsJoin);
        if (filter.m_pFilterGraphJoin != pGraph)
            return FAILED(hr) ? hr
                              : VFW_E_STATE_CHANGED; // the graph has taken the filter out within its answer
        if (SUCCEEDED(hr))
            filter.m_pEventSink = spEventSink; // not counted either
        else
            filter.ClearGraph();
        return FAILED(hr) ? hr : S_OK;
    }
    STDMETHOD(QueryVendorInfo)(LPWSTR*) noexcept override
    {
        return DSTLNotImpl(L"IBaseFilterImpl::QueryVendorInfo");
    }

    virtual LPCWSTR GetClassName() const noexcept = 0;

private:
    T& Filter() noexcept { return *static_cast<T*>(this); }
};

/// A filter with one output pin. \tparam T the filter \tparam TOut the pin
template <class T, class TOut>
class CSourceFilter : public CBaseFilter<T>, public IBaseFilterImpl<T>
{
public:
    /// The name in trace lines: one operation for both bases.
    LPCWSTR GetClassName() const noexcept override = 0;
    /// Makes the output pin. The default names it "Video Out".
    virtual HRESULT CreatePin() noexcept { return MakePin(L"Video Out"); }
    virtual ~CSourceFilter()
    {
        if (m_apOut)
            m_apOut->SetFilter(nullptr); // FinalRelease has not run
    }

    HRESULT FinalConstruct() noexcept { return CreatePin(); }
    void FinalRelease() noexcept { ClearPin(); }

    /// The output pin, not counted; null without one.
    TOut* OutPin() const noexcept { return m_apOut; }

    /// Asked when a peer has accepted the connection; S_OK keeps it.
    HRESULT Filter_CompleteConnect(IPin*) noexcept { return S_OK; }
    /// Gets the quality messages that arrive at the pin. No frame is dropped for them, and no rate changed.
    HRESULT Filter_Notify(IBaseFilter*, const Quality&) noexcept { return S_OK; }

protected:
    CComPtr<CComObject<TOut>> m_apOut; ///< the output pin

    /// Makes a pin of this name in place of any earlier one; null or empty falls back to "Out".
    HRESULT MakePin(LPCWSTR pszName) noexcept
    {
        ClearPin();
        CComPtr<CComObject<TOut>> spOut;
        const HRESULT hr = DSTLCreateObject(&spOut);
        if (FAILED(hr))
            return hr;
        spOut->SetName(pszName != nullptr && *pszName != L'\0' ? pszName : L"Out");
        spOut->SetFilter(static_cast<T*>(this));
        m_apOut = std::move(spOut);
        DSASSERT_TEXT(m_apOut->Direction() == PINDIR_OUTPUT, "m_apOut->m_ePinDir == PINDIR_OUTPUT");
        return S_OK;
    }
    /// Lets the pin go. A host may go on holding it: it then has no filter.
    void ClearPin() noexcept
    {
        if (!m_apOut)
            return;
        DSASSERT(static_cast<T*>(this)->FilterState() == State_Stopped);
        DSASSERT(!m_apOut->IsConnected());
        if (m_apOut->IsConnected())
            trace(atlTraceGeneral, eTL_Error, L"###Err### %s ClearPin(): Pin not disconnected\n",
                  GetClassName());
        m_apOut->SetFilter(nullptr);
        m_apOut.Release();
    }
};
