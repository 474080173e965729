#include "Stress.h"

#include <vfwmsgs.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <thread>

#include "support/picture/PngFile.h"

namespace
{

/// Everything that an operation may answer here, whatever the others do meanwhile.
constexpr HRESULT arrUsualResults[] = {S_OK,
                                       S_FALSE,
                                       E_INVALIDARG,
                                       E_POINTER,
                                       E_FAIL,
                                       E_NOTIMPL,
                                       E_OUTOFMEMORY,
                                       VFW_E_NOT_CONNECTED,
                                       VFW_E_ALREADY_CONNECTED,
                                       VFW_E_NOT_STOPPED,
                                       VFW_E_WRONG_STATE,
                                       VFW_E_NO_ALLOCATOR,
                                       VFW_E_NOT_COMMITTED,
                                       VFW_E_NO_ACCEPTABLE_TYPES,
                                       VFW_E_TYPE_NOT_ACCEPTED,
                                       VFW_E_INVALIDMEDIATYPE,
                                       VFW_E_INVALID_MEDIA_TYPE,
                                       VFW_E_NOT_IN_GRAPH,
                                       VFW_E_NOT_FOUND,
                                       VFW_E_STATE_CHANGED,
                                       HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND),
                                       HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND),
                                       HRESULT_FROM_WIN32(ERROR_INVALID_DATA)};

/// A graph as far as it is needed. With a lock of its own it holds it across whatever it asks of its filters,
/// as the platform's does.
class HardGraph : public FakeGraph
{
public:
    explicit HardGraph(bool bLocked) : m_bLocked(bLocked) {}

    template <class F>
    HRESULT Locked(F fn)
    {
        CScopedLock lock(m_bLocked ? &m_crsGraph : nullptr);
        return fn();
    }

    STDMETHOD(Reconnect)(IPin* pPin) override { return Renew(pPin, nullptr); }
    STDMETHOD(ReconnectEx)(IPin* pPin, const AM_MEDIA_TYPE* pmt) override { return Renew(pPin, pmt); }

private:
    HRESULT Renew(IPin* pPin, const AM_MEDIA_TYPE* pmt)
    {
        return Locked(
            [&]
            {
                CComPtr<IPin> spPeer;
                HRESULT hr = pPin->ConnectedTo(&spPeer);
                if (hr != S_OK)
                    return hr;
                hr = pPin->Disconnect();
                return FAILED(hr) ? hr : pPin->Connect(spPeer, pmt);
            });
    }

    const bool m_bLocked;
    CCritSec m_crsGraph;
};

enum eSink
{
    eSK_Slow,
    eSK_Fast,
    eSK_Failing,
    eSK_Count
};

/// A filter with its neighbours. The last holder ends it, in one of the ways in which hosts do.
class World
{
public:
    World(const StressPlan& plan, uint64_t nSeed, std::atomic<long long>& nFrames)
        : m_random(nSeed), m_graph(m_random.OneIn(2)), m_nFrames(nFrames)
    {
        m_source = plan.fnCreate();
        m_nEnd = m_random.Below(4);
        const bool bStockAllocator = m_random.OneIn(2);
        if (bStockAllocator)
            m_spStock.CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER);
        for (int i = 0; i < eSK_Count; i++)
        {
            m_arrSinks[i].m_fnReceive = [this, i](IMediaSample*) { return OnReceive(static_cast<eSink>(i)); };
            m_arrSinks[i].m_pAllocator = i == eSK_Slow ? m_spStock.p : nullptr;
        }
        if (m_source.spPin && !m_random.OneIn(8))
            m_graph.AddFilter(m_source.spFilter, L"source");
    }

    ~World()
    {
        {
            CScopedLock lock(&m_crsEnd);
            m_bEnding = true; // m_source is this thread's from here on
        }
        if (m_source.spPin)
            End();
        // The pin goes with the worker where the worker had the last reference.
        for (HardPin& sink : m_arrSinks)
        {
            while (sink.Refs() != 0)
                Sleep(1);
        }
        while (m_graph.Refs() != 0)
            Sleep(1);
    }

    HardSource m_source;
    HardPin m_arrSinks[eSK_Count];

    HardGraph& Graph() { return m_graph; }

private:
    void End()
    {
        m_source.spFilter->JoinFilterGraph(nullptr, nullptr);
        switch (m_nEnd)
        {
        case 0: // as it should be
            m_source.spFilter->Stop();
            m_source.spPin->Disconnect();
            m_source.Release();
            return;
        case 1: // the pin first
        {
            m_source.spFilter->Stop();
            m_source.spPin->Disconnect();
            m_source.spPin.Release();
            m_source.Release();
            return;
        }
        case 2: // within Receive, if there is one in time
            if (EndInReceive())
                return;
            break;
        default:
            break;
        }
        // The filter as it is, running or not; the pin can then be disconnected.
        m_source.spControl.Release();
        m_source.spFilter.Release();
        while (m_source.spPin->Disconnect() == VFW_E_NOT_STOPPED)
            Sleep(1); // the worker has a reference, and will find it to be the last one
        m_source.spPin.Release();
    }

    bool EndInReceive()
    {
        CEvent evDone;
        if (!evDone.Create(true))
            return false;
        m_pevDone = &evDone;
        const HANDLE hDone = evDone.Get();
        m_pLast = new HardSource(m_source);
        m_source.Release(); // leaves the copy
        WaitForSingleObject(hDone, 20);
        if (HardSource* const pLast = m_pLast.exchange(nullptr))
        {
            m_source = *pLast; // nobody came
            delete pLast;
            return false;
        }
        WaitForSingleObject(hDone, INFINITE);
        return true;
    }

    HRESULT OnReceive(eSink eSink)
    {
        ++m_nFrames;
        HardSource source; // may turn out to have the last references, and then lets them go here
        {
            CScopedLock lock(&m_crsEnd);
            if (!m_bEnding)
                source = m_source;
        }
        if (!source.spPin)
        {
            HardSource* const pLast = m_pLast.exchange(nullptr);
            if (pLast != nullptr)
            {
                delete pLast;
                for (HardPin& sink : m_arrSinks)
                    sink.Disconnect(); // its reference on the pin
                m_pevDone->Set();
            }
            return S_FALSE;
        }
        const unsigned nCall = static_cast<unsigned>(++m_nCalls) * 2654435761u >> 8;
        if (nCall % 16 == 0)
            AskBack(source);
        if (nCall % 256 == 1)
            source.spFilter->Stop(); // from within the worker's call
        if (eSink == eSK_Slow)
            Sleep(1);
        if (eSink != eSK_Failing || nCall % 8 != 2)
            return S_OK;
        constexpr HRESULT arrResults[] = {S_FALSE, E_FAIL, VFW_E_WRONG_STATE, VFW_E_NOT_COMMITTED};
        return arrResults[nCall / 8 % std::size(arrResults)];
    }

    /// What peers ask while they have a sample. The answers depend on the other threads.
    static void AskBack(const HardSource& source)
    {
        CMType mt;
        source.spPin->ConnectionMediaType(&mt);
        PIN_INFO pin{};
        source.spPin->QueryPinInfo(&pin);
        CComPtr<IBaseFilter>().Attach(pin.pFilter);
        FILTER_STATE eState{};
        source.spFilter->GetState(0, &eState);
        FILTER_INFO info{};
        source.spFilter->QueryFilterInfo(&info);
        CComPtr<IFilterGraph>().Attach(info.pGraph);
        CComPtr<IEnumMediaTypes> spTypes;
        source.spPin->EnumMediaTypes(&spTypes);
        CComPtr<IPin> spFound;
        source.spFilter->FindPin(L"Video Out", &spFound);
        CComPtr<IMediaSeeking> spSeeking;
        source.spPin->QueryInterface(IID_IMediaSeeking, reinterpret_cast<void**>(&spSeeking));
        LONGLONG llCurrent = 0, llStop = 0;
        if (spSeeking)
            spSeeking->GetPositions(&llCurrent, &llStop);
    }

    HardRandom m_random;
    CComPtr<IMemAllocator> m_spStock;
    HardGraph m_graph;
    std::atomic<long long>& m_nFrames;
    int m_nEnd = 0;
    std::atomic<unsigned> m_nCalls = 0;
    CCritSec m_crsEnd;
    bool m_bEnding = false; ///< guarded by m_crsEnd
    std::atomic<HardSource*> m_pLast = nullptr;
    CEvent* m_pevDone = nullptr;
};

// --- Operations

struct Step
{
    World& world;
    HardRandom& random;
    const HardPictures& pictures;
};

constexpr const wchar_t* arrFormats[] = {L"",      L"UYVY", L"YUY2",   L"YV12", L"I420",   L"RGB24",
                                         L"RGB32", L"v210", L"ARGB32", L"NV12", L"RGB565", L"nope"};
constexpr int arrSizes[] = {0, 2, 15, 16, 64, 100, 320};

const wchar_t* AnyFormat(HardRandom& random)
{
    return arrFormats[random.Below(std::size(arrFormats))];
}

int AnySize(HardRandom& random)
{
    return arrSizes[random.Below(std::size(arrSizes))];
}

HRESULT Run(Step& s)
{
    return s.world.Graph().Locked([&] { return s.world.m_source.spFilter->Run(s.random.Below(1000)); });
}

HRESULT Pause(Step& s)
{
    return s.world.Graph().Locked([&] { return s.world.m_source.spFilter->Pause(); });
}

HRESULT Stop(Step& s)
{
    return s.world.Graph().Locked([&] { return s.world.m_source.spFilter->Stop(); });
}

HRESULT Seek(Step& s)
{
    CComPtr<IMediaSeeking> spSeeking;
    const HRESULT hr =
        s.world.m_source.spPin->QueryInterface(IID_IMediaSeeking, reinterpret_cast<void**>(&spSeeking));
    if (FAILED(hr))
        return S_FALSE;
    constexpr DWORD arrFlags[] = {AM_SEEKING_NoPositioning, AM_SEEKING_AbsolutePositioning,
                                  AM_SEEKING_RelativePositioning, AM_SEEKING_IncrementalPositioning};
    LONGLONG llCurrent = s.random.Below(100) * 400000LL;
    LONGLONG llStop = llCurrent + s.random.Below(50) * 400000LL;
    return spSeeking->SetPositions(&llCurrent, arrFlags[s.random.Below(4)], &llStop,
                                   arrFlags[s.random.Below(4)]);
}

HRESULT SetPicture(Step& s)
{
    return s.world.m_source.SetPicture(s.pictures.AnyName(s.random));
}

HRESULT SetPictureHandle(Step& s)
{
    return s.world.m_source.spControl->SetPictureHandle(s.pictures.AnyHandle(s.random));
}

HRESULT SetOutputProps(Step& s)
{
    constexpr eQGFCC arrCodes[] = {eQGFCC_Default, eQGFCC_UYVY,   eQGFCC_YUY2, eQGFCC_YV12,
                                   eQGFCC_RGB32,   eQGFCC_ARGB32, eQGFCC_v210, eQGFCC_NoVideo};
    QG_VID_PROPS props{};
    props.fccType = arrCodes[s.random.Below(std::size(arrCodes))];
    props.nWidth = AnySize(s.random);
    props.nHeight = s.random.OneIn(4) ? -AnySize(s.random) : AnySize(s.random);
    props.eInterlace = static_cast<eQGInterlace>(s.random.Below(4));
    props.nAspectX = static_cast<SHORT>(s.random.Below(20));
    props.nAspectY = static_cast<SHORT>(s.random.Below(20));
    props.eKeepAspect = static_cast<eQGKeepAspect>(s.random.Below(5));
    props.dblRate = s.random.Below(60);
    return s.world.m_source.spControl->SetOutputProps(&props);
}

HRESULT SetOutputFormat(Step& s)
{
    return s.world.m_source.SetFormat(AnyFormat(s.random), AnySize(s.random), AnySize(s.random));
}

HRESULT SetFrameRate(Step& s)
{
    return s.world.m_source.spControl->SetFrameRate(s.random.Below(100));
}

HRESULT Connect(Step& s)
{
    HardPin& sink = s.world.m_arrSinks[s.random.Below(eSK_Count)];
    const auto connect = [&] { return s.world.m_source.spPin->Connect(&sink, nullptr); };
    HRESULT hr = s.world.Graph().Locked(connect);
    if (hr == VFW_E_NO_ACCEPTABLE_TYPES)
    {
        // An earlier operation has asked for what is not to be had.
        s.world.m_source.SetFormat(L"UYVY", 64, 48);
        hr = s.world.Graph().Locked(connect);
    }
    return hr;
}

/// Frames flow for a while, unless somebody stops them.
HRESULT Stream(Step& s)
{
    Connect(s);
    CComPtr<IMediaSeeking> spSeeking;
    s.world.m_source.spPin->QueryInterface(IID_IMediaSeeking, reinterpret_cast<void**>(&spSeeking));
    LONGLONG llNone = 0; // as a stop position: no end
    if (spSeeking)
        spSeeking->SetPositions(&llNone, AM_SEEKING_AbsolutePositioning, &llNone,
                                AM_SEEKING_AbsolutePositioning);
    const HRESULT hr = Run(s);
    Sleep(static_cast<DWORD>(s.random.Below(8)));
    return hr;
}

HRESULT Disconnect(Step& s)
{
    return s.world.Graph().Locked([&] { return s.world.m_source.spPin->Disconnect(); });
}

HRESULT QueryAccept(Step& s)
{
    CMType mt;
    if (s.world.m_source.spPin->ConnectionMediaType(&mt) != S_OK)
        return S_FALSE;
    return s.world.m_source.spPin->QueryAccept(&mt);
}

HRESULT SetFormat(Step& s)
{
    CComPtr<IAMStreamConfig> spConfig;
    HRESULT hr =
        s.world.m_source.spPin->QueryInterface(IID_IAMStreamConfig, reinterpret_cast<void**>(&spConfig));
    AM_MEDIA_TYPE* pmt = nullptr;
    BYTE arrCaps[128];
    if (SUCCEEDED(hr))
        hr = s.random.OneIn(2) ? spConfig->GetFormat(&pmt)
                               : spConfig->GetStreamCaps(s.random.Below(60), &pmt, arrCaps);
    if (hr == S_OK && pmt != nullptr)
        hr = spConfig->SetFormat(pmt);
    MTDelete(pmt);
    return hr;
}

HRESULT AskEverything(Step& s)
{
    const HardSource source = s.world.m_source;
    CallEveryQuery(source, nullptr); // what it answers depends on the others
    return S_OK;
}

HRESULT JoinOrLeave(Step& s)
{
    return s.world.Graph().Locked(
        [&]
        {
            if (s.random.OneIn(2))
                return s.world.m_source.spFilter->JoinFilterGraph(nullptr, nullptr);
            return s.world.Graph().AddFilter(s.world.m_source.spFilter, L"source");
        });
}

HRESULT SetClock(Step& s)
{
    // One for all: each of the platform's clocks leaves a handle behind.
    static const CComPtr<IReferenceClock> spClock = []
    {
        CComPtr<IReferenceClock> sp;
        sp.CoCreateInstance(CLSID_SystemClock, nullptr, CLSCTX_INPROC_SERVER);
        return sp;
    }();
    return s.world.m_source.spFilter->SetSyncSource(s.random.OneIn(2) ? spClock.p : nullptr);
}

struct Operation
{
    const char* pszName;
    int nWeight;
    HRESULT (*pfn)(Step& s); ///< null: the filter is let go and another one made
};

constexpr Operation arrOperations[] = {
    {"Run", 10, &Run},
    {"Connect, Run and let the frames flow", 10, &Stream},
    {"Pause", 10, &Pause},
    {"Stop", 8, &Stop},
    {"seek", 10, &Seek},
    {"SetPicture", 12, &SetPicture},
    {"SetPictureHandle", 6, &SetPictureHandle},
    {"SetOutputProps", 6, &SetOutputProps},
    {"SetOutputFormat", 6, &SetOutputFormat},
    {"SetFrameRate", 4, &SetFrameRate},
    {"Connect", 14, &Connect},
    {"Disconnect", 6, &Disconnect},
    {"QueryAccept", 4, &QueryAccept},
    {"SetFormat", 4, &SetFormat},
    {"every query", 3, &AskEverything},
    {"JoinFilterGraph", 2, &JoinOrLeave},
    {"SetSyncSource", 1, &SetClock},
    {"release and create", 2, nullptr},
};

const Operation& AnyOperation(HardRandom& random)
{
    int nAll = 0;
    for (const Operation& op : arrOperations)
        nAll += op.nWeight;
    int n = random.Below(nAll);
    for (const Operation& op : arrOperations)
    {
        n -= op.nWeight;
        if (n < 0)
            return op;
    }
    return arrOperations[0];
}

bool IsUsual(HRESULT hr)
{
    return std::find(std::begin(arrUsualResults), std::end(arrUsualResults), hr) != std::end(arrUsualResults);
}

std::string OddityText(const char* pszName, HRESULT hr)
{
    char szText[100];
    std::snprintf(szText, sizeof(szText), "%s answers 0x%08lX", pszName, static_cast<unsigned long>(hr));
    return szText;
}

/// The world of the moment, for all threads.
class WorldSlot
{
public:
    std::shared_ptr<World> Get()
    {
        const std::lock_guard lock(m_lock);
        return m_spWorld;
    }
    /// The earlier one ends with its last holder.
    void Set(std::shared_ptr<World> spWorld)
    {
        const std::lock_guard lock(m_lock);
        m_spWorld.swap(spWorld);
    }

private:
    std::mutex m_lock;
    std::shared_ptr<World> m_spWorld;
};

} // namespace

HardPictures::HardPictures()
{
    std::vector<std::wstring> files;
    for (unsigned i = 0; i < 3; i++)
        files.push_back(m_folder.Write(L"p" + std::to_wstring(i) + L".tga",
                                       PlainTga("p", 16 + 8 * static_cast<int>(i), 12, i).file));
    files.push_back(m_folder.Write(L"t.tga", TransparentTga("t", 20, 20, 5).file));
    PngFile png;
    png.nWidth = 24;
    png.nHeight = 10;
    png.samples.assign(24 * 10 * 4, 200);
    files.push_back(m_folder.Write(L"a.png", png.Encode()));
    files.push_back(m_folder.Write(L"broken.png", Bytes(100, 7)));
    files.push_back(m_folder.Write(L"broken.tga", Bytes(10, 7)));

    m_names = {L"",
               L"bars",
               L"bars75",
               L"barsHD",
               L"videoq",
               L"red",
               L"BLUE",
               L"white",
               L"none",
               L"transparent",
               L"red|green|blue",
               L"bars|white",
               L"C:\\no such\\file.tga",
               m_folder.Name(L""),
               m_folder.Name(L"*.tga")};
    for (const std::wstring& file : files)
        m_names.push_back(file);
    m_names.push_back(files[0] + L"|" + files[4] + L"|" + files[5]);

    for (const WORD nBits : {24, 32, 16})
        m_bitmaps.push_back(std::make_unique<HardBitmap>(16, 8, nBits, static_cast<BYTE>(nBits)));
    m_bitmaps.push_back(std::make_unique<HardBitmap>(30, 40, static_cast<WORD>(32), static_cast<BYTE>(0)));
}

int HardPictures::AnyHandle(HardRandom& random) const
{
    const int n = random.Below(static_cast<int>(m_bitmaps.size()) + 2);
    if (n < static_cast<int>(m_bitmaps.size()))
        return m_bitmaps[static_cast<size_t>(n)]->Handle();
    return n == static_cast<int>(m_bitmaps.size()) ? 0 : 0x7FFF0004; // no bitmap
}

StressResult RunStress(const StressPlan& plan, const HardPictures& pictures, Watchdog& watchdog)
{
    StressResult result;
    std::mutex lockResult;
    std::atomic<long long> nFrames = 0, nFilters = 0, nNext = 0;
    WorldSlot slot;
    const auto makeWorld = [&](uint64_t nSeed)
    {
        ++nFilters;
        slot.Set(std::make_shared<World>(plan, nSeed, nFrames));
    };
    makeWorld(plan.nSeed);

    const auto work = [&](size_t nLane)
    {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        HardRandom random(plan.nSeed * 1000 + nLane);
        for (;;)
        {
            const long long n = nNext++;
            if (n >= plan.nOperations)
                break;
            const Operation& op = AnyOperation(random);
            watchdog.Step(n, op.pszName, nLane);
            if (op.pfn == nullptr)
            {
                makeWorld(plan.nSeed * 1000003 + static_cast<uint64_t>(n));
                continue;
            }
            const std::shared_ptr<World> spWorld = slot.Get();
            if (!spWorld->m_source.spPin || !spWorld->m_source.spControl)
            {
                makeWorld(plan.nSeed * 1000003 + static_cast<uint64_t>(n)); // it could not be made
                continue;
            }
            Step step{*spWorld, random, pictures};
            const HRESULT hr = op.pfn(step);
            if (!plan.bFaults && !IsUsual(hr))
            {
                const std::lock_guard lock(lockResult);
                result.arrOddities.push_back(OddityText(op.pszName, hr));
            }
            watchdog.Step(n, "let the filter go", nLane);
        }
        watchdog.Step(0, nullptr, nLane);
        CoUninitialize();
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < plan.nThreads; i++)
        threads.emplace_back(work, static_cast<size_t>(i));
    for (std::thread& thread : threads)
        thread.join();
    watchdog.Step(plan.nOperations, "let the last filter go", 0);
    slot.Set(nullptr);
    watchdog.Step(0, nullptr, 0);
    result.nOperations = plan.nOperations;
    result.nFilters = nFilters;
    result.nFrames = nFrames;
    return result;
}
