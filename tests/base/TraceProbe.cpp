// A module with a log loader of its own, as the product's DLL has one.
#include "dstl/dshowx/DSTrace.h"

#include <cstdarg>

namespace
{
int g_nFormatted; // texts that this module has built, counted by way of the linker
}

extern "C"
{
    using PfnWsprintf = int(WINAPIV*)(LPWSTR, LPCWSTR, ...);
    static int WINAPIV CountedWsprintf(LPWSTR psz, LPCWSTR pszFormat, ...)
    {
        g_nFormatted++;
        va_list args;
        va_start(args, pszFormat);
        const int nLength = wvsprintfW(psz, pszFormat, args);
        va_end(args);
        return nLength;
    }
    PfnWsprintf __wrap___imp_wsprintfW = CountedWsprintf;

    int WINAPI Probe_Formatted()
    {
        return g_nFormatted;
    }

    void WINAPI Probe_Trace(UINT nLevel, const wchar_t* pszText)
    {
        trace(atlTraceGeneral, nLevel, L"%s", pszText);
    }

    int WINAPI Probe_Assert(const char* pszText, PFNDEBUGREPORT pfnReport)
    {
        g_pfnDebugReport = pfnReport;
        return DSASSERT_TEXT(false, pszText);
    }
}
