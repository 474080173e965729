#pragma once
/// The alpha bytes of 32-bit pictures as a plane of their own.

#include "dstl/WinAPI/Platform.h"

/// Copies the fourth byte of every pixel of a region to a plane of one byte a pixel. The plane is zeroed
/// first, pixels that lie outside the picture read as zero, and what lies outside the plane is dropped.
/// \param pbPixels, cbPixels the picture's bytes; may be null and 0 \param cbSourceStep bytes from row to row
/// \param pbAlpha, cbAlpha the plane \param cbAlphaStep bytes from row to row of the plane
void ExtractAlpha(const BYTE* pbPixels, size_t cbPixels, size_t cbSourceStep, BYTE* pbAlpha, size_t cbAlpha,
                  size_t cbAlphaStep, DWORD nWidth, DWORD nHeight) noexcept;

/// Makes every pixel of a block of 32-bit pixels opaque. A last pixel that is cut stays as it is.
void SetAlphaSolid(BYTE* pbPixels, size_t cbPixels) noexcept;
