#include "imgconverter/Sharpen.h"

#include "asm/SIMD64Resize.h"

#include <algorithm>

namespace
{

constexpr int nSharpLimit = 50;

} // namespace

SharpenKernel MakeSharpenKernel(int nSharp) noexcept
{
    const int s = std::clamp(nSharp, -nSharpLimit, nSharpLimit);
    if (s >= 0)
        return {{-1, -1, -1, -1, 60 - s, -1, -1, -1, -1}, 52 - s};
    return {{1, 2, 1, 2, 52 + s, 2, 1, 2, 1}, 64 + s};
}

void FilterRow(const BYTE* pAbove, const BYTE* pRow, const BYTE* pBelow, BYTE* pDst, size_t nSamples,
               int nChannels, const SharpenKernel& kernel) noexcept
{
    // Both kernels are symmetric: corners, edges and centre are all there is.
    ResizeSharpKernel values = {static_cast<int16_t>(kernel.arrValues[0]),
                                static_cast<int16_t>(kernel.arrValues[1]),
                                static_cast<int16_t>(kernel.arrValues[4]),
                                {}};
    MakeResizeNarrowDivisor(static_cast<uint64_t>(kernel.nDivisor), values.divisor);
    const BYTE* arrRows[] = {pAbove, pRow, pBelow};
    GetResizeKernels().pfnSharpen(arrRows, pDst, nSamples, static_cast<size_t>(nChannels), values);
}
