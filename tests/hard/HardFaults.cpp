// The linker's option --wrap leads each of these calls to its replacement here; the call itself is then to be
// had by the name __real_...
#include "HardFaults.h"

#include "dstl/WinAPI/Platform.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace
{

std::atomic<unsigned> g_nOneIn = 0;
std::atomic<uint64_t> g_nSeed = 0;
std::atomic<uint64_t> g_nCalls = 0;
std::atomic<long long> g_arrFaults[eFT_Count];

/// The single fault of the one thread that has asked for one.
std::atomic<DWORD> g_dwThread = 0;
eFault g_eKind = eFT_Count;
long g_nAfter = 0;
bool g_bFailed = false;

uint64_t Mixed(uint64_t n)
{
    n += 0x9E3779B97F4A7C15u;
    n = (n ^ n >> 30) * 0xBF58476D1CE4E5B9u;
    n = (n ^ n >> 27) * 0x94D049BB133111EBu;
    return n ^ n >> 31;
}

bool IsToFail(eFault eKind)
{
    bool bFail = false;
    if (g_dwThread != 0 && g_dwThread == GetCurrentThreadId() && eKind == g_eKind && !g_bFailed &&
        g_nAfter-- <= 0)
        bFail = g_bFailed = true;
    const unsigned nOneIn = g_nOneIn;
    if (nOneIn != 0 && Mixed(g_nSeed + ++g_nCalls) % nOneIn == 0)
        bFail = true;
    if (bFail)
    {
        ++g_arrFaults[eKind];
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return bFail;
}

using PFNTHREAD = unsigned(__stdcall*)(void*);
using PFNBEGINTHREAD = uintptr_t(__cdecl*)(void*, unsigned, PFNTHREAD, void*, unsigned, unsigned*);
using PFNCREATEEVENT = HANDLE(WINAPI*)(SECURITY_ATTRIBUTES*, BOOL, BOOL, const wchar_t*);
using PFNCREATESEMAPHORE = HANDLE(WINAPI*)(SECURITY_ATTRIBUTES*, LONG, LONG, const wchar_t*);
using PFNVIRTUALALLOC = void*(WINAPI*)(void*, SIZE_T, DWORD, DWORD);
using PFNTASKALLOC = void*(WINAPI*)(SIZE_T);

} // namespace

void SetFaults(uint64_t nSeed, unsigned nOneIn)
{
    g_nSeed = nSeed;
    g_nCalls = 0;
    g_nOneIn = nOneIn;
}

long long FaultsSoFar(eFault eKind)
{
    return g_arrFaults[eKind];
}

OneFault::OneFault(eFault eKind, long nAfter)
{
    g_eKind = eKind;
    g_nAfter = nAfter;
    g_bFailed = false;
    g_dwThread = GetCurrentThreadId();
}

OneFault::~OneFault()
{
    g_dwThread = 0;
}

bool OneFault::HasFailed() const
{
    return g_bFailed;
}

extern "C"
{
    extern PFNBEGINTHREAD __real___imp__beginthreadex;
    extern PFNCREATEEVENT __real___imp_CreateEventW;
    extern PFNCREATESEMAPHORE __real___imp_CreateSemaphoreW;
    extern PFNVIRTUALALLOC __real___imp_VirtualAlloc;
    extern PFNTASKALLOC __real___imp_CoTaskMemAlloc;

    static uintptr_t __cdecl BeginThreadOrFail(void* pSecurity, unsigned nStackSize, PFNTHREAD pfn, void* pv,
                                               unsigned nFlags, unsigned* pnId)
    {
        // The standard library's threads, which ask for no identifier, are the test's.
        if (pnId != nullptr && IsToFail(eFT_Thread))
            return 0;
        return __real___imp__beginthreadex(pSecurity, nStackSize, pfn, pv, nFlags, pnId);
    }

    static HANDLE WINAPI CreateEventOrFail(SECURITY_ATTRIBUTES* pSecurity, BOOL bManualReset, BOOL bSet,
                                           const wchar_t* pszName)
    {
        return IsToFail(eFT_Event) ? nullptr
                                   : __real___imp_CreateEventW(pSecurity, bManualReset, bSet, pszName);
    }

    static HANDLE WINAPI CreateSemaphoreOrFail(SECURITY_ATTRIBUTES* pSecurity, LONG nFirst, LONG nMost,
                                               const wchar_t* pszName)
    {
        return IsToFail(eFT_Semaphore) ? nullptr
                                       : __real___imp_CreateSemaphoreW(pSecurity, nFirst, nMost, pszName);
    }

    static void* WINAPI VirtualAllocOrFail(void* pWanted, SIZE_T cb, DWORD dwType, DWORD dwProtect)
    {
        return IsToFail(eFT_Pages) ? nullptr : __real___imp_VirtualAlloc(pWanted, cb, dwType, dwProtect);
    }

    static void* WINAPI TaskAllocOrFail(SIZE_T cb)
    {
        return IsToFail(eFT_TaskMemory) ? nullptr : __real___imp_CoTaskMemAlloc(cb);
    }

    PFNBEGINTHREAD __wrap___imp__beginthreadex = &BeginThreadOrFail;
    PFNCREATEEVENT __wrap___imp_CreateEventW = &CreateEventOrFail;
    PFNCREATESEMAPHORE __wrap___imp_CreateSemaphoreW = &CreateSemaphoreOrFail;
    PFNVIRTUALALLOC __wrap___imp_VirtualAlloc = &VirtualAllocOrFail;
    PFNTASKALLOC __wrap___imp_CoTaskMemAlloc = &TaskAllocOrFail;
}

void* operator new(std::size_t cb, const std::nothrow_t&) noexcept
{
    return IsToFail(eFT_Heap) ? nullptr : std::malloc(cb != 0 ? cb : 1);
}

void* operator new[](std::size_t cb, const std::nothrow_t&) noexcept
{
    return IsToFail(eFT_Heap) ? nullptr : std::malloc(cb != 0 ? cb : 1);
}
