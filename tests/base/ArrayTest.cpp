#include "dstl/WinAPI/Containers.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

/// Counts copies and remembers the order of destruction.
struct Element
{
    static inline std::vector<int> s_destroyed;
    static inline int s_nLiving = 0;

    explicit Element(int _n) : n(_n) { s_nLiving++; }
    Element(const Element& e) : n(e.n) { s_nLiving++; }
    ~Element()
    {
        s_destroyed.push_back(n);
        s_nLiving--;
    }
    /// As counted pointers do: the address is not to be taken with it.
    Element* operator&() = delete;

    int n;
};

class ArrayTest : public testing::Test
{
protected:
    AssertCapture m_asserts;

    void SetUp() override
    {
        Element::s_destroyed.clear();
        Element::s_nLiving = 0;
    }
};

TEST_F(ArrayTest, StartsEmpty)
{
    const CSimpleArray2<int> ar;
    EXPECT_EQ(ar.GetSize(), 0);
    EXPECT_EQ(ar.GetAllocSize(), 0);
    EXPECT_EQ(ar.GetData(), nullptr);
}

TEST_F(ArrayTest, CapacityIsOneAndThenDoubles)
{
    CSimpleArray2<int> ar;
    const int capacities[] = {1, 2, 4, 4, 8, 8, 8, 8, 16};
    for (int i = 0; i < 9; i++)
    {
        EXPECT_TRUE(ar.Add(i * 10));
        EXPECT_EQ(ar.GetSize(), i + 1);
        EXPECT_EQ(ar.GetAllocSize(), capacities[i]);
    }
    for (int i = 0; i < 9; i++)
        EXPECT_EQ(ar[i], i * 10);
    EXPECT_TRUE(m_asserts.Texts().empty());
}

TEST_F(ArrayTest, GrowthIsRefusedAbove31BitsOfBytes)
{
    struct Odd
    {
        char sz[88];
    };
    using Odds = CSimpleArray2<Odd>;
    EXPECT_EQ(Odds::nMaxSize, 24403223);
    using Bytes = CSimpleArray2<char>;
    EXPECT_EQ(Bytes::nMaxSize, 2147483647);
    const struct
    {
        int nSize, nAllocSize, nOdds, nBytes;
    } rows[] = {
        {0, 0, 1, 1},
        {1, 1, 2, 2},
        {12201611, 12201611, 24403222, 24403222},
        {12201612, 12201612, -1, 24403224},
        {16777216, 16777216, -1, 33554432},
        {1073741823, 1073741823, -1, 2147483646},
        {1073741824, 1073741824, -1, -1}, // the doubled number is negative in 32 bits
        {2147483647, 2147483647, -1, -1},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(Odds::NextAllocSize(row.nSize, row.nAllocSize), row.nOdds) << row.nSize;
        EXPECT_EQ(Bytes::NextAllocSize(row.nSize, row.nAllocSize), row.nBytes) << row.nSize;
    }
}

TEST_F(ArrayTest, ARefusedGrowthChangesNothing)
{
    // One element may be there, two would have more bytes than 31 bits count. The copy touches no page.
    struct Giant
    {
        Giant() {}
        Giant(const Giant&) {}
        char sz[1100000000];
    };
    EXPECT_EQ(CSimpleArray2<Giant>::nMaxSize, 1);
    EXPECT_EQ(CSimpleArray2<Giant>::NextAllocSize(1, 1), -1);

    // Not even one: the first growth is refused.
    struct TooLarge
    {
        TooLarge(const TooLarge&) {}
        char sz[2147483648u];
    };
    EXPECT_EQ(CSimpleArray2<TooLarge>::nMaxSize, 0);
    CSimpleArray2<TooLarge> ar;
    alignas(16) static char byElement[1];
    EXPECT_FALSE(ar.Add(*reinterpret_cast<const TooLarge*>(byElement)));
    EXPECT_EQ(ar.GetSize(), 0);
    EXPECT_EQ(ar.GetAllocSize(), 0);
    EXPECT_EQ(ar.GetData(), nullptr);
}

TEST_F(ArrayTest, AnElementOfItsOwnIsAssertedOnlyWhenTheArrayGrows)
{
    CSimpleArray2<std::string> ar;
    const std::string s = "a text that does not fit into the string object itself";
    for (int i = 0; i < 3; i++)
        ASSERT_TRUE(ar.Add(s));
    ASSERT_EQ(ar.GetAllocSize(), 4);
    EXPECT_TRUE(ar.Add(ar[1])); // room is left
    EXPECT_TRUE(m_asserts.Texts().empty());
    EXPECT_TRUE(ar.Add(ar[1])); // grows, and the element moves
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{"&t < m_aT || &t >= m_aT + m_nAllocSize"});
    ASSERT_EQ(ar.GetSize(), 5);
    for (int i = 0; i < 5; i++)
        EXPECT_EQ(ar[i], s);
}

TEST_F(ArrayTest, IndicesOutsideAreAssertedAndHarmless)
{
    CSimpleArray2<int> ar;
    ar.Add(5);
    ar.Add(6);
    ar.Add(7); // capacity 4
    const CSimpleArray2<int>& arConst = ar;
    for (const int nIndex : {-1, 3, 4, 2147483647, -2147483647 - 1})
    {
        m_asserts.Clear();
        ar[nIndex] = 99;
        EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{"0 <= nIndex && nIndex < m_nSize"});
        m_asserts.Clear();
        EXPECT_NE(std::addressof(arConst[nIndex]), nullptr);
        EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{"nIndex >= 0 && nIndex < m_nSize"});
    }
    m_asserts.Clear();
    EXPECT_EQ(ar[0], 5);
    EXPECT_EQ(arConst[1], 6);
    EXPECT_EQ(ar[2], 7);
    EXPECT_TRUE(m_asserts.Texts().empty());
}

TEST_F(ArrayTest, AnIndexOutsideWorksForElementsWithoutADefault)
{
    CSimpleArray2<Element> ar;
    EXPECT_EQ(ar[0].n, 0);
    EXPECT_EQ(m_asserts.Count("0 <= nIndex && nIndex < m_nSize"), 1);
}

TEST_F(ArrayTest, RemoveAllDestroysInIndexOrder)
{
    {
        CSimpleArray2<Element> ar;
        for (int i = 0; i < 5; i++)
        {
            const Element e(i);
            ASSERT_TRUE(ar.Add(e));
        }
        EXPECT_EQ(Element::s_nLiving, 5); // growth moved bytes: no copies, no destruction
        Element::s_destroyed.clear();
        ar.RemoveAll();
        EXPECT_EQ(Element::s_destroyed, (std::vector<int>{0, 1, 2, 3, 4}));
        EXPECT_EQ(Element::s_nLiving, 0);
        EXPECT_EQ(ar.GetSize(), 0);
        EXPECT_EQ(ar.GetAllocSize(), 0);
        EXPECT_EQ(ar.GetData(), nullptr);
        ar.RemoveAll();
        ASSERT_TRUE(ar.Add(Element(8)));
        EXPECT_EQ(ar.GetAllocSize(), 1);
    }
    EXPECT_EQ(Element::s_nLiving, 0);
}

TEST_F(ArrayTest, AMovedArrayHandsItsElementsOver)
{
    CSimpleArray2<Element> ar;
    ar.Add(Element(1));
    CSimpleArray2<Element> arMoved(std::move(ar));
    EXPECT_EQ(ar.GetSize(), 0);
    EXPECT_EQ(arMoved[0].n, 1);
    CSimpleArray2<Element> arAssigned;
    arAssigned.Add(Element(2));
    arAssigned = std::move(arMoved);
    EXPECT_EQ(arMoved.GetSize(), 0);
    ASSERT_EQ(arAssigned.GetSize(), 1);
    EXPECT_EQ(arAssigned[0].n, 1);
    EXPECT_EQ(Element::s_nLiving, 1);
}

TEST_F(ArrayTest, AConstructionThatEndsEarlyReportsItsDelete)
{
    struct Thrower
    {
        Thrower() {}
        Thrower(const Thrower&) { throw std::runtime_error("copy"); }
    };
    CSimpleArray2<Thrower> ar;
    EXPECT_THROW(ar.Add(Thrower()), std::runtime_error);
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{"CSimpleArray2::Wrapper(): operator delete"});
    EXPECT_EQ(ar.GetSize(), 0);
}

TEST_F(ArrayTest, ManyElements)
{
    CSimpleArray2<int> ar;
    for (int i = 0; i < 100000; i++)
        ASSERT_TRUE(ar.Add(i));
    for (int i = 0; i < 100000; i++)
        ASSERT_EQ(ar[i], i);
    EXPECT_EQ(ar.GetAllocSize(), 131072);
}

} // namespace
