#include "dstl/Old/AlphaArithmetic.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <emmintrin.h> // SSE2 is part of every 64-bit processor

namespace
{
constexpr size_t cbPixel = 4;
constexpr size_t nStep = 4;       // pixels of a register
constexpr int nMaxFactor = 32767; // the factor of the first stretch is a signed 16-bit number

constexpr int MakeFactor(int nAlpha) noexcept
{
    if (nAlpha == 0)
        return 0;
    const float fFactor = 65280.0f / static_cast<float>(nAlpha);
    int nFactor = static_cast<int>(fFactor);
    const float fRest = fFactor - static_cast<float>(nFactor);
    if (fRest > 0.5f || (fRest == 0.5f && (nFactor & 1) != 0))
        ++nFactor;
    return std::min(nFactor, nMaxFactor);
}

/// The factors of a pixel's four bytes; that of alpha keeps it.
struct PixelFactors
{
    uint16_t b, g, r, a;
};

constexpr std::array<PixelFactors, 256> MakeFactors() noexcept
{
    constexpr uint16_t nKeep = 256; // (a * 256) >> 8
    std::array<PixelFactors, 256> factors{};
    for (int nAlpha = 0; nAlpha < 256; ++nAlpha)
    {
        const auto n = static_cast<uint16_t>(MakeFactor(nAlpha));
        factors[nAlpha] = {n, n, n, nKeep};
    }
    return factors;
}

constexpr std::array<PixelFactors, 256> rgFactors = MakeFactors();

/// c * a / 255, rounded.
BYTE Multiply(unsigned c, unsigned a) noexcept
{
    const unsigned p = c * a;
    return static_cast<BYTE>((p + 1 + (p >> 8)) >> 8);
}

/// c * 256 / a, rounded half up, at most 255. The scale is deliberately 256 here, while the factors count
/// from 255. The whole-number form equals the 64-bit float one: quotients that are not exact keep at least 1
/// / (2 * a) away from the halves.
BYTE Divide(unsigned c, unsigned a) noexcept
{
    return static_cast<BYTE>(std::min((c * 512u + a) / (2u * a), 255u));
}
void PremultiplyPixel(BYTE* pb) noexcept
{
    const BYTE a = pb[3];
    pb[0] = Multiply(pb[0], a);
    pb[1] = Multiply(pb[1], a);
    pb[2] = Multiply(pb[2], a);
}

/// Two pixels in 16-bit lanes: the arithmetic of Multiply, which never leaves 16 bits. Alpha comes out wrong.
__m128i MultiplyWords(__m128i words) noexcept
{
    constexpr int nAlphaLane = 0xFF; // lane 3, four times
    const __m128i alpha = _mm_shufflehi_epi16(_mm_shufflelo_epi16(words, nAlphaLane), nAlphaLane);
    const __m128i p = _mm_mullo_epi16(words, alpha);
    return _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(p, _mm_set1_epi16(1)), _mm_srli_epi16(p, 8)), 8);
}

void PremultiplyStep(BYTE* pb) noexcept
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i alphaBytes = _mm_set1_epi32(static_cast<int>(0xFF000000u));
    const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pb));
    const __m128i product = _mm_packus_epi16(MultiplyWords(_mm_unpacklo_epi8(pixels, zero)),
                                             MultiplyWords(_mm_unpackhi_epi8(pixels, zero)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pb),
                     _mm_or_si128(_mm_andnot_si128(alphaBytes, product), _mm_and_si128(alphaBytes, pixels)));
}

/// The factors of two neighbours.
__m128i LoadFactors(const BYTE* pbPixels) noexcept
{
    int64_t arrFactors[2];
    std::memcpy(&arrFactors[0], &rgFactors[pbPixels[3]], sizeof(arrFactors[0]));
    std::memcpy(&arrFactors[1], &rgFactors[pbPixels[cbPixel + 3]], sizeof(arrFactors[1]));
    return _mm_set_epi64x(arrFactors[1], arrFactors[0]);
}

/// (c * factor) >> 8, at most 255: bytes in the high halves of the lanes make it the high half of a product.
void UnpremultiplyStep(BYTE* pbDst, const BYTE* pbSrc) noexcept
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pbSrc));
    const __m128i first = _mm_mulhi_epu16(_mm_unpacklo_epi8(zero, pixels), LoadFactors(pbSrc));
    const __m128i last = _mm_mulhi_epu16(_mm_unpackhi_epi8(zero, pixels), LoadFactors(pbSrc + 2 * cbPixel));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pbDst), _mm_packus_epi16(first, last));
}
} // namespace

void PremultiplyAlpha(BYTE* pbBits, size_t cbStep, DWORD nWidth, DWORD nHeight) noexcept
{
    for (DWORD y = 0; y < nHeight; ++y, pbBits += cbStep)
    {
        size_t x = 0;
        for (; x + nStep <= nWidth; x += nStep)
            PremultiplyStep(pbBits + x * cbPixel);
        for (; x < nWidth; ++x)
            PremultiplyPixel(pbBits + x * cbPixel);
    }
}

int UnpremultiplyFactor(BYTE byAlpha) noexcept
{
    return rgFactors[byAlpha].b;
}

void Unpremultiply(BYTE* pbDst, const BYTE* pbSrc, size_t nPixels) noexcept
{
    const size_t nFixed = nPixels / nStep * nStep;
    for (size_t i = 0; i < nFixed; i += nStep, pbDst += nStep * cbPixel, pbSrc += nStep * cbPixel)
        UnpremultiplyStep(pbDst, pbSrc);
    for (size_t i = nFixed; i < nPixels; ++i, pbDst += cbPixel, pbSrc += cbPixel)
    {
        const BYTE a = pbSrc[3];
        for (int c = 0; c < 3; ++c)
            pbDst[c] = a == 0 ? pbSrc[c] : Divide(pbSrc[c], a);
        pbDst[3] = a;
    }
}
