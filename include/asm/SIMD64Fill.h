#pragma once
/// Fills runs of bytes with a repeating pattern.

#include "asm/Kernels.h"

#include <cstddef>

/// A pattern of 1, 2, 3 or 4 bytes, repeated. 96 bytes are a whole number of each and of every vector; 32
/// more let a vector be read from any place inside the first 32.
struct FillPattern
{
    static constexpr size_t cbPeriod = 96;
    BYTE arrBytes[cbPeriod + 32];
};

/// \param nBytes 1 to 4: the bytes of dwColor, lowest first, that repeat
FillPattern MakeFillPattern(DWORD dwColor, size_t nBytes) noexcept;

struct FillKernels
{
    /// pDst[i] = pattern[i mod 96] for i below cb
    void (*pfnFill)(BYTE* pDst, size_t cb, const FillPattern& pattern) noexcept;

    static const FillKernels scalar; ///< states the arithmetic
    static const FillKernels sse41;
    static const FillKernels avx2;
};
