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

void FilterPlane(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep, RoiSize size,
                 int nChannels, const SharpenKernel& kernel) noexcept
{
    if (size.nWidth <= 0)
        return;
    // Both kernels are symmetric: corners, edges and centre are all there is.
    ResizeSharpKernel values = {static_cast<int16_t>(kernel.arrValues[0]),
                                static_cast<int16_t>(kernel.arrValues[1]),
                                static_cast<int16_t>(kernel.arrValues[4]),
                                {}};
    MakeResizeNarrowDivisor(static_cast<uint64_t>(kernel.nDivisor), values.divisor);
    const auto nPixel = static_cast<size_t>(nChannels);
    const size_t nSamples = static_cast<size_t>(size.nWidth) * nPixel;
    for (LONG y = 0; y < size.nHeight; y++)
    {
        const BYTE* pRow = pSrc + y * nSrcStep;
        const BYTE* arrRows[] = {pRow - nSrcStep, pRow, pRow + nSrcStep};
        Kernels<ResizeKernels>().pfnSharpen(arrRows, pDst + y * nDstStep, nSamples, nPixel, values);
    }
}
