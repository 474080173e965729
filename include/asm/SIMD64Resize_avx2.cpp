#include "asm/SIMD64Resize.h"

#include <immintrin.h>

namespace
{

constexpr int nRowShift = nResizeWeightBits - nResizeRowBits;
/// Shuffle index that gives a zero byte.
constexpr char z = static_cast<char>(0x80);

__m256i Load(const void* p) noexcept
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(p));
}

/// 16 bytes from each of two places.
__m256i LoadPair(const BYTE* pLow, const BYTE* pHigh) noexcept
{
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pLow));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pHigh));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

/// What becomes of the sums of a row.
struct ToLevels
{
    using Sample = int16_t;
    static constexpr auto& Kernels = kernelsResizeScalar.arrRow;
    static __m256i Pack(__m256i a, __m256i b) noexcept { return _mm256_packs_epi32(Round(a), Round(b)); }
    static __m256i Round(__m256i v) noexcept
    {
        return _mm256_srai_epi32(_mm256_add_epi32(v, _mm256_set1_epi32(1 << (nRowShift - 1))), nRowShift);
    }
};

struct ToNarrowSums
{
    using Sample = uint16_t;
    static constexpr auto& Kernels = kernelsResizeScalar.arrNarrow;
    static __m256i Pack(__m256i a, __m256i b) noexcept { return _mm256_packus_epi32(a, b); }
};

/// 8 bytes from each of two places.
__m256i LoadHalves(const BYTE* pLow, const BYTE* pHigh) noexcept
{
    const __m128i low = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pLow));
    const __m128i high = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pHigh));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

/// Sums of eight outputs of one channel, with nChunks groups of four taps.
template <bool bTwoTaps>
__m256i WindowSum(const BYTE* pSrc, const ResizeWindow* pWindows, const int32_t* pBase, LONG nChunks) noexcept
{
    __m256i sum = _mm256_setzero_si256();
    for (LONG k = 0; k < nChunks; k++)
    {
        const ResizeWindow& window = pWindows[k];
        const __m256i v = LoadPair(pSrc + pBase[2 * k], pSrc + pBase[2 * k + 1]);
        const __m256i first = _mm256_shuffle_epi8(v, Load(window.arrFirst));
        sum = _mm256_add_epi32(sum, _mm256_madd_epi16(first, Load(window.arrWeight01)));
        if constexpr (!bTwoTaps)
        {
            const __m256i second = _mm256_shuffle_epi8(v, Load(window.arrSecond));
            sum = _mm256_add_epi32(sum, _mm256_madd_epi16(second, Load(window.arrWeight23)));
        }
    }
    return sum;
}

/// Rows of one group of taps, as all interpolating filters have. What the loop reads stands in locals: for
/// all that the compiler knows, its stores could change what taps holds.
template <class TTarget, bool bTwoTaps>
void RowWindows(const ResizeRowTaps& taps, const BYTE* pSrc, typename TTarget::Sample* pDst) noexcept
{
    const size_t nWindows = (static_cast<size_t>(taps.nOutputs) + 7) / 8;
    const ResizeWindow* pWindows = taps.pWindows;
    const int32_t* pBase = taps.pWindowBase;
    const auto sum = [=](size_t i) { return WindowSum<bTwoTaps>(pSrc, pWindows + i, pBase + 2 * i, 1); };
    const auto store = [=](size_t i, __m256i a, __m256i b)
    {
        const __m256i packed = _mm256_permute4x64_epi64(TTarget::Pack(a, b), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pDst + 8 * i), packed);
    };
    size_t i = 0;
    for (; i + 2 <= nWindows; i += 2)
        store(i, sum(i), sum(i + 1));
    if (i < nWindows)
        store(i, sum(i), _mm256_setzero_si256()); // into the slack
}

template <class TTarget>
void Row1(const ResizeRowTaps& taps, const BYTE* pSrc, typename TTarget::Sample* pDst) noexcept
{
    if (!taps.pWindows)
        TTarget::Kernels[0](taps, pSrc, pDst);
    else if (taps.nTaps <= 2)
        RowWindows<TTarget, true>(taps, pSrc, pDst);
    else
        RowWindows<TTarget, false>(taps, pSrc, pDst); // four taps at most
}

void Sum1(const ResizeRowTaps& taps, const BYTE* pSrc, int32_t* pDst) noexcept
{
    if (!taps.pWindows)
    {
        kernelsResizeScalar.arrSum[0](taps, pSrc, pDst);
        return;
    }
    const LONG nChunks = taps.nChunks;
    const size_t nWindows = (static_cast<size_t>(taps.nOutputs) + 7) / 8;
    for (size_t i = 0; i < nWindows; i++)
    {
        const size_t nAt = i * static_cast<size_t>(nChunks);
        const __m256i v = WindowSum<false>(pSrc, taps.pWindows + nAt, taps.pWindowBase + 2 * nAt, nChunks);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pDst + 8 * i), v);
    }
}

/// Taps of one pixel, of which each channel becomes four bytes: two taps widened to words.
template <int nChannels>
__m256i ShuffleTaps(int nTap) noexcept
{
    const auto n = static_cast<char>(nTap * nChannels);
    const auto m = static_cast<char>((nTap + 1) * nChannels);
    const char c2 = static_cast<char>(n + 3);
    const char d2 = static_cast<char>(m + 3);
    constexpr bool bFour = nChannels == 4;
    const __m128i v = _mm_setr_epi8(n, z, m, z, static_cast<char>(n + 1), z, static_cast<char>(m + 1), z,
                                    static_cast<char>(n + 2), z, static_cast<char>(m + 2), z, bFour ? c2 : z,
                                    z, bFour ? d2 : z, z);
    return _mm256_broadcastsi128_si256(v);
}

/// Sums of the channels of two pixels, with nChunks groups of four taps.
template <int nChannels, bool bTwoTaps>
__m256i PixelSum(const BYTE* pLow, const BYTE* pHigh, const ResizePixelWeights* pWeights,
                 LONG nChunks) noexcept
{
    const __m256i shuffle01 = ShuffleTaps<nChannels>(0);
    if constexpr (bTwoTaps)
    {
        const __m256i v = LoadHalves(pLow, pHigh);
        return _mm256_madd_epi16(_mm256_shuffle_epi8(v, shuffle01), Load(pWeights->arrWeight01));
    }
    const __m256i shuffle23 = ShuffleTaps<nChannels>(2);
    __m256i sum = _mm256_setzero_si256();
    for (LONG k = 0; k < nChunks; k++)
    {
        const ptrdiff_t nAt = ptrdiff_t{k} * 4 * nChannels;
        const __m256i v = LoadPair(pLow + nAt, pHigh + nAt);
        const __m256i first =
            _mm256_madd_epi16(_mm256_shuffle_epi8(v, shuffle01), Load(pWeights[k].arrWeight01));
        const __m256i second =
            _mm256_madd_epi16(_mm256_shuffle_epi8(v, shuffle23), Load(pWeights[k].arrWeight23));
        sum = _mm256_add_epi32(sum, _mm256_add_epi32(first, second));
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
    const ptrdiff_t nSafe = SafeOutputs<nChannels, bTwoTaps>(taps) & ~ptrdiff_t{3};
    const int32_t* pStart = taps.pStart;
    const ResizePixelWeights* pWeights = taps.pPixelWeights;
    const auto at = [=](ptrdiff_t i) { return pSrc + ptrdiff_t{pStart[i]} * nChannels; };
    for (ptrdiff_t i = 0; i < nSafe; i += 4)
    {
        const __m256i a = (PixelSum<nChannels, bTwoTaps>(at(i), at(i + 1), pWeights + i / 2, 1));
        const __m256i b = (PixelSum<nChannels, bTwoTaps>(at(i + 2), at(i + 3), pWeights + i / 2 + 1, 1));
        const __m256i packed = _mm256_permute4x64_epi64(TTarget::Pack(a, b), 0xD8);
        if constexpr (nChannels == 4)
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(pDst + i * 4), packed);
        else
        {
            const __m256i close =
                _mm256_shuffle_epi8(packed, _mm256_broadcastsi128_si256(_mm_setr_epi8(
                                                0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, z, z, z, z)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(pDst + i * 3), _mm256_castsi256_si128(close));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(pDst + i * 3 + 6),
                             _mm256_extracti128_si256(close, 1));
        }
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
    const ptrdiff_t nSafe = SafeOutputs<nChannels, false>(taps) & ~ptrdiff_t{1};
    const LONG nChunks = taps.nChunks;
    for (ptrdiff_t i = 0; i < nSafe; i += 2)
    {
        const BYTE* pLow = pSrc + ptrdiff_t{taps.pStart[i]} * nChannels;
        const BYTE* pHigh = pSrc + ptrdiff_t{taps.pStart[i + 1]} * nChannels;
        const __m256i v =
            PixelSum<nChannels, false>(pLow, pHigh, taps.pPixelWeights + i / 2 * nChunks, nChunks);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pDst + i * nChannels), _mm256_castsi256_si128(v));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pDst + (i + 1) * nChannels),
                         _mm256_extracti128_si256(v, 1));
    }
    if (nSafe < taps.nOutputs)
        kernelsResizeScalar.arrSum[nChannels - 1](Rest(taps, nSafe), pSrc, pDst + nSafe * nChannels);
}

template <int nTaps>
__m256i BlendSum(const int16_t* const* ppRows, const __m256i* pWeights, size_t nAt) noexcept
{
    __m256i sum = _mm256_set1_epi16(1 << (nResizeRowBits - 2));
    for (int k = 0; k < nTaps; k++)
        sum = _mm256_add_epi16(sum, _mm256_mulhrs_epi16(Load(ppRows[k] + nAt), pWeights[k]));
    return _mm256_srai_epi16(sum, nResizeRowBits - 1);
}

template <int nTaps>
void BlendRows(const int16_t* const* ppRows, const int16_t* pWeights, BYTE* pDst, size_t nSamples) noexcept
{
    constexpr size_t nVector = 32;
    __m256i arrWeights[nTaps];
    const int16_t* arrRows[nTaps];
    for (int k = 0; k < nTaps; k++)
    {
        arrWeights[k] = _mm256_set1_epi16(pWeights[k]);
        arrRows[k] = ppRows[k];
    }
    const auto store = [&](size_t i, BYTE* p)
    {
        const __m256i low = BlendSum<nTaps>(arrRows, arrWeights, i);
        const __m256i high = BlendSum<nTaps>(arrRows, arrWeights, i + 16);
        const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), packed);
    };
    size_t i = 0;
    for (; i + nVector <= nSamples; i += nVector)
        store(i, pDst + i);
    if (i < nSamples)
    {
        // The slack behind the rows may be read, but nothing written behind the output.
        BYTE arrLast[nVector];
        store(i, arrLast);
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
    const __m256i weight = _mm256_set1_epi32(static_cast<int>(nWeight));
    size_t i = 0;
    for (; i + 8 <= nSamples; i += 8)
    {
        __m256i v = _mm256_mullo_epi32(Load(pRow + i), weight);
        if (!bFirst)
            v = _mm256_add_epi32(v, Load(pSums + i));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pSums + i), v);
    }
    kernelsResizeScalar.pfnAdd(pSums + i, pRow + i, nWeight, bFirst, nSamples - i);
}

/// Eight quotients in the low bytes of eight words.
__m256i Quotients(const uint32_t* pSums, __m256i half, __m256i reciprocal, __m128i shift) noexcept
{
    const __m256i n = _mm256_add_epi32(Load(pSums), half);
    const __m256i even = _mm256_srl_epi64(_mm256_mul_epu32(n, reciprocal), shift);
    const __m256i odd = _mm256_srl_epi64(_mm256_mul_epu32(_mm256_srli_epi64(n, 32), reciprocal), shift);
    return _mm256_or_si256(even, _mm256_slli_epi64(odd, 32));
}

void Divide(const uint32_t* pSums, BYTE* pDst, const ResizeDivisor& divisor, size_t nSamples) noexcept
{
    const __m256i half = _mm256_set1_epi32(static_cast<int>(divisor.nHalf));
    const __m256i reciprocal = _mm256_set1_epi64x(divisor.nReciprocal);
    const __m128i shift = _mm_cvtsi32_si128(divisor.nShift);
    size_t i = 0;
    for (; i + 16 <= nSamples; i += 16)
    {
        const __m256i low = Quotients(pSums + i, half, reciprocal, shift);
        const __m256i high = Quotients(pSums + i + 8, half, reciprocal, shift);
        const __m256i words = _mm256_permute4x64_epi64(_mm256_packus_epi32(low, high), 0xD8);
        const __m128i bytes =
            _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pDst + i), bytes);
    }
    kernelsResizeScalar.pfnDivide(pSums + i, pDst + i, divisor, nSamples - i);
}

void Average(const uint16_t* const* ppRows, const uint16_t* pWeights, LONG nRows,
             const ResizeNarrowDivisor& divisor, BYTE* pDst, size_t nSamples) noexcept
{
    constexpr size_t nVector = 32;
    __m256i arrWeights[nResizeNarrowRows];
    const uint16_t* arrRows[nResizeNarrowRows];
    for (LONG k = 0; k < nRows; k++)
    {
        arrWeights[k] = _mm256_set1_epi16(static_cast<short>(pWeights[k]));
        arrRows[k] = ppRows[k];
    }
    const __m256i half = _mm256_set1_epi16(static_cast<short>(divisor.nHalf));
    const __m256i reciprocal = _mm256_set1_epi16(static_cast<short>(divisor.nReciprocal));
    const __m128i shift = _mm_cvtsi32_si128(divisor.nShift);
    const auto store = [&](size_t i, BYTE* p)
    {
        __m256i low = half;
        __m256i high = half;
        for (LONG k = 0; k < nRows; k++)
        {
            low = _mm256_add_epi16(low, _mm256_mullo_epi16(Load(arrRows[k] + i), arrWeights[k]));
            high = _mm256_add_epi16(high, _mm256_mullo_epi16(Load(arrRows[k] + i + 16), arrWeights[k]));
        }
        low = _mm256_srl_epi16(_mm256_mulhi_epu16(low, reciprocal), shift);
        high = _mm256_srl_epi16(_mm256_mulhi_epu16(high, reciprocal), shift);
        const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), packed);
    };
    size_t i = 0;
    for (; i + nVector <= nSamples; i += nVector)
        store(i, pDst + i);
    if (i < nSamples)
    {
        BYTE arrLast[nVector];
        store(i, arrLast);
        __builtin_memcpy(pDst + i, arrLast, nSamples - i);
    }
}

__m256i MeanOfFour(__m256i sum) noexcept
{
    return _mm256_srli_epi16(_mm256_add_epi16(sum, _mm256_set1_epi16(2)), 2);
}

void Halve1(const BYTE* pUpper, const BYTE* pLower, BYTE* pDst, size_t nOutputs) noexcept
{
    const __m256i ones = _mm256_set1_epi8(1);
    const auto mean = [=](size_t nAt)
    {
        const __m256i upper = _mm256_maddubs_epi16(Load(pUpper + nAt), ones);
        return MeanOfFour(_mm256_add_epi16(upper, _mm256_maddubs_epi16(Load(pLower + nAt), ones)));
    };
    size_t i = 0;
    for (; i + 32 <= nOutputs; i += 32)
    {
        const __m256i packed =
            _mm256_permute4x64_epi64(_mm256_packus_epi16(mean(2 * i), mean(2 * i + 32)), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pDst + i), packed);
    }
    kernelsResizeScalar.arrHalve[0](pUpper + 2 * i, pLower + 2 * i, pDst + i, nOutputs - i);
}

void Halve4(const BYTE* pUpper, const BYTE* pLower, BYTE* pDst, size_t nOutputs) noexcept
{
    // Each channel beside that of the next pixel.
    const __m256i pairs =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15));
    const __m256i ones = _mm256_set1_epi8(1);
    const auto mean = [=](size_t nAt)
    {
        const __m256i upper = _mm256_maddubs_epi16(_mm256_shuffle_epi8(Load(pUpper + nAt), pairs), ones);
        const __m256i lower = _mm256_maddubs_epi16(_mm256_shuffle_epi8(Load(pLower + nAt), pairs), ones);
        return MeanOfFour(_mm256_add_epi16(upper, lower));
    };
    size_t i = 0;
    for (; i + 8 <= nOutputs; i += 8)
    {
        const __m256i packed =
            _mm256_permute4x64_epi64(_mm256_packus_epi16(mean(8 * i), mean(8 * i + 32)), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pDst + 4 * i), packed);
    }
    kernelsResizeScalar.arrHalve[3](pUpper + 8 * i, pLower + 8 * i, pDst + 4 * i, nOutputs - i);
}

void Halve3(const BYTE* pUpper, const BYTE* pLower, BYTE* pDst, size_t nOutputs) noexcept
{
    kernelsResizeScalar.arrHalve[2](pUpper, pLower, pDst, nOutputs);
}

/// Low bytes of the words of two vectors, in order.
__m256i PackWords(__m256i first, __m256i second) noexcept
{
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8);
}

template <bool bChromaFirst>
void Split(const BYTE* pSrc, BYTE* pY, BYTE* pFirst, BYTE* pSecond, size_t nPairs) noexcept
{
    const __m256i low = _mm256_set1_epi16(0xFF);
    size_t i = 0;
    for (; i + 16 <= nPairs; i += 16)
    {
        const __m256i a = Load(pSrc + 4 * i);
        const __m256i b = Load(pSrc + 4 * i + 32);
        const __m256i even = PackWords(_mm256_and_si256(a, low), _mm256_and_si256(b, low));
        const __m256i odd = PackWords(_mm256_srli_epi16(a, 8), _mm256_srli_epi16(b, 8));
        const __m256i chroma = bChromaFirst ? even : odd;
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pY + 2 * i), bChromaFirst ? odd : even);
        const __m256i sides = PackWords(_mm256_and_si256(chroma, low), _mm256_srli_epi16(chroma, 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pFirst + i), _mm256_castsi256_si128(sides));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pSecond + i), _mm256_extracti128_si256(sides, 1));
    }
    kernelsResizeScalar.arrSplit[bChromaFirst](pSrc + 4 * i, pY + 2 * i, pFirst + i, pSecond + i, nPairs - i);
}

template <bool bChromaFirst>
void Merge(const BYTE* pY, const BYTE* pFirst, const BYTE* pSecond, BYTE* pDst, size_t nPairs) noexcept
{
    size_t i = 0;
    for (; i + 16 <= nPairs; i += 16)
    {
        const __m128i u = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pFirst + i));
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pSecond + i));
        const __m256i chroma = _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_unpacklo_epi8(u, v)),
                                                       _mm_unpackhi_epi8(u, v), 1);
        const __m256i luma = Load(pY + 2 * i);
        const __m256i even = bChromaFirst ? chroma : luma;
        const __m256i odd = bChromaFirst ? luma : chroma;
        const __m256i low = _mm256_unpacklo_epi8(even, odd);
        const __m256i high = _mm256_unpackhi_epi8(even, odd);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pDst + 4 * i),
                            _mm256_permute2x128_si256(low, high, 0x20));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pDst + 4 * i + 32),
                            _mm256_permute2x128_si256(low, high, 0x31));
    }
    kernelsResizeScalar.arrMerge[bChromaFirst](pY + 2 * i, pFirst + i, pSecond + i, pDst + 4 * i, nPairs - i);
}

} // namespace

const ResizeKernels kernelsResizeAVX2 = {
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
