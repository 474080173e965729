/// Calls from within calls: a peer calls every operation of filter, pin, control interface and seeking from
/// within every call that the filter makes to it, alone and with another thread in Stop. Each pair ends, with the
/// result that docs/threads.md states.

#include "HardSupport.h"

#include <vfwmsgs.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <string>
#include <string_view>
#include <thread>

#include "support/FakeAllocator.h"
#include "support/FakeGraph.h"
#include "support/Watchdog.h"

namespace
{

// --- The calls that the filter makes

/// What the host does when the call comes.
enum eStage
{
    eSt_Join,
    eSt_Clock,
    eSt_Connect,
    eSt_Reconnect,
    eSt_Start,
    eSt_Stream, ///< on the worker
    eSt_Seek,
    eSt_Stop,
    eSt_Disconnect
};

/// Where the results of a call within it are the same.
enum eGroup
{
    eG_Free,       ///< nothing of the filter's is under way on this thread
    eG_Choosing,   ///< Connect, before the peer has been asked
    eG_Connecting, ///< Connect, from ReceiveConnection on
    eG_Starting,   ///< Pause or Run, in the allocator
    eG_Worker,
    eG_Flushing,
    eG_Stopping,      ///< Stop, in the allocator
    eG_Disconnecting, ///< Disconnect, in the allocator
    eG_Disconnected,  ///< Disconnect, in the peer
    eG_Count
};

struct CallRow
{
    const char* pszName;
    eStage stage;
    eGroup group;
};

constexpr CallRow arrCalls[] = {
    {"graph.QueryInterface", eSt_Join, eG_Free},
    {"clock.QueryInterface", eSt_Clock, eG_Free},
    {"pin.QueryDirection", eSt_Connect, eG_Choosing},
    {"pin.EnumMediaTypes", eSt_Connect, eG_Choosing},
    {"pin.ReceiveConnection", eSt_Connect, eG_Connecting},
    {"pin.QueryInterface", eSt_Connect, eG_Connecting},
    {"pin.GetAllocatorRequirements", eSt_Connect, eG_Connecting},
    {"pin.GetAllocator", eSt_Connect, eG_Connecting},
    {"alloc.SetProperties", eSt_Connect, eG_Connecting},
    {"pin.NotifyAllocator", eSt_Connect, eG_Connecting},
    {"alloc.GetProperties", eSt_Connect, eG_Connecting},
    {"graph.ReconnectEx", eSt_Reconnect, eG_Free},
    {"alloc.Commit", eSt_Start, eG_Starting},
    {"alloc.GetProperties", eSt_Start, eG_Starting},
    {"alloc.GetBuffer", eSt_Stream, eG_Worker},
    {"pin.NewSegment", eSt_Stream, eG_Worker},
    {"sample.GetMediaType", eSt_Stream, eG_Worker},
    {"sample.SetProperties", eSt_Stream, eG_Worker},
    {"pin.Receive", eSt_Stream, eG_Worker},
    {"pin.EndOfStream", eSt_Stream, eG_Worker},
    {"pin.BeginFlush", eSt_Seek, eG_Flushing},
    {"pin.EndFlush", eSt_Seek, eG_Flushing},
    {"alloc.Decommit", eSt_Stop, eG_Stopping},
    {"alloc.Decommit", eSt_Disconnect, eG_Disconnecting},
    {"pin.Disconnect", eSt_Disconnect, eG_Disconnected},
};

/// Runs the test's code once, when the awaited call comes in its stage.
class Tap
{
public:
    void Arm(const CallRow& row, std::function<void()> fn)
    {
        m_pRow = &row;
        m_fn = std::move(fn);
        m_bDone = false;
    }
    bool IsDone() const { return m_bDone; }
    std::atomic<int> m_stage = -1;

    void Call(const char* pszName)
    {
        if (m_pRow == nullptr || m_stage != m_pRow->stage || std::string_view(pszName) != m_pRow->pszName ||
            m_bDone.exchange(true))
            return;
        m_fn();
    }

private:
    const CallRow* m_pRow = nullptr;
    std::function<void()> m_fn;
    std::atomic<bool> m_bDone = false;
};

// --- The peers

class TappedSample : public FakeSample
{
public:
    TappedSample(Tap& tap, LONG cbBuffer) : FakeSample(cbBuffer), m_tap(tap) {}
    STDMETHOD(GetMediaType)(AM_MEDIA_TYPE** ppmt) override
    {
        m_tap.Call("sample.GetMediaType");
        return FakeSample::GetMediaType(ppmt);
    }
    STDMETHOD(SetProperties)(DWORD cb, const BYTE* pb) override
    {
        m_tap.Call("sample.SetProperties");
        return FakeSample::SetProperties(cb, pb);
    }

private:
    Tap& m_tap;
};

class TappedAllocator : public FakeAllocator
{
public:
    explicit TappedAllocator(Tap& tap) : m_tap(tap)
    {
        m_make = [&tap](LONG cb) { return std::make_unique<TappedSample>(tap, cb); };
    }
    STDMETHOD(SetProperties)(ALLOCATOR_PROPERTIES* pRequest, ALLOCATOR_PROPERTIES* pActual) override
    {
        m_tap.Call("alloc.SetProperties");
        return FakeAllocator::SetProperties(pRequest, pActual);
    }
    STDMETHOD(GetProperties)(ALLOCATOR_PROPERTIES* pProps) override
    {
        m_tap.Call("alloc.GetProperties");
        return FakeAllocator::GetProperties(pProps);
    }
    STDMETHOD(Commit)() override
    {
        m_tap.Call("alloc.Commit");
        return FakeAllocator::Commit();
    }
    STDMETHOD(Decommit)() override
    {
        m_tap.Call("alloc.Decommit");
        return FakeAllocator::Decommit();
    }
    STDMETHOD(GetBuffer)(IMediaSample** pp, REFERENCE_TIME* ptS, REFERENCE_TIME* ptE, DWORD dwFlags) override
    {
        m_tap.Call("alloc.GetBuffer");
        return FakeAllocator::GetBuffer(pp, ptS, ptE, dwFlags);
    }

private:
    Tap& m_tap;
};

class TappedPin : public HardPin
{
public:
    explicit TappedPin(Tap& tap) : m_tap(tap)
    {
        m_fnReceive = [&tap](IMediaSample*)
        {
            tap.Call("pin.Receive");
            return S_OK;
        };
        m_fnNewSegment = [&tap] { tap.Call("pin.NewSegment"); };
        m_fnEndOfStream = [&tap] { tap.Call("pin.EndOfStream"); };
        m_fnBeginFlush = [&tap] { tap.Call("pin.BeginFlush"); };
    }
    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) override
    {
        if (IsEqualGUID(riid, IID_IMemInputPin))
            m_tap.Call("pin.QueryInterface");
        return HardPin::QueryInterface(riid, ppv);
    }
    STDMETHOD(QueryDirection)(PIN_DIRECTION* pDir) override
    {
        m_tap.Call("pin.QueryDirection");
        return HardPin::QueryDirection(pDir);
    }
    STDMETHOD(EnumMediaTypes)(IEnumMediaTypes** ppEnum) override
    {
        m_tap.Call("pin.EnumMediaTypes");
        return HardPin::EnumMediaTypes(ppEnum);
    }
    STDMETHOD(ReceiveConnection)(IPin* pConnector, const AM_MEDIA_TYPE* pmt) override
    {
        const HRESULT hr = HardPin::ReceiveConnection(pConnector, pmt);
        m_tap.Call("pin.ReceiveConnection");
        return hr;
    }
    STDMETHOD(Disconnect)() override
    {
        m_tap.Call("pin.Disconnect");
        return HardPin::Disconnect();
    }
    STDMETHOD(EndFlush)() override
    {
        m_tap.Call("pin.EndFlush");
        return S_OK;
    }
    STDMETHOD(GetAllocator)(IMemAllocator** ppAllocator) override
    {
        m_tap.Call("pin.GetAllocator");
        return HardPin::GetAllocator(ppAllocator);
    }
    STDMETHOD(NotifyAllocator)(IMemAllocator* pAllocator, BOOL bReadOnly) override
    {
        m_tap.Call("pin.NotifyAllocator");
        return HardPin::NotifyAllocator(pAllocator, bReadOnly);
    }
    STDMETHOD(GetAllocatorRequirements)(ALLOCATOR_PROPERTIES* pProps) override
    {
        m_tap.Call("pin.GetAllocatorRequirements");
        return HardPin::GetAllocatorRequirements(pProps);
    }

private:
    Tap& m_tap;
};

class TappedGraph : public FakeGraph
{
public:
    explicit TappedGraph(Tap& tap) : m_tap(tap)
    {
        m_bReallyReconnect = true;
        m_onReconnect = [&tap](IPin*) { tap.Call("graph.ReconnectEx"); };
    }
    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) override
    {
        if (IsEqualGUID(riid, IID_IMediaEventSink))
            m_tap.Call("graph.QueryInterface");
        return FakeGraph::QueryInterface(riid, ppv);
    }

private:
    Tap& m_tap;
};

class TappedClock : public IReferenceClock
{
public:
    explicit TappedClock(Tap& tap) : m_tap(tap) {}
    virtual ~TappedClock() = default;
    std::atomic<long> m_nRefs = 0;
    STDMETHOD(QueryInterface)(REFIID, void** ppv) override
    {
        m_tap.Call("clock.QueryInterface");
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++m_nRefs); }
    STDMETHOD_(ULONG, Release)() override { return static_cast<ULONG>(--m_nRefs); }
    STDMETHOD(GetTime)(REFERENCE_TIME*) override { return E_NOTIMPL; }
    STDMETHOD(AdviseTime)(REFERENCE_TIME, REFERENCE_TIME, HEVENT, DWORD_PTR*) override { return E_NOTIMPL; }
    STDMETHOD(AdvisePeriodic)(REFERENCE_TIME, REFERENCE_TIME, HSEMAPHORE, DWORD_PTR*) override
    {
        return E_NOTIMPL;
    }
    STDMETHOD(Unadvise)(DWORD_PTR) override { return E_NOTIMPL; }

private:
    Tap& m_tap;
};

// --- One life of a filter between them

struct Life
{
    explicit Life(const LoadedModule& module) : source(module)
    {
        pin.m_pAllocator = &alloc;
        source.spPin->QueryInterface(IID_IMediaSeeking, reinterpret_cast<void**>(&spSeeking));
        source.spPin->QueryInterface(IID_IAMStreamConfig, reinterpret_cast<void**>(&spConfig));
        source.spPin->QueryInterface(IID_IQualityControl, reinterpret_cast<void**>(&spQuality));
    }

    FILTER_STATE State() const
    {
        FILTER_STATE eState{};
        source.spFilter->GetState(0, &eState);
        return eState;
    }

    Tap tap;
    TappedPin pin{tap};
    TappedAllocator alloc{tap};
    TappedGraph graph{tap};
    TappedClock clock{tap};
    HardSource source;
    CComPtr<IMediaSeeking> spSeeking;
    CComPtr<IAMStreamConfig> spConfig;
    CComPtr<IQualityControl> spQuality;
};

// --- The operations

struct Operation
{
    const char* pszName;
    HRESULT (*pfn)(Life&);
};

HRESULT SetOwnFormat(Life& life)
{
    AM_MEDIA_TYPE* pmt = nullptr;
    const HRESULT hr = life.spConfig->GetFormat(&pmt);
    if (hr != S_OK)
        return hr;
    const HRESULT hrSet = life.spConfig->SetFormat(pmt);
    MTDelete(pmt);
    return hrSet;
}

HRESULT AskEverything(Life& life)
{
    // Each of these has its own result, connected or not; what counts is that they all return.
    CMType mt;
    life.source.spPin->ConnectionMediaType(&mt);
    life.source.spPin->QueryAccept(&mt);
    CComPtr<IPin> spPeer;
    life.source.spPin->ConnectedTo(&spPeer);
    PIN_INFO pin{};
    life.source.spPin->QueryPinInfo(&pin);
    CComPtr<IBaseFilter>().Attach(pin.pFilter);
    CComPtr<IEnumMediaTypes> spTypes;
    life.source.spPin->EnumMediaTypes(&spTypes);
    FILTER_INFO info{};
    life.source.spFilter->QueryFilterInfo(&info);
    CComPtr<IFilterGraph>().Attach(info.pGraph);
    CComPtr<IReferenceClock> spClock;
    life.source.spFilter->GetSyncSource(&spClock);
    CComPtr<IPin> spPin;
    life.source.spFilter->FindPin(L"Video Out", &spPin);
    QG_VID_PROPS props{};
    life.source.spControl->GetOutputProps(&props);
    CComPtr<IFileSourceFilter> spFile;
    life.source.spFilter->QueryInterface(IID_IFileSourceFilter, reinterpret_cast<void**>(&spFile));
    LPOLESTR psz = nullptr;
    spFile->GetCurFile(&psz, nullptr);
    CoTaskMemFree(psz);
    AM_MEDIA_TYPE* pmt = nullptr;
    life.spConfig->GetFormat(&pmt);
    MTDelete(pmt);
    LONGLONG llStart = 0, llEnd = 0;
    life.spSeeking->GetDuration(&llEnd);
    life.spQuality->Notify(life.source.spFilter, Quality{});
    return life.spSeeking->GetPositions(&llStart, &llEnd);
}

const Operation arrOperations[] = {
    {"Stop", [](Life& life) { return life.source.spFilter->Stop(); }},
    {"Pause", [](Life& life) { return life.source.spFilter->Pause(); }},
    {"Run", [](Life& life) { return life.source.spFilter->Run(0); }},
    {"SetSyncSource", [](Life& life) { return life.source.spFilter->SetSyncSource(nullptr); }},
    {"JoinFilterGraph", [](Life& life) { return life.source.spFilter->JoinFilterGraph(nullptr, nullptr); }},
    {"Connect", [](Life& life) { return life.source.spPin->Connect(&life.pin, nullptr); }},
    {"Disconnect", [](Life& life) { return life.source.spPin->Disconnect(); }},
    {"SetFormat", &SetOwnFormat},
    {"SetOutputFormat", [](Life& life) { return life.source.SetFormat(L"RGB32", 16, 16); }},
    {"SetFrameRate", [](Life& life) { return life.source.spControl->SetFrameRate(50); }},
    {"SetOutputProps",
     [](Life& life)
     {
         QG_VID_PROPS props{};
         life.source.spControl->GetOutputProps(&props);
         props.dblRate = 30;
         return life.source.spControl->SetOutputProps(&props);
     }},
    {"SetPicture", [](Life& life) { return life.source.SetPicture(L"blue|green"); }},
    {"SetPictureHandle",
     [](Life& life)
     {
         const HardBitmap bitmap(16, 16, 24, 0x55);
         return life.source.spControl->SetPictureHandle(bitmap.Handle());
     }},
    {"SetPositions",
     [](Life& life)
     {
         LONGLONG ll = 0;
         return life.spSeeking->SetPositions(&ll, AM_SEEKING_AbsolutePositioning, nullptr, 0);
     }},
    {"queries", &AskEverything},
};

/// Waits for a moment that has to come.
template <class TCondition>
void WaitFor(TCondition condition)
{
    while (!condition())
        Sleep(1);
}

/// A whole life, with the operation within the call. \return its result
HRESULT Live(const LoadedModule& module, const CallRow& row, const Operation& operation, bool bStopBeside)
{
    Life life(module);
    CEvent evDone, evStop;
    evDone.Create(true);
    evStop.Create(true);
    HRESULT hr = E_UNEXPECTED;
    std::atomic<bool> bStopped = !bStopBeside;
    std::thread stopper;
    if (bStopBeside)
        stopper = std::thread(
            [&]
            {
                WaitForSingleObject(evStop, INFINITE);
                life.source.spFilter->Stop();
                bStopped = true;
            });
    life.tap.Arm(row,
                 [&]
                 {
                     evStop.Set();
                     // Until the other thread waits in its Stop, or is through. Nobody can see that it waits;
                     // a pair that comes too early is one without it.
                     for (int i = 0; i < 10 && !bStopped; i++)
                         Sleep(1);
                     hr = operation.pfn(life);
                     evDone.Set();
                 });
    const bool bEndOfStream = std::string_view(row.pszName) == "pin.EndOfStream";
    const auto stage = [&](eStage eNow)
    {
        life.tap.m_stage = eNow;
        return row.stage >= eNow;
    };

    life.source.SetPicture(bEndOfStream ? L"red|red" : L"red");
    life.source.SetFormat(L"RGB32", 16, 16);
    stage(eSt_Join);
    life.source.spFilter->JoinFilterGraph(life.graph.Graph(), L"source");
    stage(eSt_Clock);
    life.source.spFilter->SetSyncSource(&life.clock);
    if (stage(eSt_Connect))
        life.source.spPin->Connect(&life.pin, nullptr);
    if (row.stage == eSt_Reconnect && stage(eSt_Reconnect))
        life.source.spControl->SetFrameRate(24);
    if (stage(eSt_Start))
    {
        if (row.stage == eSt_Stream)
            life.tap.m_stage = eSt_Stream;
        life.source.spFilter->Run(0);
    }
    if (row.stage == eSt_Stream)
        WaitFor([&] { return life.tap.IsDone() && WaitForSingleObject(evDone, 0) == WAIT_OBJECT_0; });
    if (stage(eSt_Seek))
    {
        LONGLONG ll = 400000;
        life.spSeeking->SetPositions(&ll, AM_SEEKING_AbsolutePositioning, nullptr, 0);
    }
    stage(eSt_Stop);
    life.source.spFilter->Stop();
    stage(eSt_Disconnect);
    life.source.spPin->Disconnect();
    evStop.Set();
    if (stopper.joinable())
        stopper.join();

    // Whatever the operation has left.
    life.source.spFilter->Stop();
    life.source.spPin->Disconnect();
    life.source.spFilter->SetSyncSource(nullptr);
    life.source.spFilter->JoinFilterGraph(nullptr, nullptr);
    EXPECT_EQ(life.State(), State_Stopped);
    EXPECT_TRUE(life.tap.IsDone()) << "the call never came";
    life.spSeeking.Release();
    life.spConfig.Release();
    life.spQuality.Release();
    life.source.Release();
    EXPECT_EQ(life.pin.Refs(), 0);
    EXPECT_EQ(life.alloc.Refs(), 0);
    EXPECT_EQ(life.graph.Refs(), 0);
    EXPECT_EQ(life.clock.m_nRefs, 0);
    return hr;
}

std::string Hex(HRESULT hr)
{
    char sz[16];
    snprintf(sz, sizeof(sz), "%08X", static_cast<unsigned>(hr));
    return sz;
}

TEST(Pairs, Print)
{
    const HardCom com;
    const LoadedModule module;
    Watchdog watchdog(1, 30000);
    static std::string sName;
    for (const bool bBeside : {false, true})
    {
        for (const CallRow& row : arrCalls)
        {
            std::string sLine = std::string(bBeside ? "with " : "alone ") + row.pszName + ":";
            for (const Operation& operation : arrOperations)
            {
                static char szStep[200];
                snprintf(szStep, sizeof(szStep), "%s within %s of stage %d%s", operation.pszName, row.pszName,
                         row.stage, bBeside ? " beside a Stop" : "");
                watchdog.Step(0, szStep);
                sLine += std::string(" ") + operation.pszName + "=" + Hex(Live(module, row, operation, bBeside));
            }
            printf("%s\n", sLine.c_str());
            fflush(stdout);
        }
    }
    EXPECT_TRUE(WaitUntilUnloadable(module));
}

} // namespace
