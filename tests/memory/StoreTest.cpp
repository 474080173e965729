// The buffer store by itself: which slot holds memory, where the buffer lies in it, what is given back when.
#include "dstl/Old/DSAllocatorsGreed.h"
#include "memory/MemoryCalls.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>

namespace
{
using Lines = std::vector<std::string>;
using Store = CGreedAllocatorBuffers<CGreedArrayOnVirtualAlloc>;

constexpr DWORD cbGranularity = 0x10000;

/// One letter for each slot from the bottom on: m holds memory, - holds none; the free ones first, then a
/// bar.
std::string Slots(const Store& store)
{
    std::string s;
    for (DWORD i = 0; i < store.m_nStackSize; ++i)
    {
        if (i == store.m_nFree)
            s += '|';
        const GreedBufferSlot& slot = store.m_stackFree[i];
        EXPECT_EQ(slot.pbRawBuffer == nullptr, slot.pbAlignedBuffer == nullptr) << i;
        s += slot.pbRawBuffer != nullptr ? 'm' : '-';
    }
    return s;
}

class StoreTest : public testing::Test
{
protected:
    ~StoreTest() override { EXPECT_EQ(GetHeldPages().nBlocks, 0); }

    void ExpectNoAssert() const { EXPECT_EQ(m_asserts.Texts(), Lines{}); }

    AssertCapture m_asserts;
};

TEST_F(StoreTest, Empty)
{
    Store store;
    EXPECT_TRUE(store.IsAllReturn());
    EXPECT_EQ(store.GetFreeCount(), 0u);
    EXPECT_EQ(store.m_cbAllocSize, 0u);
    store.Free();
    ExpectNoAssert();

    EXPECT_EQ(store.Pop(), nullptr);
    EXPECT_EQ(m_asserts.Texts(), Lines{"m_stackFree != NULL"});
    m_asserts.Clear();
    BYTE by = 0;
    store.Push(&by);
    EXPECT_EQ(m_asserts.Texts(), Lines{"m_stackFree != NULL && !IsAllReturn()"});
    EXPECT_EQ(store.GetFreeCount(), 0u);
}

TEST_F(StoreTest, MemoryAtCommit)
{
    struct Row
    {
        LONG cBuffers;
        const char* pszSlots;
    };
    for (const Row& row : {Row{1, "m"}, Row{2, "mm"}, Row{3, "-mm"}, Row{10, "--------mm"}})
    {
        Store store;
        EXPECT_TRUE(store.Alloc({row.cBuffers, 100, 1, 0}));
        EXPECT_EQ(Slots(store), row.pszSlots);
        EXPECT_EQ(store.GetFreeCount(), static_cast<DWORD>(row.cBuffers));
        EXPECT_EQ(store.m_cbAllocSize, 100u);
        EXPECT_EQ(store.m_rgAllocProps.cBuffers, row.cBuffers);
        EXPECT_EQ(GetHeldPages().nBlocks, std::min<LONG>(row.cBuffers, 2));
        store.Free();
        EXPECT_EQ(GetHeldPages().nBlocks, 0);
        EXPECT_EQ(store.m_cbAllocSize, 0u);
        EXPECT_EQ(store.m_rgAllocProps.cBuffers, 0);
        EXPECT_TRUE(store.IsAllReturn());
    }
    ExpectNoAssert();
}

/// Each letter of the operations: o takes one out, a to i give back the first, second, ... that was taken.
TEST_F(StoreTest, TakingAndGivingBack)
{
    struct Row
    {
        LONG cBuffers;
        const char* pszOperations;
        std::vector<std::string> slots; ///< after each operation
        long nAllocs;                   ///< calls of VirtualAlloc, those at commit included
    };
    const Row rows[] = {
        {1, "oaob", {"|m", "m", "|m", "m"}, 1},
        {2, "oaoobc", {"m|m", "-m", "-|m", "|mm", "m|m", "-m"}, 3},
        {3, "oooabc", {"-m|m", "-|mm", "|mmm", "m|mm", "-m|m", "--m"}, 3},
        {3, "oooacb", {"-m|m", "-|mm", "|mmm", "m|mm", "-m|m", "--m"}, 3},
        {4, "oaob", {"--m|m", "---m", "---|m", "---m"}, 2},
        {4, "oaoobocd", {"--m|m", "---m", "---|m", "--|mm", "--m|m", "--|mm", "--m|m", "---m"}, 3},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.pszOperations);
        const long nBefore = MemoryCallCount(eMC_VirtualAlloc);
        Store store;
        EXPECT_TRUE(store.Alloc({row.cBuffers, 100, 1, 0}));
        std::vector<BYTE*> taken;
        for (size_t i = 0; row.pszOperations[i] != 0; ++i)
        {
            if (row.pszOperations[i] == 'o')
                taken.push_back(store.Pop());
            else
                store.Push(taken[static_cast<size_t>(row.pszOperations[i] - 'a')]);
            EXPECT_EQ(Slots(store), row.slots[i]) << i;
        }
        EXPECT_EQ(MemoryCallCount(eMC_VirtualAlloc) - nBefore, row.nAllocs);
        EXPECT_TRUE(store.IsAllReturn());
    }
    ExpectNoAssert();
}

TEST_F(StoreTest, NoneIsLeft)
{
    Store store;
    EXPECT_TRUE(store.Alloc({2, 100, 1, 0}));
    BYTE* const pb1 = store.Pop();
    BYTE* const pb2 = store.Pop();
    EXPECT_NE(pb1, pb2);
    EXPECT_EQ(store.Pop(), nullptr);
    EXPECT_EQ(store.GetFreeCount(), 0u);
    store.Push(pb1);
    EXPECT_EQ(store.Pop(), pb1) << "last in, first out";
    store.Push(pb2);
    store.Push(pb1);
    ExpectNoAssert();
}

TEST_F(StoreTest, NewMemoryIsZeroAndUsedMemoryIsAsItWas)
{
    Store store;
    EXPECT_TRUE(store.Alloc({4, 5000, 1, 0}));
    BYTE* pb[4];
    for (BYTE*& p : pb)
    {
        p = store.Pop();
        EXPECT_EQ(std::count(p, p + 5000, 0), 5000);
        std::memset(p, 0x77, 5000);
    }
    for (BYTE* p : pb)
        store.Push(p);
    BYTE* const pWarm = store.Pop();
    EXPECT_EQ(pWarm, pb[3]);
    EXPECT_EQ(std::count(pWarm, pWarm + 5000, 0x77), 5000);
    BYTE* const pFresh = store.Pop();
    EXPECT_EQ(std::count(pFresh, pFresh + 5000, 0), 5000);
    store.Push(pFresh);
    store.Push(pWarm);
    ExpectNoAssert();
}

/// Where a buffer lies in its memory, and how much is asked for.
TEST_F(StoreTest, AlignmentAndPrefix)
{
    struct Row
    {
        ALLOCATOR_PROPERTIES rg;
        DWORD cbAllocSize;
    };
    const Row rows[] = {
        {{2, 1000, 16, 24}, 1024},
        {{2, 1008, 16, 0}, 1008},
        {{2, 100, 0, 5}, 105},
        {{2, 100, static_cast<LONG>(cbGranularity), 0}, 100},
        {{2, 100, 0x20000, 0}, 100 + 0x20000 - cbGranularity},
        {{2, 1, 0x400000, 77}, 78 + 0x400000 - cbGranularity},
        // In front of a negative prefix lie whole alignments.
        {{2, 1000, 1, -100}, 1000},
        {{2, 36, 16, -20}, 36 - 20 + 32},
        {{2, 50, 1, -100}, 50},
        {{2, 50, 0x20000, -1}, 50 - 1 + 0x20000 + 0x20000 - cbGranularity},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(testing::Message()
                     << row.rg.cbBuffer << ' ' << row.rg.cbAlign << ' ' << row.rg.cbPrefix);
        Store store;
        ASSERT_TRUE(store.Alloc(row.rg));
        EXPECT_EQ(store.m_cbAllocSize, row.cbAllocSize);
        BYTE* pb[2];
        for (BYTE*& p : pb)
        {
            p = store.Pop();
            ASSERT_NE(p, nullptr);
            const LONG cbAlign = std::max<LONG>(row.rg.cbAlign, 1);
            EXPECT_EQ((reinterpret_cast<UINT_PTR>(p) - static_cast<UINT_PTR>(LONG_PTR{row.rg.cbPrefix})) %
                          static_cast<UINT_PTR>(cbAlign),
                      0u);
            const BYTE* pbBase = nullptr;
            const size_t cbBlock = HeldBlockSize(p, &pbBase);
            EXPECT_EQ(cbBlock, row.cbAllocSize);
            EXPECT_GE(p, pbBase);
            EXPECT_GE(p - std::max<LONG>(row.rg.cbPrefix, 0), pbBase);
            EXPECT_LE(p + row.rg.cbBuffer, pbBase + cbBlock);
            std::memset(p, 1, static_cast<size_t>(row.rg.cbBuffer)); // under the sanitizers' eyes
        }
        store.Push(pb[0]);
        store.Push(pb[1]);
    }
    ExpectNoAssert();
}

/// A request whose sum does not fit into 32 bits is refused and does not wrap.
TEST_F(StoreTest, SizeBeyondFourGigabytes)
{
    Store store;
    EXPECT_FALSE(store.Alloc({1, INT_MAX, 0x40000000, INT_MAX}));
    EXPECT_TRUE(store.IsAllReturn());
    EXPECT_EQ(m_asserts.Texts(), Lines{"m_rgAllocProps.cBuffers == nBuffers"});
}

/// No memory in Alloc: whichever call fails, the store ends empty, and the next Alloc works.
TEST_F(StoreTest, FailuresOfAlloc)
{
    struct Row
    {
        eMemoryCall eCall;
        long nAfter;
        Lines asserts;
    };
    const Row rows[] = {
        {eMC_New, 0, {}},
        {eMC_VirtualAlloc, 0, {"m_rgAllocProps.cBuffers == nBuffers"}},
        {eMC_VirtualAlloc, 1, {"m_rgAllocProps.cBuffers == nBuffers"}},
    };
    for (const Row& row : rows)
    {
        m_asserts.Clear();
        Store store;
        {
            const FailingMemory failing(row.eCall, row.nAfter);
            EXPECT_FALSE(store.Alloc({5, 100, 1, 0}));
            EXPECT_TRUE(failing.HasFailed());
        }
        EXPECT_EQ(m_asserts.Texts(), row.asserts);
        EXPECT_TRUE(store.IsAllReturn());
        EXPECT_EQ(store.GetFreeCount(), 0u);
        EXPECT_EQ(store.m_stackFree, nullptr);
        EXPECT_EQ(GetHeldPages().nBlocks, 0);
        EXPECT_TRUE(store.Alloc({5, 100, 1, 0}));
        EXPECT_EQ(Slots(store), "---mm");
    }
}

/// No memory in Pop: the slot counts as handed out from then on.
TEST_F(StoreTest, FailureOfPop)
{
    Store store;
    EXPECT_TRUE(store.Alloc({3, 100, 1, 0}));
    BYTE* const pb1 = store.Pop();
    BYTE* const pb2 = store.Pop();
    {
        const FailingMemory failing(eMC_VirtualAlloc, 0);
        EXPECT_EQ(store.Pop(), nullptr);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_EQ(store.GetFreeCount(), 0u);
    store.Push(pb2);
    store.Push(pb1);
    EXPECT_EQ(store.GetFreeCount(), 2u);
    EXPECT_FALSE(store.IsAllReturn());
    EXPECT_EQ(store.Pop(), pb1);
    store.Push(pb1);
    ExpectNoAssert();
    store.Free();
    EXPECT_EQ(m_asserts.Texts(), Lines{"IsAllReturn()"});
}

/// An address that is not handed out takes the place of one that is; a later Pop takes new memory for it.
TEST_F(StoreTest, PushOfAStranger)
{
    Store store;
    EXPECT_TRUE(store.Alloc({2, 100, 1, 0}));
    BYTE* const pb = store.Pop();
    BYTE arrStranger[4] = {};
    store.Push(arrStranger);
    ExpectNoAssert();
    EXPECT_TRUE(store.IsAllReturn());
    EXPECT_EQ(store.m_stackFree[1].pbAlignedBuffer, arrStranger);
    EXPECT_EQ(store.m_stackFree[1].pbRawBuffer, nullptr);
    BYTE* const pbNew = store.Pop();
    EXPECT_NE(pbNew, arrStranger);
    EXPECT_NE(pbNew, pb);
    EXPECT_EQ(m_asserts.Texts(), Lines{"m_stackFree[m_nFree].pbAlignedBuffer == NULL"});
    store.Push(pbNew);
    store.Free();
    // What stood there is lost; the test gives it back.
    EXPECT_EQ(GetHeldPages().nBlocks, 1);
    EXPECT_TRUE(VirtualFree(pb, 0, MEM_RELEASE));
}

TEST_F(StoreTest, PushWithNothingOut)
{
    Store store;
    EXPECT_TRUE(store.Alloc({1, 100, 1, 0}));
    BYTE by = 0;
    store.Push(&by);
    EXPECT_EQ(m_asserts.Texts(), Lines{"m_stackFree != NULL && !IsAllReturn()"});
    EXPECT_EQ(Slots(store), "m");
    EXPECT_EQ(store.GetFreeCount(), 1u);
}

TEST_F(StoreTest, BadProperties)
{
    Store store;
    EXPECT_FALSE(store.Alloc({0, 100, 1, 0}));
    EXPECT_EQ(m_asserts.Texts(),
              Lines{"rgProps.cBuffers > 0 && rgProps.cbBuffer > 0 && rgProps.cbAlign >= 0"});
    m_asserts.Clear();
    // An alignment below 1 becomes 1.
    EXPECT_TRUE(store.Alloc({1, 100, INT_MIN, 0}));
    EXPECT_EQ(store.m_rgAllocProps.cbAlign, 1);
    EXPECT_EQ(store.m_cbAllocSize, 100u);
    EXPECT_EQ(m_asserts.Count("rgProps.cBuffers > 0 && rgProps.cbBuffer > 0 && rgProps.cbAlign >= 0"), 1);
}

TEST_F(StoreTest, PolicyByItself)
{
    CGreedArrayOnVirtualAlloc array;
    GreedBufferSlot arrSlots[3] = {};
    GreedBufferSlot* pSlots = arrSlots;
    EXPECT_TRUE(CGreedArrayOnVirtualAlloc::IsValidAlign(INT_MIN));
    EXPECT_FALSE(array.AllocOne(nullptr));
    EXPECT_FALSE(array.AllocOne(arrSlots));
    EXPECT_EQ(m_asserts.Texts(), (Lines{"pBuffer", "m_cbAllocSize", "m_cbAllocSize"}));
    m_asserts.Clear();
    EXPECT_FALSE(array.AllocArray({3, 10, 1, 0}, nullptr));
    EXPECT_EQ(m_asserts.Texts(),
              Lines{"ppBuffers && rgProps.cBuffers > 0 && rgProps.cbBuffer > 0 && rgProps.cbAlign >= 0"});
    m_asserts.Clear();

    // No power of two: asserted, and the buffer is within its memory all the same.
    EXPECT_TRUE(array.AllocArray({3, 10, 0x18001, 0}, &pSlots));
    EXPECT_EQ(m_asserts.Texts(), Lines{"(-rgProps.cbAlign & rgProps.cbAlign) == rgProps.cbAlign"});
    m_asserts.Clear();
    for (int i = 1; i < 3; ++i)
    {
        const BYTE* pbBase = nullptr;
        const size_t cb = HeldBlockSize(arrSlots[i].pbAlignedBuffer, &pbBase);
        EXPECT_EQ(pbBase, arrSlots[i].pbRawBuffer);
        EXPECT_LE(arrSlots[i].pbAlignedBuffer + 10, pbBase + cb);
    }
    EXPECT_EQ(arrSlots[0].pbRawBuffer, nullptr);
    array.FreeArray(arrSlots, 3);
    ExpectNoAssert();
    EXPECT_EQ(array.m_cbAllocSize, 0u);

    EXPECT_TRUE(array.AllocArray({3, 10, 0, 0}, &pSlots));
    EXPECT_EQ(array.m_rgAllocProps.cbAlign, 1);
    EXPECT_TRUE(array.AllocOne(&arrSlots[0]));
    array.FreeArray(arrSlots, 2);
    EXPECT_EQ(m_asserts.Texts(), Lines{"m_rgAllocProps.cBuffers == nBuffers"});
    CGreedArrayOnVirtualAlloc::FreeOne(arrSlots[2]);
    EXPECT_EQ(arrSlots[2].pbAlignedBuffer, nullptr);
}

/// Long random use: distinct buffers, never more memory than what is out, the warm one, and what a commit has
/// filled and no return has reached.
TEST_F(StoreTest, RandomUse)
{
    std::mt19937 random(7);
    for (int nRound = 0; nRound < 300; ++nRound)
    {
        const LONG cBuffers = static_cast<LONG>(random() % 12 + 1);
        const LONG cbBuffer = static_cast<LONG>(random() % 9000 + 1);
        const LONG cbAlign = LONG{1} << random() % 19;
        const LONG cbPrefix = static_cast<LONG>(random() % 50);
        Store store;
        ASSERT_TRUE(store.Alloc({cBuffers, cbBuffer, cbAlign, cbPrefix}));
        std::vector<BYTE*> out;
        bool bReturned = false;
        for (int n = 0; n < 200; ++n)
        {
            if (random() % 2 == 0)
            {
                BYTE* const pb = store.Pop();
                ASSERT_EQ(pb == nullptr, out.size() == static_cast<size_t>(cBuffers));
                if (pb == nullptr)
                    continue;
                ASSERT_EQ(std::count(out.begin(), out.end(), pb), 0);
                std::memset(pb - cbPrefix, n, static_cast<size_t>(cbPrefix + cbBuffer));
                out.push_back(pb);
            }
            else if (!out.empty())
            {
                const size_t i = random() % out.size();
                store.Push(out[i]);
                out.erase(out.begin() + static_cast<ptrdiff_t>(i));
                bReturned = true;
            }
            ASSERT_EQ(store.GetFreeCount(), static_cast<DWORD>(cBuffers) - out.size());
            ASSERT_LE(GetHeldPages().nBlocks, static_cast<long>(out.size()) + (bReturned ? 1 : 2));
        }
        for (BYTE* pb : out)
            store.Push(pb);
        ASSERT_LE(GetHeldPages().nBlocks, 2);
    }
    ExpectNoAssert();
}
} // namespace
