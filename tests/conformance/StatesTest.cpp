// State changes with and without a connection, clock and graph, and what they send downstream.
#include "Conformance.h"

#include <uuids.h>

namespace
{

class States : public Conformance
{
protected:
    HRESULT Seek(LONGLONG llCurrent, LONGLONG llStop)
    {
        const CComPtr<IMediaSeeking> sp = Interface<IMediaSeeking>(m_spPin);
        return sp ? sp->SetPositions(&llCurrent, AM_SEEKING_AbsolutePositioning, &llStop,
                                     AM_SEEKING_AbsolutePositioning)
                  : E_NOINTERFACE;
    }
    /// What came from downstream calls, without the calls of the allocator's connection.
    Lines StreamCalls() const
    {
        Lines calls;
        for (const std::string& s : m_log.Calls())
        {
            if (s == "in.NewSegment" || s == "in.Receive" || s == "in.EndOfStream" || s == "in.BeginFlush" ||
                s == "in.EndFlush")
                calls.push_back(s);
        }
        return calls;
    }
};

TEST_F(States, WithoutAConnection)
{
    EXPECT_EQ(State(), State_Stopped);
    EXPECT_EQ(Filter().Pause(), VFW_E_WRONG_STATE);
    EXPECT_EQ(State(), State_Stopped);
    EXPECT_EQ(Filter().Run(0), VFW_E_WRONG_STATE);
    EXPECT_EQ(State(), State_Stopped);
    // Deliberately not a success: there is no allocator to let go.
    EXPECT_EQ(Filter().Stop(), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(State(), State_Stopped);
    // After a connection that has gone it is the same.
    ASSERT_EQ(Connect(), S_OK);
    Disconnect();
    EXPECT_EQ(Filter().Pause(), VFW_E_WRONG_STATE);
    EXPECT_EQ(Filter().Run(0), VFW_E_WRONG_STATE);
    EXPECT_EQ(Filter().Stop(), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(Asserts(), Lines{});
}

/// From every state to every other, with what is told on the way; the allocator is committed exactly once.
TEST_F(States, WithAConnection)
{
    ASSERT_EQ(Connect(), S_OK);
    const FILTER_STATE arrStates[] = {State_Stopped, State_Paused, State_Running};
    const auto change = [&](FILTER_STATE eNew)
    {
        return eNew == State_Stopped  ? Filter().Stop()
               : eNew == State_Paused ? Filter().Pause()
                                      : Filter().Run(7);
    };
    for (const FILTER_STATE eFrom : arrStates)
    {
        for (const FILTER_STATE eTo : arrStates)
        {
            SCOPED_TRACE(testing::Message() << eFrom << " to " << eTo);
            ASSERT_EQ(change(State_Stopped), S_OK);
            ASSERT_EQ(change(eFrom), S_OK);
            m_trace.Clear();
            m_log.Clear();
            ASSERT_EQ(change(eTo), S_OK);
            EXPECT_EQ(State(), eTo);
            for (const DWORD dwTimeout : {DWORD{0}, DWORD{1000}, DWORD{INFINITE}})
            {
                FILTER_STATE eState{};
                EXPECT_EQ(Filter().GetState(dwTimeout, &eState), S_OK); // never in between
                EXPECT_EQ(eState, eTo);
            }
            EXPECT_EQ(m_trace.Count(eTL_Warning,
                                    "WARNING. CCoQXStillSource IBaseFilterImpl::Run(): current state "
                                    "is State_Stopped, call Pause() command\n"),
                      eFrom == State_Stopped && eTo == State_Running);
            EXPECT_EQ(m_trace.Count(eTL_Warning,
                                    "WARNING. CCoQXStillSource IBaseFilterImpl::Stop(): current state "
                                    "is State_Running, call Pause() command\n"),
                      eFrom == State_Running && eTo == State_Stopped);
            EXPECT_EQ(m_log.Count("alloc.Commit"), eFrom == State_Stopped && eTo != State_Stopped);
            EXPECT_EQ(m_log.Count("alloc.Decommit"), eFrom != State_Stopped && eTo == State_Stopped);
            EXPECT_EQ(m_alloc.IsCommitted(), eTo != State_Stopped);
        }
    }
    ASSERT_EQ(Filter().Stop(), S_OK);
    Disconnect();
}

/// Frames flow in Paused already; the first of a start begins a segment.
TEST_F(States, SegmentsAndFrames)
{
    ASSERT_EQ(Seek(0, 800000), S_OK); // frames 0 to 2
    ASSERT_EQ(Connect(), S_OK);
    m_log.Clear();
    ASSERT_EQ(Filter().Pause(), S_OK);
    EXPECT_TRUE(m_log.WaitFor("in.EndOfStream"));
    ASSERT_EQ(Filter().Run(0), S_OK);
    ASSERT_EQ(Filter().Stop(), S_OK);
    EXPECT_EQ(StreamCalls(),
              (Lines{"in.NewSegment", "in.Receive", "in.Receive", "in.Receive", "in.EndOfStream"}));
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 3u);
    for (LONGLONG n = 0; n < 3; n++)
    {
        const FakeInputPin::Received& rec = samples[static_cast<size_t>(n)];
        EXPECT_EQ(rec.hrTime, S_OK);
        EXPECT_EQ(rec.tS, n * 400000);
        EXPECT_EQ(rec.tE, (n + 1) * 400000);
        EXPECT_EQ(rec.hrMediaTime, S_OK);
        EXPECT_EQ(rec.llMS, n);
        EXPECT_EQ(rec.llME, n + 1);
        EXPECT_TRUE(rec.bSync);
        EXPECT_EQ(rec.bDiscontinuity, n == 0);
        EXPECT_FALSE(rec.bPreroll);
        EXPECT_EQ(rec.lActual, 829440);
    }
    EXPECT_EQ(m_sink.m_pin.Segments(), (std::vector<FakeInputPin::Segment>{{0, 800000, 1.0}}));

    // The count goes on over a stop: the stream has ended before it begins.
    m_log.Clear();
    ASSERT_EQ(Filter().Run(0), S_OK);
    EXPECT_TRUE(m_log.WaitFor("in.EndOfStream"));
    ASSERT_EQ(Filter().Stop(), S_OK);
    EXPECT_EQ(StreamCalls(), (Lines{"in.NewSegment", "in.EndOfStream"}));
    EXPECT_EQ(m_sink.m_pin.Segments().back(), (FakeInputPin::Segment{1200000, 800000, 1.0}));
    Disconnect();
}

/// A seek flushes both ways and wakes a stream that has ended.
TEST_F(States, SeekAfterTheEnd)
{
    ASSERT_EQ(Seek(0, 400000), S_OK);
    ASSERT_EQ(Connect(), S_OK);
    m_log.Clear();
    ASSERT_EQ(Filter().Run(0), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream"));
    EXPECT_EQ(StreamCalls(), (Lines{"in.NewSegment", "in.Receive", "in.Receive", "in.EndOfStream"}));
    m_log.Clear();
    ASSERT_EQ(Seek(400000, 400000), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream"));
    ASSERT_EQ(Filter().Stop(), S_OK);
    EXPECT_EQ(StreamCalls(),
              (Lines{"in.BeginFlush", "in.EndFlush", "in.NewSegment", "in.Receive", "in.EndOfStream"}));
    EXPECT_EQ(m_sink.m_pin.Segments().back(), (FakeInputPin::Segment{400000, 400000, 1.0}));
    const auto last = m_sink.m_pin.Samples().back();
    EXPECT_EQ(last.tS, 0); // times are relative to the segment, media times are not
    EXPECT_EQ(last.llMS, 1);
    EXPECT_TRUE(last.bDiscontinuity);
    Disconnect();
}

/// A stop while the peer holds the worker in Receive waits for it; the peer's own stop lets it go.
TEST_F(States, StopWithABlockedPeer)
{
    ASSERT_EQ(Connect(), S_OK);
    m_sink.m_pin.m_gate.Close();
    ASSERT_EQ(Filter().Run(0), S_OK);
    ASSERT_TRUE(m_sink.m_pin.m_gate.WaitForWaiting());
    EXPECT_EQ(m_sink.Stop(), S_OK);
    EXPECT_TRUE(EndsInTime([&] { EXPECT_EQ(Filter().Stop(), S_OK); }));
    // And one in GetBuffer: the peer keeps every sample.
    m_sink.m_pin.m_bHold = true;
    m_log.Clear();
    ASSERT_EQ(Filter().Run(0), S_OK);
    ASSERT_TRUE(m_log.WaitFor("alloc.GetBuffer", 3));
    EXPECT_EQ(m_log.Count("in.Receive"), 2);
    EXPECT_TRUE(EndsInTime([&] { EXPECT_EQ(Filter().Stop(), S_OK); }));
    m_sink.m_pin.ReleaseSamples();
    m_sink.m_pin.m_bHold = false;
    Disconnect();
}

TEST_F(States, ClockIsKeptAndHandedOut)
{
    CComPtr<IReferenceClock> spClock, spGot;
    ASSERT_EQ(CoCreateInstance(CLSID_SystemClock, nullptr, CLSCTX_INPROC_SERVER, IID_IReferenceClock,
                               reinterpret_cast<void**>(&spClock)),
              S_OK);
    EXPECT_EQ(Filter().GetSyncSource(&spGot), S_OK);
    EXPECT_EQ(spGot.p, nullptr);
    const ULONG nRefs = Refs(spClock.p);
    EXPECT_EQ(Filter().SetSyncSource(spClock), S_OK);
    EXPECT_EQ(Refs(spClock.p), nRefs + 1);
    EXPECT_EQ(Filter().SetSyncSource(spClock), S_OK); // the same again
    EXPECT_EQ(Refs(spClock.p), nRefs + 1);
    EXPECT_EQ(Filter().GetSyncSource(&spGot), S_OK);
    EXPECT_EQ(spGot.p, spClock.p);
    EXPECT_EQ(Refs(spClock.p), nRefs + 2);
    spGot.Release();
    EXPECT_EQ(Filter().SetSyncSource(nullptr), S_OK);
    EXPECT_EQ(Refs(spClock.p), nRefs);
}

TEST_F(States, JoiningAndLeavingAGraph)
{
    FakeGraph other;
    FILTER_INFO info{};
    const std::wstring sLong(200, L'n');
    EXPECT_EQ(Filter().JoinFilterGraph(m_graph.Graph(), sLong.c_str()), S_OK);
    EXPECT_EQ(m_graph.Refs(), 0); // a graph outlives its filters
    EXPECT_EQ(Filter().QueryFilterInfo(&info), S_OK);
    EXPECT_EQ(info.pGraph, m_graph.Graph());
    EXPECT_EQ(m_graph.Refs(), 1);
    info.pGraph->Release();
    EXPECT_EQ(std::wstring(info.achName), sLong.substr(0, 127));

    EXPECT_EQ(Filter().JoinFilterGraph(other.Graph(), L"other"), E_FAIL);
    EXPECT_EQ(Asserts(), Lines{"pT->m_pFilterGraphJoin == NULL || pGraph == NULL"});
    EXPECT_EQ(Filter().QueryFilterInfo(&info), S_OK);
    EXPECT_EQ(info.pGraph, m_graph.Graph());
    info.pGraph->Release();
    EXPECT_EQ(Filter().JoinFilterGraph(nullptr, nullptr), S_OK);
    EXPECT_EQ(Filter().JoinFilterGraph(nullptr, nullptr), S_OK);

    // A graph without an event sink is not joined.
    other.m_hrEventSink = E_NOINTERFACE;
    EXPECT_EQ(Filter().JoinFilterGraph(other.Graph(), L"other"), E_NOINTERFACE);
    EXPECT_EQ(Filter().QueryFilterInfo(&info), S_OK);
    EXPECT_EQ(info.pGraph, nullptr);
    EXPECT_STREQ(info.achName, L"");
    EXPECT_EQ(other.Refs(), 0);
}

} // namespace
