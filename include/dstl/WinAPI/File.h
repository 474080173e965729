#pragma once
/// Owner of a file handle, and reading of any amount.

#include "dstl/WinAPI/Platform.h"

/// Reads up to cb bytes. One call to the system is never asked for more than 16 MiB, as it may touch a buffer
/// in full before it reads: a size that a broken file claims then costs no memory. \param pcbRead out: bytes
/// read, fewer than cb only at the end of the file \return false after a failed call; the last error tells
/// why
inline bool ReadPieces(HANDLE hFile, void* pBuf, DWORD cb, DWORD* pcbRead) noexcept
{
    constexpr DWORD cbMaxPiece = 16 * 1024 * 1024;
    *pcbRead = 0;
    while (*pcbRead < cb)
    {
        const DWORD cbPiece = cb - *pcbRead < cbMaxPiece ? cb - *pcbRead : cbMaxPiece;
        DWORD cbGot = 0;
        if (!ReadFile(hFile, static_cast<BYTE*>(pBuf) + *pcbRead, cbPiece, &cbGot, NULL))
            return false;
        *pcbRead += cbGot;
        if (cbGot < cbPiece)
            break;
    }
    return true;
}

/// Whether the file ends before this place, as far as the system tells.
inline bool EndsBefore(HANDLE hFile, ULONGLONG nPlace) noexcept
{
    LARGE_INTEGER cbFile;
    return GetFileSizeEx(hFile, &cbFile) && static_cast<ULONGLONG>(cbFile.QuadPart) < nPlace;
}

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

    /// \return false when closing failed; the last error tells why. A file that is not open is closed
    /// already.
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
