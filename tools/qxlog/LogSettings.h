#pragma once
/// Where the log goes and how large it may become. Both come from the environment of the process.

#include <windows.h>

/// The environment variables.
inline constexpr wchar_t szVariableFile[] = L"QXLOG_FILE"; ///< path of the file
inline constexpr wchar_t szVariableSize[] =
    L"QXLOG_SIZE"; ///< KiB from which on a new file is begun; 0: never

/// The name of the file in the folder for temporary files, where no variable names another.
inline constexpr wchar_t szDefaultFile[] = L"qxlog64.log";
inline constexpr ULONGLONG cbDefaultLimit = 10240ull * 1024;

/// Earlier files that are kept, as "name.1" (the latest) to "name.3".
inline constexpr int nEarlierFiles = 3;

struct LogSettings
{
    static constexpr DWORD cchPath = 1024;

    wchar_t szPath[cchPath]; ///< full name; empty if there is none
    ULONGLONG cbLimit;       ///< bytes, 0: none

    /// Reads them afresh. A size that is no number counts as not given.
    void Read() noexcept;
};
