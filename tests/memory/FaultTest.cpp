// No memory, at every single call.
#include "memory/AllocatorUnderTest.h"

namespace
{
class FaultTest : public AllocatorFixture
{
};

/// A commit that fails leaves nothing behind, and the next one works.
TEST_F(FaultTest, Commit)
{
    ALLOCATOR_PROPERTIES rg = {5, 100, 1, 0}, rgActual = {};
    ASSERT_EQ(Alloc().SetProperties(&rg, &rgActual), S_OK);
    const struct
    {
        eMemoryCall eCall;
        long nCalls;                                  ///< that a commit makes
    } rows[] = {{eMC_New, 7}, {eMC_VirtualAlloc, 2}}; // array, five blocks, stack; two buffers
    for (const auto& row : rows)
    {
        for (long nAfter = 0; nAfter <= row.nCalls; ++nAfter)
        {
            SCOPED_TRACE(testing::Message() << "call " << nAfter << " of kind " << row.eCall);
            {
                const FailingMemory failing(row.eCall, nAfter);
                EXPECT_EQ(Alloc().Commit(), nAfter < row.nCalls ? E_OUTOFMEMORY : S_OK);
                EXPECT_EQ(failing.HasFailed(), nAfter < row.nCalls);
            }
            if (nAfter < row.nCalls)
            {
                EXPECT_EQ(State(), AS_Prop);
                EXPECT_EQ(Refs(), 1);
                EXPECT_EQ(GetHeldPages().nBlocks, 0);
                EXPECT_EQ(Alloc().Commit(), S_OK);
            }
            CComPtr<IMediaSample> spSample;
            EXPECT_EQ(Get(spSample), S_OK);
            spSample.Release();
            EXPECT_EQ(Alloc().Decommit(), S_OK);
        }
    }
    // Each failure while buffers are had is asserted, as the properties are forgotten before the slots.
    EXPECT_EQ(m_asserts.Texts(),
              (Lines{"m_rgAllocProps.cBuffers == nBuffers", "m_rgAllocProps.cBuffers == nBuffers"}));
}

TEST_F(FaultTest, Creation)
{
    CComPtr<IMemAllocator> spAlloc;
    const FailingMemory failing(eMC_New, 0);
    EXPECT_EQ(CGreedMemoryAllocator::Create(&spAlloc), E_OUTOFMEMORY);
    EXPECT_FALSE(spAlloc);
    EXPECT_TRUE(failing.HasFailed());
}

/// No memory for a further buffer looks like a busy allocator, and its slot is lost until the end of the
/// commit.
TEST_F(FaultTest, GetBufferWithSomeOut)
{
    CommitWith({4, 100, 1, 0});
    CComPtr<IMediaSample> spSample1, spSample2, spNone;
    ASSERT_EQ(Get(spSample1), S_OK);
    ASSERT_EQ(Get(spSample2), S_OK);
    {
        const FailingMemory failing(eMC_VirtualAlloc, 0);
        EXPECT_EQ(Get(spNone), VFW_E_TIMEOUT);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_EQ(State(), AS_Waiting);
    spSample1.Release();
    EXPECT_EQ(State(), AS_Partial);
    ASSERT_EQ(Get(spSample1), S_OK);
    spSample1.Release();
    spSample2.Release();
    EXPECT_EQ(State(), AS_Partial) << "one slot never comes home";
    LONG n = 0;
    EXPECT_EQ(Alloc().GetFreeCount(&n), S_OK);
    EXPECT_EQ(n, 3);
    EXPECT_EQ(Alloc().Decommit(), S_OK);
    EXPECT_EQ(State(), AS_Decommitting);
    EXPECT_EQ(Alloc().Commit(), S_OK);
    EXPECT_EQ(State(), AS_Partial);
    ASSERT_EQ(Get(spSample1), S_OK) << "a later commit works again";
    spSample1.Release();
    EXPECT_EQ(m_asserts.Texts(), Lines{});
    // Such an allocator would keep itself for ever: the test brings the slot home.
    Alloc().m_buffers.m_stackFree[Alloc().m_buffers.m_nFree++] = {};
    EXPECT_EQ(Alloc().Decommit(), S_OK);
    EXPECT_EQ(State(), AS_Prop);
}

/// With all buffers at home the state promises one: E_FAIL.
TEST_F(FaultTest, GetBufferWithNoneOut)
{
    CommitWith({3, 100, 1, 0});
    CComPtr<IMediaSample> spSample1, spSample2;
    ASSERT_EQ(Get(spSample1), S_OK);
    ASSERT_EQ(Get(spSample2), S_OK);
    spSample1.Release();
    spSample2.Release();
    EXPECT_EQ(State(), AS_Committed);
    // The warm buffer on top is taken away, so that the next one has to be had.
    CGreedArrayOnVirtualAlloc::FreeOne(Alloc().m_buffers.m_stackFree[2]);
    {
        const FailingMemory failing(eMC_VirtualAlloc, 0);
        EXPECT_EQ(Get(spSample1), E_FAIL);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_EQ(State(), AS_Committed);
    ASSERT_EQ(Get(spSample1), S_OK);
    EXPECT_EQ(State(), AS_Partial);
    spSample1.Release();
    EXPECT_EQ(State(), AS_Partial);
    Alloc().m_buffers.m_stackFree[Alloc().m_buffers.m_nFree++] = {};
    EXPECT_EQ(Alloc().Decommit(), S_OK);
}

/// No block for the sample: the buffer goes back.
TEST_F(FaultTest, NoBlock)
{
    CommitWith({2, 100, 1, 0});
    void* const p1 = Alloc().m_samples.Get();
    void* const p2 = Alloc().m_samples.Get();
    CComPtr<IMediaSample> spSample;
    for (long nAfter = 0; nAfter < 2; ++nAfter) // a wider array, a further block
    {
        const FailingMemory failing(eMC_New, nAfter);
        EXPECT_EQ(Get(spSample), E_OUTOFMEMORY);
        EXPECT_TRUE(failing.HasFailed());
        EXPECT_EQ(State(), AS_Committed);
        EXPECT_EQ(Alloc().FreeCount(), 2u);
    }
    EXPECT_EQ(m_asserts.Texts(), (Lines{"IMemAllocatorImpl::GetBuffer(): CreateSample() FAILED",
                                        "IMemAllocatorImpl::GetBuffer(): CreateSample() FAILED"}));
    EXPECT_EQ(Get(spSample), S_OK);
    spSample.Release();
    Alloc().m_samples.Put(p1);
    Alloc().m_samples.Put(p2);
    EXPECT_EQ(Alloc().Decommit(), S_OK);
}

/// The type that is to ride on a sample cannot be copied: the sample comes without it.
TEST_F(FaultTest, NoMemoryForTheType)
{
    CommitWith({1, 100, 1, 0});
    const CMType mt(MEDIATYPE_Video, MEDIASUBTYPE_RGB24);
    EXPECT_EQ(Alloc().SetMediaType(&mt), S_OK);
    CComPtr<IMediaSample> spSample;
    {
        const FailingMemory failing(eMC_TaskMem, 0);
        EXPECT_EQ(Get(spSample), S_OK);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_EQ(m_asserts.Texts(), (Lines{"MTDup() : CoTaskMemAlloc() == NULL", "hrT == S_OK"}));
    EXPECT_FALSE(Alloc().m_mtNext.IsDefined());
    AM_MEDIA_TYPE* pmt = nullptr;
    EXPECT_EQ(spSample->GetMediaType(&pmt), S_FALSE);
    spSample.Release();
    EXPECT_EQ(Alloc().Decommit(), S_OK);
}
} // namespace
