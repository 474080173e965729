// Which locks are held where: what must go on while a lock is taken elsewhere or a peer blocks.
#include "TestFilter.h"

namespace
{
class LockTest : public FrameworkTest
{
};

/// The worker's operations need neither the filter's lock nor the pin's.
TEST_F(LockTest, DeliveryTakesNoLockOfFilterOrPin)
{
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Run(0), S_OK);
    CScopedLock lockFilter(&Filter().m_lock);
    CScopedLock lockPin(&Pin().m_lock);
    EXPECT_TRUE(EndsInTime(
        [this]
        {
            EXPECT_EQ(Pin().FilterState(), State_Running);
            EXPECT_TRUE(Pin().HasAllocator());
            CComPtr<IMediaSample> spSample;
            EXPECT_EQ(Pin().GetSample(&spSample, 0), S_OK);
            EXPECT_EQ(Pin().SetMediaTypeFromSample(spSample), S_FALSE);
            static_cast<FakeSample*>(spSample.p)->m_mt = m_mtStart;
            EXPECT_EQ(Pin().SetMediaTypeFromSample(spSample), S_OK);
            EXPECT_EQ(Pin().SendSample(spSample), S_OK);
            EXPECT_TRUE(Pin().GetPeer());
        }));
}

/// While a renderer blocks in Receive, and asks back from there, everything else answers.
TEST_F(LockTest, NoLockIsHeldAcrossReceive)
{
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Run(0), S_OK);
    Peer().m_gate.Close();
    Peer().m_onReceive = [this](IMediaSample*)
    {
        CMType mt;
        EXPECT_EQ(PinItf()->ConnectionMediaType(&mt), S_OK);
        return S_OK;
    };
    std::thread worker(
        [this]
        {
            FakeSample sample;
            EXPECT_EQ(Pin().SendSample(&sample), S_OK);
        });
    EXPECT_TRUE(Peer().m_gate.WaitForWaiting());
    EXPECT_TRUE(EndsInTime(
        [this]
        {
            CMType mt;
            EXPECT_EQ(PinItf()->ConnectionMediaType(&mt), S_OK);
            CComPtr<IPin> spPeer;
            EXPECT_EQ(PinItf()->ConnectedTo(&spPeer), S_OK);
            FILTER_INFO info;
            EXPECT_EQ(Filter().QueryFilterInfo(&info), S_OK);
            FILTER_STATE eState;
            EXPECT_EQ(Filter().GetState(0, &eState), S_OK);
            EXPECT_EQ(Filter().Stop(), S_OK);
            EXPECT_EQ(PinItf()->Disconnect(), S_OK); // the copy keeps the peer for the call that is under way
            EXPECT_FALSE(Pin().m_spMemInput);
            EXPECT_EQ(Connect(), S_OK);
        }));
    Peer().m_gate.Open();
    worker.join();
}

TEST_F(LockTest, NoLockIsHeldAcrossGetBufferAndStopFreesIt)
{
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Run(0), S_OK);
    CComPtr<IMediaSample> spOne, spTwo;
    ASSERT_EQ(Pin().GetSample(&spOne, 0), S_OK);
    ASSERT_EQ(Pin().GetSample(&spTwo, 0), S_OK);
    m_calls.Clear();
    HRESULT hr = S_OK;
    std::thread worker(
        [&]
        {
            CComPtr<IMediaSample> spThree;
            hr = Pin().GetSample(&spThree, 0); // none is free
        });
    EXPECT_TRUE(m_calls.WaitFor("alloc.GetBuffer"));
    EXPECT_TRUE(EndsInTime(
        [this]
        {
            CMType mt;
            EXPECT_EQ(PinItf()->ConnectionMediaType(&mt), S_OK);
            EXPECT_EQ(Filter().Stop(), S_OK);
        }));
    worker.join();
    EXPECT_EQ(hr, VFW_E_NOT_COMMITTED);
}

/// The end of a connection calls the allocator outside the leaf lock.
TEST_F(LockTest, TheLeafLockIsFreeWhileTheConnectionBreaks)
{
    ASSERT_EQ(Connect(), S_OK);
    bool bFree = false;
    const auto look = [&]
    {
        bFree = EndsInTime(
            [this]
            {
                CComPtr<IMediaSample> spSample;
                EXPECT_EQ(Pin().GetSample(&spSample, 0), VFW_E_NO_ALLOCATOR);
                FakeSample sample;
                EXPECT_EQ(Pin().SendSample(&sample), VFW_E_NOT_SAMPLE_CONNECTION);
            });
    };
    m_alloc.m_onDecommit = look;
    EXPECT_EQ(PinItf()->Disconnect(), S_OK);
    EXPECT_TRUE(bFree);
    m_alloc.m_onDecommit = nullptr;
    ASSERT_EQ(Connect(), S_OK);
    bFree = false;
    Peer().m_onDisconnect = look;
    EXPECT_EQ(PinItf()->Disconnect(), S_OK);
    EXPECT_TRUE(bFree);
}

/// What a peer asks from another thread while it is being connected must not wait for the connection's lock.
TEST_F(LockTest, QueriesDuringTheConnection)
{
    bool bFree = false;
    Peer().m_onReceiveConnection = [&](IPin* pPin)
    {
        bFree = EndsInTime(
            [pPin, this]
            {
                PIN_INFO info;
                EXPECT_EQ(pPin->QueryPinInfo(&info), S_OK);
                info.pFilter->Release();
                PIN_DIRECTION eDir;
                EXPECT_EQ(pPin->QueryDirection(&eDir), S_OK);
                CComPtr<IPin> spPeer;
                EXPECT_EQ(pPin->ConnectedTo(&spPeer), S_OK);
                EXPECT_EQ(pPin->QueryAccept(&m_mtStart), S_OK);
                FILTER_STATE eState;
                EXPECT_EQ(Filter().GetState(0, &eState), S_OK);
            });
    };
    EXPECT_EQ(Connect(), S_OK);
    EXPECT_TRUE(bFree);
}

/// The filter's lock is taken before the pin's, and the connection takes only the pin's.
TEST_F(LockTest, AConnectionDoesNotNeedTheFiltersLock)
{
    CScopedLock lock(&Filter().m_lock);
    EXPECT_TRUE(EndsInTime(
        [this]
        {
            EXPECT_EQ(Connect(), S_OK);
            EXPECT_EQ(PinItf()->Disconnect(), S_OK);
        }));
}

/// Types are copied for a host while the worker takes over new ones.
TEST_F(LockTest, TypesAreReadWhileTheyChange)
{
    ASSERT_EQ(Connect(), S_OK);
    std::atomic<bool> bStop = false;
    std::thread worker(
        [&]
        {
            FakeSample one, two;
            one.m_mt = VideoType(16, 8);
            two.m_mt = VideoType(64, 8);
            while (!bStop)
            {
                EXPECT_EQ(Pin().SetMediaTypeFromSample(&one), S_OK);
                EXPECT_EQ(Pin().SetMediaTypeFromSample(&two), S_OK);
            }
        });
    for (int i = 0; i < 3000; ++i)
    {
        CMType mt;
        ASSERT_EQ(PinItf()->ConnectionMediaType(&mt), S_OK);
        const LONG nWidth = mt.VideoInfo()->bmiHeader.biWidth;
        ASSERT_TRUE(nWidth == 16 || nWidth == 64);
        CComPtr<IEnumMediaTypes> spEnum;
        ASSERT_EQ(PinItf()->EnumMediaTypes(&spEnum), S_OK);
        AM_MEDIA_TYPE* pmt = nullptr;
        ASSERT_EQ(spEnum->Next(1, &pmt, nullptr), S_OK);
        MTDelete(pmt);
    }
    bStop = true;
    worker.join();
}

/// Start, stop, connect and disconnect at random moments while samples flow.
TEST_F(LockTest, StatesAndConnectionsUnderLoad)
{
    Peer().m_onReceive = [](IMediaSample*) { return S_OK; };
    std::atomic<bool> bStop = false;
    std::thread worker(
        [&]
        {
            while (!bStop)
            {
                CComPtr<IMediaSample> spSample;
                if (Pin().GetSample(&spSample, 0) == S_OK && spSample)
                    Pin().SendSample(spSample);
            }
        });
    EXPECT_TRUE(EndsInTime(
        [this]
        {
            for (int i = 0; i < 2000; ++i)
            {
                EXPECT_EQ(Connect(), S_OK);
                EXPECT_EQ(i % 2 == 0 ? Filter().Run(i) : Filter().Pause(), S_OK);
                EXPECT_EQ(Filter().Stop(), S_OK);
                EXPECT_EQ(PinItf()->Disconnect(), S_OK);
            }
        },
        120000));
    bStop = true;
    worker.join();
}
} // namespace
