#pragma once
/// The registry key through which the filter finds its log DLL.

#include "dstl/WinAPI/Platform.h"
#include <optional>
#include <string>

/// The key as a user writes it.
inline constexpr char g_logKeyName[] = "HKEY_CURRENT_USER\\Software\\_DSTLLOG64";

/// Path of the log DLL that the key names, with backslashes; nothing if the log is off. Throws Failure.
std::optional<std::wstring> ReadLogDll();

/// Names a log DLL in the key. Throws Failure.
/// @param path full name, at most 259 characters: more are not read by the filter
void WriteLogDll(const std::wstring& path);

/// Removes the value, and the key if nothing else is in it. Throws Failure.
void RemoveLogDll();
