#include "imgconverter/ResizeWeights.h"

#include "asm/SIMD64Resize.h"

#include <algorithm>
#include <numeric>

namespace
{

/// A ratio that grows in equal steps, as whole units and a rest: one division for all outputs of an axis.
class CRatioWalk
{
public:
    CRatioWalk(int64_t nFirst, int64_t nStep, int64_t nUnit) noexcept
        : m_nUnit(nUnit), m_nWhole(nFirst / nUnit), m_nRest(nFirst % nUnit), m_nStepWhole(nStep / nUnit),
          m_nStepRest(nStep % nUnit)
    {
        if (m_nRest < 0)
        {
            m_nRest += nUnit;
            m_nWhole--;
        }
    }

    void Next() noexcept
    {
        m_nWhole += m_nStepWhole;
        m_nRest += m_nStepRest;
        if (m_nRest >= m_nUnit)
        {
            m_nRest -= m_nUnit;
            m_nWhole++;
        }
    }
    int64_t Whole() const noexcept { return m_nWhole; }
    int64_t Rest() const noexcept { return m_nRest; }

private:
    int64_t m_nUnit, m_nWhole, m_nRest, m_nStepWhole, m_nStepRest;
};

int RoundWeight(double dbl) noexcept
{
    // Weights lie between -1/8 and 1: what is added lets the conversion, which cuts, round down.
    constexpr int nAbove = nResizeWeightOne;
    return static_cast<int>(dbl * nResizeWeightOne + (nAbove + 0.5)) - nAbove;
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

/// The weights of nCount samples from nFirst on, as taps inside the source: what lies outside goes to the
/// outermost sample. \return the sample of the first tap
int32_t PutInside(const ResizeAxis& axis, int64_t nFirst, const int* pFilter, int nCount, LONG nTaps,
                  int16_t* pWeights) noexcept
{
    if (nFirst >= 0 && nFirst + nCount <= axis.nSrcSize)
    {
        for (int k = 0; k < nCount; k++)
            pWeights[k] = static_cast<int16_t>(pFilter[k]);
        return static_cast<int32_t>(nFirst);
    }
    const int64_t nStart = std::clamp<int64_t>(nFirst, 0, axis.nSrcSize - nTaps);
    std::fill_n(pWeights, nTaps, int16_t{0});
    for (int k = 0; k < nCount; k++)
    {
        const int64_t nSample = std::clamp<int64_t>(nFirst + k, 0, axis.nSrcSize - 1);
        int16_t& nWeight = pWeights[nSample - nStart];
        nWeight = static_cast<int16_t>(nWeight + pFilter[k]);
    }
    return static_cast<int32_t>(nStart);
}

} // namespace

bool IsUsable(const ResizeAxis& axis) noexcept
{
    return axis.nRoiStart >= 0 && axis.nRoiSize > 0 && axis.nRoiSize <= axis.nSrcSize &&
           axis.nRoiStart <= axis.nSrcSize - axis.nRoiSize && axis.nDstSize > 0 && axis.factor.nDst > 0 &&
           axis.factor.nSrc > 0;
}

bool IsHalved(const ResizeAxis& axis) noexcept
{
    const auto half = [](LONG nSrc, LONG nDst) { return nSrc % 2 == 0 && nSrc / 2 == nDst; };
    return half(axis.nRoiSize, axis.nDstSize) && half(axis.factor.nSrc, axis.factor.nDst);
}

bool IsDoubled(const ResizeAxis& axis) noexcept
{
    const auto twice = [](LONG nSrc, LONG nDst) { return nDst % 2 == 0 && nDst / 2 == nSrc; };
    return twice(axis.nRoiSize, axis.nDstSize) && twice(axis.factor.nSrc, axis.factor.nDst);
}

void NearestSamples(const ResizeAxis& axis, int32_t* pStart) noexcept
{
    // (2x + 1) * nSrc / (2 * nDst)
    CRatioWalk place(axis.factor.nSrc, int64_t{2} * axis.factor.nSrc, int64_t{2} * axis.factor.nDst);
    for (LONG i = 0; i < axis.nDstSize; i++, place.Next())
        pStart[i] =
            static_cast<int32_t>(std::min<int64_t>(place.Whole() + axis.nRoiStart, axis.nSrcSize - 1));
}

LONG FilterTaps(const ResizeAxis& axis, eInterpolation eMode) noexcept
{
    return std::min<LONG>(eMode == eIP_Cubic ? nFilterMostTaps : 2, axis.nSrcSize);
}

void FilterWeights(const ResizeAxis& axis, eInterpolation eMode, int32_t* pStart, int16_t* pWeights) noexcept
{
    // (2x + 1) * nSrc / (2 * nDst) - 1/2
    const int64_t nUnit = int64_t{2} * axis.factor.nDst;
    CRatioWalk place(int64_t{axis.factor.nSrc} - axis.factor.nDst, int64_t{2} * axis.factor.nSrc, nUnit);
    const double dblPart = 1.0 / static_cast<double>(nUnit);
    const LONG nTaps = FilterTaps(axis, eMode);
    for (LONG i = 0; i < axis.nDstSize; i++, place.Next())
    {
        const double dblRest = static_cast<double>(place.Rest()) * dblPart;
        const int64_t nSample = place.Whole() + axis.nRoiStart;
        int arrFilter[nFilterMostTaps] = {};
        if (eMode == eIP_Cubic)
        {
            CubicWeights(dblRest, arrFilter);
            pStart[i] = PutInside(axis, nSample - 1, arrFilter, nFilterMostTaps, nTaps, pWeights);
        }
        else
        {
            LinearWeights(dblRest, arrFilter);
            pStart[i] = PutInside(axis, nSample, arrFilter, 2, nTaps, pWeights);
        }
        pWeights += nTaps;
    }
}

ResizeFactor AreaParts(const ResizeAxis& axis) noexcept
{
    const LONG nCommon = std::gcd(axis.nDstSize, axis.nRoiSize);
    return {axis.nDstSize / nCommon, axis.nRoiSize / nCommon};
}

LONG AreaSamples(const ResizeAxis& axis) noexcept
{
    const ResizeFactor parts = AreaParts(axis);
    const bool bWhole = parts.nDst == 1;
    const int64_t nCovered = (int64_t{parts.nSrc} + parts.nDst - 1) / parts.nDst + (bWhole ? 0 : 1);
    return static_cast<LONG>(std::min<int64_t>(nCovered, axis.nSrcSize));
}

void AreaWeights(const ResizeAxis& axis, LONG nTaps, int32_t* pStart, int16_t* pWeights) noexcept
{
    const ResizeFactor parts = AreaParts(axis);
    CRatioWalk place(0, parts.nSrc, parts.nDst);
    for (LONG i = 0; i < axis.nDstSize; i++, place.Next())
    {
        const auto nFirst = axis.nRoiStart + static_cast<LONG>(place.Whole());
        pStart[i] = std::min<LONG>(nFirst, axis.nSrcSize - nTaps);
        std::fill_n(pWeights, nTaps, int16_t{0});
        // The output before covers a part of the first sample; the last one gets the parts that remain.
        int64_t nLeft = parts.nSrc;
        int64_t nPart = parts.nDst - place.Rest();
        for (int16_t* p = pWeights + (nFirst - pStart[i]); nLeft > 0; p++)
        {
            *p = static_cast<int16_t>(std::min(nPart, nLeft));
            nLeft -= *p;
            nPart = parts.nDst;
        }
        pWeights += nTaps;
    }
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
