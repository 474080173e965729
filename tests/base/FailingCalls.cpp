// The linker's option --wrap leads each of these calls to its replacement here; the call itself is then to be
// had by the name __real_...
#include "base/FailingCalls.h"

#include <cstdint>

FailableCall g_callBeginThread;
FailableCall g_callCreateEvent;
FailableCall g_callResumeThread;

namespace
{

using PFNTHREAD = unsigned(__stdcall*)(void*);
using PFNBEGINTHREAD = uintptr_t(__cdecl*)(void*, unsigned, PFNTHREAD, void*, unsigned, unsigned*);
using PFNCREATEEVENT = HANDLE(WINAPI*)(SECURITY_ATTRIBUTES*, BOOL, BOOL, const wchar_t*);
using PFNRESUMETHREAD = DWORD(WINAPI*)(HANDLE);

} // namespace

extern "C"
{

    extern PFNBEGINTHREAD __real___imp__beginthreadex;
    extern PFNCREATEEVENT __real___imp_CreateEventW;
    extern PFNRESUMETHREAD __real___imp_ResumeThread;

    static uintptr_t __cdecl BeginThread(void* pSecurity, unsigned nStackSize, PFNTHREAD pfn, void* pv,
                                         unsigned nFlags, unsigned* pnId)
    {
        if (g_callBeginThread.IsToFail())
            return 0;
        return __real___imp__beginthreadex(pSecurity, nStackSize, pfn, pv, nFlags, pnId);
    }

    static HANDLE WINAPI CreateEventOrFail(SECURITY_ATTRIBUTES* pSecurity, BOOL bManualReset, BOOL bSet,
                                           const wchar_t* pszName)
    {
        if (g_callCreateEvent.IsToFail())
            return nullptr;
        return __real___imp_CreateEventW(pSecurity, bManualReset, bSet, pszName);
    }

    static DWORD WINAPI ResumeThreadOrFail(HANDLE hThread)
    {
        const DWORD dwResult = __real___imp_ResumeThread(hThread);
        return g_callResumeThread.IsToFail() ? 2 : dwResult;
    }

    PFNBEGINTHREAD __wrap___imp__beginthreadex = &BeginThread;
    PFNCREATEEVENT __wrap___imp_CreateEventW = &CreateEventOrFail;
    PFNRESUMETHREAD __wrap___imp_ResumeThread = &ResumeThreadOrFail;
}
