#pragma once
/// Which forms of the pixel kernels the processor runs. Every form of a kernel gives the same bytes, so this
/// decides about speed only.

#include "dstl/WinAPI/Platform.h"

/// Abilities that kernels are written for, each including those before it.
enum eCPU : int
{
    eCPU_Scalar, ///< plain C++: states the arithmetic
    eCPU_SSE41,
    eCPU_AVX2,
    eCPU_Count
};

/// The level that kernels are chosen by: what the processor and the system can do, which is found out once,
/// or less where a limit was set. Any thread.
eCPU CpuLevel() noexcept;

/// Lowers the level, for tests and measurements; a limit above the processor's own level has no effect.
/// Not meant to be called while other threads convert. \return the previous limit
eCPU SetCpuLimit(eCPU eLimit) noexcept;

/// Sets a limit for the life of an object.
class CCpuLimit
{
public:
    explicit CCpuLimit(eCPU eLimit) noexcept : m_eBefore(SetCpuLimit(eLimit)) {}
    ~CCpuLimit() { SetCpuLimit(m_eBefore); }
    CCpuLimit(const CCpuLimit&) = delete;
    CCpuLimit& operator=(const CCpuLimit&) = delete;

private:
    eCPU m_eBefore;
};
