// The linker's option --wrap leads each of these calls to its replacement here; the call itself is then to be
// had by the name __real_...
#include "qxlog/FileCalls.h"

FileCalls g_calls;

extern "C"
{

    extern BOOL(WINAPI* __real___imp_FlushFileBuffers)(HANDLE);
    extern BOOL(WINAPI* __real___imp_WriteFile)(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*);
    extern BOOL(WINAPI* __real___imp_MoveFileExW)(const wchar_t*, const wchar_t*, DWORD);
    extern DWORD(WINAPI* __real___imp_WaitForSingleObject)(HANDLE, DWORD);
    extern HANDLE(WINAPI* __real___imp_CreateMutexW)(SECURITY_ATTRIBUTES*, BOOL, const wchar_t*);

    static ULONGLONG WINAPI Tick()
    {
        return g_calls.ullTick;
    }

    static BOOL WINAPI CountFlush(HANDLE h)
    {
        g_calls.nFlushed++;
        return __real___imp_FlushFileBuffers(h);
    }

    static BOOL WINAPI WriteOrFail(HANDLE h, const void* pv, DWORD cb, DWORD* pcb, OVERLAPPED* p)
    {
        if (g_calls.nWritesToFail > 0)
        {
            g_calls.nWritesToFail--;
            SetLastError(ERROR_DISK_FULL);
            return FALSE;
        }
        return __real___imp_WriteFile(h, pv, cb, pcb, p);
    }

    static BOOL WINAPI MoveOrFail(const wchar_t* pszFrom, const wchar_t* pszTo, DWORD dwFlags)
    {
        if (g_calls.nMovesToFail > 0)
        {
            g_calls.nMovesToFail--;
            SetLastError(ERROR_SHARING_VIOLATION);
            return FALSE;
        }
        return __real___imp_MoveFileExW(pszFrom, pszTo, dwFlags);
    }

    static DWORD WINAPI WaitOrEnd(HANDLE h, DWORD ms)
    {
        g_calls.msLastWait = ms;
        return g_calls.bWaitsEnd ? WAIT_TIMEOUT : __real___imp_WaitForSingleObject(h, ms);
    }

    static HANDLE WINAPI MutexOrFail(SECURITY_ATTRIBUTES* p, BOOL bOwned, const wchar_t* pszName)
    {
        if (g_calls.bNoNamedMutex && pszName != nullptr)
        {
            SetLastError(ERROR_ACCESS_DENIED);
            return nullptr;
        }
        return __real___imp_CreateMutexW(p, bOwned, pszName);
    }

    ULONGLONG(WINAPI* __wrap___imp_GetTickCount64)() = &Tick;
    BOOL(WINAPI* __wrap___imp_FlushFileBuffers)(HANDLE) = &CountFlush;
    BOOL(WINAPI* __wrap___imp_WriteFile)(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*) = &WriteOrFail;
    BOOL(WINAPI* __wrap___imp_MoveFileExW)(const wchar_t*, const wchar_t*, DWORD) = &MoveOrFail;
    DWORD(WINAPI* __wrap___imp_WaitForSingleObject)(HANDLE, DWORD) = &WaitOrEnd;
    HANDLE(WINAPI* __wrap___imp_CreateMutexW)(SECURITY_ATTRIBUTES*, BOOL, const wchar_t*) = &MutexOrFail;
}
