#pragma once
/// The weights of the resizer's filters: which source samples make one output sample of an axis.
///
/// Sample centres are aligned: output x lies at (x + 0.5) * nSrc / nDst - 0.5 of its region. The region
/// lies in a larger picture, so that filters reach over its edges; at the edges of the picture they take the
/// outermost sample again. Positions are exact ratios, so that no rounding of a factor moves a sample.

#include "dstl/WinAPI/Platform.h"

#include <cstdint>

/// Interpolation values that ResizePlane knows.
enum eInterpolation : int
{
    eIP_Nearest = 1,
    eIP_Linear = 2, ///< two samples
    eIP_Cubic = 4,  ///< four samples, Catmull-Rom
    eIP_Super = 8   ///< exact area average
};

/// A scale factor as the ratio of two lengths.
struct ResizeFactor
{
    LONG nDst;
    LONG nSrc;
};

/// One axis of a plane.
struct ResizeAxis
{
    LONG nSrcSize;  ///< samples of the whole source
    LONG nRoiStart; ///< first sample of the region
    LONG nRoiSize;
    LONG nDstSize;
    ResizeFactor factor;
};

/// The region lies in the source and nothing is empty.
bool IsUsable(const ResizeAxis& axis) noexcept;

/// Every output lies in the middle of two samples of the region.
bool IsHalved(const ResizeAxis& axis) noexcept;

/// Every sample of the region lies in the middle of two outputs.
bool IsDoubled(const ResizeAxis& axis) noexcept;

/// Fills the source sample nearest to each output sample; of two equally near the later one.
/// \param pStart nDstSize samples
void NearestSamples(const ResizeAxis& axis, int32_t* pStart) noexcept;

/// The most taps of a filter.
constexpr LONG nFilterMostTaps = 4;

/// Linear and cubic: the number of taps, less only where the source has fewer samples.
LONG FilterTaps(const ResizeAxis& axis, eInterpolation eMode) noexcept;

/// Fills the taps of each output, which all lie inside the source.
/// \param pStart receives the source sample of the first tap \param pWeights FilterTaps for each output,
/// which sum up to nResizeWeightOne
void FilterWeights(const ResizeAxis& axis, eInterpolation eMode, int32_t* pStart, int16_t* pWeights) noexcept;

/// The region and the output in their smallest whole parts: an output covers nSrc parts, a sample has nDst.
ResizeFactor AreaParts(const ResizeAxis& axis) noexcept;

/// Area average: the most samples that an output covers a part of.
LONG AreaSamples(const ResizeAxis& axis) noexcept;

/// As FilterWeights, for parts that fit 16 bits; the weights of an output sum up to the nSrc of AreaParts.
/// \param nTaps AreaSamples at least, the axis' samples at most
void AreaWeights(const ResizeAxis& axis, LONG nTaps, int32_t* pStart, int16_t* pWeights) noexcept;

/// The samples that an output covers.
struct AreaSpan
{
    LONG nFirst; ///< within the region
    LONG nEnd;
};

AreaSpan AreaOf(const ResizeFactor& parts, LONG nOutput) noexcept;

/// Parts of a sample that an output covers.
int64_t AreaWeight(const ResizeFactor& parts, LONG nOutput, LONG nSample) noexcept;
