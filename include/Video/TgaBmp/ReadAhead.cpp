#include "Video/TgaBmp/ReadAhead.h"

#include "dstl/WinAPI/File.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace
{
/// The first call, which headers are taken from: what it reads too much is copied once more.
constexpr DWORD cbFirstPiece = 4 * 1024;
/// All others: they stay in the cache of a core.
constexpr DWORD cbPiece = 256 * 1024;
/// From here on bytes are read to where they are wanted.
constexpr DWORD cbDirect = 16 * 1024;
} // namespace

void CReadAhead::Drop() noexcept
{
    Forget();
    m_pBytes.reset();
    m_cbRoom = 0;
    m_bStarted = false;
}

void CReadAhead::Forget() noexcept
{
    m_cbBytes = 0;
    m_nNext = 0;
    m_bEnd = false;
}

/// Moves what is left to the front of the memory, of cb bytes at least.
/// \return false without memory
bool CReadAhead::MakeRoom(DWORD cb) noexcept
{
    const DWORD cbLeft = ReadyBytes();
    if (m_cbRoom >= cb)
    {
        if (cbLeft != 0 && m_nNext != 0)
            std::memmove(m_pBytes.get(), Ready(), cbLeft);
    }
    else
    {
        std::unique_ptr<BYTE[]> pBytes(new (std::nothrow) BYTE[cb]);
        if (!pBytes)
            return false;
        if (cbLeft != 0)
            std::memcpy(pBytes.get(), Ready(), cbLeft);
        m_pBytes = std::move(pBytes);
        m_cbRoom = cb;
    }
    m_nNext = 0;
    m_cbBytes = cbLeft;
    return true;
}

/// Reads one piece behind what is left.
/// \return false when nothing came
bool CReadAhead::Fill(HANDLE hFile) noexcept
{
    if (m_bEnd || !MakeRoom(m_bStarted ? cbPiece : cbFirstPiece))
        return false;
    const DWORD cbWanted = m_cbRoom - m_cbBytes;
    m_bStarted = true;
    DWORD cbGot = 0;
    const bool bRead = ::ReadFile(hFile, m_pBytes.get() + m_cbBytes, cbWanted, &cbGot, nullptr) != 0;
    m_bEnd = !bRead || cbGot < cbWanted;
    if (bRead)
        m_cbBytes += cbGot;
    return bRead && cbGot != 0;
}

bool CReadAhead::MakeReady(HANDLE hFile, DWORD cb) noexcept
{
    while (ReadyBytes() < cb && Fill(hFile))
    {
    }
    return ReadyBytes() >= cb;
}

bool CReadAhead::Read(HANDLE hFile, void* pbBuf, DWORD cb, DWORD* pcbRead) noexcept
{
    // Where bytes ahead cannot be read, those that are wanted perhaps can.
    if (cb < cbDirect)
        MakeReady(hFile, cb);
    const DWORD cbReady = std::min(cb, ReadyBytes());
    if (cbReady != 0)
        std::memcpy(pbBuf, Ready(), cbReady);
    Take(cbReady);
    *pcbRead = cbReady;
    if (cbReady == cb)
        return true;

    DWORD cbRest = 0;
    const bool bRead = ReadPieces(hFile, static_cast<BYTE*>(pbBuf) + cbReady, cb - cbReady, &cbRest);
    m_bStarted = true;
    *pcbRead += cbRest;
    return bRead;
}

bool CReadAhead::Seek(HANDLE hFile, LONG nDistance, DWORD dwMoveMethod) noexcept
{
    const DWORD cbReady = ReadyBytes();
    if (dwMoveMethod == FILE_CURRENT && nDistance > 0 && static_cast<DWORD>(nDistance) <= cbReady)
    {
        Take(static_cast<DWORD>(nDistance));
        return true;
    }
    // The system stands behind what was read ahead: step back to where the caller believes to be.
    const bool bStepBack = dwMoveMethod == FILE_CURRENT && cbReady != 0;
    Forget();
    if (bStepBack &&
        SetFilePointer(hFile, -static_cast<LONG>(cbReady), nullptr, FILE_CURRENT) == INVALID_SET_FILE_POINTER)
        return false;
    return SetFilePointer(hFile, nDistance, nullptr, dwMoveMethod) != INVALID_SET_FILE_POINTER;
}
