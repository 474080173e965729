#pragma once
// What the tests of the sample snapshot share.

#include "dstl/dshowx/DSSample.h"
#include "dstl/dshowx/DSTrace.h"
#include "support/FakeSample.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

namespace sampletest
{
using Texts = std::vector<std::string>;
using Calls = std::vector<eSampleCall>;

/// What a test expects in the log besides the raw lines of assertions.
struct Diagnostics
{
    LogCapture log;
    AssertCapture asserts;

    std::vector<LogLine> Trace() const
    {
        std::vector<LogLine> lines = log.Lines();
        std::erase_if(lines, [](const LogLine& line) { return line.nLevel == nLevelRaw; });
        return lines;
    }
    void Expect(const std::vector<LogLine>& lines, const Texts& texts) const
    {
        EXPECT_EQ(Trace(), lines);
        EXPECT_EQ(asserts.Texts(), texts);
    }
    void ExpectSilence() const { Expect({}, {}); }
};

/// A sample that has everything.
inline void Fill(FakeSample& sample)
{
    sample.m_bTimeStart = sample.m_bTimeEnd = sample.m_bMediaTime = true;
    sample.m_tS = 400000;
    sample.m_tE = 800000;
    sample.m_llMS = 1;
    sample.m_llME = 2;
    sample.m_bSync = true;
    sample.m_bPreroll = false;
    sample.m_bDiscont = true;
    sample.m_lActual = 40;
    sample.m_dwTypeFlags = 0x11223344;
    sample.m_dwStreamId = 0x55667788;
    sample.m_mt = CMType(MEDIATYPE_Video, MEDIASUBTYPE_YUY2);
}

inline void ExpectEmpty(const CSampleT& snapshot)
{
    EXPECT_EQ(snapshot.m_wProps, 0);
    EXPECT_EQ(snapshot.m_tS, 0);
    EXPECT_EQ(snapshot.m_tE, 0);
    EXPECT_EQ(snapshot.m_llMS, 0);
    EXPECT_EQ(snapshot.m_llME, 0);
    EXPECT_EQ(snapshot.m_bSync, FALSE);
    EXPECT_EQ(snapshot.m_bPreroll, FALSE);
    EXPECT_EQ(snapshot.m_bDiscont, FALSE);
    EXPECT_EQ(snapshot.m_dwTypeFlags, 0u);
    EXPECT_EQ(snapshot.m_pMT, nullptr);
    EXPECT_EQ(snapshot.m_lActual, 0);
    EXPECT_EQ(snapshot.m_pbBuf, nullptr);
    EXPECT_EQ(snapshot.m_cbBuf, 0);
    EXPECT_EQ(snapshot.m_dwStreamId, 0u);
}

inline std::string Hex(HRESULT hr)
{
    char sz[16];
    snprintf(sz, sizeof(sz), "0x%X", static_cast<unsigned>(hr));
    return sz;
}

inline constexpr WORD wEverything = PM_TIMESTART | PM_TIMEEND | PM_MEDIATIME | PM_SYNCPOINT | PM_PREROLL |
                                    PM_DISCONTINUITY | PM_TYPEFLAGS | PM_MEDIATYPE | PM_BUFFER | PM_ACTLEN |
                                    PM_STREAMID;
} // namespace sampletest
