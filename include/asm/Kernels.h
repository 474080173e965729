#pragma once
/// How kernels are chosen, the same way for every subject.
///
/// A subject has a struct of function pointers, ConvertKernels for instance, and a table of them for each
/// level:
///
///     static const ConvertKernels scalar;  // SIMD64Convert.cpp: states the arithmetic
///     static const ConvertKernels sse41;   // Kernels_sse41.cpp
///     static const ConvertKernels avx2;    // Kernels_avx2.cpp
///
/// The vector forms of a subject are templates over the registers of SIMD64Vectors.h, in headers of their own
/// (SIMD64ConvertForms.h). Kernels_LEVEL.cpp includes all of them and is compiled for its level. Each table
/// is a constant, defined as constinit, so that nothing of such a file runs before a table has been chosen by
/// the level. The rest of the file is local to it: the linker could keep its copy of an inline function.

#include "asm/Cpu.h"

/// The kernels of one level; the processor has to have it.
template <class TKernels>
const TKernels& KernelsOf(eCPU eLevel) noexcept
{
    static constexpr const TKernels* arrTables[eCPU_Count] = {&TKernels::scalar, &TKernels::sse41,
                                                              &TKernels::avx2};
    return *arrTables[eLevel];
}

/// The kernels of the level in force.
template <class TKernels>
const TKernels& Kernels() noexcept
{
    return KernelsOf<TKernels>(CpuLevel());
}
