#include "dstl/WinAPI/Blob.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace
{

/// A memory source that knows its blocks, and can fail.
struct CKnownMemory
{
    static inline std::map<BYTE*, DWORD> s_blocks;
    static inline int s_nAlloc = 0;
    static inline bool s_bFail = false;

    static BYTE* Alloc(DWORD& dwSize) noexcept
    {
        s_nAlloc++;
        if (s_bFail)
            return nullptr;
        BYTE* pb = new BYTE[dwSize];
        s_blocks[pb] = dwSize;
        return pb;
    }
    static void Free(BYTE* pb, DWORD dwSize) noexcept
    {
        if (pb == nullptr)
            return;
        const auto it = s_blocks.find(pb);
        ASSERT_NE(it, s_blocks.end()) << "given back twice, or not ours";
        EXPECT_EQ(it->second, dwSize);
        s_blocks.erase(it);
        delete[] pb;
    }
};

template <class TAlloc>
class BlobTest : public testing::Test
{
protected:
    AssertCapture m_asserts;

    void SetUp() override
    {
        CKnownMemory::s_nAlloc = 0;
        CKnownMemory::s_bFail = false;
    }
    void TearDown() override { EXPECT_TRUE(CKnownMemory::s_blocks.empty()) << "a block was not given back"; }
    void ExpectAsserts(const std::vector<std::string>& texts)
    {
        EXPECT_EQ(m_asserts.Texts(), texts);
        m_asserts.Clear();
    }
};

using Sources = testing::Types<CHeapMemory, CTaskMemory, CVirtualMemory, CKnownMemory>;
TYPED_TEST_SUITE(BlobTest, Sources);

constexpr char szPtrText[] = "m_dwAllocSize > _dwOffset && m_blobData.cbData >= _dwOffset || _dwOffset == 0";

/// What a source makes of a size.
template <class TAlloc>
DWORD Rounded(DWORD dwSize)
{
    return std::is_same_v<TAlloc, CVirtualMemory> ? (dwSize + 4095) / 4096 * 4096 : dwSize;
}

template <class TBlob>
void ExpectEmpty(const TBlob& blob)
{
    EXPECT_EQ(blob.GetSize(), 0u);
    EXPECT_EQ(blob.GetAllocSize(), 0u);
    EXPECT_EQ(blob.GetPtr(), nullptr);
    EXPECT_FALSE(blob.IsValid());
}

TYPED_TEST(BlobTest, StartsEmpty)
{
    const CBLOBHolder<TypeParam> blob;
    ExpectEmpty(blob);
    this->ExpectAsserts({});
}

TYPED_TEST(BlobTest, ResizeToALargerSizeGivesANewBlock)
{
    CBLOBHolder<TypeParam> blob;
    EXPECT_EQ(blob.Resize(100), S_OK);
    EXPECT_EQ(blob.GetSize(), 100u);
    EXPECT_EQ(blob.GetAllocSize(), Rounded<TypeParam>(100));
    ASSERT_NE(blob.GetPtr(), nullptr);
    EXPECT_TRUE(blob.IsValid());
    memset(blob.GetPtr(), 0x5A, 100);
    EXPECT_EQ(blob.Resize(5000), S_OK);
    EXPECT_EQ(blob.GetSize(), 5000u);
    EXPECT_EQ(blob.GetAllocSize(), Rounded<TypeParam>(5000));
    memset(blob.GetPtr(), 0xA5, 5000);
    this->ExpectAsserts({});
}

TYPED_TEST(BlobTest, ResizeToTheSameOrASmallerSizeKeepsBlockAndBytes)
{
    CBLOBHolder<TypeParam> blob;
    ASSERT_EQ(blob.Alloc(5000, true, 7), S_OK);
    BYTE* const pb = blob.GetPtr();
    for (const DWORD cb : {5000u, 4999u, 1u, 0u, 5000u})
    {
        EXPECT_EQ(blob.Resize(cb), S_FALSE) << cb;
        EXPECT_EQ(blob.GetSize(), cb);
        EXPECT_EQ(blob.GetAllocSize(), Rounded<TypeParam>(5000));
        EXPECT_EQ(blob.GetPtr(), pb);
        EXPECT_EQ(blob.IsValid(), cb != 0);
    }
    EXPECT_EQ(std::vector<BYTE>(pb, pb + 5000), std::vector<BYTE>(5000, 7));
    this->ExpectAsserts({});
}

TYPED_TEST(BlobTest, ResizeToZeroOfAnEmptyHolderAllocatesNothing)
{
    CBLOBHolder<TypeParam> blob;
    EXPECT_EQ(blob.Resize(0), S_FALSE);
    ExpectEmpty(blob);
    EXPECT_EQ(CKnownMemory::s_nAlloc, 0);
}

TYPED_TEST(BlobTest, GetPtrAssertsBeyondTheBytesInUse)
{
    CBLOBHolder<TypeParam> blob;
    ASSERT_EQ(blob.Resize(8192), S_OK);
    ASSERT_EQ(blob.Resize(1000), S_FALSE);
    BYTE* const pb = blob.GetPtr();
    const struct
    {
        DWORD dwOffset;
        bool bInside;
        int nAsserts;
    } rows[] = {
        {0, true, 0},    {999, true, 0},   {1000, true, 0},        {1001, true, 1},
        {8191, true, 1}, {8192, false, 1}, {0x7FFFFFFF, false, 1}, {0xFFFFFFFF, false, 1},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(blob.GetPtr(row.dwOffset), row.bInside ? pb + row.dwOffset : nullptr) << row.dwOffset;
        this->ExpectAsserts(std::vector<std::string>(row.nAsserts, szPtrText));
    }
}

TYPED_TEST(BlobTest, GetPtrOfAnEmptyHolder)
{
    const CBLOBHolder<TypeParam> blob;
    EXPECT_EQ(blob.GetPtr(0), nullptr);
    this->ExpectAsserts({});
    EXPECT_EQ(blob.GetPtr(1), nullptr);
    this->ExpectAsserts({szPtrText});
}

TYPED_TEST(BlobTest, SetSizeStaysWithinTheAllocation)
{
    CBLOBHolder<TypeParam> blob;
    EXPECT_EQ(blob.SetSize(0), S_OK);
    EXPECT_EQ(blob.SetSize(1), E_INVALIDARG);
    this->ExpectAsserts({"m_dwAllocSize >= _dwSize"});
    ASSERT_EQ(blob.Resize(4096), S_OK);
    BYTE* const pb = blob.GetPtr();
    EXPECT_EQ(blob.SetSize(0), S_OK);
    EXPECT_EQ(blob.GetSize(), 0u);
    EXPECT_FALSE(blob.IsValid());
    EXPECT_EQ(blob.SetSize(4096), S_OK);
    EXPECT_EQ(blob.GetSize(), 4096u);
    this->ExpectAsserts({});
    for (const DWORD cb : {4097u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(blob.SetSize(cb), E_INVALIDARG);
        EXPECT_EQ(blob.GetSize(), 4096u);
        this->ExpectAsserts({"m_dwAllocSize >= _dwSize"});
    }
    EXPECT_EQ(blob.GetPtr(), pb);
}

TYPED_TEST(BlobTest, AllocFillsOnlyWhenAsked)
{
    CBLOBHolder<TypeParam> blob;
    EXPECT_EQ(blob.Alloc(300, true, 0xEE), S_OK);
    EXPECT_EQ(std::vector<BYTE>(blob.GetPtr(), blob.GetPtr() + 300), std::vector<BYTE>(300, 0xEE));
    // A kept block is filled too, as far as it is in use.
    EXPECT_EQ(blob.Alloc(200, true, 0x11), S_FALSE);
    EXPECT_EQ(blob.GetSize(), 200u);
    EXPECT_EQ(blob.GetPtr()[199], 0x11);
    ASSERT_EQ(blob.SetSize(300), S_OK);
    EXPECT_EQ(blob.GetPtr()[200], 0xEE);
    EXPECT_EQ(blob.Alloc(300), S_FALSE);
    EXPECT_EQ(blob.GetPtr()[0], 0x11);
    EXPECT_EQ(blob.Alloc(0, true, 0x22), S_FALSE);
    ASSERT_EQ(blob.SetSize(300), S_OK);
    EXPECT_EQ(blob.GetPtr()[0], 0x11);
    CBLOBHolder<TypeParam> blobEmpty;
    EXPECT_EQ(blobEmpty.Alloc(0, true, 1), S_FALSE);
    this->ExpectAsserts({});
}

TYPED_TEST(BlobTest, FillStaysWithinTheBytesInUse)
{
    const struct
    {
        DWORD dwOffset;
        LONG nCount;
        DWORD nFirst, nEnd; // what is filled
        bool bAssert;
    } rows[] = {
        {0, -1, 0, 100, false},         {0, 0, 0, 0, false},
        {0, 100, 0, 100, false},        {0, 101, 0, 100, false},
        {0, 0x7FFFFFFF, 0, 100, false}, {40, 10, 40, 50, false},
        {40, -1, 40, 100, false},       {40, LONG(0x80000000), 40, 100, false},
        {99, 5, 99, 100, false},        {100, 5, 0, 0, true},
        {100, -1, 0, 0, true},          {0xFFFFFFFF, -1, 0, 0, true},
    };
    for (const auto& row : rows)
    {
        CBLOBHolder<TypeParam> blob;
        ASSERT_EQ(blob.Alloc(128, true, 1), S_OK);
        ASSERT_EQ(blob.SetSize(100), S_OK);
        blob.Fill(2, row.dwOffset, row.nCount);
        std::vector<BYTE> expected(128, 1);
        std::fill(expected.begin() + row.nFirst, expected.begin() + row.nEnd, BYTE(2));
        EXPECT_EQ(std::vector<BYTE>(blob.GetPtr(), blob.GetPtr() + 128), expected)
            << row.dwOffset << ", " << row.nCount;
        this->ExpectAsserts(row.bAssert ? std::vector<std::string>{"_dwOffset < m_blobData.cbData"}
                                        : std::vector<std::string>{});
    }
}

TYPED_TEST(BlobTest, FillOfAnEmptyHolderOnlyAsserts)
{
    CBLOBHolder<TypeParam> blob;
    blob.Fill(1);
    this->ExpectAsserts({"m_blobData.pbData != NULL", "_dwOffset < m_blobData.cbData"});
}

TYPED_TEST(BlobTest, DetachAndAttachHandTheBlockOver)
{
    CBLOBHolder<TypeParam> blob;
    ASSERT_EQ(blob.Alloc(8192, true, 3), S_OK);
    BYTE* const pb = blob.GetPtr();
    DSTLBLOB rgBlob = {1, nullptr};
    blob.Detach(&rgBlob);
    EXPECT_EQ(rgBlob.cbData, 8192u);
    EXPECT_EQ(rgBlob.pbData, pb);
    ExpectEmpty(blob);

    CBLOBHolder<TypeParam> blobOther;
    ASSERT_EQ(blobOther.Resize(10), S_OK); // is given back
    blobOther.Attach(&rgBlob);
    EXPECT_EQ(blobOther.GetSize(), 8192u);
    EXPECT_EQ(blobOther.GetAllocSize(), 8192u);
    EXPECT_EQ(blobOther.GetPtr(), pb);
    EXPECT_EQ(blobOther.GetPtr()[8191], 3);
    this->ExpectAsserts({});
}

TYPED_TEST(BlobTest, AttachOfNothingEmptiesTheHolder)
{
    CBLOBHolder<TypeParam> blob;
    ASSERT_EQ(blob.Resize(10), S_OK);
    const DSTLBLOB rgBlob = {77, nullptr};
    blob.Attach(&rgBlob);
    ExpectEmpty(blob);
}

TYPED_TEST(BlobTest, AttachOfTheBlockThatIsHeldKeepsIt)
{
    CBLOBHolder<TypeParam> blob;
    ASSERT_EQ(blob.Alloc(4096, true, 9), S_OK);
    const DSTLBLOB rgBlob = {4096, blob.GetPtr()};
    blob.Attach(&rgBlob);
    EXPECT_EQ(blob.GetSize(), 4096u);
    EXPECT_EQ(blob.GetPtr()[4095], 9);
}

TYPED_TEST(BlobTest, NullRecordsChangeNothing)
{
    CBLOBHolder<TypeParam> blob;
    ASSERT_EQ(blob.Resize(10), S_OK);
    blob.Attach(nullptr);
    blob.Detach(nullptr);
    EXPECT_EQ(blob.GetSize(), 10u);
    EXPECT_NE(blob.GetPtr(), nullptr);
}

TYPED_TEST(BlobTest, CopiesHaveTheirOwnBlock)
{
    CBLOBHolder<TypeParam> blob;
    ASSERT_EQ(blob.Alloc(5000, true, 4), S_OK);
    ASSERT_EQ(blob.Resize(3000), S_FALSE);
    CBLOBHolder<TypeParam> blobCopy(blob);
    EXPECT_EQ(blobCopy.GetSize(), 3000u);
    EXPECT_EQ(blobCopy.GetAllocSize(), Rounded<TypeParam>(5000));
    EXPECT_NE(blobCopy.GetPtr(), blob.GetPtr());
    EXPECT_EQ(memcmp(blobCopy.GetPtr(), blob.GetPtr(), 3000), 0);
    CBLOBHolder<TypeParam> blobAssigned;
    ASSERT_EQ(blobAssigned.Resize(1), S_OK);
    blobAssigned = blob;
    EXPECT_EQ(blobAssigned.GetSize(), 3000u);
    EXPECT_EQ(blobAssigned.GetPtr()[2999], 4);
    const CBLOBHolder<TypeParam>& blobSame = blobAssigned;
    blobAssigned = blobSame;
    EXPECT_EQ(blobAssigned.GetSize(), 3000u);
    EXPECT_EQ(blobAssigned.GetPtr()[2999], 4);
    this->ExpectAsserts({});
}

TYPED_TEST(BlobTest, ACopyOfAnEmptyHolderIsEmpty)
{
    const CBLOBHolder<TypeParam> blob;
    const CBLOBHolder<TypeParam> blobCopy(blob);
    ExpectEmpty(blobCopy);
    CBLOBHolder<TypeParam> blobAssigned;
    ASSERT_EQ(blobAssigned.Resize(10), S_OK);
    blobAssigned = blob;
    ExpectEmpty(blobAssigned);
    this->ExpectAsserts({});
}

TYPED_TEST(BlobTest, AMovedHolderHandsItsBlockOver)
{
    CBLOBHolder<TypeParam> blob;
    ASSERT_EQ(blob.Resize(10), S_OK);
    BYTE* const pb = blob.GetPtr();
    CBLOBHolder<TypeParam> blobMoved(std::move(blob));
    ExpectEmpty(blob);
    EXPECT_EQ(blobMoved.GetPtr(), pb);
    CBLOBHolder<TypeParam> blobAssigned;
    ASSERT_EQ(blobAssigned.Resize(20), S_OK);
    blobAssigned = std::move(blobMoved);
    ExpectEmpty(blobMoved);
    EXPECT_EQ(blobAssigned.GetPtr(), pb);
    EXPECT_EQ(blobAssigned.GetSize(), 10u);
}

using BlobSourceTest = BlobTest<CKnownMemory>;

TEST_F(BlobSourceTest, AFailedResizeLeavesAnEmptyHolder)
{
    CBLOBHolder<CKnownMemory> blob;
    ASSERT_EQ(blob.Resize(10), S_OK);
    CKnownMemory::s_bFail = true;
    EXPECT_EQ(blob.Resize(20), E_OUTOFMEMORY);
    ExpectEmpty(blob);
    EXPECT_EQ(blob.Alloc(20, true, 1), E_OUTOFMEMORY);
    ExpectEmpty(blob);
    ExpectAsserts({});
}

TEST_F(BlobSourceTest, AFailedCopyLeavesAnEmptyHolder)
{
    CBLOBHolder<CKnownMemory> blob;
    ASSERT_EQ(blob.Resize(10), S_OK);
    CKnownMemory::s_bFail = true;
    const CBLOBHolder<CKnownMemory> blobCopy(blob);
    ExpectEmpty(blobCopy);
    ExpectAsserts({"m_blobData.pbData"});
    CBLOBHolder<CKnownMemory> blobAssigned;
    blobAssigned = blob;
    ExpectEmpty(blobAssigned);
    ExpectAsserts({"m_blobData.pbData"});
}

TEST_F(BlobSourceTest, AnAllocationOfOneGibibyteIsOnlyAsserted)
{
    // The record only claims the size; the block is not touched.
    BYTE by = 0;
    CBLOBHolder<CKnownMemory> blob;
    DSTLBLOB rgBlob = {1024 * 1024 * 1024, &by};
    blob.Attach(&rgBlob);
    EXPECT_EQ(blob.Resize(5), S_FALSE);
    ExpectAsserts({"m_dwAllocSize < 1 * 1024 * 1024 * 1024"});
    blob.Detach(&rgBlob);
    rgBlob = {1024 * 1024 * 1024 - 1, &by};
    blob.Attach(&rgBlob);
    EXPECT_EQ(blob.Resize(5), S_FALSE);
    ExpectAsserts({});
    blob.Detach(&rgBlob);
}

TEST_F(BlobSourceTest, BytesInUseWithoutABlockAreAsserted)
{
    // Only a memory source that hands out a block of no size leads here.
    BYTE* const pb = new BYTE[1];
    CKnownMemory::s_blocks[pb] = 0;
    CBLOBHolder<CKnownMemory> blob;
    const DSTLBLOB rgBlob = {0, pb};
    blob.Attach(&rgBlob);
    EXPECT_FALSE(blob.IsValid());
    EXPECT_EQ(blob.GetPtr(), nullptr); // offset 0 is not below the allocation
    const CBLOBHolder<CKnownMemory> blobCopy(blob);
    ExpectEmpty(blobCopy);
    ExpectAsserts({});
}

TEST_F(BlobSourceTest, LongRandomSequencesAgreeWithAModel)
{
    std::mt19937 random(20240229);
    CBLOBHolder<CKnownMemory> blob;
    std::vector<BYTE> model; // the allocation
    std::vector<bool> known; // bytes whose contents are defined
    DWORD cbInUse = 0;
    const auto renew = [&](DWORD cb)
    {
        model.assign(cb, 0);
        known.assign(cb, false);
    };
    for (int i = 0; i < 20000; i++)
    {
        CKnownMemory::s_bFail = random() % 8 == 0;
        const DWORD n = random() % 300;
        const BYTE by = static_cast<BYTE>(random());
        switch (random() % 7)
        {
        case 0:
        case 1:
        {
            const bool bFill = random() % 2 == 0;
            const bool bKept = n <= model.size();
            const HRESULT hrExpected = bKept ? S_FALSE : CKnownMemory::s_bFail ? E_OUTOFMEMORY : S_OK;
            ASSERT_EQ(blob.Alloc(n, bFill, by), hrExpected);
            if (!bKept)
                renew(hrExpected == S_OK ? n : 0);
            cbInUse = hrExpected == E_OUTOFMEMORY ? 0 : n;
            for (DWORD j = 0; bFill && j < cbInUse; j++)
            {
                model[j] = by;
                known[j] = true;
            }
            break;
        }
        case 2:
            ASSERT_EQ(blob.SetSize(n), n <= model.size() ? S_OK : E_INVALIDARG);
            if (n <= model.size())
                cbInUse = n;
            break;
        case 3:
        {
            const LONG nCount = static_cast<LONG>(random() % 400) - 100;
            blob.Fill(by, n, nCount);
            for (DWORD j = n; j < cbInUse && (nCount < 0 || j - n < static_cast<DWORD>(nCount)); j++)
            {
                model[j] = by;
                known[j] = true;
            }
            break;
        }
        case 4:
        {
            CBLOBHolder<CKnownMemory> blobCopy(blob);
            if (blobCopy.GetPtr() == nullptr && !model.empty())
            {
                ASSERT_TRUE(CKnownMemory::s_bFail);
                break;
            }
            for (size_t j = cbInUse; j < known.size(); j++)
                known[j] = false; // a copy has only what is in use
            blob = std::move(blobCopy);
            break;
        }
        case 5:
        {
            DSTLBLOB rgBlob = {};
            blob.Detach(&rgBlob);
            ASSERT_EQ(rgBlob.cbData, cbInUse);
            if (rgBlob.pbData != nullptr)
                rgBlob.cbData = static_cast<DWORD>(model.size()); // what the source gave
            blob.Attach(&rgBlob);
            cbInUse = rgBlob.cbData;
            break;
        }
        default:
            ASSERT_EQ(blob.GetPtr(n) != nullptr, n < model.size());
            break;
        }
        ASSERT_EQ(blob.GetSize(), cbInUse);
        ASSERT_EQ(blob.GetAllocSize(), model.size());
        ASSERT_EQ(blob.IsValid(), cbInUse != 0);
        for (size_t j = 0; j < model.size(); j++)
        {
            ASSERT_TRUE(!known[j] || blob.GetPtr()[j] == model[j]) << "byte " << j << " after step " << i;
        }
    }
    CKnownMemory::s_bFail = false;
}

TEST(VirtualMemory, SizesAreRoundedUpToPages)
{
    const struct
    {
        DWORD cb, cbAlloc;
    } rows[] = {{1, 4096}, {4095, 4096}, {4096, 4096}, {4097, 8192}, {5000, 8192}, {1000000, 1003520}};
    for (const auto& row : rows)
    {
        CBLOBHolder<CVirtualMemory> blob;
        EXPECT_EQ(blob.Resize(row.cb), S_OK);
        EXPECT_EQ(blob.GetSize(), row.cb);
        EXPECT_EQ(blob.GetAllocSize(), row.cbAlloc) << row.cb;
        EXPECT_EQ(blob.Resize(row.cbAlloc), S_FALSE);
        memset(blob.GetPtr(), 1, row.cbAlloc);
    }
}

TEST(VirtualMemory, SizesThatCannotBeRoundedUpAreRefused)
{
    for (const DWORD cb : {0xFFFFFFFFu, 0xFFFFF001u})
    {
        CBLOBHolder<CVirtualMemory> blob;
        EXPECT_EQ(blob.Resize(cb), E_OUTOFMEMORY);
        ExpectEmpty(blob);
    }
}

TEST(VirtualMemory, GivingBackWhatIsNoBlockAsserts)
{
#ifndef QX_NATIVE
    AssertCapture asserts;
    BYTE by = 0;
    CVirtualMemory::Free(&by, 1);
    EXPECT_EQ(asserts.Texts(), std::vector<std::string>{"bSuccess"});
    asserts.Clear();
    CVirtualMemory::Free(&by, 0);
    CVirtualMemory::Free(nullptr, 1);
    EXPECT_TRUE(asserts.Texts().empty());
#endif
}

#ifndef QX_NATIVE
TEST(VirtualMemory, PagesAreExecutable)
{
    CBLOBHolder<CVirtualMemory> blob;
    ASSERT_EQ(blob.Resize(10), S_OK);
    MEMORY_BASIC_INFORMATION info = {};
    ASSERT_NE(VirtualQuery(blob.GetPtr(), &info, sizeof(info)), 0u);
    EXPECT_EQ(info.Protect, DWORD(PAGE_EXECUTE_READWRITE));
    EXPECT_EQ(info.RegionSize, 4096u);
}
#endif

TEST(HeapMemory, AFailureSetsTheSizeToZero)
{
    DWORD dwSize = 16;
    BYTE* pb = CHeapMemory::Alloc(dwSize);
    EXPECT_NE(pb, nullptr);
    EXPECT_EQ(dwSize, 16u);
    CHeapMemory::Free(pb, dwSize);
}

TEST(TaskMemory, ASizeOfZeroGivesNull)
{
    DWORD dwSize = 0;
    EXPECT_EQ(CTaskMemory::Alloc(dwSize), nullptr);
}

TEST(TaskMemory, ABlockOfAnotherOwnerIsFreedByTheHolder)
{
    DSTLBLOB rgBlob = {64, static_cast<BYTE*>(CoTaskMemAlloc(64))};
    ASSERT_NE(rgBlob.pbData, nullptr);
    memset(rgBlob.pbData, 0x42, 64);
    CBLOBHolder<CTaskMemory> blob;
    blob.Attach(&rgBlob);
    EXPECT_EQ(blob.GetPtr(63)[0], 0x42);
    EXPECT_EQ(blob.Resize(100), S_OK);
}

TEST(BlobTrace, TheConstructorsLineIsBelowTheThreshold)
{
    LogCapture log;
    const CBLOBHolder<CHeapMemory> blob;
    EXPECT_TRUE(log.Lines().empty());
}

} // namespace
