// A module with a log loader of its own, as the product's DLL has one.
#include "dstl/dshowx/DSTrace.h"

extern "C"
{

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
