// The snapshot of a sample: its setters and Load, with every result, value, trace line and assertion.

#include "SampleTest.h"

using namespace sampletest;

TEST(PropMask, Bits)
{
    EXPECT_EQ(PM_TIMESTART, 0x0001);
    EXPECT_EQ(PM_TIMEEND, 0x0002);
    EXPECT_EQ(PM_MEDIATIME, 0x0004);
    EXPECT_EQ(PM_SYNCPOINT, 0x0010);
    EXPECT_EQ(PM_PREROLL, 0x0020);
    EXPECT_EQ(PM_DISCONTINUITY, 0x0040);
    EXPECT_EQ(PM_TYPEFLAGS, 0x0080);
    EXPECT_EQ(PM_MEDIATYPE, 0x0100);
    EXPECT_EQ(PM_BUFFER, 0x1000);
    EXPECT_EQ(PM_ACTLEN, 0x2000);
    EXPECT_EQ(PM_STREAMID, 0x8000);
    EXPECT_EQ(rtNoEnd, LLONG_MIN);
    static_assert(sizeof(CSampleT::m_wProps) == 2);
}

TEST(Snapshot, EmptyAfterConstructionAndClear)
{
    CSampleT snapshot;
    ExpectEmpty(snapshot);
    FakeSample sample;
    Fill(sample);
    ASSERT_EQ(snapshot.Load(&sample, PM_ALL), S_OK);
    snapshot.Clear();
    ExpectEmpty(snapshot);
}

TEST(Setters, SetTheirBits)
{
    Diagnostics diag;
    CSampleT snapshot;
    snapshot.SetTime(10, 20);
    EXPECT_EQ(snapshot.m_wProps, 0x0003);
    EXPECT_EQ(snapshot.m_tS, 10);
    EXPECT_EQ(snapshot.m_tE, 20);
    snapshot.SetTime(30, rtNoEnd); // the end goes away
    EXPECT_EQ(snapshot.m_wProps, 0x0001);
    EXPECT_EQ(snapshot.m_tS, 30);
    EXPECT_EQ(snapshot.m_tE, rtNoEnd);
    snapshot.SetMediaTime(5, 6);
    EXPECT_EQ(snapshot.m_wProps, 0x0005);
    EXPECT_EQ(snapshot.m_llMS, 5);
    EXPECT_EQ(snapshot.m_llME, 6);
    snapshot.SetSyncPoint(TRUE);
    EXPECT_EQ(snapshot.m_wProps, 0x0015);
    EXPECT_EQ(snapshot.m_bSync, TRUE);
    snapshot.SetDiscontinuity(TRUE);
    EXPECT_EQ(snapshot.m_wProps, 0x0055);
    EXPECT_EQ(snapshot.m_bDiscont, TRUE);
    snapshot.SetActualDataLength(77);
    EXPECT_EQ(snapshot.m_wProps, 0x2055);
    EXPECT_EQ(snapshot.m_lActual, 77);
    snapshot.SetSyncPoint(FALSE); // holds the bit, with another value
    EXPECT_EQ(snapshot.m_wProps, 0x2055);
    EXPECT_EQ(snapshot.m_bSync, FALSE);

    snapshot.RemoveProps(0x2011);
    EXPECT_EQ(snapshot.m_wProps, 0x0044);
    EXPECT_EQ(snapshot.m_lActual, 77);
    EXPECT_EQ(snapshot.m_tS, 30);
    diag.ExpectSilence();
}

TEST(Setters, AssertionsLetTheValuePass)
{
    Diagnostics diag;
    CSampleT snapshot;
    snapshot.SetTime(20, 20);
    EXPECT_EQ(snapshot.m_wProps, 0x0003);
    EXPECT_EQ(snapshot.m_tE, 20);
    snapshot.SetTime(20, 19);
    snapshot.SetMediaTime(5, 5);
    EXPECT_EQ(snapshot.m_llME, 5);
    EXPECT_EQ(snapshot.m_wProps, 0x0007);
    diag.Expect({}, {"tE == (REFERENCE_TIME)MINLONGLONG || tE > tS",
                     "tE == (REFERENCE_TIME)MINLONGLONG || tE > tS", "llME > llMS"});
}

TEST(Load, Arguments)
{
    Diagnostics diag;
    FakeSample sample;
    CSampleT snapshot;
    snapshot.SetActualDataLength(7);
    EXPECT_EQ(snapshot.Load(nullptr, PM_ALL), E_INVALIDARG);
    EXPECT_EQ(snapshot.Load(&sample, 0), E_INVALIDARG);
    EXPECT_EQ(snapshot.m_lActual, 7); // nothing is cleared
    EXPECT_TRUE(sample.CallOrder().empty());
    diag.Expect({}, {"pSrc != NULL", "wMask != 0"});
}

TEST(Load, Everything)
{
    for (const WORD wMask : {wEverything, WORD(PM_ALL)})
    {
        Diagnostics diag;
        FakeSample sample;
        Fill(sample);
        {
            CSampleT snapshot;
            EXPECT_EQ(snapshot.Load(&sample, wMask), S_OK);
            EXPECT_EQ(snapshot.m_wProps, wEverything);
            EXPECT_EQ(snapshot.m_tS, 400000);
            EXPECT_EQ(snapshot.m_tE, 800000);
            EXPECT_EQ(snapshot.m_llMS, 1);
            EXPECT_EQ(snapshot.m_llME, 2);
            EXPECT_EQ(snapshot.m_bSync, TRUE);
            EXPECT_EQ(snapshot.m_bPreroll, FALSE);
            EXPECT_EQ(snapshot.m_bDiscont, TRUE);
            EXPECT_EQ(snapshot.m_dwTypeFlags, 0x11223344u);
            ASSERT_NE(snapshot.m_pMT, nullptr);
            EXPECT_TRUE(MTEqual(snapshot.m_pMT, &sample.m_mt));
            EXPECT_EQ(snapshot.m_lActual, 40);
            EXPECT_EQ(snapshot.m_pbBuf, sample.Buffer());
            EXPECT_EQ(snapshot.m_cbBuf, 64);
            EXPECT_EQ(snapshot.m_dwStreamId, 0x55667788u);
        }
        EXPECT_EQ(sample.CallOrder(),
                  (Calls{eSC_GetTime, eSC_GetMediaTime, eSC_IsSyncPoint, eSC_IsPreroll, eSC_IsDiscontinuity,
                         eSC_QuerySample2, eSC_GetProperties, eSC_GetMediaType, eSC_GetActualDataLength,
                         eSC_GetPointer, eSC_GetSize}));
        EXPECT_EQ(sample.Refs(), 0); // the snapshot keeps nothing alive
        diag.ExpectSilence();
    }
}

TEST(Load, EachPropertyAlone)
{
    const struct
    {
        WORD wMask;
        Calls calls;
    } rgRows[] = {
        {PM_TIMESTART, {eSC_GetTime}},
        {PM_TIMEEND, {eSC_GetTime}},
        {PM_MEDIATIME, {eSC_GetMediaTime}},
        {PM_SYNCPOINT, {eSC_IsSyncPoint}},
        {PM_PREROLL, {eSC_IsPreroll}},
        {PM_DISCONTINUITY, {eSC_IsDiscontinuity}},
        {PM_TYPEFLAGS, {eSC_QuerySample2, eSC_GetProperties}},
        {PM_MEDIATYPE, {eSC_GetMediaType}},
        {PM_BUFFER, {eSC_GetActualDataLength, eSC_GetPointer, eSC_GetSize}},
        {PM_ACTLEN, {eSC_GetActualDataLength}},
        {PM_STREAMID, {eSC_QuerySample2, eSC_GetProperties}},
    };
    for (const auto& row : rgRows)
    {
        Diagnostics diag;
        FakeSample sample;
        Fill(sample);
        CSampleT snapshot;
        EXPECT_EQ(snapshot.Load(&sample, row.wMask), S_OK) << std::hex << row.wMask;
        EXPECT_EQ(snapshot.m_wProps, row.wMask);
        EXPECT_EQ(sample.CallOrder(), row.calls) << std::hex << row.wMask;
        EXPECT_EQ(snapshot.m_dwTypeFlags, row.wMask == PM_TYPEFLAGS ? 0x11223344u : 0u);
        EXPECT_EQ(snapshot.m_dwStreamId, row.wMask == PM_STREAMID ? 0x55667788u : 0u);
        diag.ExpectSilence();
    }
}

TEST(Load, ClearsFirst)
{
    FakeSample sample;
    Fill(sample);
    CSampleT snapshot;
    ASSERT_EQ(snapshot.Load(&sample, PM_ALL), S_OK);
    ASSERT_EQ(snapshot.Load(&sample, PM_SYNCPOINT), S_OK);
    EXPECT_EQ(snapshot.m_wProps, PM_SYNCPOINT);
    EXPECT_EQ(snapshot.m_pMT, nullptr);
    EXPECT_EQ(snapshot.m_tS, 0);
    EXPECT_EQ(snapshot.m_pbBuf, nullptr);
}

TEST(Load, BitsWithoutProperty)
{
    Diagnostics diag;
    FakeSample sample;
    CSampleT snapshot;
    for (const WORD wMask : {0x0008, 0x0200, 0x0400, 0x0800, 0x4000})
        EXPECT_EQ(snapshot.Load(&sample, wMask), E_FAIL);
    EXPECT_EQ(snapshot.Load(&sample, PM_SYNCPOINT | 0x0008), S_FALSE);
    EXPECT_TRUE(Calls{eSC_IsSyncPoint} == sample.CallOrder());
    diag.Expect({{2, "###Err### CSampleT::Load(): Can't load wanted (0x8) properties\n"},
                 {2, "###Err### CSampleT::Load(): Can't load wanted (0x200) properties\n"},
                 {2, "###Err### CSampleT::Load(): Can't load wanted (0x400) properties\n"},
                 {2, "###Err### CSampleT::Load(): Can't load wanted (0x800) properties\n"},
                 {2, "###Err### CSampleT::Load(): Can't load wanted (0x4000) properties\n"}},
                {}); // the line of S_FALSE has level 10, which is not delivered
}

TEST(LoadTime, StartOnly)
{
    Diagnostics diag;
    FakeSample sample;
    Fill(sample);
    sample.m_bTimeEnd = false;
    CSampleT snapshot;
    EXPECT_EQ(snapshot.Load(&sample, PM_TIMESTART | PM_TIMEEND), S_FALSE);
    EXPECT_EQ(snapshot.m_wProps, PM_TIMESTART);
    EXPECT_EQ(snapshot.m_tS, 400000);
    EXPECT_EQ(snapshot.m_tE, 400001);
    EXPECT_EQ(snapshot.Load(&sample, PM_TIMESTART), S_OK);
    diag.ExpectSilence();
    EXPECT_EQ(snapshot.Load(&sample, PM_TIMEEND), E_FAIL);
    EXPECT_EQ(snapshot.m_wProps, 0);
    diag.Expect({{2, "###Err### CSampleT::Load(): Can't load wanted (0x2) properties\n"}}, {});
}

TEST(LoadTime, Absent)
{
    Diagnostics diag;
    FakeSample sample;
    CSampleT snapshot;
    EXPECT_EQ(snapshot.Load(&sample, PM_TIMESTART | PM_TIMEEND | PM_SYNCPOINT), S_FALSE);
    EXPECT_EQ(snapshot.m_wProps, PM_SYNCPOINT);
    sample.Script(eSC_GetTime, S_FALSE); // another success is no time either
    EXPECT_EQ(snapshot.Load(&sample, PM_TIMESTART | PM_SYNCPOINT), S_FALSE);
    EXPECT_EQ(snapshot.m_wProps, PM_SYNCPOINT);
    diag.ExpectSilence();
}

TEST(LoadTime, EndEqualsStart)
{
    Diagnostics diag;
    FakeSample sample;
    Fill(sample);
    sample.m_tE = sample.m_tS = 12345678;
    CSampleT snapshot;
    EXPECT_EQ(snapshot.Load(&sample, PM_TIMESTART | PM_TIMEEND), S_OK);
    EXPECT_EQ(snapshot.m_wProps, 0x0003);
    EXPECT_EQ(snapshot.m_tS, 12345678);
    EXPECT_EQ(snapshot.m_tE, 12345679);
    diag.Expect({{8, "WARNING. CSampleT::Load(): GetTime(): m_tE==m_tS=1.234'5678\n"}}, {});
}

TEST(LoadTime, EndBeforeStart)
{
    Diagnostics diag;
    FakeSample sample;
    Fill(sample);
    sample.m_tE = -1;
    CSampleT snapshot;
    EXPECT_EQ(snapshot.Load(&sample, PM_TIMESTART | PM_TIMEEND), S_OK);
    EXPECT_EQ(snapshot.m_tS, 400000);
    EXPECT_EQ(snapshot.m_tE, 400001);
    diag.Expect({{2, "###Err### CSampleT::Load(): GetTime(): m_tS > m_tE,  m_tS=0.040  m_tE=-0.000'0001\n"}},
                {"CSampleT::Load(): GetTime(): start time > end time "});
}

TEST(LoadTime, HighestTimeWraps)
{
    Diagnostics diag;
    FakeSample sample;
    Fill(sample);
    sample.m_tE = sample.m_tS = LLONG_MAX;
    CSampleT snapshot;
    EXPECT_EQ(snapshot.Load(&sample, PM_TIMESTART | PM_TIMEEND), S_OK);
    EXPECT_EQ(snapshot.m_tE, LLONG_MIN);
    diag.Expect({{8, "WARNING. CSampleT::Load(): GetTime(): m_tE==m_tS=*\n"}}, {});
}

TEST(LoadMediaTime, EqualAndReversedAreReportedOnly)
{
    FakeSample sample;
    Fill(sample);
    CSampleT snapshot;
    {
        Diagnostics diag;
        sample.m_llMS = sample.m_llME = 12345;
        EXPECT_EQ(snapshot.Load(&sample, PM_MEDIATIME), S_OK);
        EXPECT_EQ(snapshot.m_llMS, 12345);
        EXPECT_EQ(snapshot.m_llME, 12345);
        diag.Expect({{2, "###Err### CSampleT::Load(): GetMediaTime(): m_llME==m_llMS=12 345\n"}}, {});
    }
    {
        Diagnostics diag;
        sample.m_llME = -1000;
        EXPECT_EQ(snapshot.Load(&sample, PM_MEDIATIME), S_OK);
        EXPECT_EQ(snapshot.m_llME, -1000);
        diag.Expect(
            {{2,
              "###Err### CSampleT::Load(): GetMediaTime(): m_llMS > m_llME, m_llMS=12 345 m_llME=-1 000\n"}},
            {"CSampleT::Load(): GetMediaTime(): start media time > end media time"});
    }
    {
        Diagnostics diag;
        sample.m_llME = LLONG_MIN;
        EXPECT_EQ(snapshot.Load(&sample, PM_MEDIATIME), S_OK);
        diag.Expect({{2, "###Err### CSampleT::Load(): GetMediaTime(): m_llMS > m_llME, m_llMS=12 345 "
                         "m_llME=MINLONGLONG\n"}},
                    {"CSampleT::Load(): GetMediaTime(): start media time > end media time"});
    }
}

TEST(LoadMediaTime, Absent)
{
    Diagnostics diag;
    FakeSample sample;
    CSampleT snapshot;
    EXPECT_EQ(snapshot.Load(&sample, PM_MEDIATIME | PM_PREROLL), S_FALSE);
    sample.Script(eSC_GetMediaTime, S_FALSE);
    EXPECT_EQ(snapshot.Load(&sample, PM_MEDIATIME | PM_PREROLL), S_FALSE);
    EXPECT_EQ(snapshot.m_wProps, PM_PREROLL);
    diag.ExpectSilence();
}

TEST(LoadFlags, StrangeAnswerEndsTheLoad)
{
    const struct
    {
        WORD wProp;
        eSampleCall eCall;
        const char* pszName;
        BOOL CSampleT::*pbValue;
    } rgRows[] = {
        {PM_SYNCPOINT, eSC_IsSyncPoint, "IsSyncPoint", &CSampleT::m_bSync},
        {PM_PREROLL, eSC_IsPreroll, "IsPreroll", &CSampleT::m_bPreroll},
        {PM_DISCONTINUITY, eSC_IsDiscontinuity, "IsDiscontinuity", &CSampleT::m_bDiscont},
    };
    for (const auto& row : rgRows)
    {
        const std::string sName = std::string("CSampleT::Load(): ") + row.pszName + "()";
        FakeSample sample;
        CSampleT snapshot;
        for (const HRESULT hr : {S_OK, S_FALSE})
        {
            Diagnostics diag;
            sample.Script(row.eCall, hr);
            EXPECT_EQ(snapshot.Load(&sample, row.wProp), S_OK);
            EXPECT_EQ(snapshot.m_wProps, row.wProp);
            EXPECT_EQ(snapshot.*row.pbValue, hr == S_OK);
            diag.ExpectSilence();
        }
        for (const HRESULT hr : {E_UNEXPECTED, HRESULT(2), VFW_E_WRONG_STATE})
        {
            Diagnostics diag;
            sample.Script(row.eCall, hr);
            sample.ForgetCalls();
            EXPECT_EQ(snapshot.Load(&sample, PM_ALL), hr < 0 ? hr : E_FAIL);
            EXPECT_EQ(snapshot.m_wProps & row.wProp, 0);
            EXPECT_EQ(sample.CallOrder().back(), row.eCall); // nothing comes after
            diag.Expect({{2, "###Err### " + sName + "=" + Hex(hr) + "\n"}}, {sName + " FAILED"});
        }
    }
}

TEST(LoadProperties2, SampleWithoutThem)
{
    Diagnostics diag;
    FakeSample sample(64, false);
    Fill(sample);
    CSampleT snapshot;
    EXPECT_EQ(snapshot.Load(&sample, PM_ALL), S_OK);
    EXPECT_EQ(snapshot.m_wProps, wEverything & ~(PM_TYPEFLAGS | PM_STREAMID));
    EXPECT_EQ(snapshot.Load(&sample, PM_TYPEFLAGS | PM_SYNCPOINT), S_FALSE);
    EXPECT_EQ(snapshot.m_wProps, PM_SYNCPOINT);
    diag.ExpectSilence();
}

TEST(LoadProperties2, Failures)
{
    struct
    {
        WORD wMask;
        HRESULT hr; ///< S_OK: the sample writes too few bytes
        DWORD cbAnswer;
        unsigned cbAsked, cbWritten;
    } const rgRows[] = {
        {PM_TYPEFLAGS, E_UNEXPECTED, 0, 8, 8},
        {PM_STREAMID, E_UNEXPECTED, 0, 36, 36},
        {PM_TYPEFLAGS, S_OK, 7, 8, 7},
        {PM_STREAMID, S_OK, 35, 36, 35},
        {PM_TYPEFLAGS | PM_STREAMID, S_FALSE, 0, 36, 36},
    };
    for (const auto& row : rgRows)
    {
        Diagnostics diag;
        FakeSample sample;
        Fill(sample);
        if (row.hr != S_OK)
            sample.Script(eSC_GetProperties, row.hr);
        sample.m_cbDataAnswer = row.cbAnswer;
        CSampleT snapshot;
        EXPECT_EQ(snapshot.Load(&sample, row.wMask | PM_MEDIATYPE), row.hr < 0 ? row.hr : E_FAIL);
        EXPECT_EQ(snapshot.m_wProps, 0);
        EXPECT_EQ(sample.Calls(eSC_GetMediaType), 0);
        EXPECT_EQ(sample.Refs(), 0);
        diag.Expect({{2, "###Err### CSampleT::Load(): spMS2->GetProperties()=" + Hex(row.hr) +
                             ", cbData=" + std::to_string(row.cbAsked) +
                             ", rgProps.cbData=" + std::to_string(row.cbWritten) + "\n"}},
                    {"CSampleT::Load(): spMS2->GetProperties() FAILED"});
    }
}

TEST(LoadProperties2, MoreBytesThanAsked)
{
    Diagnostics diag;
    FakeSample sample;
    Fill(sample);
    sample.m_cbDataAnswer = 64;
    CSampleT snapshot;
    EXPECT_EQ(snapshot.Load(&sample, PM_TYPEFLAGS | PM_STREAMID), S_OK);
    EXPECT_EQ(snapshot.m_dwTypeFlags, 0x11223344u);
    EXPECT_EQ(snapshot.m_dwStreamId, 0x55667788u);
    diag.ExpectSilence();
}

TEST(LoadMediaType, NoneNullAndFailure)
{
    FakeSample sample;
    CSampleT snapshot;
    {
        Diagnostics diag;
        EXPECT_EQ(snapshot.Load(&sample, PM_MEDIATYPE | PM_SYNCPOINT), S_FALSE); // the sample has none
        EXPECT_EQ(snapshot.m_pMT, nullptr);
        sample.Script(eSC_GetMediaType, E_UNEXPECTED);
        EXPECT_EQ(snapshot.Load(&sample, PM_MEDIATYPE | PM_SYNCPOINT), S_FALSE);
        EXPECT_EQ(snapshot.m_wProps, PM_SYNCPOINT);
        diag.ExpectSilence();
    }
    Diagnostics diag;
    sample.Unscript(eSC_GetMediaType);
    sample.m_bNullType = true;
    EXPECT_EQ(snapshot.Load(&sample, PM_MEDIATYPE | PM_BUFFER), E_FAIL);
    EXPECT_EQ(sample.Calls(eSC_GetPointer), 0);
    diag.Expect({{2, "###Err### CSampleT::Load(): GetMediaType()=S_OK, pMT=NULL\n"}},
                {"CSampleT::Load(): GetMediaType()=S_OK, pMT=NULL"});
}

TEST(LoadBuffer, SizeZero)
{
    Diagnostics diag;
    FakeSample sample;
    sample.Script(eSC_GetSize, 0);
    CSampleT snapshot;
    EXPECT_EQ(snapshot.Load(&sample, PM_BUFFER | PM_SYNCPOINT), S_FALSE);
    EXPECT_EQ(snapshot.m_wProps, PM_SYNCPOINT);
    EXPECT_EQ(snapshot.m_pbBuf, nullptr);
    char szPointer[16];
    snprintf(szPointer, sizeof(szPointer), "0x%X", TracePtr(sample.Buffer()));
    diag.Expect({{2, std::string("###Err### CSampleT::Load(): GetPointer()/GetSize(), pbBuf=") + szPointer +
                         ", cbBuf==0\n"}},
                {});
}

TEST(LoadBuffer, NegativeSizeHoldsNoByte)
{
    for (const LONG cbBuffer : {LONG{-1}, LONG{-100}, LONG{INT_MIN}})
    {
        Diagnostics diag;
        FakeSample sample;
        sample.Script(eSC_GetSize, cbBuffer);
        sample.m_lActual = 0;
        CSampleT snapshot;
        EXPECT_EQ(snapshot.Load(&sample, PM_BUFFER), E_FAIL);
        EXPECT_EQ(snapshot.m_wProps, 0);
        EXPECT_EQ(snapshot.m_pbBuf, nullptr);
        EXPECT_EQ(snapshot.m_cbBuf, 0);
        EXPECT_EQ(diag.asserts.Texts(), Texts{});
    }
}

TEST(LoadBuffer, NullPointer)
{
    FakeSample sample;
    sample.m_bNullPointer = true;
    CSampleT snapshot;
    for (const LONG lActual : {40, -1})
    {
        Diagnostics diag;
        sample.m_lActual = lActual;
        EXPECT_EQ(snapshot.Load(&sample, PM_BUFFER | PM_SYNCPOINT), S_FALSE);
        EXPECT_EQ(snapshot.m_wProps, PM_SYNCPOINT);
        diag.Expect({{2, "###Err### CSampleT::Load(): GetPointer()=S_OK, pbBuf==NULL\n"}}, {});
    }
    Diagnostics diag;
    sample.m_lActual = 0; // an empty sample need not have a buffer
    EXPECT_EQ(snapshot.Load(&sample, PM_BUFFER | PM_SYNCPOINT), S_FALSE);
    EXPECT_EQ(snapshot.m_wProps, PM_SYNCPOINT);
    diag.ExpectSilence();
}

TEST(LoadBuffer, PointerFails)
{
    FakeSample sample;
    CSampleT snapshot;
    for (const HRESULT hr : {E_UNEXPECTED, S_FALSE})
    {
        Diagnostics diag;
        sample.Script(eSC_GetPointer, hr);
        EXPECT_EQ(snapshot.Load(&sample, PM_BUFFER | PM_ACTLEN), S_FALSE);
        EXPECT_EQ(snapshot.m_wProps, PM_ACTLEN);
        EXPECT_EQ(snapshot.m_lActual, 64);
        EXPECT_EQ(snapshot.m_pbBuf, nullptr);
        diag.Expect({{2, "###Err### CSampleT::Load(): GetPointer()=" + Hex(hr) + "\n"}}, {});
    }
}

TEST(LoadBuffer, LengthAboveSize)
{
    Diagnostics diag;
    FakeSample sample;
    sample.m_lActual = 65;
    CSampleT snapshot;
    EXPECT_EQ(snapshot.Load(&sample, PM_ACTLEN), S_OK); // without the buffer there is nothing to compare
    EXPECT_EQ(snapshot.m_lActual, 65);
    diag.ExpectSilence();
    EXPECT_EQ(snapshot.Load(&sample, PM_BUFFER | PM_ACTLEN), E_FAIL);
    EXPECT_EQ(snapshot.m_lActual, 0);
    EXPECT_EQ(snapshot.m_wProps, PM_BUFFER);
    // The first value is the field, not the length.
    diag.Expect({{2, "###Err### CSampleT::Load(): GetActualDataLength()=0, cbBuf=64\n"}},
                {"CSampleT::Load(): GetActualDataLength() > buffer size"});
}
