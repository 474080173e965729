// Locks: which are free while the worker is downstream, and which it never takes.
#include "FilterSupport.h"

#include <thread>

namespace
{

class PumpLock : public FilterTest
{
protected:
    /// Asks for locks in turn from another thread. \return the name of the first that it does not get
    template <class... TLock>
    static std::string FirstTaken(std::pair<const char*, TLock*>... locks)
    {
        const auto pszWaiting = std::make_shared<std::atomic<const char*>>("the thread");
        const auto fnTry = [pszWaiting](const char* pszName, auto* pLock)
        {
            *pszWaiting = pszName;
            pLock->Lock();
            pLock->Unlock();
        };
        const bool bEnded = EndsInTime([=] { (fnTry(locks.first, locks.second), ...); });
        return bEnded ? "" : pszWaiting->load();
    }

    /// The same for the locks that have to be free while the filter's is held.
    std::string FirstTakenOfThePin()
    {
        return FirstTaken(std::pair{"pin", &Inside().m_lock}, std::pair{"position", &Inside().m_crsPosition},
                          std::pair{"picture", &Inside().m_crsPicture},
                          std::pair{"link", &Inside().m_crsLink});
    }

    /// Every lock there is.
    std::string FirstTakenOfAll()
    {
        const std::string sTaken = FirstTaken(std::pair{"filter", &InsideFilter().m_lock});
        return sTaken.empty() ? FirstTakenOfThePin() : sTaken;
    }

    /// What a renderer may call back from another thread while it holds a sample.
    bool CallsBackInTime()
    {
        return EndsInTime(
            [this]
            {
                AM_MEDIA_TYPE mt{};
                if (Out().ConnectionMediaType(&mt) == S_OK)
                    MTFree(&mt);
                CComPtr<IPin> spPeer;
                Out().ConnectedTo(&spPeer);
                CComPtr<IEnumMediaTypes> spEnum;
                Out().EnumMediaTypes(&spEnum);
                PIN_INFO info{};
                Out().QueryPinInfo(&info);
                CComPtr<IBaseFilter>().Attach(info.pFilter);
                const CMType mtQuery = VideoType(FOURCC_RGB32, 8, 4);
                Out().QueryAccept(&mtQuery);
                FILTER_STATE eState{};
                Filter().GetState(0, &eState);
                CComPtr<IEnumPins> spPins;
                Filter().EnumPins(&spPins);
                CComPtr<IReferenceClock> spClock;
                Filter().GetSyncSource(&spClock);
                Control().SetPicture(Text("red"));
                QG_VID_PROPS props{};
                Control().GetOutputProps(&props);
                Control().SetOutputProps(&props);
                LPOLESTR psz = nullptr;
                Filter().GetCurFile(&psz, nullptr);
                CoTaskMemFree(psz);
            });
    }
};

TEST_F(PumpLock, NoneIsHeldAcrossReceive)
{
    ShowSmall();
    Inside().m_nStopFrame = 2;
    std::string sTaken = "never asked";
    bool bCalledBack = false;
    m_sink.m_pin.m_onReceive = [&](IMediaSample*)
    {
        sTaken = FirstTakenOfAll();
        bCalledBack = CallsBackInTime();
        return S_OK;
    };
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream", 1, 120000));
    EXPECT_EQ(sTaken, "");
    EXPECT_TRUE(bCalledBack);
}

TEST_F(PumpLock, NoneIsHeldAcrossGetBuffer)
{
    ShowSmall();
    Inside().m_nStopFrame = 1;
    std::string sTaken = "never asked";
    m_alloc.m_onLend = [&](FakeSample&) { sTaken = FirstTakenOfAll(); };
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream", 1, 120000));
    EXPECT_EQ(sTaken, "");
}

TEST_F(PumpLock, WorkerNeverTakesTheFiltersLock)
{
    // A list, a type on a sample and the end of the stream: every way through a step.
    for (int i = 0; i < 2; i++)
    {
        const BYTE by = static_cast<BYTE>(i + 1);
        m_folder.Write(std::to_string(i) + ".tga", SolidTga(8, 4, {by, by, by, 255}));
    }
    ASSERT_EQ(Control().SetPicture(Text(m_folder.Path())), S_OK);
    Inside().m_nStopFrame = 20;
    m_alloc.m_onLend = [](FakeSample& sample) { sample.m_mt = VideoType(FOURCC_RGB32, 8, 4, 200000); };
    ASSERT_EQ(Connect(), S_OK);
    {
        CScopedLock lock(&InsideFilter().m_lock);
        ASSERT_EQ(Filter().Pause(), S_OK);
        ASSERT_TRUE(m_log.WaitFor("in.EndOfStream")) << "the worker waits for the filter's lock";
    }
    EXPECT_EQ(m_log.Count("in.Receive"), 21);
}

TEST_F(PumpLock, StopHoldsTheFiltersLockWhileTheWorkerEndsItsStep)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    m_sink.m_pin.m_gate.Close();
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_sink.m_pin.m_gate.WaitForWaiting());
    std::thread stopper([&] { EXPECT_EQ(Filter().Stop(), S_OK); });
    ASSERT_TRUE(m_log.WaitFor("alloc.Decommit"));
    // The others are free meanwhile, so that the renderer can call back as it lets go.
    EXPECT_EQ(FirstTakenOfThePin(), "");
    m_sink.m_pin.m_gate.Open();
    EXPECT_TRUE(EndsInTime([&] { stopper.join(); }));
}

TEST_F(PumpLock, PositionIsHeldWhileAFrameIsPrepared)
{
    // NewSegment comes from within the same hold.
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    CScopedLock lock(&Inside().m_crsPosition);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("alloc.GetBuffer"));
    EXPECT_FALSE(m_log.WaitFor("in.Receive", 1, 50)); // it waits for us
    EXPECT_EQ(m_log.Count("in.NewSegment"), 0);
    lock.Unlock();
    EXPECT_TRUE(m_log.WaitFor("in.Receive"));
}

TEST_F(PumpLock, AFrameThatIsBeingComposedKeepsItsFormat)
{
    // The worker may still be with its last frame when a host, behind a stop that waits, takes the pin apart
    // and sets another format.
    ShowSmall();
    CScopedLock crs(&Inside().m_crsPicture); // as the composition has it
    std::thread host([&] { EXPECT_EQ(Control().SetOutputFormat(Text("RGB32"), 640, 480), S_OK); });
    Sleep(50);
    EXPECT_EQ(Inside().m_picOutput.nWidth, 8);
    crs.Unlock();
    EXPECT_TRUE(EndsInTime([&] { host.join(); }));
    EXPECT_EQ(Inside().m_picOutput.nWidth, 640);
}

TEST_F(PumpLock, ATypeIsNotStoredWhileTheConnectionIsAtWork)
{
    // The connection reads the type and restores it; a host that sets another one waits until it knows which
    // way the type has to go.
    ShowSmall();
    CScopedLock lock(&Inside().m_lock); // as Connect has it
    std::thread host([&] { EXPECT_EQ(Control().SetOutputFormat(Text("RGB32"), 640, 480), S_OK); });
    Sleep(50);
    EXPECT_EQ(Inside().m_picOutput.nWidth, 8);
    lock.Unlock();
    EXPECT_TRUE(EndsInTime([&] { host.join(); }));
    EXPECT_EQ(Inside().m_picOutput.nWidth, 640);
}

TEST_F(PumpLock, NoneIsHeldWhileTheGraphIsDescribedInTheLog)
{
    // The graph has a lock of its own, which it holds when it stops its filters on another thread.
    ShowSmall();
    std::string sTaken = "never asked";
    HRESULT hrStop = E_UNEXPECTED;
    bool bStopped = false;
    m_graph.m_onEnumFilters = [&]
    {
        sTaken = FirstTakenOfAll();
        bStopped = EndsInTime([&] { hrStop = Filter().Stop(); });
    };
    ASSERT_EQ(Connect(), S_OK);
    EXPECT_EQ(Filter().Pause(), VFW_E_STATE_CHANGED);
    EXPECT_EQ(sTaken, "");
    EXPECT_TRUE(bStopped) << "the stop waits for the description";
    EXPECT_EQ(hrStop, S_OK);
    EXPECT_EQ(Filter().FilterState(), State_Stopped);
    EXPECT_FALSE(Inside().m_pump.IsStreaming());
}

TEST_F(PumpLock, AStartAndADisconnectionExcludeEachOther)
{
    ShowSmall();
    HRESULT hrPause = E_UNEXPECTED, hrDisconnect = E_UNEXPECTED;
    ASSERT_EQ(Connect(), S_OK);
    m_sink.m_pin.m_onDisconnect = [&]
    { EXPECT_TRUE(EndsInTime([&] { hrPause = Filter().Pause(); })) << "the start waits"; };
    EXPECT_EQ(Out().Disconnect(), S_OK);
    EXPECT_EQ(hrPause, VFW_E_WRONG_STATE);
    EXPECT_EQ(Filter().FilterState(), State_Stopped);

    m_sink.m_pin.m_onDisconnect = nullptr;
    m_alloc.m_onCommit = [&]
    { EXPECT_TRUE(EndsInTime([&] { hrDisconnect = Out().Disconnect(); })) << "the disconnection waits"; };
    ASSERT_EQ(Out().Connect(&m_sink.m_pin, nullptr), S_OK);
    EXPECT_EQ(Filter().Pause(), S_OK);
    EXPECT_EQ(hrDisconnect, VFW_E_NOT_STOPPED);
    EXPECT_TRUE(Out().IsConnected());
    EXPECT_EQ(Filter().FilterState(), State_Paused);
}

TEST_F(PumpLock, OutputPropertiesAreReadWhole)
{
    QG_VID_PROPS one{}, two{};
    one.nAspectX = one.nAspectY = one.nWidth = one.nHeight = 4;
    two.nAspectX = two.nAspectY = two.nWidth = two.nHeight = 16;
    ASSERT_EQ(Connect(), S_OK); // so that a change does no more than store them
    ASSERT_EQ(Control().SetOutputProps(&one), S_OK);
    m_sink.m_pin.m_gate.Close();
    ASSERT_EQ(Filter().Pause(), S_OK);
    std::atomic<bool> bEnd = false;
    std::thread writer(
        [&]
        {
            for (int i = 0; !bEnd; i++)
                Control().SetOutputProps(i % 2 == 0 ? &two : &one);
        });
    int nMixed = 0;
    for (int i = 0; i < 200000; i++)
    {
        const QG_VID_PROPS props = Filter().GetProps();
        nMixed +=
            props.nAspectX == props.nHeight && props.nAspectY == props.nWidth && props.nWidth == props.nHeight
                ? 0
                : 1;
    }
    bEnd = true;
    writer.join();
    EXPECT_EQ(nMixed, 0);
}

TEST_F(PumpLock, NewListsInARunningGraph)
{
    for (int i = 0; i < 3; i++)
        m_folder.Write(std::to_string(i) + ".tga", SolidTga(8, 4, {1, 2, 3, 255}));
    ASSERT_EQ(Control().SetPicture(Text(m_folder.Path())), S_OK);
    ASSERT_EQ(Connect(), S_OK);
    Inside().m_nStopFrame = 0;
    ASSERT_EQ(Filter().Run(0), S_OK);
    const bool bEnded = EndsInTime(
        [&]
        {
            for (int i = 0; i < 200; i++)
            {
                const char* const arrNames[] = {"red|green|blue", "white", "black|none"};
                EXPECT_EQ(i % 4 == 3 ? Control().SetPicture(Text(m_folder.Path()))
                                     : Control().SetPicture(Text(arrNames[i % 3])),
                          S_OK);
                {
                    CScopedLock lock(&Inside().m_crsPosition);
                    Inside().m_nStopFrame = 0;
                }
                Inside().m_pump.Wake(); // should it have come to the end of a list meanwhile
            }
        },
        120000);
    EXPECT_TRUE(bEnded);
    const int nReceived = m_log.Count("in.Receive");
    EXPECT_TRUE(m_log.WaitFor("in.Receive", nReceived + 10));
    EXPECT_EQ(Filter().Stop(), S_OK);
}

} // namespace
