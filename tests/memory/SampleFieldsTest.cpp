// Each operation of the sample: its line, its result, what it stores.
#include "memory/SampleUnderTest.h"

#include "dstl/dshowx/DSParsers.h"
#include "dstl/dshowx/DSTypes.h"

#include <climits>
#include <functional>
#include <vfwmsgs.h>

namespace
{
std::string Hex(const void* p)
{
    char sz[16];
    snprintf(sz, sizeof(sz), "0x%X", TracePtr(p));
    return sz;
}

TEST_F(SampleTest, Fresh)
{
    SampleUnderTest sample;
    EXPECT_EQ(sample.m_pBuffer, nullptr);
    EXPECT_EQ(sample.m_cbBuffer, 0);
    EXPECT_EQ(sample.m_cbActual, 0);
    EXPECT_EQ(sample.m_dwSampleFlags, 0u);
    EXPECT_EQ(sample.m_dwTypeFlags, 0u);
    EXPECT_EQ(sample.m_dwStreamId, 0u);
    EXPECT_FALSE(sample.m_pMediaType);
    sample.AttachBuffer(m_arrBuffer, 5);
    EXPECT_EQ(m_asserts.Texts(), Lines{});
    sample.m_cbBuffer = 0;
    sample.AttachBuffer(m_arrBuffer, 5);
    EXPECT_EQ(m_asserts.Texts(),
              Lines{"(m_pBuffer != NULL && m_cbBuffer != 0) || (m_pBuffer == NULL && m_cbBuffer == 0)"});
}

/// Every row: the line with its level, and the result.
TEST_F(SampleTest, LinesAndResults)
{
    SampleUnderTest& s = m_sample;
    BYTE* pb = nullptr;
    REFERENCE_TIME t1 = 12345678, t2 = 20000000;
    LONGLONG ll1 = 5, ll2 = 7;
    AM_MEDIA_TYPE* pmt = nullptr;
    CMType mt(MEDIATYPE_Video, MEDIASUBTYPE_RGB24);
    BYTE arrProps[64] = {8};
    struct Row
    {
        std::function<LONG()> call;
        LONG nResult;
        Lines lines;
    };
    const Row rows[] = {
        {[&] { return s.GetPointer(&pb); },
         S_OK,
         {"12 Some sample: IMediaSample::GetPointer(): pBuffer=" + Hex(m_arrBuffer) + "\n"}},
        {[&] { return s.GetSize(); }, 64, {"12 Some sample: IMediaSample::GetSize(): cbBuffer=64 (0x40)\n"}},
        {[&] { return s.GetTime(&t1, &t2); },
         VFW_E_SAMPLE_TIME_NOT_SET,
         {"12 Some sample: IMediaSample::GetTime(), tS=???  tE=???\n"}},
        {[&] { return s.SetTime(&t1, nullptr); },
         S_OK,
         {"12 Some sample: IMediaSample::SetTime( tS=1.234'5678  tE=??? )\n"}},
        {[&] { return s.GetTime(&t1, &t2); },
         VFW_S_NO_STOP_TIME,
         {"12 Some sample: IMediaSample::GetTime(), tS=1.234'5678  tE=???\n"}},
        {[&] { return s.SetTime(&t1, &t2); },
         S_OK,
         {"12 Some sample: IMediaSample::SetTime( tS=1.234'5678  tE=1.234'5679 )\n"}},
        {[&] { return s.GetTime(&t1, &t2); },
         S_OK,
         {"12 Some sample: IMediaSample::GetTime(), tS=1.234'5678  tE=1.234'5679\n"}},
        {[&] { return s.SetTime(nullptr, nullptr); },
         S_OK,
         {"12 Some sample: IMediaSample::SetTime( tS=???  tE=??? )\n"}},
        {[&] { return s.IsSyncPoint(); }, S_FALSE, {"12 Some sample: IMediaSample::IsSyncPoint(): FALSE\n"}},
        {[&] { return s.SetSyncPoint(TRUE); },
         S_OK,
         {"10 Some sample: IMediaSample::SetSyncPoint( TRUE )\n"}},
        {[&] { return s.IsSyncPoint(); }, S_OK, {"12 Some sample: IMediaSample::IsSyncPoint(): TRUE\n"}},
        {[&] { return s.SetSyncPoint(FALSE); },
         S_OK,
         {"10 Some sample: IMediaSample::SetSyncPoint( FALSE )\n"}},
        {[&] { return s.IsSyncPoint(); }, S_FALSE, {"12 Some sample: IMediaSample::IsSyncPoint(): FALSE\n"}},
        {[&] { return s.IsPreroll(); }, S_FALSE, {"12 Some sample: IMediaSample::IsPreroll(): FALSE\n"}},
        {[&] { return s.SetPreroll(2); }, S_OK, {"10 Some sample: IMediaSample::SetPreroll( TRUE )\n"}},
        {[&] { return s.IsPreroll(); }, S_OK, {"12 Some sample: IMediaSample::IsPreroll(): TRUE\n"}},
        {[&] { return s.SetPreroll(0); }, S_OK, {"10 Some sample: IMediaSample::SetPreroll( FALSE )\n"}},
        {[&] { return s.IsDiscontinuity(); },
         S_FALSE,
         {"12 Some sample: IMediaSample::IsDiscontinuity(): FALSE\n"}},
        {[&] { return s.SetDiscontinuity(TRUE); },
         S_OK,
         {"10 Some sample: IMediaSample::SetDiscontinuity( TRUE )\n"}},
        {[&] { return s.IsDiscontinuity(); },
         S_OK,
         {"12 Some sample: IMediaSample::IsDiscontinuity(): TRUE\n"}},
        {[&] { return s.SetDiscontinuity(FALSE); },
         S_OK,
         {"10 Some sample: IMediaSample::SetDiscontinuity( FALSE )\n"}},
        {[&] { return s.GetActualDataLength(); },
         0,
         {"12 Some sample: IMediaSample::GetActualDataLength(): cbActual=0\n"}},
        {[&] { return s.SetActualDataLength(64); },
         S_OK,
         {"10 Some sample: IMediaSample::SetActualDataLength( 64 )\n"}},
        {[&] { return s.SetActualDataLength(65); },
         VFW_E_BUFFER_OVERFLOW,
         {"10 Some sample: IMediaSample::SetActualDataLength( 65 )\n"}},
        {[&] { return s.GetActualDataLength(); },
         64,
         {"12 Some sample: IMediaSample::GetActualDataLength(): cbActual=64\n"}},
        {[&] { return s.SetActualDataLength(-1); },
         S_OK,
         {"10 Some sample: IMediaSample::SetActualDataLength( 4294967295 )\n"}},
        {[&] { return s.GetActualDataLength(); },
         -1,
         {"12 Some sample: IMediaSample::GetActualDataLength(): cbActual=4294967295\n"}},
        {[&] { return s.SetActualDataLength(0); },
         S_OK,
         {"10 Some sample: IMediaSample::SetActualDataLength( 0 )\n"}},
        {[&] { return s.SetMediaType(nullptr); }, S_OK, {}},
        {[&] { return s.GetMediaType(&pmt); }, S_FALSE, {"12 Some sample: IMediaSample::GetMediaType()\n"}},
        {[&] { return s.SetMediaType(&mt); },
         S_OK,
         {"8 Some sample: IMediaSample::SetMediaType()\n",
          "8 MT:( MEDIATYPE_Video / MEDIASUBTYPE_RGB24 / GUID_NULL ), size=1, cbForm=0, fix:true, "
          "compr:false\n"}},
        {[&] { return s.SetMediaType(nullptr); },
         S_OK,
         {"8 Some sample: IMediaSample::SetMediaType( NULL )\n"}},
        {[&] { return s.GetMediaTime(&ll1, &ll2); },
         VFW_E_MEDIA_TIME_NOT_SET,
         {"12 Some sample: IMediaSample::GetMediaTime(): mS=0  mE=0\n"}},
        {[&] { return ll1 = -5, ll2 = 1234567890123, s.SetMediaTime(&ll1, &ll2); },
         S_OK,
         {"12 Some sample: IMediaSample::SetMediaTime( mS=-5  mE=1234567890123 )\n"}},
        {[&] { return s.GetMediaTime(&ll1, &ll2); },
         S_OK,
         {"12 Some sample: IMediaSample::GetMediaTime(): mS=-5  mE=1234567890123\n"}},
        {[&] { return s.SetMediaTime(&ll2, &ll2); },
         S_OK,
         {"12 Some sample: IMediaSample::SetMediaTime( mS=1234567890123  mE=1234567890123 )\n",
          "2 ###Err### Some sample: SetMediaTime(): *pTimeEnd == *pTimeStart = 1 234 567 890 123\n"}},
        {[&] { return s.SetMediaTime(nullptr, nullptr); },
         S_OK,
         {"12 Some sample: IMediaSample::SetMediaTime( mS=0  mE=0 )\n"}},
        {[&] { return s.GetProperties(64, arrProps); },
         S_OK,
         {"12 Some sample: IMediaSample2::GetProperties( cbProps=64 )\n"}},
        {[&] { return s.SetProperties(64, arrProps); },
         S_OK,
         {"12 Some sample IMediaSample2::SetProperties( cbProps=64, pbProps=" + Hex(arrProps) + " )\n",
          "12 Properties: TypeFlags=0x0, SampleFlags=0x0, cbActual=0x0, tS=0.000, tE=0.000, StreamId=0x0\n"}},
    };
    int nRow = 0;
    for (const Row& row : rows)
    {
        TraceTap tap;
        EXPECT_EQ(row.call(), row.nResult) << nRow;
        EXPECT_EQ(tap.Texts(), row.lines) << nRow;
        ++nRow;
    }
    EXPECT_EQ(pb, m_arrBuffer);
    EXPECT_EQ(pmt, nullptr);
    EXPECT_EQ(m_asserts.Texts(), Lines{"Actual sample's data length greater then buffer size"});
}

TEST_F(SampleTest, NullArguments)
{
    REFERENCE_TIME t = 3;
    BYTE* pb = nullptr;
    struct Row
    {
        std::function<HRESULT()> call;
        HRESULT hr;
        Lines asserts;
    };
    const Row rows[] = {
        {[&] { return m_sample.GetPointer(nullptr); }, E_POINTER, {"ppBuffer != NULL"}},
        {[&] { return m_sample.GetTime(nullptr, &t); }, E_INVALIDARG, {"pTimeStart != NULL"}},
        {[&] { return m_sample.GetTime(&t, nullptr); }, E_INVALIDARG, {"pTimeEnd != NULL"}},
        {[&] { return m_sample.GetTime(nullptr, nullptr); },
         E_INVALIDARG,
         {"pTimeStart != NULL", "pTimeEnd != NULL"}},
        {[&] { return m_sample.GetMediaTime(nullptr, &t); }, E_INVALIDARG, {"pTimeStart != NULL"}},
        {[&] { return m_sample.GetMediaTime(&t, nullptr); }, E_INVALIDARG, {"pTimeEnd != NULL"}},
        {[&] { return m_sample.SetTime(nullptr, &t); }, S_OK, {"pTimeEnd == NULL"}},
        {[&] { return m_sample.SetMediaTime(nullptr, &t); }, S_OK, {"pTimeEnd == NULL"}},
        {[&] { return m_sample.SetMediaTime(&t, nullptr); }, E_INVALIDARG, {"pTimeEnd != NULL"}},
        {[&] { return m_sample.GetMediaType(nullptr); }, E_POINTER, {"ppMediaType != NULL"}},
        {[&] { return m_sample.GetProperties(0, nullptr); }, S_OK, {}},
        {[&] { return m_sample.GetProperties(1, nullptr); }, E_POINTER, {"pbProperties != NULL"}},
        {[&] { return m_sample.SetProperties(7, nullptr); }, S_OK, {}},
        {[&] { return m_sample.SetProperties(8, nullptr); }, E_POINTER, {"pbProperties != NULL"}},
        {[&] { return m_sample.m_pBuffer = nullptr, m_sample.GetPointer(&pb); },
         E_FAIL,
         {"m_pBuffer != NULL"}},
    };
    int nRow = 0;
    for (const Row& row : rows)
    {
        m_asserts.Clear();
        EXPECT_EQ(row.call(), row.hr) << nRow;
        EXPECT_EQ(m_asserts.Texts(), row.asserts) << nRow;
        ++nRow;
    }
    EXPECT_EQ(t, 3);
}

TEST_F(SampleTest, Times)
{
    REFERENCE_TIME tS = 100, tE = 200, t1 = -1, t2 = -1;
    EXPECT_EQ(m_sample.GetTime(&t1, &t2), VFW_E_SAMPLE_TIME_NOT_SET);
    EXPECT_EQ(t1, -1) << "the outputs stay as they were";
    EXPECT_EQ(t2, -1);
    EXPECT_EQ(m_sample.SetTime(&tS, nullptr), S_OK);
    EXPECT_EQ(m_sample.GetTime(&t1, &t2), VFW_S_NO_STOP_TIME);
    EXPECT_EQ(t1, 100);
    EXPECT_EQ(t2, 101);
    EXPECT_EQ(m_sample.SetTime(&tS, &tE), S_OK);
    EXPECT_EQ(m_sample.GetTime(&t1, &t2), S_OK);
    EXPECT_EQ(t2, 200);
    EXPECT_EQ(m_asserts.Texts(), Lines{});

    // An end below the start changes nothing; equal times are taken.
    EXPECT_EQ(m_sample.SetTime(&tE, &tS), E_INVALIDARG);
    EXPECT_EQ(m_asserts.Texts(), Lines{"*pTimeEnd >= *pTimeStart"});
    EXPECT_EQ(m_sample.m_tStart, 100);
    EXPECT_EQ(m_sample.m_tEnd, 200);
    EXPECT_EQ(m_sample.SetTime(&tE, &tE), S_OK);
    EXPECT_EQ(m_sample.m_tStart, 200);

    // A start alone clears the end, a null start clears both.
    EXPECT_EQ(m_sample.SetTime(&tS, nullptr), S_OK);
    EXPECT_EQ(m_sample.m_tEnd, 0);
    EXPECT_EQ(m_sample.m_dwSampleFlags, static_cast<DWORD>(AM_SAMPLE_TIMEVALID));
    EXPECT_EQ(m_sample.SetTime(nullptr, &tE), S_OK);
    EXPECT_EQ(m_sample.m_tStart, 0);
    EXPECT_EQ(m_sample.m_dwSampleFlags, 0u);

    // Only the stop bit is looked at first.
    m_sample.m_dwSampleFlags = AM_SAMPLE_STOPVALID;
    m_sample.m_tStart = 7;
    m_sample.m_tEnd = 8;
    EXPECT_EQ(m_sample.GetTime(&t1, &t2), S_OK);
    EXPECT_EQ(t1, 7);

    // The highest start has no later end: it wraps, and nothing traps.
    REFERENCE_TIME tMax = LLONG_MAX;
    EXPECT_EQ(m_sample.SetTime(&tMax, nullptr), S_OK);
    EXPECT_EQ(m_sample.GetTime(&t1, &t2), VFW_S_NO_STOP_TIME);
    EXPECT_EQ(t2, LLONG_MIN);
}

TEST_F(SampleTest, MediaTimes)
{
    LONGLONG llS = 10, llE = 20, ll1 = -1, ll2 = -1;
    EXPECT_EQ(m_sample.GetMediaTime(&ll1, &ll2), VFW_E_MEDIA_TIME_NOT_SET);
    EXPECT_EQ(ll1, 0) << "the outputs are zeroed";
    EXPECT_EQ(ll2, 0);
    EXPECT_EQ(m_sample.SetMediaTime(&llS, &llE), S_OK);
    EXPECT_EQ(m_sample.GetMediaTime(&ll1, &ll2), S_OK);
    EXPECT_EQ(ll1, 10);
    EXPECT_EQ(ll2, 20);
    EXPECT_EQ(m_sample.m_dwSampleFlags, SAMPLE_MEDIATIMEVALID);
    EXPECT_EQ(m_asserts.Texts(), Lines{});
    EXPECT_EQ(m_sample.SetMediaTime(&llE, &llS), E_INVALIDARG);
    EXPECT_EQ(m_asserts.Texts(), Lines{"IMediaSample2Wrapper::SetMediaTime(): *pTimeEnd < *pTimeStart"});
    EXPECT_EQ(m_sample.m_llMediaStart, 10);
    {
        const LogCapture log;
        EXPECT_EQ(m_sample.SetMediaTime(&llE, &llE), S_OK);
        EXPECT_EQ(log.Texts(2),
                  Lines{"###Err### Some sample: SetMediaTime(): *pTimeEnd == *pTimeStart = 20\n"});
    }
    EXPECT_EQ(m_sample.m_llMediaStart, 20);
    EXPECT_EQ(m_sample.SetMediaTime(nullptr, nullptr), S_OK);
    EXPECT_EQ(m_sample.m_dwSampleFlags, 0u);
    EXPECT_EQ(m_sample.m_llMediaEnd, 0);
}

TEST_F(SampleTest, MediaType)
{
    CountedUnknown unknown;
    unknown.AddRef();
    {
        CMType mt(MEDIATYPE_Video, MEDIASUBTYPE_RGB24);
        const BYTE arrFormat[5] = {1, 2, 3, 4, 5};
        ASSERT_EQ(mt.SetFormat(5, arrFormat), S_OK);
        mt.pUnk = &unknown; // takes the test's reference over
        EXPECT_EQ(m_sample.SetMediaType(&mt), S_OK);
        EXPECT_EQ(unknown.m_nRefs, 2);
        EXPECT_TRUE(MTEqual(m_sample.m_pMediaType.Get(), &mt));
        EXPECT_NE(m_sample.m_pMediaType.Get()->pbFormat, mt.pbFormat);
        EXPECT_EQ(m_sample.m_dwSampleFlags, static_cast<DWORD>(AM_SAMPLE_TYPECHANGED));

        AM_MEDIA_TYPE* pmt = nullptr;
        EXPECT_EQ(m_sample.GetMediaType(&pmt), S_OK);
        ASSERT_NE(pmt, nullptr);
        EXPECT_NE(pmt, m_sample.m_pMediaType.Get());
        EXPECT_TRUE(MTEqual(pmt, &mt));
        EXPECT_EQ(unknown.m_nRefs, 3);
        MTDelete(pmt);

        // Its own type, too, is copied before it goes.
        EXPECT_EQ(m_sample.SetMediaType(m_sample.m_pMediaType.Get()), S_OK);
        EXPECT_TRUE(MTEqual(m_sample.m_pMediaType.Get(), &mt));
        EXPECT_EQ(unknown.m_nRefs, 2);
    }
    EXPECT_EQ(unknown.m_nRefs, 1);
    EXPECT_EQ(m_sample.SetMediaType(nullptr), S_OK);
    EXPECT_EQ(unknown.m_nRefs, 0);
    EXPECT_EQ(m_sample.m_dwSampleFlags, 0u);
    EXPECT_EQ(m_asserts.Texts(), Lines{});
}

/// Without memory for a copy: the old type is gone, the flag is clear.
TEST_F(SampleTest, MediaTypeWithoutMemory)
{
    CMType mt(MEDIATYPE_Video, MEDIASUBTYPE_RGB24);
    const BYTE arrFormat[3] = {1, 2, 3};
    ASSERT_EQ(mt.SetFormat(3, arrFormat), S_OK);
    const char* const arrAsserts[] = {"MTDup() : CoTaskMemAlloc() == NULL",
                                      "MTAllocFormat() : CoTaskMemAlloc() == NULL"};
    for (long nAfter = 0; nAfter < 2; ++nAfter)
    {
        ASSERT_EQ(m_sample.SetMediaType(&mt), S_OK);
        {
            m_asserts.Clear();
            const FailingMemory failing(eMC_TaskMem, nAfter);
            AM_MEDIA_TYPE* pmt = nullptr;
            EXPECT_EQ(m_sample.GetMediaType(&pmt), E_OUTOFMEMORY);
            EXPECT_EQ(pmt, nullptr);
            EXPECT_EQ(m_asserts.Texts(), Lines{arrAsserts[nAfter]});
        }
        const FailingMemory failing(eMC_TaskMem, nAfter);
        EXPECT_EQ(m_sample.SetMediaType(&mt), E_OUTOFMEMORY);
        EXPECT_FALSE(m_sample.m_pMediaType);
        EXPECT_EQ(m_sample.m_dwSampleFlags, 0u);
    }
}

TEST_F(SampleTest, FlagAndTypeThatDisagree)
{
    CMType mt(MEDIATYPE_Video, MEDIASUBTYPE_RGB24);
    ASSERT_EQ(m_sample.SetMediaType(&mt), S_OK);
    m_sample.m_dwSampleFlags = 0;
    AM_MEDIA_TYPE* pmt = nullptr;
    EXPECT_EQ(m_sample.GetMediaType(&pmt), S_FALSE);
    EXPECT_EQ(m_asserts.Texts(), Lines{"m_pMediaType == NULL"});
    m_asserts.Clear();
    m_sample.m_pMediaType.Close();
    m_sample.m_dwSampleFlags = AM_SAMPLE_TYPECHANGED;
    EXPECT_EQ(m_sample.GetMediaType(&pmt), E_OUTOFMEMORY);
    EXPECT_EQ(m_asserts.Texts(), Lines{"m_pMediaType != NULL"});
}
} // namespace
