#include "dstl/Old/AlphaArithmetic.h"

#include <algorithm>
#include <array>

namespace
{
constexpr size_t cbPixel = 4;
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

constexpr std::array<int, 256> MakeFactors() noexcept
{
    std::array<int, 256> factors{};
    for (int nAlpha = 0; nAlpha < 256; ++nAlpha)
        factors[nAlpha] = MakeFactor(nAlpha);
    return factors;
}

constexpr std::array<int, 256> rgFactors = MakeFactors();

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
} // namespace

void PremultiplyAlpha(BYTE* pbBits, size_t cbStep, DWORD nWidth, DWORD nHeight) noexcept
{
    for (DWORD y = 0; y < nHeight; ++y, pbBits += cbStep)
    {
        BYTE* pb = pbBits;
        for (DWORD x = 0; x < nWidth; ++x, pb += cbPixel)
        {
            const BYTE a = pb[3];
            pb[0] = Multiply(pb[0], a);
            pb[1] = Multiply(pb[1], a);
            pb[2] = Multiply(pb[2], a);
        }
    }
}

int UnpremultiplyFactor(BYTE byAlpha) noexcept
{
    return rgFactors[byAlpha];
}

void Unpremultiply(BYTE* pbDst, const BYTE* pbSrc, size_t nPixels) noexcept
{
    const size_t nFixed = nPixels & ~size_t{3};
    for (size_t i = 0; i < nFixed; ++i, pbDst += cbPixel, pbSrc += cbPixel)
    {
        const BYTE a = pbSrc[3];
        const int nFactor = rgFactors[a];
        for (int c = 0; c < 3; ++c)
            pbDst[c] = static_cast<BYTE>(std::min((pbSrc[c] * nFactor) >> 8, 255));
        pbDst[3] = a;
    }
    for (size_t i = nFixed; i < nPixels; ++i, pbDst += cbPixel, pbSrc += cbPixel)
    {
        const BYTE a = pbSrc[3];
        for (int c = 0; c < 3; ++c)
            pbDst[c] = a == 0 ? pbSrc[c] : Divide(pbSrc[c], a);
        pbDst[3] = a;
    }
}
