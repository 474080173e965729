#pragma once
/// Straight and premultiplied alpha of 32-bit pixels (B, G, R, A), in place or from block to block.

#include "dstl/WinAPI/Platform.h"

/// Multiplies the colours of each pixel by its alpha: p = c * a, new c = (p + 1 + (p >> 8)) >> 8. Alpha
/// stays. \param pbBits first row, rows of nWidth pixels \param cbStep bytes from row to row
void PremultiplyAlpha(BYTE* pbBits, size_t cbStep, DWORD nWidth, DWORD nHeight) noexcept;

/// Divides the colours of each pixel by its alpha. Alpha stays. The first nPixels & ~3 pixels go through a
/// fixed-point factor, the last nPixels & 3 through a 64-bit division, and the two round differently.
/// \param pbDst may be pbSrc
void Unpremultiply(BYTE* pbDst, const BYTE* pbSrc, size_t nPixels) noexcept;

/// Factor of one alpha value in the first stretch: 65280 / a rounded to nearest even, at most 32767; 0 for a
/// = 0.
int UnpremultiplyFactor(BYTE byAlpha) noexcept;
