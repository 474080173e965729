#pragma once
/// From a row of stored TGA pixels to a row of a bitmap, and the bitmap that takes the rows.

#include "Common/Common.h"
#include "Video/TgaBmp/TgaHeader.h"
#include "dstl/WinAPI/TaskBytes.h"

/// One row of pixels to one row. Writes the pixels and nothing behind them. Where rows grow, the stored one
/// may lie at the end of the place that the other takes.
using PFNTGAROW = void (*)(const BYTE* pbIn, BYTE* pbOut, size_t nPixels) noexcept;

/// What becomes of true-colour pixels of one depth.
struct TgaRowForms
{
    DWORD nBPP;
    PFNTGAROW pfnRGB24;
    PFNTGAROW pfnRGB32;  ///< the fourth byte is 0
    PFNTGAROW pfnARGB32; ///< the fourth byte is alpha
    PFNTGAROW pfnAlpha;  ///< to a row of the alpha plane; null where it is not written

    /// \param fccType FOURCC_RGB24, FOURCC_RGB32 or FOURCC_ARGB32
    PFNTGAROW Find(DWORD fccType) const noexcept
    {
        return fccType == FOURCC_RGB24 ? pfnRGB24 : fccType == FOURCC_RGB32 ? pfnRGB32 : pfnARGB32;
    }
};

/// The forms of 15, 16, 24 and 32 bits a pixel; null for any other depth.
const TgaRowForms* FindTgaRowForms(DWORD nBPP) noexcept;

/// Alpha of an opaque pixel.
inline constexpr BYTE byTgaOpaque = 255;

/// A pixel of 15 or 16 bits. The low three bits of a channel stay zero, so that full white is 248; bit 15
/// decides about alpha, whatever the header says about alpha bits.
struct TgaColour16
{
    BYTE b, g, r, a;

    constexpr explicit TgaColour16(DWORD v) noexcept
        : b(Expand(v)), g(Expand(v >> 5)), r(Expand(v >> 10)), a((v & 0x8000) != 0 ? byTgaOpaque : 0)
    {
    }

private:
    static constexpr BYTE Expand(DWORD v) noexcept { return static_cast<BYTE>((v & 0x1F) << 3); }
};

/// Rows of bitmaps and of alpha planes end at a multiple of 4 bytes.
constexpr size_t AlignTgaRow(size_t cb) noexcept
{
    return (cb + 3) & ~size_t{3};
}

/// Bytes of a pixel of the bitmap.
constexpr size_t TgaBitmapPixel(DWORD fccType) noexcept
{
    return fccType == FOURCC_RGB24 ? 3 : 4;
}

/// Bytes of a bitmap.
/// \param nColumns, nRows 1 to 65535
constexpr ULONGLONG TgaBitmapSize(DWORD nColumns, DWORD nRows, DWORD fccType) noexcept
{
    return ULONGLONG{AlignTgaRow(nColumns * TgaBitmapPixel(fccType))} * nRows;
}

/// Takes memory for a bitmap. What lies behind the last pixel of a row is zero, all else is still to be
/// written.
/// \param nColumns, nRows 1 to 65535
/// \return false without memory, and for a bitmap whose size does not fit 32 bits
bool AllocTgaBitmap(DWORD nColumns, DWORD nRows, DWORD fccType, CTaskBytes* pBmp) noexcept;

/// The row of the bitmap, whose bottom row is the first, for a row of the file.
inline size_t TgaBitmapRow(const TGAHeader& header, DWORD nStoredRow) noexcept
{
    return header.IsTopOrigin() ? header.nHeight - 1u - nStoredRow : nStoredRow;
}
