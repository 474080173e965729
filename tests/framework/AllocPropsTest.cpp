#include "dstl/dshowx/memory/AllocatorProps.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <tuple>

namespace
{
using Tuple = std::tuple<LONG, LONG, LONG, LONG>;

Tuple AsTuple(const ALLOCATOR_PROPERTIES& rgProps)
{
    return {rgProps.cBuffers, rgProps.cbBuffer, rgProps.cbAlign, rgProps.cbPrefix};
}

TEST(AllocatorProps, DefaultRequest)
{
    EXPECT_EQ(AsTuple(rgDefaultAllocatorProps), Tuple(1, 1, 1, 0));
}

TEST(AllocatorProps, MaximumIsFieldWiseAndSigned)
{
    struct Row
    {
        ALLOCATOR_PROPERTIES rgProps, rgOther;
        Tuple expected;
    };
    const Row rows[] = {
        {{0, 0, 0, 0}, {1, 1, 1, 0}, {1, 1, 1, 0}},
        {{5, 1, 16, 0}, {1, 7, 1, 8}, {5, 7, 16, 8}},
        {{-1, -5, INT_MIN, -2}, {1, 1, 1, 0}, {1, 1, 1, 0}},
        {{INT_MAX, 3, 3, 3}, {1, INT_MAX, -1, 4}, {INT_MAX, INT_MAX, 3, 4}},
    };
    for (const Row& row : rows)
    {
        ALLOCATOR_PROPERTIES rgProps = row.rgProps;
        AllocatorMaxProps(rgProps, row.rgOther);
        EXPECT_EQ(AsTuple(rgProps), row.expected);
    }
}

TEST(AllocatorProps, DemandOfThePin)
{
    struct Row
    {
        const char* pszName;
        ALLOCATOR_PROPERTIES rgProps;
        DWORD cbImage, cbSample, cbFrame;
        Tuple expected;
    };
    const Row rows[] = {
        {"the default request", {1, 1, 1, 0}, 100, 1, 100, {2, 100, 1, 0}},
        {"below the least", {0, 0, 0, 0}, 0, 0, 0, {2, 1, 1, 0}},
        {"negative", {-3, -7, -16, -1}, 0, 0, 0, {2, 1, 1, -1}},
        {"1 buffer becomes 2", {1, 10, 1, 0}, 0, 0, 0, {2, 10, 1, 0}},
        {"2 buffers stay", {2, 10, 2, 0}, 0, 0, 0, {2, 10, 2, 0}},
        {"3 buffers stay", {3, 10, 1, 0}, 0, 0, 0, {3, 10, 1, 0}},
        {"more stays", {10, 1000, 4096, 8}, 100, 200, 300, {10, 1000, 4096, 8}},
        {"the header's size", {1, 10, 1, 0}, 300, 200, 100, {2, 300, 1, 0}},
        {"the sample size", {1, 10, 1, 0}, 100, 300, 200, {2, 300, 1, 0}},
        {"the picture's size", {1, 10, 1, 0}, 100, 200, 300, {2, 300, 1, 0}},
        {"the largest signed size", {1, 10, 1, 0}, INT_MAX, 0, 0, {2, INT_MAX, 1, 0}},
        {"2 GiB counts as negative", {1, 10, 1, 0}, 0x80000000u, 300, 200, {2, 10, 1, 0}},
        {"the largest size of all", {1, 10, 1, 0}, 5, 0xFFFFFFFFu, 7, {2, 10, 1, 0}},
        {"the prefix is left alone", {1, 1, 1, 13}, 1, 1, 1, {2, 1, 1, 13}},
    };
    for (const Row& row : rows)
    {
        ALLOCATOR_PROPERTIES rgProps = row.rgProps;
        AdjustAllocatorProps(rgProps, row.cbImage, row.cbSample, row.cbFrame);
        EXPECT_EQ(AsTuple(rgProps), row.expected) << row.pszName;
    }
}

TEST(AllocatorProps, DemandIsStable)
{
    std::mt19937 random(1);
    std::uniform_int_distribution<LONG> any(INT_MIN, INT_MAX);
    for (int i = 0; i < 10000; ++i)
    {
        const ALLOCATOR_PROPERTIES rgStart = {any(random), any(random), any(random), any(random)};
        const DWORD cbImage = static_cast<DWORD>(any(random)), cbSample = static_cast<DWORD>(any(random)),
                    cbFrame = static_cast<DWORD>(any(random));
        ALLOCATOR_PROPERTIES rgProps = rgStart;
        AdjustAllocatorProps(rgProps, cbImage, cbSample, cbFrame);
        EXPECT_GE(rgProps.cBuffers, 2);
        EXPECT_GE(rgProps.cbBuffer, 1);
        EXPECT_GE(rgProps.cbAlign, 1);
        EXPECT_GE(rgProps.cBuffers, rgStart.cBuffers);
        EXPECT_GE(rgProps.cbBuffer, rgStart.cbBuffer);
        ALLOCATOR_PROPERTIES rgAgain = rgProps;
        AdjustAllocatorProps(rgAgain, cbImage, cbSample, cbFrame);
        EXPECT_EQ(AsTuple(rgAgain), AsTuple(rgProps));
    }
}

TEST(AllocatorProps, AcceptanceTable)
{
    struct Row
    {
        const char* pszName;
        ALLOCATOR_PROPERTIES rgRequest, rgActual;
        HRESULT hr;
    };
    const Row rows[] = {
        {"as requested", {2, 100, 1, 0}, {2, 100, 1, 0}, S_OK},
        {"more of everything", {2, 100, 1, 0}, {5, 4096, 16, 8}, S_OK},
        {"one buffer fewer", {2, 100, 1, 0}, {1, 100, 1, 0}, E_FAIL},
        {"one byte fewer", {2, 100, 1, 0}, {2, 99, 1, 0}, E_FAIL},
        {"alignment below the request", {2, 100, 16, 0}, {2, 100, 8, 0}, E_FAIL},
        {"prefix asked for and not granted", {2, 100, 1, 8}, {2, 100, 1, 0}, E_FAIL},
        {"prefix of its own", {2, 100, 1, 0}, {2, 100, 1, 8}, S_OK},
        {"alignment 3", {2, 100, 1, 0}, {2, 100, 3, 0}, E_FAIL},
        {"alignment 12", {2, 100, 1, 0}, {2, 100, 12, 0}, E_FAIL},
        {"alignment 0 against 1", {2, 100, 1, 0}, {2, 100, 0, 0}, E_FAIL},
        {"alignment 0 against 0 is a power of two", {2, 100, 0, 0}, {2, 100, 0, 0}, S_OK},
        {"the largest alignment", {2, 100, 1, 0}, {2, 100, 0x40000000, 0}, S_OK},
        {"the lowest alignment against itself", {2, 100, INT_MIN, 0}, {2, 100, INT_MIN, 0}, S_OK},
        {"negative fields", {-1, -1, 1, -1}, {-1, -1, 1, -1}, S_OK},
        {"signed comparison of sizes", {1, 1, 1, 0}, {1, -1, 1, 0}, E_FAIL},
    };
    for (const Row& row : rows)
        EXPECT_EQ(AllocatorTestProps(row.rgRequest, row.rgActual), row.hr) << row.pszName;
}

TEST(AllocatorProps, AlignmentsUpTo4096)
{
    for (LONG cbAlign = 1; cbAlign <= 4096; ++cbAlign)
    {
        const bool bPower = (cbAlign & (cbAlign - 1)) == 0;
        EXPECT_EQ(AllocatorTestProps({1, 1, 1, 0}, {1, 1, cbAlign, 0}), bPower ? S_OK : E_FAIL) << cbAlign;
    }
}
} // namespace
