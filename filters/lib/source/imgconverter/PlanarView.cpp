#include "imgconverter/PlanarView.h"

#include "asm/SIMD64Resize.h"

namespace
{

ePrimitiveStatus Split(const BYTE* pSrc, ptrdiff_t nSrcStep, const Planes422<BYTE>& dst, RoiSize size,
                       bool bChromaFirst) noexcept
{
    if (!pSrc)
        return ePS_NullPointer;
    if (size.nWidth <= 0 || size.nHeight <= 0)
        return ePS_SizeError;
    const PFNSPLIT422 pfnSplit = Kernels<ResizeKernels>().arrSplit[bChromaFirst];
    const auto nPairs = static_cast<size_t>(size.nWidth / 2);
    for (LONG y = 0; y < size.nHeight; y++)
        pfnSplit(pSrc + y * nSrcStep, dst.arrPlane[0] + y * dst.arrStep[0],
                 dst.arrPlane[1] + y * dst.arrStep[1], dst.arrPlane[2] + y * dst.arrStep[2], nPairs);
    return ePS_Done;
}

ePrimitiveStatus Merge(const Planes422<const BYTE>& src, BYTE* pDst, ptrdiff_t nDstStep, RoiSize size,
                       bool bChromaFirst) noexcept
{
    if (!pDst)
        return ePS_NullPointer;
    if (size.nWidth <= 0 || size.nHeight <= 0)
        return ePS_SizeError;
    const PFNMERGE422 pfnMerge = Kernels<ResizeKernels>().arrMerge[bChromaFirst];
    const auto nPairs = static_cast<size_t>(size.nWidth / 2);
    for (LONG y = 0; y < size.nHeight; y++)
        pfnMerge(src.arrPlane[0] + y * src.arrStep[0], src.arrPlane[1] + y * src.arrStep[1],
                 src.arrPlane[2] + y * src.arrStep[2], pDst + y * nDstStep, nPairs);
    return ePS_Done;
}

} // namespace

ePrimitiveStatus SplitYUY2(const BYTE* pSrc, ptrdiff_t nSrcStep, const Planes422<BYTE>& dst,
                           RoiSize size) noexcept
{
    return Split(pSrc, nSrcStep, dst, size, false);
}

ePrimitiveStatus SplitUYVY(const BYTE* pSrc, ptrdiff_t nSrcStep, const Planes422<BYTE>& dst,
                           RoiSize size) noexcept
{
    return Split(pSrc, nSrcStep, dst, size, true);
}

ePrimitiveStatus MergeYUY2(const Planes422<const BYTE>& src, BYTE* pDst, ptrdiff_t nDstStep,
                           RoiSize size) noexcept
{
    return Merge(src, pDst, nDstStep, size, false);
}

ePrimitiveStatus MergeUYVY(const Planes422<const BYTE>& src, BYTE* pDst, ptrdiff_t nDstStep,
                           RoiSize size) noexcept
{
    return Merge(src, pDst, nDstStep, size, true);
}
