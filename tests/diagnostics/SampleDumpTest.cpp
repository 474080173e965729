// Dumps of samples.
#include "diagnostics/FormatBlocks.h"
#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/dumps/SampleDump.h"
#include "support/FakeSample.h"

#include <gtest/gtest.h>

#include <climits>

#include <vfwmsgs.h>

namespace
{

class SampleDump : public testing::Test
{
protected:
    Texts Dump(IMediaSample* pSample, const wchar_t* pszPrefix = L"p: ", UINT nLevel = eTL_Main)
    {
        m_log.Clear();
        Debug_Sample(atlTraceGeneral, nLevel, pSample, pszPrefix);
        const Texts texts = m_log.Texts(static_cast<int>(nLevel));
        EXPECT_EQ(m_log.Lines().size(), texts.size());
        return texts;
    }

    LogCapture m_log;
    AssertCapture m_asserts;
};

std::string Buffer(FakeSample& sample)
{
    return " al=" + std::to_string(sample.m_lActual) + " s=" + std::to_string(sample.BufferSize()) + " p=0x" +
           Address(sample.Buffer()) + "\n";
}

void SetTimes(FakeSample& sample, REFERENCE_TIME tS, REFERENCE_TIME tE)
{
    sample.m_bTimeStart = sample.m_bTimeEnd = true;
    sample.m_tS = tS;
    sample.m_tE = tE;
}

void SetMediaTimes(FakeSample& sample, LONGLONG llMS, LONGLONG llME)
{
    sample.m_bMediaTime = true;
    sample.m_llMS = llMS;
    sample.m_llME = llME;
}

TEST_F(SampleDump, Null)
{
    EXPECT_EQ(Dump(nullptr), Texts{"###Err### p: Empty sample pointer\n"});
    EXPECT_EQ(Dump(nullptr, nullptr, eTL_Error), Texts{"###Err### Empty sample pointer\n"});
}

TEST_F(SampleDump, AllThatASampleKnows)
{
    FakeSample sample(64);
    SetTimes(sample, 0, 400000);
    SetMediaTimes(sample, 0, 1);
    sample.m_bSync = true;
    sample.m_lActual = 60;
    sample.m_dwTypeFlags = 0x1F;
    sample.m_dwStreamId = 0xFFFFFFFF;
    const long nRefs = sample.Refs();
    EXPECT_EQ(Dump(&sample),
              Texts{"p: tS=0.000  tE=0.040  mS=0  mE=1 flags={100} TF=0x1F sId=0xFFFFFFFF" + Buffer(sample)});
    EXPECT_EQ(Dump(&sample, nullptr, eTL_Warning),
              Texts{"tS=0.000  tE=0.040  mS=0  mE=1 flags={100} TF=0x1F sId=0xFFFFFFFF" + Buffer(sample)});
    EXPECT_EQ(sample.Refs(), nRefs);
}

TEST_F(SampleDump, TimesAtTheEdges)
{
    FakeSample sample(64, false);
    SetTimes(sample, LLONG_MIN, LLONG_MAX);
    SetMediaTimes(sample, LLONG_MIN, LLONG_MAX);
    EXPECT_EQ(Dump(&sample), Texts{"p: tS=-  tE=*  mS=MINLONGLONG  mE=9 223 372 036 854 775 807 flags={000}" +
                                   Buffer(sample)});
    SetTimes(sample, -1, LLONG_MIN + 1);
    SetMediaTimes(sample, -1, LLONG_MIN + 1);
    EXPECT_EQ(Dump(&sample), Texts{"p: tS=-0.000'0001  tE=-922337203685.477'5807  mS=-1  "
                                   "mE=-9 223 372 036 854 775 807 flags={000}" +
                                   Buffer(sample)});
}

TEST_F(SampleDump, TimesThatAreNotThere)
{
    FakeSample sample(64, false);
    EXPECT_EQ(Dump(&sample),
              Texts{"p: tS/tE=? (0x80040249)  mS/mE=? (0x80040251) flags={000}" + Buffer(sample)});
    sample.m_bTimeStart = true;
    sample.m_tS = 12345678;
    EXPECT_EQ(Dump(&sample),
              Texts{"p: tS=1.234'5678  tE=? (0x40270)  mS/mE=? (0x80040251) flags={000}" + Buffer(sample)});
    sample.Script(eSC_GetTime, E_OUTOFMEMORY);
    sample.Script(eSC_GetMediaTime, E_UNEXPECTED);
    EXPECT_EQ(Dump(&sample),
              Texts{"p: tS/tE=? (0x8007000E)  mS/mE=? (0x8000FFFF) flags={000}" + Buffer(sample)});
}

TEST_F(SampleDump, Flags)
{
    FakeSample sample(64, false);
    const std::string sTimes = "p: tS/tE=? (0x80040249)  mS/mE=? (0x80040251) flags=";
    for (int n = 0; n < 8; n++)
    {
        sample.m_bSync = (n & 1) != 0;
        sample.m_bPreroll = (n & 2) != 0;
        sample.m_bDiscont = (n & 4) != 0;
        const std::string sFlags = std::string(n & 1 ? "1" : "0") + (n & 2 ? "1" : "0") + (n & 4 ? "1" : "0");
        EXPECT_EQ(Dump(&sample), Texts{sTimes + "{" + sFlags + "}" + Buffer(sample)});
    }
    // An answer that is no S_OK is no flag.
    for (const eSampleCall eCall : {eSC_IsSyncPoint, eSC_IsPreroll, eSC_IsDiscontinuity})
        sample.Script(eCall, E_FAIL);
    EXPECT_EQ(Dump(&sample), Texts{sTimes + "{000}" + Buffer(sample)});
}

TEST_F(SampleDump, BufferAndPropertiesThatAreNotThere)
{
    FakeSample sample(64);
    const std::string sStart = "p: tS/tE=? (0x80040249)  mS/mE=? (0x80040251) flags={000}";
    sample.Script(eSC_GetProperties, E_FAIL);
    EXPECT_EQ(Dump(&sample), Texts{sStart + Buffer(sample)});
    sample.Unscript(eSC_GetProperties);
    sample.m_cbDataAnswer = 8; // too short for the stream
    EXPECT_EQ(Dump(&sample), Texts{sStart + Buffer(sample)});
    sample.m_cbDataAnswer = 0;
    sample.Script(eSC_GetPointer, VFW_E_BUFFER_NOTSET);
    EXPECT_EQ(Dump(&sample), Texts{sStart + " TF=0x0 sId=0x0 al=64 s=64 p=? (0x8004020C)\n"});
    sample.Script(eSC_GetActualDataLength, -1);
    sample.Script(eSC_GetSize, INT_MIN);
    EXPECT_EQ(Dump(&sample), Texts{sStart + " TF=0x0 sId=0x0 al=-1 s=-2147483648 p=? (0x8004020C)\n"});
    sample.Unscript(eSC_GetPointer);
    sample.m_bNullPointer = true;
    EXPECT_EQ(Dump(&sample),
              Texts{sStart + " TF=0x0 sId=0x0 al=-1 s=-2147483648 p=0x" + Address(nullptr) + "\n"});
}

TEST_F(SampleDump, AnAttachedMediaType)
{
    FakeSample sample(64, false);
    const std::string sLine = "p: tS/tE=? (0x80040249)  mS/mE=? (0x80040251) flags={000}" + Buffer(sample);
    sample.m_mt.majortype = guidVideo;
    sample.m_mt.subtype = guidUyvy;
    sample.m_mt.bFixedSizeSamples = TRUE;
    sample.m_mt.lSampleSize = 7;
    EXPECT_EQ(Dump(&sample), (Texts{sLine, "p: Media type attached to sample:\n",
                                    "p: MT:( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / GUID_NULL ), size=7, "
                                    "cbForm=0, fix:true, compr:false\n"}));
    sample.m_bNullType = true;
    EXPECT_EQ(Dump(&sample), Texts{sLine});
    sample.m_bNullType = false;
    sample.Script(eSC_GetMediaType, E_FAIL);
    EXPECT_EQ(Dump(&sample), Texts{sLine});
    sample.Script(eSC_GetMediaType, S_FALSE);
    EXPECT_EQ(Dump(&sample), Texts{sLine});
}

TEST_F(SampleDump, AboveLevelEightTheSampleIsNotEvenAsked)
{
    FakeSample sample(64);
    for (const UINT nLevel : {9u, 10u, 12u})
    {
        Debug_Sample(atlTraceGeneral, nLevel, &sample, L"p: ");
        Debug_Sample(atlTraceGeneral, nLevel, nullptr, L"p: ");
    }
    Debug_Sample(0, eTL_Main, &sample, L"p: ");
    EXPECT_TRUE(sample.CallOrder().empty());
    EXPECT_EQ(m_log.Lines(), std::vector<LogLine>{});
    EXPECT_EQ(m_asserts.Texts(), Texts{});
}

} // namespace
