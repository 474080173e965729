#pragma once
/// From what an image decoder gives to what the picture loader hands on: rows and delays.

#include "dstl/WinAPI/Platform.h"
#include "dstl/WinAPI/Blob.h"

/// Rows of 32-bit pixels in a decoder's memory.
struct DecodedRows
{
    const BYTE* pbTop; ///< the top row
    LONG nStride;      ///< bytes from a row to the one below; negative where that one lies before it
    DWORD nWidth;      ///< pixels
    DWORD nHeight;
};

/// Copies the rows to a new block, the bottom row first, each row |nStride| bytes from the next. Only the
/// pixels are read; what lies behind them in a row is zero.
/// \param pBlob out: the block, for the caller to free by CoTaskMemFree; empty without a picture
/// \return S_OK; S_FALSE for no pixels and for a stride that is shorter than a row of them; E_OUTOFMEMORY,
/// also for 4 GiB and more
HRESULT CopyRowsBottomUp(const DecodedRows& rows, DSTLBLOB* pBlob) noexcept;

/// How long a frame shows, in 100 ns units.
/// \param nDelay hundredths of a second as a file states them; those below 3 count tenfold, as players treat
/// them
constexpr LONGLONG FrameDuration(LONG nDelay) noexcept
{
    constexpr LONGLONG nHundredth = 100000;
    return (nDelay < 3 ? nDelay * 10LL : nDelay) * nHundredth;
}

/// Start of the next frame, in 100 ns units. A frame without a duration takes 40 ms.
constexpr LONGLONG NextFrameStart(LONGLONG rtStart, LONGLONG rtDuration) noexcept
{
    constexpr LONGLONG rtDefault = 400000;
    // Sums of what a file states may wrap.
    return static_cast<LONGLONG>(static_cast<ULONGLONG>(rtStart) +
                                 static_cast<ULONGLONG>(rtDuration != 0 ? rtDuration : rtDefault));
}
