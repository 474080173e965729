#pragma once
/// Reading of any amount from a file.

#include "dstl/WinAPI/Owner.h"

/// Reads up to cb bytes. One call to the system is never asked for more than 16 MiB, as it may touch a buffer
/// in full before it reads: a size that a broken file claims then costs no memory.
/// \param pcbRead out: bytes read, fewer than cb only at the end of the file
/// \return false after a failed call; the last error tells why
inline bool ReadPieces(HANDLE hFile, void* pBuf, DWORD cb, DWORD* pcbRead) noexcept
{
    constexpr DWORD cbMaxPiece = 16 * 1024 * 1024;
    *pcbRead = 0;
    while (*pcbRead < cb)
    {
        const DWORD cbPiece = cb - *pcbRead < cbMaxPiece ? cb - *pcbRead : cbMaxPiece;
        DWORD cbGot = 0;
        if (!ReadFile(hFile, static_cast<BYTE*>(pBuf) + *pcbRead, cbPiece, &cbGot, nullptr))
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
