#pragma once
/// The vector forms of the mixes and of the alpha arithmetic. Included by the files that are compiled for one
/// processor level each, so everything here is local to its includer.

#include "asm/SIMD64Mix.h"
#include "asm/SIMD64Vectors.h"

namespace
{

/// The bytes of a register as words. What is done to words keeps their lanes, so that packing restores the
/// order.
template <class V>
struct ByteWords
{
    V low;
    V high;

    static ByteWords Of(V bytes) { return {bytes.LowWords(), bytes.HighWords()}; }
    static ByteWords Same(V words) { return {words, words}; }
    V Pack() const { return low.Pack16(high); }

    ByteWords operator&(ByteWords o) const { return {low & o.low, high & o.high}; }
    ByteWords operator+(ByteWords o) const { return {low.Add16(o.low), high.Add16(o.high)}; }
    ByteWords operator-(ByteWords o) const { return {low.Sub16(o.low), high.Sub16(o.high)}; }
    ByteWords operator*(ByteWords o) const { return {low.MulLow16(o.low), high.MulLow16(o.high)}; }
    ByteWords operator>>(int n) const { return {low.Right16(n), high.Right16(n)}; }
    ByteWords AddSigned(ByteWords o) const { return {low.AddSigned16(o.low), high.AddSigned16(o.high)}; }
};

/// (a * wA + b * wB + nBias) >> 8, signed, saturated.
template <class V>
V MulAdd8(V a, V wA, V b, V wB, int nBias)
{
    const V bias = V::Set32(nBias);
    const V low = a.Low16(b).Madd(wA.Low16(wB));
    const V high = a.High16(b).Madd(wA.High16(wB));
    return low.Add32(bias).RightSigned32(8).PackSigned32(high.Add32(bias).RightSigned32(8));
}

template <class V>
ByteWords<V> MulAdd8(ByteWords<V> a, ByteWords<V> wA, ByteWords<V> b, ByteWords<V> wB, int nBias)
{
    return {MulAdd8(a.low, wA.low, b.low, wB.low, nBias), MulAdd8(a.high, wA.high, b.high, wB.high, nBias)};
}

/// n / 255, rounded down, for n up to 65535.
template <class V>
ByteWords<V> Div255(ByteWords<V> n)
{
    return (n + ByteWords<V>::Same(V::Set16(1)) + (n >> 8)) >> 8;
}

/// Four words, again and again.
template <class V>
V FourWords(const SHORT (&arr)[4])
{
    int64_t n;
    std::memcpy(&n, arr, sizeof(n));
    return V::Set64(n);
}

template <class V>
void BlendRow(BYTE* pDst, const BYTE* pA, const BYTE* pB, size_t cb, const BlendWeights& weights) noexcept
{
    using Words = ByteWords<V>;
    const Words wA = Words::Same(FourWords<V>(weights.arrA));
    const Words wB = Words::Same(FourWords<V>(weights.arrB));
    const Words centre = Words::Same(FourWords<V>(weights.arrCentre));
    size_t i = 0;
    for (; i + V::cb <= cb; i += V::cb)
    {
        const Words a = Words::Of(V::Load(pA + i)) - centre;
        const Words b = Words::Of(V::Load(pB + i)) - centre;
        MulAdd8(a, wA, b, wB, 0).AddSigned(centre).Pack().Store(pDst + i);
    }
    Narrower<V>(BlendRow<V16>, MixKernels::scalar.pfnBlend)(pDst + i, pA + i, pB + i, cb - i, weights);
}

/// The 32-bit elements of words that are not negative.
template <class V>
struct WordDwords
{
    V low;
    V high;

    static WordDwords Of(V words) { return {words.Low16(V::Zero()), words.High16(V::Zero())}; }
};

/// Products and their sum have 32 bits here. \param a, b words of bytes
template <class V>
V BlendSaturatedWords(V a, V wA, V b, V wB)
{
    const V limit = V::Set32(65535);
    const auto sum = [=](V dwordsA, V dwordsB)
    {
        const V productA = dwordsA.MulLow32(wA).MinSigned32(limit);
        const V productB = dwordsB.MulLow32(wB).MinSigned32(limit);
        return productA.Add32(productB).MinSigned32(limit).RightSigned32(8);
    };
    const auto dwordsA = WordDwords<V>::Of(a);
    const auto dwordsB = WordDwords<V>::Of(b);
    return sum(dwordsA.low, dwordsB.low).PackSigned32(sum(dwordsA.high, dwordsB.high));
}

template <class V>
void BlendSaturatedRow(BYTE* pDst, const BYTE* pA, const BYTE* pB, size_t cb,
                       const BlendWeights& weights) noexcept
{
    // Four signed words, widened: with their own signs as the upper halves.
    const auto four = [](const SHORT(&arr)[4])
    {
        const V words = FourWords<V>(arr);
        return words.Low16(words.RightSigned16(15));
    };
    const V wA = four(weights.arrA);
    const V wB = four(weights.arrB);
    size_t i = 0;
    for (; i + V::cb <= cb; i += V::cb)
    {
        const auto a = ByteWords<V>::Of(V::Load(pA + i));
        const auto b = ByteWords<V>::Of(V::Load(pB + i));
        const ByteWords<V> sums = {BlendSaturatedWords(a.low, wA, b.low, wB),
                                   BlendSaturatedWords(a.high, wA, b.high, wB)};
        sums.Pack().Store(pDst + i);
    }
    // Fewer than 16 bytes do not saturate.
    Narrower<V>(BlendSaturatedRow<V16>, MixKernels::scalar.pfnBlend)(pDst + i, pA + i, pB + i, cb - i,
                                                                     weights);
}

// How the alphas of a row spread over its bytes. A lane takes a group of nUnits times 16 bytes, which has
// nSamples samples and nAlphas alphas. Take reads the alphas of one unit, lanes a group apart.

struct AlphaPerByte
{
    static constexpr size_t nUnits = 1, nSamples = 16, nAlphas = 16;
    template <class V>
    static V Take(const BYTE* pAlpha, size_t)
    {
        return V::Load(pAlpha);
    }
};

struct AlphaPerPair
{
    static constexpr size_t nUnits = 1, nSamples = 16, nAlphas = 32;
    template <class V>
    static V Take(const BYTE* pAlpha, size_t)
    {
        const V ones = V::Set8(1);
        const V low = V::Load(pAlpha, nAlphas).MaddBytes(ones).Right16(1);
        return low.Pack16(V::Load(pAlpha + 16, nAlphas).MaddBytes(ones).Right16(1));
    }
};

struct AlphaPer2
{
    static constexpr size_t nUnits = 1, nSamples = 8, nAlphas = 8;
    template <class V>
    static V Take(const BYTE* pAlpha, size_t)
    {
        const V alphas = V::LoadHalf(pAlpha);
        return alphas.Low8(alphas);
    }
};

struct AlphaPer3
{
    static constexpr size_t nUnits = 3, nSamples = 16, nAlphas = 16;
    template <class V>
    static V Take(const BYTE* pAlpha, size_t nUnit)
    {
        alignas(16) static constexpr BYTE arrOrders[nUnits][16] = {
            {0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5},
            {5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10},
            {10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15}};
        return V::Load(pAlpha).Shuffle(V::Same(V16::Load(arrOrders[nUnit])));
    }
};

struct AlphaPer4
{
    static constexpr size_t nUnits = 1, nSamples = 4, nAlphas = 4;
    template <class V>
    static V Take(const BYTE* pAlpha, size_t)
    {
        return V::LoadQuarter(pAlpha).Shuffle(V::Order(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3));
    }
};

/// (s * a + d * (255 - a) + 255) >> 8, which fits 16 bits.
template <class V>
struct StraightMix
{
    using Words = ByteWords<V>;
    explicit StraightMix(int) {}
    V operator()(V src, V dst, V alpha) const
    {
        const Words full = Words::Same(V::Set16(255));
        const Words a = Words::Of(alpha);
        return ((Words::Of(src) * a + Words::Of(dst) * (full - a) + full) >> 8).Pack();
    }
};

/// The same with an opacity for the source, around nEven and nOdd; the weight is a multiple of nStep.
template <int nEven, int nOdd, int nStep>
struct PreMix
{
    template <class V>
    struct Mix
    {
        using Words = ByteWords<V>;
        explicit Mix(int nOpacity)
            : weight(Words::Same(V::Set16(nOpacity / nStep * nStep))),
              centre(Words::Same(V::Words(nEven, nOdd)))
        {
        }
        V operator()(V src, V dst, V alpha) const
        {
            const Words rest = Words::Same(V::Set16(255)) - Words::Of(alpha);
            const Words sum = MulAdd8(Words::Of(src) - centre, weight, Words::Of(dst) - centre, rest, 255);
            return (sum + centre).Pack();
        }
        Words weight;
        Words centre;
    };
};

template <class V>
struct ChromaPreMix
{
    using Words = ByteWords<V>;
    explicit ChromaPreMix(int nOpacity) : weight(Words::Same(V::Set16(nOpacity))) {}
    V operator()(V src, V dst, V alpha) const
    {
        const Words full = Words::Same(V::Set16(255));
        const Words middle = Words::Same(V::Set16(128));
        const Words sum =
            MulAdd8(Words::Of(src) - middle, weight, Words::Of(dst) - middle, full - Words::Of(alpha), 255);
        return ((sum - middle) & full).Pack();
    }
    Words weight;
};

template <class V, class TAlpha, template <class> class TMix, eMixRow eRow>
void MixRow(BYTE* pDst, const BYTE* pSrc, const BYTE* pAlpha, size_t nSamples, int nOpacity) noexcept
{
    constexpr size_t nGroup = V::nLanes * size_t{TAlpha::nSamples};
    constexpr size_t cbLane = TAlpha::nUnits * 16;
    const TMix<V> mix(nOpacity);
    for (; nSamples >= nGroup; nSamples -= nGroup)
    {
        for (size_t nUnit = 0; nUnit < TAlpha::nUnits; nUnit++)
        {
            const size_t nAt = nUnit * 16;
            const V alphas = TAlpha::template Take<V>(pAlpha, nUnit);
            mix(V::Load(pSrc + nAt, cbLane), V::Load(pDst + nAt, cbLane), alphas).Store(pDst + nAt, cbLane);
        }
        pDst += cbLane * V::nLanes;
        pSrc += cbLane * V::nLanes;
        pAlpha += TAlpha::nAlphas * V::nLanes;
    }
    Narrower<V>(MixRow<V16, TAlpha, TMix, eRow>, MixKernels::scalar.arrRows[eRow])(pDst, pSrc, pAlpha,
                                                                                   nSamples, nOpacity);
}

template <class V>
void ScaleRow(BYTE* pDst, size_t cb, int nOpacity) noexcept
{
    const auto weight = ByteWords<V>::Same(V::Set16(nOpacity));
    for (; cb >= V::cb; cb -= V::cb, pDst += V::cb)
        Div255(ByteWords<V>::Of(V::Load(pDst)) * weight).Pack().Store(pDst);
    Narrower<V>(ScaleRow<V16>, MixKernels::scalar.pfnScale)(pDst, cb, nOpacity);
}

// Pixels of B, G, R, A: four to a lane.

template <class V>
constexpr size_t nRegisterPixels = V::cb / size_t{4};

/// The alpha of each pixel in all of its bytes.
template <class V>
V SpreadAlpha(V pixels)
{
    return pixels.Shuffle(V::Order(3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15));
}

/// 255 in the bytes of alpha.
template <class V>
V AlphaBytes()
{
    return V::Bytes(0, 0, 0, 255);
}

/// Colours times their alpha; alpha itself times 255, which keeps it.
template <class V>
ByteWords<V> Premultiplied(V pixels)
{
    return Div255(ByteWords<V>::Of(pixels) * ByteWords<V>::Of(SpreadAlpha(pixels) | AlphaBytes<V>()));
}

template <class V, bool bStraight>
void ComposeRow(BYTE* pDst, const BYTE* pSrc, size_t nPixels) noexcept
{
    using Words = ByteWords<V>;
    for (; nPixels >= nRegisterPixels<V>; nPixels -= nRegisterPixels<V>, pDst += V::cb, pSrc += V::cb)
    {
        const V src = V::Load(pSrc);
        const V dst = V::Load(pDst);
        const Words above = bStraight ? Premultiplied(src) : Words::Of(src);
        const Words below = bStraight ? Premultiplied(dst) : Words::Of(dst);
        const Words rest = Words::Same(V::Set16(255)) - Words::Of(SpreadAlpha(src));
        (above + Div255(below * rest)).Pack().Store(pDst);
    }
    Narrower<V>(ComposeRow<V16, bStraight>, bStraight
                                                ? MixKernels::scalar.pfnComposeStraight
                                                : MixKernels::scalar.pfnComposePre)(pDst, pSrc, nPixels);
}

/// A pixel a lane of 32-bit elements: (512 c + a) / 2 a. The quotients keep at least 1/510 away from the next
/// whole number, far more than a float of this size is off.
template <class V>
V StraightenDwords(V colours, V alphas)
{
    return colours.Left32(9).Add32(alphas).Quotient32(alphas.Add32(alphas));
}

/// Where the alpha is 0 the result means nothing.
template <class V>
V StraightenPixels(V pixels, V alpha)
{
    const auto words = [](V c, V a)
    {
        const auto colours = WordDwords<V>::Of(c);
        const auto alphas = WordDwords<V>::Of(a);
        return StraightenDwords(colours.low, alphas.low)
            .PackSigned32(StraightenDwords(colours.high, alphas.high));
    };
    const auto colours = ByteWords<V>::Of(pixels);
    const auto alphas = ByteWords<V>::Of(alpha);
    return words(colours.low, alphas.low).Pack16(words(colours.high, alphas.high));
}

template <class V>
void StraightenRow(BYTE* pDst, size_t nPixels) noexcept
{
    for (; nPixels >= nRegisterPixels<V>; nPixels -= nRegisterPixels<V>, pDst += V::cb)
    {
        const V pixels = V::Load(pDst);
        const V alpha = SpreadAlpha(pixels);
        const V keep = alpha.Equal8(V::Zero()) | AlphaBytes<V>();
        StraightenPixels(pixels, alpha).Choose(pixels, keep).Store(pDst);
    }
    Narrower<V>(StraightenRow<V16>, MixKernels::scalar.pfnStraighten)(pDst, nPixels);
}

template <class V>
void PremultiplyRow(BYTE* pDst, size_t nPixels) noexcept
{
    for (; nPixels >= nRegisterPixels<V>; nPixels -= nRegisterPixels<V>, pDst += V::cb)
        Premultiplied(V::Load(pDst)).Pack().Store(pDst);
    Narrower<V>(PremultiplyRow<V16>, MixKernels::scalar.pfnPremultiply)(pDst, nPixels);
}

/// The factors of two neighbours in each lane. \param pAlpha alpha of the first one; lanes lie 16 bytes apart
template <class V>
V LoadFactors(const BYTE* pAlpha)
{
    const auto load = [](const BYTE* p)
    {
        return V::LoadHalfLanes(&unpremultiplyTable.arrFactors[p[0]],
                                &unpremultiplyTable.arrFactors[p[V::cb - 16]]);
    };
    return load(pAlpha).Low64(load(pAlpha + 4));
}

/// (c * factor) >> 8: bytes in the high halves of words make it the high half of a product.
template <class V>
void UnpremultiplyPixels(BYTE* pDst, const BYTE* pSrc, size_t nPixels) noexcept
{
    for (; nPixels >= nRegisterPixels<V>; nPixels -= nRegisterPixels<V>, pDst += V::cb, pSrc += V::cb)
    {
        const V pixels = V::Load(pSrc);
        const V first = V::Zero().Low8(pixels).MulHigh16(LoadFactors<V>(pSrc + 3));
        const V last = V::Zero().High8(pixels).MulHigh16(LoadFactors<V>(pSrc + 11));
        first.Pack16(last).Store(pDst);
    }
    Narrower<V>(UnpremultiplyPixels<V16>, MixKernels::scalar.pfnUnpremultiply)(pDst, pSrc, nPixels);
}

constexpr MixKernels mixForms = {
    .pfnBlend = BlendRow<VWide>,
    .pfnBlendSaturated = BlendSaturatedRow<VWide>,
    .arrRows = {MixRow<VWide, AlphaPerByte, StraightMix, eMR_Luma>,
                MixRow<VWide, AlphaPerByte, PreMix<16, 16, 1>::Mix, eMR_LumaPre>,
                MixRow<VWide, AlphaPerPair, StraightMix, eMR_Chroma>,
                MixRow<VWide, AlphaPerPair, ChromaPreMix, eMR_ChromaPre>,
                MixRow<VWide, AlphaPer2, StraightMix, eMR_Packed>,
                MixRow<VWide, AlphaPer2, PreMix<16, 128, 2>::Mix, eMR_PackedPreY>,
                MixRow<VWide, AlphaPer2, PreMix<128, 16, 2>::Mix, eMR_PackedPreC>,
                MixRow<VWide, AlphaPer3, StraightMix, eMR_24>,
                MixRow<VWide, AlphaPer3, PreMix<0, 0, 1>::Mix, eMR_24Pre>,
                MixRow<VWide, AlphaPer4, StraightMix, eMR_32>,
                MixRow<VWide, AlphaPer4, PreMix<0, 0, 1>::Mix, eMR_32Pre>},
    .pfnScale = ScaleRow<VWide>,
    .pfnComposeStraight = ComposeRow<VWide, true>,
    .pfnComposePre = ComposeRow<VWide, false>,
    .pfnStraighten = StraightenRow<VWide>,
    .pfnPremultiply = PremultiplyRow<VWide>,
    .pfnUnpremultiply = UnpremultiplyPixels<VWide>,
};

} // namespace
