// The position of the stream: numbers, times and seeks, without a pin.
#include "StreamPosition.h"

#include <gtest/gtest.h>

#include <strmif.h>

#include <climits>
#include <random>
#include <thread>

namespace
{

constexpr LONGLONG rtFrame = 400000;
constexpr DWORD dwAbsolute = AM_SEEKING_AbsolutePositioning;
constexpr DWORD dwRelative = AM_SEEKING_RelativePositioning;

void Step(CStreamPosition& position)
{
    const CStreamPosition::CHold hold(position);
    position.Advance(position.Stamp(rtFrame));
}

TEST(StreamPosition, StartsWithASegmentAndWithoutAnEnd)
{
    const CStreamPosition position;
    EXPECT_TRUE(position.SegmentBegins());
    EXPECT_FALSE(position.IsPastEnd());
    EXPECT_EQ(position.NextFrame(), 0);
    EXPECT_EQ(position.StartTime(rtFrame), 0);
    EXPECT_EQ(position.StopTime(rtFrame), 3522434997161793536); // the product wraps
    const FrameStamp stamp = position.Stamp(rtFrame);
    EXPECT_EQ(stamp.nFrame, 0);
    EXPECT_EQ(stamp.nNextFrame, 1);
    EXPECT_EQ(stamp.rtStart, 0);
    EXPECT_EQ(stamp.rtEnd, rtFrame);
    EXPECT_TRUE(stamp.bSegmentBegins);
}

TEST(StreamPosition, FramesFollowEachOther)
{
    CStreamPosition position;
    for (int i = 0; i < 1000; i++)
    {
        const FrameStamp stamp = position.Stamp(rtFrame);
        ASSERT_EQ(stamp.nFrame, i);
        ASSERT_EQ(stamp.rtStart, i * rtFrame);
        ASSERT_EQ(stamp.bSegmentBegins, i == 0);
        position.Advance(stamp);
    }
}

TEST(StreamPosition, AStampThatIsNotUsedMovesNothing)
{
    CStreamPosition position;
    Step(position);
    position.Stamp(rtFrame);
    EXPECT_EQ(position.NextFrame(), 1);
}

TEST(StreamPosition, TheNumberOutlivesASegmentAndTheTimeDoesNot)
{
    CStreamPosition position;
    Step(position);
    Step(position);
    position.BeginSegment();
    const FrameStamp stamp = position.Stamp(rtFrame);
    EXPECT_EQ(stamp.nFrame, 2);
    EXPECT_EQ(stamp.rtStart, 0);
    EXPECT_TRUE(stamp.bSegmentBegins);
}

TEST(StreamPosition, TheLastNumberIsSentToo)
{
    CStreamPosition position;
    position.SetStopFrame(2);
    int nFrames = 0;
    for (; !position.IsPastEnd(); nFrames++)
        Step(position);
    EXPECT_EQ(nFrames, 3);
    position.SetStopFrame(0);
    EXPECT_FALSE(position.IsPastEnd());
    position.SetStopFrame(-1);
    EXPECT_FALSE(position.IsPastEnd());
}

TEST(StreamPosition, SeeksCutTowardZero)
{
    CStreamPosition position;
    LONGLONG llCurrent = 799999, llStop = -799999;
    position.Seek({&llCurrent, dwAbsolute}, {&llStop, dwAbsolute}, rtFrame);
    EXPECT_EQ(llCurrent, 799999); // the caller's values stay
    EXPECT_EQ(llStop, -799999);
    EXPECT_EQ(position.NextFrame(), 1);
    EXPECT_EQ(position.StopTime(1), -1);
}

TEST(StreamPosition, ARelativeSeekTellsTheAbsoluteTime)
{
    CStreamPosition position;
    LONGLONG llCurrent = 100 * rtFrame, llStop = 1000 * rtFrame;
    position.Seek({&llCurrent, dwAbsolute}, {&llStop, dwAbsolute}, rtFrame);
    llCurrent = 10000000, llStop = -4000000;
    position.Seek({&llCurrent, dwRelative}, {&llStop, dwRelative}, rtFrame);
    EXPECT_EQ(llCurrent, 50000000);
    EXPECT_EQ(llStop, 396000000);
    EXPECT_EQ(position.NextFrame(), 125);
    EXPECT_EQ(position.StopTime(1), 990);
}

TEST(StreamPosition, ASeekThatMovesNothingBeginsASegment)
{
    for (const DWORD dwFlags : {0u, 0xFFFFFFFCu})
    {
        CStreamPosition position;
        Step(position);
        LONGLONG ll = 77;
        position.Seek({&ll, dwFlags}, {nullptr, dwAbsolute}, rtFrame);
        EXPECT_EQ(ll, 77);
        EXPECT_EQ(position.NextFrame(), 1);
        EXPECT_TRUE(position.SegmentBegins());
        EXPECT_EQ(position.StopTime(1), CStreamPosition::nNoStopFrame);
    }
}

TEST(StreamPosition, AnyValuesWrapInsteadOfFailing)
{
    std::mt19937_64 random(1);
    const LONGLONG arrEdges[] = {LLONG_MIN, LLONG_MIN + 1, -1, 0, 1, LLONG_MAX - 1, LLONG_MAX};
    const auto any = [&]
    {
        const uint64_t n = random();
        return n % 4 == 0 ? arrEdges[n / 4 % 7] : static_cast<LONGLONG>(n) >> (n % 60);
    };
    CStreamPosition position;
    for (int i = 0; i < 20000; i++)
    {
        LONGLONG llCurrent = any(), llStop = any();
        const LONGLONG rt = any();
        position.Seek({&llCurrent, static_cast<DWORD>(random() % 4)},
                      {&llStop, static_cast<DWORD>(random() % 4)}, rt != 0 ? rt : 1);
        const FrameStamp stamp = position.Stamp(rt);
        EXPECT_EQ(static_cast<uint64_t>(stamp.nNextFrame), static_cast<uint64_t>(stamp.nFrame) + 1);
        EXPECT_EQ(stamp.rtEnd, rt);
        position.Advance(stamp);
        EXPECT_EQ(position.NextFrame(), stamp.nNextFrame);
        EXPECT_EQ(static_cast<uint64_t>(position.StartTime(rt)),
                  static_cast<uint64_t>(stamp.nNextFrame) * static_cast<uint64_t>(rt));
    }
}

TEST(StreamPosition, ASeekWaitsForTheFrame)
{
    CStreamPosition position;
    {
        const CStreamPosition::CHold frame(position);
        bool bHeld = true;
        std::thread([&] { bHeld = CStreamPosition::CHold(position, false).IsHeld(); }).join();
        EXPECT_FALSE(bHeld);
        EXPECT_TRUE(CStreamPosition::CHold(position, false).IsHeld()); // the caller's own
    }
    EXPECT_TRUE(CStreamPosition::CHold(position, false).IsHeld());
}

} // namespace
