#pragma once
/// Frame numbers and reference times of a stream. Every product and sum wraps at 64 bits instead of failing,
/// deliberately: the number that stands for no end is too large for a time, and callers see the wrapped one.

#include "dstl/WinAPI/Platform.h"

/// Sum of two counts.
constexpr LONGLONG AddTimes(LONGLONG a, LONGLONG b) noexcept
{
    return static_cast<LONGLONG>(static_cast<ULONGLONG>(a) + static_cast<ULONGLONG>(b));
}

/// Start of a frame. \param rtFrame length of a frame in units of 100 ns
constexpr LONGLONG FrameToTime(LONGLONG nFrame, LONGLONG rtFrame) noexcept
{
    return static_cast<LONGLONG>(static_cast<ULONGLONG>(nFrame) * static_cast<ULONGLONG>(rtFrame));
}

/// The frame that a time lies in, cut toward zero. \param rtFrame not 0
constexpr LONGLONG TimeToFrame(LONGLONG rtTime, LONGLONG rtFrame) noexcept
{
    // Asked of the processor, the lowest value divided by -1 ends the program.
    return rtFrame == -1 ? FrameToTime(rtTime, -1) : rtTime / rtFrame;
}
