#pragma once
/// Owner of a file handle.

#include "dstl/WinAPI/Platform.h"

/// Closes the file on leaving the scope.
class CFileHandle
{
public:
    explicit CFileHandle(HANDLE hFile) noexcept : m_hFile(hFile) {}
    ~CFileHandle() { Close(); }
    CFileHandle(const CFileHandle&) = delete;
    CFileHandle& operator=(const CFileHandle&) = delete;

    bool IsOpen() const noexcept { return m_hFile != INVALID_HANDLE_VALUE; }
    HANDLE Get() const noexcept { return m_hFile; }

    /// \return false when closing failed; the last error tells why. A file that is not open is closed already.
    bool Close() noexcept
    {
        if (!IsOpen())
            return true;
        const bool bClosed = CloseHandle(m_hFile) != 0;
        m_hFile = INVALID_HANDLE_VALUE;
        return bClosed;
    }

private:
    HANDLE m_hFile;
};
