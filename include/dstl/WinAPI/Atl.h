#pragma once
/// ATL as all sources of this system include it. Where our own subset stands in for it, its assertions join
/// those of the system: "p!=NULL", "p==NULL" and their like reach the log. So do its trace lines, at level 0.

#include "dstl/WinAPI/Platform.h"

#include "dstl/dshowx/DSTrace.h"

#include <atlbase.h>
#ifndef QX_ATL_SUBSET
extern CComModule _Module;
#endif
#include <atlcom.h>

#undef GetClassName

#ifdef QX_ATL_SUBSET
inline void TraceFromAtl(const wchar_t* pszText) noexcept
{
    trace(atlTraceGeneral, eTL_Atl, L"%s", pszText);
}

/// Connects both once for the program, before any object is made.
inline const bool g_bAtlConnected = (g_pfnAtlAssert = &assertion, g_pfnAtlTrace = &TraceFromAtl, true);
#endif
