// Performance counters, on clocks that the tests set.
#include "base/FakeClocks.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>

namespace
{

using Texts = std::vector<std::string>;

constexpr const char* pszOpen = "open HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
const Texts callsOfRegistry = {pszOpen, "query ~MHz", "close"};

/// The frequency is the process's: each test sets its own.
class Perf : public testing::Test
{
protected:
    Perf() { CPerf::s_dwFreq = 1000; }
    ~Perf() override { CPerf::s_dwFreq = m_dwFreqBefore; }

    const DWORD m_dwFreqBefore = CPerf::s_dwFreq;
    FakeClocks m_clocks;
    LogCapture m_log;
    AssertCapture m_asserts;
};

TEST_F(Perf, FieldsInTheirOrder)
{
    EXPECT_EQ(offsetof(CPerf, m_pszName), 0u);
    EXPECT_EQ(offsetof(CPerf, m_llSum), 8u);
    EXPECT_EQ(offsetof(CPerf, m_llStart), 16u);
    EXPECT_EQ(offsetof(CPerf, m_llFirst), 24u);
    EXPECT_EQ(offsetof(CPerf, m_llLast), 32u);
    EXPECT_EQ(offsetof(CPerf, m_nCalls), 40u);
}

TEST_F(Perf, StartsAtZero)
{
    constexpr wchar_t szName[] = L"name";
    const CPerf named(szName);
    EXPECT_EQ(named.m_pszName, szName);
    const CPerf nameless(nullptr);
    EXPECT_EQ(Utf8(nameless.m_pszName), "");
    for (const CPerf* const pPerf : {&named, &nameless})
    {
        EXPECT_EQ(pPerf->m_llSum, 0);
        EXPECT_EQ(pPerf->m_llStart, 0);
        EXPECT_EQ(pPerf->m_llFirst, 0);
        EXPECT_EQ(pPerf->m_llLast, 0);
        EXPECT_EQ(pPerf->m_nCalls, 0u);
    }
    EXPECT_EQ(m_clocks.m_calls, Texts{}); // the frequency was known
    EXPECT_EQ(m_asserts.Texts(), Texts{});
}

TEST_F(Perf, RunsAddUp)
{
    CPerf perf(L"runs");
    m_clocks.m_llTicks = 100;
    perf.Start();
    EXPECT_EQ(perf.m_llStart, 100);
    EXPECT_EQ(perf.m_llFirst, 100);
    m_clocks.m_llTicks = 150;
    perf.Stop();
    EXPECT_EQ(perf.m_llLast, 150);
    EXPECT_EQ(perf.m_llSum, 50);
    EXPECT_EQ(perf.m_nCalls, 1u);
    m_clocks.m_llTicks = 1000;
    perf.Start();
    EXPECT_EQ(perf.m_llStart, 1000);
    EXPECT_EQ(perf.m_llFirst, 100);
    m_clocks.m_llTicks = 1007;
    perf.Stop();
    EXPECT_EQ(perf.m_llLast, 1007);
    EXPECT_EQ(perf.m_llSum, 57);
    EXPECT_EQ(perf.m_nCalls, 2u);
    EXPECT_EQ(m_log.Lines(), std::vector<LogLine>{}); // only a report writes
}

TEST_F(Perf, SecondStartBeforeAStopIsTheFirst)
{
    CPerf perf(L"starts");
    m_clocks.m_llTicks = 100;
    perf.Start();
    m_clocks.m_llTicks = 200;
    perf.Start();
    EXPECT_EQ(perf.m_llFirst, 200);
}

struct ReportRow
{
    DWORD dwFreq;
    LONGLONG llSum, llFirst, llLast;
    DWORD nCalls;
    const char* pszFigures;
};

TEST_F(Perf, Reports)
{
    constexpr LONGLONG llDay = 86400ll * 3000 * 1000000; // cycles of a day at 3 GHz
    constexpr ReportRow arrRows[] = {
        // MHz, cycles, first, last, runs
        {1000, 0, 0, 1000, 1, "avg=0.000 ms (1 calls), summ=0.000 ms, CPU: 0.000%"},
        {1000, 999, 0, 1000, 1, "avg=0.000 ms (1 calls), summ=0.000 ms, CPU: 99.900%"},
        {1000, 1000, 0, 1000, 1, "avg=0.001 ms (1 calls), summ=0.001 ms, CPU: 100.000%"},
        {1000, 1234567, 1000000, 101000000, 1, "avg=1.234 ms (1 calls), summ=1.234 ms, CPU: 1.234%"},
        {1000, 1234567, 1000000, 101000000, 4, "avg=0.308 ms (4 calls), summ=1.234 ms, CPU: 1.234%"},
        {2500, 5000000000, 0, 10000000000, 3, "avg=666.666 ms (3 calls), summ=2000.000 ms, CPU: 50.000%"},
        {1, 1007, 5, 100705, 1, "avg=1.007 ms (1 calls), summ=1.007 ms, CPU: 1.000%"},
        {3000, 6000000, 0, 3000000, 2, "avg=1.000 ms (2 calls), summ=2.000 ms, CPU: 200.000%"},
        {3000, llDay, 0, 2 * llDay, 100000,
         "avg=864.000 ms (100000 calls), summ=4294967.295 ms, CPU: 50.000%"}, // the sum ends at 32 bits
        // Nothing between the first start and the latest stop: no load.
        {1000, 5000, 77, 77, 1, "avg=0.005 ms (1 calls), summ=0.005 ms, CPU: 0.000%"},
        {1000, 5000, 77, 70, 1, "avg=0.005 ms (1 calls), summ=0.005 ms, CPU: 0.000%"},
    };
    for (const ReportRow& row : arrRows)
    {
        CPerf::s_dwFreq = row.dwFreq;
        CPerf perf(L"own name");
        perf.m_llSum = row.llSum;
        perf.m_llFirst = row.llFirst;
        perf.m_llLast = row.llLast;
        perf.m_nCalls = row.nCalls;
        m_log.Clear();
        perf.Report(nullptr);
        perf.Report(L"another");
        const std::string sFigures = row.pszFigures;
        EXPECT_EQ(m_log.Lines(), (std::vector<LogLine>{{2, "own name: " + sFigures + "\n"},
                                                       {2, "another: " + sFigures + "\n"}}));
    }
    EXPECT_EQ(m_asserts.Texts(), Texts{});
}

TEST_F(Perf, NoReportBeforeTheFirstStop)
{
    CPerf perf(L"none");
    perf.Report(L"none");
    perf.Start();
    perf.Report(nullptr);
    EXPECT_EQ(m_log.Lines(), std::vector<LogLine>{});
}

TEST_F(Perf, UnknownFrequencyAssertsAndReportsNoTimes)
{
    CPerf perf(L"slow");
    perf.m_llSum = 500;
    perf.m_llLast = 1000;
    perf.m_nCalls = 1;
    CPerf::s_dwFreq = 0;
    perf.Report(nullptr);
    EXPECT_EQ(m_asserts.Texts(), Texts{"s_dwFreq != 0"});
    EXPECT_EQ(m_log.Texts(2), Texts{"slow: avg=0.000 ms (1 calls), summ=0.000 ms, CPU: 50.000%\n"});
}

TEST_F(Perf, ScopeIsARunAndAReport)
{
    CPerf perf(L"scope");
    {
        const CPerfScope scope(&perf);
        m_clocks.m_llTicks += 3000;
        EXPECT_EQ(m_log.Lines(), std::vector<LogLine>{});
    }
    EXPECT_EQ(m_log.Texts(2), Texts{"scope: avg=0.003 ms (1 calls), summ=0.003 ms, CPU: 100.000%\n"});
    m_log.Clear();
    m_clocks.m_llTicks += 3000;
    {
        const CPerfScope scope(&perf, L"by another name");
        m_clocks.m_llTicks += 2000;
    }
    EXPECT_EQ(m_log.Texts(2),
              Texts{"by another name: avg=0.002 ms (2 calls), summ=0.005 ms, CPU: 62.500%\n"});
    m_log.Clear();
    {
        const CPerfScope scope(nullptr);
    }
    EXPECT_EQ(m_log.Lines(), std::vector<LogLine>{});
}

TEST_F(Perf, PiecesMakeOneRun)
{
    CPerf perf(L"pieces");
    {
        CPerfPieces pieces(&perf);
        for (int i = 0; i < 3; i++)
        {
            m_clocks.m_llTicks += 10000; // not counted
            pieces.Begin();
            m_clocks.m_llTicks += 2000;
            pieces.End();
        }
        m_clocks.m_llTicks += 4000;
    }
    EXPECT_EQ(perf.m_nCalls, 1u);
    EXPECT_EQ(perf.m_llSum, 6000);
    EXPECT_EQ(m_log.Texts(2), Texts{"pieces: avg=0.006 ms (1 calls), summ=0.006 ms, CPU: 15.000%\n"});
    m_log.Clear();
    {
        CPerfPieces pieces(nullptr);
        pieces.Begin();
        pieces.End();
    }
    EXPECT_EQ(m_log.Lines(), std::vector<LogLine>{});
}

TEST_F(Perf, FrequencyOfTheRegistry)
{
    DWORD dwFreq = 77;
    EXPECT_TRUE(CPerf::GetProcFreq(&dwFreq, FALSE));
    EXPECT_EQ(dwFreq, 3000u);
    EXPECT_EQ(m_clocks.m_calls, callsOfRegistry);
    EXPECT_EQ(m_asserts.Texts(), Texts{});
}

TEST_F(Perf, FrequencyWithoutTheRegistryIsMeasured)
{
    // 25,000,000 cycles in 10 ms.
    const auto expectMeasured = [this](const Texts& calls)
    {
        m_clocks.m_calls.clear();
        DWORD dwFreq = 77;
        EXPECT_TRUE(CPerf::GetProcFreq(&dwFreq, FALSE));
        EXPECT_EQ(dwFreq, 2500u);
        EXPECT_EQ(m_clocks.m_calls, calls);
    };
    Texts calls = callsOfRegistry;
    calls.push_back("sleep 10");
    m_clocks.m_lOpen = ERROR_FILE_NOT_FOUND;
    expectMeasured({pszOpen, "sleep 10"});
    m_clocks.m_lOpen = ERROR_SUCCESS;
    m_clocks.m_lQuery = ERROR_FILE_NOT_FOUND;
    expectMeasured(calls);
    m_clocks.m_lQuery = ERROR_SUCCESS;
    m_clocks.m_dwType = REG_SZ;
    expectMeasured(calls);
    m_clocks.m_dwType = REG_DWORD;
    m_clocks.m_dwValue = 0;
    expectMeasured(calls);
}

TEST_F(Perf, MeasuringAsksNoRegistry)
{
    DWORD dwFreq = 77;
    EXPECT_TRUE(CPerf::GetProcFreq(&dwFreq, TRUE));
    EXPECT_EQ(dwFreq, 2500u);
    EXPECT_EQ(m_clocks.m_calls, Texts{"sleep 10"});

    m_clocks.m_llTicksStep = 25009999; // cut to whole MHz
    EXPECT_TRUE(CPerf::GetProcFreq(&dwFreq, TRUE));
    EXPECT_EQ(dwFreq, 2500u);
    m_clocks.m_llTicksStep = 0; // a counter that stands still: a frequency of 0, although measured
    EXPECT_TRUE(CPerf::GetProcFreq(&dwFreq, TRUE));
    EXPECT_EQ(dwFreq, 0u);
    m_clocks.m_llTicksStep = -5;
    EXPECT_TRUE(CPerf::GetProcFreq(&dwFreq, TRUE));
    EXPECT_EQ(dwFreq, 0u);
    m_clocks.m_llTicksStep = LLONG_MAX / 2;
    EXPECT_TRUE(CPerf::GetProcFreq(&dwFreq, TRUE));
    EXPECT_EQ(dwFreq, UINT_MAX);
}

TEST_F(Perf, TimerWhereTheCounterIsOfNoUse)
{
    const auto expectTimer = [this](const Texts& calls)
    {
        m_clocks.m_calls.clear();
        m_clocks.m_llTicks = 0;
        m_clocks.m_llTicksStep = 80000000; // 2 GHz for 40 ms
        DWORD dwFreq = 77;
        EXPECT_TRUE(CPerf::GetProcFreq(&dwFreq, TRUE));
        EXPECT_EQ(dwFreq, 2000u);
        EXPECT_EQ(m_clocks.m_calls, calls);
    };
    m_clocks.m_llCounterStep = 0; // it stands still
    expectTimer({"sleep 10", "sleep 40"});
    m_clocks.m_bCounterFreq = FALSE; // there is none
    expectTimer({"sleep 40"});
    m_clocks.m_bCounterFreq = TRUE;
    m_clocks.m_llCounterFreq = 0;
    expectTimer({"sleep 40"});
    m_clocks.m_llCounterFreq = -1;
    expectTimer({"sleep 40"});
}

TEST_F(Perf, NoClockNoFrequency)
{
    m_clocks.m_llCounterStep = 0;
    m_clocks.m_dwTimerStep = 0;
    DWORD dwFreq = 77;
    EXPECT_FALSE(CPerf::GetProcFreq(&dwFreq, TRUE));
    EXPECT_EQ(dwFreq, 0u);
    m_clocks.m_llCounterStep = -1; // a clock that runs backward is not asked twice
    m_clocks.m_calls.clear();
    EXPECT_FALSE(CPerf::GetProcFreq(&dwFreq, TRUE));
    EXPECT_EQ(m_clocks.m_calls, Texts{"sleep 10"});
    EXPECT_EQ(m_asserts.Texts(), Texts{});
}

TEST_F(Perf, NullFrequency)
{
    EXPECT_FALSE(CPerf::GetProcFreq(nullptr, FALSE));
    EXPECT_EQ(m_asserts.Texts(), Texts{"pdwFreq != 0"});
    EXPECT_EQ(m_clocks.m_calls, Texts{});
}

TEST_F(Perf, FrequencyIsFoundOutOnce)
{
    CPerf::s_dwFreq = 0;
    m_clocks.m_lOpen = ERROR_FILE_NOT_FOUND;
    const CPerf first(L"first");
    EXPECT_EQ(CPerf::s_dwFreq, 2500u);
    const CPerf second(L"second");
    EXPECT_EQ(m_clocks.m_calls, (Texts{pszOpen, "sleep 10"}));
    EXPECT_EQ(m_asserts.Texts(), Texts{});
}

TEST_F(Perf, FrequencyThatCannotBeFoundAsserts)
{
    CPerf::s_dwFreq = 0;
    m_clocks.m_lOpen = ERROR_FILE_NOT_FOUND;
    m_clocks.m_llCounterStep = 0;
    m_clocks.m_dwTimerStep = 0;
    const CPerf perf(L"none");
    EXPECT_EQ(m_asserts.Texts(), Texts{"CPerf::CPerf(): GetProcFreq() FAILED"});
    EXPECT_EQ(CPerf::s_dwFreq, 0u);
    const CPerf again(L"again"); // tries again
    EXPECT_EQ(m_asserts.Texts().size(), 2u);
}

/// The real counter runs, and never backward on one processor.
TEST(ProcTicks, Run)
{
    LONGLONG llBefore = ProcTicks();
    EXPECT_GT(llBefore, 0);
    int nGrown = 0;
    for (int i = 0; i < 1000; i++)
    {
        const LONGLONG llNow = ProcTicks();
        nGrown += llNow > llBefore;
        llBefore = llNow;
    }
    EXPECT_GT(nGrown, 900);
}

/// The real clocks agree on a frequency; the bounds are wide, as others may use the processor meanwhile.
TEST(ProcTicks, FrequencyOfThisMachine)
{
    DWORD dwFreq = 0;
    EXPECT_TRUE(CPerf::GetProcFreq(&dwFreq, TRUE));
    EXPECT_GT(dwFreq, 1u);
    EXPECT_LT(dwFreq, 1000000u);
}

} // namespace
