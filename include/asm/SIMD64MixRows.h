#pragma once
/// The vector forms of SIMD64Mix, written once over 16 words at a time. A file that includes this defines
/// before, in its unnamed namespace, the type Words and the functions on it for its processor: Widen, Narrow,
/// Set, SetPair, Add, Sub, Mul, Shift8, MulAdd8, Straighten4. Everything here stays private to that file.

#include "asm/SIMD64Mix.h"

namespace
{

__m128i Load16(const BYTE* p) noexcept
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

void Store16(BYTE* p, __m128i v) noexcept
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}

__m128i Load8(const BYTE* p) noexcept
{
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
}

__m128i Load4(const BYTE* p) noexcept
{
    int n;
    __builtin_memcpy(&n, p, sizeof(n));
    return _mm_cvtsi32_si128(n);
}

void BlendRow(BYTE* pDst, const BYTE* pA, const BYTE* pB, size_t cb, const BlendWeights& weights) noexcept
{
    const auto four = [](const SHORT(&arr)[4])
    { return WidenFour(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(arr))); };
    const Words wA = four(weights.arrA);
    const Words wB = four(weights.arrB);
    const Words wCentre = four(weights.arrCentre);
    size_t i = 0;
    for (; i + 16 <= cb; i += 16)
    {
        const Words a = Sub(Widen(Load16(pA + i)), wCentre);
        const Words b = Sub(Widen(Load16(pB + i)), wCentre);
        Store16(pDst + i, Narrow(AddSaturated(MulAdd8(a, wA, b, wB, 0), wCentre)));
    }
    MixKernels::scalar.pfnBlend(pDst + i, pA + i, pB + i, cb - i, weights);
}

/// Four bytes of each source in the lowest 32 bits; products and their sum have 32 bits here.
__m128i BlendSaturated4(__m128i a, __m128i wA, __m128i b, __m128i wB) noexcept
{
    const __m128i limit = _mm_set1_epi32(65535);
    const auto product = [=](__m128i bytes, __m128i weights)
    { return _mm_min_epi32(_mm_mullo_epi32(_mm_cvtepu8_epi32(bytes), weights), limit); };
    const __m128i sum = _mm_add_epi32(product(a, wA), product(b, wB));
    return _mm_srai_epi32(_mm_min_epi32(sum, limit), 8);
}

void BlendSaturatedRow(BYTE* pDst, const BYTE* pA, const BYTE* pB, size_t cb,
                       const BlendWeights& weights) noexcept
{
    const auto four = [](const SHORT(&arr)[4])
    { return _mm_cvtepi16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(arr))); };
    const __m128i wA = four(weights.arrA);
    const __m128i wB = four(weights.arrB);
    size_t i = 0;
    for (; i + 16 <= cb; i += 16)
    {
        const __m128i a = Load16(pA + i);
        const __m128i b = Load16(pB + i);
        const __m128i low =
            _mm_packs_epi32(BlendSaturated4(a, wA, b, wB),
                            BlendSaturated4(_mm_srli_si128(a, 4), wA, _mm_srli_si128(b, 4), wB));
        const __m128i high =
            _mm_packs_epi32(BlendSaturated4(_mm_srli_si128(a, 8), wA, _mm_srli_si128(b, 8), wB),
                            BlendSaturated4(_mm_srli_si128(a, 12), wA, _mm_srli_si128(b, 12), wB));
        Store16(pDst + i, _mm_packus_epi16(low, high));
    }
    MixKernels::scalar.pfnBlend(pDst + i, pA + i, pB + i, cb - i, weights);
}

// How the alphas of a row spread over its bytes. Take reads the alphas of the unit nUnit of 16 bytes in a
// group of nUnits; a group has nGroupSamples samples and nGroupAlphas alphas.

struct AlphaPerByte
{
    static constexpr size_t nUnits = 1, nGroupSamples = 16, nGroupAlphas = 16;
    static __m128i Take(const BYTE* pAlpha, size_t) noexcept { return Load16(pAlpha); }
};

struct AlphaPerPair
{
    static constexpr size_t nUnits = 1, nGroupSamples = 16, nGroupAlphas = 32;
    static __m128i Take(const BYTE* pAlpha, size_t) noexcept
    {
        const __m128i ones = _mm_set1_epi8(1);
        const __m128i low = _mm_srli_epi16(_mm_maddubs_epi16(Load16(pAlpha), ones), 1);
        const __m128i high = _mm_srli_epi16(_mm_maddubs_epi16(Load16(pAlpha + 16), ones), 1);
        return _mm_packus_epi16(low, high);
    }
};

struct AlphaPer2
{
    static constexpr size_t nUnits = 1, nGroupSamples = 8, nGroupAlphas = 8;
    static __m128i Take(const BYTE* pAlpha, size_t) noexcept
    {
        const __m128i alphas = Load8(pAlpha);
        return _mm_unpacklo_epi8(alphas, alphas);
    }
};

struct AlphaPer3
{
    static constexpr size_t nUnits = 3, nGroupSamples = 16, nGroupAlphas = 16;
    static __m128i Take(const BYTE* pAlpha, size_t nUnit) noexcept
    {
        alignas(16) static constexpr BYTE arrOrders[nUnits][16] = {
            {0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5},
            {5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10},
            {10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15}};
        return _mm_shuffle_epi8(Load16(pAlpha), Load16(arrOrders[nUnit]));
    }
};

struct AlphaPer4
{
    static constexpr size_t nUnits = 1, nGroupSamples = 4, nGroupAlphas = 4;
    static __m128i Take(const BYTE* pAlpha, size_t) noexcept
    {
        return _mm_shuffle_epi8(Load4(pAlpha), _mm_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3));
    }
};

/// (s x a + d x (255 - a) + 255) >> 8, which fits 16 bits.
struct StraightMix
{
    explicit StraightMix(int) noexcept {}
    __m128i operator()(__m128i src, __m128i dst, __m128i alpha) const noexcept
    {
        const Words a = Widen(alpha);
        const Words sum = Add(Mul(Widen(src), a), Mul(Widen(dst), Sub(Set(255), a)));
        return Narrow(Shift8(Add(sum, Set(255))));
    }
};

/// The same with an opacity for the source, around nEven and nOdd; the weight is a multiple of nStep.
template <int nEven, int nOdd, int nStep>
struct PreMix
{
    explicit PreMix(int nOpacity) noexcept
        : m_weight(Set(nOpacity / nStep * nStep)), m_centre(SetPair(nEven, nOdd))
    {
    }
    __m128i operator()(__m128i src, __m128i dst, __m128i alpha) const noexcept
    {
        const Words s = Sub(Widen(src), m_centre);
        const Words d = Sub(Widen(dst), m_centre);
        return Narrow(Add(MulAdd8(s, m_weight, d, Sub(Set(255), Widen(alpha)), 255), m_centre));
    }
    Words m_weight;
    Words m_centre;
};

struct ChromaPreMix
{
    explicit ChromaPreMix(int nOpacity) noexcept : m_weight(Set(nOpacity)) {}
    __m128i operator()(__m128i src, __m128i dst, __m128i alpha) const noexcept
    {
        const Words s = Sub(Widen(src), Set(128));
        const Words d = Sub(Widen(dst), Set(128));
        const Words sum = MulAdd8(s, m_weight, d, Sub(Set(255), Widen(alpha)), 255);
        return Narrow(And(Sub(sum, Set(128)), Set(255)));
    }
    Words m_weight;
};

template <class TAlpha, class TMix, eMixRow eRow>
void MixRow(BYTE* pDst, const BYTE* pSrc, const BYTE* pAlpha, size_t nSamples, int nOpacity) noexcept
{
    const TMix mix(nOpacity);
    for (; nSamples >= TAlpha::nGroupSamples; nSamples -= TAlpha::nGroupSamples)
    {
        for (size_t nUnit = 0; nUnit < TAlpha::nUnits; nUnit++)
        {
            Store16(pDst, mix(Load16(pSrc), Load16(pDst), TAlpha::Take(pAlpha, nUnit)));
            pDst += 16;
            pSrc += 16;
        }
        pAlpha += TAlpha::nGroupAlphas;
    }
    MixKernels::scalar.arrRows[eRow](pDst, pSrc, pAlpha, nSamples, nOpacity);
}

/// n / 255, rounded down.
Words Div255(Words n) noexcept
{
    return Shift8(Add(Add(n, Set(1)), Shift8(n)));
}

void ScaleRow(BYTE* pDst, size_t cb, int nOpacity) noexcept
{
    const Words weight = Set(nOpacity);
    for (; cb >= 16; cb -= 16, pDst += 16)
        Store16(pDst, Narrow(Div255(Mul(Widen(Load16(pDst)), weight))));
    MixKernels::scalar.pfnScale(pDst, cb, nOpacity);
}

/// The alpha of each of 4 pixels in all of its bytes.
__m128i SpreadAlpha(__m128i pixels) noexcept
{
    return _mm_shuffle_epi8(pixels, _mm_setr_epi8(3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15));
}

template <bool bStraight>
void ComposeRow(BYTE* pDst, const BYTE* pSrc, size_t nPixels) noexcept
{
    // A straight colour is multiplied by its alpha; the alpha itself by 255, which keeps it.
    const __m128i alphaBytes = _mm_set1_epi32(static_cast<int>(0xFF000000));
    for (; nPixels >= 4; nPixels -= 4, pDst += 16, pSrc += 16)
    {
        const __m128i src = Load16(pSrc);
        const __m128i dst = Load16(pDst);
        const __m128i srcAlpha = SpreadAlpha(src);
        Words above = Widen(src);
        Words below = Widen(dst);
        if constexpr (bStraight)
        {
            above = Div255(Mul(above, Widen(_mm_or_si128(srcAlpha, alphaBytes))));
            below = Div255(Mul(below, Widen(_mm_or_si128(SpreadAlpha(dst), alphaBytes))));
        }
        Store16(pDst, Narrow(Add(above, Div255(Mul(below, Sub(Set(255), Widen(srcAlpha)))))));
    }
    (bStraight ? MixKernels::scalar.pfnComposeStraight : MixKernels::scalar.pfnComposePre)(pDst, pSrc,
                                                                                           nPixels);
}

void StraightenRow(BYTE* pDst, size_t nPixels) noexcept
{
    const __m128i alphaBytes = _mm_set1_epi32(static_cast<int>(0xFF000000));
    for (; nPixels >= 4; nPixels -= 4, pDst += 16)
    {
        const __m128i pixels = Load16(pDst);
        const __m128i alpha = SpreadAlpha(pixels);
        const __m128i keep = _mm_or_si128(_mm_cmpeq_epi8(alpha, _mm_setzero_si128()), alphaBytes);
        Store16(pDst, _mm_blendv_epi8(Straighten4(pixels, alpha), pixels, keep));
    }
    MixKernels::scalar.pfnStraighten(pDst, nPixels);
}

constexpr MixKernels mixVector = {
    BlendRow,
    BlendSaturatedRow,
    {MixRow<AlphaPerByte, StraightMix, eMR_Luma>, MixRow<AlphaPerByte, PreMix<16, 16, 1>, eMR_LumaPre>,
     MixRow<AlphaPerPair, StraightMix, eMR_Chroma>, MixRow<AlphaPerPair, ChromaPreMix, eMR_ChromaPre>,
     MixRow<AlphaPer2, StraightMix, eMR_Packed>, MixRow<AlphaPer2, PreMix<16, 128, 2>, eMR_PackedPreY>,
     MixRow<AlphaPer2, PreMix<128, 16, 2>, eMR_PackedPreC>, MixRow<AlphaPer3, StraightMix, eMR_24>,
     MixRow<AlphaPer3, PreMix<0, 0, 1>, eMR_24Pre>, MixRow<AlphaPer4, StraightMix, eMR_32>,
     MixRow<AlphaPer4, PreMix<0, 0, 1>, eMR_32Pre>},
    ScaleRow,
    ComposeRow<true>,
    ComposeRow<false>,
    StraightenRow};

} // namespace
