#include "imgconverter/ConvertRows.h"

#include <cstring>

namespace
{

/// Bytes of a pair of pixels of at most 32 bits.
constexpr size_t cbPairMax = 8;

/// A row's last pixel of RGB, twice.
struct LastPair
{
    BYTE arrBytes[cbPairMax];

    LastPair(const BYTE* pPixel, size_t cbPixel) noexcept
    {
        std::memcpy(arrBytes, pPixel, cbPixel);
        std::memcpy(arrBytes + cbPixel, pPixel, cbPixel);
    }
};

/// One pixel of RGB to a pair of packed YUV, or back.
void ConvertLast(const Conversion& conversion, PFNCONVERTROW pfn, const BYTE* pSrc, BYTE* pDst) noexcept
{
    const bool bFromRgb = conversion.cbSrcPixel > 2;
    if (bFromRgb)
    {
        const LastPair pair(pSrc, conversion.cbSrcPixel);
        pfn(pair.arrBytes, pDst, 2);
        return;
    }
    BYTE arrPair[cbPairMax] = {};
    pfn(pSrc, arrPair, 2);
    std::memcpy(pDst, arrPair, conversion.cbDstPixel);
}

void ConvertPacked(const Conversion& conversion, PFNCONVERTROW pfn, const BlockPair& blocks) noexcept
{
    const auto nColumns = static_cast<size_t>(blocks.roiInside.nWidth);
    const size_t nWhole = conversion.nMinWidth == 2 ? nColumns & ~size_t{1} : nColumns;
    const size_t nSrcLast = nWhole * conversion.cbSrcPixel;
    const size_t nDstLast = nWhole * conversion.cbDstPixel;
    const BYTE* pSrc = blocks.src.Pixels(0);
    BYTE* pDst = blocks.dst.Pixels(0);
    for (ptrdiff_t y = 0; y < blocks.roiInside.nHeight; y++)
    {
        const BYTE* pSrcRow = pSrc + y * blocks.src.arrStep[0];
        BYTE* pDstRow = pDst + y * blocks.dst.arrStep[0];
        pfn(pSrcRow, pDstRow, nWhole);
        if (nWhole != nColumns)
            ConvertLast(conversion, pfn, pSrcRow + nSrcLast, pDstRow + nDstLast);
    }
}

void ConvertToPlanar(const Conversion& conversion, PFNTOPLANAR420 pfn, const BlockPair& blocks) noexcept
{
    const ptrdiff_t nRows = blocks.roiInside.nHeight & ~1;
    if (nRows == 0)
        return;
    const auto nColumns = static_cast<size_t>(blocks.roiInside.nWidth);
    const size_t nWhole = nColumns & ~size_t{1};
    const BYTE* pSrc = blocks.src.Pixels(0);
    BYTE* pY = blocks.dst.Pixels(0);
    BYTE* pU = blocks.dst.Pixels(conversion.bSwapChroma ? 2 : 1);
    BYTE* pV = blocks.dst.Pixels(conversion.bSwapChroma ? 1 : 2);
    for (ptrdiff_t y = 0; y < nRows; y += 2)
    {
        const BYTE* pSrc0 = pSrc + y * blocks.src.arrStep[0];
        const BYTE* pSrc1 = pSrc + (y + 1) * blocks.src.arrStep[0];
        BYTE* pY0 = pY + y * blocks.dst.arrStep[0];
        BYTE* pY1 = pY + (y + 1) * blocks.dst.arrStep[0];
        BYTE* pURow = pU + y / 2 * blocks.dst.arrStep[1];
        BYTE* pVRow = pV + y / 2 * blocks.dst.arrStep[2];
        pfn(pSrc0, pSrc1, pY0, pY1, pURow, pVRow, nWhole);
        if (nWhole != nColumns)
        {
            const LastPair pair0(pSrc0 + nWhole * conversion.cbSrcPixel, conversion.cbSrcPixel);
            const LastPair pair1(pSrc1 + nWhole * conversion.cbSrcPixel, conversion.cbSrcPixel);
            pfn(pair0.arrBytes, pair1.arrBytes, pY0 + nWhole, pY1 + nWhole, pURow + nWhole / 2,
                pVRow + nWhole / 2, 2);
        }
    }
}

void ConvertFromPlanar(const Conversion& conversion, PFNFROMPLANAR420 pfn, const BlockPair& blocks) noexcept
{
    const ptrdiff_t nRows = blocks.roiInside.nHeight & ~1;
    if (nRows == 0)
        return;
    const auto nColumns = static_cast<size_t>(blocks.roiInside.nWidth);
    const size_t nWhole = nColumns & ~size_t{1};
    const BYTE* pY = blocks.src.Pixels(0);
    const BYTE* pSecond = blocks.src.Pixels(conversion.bSwapChroma ? 2 : 1);
    const BYTE* pThird = blocks.src.Pixels(conversion.bSwapChroma ? 1 : 2);
    BYTE* pDst = blocks.dst.Pixels(0);
    for (ptrdiff_t y = 0; y < nRows; y += 2)
    {
        const BYTE* pY0 = pY + y * blocks.src.arrStep[0];
        const BYTE* pY1 = pY + (y + 1) * blocks.src.arrStep[0];
        const BYTE* pSecondRow = pSecond + y / 2 * blocks.src.arrStep[1];
        const BYTE* pThirdRow = pThird + y / 2 * blocks.src.arrStep[2];
        BYTE* pDst0 = pDst + y * blocks.dst.arrStep[0];
        BYTE* pDst1 = pDst + (y + 1) * blocks.dst.arrStep[0];
        pfn(pY0, pY1, pSecondRow, pThirdRow, pDst0, pDst1, nWhole);
        if (nWhole != nColumns)
        {
            BYTE arrPair0[cbPairMax] = {};
            BYTE arrPair1[cbPairMax] = {};
            pfn(pY0 + nWhole, pY1 + nWhole, pSecondRow + nWhole / 2, pThirdRow + nWhole / 2, arrPair0,
                arrPair1, 2);
            std::memcpy(pDst0 + nWhole * conversion.cbDstPixel, arrPair0, conversion.cbDstPixel);
            std::memcpy(pDst1 + nWhole * conversion.cbDstPixel, arrPair1, conversion.cbDstPixel);
        }
    }
}

/// Planes of one byte a sample are those of 4:2:0.
void CopyPlanes(const Conversion& conversion, const BlockPair& blocks) noexcept
{
    const int nPlanes = conversion.cbSrcPixel == 1 ? 3 : 1;
    for (int i = 0; i < nPlanes; i++)
    {
        const int nDivisor = i == 0 ? 1 : 2;
        const RoiSize roi = {blocks.roiInside.nWidth / nDivisor, blocks.roiInside.nHeight / nDivisor};
        if (roi.nWidth > 0 && roi.nHeight > 0)
            CopyRows(blocks.src.Pixels(i), blocks.src.arrStep[i], blocks.dst.Pixels(i), blocks.dst.arrStep[i],
                     roi, conversion.cbSrcPixel);
    }
}

} // namespace

ePrimitiveStatus CheckConversion(const Conversion& conversion, RoiSize roi, bool bHasTemp) noexcept
{
    if (conversion.bTwoStages && !bHasTemp)
        return ePS_NullPointer;
    if (roi.nWidth < conversion.nMinWidth || roi.nHeight < conversion.nMinHeight)
        return conversion.nMinWidth == 0 ? ePS_Done : ePS_SizeError;
    const bool bOddHeight = (roi.nHeight & 1) != 0;
    return bOddHeight && conversion.eOdd == eOH_Warn ? ePS_OddLeftOut : ePS_Done;
}

void ConvertRows(const Conversion& conversion, const BlockPair& blocks) noexcept
{
    if (blocks.roiInside.nWidth <= 0 || blocks.roiInside.nHeight <= 0)
        return;
    const ConvertKernels& kernels = Kernels<ConvertKernels>();
    switch (conversion.eKind)
    {
    case eCK_CopyRows:
        CopyPlanes(conversion, blocks);
        break;
    case eCK_Row:
        ConvertPacked(conversion, kernels.*conversion.pfnRow, blocks);
        break;
    case eCK_ToPlanar420:
        ConvertToPlanar(conversion, kernels.*conversion.pfnToPlanar, blocks);
        break;
    case eCK_FromPlanar420:
        ConvertFromPlanar(conversion, kernels.*conversion.pfnFromPlanar, blocks);
        break;
    case eCK_Nothing:
    case eCK_Refused:
        break;
    }
}
