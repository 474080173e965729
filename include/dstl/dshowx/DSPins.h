#pragma once
/// The generic output pin: connection, choice of media type and allocator, delivery.
///
/// What the concrete pin T supplies, beside its COM map with IPin:
///  - `LPCWSTR GetClassName() const noexcept override`: the name in its trace lines
///  - `void ApplyOutputType(const AM_MEDIA_TYPE* pmt) noexcept`: makes pmt the current type
///  (CMTSingle::SetMediaType)
///    and derives what depends on it; called with the pin's lock held, or on the worker
///  - bases COutputPin<T, TFilter>, IPinImpl<T>, CStdAllocator<T, 0>, CMTSingle, in this order
/// What the concrete filter TFilter supplies to its pin:
///  - `bool QueryAcceptMT(const AM_MEDIA_TYPE* pmt) noexcept`
///  - FilterState(), IBaseFilter and the hooks of CSourceFilter (DSFilters.h)
///
/// Locks: m_lock is held across the whole of Connect and Disconnect, and nobody takes it within a change of
/// state. m_crsLink is a leaf: it is held for counted copies and for stores of the link's pointers only.
///
/// Calls from within calls: a thread that is within a call of the pin to somebody else never waits for
/// another thread, which may be waiting for that call. It asks IsInCall, and what it cannot have at once is
/// refused.

#include "dstl/WinAPI/Atl.h"

#include <atomic>

#include <strmif.h>
#include <vfwmsgs.h>

#include "dstl/WinAPI/Wrappers.h"
#include "dstl/dshowx/DSAllocators.h"
#include "dstl/dshowx/DSEnums.h"
#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/DSTypes.h"
#include "dstl/dshowx/DSWrappers.h"

/// What a pin is without its filter: direction, name, peer, locks.
class CPin
{
public:
    CPin() noexcept = default;
    CPin(const CPin&) = delete;
    CPin& operator=(const CPin&) = delete;

    /// The name in trace lines.
    virtual LPCWSTR GetClassName() const noexcept = 0;
    virtual ~CPin() = default;

    /// "Out" or "In".
    LPCWSTR DirectionName() const noexcept { return m_ePinDir == PINDIR_OUTPUT ? L"Out" : L"In"; }
    /// Whether there is a peer.
    bool IsConnected() const noexcept { return GetPeer() != nullptr; }
    /// A counted copy of the peer, for any thread; null when not connected.
    CComPtr<IPin> GetPeer() const noexcept;
    /// Whether a peer's direction differs from this pin's.
    bool CheckDirection(IPin* pPeer) const noexcept;
    bool IsCounterpart(IPin* pPeer) const noexcept { return CheckDirection(pPeer); }

    /// Writes the entry line of an interface operation: "<class> IPinImpl::<operation>() [Out]".
    /// \param pszFormat with the class and the direction
    void TracePin(UINT nLevel, LPCWSTR pszFormat) const noexcept
    {
        trace(atlTraceGeneral, nLevel, pszFormat, GetClassName(), DirectionName());
    }

    /// Marks the calling thread for a scope as one that is within a call of its filter's change of state.
    class CStateCall
    {
    public:
        explicit CStateCall(CPin& pin) noexcept : m_pin(pin) { m_pin.m_nStateThread = GetCurrentThreadId(); }
        ~CStateCall() { m_pin.m_nStateThread = 0; }
        CStateCall(const CStateCall&) = delete;
        CStateCall& operator=(const CStateCall&) = delete;

    private:
        CPin& m_pin;
    };
    /// Whether the caller is within a call of the filter's change of state.
    bool IsInStateCall() const noexcept { return m_nStateThread == GetCurrentThreadId(); }

    /// Begins a start of the filter, which excludes a connection or disconnection until EndStart.
    /// \return false without a connection, or while one is being made or broken
    bool BeginStart() noexcept;
    void EndStart() noexcept;

    PIN_DIRECTION m_ePinDir = PINDIR_OUTPUT;
    wchar_t m_szName[cchDSName] = {}; ///< name and identifier
    CComPtr<IPin> m_spConnected;      ///< the peer; written under m_lock and m_crsLink
    mutable CCritSec m_lock;          ///< guards connection and format
    mutable CCritSec m_crsLink;       ///< leaf; guards the pointers of the link

protected:
    /// Stores or drops the peer. The old one is released outside the leaf lock.
    void SetPeer(IPin* pPeer) noexcept;

    bool m_bStarting = false; ///< the filter is about to leave State_Stopped; guarded by m_crsLink
    bool m_bLinking = false;  ///< a connection is being made or broken; guarded by m_crsLink

private:
    std::atomic<DWORD> m_nStateThread = 0; ///< the thread within a CStateCall
};

/// What a frame has to know of the media type.
struct StreamFormat
{
    PicProps pic{};             ///< zero for a type without a picture
    REFERENCE_TIME rtFrame = 0; ///< length of a frame in units of 100 ns, 0 where the type says nothing
};

/// A pin's only media type, with what is derived from it. Copies may be taken on any thread while the worker
/// stores a new type.
class CMTSingle
{
public:
    /// Stores a deep copy; null, or a type that cannot be copied, stores the empty type.
    void SetMediaType(const AM_MEDIA_TYPE* pmt) noexcept;
    /// A deep copy into a record that holds nothing yet, a fresh CMType for instance.
    /// \return S_OK, or a failure that leaves the record as it was
    HRESULT CopyMediaType(AM_MEDIA_TYPE* pmt) const noexcept;
    /// The enumerator's view: a fresh copy in task memory for index 0 of a type that is set.
    /// \return S_OK, S_FALSE behind the end, E_OUTOFMEMORY
    HRESULT GetMediaType(ULONG i, AM_MEDIA_TYPE** ppmt) const noexcept;

    StreamFormat GetStreamFormat() const noexcept;
    PicProps GetPicProps() const noexcept;
    REFERENCE_TIME FrameTime() const noexcept;

private:
    friend struct PinProbe; // tests

    CMType m_theMediaType;      ///< the current type
    PicProps m_picType{};       ///< its picture
    mutable CCritSec m_crsType; ///< leaf; guards both
};

/// What the code that does not depend on the concrete classes asks of them; COutputPin answers. It is a table
/// of its own, so that the object's primary table holds the name accessor and the destructor only.
class COutputPinHooks
{
protected:
    ~COutputPinHooks() = default;

public:
    virtual IPin* HookPin() noexcept = 0;
    virtual CMTSingle& HookMediaType() noexcept = 0;
    virtual CAllocatorMatchBase& HookAllocator() noexcept = 0;
    /// The owning filter; null without one, and from the end of its last reference on.
    virtual CComPtr<IBaseFilter> HookFilter() const noexcept = 0;
    /// State_Stopped without a filter.
    virtual FILTER_STATE HookFilterState() const noexcept = 0;
    /// Whether the caller is within a call of the stream: of the thread that sends, or of a flush.
    virtual bool HookIsStreamCall() const noexcept { return false; }
    virtual bool HookQueryAcceptMT(const AM_MEDIA_TYPE* pmt) noexcept = 0;
    virtual void HookApplyOutputType(const AM_MEDIA_TYPE* pmt) noexcept = 0;
    virtual HRESULT HookAllocatorAgree(IMemInputPin* pMemInput) noexcept = 0;
    /// The filter's own hooks; see CSourceFilter.
    virtual HRESULT HookCompleteConnect(IPin* pReceivePin) noexcept = 0;
    virtual HRESULT HookNoTypes(HRESULT hr) noexcept = 0;
    virtual void HookDisconnect() noexcept = 0;
};

/// Connection and delivery of an output pin.
class COutputPinBase : public CPin, public COutputPinHooks
{
public:
    /// What the operations of IPin do; IPinImpl calls them. Each traces its name.
    /// @{
    HRESULT PinConnect(IPin* pReceivePin, const AM_MEDIA_TYPE* pmt) noexcept;
    HRESULT PinDisconnect() noexcept;
    HRESULT PinConnectedTo(IPin** ppPin) noexcept;
    HRESULT PinConnectionMediaType(AM_MEDIA_TYPE* pmt) noexcept;
    HRESULT PinQueryPinInfo(PIN_INFO* pInfo) noexcept;
    HRESULT PinQueryDirection(PIN_DIRECTION* pPinDir) noexcept;
    HRESULT PinQueryId(LPWSTR* Id) noexcept;
    HRESULT PinQueryAccept(const AM_MEDIA_TYPE* pmt) noexcept;
    HRESULT PinQueryInternalConnections() noexcept;
    /// @}

    /// An empty sample of the agreed allocator. \param dwFlags of IMemAllocator::GetBuffer
    HRESULT GetSample(IMediaSample** ppSample, DWORD dwFlags) noexcept;
    /// Hands a sample to the downstream pin. \return what Receive answers, VFW_E_NOT_SAMPLE_CONNECTION
    /// without peer
    HRESULT SendSample(IMediaSample* pSample) noexcept;
    /// Takes over a media type that the downstream filter has attached to a sample.
    /// \return S_OK after a change, what GetMediaType answers without one, VFW_E_INVALIDMEDIATYPE after a
    /// refusal
    HRESULT SetMediaTypeFromSample(IMediaSample* pSample) noexcept;

    /// Whether the caller is within a call of the pin, or of its filter's change of state, to somebody else.
    bool IsInCall() const noexcept
    {
        return HookIsStreamCall() || m_lock.IsMine() || m_crsLink.IsMine() || IsInStateCall();
    }
    /// Whether an allocator has been agreed; any thread.
    bool HasAllocator() noexcept { return GetAllocator() != nullptr; }
    /// A counted copy of the agreed allocator, for any thread.
    CComPtr<IMemAllocator> GetAllocator() noexcept;

    CComPtr<IMemInputPin> m_spMemInput; ///< the peer's input; written under m_crsLink

protected:
    HRESULT TryTypes(IPin* pReceivePin) noexcept;
    HRESULT AgreeExternMT(IPin* pReceivePin) noexcept;
    HRESULT AgreeInnerMT(IPin* pReceivePin) noexcept;
    HRESULT TryMediaTypes(IPin* pReceivePin, IEnumMediaTypes* pEnum) noexcept;
    HRESULT AttemptConnection(IPin* pReceivePin, const AM_MEDIA_TYPE* pmt) noexcept;
    HRESULT ExecConnection(IPin* pReceivePin) noexcept;
    HRESULT AgreeAllocator() noexcept;
    void BreakConnection() noexcept;

private:
    class CLinkChange;
    HRESULT BeginLink() noexcept;
    void EndLink() noexcept;
    void DropAllocator() noexcept;
};

/// The link to the owning filter. \tparam T the pin \tparam TFilter the filter
template <class T, class TFilter>
class CPinBase : public COutputPinBase
{
public:
    using FilterClass = TFilter;

    /// The owning filter, not counted; null after the filter has gone. Written under m_crsLink, so that who
    /// finds it there under that lock finds a living filter.
    std::atomic<TFilter*> m_pFilter = nullptr;

    /// The filter for the length of a call, in which another thread may give the last other reference back.
    CComPtr<TFilter> GetFilter() const noexcept
    {
        CScopedLock lock(&this->m_crsLink);
        return CComPtr<TFilter>(m_pFilter);
    }
    void SetFilter(TFilter* pFilter) noexcept
    {
        CScopedLock lock(&this->m_crsLink);
        m_pFilter = pFilter;
    }
    /// The filter's state, without any lock but the leaf: the worker asks too. State_Stopped without a
    /// filter.
    FILTER_STATE FilterState() const noexcept
    {
        CScopedLock lock(&this->m_crsLink);
        TFilter* const pFilter = m_pFilter;
        return pFilter != nullptr ? pFilter->FilterState() : State_Stopped;
    }
    /// Whether the filter accepts a type.
    bool QueryAcceptMT(const AM_MEDIA_TYPE* pmt) noexcept
    {
        const CComPtr<TFilter> pFilter = GetFilter();
        if (pFilter == nullptr)
        {
            trace(atlTraceGeneral, eTL_Error,
                  L"###Err### %s QueryAcceptMT(): link between filter and pin is broken\n", GetClassName());
            return false;
        }
        return pFilter->QueryAcceptMT(pmt);
    }
};

/// An output pin. \tparam T the pin \tparam TFilter the filter
template <class T, class TFilter>
class COutputPin : public CPinBase<T, TFilter>
{
    IPin* HookPin() noexcept override { return static_cast<T*>(this); }
    CMTSingle& HookMediaType() noexcept override { return *static_cast<T*>(this); }
    CAllocatorMatchBase& HookAllocator() noexcept override { return *static_cast<T*>(this); }
    CComPtr<IBaseFilter> HookFilter() const noexcept override
    {
        return CComPtr<IBaseFilter>(this->GetFilter());
    }
    FILTER_STATE HookFilterState() const noexcept override { return this->FilterState(); }
    bool HookQueryAcceptMT(const AM_MEDIA_TYPE* pmt) noexcept override
    {
        return static_cast<T*>(this)->QueryAcceptMT(pmt);
    }
    void HookApplyOutputType(const AM_MEDIA_TYPE* pmt) noexcept override
    {
        static_cast<T*>(this)->ApplyOutputType(pmt);
    }
    HRESULT HookAllocatorAgree(IMemInputPin* pMemInput) noexcept override
    {
        return static_cast<T*>(this)->AllocatorAgree(pMemInput);
    }
    HRESULT HookCompleteConnect(IPin* pReceivePin) noexcept override
    {
        const CComPtr<TFilter> pFilter = this->GetFilter();
        return pFilter != nullptr ? pFilter->Filter_CompleteConnect(pReceivePin) : S_OK;
    }
    HRESULT HookNoTypes(HRESULT hr) noexcept override
    {
        const CComPtr<TFilter> pFilter = this->GetFilter();
        return pFilter != nullptr ? pFilter->Filter_NoTypes(hr) : VFW_E_NO_ACCEPTABLE_TYPES;
    }
    void HookDisconnect() noexcept override
    {
        const CComPtr<TFilter> pFilter = this->GetFilter();
        if (pFilter != nullptr)
            pFilter->Filter_Disconnect();
    }
};

/// IPin of an output pin. \tparam T the pin, a CPinBase
template <class T>
class IPinImpl : public IPin
{
public:
    STDMETHOD(Connect)(IPin* pReceivePin, const AM_MEDIA_TYPE* pmt) noexcept override
    {
        return Pin().PinConnect(pReceivePin, pmt);
    }
    /// An output pin does not receive a connection.
    STDMETHOD(ReceiveConnection)(IPin*, const AM_MEDIA_TYPE*) noexcept override
    {
        return DSTLNotImpl(L"IPinImpl::ReceiveConnection");
    }
    STDMETHOD(Disconnect)() noexcept override { return Pin().PinDisconnect(); }
    STDMETHOD(ConnectedTo)(IPin** ppPin) noexcept override { return Pin().PinConnectedTo(ppPin); }
    STDMETHOD(ConnectionMediaType)(AM_MEDIA_TYPE* pmt) noexcept override
    {
        return Pin().PinConnectionMediaType(pmt);
    }
    STDMETHOD(QueryPinInfo)(PIN_INFO* pInfo) noexcept override { return Pin().PinQueryPinInfo(pInfo); }
    STDMETHOD(QueryDirection)(PIN_DIRECTION* pPinDir) noexcept override
    {
        return Pin().PinQueryDirection(pPinDir);
    }
    STDMETHOD(QueryId)(LPWSTR* Id) noexcept override { return Pin().PinQueryId(Id); }
    STDMETHOD(QueryAccept)(const AM_MEDIA_TYPE* pmt) noexcept override { return Pin().PinQueryAccept(pmt); }
    STDMETHOD(EnumMediaTypes)(IEnumMediaTypes** ppEnum) noexcept override
    {
        Pin().TracePin(eTL_Frame, L"%s IPinImpl::EnumMediaTypes() [%s]\n");
        // Within a call of ours the type as it is now: the connection may be waiting for that call.
        const CScopedTryLock lock(&Pin().m_lock, !Pin().IsInCall());
        return CComDSEnum<CMediaTypesAccessor<T>, IEnumMediaTypes>::Create(ppEnum, &Pin(), 0);
    }
    STDMETHOD(QueryInternalConnections)(IPin**, ULONG*) noexcept override
    {
        return Pin().PinQueryInternalConnections();
    }
    /// These arrive on input pins only.
    STDMETHOD(EndOfStream)() noexcept override { return DSTLNotImpl(L"IPinImpl::EndOfStream"); }
    STDMETHOD(BeginFlush)() noexcept override { return DSTLNotImpl(L"IPinImpl::BeginFlush"); }
    STDMETHOD(EndFlush)() noexcept override { return DSTLNotImpl(L"IPinImpl::EndFlush"); }
    STDMETHOD(NewSegment)(REFERENCE_TIME, REFERENCE_TIME, double) noexcept override
    {
        return DSTLNotImpl(L"IPinImpl::NewSegment");
    }

    virtual LPCWSTR GetClassName() const noexcept = 0;

private:
    T& Pin() noexcept { return *static_cast<T*>(this); }
};
