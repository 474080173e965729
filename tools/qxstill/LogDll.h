#pragma once
/// The log DLL as the filter would load it.

#include "dstl/WinAPI/Platform.h"
#include <string>

/// A log DLL that is loaded for a while, to see whether it is one and where it writes.
class LogDll
{
public:
    /// Loads it. Throws Failure if it does not load or is no log DLL.
    explicit LogDll(const std::wstring& path);
    ~LogDll();
    LogDll(const LogDll&) = delete;
    LogDll& operator=(const LogDll&) = delete;

    /// Full name of the file that it writes to; empty if it does not tell.
    std::wstring File() const;

private:
    HMODULE m_module;
};

/// The name of qxlog64.dll beside this program.
std::wstring OwnLogDll();
