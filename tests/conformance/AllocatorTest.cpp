// The filter's own allocator and its samples, as a peer meets them through the connection.
#include "Conformance.h"

#include "support/CountedNotify.h"
#include "support/FakeSample.h"

#include <algorithm>
#include <cstring>
#include <thread>
#include <utility>

namespace
{

class Allocator : public Conformance
{
protected:
    void SetUp() override
    {
        Conformance::SetUp();
        m_pOffered = nullptr;
        ASSERT_EQ(SetFormat("RGB32", 16, 8), S_OK);
        ASSERT_EQ(Connect(), S_OK);
        m_spAllocator = Interface<IMemAllocatorCallbackTemp>(m_sink.m_pin.NotifiedAllocator());
        ASSERT_TRUE(m_spAllocator);
    }
    void TearDown() override
    {
        if (m_spFilter) // unless the test has let it go
        {
            Filter().Stop();
            Disconnect();
        }
        m_sink.m_pin.ReleaseSamples();
        if (m_spAllocator)
        {
            EXPECT_EQ(ReleaseLast(m_spAllocator), 0u) << "somebody still holds the allocator";
        }
        Conformance::TearDown();
    }
    /// A sample, or the failure, without a wait.
    HRESULT Get(CComPtr<IMediaSample>& sp)
    {
        sp.Release();
        return m_spAllocator->GetBuffer(&sp, nullptr, nullptr, AM_GBF_NOWAIT);
    }
    HRESULT Free(LONG& n) { return m_spAllocator->GetFreeCount(&n); }

    CComPtr<IMemAllocatorCallbackTemp> m_spAllocator;
};

constexpr LONG g_cbFrame = 16 * 8 * 4;

/// As agreed by the connection, before, while and after it is committed.
TEST_F(Allocator, PropertiesAsAgreed)
{
    const auto expectAgreed = [&]
    {
        ALLOCATOR_PROPERTIES props{};
        ASSERT_EQ(m_spAllocator->GetProperties(&props), S_OK);
        EXPECT_EQ(props.cBuffers, 2);
        EXPECT_EQ(props.cbBuffer, g_cbFrame);
        EXPECT_EQ(props.cbAlign, 1);
        EXPECT_EQ(props.cbPrefix, 0);
    };
    expectAgreed();
    ASSERT_EQ(Filter().Pause(), S_OK);
    expectAgreed();
    ALLOCATOR_PROPERTIES request = {5, 1000, 1, 0}, actual = {9, 9, 9, 9};
    EXPECT_EQ(m_spAllocator->SetProperties(&request, &actual), VFW_E_ALREADY_COMMITTED);
    EXPECT_EQ(actual.cBuffers, 0);
    ASSERT_EQ(Filter().Stop(), S_OK);
    expectAgreed();
    EXPECT_EQ(m_spAllocator->SetProperties(&request, &actual), S_OK);
    EXPECT_EQ(actual.cBuffers, 5);
    EXPECT_EQ(actual.cbBuffer, 1000);
}

/// Requests that cannot be met change nothing; others are corrected.
TEST_F(Allocator, RequestsAndTheirCorrection)
{
    const struct
    {
        ALLOCATOR_PROPERTIES request;
        HRESULT hr;
        ALLOCATOR_PROPERTIES actual;
    } rows[] = {
        {{3, 1000, 16, 0}, S_OK, {3, 1008, 16, 0}}, {{3, 1000, 16, 24}, S_OK, {3, 1000, 16, 24}},
        {{3, 1000, 3, 0}, S_OK, {3, 1000, 4, 0}},   {{3, 1000, 0, 0}, S_OK, {3, 1000, 1, 0}},
        {{0, 1000, 1, 0}, VFW_E_SIZENOTSET, {}},    {{3, 0, 1, 0}, VFW_E_SIZENOTSET, {}},
        {{-1, -1, 1, 0}, VFW_E_SIZENOTSET, {}},
    };
    for (const auto& row : rows)
    {
        ALLOCATOR_PROPERTIES request = row.request, actual = {9, 9, 9, 9}, before{}, now{};
        ASSERT_EQ(m_spAllocator->GetProperties(&before), S_OK);
        EXPECT_EQ(m_spAllocator->SetProperties(&request, &actual), row.hr);
        EXPECT_EQ(memcmp(&actual, &row.actual, sizeof(actual)), 0);
        ASSERT_EQ(m_spAllocator->GetProperties(&now), S_OK);
        EXPECT_EQ(memcmp(&now, SUCCEEDED(row.hr) ? &row.actual : &before, sizeof(now)), 0);
    }
}

TEST_F(Allocator, GetBufferInEachState)
{
    CComPtr<IMediaSample> sp1, sp2;
    LONG nFree = 7;
    EXPECT_EQ(Get(sp1), VFW_E_NOT_COMMITTED);
    EXPECT_EQ(m_spAllocator->GetBuffer(&sp1, nullptr, nullptr, 0), VFW_E_NOT_COMMITTED); // nor does it wait
    EXPECT_EQ(Free(nFree), VFW_E_NOT_COMMITTED);
    EXPECT_EQ(nFree, 0);

    // Paused and running: the peer keeps the worker's sample, and one is left.
    m_sink.m_pin.m_gate.Close();
    ASSERT_EQ(Filter().Pause(), S_OK);
    for (const bool bRun : {false, true})
    {
        if (bRun)
        {
            ASSERT_EQ(Filter().Run(0), S_OK);
        }
        ASSERT_TRUE(m_sink.m_pin.m_gate.WaitForWaiting());
        EXPECT_EQ(Free(nFree), S_OK);
        EXPECT_EQ(nFree, 1);
        ASSERT_EQ(Get(sp1), S_OK);
        EXPECT_EQ(sp1->GetSize(), g_cbFrame);
        EXPECT_EQ(Get(sp2), VFW_E_TIMEOUT);
        EXPECT_EQ(sp2.p, nullptr);
        sp1.Release();
        EXPECT_EQ(Free(nFree), S_OK);
        EXPECT_EQ(nFree, 1);
    }
    m_sink.m_pin.m_gate.Open();
    ASSERT_EQ(Filter().Stop(), S_OK);
    EXPECT_EQ(Get(sp1), VFW_E_NOT_COMMITTED);
}

TEST_F(Allocator, CommitAndDecommitTwice)
{
    CComPtr<IMediaSample> sp1, sp2, sp3;
    LONG nFree = 7;
    const ULONG nRefs = Refs(m_spAllocator.p);
    EXPECT_EQ(m_spAllocator->Decommit(), S_OK);
    EXPECT_EQ(Refs(m_spAllocator.p), nRefs);
    for (int i = 0; i < 3; i++)
    {
        EXPECT_EQ(m_spAllocator->Commit(), S_OK);
        EXPECT_EQ(Refs(m_spAllocator.p), nRefs + 1); // committed, it holds itself
        EXPECT_EQ(m_spAllocator->Commit(), S_OK);
        EXPECT_EQ(Refs(m_spAllocator.p), nRefs + 1);
        EXPECT_EQ(Free(nFree), S_OK);
        EXPECT_EQ(nFree, 2);
        ASSERT_EQ(Get(sp1), S_OK);
        ASSERT_EQ(Get(sp2), S_OK);
        EXPECT_NE(sp1.p, sp2.p);
        EXPECT_EQ(Get(sp3), VFW_E_TIMEOUT);
        EXPECT_EQ(m_spAllocator->Commit(), S_OK); // with samples out it changes nothing
        EXPECT_EQ(Refs(sp1.p), 1u);
        EXPECT_EQ(ReleaseLast(sp1), 0u);
        EXPECT_EQ(ReleaseLast(sp2), 0u);
        EXPECT_EQ(m_spAllocator->Decommit(), S_OK);
        EXPECT_EQ(Refs(m_spAllocator.p), nRefs);
        EXPECT_EQ(m_spAllocator->Decommit(), S_OK);
        EXPECT_EQ(Refs(m_spAllocator.p), nRefs);
        EXPECT_EQ(Get(sp1), VFW_E_NOT_COMMITTED);
    }
}

TEST_F(Allocator, SamplesThatOutliveTheDecommit)
{
    const ULONG nRefs = Refs(m_spAllocator.p);
    CComPtr<IMediaSample> sp1, sp2, sp3;
    ALLOCATOR_PROPERTIES request = {2, 100, 1, 0}, actual{};
    EXPECT_EQ(m_spAllocator->Commit(), S_OK);
    ASSERT_EQ(Get(sp1), S_OK);
    ASSERT_EQ(Get(sp2), S_OK);
    EXPECT_EQ(m_spAllocator->Decommit(), S_OK);
    EXPECT_EQ(Get(sp3), VFW_E_NOT_COMMITTED);
    EXPECT_EQ(m_spAllocator->SetProperties(&request, &actual), VFW_E_BUFFERS_OUTSTANDING);
    EXPECT_EQ(Refs(m_spAllocator.p), nRefs + 1);
    // Their memory stays.
    BYTE* pb = nullptr;
    ASSERT_EQ(sp1->GetPointer(&pb), S_OK);
    memset(pb, 0x5A, static_cast<size_t>(sp1->GetSize()));
    EXPECT_EQ(sp1->SetActualDataLength(sp1->GetSize()), S_OK);
    EXPECT_EQ(ReleaseLast(sp1), 0u);
    EXPECT_EQ(Refs(m_spAllocator.p), nRefs + 1);
    EXPECT_EQ(ReleaseLast(sp2), 0u);
    EXPECT_EQ(Refs(m_spAllocator.p), nRefs);
    EXPECT_EQ(m_spAllocator->SetProperties(&request, &actual), S_OK);

    // A commit while one is out stands again.
    EXPECT_EQ(m_spAllocator->Commit(), S_OK);
    ASSERT_EQ(Get(sp1), S_OK);
    EXPECT_EQ(m_spAllocator->Decommit(), S_OK);
    EXPECT_EQ(m_spAllocator->Commit(), S_OK);
    EXPECT_EQ(Refs(m_spAllocator.p), nRefs + 1);
    ASSERT_EQ(Get(sp2), S_OK);
    EXPECT_EQ(Get(sp3), VFW_E_TIMEOUT);
    sp1.Release();
    sp2.Release();
    EXPECT_EQ(m_spAllocator->Decommit(), S_OK);
    EXPECT_EQ(Refs(m_spAllocator.p), nRefs);
}

/// The whole chain may go while the peer still has a sample of it.
TEST_F(Allocator, ASampleThatOutlivesTheFilter)
{
    m_sink.m_pin.m_bHold = true;
    m_log.Clear();
    ASSERT_EQ(Filter().Run(0), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.Receive", 2));
    ASSERT_EQ(Filter().Stop(), S_OK);
    Disconnect();
    EXPECT_EQ(Filter().JoinFilterGraph(nullptr, nullptr), S_OK);
    m_spControl.Release();
    m_spConfig.Release();
    EXPECT_EQ(ReleaseLast(m_spFilter), 0u);
    EXPECT_EQ(ReleaseLast(m_spPin), 0u);
    m_spAllocator.Release();
    EXPECT_EQ(CanUnloadNow(), S_FALSE); // its code is still needed
    m_sink.m_pin.ReleaseSamples();
    EXPECT_EQ(CanUnloadNow(), S_OK);
}

/// A thread that waits for a buffer gets one that comes back, and an answer when the allocator is
/// decommitted.
TEST_F(Allocator, WaitingForABuffer)
{
    CComPtr<IMediaSample> sp1, sp2;
    ASSERT_EQ(m_spAllocator->Commit(), S_OK);
    ASSERT_EQ(Get(sp1), S_OK);
    ASSERT_EQ(Get(sp2), S_OK);
    for (const bool bDecommit : {false, true})
    {
        m_trace.Clear();
        HRESULT hr = E_UNEXPECTED;
        CComPtr<IMediaSample> spGot;
        std::thread thread([&] { hr = m_spAllocator->GetBuffer(&spGot, nullptr, nullptr, 0); });
        EXPECT_TRUE(m_trace.WaitFor(eTL_Main, "[Allocator] Allocator busy, waiting = YES\n"));
        if (bDecommit)
        {
            EXPECT_EQ(m_spAllocator->Decommit(), S_OK);
        }
        else
            sp2.Release();
        thread.join();
        EXPECT_EQ(hr, bDecommit ? VFW_E_NOT_COMMITTED : S_OK);
        sp2 = spGot;
        spGot.Release();
    }
}

TEST_F(Allocator, TellsOfSamplesThatComeBack)
{
    CountedNotify notified;
    EXPECT_EQ(m_spAllocator->SetNotify(&notified), S_OK);
    EXPECT_EQ(notified.m_nRefs, 1);
    CComPtr<IMediaSample> sp1, sp2;
    ASSERT_EQ(m_spAllocator->Commit(), S_OK);
    ASSERT_EQ(Get(sp1), S_OK);
    ASSERT_EQ(Get(sp2), S_OK);
    sp1.Release();
    EXPECT_EQ(notified.m_nCalls, 1);
    EXPECT_EQ(m_spAllocator->Decommit(), S_OK);
    sp2.Release();
    EXPECT_EQ(notified.m_nCalls, 2);
    EXPECT_EQ(m_spAllocator->SetNotify(nullptr), S_OK);
    EXPECT_EQ(notified.m_nRefs, 0);
}

/// Times, flags and lengths of a sample in every combination.
class Sample : public Allocator
{
protected:
    void SetUp() override
    {
        Allocator::SetUp();
        ASSERT_EQ(m_spAllocator->Commit(), S_OK);
        ASSERT_EQ(Get(m_spSample), S_OK);
    }
    void TearDown() override
    {
        m_spSample.Release();
        m_spAllocator->Decommit();
        Allocator::TearDown();
    }
    CComPtr<IMediaSample> m_spSample;
};

TEST_F(Sample, IsFresh)
{
    // Whatever the one before had.
    REFERENCE_TIME tS = 5, tE = 9;
    EXPECT_EQ(m_spSample->SetTime(&tS, &tE), S_OK);
    EXPECT_EQ(m_spSample->SetMediaTime(&tS, &tE), S_OK);
    EXPECT_EQ(m_spSample->SetSyncPoint(TRUE), S_OK);
    EXPECT_EQ(m_spSample->SetActualDataLength(5), S_OK);
    ASSERT_EQ(Get(m_spSample), S_OK);
    tS = tE = 77;
    EXPECT_EQ(m_spSample->GetTime(&tS, &tE), VFW_E_SAMPLE_TIME_NOT_SET);
    EXPECT_EQ(tS, 77); // left alone
    EXPECT_EQ(m_spSample->GetMediaTime(&tS, &tE), VFW_E_MEDIA_TIME_NOT_SET);
    EXPECT_EQ(tS, 0); // deliberately not
    EXPECT_EQ(tE, 0);
    EXPECT_EQ(m_spSample->IsSyncPoint(), S_FALSE);
    EXPECT_EQ(m_spSample->IsPreroll(), S_FALSE);
    EXPECT_EQ(m_spSample->IsDiscontinuity(), S_FALSE);
    EXPECT_EQ(m_spSample->GetActualDataLength(), 0);
    EXPECT_EQ(m_spSample->GetSize(), g_cbFrame);
    AM_MEDIA_TYPE* pmt = nullptr;
    EXPECT_EQ(m_spSample->GetMediaType(&pmt), S_FALSE);
    EXPECT_EQ(pmt, nullptr);
}

TEST_F(Sample, MatrixOfTimes)
{
    const REFERENCE_TIME values[] = {-400000, -1, 0, 1, 400000, 0x7FFFFFFFFFFFFFFE};
    for (REFERENCE_TIME tS : values)
    {
        REFERENCE_TIME tGotS = 77, tGotE = 77;
        EXPECT_EQ(m_spSample->SetTime(&tS, nullptr), S_OK);
        EXPECT_EQ(m_spSample->GetTime(&tGotS, &tGotE), VFW_S_NO_STOP_TIME);
        EXPECT_EQ(tGotS, tS);
        EXPECT_EQ(tGotE, tS + 1);
        for (REFERENCE_TIME tE : values)
        {
            EXPECT_EQ(m_spSample->SetTime(nullptr, nullptr), S_OK);
            EXPECT_EQ(m_spSample->SetTime(&tS, &tE), tE >= tS ? S_OK : E_INVALIDARG);
            EXPECT_EQ(m_spSample->GetTime(&tGotS, &tGotE), tE >= tS ? S_OK : VFW_E_SAMPLE_TIME_NOT_SET);
            if (tE >= tS)
            {
                EXPECT_EQ(tGotS, tS);
                EXPECT_EQ(tGotE, tE);
            }
            EXPECT_EQ(m_spSample->SetMediaTime(nullptr, nullptr), S_OK);
            EXPECT_EQ(m_spSample->SetMediaTime(&tS, nullptr), E_INVALIDARG);
            EXPECT_EQ(m_spSample->SetMediaTime(&tS, &tE), tE >= tS ? S_OK : E_INVALIDARG);
            EXPECT_EQ(m_spSample->GetMediaTime(&tGotS, &tGotE), tE >= tS ? S_OK : VFW_E_MEDIA_TIME_NOT_SET);
            EXPECT_EQ(tGotS, tE >= tS ? tS : 0);
            EXPECT_EQ(tGotE, tE >= tS ? tE : 0);
        }
    }
}

/// Each flag keeps to itself, through both interfaces.
TEST_F(Sample, MatrixOfFlags)
{
    const CComPtr<IMediaSample2> sp2 = Interface<IMediaSample2>(m_spSample);
    ASSERT_TRUE(sp2);
    REFERENCE_TIME tS = 10, tE = 20;
    const CMType mt = HostType(SubtypeOf(eQGFCC_RGB32), 16, 8);
    constexpr std::pair<int, DWORD> arrFlags[] = {
        {0, AM_SAMPLE_SPLICEPOINT}, {1, AM_SAMPLE_PREROLL},   {2, AM_SAMPLE_DATADISCONTINUITY},
        {3, AM_SAMPLE_TIMEVALID},   {3, AM_SAMPLE_STOPVALID}, {5, AM_SAMPLE_TYPECHANGED}};
    for (int nCase = 0; nCase < 64; nCase++)
    {
        const auto bit = [nCase](int n) { return (nCase >> n & 1) != 0; };
        CMType mtSet(mt);
        EXPECT_EQ(m_spSample->SetSyncPoint(bit(0)), S_OK);
        EXPECT_EQ(m_spSample->SetPreroll(bit(1)), S_OK);
        EXPECT_EQ(m_spSample->SetDiscontinuity(bit(2)), S_OK);
        EXPECT_EQ(m_spSample->SetTime(bit(3) ? &tS : nullptr, bit(3) ? &tE : nullptr), S_OK);
        EXPECT_EQ(m_spSample->SetMediaTime(bit(4) ? &tS : nullptr, bit(4) ? &tE : nullptr), S_OK);
        EXPECT_EQ(m_spSample->SetMediaType(bit(5) ? &mtSet : nullptr), S_OK);

        EXPECT_EQ(m_spSample->IsSyncPoint(), bit(0) ? S_OK : S_FALSE);
        EXPECT_EQ(m_spSample->IsPreroll(), bit(1) ? S_OK : S_FALSE);
        EXPECT_EQ(m_spSample->IsDiscontinuity(), bit(2) ? S_OK : S_FALSE);
        REFERENCE_TIME tGotS = 0, tGotE = 0;
        EXPECT_EQ(m_spSample->GetTime(&tGotS, &tGotE), bit(3) ? S_OK : VFW_E_SAMPLE_TIME_NOT_SET);
        EXPECT_EQ(m_spSample->GetMediaTime(&tGotS, &tGotE), bit(4) ? S_OK : VFW_E_MEDIA_TIME_NOT_SET);
        AM_MEDIA_TYPE* pmt = nullptr;
        EXPECT_EQ(m_spSample->GetMediaType(&pmt), bit(5) ? S_OK : S_FALSE);
        EXPECT_EQ(pmt != nullptr, bit(5));
        if (pmt != nullptr)
        {
            EXPECT_TRUE(MTEqual(pmt, &mt));
            MTDelete(pmt);
        }
        AM_SAMPLE2_PROPERTIES props{};
        EXPECT_EQ(sp2->GetProperties(sizeof(props), reinterpret_cast<BYTE*>(&props)), S_OK);
        EXPECT_EQ(props.cbData, sizeof(props));
        // Media times show nowhere in the record.
        DWORD dwExpected = 0;
        for (const auto& [nBit, dwFlags] : arrFlags)
            dwExpected |= bit(nBit) ? dwFlags : 0;
        EXPECT_EQ(props.dwSampleFlags, dwExpected);
        EXPECT_EQ(props.tStart, bit(3) ? tS : 0);
        EXPECT_EQ(props.tStop, bit(3) ? tE : 0);
        EXPECT_EQ(props.pMediaType != nullptr, bit(5));
        EXPECT_EQ(props.cbBuffer, g_cbFrame);

        // The record goes back as it came.
        EXPECT_EQ(m_spSample->SetSyncPoint(!bit(0)), S_OK);
        EXPECT_EQ(m_spSample->SetTime(nullptr, nullptr), S_OK);
        CMType mtRecord(props.pMediaType);
        props.pMediaType = bit(5) ? &mtRecord : nullptr;
        EXPECT_EQ(sp2->SetProperties(sizeof(props), reinterpret_cast<const BYTE*>(&props)), S_OK);
        EXPECT_EQ(m_spSample->IsSyncPoint(), bit(0) ? S_OK : S_FALSE);
        EXPECT_EQ(m_spSample->GetTime(&tGotS, &tGotE), bit(3) ? S_OK : VFW_E_SAMPLE_TIME_NOT_SET);
        EXPECT_EQ(m_spSample->GetMediaTime(&tGotS, &tGotE), bit(4) ? S_OK : VFW_E_MEDIA_TIME_NOT_SET);
    }
}

TEST_F(Sample, MatrixOfLengths)
{
    const CComPtr<IMediaSample2> sp2 = Interface<IMediaSample2>(m_spSample);
    ASSERT_TRUE(sp2);
    LONG lBefore = 0;
    for (const LONG l :
         {LONG{0}, LONG{1}, g_cbFrame - 1, g_cbFrame, g_cbFrame + 1, LONG{0x7FFFFFFF}, LONG{-1}})
    {
        const bool bFits = l <= g_cbFrame; // deliberately, a negative one does
        EXPECT_EQ(m_spSample->SetActualDataLength(l), bFits ? S_OK : VFW_E_BUFFER_OVERFLOW) << l;
        EXPECT_EQ(m_spSample->GetActualDataLength(), bFits ? l : lBefore) << l;
        lBefore = m_spSample->GetActualDataLength();
        AM_SAMPLE2_PROPERTIES props{};
        EXPECT_EQ(sp2->GetProperties(sizeof(props), reinterpret_cast<BYTE*>(&props)), S_OK);
        EXPECT_EQ(props.lActual, lBefore);
        props.lActual = l;
        EXPECT_EQ(sp2->SetProperties(sizeof(props), reinterpret_cast<const BYTE*>(&props)),
                  bFits ? S_OK : E_INVALIDARG)
            << l;
        EXPECT_EQ(m_spSample->GetActualDataLength(), lBefore) << l;
    }
    // Records that are refused.
    AM_SAMPLE2_PROPERTIES props{};
    EXPECT_EQ(sp2->GetProperties(sizeof(props), reinterpret_cast<BYTE*>(&props)), S_OK);
    for (const DWORD dwFlag : {DWORD{0x20}, DWORD{AM_SAMPLE_ENDOFSTREAM}, DWORD{0x80000000}})
    {
        AM_SAMPLE2_PROPERTIES wrong = props;
        wrong.dwSampleFlags |= dwFlag;
        EXPECT_EQ(sp2->SetProperties(sizeof(wrong), reinterpret_cast<const BYTE*>(&wrong)), E_INVALIDARG);
    }
    AM_SAMPLE2_PROPERTIES wrong = props;
    wrong.pbBuffer++;
    EXPECT_EQ(sp2->SetProperties(sizeof(wrong), reinterpret_cast<const BYTE*>(&wrong)), E_INVALIDARG);
    wrong = props;
    wrong.cbBuffer++;
    EXPECT_EQ(sp2->SetProperties(sizeof(wrong), reinterpret_cast<const BYTE*>(&wrong)), E_INVALIDARG);
}

} // namespace
