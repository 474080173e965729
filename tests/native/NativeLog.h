#pragma once
/// The log of the native build: what the log object's write operation is elsewhere.

#include <atomic>

/// Gets every message, in the form that a log object gets it. Null: no log.
extern std::atomic<void (*)(const wchar_t* pszMessage)> g_pfnNativeLog;
