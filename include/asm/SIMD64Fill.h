#pragma once
/// Fills runs of bytes with a repeating pattern.

#include "asm/Cpu.h"

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
};

extern const FillKernels g_fillScalar;
extern const FillKernels g_fillSSE41;
extern const FillKernels g_fillAVX2;

/// The kernels of one level; the processor has to have it.
const FillKernels& GetFillKernels(eCPU eLevel) noexcept;

/// The kernels of the level in force.
const FillKernels& GetFillKernels() noexcept;
