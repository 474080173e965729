#pragma once
/// Rows of a block: copied from one buffer to another, reversed in place, or walked from the last one on.

#include "dstl/WinAPI/Platform.h"

#include <cstddef>

/// Width and height of a block, in samples and rows.
struct RoiSize
{
    LONG nWidth;
    LONG nHeight;
};

/// True for a block without samples.
constexpr bool IsEmpty(const RoiSize& roi) noexcept
{
    return roi.nWidth <= 0 || roi.nHeight <= 0;
}

/// Half of each dimension, as the chroma of 4:2:0 has it.
constexpr RoiSize HalfSize(const RoiSize& roi) noexcept
{
    return {roi.nWidth / 2, roi.nHeight / 2};
}

/// What a pixel primitive answers.
enum ePrimitiveStatus : int
{
    ePS_Done = 0,
    ePS_SizeError = -6,
    ePS_NullPointer = -8,
    ePS_Interpolation = -22,
    ePS_OddLeftOut = 35 ///< a warning: an odd row or column was not written
};

/// Copies rows of nWidth samples of cbSample bytes. A negative step walks upward in memory, so that a block
/// can be turned without an extra pass. Source and destination may share memory where their steps are equal.
/// An empty block has no rows and is done at once. \param nSrcStep, nDstStep bytes from one row to the next
ePrimitiveStatus CopyRows(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep, RoiSize roi,
                          size_t cbSample) noexcept;

/// Bytes of a pixel in the formats whose rows can be flipped, which are RGB of two bytes and more; 0 for all
/// others.
size_t FlipPixelBytes(DWORD fccType) noexcept;

/// Reverses the order of rows in place; pixels in a row keep their order.
void FlipRows(BYTE* pBlock, ptrdiff_t nStep, RoiSize roi, size_t cbPixel) noexcept;

/// Lets a walk over nRows rows run backward, from the last one.
/// \param place of the first row: an offset or a pointer
/// \param nStep bytes from one row to the next
template <class TPlace>
constexpr void RunBackward(TPlace& place, ptrdiff_t& nStep, LONG nRows) noexcept
{
    place += nStep * (ptrdiff_t{nRows} - 1);
    nStep = -nStep;
}
