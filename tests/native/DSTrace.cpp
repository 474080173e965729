// Trace and assertion of the native build: as on Windows, with a function in the place of the log DLL.
#include "dstl/dshowx/DSTrace.h"

#include "Format.h"
#include "NativeLog.h"
#include "NativeText.h"
#include "dstl/WinAPI/SehCopy.h"

#include <csignal>
#include <cstdarg>
#include <cstring>

std::atomic<void (*)(const wchar_t*)> g_pfnNativeLog{nullptr};

namespace
{

void WriteLog(const wchar_t* pszMessage) noexcept
{
    if (void (*const pfnLog)(const wchar_t*) = g_pfnNativeLog)
        pfnLog(pszMessage);
}

int NoDebugReport(int, const char*, int, const char*, const char*)
{
    return 0;
}

/// The text of a code that no source knows.
DWORD WINAPI NoErrorText(HRESULT, WCHAR*, DWORD)
{
    return 0;
}

constexpr size_t cchFormat = 1024;

} // namespace

PFNDEBUGREPORT g_pfnDebugReport = NoDebugReport;
PFNERRORTEXT g_pfnErrorText = NoErrorText;

void trace(DWORD_PTR dwCategory, UINT nLevel, const wchar_t* pszFormat, ...) noexcept
{
    if (static_cast<DWORD>(dwCategory) == 0 || nLevel > eTL_Max || pszFormat == nullptr)
        return;
    wchar_t szLine[cchTraceLine] = {};
    szLine[0] = static_cast<wchar_t>(nLevel + 1);
    va_list args;
    va_start(args, pszFormat);
    _vsnwprintf(szLine + 1, cchTraceLine - 1, pszFormat, args);
    va_end(args);
    szLine[cchTraceLine - 1] = 0;
    WriteLog(szLine);
}

bool IsTraced(UINT nLevel) noexcept
{
    return nLevel <= eTL_Max && g_pfnNativeLog != nullptr;
}

int assertion(bool bCondition, const char* pszFile, int nLine, const char* pszExpression) noexcept
{
    if (bCondition)
        return 1;
    const DWORD dwError = GetLastError();

    if (g_pfnNativeLog != nullptr)
    {
        wchar_t szError[cchFormat];
        FormatHr(szError, L"", L"GetLastError()", static_cast<HRESULT>(dwError));
        wchar_t szLine[cchFormat];
        wsprintfW(szLine, L"###Err###\n%hs(%i): ASSERT( \"%hs\" )\n%s\n", pszFile, nLine, pszExpression,
                  szError);
        WriteLog(szLine);
    }

    int nResult = 5;
    if (g_pfnDebugReport != nullptr &&
        g_pfnDebugReport(nReportTypeAssert, pszFile, nLine, nullptr, pszExpression) == 1)
    {
        raise(SIGTRAP);
        nResult = 4;
    }
    WriteLog(L"\nexit ASSERT");
    SetLastError(dwError);
    return nResult;
}

wchar_t* FormatHr(wchar_t* pszOut, const wchar_t* pszMessage, const wchar_t* pszName, HRESULT hr) noexcept
{
    if (pszOut == nullptr || pszName == nullptr)
        return nullptr;
    wsprintfW(pszOut, L"%s=0x%08X (%i)\n%s\n", pszName, static_cast<UINT>(hr), static_cast<int>(hr),
              pszMessage != nullptr ? pszMessage : L"no message");
    const size_t nLength = native::Length(pszOut);
    if (g_pfnErrorText(hr, pszOut + nLength, static_cast<DWORD>(cchFormat - nLength)) == 0)
        pszOut[nLength] = 0;
    for (size_t n = native::Length(pszOut); n > 0 && pszOut[n - 1] < 33; n--)
        pszOut[n - 1] = 0;
    return pszOut;
}

// A fault here ends the program with the sanitizer's report, which is what a native run is for.
bool SEH_CopyMemory(void* pDst, const void* pSrc, size_t cb) noexcept
{
    if (cb != 0)
        memcpy(pDst, pSrc, cb);
    return true;
}
