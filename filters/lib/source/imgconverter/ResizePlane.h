#pragma once
/// Scales one plane of 1, 3 or 4 interleaved channels of 8 bits from memory to memory.

#include "imgconverter/ResizeSharp.h"

/// \return bytes of work memory that ResizePlane needs; 0 where it refuses the job or needs none
inline size_t ResizeWorkSize(const PlaneScale& scale, int nInterpolation, int nChannels) noexcept
{
    return CPlaneScaler::WorkSize(scale, nInterpolation, nChannels);
}

/// Scales a region into the destination and sharpens it where asked for.
/// \param pSrc first sample of the whole source; \param pDst first sample of the output's first row
/// \param nSrcStep, nDstStep bytes from one row to the next; a negative one walks upward in memory
/// \param pWork CSharpScaler::WorkSize bytes, aligned to cbWorkAlign
/// \return ePS_Done; ePS_SizeError for an empty or misplaced region; ePS_Interpolation for an unknown value;
/// ePS_NullPointer
ePrimitiveStatus ResizeSharpPlane(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                  const SharpScale& sharp, BYTE* pWork) noexcept;

/// The same for scaling alone. \param nInterpolation an eInterpolation \param pWork ResizeWorkSize bytes
inline ePrimitiveStatus ResizePlane1(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                     const PlaneScale& scale, int nInterpolation, BYTE* pWork) noexcept
{
    return ResizeSharpPlane(pSrc, nSrcStep, pDst, nDstStep, {scale, nInterpolation, 1, false, {}}, pWork);
}

inline ePrimitiveStatus ResizePlane3(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                     const PlaneScale& scale, int nInterpolation, BYTE* pWork) noexcept
{
    return ResizeSharpPlane(pSrc, nSrcStep, pDst, nDstStep, {scale, nInterpolation, 3, false, {}}, pWork);
}

inline ePrimitiveStatus ResizePlane4(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                     const PlaneScale& scale, int nInterpolation, BYTE* pWork) noexcept
{
    return ResizeSharpPlane(pSrc, nSrcStep, pDst, nDstStep, {scale, nInterpolation, 4, false, {}}, pWork);
}
