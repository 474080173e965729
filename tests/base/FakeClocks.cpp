// The linker's option --wrap leads each of these calls to its replacement here; the call itself is then to be
// had by the name __real_... Programs for Windows call through a pointer, __imp_..., which is what is
// replaced there.
#include "base/FakeClocks.h"
#include "support/LogCapture.h"

#include <cstring>

#include <mmsystem.h>

namespace
{

FakeClocks* g_pClocks = nullptr;
const HKEY hFakeKey = reinterpret_cast<HKEY>(static_cast<INT_PTR>(0x5A5A));

LONGLONG FakeTicks() noexcept
{
    return g_pClocks->m_llTicks;
}

} // namespace

FakeClocks::FakeClocks() : m_pfnBefore(g_pfnProcTicks)
{
    g_pClocks = this;
    g_pfnProcTicks = FakeTicks;
}

FakeClocks::~FakeClocks()
{
    g_pClocks = nullptr;
    g_pfnProcTicks = m_pfnBefore;
}

// QX_WRAP defines the replacement of a call: its result, name, parameters, and the arguments to hand on.
#ifdef QX_NATIVE
#define QX_WRAP(result, name, parameters, arguments)                                                         \
    extern "C" result WINAPI __real_##name parameters;                                                       \
    static result Fake##name parameters;                                                                     \
    static result Real##name parameters                                                                      \
    {                                                                                                        \
        return __real_##name arguments;                                                                      \
    }                                                                                                        \
    extern "C" result WINAPI __wrap_##name parameters                                                        \
    {                                                                                                        \
        return g_pClocks ? Fake##name arguments : Real##name arguments;                                      \
    }                                                                                                        \
    static result Fake##name parameters
#else
#define QX_WRAP(result, name, parameters, arguments)                                                         \
    extern "C"                                                                                               \
    {                                                                                                        \
        extern result(WINAPI* __real___imp_##name) parameters;                                               \
    }                                                                                                        \
    static result Fake##name parameters;                                                                     \
    static result WINAPI Either##name parameters                                                             \
    {                                                                                                        \
        return g_pClocks ? Fake##name arguments : __real___imp_##name arguments;                             \
    }                                                                                                        \
    extern "C"                                                                                               \
    {                                                                                                        \
        result(WINAPI* __wrap___imp_##name) parameters = &Either##name;                                      \
    }                                                                                                        \
    static result Fake##name parameters
#endif

QX_WRAP(LSTATUS, RegOpenKeyExW, (HKEY hKey, const WCHAR* pszPath, DWORD dwOptions, REGSAM sam, HKEY* phKey),
        (hKey, pszPath, dwOptions, sam, phKey))
{
    g_pClocks->m_calls.push_back(std::string(hKey == HKEY_LOCAL_MACHINE ? "open " : "open elsewhere ") +
                                 Utf8(pszPath));
    if (dwOptions != 0 || (sam & KEY_QUERY_VALUE) == 0)
        return ERROR_ACCESS_DENIED;
    *phKey = hFakeKey;
    return g_pClocks->m_lOpen;
}

QX_WRAP(LSTATUS, RegQueryValueExW,
        (HKEY hKey, const WCHAR* pszName, DWORD* pReserved, DWORD* pdwType, BYTE* pb, DWORD* pcb),
        (hKey, pszName, pReserved, pdwType, pb, pcb))
{
    g_pClocks->m_calls.push_back("query " + Utf8(pszName));
    if (hKey != hFakeKey || pReserved || *pcb < sizeof(DWORD))
        return ERROR_INVALID_HANDLE;
    if (pdwType)
        *pdwType = g_pClocks->m_dwType;
    std::memcpy(pb, &g_pClocks->m_dwValue, sizeof(DWORD));
    *pcb = sizeof(DWORD);
    return g_pClocks->m_lQuery;
}

QX_WRAP(LSTATUS, RegCloseKey, (HKEY hKey), (hKey))
{
    if (hKey != hFakeKey)
        return ERROR_INVALID_HANDLE;
    g_pClocks->m_calls.push_back("close");
    return ERROR_SUCCESS;
}

QX_WRAP(BOOL, QueryPerformanceFrequency, (LARGE_INTEGER * pFreq), (pFreq))
{
    pFreq->QuadPart = g_pClocks->m_llCounterFreq;
    return g_pClocks->m_bCounterFreq;
}

QX_WRAP(BOOL, QueryPerformanceCounter, (LARGE_INTEGER * pCounter), (pCounter))
{
    pCounter->QuadPart = g_pClocks->m_llCounter;
    return TRUE;
}

QX_WRAP(DWORD, timeGetTime, (), ())
{
    return g_pClocks->m_dwTimer;
}

QX_WRAP(void, Sleep, (DWORD nMilliseconds), (nMilliseconds))
{
    g_pClocks->m_calls.push_back("sleep " + std::to_string(nMilliseconds));
    g_pClocks->m_llCounter += g_pClocks->m_llCounterStep;
    g_pClocks->m_dwTimer += g_pClocks->m_dwTimerStep;
    g_pClocks->m_llTicks += g_pClocks->m_llTicksStep;
}
