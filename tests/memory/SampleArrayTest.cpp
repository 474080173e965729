// The pool of blocks in which samples are built.
#include "dstl/dshowx/memory/SampleArray.h"
#include "memory/MemoryCalls.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>

namespace
{
using Lines = std::vector<std::string>;

constexpr size_t cbBlock = 200;

class SampleArrayTest : public testing::Test
{
protected:
    void ExpectCounts(DWORD nCapacity, DWORD nAll, DWORD nBusy) const
    {
        EXPECT_EQ(m_array.m_nCapacity, nCapacity);
        EXPECT_EQ(m_array.m_nAll, nAll);
        EXPECT_EQ(m_array.m_nBusy, nBusy);
    }
    AssertCapture m_asserts;
    CSampleArray m_array{cbBlock};
};

TEST_F(SampleArrayTest, Create)
{
    ExpectCounts(0, 0, 0);
    EXPECT_TRUE(m_array.Create(3));
    ExpectCounts(3, 3, 3);
    EXPECT_TRUE(m_array.Create(1));
    ExpectCounts(1, 1, 1);
    EXPECT_TRUE(m_array.Create(0));
    ExpectCounts(0, 0, 0);
    EXPECT_TRUE(m_array.Create(-7));
    ExpectCounts(0, 0, 0);
    EXPECT_EQ(m_array.m_ppArr, nullptr);
    EXPECT_EQ(m_asserts.Texts(), Lines{});
}

TEST_F(SampleArrayTest, BlocksAreZeroAndReused)
{
    EXPECT_TRUE(m_array.Create(2));
    auto* const p1 = static_cast<BYTE*>(m_array.Get());
    ExpectCounts(2, 2, 1);
    std::memset(p1, 0x55, cbBlock);
    m_array.Put(p1);
    ExpectCounts(2, 2, 2);
    auto* const p2 = static_cast<BYTE*>(m_array.Get());
    EXPECT_EQ(p1, p2) << "last in, first out";
    EXPECT_EQ(std::count(p2, p2 + cbBlock, 0), static_cast<ptrdiff_t>(cbBlock));
    m_array.Put(p2);
    EXPECT_EQ(m_asserts.Texts(), Lines{});
}

TEST_F(SampleArrayTest, Grows)
{
    // From nothing: 1, 2, 4, 8.
    std::vector<void*> blocks;
    const DWORD arrCapacity[] = {1, 2, 4, 4, 8};
    for (DWORD i = 0; i < 5; ++i)
    {
        blocks.push_back(m_array.Get());
        ExpectCounts(arrCapacity[i], i + 1, 0);
    }
    EXPECT_EQ(std::set<void*>(blocks.begin(), blocks.end()).size(), 5u);
    for (void* p : blocks)
        m_array.Put(p);
    ExpectCounts(8, 5, 5);
    m_array.Clear();
    ExpectCounts(0, 0, 0);
    EXPECT_EQ(m_asserts.Texts(), Lines{});
}

TEST_F(SampleArrayTest, NoHeapOnceItHasItsBlocks)
{
    EXPECT_TRUE(m_array.Create(4));
    const long nBefore = MemoryCallCount(eMC_New);
    void* arrBlocks[4];
    for (int i = 0; i < 100; ++i)
    {
        for (void*& p : arrBlocks)
            p = m_array.Get();
        for (void* p : arrBlocks)
            m_array.Put(p);
    }
    EXPECT_EQ(MemoryCallCount(eMC_New), nBefore);
}

TEST_F(SampleArrayTest, FailuresOfCreate)
{
    constexpr long nCalls = 4; // the array and three blocks
    for (long nAfter = 0; nAfter < nCalls; ++nAfter)
    {
        {
            const FailingMemory failing(eMC_New, nAfter);
            EXPECT_FALSE(m_array.Create(3)) << nAfter;
            EXPECT_TRUE(failing.HasFailed());
        }
        ExpectCounts(0, 0, 0);
        EXPECT_TRUE(m_array.Create(3));
    }
    const FailingMemory failing(eMC_New, nCalls);
    EXPECT_TRUE(m_array.Create(3));
    EXPECT_FALSE(failing.HasFailed());
    EXPECT_EQ(m_asserts.Texts(), Lines{});
}

TEST_F(SampleArrayTest, FailuresOfGrowing)
{
    for (long nAfter = 0; nAfter < 2; ++nAfter)
    {
        const FailingMemory failing(eMC_New, nAfter);
        EXPECT_EQ(m_array.Get(), nullptr);
        EXPECT_TRUE(failing.HasFailed());
        ExpectCounts(static_cast<DWORD>(nAfter), 0, 0);
    }
    void* const p = m_array.Get();
    EXPECT_NE(p, nullptr);
    m_array.Put(p);
    EXPECT_EQ(m_asserts.Texts(), Lines{});
}

TEST_F(SampleArrayTest, Misuse)
{
    m_array.Put(nullptr);
    EXPECT_EQ(m_asserts.Texts(), (Lines{"pSample != NULL", "m_ppArr != NULL", "m_nBusy < m_nAll"}));
    m_asserts.Clear();
    EXPECT_TRUE(m_array.Create(1));
    BYTE by = 0;
    m_array.Put(&by);
    EXPECT_EQ(m_asserts.Texts(), Lines{"m_nBusy < m_nAll"});
    ExpectCounts(1, 1, 1);
    m_asserts.Clear();

    void* const p = m_array.Get();
    m_array.Clear();
    EXPECT_EQ(m_asserts.Texts(), Lines{"m_nBusy == m_nAll"});
    ExpectCounts(0, 0, 0);
    ::operator delete(p);

    m_asserts.Clear();
    EXPECT_TRUE(m_array.Create(1));
    void* const pKept = m_array.m_ppArr[0];
    m_array.m_ppArr[0] = nullptr;
    EXPECT_EQ(m_array.Get(), nullptr);
    EXPECT_EQ(m_asserts.Texts(), Lines{"p != NULL && _T(\"CSampleArray::Get()\")"});
    m_array.Put(pKept);
}
} // namespace
