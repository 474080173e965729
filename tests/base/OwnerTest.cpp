// The owner of whatever the platform hands out.
#include "dstl/WinAPI/Owner.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>
#include <vector>

namespace
{

std::vector<int> g_closed;
bool g_bCloses = true;

struct NumberTraits
{
    using Value = int;
    static bool Close(int n) noexcept
    {
        g_closed.push_back(n);
        return g_bCloses;
    }
};
using CNumber = COwner<NumberTraits>;

static_assert(!std::is_copy_constructible_v<CNumber> && !std::is_copy_assignable_v<CNumber>);
static_assert(sizeof(CNumber) == sizeof(int));

class Owner : public testing::Test
{
protected:
    Owner()
    {
        g_closed.clear();
        g_bCloses = true;
    }
    static void ExpectClosed(const std::vector<int>& expected) { EXPECT_EQ(g_closed, expected); }
};

TEST_F(Owner, ClosesAtTheEndOfItsLife)
{
    {
        const CNumber number(7);
        EXPECT_TRUE(number);
        EXPECT_EQ(number.Get(), 7);
    }
    ExpectClosed({7});
}

TEST_F(Owner, HoldsNothingAtFirst)
{
    {
        CNumber number;
        EXPECT_FALSE(number);
        EXPECT_TRUE(number.Close());
    }
    ExpectClosed({});
}

TEST_F(Owner, AttachClosesTheOneHeld)
{
    CNumber number(1);
    number.Attach(1); // the same again stays open
    ExpectClosed({});
    number.Attach(2);
    ExpectClosed({1});
    EXPECT_EQ(number.Detach(), 2);
    EXPECT_FALSE(number);
    ExpectClosed({1});
}

TEST_F(Owner, CloseReportsAFailureAndHoldsNothingAfterwards)
{
    g_bCloses = false;
    CNumber number(3);
    EXPECT_FALSE(number.Close());
    EXPECT_TRUE(number.Close());
    ExpectClosed({3});
}

TEST_F(Owner, OutClosesTheOneHeldFirst)
{
    CNumber number(4);
    *number.Out() = 5;
    ExpectClosed({4});
    EXPECT_EQ(number.Get(), 5);
}

TEST_F(Owner, MovesTheResource)
{
    CNumber one(1);
    CNumber two(std::move(one));
    EXPECT_FALSE(one);
    CNumber three(3);
    three = std::move(two);
    ExpectClosed({3});
    EXPECT_EQ(three.Get(), 1);
}

TEST_F(Owner, AnInvalidHandleIsNone)
{
    COwnedHandle handle(INVALID_HANDLE_VALUE);
    EXPECT_FALSE(handle);
    handle.Attach(INVALID_HANDLE_VALUE);
    EXPECT_EQ(handle.Get(), nullptr);
    EXPECT_TRUE(handle.Close());
}

} // namespace
