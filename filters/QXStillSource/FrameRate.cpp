#include "FrameRate.h"

#include <climits>
#include <cmath>

namespace
{

/// Frame lengths that count as one of the usual rates.
struct FrameTimeRange
{
    LONGLONG rtFirst; ///< inclusive
    LONGLONG rtLast;  ///< inclusive
    LONGLONG rtFrame; ///< what the range becomes
};

constexpr FrameTimeRange arrFrameTimes[] = {
    {166600, 166700, 166667}, // 60 frames per second
    {166800, 166900, 166833}, // 59.94
    {199950, 200050, 200000}, // 50
    {333300, 333400, 333333}, // 30
    {333600, 333700, 333667}, // 29.97
    {399950, 400050, 400000}, // 25
    {416600, 416700, 416667}, // 24
    {417000, 417200, 417083}, // 23.976
};

LONGLONG Recurse(LONGLONG nA, LONGLONG nB) noexcept
{
    if (nB == 0)
        return nA;
    // The remainder by -1 is 0; asked of the processor it overflows for the lowest value.
    return Recurse(nB, nB == -1 ? 0 : nA % nB);
}

} // namespace

LONGLONG FrameTimeFromRate(double dblRate) noexcept
{
    if (!(dblRate > 0))
        return rtDefaultFrame;
    const double dblFrame = std::round(dblTimeUnits / dblRate);
    // 2 to the power of 63 is the first value that does not fit.
    constexpr double dblTooLong = 9223372036854775808.0;
    if (!(dblFrame < dblTooLong))
        return LLONG_MAX;

    const LONGLONG rtFrame = static_cast<LONGLONG>(dblFrame);
    for (const FrameTimeRange& range : arrFrameTimes)
    {
        if (rtFrame >= range.rtFirst && rtFrame <= range.rtLast)
            return range.rtFrame;
    }
    return rtFrame;
}

double RateFromFrameTime(LONGLONG rtFrame) noexcept
{
    return rtFrame != 0 ? dblTimeUnits / static_cast<double>(rtFrame) : 0.0;
}

LONGLONG GreatestCommonDivisor(LONGLONG nA, LONGLONG nB) noexcept
{
    if (nA == 0 && nB == 0)
        return 1;
    return Recurse(nA, nB);
}
