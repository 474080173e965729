// SetPositions, GetPositions and GetDuration: what a host reads, and what the pump makes of it.
#include "FilterSupport.h"

#include <climits>

#include "FrameTimes.h"

namespace
{

constexpr LONGLONG nNoStop = 193273528230000;

class Position : public FilterTest
{
protected:
    /// Sets positions by value. \return the values that the caller is left with
    std::pair<LONGLONG, LONGLONG> Seek(LONGLONG llCurrent, DWORD dwCurrent, LONGLONG llStop, DWORD dwStop)
    {
        EXPECT_EQ(Out().SetPositions(&llCurrent, dwCurrent, &llStop, dwStop), S_OK);
        return {llCurrent, llStop};
    }
    void SeekTo(LONGLONG llCurrent)
    {
        EXPECT_EQ(Out().SetPositions(&llCurrent, AM_SEEKING_AbsolutePositioning, nullptr, 0), S_OK);
    }
    void StopAt(LONGLONG llStop)
    {
        EXPECT_EQ(Out().SetPositions(nullptr, 0, &llStop, AM_SEEKING_AbsolutePositioning), S_OK);
    }
    std::pair<LONGLONG, LONGLONG> Positions()
    {
        LONGLONG llCurrent = -77, llStop = -77;
        EXPECT_EQ(Out().GetPositions(&llCurrent, &llStop), S_OK);
        return {llCurrent, llStop};
    }
    LONGLONG Duration()
    {
        LONGLONG ll = -77;
        EXPECT_EQ(Out().GetDuration(&ll), S_OK);
        return ll;
    }
    /// An unconnected pin with a small type of this frame length.
    void SetFrameLength(REFERENCE_TIME rtFrame)
    {
        const CMType mt = VideoType(FOURCC_RGB32, 8, 4, rtFrame);
        Out().ApplyOutputType(&mt);
    }
};

using Pair = std::pair<LONGLONG, LONGLONG>;

TEST(FrameTimes, WrapAtTheEdges)
{
    EXPECT_EQ(FrameToTime(nNoStop, 400000), 3522434997161793536);
    EXPECT_EQ(FrameToTime(LLONG_MIN, -1), LLONG_MIN);
    EXPECT_EQ(FrameToTime(LLONG_MAX, 2), -2);
    EXPECT_EQ(FrameToTime(-3, 400000), -1200000);
    EXPECT_EQ(AddTimes(LLONG_MAX, 1), LLONG_MIN);
    EXPECT_EQ(AddTimes(LLONG_MIN, -1), LLONG_MAX);
    EXPECT_EQ(TimeToFrame(LLONG_MIN, -1), LLONG_MIN);
    EXPECT_EQ(TimeToFrame(7, -1), -7);
    EXPECT_EQ(TimeToFrame(LLONG_MIN, 1), LLONG_MIN);
    EXPECT_EQ(TimeToFrame(LLONG_MIN, LLONG_MIN), 1);
    EXPECT_EQ(TimeToFrame(LLONG_MAX, LLONG_MIN), 0);
    EXPECT_EQ(TimeToFrame(-799999, 400000), -1); // toward zero
    EXPECT_EQ(TimeToFrame(799999, 400000), 1);
    EXPECT_EQ(TimeToFrame(799999, -400000), -1);
}

TEST_F(Position, OfAFreshPin)
{
    EXPECT_EQ(Duration(), 3522434997161793536); // the product wraps
    EXPECT_EQ(Positions(), (Pair{0, 3522434997161793536}));
    LONGLONG llFirst = -1, llLast = -1, llCurrent = -1, llStop = -1;
    EXPECT_EQ(Out().GetAvailable(&llFirst, &llLast), S_OK);
    EXPECT_EQ(llFirst, 0);
    EXPECT_EQ(llLast, 3522434997161793536);
    EXPECT_EQ(Out().GetCurrentPosition(&llCurrent), S_OK);
    EXPECT_EQ(Out().GetStopPosition(&llStop), S_OK);
    EXPECT_EQ(llCurrent, 0);
    EXPECT_EQ(llStop, 3522434997161793536);
}

TEST_F(Position, NullPointersOfGetPositions)
{
    Inside().m_nFrame = 3;
    Inside().m_nStopFrame = 5;
    LONGLONG ll = 0;
    EXPECT_EQ(Out().GetPositions(nullptr, nullptr), S_OK);
    EXPECT_EQ(Out().GetPositions(&ll, nullptr), S_OK);
    EXPECT_EQ(ll, 3 * 400000);
    EXPECT_EQ(Out().GetPositions(nullptr, &ll), S_OK);
    EXPECT_EQ(ll, 5 * 400000);
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_F(Position, Absolute)
{
    EXPECT_EQ(Seek(10000000, AM_SEEKING_AbsolutePositioning, 20399999, AM_SEEKING_AbsolutePositioning),
              (Pair{10000000, 20399999})); // the caller's values stay
    EXPECT_EQ(Inside().m_nFrame, 25);
    EXPECT_EQ(Inside().m_nStopFrame, 50);
    EXPECT_EQ(Positions(), (Pair{10000000, 20000000})); // cut to frames
    EXPECT_EQ(Duration(), 20000000);
    EXPECT_EQ(Seek(-10000000, AM_SEEKING_AbsolutePositioning, -399999, AM_SEEKING_AbsolutePositioning),
              (Pair{-10000000, -399999}));
    EXPECT_EQ(Inside().m_nFrame, -25);
    EXPECT_EQ(Inside().m_nStopFrame, 0); // toward zero: a stream without an end
}

TEST_F(Position, Relative)
{
    Inside().m_nFrame = 100;
    Inside().m_nStopFrame = 1000;
    EXPECT_EQ(Seek(10000000, AM_SEEKING_RelativePositioning, -4000000, AM_SEEKING_RelativePositioning),
              (Pair{50000000, 396000000})); // the caller gets the absolute times
    EXPECT_EQ(Inside().m_nFrame, 125);
    EXPECT_EQ(Inside().m_nStopFrame, 990);
    // Both bits are the same as the higher one.
    EXPECT_EQ(Seek(400000, AM_SEEKING_IncrementalPositioning, 399999, AM_SEEKING_IncrementalPositioning),
              (Pair{50400000, 396399999}));
    EXPECT_EQ(Inside().m_nFrame, 126);
    EXPECT_EQ(Inside().m_nStopFrame, 990);
}

TEST_F(Position, EveryFlagOfBothPositions)
{
    constexpr DWORD arrExtra[] = {
        0,         AM_SEEKING_SeekToKeyFrame, AM_SEEKING_ReturnTime, AM_SEEKING_Segment, AM_SEEKING_NoFlush,
        0xFFFFFFFC};
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    for (DWORD dwCurrent = 0; dwCurrent < 4; dwCurrent++)
    {
        for (DWORD dwStop = 0; dwStop < 4; dwStop++)
        {
            for (const DWORD dwExtra : arrExtra)
            {
                for (int nNulls = 0; nNulls < 4; nNulls++)
                {
                    SCOPED_TRACE(testing::Message()
                                 << dwCurrent << ' ' << dwStop << ' ' << dwExtra << ' ' << nNulls);
                    Inside().m_nFrame = 7;
                    Inside().m_nStopFrame = 70;
                    Inside().m_rtCurrent = 1234;
                    m_log.Clear();
                    LONGLONG llCurrent = 4000001, llStop = 8000001;
                    LONGLONG* const pCurrent = (nNulls & 1) != 0 ? nullptr : &llCurrent;
                    LONGLONG* const pStop = (nNulls & 2) != 0 ? nullptr : &llStop;
                    EXPECT_EQ(Out().SetPositions(pCurrent, dwCurrent | dwExtra, pStop, dwStop | dwExtra),
                              S_OK);
                    // Frames 0 = as before, 1 = at the time, 2 and 3 = the time further on.
                    constexpr LONGLONG arrFrame[] = {7, 10, 17, 17}, arrStop[] = {70, 20, 90, 90};
                    EXPECT_EQ(Inside().m_nFrame, pCurrent != nullptr ? arrFrame[dwCurrent] : 7);
                    EXPECT_EQ(Inside().m_nStopFrame, pStop != nullptr ? arrStop[dwStop] : 70);
                    EXPECT_EQ(llCurrent,
                              pCurrent != nullptr && dwCurrent >= 2 ? 4000001 + 7 * 400000 : 4000001);
                    EXPECT_EQ(llStop, pStop != nullptr && dwStop >= 2 ? 8000001 + 70 * 400000 : 8000001);
                    EXPECT_EQ(Inside().m_rtCurrent, 0);
                    EXPECT_EQ(m_log.Calls(), (std::vector<std::string>{"in.BeginFlush", "in.EndFlush"}));
                }
            }
        }
    }
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_F(Position, OneVariableForBoth)
{
    Inside().m_nFrame = 10;
    Inside().m_nStopFrame = 100;
    LONGLONG ll = 400000;
    EXPECT_EQ(Out().SetPositions(&ll, AM_SEEKING_RelativePositioning, &ll, AM_SEEKING_RelativePositioning),
              S_OK);
    EXPECT_EQ(Inside().m_nFrame, 11);
    EXPECT_EQ(Inside().m_nStopFrame, 111); // current first, then stop from what that left
    EXPECT_EQ(ll, 111 * 400000);
}

TEST_F(Position, UnconnectedPinFlushesNobody)
{
    m_trace.Clear();
    SeekTo(400000);
    EXPECT_EQ(m_log.Calls(), std::vector<std::string>{});
    EXPECT_EQ(Inside().m_nFrame, 1);
    EXPECT_EQ(m_trace.Lines(),
              (std::vector<LogLine>{{8, "[CCoQXStillSourceOut]: IMediaSeekingImpl::SetPositions\n"}}));
}

TEST_F(Position, RefusedFlushIsIgnored)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    m_sink.m_pin.m_hrFlush = E_FAIL;
    m_log.Clear();
    SeekTo(400000);
    EXPECT_EQ(m_log.Calls(), (std::vector<std::string>{"in.BeginFlush", "in.EndFlush"}));
    EXPECT_EQ(Inside().m_nFrame, 1);
}

TEST_F(Position, FrameLengthOfNothing)
{
    SetFrameLength(0);
    Inside().m_nFrame = 5;
    Inside().m_nStopFrame = 50;
    EXPECT_EQ(Positions(), (Pair{0, 0})); // as it is
    EXPECT_EQ(Duration(), 0);
    EXPECT_EQ(Seek(400000, AM_SEEKING_RelativePositioning, 800000, AM_SEEKING_AbsolutePositioning),
              (Pair{2400000, 800000})); // 25 frames a second
    EXPECT_EQ(Inside().m_nFrame, 6);
    EXPECT_EQ(Inside().m_nStopFrame, 2);
}

TEST_F(Position, FrameLengthsAtTheEdges)
{
    struct
    {
        REFERENCE_TIME rtFrame;
        LONGLONG llCurrent, llStop, nFrame, nStopFrame, llReadCurrent, llReadStop;
    } const rows[] = {
        {1, LLONG_MAX, LLONG_MIN, LLONG_MAX, LLONG_MIN, LLONG_MAX, LLONG_MIN},
        {-1, LLONG_MIN, LLONG_MAX, LLONG_MIN, -LLONG_MAX, LLONG_MIN, LLONG_MAX},
        {-400000, 800000, -800000, -2, 2, 800000, -800000},
        {LLONG_MAX, LLONG_MAX, LLONG_MIN, 1, -1, LLONG_MAX, -LLONG_MAX},
        {LLONG_MIN, LLONG_MIN, LLONG_MAX, 1, 0, LLONG_MIN, 0},
        {2, LLONG_MAX, LLONG_MIN, LLONG_MAX / 2, LLONG_MIN / 2, LLONG_MAX - 1, LLONG_MIN},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.rtFrame);
        SetFrameLength(row.rtFrame);
        Seek(row.llCurrent, AM_SEEKING_AbsolutePositioning, row.llStop, AM_SEEKING_AbsolutePositioning);
        EXPECT_EQ(Inside().m_nFrame, row.nFrame);
        EXPECT_EQ(Inside().m_nStopFrame, row.nStopFrame);
        EXPECT_EQ(Positions(), (Pair{row.llReadCurrent, row.llReadStop}));
        EXPECT_EQ(Duration(), row.llReadStop);
    }
}

TEST_F(Position, RelativeTimesWrap)
{
    SetFrameLength(1);
    Inside().m_nFrame = LLONG_MAX;
    Inside().m_nStopFrame = LLONG_MIN;
    EXPECT_EQ(Seek(1, AM_SEEKING_RelativePositioning, -1, AM_SEEKING_RelativePositioning),
              (Pair{LLONG_MIN, LLONG_MAX}));
    EXPECT_EQ(Inside().m_nFrame, LLONG_MIN);
    EXPECT_EQ(Inside().m_nStopFrame, LLONG_MAX);
    SetFrameLength(400000);
    Inside().m_nFrame = nNoStop;
    EXPECT_EQ(Seek(0, AM_SEEKING_RelativePositioning, 0, 0).first, 3522434997161793536);
    EXPECT_EQ(Inside().m_nFrame, 3522434997161793536 / 400000);
}

TEST_F(Position, FramesAtTheEndOfTheCount)
{
    // The counters wrap too, and nothing else happens.
    ShowSmall();
    const CMType mt = VideoType(FOURCC_RGB32, 8, 4, LLONG_MAX);
    ASSERT_EQ(Connect(&mt), S_OK);
    Inside().m_nFrame = LLONG_MAX;
    Inside().m_nStopFrame = 0;
    m_sink.m_pin.m_onReceive = [this](IMediaSample*)
    { return m_sink.m_pin.Samples().size() < 3 ? S_OK : S_FALSE; };
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.Receive", 3));
    ASSERT_EQ(Filter().Stop(), S_OK);
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 3u);
    EXPECT_EQ(samples[0].llMS, LLONG_MAX);
    EXPECT_EQ(samples[0].llME, LLONG_MIN);
    EXPECT_EQ(samples[1].llMS, LLONG_MIN);
    EXPECT_EQ(samples[1].llME, LLONG_MIN + 1);
    EXPECT_EQ(samples[0].tS, 0);
    EXPECT_EQ(samples[0].tE, LLONG_MAX);
    EXPECT_EQ(samples[1].tS, LLONG_MAX);
    EXPECT_EQ(samples[1].tE, -2);
    EXPECT_EQ(samples[2].tS, -2);
    EXPECT_EQ(samples[2].tE, LLONG_MAX - 2);
}

TEST_F(Position, SeekToTheBeginning)
{
    ShowSmall();
    Inside().m_nStopFrame = 2;
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream"));
    SeekTo(0); // wakes the pump
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream", 2));
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 6u);
    for (size_t i = 0; i < 6; i++)
    {
        const LONGLONG n = static_cast<LONGLONG>(i % 3);
        EXPECT_EQ(samples[i].llMS, n);
        EXPECT_EQ(samples[i].tS, n * 400000);
        EXPECT_EQ(samples[i].bDiscontinuity, n == 0);
    }
    EXPECT_EQ(m_sink.m_pin.Segments(),
              (std::vector<FakeInputPin::Segment>{{0, 800000, 1.0}, {0, 800000, 1.0}}));
    EXPECT_EQ(m_log.Count("in.BeginFlush"), 1);
}

TEST_F(Position, SeekWakesAfterAFailure)
{
    ShowSmall();
    Inside().m_nStopFrame = 3;
    ASSERT_EQ(Connect(), S_OK);
    m_sink.m_pin.m_onReceive = [this](IMediaSample*)
    { return m_sink.m_pin.Samples().size() == 1 ? E_FAIL : S_OK; };
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.Receive"));
    LONGLONG ll = 800000;
    EXPECT_EQ(Out().SetPositions(&ll, AM_SEEKING_AbsolutePositioning, nullptr, 0), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream"));
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 3u);
    EXPECT_EQ(samples[0].llMS, 0);
    EXPECT_EQ(samples[1].llMS, 2);
    EXPECT_EQ(samples[1].tS, 0);
    EXPECT_TRUE(samples[1].bDiscontinuity);
    EXPECT_EQ(samples[2].llMS, 3);
    EXPECT_EQ(m_sink.m_pin.Segments().back(), (FakeInputPin::Segment{800000, 1200000, 1.0}));
}

TEST_F(Position, SeekBehindTheEndEndsAtOnce)
{
    ShowSmall();
    Inside().m_nStopFrame = 2;
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream"));
    SeekTo(3 * 400000);
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream", 2));
    EXPECT_EQ(m_log.Count("in.Receive"), 3);
    EXPECT_EQ(Inside().m_nFrame, 3);
    SeekTo(2 * 400000); // the last one is still sent
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream", 3));
    EXPECT_EQ(m_log.Count("in.Receive"), 4);
}

TEST_F(Position, StopAfterASecond)
{
    ShowSmall();
    StopAt(10000000);
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Run(0), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream"));
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 26u); // frames 0 to 25
    EXPECT_EQ(samples.back().llMS, 25);
}

TEST_F(Position, StopBeforeTheFirstFrameIsNoEnd)
{
    ShowSmall();
    StopAt(399999);
    EXPECT_EQ(Inside().m_nStopFrame, 0);
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.Receive", 50));
    ASSERT_EQ(Filter().Stop(), S_OK);
    EXPECT_EQ(m_log.Count("in.EndOfStream"), 0);
    EXPECT_EQ(m_sink.m_pin.Segments(), (std::vector<FakeInputPin::Segment>{{0, 0, 1.0}}));
}

TEST_F(Position, SeekOfAStoppedFilterWaitsForTheStart)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    Seek(4000000, AM_SEEKING_AbsolutePositioning, 4400000, AM_SEEKING_AbsolutePositioning);
    EXPECT_EQ(m_log.Count("alloc.GetBuffer"), 0);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream"));
    ASSERT_EQ(Filter().Stop(), S_OK);
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 2u);
    EXPECT_EQ(samples[0].llMS, 10);
    EXPECT_EQ(samples[1].llMS, 11);
    EXPECT_EQ(m_sink.m_pin.Segments(), (std::vector<FakeInputPin::Segment>{{4000000, 4400000, 1.0}}));
    EXPECT_EQ(Positions(), (Pair{4800000, 4400000})); // both survive the stop
}

TEST_F(Position, SeekWhileReceiveBlocks)
{
    ShowSmall();
    m_sink.m_pin.m_gate.Close();
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_sink.m_pin.m_gate.WaitForWaiting());
    EXPECT_TRUE(EndsInTime(
        [&] { Seek(4000000, AM_SEEKING_AbsolutePositioning, 4000000, AM_SEEKING_AbsolutePositioning); }));
    EXPECT_EQ(Positions(), (Pair{4000000, 4000000}));
    m_sink.m_pin.m_gate.Open();
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream"));
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 2u);
    EXPECT_EQ(samples[0].llMS, 0);
    EXPECT_EQ(samples[1].llMS, 10);
    EXPECT_EQ(samples[1].tS, 0);
}

TEST_F(Position, FlushComesUnderTheLockOfThePosition)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    Pair positions;
    HANDLE hThread = nullptr;
    const std::function<void()> fnRead = [&] { positions = Positions(); };
    m_sink.m_pin.m_onBeginFlush = [&]
    {
        // This one can only read what the seek leaves.
        hThread = CreateThread(
            nullptr, 0,
            [](void* pv) -> DWORD
            {
                (*static_cast<const std::function<void()>*>(pv))();
                return 0;
            },
            const_cast<std::function<void()>*>(&fnRead), 0, nullptr);
        EXPECT_EQ(Positions(), (Pair{0, 3522434997161793536})); // the lock is recursive
    };
    Seek(4000000, AM_SEEKING_AbsolutePositioning, 8000000, AM_SEEKING_AbsolutePositioning);
    ASSERT_NE(hThread, nullptr);
    EXPECT_EQ(WaitForSingleObject(hThread, nTestLimitMs), WAIT_OBJECT_0);
    CloseHandle(hThread);
    EXPECT_EQ(positions, (Pair{4000000, 8000000}));
}

TEST_F(Position, DurationNeedsNoLock)
{
    CScopedLock crs(&Inside().m_crsPosition);
    LONGLONG ll = 0;
    EXPECT_TRUE(EndsInTime([&] { EXPECT_EQ(Out().GetDuration(&ll), S_OK); }));
    EXPECT_EQ(ll, 3522434997161793536);
    double dblRate = 0;
    EXPECT_TRUE(EndsInTime(
        [&]
        {
            EXPECT_EQ(Out().SetRate(2.0), S_OK);
            EXPECT_EQ(Out().GetRate(&dblRate), S_OK);
            EXPECT_EQ(Out().SetTimeFormat(&TIME_FORMAT_MEDIA_TIME), S_OK);
        }));
    EXPECT_EQ(dblRate, 2.0);
}

TEST_F(Position, WorkerThatIsMissing)
{
    Inside().m_pump.End();
    SeekTo(400000);
    EXPECT_EQ(Inside().m_nFrame, 1);
}

TEST_F(Position, OfAPinWithoutItsFilter)
{
    ShowSmall();
    CComPtr<IMediaSeeking> spSeeking = static_cast<IMediaSeeking*>(&Out());
    m_spFilter.Release();
    LONGLONG ll = 800000, llStop = 0;
    EXPECT_EQ(
        spSeeking->SetPositions(&ll, AM_SEEKING_AbsolutePositioning, &ll, AM_SEEKING_AbsolutePositioning),
        S_OK);
    ll = 0;
    EXPECT_EQ(spSeeking->GetPositions(&ll, &llStop), S_OK);
    EXPECT_EQ(ll, 800000);
    EXPECT_EQ(llStop, 800000);
}

} // namespace
