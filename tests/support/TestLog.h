#pragma once
/// What the test log DLL exports beside the log object: a sink that gets every message of the process.

#include "dstl/dshowx/QXLog.h"

/// Called on the thread that writes the message, on several at once.
using PFNTESTLOGSINK = void (*)(const wchar_t* pszMessage);

/// The export QxTestLog_SetSink. After the return no thread is inside the earlier sink.
using PFNTESTLOGSETSINK = void(WINAPI*)(PFNTESTLOGSINK pfnSink);

/// The export QxTestLog_GetClients: clients attached at present.
using PFNTESTLOGGETCLIENTS = int(WINAPI*)();
