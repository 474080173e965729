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

/// Convolves a block; samples around it are read, one each way. The quotient is rounded to the nearest, half
/// up, and limited to 0 to 255. An empty block is done at once. Source and destination must not overlap.
template <int nChannels>
ePrimitiveStatus FilterPlane(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                             RoiSize size, const SharpenKernel& kernel) noexcept;

inline ePrimitiveStatus FilterPlane1(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                     RoiSize size, const SharpenKernel& kernel) noexcept
{
    return FilterPlane<1>(pSrc, nSrcStep, pDst, nDstStep, size, kernel);
}

inline ePrimitiveStatus FilterPlane3(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                     RoiSize size, const SharpenKernel& kernel) noexcept
{
    return FilterPlane<3>(pSrc, nSrcStep, pDst, nDstStep, size, kernel);
}

inline ePrimitiveStatus FilterPlane4(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                     RoiSize size, const SharpenKernel& kernel) noexcept
{
    return FilterPlane<4>(pSrc, nSrcStep, pDst, nDstStep, size, kernel);
}

/// Copies a scaled plane from the work memory to the frame and filters it there, but for its outermost ring,
/// which stays as it was scaled. A frame that cannot be accessed is told of in the trace.
/// \param nStep bytes from one row to the next, on both sides
ePrimitiveStatus SharpenPlane(const BYTE* pSrc, BYTE* pDst, ptrdiff_t nStep, RoiSize size, int nChannels,
                              const SharpenKernel& kernel) noexcept;
