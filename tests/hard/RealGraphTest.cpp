/// Random hosts in the platform's own graph.
///
/// What that graph cannot do on several threads at once, namely its own operations (state, connection,
/// membership, seeking), is behind one lock here; what a host asks the filter itself comes from all threads
/// at any time.
///
/// QX_HARD_SEED and QX_HARD_OPERATIONS as for the random hosts.

#include <vfwmsgs.h>

#include <cstdio>
#include <ctime>
#include <mutex>
#include <shared_mutex>
#include <thread>

#include "Failure.h"
#include "FrameSink.h"
#include "ProcessUsage.h"
#include "Stress.h"

namespace
{

constexpr int nThreads = 3;
constexpr long long nWarmUp = 1500;
constexpr int nSinks = 3; // slow, fast, failing

/// Shared and exclusive holders. The platform's lock: std::shared_mutex of the compiler's thread library lets
/// two exclusive holders in when several threads meet at its first use, or hangs.
class SharedLock
{
public:
    void lock() { AcquireSRWLockExclusive(&m_lock); }
    void unlock() { ReleaseSRWLockExclusive(&m_lock); }
    void lock_shared() { AcquireSRWLockShared(&m_lock); }
    void unlock_shared() { ReleaseSRWLockShared(&m_lock); }

private:
    SRWLOCK m_lock = SRWLOCK_INIT;
};

/// What the sinks hand their samples to.
class Receiver final : public FrameReceiver
{
public:
    std::atomic<long long> nFrames = 0;
    int nKind = 0;

    void SetFormat(const VideoFormat&) override {}
    HRESULT OnFrame(IMediaSample*) override
    {
        const long long n = ++nFrames;
        if (nKind == 0)
            Sleep(1);
        return nKind == 2 && n % 8 == 3 ? E_FAIL : S_OK;
    }
};

class GraphHosts
{
public:
    GraphHosts(const LoadedModule& module, const HardPictures& pictures, Watchdog& watchdog)
        : m_module(module), m_pictures(pictures), m_watchdog(watchdog)
    {
    }

    /// \return frames that have arrived
    long long Run(uint64_t nSeed, long long nOperations)
    {
        Check(m_graph.CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC_SERVER), "no graph");
        m_graph->QueryInterface(IID_IMediaControl, reinterpret_cast<void**>(&m_control));
        m_graph->QueryInterface(IID_IMediaSeeking, reinterpret_cast<void**>(&m_seeking));
        CComPtr<IMediaFilter> clock;
        m_graph->QueryInterface(IID_IMediaFilter, reinterpret_cast<void**>(&clock));
        Receiver arrReceivers[nSinks];
        for (int i = 0; i < nSinks; i++)
        {
            arrReceivers[i].nKind = i;
            Check(CreateFrameSink(arrReceivers[i], m_sinks[i]), "no sink");
            Check(m_graph->AddFilter(m_sinks[i], L"sink"), "no sink in the graph");
        }
        Check(clock->SetSyncSource(nullptr), "no graph without a clock");
        Renew();
        m_nNext = 0;
        std::vector<std::thread> threads;
        for (size_t i = 0; i < nThreads; i++)
            threads.emplace_back([=, this] { Work(nSeed * 1000 + i, nOperations, i); });
        for (std::thread& thread : threads)
            thread.join();
        m_watchdog.Step(nOperations, "end", 0);
        StopAll();
        Exchange({});
        long long nFrames = 0;
        for (int i = 0; i < nSinks; i++)
        {
            m_graph->RemoveFilter(m_sinks[i]);
            m_sinks[i].Release();
            nFrames += arrReceivers[i].nFrames;
        }
        clock.Release();
        m_seeking.Release();
        m_control.Release();
        m_graph.Release();
        m_watchdog.Step(0, nullptr, 0);
        return nFrames;
    }

private:
    HardSource Current()
    {
        const std::lock_guard lock(m_lockSource);
        return m_source;
    }

    /// Puts another filter into the graph, or none. Under m_lockGraph, or alone.
    void Exchange(const HardSource& next)
    {
        HardSource old = next;
        {
            const std::lock_guard lock(m_lockSource);
            std::swap(old, m_source);
        }
        if (!old.spFilter)
            return;
        StopAll();
        old.spFilter->Stop();
        CComPtr<IPin> spPeer;
        if (old.spPin->ConnectedTo(&spPeer) == S_OK)
        {
            Check(m_graph->Disconnect(old.spPin), "the source does not let go of its peer");
            Check(m_graph->Disconnect(spPeer), "the peer does not let go of the source");
        }
        Check(m_graph->RemoveFilter(old.spFilter), "the source does not leave the graph");
    }

    void Renew()
    {
        HardSource source(m_module);
        Check(m_graph->AddFilter(source.spFilter, L"source"), "no source in the graph");
        Exchange(source);
    }

    /// A graph that does not start takes itself for stopped, and leaves those of its filters running that
    /// have started.
    HRESULT Start(HRESULT hr)
    {
        if (FAILED(hr))
            StopAll();
        return hr;
    }

    HRESULT StopAll()
    {
        const HRESULT hr = m_control->Stop();
        for (const CComPtr<IBaseFilter>& sink : m_sinks)
            sink->Stop();
        if (const CComPtr<IBaseFilter> source = Current().spFilter)
            source->Stop();
        return hr;
    }

    HRESULT GraphOperation(HardRandom& random)
    {
        const std::unique_lock lock(m_lockGraph);
        const HardSource source = Current();
        switch (random.Below(12))
        {
        case 0:
        case 1:
        case 2:
            return Start(m_control->Run());
        case 3:
            return Start(m_control->Pause());
        case 4:
        case 5:
            return StopAll();
        case 6:
        case 7:
        case 8:
        {
            // Connections change in a stopped graph: a sink that runs does not let go of a pin that has.
            StopAll();
            const CComPtr<IPin> spIn = FindPin(m_sinks[random.Below(nSinks)], PINDIR_INPUT);
            const HRESULT hr = m_graph->ConnectDirect(source.spPin, spIn, nullptr);
            return SUCCEEDED(hr) && random.OneIn(2) ? Start(m_control->Run()) : hr;
        }
        case 9:
        {
            StopAll();
            CComPtr<IPin> spPeer;
            const HRESULT hr = source.spPin->ConnectedTo(&spPeer);
            if (hr != S_OK)
                return hr;
            m_graph->Disconnect(source.spPin);
            return m_graph->Disconnect(spPeer);
        }
        case 10:
        {
            LONGLONG llCurrent = random.Below(50) * 400000LL;
            LONGLONG llStop = llCurrent + random.Below(50) * 400000LL;
            return m_seeking->SetPositions(&llCurrent, AM_SEEKING_AbsolutePositioning, &llStop,
                                           AM_SEEKING_AbsolutePositioning);
        }
        default:
            if (random.OneIn(4))
                Renew();
            return S_OK;
        }
    }

    HRESULT FilterOperation(HardRandom& random)
    {
        const HardSource source = Current();
        const int nOperation = random.Below(8);
        if (nOperation == 6)
        {
            CallEveryQuery(source, nullptr);
            return S_OK;
        }
        if (nOperation == 7)
        {
            // From the start and without an end, so that frames flow for a while where they may.
            CComPtr<IMediaSeeking> spSeeking;
            source.spPin->QueryInterface(IID_IMediaSeeking, reinterpret_cast<void**>(&spSeeking));
            LONGLONG llNone = 0;
            if (spSeeking)
                spSeeking->SetPositions(&llNone, AM_SEEKING_AbsolutePositioning, &llNone,
                                        AM_SEEKING_AbsolutePositioning);
            Sleep(static_cast<DWORD>(random.Below(4)));
            return S_OK;
        }
        std::shared_lock lockShared(m_lockGraph);
        FILTER_STATE eState{};
        source.spFilter->GetState(0, &eState);
        if (eState != State_Stopped)
            return Set(source, nOperation, random);
        lockShared.unlock();
        const std::unique_lock lock(m_lockGraph);
        return Set(source, nOperation, random);
    }

    HRESULT Set(const HardSource& source, int nOperation, HardRandom& random)
    {
        switch (nOperation)
        {
        case 0:
        case 1:
            return source.SetPicture(m_pictures.AnyName(random));
        case 2:
            return source.spControl->SetPictureHandle(m_pictures.AnyHandle(random));
        case 3:
        {
            QG_VID_PROPS props{};
            source.spControl->GetOutputProps(&props);
            props.dblRate = random.Below(60);
            return source.spControl->SetOutputProps(&props);
        }
        case 4:
            return source.SetFormat(random.OneIn(2) ? L"UYVY" : L"RGB32", 16 + 2 * random.Below(40), 32);
        default:
            return source.spControl->SetFrameRate(random.Below(60));
        }
    }

    void Work(uint64_t nSeed, long long nOperations, size_t nLane)
    {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        HardRandom random(nSeed);
        for (long long n = m_nNext++; n < nOperations; n = m_nNext++)
        {
            const bool bGraph = random.OneIn(2);
            m_watchdog.Step(n, bGraph ? "the graph" : "the filter", nLane);
            bGraph ? GraphOperation(random) : FilterOperation(random);
        }
        m_watchdog.Step(0, nullptr, nLane);
        CoUninitialize();
    }

    const LoadedModule& m_module;
    const HardPictures& m_pictures;
    Watchdog& m_watchdog;
    CComPtr<IGraphBuilder> m_graph;
    CComPtr<IMediaControl> m_control;
    CComPtr<IMediaSeeking> m_seeking;
    CComPtr<IBaseFilter> m_sinks[nSinks];
    SharedLock m_lockGraph; ///< the operations of the graph, and what may lead to one
    std::mutex m_lockSource;
    HardSource m_source;
    std::atomic<long long> m_nNext = 0;
};

TEST(RealGraph, RandomHostsLeaveNothingBehind)
{
    const HardCom com;
    const LoadedModule module;
    const HardPictures pictures;
    Watchdog watchdog(nThreads);
    const uint64_t nSeed =
        static_cast<uint64_t>(NumberFromEnvironment("QX_HARD_SEED", static_cast<long long>(time(nullptr))));
    const long long nOperations = NumberFromEnvironment("QX_HARD_OPERATIONS", 20000);
    std::printf("seed %llu\n", static_cast<unsigned long long>(nSeed));
    std::fflush(stdout);

    GraphHosts hosts(module, pictures, watchdog);
    hosts.Run(nSeed, nWarmUp);
    const Usage before = CurrentUsage();
    const DWORD dwStart = GetTickCount();
    const long long nFrames = hosts.Run(nSeed, nOperations);
    std::printf("%lld operations, %lld frames, in %.1f s\n", nOperations, nFrames,
                (GetTickCount() - dwStart) / 1000.0);
    ASSERT_TRUE(WaitUntilUnloadable(module));
    const Usage after = CurrentUsage();
    Tell(before, after);
    EXPECT_GT(nFrames, 0);
    // The graph keeps a handle for itself, and some bytes of each run.
    EXPECT_LE(after.handles, before.handles + 16);
    EXPECT_LE(after.privateBytes, before.privateBytes + 8 * 1024 * 1024);
}

} // namespace
