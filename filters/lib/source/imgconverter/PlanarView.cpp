#include "imgconverter/PlanarView.h"

namespace
{

/// Places of Y0, the first chroma, Y1 and the second chroma within four bytes.
struct Packing
{
    int nY0, nU, nY1, nV;
};

constexpr Packing packYUY2 = {0, 1, 2, 3};
constexpr Packing packUYVY = {1, 0, 3, 2};

template <const Packing& pack>
ePrimitiveStatus Split(const BYTE* pSrc, ptrdiff_t nSrcStep, const Planes422<BYTE>& dst,
                       RoiSize size) noexcept
{
    if (!pSrc)
        return ePS_NullPointer;
    if (size.nWidth <= 0 || size.nHeight <= 0)
        return ePS_SizeError;
    const ptrdiff_t nPairs = size.nWidth / 2;
    for (LONG y = 0; y < size.nHeight; y++)
    {
        const BYTE* p = pSrc + y * nSrcStep;
        BYTE* __restrict pY = dst.arrPlane[0] + y * dst.arrStep[0];
        BYTE* __restrict pU = dst.arrPlane[1] + y * dst.arrStep[1];
        BYTE* __restrict pV = dst.arrPlane[2] + y * dst.arrStep[2];
        for (ptrdiff_t i = 0; i < nPairs; i++)
        {
            pY[2 * i] = p[4 * i + pack.nY0];
            pY[2 * i + 1] = p[4 * i + pack.nY1];
            pU[i] = p[4 * i + pack.nU];
            pV[i] = p[4 * i + pack.nV];
        }
    }
    return ePS_Done;
}

} // namespace

ePrimitiveStatus SplitYUY2(const BYTE* pSrc, ptrdiff_t nSrcStep, const Planes422<BYTE>& dst,
                           RoiSize size) noexcept
{
    return Split<packYUY2>(pSrc, nSrcStep, dst, size);
}

ePrimitiveStatus SplitUYVY(const BYTE* pSrc, ptrdiff_t nSrcStep, const Planes422<BYTE>& dst,
                           RoiSize size) noexcept
{
    return Split<packUYVY>(pSrc, nSrcStep, dst, size);
}

ePrimitiveStatus MergeYUY2(const Planes422<const BYTE>& src, BYTE* pDst, ptrdiff_t nDstStep,
                           RoiSize size) noexcept
{
    if (!pDst)
        return ePS_NullPointer;
    if (size.nWidth <= 0 || size.nHeight <= 0)
        return ePS_SizeError;
    const ptrdiff_t nPairs = size.nWidth / 2;
    for (LONG y = 0; y < size.nHeight; y++)
    {
        const BYTE* pY = src.arrPlane[0] + y * src.arrStep[0];
        const BYTE* pU = src.arrPlane[1] + y * src.arrStep[1];
        const BYTE* pV = src.arrPlane[2] + y * src.arrStep[2];
        BYTE* __restrict p = pDst + y * nDstStep;
        for (ptrdiff_t i = 0; i < nPairs; i++)
        {
            p[4 * i] = pY[2 * i];
            p[4 * i + 1] = pU[i];
            p[4 * i + 2] = pY[2 * i + 1];
            p[4 * i + 3] = pV[i];
        }
    }
    return ePS_Done;
}

ePrimitiveStatus SwapYUY2ToUYVY(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                RoiSize size) noexcept
{
    if (!pSrc || !pDst)
        return ePS_NullPointer;
    if (size.nWidth <= 0 || size.nHeight <= 0)
        return ePS_SizeError;
    const ptrdiff_t nSamples = ptrdiff_t{size.nWidth} / 2 * 2;
    for (LONG y = 0; y < size.nHeight; y++)
    {
        const BYTE* p = pSrc + y * nSrcStep;
        BYTE* __restrict pOut = pDst + y * nDstStep;
        for (ptrdiff_t i = 0; i < nSamples; i++)
        {
            pOut[2 * i] = p[2 * i + 1];
            pOut[2 * i + 1] = p[2 * i];
        }
    }
    return ePS_Done;
}
