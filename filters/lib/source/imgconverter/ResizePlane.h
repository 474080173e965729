#pragma once
/// Scales one plane of 1, 3 or 4 interleaved channels of 8 bits that lies in memory.

#include "imgconverter/ResizeScaler.h"

/// \return bytes of work memory that ResizePlane needs; 0 where it refuses the job or needs none
inline size_t ResizeWorkSize(const PlaneScale& scale, int nInterpolation, int nChannels) noexcept
{
    return CPlaneScaler::WorkSize(scale, nInterpolation, nChannels);
}

/// Scales the region into the destination.
/// \param pSrc first sample of the whole source; \param nSrcStep, nDstStep bytes from one row to the next;
/// a negative one writes from the last row shown on upward
/// \param nInterpolation an eInterpolation; \param nChannels 1, 3 or 4
/// \param pWork ResizeWorkSize bytes, aligned to cbWorkAlign
/// \return ePS_Done; ePS_SizeError for an empty or misplaced region; ePS_Interpolation for an unknown value;
/// ePS_NullPointer
ePrimitiveStatus ResizePlane(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                             const PlaneScale& scale, int nInterpolation, int nChannels,
                             BYTE* pWork) noexcept;

inline ePrimitiveStatus ResizePlane1(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                     const PlaneScale& scale, int nInterpolation, BYTE* pWork) noexcept
{
    return ResizePlane(pSrc, nSrcStep, pDst, nDstStep, scale, nInterpolation, 1, pWork);
}

inline ePrimitiveStatus ResizePlane3(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                     const PlaneScale& scale, int nInterpolation, BYTE* pWork) noexcept
{
    return ResizePlane(pSrc, nSrcStep, pDst, nDstStep, scale, nInterpolation, 3, pWork);
}

inline ePrimitiveStatus ResizePlane4(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                     const PlaneScale& scale, int nInterpolation, BYTE* pWork) noexcept
{
    return ResizePlane(pSrc, nSrcStep, pDst, nDstStep, scale, nInterpolation, 4, pWork);
}
