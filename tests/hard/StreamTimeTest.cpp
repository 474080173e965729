/// Hours of stream time, as fast as the sink takes the frames: counters stay exact and nothing grows.
///
/// QX_HARD_MINUTES: minutes of stream time, 10 unless told.

#include "HardSupport.h"

#include <vfwmsgs.h>

#include <atomic>
#include <cstdio>

#include "ProcessUsage.h"
#include "support/Watchdog.h"

namespace
{

constexpr int nWidth = 320;
constexpr int nHeight = 240;
constexpr LONG cbFrame = nWidth * nHeight * 2; // UYVY
constexpr REFERENCE_TIME rtFrame = 400000;
constexpr long long nFramesAMinute = 25 * 60;
constexpr long long nSettled = nFramesAMinute; // frames after which nothing may grow any more

/// What the sink finds, frame for frame.
struct Findings
{
    long long nFrames = 0;
    long long nWrongTimes = 0;
    long long nWrongMediaTimes = 0;
    long long nWrongFlags = 0;
    long long nWrongLengths = 0;
    long long nWrongPixels = 0;
};

void LookAt(IMediaSample* pSample, Findings& found)
{
    const long long n = found.nFrames++;
    REFERENCE_TIME tS = -1, tE = -1;
    LONGLONG llS = -1, llE = -1;
    found.nWrongTimes += pSample->GetTime(&tS, &tE) != S_OK || tS != n * rtFrame || tE != (n + 1) * rtFrame;
    found.nWrongMediaTimes += pSample->GetMediaTime(&llS, &llE) != S_OK || llS != n || llE != n + 1;
    found.nWrongFlags += pSample->IsSyncPoint() != S_OK || pSample->IsPreroll() != S_FALSE ||
                         pSample->IsDiscontinuity() != (n == 0 ? S_OK : S_FALSE);
    found.nWrongLengths += pSample->GetActualDataLength() != cbFrame;
    // Green in UYVY: the first and the last macropixel are the same.
    BYTE* pb = nullptr;
    found.nWrongPixels += pSample->GetPointer(&pb) != S_OK || pb == nullptr ||
                          memcmp(pb, pb + cbFrame - 4, 4) != 0 || pb[1] == 0 || pb[1] != pb[3];
}

TEST(StreamTime, CountersAreExactAndNothingGrows)
{
    const HardCom com;
    const LoadedModule module;
    const long long nMinutes = NumberFromEnvironment("QX_HARD_MINUTES", 10);
    const long long nWanted = nMinutes * nFramesAMinute;
    ASSERT_GT(nWanted, 2 * nSettled);

    HardPin pin; // offers no allocator: the filter's own is used
    HardSource source(module);
    ASSERT_TRUE(source.spPin);
    ASSERT_EQ(source.SetPicture(L"green"), S_OK);
    ASSERT_EQ(source.SetFormat(L"UYVY", nWidth, nHeight), S_OK);
    ASSERT_EQ(source.spControl->SetFrameRate(25.0), S_OK);

    Findings found;
    Usage settled;
    CEvent evEnd;
    ASSERT_TRUE(evEnd.Create(true));
    Watchdog watchdog;
    pin.m_fnReceive = [&](IMediaSample* pSample) -> HRESULT
    {
        if (found.nFrames == nWanted)
            return S_FALSE; // enough
        LookAt(pSample, found);
        if (found.nFrames % 256 == 0)
            watchdog.Step(found.nFrames, "receive");
        if (found.nFrames == nSettled)
            settled = CurrentUsage();
        if (found.nFrames == nWanted)
            evEnd.Set();
        return S_OK;
    };
    ASSERT_EQ(source.spPin->Connect(&pin, nullptr), S_OK);
    const DWORD dwStart = GetTickCount();
    ASSERT_EQ(source.spFilter->Run(0), S_OK);
    ASSERT_EQ(WaitForSingleObject(evEnd, INFINITE), WAIT_OBJECT_0); // the watchdog sees to it
    const DWORD dwTaken = GetTickCount() - dwStart;
    watchdog.Step(nWanted, "stop");
    ASSERT_EQ(source.spFilter->Stop(), S_OK);
    const Usage after = CurrentUsage();
    watchdog.Step(nWanted, nullptr);

    std::printf("%lld minutes of stream time, %lld frames, took %.1f s: %.0f frames a second\n", nMinutes,
                nWanted, dwTaken / 1000.0, nWanted * 1000.0 / (dwTaken != 0 ? dwTaken : 1));
    Tell(settled, after);
    EXPECT_EQ(found.nFrames, nWanted);
    EXPECT_EQ(found.nWrongTimes, 0);
    EXPECT_EQ(found.nWrongMediaTimes, 0);
    EXPECT_EQ(found.nWrongFlags, 0);
    EXPECT_EQ(found.nWrongLengths, 0);
    EXPECT_EQ(found.nWrongPixels, 0);
    EXPECT_GT(settled.handles, 0u);
    EXPECT_LE(after.handles, settled.handles);
    EXPECT_LE(after.heapBytes,
              settled.heapBytes + 4 * 1024); // a leak of a byte for every tenth frame is above it
    EXPECT_LE(after.privateBytes, settled.privateBytes + 64 * 1024);

    EXPECT_EQ(source.spPin->Disconnect(), S_OK);
    source.Release();
    EXPECT_EQ(pin.Refs(), 0);
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
}

} // namespace
