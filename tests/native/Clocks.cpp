// Clocks of kernel32 and winmm, and a registry that holds nothing.
#include "dstl/WinAPI/Platform.h"

#include <mmsystem.h>

#include <ctime>

namespace
{

constexpr LONGLONG nNanosecond = 1000000000;

LONGLONG Nanoseconds()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * nNanosecond + now.tv_nsec;
}

} // namespace

BOOL WINAPI QueryPerformanceFrequency(LARGE_INTEGER* pFreq)
{
    pFreq->QuadPart = nNanosecond;
    return TRUE;
}

BOOL WINAPI QueryPerformanceCounter(LARGE_INTEGER* pCounter)
{
    pCounter->QuadPart = Nanoseconds();
    return TRUE;
}

DWORD WINAPI timeGetTime()
{
    return static_cast<DWORD>(Nanoseconds() / 1000000);
}

void WINAPI Sleep(DWORD nMilliseconds)
{
    const timespec span = {nMilliseconds / 1000, static_cast<long>(nMilliseconds % 1000) * 1000000};
    nanosleep(&span, nullptr);
}

LSTATUS WINAPI RegOpenKeyExW(HKEY, const WCHAR*, DWORD, REGSAM, HKEY*)
{
    return ERROR_FILE_NOT_FOUND;
}

LSTATUS WINAPI RegQueryValueExW(HKEY, const WCHAR*, DWORD*, DWORD*, BYTE*, DWORD*)
{
    return ERROR_FILE_NOT_FOUND;
}

LSTATUS WINAPI RegCloseKey(HKEY)
{
    return ERROR_SUCCESS;
}
