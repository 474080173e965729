#pragma once
/// Small reads served from large ones.

#include "dstl/WinAPI/Platform.h"

#include <memory>

/// Bytes that were read from a file before anybody asked for them. One call to the system costs more than the
/// decoding of a whole packet, so few calls read much. The object does not own the file; it always sees the
/// same one until Drop.
class CReadAhead
{
public:
    CReadAhead() noexcept = default;
    CReadAhead(const CReadAhead&) = delete;
    CReadAhead& operator=(const CReadAhead&) = delete;

    /// Forgets what was read and frees the memory.
    void Drop() noexcept;

    /// Takes up to cb bytes: what lies ready, then more from the file.
    /// \param pcbRead out: bytes taken, fewer than cb only at the end of the file
    /// \return false after a failed call; the last error tells why
    bool Read(HANDLE hFile, void* pbBuf, DWORD cb, DWORD* pcbRead) noexcept;

    /// Moves to another place of the file, as SetFilePointer does with a 32-bit distance, seen from the byte
    /// that is the next to be taken.
    /// \return false after a failed call; the last error tells why
    bool Seek(HANDLE hFile, LONG nDistance, DWORD dwMoveMethod) noexcept;

    /// The bytes that lie ready, for a caller that decodes them where they are.
    const BYTE* Ready() const noexcept { return m_pBytes.get() + m_nNext; }
    DWORD ReadyBytes() const noexcept { return m_cbBytes - m_nNext; }
    /// \param cb at most ReadyBytes()
    void Take(DWORD cb) noexcept { m_nNext += cb; }

    /// Gets more bytes ready unless there are cb of them. It does not say why there are not more: the next
    /// Read does.
    /// \return true when cb bytes lie ready
    bool MakeReady(HANDLE hFile, DWORD cb) noexcept;

private:
    void Forget() noexcept;
    bool MakeRoom(DWORD cb) noexcept;
    bool Fill(HANDLE hFile) noexcept;

    std::unique_ptr<BYTE[]> m_pBytes;
    DWORD m_cbRoom = 0;      ///< size of m_pBytes
    DWORD m_cbBytes = 0;     ///< bytes of it in use
    DWORD m_nNext = 0;       ///< the first of them that was not taken
    bool m_bStarted = false; ///< something was read: the file is in demand
    bool m_bEnd = false;     ///< the last call did not fill its piece: no more until the place changes
};
