#pragma once
/// A downstream pin for tests: offers and accepts media types and allocators as scripted, receives samples,
/// blocks, fails, calls back. The test owns the object; reference counts are only kept.

#include "dstl/dshowx/DSTypes.h"
#include "support/CallLog.h"
#include "support/FakeSample.h"

#include <strmif.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// How a FakeTypeEnum behaves.
enum eFakeEnum
{
    eFE_Normal,
    eFE_Endless,    ///< Next gives the first type for ever, a fresh copy each time
    eFE_NullTypes,  ///< Next says S_OK and gives null, as often as the list is long
    eFE_EndlessNull ///< the same for ever
};

/// A list of media types, for peers. It destroys itself with its last reference.
class FakeTypeEnum : public IEnumMediaTypes
{
public:
    FakeTypeEnum(std::vector<CMType> types, eFakeEnum eMode, HRESULT hrReset, HRESULT hrEnd);

    static std::atomic<int> s_nLiving;
    static std::atomic<int> s_nFetched; ///< types handed out in all

    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) override;
    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++m_nRefs); }
    STDMETHOD_(ULONG, Release)() override;
    STDMETHOD(Next)(ULONG cTypes, AM_MEDIA_TYPE** ppTypes, ULONG* pcFetched) override;
    STDMETHOD(Skip)(ULONG) override { return E_NOTIMPL; }
    STDMETHOD(Reset)() override;
    STDMETHOD(Clone)(IEnumMediaTypes**) override { return E_NOTIMPL; }

private:
    virtual ~FakeTypeEnum() { --s_nLiving; }

    std::atomic<long> m_nRefs = 1;
    const std::vector<CMType> m_types;
    const eFakeEnum m_eMode;
    const HRESULT m_hrReset, m_hrEnd;
    size_t m_nIndex = 0;
};

class FakeInputPin : public IPin, public IMemInputPin
{
public:
    /// \param pLog optional; receives "<name>.Receive" and so on
    explicit FakeInputPin(CallLog* pLog = nullptr, std::string sName = "in");
    virtual ~FakeInputPin() = default;
    FakeInputPin(const FakeInputPin&) = delete;
    FakeInputPin& operator=(const FakeInputPin&) = delete;

    long Refs() const { return m_nRefs; }
    bool IsConnected() const;
    /// The type of the last accepted ReceiveConnection.
    CMType ConnectionType() const;
    /// The allocator of the last NotifyAllocator, not counted.
    IMemAllocator* NotifiedAllocator() const { return m_pNotified; }
    BOOL NotifiedReadOnly() const { return m_bNotifiedReadOnly; }

    // --- Scripts: connection
    int m_eDir = PINDIR_INPUT;         ///< any number, as a broken peer may answer
    HRESULT m_hrQueryDirection = S_OK; ///< a failure leaves the output as it is
    bool m_bMemInput = true;           ///< offers IMemInputPin
    IBaseFilter* m_pFilter = nullptr;  ///< owner, not counted
    std::vector<CMType> m_arrTypes;    ///< own list of types
    eFakeEnum m_eEnum = eFE_Normal;
    HRESULT m_hrEnumMediaTypes = S_OK; ///< other than S_OK: no enumerator
    bool m_bNullEnum = false;          ///< EnumMediaTypes says S_OK and gives null
    HRESULT m_hrReset = S_OK, m_hrEnumEnd = S_FALSE;
    /// Result of ReceiveConnection; without it every type is accepted.
    std::function<HRESULT(const AM_MEDIA_TYPE*)> m_accept;
    /// Called within ReceiveConnection with the connecting pin, and within Disconnect.
    std::function<void(IPin*)> m_onReceiveConnection;
    std::function<void()> m_onDisconnect;

    // --- Scripts: allocator
    IMemAllocator* m_pAllocator = nullptr;   ///< offered by GetAllocator; none answers VFW_E_NO_ALLOCATOR
    std::optional<HRESULT> m_hrGetAllocator; ///< replaces it; S_OK without an allocator gives null
    std::optional<ALLOCATOR_PROPERTIES> m_rgRequire; ///< none: E_NOTIMPL
    HRESULT m_hrNotify = S_OK;

    // --- Scripts: samples
    HRESULT m_hrReceive = S_OK;
    HRESULT m_hrFlush = S_OK; ///< result of BeginFlush and of EndFlush
    /// Called within BeginFlush.
    std::function<void()> m_onBeginFlush;
    /// Called within Receive; its result is that of Receive.
    std::function<HRESULT(IMediaSample*)> m_onReceive;
    /// Receive passes here: close it to block.
    TestGate m_gate;
    /// Keep the samples that arrive until ReleaseSamples.
    bool m_bHold = false;
    void ReleaseSamples();

    /// What Receive saw.
    struct Received
    {
        HRESULT hrTime, hrMediaTime;
        REFERENCE_TIME tS, tE;
        LONGLONG llMS, llME;
        bool bSync, bDiscontinuity, bPreroll;
        LONG lActual;
        std::vector<BYTE> arrData; ///< empty unless m_bCopyData
    };
    std::vector<Received> Samples() const;
    bool m_bCopyData = false;

    struct Segment
    {
        REFERENCE_TIME tStart, tStop;
        double dRate;
        bool operator==(const Segment&) const = default;
    };
    std::vector<Segment> Segments() const;

    // IUnknown
    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) override;
    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++m_nRefs); }
    STDMETHOD_(ULONG, Release)() override { return static_cast<ULONG>(--m_nRefs); }
    // IPin
    STDMETHOD(Connect)(IPin*, const AM_MEDIA_TYPE*) override { return E_NOTIMPL; }
    STDMETHOD(ReceiveConnection)(IPin* pConnector, const AM_MEDIA_TYPE* pmt) override;
    STDMETHOD(Disconnect)() override;
    STDMETHOD(ConnectedTo)(IPin** ppPin) override;
    STDMETHOD(ConnectionMediaType)(AM_MEDIA_TYPE* pmt) override;
    STDMETHOD(QueryPinInfo)(PIN_INFO* pInfo) override;
    STDMETHOD(QueryDirection)(PIN_DIRECTION* pPinDir) override;
    STDMETHOD(QueryId)(LPWSTR* Id) override;
    STDMETHOD(QueryAccept)(const AM_MEDIA_TYPE* pmt) override;
    STDMETHOD(EnumMediaTypes)(IEnumMediaTypes** ppEnum) override;
    STDMETHOD(QueryInternalConnections)(IPin**, ULONG*) override { return E_NOTIMPL; }
    STDMETHOD(EndOfStream)() override;
    STDMETHOD(BeginFlush)() override;
    STDMETHOD(EndFlush)() override;
    STDMETHOD(NewSegment)(REFERENCE_TIME tStart, REFERENCE_TIME tStop, double dRate) override;
    // IMemInputPin
    STDMETHOD(GetAllocator)(IMemAllocator** ppAllocator) override;
    STDMETHOD(NotifyAllocator)(IMemAllocator* pAllocator, BOOL bReadOnly) override;
    STDMETHOD(GetAllocatorRequirements)(ALLOCATOR_PROPERTIES* pProps) override;
    STDMETHOD(Receive)(IMediaSample* pSample) override;
    STDMETHOD(ReceiveMultiple)(IMediaSample**, LONG, LONG*) override { return E_NOTIMPL; }
    STDMETHOD(ReceiveCanBlock)() override { return S_OK; }

private:
    void Enter(const char* pszCall);

    CallLog* const m_pLog;
    const std::string m_sName;
    std::atomic<long> m_nRefs = 0;
    mutable std::mutex m_lock;
    IPin* m_pConnected = nullptr; ///< counted while connected
    CMType m_mtConnection;
    IMemAllocator* m_pNotified = nullptr;
    BOOL m_bNotifiedReadOnly = FALSE;
    std::vector<Received> m_received;
    std::vector<Segment> m_segments;
    std::vector<IMediaSample*> m_held;
};
