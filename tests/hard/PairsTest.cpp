/// Calls from within calls: a peer calls every operation of filter, pin, control interface and seeking from
/// within every call that the filter makes to it, alone and with another thread in Stop. Each pair ends, with
/// the result that docs/threads.md states.

#include "HardSupport.h"

#include <vfwmsgs.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <initializer_list>
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
    eG_Unconnected,   ///< no connection, and no call of the filter is under way on this thread
    eG_Choosing,      ///< Connect, before ReceiveConnection
    eG_Connecting,    ///< Connect, from ReceiveConnection on
    eG_Reconnecting,  ///< the graph, which has been asked for a reconnection
    eG_Starting,      ///< Pause or Run, in the allocator
    eG_Worker,        ///< the worker, in the peer, its allocator or its sample
    eG_Flushing,      ///< SetPositions, in the peer
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
    {"graph.QueryInterface", eSt_Join, eG_Unconnected},
    {"clock.QueryInterface", eSt_Clock, eG_Unconnected},
    {"pin.QueryDirection", eSt_Connect, eG_Choosing},
    {"pin.EnumMediaTypes", eSt_Connect, eG_Choosing},
    {"pin.ReceiveConnection", eSt_Connect, eG_Connecting},
    {"pin.QueryInterface", eSt_Connect, eG_Connecting},
    {"pin.GetAllocatorRequirements", eSt_Connect, eG_Connecting},
    {"pin.GetAllocator", eSt_Connect, eG_Connecting},
    {"alloc.SetProperties", eSt_Connect, eG_Connecting},
    {"pin.NotifyAllocator", eSt_Connect, eG_Connecting},
    {"alloc.GetProperties", eSt_Connect, eG_Connecting},
    {"graph.ReconnectEx", eSt_Reconnect, eG_Reconnecting},
    {"alloc.Commit", eSt_Start, eG_Starting},
    {"alloc.GetProperties", eSt_Start, eG_Starting},
    {"alloc.GetBuffer", eSt_Stream, eG_Worker},
    {"pin.NewSegment", eSt_Stream, eG_Worker},
    {"sample.GetMediaType", eSt_Stream, eG_Worker},
    {"sample.GetPointer", eSt_Stream, eG_Worker},
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
    STDMETHOD(GetPointer)(BYTE** ppBuffer) override
    {
        m_tap.Call("sample.GetPointer");
        return FakeSample::GetPointer(ppBuffer);
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

/// The results of the calls of one life.
struct Results
{
    HRESULT hrOperation = E_UNEXPECTED; ///< of the operation within the call
    HRESULT hrConnect = E_UNEXPECTED, hrRun = E_UNEXPECTED;
    FILTER_STATE eBehindRun = State_Stopped; ///< state when Run has returned
    bool bConnected = false;                 ///< when Connect has returned
};

// --- The operations

struct Operation
{
    const char* pszName;
    HRESULT (*pfn)(Life&);
    HRESULT arrAlone[eG_Count];            ///< the result, by group
    std::initializer_list<HRESULT> beside; ///< those that are possible as well beside a Stop, by its progress
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

HRESULT SetOtherRate(Life& life)
{
    QG_VID_PROPS props{};
    life.source.spControl->GetOutputProps(&props);
    props.dblRate = 30;
    return life.source.spControl->SetOutputProps(&props);
}

HRESULT SetSmallBitmap(Life& life)
{
    const HardBitmap bitmap(16, 16, 24, 0x55);
    return life.source.spControl->SetPictureHandle(bitmap.Handle());
}

HRESULT SeekToBegin(Life& life)
{
    LONGLONG ll = 0;
    return life.spSeeking->SetPositions(&ll, AM_SEEKING_AbsolutePositioning, nullptr, 0);
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

constexpr HRESULT hrNoConn = VFW_E_NOT_CONNECTED, hrNoAlloc = VFW_E_NO_ALLOCATOR, hrWrong = VFW_E_WRONG_STATE,
                  hrChanged = VFW_E_STATE_CHANGED, hrTaken = VFW_E_ALREADY_CONNECTED,
                  hrRuns = VFW_E_NOT_STOPPED;

// clang-format off
const Operation arrOperations[] = {
    // columns: Unconnected, Choosing, Connecting, Reconnecting, Starting, Worker, Flushing, Stopping, Disconnecting, Disconnected
    {"Stop", [](Life& life) { return life.source.spFilter->Stop(); },
     {hrNoConn, hrNoConn, hrNoAlloc, S_OK, S_OK, S_OK, S_OK, S_OK, hrNoAlloc, hrNoConn}, {S_OK}}, // left to it
    {"Pause", [](Life& life) { return life.source.spFilter->Pause(); },
     {hrWrong, hrWrong, hrWrong, S_OK, hrChanged, S_OK, S_OK, hrChanged, hrWrong, hrWrong}, {hrChanged}},
    {"Run", [](Life& life) { return life.source.spFilter->Run(0); },
     {hrWrong, hrWrong, hrWrong, S_OK, hrChanged, S_OK, S_OK, hrChanged, hrWrong, hrWrong}, {hrChanged}},
    {"SetSyncSource", [](Life& life) { return life.source.spFilter->SetSyncSource(nullptr); }, {}, {}},
    {"JoinFilterGraph", [](Life& life) { return life.source.spFilter->JoinFilterGraph(nullptr, nullptr); }, {}, {}},
    {"Connect", [](Life& life) { return life.source.spPin->Connect(&life.pin, nullptr); },
     {S_OK, hrChanged, hrTaken, hrTaken, hrTaken, hrTaken, hrTaken, hrTaken, hrTaken, hrChanged}, {}},
    {"Disconnect", [](Life& life) { return life.source.spPin->Disconnect(); },
     {S_FALSE, S_FALSE, S_OK, S_OK, hrRuns, hrRuns, hrRuns, hrRuns, S_OK, S_FALSE}, {S_OK}},
    {"SetFormat", &SetOwnFormat,
     {S_OK, S_OK, S_OK, S_OK, S_OK, hrRuns, hrRuns, hrRuns, S_OK, S_OK}, {S_OK}},
    {"SetOutputFormat", [](Life& life) { return life.source.SetFormat(L"RGB32", 16, 16); },
     {S_OK, S_OK, S_OK, S_OK, S_OK, hrRuns, hrRuns, hrRuns, S_OK, S_OK}, {S_OK}},
    {"SetFrameRate", [](Life& life) { return life.source.spControl->SetFrameRate(50); },
     {S_OK, S_OK, S_OK, S_OK, S_OK, hrRuns, hrRuns, hrRuns, S_OK, S_OK}, {S_OK}},
    {"SetOutputProps", &SetOtherRate, {}, {}},
    {"SetPicture", [](Life& life) { return life.source.SetPicture(L"blue|green"); }, {}, {}},
    {"SetPictureHandle", &SetSmallBitmap, {}, {}},
    {"SetPositions", &SeekToBegin,
     {S_OK, S_OK, S_OK, S_OK, S_OK, S_OK, hrChanged, S_OK, S_OK, S_OK}, {hrChanged}},
    {"queries", &AskEverything, {}, {}},
};
// clang-format on

/// A whole life, with the operation within the call.
Results Live(const LoadedModule& module, const CallRow& row, const Operation& operation, bool bStopBeside)
{
    Results results;
    Life life(module);
    CEvent evDone, evStop, evRan;
    EXPECT_TRUE(evDone.Create(true) && evStop.Create(true) && evRan.Create(true));
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
                     if (row.stage == eSt_Stream)
                         WaitForSingleObject(evRan, INFINITE); // the host's Run has had its turn
                     evStop.Set();
                     // Until the other thread waits in its Stop, or is through. Nobody can see that it waits:
                     // a pair that comes too early has the result of one without it.
                     for (int i = 0; i < 10 && !bStopped; i++)
                         Sleep(1);
                     results.hrOperation = operation.pfn(life);
                     evDone.Set();
                 });
    const auto stage = [&](eStage eNow)
    {
        life.tap.m_stage = eNow;
        return row.stage >= eNow;
    };

    life.source.SetPicture(std::string_view(row.pszName) == "pin.EndOfStream" ? L"red|red" : L"red");
    life.source.SetFormat(L"RGB32", 16, 16);
    stage(eSt_Join);
    life.source.spFilter->JoinFilterGraph(life.graph.Graph(), L"source");
    stage(eSt_Clock);
    life.source.spFilter->SetSyncSource(&life.clock);
    if (stage(eSt_Connect))
    {
        results.hrConnect = life.source.spPin->Connect(&life.pin, nullptr);
        CComPtr<IPin> spPeer;
        results.bConnected = life.source.spPin->ConnectedTo(&spPeer) == S_OK;
    }
    if (row.stage == eSt_Reconnect && stage(eSt_Reconnect))
        life.source.spControl->SetFrameRate(24);
    if (stage(eSt_Start))
    {
        if (row.stage == eSt_Stream)
            life.tap.m_stage = eSt_Stream;
        results.hrRun = life.source.spFilter->Run(0);
        results.eBehindRun = life.State();
        evRan.Set();
    }
    if (row.stage == eSt_Stream)
        WaitForSingleObject(evDone, INFINITE);
    if (stage(eSt_Seek))
        SeekToBegin(life);
    stage(eSt_Stop);
    life.source.spFilter->Stop();
    stage(eSt_Disconnect);
    life.source.spPin->Disconnect();
    evStop.Set();
    if (stopper.joinable())
        stopper.join();
    EXPECT_TRUE(life.tap.IsDone()) << "the call never came";

    // Whatever the operation has left.
    life.source.spFilter->Stop();
    life.source.spPin->Disconnect();
    life.source.spFilter->SetSyncSource(nullptr);
    life.source.spFilter->JoinFilterGraph(nullptr, nullptr);
    EXPECT_EQ(life.State(), State_Stopped);
    life.spSeeking.Release();
    life.spConfig.Release();
    life.spQuality.Release();
    life.source.Release();
    EXPECT_EQ(life.pin.Refs(), 0);
    EXPECT_EQ(life.alloc.Refs(), 0);
    EXPECT_EQ(life.graph.Refs(), 0);
    EXPECT_EQ(life.clock.m_nRefs, 0);
    return results;
}

std::string Hex(HRESULT hr)
{
    char sz[16];
    snprintf(sz, sizeof(sz), "0x%08X", static_cast<unsigned>(hr));
    return sz;
}

/// What the operations that undo a connection or a start leave of it.
void CheckOuterCalls(const CallRow& row, std::string_view sOperation, const Results& results)
{
    if (row.stage == eSt_Connect)
    {
        EXPECT_EQ(results.bConnected, results.hrConnect == S_OK);
        if (row.group == eG_Connecting && sOperation == "Disconnect")
        {
            EXPECT_EQ(Hex(results.hrConnect), Hex(VFW_E_NOT_CONNECTED));
        }
    }
    if (row.group == eG_Starting && sOperation == "Stop")
    {
        EXPECT_EQ(Hex(results.hrRun), Hex(VFW_E_STATE_CHANGED));
        EXPECT_EQ(results.eBehindRun, State_Stopped);
    }
}

class Pairs : public testing::TestWithParam<CallRow>
{
protected:
    void RunAll(bool bStopBeside)
    {
        const CallRow& row = GetParam();
        for (const Operation& operation : arrOperations)
        {
            static char szStep[200];
            snprintf(szStep, sizeof(szStep), "%s within %s%s", operation.pszName, row.pszName,
                     bStopBeside ? " beside a Stop" : "");
            SCOPED_TRACE(szStep);
            m_watchdog.Step(row.stage, szStep);
            const Results results = Live(m_module, row, operation, bStopBeside);
            const HRESULT hr = results.hrOperation, hrAlone = operation.arrAlone[row.group];
            const auto& beside = operation.beside;
            if (!bStopBeside || std::find(beside.begin(), beside.end(), hr) == beside.end())
            {
                EXPECT_EQ(Hex(hr), Hex(hrAlone));
            }
            if (!bStopBeside)
                CheckOuterCalls(row, operation.pszName, results);
        }
        m_watchdog.Step(0, nullptr);
        EXPECT_TRUE(WaitUntilUnloadable(m_module));
    }

    const HardCom m_com;
    const LoadedModule m_module;
    Watchdog m_watchdog;
};

TEST_P(Pairs, Alone)
{
    RunAll(false);
}

TEST_P(Pairs, BesideAStop)
{
    RunAll(true);
}

INSTANTIATE_TEST_SUITE_P(Calls, Pairs, testing::ValuesIn(arrCalls),
                         [](const auto& info)
                         {
                             std::string s = std::to_string(info.index) + "_" + info.param.pszName;
                             std::replace(s.begin(), s.end(), '.', '_');
                             return s;
                         });

} // namespace
