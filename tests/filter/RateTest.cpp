#include "FrameRate.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

namespace
{

struct RateRow
{
    double dblRate;
    LONGLONG rtFrame;
};

class FrameTime : public testing::TestWithParam<RateRow>
{
};

TEST_P(FrameTime, OfRate)
{
    EXPECT_EQ(FrameTimeFromRate(GetParam().dblRate), GetParam().rtFrame) << GetParam().dblRate;
}

INSTANTIATE_TEST_SUITE_P(Usual, FrameTime,
                         testing::Values(RateRow{60, 166667}, RateRow{59.94, 166833},
                                         RateRow{60000.0 / 1001, 166833}, RateRow{50, 200000},
                                         RateRow{30, 333333}, RateRow{29.97, 333667},
                                         RateRow{30000.0 / 1001, 333667}, RateRow{25, 400000},
                                         RateRow{24, 416667}, RateRow{23.976, 417083},
                                         RateRow{24000.0 / 1001, 417083}, RateRow{23.98, 417083}));

INSTANTIATE_TEST_SUITE_P(Other, FrameTime,
                         testing::Values(RateRow{7, 1428571}, RateRow{1, 10000000}, RateRow{0.5, 20000000},
                                         RateRow{100, 100000}, RateRow{12.5, 800000}, RateRow{15, 666667},
                                         RateRow{10000000, 1}, RateRow{20000000, 1}, RateRow{20000001, 0},
                                         RateRow{1e300, 0}));

INSTANTIATE_TEST_SUITE_P(NoRate, FrameTime,
                         testing::Values(RateRow{0, 400000}, RateRow{-0.0, 400000}, RateRow{-1, 400000},
                                         RateRow{-25, 400000}, RateRow{-1e300, 400000},
                                         RateRow{std::numeric_limits<double>::quiet_NaN(), 400000},
                                         RateRow{-std::numeric_limits<double>::infinity(), 400000}));

INSTANTIATE_TEST_SUITE_P(Limits, FrameTime,
                         testing::Values(RateRow{1e-300, LLONG_MAX},
                                         RateRow{std::numeric_limits<double>::denorm_min(), LLONG_MAX},
                                         RateRow{std::numeric_limits<double>::infinity(), 0}));

struct RangeRow
{
    LONGLONG rtFirst, rtLast, rtFrame;
};

class FrameTimeRange : public testing::TestWithParam<RangeRow>
{
protected:
    /// The frame length of the rate that has this one.
    static LONGLONG Of(LONGLONG rtFrame)
    {
        return FrameTimeFromRate(10000000.0 / static_cast<double>(rtFrame));
    }
};

TEST_P(FrameTimeRange, EveryValueInsideBecomesTheUsualOne)
{
    for (LONGLONG rt = GetParam().rtFirst; rt <= GetParam().rtLast; rt++)
        EXPECT_EQ(Of(rt), GetParam().rtFrame) << rt;
}

TEST_P(FrameTimeRange, NeighboursStay)
{
    EXPECT_EQ(Of(GetParam().rtFirst - 1), GetParam().rtFirst - 1);
    EXPECT_EQ(Of(GetParam().rtLast + 1), GetParam().rtLast + 1);
}

INSTANTIATE_TEST_SUITE_P(Table, FrameTimeRange,
                         testing::Values(RangeRow{166600, 166700, 166667}, RangeRow{166800, 166900, 166833},
                                         RangeRow{199950, 200050, 200000}, RangeRow{333300, 333400, 333333},
                                         RangeRow{333600, 333700, 333667}, RangeRow{399950, 400050, 400000},
                                         RangeRow{416600, 416700, 416667}, RangeRow{417000, 417200, 417083}));

TEST(FrameTimeRounding, HalfAwayFromZero)
{
    EXPECT_EQ(FrameTimeFromRate(10000000.0 / 1000.5), 1001);
    EXPECT_EQ(FrameTimeFromRate(10000000.0 / 2.5), 3); // to even would be 2
    EXPECT_EQ(FrameTimeFromRate(10000000.0 / 1000.25), 1000);
}

TEST(Rate, OfFrameTime)
{
    EXPECT_DOUBLE_EQ(RateFromFrameTime(400000), 25.0);
    EXPECT_DOUBLE_EQ(RateFromFrameTime(333667), 10000000.0 / 333667);
    EXPECT_EQ(RateFromFrameTime(0), 0.0);
    EXPECT_DOUBLE_EQ(RateFromFrameTime(-400000), -25.0);
}

TEST(GreatestCommonDivisor, Values)
{
    EXPECT_EQ(GreatestCommonDivisor(720, 576), 144);
    EXPECT_EQ(GreatestCommonDivisor(576, 720), 144);
    EXPECT_EQ(GreatestCommonDivisor(1920, 1080), 120);
    EXPECT_EQ(GreatestCommonDivisor(7, 13), 1);
    EXPECT_EQ(GreatestCommonDivisor(12, 0), 12);
    EXPECT_EQ(GreatestCommonDivisor(0, 12), 12);
    EXPECT_EQ(GreatestCommonDivisor(0, 0), 1);
    EXPECT_EQ(GreatestCommonDivisor(4294967295LL, 4294967295LL), 4294967295LL);
    EXPECT_EQ(GreatestCommonDivisor(4294967295LL, 65535), 65535);
}

TEST(GreatestCommonDivisor, LowestValueDoesNotOverflow)
{
    EXPECT_EQ(GreatestCommonDivisor(LLONG_MIN, -1), -1);
    EXPECT_EQ(GreatestCommonDivisor(-1, LLONG_MIN), -1);
}

TEST(GreatestCommonDivisor, DividesBothAndIsTheGreatest)
{
    for (LONGLONG a = 1; a <= 60; a++)
    {
        for (LONGLONG b = 1; b <= 60; b++)
        {
            LONGLONG nBest = 1;
            for (LONGLONG n = 1; n <= 60; n++)
            {
                if (a % n == 0 && b % n == 0)
                    nBest = n;
            }
            EXPECT_EQ(GreatestCommonDivisor(a, b), nBest) << a << " " << b;
        }
    }
}

} // namespace
