// Start and stop of the pump.
#include "FilterSupport.h"

#include <thread>

namespace
{

class PumpState : public FilterTest
{
};

TEST_F(PumpState, UnconnectedFilterDoesNotStart)
{
    EXPECT_EQ(Filter().Pause(), VFW_E_WRONG_STATE);
    EXPECT_FALSE(Inside().m_pump.IsStreaming());
    EXPECT_EQ(Filter().Run(0), VFW_E_WRONG_STATE);
    EXPECT_FALSE(Inside().m_pump.IsStreaming());
    EXPECT_EQ(Filter().FilterState(), State_Stopped);
    EXPECT_EQ(Out().StreamStart(), VFW_E_NOT_CONNECTED);
    EXPECT_FALSE(Inside().m_pump.IsStreaming());
}

TEST_F(PumpState, StopOfAnUnconnectedFilter)
{
    EXPECT_EQ(Filter().Stop(), VFW_E_NOT_CONNECTED);
    EXPECT_FALSE(Inside().m_pump.IsStreaming());
}

TEST_F(PumpState, StreamStartLeavesTheFrameNumber)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    Inside().m_rtCurrent = 123;
    Inside().m_nFrame = 45;
    EXPECT_EQ(Out().StreamStart(), S_OK); // the filter is stopped: the worker finds nothing to do
    EXPECT_EQ(Inside().m_rtCurrent, 0);
    EXPECT_EQ(Inside().m_nFrame, 45);
    EXPECT_TRUE(Inside().m_pump.IsStreaming());
    Out().StreamStop();
    EXPECT_FALSE(Inside().m_pump.IsStreaming());
    EXPECT_EQ(m_log.Count("alloc.GetBuffer"), 0);
}

TEST_F(PumpState, RunGoesThroughPause)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    EXPECT_EQ(Filter().Run(77), S_OK);
    EXPECT_EQ(Filter().FilterState(), State_Running);
    EXPECT_TRUE(Inside().m_pump.IsStreaming());
    ASSERT_TRUE(m_log.WaitFor("in.Receive"));
    EXPECT_TRUE(m_trace.Has(
        4, "WARNING. CCoQXStillSource IBaseFilterImpl::Run(): current state is State_Stopped, call "
           "Pause() command\n"));
}

TEST_F(PumpState, StopOfARunningFilterGoesThroughPause)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Run(0), S_OK);
    EXPECT_EQ(Filter().Stop(), S_OK);
    EXPECT_EQ(Filter().FilterState(), State_Stopped);
    EXPECT_FALSE(Inside().m_pump.IsStreaming());
    EXPECT_FALSE(m_alloc.IsCommitted());
    EXPECT_TRUE(m_trace.Has(
        4, "WARNING. CCoQXStillSource IBaseFilterImpl::Stop(): current state is State_Running, call "
           "Pause() command\n"));
}

TEST_F(PumpState, PauseOfAPausedFilterDoesNothingMore)
{
    ShowSmall();
    m_sink.m_pin.m_gate.Close();
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_sink.m_pin.m_gate.WaitForWaiting());
    EXPECT_EQ(Inside().m_rtCurrent, 400000);
    EXPECT_EQ(Filter().Pause(), S_OK);
    EXPECT_EQ(Inside().m_rtCurrent, 400000); // StreamStart is not called again
    EXPECT_EQ(Filter().Run(0), S_OK);
    EXPECT_EQ(Filter().Pause(), S_OK);
    EXPECT_EQ(Inside().m_rtCurrent, 400000);
}

TEST_F(PumpState, FailedCommitDoesNotStart)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    m_alloc.m_hrCommit = E_OUTOFMEMORY;
    EXPECT_EQ(Filter().Pause(), E_OUTOFMEMORY);
    EXPECT_EQ(Filter().FilterState(), State_Stopped);
    EXPECT_FALSE(Inside().m_pump.IsStreaming());
}

TEST_F(PumpState, FailedDecommitStopsThePumpAllTheSame)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.Receive"));
    m_alloc.m_hrDecommit = E_FAIL;
    EXPECT_EQ(Filter().Stop(), E_FAIL); // the result of the base
    EXPECT_EQ(Filter().FilterState(), State_Paused);
    EXPECT_FALSE(Inside().m_pump.IsStreaming());
    const int nReceived = m_log.Count("in.Receive");
    EXPECT_TRUE(Inside().m_pump.Wake());
    EXPECT_EQ(WaitForSingleObject(Inside().m_pump.m_evStopped, nTestLimitMs), WAIT_OBJECT_0); // idle
    EXPECT_EQ(m_log.Count("in.Receive"), nReceived);
    m_alloc.m_hrDecommit.reset();
    EXPECT_EQ(Filter().Stop(), S_OK);
}

TEST_F(PumpState, StopWaitsForABlockedReceive)
{
    ShowSmall();
    m_sink.m_pin.m_gate.Close();
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_sink.m_pin.m_gate.WaitForWaiting());
    std::atomic<bool> bStopped = false;
    std::thread stopper(
        [&]
        {
            EXPECT_EQ(Filter().Stop(), S_OK);
            bStopped = true;
        });
    // The stop has come as far as the wait.
    for (int i = 0; i < nTestLimitMs && Inside().m_pump.IsStreaming(); i++)
        Sleep(1);
    EXPECT_FALSE(Inside().m_pump.IsStreaming());
    EXPECT_EQ(Filter().FilterState(), State_Stopped);
    EXPECT_FALSE(bStopped);
    m_sink.m_pin.m_gate.Open();
    EXPECT_TRUE(EndsInTime([&] { stopper.join(); }));
    EXPECT_TRUE(bStopped);
    EXPECT_EQ(m_log.Count("in.Receive"), 1);
}

TEST_F(PumpState, StopFreesABlockedGetBuffer)
{
    ShowSmall();
    m_sink.m_pin.m_bHold = true; // never gives a sample back
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.Receive", 2));
    ASSERT_TRUE(m_log.WaitFor("alloc.GetBuffer", 3));
    EXPECT_TRUE(EndsInTime([&] { EXPECT_EQ(Filter().Stop(), S_OK); }));
    EXPECT_TRUE(
        m_trace.Has(2, "###Err### [CCoQXStillSourceOut]: Send(): m_spAllocOut->GetBuffer()=0x80040211\n"));
    m_sink.m_pin.ReleaseSamples();
}

TEST_F(PumpState, WorkerThatIsMissing)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    Inside().m_pump.End();
    EXPECT_EQ(Filter().Pause(), S_OK);
    EXPECT_TRUE(EndsInTime([&] { EXPECT_EQ(Filter().Stop(), S_OK); })); // nobody would answer
    EXPECT_EQ(m_log.Count("in.Receive"), 0);
}

TEST_F(PumpState, ReleaseWithoutAStop)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Run(0), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.Receive"));
    CComPtr<IPin> spPin = static_cast<IPin*>(&Out());
    CCoQXStillSourceOut* const pOut = &Out();
    Filter().JoinFilterGraph(nullptr, nullptr);
    m_asserts.Clear();
    EXPECT_TRUE(EndsInTime([&] { m_spFilter.Release(); }));
    EXPECT_EQ(m_asserts.Count("m_eState == State_Stopped"), 1);
    EXPECT_FALSE(PinProbe(*pOut).m_pump.IsStreaming());
    // The pin outlives its filter and stays usable.
    EXPECT_EQ(pOut->Send(), INFINITE);
    EXPECT_EQ(spPin->Disconnect(), S_OK);
    spPin.Release();
    EXPECT_EQ(m_sink.m_pin.Refs(), 0);
}

TEST_F(PumpState, ManyCycles)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    const bool bEnded = EndsInTime(
        [&]
        {
            for (int i = 0; i < 1000; i++)
            {
                EXPECT_EQ(i % 3 == 0 ? Filter().Run(0) : Filter().Pause(), S_OK);
                if (i % 5 == 0)
                    m_log.WaitFor("in.Receive", m_log.Count("in.Receive") + 1);
                EXPECT_EQ(Filter().Stop(), S_OK);
                if (i % 50 == 0)
                    m_log.Clear();
            }
        },
        120000);
    EXPECT_TRUE(bEnded);
    EXPECT_EQ(m_alloc.Lent(), 0);
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

} // namespace
