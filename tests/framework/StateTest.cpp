// Stopped, paused, running: results, traces, the allocator and the graph dump.
#include "TestFilter.h"

#include <random>

namespace
{
class StateTest : public FrameworkTest
{
protected:
    void Reach(FILTER_STATE eState)
    {
        Filter().Stop();
        if (eState == State_Paused)
        {
            ASSERT_EQ(Filter().Pause(), S_OK);
        }
        if (eState == State_Running)
        {
            ASSERT_EQ(Filter().Pause(), S_OK);
            ASSERT_EQ(Filter().Run(1), S_OK);
        }
        ASSERT_EQ(Filter().m_eState, eState);
        m_calls.Clear();
        Filter().m_nStreamStart = Filter().m_nStreamStop = 0;
    }
    FILTER_STATE State()
    {
        FILTER_STATE eState = State_Stopped;
        EXPECT_EQ(Filter().GetState(0, &eState), S_OK);
        return eState;
    }
};

enum eOp
{
    eOp_Stop,
    eOp_Pause,
    eOp_Run
};

TEST_F(StateTest, TransitionTable)
{
    struct Row
    {
        FILTER_STATE eFrom;
        eOp op;
        FILTER_STATE eTo;
        Lines calls; ///< of the allocator
        int nStreamStart, nStreamStop;
        Lines lines;
    };
    const std::string sName = "TestFilter IBaseFilterImpl::";
    // The first start after a stop writes the graph, and there is none here.
    const std::string sDump =
        "2 ###Err### TestFilter CBaseFilter::ParseGraphToLogFile(): empty graph pointer\n";
    const Row rows[] = {
        {State_Stopped, eOp_Stop, State_Stopped, {}, 0, 1, {"8 " + sName + "Stop\n"}},
        {State_Stopped,
         eOp_Pause,
         State_Paused,
         {"alloc.Commit", "alloc.GetProperties"},
         1,
         0,
         {"8 " + sName + "Pause\n", sDump}},
        {State_Stopped,
         eOp_Run,
         State_Running,
         {"alloc.Commit", "alloc.GetProperties"},
         1,
         0,
         {"8 " + sName + "Run( 1.234'5678 )\n",
          "4 WARNING. " + sName + "Run(): current state is State_Stopped, call Pause() command\n",
          "8 " + sName + "Pause\n", sDump, "8 " + sName + "Run(): run after pause\n"}},
        {State_Paused, eOp_Stop, State_Stopped, {"alloc.Decommit"}, 0, 1, {"8 " + sName + "Stop\n"}},
        {State_Paused, eOp_Pause, State_Paused, {}, 0, 0, {"8 " + sName + "Pause\n"}},
        {State_Paused, eOp_Run, State_Running, {}, 0, 0, {"8 " + sName + "Run( 1.234'5678 )\n"}},
        {State_Running,
         eOp_Stop,
         State_Stopped,
         {"alloc.Decommit"},
         0,
         1,
         {"8 " + sName + "Stop\n",
          "4 WARNING. " + sName + "Stop(): current state is State_Running, call Pause() command\n",
          "8 " + sName + "Pause\n", "8 " + sName + "Stop(): stop after pause\n"}},
        {State_Running, eOp_Pause, State_Paused, {}, 0, 0, {"8 " + sName + "Pause\n"}},
        {State_Running, eOp_Run, State_Running, {}, 0, 0, {"8 " + sName + "Run( 1.234'5678 )\n"}},
    };
    ASSERT_EQ(Connect(), S_OK);
    for (const Row& row : rows)
    {
        SCOPED_TRACE(testing::Message() << "from " << row.eFrom << " operation " << row.op);
        Reach(row.eFrom);
        LogCapture log;
        const HRESULT hr = row.op == eOp_Stop    ? Filter().Stop()
                           : row.op == eOp_Pause ? Filter().Pause()
                                                 : Filter().Run(12345678);
        EXPECT_EQ(hr, S_OK);
        EXPECT_EQ(State(), row.eTo);
        EXPECT_EQ(m_calls.Calls(), row.calls);
        EXPECT_EQ(Filter().m_nStreamStart, row.nStreamStart);
        EXPECT_EQ(Filter().m_nStreamStop, row.nStreamStop);
        EXPECT_EQ(Own(log), row.lines);
        if (row.op == eOp_Run)
        {
            EXPECT_EQ(Filter().m_tStart, 12345678);
        }
        EXPECT_EQ(Pin().m_bActive, row.eTo != State_Stopped);
        EXPECT_EQ(m_alloc.IsCommitted(), row.eTo != State_Stopped);
    }
}

TEST_F(StateTest, TheStartTimeStaysAfterPause)
{
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Run(77), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    EXPECT_EQ(Filter().m_tStart, 77);
    ASSERT_EQ(Filter().Stop(), S_OK);
    EXPECT_EQ(Filter().m_tStart, 77);
}

TEST_F(StateTest, Unconnected)
{
    LogCapture log;
    EXPECT_EQ(Filter().Pause(), VFW_E_WRONG_STATE);
    EXPECT_EQ(State(), State_Stopped);
    EXPECT_EQ(Filter().Run(0), VFW_E_WRONG_STATE);
    EXPECT_EQ(State(), State_Stopped);
    EXPECT_EQ(Filter().Stop(), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(State(), State_Stopped);
    EXPECT_EQ(Filter().m_nStreamStart, 0);
    EXPECT_EQ(Filter().m_nStreamStop, 1);
    EXPECT_EQ(Filter().m_nDumps, 0);
    const std::string sName = "TestFilter IBaseFilterImpl::";
    EXPECT_EQ(Own(log),
              (Lines{"8 " + sName + "Pause\n", "8 " + sName + "Run( 0.000 )\n",
                     "4 WARNING. " + sName + "Run(): current state is State_Stopped, call Pause() command\n",
                     "8 " + sName + "Pause\n", "2 ###Err### " + sName + "Run(): Pause()=0x80040227\n",
                     "8 " + sName + "Stop\n"}));
}

TEST_F(StateTest, AnUnconnectedPinForcesStopped)
{
    ASSERT_EQ(Connect(), S_OK);
    for (const FILTER_STATE eFrom : {State_Paused, State_Running})
    {
        Reach(eFrom);
        CComPtr<IPin> spPeer;
        std::swap(spPeer.p, Pin().m_spConnected.p); // as if the peer had gone
        EXPECT_EQ(Filter().Run(0), VFW_E_WRONG_STATE);
        EXPECT_EQ(State(), State_Stopped);
        EXPECT_TRUE(Filter().m_bGraphDumpDue);
        std::swap(spPeer.p, Pin().m_spConnected.p);
    }
}

TEST_F(StateTest, AFailedCommitLeavesTheState)
{
    ASSERT_EQ(Connect(), S_OK);
    struct Row
    {
        HRESULT hrCommit, hrPause;
    };
    for (const Row& row :
         {Row{E_OUTOFMEMORY, E_OUTOFMEMORY}, Row{VFW_E_SIZENOTSET, VFW_E_SIZENOTSET}, Row{S_FALSE, E_FAIL}})
    {
        m_alloc.m_hrCommit = row.hrCommit;
        LogCapture log;
        EXPECT_EQ(Filter().Pause(), row.hrPause);
        EXPECT_EQ(State(), State_Stopped);
        EXPECT_EQ(Filter().Run(0), row.hrPause);
        EXPECT_EQ(State(), State_Stopped);
        EXPECT_FALSE(Pin().m_bActive);
        EXPECT_EQ(Filter().m_nStreamStart, 0);
        EXPECT_EQ(Own(log)[4], "2 ###Err### TestFilter IBaseFilterImpl::Run(): Pause()=" +
                                   Hex(static_cast<unsigned>(row.hrPause)) + "\n");
    }
}

TEST_F(StateTest, AFailedDecommitLeavesTheState)
{
    ASSERT_EQ(Connect(), S_OK);
    Reach(State_Paused);
    m_alloc.m_hrDecommit = E_ABORT;
    EXPECT_EQ(Filter().Stop(), E_ABORT);
    EXPECT_EQ(State(), State_Paused);
    EXPECT_EQ(Filter().m_nStreamStop, 1);
    m_alloc.m_hrDecommit.reset();
    EXPECT_EQ(Filter().Stop(), S_OK);
}

TEST_F(StateTest, AFailedPauseEndsStop)
{
    ASSERT_EQ(Connect(), S_OK);
    Reach(State_Running);
    CComPtr<IPin> spPeer;
    std::swap(spPeer.p, Pin().m_spConnected.p);
    LogCapture log;
    EXPECT_EQ(Filter().Stop(), VFW_E_WRONG_STATE);
    EXPECT_EQ(State(), State_Stopped); // the unconnected pin has forced it
    EXPECT_EQ(Own(log).back(), "2 ###Err### TestFilter IBaseFilterImpl::Stop(): Pause()=0x80040227\n");
    EXPECT_EQ(Filter().m_nStreamStop, 1);
    std::swap(spPeer.p, Pin().m_spConnected.p);
}

TEST_F(StateTest, AFailedStreamStartIsTheResultOfPause)
{
    ASSERT_EQ(Connect(), S_OK);
    Filter().m_hrStreamStart = VFW_E_NOT_CONNECTED;
    EXPECT_EQ(Filter().Pause(), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(State(), State_Paused);
}

TEST_F(StateTest, TheGraphIsDumpedAtTheFirstStartAfterEachStop)
{
    ASSERT_EQ(Connect(), S_OK);
    EXPECT_EQ(Filter().m_nDumps, 0);
    Filter().Pause();
    EXPECT_EQ(Filter().m_nDumps, 1);
    Filter().Run(0);
    Filter().Pause();
    Filter().Pause();
    Filter().Run(0);
    EXPECT_EQ(Filter().m_nDumps, 1);
    Filter().Stop();
    EXPECT_EQ(Filter().m_nDumps, 1);
    Filter().Run(0);
    EXPECT_EQ(Filter().m_nDumps, 2);
    Filter().Stop();
    Filter().Stop();
    Filter().Pause();
    EXPECT_EQ(Filter().m_nDumps, 3);
}

TEST_F(StateTest, TheTextOfTheGraphIsOneMessage)
{
    ASSERT_EQ(Connect(), S_OK);
    LogCapture log;
    Filter().Pause();
    EXPECT_EQ(log.Texts(eTL_Error),
              Lines{"###Err### TestFilter CBaseFilter::ParseGraphToLogFile(): empty graph pointer\n"});
    EXPECT_EQ(log.Texts(nLevelRaw), Lines{});
    Filter().Stop();

    ASSERT_EQ(Filter().JoinFilterGraph(m_graph.Graph(), L"Name"), S_OK);
    log.Clear();
    Filter().Run(0);
    EXPECT_EQ(log.Texts(eTL_Error), Lines{});
    EXPECT_EQ(log.Texts(nLevelRaw),
              Lines{"\r\n[Filter Graph]------------------------------------------------------\r\n"
                    "###Err### CFilterChainParser::GetFiltersChain(): pGraph->EnumFilters()=0x80004001\r\n"
                    "\r\n--------------------------------------------------------------------\r\n\r\n"});
    EXPECT_EQ(m_graph.Refs(), 0);
}

TEST_F(StateTest, GetStateAnswersAtOnce)
{
    ASSERT_EQ(Connect(), S_OK);
    for (const FILTER_STATE eState : {State_Stopped, State_Paused, State_Running})
    {
        Reach(eState);
        for (const DWORD dwTimeout : {0u, 1000u, INFINITE})
        {
            auto eSeen = static_cast<FILTER_STATE>(3);
            EXPECT_EQ(Filter().GetState(dwTimeout, &eSeen), S_OK);
            EXPECT_EQ(eSeen, eState);
        }
    }
}

/// Random operations against a model of the state.
TEST_F(StateTest, RandomSequences)
{
    std::mt19937 random(7);
    bool bConnected = false;
    FILTER_STATE eModel = State_Stopped;
    for (int i = 0; i < 4000; ++i)
    {
        switch (random() % 6)
        {
        case 0:
            EXPECT_EQ(Filter().Pause(), bConnected ? S_OK : VFW_E_WRONG_STATE);
            eModel = bConnected ? State_Paused : State_Stopped;
            break;
        case 1:
            EXPECT_EQ(Filter().Run(i), bConnected ? S_OK : VFW_E_WRONG_STATE);
            eModel = bConnected ? State_Running : State_Stopped;
            break;
        case 2:
            EXPECT_EQ(Filter().Stop(), bConnected ? S_OK : VFW_E_NOT_CONNECTED);
            eModel = State_Stopped;
            break;
        case 3:
            EXPECT_EQ(Connect(), bConnected ? VFW_E_ALREADY_CONNECTED : S_OK);
            bConnected = true;
            break;
        case 4:
            EXPECT_EQ(PinItf()->Disconnect(), !bConnected               ? S_FALSE
                                              : eModel != State_Stopped ? VFW_E_NOT_STOPPED
                                                                        : S_OK);
            bConnected = bConnected && eModel != State_Stopped;
            break;
        default:
        {
            CComPtr<IMediaSample> spSample;
            EXPECT_EQ(Pin().GetSample(&spSample, 0), !bConnected               ? VFW_E_NO_ALLOCATOR
                                                     : eModel == State_Stopped ? VFW_E_NOT_COMMITTED
                                                                               : S_OK);
            if (spSample)
            {
                EXPECT_EQ(Pin().SendSample(spSample), S_OK);
            }
        }
        }
        ASSERT_EQ(State(), eModel);
        ASSERT_EQ(Pin().IsConnected(), bConnected);
        ASSERT_EQ(Peer().IsConnected(), bConnected);
        ASSERT_EQ(m_alloc.IsCommitted(), eModel != State_Stopped);
    }
}
} // namespace
