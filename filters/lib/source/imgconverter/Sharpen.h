#pragma once
/// The sharpening or softening pass of the resizer: a convolution of 3 by 3.

#include "imgconverter/CopyRows.h"

#include <cstdint>

/// A kernel with a gain of 1: its values sum up to the divisor.
struct SharpenKernel
{
    int32_t arrValues[9]; ///< row by row
    int32_t nDivisor;
};

/// \param nSharp limited to -50 to 50; the kernel has effect unless it is 0
SharpenKernel MakeSharpenKernel(int nSharp) noexcept;

/// Convolves a block; samples around it are read, one pixel each way. The quotient is rounded to the nearest,
/// half up, and limited to 0 to 255. Source and destination must not overlap. \param nSrcStep, nDstStep bytes
/// from one row to the next \param nChannels samples of a pixel
void FilterPlane(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep, RoiSize size,
                 int nChannels, const SharpenKernel& kernel) noexcept;

inline void FilterPlane1(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep, RoiSize size,
                         const SharpenKernel& kernel) noexcept
{
    FilterPlane(pSrc, nSrcStep, pDst, nDstStep, size, 1, kernel);
}

inline void FilterPlane3(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep, RoiSize size,
                         const SharpenKernel& kernel) noexcept
{
    FilterPlane(pSrc, nSrcStep, pDst, nDstStep, size, 3, kernel);
}

inline void FilterPlane4(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep, RoiSize size,
                         const SharpenKernel& kernel) noexcept
{
    FilterPlane(pSrc, nSrcStep, pDst, nDstStep, size, 4, kernel);
}
