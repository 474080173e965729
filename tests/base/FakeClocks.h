#pragma once
/// Clocks, a registry value and a cycle counter that a test sets. The program is linked so that these calls
/// pass through FakeClocks.cpp; without an object of this class they do what they always do.

#include "dstl/WinAPI/Perf_only.h"

#include <string>
#include <vector>

class FakeClocks
{
public:
    FakeClocks();
    ~FakeClocks();
    FakeClocks(const FakeClocks&) = delete;
    FakeClocks& operator=(const FakeClocks&) = delete;

    /// The registry: whether the key and the value are there, and what the value holds.
    LSTATUS m_lOpen = ERROR_SUCCESS;
    LSTATUS m_lQuery = ERROR_SUCCESS;
    DWORD m_dwType = REG_DWORD;
    DWORD m_dwValue = 3000;

    /// The clocks; each sleep moves them, and the cycle counter, on.
    BOOL m_bCounterFreq = TRUE;
    LONGLONG m_llCounterFreq = 10000000;
    LONGLONG m_llCounterStep = 100000; ///< 10 ms
    DWORD m_dwTimerStep = 40;
    LONGLONG m_llTicksStep = 25000000;

    LONGLONG m_llCounter = 5000;
    DWORD m_dwTimer = 0xFFFFFFF0; ///< runs over while it is used
    LONGLONG m_llTicks = 1000000;

    /// Calls in their order: "open PATH", "query NAME", "close", "sleep N".
    std::vector<std::string> m_calls;

private:
    PFNPROCTICKS m_pfnBefore;
};
