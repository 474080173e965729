// What the allocator promises beyond its table of states.
#include "memory/AllocatorUnderTest.h"
#include "support/CallLog.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace
{
class GreedAllocatorTest : public AllocatorFixture
{
protected:
    HRESULT Set(const ALLOCATOR_PROPERTIES& rg)
    {
        ALLOCATOR_PROPERTIES rgRequest = rg;
        m_rgActual = {9, 9, 9, 9};
        return Alloc().SetProperties(&rgRequest, &m_rgActual);
    }
    ALLOCATOR_PROPERTIES m_rgActual;
};

TEST_F(GreedAllocatorTest, Create)
{
    CComPtr<IMemAllocator> spAlloc;
    EXPECT_EQ(CGreedMemoryAllocator::Create(&spAlloc), S_OK);
    ASSERT_TRUE(spAlloc);
    CComPtr<IUnknown> spUnknown1, spUnknown2;
    CComPtr<IMemAllocatorCallbackTemp> spCallback;
    CComPtr<IMemAllocatorEx> spEx;
    EXPECT_EQ(spAlloc->QueryInterface(&spUnknown1), S_OK);
    EXPECT_EQ(spAlloc->QueryInterface(&spCallback), S_OK);
    EXPECT_EQ(spAlloc->QueryInterface(&spEx), S_OK);
    EXPECT_EQ(spEx->QueryInterface(&spUnknown2), S_OK);
    EXPECT_EQ(spUnknown1, spUnknown2);
    for (const IID* piid : {&IID_IMediaSample, &IID_IPin, &IID_IDispatch, &GUID_NULL})
    {
        void* pv = reinterpret_cast<void*>(1);
        EXPECT_EQ(spAlloc->QueryInterface(*piid, &pv), E_NOINTERFACE);
        EXPECT_EQ(pv, nullptr);
    }
    EXPECT_EQ(m_asserts.Texts(), Lines{});
    EXPECT_EQ(CGreedMemoryAllocator::Create(nullptr), E_POINTER);
    EXPECT_EQ(m_asserts.Texts(), Lines{"ppAllocator != NULL"});
}

TEST_F(GreedAllocatorTest, Fresh)
{
    EXPECT_EQ(State(), AS_Init);
    EXPECT_EQ(Refs(), 1);
    EXPECT_EQ(AsTuple(Alloc().m_rgProps), PropsTuple(0, 0, 1, 0));
    EXPECT_EQ(std::wstring(Alloc().GetClassName()), L"CGreedMemoryAllocator");
}

TEST_F(GreedAllocatorTest, NullArguments)
{
    ALLOCATOR_PROPERTIES rg = {1, 1, 1, 0};
    EXPECT_EQ(Alloc().SetProperties(nullptr, &rg), E_POINTER);
    EXPECT_EQ(Alloc().SetProperties(&rg, nullptr), E_POINTER);
    EXPECT_EQ(Alloc().GetProperties(nullptr), E_POINTER);
    EXPECT_EQ(Alloc().GetBuffer(nullptr, nullptr, nullptr, 0), E_POINTER);
    EXPECT_EQ(Alloc().ReleaseBuffer(nullptr), E_POINTER);
    EXPECT_EQ(Alloc().GetFreeCount(nullptr), E_POINTER);
    EXPECT_EQ(Alloc().CreateSample(nullptr), E_POINTER);
    EXPECT_EQ(m_asserts.Texts(),
              (Lines{"pRequest != NULL", "pActual != NULL", "pProps != NULL", "ppSample != NULL",
                     "pSample != NULL", "plBuffersFree != NULL", "ppSample != NULL"}));
    EXPECT_EQ(State(), AS_Init);
}

TEST_F(GreedAllocatorTest, PropertiesAreCorrectedAndMaySetAgain)
{
    EXPECT_EQ(Set({3, 1000, 16, 0}), S_OK);
    EXPECT_EQ(AsTuple(m_rgActual), PropsTuple(3, 1008, 16, 0));
    EXPECT_EQ(Set({4, 1000, 0, 24}), S_OK);
    EXPECT_EQ(AsTuple(m_rgActual), PropsTuple(4, 1000, 1, 24));
    // One record for both.
    ALLOCATOR_PROPERTIES rg = {2, 10, 3, 0};
    EXPECT_EQ(Alloc().SetProperties(&rg, &rg), S_OK);
    EXPECT_EQ(AsTuple(rg), PropsTuple(2, 12, 4, 0));
    ASSERT_EQ(Alloc().Commit(), S_OK);
    CComPtr<IMediaSample> spSample;
    ASSERT_EQ(Get(spSample), S_OK);
    EXPECT_EQ(spSample->GetSize(), 12);
    spSample.Release();
    EXPECT_EQ(Alloc().Decommit(), S_OK);
    EXPECT_EQ(m_asserts.Texts(), Lines{});
}

/// What is refused is told as zeros, and what was set stays.
TEST_F(GreedAllocatorTest, RefusedProperties)
{
    const struct
    {
        ALLOCATOR_PROPERTIES rg;
        HRESULT hr;
    } rows[] = {{{0, 100, 1, 0}, VFW_E_SIZENOTSET},
                {{1, 0, 1, 0}, VFW_E_SIZENOTSET},
                {{1, 100, -4, 0}, VFW_E_BADALIGN}};
    EXPECT_EQ(Set({3, 100, 1, 0}), S_OK);
    for (const auto& row : rows)
    {
        EXPECT_EQ(Set(row.rg), row.hr);
        EXPECT_EQ(AsTuple(m_rgActual), PropsTuple(0, 0, 0, 0));
        EXPECT_EQ(AsTuple(Alloc().m_rgProps), PropsTuple(3, 100, 1, 0));
        EXPECT_EQ(State(), AS_Prop);
    }
    EXPECT_EQ(m_asserts.Reports().size(), std::size(rows));
}

TEST_F(GreedAllocatorTest, PartialAndCommitted)
{
    CommitWith({2, 100, 1, 0});
    EXPECT_EQ(State(), AS_Committed);
    EXPECT_EQ(Refs(), 2);
    CComPtr<IMediaSample> spSample1, spSample2;
    ASSERT_EQ(Get(spSample1), S_OK);
    EXPECT_EQ(State(), AS_Partial);
    ASSERT_EQ(Get(spSample2), S_OK);
    EXPECT_EQ(Refs(), 2) << "samples hold no reference";
    spSample1.Release();
    EXPECT_EQ(State(), AS_Partial);
    spSample2.Release();
    EXPECT_EQ(State(), AS_Committed);
    EXPECT_EQ(Alloc().Commit(), S_OK);
    EXPECT_EQ(Refs(), 2) << "a second commit holds no second reference";
    EXPECT_EQ(Alloc().Decommit(), S_OK);
    EXPECT_EQ(State(), AS_Prop);
    EXPECT_EQ(Refs(), 1);
    EXPECT_EQ(GetHeldPages().nBlocks, 0);
    EXPECT_EQ(m_asserts.Texts(), Lines{});
}

/// A decommit that finds buffers out ends with the last of them, and keeps one warm buffer until the next
/// commit.
TEST_F(GreedAllocatorTest, LateDecommit)
{
    CommitWith({4, 100, 1, 0});
    CComPtr<IMediaSample> spSample1, spSample2, spNone;
    ASSERT_EQ(Get(spSample1), S_OK);
    ASSERT_EQ(Get(spSample2), S_OK);
    EXPECT_EQ(Alloc().Decommit(), S_OK);
    EXPECT_EQ(State(), AS_Decommitting);
    EXPECT_EQ(Get(spNone), VFW_E_NOT_COMMITTED);
    spSample1.Release();
    EXPECT_EQ(State(), AS_Decommitting);
    EXPECT_EQ(Refs(), 2);
    spSample2.Release();
    EXPECT_EQ(State(), AS_Prop);
    EXPECT_EQ(Refs(), 1);
    EXPECT_EQ(GetHeldPages().nBlocks, 1);
    EXPECT_EQ(Alloc().m_samples.m_nAll, 4u);
    EXPECT_EQ(Alloc().Decommit(), S_OK);
    EXPECT_EQ(GetHeldPages().nBlocks, 1) << "a decommit of what is not committed frees nothing";
    EXPECT_EQ(Alloc().Commit(), S_OK);
    EXPECT_EQ(GetHeldPages().nBlocks, 2);
    EXPECT_EQ(Alloc().Decommit(), S_OK);
    EXPECT_EQ(GetHeldPages().nBlocks, 0);
    EXPECT_EQ(m_asserts.Texts(), Lines{});
}

TEST_F(GreedAllocatorTest, BusyWithoutWaiting)
{
    CommitWith({1, 100, 1, 0});
    CComPtr<IMediaSample> spSample, spNone;
    ASSERT_EQ(Get(spSample), S_OK);
    LogCapture log;
    EXPECT_EQ(Get(spNone), VFW_E_TIMEOUT);
    EXPECT_EQ(State(), AS_Waiting);
    EXPECT_EQ(log.Texts(8), Lines{"[Allocator] Allocator busy, waiting = NO\n"});
    EXPECT_EQ(Get(spNone), VFW_E_TIMEOUT);
    EXPECT_EQ(log.Texts(8).size(), 1u) << "the second does not look at the stack";
    spSample.Release();
    EXPECT_EQ(State(), AS_Committed);
    EXPECT_EQ(Get(spSample), S_OK);
    spSample.Release();
    EXPECT_EQ(Alloc().Decommit(), S_OK);
}

TEST_F(GreedAllocatorTest, TheTypeRidesOnOneSample)
{
    const CMType mt(MEDIATYPE_Video, MEDIASUBTYPE_YUY2);
    EXPECT_EQ(Alloc().SetMediaType(&mt), S_OK);
    CommitWith({2, 100, 1, 0});
    EXPECT_EQ(Alloc().Decommit(), S_OK);
    EXPECT_EQ(Alloc().Commit(), S_OK);
    CComPtr<IMediaSample> spSample1, spSample2;
    ASSERT_EQ(Get(spSample1), S_OK);
    ASSERT_EQ(Get(spSample2), S_OK);
    AM_MEDIA_TYPE* pmt = nullptr;
    EXPECT_EQ(spSample1->GetMediaType(&pmt), S_OK);
    EXPECT_TRUE(MTEqual(pmt, &mt));
    MTDelete(pmt);
    EXPECT_EQ(spSample2->GetMediaType(&pmt), S_FALSE);
    spSample1.Release();
    ASSERT_EQ(Get(spSample1), S_OK);
    EXPECT_EQ(spSample1->GetMediaType(&pmt), S_FALSE) << "nothing of a sample survives";
    // Null takes back what was set.
    EXPECT_EQ(Alloc().SetMediaType(&mt), S_OK);
    EXPECT_EQ(Alloc().SetMediaType(nullptr), S_OK);
    spSample1.Release();
    ASSERT_EQ(Get(spSample1), S_OK);
    EXPECT_EQ(spSample1->GetMediaType(&pmt), S_FALSE);
    EXPECT_EQ(m_asserts.Texts(), Lines{});

    // A malformed type is refused, and what was set stays.
    EXPECT_EQ(Alloc().SetMediaType(&mt), S_OK);
    AM_MEDIA_TYPE mtBad = {};
    mtBad.cbFormat = 4;
    EXPECT_EQ(Alloc().SetMediaType(&mtBad), E_UNEXPECTED);
    EXPECT_EQ(m_asserts.Texts(), (Lines{"pmt->cbFormat == 0", "hr == S_OK"}));
    EXPECT_TRUE(MTEqual(&Alloc().m_mtNext, &mt));
    spSample1.Release();
    spSample2.Release();
    EXPECT_EQ(Alloc().Decommit(), S_OK);
}

TEST_F(GreedAllocatorTest, NoLockIsHeldWhileTheClientIsNotified)
{
    // The client may wait for a thread that stops the stream, which decommits the allocator.
    CountedNotify notify;
    CommitWith({2, 64, 1, 0});
    ASSERT_EQ(Alloc().SetNotify(&notify), S_OK);
    CComPtr<IMediaSample> spSample;
    ASSERT_EQ(Get(spSample), S_OK);
    bool bFree = false;
    notify.m_onRelease = [&] { bFree = EndsInTime([&] { EXPECT_EQ(Alloc().Decommit(), S_OK); }); };
    spSample.Release();
    EXPECT_EQ(notify.m_nCalls, 1);
    EXPECT_TRUE(bFree) << "the client is notified under the allocator's lock";
    EXPECT_EQ(Alloc().SetNotify(nullptr), S_OK);
}

TEST_F(GreedAllocatorTest, Notification)
{
    CountedNotify notify1, notify2;
    EXPECT_EQ(Alloc().SetNotify(&notify1), S_OK);
    EXPECT_EQ(Alloc().SetNotify(&notify2), S_OK);
    EXPECT_EQ(notify1.m_nRefs, 0);
    EXPECT_EQ(notify2.m_nRefs, 1);
    CommitWith({2, 100, 1, 0});
    CComPtr<IMediaSample> spSample1, spSample2;
    ASSERT_EQ(Get(spSample1), S_OK);
    ASSERT_EQ(Get(spSample2), S_OK);
    spSample1.Release();
    EXPECT_EQ(notify2.m_nCalls, 1);
    EXPECT_EQ(Alloc().Decommit(), S_OK);
    EXPECT_EQ(notify2.m_nCalls, 1);
    spSample2.Release();
    EXPECT_EQ(notify2.m_nCalls, 2) << "the sample that ends a decommit notifies as well";
    EXPECT_EQ(notify1.m_nCalls, 0);
    EXPECT_EQ(Alloc().SetNotify(nullptr), S_OK);
    EXPECT_EQ(notify2.m_nRefs, 0);
    EXPECT_EQ(Alloc().SetNotify(&notify1), S_OK);
    m_spAlloc.Release();
    EXPECT_EQ(notify1.m_nRefs, 0) << "the allocator's end lets go";
}

/// The last outside reference on a committed allocator goes: a report, and it stays with its memory.
TEST_F(GreedAllocatorTest, NobodyDecommits)
{
    const std::string sReport =
        "###Err### CGreedMemoryAllocator::InternalRelease(): IMemAllocator::Decommit() isn't "
        "called, memory isn't freed\n";
    CommitWith({2, 100, 1, 0});
    Greedy* const pAlloc = m_spAlloc;
    CComPtr<IMediaSample> spSample;
    ASSERT_EQ(Get(spSample), S_OK);
    LogCapture log;
    m_spAlloc.Release();
    EXPECT_EQ(log.Texts(2), Lines{}) << "it is in use";
    spSample.Release();
    EXPECT_EQ(log.Texts(2), Lines{sReport});
    EXPECT_EQ(_Module.GetLockCount(), 1);
    EXPECT_EQ(GetHeldPages().nBlocks, 1);
    // Somebody finds it again.
    m_spAlloc = pAlloc;
    EXPECT_EQ(Alloc().Decommit(), S_OK);
}

TEST_F(GreedAllocatorTest, NoHeapInSteadyState)
{
    CommitWith({3, 5000, 1, 0});
    const auto round = [&]
    {
        CComPtr<IMediaSample> arrSamples[3];
        for (CComPtr<IMediaSample>& spSample : arrSamples)
            ASSERT_EQ(Get(spSample), S_OK);
    };
    round();
    const long nNew = MemoryCallCount(eMC_New), nTask = MemoryCallCount(eMC_TaskMem);
    for (int i = 0; i < 100; ++i)
        round();
    EXPECT_EQ(MemoryCallCount(eMC_New), nNew);
    EXPECT_EQ(MemoryCallCount(eMC_TaskMem), nTask);
    // With one buffer in flight there are no calls for pages either.
    const long nPages = MemoryCallCount(eMC_VirtualAlloc);
    CComPtr<IMediaSample> spSample;
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(Get(spSample), S_OK);
    EXPECT_EQ(MemoryCallCount(eMC_VirtualAlloc), nPages);
    spSample.Release();
    EXPECT_EQ(Alloc().Decommit(), S_OK);
}

/// A thread that waits in GetBuffer, as a test sees it.
class Waiter
{
public:
    explicit Waiter(IMemAllocator* pAlloc)
        : m_pAlloc(pAlloc), m_hThread(CreateThread(nullptr, 0, &Run, this, 0, nullptr))
    {
    }
    ~Waiter() { EXPECT_TRUE(HasEnded()); }
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    bool HasEnded(DWORD dwMilliseconds = nTestLimitMs)
    {
        return WaitForSingleObject(m_hThread, dwMilliseconds) == WAIT_OBJECT_0;
    }
    HRESULT Result() const { return m_hr; }
    CComPtr<IMediaSample> m_spSample;

private:
    static DWORD WINAPI Run(void* pv)
    {
        auto* const p = static_cast<Waiter*>(pv);
        p->m_hr = p->m_pAlloc->GetBuffer(&p->m_spSample, nullptr, nullptr, 0);
        return 0;
    }
    IMemAllocator* const m_pAlloc;
    std::atomic<HRESULT> m_hr = E_PENDING;
    CHandle m_hThread; // last: the thread begins when the rest is there
};

class WaitTest : public AllocatorFixture
{
protected:
    /// The number of callers that have announced a wait since the last release.
    void WaitForWaiters(DWORD nWaiters)
    {
        EXPECT_TRUE(EndsInTime(
            [&]
            {
                for (;;)
                {
                    {
                        CScopedLock lock(&Alloc());
                        if (AnnouncedWaiters() >= nWaiters)
                            return;
                    }
                    SwitchToThread();
                }
            }));
    }
    DWORD AnnouncedWaiters()
    {
        struct Open : CGreedMemoryAllocator
        {
            static DWORD Get(CGreedMemoryAllocator& a) { return a.*(&Open::m_nWaiters); }
        };
        return Open::Get(Alloc());
    }
};

TEST_F(WaitTest, DecommitWakes)
{
    CommitWith({1, 100, 1, 0});
    CComPtr<IMediaSample> spSample;
    ASSERT_EQ(Get(spSample), S_OK);
    Waiter waiter1(&Alloc()), waiter2(&Alloc());
    WaitForWaiters(2);
    EXPECT_EQ(Alloc().Decommit(), S_OK);
    EXPECT_TRUE(waiter1.HasEnded());
    EXPECT_TRUE(waiter2.HasEnded());
    EXPECT_EQ(waiter1.Result(), VFW_E_NOT_COMMITTED);
    EXPECT_EQ(waiter2.Result(), VFW_E_NOT_COMMITTED);
    EXPECT_FALSE(waiter1.m_spSample);
    spSample.Release();
    EXPECT_EQ(State(), AS_Prop);
}

/// Of several that wait exactly one gets the buffer, and the state says that the others wait on.
TEST_F(WaitTest, AReturnServesOne)
{
    CommitWith({1, 100, 1, 0});
    CComPtr<IMediaSample> spSample;
    ASSERT_EQ(Get(spSample), S_OK);
    Waiter waiter1(&Alloc()), waiter2(&Alloc()), waiter3(&Alloc());
    WaitForWaiters(3);
    LogCapture log;
    spSample.Release();
    WaitForWaiters(2); // the two that came too late have announced themselves again
    EXPECT_EQ(State(), AS_Waiting);
    EXPECT_TRUE(log.Has(8, "[Allocator] Allocator busy, waiting = YES\n"));
    Waiter* const arrWaiters[] = {&waiter1, &waiter2, &waiter3};
    for (int nLeft = 3; nLeft > 0; --nLeft)
    {
        Waiter* pServed = nullptr;
        EXPECT_TRUE(EndsInTime(
            [&]
            {
                while (pServed == nullptr)
                {
                    for (Waiter* p : arrWaiters)
                        pServed = p->Result() == S_OK && p->m_spSample ? p : pServed;
                    SwitchToThread();
                }
            }));
        int nServed = 0;
        for (Waiter* p : arrWaiters)
            nServed += p->Result() == S_OK && p->m_spSample;
        EXPECT_EQ(nServed, 1);
        EXPECT_TRUE(pServed->HasEnded());
        pServed->m_spSample.Release();
    }
    EXPECT_EQ(State(), AS_Committed);
    EXPECT_EQ(Alloc().Decommit(), S_OK);
}

/// ReleaseBuffer by hand moves the state and notifies; it wakes nobody.
TEST_F(WaitTest, ReleaseBufferByHandWakesNobody)
{
    CommitWith({1, 100, 1, 0});
    CComPtr<IMediaSample> spSample;
    ASSERT_EQ(Get(spSample), S_OK);
    Waiter waiter(&Alloc());
    WaitForWaiters(1);
    EXPECT_EQ(Alloc().ReleaseBuffer(spSample), S_OK);
    EXPECT_EQ(State(), AS_Partial);
    EXPECT_EQ(AnnouncedWaiters(), 1u);
    spSample.Release();
    EXPECT_TRUE(waiter.HasEnded());
    EXPECT_EQ(waiter.Result(), S_OK);
    waiter.m_spSample.Release();
    EXPECT_EQ(Alloc().Decommit(), S_OK);
}

/// Without its semaphore a wait ends in a failure; it would otherwise never end.
TEST_F(WaitTest, NoSemaphore)
{
    CommitWith({1, 100, 1, 0});
    CComPtr<IMediaSample> spSample, spNone;
    ASSERT_EQ(Get(spSample), S_OK);
    Alloc().m_hSem.Close();
    EXPECT_EQ(Alloc().GetBuffer(&spNone, nullptr, nullptr, 0), HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE));
    spSample.Release();
    EXPECT_EQ(m_asserts.Texts(), Lines{"m_hSem != NULL"});
    EXPECT_EQ(Alloc().Decommit(), S_OK);
}
} // namespace
