// Every number that a frame is stamped with, against the arithmetic written down a second time: long streams
// at the usual rates, seeks of every kind, and starts that follow a stop.
#include "FilterSupport.h"

#include <random>
#include <sstream>

namespace
{

enum eStep
{
    eS_BeginFlush,
    eS_EndFlush,
    eS_Segment,
    eS_Frame,
    eS_End
};

/// What the downstream pin sees.
struct Step
{
    eStep eKind;
    LONGLONG llStart = 0, llEnd = 0;           ///< times
    LONGLONG llMediaStart = 0, llMediaEnd = 0; ///< frame numbers
    int nFlags = 0;                            ///< of a frame, or the rate of a segment
    LONG lActual = 0;

    bool operator==(const Step&) const = default;
};

constexpr int nDiscontinuity = 1, nSync = 2, nPreroll = 4, nType = 8, nNoTime = 16, nNoMediaTime = 32;
constexpr LONG cbFrame = 8 * 4 * 4;

std::string Line(const Step& step)
{
    std::ostringstream s;
    s << "kind " << step.eKind << " time " << step.llStart << '-' << step.llEnd << " media "
      << step.llMediaStart << '-' << step.llMediaEnd << " flags " << step.nFlags << " bytes " << step.lActual;
    return s.str();
}

/// A pin that notes every step, and refuses a sample when a test wants the pump to sleep.
class StampPin : public FakeInputPin
{
public:
    StampPin() { m_evRest.Create(false); }

    STDMETHOD(BeginFlush)() override
    {
        m_steps.push_back({eS_BeginFlush});
        return S_OK;
    }
    STDMETHOD(EndFlush)() override
    {
        m_steps.push_back({eS_EndFlush});
        return S_OK;
    }
    STDMETHOD(NewSegment)(REFERENCE_TIME tStart, REFERENCE_TIME tStop, double dRate) override
    {
        m_steps.push_back({eS_Segment, tStart, tStop, 0, 0, dRate == 1.0 ? 1 : 0});
        return S_OK;
    }
    STDMETHOD(EndOfStream)() override
    {
        m_steps.push_back({eS_End});
        m_evRest.Set();
        return S_OK;
    }
    STDMETHOD(Receive)(IMediaSample* pSample) override
    {
        Step step = {eS_Frame};
        AM_MEDIA_TYPE* pmt = nullptr;
        step.nFlags |= pSample->GetTime(&step.llStart, &step.llEnd) == S_OK ? 0 : nNoTime;
        step.nFlags |= pSample->GetMediaTime(&step.llMediaStart, &step.llMediaEnd) == S_OK ? 0 : nNoMediaTime;
        step.nFlags |= pSample->IsDiscontinuity() == S_OK ? nDiscontinuity : 0;
        step.nFlags |= pSample->IsSyncPoint() == S_OK ? nSync : 0;
        step.nFlags |= pSample->IsPreroll() == S_OK ? nPreroll : 0;
        step.nFlags |= pSample->GetMediaType(&pmt) != S_FALSE || pmt != nullptr ? nType : 0;
        step.lActual = pSample->GetActualDataLength();
        m_steps.push_back(step);
        if (m_nFramesToTell > 0 && --m_nFramesToTell == 0)
            m_evRest.Set();
        if (m_nFrames > 0 && --m_nFrames == 0)
        {
            m_evRest.Set();
            return S_FALSE;
        }
        return S_OK;
    }

    bool WaitForRest() { return WaitForSingleObject(m_evRest, 10 * nTestLimitMs) == WAIT_OBJECT_0; }

    std::vector<Step> m_steps; ///< of the worker, but for flushes, which come while it rests
    int m_nFrames = 0;         ///< frames until one is refused; 0 for none
    int m_nFramesToTell = 0;   ///< frames until the event is set although the worker goes on; 0 for never
    CEvent m_evRest;           ///< the worker goes to sleep
};

/// The stated arithmetic, in 128 bits that are cut to 64.
class StampModel
{
public:
    explicit StampModel(LONGLONG rtFrame) : m_rtFrame(rtFrame) {}

    static LONGLONG Cut(__int128 n) { return static_cast<LONGLONG>(static_cast<ULONGLONG>(n)); }
    LONGLONG Time(LONGLONG nFrame) const { return Cut(static_cast<__int128>(nFrame) * m_rtFrame); }

    void Start() { m_rtCurrent = 0; }
    /// \param nFrames until one is refused; 0 for none
    void Run(int nFrames)
    {
        for (;;)
        {
            const bool bFirst = m_rtCurrent == 0;
            if (bFirst)
                m_steps.push_back({eS_Segment, Time(m_nFrame), Time(m_nStop), 0, 0, 1});
            if (m_nStop > 0 && m_nFrame > m_nStop)
            {
                m_steps.push_back({eS_End});
                return;
            }
            const LONGLONG rtEnd = Cut(static_cast<__int128>(m_rtCurrent) + m_rtFrame);
            m_steps.push_back({eS_Frame, m_rtCurrent, rtEnd, m_nFrame, m_nFrame + 1,
                               nSync | (bFirst ? nDiscontinuity : 0), cbFrame});
            m_nFrame++;
            m_rtCurrent = rtEnd;
            if (nFrames > 0 && --nFrames == 0)
                return;
        }
    }
    void Seek(LONGLONG* pCurrent, DWORD dwCurrent, LONGLONG* pStop, DWORD dwStop)
    {
        m_steps.push_back({eS_BeginFlush});
        m_steps.push_back({eS_EndFlush});
        Move(m_nFrame, pCurrent, dwCurrent);
        Move(m_nStop, pStop, dwStop);
        m_rtCurrent = 0;
    }

    const LONGLONG m_rtFrame;
    LONGLONG m_nFrame = 0, m_nStop = 193273528230000, m_rtCurrent = 0;
    std::vector<Step> m_steps;

private:
    void Move(LONGLONG& nFrame, LONGLONG* pTime, DWORD dwFlags) const
    {
        if (pTime == nullptr || dwFlags % 4 == 0)
            return;
        if (dwFlags % 4 >= 2)
            *pTime = Cut(static_cast<__int128>(*pTime) + Time(nFrame));
        nFrame = static_cast<LONGLONG>(static_cast<__int128>(*pTime) / m_rtFrame);
    }
};

struct Rate
{
    double dblRate;
    REFERENCE_TIME rtFrame;
};

constexpr Rate arrRates[] = {
    {23.976, 417083}, {24, 416667},    {25, 400000}, {29.97, 333667}, {30, 333333},
    {50, 200000},     {59.94, 166833}, {60, 166667}, {7, 1428571},    {1000, 10000},
};

class TimeStamps : public FilterTest
{
protected:
    void Begin(const Rate& rate)
    {
        m_pModel = std::make_unique<StampModel>(rate.rtFrame);
        ASSERT_EQ(Control().SetFrameRate(rate.dblRate), S_OK);
        Show(FOURCC_RGB32, 8, 4, Bytes(cbFrame, 0x11));
        ASSERT_EQ(m_graph.AddFilter(m_spFilter, L"source"), S_OK);
        ASSERT_EQ(Out().Connect(&m_pin, nullptr), S_OK);
        ASSERT_EQ(MTFrameTime(&Inside().m_theMediaType), rate.rtFrame);
    }
    void TearDown() override
    {
        m_pin.m_nFrames = 0;
        FilterTest::TearDown();
        EXPECT_EQ(m_pin.Refs(), 0);
    }
    /// The pump goes on for so many frames, or to the end; then it rests.
    void Start(int nFrames)
    {
        m_pin.m_nFrames = nFrames;
        m_pModel->Start();
        m_pModel->Run(nFrames);
        ASSERT_EQ(m_rng() % 2 == 0 ? Filter().Run(0) : Filter().Pause(), S_OK);
        Compare();
    }
    /// A seek of a pump that rests, in a filter that is started or not.
    void Seek(LONGLONG* pCurrent, DWORD dwCurrent, LONGLONG* pStop, DWORD dwStop, int nFrames)
    {
        LONGLONG llCurrent = pCurrent != nullptr ? *pCurrent : 0, llStop = pStop != nullptr ? *pStop : 0;
        m_pModel->Seek(pCurrent != nullptr ? &llCurrent : nullptr, dwCurrent,
                       pStop != nullptr ? &llStop : nullptr, dwStop);
        const bool bRuns = Filter().FilterState() != State_Stopped;
        m_pin.m_nFrames = nFrames;
        if (bRuns)
            m_pModel->Run(nFrames);
        ASSERT_EQ(Out().SetPositions(pCurrent, dwCurrent, pStop, dwStop), S_OK);
        if (pCurrent != nullptr)
        {
            ASSERT_EQ(*pCurrent, llCurrent);
        }
        if (pStop != nullptr)
        {
            ASSERT_EQ(*pStop, llStop);
        }
        if (bRuns)
        {
            Compare();
        }
        else
        {
            // The worker has seen the wake: a later one would be tried as a step of its own.
            ASSERT_EQ(WaitForSingleObject(Inside().m_pump.m_evStopped, nTestLimitMs), WAIT_OBJECT_0);
        }
        LONGLONG llDuration = 0;
        ASSERT_EQ(Out().GetPositions(&llCurrent, &llStop), S_OK);
        ASSERT_EQ(Out().GetDuration(&llDuration), S_OK);
        ASSERT_EQ(llCurrent, m_pModel->Time(m_pModel->m_nFrame));
        ASSERT_EQ(llStop, m_pModel->Time(m_pModel->m_nStop));
        ASSERT_EQ(llDuration, llStop);
    }
    void SeekStop(LONGLONG nStop)
    {
        LONGLONG ll = nStop * m_pModel->m_rtFrame;
        Seek(nullptr, 0, &ll, AM_SEEKING_AbsolutePositioning, 0);
    }
    /// Waits for the rest and compares step by step.
    void Compare()
    {
        ASSERT_TRUE(m_pin.WaitForRest());
        const std::vector<Step>&seen = m_pin.m_steps, &expected = m_pModel->m_steps;
        for (size_t i = 0; i < std::min(seen.size(), expected.size()); i++)
        {
            if (!(seen[i] == expected[i]))
            {
                FAIL() << "step " << i << ": " << Line(seen[i]) << "; expected " << Line(expected[i]);
            }
        }
        ASSERT_EQ(seen.size(), expected.size());
        m_nSeen += seen.size();
        m_pin.m_steps.clear();
        m_pModel->m_steps.clear();
    }

    StampPin m_pin;
    std::unique_ptr<StampModel> m_pModel;
    std::mt19937 m_rng{20240229};
    size_t m_nSeen = 0;
};

class TimeStampsOfARate : public TimeStamps, public testing::WithParamInterface<Rate>
{
};

TEST_P(TimeStampsOfARate, TenThousandFrames)
{
    ASSERT_NO_FATAL_FAILURE(Begin(GetParam()));
    ASSERT_NO_FATAL_FAILURE(SeekStop(9999));
    ASSERT_NO_FATAL_FAILURE(Start(0));
    EXPECT_EQ(m_nSeen, 10004u); // two flushes, a segment, the frames, the end
    EXPECT_EQ(Inside().m_nFrame, 10000);
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_P(TimeStampsOfARate, StopsStartsAndSeeks)
{
    ASSERT_NO_FATAL_FAILURE(Begin(GetParam()));
    for (int i = 0; m_nSeen < 10000; i++)
    {
        SCOPED_TRACE(i);
        const int nFrames = static_cast<int>(m_rng() % 50) + 1;
        switch (m_rng() % 4)
        {
        case 0:
            ASSERT_EQ(Filter().FilterState() == State_Stopped ? S_OK : Filter().Stop(), S_OK);
            break;
        case 1:
        {
            // Anywhere, with both positions in the middle of frames; the end is some frames further on.
            LONGLONG llCurrent = static_cast<LONGLONG>(m_rng() % 1000000000) * 1000;
            LONGLONG llStop = llCurrent + static_cast<LONGLONG>(m_rng() % 60) * m_pModel->m_rtFrame;
            ASSERT_NO_FATAL_FAILURE(Seek(&llCurrent, AM_SEEKING_AbsolutePositioning, &llStop,
                                         AM_SEEKING_AbsolutePositioning, nFrames));
            break;
        }
        case 2:
        {
            LONGLONG llCurrent = static_cast<LONGLONG>(m_rng() % 30000000) - 10000000;
            LONGLONG llStop = static_cast<LONGLONG>(m_rng() % 30000000) - 10000000;
            ASSERT_NO_FATAL_FAILURE(Seek(&llCurrent, AM_SEEKING_RelativePositioning, &llStop,
                                         AM_SEEKING_RelativePositioning, nFrames));
            break;
        }
        default:
            if (Filter().FilterState() == State_Stopped)
            {
                ASSERT_NO_FATAL_FAILURE(Start(nFrames));
            }
            else
            {
                // Nothing of the stream: the pump rests.
                ASSERT_EQ(Filter().FilterState() == State_Paused ? Filter().Run(0) : Filter().Pause(), S_OK);
            }
        }
    }
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_P(TimeStampsOfARate, StopsInTheMiddle)
{
    ASSERT_NO_FATAL_FAILURE(Begin(GetParam()));
    for (int i = 0; i < 50; i++)
    {
        SCOPED_TRACE(i);
        m_pin.m_nFramesToTell = static_cast<int>(m_rng() % 20) + 1;
        const size_t nLeast = static_cast<size_t>(m_pin.m_nFramesToTell) + 1;
        ASSERT_EQ(Filter().Run(0), S_OK);
        ASSERT_TRUE(m_pin.WaitForRest());
        ASSERT_EQ(Filter().Stop(), S_OK);
        // Where it stops is nobody's to say; that every number up to there has been sent is.
        ASSERT_GE(m_pin.m_steps.size(), nLeast);
        m_pModel->Start();
        m_pModel->Run(static_cast<int>(m_pin.m_steps.size()) - 1);
        m_pin.m_evRest.Set();
        ASSERT_NO_FATAL_FAILURE(Compare());
        ASSERT_EQ(Inside().m_nFrame, m_pModel->m_nFrame);
    }
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(Rates, TimeStampsOfARate, testing::ValuesIn(arrRates),
                         [](const auto& info) { return std::to_string(info.param.rtFrame); });

/// All of the flags that there are for a position: two bits of positioning, and four others.
constexpr DWORD nFlagValues = 64;

class TimeStampsOfFlags : public TimeStamps, public testing::WithParamInterface<DWORD>
{
};

TEST_P(TimeStampsOfFlags, AfterSeeksOfEveryKind)
{
    const DWORD dwCurrent = GetParam();
    ASSERT_NO_FATAL_FAILURE(Begin(arrRates[dwCurrent % std::size(arrRates)]));
    const LONGLONG rtFrame = m_pModel->m_rtFrame;
    ASSERT_NO_FATAL_FAILURE(SeekStop(2));
    ASSERT_NO_FATAL_FAILURE(Start(0));
    for (DWORD dwStop = 0; dwStop < nFlagValues; dwStop++)
    {
        for (int nNulls = 0; nNulls < 4; nNulls++)
        {
            SCOPED_TRACE(testing::Message() << dwCurrent << ' ' << dwStop << ' ' << nNulls);
            // Into the middle of the frame with which three, two, one or none are left to be sent.
            const bool bMoves = (nNulls & 1) == 0 && dwCurrent % 4 != 0;
            const bool bMovesStop = (nNulls & 2) == 0 && dwStop % 4 != 0;
            const LONGLONG nLeft = static_cast<LONGLONG>(m_rng() % 4);
            LONGLONG nStop = m_pModel->m_nStop, nFrame = m_pModel->m_nFrame;
            if (bMoves && bMovesStop)
                nStop = static_cast<LONGLONG>(m_rng() % 1000) + 3;
            else if (bMovesStop)
                nStop = std::max<LONGLONG>(nFrame - 1 + nLeft, 1);
            if (bMoves)
                nFrame = std::max<LONGLONG>(nStop + 1 - nLeft, 0);
            LONGLONG llCurrent = nFrame * rtFrame + static_cast<LONGLONG>(m_rng()) % rtFrame;
            LONGLONG llStop = nStop * rtFrame + static_cast<LONGLONG>(m_rng()) % rtFrame;
            if (dwCurrent % 4 >= 2)
                llCurrent -= m_pModel->m_nFrame * rtFrame;
            if (dwStop % 4 >= 2)
                llStop -= m_pModel->m_nStop * rtFrame;
            ASSERT_NO_FATAL_FAILURE(Seek((nNulls & 1) == 0 ? &llCurrent : nullptr, dwCurrent,
                                         (nNulls & 2) == 0 ? &llStop : nullptr, dwStop, 0));
        }
    }
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(Flags, TimeStampsOfFlags, testing::Range<DWORD>(0, nFlagValues),
                         [](const auto& info) { return std::to_string(info.param); });

} // namespace
