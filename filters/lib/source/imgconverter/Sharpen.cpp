#include "imgconverter/Sharpen.h"

#include "dstl/WinAPI/SehCopy.h"

#include <algorithm>

namespace
{

constexpr int nSharpLimit = 50;

/// Rows into a frame that is not ours.
ePrimitiveStatus CopyRowsGuarded(const BYTE* pSrc, BYTE* pDst, ptrdiff_t nStep, RoiSize size,
                                 size_t cbSample) noexcept
{
    for (LONG y = 0; y < size.nHeight; y++)
    {
        if (!SEH_CopyMemory(pDst + y * nStep, pSrc + y * nStep, static_cast<size_t>(size.nWidth) * cbSample))
            return ePS_NullPointer;
    }
    return ePS_Done;
}

} // namespace

SharpenKernel MakeSharpenKernel(int nSharp) noexcept
{
    const int s = std::clamp(nSharp, -nSharpLimit, nSharpLimit);
    if (s >= 0)
        return {{-1, -1, -1, -1, 60 - s, -1, -1, -1, -1}, 52 - s};
    return {{1, 2, 1, 2, 52 + s, 2, 1, 2, 1}, 64 + s};
}

template <int nChannels>
ePrimitiveStatus FilterPlane(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                             RoiSize size, const SharpenKernel& kernel) noexcept
{
    if (!pSrc || !pDst)
        return ePS_NullPointer;
    if (size.nWidth <= 0 || size.nHeight <= 0)
        return ePS_Done;
    // Both kernels are symmetric: corners, edges and centre are all there is.
    const int32_t nCorner = kernel.arrValues[0];
    const int32_t nEdge = kernel.arrValues[1];
    const int32_t nCentre = kernel.arrValues[4];
    const int32_t nHalf = kernel.nDivisor / 2;
    const ptrdiff_t nSamples = ptrdiff_t{size.nWidth} * nChannels;
    for (LONG y = 0; y < size.nHeight; y++)
    {
        const BYTE* p = pSrc + y * nSrcStep;
        const BYTE* pAbove = p - nSrcStep;
        const BYTE* pBelow = p + nSrcStep;
        BYTE* pOut = pDst + y * nDstStep;
        for (ptrdiff_t i = 0; i < nSamples; i++)
        {
            const ptrdiff_t l = i - nChannels;
            const ptrdiff_t r = i + nChannels;
            const int32_t nCorners = pAbove[l] + pAbove[r] + pBelow[l] + pBelow[r];
            const int32_t nEdges = pAbove[i] + p[l] + p[r] + pBelow[i];
            const int32_t nSum = std::max(nCorner * nCorners + nEdge * nEdges + nCentre * p[i] + nHalf, 0);
            pOut[i] = static_cast<BYTE>(std::min(nSum / kernel.nDivisor, 255));
        }
    }
    return ePS_Done;
}

template ePrimitiveStatus FilterPlane<1>(const BYTE*, ptrdiff_t, BYTE*, ptrdiff_t, RoiSize,
                                         const SharpenKernel&) noexcept;
template ePrimitiveStatus FilterPlane<3>(const BYTE*, ptrdiff_t, BYTE*, ptrdiff_t, RoiSize,
                                         const SharpenKernel&) noexcept;
template ePrimitiveStatus FilterPlane<4>(const BYTE*, ptrdiff_t, BYTE*, ptrdiff_t, RoiSize,
                                         const SharpenKernel&) noexcept;

ePrimitiveStatus SharpenPlane(const BYTE* pSrc, BYTE* pDst, ptrdiff_t nStep, RoiSize size, int nChannels,
                              const SharpenKernel& kernel) noexcept
{
    const ePrimitiveStatus eStatus = CopyRowsGuarded(pSrc, pDst, nStep, size, static_cast<size_t>(nChannels));
    const RoiSize sharpSize = {size.nWidth - 2, size.nHeight - 2};
    if (eStatus != ePS_Done || sharpSize.nWidth <= 0 || sharpSize.nHeight <= 0)
        return eStatus;
    const ptrdiff_t nInner = nStep + nChannels;
    switch (nChannels)
    {
    case 4:
        return FilterPlane4(pSrc + nInner, nStep, pDst + nInner, nStep, sharpSize, kernel);
    case 3:
        return FilterPlane3(pSrc + nInner, nStep, pDst + nInner, nStep, sharpSize, kernel);
    default:
        return FilterPlane1(pSrc + nInner, nStep, pDst + nInner, nStep, sharpSize, kernel);
    }
}
