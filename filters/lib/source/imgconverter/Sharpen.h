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

/// Convolves a row. The quotient is rounded to the nearest, half up, and limited to 0 to 255.
/// \param pAbove, pRow, pBelow the first sample to convolve in each of three rows, of which a pixel on both
/// sides is read \param pDst must not overlap them \param nChannels samples of a pixel
void FilterRow(const BYTE* pAbove, const BYTE* pRow, const BYTE* pBelow, BYTE* pDst, size_t nSamples,
               int nChannels, const SharpenKernel& kernel) noexcept;
