#include "asm/SIMD64Mix.h"

#include <algorithm>

namespace
{

BYTE ToByte(int n) noexcept
{
    return static_cast<BYTE>(std::clamp(n, 0, 255));
}

/// n / 255, rounded down, for n up to 65535.
int Div255(int n) noexcept
{
    return (n + 1 + (n >> 8)) >> 8;
}

void Blend(BYTE* pDst, const BYTE* pA, const BYTE* pB, size_t cb, const BlendWeights& weights) noexcept
{
    for (size_t i = 0; i < cb; i++)
    {
        const int nCentre = weights.arrCentre[i & 3];
        const int nSum = (pA[i] - nCentre) * weights.arrA[i & 3] + (pB[i] - nCentre) * weights.arrB[i & 3];
        pDst[i] = ToByte((nSum >> 8) + nCentre);
    }
}

/// Bytes of a row in whole groups of 16; the others can come out different. Deliberate.
size_t GroupBytes(size_t cb) noexcept
{
    return cb & ~size_t{15};
}

/// Groups of 16 bytes saturate, the bytes that are left do not. Deliberate.
void BlendSaturated(BYTE* pDst, const BYTE* pA, const BYTE* pB, size_t cb,
                    const BlendWeights& weights) noexcept
{
    constexpr int nLimit = 65535;
    const size_t cbGroups = GroupBytes(cb);
    for (size_t i = 0; i < cbGroups; i++)
    {
        const int nA = std::min(pA[i] * weights.arrA[i & 3], nLimit);
        const int nB = std::min(pB[i] * weights.arrB[i & 3], nLimit);
        pDst[i] = ToByte(std::min(nA + nB, nLimit) >> 8);
    }
    Blend(pDst + cbGroups, pA + cbGroups, pB + cbGroups, cb - cbGroups, weights);
}

/// Without a weight below zero, a limit of 65535 changes no result: whatever exceeds it becomes 255 anyway.
bool HasNegative(const BlendWeights& weights) noexcept
{
    int nSigns = 0;
    for (int i = 0; i < 4; i++)
        nSigns |= weights.arrA[i] | weights.arrB[i];
    return nSigns < 0;
}

int MixStraight(int nSrc, int nDst, int nAlpha) noexcept
{
    return (nSrc * nAlpha + 255 + nDst * (255 - nAlpha)) >> 8;
}

int MixPre(int nSrc, int nDst, int nAlpha, int nOpacity) noexcept
{
    return (nSrc * nOpacity + 255 + (255 - nAlpha) * nDst) >> 8;
}

/// Groups of 16 bytes round once, the bytes that are left round twice: a row's last bytes can come out one
/// lower. Deliberate.
void MixLuma(BYTE* pDst, const BYTE* pSrc, const BYTE* pAlpha, size_t nSamples, int) noexcept
{
    const size_t nGroups = GroupBytes(nSamples);
    size_t i = 0;
    for (; i < nGroups; i++)
        pDst[i] = static_cast<BYTE>(MixStraight(pSrc[i], pDst[i], pAlpha[i]));
    for (; i < nSamples; i++)
    {
        const int nSrc = (pSrc[i] * pAlpha[i] + 255) >> 8;
        const int nDst = ((255 - pAlpha[i]) * pDst[i] + 255) >> 8;
        pDst[i] = ToByte(nSrc + nDst);
    }
}

void MixLumaPre(BYTE* pDst, const BYTE* pSrc, const BYTE* pAlpha, size_t nSamples, int nOpacity) noexcept
{
    for (size_t i = 0; i < nSamples; i++)
        pDst[i] = ToByte(MixPre(pSrc[i] - 16, pDst[i] - 16, pAlpha[i], nOpacity) + 16);
}

int PairAlpha(const BYTE* pAlpha, size_t i) noexcept
{
    return (pAlpha[2 * i] + pAlpha[2 * i + 1]) >> 1;
}

void MixChroma(BYTE* pDst, const BYTE* pSrc, const BYTE* pAlpha, size_t nSamples, int) noexcept
{
    for (size_t i = 0; i < nSamples; i++)
        pDst[i] = static_cast<BYTE>(MixStraight(pSrc[i], pDst[i], PairAlpha(pAlpha, i)));
}

void MixChromaPre(BYTE* pDst, const BYTE* pSrc, const BYTE* pAlpha, size_t nSamples, int nOpacity) noexcept
{
    for (size_t i = 0; i < nSamples; i++)
    {
        const int n = MixPre(pSrc[i] - 128, pDst[i] - 128, PairAlpha(pAlpha, i), nOpacity);
        pDst[i] = static_cast<BYTE>(n - 128); // wraps: deliberate
    }
}

template <size_t cbPixel>
void MixPixels(BYTE* pDst, const BYTE* pSrc, const BYTE* pAlpha, size_t nSamples, int) noexcept
{
    for (size_t i = 0; i < nSamples * cbPixel; i++)
        pDst[i] = static_cast<BYTE>(MixStraight(pSrc[i], pDst[i], pAlpha[i / cbPixel]));
}

template <size_t cbPixel>
void MixPixelsPre(BYTE* pDst, const BYTE* pSrc, const BYTE* pAlpha, size_t nSamples, int nOpacity) noexcept
{
    for (size_t i = 0; i < nSamples * cbPixel; i++)
        pDst[i] = ToByte(MixPre(pSrc[i], pDst[i], pAlpha[i / cbPixel], nOpacity));
}

/// nEven and nOdd: the centres of the bytes of a pixel.
template <int nEven, int nOdd>
void MixPackedPre(BYTE* pDst, const BYTE* pSrc, const BYTE* pAlpha, size_t nSamples, int nOpacity) noexcept
{
    const int nWeight = nOpacity / 2 * 2;
    for (size_t i = 0; i < nSamples * 2; i++)
    {
        const int nCentre = i & 1 ? nOdd : nEven;
        pDst[i] = ToByte(MixPre(pSrc[i] - nCentre, pDst[i] - nCentre, pAlpha[i / 2], nWeight) + nCentre);
    }
}

void Scale(BYTE* pDst, size_t cb, int nOpacity) noexcept
{
    for (size_t i = 0; i < cb; i++)
        pDst[i] = static_cast<BYTE>(Div255(pDst[i] * nOpacity));
}

void ComposeStraight(BYTE* pDst, const BYTE* pSrc, size_t nPixels) noexcept
{
    for (; nPixels != 0; nPixels--, pDst += 4, pSrc += 4)
    {
        const int nSrcAlpha = pSrc[3];
        const int nDstAlpha = pDst[3];
        for (int i = 0; i < 3; i++)
        {
            const int nBelow = Div255(pDst[i] * nDstAlpha);
            pDst[i] = static_cast<BYTE>(Div255(pSrc[i] * nSrcAlpha) + Div255(nBelow * (255 - nSrcAlpha)));
        }
        pDst[3] = static_cast<BYTE>(nSrcAlpha + Div255(nDstAlpha * (255 - nSrcAlpha)));
    }
}

void ComposePre(BYTE* pDst, const BYTE* pSrc, size_t nPixels) noexcept
{
    for (; nPixels != 0; nPixels--, pDst += 4, pSrc += 4)
    {
        for (int i = 0; i < 4; i++)
            pDst[i] = ToByte(pSrc[i] + Div255(pDst[i] * (255 - pSrc[3])));
    }
}

/// Colours x 256 / alpha + 1/2 in whole numbers. 256, not 255: deliberate. Without alpha nothing changes.
void StraightenPixel(BYTE* pDst, const BYTE* pSrc) noexcept
{
    const int nAlpha = pSrc[3];
    for (int i = 0; i < 3; i++)
        pDst[i] = nAlpha == 0 ? pSrc[i] : ToByte((512 * pSrc[i] + nAlpha) / (2 * nAlpha));
    pDst[3] = pSrc[3];
}

void Straighten(BYTE* pDst, size_t nPixels) noexcept
{
    for (; nPixels != 0; nPixels--, pDst += 4)
        StraightenPixel(pDst, pDst);
}

void Premultiply(BYTE* pDst, size_t nPixels) noexcept
{
    for (; nPixels != 0; nPixels--, pDst += 4)
    {
        for (int i = 0; i < 3; i++)
            pDst[i] = static_cast<BYTE>(Div255(pDst[i] * pDst[3]));
    }
}

constexpr UnpremultiplyFactors FactorsOf(int nAlpha) noexcept
{
    constexpr int nMost = 32767;
    constexpr uint16_t nKeep = 256;
    if (nAlpha == 0)
        return {0, 0, 0, nKeep};
    const float fFactor = 65280.0f / static_cast<float>(nAlpha);
    int nFactor = static_cast<int>(fFactor);
    const float fRest = fFactor - static_cast<float>(nFactor);
    if (fRest > 0.5f || (fRest == 0.5f && nFactor % 2 != 0))
        nFactor++;
    const auto n = static_cast<uint16_t>(std::min(nFactor, nMost));
    return {n, n, n, nKeep};
}

constexpr UnpremultiplyTable MakeTable() noexcept
{
    UnpremultiplyTable table = {};
    for (int nAlpha = 0; nAlpha < 256; nAlpha++)
        table.arrFactors[nAlpha] = FactorsOf(nAlpha);
    return table;
}

void UnpremultiplyRow(BYTE* pDst, const BYTE* pSrc, size_t nPixels) noexcept
{
    for (; nPixels >= 4; nPixels -= 4)
    {
        for (int i = 0; i < 4; i++, pDst += 4, pSrc += 4)
        {
            const UnpremultiplyFactors& factors = unpremultiplyTable.arrFactors[pSrc[3]];
            pDst[0] = ToByte((pSrc[0] * factors.b) >> 8);
            pDst[1] = ToByte((pSrc[1] * factors.g) >> 8);
            pDst[2] = ToByte((pSrc[2] * factors.r) >> 8);
            pDst[3] = pSrc[3];
        }
    }
    for (; nPixels != 0; nPixels--, pDst += 4, pSrc += 4)
        StraightenPixel(pDst, pSrc);
}

BlendWeights MakeWeights(const SHORT wA[4], const SHORT wB[4], const BYTE c[4]) noexcept
{
    BlendWeights weights;
    std::copy_n(wA, 4, weights.arrA);
    std::copy_n(wB, 4, weights.arrB);
    std::copy_n(c, 4, weights.arrCentre);
    return weights;
}

} // namespace

constinit const UnpremultiplyTable unpremultiplyTable = MakeTable();

constinit const MixKernels MixKernels::scalar = {
    .pfnBlend = Blend,
    .pfnBlendSaturated = BlendSaturated,
    .arrRows = {MixLuma, MixLumaPre, MixChroma, MixChromaPre, MixPixels<2>, MixPackedPre<16, 128>,
                MixPackedPre<128, 16>, MixPixels<3>, MixPixelsPre<3>, MixPixels<4>, MixPixelsPre<4>},
    .pfnScale = Scale,
    .pfnComposeStraight = ComposeStraight,
    .pfnComposePre = ComposePre,
    .pfnStraighten = Straighten,
    .pfnPremultiply = Premultiply,
    .pfnUnpremultiply = UnpremultiplyRow,
};

void BlendBytes(BYTE* pDst, const BYTE* pA, const BYTE* pB, size_t cb, const SHORT wA[4],
                const SHORT wB[4]) noexcept
{
    constexpr BYTE arrCentre[4] = {0, 0, 0, 0};
    const BlendWeights weights = MakeWeights(wA, wB, arrCentre);
    const MixKernels& kernels = Kernels<MixKernels>();
    const PFNBLEND pfnBlend = HasNegative(weights) ? kernels.pfnBlendSaturated : kernels.pfnBlend;
    pfnBlend(pDst, pA, pB, cb, weights);
}

void BlendChroma(BYTE* pDst, const BYTE* pA, const BYTE* pB, size_t cb, const SHORT wA[4],
                 const SHORT wB[4]) noexcept
{
    constexpr BYTE arrCentre[4] = {128, 128, 128, 128};
    BlendCentred(pDst, pA, pB, cb, wA, wB, arrCentre);
}

void BlendCentred(BYTE* pDst, const BYTE* pA, const BYTE* pB, size_t cb, const SHORT wA[4], const SHORT wB[4],
                  const BYTE c[4]) noexcept
{
    Kernels<MixKernels>().pfnBlend(pDst, pA, pB, cb, MakeWeights(wA, wB, c));
}

void PremultiplyAlpha(BYTE* pbBits, size_t cbStep, DWORD nWidth, DWORD nHeight) noexcept
{
    const MixKernels& kernels = Kernels<MixKernels>();
    for (DWORD y = 0; y < nHeight; y++, pbBits += cbStep)
        kernels.pfnPremultiply(pbBits, nWidth);
}

void Unpremultiply(BYTE* pbDst, const BYTE* pbSrc, size_t nPixels) noexcept
{
    Kernels<MixKernels>().pfnUnpremultiply(pbDst, pbSrc, nPixels);
}
