#include <immintrin.h>

namespace
{

/// 16 words. All sums of two halves stay in their lanes.
using Words = __m256i;

Words Widen(__m128i bytes) noexcept
{
    return _mm256_cvtepu8_epi16(bytes);
}

/// Four words, again and again.
Words WidenFour(__m128i words) noexcept
{
    return _mm256_broadcastq_epi64(words);
}

__m128i Narrow(Words words) noexcept
{
    return _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
}

Words Set(int n) noexcept
{
    return _mm256_set1_epi16(static_cast<short>(n));
}

Words SetPair(int nEven, int nOdd) noexcept
{
    return _mm256_set1_epi32(nOdd << 16 | nEven);
}

Words Add(Words a, Words b) noexcept
{
    return _mm256_add_epi16(a, b);
}

Words AddSaturated(Words a, Words b) noexcept
{
    return _mm256_adds_epi16(a, b);
}

Words Sub(Words a, Words b) noexcept
{
    return _mm256_sub_epi16(a, b);
}

Words And(Words a, Words b) noexcept
{
    return _mm256_and_si256(a, b);
}

Words Mul(Words a, Words b) noexcept
{
    return _mm256_mullo_epi16(a, b);
}

Words Shift8(Words a) noexcept
{
    return _mm256_srli_epi16(a, 8);
}

/// (a x wA + b x wB + nBias) >> 8, signed, saturated.
Words MulAdd8(Words a, Words wA, Words b, Words wB, int nBias) noexcept
{
    const __m256i bias = _mm256_set1_epi32(nBias);
    const __m256i low = _mm256_madd_epi16(_mm256_unpacklo_epi16(a, b), _mm256_unpacklo_epi16(wA, wB));
    const __m256i high = _mm256_madd_epi16(_mm256_unpackhi_epi16(a, b), _mm256_unpackhi_epi16(wA, wB));
    return _mm256_packs_epi32(_mm256_srai_epi32(_mm256_add_epi32(low, bias), 8),
                              _mm256_srai_epi32(_mm256_add_epi32(high, bias), 8));
}

/// Two pixels: (512 c + a) / 2 a. The quotients keep at least 1/510 away from the next whole number, far more
/// than a float of this size is off.
__m256i Straighten2(__m128i colours, __m128i alphas) noexcept
{
    const __m256i c = _mm256_cvtepu8_epi32(colours);
    const __m256i a = _mm256_cvtepu8_epi32(alphas);
    const __m256i sum = _mm256_add_epi32(_mm256_slli_epi32(c, 9), a);
    return _mm256_cvttps_epi32(
        _mm256_div_ps(_mm256_cvtepi32_ps(sum), _mm256_cvtepi32_ps(_mm256_add_epi32(a, a))));
}

/// Four pixels; where the alpha is 0 the result means nothing.
__m128i Straighten4(__m128i pixels, __m128i alpha) noexcept
{
    const __m256i low = Straighten2(pixels, alpha);
    const __m256i high = Straighten2(_mm_srli_si128(pixels, 8), _mm_srli_si128(alpha, 8));
    const __m256i words = _mm256_permute4x64_epi64(_mm256_packs_epi32(low, high), 0xD8);
    return Narrow(words);
}

} // namespace

#include "asm/SIMD64MixRows.h"

constinit const MixKernels MixKernels::avx2 = mixVector;
