// The corrections of a request, as arithmetic.
#include "dstl/Old/DSAllocatorsGreed.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <tuple>
#include <vfwmsgs.h>

namespace
{
using Lines = std::vector<std::string>;
using Tuple = std::tuple<LONG, LONG, LONG, LONG>;
using Store = CGreedAllocatorBuffers<CGreedArrayOnVirtualAlloc>;

Tuple AsTuple(const ALLOCATOR_PROPERTIES& rg)
{
    return {rg.cBuffers, rg.cbBuffer, rg.cbAlign, rg.cbPrefix};
}

const std::string sPower =
    "WARNING. CAllocatorBuffers::Correct(): Alignment not a power of 2 (rgProps.cbAlign = ";
const std::string sZero = "WARNING. CAllocatorBuffers::Correct(): rgProps.cbAlign == 0\n";
const std::string sInput = "WARNING. CAllocatorBuffers::Correct(): input props = { ";
const std::string sBadAlign = "CCAllocatorBuffers::Correct(): Invalid alignment";
const std::string sBadSize = "CAllocatorBuffers::Correct() : Invalid numbers of buffers or buffer size";

TEST(Correct, Table)
{
    constexpr LONG nLowest = INT_MIN;
    struct Row
    {
        const char* pszName;
        ALLOCATOR_PROPERTIES rgGiven;
        HRESULT hr;
        Tuple expected;
        Lines warnings, asserts;
    };
    const Row rows[] = {
        {"nothing to correct", {2, 100, 1, 0}, S_OK, {2, 100, 1, 0}, {}, {}},
        {"no alignment", {2, 100, 0, 0}, S_OK, {2, 100, 1, 0}, {sZero}, {}},
        {"no alignment, with prefix", {2, 100, 0, 7}, S_OK, {2, 100, 1, 7}, {sZero}, {}},
        {"prefix completes the alignment", {2, 1000, 16, 24}, S_OK, {2, 1000, 16, 24}, {}, {}},
        {"size grows to the alignment",
         {2, 1000, 16, 0},
         S_OK,
         {2, 1008, 16, 0},
         {sInput + "2, 1000, 16, 0 }, corrected size of buffer = 1008\n"},
         {}},
        {"alignment 3",
         {3, 10, 3, 1},
         S_OK,
         {3, 11, 4, 1},
         {sPower + "0x3), corrected alignment = 0x4\n",
          sInput + "3, 10, 3, 1 }, corrected size of buffer = 11\n"},
         {}},
        {"alignment 0x60",
         {1, 0x80, 0x60, 0},
         S_OK,
         {1, 0x80, 0x80, 0},
         {sPower + "0x60), corrected alignment = 0x80\n"},
         {}},
        {"no buffer", {0, 100, 1, 0}, VFW_E_SIZENOTSET, {0, 100, 1, 0}, {}, {sBadSize}},
        {"negative number", {-5, 100, 1, 0}, VFW_E_SIZENOTSET, {-5, 100, 1, 0}, {}, {sBadSize}},
        {"no byte", {1, 0, 1, 0}, VFW_E_SIZENOTSET, {1, 0, 1, 0}, {}, {sBadSize}},
        {"negative size", {1, -1, 0, 0}, VFW_E_SIZENOTSET, {1, -1, 0, 0}, {}, {sBadSize}},
        {"the alignment is corrected before the size is refused",
         {0, 0, 5, 0},
         VFW_E_SIZENOTSET,
         {0, 0, 8, 0},
         {sPower + "0x5), corrected alignment = 0x8\n"},
         {sBadSize}},
        {"alignment -1", {2, 100, -1, 0}, VFW_E_BADALIGN, {2, 100, -1, 0}, {}, {sBadAlign}},
        {"alignment -16", {2, 100, -16, 0}, VFW_E_BADALIGN, {2, 100, -16, 0}, {}, {sBadAlign}},
        {"the alignment is refused before the size",
         {0, 0, -3, 0},
         VFW_E_BADALIGN,
         {0, 0, -3, 0},
         {},
         {sBadAlign}},
        {"the lowest alignment",
         {2, 100, nLowest, 0},
         VFW_E_SIZENOTSET,
         {2, 100, nLowest, 0},
         {},
         {sBadSize}},
        {"the lowest alignment and the lowest prefix",
         {2, 1, nLowest, nLowest},
         VFW_E_SIZENOTSET,
         {2, 1, nLowest, nLowest},
         {},
         {sBadSize}},
        {"an alignment that grows to the lowest",
         {1, 1, 0x40000001, 0},
         VFW_E_SIZENOTSET,
         {1, 1, nLowest, 0},
         {sPower + "0x40000001), corrected alignment = 0x80000000\n"},
         {sBadSize}},
        {"a size that would wrap",
         {1, INT_MAX, 16, 0},
         VFW_E_SIZENOTSET,
         {1, INT_MAX, 16, 0},
         {},
         {sBadSize}},
        {"the largest size that the alignment leaves",
         {1, INT_MAX - 16, 16, 0},
         S_OK,
         {1, INT_MAX - 15, 16, 0},
         {sInput + "1, 2147483631, 16, 0 }, corrected size of buffer = 2147483632\n"},
         {}},
        {"only the sum needs more than 32 bits",
         {1, INT_MAX, 1, INT_MAX},
         S_OK,
         {1, INT_MAX, 1, INT_MAX},
         {},
         {}},
        {"negative prefix",
         {1, 10, 16, -20},
         S_OK,
         {1, 36, 16, -20},
         {sInput + "1, 10, 16, -20 }, corrected size of buffer = 36\n"},
         {}},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.pszName);
        const LogCapture log;
        const AssertCapture asserts;
        ALLOCATOR_PROPERTIES rg = row.rgGiven;
        EXPECT_EQ(Store::Correct(rg), row.hr);
        EXPECT_EQ(AsTuple(rg), row.expected);
        EXPECT_EQ(log.Texts(4), row.warnings);
        EXPECT_EQ(asserts.Texts(), row.asserts);
    }
}

TEST(Correct, ThePolicyIsAskedFirst)
{
    const AssertCapture asserts;
    ALLOCATOR_PROPERTIES rg = {0, 0, -3, 0};
    EXPECT_EQ(CorrectAllocatorProps(rg, [](LONG cbAlign) noexcept { return cbAlign != -3; }), VFW_E_BADALIGN);
    EXPECT_EQ(asserts.Texts(),
              Lines{"CAllocatorBuffers::Correct(): Alignment \xD1\x81heck failed in base class"});
    EXPECT_EQ(AsTuple(rg), Tuple(0, 0, -3, 0));
}

LONG Wrap(int64_t n)
{
    return static_cast<LONG>(static_cast<uint32_t>(n & 0xFFFFFFFF));
}

/// The smallest power of two above n; as a LONG, so that 2^31 is the lowest one.
LONG PowerAbove(LONG n)
{
    int64_t nPower = 1;
    while (nPower <= n)
        nPower *= 2;
    return Wrap(nPower);
}

/// The same rules.
HRESULT Expect(const ALLOCATOR_PROPERTIES& rgGiven, ALLOCATOR_PROPERTIES& rg)
{
    rg = rgGiven;
    if (rg.cbAlign < 0 && rg.cbAlign != INT_MIN)
        return VFW_E_BADALIGN;
    if (rg.cbAlign > 0 && (rg.cbAlign & (rg.cbAlign - 1)) != 0)
        rg.cbAlign = PowerAbove(rg.cbAlign);
    if (rg.cBuffers < 1 || rg.cbBuffer < 1)
        return VFW_E_SIZENOTSET;
    if (rg.cbAlign == 0)
        rg.cbAlign = 1;
    const int64_t nLast = int64_t{rg.cbBuffer} + rg.cbPrefix - 1;
    const int64_t cbRounded = (nLast / rg.cbAlign + 1) * rg.cbAlign - rg.cbPrefix;
    if (cbRounded < 1 || cbRounded > INT_MAX)
        return VFW_E_SIZENOTSET;
    rg.cbBuffer = static_cast<LONG>(cbRounded);
    return S_OK;
}

/// Compares one request with the rules. \return 1 when it is refused
int ExpectLikeRules(const ALLOCATOR_PROPERTIES& rgGiven)
{
    ALLOCATOR_PROPERTIES rg = rgGiven, rgExpected;
    const HRESULT hr = Expect(rgGiven, rgExpected);
    const bool bSame = Store::Correct(rg) == hr && AsTuple(rg) == AsTuple(rgExpected);
    EXPECT_TRUE(bSame) << rgGiven.cBuffers << ' ' << rgGiven.cbBuffer << ' ' << rgGiven.cbAlign << ' '
                       << rgGiven.cbPrefix;
    return FAILED(hr);
}

TEST(Correct, EveryAlignmentOfPractice)
{
    const AssertCapture asserts;
    int nRefused = 0;
    for (LONG cbAlign = -300; cbAlign <= 70000; ++cbAlign)
        nRefused += ExpectLikeRules({cbAlign % 2 + 1, cbAlign % 1000 - 3, cbAlign, cbAlign % 11});
    EXPECT_EQ(asserts.Reports().size(), static_cast<size_t>(nRefused)) << "each refusal is asserted once";
}

TEST(Correct, EndsOfTheRange)
{
    std::vector<LONG> aligns = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0x60, 829440};
    for (int nBit = 4; nBit < 32; ++nBit)
    {
        for (int64_t nOff = -1; nOff <= 1; ++nOff)
        {
            aligns.push_back(Wrap((int64_t{1} << nBit) + nOff));
            aligns.push_back(Wrap(-(int64_t{1} << nBit) + nOff));
        }
    }
    const LONG sizes[] = {INT_MIN, -1,  0,    1,      2,          15,          16,
                          17,      100, 4096, 829440, 0x40000000, INT_MAX - 1, INT_MAX};
    const LONG prefixes[] = {INT_MIN, INT_MIN + 1, -100, -1, 0, 1, 8, 24, 4097, INT_MAX - 7, INT_MAX};
    const AssertCapture asserts;
    int nRefused = 0;
    for (const LONG cbAlign : aligns)
    {
        for (const LONG cbBuffer : sizes)
        {
            for (const LONG cbPrefix : prefixes)
                nRefused += ExpectLikeRules({cbAlign % 2 + 1, cbBuffer, cbAlign, cbPrefix});
        }
    }
    EXPECT_EQ(asserts.Reports().size(), static_cast<size_t>(nRefused)) << "each refusal is asserted once";
}

TEST(Correct, PowersOfTwo)
{
    int nPowers = IsPowerOfTwoAlign(INT_MAX);
    for (LONG n = INT_MIN; n < INT_MAX; ++n)
        nPowers += IsPowerOfTwoAlign(n);
    EXPECT_EQ(nPowers, 33) << "31 positive ones, 0 and the lowest value";
}
} // namespace
