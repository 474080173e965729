#include "imgconverter/ResizeWeights.h"

#include "asm/SIMD64Resize.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace
{

/// The sample at or before an output's place, and the way from it to the place, 0 to below 1.
struct Place
{
    int64_t nSample;
    double dblRest;
};

Place PlaceOf(const ResizeFactor& factor, LONG nOutput) noexcept
{
    // (2x + 1) * nSrc / (2 * nDst) - 1/2; the product of a 32-bit and a 31-bit number fits 63 bits.
    const int64_t nUnit = int64_t{2} * factor.nDst;
    const int64_t nPlace = (int64_t{2} * nOutput + 1) * factor.nSrc - factor.nDst;
    int64_t nSample = nPlace / nUnit;
    if (nPlace % nUnit < 0)
        nSample--;
    return {nSample, static_cast<double>(nPlace - nSample * nUnit) / static_cast<double>(nUnit)};
}

int RoundWeight(double dbl) noexcept
{
    return static_cast<int>(std::floor(dbl * nResizeWeightOne + 0.5));
}

/// Catmull-Rom at t behind the second of four samples.
void CubicWeights(double t, int arrWeights[4]) noexcept
{
    const double t2 = t * t;
    const double t3 = t2 * t;
    arrWeights[0] = RoundWeight(-0.5 * t + t2 - 0.5 * t3);
    arrWeights[1] = RoundWeight(1.0 - 2.5 * t2 + 1.5 * t3);
    arrWeights[2] = RoundWeight(0.5 * t + 2.0 * t2 - 1.5 * t3);
    arrWeights[3] = RoundWeight(-0.5 * t2 + 0.5 * t3);
    // What rounding lost goes to the nearer sample, so that a flat picture stays as it is.
    const int nRest = nResizeWeightOne - (arrWeights[0] + arrWeights[1] + arrWeights[2] + arrWeights[3]);
    arrWeights[t < 0.5 ? 1 : 2] += nRest;
}

void LinearWeights(double t, int arrWeights[2]) noexcept
{
    arrWeights[1] = RoundWeight(t);
    arrWeights[0] = nResizeWeightOne - arrWeights[1];
}

} // namespace

int32_t NearestSample(const ResizeAxis& axis, LONG nOutput) noexcept
{
    const int64_t nPlace =
        (int64_t{2} * nOutput + 1) * axis.factor.nSrc / (int64_t{2} * axis.factor.nDst) + axis.nRoiStart;
    return static_cast<int32_t>(std::min<int64_t>(nPlace, axis.nSrcSize - 1));
}

LONG FilterTaps(const ResizeAxis& axis, eInterpolation eMode) noexcept
{
    return std::min<LONG>(eMode == eIP_Cubic ? 4 : 2, axis.nSrcSize);
}

int32_t FilterWeights(const ResizeAxis& axis, eInterpolation eMode, LONG nOutput, int16_t* pWeights) noexcept
{
    const Place place = PlaceOf(axis.factor, nOutput);
    int arrWeights[4] = {};
    int nCount = 2;
    int64_t nFirst = place.nSample + axis.nRoiStart;
    if (eMode == eIP_Cubic)
    {
        CubicWeights(place.dblRest, arrWeights);
        nCount = 4;
        nFirst--;
    }
    else
        LinearWeights(place.dblRest, arrWeights);

    const LONG nTaps = FilterTaps(axis, eMode);
    const int64_t nStart = std::clamp<int64_t>(nFirst, 0, axis.nSrcSize - nTaps);
    std::fill_n(pWeights, nTaps, int16_t{0});
    for (int k = 0; k < nCount; k++)
    {
        const int64_t nSample = std::clamp<int64_t>(nFirst + k, 0, axis.nSrcSize - 1);
        int16_t& nWeight = pWeights[nSample - nStart];
        nWeight = static_cast<int16_t>(nWeight + arrWeights[k]);
    }
    return static_cast<int32_t>(nStart);
}

ResizeFactor AreaParts(const ResizeAxis& axis) noexcept
{
    const LONG nCommon = std::gcd(axis.nDstSize, axis.nRoiSize);
    return {axis.nDstSize / nCommon, axis.nRoiSize / nCommon};
}

LONG AreaTaps(const ResizeAxis& axis) noexcept
{
    const ResizeFactor parts = AreaParts(axis);
    const bool bWhole = parts.nDst == 1;
    const int64_t nCovered = (int64_t{parts.nSrc} + parts.nDst - 1) / parts.nDst + (bWhole ? 0 : 1);
    return static_cast<LONG>(std::min<int64_t>((nCovered + 3) & ~int64_t{3}, axis.nSrcSize));
}

AreaSpan AreaOf(const ResizeFactor& parts, LONG nOutput) noexcept
{
    const int64_t nFirst = int64_t{nOutput} * parts.nSrc;
    const int64_t nEnd = nFirst + parts.nSrc;
    return {static_cast<LONG>(nFirst / parts.nDst), static_cast<LONG>((nEnd + parts.nDst - 1) / parts.nDst)};
}

int64_t AreaWeight(const ResizeFactor& parts, LONG nOutput, LONG nSample) noexcept
{
    const int64_t nOutputStart = int64_t{nOutput} * parts.nSrc;
    const int64_t nSampleStart = int64_t{nSample} * parts.nDst;
    return std::min(nOutputStart + parts.nSrc, nSampleStart + parts.nDst) -
           std::max(nOutputStart, nSampleStart);
}

int32_t AreaWeights(const ResizeAxis& axis, LONG nOutput, int16_t* pWeights) noexcept
{
    const ResizeFactor parts = AreaParts(axis);
    const AreaSpan span = AreaOf(parts, nOutput);
    const LONG nTaps = AreaTaps(axis);
    const LONG nStart = std::clamp<LONG>(axis.nRoiStart + span.nFirst, 0, axis.nSrcSize - nTaps);
    std::fill_n(pWeights, nTaps, int16_t{0});
    for (LONG n = span.nFirst; n < span.nEnd; n++)
        pWeights[axis.nRoiStart + n - nStart] = static_cast<int16_t>(AreaWeight(parts, nOutput, n));
    return nStart;
}
