#pragma once
/// Dumps of the headers that the format block of a media type can hold. As with every dump: each line goes
/// through trace() at the given level, starts with the prefix (null: none), and nothing is touched where the
/// level has no reader. Headers are read through a guarded copy: one that cannot be read is reported by that.

#include "dstl/WinAPI/Platform.h"

#include <mmreg.h>

#include <cstddef>
#include <cstdint>

/// The header of a bitmap; a second line tells resolution and colours where they are set.
void Debug_BitmapInfoHeader(DWORD_PTR dwCategory, UINT nLevel, const BITMAPINFOHEADER* pHeader,
                            const wchar_t* pszPrefix) noexcept;

/// A description of sound, and the bytes that follow it, 1,024 of them at most.
/// \param cbBlock bytes in memory from pWave on, where known: no extra byte beyond them is traced
void Debug_WaveFormatEx(DWORD_PTR dwCategory, UINT nLevel, const WAVEFORMATEX* pWave,
                        const wchar_t* pszPrefix, size_t cbBlock = SIZE_MAX) noexcept;

/// The record DVINFO of the platform, which not every header declares.
struct DvInfo
{
    DWORD dwDVAAuxSrc, dwDVAAuxCtl;   ///< audio, first half of the DIF sequences
    DWORD dwDVAAuxSrc1, dwDVAAuxCtl1; ///< audio, second half
    DWORD dwDVVAuxSrc, dwDVVAuxCtl;   ///< video
    DWORD dwDVReserved[2];
};
static_assert(sizeof(DvInfo) == 32);

/// A description of digital video with its sound.
void Debug_DvInfo(DWORD_PTR dwCategory, UINT nLevel, const DvInfo* pInfo, const wchar_t* pszPrefix) noexcept;
