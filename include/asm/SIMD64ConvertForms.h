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
        const V low = bg.MaddBytes(FourBytes<V>(nLowB, nLowG, nLowB, nLowG))
                          .Add16(rg.MaddBytes(FourBytes<V>(nLowR, 0, nLowR, 0)));
        const V high = bg.MaddBytes(FourBytes<V>(nHighB, nHighGOfB, nHighB, nHighGOfB))
                           .Add16(rg.MaddBytes(FourBytes<V>(nHighR, nHighGOfR, nHighR, nHighGOfR)));
        return high.Add16(Words<V>(nRound, nRound)).Add16(low.template RightSigned16<8>());
    }
    /// B - G and R - G of two columns.
    V Differences() const { return first.AddNeighbours(second); }
};

/// Reads eight pixels a lane from blocks nStride bytes apart.
template <class V, size_t cbPixel, size_t nStride>
Pairs8<V> LoadPairs(const BYTE* p)
{
    V first = V::template Load<nStride>(p);
    V second;
    if constexpr (cbPixel == 4)
    {
        const V order = V::Order(0, 1, 4, 5, 2, 1, 6, 5, 8, 9, 12, 13, 10, 9, 14, 13);
        first = first.Bytes(order);
        second = V::template Load<nStride>(p + 16).Bytes(order);
    }
    else
    {
        // The second load ends with the last pixel, so that none reaches behind the block.
        first = first.Bytes(V::Order(0, 1, 3, 4, 2, 1, 5, 4, 6, 7, 9, 10, 8, 7, 11, 10));
        second = V::template Load<nStride>(p + 8).Bytes(
            V::Order(4, 5, 7, 8, 6, 5, 9, 8, 10, 11, 13, 14, 12, 11, 15, 14));
    }
    const V difference = FourBytes<V>(1, -1, 1, -1);
    return {first.Evens(second), first.Odds(second), first.MaddBytes(difference),
            second.MaddBytes(difference)};
}

/// Words of U and V in turn out of sums of B - G and R - G: bits 1 to 8 where nShift is 17, 2 to 9 where it
/// is 18.
template <class V>
V ChromaWords(V sums, const ChromaRounding& rounding)
{
    static_assert(nCbB + nCbG + nCbR == 0 && nCrB + nCrG + nCrR == 0); // so that G is no term of its own
    const V cb = sums.Madd(Words<V>(nCbB, nCbR)).Add32(V::Number(rounding.nCb));
    const V cr = sums.Madd(Words<V>(nCrB, nCrR)).Add32(V::Number(rounding.nCr));
    return cb.template Right32<16>().EvenOddWords(cr);
}

template <class V, size_t cbPixel, bool bUyvy, bool bNearest>
struct RgbToPackedBlock
{
    static constexpr size_t nPixels = 8 * V::nLanes;
    static constexpr size_t cbSrc = cbPixel;
    static constexpr size_t cbDst = 2;

    static void Do(const BYTE* pSrc, BYTE* pDst)
    {
        const Pairs8<V> px = LoadPairs<V, cbPixel, 8 * cbPixel>(pSrc);
        const V luma = px.Luma();
        const V chroma = ChromaWords(px.Differences(), bNearest ? chromaUYVY : chromaYUY2);
        const V low = Words<V>(0xFF, 0xFF);
        const V high = Words<V>(0xFF00, 0xFF00);
        if constexpr (bUyvy)
            ((luma & high) | (chroma.template Right16<1>() & low)).template Store<16>(pDst);
        else
            (luma.template Right16<8>() | (chroma.template Left16<7>() & high)).template Store<16>(pDst);
    }
};

/// U and V of 16 columns a lane out of bytes in turn.
template <class V>
void StoreChroma(V inTurn, BYTE* pU, BYTE* pV)
{
    const V apart = V::Order(0, 2, 4, 6, 8, 10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15);
    const V planes = inTurn.Bytes(apart);
    planes.template StoreLow<8>(pU);
    planes.template StoreHigh<8>(pV);
}

template <class V, size_t cbPixel>
struct RgbToPlanarBlock
{
    static constexpr size_t nPixels = 16 * V::nLanes;
    static constexpr size_t cbSrc = cbPixel;

    /// Eight columns a lane of two rows.
    static void Half(const BYTE* pSrc0, const BYTE* pSrc1, V& luma0, V& luma1, V& chroma)
    {
        const Pairs8<V> px0 = LoadPairs<V, cbPixel, 16 * cbPixel>(pSrc0);
        const Pairs8<V> px1 = LoadPairs<V, cbPixel, 16 * cbPixel>(pSrc1);
        luma0 = px0.Luma().template Right16<8>();
        luma1 = px1.Luma().template Right16<8>();
        const V sums = px0.first.Add16(px1.first).AddNeighbours(px0.second.Add16(px1.second));
        chroma = ChromaWords(sums, chroma420).template Right16<2>() & Words<V>(0xFF, 0xFF);
    }
    static void Do(const BYTE* pSrc0, const BYTE* pSrc1, BYTE* pY0, BYTE* pY1, BYTE* pU, BYTE* pV)
    {
        V arrLuma0[2], arrLuma1[2], arrChroma[2];
        Half(pSrc0, pSrc1, arrLuma0[0], arrLuma1[0], arrChroma[0]);
        Half(pSrc0 + 8 * cbPixel, pSrc1 + 8 * cbPixel, arrLuma0[1], arrLuma1[1], arrChroma[1]);
        arrLuma0[0].Pack16(arrLuma0[1]).template Store<16>(pY0);
        arrLuma1[0].Pack16(arrLuma1[1]).template Store<16>(pY1);
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
    return {chroma.MaddBytes(FourBytes<V>(8, 0, Split::nBURest, 0))
                .Madd(Words<V>(Split::nBU, 1))
                .Add32(V::Number(set.nB)),
            chroma.MaddBytes(FourBytes<V>(1, 2, 0, 1))
                .Madd(Words<V>(Split::nGU, Split::nGVRest))
                .Add32(V::Number(set.nG)),
            chroma.MaddBytes(FourBytes<V>(0, 4, 0, Split::nRVRest))
                .Madd(Words<V>(Split::nRV, 1))
                .Add32(V::Number(set.nR))};
}

/// Eight pixels a lane. \param luma words of Y times SplitSet::nYFactor
template <class V, RgbSet set>
RgbWords<V> WordsOfParts(V luma, const ChromaParts<V>& parts)
{
    const V lumaEven = luma.Madd(Words<V>(SplitSet<set>::nY, 0));
    const V lumaOdd = luma.Madd(Words<V>(0, SplitSet<set>::nY));
    const auto words = [&](V part)
    { return lumaEven.Add32(part).template Right32<16>().EvenOddWords(lumaOdd.Add32(part)); };
    return {words(parts.b), words(parts.g), words(parts.r)};
}

/// Eight pixels of packed 4:2:2 a lane.
template <class V, bool bUyvy, RgbSet set>
RgbWords<V> PackedToRgbWords(V packed)
{
    constexpr int nFactor = SplitSet<set>::nYFactor;
    constexpr int nEvenByte = bUyvy ? 0 : nFactor;
    constexpr int nOddByte = bUyvy ? nFactor : 0;
    const V luma = packed.MaddBytes(FourBytes<V>(nEvenByte, nOddByte, nEvenByte, nOddByte));
    const V order = bUyvy ? V::Order(0, 2, 0, 2, 4, 6, 4, 6, 8, 10, 8, 10, 12, 14, 12, 14)
                          : V::Order(1, 3, 1, 3, 5, 7, 5, 7, 9, 11, 9, 11, 13, 15, 13, 15);
    return WordsOfParts<V, set>(luma, PartsOfChroma<V, set>(packed.Bytes(order)));
}

/// Eight pixels a lane as BGRA, four and four.
template <class V>
void ToBgra(const RgbWords<V>& words, V& first, V& second)
{
    const V br = words.b.Pack16(words.r);
    const V ga = words.g.Pack16(Words<V>(255, 255));
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
    const V b0 = q0.Bytes(last0);
    const V b1 = q1.Bytes(split1);
    const V b2 = q2.Bytes(split2);
    const V b3 = q3.Bytes(first3);
    b0.template Join<4>(b1).template Store<48>(pDst);
    b1.template Join<8>(b2).template Store<48>(pDst + 16);
    b2.template Join<12>(b3).template Store<48>(pDst + 32);
}

template <class V, bool bUyvy, RgbSet set>
struct PackedToBgraBlock
{
    static constexpr size_t nPixels = 8 * V::nLanes;
    static constexpr size_t cbSrc = 2;
    static constexpr size_t cbDst = 4;

    static void Do(const BYTE* pSrc, BYTE* pDst)
    {
        V first, second;
        ToBgra(PackedToRgbWords<V, bUyvy, set>(V::template Load<16>(pSrc)), first, second);
        first.template Store<32>(pDst);
        second.template Store<32>(pDst + 16);
    }
};

template <class V, bool bUyvy, RgbSet set>
struct PackedToBgr24Block
{
    static constexpr size_t nPixels = 16 * V::nLanes;
    static constexpr size_t cbSrc = 2;
    static constexpr size_t cbDst = 3;

    static void Do(const BYTE* pSrc, BYTE* pDst)
    {
        V q0, q1, q2, q3;
        ToBgra(PackedToRgbWords<V, bUyvy, set>(V::template Load<32>(pSrc)), q0, q1);
        ToBgra(PackedToRgbWords<V, bUyvy, set>(V::template Load<32>(pSrc + 16)), q2, q3);
        StoreBgr24(q0, q1, q2, q3, pDst);
    }
};

/// Eight columns a lane of planes to BGRA.
template <class V>
void PlanarToBgra(V twiceY, const ChromaParts<V>& parts, V& first, V& second)
{
    constexpr int nFactor = SplitSet<rgbFrom420>::nYFactor;
    const V luma = twiceY.MaddBytes(FourBytes<V>(nFactor, 0, nFactor, 0));
    ToBgra(WordsOfParts<V, rgbFrom420>(luma, parts), first, second);
}

template <class V, bool b24>
struct PlanarToRgbBlock
{
    static constexpr size_t nPixels = 16 * V::nLanes;
    static constexpr size_t cbDst = b24 ? 3 : 4;

    static void Row(const BYTE* pY, const ChromaParts<V>& partsLow, const ChromaParts<V>& partsHigh,
                    BYTE* pDst)
    {
        const V luma = V::template Load<16>(pY);
        V q0, q1, q2, q3;
        PlanarToBgra(luma.Low8(luma), partsLow, q0, q1);
        PlanarToBgra(luma.High8(luma), partsHigh, q2, q3);
        if constexpr (b24)
            StoreBgr24(q0, q1, q2, q3, pDst);
        else
        {
            q0.template Store<64>(pDst);
            q1.template Store<64>(pDst + 16);
            q2.template Store<64>(pDst + 32);
            q3.template Store<64>(pDst + 48);
        }
    }
    static void Do(const BYTE* pY0, const BYTE* pY1, const BYTE* pU, const BYTE* pV, BYTE* pDst0, BYTE* pDst1)
    {
        const V chroma = V::template LoadHalf<8>(pU).Low8(V::template LoadHalf<8>(pV));
        const ChromaParts<V> partsLow = PartsOfChroma<V, rgbFrom420>(chroma.Low16(chroma));
        const ChromaParts<V> partsHigh = PartsOfChroma<V, rgbFrom420>(chroma.High16(chroma));
        Row(pY0, partsLow, partsHigh, pDst0);
        Row(pY1, partsLow, partsHigh, pDst1);
    }
};

template <class V, bool bUyvy>
struct PlanarToPackedBlock
{
    static constexpr size_t nPixels = 16 * V::nLanes;
    static constexpr size_t cbDst = 2;

    static void Do(const BYTE* pY, const BYTE* pSecond, const BYTE* pThird, BYTE* pDst)
    {
        const V luma = V::template Load<16>(pY);
        const V chroma = V::template LoadHalf<8>(pThird).Low8(V::template LoadHalf<8>(pSecond));
        (bUyvy ? chroma.Low8(luma) : luma.Low8(chroma)).template Store<32>(pDst);
        (bUyvy ? chroma.High8(luma) : luma.High8(chroma)).template Store<32>(pDst + 16);
    }
};

template <class V, bool bUyvy>
struct PackedToPlanarBlock
{
    static constexpr size_t nPixels = 16 * V::nLanes;
    static constexpr size_t cbSrc = 2;

    static V Luma(V first, V second)
    {
        const V low = Words<V>(0xFF, 0xFF);
        return bUyvy ? first.template Right16<8>().Pack16(second.template Right16<8>())
                     : (first & low).Pack16(second & low);
    }
    static V Chroma(V first, V second)
    {
        const V low = Words<V>(0xFF, 0xFF);
        return bUyvy ? (first & low).Pack16(second & low)
                     : first.template Right16<8>().Pack16(second.template Right16<8>());
    }
    static void Do(const BYTE* pSrc0, const BYTE* pSrc1, BYTE* pY0, BYTE* pY1, BYTE* pU, BYTE* pV)
    {
        const V first = V::template Load<32>(pSrc0);
        const V second = V::template Load<32>(pSrc0 + 16);
        Luma(first, second).template Store<16>(pY0);
        StoreChroma(Chroma(first, second), pU, pV);
        Luma(V::template Load<32>(pSrc1), V::template Load<32>(pSrc1 + 16)).template Store<16>(pY1);
    }
};

/// Bytes of packed 4:2:2 in another order.
template <class V, bool bToYvyu>
struct PackedOrderBlock
{
    static constexpr size_t nPixels = 8 * V::nLanes;
    static constexpr size_t cbSrc = 2;
    static constexpr size_t cbDst = 2;

    static void Do(const BYTE* pSrc, BYTE* pDst)
    {
        const V packed = V::template Load<16>(pSrc);
        const V chromaSwapped = V::Order(0, 3, 2, 1, 4, 7, 6, 5, 8, 11, 10, 9, 12, 15, 14, 13);
        const V bytesSwapped = V::Order(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
        packed.Bytes(bToYvyu ? chromaSwapped : bytesSwapped).template Store<16>(pDst);
    }
};

template <class V>
struct Bgr24To32Block
{
    static constexpr size_t nPixels = 8 * V::nLanes;
    static constexpr size_t cbSrc = 3;
    static constexpr size_t cbDst = 4;

    static void Do(const BYTE* pSrc, BYTE* pDst)
    {
        const V wideFirst = V::Order(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
        const V wideLast = V::Order(4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1);
        const V fourth = V::Number(static_cast<int>(0xFF000000u));
        const V keptFirst = V::template Load<32>(pDst) & fourth;
        const V keptLast = V::template Load<32>(pDst + 16) & fourth;
        (V::template Load<24>(pSrc).Bytes(wideFirst) | keptFirst).template Store<32>(pDst);
        (V::template Load<24>(pSrc + 8).Bytes(wideLast) | keptLast).template Store<32>(pDst + 16);
    }
};

template <class V>
struct Bgr32To24Block
{
    static constexpr size_t nPixels = 16 * V::nLanes;
    static constexpr size_t cbSrc = 4;
    static constexpr size_t cbDst = 3;

    static void Do(const BYTE* pSrc, BYTE* pDst)
    {
        StoreBgr24(V::template Load<64>(pSrc), V::template Load<64>(pSrc + 16),
                   V::template Load<64>(pSrc + 32), V::template Load<64>(pSrc + 48), pDst);
    }
};

template <class V>
struct Bgr32ToBgraBlock
{
    static constexpr size_t nPixels = 4 * V::nLanes;
    static constexpr size_t cbSrc = 4;
    static constexpr size_t cbDst = 4;

    static void Do(const BYTE* pSrc, BYTE* pDst)
    {
        (V::template Load<16>(pSrc) | V::Number(static_cast<int>(0xFF000000u))).template Store<16>(pDst);
    }
};

/// The scalar kernel that takes what is too short for any vector.
template <auto pMember>
struct Scalar;

template <PFNCONVERTROW ConvertKernels::*pMember>
struct Scalar<pMember>
{
    static void Run(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept
    {
        (ConvertKernels::scalar.*pMember)(pSrc, pDst, nPixels);
    }
};

template <PFNTOPLANAR420 ConvertKernels::*pMember>
struct Scalar<pMember>
{
    static void Run(const BYTE* pSrc0, const BYTE* pSrc1, BYTE* pY0, BYTE* pY1, BYTE* pU, BYTE* pV,
                    size_t nPixels) noexcept
    {
        (ConvertKernels::scalar.*pMember)(pSrc0, pSrc1, pY0, pY1, pU, pV, nPixels);
    }
};

template <PFNFROMPLANAR420 ConvertKernels::*pMember>
struct Scalar<pMember>
{
    static void Run(const BYTE* pY0, const BYTE* pY1, const BYTE* pSecond, const BYTE* pThird, BYTE* pDst0,
                    BYTE* pDst1, size_t nPixels) noexcept
    {
        (ConvertKernels::scalar.*pMember)(pY0, pY1, pSecond, pThird, pDst0, pDst1, nPixels);
    }
};

/// One form: V32 falls back on V16, and that on the scalar form.
#ifdef __AVX2__
#define QX_FORM(Member, Runner, Block, ...)                                                                  \
    Runner<Block<V32 __VA_OPT__(, ) __VA_ARGS__>,                                                            \
           Runner<Block<V16 __VA_OPT__(, ) __VA_ARGS__>, Scalar<&ConvertKernels::Member>::Run>>
#else
#define QX_FORM(Member, Runner, Block, ...)                                                                  \
    Runner<Block<V16 __VA_OPT__(, ) __VA_ARGS__>, Scalar<&ConvertKernels::Member>::Run>
#endif

/// The table of the includer's processor; what has no vector form is the scalar one.
constexpr ConvertKernels convertVector = {
    .BGR24ToYUY2 = QX_FORM(BGR24ToYUY2, RunRow, RgbToPackedBlock, 3, false, false),
    .BGR24ToUYVY = QX_FORM(BGR24ToUYVY, RunRow, RgbToPackedBlock, 3, true, false),
    .BGR32ToYUY2 = QX_FORM(BGR32ToYUY2, RunRow, RgbToPackedBlock, 4, false, false),
    .BGR32ToUYVY = QX_FORM(BGR32ToUYVY, RunRow, RgbToPackedBlock, 4, true, true),
    .BGR24ToBGR32 = QX_FORM(BGR24ToBGR32, RunRow, Bgr24To32Block),
    .BGR32ToBGR24 = QX_FORM(BGR32ToBGR24, RunRow, Bgr32To24Block),
    .BGR32ToBGRA = QX_FORM(BGR32ToBGRA, RunRow, Bgr32ToBgraBlock),
    .YUY2ToUYVY = QX_FORM(YUY2ToUYVY, RunRow, PackedOrderBlock, false),
    .YUY2ToYVYU = QX_FORM(YUY2ToYVYU, RunRow, PackedOrderBlock, true),
    .YUY2ToBGR24 = QX_FORM(YUY2ToBGR24, RunRow, PackedToBgr24Block, false, rgbFromYUY2),
    .YUY2ToBGRA = QX_FORM(YUY2ToBGRA, RunRow, PackedToBgraBlock, false, rgbFromYUY2),
    .YUY2ToRGB565 = Scalar<&ConvertKernels::YUY2ToRGB565>::Run,
    .YUY2ToRGB555 = Scalar<&ConvertKernels::YUY2ToRGB555>::Run,
    .UYVYToBGR24 = QX_FORM(UYVYToBGR24, RunRow, PackedToBgr24Block, true, rgbFromYUY2),
    .UYVYToBGRA = QX_FORM(UYVYToBGRA, RunRow, PackedToBgraBlock, true, rgbFromUYVY),
    .BGR24ToPlanar420 = QX_FORM(BGR24ToPlanar420, RunToPlanar, RgbToPlanarBlock, 3),
    .BGR32ToPlanar420 = QX_FORM(BGR32ToPlanar420, RunToPlanar, RgbToPlanarBlock, 4),
    .YUY2ToPlanar420 = QX_FORM(YUY2ToPlanar420, RunToPlanar, PackedToPlanarBlock, false),
    .UYVYToPlanar420 = QX_FORM(UYVYToPlanar420, RunToPlanar, PackedToPlanarBlock, true),
    .Planar420ToYUY2 = QX_FORM(Planar420ToYUY2, RunFromPlanarByRow, PlanarToPackedBlock, false),
    .Planar420ToUYVY = QX_FORM(Planar420ToUYVY, RunFromPlanarByRow, PlanarToPackedBlock, true),
    .Planar420ToBGR24 = QX_FORM(Planar420ToBGR24, RunFromPlanar, PlanarToRgbBlock, true),
    .Planar420ToBGRA = QX_FORM(Planar420ToBGRA, RunFromPlanar, PlanarToRgbBlock, false),
    .Planar420ToRGB565 = Scalar<&ConvertKernels::Planar420ToRGB565>::Run,
    .Planar420ToRGB555 = Scalar<&ConvertKernels::Planar420ToRGB555>::Run,
};

#undef QX_FORM

} // namespace
