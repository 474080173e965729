#pragma once
/// ATL as all sources of this system include it. Where our own subset stands in for it, its assertions join
/// those of the system: "p!=NULL", "p==NULL" and their like reach the log.

#include "dstl/WinAPI/Platform.h"

#include "dstl/dshowx/DSTrace.h"

#include <atlbase.h>
#ifndef QX_ATL_SUBSET
extern CComModule _Module;
#endif
#include <atlcom.h>

#undef GetClassName

#ifdef QX_ATL_SUBSET
/// Connects the assertions once for the program, before any object is made.
inline const bool g_bAtlAssertConnected = (g_pfnAtlAssert = &assertion, true);
#endif
