#include "imgconverter/ResizePlane.h"

ePrimitiveStatus ResizePlane(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                             const PlaneScale& scale, int nInterpolation, int nChannels, BYTE* pWork) noexcept
{
    if (!pSrc || !pDst)
        return ePS_NullPointer;
    CPlaneScaler scaler;
    const ePrimitiveStatus eStatus = scaler.Open(scale, nInterpolation, nChannels, pWork);
    if (eStatus != ePS_Done)
        return eStatus;
    CRowsInMemory rows(pSrc, nSrcStep);
    for (LONG y = 0; y < scale.dstSize.nHeight; y++)
        scaler.ScaleRow(rows, y, pDst + y * nDstStep);
    return ePS_Done;
}
