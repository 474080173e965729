#pragma once
/// The vector forms of the conversions, written once for registers of 16 and of 32 bytes. Included by the
/// files that are compiled for one kind of processor each, so everything here is local to its includer.

#include "asm/SIMD64ConvertFormulas.h"
#include "asm/SIMD64ConvertRuns.h"
#include "asm/SIMD64Vectors.h"

namespace
{

/// Eight pixels a lane as pairs of bytes, B with G and R with G, and the differences that chroma is made of.
template <class V>
struct Pairs8
{
    V bg, rg;        ///< a pair a pixel, in the order of columns
    V first, second; ///< words B - G of two columns, R - G of them, and so on

    /// Y in the high bytes of words, in the order of columns. The coefficients are taken apart into multiples
    /// of 256 and bytes; the sum of the latter can be shifted before it is added, since nothing else has a
    /// part below 256. All are small enough for no sum of two products to saturate.
    V Luma() const
    {
        constexpr int nHighB = nLumaB / 256;
        constexpr int nLowB = nLumaB % 256;
        constexpr int nHighR = nLumaR / 256 + 1; // so that the rest, which is negative, is a signed byte
        constexpr int nLowR = nLumaR - nHighR * 256;
        constexpr int nHighGOfR = 59; // G counts with both, as it is too much for one
        constexpr int nHighGOfB = nLumaG / 256 - nHighGOfR;
        constexpr int nLowG = nLumaG % 256;
        constexpr int nRound = nLumaRound / 256;
        static_assert(nLumaRound % 256 == 0 && nLowB <= 127 && nLowR >= -128 && nLowG <= 127);
        static_assert((nHighB + nHighGOfB) * 255 <= 0x7FFF && (nHighR + nHighGOfR) * 255 <= 0x7FFF);
        const V low = bg.MaddBytes(V::Bytes(nLowB, nLowG, nLowB, nLowG))
                          .Add16(rg.MaddBytes(V::Bytes(nLowR, 0, nLowR, 0)));
        const V high = bg.MaddBytes(V::Bytes(nHighB, nHighGOfB, nHighB, nHighGOfB))
                           .Add16(rg.MaddBytes(V::Bytes(nHighR, nHighGOfR, nHighR, nHighGOfR)));
        return high.Add16(V::Words(nRound, nRound)).Add16(low.RightSigned16(8));
    }
    /// B - G and R - G of two columns.
    V Differences() const { return first.AddNeighbours(second); }
};

/// Reads eight pixels a lane from blocks nStride bytes apart.
template <class V, size_t cbPixel, size_t nStride>
Pairs8<V> LoadPairs(const BYTE* p)
{
    V first = V::Load(p, nStride);
    V second;
    if constexpr (cbPixel == 4)
    {
        const V order = V::Order(0, 1, 4, 5, 2, 1, 6, 5, 8, 9, 12, 13, 10, 9, 14, 13);
        first = first.Shuffle(order);
        second = V::Load(p + 16, nStride).Shuffle(order);
    }
    else
    {
        // The second load ends with the last pixel, so that none reaches behind the block.
        first = first.Shuffle(V::Order(0, 1, 3, 4, 2, 1, 5, 4, 6, 7, 9, 10, 8, 7, 11, 10));
        second =
            V::Load(p + 8, nStride).Shuffle(V::Order(4, 5, 7, 8, 6, 5, 9, 8, 10, 11, 13, 14, 12, 11, 15, 14));
    }
    const V difference = V::Bytes(1, -1, 1, -1);
    return {first.Evens32(second), first.Odds32(second), first.MaddBytes(difference),
            second.MaddBytes(difference)};
}

/// Words of U and V in turn out of sums of B - G and R - G: bits 1 to 8 where nShift is 17, 2 to 9 where it
/// is 18.
template <class V>
V ChromaWords(V sums, const ChromaRounding& rounding)
{
    static_assert(nCbB + nCbG + nCbR == 0 && nCrB + nCrG + nCrR == 0); // so that G is no term of its own
    const V cb = sums.Madd(V::Words(nCbB, nCbR)).Add32(V::Set32(rounding.nCb));
    const V cr = sums.Madd(V::Words(nCrB, nCrR)).Add32(V::Set32(rounding.nCr));
    return cb.Right32(16).OddWords(cr);
}

template <size_t cbPixel, bool bUyvy, bool bNearest>
struct RgbToPacked
{
    static constexpr size_t nLanePixels = 8;
    static constexpr size_t cbSrc = cbPixel;
    static constexpr size_t cbDst = 2;

    template <class V>
    static void Do(const BYTE* pSrc, BYTE* pDst)
    {
        const Pairs8<V> px = LoadPairs<V, cbPixel, 8 * cbPixel>(pSrc);
        const V luma = px.Luma();
        const V chroma = ChromaWords(px.Differences(), bNearest ? chromaUYVY : chromaYUY2);
        const V low = V::Words(0xFF, 0xFF);
        const V high = V::Words(0xFF00, 0xFF00);
        if constexpr (bUyvy)
            ((luma & high) | (chroma.Right16(1) & low)).Store(pDst);
        else
            (luma.Right16(8) | (chroma.Left16(7) & high)).Store(pDst);
    }
};

/// U and V of 16 columns a lane out of bytes in turn.
template <class V>
void StoreChroma(V inTurn, BYTE* pU, BYTE* pV)
{
    const V apart = V::Order(0, 2, 4, 6, 8, 10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15);
    const V planes = inTurn.Shuffle(apart);
    planes.StoreLow(pU);
    planes.StoreHigh(pV);
}

template <size_t cbPixel>
struct RgbToPlanar
{
    static constexpr size_t nLanePixels = 16;
    static constexpr size_t cbSrc = cbPixel;

    /// Eight columns a lane of two rows.
    template <class V>
    static void Half(const BYTE* pSrc0, const BYTE* pSrc1, V& luma0, V& luma1, V& chroma)
    {
        const Pairs8<V> px0 = LoadPairs<V, cbPixel, 16 * cbPixel>(pSrc0);
        const Pairs8<V> px1 = LoadPairs<V, cbPixel, 16 * cbPixel>(pSrc1);
        luma0 = px0.Luma().Right16(8);
        luma1 = px1.Luma().Right16(8);
        const V sums = px0.first.Add16(px1.first).AddNeighbours(px0.second.Add16(px1.second));
        chroma = ChromaWords(sums, chroma420).Right16(2) & V::Words(0xFF, 0xFF);
    }
    template <class V>
    static void Do(const BYTE* pSrc0, const BYTE* pSrc1, BYTE* pY0, BYTE* pY1, BYTE* pU, BYTE* pV)
    {
        V arrLuma0[2], arrLuma1[2], arrChroma[2];
        Half(pSrc0, pSrc1, arrLuma0[0], arrLuma1[0], arrChroma[0]);
        Half(pSrc0 + 8 * cbPixel, pSrc1 + 8 * cbPixel, arrLuma0[1], arrLuma1[1], arrChroma[1]);
        arrLuma0[0].Pack16(arrLuma0[1]).Store(pY0);
        arrLuma1[0].Pack16(arrLuma1[1]).Store(pY1);
        StoreChroma(arrChroma[0].Pack16(arrChroma[1]), pU, pV);
    }
};

/// Words of B, G and R in the order of columns.
template <class V>
struct RgbWords
{
    V b, g, r;
};

/// Each coefficient of more than 16 bits is split into the products of a small factor, which the bytes are
/// multiplied by first, and a signed word: nothing is rounded before the shift.
template <RgbSet set>
struct SplitSet
{
    static constexpr int nYFactor = set.nY % 4 == 0 ? 4 : 86;
    static constexpr int nY = set.nY / nYFactor;
    static constexpr int nRV = set.nRV / 4; ///< of 4 V, with the rest of V
    static constexpr int nRVRest = set.nRV % 4;
    static constexpr int nBU = set.nBU / 8; ///< of 8 U, with the rest of U
    static constexpr int nBURest = set.nBU % 8;
    static constexpr int nGU = set.nGU; ///< of U + 2 V, with the rest of V
    static constexpr int nGVRest = set.nGV - 2 * set.nGU;

    static_assert(nY * nYFactor == set.nY && nYFactor * 255 <= 0x7FFF && nY <= 0x7FFF);
    static_assert(nRV <= 0x7FFF && nBU <= 0x7FFF && nGU >= -0x8000 && nGVRest >= -0x8000);
};

/// What the chroma of four pairs of pixels a lane adds to B, G and R, constants included: 32 bits a pair.
template <class V>
struct ChromaParts
{
    V b, g, r;
};

/// \param chroma bytes U, V, U, V for each pair
template <class V, RgbSet set>
ChromaParts<V> PartsOfChroma(V chroma)
{
    using Split = SplitSet<set>;
    return {chroma.MaddBytes(V::Bytes(8, 0, Split::nBURest, 0))
                .Madd(V::Words(Split::nBU, 1))
                .Add32(V::Set32(set.nB)),
            chroma.MaddBytes(V::Bytes(1, 2, 0, 1))
                .Madd(V::Words(Split::nGU, Split::nGVRest))
                .Add32(V::Set32(set.nG)),
            chroma.MaddBytes(V::Bytes(0, 4, 0, Split::nRVRest))
                .Madd(V::Words(Split::nRV, 1))
                .Add32(V::Set32(set.nR))};
}

/// Eight pixels a lane. \param luma words of Y times SplitSet::nYFactor
template <class V, RgbSet set>
RgbWords<V> WordsOfParts(V luma, const ChromaParts<V>& parts)
{
    const V lumaEven = luma.Madd(V::Words(SplitSet<set>::nY, 0));
    const V lumaOdd = luma.Madd(V::Words(0, SplitSet<set>::nY));
    const auto words = [&](V part) { return lumaEven.Add32(part).Right32(16).OddWords(lumaOdd.Add32(part)); };
    return {words(parts.b), words(parts.g), words(parts.r)};
}

/// Eight pixels of packed 4:2:2 a lane.
template <class V, bool bUyvy, RgbSet set>
RgbWords<V> PackedToRgbWords(V packed)
{
    constexpr int nFactor = SplitSet<set>::nYFactor;
    constexpr int nEvenByte = bUyvy ? 0 : nFactor;
    constexpr int nOddByte = bUyvy ? nFactor : 0;
    const V luma = packed.MaddBytes(V::Bytes(nEvenByte, nOddByte, nEvenByte, nOddByte));
    const V order = bUyvy ? V::Order(0, 2, 0, 2, 4, 6, 4, 6, 8, 10, 8, 10, 12, 14, 12, 14)
                          : V::Order(1, 3, 1, 3, 5, 7, 5, 7, 9, 11, 9, 11, 13, 15, 13, 15);
    return WordsOfParts<V, set>(luma, PartsOfChroma<V, set>(packed.Shuffle(order)));
}

/// Eight pixels a lane as BGRA, four and four.
template <class V>
void ToBgra(const RgbWords<V>& words, V& first, V& second)
{
    const V br = words.b.Pack16(words.r);
    const V ga = words.g.Pack16(V::Words(255, 255));
    const V bg = br.Low8(ga);
    const V ra = br.High8(ga);
    first = bg.Low16(ra);
    second = bg.High16(ra);
}

/// Sixteen pixels a lane, four to a vector, without their fourth bytes; lanes 48 bytes apart.
template <class V>
void StoreBgr24(V q0, V q1, V q2, V q3, BYTE* pDst)
{
    const V last0 = V::Order(-1, -1, -1, -1, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14);
    const V split1 = V::Order(0, 1, 2, 4, -1, -1, -1, -1, 5, 6, 8, 9, 10, 12, 13, 14);
    const V split2 = V::Order(0, 1, 2, 4, 5, 6, 8, 9, -1, -1, -1, -1, 10, 12, 13, 14);
    const V first3 = V::Order(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const V b0 = q0.Shuffle(last0);
    const V b1 = q1.Shuffle(split1);
    const V b2 = q2.Shuffle(split2);
    const V b3 = q3.Shuffle(first3);
    b0.template Join<4>(b1).Store(pDst, 48);
    b1.template Join<8>(b2).Store(pDst + 16, 48);
    b2.template Join<12>(b3).Store(pDst + 32, 48);
}

template <bool bUyvy, RgbSet set>
struct PackedToBgra
{
    static constexpr size_t nLanePixels = 8;
    static constexpr size_t cbSrc = 2;
    static constexpr size_t cbDst = 4;

    template <class V>
    static void Do(const BYTE* pSrc, BYTE* pDst)
    {
        V first, second;
        ToBgra(PackedToRgbWords<V, bUyvy, set>(V::Load(pSrc)), first, second);
        first.Store(pDst, 32);
        second.Store(pDst + 16, 32);
    }
};

template <bool bUyvy, RgbSet set>
struct PackedToBgr24
{
    static constexpr size_t nLanePixels = 16;
    static constexpr size_t cbSrc = 2;
    static constexpr size_t cbDst = 3;

    template <class V>
    static void Do(const BYTE* pSrc, BYTE* pDst)
    {
        V q0, q1, q2, q3;
        ToBgra(PackedToRgbWords<V, bUyvy, set>(V::Load(pSrc, 32)), q0, q1);
        ToBgra(PackedToRgbWords<V, bUyvy, set>(V::Load(pSrc + 16, 32)), q2, q3);
        StoreBgr24(q0, q1, q2, q3, pDst);
    }
};

/// Eight columns a lane of planes to BGRA.
template <class V>
void PlanarToBgra(V twiceY, const ChromaParts<V>& parts, V& first, V& second)
{
    constexpr int nFactor = SplitSet<rgbFrom420>::nYFactor;
    const V luma = twiceY.MaddBytes(V::Bytes(nFactor, 0, nFactor, 0));
    ToBgra(WordsOfParts<V, rgbFrom420>(luma, parts), first, second);
}

template <bool b24>
struct PlanarToRgb
{
    static constexpr size_t nLanePixels = 16;
    static constexpr size_t cbDst = b24 ? 3 : 4;

    template <class V>
    static void Row(const BYTE* pY, const ChromaParts<V>& partsLow, const ChromaParts<V>& partsHigh,
                    BYTE* pDst)
    {
        const V luma = V::Load(pY);
        V q0, q1, q2, q3;
        PlanarToBgra(luma.Low8(luma), partsLow, q0, q1);
        PlanarToBgra(luma.High8(luma), partsHigh, q2, q3);
        if constexpr (b24)
            StoreBgr24(q0, q1, q2, q3, pDst);
        else
        {
            q0.Store(pDst, 64);
            q1.Store(pDst + 16, 64);
            q2.Store(pDst + 32, 64);
            q3.Store(pDst + 48, 64);
        }
    }
    template <class V>
    static void Do(const BYTE* pY0, const BYTE* pY1, const BYTE* pU, const BYTE* pV, BYTE* pDst0, BYTE* pDst1)
    {
        const V chroma = V::LoadHalf(pU).Low8(V::LoadHalf(pV));
        const ChromaParts<V> partsLow = PartsOfChroma<V, rgbFrom420>(chroma.Low16(chroma));
        const ChromaParts<V> partsHigh = PartsOfChroma<V, rgbFrom420>(chroma.High16(chroma));
        Row(pY0, partsLow, partsHigh, pDst0);
        Row(pY1, partsLow, partsHigh, pDst1);
    }
};

template <bool bUyvy>
struct PlanarToPacked
{
    static constexpr size_t nLanePixels = 16;
    static constexpr size_t cbDst = 2;

    template <class V>
    static void Do(const BYTE* pY, const BYTE* pSecond, const BYTE* pThird, BYTE* pDst)
    {
        const V luma = V::Load(pY);
        const V chroma = V::LoadHalf(pThird).Low8(V::LoadHalf(pSecond));
        (bUyvy ? chroma.Low8(luma) : luma.Low8(chroma)).Store(pDst, 32);
        (bUyvy ? chroma.High8(luma) : luma.High8(chroma)).Store(pDst + 16, 32);
    }
};

template <bool bUyvy>
struct PackedToPlanar
{
    static constexpr size_t nLanePixels = 16;
    static constexpr size_t cbSrc = 2;

    template <class V>
    static V Luma(V first, V second)
    {
        const V low = V::Words(0xFF, 0xFF);
        return bUyvy ? first.Right16(8).Pack16(second.Right16(8)) : (first & low).Pack16(second & low);
    }
    template <class V>
    static V Chroma(V first, V second)
    {
        const V low = V::Words(0xFF, 0xFF);
        return bUyvy ? (first & low).Pack16(second & low) : first.Right16(8).Pack16(second.Right16(8));
    }
    template <class V>
    static void Do(const BYTE* pSrc0, const BYTE* pSrc1, BYTE* pY0, BYTE* pY1, BYTE* pU, BYTE* pV)
    {
        const V first = V::Load(pSrc0, 32);
        const V second = V::Load(pSrc0 + 16, 32);
        Luma(first, second).Store(pY0);
        StoreChroma(Chroma(first, second), pU, pV);
        Luma(V::Load(pSrc1, 32), V::Load(pSrc1 + 16, 32)).Store(pY1);
    }
};

/// Bytes of packed 4:2:2 in another order.
template <bool bToYvyu>
struct PackedOrder
{
    static constexpr size_t nLanePixels = 8;
    static constexpr size_t cbSrc = 2;
    static constexpr size_t cbDst = 2;

    template <class V>
    static void Do(const BYTE* pSrc, BYTE* pDst)
    {
        const V packed = V::Load(pSrc);
        const V chromaSwapped = V::Order(0, 3, 2, 1, 4, 7, 6, 5, 8, 11, 10, 9, 12, 15, 14, 13);
        const V bytesSwapped = V::Order(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
        packed.Shuffle(bToYvyu ? chromaSwapped : bytesSwapped).Store(pDst);
    }
};

struct Bgr24To32
{
    static constexpr size_t nLanePixels = 8;
    static constexpr size_t cbSrc = 3;
    static constexpr size_t cbDst = 4;

    template <class V>
    static void Do(const BYTE* pSrc, BYTE* pDst)
    {
        const V wideFirst = V::Order(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
        const V wideLast = V::Order(4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1);
        const V fourth = V::Set32(static_cast<int>(0xFF000000u));
        const V keptFirst = V::Load(pDst, 32) & fourth;
        const V keptLast = V::Load(pDst + 16, 32) & fourth;
        (V::Load(pSrc, 24).Shuffle(wideFirst) | keptFirst).Store(pDst, 32);
        (V::Load(pSrc + 8, 24).Shuffle(wideLast) | keptLast).Store(pDst + 16, 32);
    }
};

struct Bgr32To24
{
    static constexpr size_t nLanePixels = 16;
    static constexpr size_t cbSrc = 4;
    static constexpr size_t cbDst = 3;

    template <class V>
    static void Do(const BYTE* pSrc, BYTE* pDst)
    {
        StoreBgr24(V::Load(pSrc, 64), V::Load(pSrc + 16, 64), V::Load(pSrc + 32, 64), V::Load(pSrc + 48, 64),
                   pDst);
    }
};

struct Bgr32ToBgra
{
    static constexpr size_t nLanePixels = 4;
    static constexpr size_t cbSrc = 4;
    static constexpr size_t cbDst = 4;

    template <class V>
    static void Do(const BYTE* pSrc, BYTE* pDst)
    {
        (V::Load(pSrc) | V::Set32(static_cast<int>(0xFF000000u))).Store(pDst);
    }
};

/// The table of the includer's processor; what has no vector form is the scalar one.
constexpr ConvertKernels convertForms = {
    .BGR24ToYUY2 = RunRow<VWide, RgbToPacked<3, false, false>, &ConvertKernels::BGR24ToYUY2>,
    .BGR24ToUYVY = RunRow<VWide, RgbToPacked<3, true, false>, &ConvertKernels::BGR24ToUYVY>,
    .BGR32ToYUY2 = RunRow<VWide, RgbToPacked<4, false, false>, &ConvertKernels::BGR32ToYUY2>,
    .BGR32ToUYVY = RunRow<VWide, RgbToPacked<4, true, true>, &ConvertKernels::BGR32ToUYVY>,
    .BGR24ToBGR32 = RunRow<VWide, Bgr24To32, &ConvertKernels::BGR24ToBGR32>,
    .BGR32ToBGR24 = RunRow<VWide, Bgr32To24, &ConvertKernels::BGR32ToBGR24>,
    .BGR32ToBGRA = RunRow<VWide, Bgr32ToBgra, &ConvertKernels::BGR32ToBGRA>,
    .YUY2ToUYVY = RunRow<VWide, PackedOrder<false>, &ConvertKernels::YUY2ToUYVY>,
    .YUY2ToYVYU = RunRow<VWide, PackedOrder<true>, &ConvertKernels::YUY2ToYVYU>,
    .YUY2ToBGR24 = RunRow<VWide, PackedToBgr24<false, rgbFromYUY2>, &ConvertKernels::YUY2ToBGR24>,
    .YUY2ToBGRA = RunRow<VWide, PackedToBgra<false, rgbFromYUY2>, &ConvertKernels::YUY2ToBGRA>,
    .YUY2ToRGB565 = RunScalar<&ConvertKernels::YUY2ToRGB565>,
    .YUY2ToRGB555 = RunScalar<&ConvertKernels::YUY2ToRGB555>,
    .UYVYToBGR24 = RunRow<VWide, PackedToBgr24<true, rgbFromYUY2>, &ConvertKernels::UYVYToBGR24>,
    .UYVYToBGRA = RunRow<VWide, PackedToBgra<true, rgbFromUYVY>, &ConvertKernels::UYVYToBGRA>,
    .BGR24ToPlanar420 = RunToPlanar<VWide, RgbToPlanar<3>, &ConvertKernels::BGR24ToPlanar420>,
    .BGR32ToPlanar420 = RunToPlanar<VWide, RgbToPlanar<4>, &ConvertKernels::BGR32ToPlanar420>,
    .YUY2ToPlanar420 = RunToPlanar<VWide, PackedToPlanar<false>, &ConvertKernels::YUY2ToPlanar420>,
    .UYVYToPlanar420 = RunToPlanar<VWide, PackedToPlanar<true>, &ConvertKernels::UYVYToPlanar420>,
    .Planar420ToYUY2 = RunFromPlanarByRow<VWide, PlanarToPacked<false>, &ConvertKernels::Planar420ToYUY2>,
    .Planar420ToUYVY = RunFromPlanarByRow<VWide, PlanarToPacked<true>, &ConvertKernels::Planar420ToUYVY>,
    .Planar420ToBGR24 = RunFromPlanar<VWide, PlanarToRgb<true>, &ConvertKernels::Planar420ToBGR24>,
    .Planar420ToBGRA = RunFromPlanar<VWide, PlanarToRgb<false>, &ConvertKernels::Planar420ToBGRA>,
    .Planar420ToRGB565 = RunScalar<&ConvertKernels::Planar420ToRGB565>,
    .Planar420ToRGB555 = RunScalar<&ConvertKernels::Planar420ToRGB555>,
};

} // namespace
