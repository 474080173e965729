#include "dstl/WinAPI/Perf_only.h"

#include "dstl/WinAPI/Owner.h"
#include "dstl/dshowx/DSTrace.h"

#include <algorithm>
#include <cstdint>

#include <mmsystem.h>

#if defined(__x86_64__) || defined(__i386__)
#include <x86intrin.h>
#endif

namespace
{

constexpr wchar_t szProcessorKey[] = L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
constexpr wchar_t szFrequencyValue[] = L"~MHz";
constexpr unsigned nPerThousand = 1000;

/// MHz as the system has written them down; 0 when it has not.
DWORD RegistryFreq() noexcept
{
    HKEY hKey = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, szProcessorKey, 0, KEY_QUERY_VALUE, &hKey) != ERROR_SUCCESS)
        return 0;
    const COwnedKey key(hKey);
    DWORD dwFreq = 0;
    DWORD dwType = REG_NONE;
    DWORD cb = sizeof(dwFreq);
    const LSTATUS lStatus = RegQueryValueExW(key.Get(), szFrequencyValue, nullptr, &dwType,
                                             reinterpret_cast<BYTE*>(&dwFreq), &cb);
    return lStatus == ERROR_SUCCESS && dwType == REG_DWORD && cb == sizeof(dwFreq) ? dwFreq : 0;
}

/// A clock and the processor's cycles over the same time.
struct Measured
{
    LONGLONG llTicks = 0;
    LONGLONG llElapsed = 0; ///< in 1 / llFreq seconds; 0 when the clock stood still
    LONGLONG llFreq = 0;
};

Measured MeasureByCounter() noexcept
{
    constexpr DWORD nMilliseconds = 10;
    LARGE_INTEGER freq;
    Measured result;
    if (!QueryPerformanceFrequency(&freq) || freq.QuadPart <= 0)
        return result;
    LARGE_INTEGER begin = {};
    LARGE_INTEGER end = {};
    QueryPerformanceCounter(&begin);
    const LONGLONG llBegin = g_pfnProcTicks();
    Sleep(nMilliseconds);
    QueryPerformanceCounter(&end);
    result.llTicks = g_pfnProcTicks() - llBegin;
    result.llElapsed = end.QuadPart - begin.QuadPart;
    result.llFreq = freq.QuadPart;
    return result;
}

Measured MeasureByTimer() noexcept
{
    constexpr DWORD nMilliseconds = 40;
    constexpr LONGLONG llTimerFreq = 1000;
    const DWORD dwBegin = timeGetTime();
    const LONGLONG llBegin = g_pfnProcTicks();
    Sleep(nMilliseconds);
    const DWORD dwEnd = timeGetTime();
    return {g_pfnProcTicks() - llBegin, static_cast<LONGLONG>(dwEnd - dwBegin), llTimerFreq};
}

/// n * nFactor / nDivisor without overflow on the way. A divisor of 0 counts as an endless one, and a result
/// is limited to what the report's figures hold.
UINT Scale(LONGLONG n, UINT nFactor, ULONGLONG nDivisor) noexcept
{
    if (n <= 0 || nDivisor == 0)
        return 0;
    const unsigned __int128 nResult = static_cast<unsigned __int128>(n) * nFactor / nDivisor;
    return static_cast<UINT>(std::min<unsigned __int128>(nResult, UINT32_MAX));
}

} // namespace

DWORD CPerf::s_dwFreq = 0;
PFNPROCTICKS g_pfnProcTicks = ProcTicks;

LONGLONG ProcTicks() noexcept
{
#if defined(__x86_64__) || defined(__i386__)
    return static_cast<LONGLONG>(__rdtsc());
#else
    LARGE_INTEGER counter = {};
    QueryPerformanceCounter(&counter);
    return counter.QuadPart;
#endif
}

CPerf::CPerf(const wchar_t* pszName) noexcept
    : m_pszName(pszName != nullptr ? pszName : L""), m_llSum(0), m_llStart(0), m_llFirst(0), m_llLast(0),
      m_nCalls(0)
{
    if (s_dwFreq == 0)
    {
        const bool bFreq = GetProcFreq(&s_dwFreq, FALSE);
        DSASSERT_TEXT(bFreq, "CPerf::CPerf(): GetProcFreq() FAILED");
    }
}

void CPerf::Start() noexcept
{
    m_llStart = g_pfnProcTicks();
    if (m_nCalls == 0)
        m_llFirst = m_llStart;
}

void CPerf::Stop() noexcept
{
    m_llLast = g_pfnProcTicks();
    m_llSum += m_llLast - m_llStart;
    m_nCalls++;
}

void CPerf::Report(const wchar_t* pszName) const noexcept
{
    if (m_nCalls == 0)
        return;
    DSASSERT(s_dwFreq != 0);
    // MHz are cycles a microsecond. An unknown frequency and a first start at the latest stop give 0.
    const UINT nAverage = Scale(m_llSum, 1, ULONGLONG{s_dwFreq} * m_nCalls);
    const UINT nSum = Scale(m_llSum, 1, s_dwFreq);
    const LONGLONG llTime = m_llLast - m_llFirst;
    const UINT nLoad = Scale(m_llSum, 100 * nPerThousand, llTime > 0 ? static_cast<ULONGLONG>(llTime) : 0);
    trace(atlTraceGeneral, eTL_Error, L"%s: avg=%u.%03u ms (%u calls), summ=%u.%03u ms, CPU: %u.%03u%%\n",
          pszName != nullptr ? pszName : m_pszName, nAverage / nPerThousand, nAverage % nPerThousand,
          m_nCalls, nSum / nPerThousand, nSum % nPerThousand, nLoad / nPerThousand, nLoad % nPerThousand);
}

bool CPerf::GetProcFreq(DWORD* pdwFreq, BOOL bMeasure) noexcept
{
    DSASSERT(pdwFreq != 0);
    if (pdwFreq == nullptr)
        return false;
    *pdwFreq = 0;
    if (!bMeasure)
    {
        *pdwFreq = RegistryFreq();
        if (*pdwFreq != 0)
            return true;
    }

    Measured measured = MeasureByCounter();
    if (measured.llElapsed == 0)
        measured = MeasureByTimer();
    if (measured.llElapsed < 1)
        return false;
    const double dblHertz = static_cast<double>(measured.llTicks) * static_cast<double>(measured.llFreq) /
                            static_cast<double>(measured.llElapsed);
    constexpr double dblMega = 1000000.0;
    *pdwFreq = static_cast<DWORD>(std::clamp(dblHertz / dblMega, 0.0, static_cast<double>(UINT32_MAX)));
    return true;
}
