#include "asm/SIMD64Resize.h"

#include <algorithm>
#include <cstring>

namespace
{

template <int nChannels>
int32_t TapSum(const ResizeRowTaps& taps, const BYTE* pSrc, LONG nOutput, int nChannel) noexcept
{
    const BYTE* pb = pSrc + ptrdiff_t{taps.pStart[nOutput]} * nChannels + nChannel;
    const int16_t* pWeights = taps.pWeights + ptrdiff_t{nOutput} * taps.nTaps;
    int32_t nSum = 0;
    for (LONG k = 0; k < taps.nTaps; k++)
        nSum += pWeights[k] * pb[ptrdiff_t{k} * nChannels];
    return nSum;
}

/// Both rows; make turns a sum into a sample.
template <int nChannels, class TSample, class TMake>
void ScaleRows(const ResizeRowTaps& taps, const ResizeRowPair<TSample>& rows, TMake make) noexcept
{
    for (int nRow = 0; nRow < 2; nRow++)
    {
        TSample* pDst = rows.arrDst[nRow];
        for (LONG i = 0; i < taps.nOutputs; i++)
        {
            for (int c = 0; c < nChannels; c++)
                *pDst++ = static_cast<TSample>(make(TapSum<nChannels>(taps, rows.arrSrc[nRow], i, c)));
        }
    }
}

template <int nChannels>
void Row(const ResizeRowTaps& taps, const ResizeRowPair<int16_t>& rows) noexcept
{
    constexpr int nShift = nResizeWeightBits - nResizeRowBits;
    ScaleRows<nChannels>(taps, rows, [](int32_t nSum) { return nSum >> nShift; });
}

template <int nChannels, class TSample>
void Sum(const ResizeRowTaps& taps, const ResizeRowPair<TSample>& rows) noexcept
{
    ScaleRows<nChannels>(taps, rows, [](int32_t nSum) { return nSum; });
}

void Average(const uint16_t* const* ppRows, const int16_t* pWeights, LONG nRows,
             const ResizeNarrowDivisor& divisor, BYTE* pDst, size_t nSamples) noexcept
{
    for (size_t i = 0; i < nSamples; i++)
    {
        uint32_t nSum = divisor.nHalf;
        for (LONG k = 0; k < nRows; k++)
            nSum += uint32_t{ppRows[k][i]} * static_cast<uint32_t>(pWeights[k]);
        pDst[i] = static_cast<BYTE>(((nSum * divisor.nReciprocal) >> 16) >> divisor.nShift);
    }
}

/// Each product is rounded to 1/32 of a level, as the processors' rounding multiplication does.
void Blend(const int16_t* const* ppRows, const int16_t* pWeights, LONG nTaps, BYTE* pDst,
           size_t nSamples) noexcept
{
    constexpr int nBits = nResizeRowBits - 1;
    for (size_t i = 0; i < nSamples; i++)
    {
        int nSum = 1 << (nBits - 1);
        for (LONG k = 0; k < nTaps; k++)
            nSum += (ppRows[k][i] * pWeights[k] + (1 << nResizeWeightBits)) >> (nResizeWeightBits + 1);
        pDst[i] = static_cast<BYTE>(std::clamp(nSum >> nBits, 0, 255));
    }
}

void Add(uint32_t* pSums, const int32_t* pRow, uint32_t nWeight, bool bFirst, size_t nSamples) noexcept
{
    for (size_t i = 0; i < nSamples; i++)
        pSums[i] = (bFirst ? 0 : pSums[i]) + static_cast<uint32_t>(pRow[i]) * nWeight;
}

void Divide(const uint32_t* pSums, BYTE* pDst, const ResizeDivisor& divisor, size_t nSamples) noexcept
{
    for (size_t i = 0; i < nSamples; i++)
    {
        const uint64_t n = pSums[i] + divisor.nHalf;
        pDst[i] = static_cast<BYTE>((n * divisor.nReciprocal) >> divisor.nShift);
    }
}

template <int nChannels>
void Halve(const BYTE* pUpper, const BYTE* pLower, BYTE* pDst, size_t nOutputs) noexcept
{
    for (size_t i = 0; i < nOutputs; i++)
    {
        for (size_t c = 0; c < nChannels; c++)
        {
            const size_t nAt = 2 * i * nChannels + c;
            const int nSum = pUpper[nAt] + pUpper[nAt + nChannels] + pLower[nAt] + pLower[nAt + nChannels];
            pDst[i * nChannels + c] = static_cast<BYTE>((nSum + 2) >> 2);
        }
    }
}

void Double(const BYTE* pNear, const BYTE* pFar, BYTE* pDst, size_t nPixels) noexcept
{
    const auto down = [=](ptrdiff_t i) { return 3 * pNear[i] + pFar[i]; };
    for (ptrdiff_t i = 0; i < static_cast<ptrdiff_t>(nPixels); i++)
    {
        pDst[2 * i] = static_cast<BYTE>((3 * down(i) + down(i - 1) + 8) >> 4);
        pDst[2 * i + 1] = static_cast<BYTE>((3 * down(i) + down(i + 1) + 8) >> 4);
    }
}

template <int nChannels>
void Seconds(const BYTE* pSrc, BYTE* pDst, size_t nOutputs) noexcept
{
    for (size_t i = 0; i < nOutputs; i++)
        std::memcpy(pDst + i * nChannels, pSrc + (2 * i + 1) * nChannels, nChannels);
}

void Sharpen(const BYTE* const* ppRows, BYTE* pDst, size_t nSamples, size_t nPixel,
             const ResizeSharpKernel& kernel) noexcept
{
    for (size_t i = 0; i < nSamples; i++)
    {
        const BYTE* pAbove = ppRows[0] + i;
        const BYTE* p = ppRows[1] + i;
        const BYTE* pBelow = ppRows[2] + i;
        const auto nLeft = -static_cast<ptrdiff_t>(nPixel);
        const auto nRight = static_cast<ptrdiff_t>(nPixel);
        const int nCorners = pAbove[nLeft] + pAbove[nRight] + pBelow[nLeft] + pBelow[nRight];
        const int nEdges = pAbove[0] + p[nLeft] + p[nRight] + pBelow[0];
        const int nSum = kernel.nCorner * nCorners + kernel.nEdge * nEdges + kernel.nCentre * p[0];
        const auto n = static_cast<uint32_t>(std::max(nSum + kernel.divisor.nHalf, 0));
        const uint32_t nLevel = (n * kernel.divisor.nReciprocal >> 16) >> kernel.divisor.nShift;
        pDst[i] = static_cast<BYTE>(std::min<uint32_t>(nLevel, 255));
    }
}

template <bool bChromaFirst>
void Split(const BYTE* pSrc, BYTE* pY, BYTE* pFirst, BYTE* pSecond, size_t nPairs) noexcept
{
    constexpr int nLuma = bChromaFirst ? 1 : 0;
    for (size_t i = 0; i < nPairs; i++)
    {
        const BYTE* p = pSrc + 4 * i;
        pY[2 * i] = p[nLuma];
        pY[2 * i + 1] = p[nLuma + 2];
        pFirst[i] = p[1 - nLuma];
        pSecond[i] = p[3 - nLuma];
    }
}

template <bool bChromaFirst>
void Merge(const BYTE* pY, const BYTE* pFirst, const BYTE* pSecond, BYTE* pDst, size_t nPairs) noexcept
{
    constexpr int nLuma = bChromaFirst ? 1 : 0;
    for (size_t i = 0; i < nPairs; i++)
    {
        BYTE* p = pDst + 4 * i;
        p[nLuma] = pY[2 * i];
        p[nLuma + 2] = pY[2 * i + 1];
        p[1 - nLuma] = pFirst[i];
        p[3 - nLuma] = pSecond[i];
    }
}

} // namespace

constinit const ResizeKernels ResizeKernels::scalar = {
    .arrRows = {Row<1>, nullptr, Row<3>, Row<4>},
    .arrSum = {Sum<1, int32_t>, nullptr, Sum<3, int32_t>, Sum<4, int32_t>},
    .arrNarrow = {Sum<1, uint16_t>, nullptr, Sum<3, uint16_t>, Sum<4, uint16_t>},
    .arrHalve = {Halve<1>, nullptr, Halve<3>, Halve<4>},
    .arrSeconds = {Seconds<1>, nullptr, Seconds<3>, Seconds<4>},
    .pfnDouble = Double,
    .pfnBlend = Blend,
    .pfnAdd = Add,
    .pfnDivide = Divide,
    .pfnAverage = Average,
    .pfnSharpen = Sharpen,
    .arrSplit = {Split<false>, Split<true>},
    .arrMerge = {Merge<false>, Merge<true>},
    .bWindows = false,
};
