#include "asm/SIMD64Resize.h"

#include <smmintrin.h>

namespace
{

constexpr int nRowShift = nResizeWeightBits - nResizeRowBits;
/// Shuffle index that gives a zero byte.
constexpr char z = static_cast<char>(0x80);

__m128i Load(const void* p) noexcept
{
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

void Store(void* p, __m128i v) noexcept
{
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

/// What becomes of the sums of a row.
struct ToLevels
{
    using Sample = int16_t;
    static constexpr auto& Kernels = kernelsResizeScalar.arrRow;
    static __m128i Pack(__m128i a, __m128i b) noexcept { return _mm_packs_epi32(Round(a), Round(b)); }
    static __m128i Round(__m128i v) noexcept
    {
        return _mm_srai_epi32(_mm_add_epi32(v, _mm_set1_epi32(1 << (nRowShift - 1))), nRowShift);
    }
};

struct ToNarrowSums
{
    using Sample = uint16_t;
    static constexpr auto& Kernels = kernelsResizeScalar.arrNarrow;
    static __m128i Pack(__m128i a, __m128i b) noexcept { return _mm_packus_epi32(a, b); }
};

/// Sums of four outputs of one channel: half a window.
template <bool bTwoTaps>
__m128i HalfSum(const ResizeRowTaps& taps, const BYTE* pSrc, size_t nHalf) noexcept
{
    const auto nChunks = static_cast<size_t>(taps.nChunks);
    const size_t nFirst = nHalf / 2 * nChunks;
    const size_t nSide = nHalf & 1;
    __m128i sum = _mm_setzero_si128();
    for (size_t i = nFirst; i < nFirst + nChunks; i++)
    {
        const ResizeWindow& window = taps.pWindows[i];
        const __m128i v = Load(pSrc + taps.pWindowBase[2 * i + nSide]);
        const __m128i first = _mm_shuffle_epi8(v, Load(window.arrFirst + 16 * nSide));
        sum = _mm_add_epi32(sum, _mm_madd_epi16(first, Load(window.arrWeight01 + 8 * nSide)));
        if constexpr (!bTwoTaps)
        {
            const __m128i second = _mm_shuffle_epi8(v, Load(window.arrSecond + 16 * nSide));
            sum = _mm_add_epi32(sum, _mm_madd_epi16(second, Load(window.arrWeight23 + 8 * nSide)));
        }
    }
    return sum;
}

template <class TTarget, bool bTwoTaps>
void RowWindows(const ResizeRowTaps& taps, const BYTE* pSrc, typename TTarget::Sample* pDst) noexcept
{
    const size_t nWindows = (static_cast<size_t>(taps.nOutputs) + 7) / 8;
    for (size_t i = 0; i < nWindows; i++)
        Store(pDst + 8 * i,
              TTarget::Pack(HalfSum<bTwoTaps>(taps, pSrc, 2 * i), HalfSum<bTwoTaps>(taps, pSrc, 2 * i + 1)));
}

template <class TTarget>
void Row1(const ResizeRowTaps& taps, const BYTE* pSrc, typename TTarget::Sample* pDst) noexcept
{
    if (!taps.pWindows)
        TTarget::Kernels[0](taps, pSrc, pDst);
    else if (taps.nTaps <= 2)
        RowWindows<TTarget, true>(taps, pSrc, pDst);
    else
        RowWindows<TTarget, false>(taps, pSrc, pDst);
}

void Sum1(const ResizeRowTaps& taps, const BYTE* pSrc, int32_t* pDst) noexcept
{
    if (!taps.pWindows)
    {
        kernelsResizeScalar.arrSum[0](taps, pSrc, pDst);
        return;
    }
    const size_t nHalves = (static_cast<size_t>(taps.nOutputs) + 3) / 4;
    for (size_t i = 0; i < nHalves; i++)
        Store(pDst + 4 * i, HalfSum<false>(taps, pSrc, i));
}

/// Taps of one pixel, of which each channel becomes four bytes: two taps widened to words.
template <int nChannels>
__m128i ShuffleTaps(int nTap) noexcept
{
    const int n = nTap * nChannels;
    const int m = (nTap + 1) * nChannels;
    const auto at = [](int nByte) { return static_cast<char>(nByte); };
    constexpr bool bFour = nChannels == 4;
    return _mm_setr_epi8(at(n), z, at(m), z, at(n + 1), z, at(m + 1), z, at(n + 2), z, at(m + 2), z,
                         bFour ? at(n + 3) : z, z, bFour ? at(m + 3) : z, z);
}

/// Sums of the channels of one pixel, the first or the second of its weights, with nChunks groups of four
/// taps.
template <int nChannels, bool bTwoTaps>
__m128i PixelSum(const BYTE* p, const ResizePixelWeights* pWeights, ptrdiff_t nSide, LONG nChunks) noexcept
{
    const __m128i shuffle01 = ShuffleTaps<nChannels>(0);
    if constexpr (bTwoTaps)
    {
        const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        return _mm_madd_epi16(_mm_shuffle_epi8(v, shuffle01), Load(pWeights->arrWeight01 + nSide * 8));
    }
    const __m128i shuffle23 = ShuffleTaps<nChannels>(2);
    __m128i sum = _mm_setzero_si128();
    for (LONG k = 0; k < nChunks; k++)
    {
        const __m128i v = Load(p + ptrdiff_t{k} * 4 * nChannels);
        const __m128i first =
            _mm_madd_epi16(_mm_shuffle_epi8(v, shuffle01), Load(pWeights[k].arrWeight01 + nSide * 8));
        const __m128i second =
            _mm_madd_epi16(_mm_shuffle_epi8(v, shuffle23), Load(pWeights[k].arrWeight23 + nSide * 8));
        sum = _mm_add_epi32(sum, _mm_add_epi32(first, second));
    }
    return sum;
}

/// Outputs whose loads end inside the row, all of the first ones.
template <int nChannels, bool bTwoTaps>
ptrdiff_t SafeOutputs(const ResizeRowTaps& taps) noexcept
{
    const ptrdiff_t nLastLoad = bTwoTaps ? 0 : ptrdiff_t{taps.nTaps} - 4;
    constexpr ptrdiff_t cbLoad = bTwoTaps ? 8 : 16;
    const ptrdiff_t nLimit = static_cast<ptrdiff_t>(taps.cbRow) - cbLoad;
    ptrdiff_t n = taps.nOutputs;
    while (n > 0 && (taps.pStart[n - 1] + nLastLoad) * nChannels > nLimit)
        n--;
    return n;
}

/// The outputs from nFirst on.
ResizeRowTaps Rest(const ResizeRowTaps& taps, ptrdiff_t nFirst) noexcept
{
    ResizeRowTaps rest = taps;
    rest.pStart += nFirst;
    rest.pWeights += nFirst * taps.nTaps;
    rest.nOutputs -= static_cast<LONG>(nFirst);
    return rest;
}

/// Rows of one group of taps, as all interpolating filters have.
template <class TTarget, int nChannels, bool bTwoTaps>
void RowPixels(const ResizeRowTaps& taps, const BYTE* pSrc, typename TTarget::Sample* pDst) noexcept
{
    const ptrdiff_t nSafe = SafeOutputs<nChannels, bTwoTaps>(taps) & ~ptrdiff_t{1};
    const int32_t* pStart = taps.pStart;
    const ResizePixelWeights* pWeights = taps.pPixelWeights;
    const auto at = [=](ptrdiff_t i) { return pSrc + ptrdiff_t{pStart[i]} * nChannels; };
    for (ptrdiff_t i = 0; i < nSafe; i += 2)
    {
        const __m128i a = (PixelSum<nChannels, bTwoTaps>(at(i), pWeights + i / 2, 0, 1));
        const __m128i b = (PixelSum<nChannels, bTwoTaps>(at(i + 1), pWeights + i / 2, 1, 1));
        __m128i packed = TTarget::Pack(a, b);
        if constexpr (nChannels == 3)
            packed =
                _mm_shuffle_epi8(packed, _mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, z, z, z, z));
        Store(pDst + i * nChannels, packed);
    }
    if (nSafe < taps.nOutputs)
        TTarget::Kernels[nChannels - 1](Rest(taps, nSafe), pSrc, pDst + nSafe * nChannels);
}

template <class TTarget, int nChannels>
void Row(const ResizeRowTaps& taps, const BYTE* pSrc, typename TTarget::Sample* pDst) noexcept
{
    if (taps.pPixelWeights && taps.nTaps == 2)
        RowPixels<TTarget, nChannels, true>(taps, pSrc, pDst);
    else if (taps.pPixelWeights && taps.nTaps == 4)
        RowPixels<TTarget, nChannels, false>(taps, pSrc, pDst);
    else
        TTarget::Kernels[nChannels - 1](taps, pSrc, pDst);
}

template <int nChannels>
void Sum(const ResizeRowTaps& taps, const BYTE* pSrc, int32_t* pDst) noexcept
{
    if (!taps.pPixelWeights || taps.nTaps % 4 != 0)
    {
        kernelsResizeScalar.arrSum[nChannels - 1](taps, pSrc, pDst);
        return;
    }
    const ptrdiff_t nSafe = SafeOutputs<nChannels, false>(taps);
    const LONG nChunks = taps.nChunks;
    for (ptrdiff_t i = 0; i < nSafe; i++)
    {
        const BYTE* p = pSrc + ptrdiff_t{taps.pStart[i]} * nChannels;
        Store(pDst + i * nChannels,
              PixelSum<nChannels, false>(p, taps.pPixelWeights + i / 2 * nChunks, i & 1, nChunks));
    }
    if (nSafe < taps.nOutputs)
        kernelsResizeScalar.arrSum[nChannels - 1](Rest(taps, nSafe), pSrc, pDst + nSafe * nChannels);
}

template <int nTaps>
__m128i BlendSum(const int16_t* const* ppRows, const __m128i* pWeights, size_t nAt) noexcept
{
    __m128i sum = _mm_set1_epi16(1 << (nResizeRowBits - 2));
    for (int k = 0; k < nTaps; k++)
        sum = _mm_add_epi16(sum, _mm_mulhrs_epi16(Load(ppRows[k] + nAt), pWeights[k]));
    return _mm_srai_epi16(sum, nResizeRowBits - 1);
}

template <int nTaps>
void BlendRows(const int16_t* const* ppRows, const int16_t* pWeights, BYTE* pDst, size_t nSamples) noexcept
{
    constexpr size_t nVector = 16;
    __m128i arrWeights[nTaps];
    for (int k = 0; k < nTaps; k++)
        arrWeights[k] = _mm_set1_epi16(pWeights[k]);
    const auto blend = [&](size_t i)
    {
        return _mm_packus_epi16(BlendSum<nTaps>(ppRows, arrWeights, i),
                                BlendSum<nTaps>(ppRows, arrWeights, i + 8));
    };
    size_t i = 0;
    for (; i + nVector <= nSamples; i += nVector)
        Store(pDst + i, blend(i));
    if (i < nSamples)
    {
        // The slack behind the rows may be read, but nothing written behind the output.
        BYTE arrLast[nVector];
        Store(arrLast, blend(i));
        __builtin_memcpy(pDst + i, arrLast, nSamples - i);
    }
}

void Blend(const int16_t* const* ppRows, const int16_t* pWeights, LONG nTaps, BYTE* pDst,
           size_t nSamples) noexcept
{
    switch (nTaps)
    {
    case 4:
        BlendRows<4>(ppRows, pWeights, pDst, nSamples);
        break;
    case 2:
        BlendRows<2>(ppRows, pWeights, pDst, nSamples);
        break;
    default:
        kernelsResizeScalar.pfnBlend(ppRows, pWeights, nTaps, pDst, nSamples);
    }
}

void Add(uint32_t* pSums, const int32_t* pRow, uint32_t nWeight, bool bFirst, size_t nSamples) noexcept
{
    const __m128i weight = _mm_set1_epi32(static_cast<int>(nWeight));
    size_t i = 0;
    for (; i + 4 <= nSamples; i += 4)
    {
        __m128i v = _mm_mullo_epi32(Load(pRow + i), weight);
        if (!bFirst)
            v = _mm_add_epi32(v, Load(pSums + i));
        Store(pSums + i, v);
    }
    kernelsResizeScalar.pfnAdd(pSums + i, pRow + i, nWeight, bFirst, nSamples - i);
}

/// Four quotients.
__m128i Quotients(const uint32_t* pSums, __m128i half, __m128i reciprocal, __m128i shift) noexcept
{
    const __m128i n = _mm_add_epi32(Load(pSums), half);
    const __m128i even = _mm_srl_epi64(_mm_mul_epu32(n, reciprocal), shift);
    const __m128i odd = _mm_srl_epi64(_mm_mul_epu32(_mm_srli_epi64(n, 32), reciprocal), shift);
    return _mm_or_si128(even, _mm_slli_epi64(odd, 32));
}

void Divide(const uint32_t* pSums, BYTE* pDst, const ResizeDivisor& divisor, size_t nSamples) noexcept
{
    const __m128i half = _mm_set1_epi32(static_cast<int>(divisor.nHalf));
    const __m128i reciprocal = _mm_set1_epi64x(divisor.nReciprocal);
    const __m128i shift = _mm_cvtsi32_si128(divisor.nShift);
    size_t i = 0;
    for (; i + 16 <= nSamples; i += 16)
    {
        const auto words = [&](size_t nAt)
        {
            return _mm_packus_epi32(Quotients(pSums + nAt, half, reciprocal, shift),
                                    Quotients(pSums + nAt + 4, half, reciprocal, shift));
        };
        Store(pDst + i, _mm_packus_epi16(words(i), words(i + 8)));
    }
    kernelsResizeScalar.pfnDivide(pSums + i, pDst + i, divisor, nSamples - i);
}

void Average(const uint16_t* const* ppRows, const uint16_t* pWeights, LONG nRows,
             const ResizeNarrowDivisor& divisor, BYTE* pDst, size_t nSamples) noexcept
{
    constexpr size_t nVector = 16;
    __m128i arrWeights[nResizeNarrowRows];
    const uint16_t* arrRows[nResizeNarrowRows];
    for (LONG k = 0; k < nRows; k++)
    {
        arrWeights[k] = _mm_set1_epi16(static_cast<short>(pWeights[k]));
        arrRows[k] = ppRows[k];
    }
    const __m128i half = _mm_set1_epi16(static_cast<short>(divisor.nHalf));
    const __m128i reciprocal = _mm_set1_epi16(static_cast<short>(divisor.nReciprocal));
    const __m128i shift = _mm_cvtsi32_si128(divisor.nShift);
    const auto average = [&](size_t i)
    {
        __m128i low = half;
        __m128i high = half;
        for (LONG k = 0; k < nRows; k++)
        {
            low = _mm_add_epi16(low, _mm_mullo_epi16(Load(arrRows[k] + i), arrWeights[k]));
            high = _mm_add_epi16(high, _mm_mullo_epi16(Load(arrRows[k] + i + 8), arrWeights[k]));
        }
        low = _mm_srl_epi16(_mm_mulhi_epu16(low, reciprocal), shift);
        high = _mm_srl_epi16(_mm_mulhi_epu16(high, reciprocal), shift);
        return _mm_packus_epi16(low, high);
    };
    size_t i = 0;
    for (; i + nVector <= nSamples; i += nVector)
        Store(pDst + i, average(i));
    if (i < nSamples)
    {
        BYTE arrLast[nVector];
        Store(arrLast, average(i));
        __builtin_memcpy(pDst + i, arrLast, nSamples - i);
    }
}

__m128i MeanOfFour(__m128i sum) noexcept
{
    return _mm_srli_epi16(_mm_add_epi16(sum, _mm_set1_epi16(2)), 2);
}

void Halve1(const BYTE* pUpper, const BYTE* pLower, BYTE* pDst, size_t nOutputs) noexcept
{
    const __m128i ones = _mm_set1_epi8(1);
    const auto mean = [=](size_t nAt)
    {
        const __m128i upper = _mm_maddubs_epi16(Load(pUpper + nAt), ones);
        return MeanOfFour(_mm_add_epi16(upper, _mm_maddubs_epi16(Load(pLower + nAt), ones)));
    };
    size_t i = 0;
    for (; i + 16 <= nOutputs; i += 16)
        Store(pDst + i, _mm_packus_epi16(mean(2 * i), mean(2 * i + 16)));
    kernelsResizeScalar.arrHalve[0](pUpper + 2 * i, pLower + 2 * i, pDst + i, nOutputs - i);
}

void Halve4(const BYTE* pUpper, const BYTE* pLower, BYTE* pDst, size_t nOutputs) noexcept
{
    // Each channel beside that of the next pixel.
    const __m128i pairs = _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
    const __m128i ones = _mm_set1_epi8(1);
    const auto mean = [=](size_t nAt)
    {
        const __m128i upper = _mm_maddubs_epi16(_mm_shuffle_epi8(Load(pUpper + nAt), pairs), ones);
        const __m128i lower = _mm_maddubs_epi16(_mm_shuffle_epi8(Load(pLower + nAt), pairs), ones);
        return MeanOfFour(_mm_add_epi16(upper, lower));
    };
    size_t i = 0;
    for (; i + 4 <= nOutputs; i += 4)
        Store(pDst + 4 * i, _mm_packus_epi16(mean(8 * i), mean(8 * i + 16)));
    kernelsResizeScalar.arrHalve[3](pUpper + 8 * i, pLower + 8 * i, pDst + 4 * i, nOutputs - i);
}

void Halve3(const BYTE* pUpper, const BYTE* pLower, BYTE* pDst, size_t nOutputs) noexcept
{
    kernelsResizeScalar.arrHalve[2](pUpper, pLower, pDst, nOutputs);
}

template <bool bChromaFirst>
void Split(const BYTE* pSrc, BYTE* pY, BYTE* pFirst, BYTE* pSecond, size_t nPairs) noexcept
{
    const __m128i low = _mm_set1_epi16(0xFF);
    size_t i = 0;
    for (; i + 8 <= nPairs; i += 8)
    {
        const __m128i a = Load(pSrc + 4 * i);
        const __m128i b = Load(pSrc + 4 * i + 16);
        const __m128i even = _mm_packus_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low));
        const __m128i odd = _mm_packus_epi16(_mm_srli_epi16(a, 8), _mm_srli_epi16(b, 8));
        const __m128i chroma = bChromaFirst ? even : odd;
        Store(pY + 2 * i, bChromaFirst ? odd : even);
        const __m128i sides = _mm_packus_epi16(_mm_and_si128(chroma, low), _mm_srli_epi16(chroma, 8));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(pFirst + i), sides);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(pSecond + i), _mm_srli_si128(sides, 8));
    }
    kernelsResizeScalar.arrSplit[bChromaFirst](pSrc + 4 * i, pY + 2 * i, pFirst + i, pSecond + i, nPairs - i);
}

template <bool bChromaFirst>
void Merge(const BYTE* pY, const BYTE* pFirst, const BYTE* pSecond, BYTE* pDst, size_t nPairs) noexcept
{
    size_t i = 0;
    for (; i + 8 <= nPairs; i += 8)
    {
        const __m128i chroma =
            _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(pFirst + i)),
                              _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pSecond + i)));
        const __m128i luma = Load(pY + 2 * i);
        const __m128i even = bChromaFirst ? chroma : luma;
        const __m128i odd = bChromaFirst ? luma : chroma;
        Store(pDst + 4 * i, _mm_unpacklo_epi8(even, odd));
        Store(pDst + 4 * i + 16, _mm_unpackhi_epi8(even, odd));
    }
    kernelsResizeScalar.arrMerge[bChromaFirst](pY + 2 * i, pFirst + i, pSecond + i, pDst + 4 * i, nPairs - i);
}

} // namespace

const ResizeKernels kernelsResizeSSE41 = {
    {Row1<ToLevels>, nullptr, Row<ToLevels, 3>, Row<ToLevels, 4>},
    {Sum1, nullptr, Sum<3>, Sum<4>},
    Blend,
    Add,
    Divide,
    {Row1<ToNarrowSums>, nullptr, Row<ToNarrowSums, 3>, Row<ToNarrowSums, 4>},
    Average,
    {Halve1, nullptr, Halve3, Halve4},
    {Split<false>, Split<true>},
    {Merge<false>, Merge<true>},
    true};
