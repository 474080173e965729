#pragma once
/// The filter's own allocator, opened for tests.

#include "dstl/dshowx/memory/GreedAllocator.h"
#include "memory/MemoryCalls.h"
#include "memory/TraceTap.h"
#include "support/CountedNotify.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

using Lines = std::vector<std::string>;
using Greedy = CComObject<CGreedMemoryAllocator>;

using PropsTuple = std::tuple<LONG, LONG, LONG, LONG>;

inline PropsTuple AsTuple(const ALLOCATOR_PROPERTIES& rg)
{
    return {rg.cBuffers, rg.cbBuffer, rg.cbAlign, rg.cbPrefix};
}

/// One allocator. At the end nothing of it is left.
class AllocatorFixture : public testing::Test
{
protected:
    AllocatorFixture() { EXPECT_EQ(DSTLCreateObject(&m_spAlloc.p), S_OK); }
    ~AllocatorFixture() override
    {
        m_spAlloc.Release();
        EXPECT_EQ(_Module.GetLockCount(), 0) << "the allocator is still there";
        EXPECT_EQ(GetHeldPages().nBlocks, 0);
    }

    Greedy& Alloc() { return *m_spAlloc.p; }
    eAllocState State() { return Alloc().m_eState; }
    /// Properties and commit.
    void CommitWith(const ALLOCATOR_PROPERTIES& rgRequest)
    {
        ALLOCATOR_PROPERTIES rgProps = rgRequest, rgActual = {};
        ASSERT_EQ(Alloc().SetProperties(&rgProps, &rgActual), S_OK);
        ASSERT_EQ(Alloc().Commit(), S_OK);
    }
    HRESULT Get(CComPtr<IMediaSample>& spSample, DWORD dwFlags = AM_GBF_NOWAIT)
    {
        spSample.Release();
        return Alloc().GetBuffer(&spSample, nullptr, nullptr, dwFlags);
    }
    /// References on the allocator, the test's own one included.
    LONG Refs() { return Alloc().m_dwRef; }

    AssertCapture m_asserts;
    CComPtr<Greedy> m_spAlloc;
};
