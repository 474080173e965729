#include "imgconverter/CopyRows.h"

#include <cstring>
#include <functional>

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
    // A block that moves onto its own next rows is copied from its last row on. Offsets instead of moving
    // pointers: those would pass the start of the buffer after the last turned row.
    const bool bOntoNextRows =
        nSrcStep == nDstStep && pSrc != pDst && std::less<>()(pSrc, pDst) == (nSrcStep > 0);
    for (size_t i = 0; i < nRows; i++)
    {
        const auto nRow = static_cast<ptrdiff_t>(bOntoNextRows ? nRows - 1 - i : i);
        std::memmove(pDst + nRow * nDstStep, pSrc + nRow * nSrcStep, cbRow);
    }
    return ePS_Done;
}
