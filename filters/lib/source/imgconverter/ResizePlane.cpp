#include "imgconverter/ResizePlane.h"

ePrimitiveStatus ResizeSharpPlane(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                  const SharpScale& sharp, BYTE* pWork) noexcept
{
    if (!pSrc || !pDst)
        return ePS_NullPointer;
    CSharpScaler scaler;
    ePrimitiveStatus eStatus = scaler.Open(sharp, pWork);
    CRowsInMemory rows(pSrc, nSrcStep);
    for (LONG y = 0; y < sharp.scale.dstSize.nHeight && eStatus == ePS_Done; y++)
        eStatus = scaler.WriteRow(rows, y, pDst + y * nDstStep);
    return eStatus;
}
