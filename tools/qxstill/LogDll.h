#pragma once
/// The log DLL: the registry key through which the filter finds it, and the DLL as the filter would load it.

#include "dstl/WinAPI/Owner.h"
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

/// A log DLL that is loaded for a while, to see whether it is one and where it writes.
class LogDll
{
public:
    /// Loads it. Throws Failure if it does not load or is no log DLL.
    explicit LogDll(const std::wstring& path);

    /// Full name of the file that it writes to; empty if it does not tell.
    std::wstring File() const;

private:
    COwnedModule m_module;
};

/// The name of qxlog64.dll beside this program.
std::wstring OwnLogDll();
