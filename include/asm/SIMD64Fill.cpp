#include "asm/SIMD64Fill.h"

#include <cstring>

namespace
{

void Fill(BYTE* pDst, size_t cb, const FillPattern& pattern) noexcept
{
    for (; cb >= FillPattern::cbPeriod; cb -= FillPattern::cbPeriod, pDst += FillPattern::cbPeriod)
        std::memcpy(pDst, pattern.arrBytes, FillPattern::cbPeriod);
    std::memcpy(pDst, pattern.arrBytes, cb);
}

} // namespace

constinit const FillKernels FillKernels::scalar = {.pfnFill = Fill};

FillPattern MakeFillPattern(DWORD dwColor, size_t nBytes) noexcept
{
    // No remainder for each byte: in small planes that took as long as the fill.
    FillPattern pattern;
    for (size_t i = 0; i < nBytes; i++)
        pattern.arrBytes[i] = static_cast<BYTE>(dwColor >> 8 * i);
    for (size_t i = nBytes; i < sizeof(pattern.arrBytes); i++)
        pattern.arrBytes[i] = pattern.arrBytes[i - nBytes];
    return pattern;
}
