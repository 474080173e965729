#pragma once
/// The generic output pin: connection, choice of media type and allocator, delivery.
///
/// What the concrete pin T supplies, beside its COM map with IPin:
///  - `LPCWSTR GetClassName() const noexcept override`: the name in its trace lines
///  - `void ApplyOutputType(const AM_MEDIA_TYPE* pmt) noexcept`: makes pmt the current type
///    (CMTSingle::SetMediaType) and derives what depends on it; called with the pin's lock held, or on the
///    worker
///  - bases COutputPin<T, TFilter>, IPinImpl<T>, CStdAllocator<T, 0>, CMTSingle, in this order
/// It may hide `bool IsStreamCall() const noexcept` of COutputPin.
/// What the concrete filter TFilter supplies to its pin: `bool QueryAcceptMT(const AM_MEDIA_TYPE* pmt)
/// noexcept`, and what CSourceFilter has (DSFilters.h).
///
/// Locks: m_lock is held across the whole of Connect and Disconnect, and nobody takes it within a change of
/// state. m_crsLink is a leaf: it is held for counted copies and for stores of the link's pointers only.
///
/// Calls from within calls: a thread that is within a call of the pin to somebody else never waits for
/// another thread, which may be waiting for that call. It asks IsInCall, and what it cannot have at once is
/// refused.

#include "dstl/WinAPI/Atl.h"

#include <atomic>
#include <cstring>
#include <utility>

#include <strmif.h>
#include <vfwmsgs.h>

#include "dstl/WinAPI/Wrappers.h"
#include "dstl/dshowx/DSAllocators.h"
#include "dstl/dshowx/DSEnums.h"
#include "dstl/dshowx/dumps/MediaTypeDump.h"
#include "dstl/dshowx/dumps/SampleDump.h"
#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/DSTypes.h"
#include "dstl/dshowx/DSWrappers.h"
#include "dstl/dshowx/MTSingle.h"

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

    PIN_DIRECTION Direction() const noexcept { return m_ePinDir; }
    /// Before anybody else has the pin.
    void SetName(LPCWSTR pszName) noexcept { CopyDSName(m_szName, pszName); }

protected:
    template <class>
    friend class IPinImpl;
    friend class CAllocatorMatchBase;

    /// Stores or drops the peer. The old one is released outside the leaf lock.
    void SetPeer(IPin* pPeer) noexcept;

    PIN_DIRECTION m_ePinDir = PINDIR_OUTPUT;
    wchar_t m_szName[cchDSName] = {}; ///< name and identifier
    CComPtr<IPin> m_spConnected;      ///< the peer; written under m_lock and m_crsLink
    mutable CCritSec m_lock;          ///< guards connection and format
    mutable CCritSec m_crsLink;       ///< leaf; guards the pointers of the link

    bool m_bStarting = false; ///< the filter is about to leave State_Stopped; guarded by m_crsLink
    bool m_bLinking = false;  ///< a connection is being made or broken; guarded by m_crsLink

private:
    std::atomic<DWORD> m_nStateThread = 0; ///< the thread within a CStateCall
};

/// The link to the owning filter. \tparam T the pin \tparam TFilter the filter
template <class T, class TFilter>
class CPinBase : public CPin
{
public:
    using FilterClass = TFilter;

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
    /// Releases a reference of the filter, and forgets the filter in the same step when it was the last one:
    /// nobody gets a new reference through the pin.
    /// \param fnRelease gives the number of references left
    template <class TRelease>
    ULONG ReleaseFilter(TRelease fnRelease) noexcept
    {
        CScopedLock lock(&this->m_crsLink);
        const ULONG nRefs = fnRelease();
        if (nRefs == 0)
            m_pFilter = nullptr;
        return nRefs;
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

protected:
    /// The owning filter, not counted; null after the filter has gone. Written under m_crsLink: a pointer that
    /// is read under that lock refers to a live filter.
    std::atomic<TFilter*> m_pFilter = nullptr;
};

/// An output pin: the steps of a connection, and the way of a sample.
/// \tparam T the pin \tparam TFilter the filter
template <class T, class TFilter>
class COutputPin : public CPinBase<T, TFilter>
{
public:
    /// Whether the caller is within a call of the stream: of the thread that sends, or of a flush.
    bool IsStreamCall() const noexcept { return false; }
    /// Whether the caller is within a call of the pin, or of its filter's change of state, to somebody else.
    bool IsInCall() const noexcept
    {
        return static_cast<const T*>(this)->IsStreamCall() || this->m_lock.IsMine() ||
               this->m_crsLink.IsMine() || this->IsInStateCall();
    }

    // --- Delivery: what the worker calls. Only m_crsLink is taken, for the time of a counted copy, so that a
    // connection that breaks meanwhile cannot pull an interface from under a call.

    /// A counted copy of the agreed allocator, for any thread.
    CComPtr<IMemAllocator> GetAllocator() noexcept
    {
        CScopedLock lock(&this->m_crsLink);
        return Pin().m_spAllocOut;
    }

    /// Whether an allocator has been agreed; any thread.
    bool HasAllocator() noexcept { return GetAllocator() != nullptr; }

    /// An empty sample of the agreed allocator.
    /// \param dwFlags of IMemAllocator::GetBuffer
    HRESULT GetSample(IMediaSample** ppSample, DWORD dwFlags) noexcept
    {
        DSASSERT(ppSample != NULL);
        if (ppSample == nullptr)
            return E_POINTER;
        *ppSample = nullptr;
        const CComPtr<IMemAllocator> spMemAlloc = GetAllocator();
        if (!spMemAlloc)
            return VFW_E_NO_ALLOCATOR;

        const HRESULT hr = spMemAlloc->GetBuffer(ppSample, nullptr, nullptr, dwFlags);
        if (hr == S_OK)
            return S_OK;
        if (hr == VFW_E_TIMEOUT && (dwFlags & AM_GBF_NOWAIT) != 0)
            trace(atlTraceGeneral, eTL_Frame,
                  L"###Err### %s GetSample(): spMemAlloc->GetBuffer()=VFW_E_TIMEOUT\n", this->GetClassName());
        else if (hr == VFW_E_NOT_COMMITTED)
            trace(atlTraceGeneral, eTL_Error,
                  L"%s GetSample(): spMemAlloc->GetBuffer()=VFW_E_NOT_COMMITTED\n", this->GetClassName());
        else
            trace(atlTraceGeneral, eTL_Error, L"###Err### %s GetSample(): spMemAlloc->GetBuffer()=0x%X\n",
                  this->GetClassName(), static_cast<unsigned>(hr));
        return DSTLFailure(hr);
    }

    /// Hands a sample to the downstream pin.
    /// \return what Receive returns, VFW_E_NOT_SAMPLE_CONNECTION without peer
    HRESULT SendSample(IMediaSample* pSample) noexcept
    {
        DSASSERT(pSample != NULL);
        CScopedLock lock(&this->m_crsLink);
        const CComPtr<IMemInputPin> spMemInput = m_spMemInput;
        lock.Unlock();
        if (!spMemInput)
            return VFW_E_NOT_SAMPLE_CONNECTION;
        if (pSample == nullptr)
            return E_POINTER;

        const HRESULT hr = spMemInput->Receive(pSample);
        switch (hr)
        {
        case S_OK:
            break;
        case S_FALSE:
            trace(atlTraceGeneral, eTL_Main, L"%s SendSample(): spMemInput->Receive()=S_FALSE\n",
                  this->GetClassName());
            break;
        case VFW_E_NOT_COMMITTED:
            trace(atlTraceGeneral, eTL_Main, L"%s SendSample(): spMemInput->Receive()=VFW_E_NOT_COMMITTED\n",
                  this->GetClassName());
            break;
        case VFW_E_WRONG_STATE:
            trace(atlTraceGeneral, eTL_Main, L"%s SendSample(): spMemInput->Receive()=VFW_E_WRONG_STATE\n",
                  this->GetClassName());
            break;
        default:
            trace(atlTraceGeneral, eTL_Error, L"###Err### %s SendSample(): spMemInput->Receive()=0x%X\n",
                  this->GetClassName(), static_cast<unsigned>(hr));
        }
        return hr;
    }

    /// Takes over a media type that the downstream filter has attached to a sample.
    /// \return S_OK after a change, what GetMediaType returns without one, VFW_E_INVALIDMEDIATYPE after a
    /// refusal
    HRESULT SetMediaTypeFromSample(IMediaSample* pSample) noexcept
    {
        DSASSERT(pSample != NULL);
        if (pSample == nullptr)
            return E_POINTER;
        COwnedMediaType pmt;
        HRESULT hr = pSample->GetMediaType(pmt.Out());
        if (hr != S_OK)
            return hr;
        trace(atlTraceGeneral, eTL_Main, L"%s SetMediaTypeFromSample(): new mediatype is received\n",
              this->GetClassName());
        DSASSERT_TEXT(pmt, "pmt != NULL");
        Debug_MediaType(atlTraceGeneral, eTL_Error, pmt.Get(), L"");
        if (!Pin().QueryAcceptMT(pmt.Get()))
        {
            trace(atlTraceGeneral, eTL_Error,
                  L"###Err### %s SetMediaTypeFromSample(): new mediatype is not accepted\n",
                  this->GetClassName());
            return VFW_E_INVALIDMEDIATYPE;
        }
        Pin().ApplyOutputType(pmt.Get());
        return S_OK;
    }

protected:
    template <class>
    friend class IPinImpl;

    CComPtr<IMemInputPin> m_spMemInput; ///< the peer's input; written under m_crsLink

    /// Keeps the state of the filter at Stopped, and other connections out, while one is made or broken.
    class CLinkChange
    {
    public:
        explicit CLinkChange(COutputPin& pin) noexcept : m_pin(pin), m_hr(pin.BeginLink()) {}
        ~CLinkChange()
        {
            if (m_hr == S_OK)
                m_pin.EndLink();
        }
        CLinkChange(const CLinkChange&) = delete;
        CLinkChange& operator=(const CLinkChange&) = delete;

        /// S_OK; VFW_E_NOT_STOPPED; VFW_E_STATE_CHANGED within a call of another change, on the same thread.
        HRESULT Result() const noexcept { return m_hr; }

    private:
        COutputPin& m_pin;
        const HRESULT m_hr;
    };

    // --- Steps of a connection, in the order in which they happen

    /// Tries the types of the peer first, the pin's own after them.
    HRESULT TryTypes(IPin* pReceivePin) noexcept
    {
        DSASSERT(pReceivePin != NULL);
        if (pReceivePin == nullptr)
            return E_POINTER;
        HRESULT hr = AgreeExternMT(pReceivePin);
        if (hr != S_OK)
            hr = AgreeInnerMT(pReceivePin);
        return hr;
    }

    HRESULT AgreeExternMT(IPin* pReceivePin) noexcept
    {
        return AgreeTypesOf(pReceivePin, pReceivePin, L"%s AgreeExternMT() successful\n",
                            L"%s AgreeExternMT() FAILED, hr=0x%X\n");
    }

    HRESULT AgreeInnerMT(IPin* pReceivePin) noexcept
    {
        return AgreeTypesOf(static_cast<T*>(this), pReceivePin, L"%s AgreeInnerMT() successful\n",
                            L"%s AgreeInnerMT() FAILED, hr=0x%X\n");
    }

    HRESULT TryMediaTypes(IPin* pReceivePin, IEnumMediaTypes* pEnum) noexcept
    {
        trace(atlTraceGeneral, eTL_Frame, L"%s TryMediaTypes\n", this->GetClassName());
        DSASSERT(pEnum != NULL);
        if (pEnum == nullptr)
            return E_POINTER;
        HRESULT hr = pEnum->Reset();
        if (FAILED(hr))
            return hr;
        for (int i = 0; i < nMaxTypesTried; ++i)
        {
            COwnedMediaType pmt;
            ULONG ulMediaCount = 0;
            hr = pEnum->Next(1, pmt.Out(), &ulMediaCount);
            if (hr != S_OK)
                return FAILED(hr) ? hr : VFW_E_NO_ACCEPTABLE_TYPES;
            DSASSERT(ulMediaCount == 1);
            DSASSERT_TEXT(pmt, "pmt != NULL");
            if (AttemptConnection(pReceivePin, pmt.Get()) == S_OK)
                return S_OK;
        }
        return VFW_E_NO_ACCEPTABLE_TYPES;
    }

    HRESULT AttemptConnection(IPin* pReceivePin, const AM_MEDIA_TYPE* pmt) noexcept
    {
        trace(atlTraceGeneral, eTL_Frame, L"%s AttemptConnection\n", this->GetClassName());
        DSASSERT(pmt != NULL);
        if (pmt == nullptr)
            return E_POINTER;
        if (!Pin().QueryAcceptMT(pmt))
            return VFW_E_TYPE_NOT_ACCEPTED;

        CMType mtSaved;
        Pin().CopyMediaType(&mtSaved);
        Pin().ApplyOutputType(pmt);
        const HRESULT hr = ExecConnection(pReceivePin);
        if (hr == S_OK)
            return S_OK;
        Pin().ApplyOutputType(&mtSaved);
        return FAILED(hr) ? hr : VFW_E_TYPE_NOT_ACCEPTED;
    }

    HRESULT ExecConnection(IPin* pReceivePin) noexcept
    {
        trace(atlTraceGeneral, eTL_Frame, L"%s ExecConnection\n", this->GetClassName());
        DSASSERT_TEXT(this->GetFilter() != nullptr, "m_pFilter != NULL");
        DSASSERT(pReceivePin != NULL);
        if (pReceivePin == nullptr)
            return E_POINTER;
        DSASSERT_TEXT(this->IsCounterpart(pReceivePin), "IsCounterpart(pReceivePin)");

        CMType mt;
        HRESULT hr = Pin().CopyMediaType(&mt);
        if (FAILED(hr) || !mt.IsDefined())
            return FAILED(hr) ? hr : VFW_E_TYPE_NOT_ACCEPTED;

        this->SetPeer(pReceivePin);
        hr = pReceivePin->ReceiveConnection(static_cast<T*>(this), &mt);
        if (hr != S_OK)
        {
            trace(atlTraceGeneral, eTL_Main,
                  L"%s ExecConnection(): m_spConnected->ReceiveConnection()=0x%X\n", this->GetClassName(),
                  static_cast<unsigned>(hr));
        }
        else
        {
            trace(atlTraceGeneral, eTL_Main, L"%s ExecConnection(): connection accepted\n",
                  this->GetClassName());
            Debug_MediaType(atlTraceGeneral, eTL_Main, &mt, L"");
            hr = CompleteConnect(pReceivePin);
            if (hr == S_OK)
            {
                // A peer that has disconnected the pin within ReceiveConnection: it is told, and the
                // agreement on an allocator fails.
                if (!this->IsConnected())
                    pReceivePin->Disconnect();
                return S_OK;
            }
            trace(atlTraceGeneral, eTL_Main,
                  L"%s ExecConnection(): m_pFilter->Filter_CompleteConnect()=0x%X\n", this->GetClassName(),
                  static_cast<unsigned>(hr));
            pReceivePin->Disconnect();
        }
        this->SetPeer(nullptr);
        return FAILED(hr) ? hr : VFW_E_TYPE_NOT_ACCEPTED;
    }

    HRESULT AgreeAllocator() noexcept
    {
        DSASSERT(!m_spMemInput);
        CComPtr<IMemInputPin> spMemInput;
        const CComPtr<IPin> spPeer = this->GetPeer();
        HRESULT hr = spPeer ? spPeer->QueryInterface(IID_IMemInputPin, reinterpret_cast<void**>(&spMemInput))
                            : VFW_E_NOT_CONNECTED;
        if (hr == S_OK)
            hr = Pin().AllocatorAgree(spMemInput);
        if (hr != S_OK)
        {
            trace(atlTraceGeneral, eTL_Main, L"%s Allocator agreement FAILED, hr=0x%X\n",
                  this->GetClassName(), static_cast<unsigned>(hr));
            return DSTLFailure(hr);
        }
        {
            CScopedLock lock(&this->m_crsLink);
            std::swap(m_spMemInput.p, spMemInput.p);
        }
        trace(atlTraceGeneral, eTL_Main, L"%s Allocator agreement successful\n", this->GetClassName());
        return S_OK;
    }

    void BreakConnection() noexcept
    {
        if (!this->IsConnected())
            return;
        DropAllocator();
        CComPtr<IPin> spPeer;
        {
            CScopedLock lock(&this->m_crsLink);
            std::swap(this->m_spConnected.p, spPeer.p);
        }
        if (spPeer)
            spPeer->Disconnect();
    }

    /// Takes out what was agreed on, and decommits.
    void DropAllocator() noexcept
    {
        CComPtr<IMemAllocator> spAllocator;
        CComPtr<IMemInputPin> spMemInput;
        {
            CScopedLock lock(&this->m_crsLink);
            Pin().TakeOut(spAllocator);
            std::swap(m_spMemInput.p, spMemInput.p);
        }
        // Outside the leaf lock, as an allocator has locks of its own.
        if (spAllocator)
            spAllocator->Decommit();
    }

private:
    /// A peer's list of types that never ends is cut here.
    static constexpr int nMaxTypesTried = 4096;

    T& Pin() noexcept { return *static_cast<T*>(this); }

    /// Tries what a pin enumerates. \param pszAgreed,pszFailed the lines of the two outcomes
    HRESULT AgreeTypesOf(IPin* pSource, IPin* pReceivePin, LPCWSTR pszAgreed, LPCWSTR pszFailed) noexcept
    {
        DSASSERT(pReceivePin != NULL);
        if (pReceivePin == nullptr)
            return E_POINTER;
        CComPtr<IEnumMediaTypes> spEnum;
        HRESULT hr = pSource->EnumMediaTypes(&spEnum);
        if (hr == S_OK)
            hr = TryMediaTypes(pReceivePin, spEnum);
        if (hr == S_OK)
        {
            trace(atlTraceGeneral, eTL_Frame, pszAgreed, this->GetClassName());
            return S_OK;
        }
        trace(atlTraceGeneral, eTL_Main, pszFailed, this->GetClassName(), static_cast<unsigned>(hr));
        return FAILED(hr) ? hr : VFW_E_NO_ACCEPTABLE_TYPES;
    }

    HRESULT CompleteConnect(IPin* pReceivePin) noexcept
    {
        const CComPtr<TFilter> spFilter = this->GetFilter();
        return spFilter ? spFilter->Filter_CompleteConnect(pReceivePin) : S_OK;
    }
    HRESULT BeginLink() noexcept
    {
        CScopedLock lock(&this->m_crsLink);
        if (this->m_bStarting || this->FilterState() != State_Stopped)
            return VFW_E_NOT_STOPPED;
        if (this->m_bLinking)
            return VFW_E_STATE_CHANGED;
        this->m_bLinking = true;
        return S_OK;
    }

    void EndLink() noexcept
    {
        CScopedLock lock(&this->m_crsLink);
        this->m_bLinking = false;
    }
};

/// IPin of an output pin. \tparam T the pin, a COutputPin
template <class T>
class IPinImpl : public IPin
{
public:
    STDMETHOD(Connect)(IPin* pReceivePin, const AM_MEDIA_TYPE* pmt) noexcept override
    {
        T& pin = Pin();
        trace(atlTraceGeneral, eTL_Main, L"*************** %s start of connection to ", this->GetClassName());
        Debug_FilterFromPin(atlTraceGeneral, eTL_Main, pReceivePin, L"");
        if (pmt != nullptr)
            Debug_MediaType(atlTraceGeneral, eTL_Main, pmt, L"");
        else
            trace(atlTraceGeneral, eTL_Main, L"Empty media type\n");

        DSASSERT_TEXT(pin.m_ePinDir == PINDIR_OUTPUT, "m_ePinDir == PINDIR_OUTPUT");
        // Held to the end: the peer may release the last other reference within a call of the connection.
        const auto spFilter = pin.GetFilter();
        DSASSERT_TEXT(spFilter != nullptr, "m_pFilter != NULL");
        DSASSERT(pReceivePin != NULL);
        if (pReceivePin == nullptr)
            return E_POINTER;

        const CScopedTryLock lock(&pin.m_lock, !pin.IsInCall());
        if (!lock.IsHeld())
            return VFW_E_STATE_CHANGED;
        if (pin.IsConnected())
            return VFW_E_ALREADY_CONNECTED;
        // Before the peer is asked, which may try to connect as well.
        const typename T::CLinkChange change(pin);
        if (change.Result() == VFW_E_STATE_CHANGED)
            return VFW_E_STATE_CHANGED;
        if (!pin.CheckDirection(pReceivePin))
            return VFW_E_INVALID_DIRECTION;
        if (change.Result() != S_OK)
            return change.Result();

        HRESULT hr = S_OK;
        if (MTIsSet(pmt))
            hr = pin.AttemptConnection(pReceivePin, pmt);
        else if (pin.TryTypes(pReceivePin) != S_OK)
            hr = VFW_E_NO_ACCEPTABLE_TYPES;
        if (hr == S_OK)
        {
            hr = pin.AgreeAllocator();
            if (hr == S_OK && !pin.IsConnected())
                hr = VFW_E_NOT_CONNECTED; // the peer has disconnected the pin within a call of the agreement
            if (hr == S_OK)
            {
                trace(atlTraceGeneral, eTL_Main, L"*************** %s connection established\n",
                      this->GetClassName());
                return S_OK;
            }
            pin.BreakConnection();
            pin.DropAllocator(); // what was agreed behind a disconnection
        }
        trace(atlTraceGeneral, eTL_Main, L"*** WARNING *** %s connection not accepted, hr=0x%X\n",
              this->GetClassName(), static_cast<unsigned>(hr));
        return FAILED(hr) ? hr : VFW_E_NO_ACCEPTABLE_TYPES;
    }
    /// An output pin does not receive a connection.
    STDMETHOD(ReceiveConnection)(IPin*, const AM_MEDIA_TYPE*) noexcept override
    {
        return DSTLNotImpl(L"IPinImpl::ReceiveConnection");
    }
    STDMETHOD(Disconnect)() noexcept override
    {
        T& pin = Pin();
        pin.TracePin(eTL_Main, L"%s IPinImpl::Disconnect() [%s]\n");
        const CScopedTryLock lock(&pin.m_lock, !pin.IsInCall());
        if (!lock.IsHeld())
            return VFW_E_STATE_CHANGED;
        if (!pin.IsConnected())
            return S_FALSE;
        const typename T::CLinkChange change(pin);
        if (change.Result() == VFW_E_NOT_STOPPED)
            return VFW_E_NOT_STOPPED;
        // Also within the connection that is being made: it then reports that it has failed.
        pin.BreakConnection();
        return S_OK;
    }
    STDMETHOD(ConnectedTo)(IPin** ppPin) noexcept override
    {
        T& pin = Pin();
        pin.TracePin(eTL_Frame, L"%s IPinImpl::ConnectedTo() [%s]\n");
        DSASSERT(ppPin != NULL);
        if (ppPin == nullptr)
            return E_POINTER;
        *ppPin = pin.GetPeer().Detach();
        return *ppPin != nullptr ? S_OK : VFW_E_NOT_CONNECTED;
    }
    STDMETHOD(ConnectionMediaType)(AM_MEDIA_TYPE* pmt) noexcept override
    {
        T& pin = Pin();
        pin.TracePin(eTL_Frame, L"%s IPinImpl::ConnectionMediaType() [%s]\n");
        DSASSERT(pmt != NULL);
        if (pmt == nullptr)
            return E_POINTER;
        // Within a call of ours the type as it is now: the connection may be waiting for that call.
        const CScopedTryLock lock(&pin.m_lock, !pin.IsInCall());
        return pin.IsConnected() ? pin.CopyMediaType(pmt) : VFW_E_NOT_CONNECTED;
    }
    STDMETHOD(QueryPinInfo)(PIN_INFO* pInfo) noexcept override
    {
        T& pin = Pin();
        pin.TracePin(eTL_Frame, L"%s IPinImpl::QueryPinInfo() [%s]\n");
        DSASSERT(pInfo != NULL);
        if (pInfo == nullptr)
            return E_POINTER;
        pInfo->pFilter = pin.GetFilter().Detach();
        pInfo->dir = pin.m_ePinDir;
        CopyDSName(pInfo->achName, pin.m_szName);
        return S_OK;
    }
    STDMETHOD(QueryDirection)(PIN_DIRECTION* pPinDir) noexcept override
    {
        T& pin = Pin();
        pin.TracePin(eTL_Frame, L"%s IPinImpl::QueryDirection() [%s]\n");
        DSASSERT(pPinDir != NULL);
        if (pPinDir == nullptr)
            return E_POINTER;
        *pPinDir = pin.m_ePinDir;
        return S_OK;
    }
    STDMETHOD(QueryId)(LPWSTR* Id) noexcept override
    {
        T& pin = Pin();
        pin.TracePin(eTL_Frame, L"%s IPinImpl::QueryId() [%s]\n");
        DSASSERT(Id != NULL);
        if (Id == nullptr)
            return E_POINTER;
        const size_t cbName = (wcslen(pin.m_szName) + 1) * sizeof(wchar_t);
        *Id = static_cast<LPWSTR>(CoTaskMemAlloc(cbName));
        if (*Id == nullptr)
            return E_OUTOFMEMORY;
        memcpy(*Id, pin.m_szName, cbName);
        return S_OK;
    }
    STDMETHOD(QueryAccept)(const AM_MEDIA_TYPE* pmt) noexcept override
    {
        T& pin = Pin();
        pin.TracePin(eTL_Frame, L"%s IPinImpl::QueryAccept() [%s]\n");
        const bool bAccepted = pin.QueryAcceptMT(pmt);
        trace(atlTraceGeneral, eTL_Main, L"%s IPinImpl::QueryAccept()=%s [%s]\n", this->GetClassName(),
              bAccepted ? L"S_OK" : L"S_FALSE", pin.DirectionName());
        return bAccepted ? S_OK : S_FALSE;
    }
    STDMETHOD(EnumMediaTypes)(IEnumMediaTypes** ppEnum) noexcept override
    {
        Pin().TracePin(eTL_Frame, L"%s IPinImpl::EnumMediaTypes() [%s]\n");
        // Within a call of ours the type as it is now: the connection may be waiting for that call.
        const CScopedTryLock lock(&Pin().m_lock, !Pin().IsInCall());
        return CComDSEnum<CMediaTypesAccessor<T>, IEnumMediaTypes>::Create(ppEnum, &Pin(), 0);
    }
    STDMETHOD(QueryInternalConnections)(IPin**, ULONG*) noexcept override
    {
        trace(atlTraceGeneral, eTL_Frame, L"%s IPinImpl::QueryInternalConnections not implemented\n",
              this->GetClassName());
        return E_NOTIMPL;
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
