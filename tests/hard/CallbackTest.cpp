/// Peers that call back while the worker is with them, stop the filter or let it go: nothing waits for
/// itself.

#include "HardSupport.h"

#include <vfwmsgs.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/FakeAllocator.h"
#include "support/FakeGraph.h"

namespace
{

bool IsSet(CEvent& ev)
{
    return WaitForSingleObject(ev, nTestLimitMs) == WAIT_OBJECT_0;
}

/// Where the worker is with somebody else.
enum eCallback
{
    eCB_Receive,
    eCB_NewSegment,
    eCB_EndOfStream,
    eCB_GetBuffer,
    eCB_GetMediaType, ///< of the sample, which the worker asks before it composes
    eCB_Count
};
constexpr const char* arrCallbackNames[] = {"Receive", "NewSegment", "EndOfStream", "GetBuffer",
                                            "GetMediaType"};
static_assert(std::size(arrCallbackNames) == eCB_Count);

/// A sample that tells when it is asked for its type.
class TellingSample : public FakeSample
{
public:
    using FakeSample::FakeSample;
    std::function<void()> m_fnGetMediaType;
    STDMETHOD(GetMediaType)(AM_MEDIA_TYPE** ppmt) override
    {
        if (m_fnGetMediaType)
            m_fnGetMediaType();
        return FakeSample::GetMediaType(ppmt);
    }
};

/// An allocator with one such sample.
class TellingAllocator : public FakeAllocator
{
public:
    TellingSample m_sample{1 << 20};
    std::function<void()> m_fnGetBuffer;
    STDMETHOD(GetBuffer)(IMediaSample** ppBuffer, REFERENCE_TIME*, REFERENCE_TIME*, DWORD) override
    {
        if (m_fnGetBuffer)
            m_fnGetBuffer();
        if (!IsCommitted())
            return VFW_E_NOT_COMMITTED;
        m_sample.Reset();
        m_sample.AddRef();
        *ppBuffer = &m_sample;
        return S_OK;
    }
};

class Hard : public testing::Test
{
protected:
    void SetUp() override
    {
        m_source = HardSource(m_module);
        ASSERT_TRUE(m_source.spPin);
        ASSERT_EQ(m_source.SetPicture(L"red"), S_OK);
        ASSERT_EQ(m_source.SetFormat(L"RGB32", 64, 48), S_OK);
    }
    void TearDown() override
    {
        // Whatever a test has left; a step that hangs ends the program.
        const bool bEnded = EndsInTime(
            [this]
            {
                if (m_source.spFilter)
                {
                    m_source.spFilter->Stop();
                    m_source.spFilter->JoinFilterGraph(nullptr, nullptr);
                }
                if (m_source.spPin)
                    m_source.spPin->Disconnect();
                m_source.Release();
            });
        if (!bEnded)
        {
            fputs("the filter hangs at its end\n", stderr);
            fflush(stderr);
            TerminateProcess(GetCurrentProcess(), 3);
        }
        EXPECT_TRUE(WaitUntilUnloadable(m_module));
        EXPECT_EQ(m_pin.Refs(), 0);
        EXPECT_EQ(m_alloc.Refs(), 0);
        EXPECT_EQ(m_alloc.m_sample.Refs(), 0);
        EXPECT_EQ(m_graph.Refs(), 0);
    }

    /// Connects through the peer's allocator, or the filter's own.
    HRESULT Connect(bool bPeersAllocator)
    {
        m_pin.m_pAllocator = bPeersAllocator ? &m_alloc : nullptr;
        return m_source.spPin->Connect(&m_pin, nullptr);
    }

    /// Calls fn once, from within that call of the worker.
    void Once(eCallback eWhere, std::function<void()> fn)
    {
        const auto pbDone = std::make_shared<std::atomic<bool>>(false);
        const auto fnOnce = [pbDone, fn]
        {
            if (!pbDone->exchange(true))
                fn();
        };
        switch (eWhere)
        {
        case eCB_Receive:
            m_pin.m_fnReceive = [fnOnce](IMediaSample*)
            {
                fnOnce();
                return S_OK;
            };
            break;
        case eCB_NewSegment:
            m_pin.m_fnNewSegment = fnOnce;
            break;
        case eCB_EndOfStream:
            ASSERT_EQ(m_source.SetPicture(L"red|red"), S_OK);
            m_pin.m_fnEndOfStream = fnOnce;
            break;
        case eCB_GetBuffer:
            m_alloc.m_fnGetBuffer = fnOnce;
            break;
        default:
            m_alloc.m_sample.m_fnGetMediaType = fnOnce;
        }
    }

    FILTER_STATE State()
    {
        FILTER_STATE eState{};
        EXPECT_EQ(m_source.spFilter->GetState(0, &eState), S_OK);
        return eState;
    }

    const HardCom m_com;
    const LoadedModule m_module;
    CallLog m_log;
    HardPin m_pin;
    TellingAllocator m_alloc;
    FakeGraph m_graph;
    HardSource m_source;
};

// --- Release from within a call of the worker

struct ReleaseCase
{
    eCallback eWhere;
    bool bPeersAllocator;
};

class LastRelease : public Hard, public testing::WithParamInterface<ReleaseCase>
{
};

/// The last references to filter and pin go on the worker itself.
TEST_P(LastRelease, OfFilterAndPin)
{
    CEvent evRan, evReleased;
    ASSERT_TRUE(evRan.Create(true) && evReleased.Create(true));
    HRESULT hrUnload = E_FAIL;
    Once(GetParam().eWhere,
         [&]
         {
             IsSet(evRan); // the caller of Run is out of the filter
             m_source.Release();
             m_pin.Disconnect(); // the peer's reference, and the last one
             hrUnload = m_module.CanUnloadNow();
             evReleased.Set();
         });
    ASSERT_EQ(Connect(GetParam().bPeersAllocator), S_OK);
    ASSERT_EQ(m_source.spFilter->Run(0), S_OK);
    evRan.Set();
    ASSERT_TRUE(IsSet(evReleased)) << "the release waits for the thread it is on";
    EXPECT_EQ(hrUnload, S_FALSE); // the worker has not left yet
    EXPECT_TRUE(WaitUntilUnloadable(m_module));
    EXPECT_EQ(m_pin.Refs(), 0);
}

/// The filter goes on the worker, the pin stays with the host.
TEST_P(LastRelease, OfTheFilterAlone)
{
    CEvent evRan, evReleased;
    ASSERT_TRUE(evRan.Create(true) && evReleased.Create(true));
    Once(GetParam().eWhere,
         [&]
         {
             IsSet(evRan);
             m_source.spControl.Release();
             m_source.spFilter.Release();
             evReleased.Set();
         });
    ASSERT_EQ(Connect(GetParam().bPeersAllocator), S_OK);
    ASSERT_EQ(m_source.spFilter->Run(0), S_OK);
    evRan.Set();
    ASSERT_TRUE(IsSet(evReleased));
    PIN_INFO info{};
    EXPECT_EQ(m_source.spPin->QueryPinInfo(&info), S_OK);
    EXPECT_EQ(info.pFilter, nullptr);
    EXPECT_TRUE(EndsInTime([this] { EXPECT_EQ(m_source.spPin->Disconnect(), S_OK); }));
    EXPECT_TRUE(EndsInTime([this] { m_source.Release(); }));
    EXPECT_EQ(m_module.CanUnloadNow(), S_OK);
}

INSTANTIATE_TEST_SUITE_P(Everywhere, LastRelease,
                         testing::Values(ReleaseCase{eCB_Receive, false}, ReleaseCase{eCB_Receive, true},
                                         ReleaseCase{eCB_NewSegment, false},
                                         ReleaseCase{eCB_NewSegment, true},
                                         ReleaseCase{eCB_EndOfStream, false},
                                         ReleaseCase{eCB_EndOfStream, true}, ReleaseCase{eCB_GetBuffer, true},
                                         ReleaseCase{eCB_GetMediaType, true}),
                         [](const auto& info)
                         {
                             return std::string(arrCallbackNames[info.param.eWhere]) +
                                    (info.param.bPeersAllocator ? "OfThePeers" : "OfOurs");
                         });

/// The module may be unloaded as soon as it says so, whatever the thread that has released the filter still
/// does.
TEST_F(Hard, UnloadRightBehindTheLastReleaseOnTheWorker)
{
    m_source.Release();
    for (int i = 0; i < 100; i++)
    {
        HardPin pin;
        const auto pModule = std::make_unique<LoadedModule>();
        CEvent evRan, evReleased;
        ASSERT_TRUE(evRan.Create(true) && evReleased.Create(true));
        auto pSource = std::make_unique<HardSource>(*pModule);
        pin.m_fnReceive = [&](IMediaSample*)
        {
            if (pSource)
            {
                IsSet(evRan);
                pSource.reset();
                pin.Disconnect();
                evReleased.Set();
            }
            return S_OK;
        };
        ASSERT_EQ(pSource->SetFormat(L"RGB32", 8, 8), S_OK);
        ASSERT_EQ(pSource->spPin->Connect(&pin, nullptr), S_OK);
        ASSERT_EQ(pSource->spFilter->Pause(), S_OK);
        evRan.Set();
        ASSERT_TRUE(IsSet(evReleased));
        ASSERT_TRUE(WaitUntilUnloadable(*pModule));
    }
}

// --- State changes from within a call of the worker

class StopFrom : public Hard, public testing::WithParamInterface<ReleaseCase>
{
};

TEST_P(StopFrom, WithinTheCall)
{
    CEvent evRan, evDone;
    ASSERT_TRUE(evRan.Create(true) && evDone.Create(true));
    HRESULT hr = E_FAIL;
    Once(GetParam().eWhere,
         [&]
         {
             IsSet(evRan); // within the start the stop would be left to its thread
             hr = m_source.spFilter->Stop();
             evDone.Set();
         });
    ASSERT_EQ(Connect(GetParam().bPeersAllocator), S_OK);
    ASSERT_EQ(m_source.spFilter->Run(0), S_OK);
    evRan.Set();
    ASSERT_TRUE(IsSet(evDone)) << "the stop waits for the thread it is on";
    EXPECT_EQ(hr, S_OK);
    EXPECT_EQ(State(), State_Stopped);
    // The pump is as after any stop: it starts again, and stops.
    CEvent evAgain;
    ASSERT_TRUE(evAgain.Create(true));
    ASSERT_TRUE(EndsInTime([this] { EXPECT_EQ(m_source.spFilter->Stop(), S_OK); }));
    m_pin.m_fnReceive = [&](IMediaSample*)
    {
        evAgain.Set();
        return S_OK;
    };
    m_pin.m_fnNewSegment = nullptr;
    if (GetParam().eWhere == eCB_EndOfStream)
        return; // the list is at its end
    ASSERT_EQ(m_source.spFilter->Run(0), S_OK);
    EXPECT_TRUE(IsSet(evAgain));
    EXPECT_TRUE(EndsInTime([this] { EXPECT_EQ(m_source.spFilter->Stop(), S_OK); }));
}

INSTANTIATE_TEST_SUITE_P(Everywhere, StopFrom,
                         testing::Values(ReleaseCase{eCB_Receive, false}, ReleaseCase{eCB_NewSegment, false},
                                         ReleaseCase{eCB_EndOfStream, false},
                                         ReleaseCase{eCB_GetBuffer, true},
                                         ReleaseCase{eCB_GetMediaType, true}),
                         [](const auto& info) { return std::string(arrCallbackNames[info.param.eWhere]); });

/// A host stops the filter while the peer, in whose Receive the worker is, asks everything and changes the
/// state.
TEST_F(Hard, PeerCallsBackWhileAStopWaitsForIt)
{
    CEvent evIn, evDone;
    ASSERT_TRUE(evIn.Create(true) && evDone.Create(true));
    TestGate gate;
    gate.Close();
    int nWrong = -1;
    HRESULT hrStop = E_FAIL, hrPause = E_FAIL, hrRun = E_FAIL;
    Once(eCB_Receive,
         [&]
         {
             evIn.Set();
             gate.Pass();
             nWrong = CallEveryQuery(m_source, &m_pin);
             hrStop = m_source.spFilter->Stop();
             hrPause = m_source.spFilter->Pause();
             hrRun = m_source.spFilter->Run(0);
             evDone.Set();
         });
    ASSERT_EQ(m_graph.AddFilter(m_source.spFilter, L"source"), S_OK);
    ASSERT_EQ(Connect(false), S_OK);
    ASSERT_EQ(m_source.spFilter->Run(0), S_OK);
    ASSERT_TRUE(IsSet(evIn));
    std::thread stopper([this] { EXPECT_EQ(m_source.spFilter->Stop(), S_OK); });
    for (int i = 0; i < nTestLimitMs && State() != State_Stopped; i++)
        Sleep(1);
    EXPECT_EQ(State(), State_Stopped);
    gate.Open();
    ASSERT_TRUE(IsSet(evDone)) << "the peer waits for the stop that waits for it";
    EXPECT_TRUE(EndsInTime([&] { stopper.join(); }));
    EXPECT_EQ(nWrong, 0);
    EXPECT_EQ(hrStop, S_OK); // it is under way
    EXPECT_EQ(hrPause, VFW_E_STATE_CHANGED);
    EXPECT_EQ(hrRun, VFW_E_STATE_CHANGED);
    EXPECT_EQ(State(), State_Stopped);
}

/// A host stops the filter, and the peer's allocator waits in its Decommit until the peer's Receive is over.
TEST_F(Hard, PeerCallsBackWhileItsAllocatorsDecommitWaitsForIt)
{
    CEvent evIn, evDecommit, evDone;
    ASSERT_TRUE(evIn.Create(true) && evDecommit.Create(true) && evDone.Create(true));
    int nWrong = -1;
    HRESULT hrStop = E_FAIL, hrPause = E_FAIL, hrRun = E_FAIL;
    Once(eCB_Receive,
         [&]
         {
             evIn.Set();
             IsSet(evDecommit);
             nWrong = CallEveryQuery(m_source, &m_pin);
             hrStop = m_source.spFilter->Stop();
             hrPause = m_source.spFilter->Pause();
             hrRun = m_source.spFilter->Run(0);
             evDone.Set();
         });
    bool bDone = false;
    m_alloc.m_onDecommit = [&]
    {
        evDecommit.Set();
        bDone = WaitForSingleObject(evDone, 10000) == WAIT_OBJECT_0;
    };
    ASSERT_EQ(Connect(true), S_OK);
    ASSERT_EQ(m_source.spFilter->Pause(), S_OK);
    ASSERT_TRUE(IsSet(evIn));
    EXPECT_EQ(m_source.spFilter->Stop(), S_OK);
    EXPECT_TRUE(bDone) << "the stop waits for Receive, and Receive for the stop";
    EXPECT_EQ(nWrong, 0);
    EXPECT_EQ(hrStop, S_OK); // it is under way
    EXPECT_EQ(hrPause, VFW_E_STATE_CHANGED);
    EXPECT_EQ(hrRun, VFW_E_STATE_CHANGED);
    EXPECT_EQ(State(), State_Stopped);
}

/// A seek flushes the peer, which waits for its Receive, in which it asks for the position.
TEST_F(Hard, PeerAsksForThePositionWhileASeekFlushesIt)
{
    CComPtr<IMediaSeeking> spSeeking;
    ASSERT_EQ(m_source.spPin->QueryInterface(IID_IMediaSeeking, reinterpret_cast<void**>(&spSeeking)), S_OK);
    CEvent evIn, evFlushing, evDone;
    ASSERT_TRUE(evIn.Create(true) && evFlushing.Create(true) && evDone.Create(true));
    LONGLONG llCurrent = -1, llStop = -1;
    int nWrong = -1;
    Once(eCB_Receive,
         [&]
         {
             evIn.Set();
             IsSet(evFlushing);
             spSeeking->GetPositions(&llCurrent, &llStop);
             nWrong = CallEveryQuery(m_source, &m_pin);
             evDone.Set();
         });
    bool bDone = false;
    m_pin.m_fnBeginFlush = [&]
    {
        evFlushing.Set();
        bDone = WaitForSingleObject(evDone, 10000) == WAIT_OBJECT_0;
    };
    ASSERT_EQ(Connect(false), S_OK);
    ASSERT_EQ(m_source.spFilter->Run(0), S_OK);
    ASSERT_TRUE(IsSet(evIn));
    LONGLONG llTo = 40 * 400000, llEnd = 50 * 400000;
    EXPECT_EQ(spSeeking->SetPositions(&llTo, AM_SEEKING_AbsolutePositioning, &llEnd,
                                      AM_SEEKING_AbsolutePositioning),
              S_OK);
    EXPECT_TRUE(bDone) << "the seek waits for Receive, and Receive for the position";
    EXPECT_EQ(llCurrent, 400000); // as before the seek
    EXPECT_EQ(nWrong, 0);
    EXPECT_EQ(spSeeking->GetPositions(nullptr, &llStop), S_OK);
    EXPECT_EQ(llStop, llEnd);
    EXPECT_TRUE(EndsInTime([this] { EXPECT_EQ(m_source.spFilter->Stop(), S_OK); }));
}

/// The same questions with nobody else at work, in every state.
TEST_F(Hard, PeerAsksEverything)
{
    CEvent evDone;
    ASSERT_TRUE(evDone.Create(false));
    int nWrong = -1;
    m_pin.m_fnReceive = [&](IMediaSample*)
    {
        nWrong = CallEveryQuery(m_source, &m_pin);
        evDone.Set();
        return S_FALSE; // the worker sleeps
    };
    ASSERT_EQ(m_graph.AddFilter(m_source.spFilter, L"source"), S_OK);
    ASSERT_EQ(Connect(false), S_OK);
    EXPECT_EQ(CallEveryQuery(m_source, &m_pin), 0);
    for (int i = 0; i < 2; i++)
    {
        ASSERT_EQ(i == 0 ? m_source.spFilter->Pause() : m_source.spFilter->Run(0), S_OK);
        ASSERT_TRUE(IsSet(evDone));
        EXPECT_EQ(nWrong, 0);
        ASSERT_EQ(m_source.spFilter->Stop(), S_OK);
    }
}

// --- Stop while the worker is busy elsewhere

/// The graph holds its lock while it stops the filter, and the filter asks the graph for a reconnection: the
/// picture, which the worker needs for its last step, must be free by then.
TEST_F(Hard, PictureHandleDoesNotHoldThePictureWhileItAsksTheGraph)
{
    CEvent evIn, evStopped;
    ASSERT_TRUE(evIn.Create(true) && evStopped.Create(true));
    TestGate gate;
    gate.Close();
    Once(eCB_GetMediaType, // behind the worker's look at the state, before it takes the picture
         [&]
         {
             evIn.Set();
             gate.Pass();
         });
    bool bStopped = false;
    m_graph.m_onReconnect = [&](IPin*)
    {
        gate.Open();
        bStopped = WaitForSingleObject(evStopped, 10000) == WAIT_OBJECT_0; // as the graph's lock would wait
    };
    ASSERT_EQ(m_graph.AddFilter(m_source.spFilter, L"source"), S_OK);
    ASSERT_EQ(m_source.SetFormat(L"", 0, 0), S_OK); // the picture decides
    ASSERT_EQ(Connect(true), S_OK);
    ASSERT_EQ(m_source.spFilter->Pause(), S_OK);
    ASSERT_TRUE(IsSet(evIn));
    std::thread stopper(
        [&]
        {
            EXPECT_EQ(m_source.spFilter->Stop(), S_OK);
            evStopped.Set();
        });
    for (int i = 0; i < nTestLimitMs && State() != State_Stopped; i++)
        Sleep(1);
    const HardBitmap bitmap(32, 16, 24, 0x55);
    EXPECT_EQ(m_source.spControl->SetPictureHandle(bitmap.Handle()), S_OK);
    EXPECT_TRUE(bStopped)
        << "the stop waits for the worker, the worker for the picture, the picture for the graph";
    EXPECT_TRUE(EndsInTime([&] { stopper.join(); }));
    EXPECT_EQ(m_graph.Reconnections().size(), 1u);
}

/// A host that asks the pin for its filter while the filter's last reference goes on another thread, which
/// waits for the worker.
TEST_F(Hard, AGoingFilterIsNotHandedOutByItsPin)
{
    CEvent evIn;
    ASSERT_TRUE(evIn.Create(true));
    TestGate gate;
    gate.Close();
    Once(eCB_Receive,
         [&]
         {
             evIn.Set();
             gate.Pass();
         });
    ASSERT_EQ(Connect(false), S_OK);
    ASSERT_EQ(m_source.spFilter->Run(0), S_OK);
    ASSERT_TRUE(IsSet(evIn));
    m_source.spControl.Release();
    std::thread releaser(
        [&]
        {
            IBaseFilter* const pFilter = m_source.spFilter.Detach();
            EXPECT_EQ(pFilter->Release(), 0u);
        });
    PIN_INFO info{};
    for (int i = 0; i < 1000; i++) // until it is on its way
    {
        info = {};
        EXPECT_EQ(m_source.spPin->QueryPinInfo(&info), S_OK);
        if (info.pFilter == nullptr)
            break;
        info.pFilter->Release();
        info.pFilter = nullptr;
        Sleep(1);
        if (i == 999)
            ADD_FAILURE() << "the pin hands out a filter without references";
    }
    CMType mt;
    EXPECT_EQ(m_source.spPin->ConnectionMediaType(&mt), S_OK);
    EXPECT_EQ(m_source.spPin->QueryAccept(&mt), S_FALSE); // nobody decides any more
    gate.Open();
    EXPECT_TRUE(EndsInTime([&] { releaser.join(); }));
}

/// A frame that takes long to compose: the stop comes back with its end.
TEST_F(Hard, StopDuringALongComposition)
{
    CEvent evComposing;
    ASSERT_TRUE(evComposing.Create(true));
    std::atomic<int> nReceived = 0;
    m_pin.m_fnNewSegment = [&] { evComposing.Set(); };
    m_pin.m_fnReceive = [&](IMediaSample*)
    {
        ++nReceived;
        return S_OK;
    };
    ASSERT_EQ(m_source.SetPicture(L"bars"), S_OK);
    ASSERT_EQ(m_source.SetFormat(L"YUY2", 7680, 4320), S_OK);
    ASSERT_EQ(Connect(false), S_OK);
    ASSERT_EQ(m_source.spFilter->Pause(), S_OK);
    ASSERT_TRUE(IsSet(evComposing));
    EXPECT_TRUE(EndsInTime([this] { EXPECT_EQ(m_source.spFilter->Stop(), S_OK); }, 120000));
    EXPECT_EQ(State(), State_Stopped);
    const int nBefore = nReceived;
    EXPECT_LE(nBefore, 1);
    EXPECT_EQ(m_source.spPin->Disconnect(), S_OK);
    EXPECT_EQ(nReceived, nBefore);
}

/// A downstream filter that keeps every sample: the worker waits in GetBuffer of the filter's own allocator.
TEST_F(Hard, StopWhileTheWorkerWaitsForASample)
{
    std::vector<CComPtr<IMediaSample>> held;
    CEvent evTwo;
    ASSERT_TRUE(evTwo.Create(true));
    m_pin.m_fnReceive = [&](IMediaSample* pSample)
    {
        held.emplace_back(pSample);
        if (held.size() == 2)
            evTwo.Set();
        return S_OK;
    };
    ASSERT_EQ(Connect(false), S_OK);
    for (int i = 0; i < 20; i++)
    {
        ASSERT_EQ(m_source.spFilter->Run(0), S_OK);
        ASSERT_TRUE(IsSet(evTwo));
        ASSERT_TRUE(EndsInTime([this] { EXPECT_EQ(m_source.spFilter->Stop(), S_OK); }));
        EXPECT_EQ(held.size(), 2u);
        held.clear();
        evTwo.Reset();
    }
    // The same without a stop: the release frees the worker.
    ASSERT_EQ(m_source.spFilter->Run(0), S_OK);
    ASSERT_TRUE(IsSet(evTwo));
    m_source.spControl.Release();
    EXPECT_TRUE(EndsInTime([this] { m_source.spFilter.Release(); }));
    EXPECT_EQ(m_source.spPin->Disconnect(), S_OK);
    held.clear();
}

/// A picture file is being decoded for every frame when the last reference goes: the decoder is shut down
/// behind it.
TEST_F(Hard, ReleaseWhileFilesAreDecoded)
{
    m_source.Release();
    const HardBitmap bitmap(8, 8, 24, 0x11);
    for (int i = 0; i < 50; i++)
    {
        CEvent evOne;
        ASSERT_TRUE(evOne.Create(true));
        m_source = HardSource(m_module);
        m_pin.m_fnReceive = [&](IMediaSample*)
        {
            evOne.Set();
            return S_OK;
        };
        // Names that are no files go to the decoder as well, and leave the picture as it was.
        ASSERT_EQ(m_source.SetPicture(L"red|missing1.png|missing2.jpg|missing3.gif"), S_OK);
        ASSERT_EQ(m_source.SetFormat(L"RGB32", 16, 16), S_OK);
        ASSERT_EQ(Connect(false), S_OK);
        ASSERT_EQ(m_source.spFilter->Run(0), S_OK);
        ASSERT_TRUE(IsSet(evOne));
        m_source.spControl.Release();
        ASSERT_TRUE(EndsInTime([this] { m_source.spFilter.Release(); }));
        ASSERT_EQ(m_source.spPin->Disconnect(), S_OK);
        ASSERT_TRUE(EndsInTime([this] { m_source.spPin.Release(); }));
        ASSERT_EQ(m_module.CanUnloadNow(), S_OK);
    }
}

} // namespace
