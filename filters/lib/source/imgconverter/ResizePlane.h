#pragma once
/// Scales one plane of 1, 3 or 4 interleaved channels of 8 bits.

#include "imgconverter/CopyRows.h"
#include "imgconverter/ResizeWeights.h"

/// A region of a picture, in samples of all channels and in memory rows.
struct RoiRect
{
    LONG nLeft;
    LONG nTop;
    LONG nWidth;
    LONG nHeight;
};

/// The geometry of one plane.
struct PlaneScale
{
    RoiSize srcSize; ///< the whole source
    RoiRect srcRoi;  ///< lies inside it; filters reach over its edges up to those of the source
    RoiSize dstSize;
    ResizeFactor factorX; ///< area averages take the ratio of region and output instead
    ResizeFactor factorY;
};

/// Alignment of the work memory.
constexpr size_t cbWorkAlign = 64;

/// \return bytes of work memory that ResizePlane needs; 0 where it refuses the job or needs none
size_t ResizeWorkSize(const PlaneScale& scale, int nInterpolation, int nChannels) noexcept;

/// Scales the region into the destination.
/// \param pSrc first sample of the whole source; \param nSrcStep, nDstStep bytes from one row to the next
/// \param nInterpolation an eInterpolation
/// \param pWork ResizeWorkSize bytes, aligned to cbWorkAlign
/// \return ePS_Done; ePS_SizeError for an empty or misplaced region; ePS_Interpolation for an unknown value
template <int nChannels>
ePrimitiveStatus ResizePlane(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                             const PlaneScale& scale, int nInterpolation, BYTE* pWork) noexcept;

inline ePrimitiveStatus ResizePlane1(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                     const PlaneScale& scale, int nInterpolation, BYTE* pWork) noexcept
{
    return ResizePlane<1>(pSrc, nSrcStep, pDst, nDstStep, scale, nInterpolation, pWork);
}

inline ePrimitiveStatus ResizePlane3(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                     const PlaneScale& scale, int nInterpolation, BYTE* pWork) noexcept
{
    return ResizePlane<3>(pSrc, nSrcStep, pDst, nDstStep, scale, nInterpolation, pWork);
}

inline ePrimitiveStatus ResizePlane4(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                     const PlaneScale& scale, int nInterpolation, BYTE* pWork) noexcept
{
    return ResizePlane<4>(pSrc, nSrcStep, pDst, nDstStep, scale, nInterpolation, pWork);
}
