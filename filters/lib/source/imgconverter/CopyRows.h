#pragma once
/// Row copies: blocks of 1, 2, 3 or 4 bytes a sample from one buffer to another.

#include "dstl/WinAPI/Platform.h"

#include <cstddef>

/// Width and height of a block, in samples and rows.
struct RoiSize
{
    LONG nWidth;
    LONG nHeight;
};

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

/// CopyRows of one sample size.
inline ePrimitiveStatus CopyRows8(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                  RoiSize roi) noexcept
{
    return CopyRows(pSrc, nSrcStep, pDst, nDstStep, roi, 1);
}

inline ePrimitiveStatus CopyRows16(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                   RoiSize roi) noexcept
{
    return CopyRows(pSrc, nSrcStep, pDst, nDstStep, roi, 2);
}

inline ePrimitiveStatus CopyRows24(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                   RoiSize roi) noexcept
{
    return CopyRows(pSrc, nSrcStep, pDst, nDstStep, roi, 3);
}

inline ePrimitiveStatus CopyRows32(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                   RoiSize roi) noexcept
{
    return CopyRows(pSrc, nSrcStep, pDst, nDstStep, roi, 4);
}
