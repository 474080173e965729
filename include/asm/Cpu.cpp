#include "asm/Cpu.h"

#include <atomic>

namespace
{

eCPU Detect() noexcept
{
    // Also asks whether the system saves the wide registers.
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2"))
        return eCPU_AVX2;
    if (__builtin_cpu_supports("sse4.1"))
        return eCPU_SSE41;
    return eCPU_Scalar;
}

std::atomic<int> g_nLimit{eCPU_AVX2};

} // namespace

eCPU CpuLevel() noexcept
{
    static const eCPU eDetected = Detect();
    const auto eLimit = static_cast<eCPU>(g_nLimit.load(std::memory_order_relaxed));
    return eLimit < eDetected ? eLimit : eDetected;
}

eCPU SetCpuLimit(eCPU eLimit) noexcept
{
    return static_cast<eCPU>(g_nLimit.exchange(eLimit, std::memory_order_relaxed));
}
