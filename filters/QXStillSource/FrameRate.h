#pragma once
/// Frame rates and frame lengths, and the greatest common divisor that aspect ratios are reduced by.

#include "dstl/WinAPI/Platform.h"

/// Length of a frame where none is known: 25 frames per second, in units of 100 ns.
inline constexpr LONGLONG rtDefaultFrame = 400000;

/// The length of a frame that a media type gives, or the default for 0.
constexpr LONGLONG FrameTimeOrDefault(LONGLONG rtFrame) noexcept
{
    return rtFrame != 0 ? rtFrame : rtDefaultFrame;
}

/// Units of 100 ns in a second.
inline constexpr double dblTimeUnits = 10000000.0;

/// Length of a frame in units of 100 ns. Values near those of the usual rates become exactly these.
/// \param dblRate frames per second; 0 or less gives rtDefaultFrame
LONGLONG FrameTimeFromRate(double dblRate) noexcept;

/// Frames per second of a frame length; 0 for a length of 0.
double RateFromFrameTime(LONGLONG rtFrame) noexcept;

/// Greatest common divisor, with the result 1 for two zeros. Meant for values of 32 bits; the sign of the
/// result is that of the recursion.
LONGLONG GreatestCommonDivisor(LONGLONG nA, LONGLONG nB) noexcept;
