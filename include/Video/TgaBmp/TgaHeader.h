#pragma once
/// The header of the TGA file format, version 2.0, as Truevision published it.

#include "dstl/WinAPI/Platform.h"

/// What a loaded picture is made of.
enum eTGAMode : DWORD
{
    eTGAMode_None = 0,
    eTGAMode_ColMap = 1,
    eTGAMode_TrueColor = 2,
    eTGAMode_BW = 3
};

/// Header of a TGA file, its fields at their natural alignment.
struct TGAHeader
{
    BYTE nIdLength;      ///< bytes of the image ID, which is skipped
    BYTE nColMapType;    ///< not 0: the file has a colour map
    BYTE nImageType;     ///< 1 colour-mapped, 2 true-colour, 3 black-and-white; 9 to 11 the same run-length
                         ///< encoded
    WORD nColMapFirst;   ///< first index of the colour map; never applied
    WORD nColMapEntries; ///< entries of the colour map
    BYTE nColMapDepth;   ///< bits of an entry
    WORD nOriginX;       ///< never used
    WORD nOriginY;       ///< never used
    WORD nWidth;         ///< pixels
    WORD nHeight;        ///< rows
    BYTE nBitDepth;      ///< bits of a stored pixel, 1 to 32
    BYTE fImageDesc;     ///< bits 0-3 alpha bits, 0x10 right to left, 0x20 top row first, 0xC0 interleave

    bool IsPacked() const noexcept { return (nImageType & 8) != 0; }
    bool IsTopOrigin() const noexcept { return (fImageDesc & 0x20) != 0; }
    bool HasAlpha() const noexcept { return (fImageDesc & 0x0F) != 0; }
    /// 1 colour-mapped, 2 true-colour, 3 black-and-white, packed or not.
    BYTE Kind() const noexcept { return nImageType & 3; }
    /// Bytes of a stored pixel, 1 to 4.
    DWORD PixelBytes() const noexcept { return (nBitDepth + 7u) / 8; }
};
