#include <smmintrin.h>

namespace
{

/// 16 words.
struct Words
{
    __m128i low;
    __m128i high;
};

Words Widen(__m128i bytes) noexcept
{
    return {_mm_cvtepu8_epi16(bytes), _mm_unpackhi_epi8(bytes, _mm_setzero_si128())};
}

/// Four words, again and again.
Words WidenFour(__m128i words) noexcept
{
    const __m128i both = _mm_unpacklo_epi64(words, words);
    return {both, both};
}

__m128i Narrow(Words words) noexcept
{
    return _mm_packus_epi16(words.low, words.high);
}

Words Set(int n) noexcept
{
    const __m128i words = _mm_set1_epi16(static_cast<short>(n));
    return {words, words};
}

Words SetPair(int nEven, int nOdd) noexcept
{
    const __m128i words = _mm_set1_epi32(nOdd << 16 | nEven);
    return {words, words};
}

Words Add(Words a, Words b) noexcept
{
    return {_mm_add_epi16(a.low, b.low), _mm_add_epi16(a.high, b.high)};
}

Words AddSaturated(Words a, Words b) noexcept
{
    return {_mm_adds_epi16(a.low, b.low), _mm_adds_epi16(a.high, b.high)};
}

Words Sub(Words a, Words b) noexcept
{
    return {_mm_sub_epi16(a.low, b.low), _mm_sub_epi16(a.high, b.high)};
}

Words And(Words a, Words b) noexcept
{
    return {_mm_and_si128(a.low, b.low), _mm_and_si128(a.high, b.high)};
}

Words Mul(Words a, Words b) noexcept
{
    return {_mm_mullo_epi16(a.low, b.low), _mm_mullo_epi16(a.high, b.high)};
}

Words Shift8(Words a) noexcept
{
    return {_mm_srli_epi16(a.low, 8), _mm_srli_epi16(a.high, 8)};
}

__m128i MulAdd8(__m128i a, __m128i wA, __m128i b, __m128i wB, __m128i bias) noexcept
{
    const __m128i low = _mm_madd_epi16(_mm_unpacklo_epi16(a, b), _mm_unpacklo_epi16(wA, wB));
    const __m128i high = _mm_madd_epi16(_mm_unpackhi_epi16(a, b), _mm_unpackhi_epi16(wA, wB));
    return _mm_packs_epi32(_mm_srai_epi32(_mm_add_epi32(low, bias), 8),
                           _mm_srai_epi32(_mm_add_epi32(high, bias), 8));
}

/// (a x wA + b x wB + nBias) >> 8, signed, saturated.
Words MulAdd8(Words a, Words wA, Words b, Words wB, int nBias) noexcept
{
    const __m128i bias = _mm_set1_epi32(nBias);
    return {MulAdd8(a.low, wA.low, b.low, wB.low, bias), MulAdd8(a.high, wA.high, b.high, wB.high, bias)};
}

/// One pixel: (512 c + a) / 2 a. The quotients keep at least 1/510 away from the next whole number, far more
/// than a float of this size is off. \param wide 512 c + a, \param alpha a, 8 words each
__m128i Divide(__m128i wide, __m128i alpha) noexcept
{
    return _mm_cvttps_epi32(_mm_div_ps(_mm_cvtepi32_ps(wide), _mm_cvtepi32_ps(_mm_add_epi32(alpha, alpha))));
}

/// Four pixels; where the alpha is 0 the result means nothing.
__m128i Straighten4(__m128i pixels, __m128i alpha) noexcept
{
    const auto one = [](__m128i colours, __m128i alphas)
    {
        const __m128i c = _mm_cvtepu8_epi32(colours);
        const __m128i a = _mm_cvtepu8_epi32(alphas);
        return Divide(_mm_add_epi32(_mm_slli_epi32(c, 9), a), a);
    };
    const __m128i low =
        _mm_packs_epi32(one(pixels, alpha), one(_mm_srli_si128(pixels, 4), _mm_srli_si128(alpha, 4)));
    const __m128i high = _mm_packs_epi32(one(_mm_srli_si128(pixels, 8), _mm_srli_si128(alpha, 8)),
                                         one(_mm_srli_si128(pixels, 12), _mm_srli_si128(alpha, 12)));
    return _mm_packus_epi16(low, high);
}

} // namespace

#include "asm/SIMD64MixRows.h"

constinit const MixKernels MixKernels::sse41 = mixVector;
