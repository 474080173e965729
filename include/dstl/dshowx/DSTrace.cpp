#include "dstl/dshowx/DSTrace.h"

#include "dstl/dshowx/LogLoader.h"

#undef trace // of a build without trace calls
#undef IsTraced

#include <dshow.h>

#include <cstdarg>
#include <cwchar>

namespace
{

/// Built before and destroyed after the other objects of the module, which may trace. Zero until then:
/// silent.
__attribute__((init_priority(101))) CLogLoader g_LogLoader;

/// Hands a text to the log, if there is one. The caller's last error survives, so that a trace changes
/// nothing.
void WriteLog(const wchar_t* pszMessage) noexcept
{
    ILogObject* plog = nullptr;
    if (FAILED(g_LogLoader.GetLogObject(&plog)))
        return;
    const DWORD dwError = GetLastError();
    plog->Write(pszMessage);
    SetLastError(dwError);
}

int NoDebugReport(int, const char*, int, const char*, const char*)
{
    return 0;
}

/// What wsprintfW can write at most, terminator included.
constexpr size_t cchFormat = 1024;

} // namespace

constinit PFNDEBUGREPORT g_pfnDebugReport = NoDebugReport;
constinit PFNERRORTEXT g_pfnErrorText = AMGetErrorTextW;

void trace(DWORD_PTR dwCategory, UINT nLevel, const wchar_t* pszFormat, ...) noexcept
{
    if (static_cast<DWORD>(dwCategory) == 0)
        return;
    if (nLevel > eTL_Max || pszFormat == nullptr)
        return;
    ILogObject* plog = nullptr;
    if (FAILED(g_LogLoader.GetLogObject(&plog)))
        return; // nobody would read what formatting costs

    wchar_t szLine[cchTraceLine] = {};
    szLine[0] = static_cast<wchar_t>(nLevel + 1);
    va_list args;
    va_start(args, pszFormat);
    _vsnwprintf(szLine + 1, cchTraceLine - 1, pszFormat, args);
    va_end(args);
    szLine[cchTraceLine - 1] = 0;
    WriteLog(szLine);
}

void LogWriteText(const wchar_t* pszText) noexcept
{
    if (pszText != nullptr)
        WriteLog(pszText);
}

bool IsTraced(UINT nLevel) noexcept
{
    ILogObject* plog = nullptr;
    return nLevel <= eTL_Max && SUCCEEDED(g_LogLoader.GetLogObject(&plog));
}

int assertion(bool bCondition, const char* pszFile, int nLine, const char* pszExpression) noexcept
{
    if (bCondition)
        return 1;
    const DWORD dwError = GetLastError(); // before anything else can change it

    wchar_t szError[cchFormat];
    FormatHr(szError, L"", L"GetLastError()", static_cast<HRESULT>(dwError));

    wchar_t szLine[cchFormat];
    wsprintfW(szLine, L"###Err###\n%hs(%i): ASSERT( \"%hs\" )\n%s\n", pszFile, nLine, pszExpression, szError);
    szLine[cchFormat - 1] = 0;
    WriteLog(szLine);

    int nResult = 5;
    const PFNDEBUGREPORT pfnReport = g_pfnDebugReport;
    if (pfnReport != nullptr && pfnReport(nReportTypeAssert, pszFile, nLine, nullptr, pszExpression) == 1)
    {
        __debugbreak();
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
    pszOut[cchFormat - 1] = 0;

    wchar_t* pszText = pszOut + wcslen(pszOut);
    const DWORD cchText = static_cast<DWORD>(pszOut + cchFormat - pszText);
    DWORD cchWritten = g_pfnErrorText(hr, pszText, cchText);
    if (cchWritten == 0)
    {
        cchWritten = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                    static_cast<DWORD>(hr), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                                    pszText, cchText, nullptr);
    }
    if (cchWritten == 0)
        *pszText = 0; // a source without room may have written the beginning of its text
    pszOut[cchFormat - 1] = 0;

    for (size_t n = wcslen(pszOut); n > 0 && pszOut[n - 1] < 33; n--)
        pszOut[n - 1] = 0;
    return pszOut;
}
