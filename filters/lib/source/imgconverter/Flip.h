#pragma once
/// Turning the rows of a block upside down.

#include "imgconverter/CopyRows.h"

/// Bytes of a pixel in the formats that can be flipped, which are RGB565, RGB555, RGB24, RGB32 and ARGB32;
/// 0 for all others.
size_t FlipPixelBytes(DWORD fccType) noexcept;

/// Reverses the order of rows in place, for pixels of 2, 3 or 4 bytes; pixels in a row keep their order.
void FlipRows2(BYTE* pBlock, ptrdiff_t nStep, RoiSize roi) noexcept;
void FlipRows3(BYTE* pBlock, ptrdiff_t nStep, RoiSize roi) noexcept;
void FlipRows4(BYTE* pBlock, ptrdiff_t nStep, RoiSize roi) noexcept;

/// The one of them for a pixel size that FlipPixelBytes answered, but 0.
void FlipRows(BYTE* pBlock, ptrdiff_t nStep, RoiSize roi, size_t cbPixel) noexcept;
