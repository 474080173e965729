#pragma once
/// The performance counter in milliseconds.

#include "dstl/WinAPI/Platform.h"

inline LONGLONG Tick()
{
    LARGE_INTEGER now = {};
    QueryPerformanceCounter(&now);
    return now.QuadPart;
}

/// From one reading to another.
inline double Milliseconds(LONGLONG from, LONGLONG to)
{
    LARGE_INTEGER frequency = {};
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(to - from) * 1000.0 / static_cast<double>(frequency.QuadPart);
}
