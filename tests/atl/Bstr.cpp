// The BSTR wrapper.
#include <gtest/gtest.h>

#include "dstl/WinAPI/Atl.h"
#include "support/LogCapture.h"

namespace
{

TEST(ComBstr, NullAndEmptyAreTheSameText)
{
    const CComBSTR bsNull;
    const CComBSTR bsEmpty(L"");
    const CComBSTR bsFromNull(static_cast<LPCOLESTR>(nullptr));
    EXPECT_EQ(nullptr, bsNull.m_str);
    EXPECT_NE(nullptr, bsEmpty.m_str);
    EXPECT_EQ(nullptr, bsFromNull.m_str);
    EXPECT_TRUE(bsNull == bsEmpty);
    EXPECT_TRUE(bsEmpty == bsNull);
    EXPECT_FALSE(bsNull != bsEmpty);
    EXPECT_TRUE(bsNull == L"");
    EXPECT_TRUE(bsEmpty == static_cast<LPCOLESTR>(nullptr));
    EXPECT_TRUE(bsEmpty == nullptr);
    EXPECT_FALSE(bsNull < bsEmpty);
    EXPECT_EQ(0u, bsNull.Length());
    EXPECT_EQ(0u, bsNull.ByteLength());
    EXPECT_TRUE(!bsNull);
    EXPECT_FALSE(!bsEmpty);
}

TEST(ComBstr, CopiesAndMoves)
{
    CComBSTR bs(L"abc");
    CComBSTR bsCopy(bs);
    EXPECT_TRUE(bs == bsCopy);
    EXPECT_NE(bs.m_str, bsCopy.m_str);
    const BSTR raw = bs.m_str;
    CComBSTR bsMoved(std::move(bs));
    EXPECT_EQ(raw, bsMoved.m_str);
    EXPECT_EQ(nullptr, bs.m_str);
    bs = bsMoved;
    EXPECT_TRUE(bs == L"abc");
    const CComBSTR& same = bs;
    bs = same;
    EXPECT_TRUE(bs == L"abc");
    bs = bs.m_str;
    EXPECT_TRUE(bs == L"abc");
    bs = L"other";
    EXPECT_TRUE(bs == L"other");
    bs = static_cast<LPCOLESTR>(nullptr);
    EXPECT_EQ(nullptr, bs.m_str);
    bs = std::move(bsMoved);
    EXPECT_EQ(raw, bs.m_str);
}

TEST(ComBstr, KeepsInnerZeros)
{
    const CComBSTR bs(3, L"a\0b");
    EXPECT_EQ(3u, bs.Length());
    const CComBSTR bsCopy(bs);
    EXPECT_EQ(3u, bsCopy.Length());
    EXPECT_TRUE(bs == bsCopy);
    EXPECT_FALSE(bs == CComBSTR(3, L"a\0c"));
    CComBSTR bsAssigned;
    EXPECT_EQ(S_OK, bsAssigned.AssignBSTR(bs));
    EXPECT_TRUE(bsAssigned == bs);
    EXPECT_EQ(S_OK, bsAssigned.Append(bs));
    EXPECT_EQ(6u, bsAssigned.Length());
    EXPECT_EQ(0, memcmp(bsAssigned.m_str, L"a\0ba\0b", 14));
}

TEST(ComBstr, Appends)
{
    CComBSTR bs;
    EXPECT_EQ(S_OK, bs.Append(static_cast<LPCOLESTR>(nullptr)));
    EXPECT_EQ(nullptr, bs.m_str);
    EXPECT_EQ(S_OK, bs.Append(L"one"));
    bs += L" two";
    EXPECT_EQ(S_OK, bs.Append(L"three", 2));
    EXPECT_TRUE(bs == L"one twoth");
    EXPECT_EQ(E_INVALIDARG, bs.Append(L"x", -1));
    EXPECT_EQ(S_OK, bs.Append(L"x", 0));
    EXPECT_TRUE(bs == L"one twoth");
}

TEST(ComBstr, HandsOutCopiesAndOwnership)
{
    CComBSTR bs(L"text");
    BSTR out = nullptr;
    EXPECT_EQ(S_OK, bs.CopyTo(&out));
    EXPECT_STREQ(L"text", out);
    EXPECT_NE(bs.m_str, out);
    EXPECT_EQ(E_POINTER, bs.CopyTo(nullptr));
    CComBSTR bsOwner;
    bsOwner.Attach(out);
    EXPECT_EQ(out, bsOwner.m_str);
    bsOwner.Attach(out);
    EXPECT_STREQ(L"text", bsOwner.m_str);
    EXPECT_EQ(out, bsOwner.Detach());
    EXPECT_EQ(nullptr, bsOwner.m_str);
    SysFreeString(out);
    EXPECT_EQ(S_OK, bsOwner.CopyTo(&out));
    EXPECT_EQ(nullptr, out);
    bs.Empty();
    EXPECT_EQ(nullptr, bs.m_str);
}

TEST(ComBstr, Sizes)
{
    EXPECT_EQ(7u, CComBSTR(7).Length());
    EXPECT_EQ(nullptr, CComBSTR(0).m_str);
    EXPECT_EQ(nullptr, CComBSTR(-1).m_str);
    EXPECT_EQ(nullptr, CComBSTR(-1, L"abc").m_str);
    EXPECT_TRUE(CComBSTR(2, L"abc") == L"ab");
}

TEST(ComBstr, Orders)
{
    EXPECT_TRUE(CComBSTR(L"a") < CComBSTR(L"b"));
    EXPECT_FALSE(CComBSTR(L"b") < CComBSTR(L"a"));
    EXPECT_TRUE(CComBSTR() < CComBSTR(L"a"));
    EXPECT_TRUE(CComBSTR(L"a") != L"A");
}

TEST(ComBstr, AssertsOnTheAddressOfAnOccupiedString)
{
    AssertCapture asserts;
    CComBSTR bs;
    EXPECT_EQ(&bs.m_str, &bs);
    EXPECT_TRUE(asserts.Texts().empty());
    bs = L"x";
    EXPECT_EQ(&bs.m_str, &bs);
    EXPECT_EQ(std::vector<std::string>{"m_str == NULL"}, asserts.Texts());
}

} // namespace
