#pragma once
/// Scales packed 4:2:2 as three planes, of which only the rows in work exist.

#include "imgconverter/ResizePlane.h"

/// A rectangle of a packed picture and where it goes: first pixels, and bytes from one row to the next.
struct PackedScale
{
    const BYTE* pSrc;
    ptrdiff_t nSrcStep;
    BYTE* pDst;
    ptrdiff_t nDstStep;
    bool bChromaFirst; ///< packed as U, Y, V, Y
    SharpScale luma;   ///< the source is the rectangle alone
    SharpScale chroma; ///< of either chroma plane
};

/// \return bytes of work memory that ResizePacked needs
size_t PackedWorkSize(const SharpScale& luma, const SharpScale& chroma) noexcept;

/// \param pWork PackedWorkSize bytes, aligned to cbWorkAlign
/// \return ePS_Done; what CPlaneScaler::Open returns, with nothing written
ePrimitiveStatus ResizePacked(const PackedScale& packed, BYTE* pWork) noexcept;
