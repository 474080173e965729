#include "imgconverter/CopyRows.h"

#include <cstring>

ePrimitiveStatus CopyRows(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep, RoiSize roi,
                          size_t cbSample) noexcept
{
    if (!pSrc || !pDst)
        return ePS_NullPointer;
    if (roi.nWidth <= 0 || roi.nHeight <= 0)
        return ePS_Done;

    const size_t cbRow = static_cast<size_t>(roi.nWidth) * cbSample;
    const auto nRows = static_cast<size_t>(roi.nHeight);
    const bool bOneBlock = nSrcStep == nDstStep && nSrcStep > 0 && static_cast<size_t>(nSrcStep) == cbRow;
    if (bOneBlock)
    {
        std::memmove(pDst, pSrc, cbRow * nRows);
        return ePS_Done;
    }
    // Offsets instead of moving pointers: those would pass the start of the buffer after the last turned row.
    for (size_t i = 0; i < nRows; i++)
    {
        const auto nRow = static_cast<ptrdiff_t>(i);
        std::memmove(pDst + nRow * nDstStep, pSrc + nRow * nSrcStep, cbRow);
    }
    return ePS_Done;
}
