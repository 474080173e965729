#include "asm/SIMD64Resize.h"

#include "asm/Cpu.h"

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

template <int nChannels>
void Row(const ResizeRowTaps& taps, const BYTE* pSrc, int16_t* pDst) noexcept
{
    constexpr int nShift = nResizeWeightBits - nResizeRowBits;
    for (LONG i = 0; i < taps.nOutputs; i++)
    {
        for (int c = 0; c < nChannels; c++)
        {
            const int32_t nSum = TapSum<nChannels>(taps, pSrc, i, c);
            *pDst++ = static_cast<int16_t>((nSum + (1 << (nShift - 1))) >> nShift);
        }
    }
}

template <int nChannels>
void Sum(const ResizeRowTaps& taps, const BYTE* pSrc, int32_t* pDst) noexcept
{
    for (LONG i = 0; i < taps.nOutputs; i++)
    {
        for (int c = 0; c < nChannels; c++)
            *pDst++ = TapSum<nChannels>(taps, pSrc, i, c);
    }
}

template <int nChannels>
void Narrow(const ResizeRowTaps& taps, const BYTE* pSrc, uint16_t* pDst) noexcept
{
    for (LONG i = 0; i < taps.nOutputs; i++)
    {
        for (int c = 0; c < nChannels; c++)
            *pDst++ = static_cast<uint16_t>(TapSum<nChannels>(taps, pSrc, i, c));
    }
}

void Average(const uint16_t* const* ppRows, const uint16_t* pWeights, LONG nRows,
             const ResizeNarrowDivisor& divisor, BYTE* pDst, size_t nSamples) noexcept
{
    for (size_t i = 0; i < nSamples; i++)
    {
        uint32_t nSum = divisor.nHalf;
        for (LONG k = 0; k < nRows; k++)
            nSum += uint32_t{ppRows[k][i]} * pWeights[k];
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

constexpr LONG nOutputsWindow = 8;
constexpr LONG nOutputsHalf = 4;
constexpr LONG nTapsWindow = 4;
constexpr LONG cbWindow = 16;

/// The part of a window that four outputs take their four taps from.
bool MakeHalf(const ResizeRowTaps& taps, LONG nFirst, LONG nChunk, ResizeWindow& window, LONG nHalf,
              int32_t& nBase) noexcept
{
    const LONG nLast = std::min(nFirst + nOutputsHalf, taps.nOutputs);
    std::memset(window.arrFirst + nHalf * cbWindow, 0x80, cbWindow); // 0x80 gives zero
    std::memset(window.arrSecond + nHalf * cbWindow, 0x80, cbWindow);
    std::memset(window.arrWeight01 + nHalf * 8, 0, cbWindow);
    std::memset(window.arrWeight23 + nHalf * 8, 0, cbWindow);
    nBase = 0;
    if (nFirst >= nLast)
        return true;

    const LONG nTap = nChunk * nTapsWindow;
    const LONG nTaps = std::min<LONG>(taps.nTaps - nTap, nTapsWindow);
    nBase =
        std::min<int32_t>(taps.pStart[nFirst] + nTap, static_cast<int32_t>(taps.cbRow) - int32_t{cbWindow});
    for (LONG i = nFirst; i < nLast; i++)
    {
        const LONG nOffset = taps.pStart[i] + nTap - nBase;
        if (nOffset + nTaps > cbWindow)
            return false;
        for (LONG k = 0; k < nTaps; k++)
        {
            const LONG nWord = (nHalf * nOutputsHalf + i - nFirst) * 2 + (k & 1);
            (k < 2 ? window.arrFirst : window.arrSecond)[nWord * 2] = static_cast<BYTE>(nOffset + k);
            (k < 2 ? window.arrWeight01 : window.arrWeight23)[nWord] =
                taps.pWeights[ptrdiff_t{i} * taps.nTaps + nTap + k];
        }
    }
    return true;
}

} // namespace

ResizeDivisor MakeResizeDivisor(uint32_t nTotal) noexcept
{
    int nBits = 0;
    while ((1u << nBits) < nTotal)
        nBits++;
    // Rounded up, the reciprocal is too large by less than nTotal / 2^nShift, which no n below 2^31 feels.
    const int nShift = 31 + nBits;
    const uint64_t nOne = uint64_t{1} << nShift;
    return {nTotal, nTotal / 2, static_cast<uint32_t>((nOne + nTotal - 1) / nTotal), nShift};
}

bool MakeResizeNarrowDivisor(uint64_t nTotal, ResizeNarrowDivisor& divisor) noexcept
{
    const uint64_t nLargest = 255 * nTotal + nTotal / 2;
    if (nTotal < 2 || nLargest > UINT16_MAX)
        return false;
    int nShift = 0;
    while ((uint64_t{2} << nShift) < nTotal)
        nShift++;
    const uint64_t nOne = uint64_t{1} << (16 + nShift);
    const uint64_t nReciprocal = (nOne + nTotal - 1) / nTotal;
    // The reciprocal is rounded up; what it is too large by must not reach the next quotient.
    if (nReciprocal > UINT16_MAX || nLargest * (nReciprocal * nTotal - nOne) >= nOne)
        return false;
    divisor = {static_cast<uint16_t>(nTotal / 2), static_cast<uint16_t>(nReciprocal), nShift};
    return true;
}

bool MakeResizeWindows(const ResizeRowTaps& taps, ResizeWindow* pWindows, int32_t* pWindowBase) noexcept
{
    if (taps.cbRow < static_cast<size_t>(cbWindow))
        return false;
    for (LONG nFirst = 0; nFirst < taps.nOutputs; nFirst += nOutputsWindow)
    {
        for (LONG nChunk = 0; nChunk < taps.nChunks; nChunk++)
        {
            if (!MakeHalf(taps, nFirst, nChunk, *pWindows, 0, pWindowBase[0]) ||
                !MakeHalf(taps, nFirst + nOutputsHalf, nChunk, *pWindows, 1, pWindowBase[1]))
                return false;
            pWindows++;
            pWindowBase += 2;
        }
    }
    return true;
}

void MakeResizePixelWeights(const ResizeRowTaps& taps, ResizePixelWeights* pPixelWeights) noexcept
{
    std::memset(pPixelWeights, 0,
                (static_cast<size_t>(taps.nOutputs) + 1) / 2 * static_cast<size_t>(taps.nChunks) *
                    sizeof(ResizePixelWeights));
    for (LONG i = 0; i < taps.nOutputs; i++)
    {
        const int16_t* pWeights = taps.pWeights + ptrdiff_t{i} * taps.nTaps;
        for (LONG k = 0; k < taps.nTaps; k++)
        {
            ResizePixelWeights& pixel = pPixelWeights[ptrdiff_t{i / 2} * taps.nChunks + k / nTapsWindow];
            int16_t* pTarget = (k & 2 ? pixel.arrWeight23 : pixel.arrWeight01) + (i & 1) * 8 + (k & 1);
            for (int c = 0; c < 4; c++)
                pTarget[2 * c] = pWeights[k];
        }
    }
}

const ResizeKernels kernelsResizeScalar = {{Row<1>, nullptr, Row<3>, Row<4>},
                                           {Sum<1>, nullptr, Sum<3>, Sum<4>},
                                           Blend,
                                           Add,
                                           Divide,
                                           {Narrow<1>, nullptr, Narrow<3>, Narrow<4>},
                                           Average,
                                           {Halve<1>, nullptr, Halve<3>, Halve<4>},
                                           {Split<false>, Split<true>},
                                           {Merge<false>, Merge<true>},
                                           false};

const ResizeKernels& GetResizeKernels() noexcept
{
    switch (CpuLevel())
    {
    case eCPU_AVX2:
        return kernelsResizeAVX2;
    case eCPU_SSE41:
        return kernelsResizeSSE41;
    default:
        return kernelsResizeScalar;
    }
}
