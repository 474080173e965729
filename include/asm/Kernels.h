#pragma once
/// How kernels are chosen, the same way for every subject.
///
/// A subject has a struct of function pointers, ConvertKernels for instance, and that has a table for each
/// level:
///
///     static const ConvertKernels scalar;
///     static const ConvertKernels sse41;
///     static const ConvertKernels avx2;
///
/// Each table is a constant, defined as constinit in the file that is compiled for its level. So nothing of
/// such a file runs before a table has been chosen by the level. The rest of the file is local to it: an
/// inline function could be the copy that the linker keeps for all.

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
