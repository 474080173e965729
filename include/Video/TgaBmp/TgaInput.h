#pragma once
/// The contents of a TGA file, read ahead, with the reports of what goes wrong.

#include "Video/TgaBmp/ReadAhead.h"

/// The only door to the file's contents. The object always sees the same file until Drop, and does not own it.
class CTgaInput : public CReadAhead
{
public:
    /// Reads exactly cb bytes.
    HRESULT ReadExactly(HANDLE hFile, DWORD cb, void* pbBuf) noexcept;
    /// Moves to another place of the file; S_FALSE, without moving, for the distance 0.
    HRESULT SetPosition(HANDLE hFile, LONG nDistance, DWORD dwMoveMethod) noexcept;
    /// Reports how a read of cb bytes went.
    /// \param bRead false: the call failed; the last error tells why
    static HRESULT Report(bool bRead, DWORD cb, DWORD cbRead) noexcept;
};
