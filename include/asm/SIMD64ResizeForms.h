#pragma once
/// The vector forms of the resizer, written once for registers of one lane and of two. Included by the files
/// that are compiled for one kind of processor each, so everything here is local to its includer.
///
/// Rows of one channel take their outputs from windows: each lane has four of them. Rows of three and four
/// channels give each of the two source rows a lane.

#include "asm/SIMD64Resize.h"
#include "asm/SIMD64ResizeLanes.h"

namespace
{

using V = Lanes::V;

/// Shuffle index that gives a zero byte.
constexpr char z = static_cast<char>(0x80);
/// Registers that hold a lane of each of two rows.
constexpr size_t nRowRegisters = 2 / Lanes::nLanes;

/// What becomes of the sums of a row.
struct ToLevels
{
    static constexpr bool bLevels = true;

    using Sample = int16_t;
    static constexpr auto& Kernels = ResizeKernels::scalar.arrRows;
    static constexpr int nShift = nResizeWeightBits - nResizeRowBits;
    static V Pack(V a, V b)
    {
        return Lanes::PackLanesSigned(Lanes::Sra32(a, nShift), Lanes::Sra32(b, nShift));
    }
};

struct ToNarrowSums
{
    static constexpr bool bLevels = false;

    using Sample = uint16_t;
    static constexpr auto& Kernels = ResizeKernels::scalar.arrNarrow;
    static V Pack(V a, V b) { return Lanes::PackLanesUnsigned(a, b); }
};

/// A value that two rows share stays in its register: left alone, the compiler loads it for each.
V Keep(V v)
{
    asm("" : "+x"(v));
    return v;
}

/// Sums of a pair of windows, two rows.
struct PairSums
{
    V arrRow[2][2];
};

/// \param nSide first half of the windows that the lanes take
template <bool bTwoTaps, bool bGathered>
inline __attribute__((always_inline)) PairSums SumWindows(const BYTE* pSrc0, const BYTE* pSrc1,
                                                          const ResizeWindow* pWindows,
                                                          const int32_t* pPlaces, size_t nSide, LONG nChunks)
{
    constexpr size_t nPlaces = bGathered ? 4 : 1;
    PairSums sums;
    for (LONG k = 0; k < nChunks; k++)
    {
        for (size_t nWindow = 0; nWindow < 2; nWindow++)
        {
            const ResizeWindow& window = pWindows[static_cast<size_t>(k) * 2 + nWindow];
            const int32_t* p = pPlaces + ((static_cast<size_t>(k) * 2 + nWindow) * 2 + nSide) * nPlaces;
            const V first = Keep(Lanes::LoadAligned(window.arrFirst + 16 * nSide));
            const V weight01 = Keep(Lanes::LoadAligned(window.arrWeight01 + 8 * nSide));
            const V source0 = Lanes::LoadWindow<bGathered, nPlaces>(pSrc0, p);
            const V source1 = Lanes::LoadWindow<bGathered, nPlaces>(pSrc1, p);
            V sum0 = Lanes::Madd(Lanes::Shuffle(source0, first), weight01);
            V sum1 = Lanes::Madd(Lanes::Shuffle(source1, first), weight01);
            if constexpr (!bTwoTaps)
            {
                const V second = Keep(Lanes::LoadAligned(window.arrSecond + 16 * nSide));
                const V weight23 = Keep(Lanes::LoadAligned(window.arrWeight23 + 8 * nSide));
                sum0 = Lanes::Add32(sum0, Lanes::Madd(Lanes::Shuffle(source0, second), weight23));
                sum1 = Lanes::Add32(sum1, Lanes::Madd(Lanes::Shuffle(source1, second), weight23));
            }
            sums.arrRow[0][nWindow] = k == 0 ? sum0 : Lanes::Add32(sums.arrRow[0][nWindow], sum0);
            sums.arrRow[1][nWindow] = k == 0 ? sum1 : Lanes::Add32(sums.arrRow[1][nWindow], sum1);
        }
    }
    return sums;
}

/// Rows of one group of taps, as all interpolating filters have. What the loop reads stands in locals: for
/// all that the compiler knows, its stores could change what taps and rows hold.
template <class TTarget, bool bTwoTaps, bool bGathered>
void RowWindows(const ResizeRowTaps& taps, const ResizeRowPair<typename TTarget::Sample>& rows)
{
    const size_t nGroups = taps.nGroups;
    const ResizeWindow* pWindows = taps.pWindows;
    const int32_t* pPlaces = taps.pPlaces;
    const BYTE* pSrc0 = rows.arrSrc[0];
    const BYTE* pSrc1 = rows.arrSrc[1];
    typename TTarget::Sample* pDst0 = rows.arrDst[0];
    typename TTarget::Sample* pDst1 = rows.arrDst[1];
    for (size_t i = 0; i < nGroups; i++)
    {
        for (size_t nSide = 0; nSide < 2; nSide += Lanes::nLanes)
        {
            const PairSums sums = SumWindows<bTwoTaps, bGathered>(
                pSrc0, pSrc1, pWindows + 2 * i, pPlaces + i * (bGathered ? 16 : 4), nSide, 1);
            const size_t nAt = i * static_cast<size_t>(nResizeGroupOutputs) + nSide * 8;
            Lanes::Store(pDst0 + nAt, TTarget::Pack(sums.arrRow[0][0], sums.arrRow[0][1]));
            Lanes::Store(pDst1 + nAt, TTarget::Pack(sums.arrRow[1][0], sums.arrRow[1][1]));
        }
    }
}

/// Some of the outputs, by the plain form.
template <class TSample>
void RunPlain(void (*pfnPlain)(const ResizeRowTaps&, const ResizeRowPair<TSample>&) noexcept,
              const ResizeRowTaps& taps, const ResizeRowPair<TSample>& rows, ptrdiff_t nFirst, ptrdiff_t nEnd,
              int nChannels)
{
    if (nFirst >= nEnd)
        return;
    ResizeRowTaps part = taps;
    part.pStart += nFirst;
    part.pWeights += nFirst * taps.nTaps;
    part.nOutputs = static_cast<LONG>(nEnd - nFirst);
    ResizeRowPair<TSample> partRows = rows;
    partRows.arrDst[0] += nFirst * nChannels;
    partRows.arrDst[1] += nFirst * nChannels;
    pfnPlain(part, partRows);
}

/// Calls body for each nVector of n elements, for the last ones once more from where a whole register ends
/// with the last one, since a tail by the plain form can cost as much as the row. \return elements that are
/// done: all, or none where they are fewer than nVector
template <class TBody>
inline __attribute__((always_inline)) size_t ForRegisters(size_t n, size_t nVector, TBody body)
{
    size_t i = 0;
    for (; i + nVector <= n; i += nVector)
        body(i);
    if (i == 0 || i == n)
        return i;
    body(n - nVector);
    return n;
}

/// Outputs of nResizeHalved weights as levels: those are whole sixteenths, so that no table is needed.
/// \param pSrc first tap of the first output \return outputs that were made: all or none
size_t HalveCubic(const BYTE* pSrc, int16_t* pDst, size_t nOutputs)
{
    constexpr int nSixteenthBits = nResizeRowBits - 4;
    const V inner = Lanes::Set8(16 * nResizeHalvedInner / nResizeWeightOne);
    const V low = Lanes::Set16(0xFF);
    const auto store = [=](size_t i)
    {
        const BYTE* p = pSrc + 2 * i;
        const V first = Lanes::And(Lanes::Load(p), low);
        const V last = Lanes::Srl16(Lanes::Load(p + 2), 8);
        const V sum = Lanes::Sub16(Lanes::MaddBytes(Lanes::Load(p + 1), inner), Lanes::Add16(first, last));
        Lanes::Store(pDst + i, Lanes::Sll16(sum, nSixteenthBits));
    };
    return ForRegisters(nOutputs, Lanes::cb / 2, store);
}

/// Cubic to one half.
void RowHalved(const ResizeRowTaps& taps, const ResizeRowPair<int16_t>& rows)
{
    const ptrdiff_t nFirst = taps.nHalvedFirst;
    const auto nHalved = static_cast<size_t>(taps.nHalvedEnd - nFirst);
    const int32_t nStart = taps.pStart[nFirst];
    HalveCubic(rows.arrSrc[0] + nStart, rows.arrDst[0] + nFirst, nHalved);
    const auto nMade =
        static_cast<ptrdiff_t>(HalveCubic(rows.arrSrc[1] + nStart, rows.arrDst[1] + nFirst, nHalved));
    RunPlain(ResizeKernels::scalar.arrRows[0], taps, rows, 0, nFirst, 1);
    RunPlain(ResizeKernels::scalar.arrRows[0], taps, rows, nFirst + nMade, taps.nOutputs, 1);
}

template <class TTarget>
void Row1(const ResizeRowTaps& taps, const ResizeRowPair<typename TTarget::Sample>& rows) noexcept
{
    const bool bTwoTaps = taps.nTaps <= 2;
    switch (taps.eWindows)
    {
    case eResizeWindows::None:
        TTarget::Kernels[0](taps, rows);
        break;
    case eResizeWindows::Halved:
        if constexpr (TTarget::bLevels)
            RowHalved(taps, rows);
        else // not with these weights
            TTarget::Kernels[0](taps, rows);
        break;
    case eResizeWindows::Whole:
        bTwoTaps ? RowWindows<TTarget, true, false>(taps, rows)
                 : RowWindows<TTarget, false, false>(taps, rows);
        break;
    case eResizeWindows::Gathered:
        bTwoTaps ? RowWindows<TTarget, true, true>(taps, rows) : RowWindows<TTarget, false, true>(taps, rows);
        break;
    }
}

template <bool bGathered>
void SumRows1(const ResizeRowTaps& taps, const ResizeRowPair<int32_t>& rows)
{
    const LONG nChunks = taps.nChunks;
    const size_t nPerGroup = static_cast<size_t>(nChunks) * 2;
    const size_t nGroups = taps.nGroups;
    constexpr size_t nPlaces = bGathered ? 4 : 1;
    for (size_t i = 0; i < nGroups; i++)
    {
        for (size_t nSide = 0; nSide < 2; nSide += Lanes::nLanes)
        {
            const size_t nFirst = i * nPerGroup;
            const PairSums sums =
                SumWindows<false, bGathered>(rows.arrSrc[0], rows.arrSrc[1], taps.pWindows + nFirst,
                                             taps.pPlaces + nFirst * 2 * nPlaces, nSide, nChunks);
            const size_t nAt = i * static_cast<size_t>(nResizeGroupOutputs) + nSide * 8;
            Lanes::StoreInTurn(rows.arrDst[0] + nAt, sums.arrRow[0][0], sums.arrRow[0][1]);
            Lanes::StoreInTurn(rows.arrDst[1] + nAt, sums.arrRow[1][0], sums.arrRow[1][1]);
        }
    }
}

void Sum1(const ResizeRowTaps& taps, const ResizeRowPair<int32_t>& rows) noexcept
{
    switch (taps.eWindows)
    {
    case eResizeWindows::None:
    case eResizeWindows::Halved: // not with these weights
        ResizeKernels::scalar.arrSum[0](taps, rows);
        break;
    case eResizeWindows::Whole:
        SumRows1<false>(taps, rows);
        break;
    case eResizeWindows::Gathered:
        SumRows1<true>(taps, rows);
        break;
    }
}

/// Taps of one pixel, of which each channel becomes four bytes: two taps widened to words.
template <int nChannels>
V ShuffleTaps(int nTap)
{
    const int n = nTap * nChannels;
    const int m = n + nChannels;
    const auto at = [](int nByte) { return static_cast<char>(nByte); };
    constexpr bool bFour = nChannels == 4;
    return Lanes::Same(_mm_setr_epi8(at(n), z, at(m), z, at(n + 1), z, at(m + 1), z, at(n + 2), z, at(m + 2),
                                     z, bFour ? at(n + 3) : z, z, bFour ? at(m + 3) : z, z));
}

/// Sums of the channels of one output, a row in each lane.
template <int nChannels, bool bTwoTaps>
inline __attribute__((always_inline)) V SumPixel(const BYTE* p0, const BYTE* p1, const int16_t* pWeights,
                                                 LONG nChunks)
{
    const V shuffle01 = ShuffleTaps<nChannels>(0);
    if constexpr (bTwoTaps)
        return Lanes::Madd(Lanes::Shuffle(Lanes::LoadLanes64(p0, p1), shuffle01), Lanes::SameInt(pWeights));
    const V shuffle23 = ShuffleTaps<nChannels>(2);
    V sum = Lanes::Set32(0);
    for (LONG k = 0; k < nChunks; k++)
    {
        const ptrdiff_t nAt = ptrdiff_t{k} * nResizeChunkTaps * nChannels;
        const int16_t* p = pWeights + ptrdiff_t{k} * nResizeChunkTaps;
        const V source = Lanes::LoadLanes(p0 + nAt, p1 + nAt);
        const V first = Lanes::Madd(Lanes::Shuffle(source, shuffle01), Lanes::SameInt(p));
        const V both =
            Lanes::Add32(first, Lanes::Madd(Lanes::Shuffle(source, shuffle23), Lanes::SameInt(p + 2)));
        sum = k == 0 ? both : Lanes::Add32(sum, both);
    }
    return sum;
}

/// Outputs whose loads end inside the row, all of the first ones.
template <int nChannels, bool bTwoTaps>
ptrdiff_t SafeOutputs(const ResizeRowTaps& taps)
{
    const ptrdiff_t nLastLoad = bTwoTaps ? 0 : ptrdiff_t{taps.nTaps} - nResizeChunkTaps;
    constexpr ptrdiff_t cbLoad = bTwoTaps ? 8 : 16;
    const ptrdiff_t nLimit = static_cast<ptrdiff_t>(taps.cbRow) - cbLoad;
    ptrdiff_t n = taps.nOutputs;
    while (n > 0 && (taps.pStart[n - 1] + nLastLoad) * nChannels > nLimit)
        n--;
    return n;
}

/// Rows of one group of taps.
template <class TTarget, int nChannels, bool bTwoTaps>
void RowPixels(const ResizeRowTaps& taps, const ResizeRowPair<typename TTarget::Sample>& rows)
{
    const ptrdiff_t nSafe = SafeOutputs<nChannels, bTwoTaps>(taps) & ~ptrdiff_t{1};
    const int32_t* pStart = taps.pStart;
    const int16_t* pWeights = taps.pWeights;
    constexpr ptrdiff_t nTaps = bTwoTaps ? 2 : 4;
    const BYTE* pSrc0 = rows.arrSrc[0];
    const BYTE* pSrc1 = rows.arrSrc[1];
    typename TTarget::Sample* pDst0 = rows.arrDst[0];
    typename TTarget::Sample* pDst1 = rows.arrDst[1];
    const auto sum = [=](ptrdiff_t i, const BYTE* p0, const BYTE* p1)
    {
        const ptrdiff_t nAt = ptrdiff_t{pStart[i]} * nChannels;
        return SumPixel<nChannels, bTwoTaps>(p0 + nAt, p1 + nAt, pWeights + i * nTaps, 1);
    };
    const auto scale = [=](ptrdiff_t i, const BYTE* p0, const BYTE* p1, auto* pLow, auto* pHigh)
    {
        V packed = TTarget::Pack(sum(i, p0, p1), sum(i + 1, p0, p1));
        if constexpr (nChannels == 3)
            packed = Lanes::Shuffle(
                packed, Lanes::Same(_mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, z, z, z, z)));
        Lanes::StoreLanes(pLow + i * nChannels, pHigh + i * nChannels, packed);
    };
    for (ptrdiff_t i = 0; i < nSafe; i += 2)
    {
        scale(i, pSrc0, pSrc1, pDst0, pDst1);
        if constexpr (nRowRegisters == 2)
            scale(i, pSrc1, pSrc0, pDst1, pDst0);
    }
    RunPlain<typename TTarget::Sample>(TTarget::Kernels[nChannels - 1], taps, rows, nSafe, taps.nOutputs,
                                       nChannels);
}

template <class TTarget, int nChannels>
void RowsOf(const ResizeRowTaps& taps, const ResizeRowPair<typename TTarget::Sample>& rows) noexcept
{
    if (taps.nTaps == 2)
        RowPixels<TTarget, nChannels, true>(taps, rows);
    else if (taps.nTaps == 4)
        RowPixels<TTarget, nChannels, false>(taps, rows);
    else
        TTarget::Kernels[nChannels - 1](taps, rows);
}

template <int nChannels>
void SumOf(const ResizeRowTaps& taps, const ResizeRowPair<int32_t>& rows) noexcept
{
    ptrdiff_t nSafe = 0;
    if (taps.nTaps % nResizeChunkTaps == 0)
    {
        nSafe = SafeOutputs<nChannels, false>(taps);
        const LONG nChunks = taps.nChunks;
        for (ptrdiff_t i = 0; i < nSafe; i++)
        {
            for (size_t nRow = 0; nRow < 2; nRow += Lanes::nLanes)
            {
                const ptrdiff_t nAt = ptrdiff_t{taps.pStart[i]} * nChannels;
                const V sum = SumPixel<nChannels, false>(rows.arrSrc[nRow] + nAt, rows.arrSrc[1] + nAt,
                                                         taps.pWeights + i * taps.nTaps, nChunks);
                Lanes::StoreLanes(rows.arrDst[nRow] + i * nChannels, rows.arrDst[1] + i * nChannels, sum);
            }
        }
    }
    RunPlain<int32_t>(ResizeKernels::scalar.arrSum[nChannels - 1], taps, rows, nSafe, taps.nOutputs,
                      nChannels);
}

/// Calls store(i, p) for each register of bytes of an output that nothing may be written behind.
template <class TStore>
inline __attribute__((always_inline)) void StoreBytes(BYTE* pDst, size_t nSamples, TStore store)
{
    size_t i = 0;
    for (; i + Lanes::cb <= nSamples; i += Lanes::cb)
        store(i, pDst + i);
    if (i < nSamples)
    {
        // The slack behind the rows may be read.
        BYTE arrLast[Lanes::cb];
        store(i, arrLast);
        std::memcpy(pDst + i, arrLast, nSamples - i);
    }
}

template <int nTaps>
void BlendRows(const int16_t* const* ppRows, const int16_t* pWeights, BYTE* pDst, size_t nSamples)
{
    V arrWeights[nTaps];
    const int16_t* arrRows[nTaps];
    for (int k = 0; k < nTaps; k++)
    {
        arrWeights[k] = Lanes::Set16(pWeights[k]);
        arrRows[k] = ppRows[k];
    }
    const auto sum = [&](size_t nAt)
    {
        V v = Lanes::Set16(1 << (nResizeRowBits - 2));
        for (int k = 0; k < nTaps; k++)
            v = Lanes::Add16(v, Lanes::MulRounded(Lanes::Load(arrRows[k] + nAt), arrWeights[k]));
        return Lanes::Sra16(v, nResizeRowBits - 1);
    };
    StoreBytes(pDst, nSamples,
               [&](size_t i, BYTE* p) { Lanes::Store(p, Lanes::PackBytes(sum(i), sum(i + Lanes::cb / 2))); });
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
        ResizeKernels::scalar.pfnBlend(ppRows, pWeights, nTaps, pDst, nSamples);
    }
}

void Add(uint32_t* pSums, const int32_t* pRow, uint32_t nWeight, bool bFirst, size_t nSamples) noexcept
{
    constexpr size_t nVector = Lanes::cb / sizeof(uint32_t);
    const V weight = Lanes::Set32(static_cast<int>(nWeight));
    size_t i = 0;
    for (; i + nVector <= nSamples; i += nVector)
    {
        V v = Lanes::MulLow32(Lanes::Load(pRow + i), weight);
        if (!bFirst)
            v = Lanes::Add32(v, Lanes::Load(pSums + i));
        Lanes::Store(pSums + i, v);
    }
    ResizeKernels::scalar.pfnAdd(pSums + i, pRow + i, nWeight, bFirst, nSamples - i);
}

void Divide(const uint32_t* pSums, BYTE* pDst, const ResizeDivisor& divisor, size_t nSamples) noexcept
{
    constexpr size_t nVector = Lanes::cb / sizeof(uint32_t);
    const V half = Lanes::Set32(static_cast<int>(divisor.nHalf));
    const V reciprocal = Lanes::Set64(divisor.nReciprocal);
    const __m128i shift = _mm_cvtsi32_si128(divisor.nShift);
    const auto quotients = [&](const uint32_t* p)
    {
        const V n = Lanes::Add32(Lanes::Load(p), half);
        const V even = Lanes::Srl64(Lanes::MulEven(n, reciprocal), shift);
        const V odd = Lanes::Srl64(Lanes::MulEven(Lanes::Srl64(n, 32), reciprocal), shift);
        return Lanes::Or(even, Lanes::Sll64(odd, 32));
    };
    const auto words = [&](const uint32_t* p)
    { return Lanes::PackWords(quotients(p), quotients(p + nVector)); };
    const auto store = [=](size_t i)
    { Lanes::Store(pDst + i, Lanes::PackBytes(words(pSums + i), words(pSums + i + 2 * nVector))); };
    const size_t i = ForRegisters(nSamples, Lanes::cb, store);
    ResizeKernels::scalar.pfnDivide(pSums + i, pDst + i, divisor, nSamples - i);
}

template <LONG nRows>
void AverageRows(const uint16_t* const* ppRows, const int16_t* pWeights, LONG nRowsLeft,
                 const ResizeNarrowDivisor& divisor, BYTE* pDst, size_t nSamples)
{
    constexpr bool bAny = nRows == 0;
    const LONG nCount = bAny ? nRowsLeft : nRows;
    V arrWeights[bAny ? nResizeNarrowRows : nRows];
    const uint16_t* arrRows[bAny ? nResizeNarrowRows : nRows];
    for (LONG k = 0; k < nCount; k++)
    {
        arrWeights[k] = Lanes::Set16(pWeights[k]);
        arrRows[k] = ppRows[k];
    }
    const V half = Lanes::Set16(divisor.nHalf);
    const V reciprocal = Lanes::Set16(divisor.nReciprocal);
    const __m128i shift = _mm_cvtsi32_si128(divisor.nShift);
    const auto mean = [&](size_t nAt)
    {
        V v = half;
        for (LONG k = 0; k < nCount; k++)
            v = Lanes::Add16(v, Lanes::MulLow16(Lanes::Load(arrRows[k] + nAt), arrWeights[k]));
        return Lanes::Srl16(Lanes::MulHigh16(v, reciprocal), shift);
    };
    StoreBytes(pDst, nSamples,
               [&](size_t i, BYTE* p)
               { Lanes::Store(p, Lanes::PackBytes(mean(i), mean(i + Lanes::cb / 2))); });
}

void Average(const uint16_t* const* ppRows, const int16_t* pWeights, LONG nRows,
             const ResizeNarrowDivisor& divisor, BYTE* pDst, size_t nSamples) noexcept
{
    switch (nRows)
    {
    case 2:
        AverageRows<2>(ppRows, pWeights, nRows, divisor, pDst, nSamples);
        break;
    case 3:
        AverageRows<3>(ppRows, pWeights, nRows, divisor, pDst, nSamples);
        break;
    default:
        AverageRows<0>(ppRows, pWeights, nRows, divisor, pDst, nSamples);
    }
}

/// The mean of each four pixels whose channels stand side by side, two of a row in turn.
V MeanOfFour(V upper, V lower)
{
    const V ones = Lanes::Set8(1);
    const V sum = Lanes::Add16(Lanes::MaddBytes(upper, ones), Lanes::MaddBytes(lower, ones));
    return Lanes::Srl16(Lanes::Add16(sum, Lanes::Set16(2)), 2);
}

void Halve1(const BYTE* pUpper, const BYTE* pLower, BYTE* pDst, size_t nOutputs) noexcept
{
    const auto mean = [=](size_t nAt)
    { return MeanOfFour(Lanes::Load(pUpper + nAt), Lanes::Load(pLower + nAt)); };
    const auto store = [=](size_t i)
    { Lanes::Store(pDst + i, Lanes::PackBytes(mean(2 * i), mean(2 * i + Lanes::cb))); };
    const size_t i = ForRegisters(nOutputs, Lanes::cb, store);
    ResizeKernels::scalar.arrHalve[0](pUpper + 2 * i, pLower + 2 * i, pDst + i, nOutputs - i);
}

void Halve4(const BYTE* pUpper, const BYTE* pLower, BYTE* pDst, size_t nOutputs) noexcept
{
    constexpr size_t nVector = Lanes::cb / 4;
    const V pairs = Lanes::Same(_mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15));
    const auto mean = [=](size_t nAt)
    {
        return MeanOfFour(Lanes::Shuffle(Lanes::Load(pUpper + nAt), pairs),
                          Lanes::Shuffle(Lanes::Load(pLower + nAt), pairs));
    };
    const auto store = [=](size_t i)
    { Lanes::Store(pDst + 4 * i, Lanes::PackBytes(mean(8 * i), mean(8 * i + Lanes::cb))); };
    const size_t i = ForRegisters(nOutputs, nVector, store);
    ResizeKernels::scalar.arrHalve[3](pUpper + 8 * i, pLower + 8 * i, pDst + 4 * i, nOutputs - i);
}

/// Lanes take four pixels each, which are 12 bytes of a load of 16.
void Halve3(const BYTE* pUpper, const BYTE* pLower, BYTE* pDst, size_t nOutputs) noexcept
{
    constexpr size_t cbLane = 12;
    constexpr size_t nVector = 4 * Lanes::nLanes; // outputs of two registers
    constexpr size_t cbRead = (2 * Lanes::nLanes - 1) * cbLane + 16;
    const V pairs = Lanes::Same(_mm_setr_epi8(0, 3, 1, 4, 2, 5, 6, 9, 7, 10, 8, 11, z, z, z, z));
    const V close = Lanes::Same(_mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, z, z, z, z));
    const auto load = [=](const BYTE* p)
    { return Lanes::Shuffle(Lanes::LoadLanes(p, p + 2 * cbLane), pairs); };
    const auto mean = [=](size_t nAt) { return MeanOfFour(load(pUpper + nAt), load(pLower + nAt)); };
    size_t i = 0;
    // Reads end inside the source, and stores of 16 bytes for 12 inside the output.
    for (; 6 * i + cbRead <= 6 * nOutputs && 3 * i + cbLane * Lanes::nLanes + 4 <= 3 * nOutputs; i += nVector)
    {
        const V packed = Lanes::PackLanesBytes(mean(6 * i), mean(6 * i + cbLane));
        Lanes::StoreLanes(pDst + 3 * i, pDst + 3 * i + cbLane, Lanes::Shuffle(packed, close));
    }
    ResizeKernels::scalar.arrHalve[2](pUpper + 6 * i, pLower + 6 * i, pDst + 3 * i, nOutputs - i);
}

void Double(const BYTE* pNear, const BYTE* pFar, BYTE* pDst, size_t nPixels) noexcept
{
    const V quarters = Lanes::Same(_mm_set1_epi16(0x0103)); // three of the near byte, one of the far byte
    const V half = Lanes::Set16(8);
    // The rows blended downward, in quarters of a level.
    struct Words
    {
        V low, high;
    };
    const auto down = [=](ptrdiff_t i)
    {
        const V upper = Lanes::Load(pNear + i);
        const V lower = Lanes::Load(pFar + i);
        return Words{Lanes::MaddBytes(Lanes::InterleaveLow(upper, lower), quarters),
                     Lanes::MaddBytes(Lanes::InterleaveHigh(upper, lower), quarters)};
    };
    const auto both = [=](V left, V middle, V right)
    {
        const V three = Lanes::Add16(Lanes::Add16(Lanes::Add16(middle, middle), middle), half);
        const V first = Lanes::Srl16(Lanes::Add16(three, left), 4);
        const V second = Lanes::Srl16(Lanes::Add16(three, right), 4);
        return Lanes::Or(first, Lanes::Sll16(second, 8));
    };
    const auto store = [=](size_t i)
    {
        const auto nAt = static_cast<ptrdiff_t>(i);
        const Words left = down(nAt - 1);
        const Words middle = down(nAt);
        const Words right = down(nAt + 1);
        Lanes::StoreInTurn(pDst + 2 * i, both(left.low, middle.low, right.low),
                           both(left.high, middle.high, right.high));
    };
    const size_t i = ForRegisters(nPixels, Lanes::cb, store);
    ResizeKernels::scalar.pfnDouble(pNear + i, pFar + i, pDst + 2 * i, nPixels - i);
}

void Seconds1(const BYTE* pSrc, BYTE* pDst, size_t nOutputs) noexcept
{
    const auto store = [=](size_t i)
    {
        Lanes::Store(pDst + i, Lanes::PackBytes(Lanes::Srl16(Lanes::Load(pSrc + 2 * i), 8),
                                                Lanes::Srl16(Lanes::Load(pSrc + 2 * i + Lanes::cb), 8)));
    };
    const size_t i = ForRegisters(nOutputs, Lanes::cb, store);
    ResizeKernels::scalar.arrSeconds[0](pSrc + 2 * i, pDst + i, nOutputs - i);
}

void Seconds4(const BYTE* pSrc, BYTE* pDst, size_t nOutputs) noexcept
{
    constexpr size_t nVector = Lanes::cb / 4;
    const auto store = [=](size_t i)
    {
        Lanes::Store(pDst + 4 * i,
                     Lanes::OddDwords(Lanes::Load(pSrc + 8 * i), Lanes::Load(pSrc + 8 * i + Lanes::cb)));
    };
    const size_t i = ForRegisters(nOutputs, nVector, store);
    ResizeKernels::scalar.arrSeconds[3](pSrc + 8 * i, pDst + 4 * i, nOutputs - i);
}

void Seconds3(const BYTE* pSrc, BYTE* pDst, size_t nOutputs) noexcept
{
    ResizeKernels::scalar.arrSeconds[2](pSrc, pDst, nOutputs);
}

void Sharpen(const BYTE* const* ppRows, BYTE* pDst, size_t nSamples, size_t nPixel,
             const ResizeSharpKernel& kernel) noexcept
{
    constexpr size_t nVector = Lanes::cb / 2;
    const auto nSide = static_cast<ptrdiff_t>(nPixel);
    const BYTE* pAbove = ppRows[0];
    const BYTE* p = ppRows[1];
    const BYTE* pBelow = ppRows[2];
    const V corner = Lanes::Set16(kernel.nCorner);
    const V edge = Lanes::Set16(kernel.nEdge);
    const V centre = Lanes::Set16(kernel.nCentre);
    const V half = Lanes::Set16(kernel.divisor.nHalf);
    const V reciprocal = Lanes::Set16(kernel.divisor.nReciprocal);
    const __m128i shift = _mm_cvtsi32_si128(kernel.divisor.nShift);
    const auto four = [](const BYTE* p0, const BYTE* p1, const BYTE* p2, const BYTE* p3)
    {
        return Lanes::Add16(Lanes::Add16(Lanes::Widen(p0), Lanes::Widen(p1)),
                            Lanes::Add16(Lanes::Widen(p2), Lanes::Widen(p3)));
    };
    const auto levels = [=](size_t i)
    {
        const V corners =
            four(pAbove + i - nSide, pAbove + i + nSide, pBelow + i - nSide, pBelow + i + nSide);
        const V edges = four(pAbove + i, p + i - nSide, p + i + nSide, pBelow + i);
        V sum = Lanes::Add16(Lanes::MulLow16(Lanes::Widen(p + i), centre), half);
        sum = Lanes::Add16(sum, Lanes::MulLow16(corners, corner));
        sum = Lanes::Add16(sum, Lanes::MulLow16(edges, edge));
        sum = Lanes::Max16(sum, Lanes::Set16(0));
        return Lanes::Srl16(Lanes::MulHigh16(sum, reciprocal), shift);
    };
    const auto store = [=](size_t i)
    { Lanes::Store(pDst + i, Lanes::PackBytes(levels(i), levels(i + nVector))); };
    const size_t i = ForRegisters(nSamples, Lanes::cb, store);
    const BYTE* arrRest[] = {pAbove + i, p + i, pBelow + i};
    ResizeKernels::scalar.pfnSharpen(arrRest, pDst + i, nSamples - i, nPixel, kernel);
}

template <bool bChromaFirst>
void Split(const BYTE* pSrc, BYTE* pY, BYTE* pFirst, BYTE* pSecond, size_t nPairs) noexcept
{
    constexpr size_t nVector = Lanes::cb / 2;
    const V low = Lanes::Set16(0xFF);
    const auto store = [=](size_t i)
    {
        const V a = Lanes::Load(pSrc + 4 * i);
        const V b = Lanes::Load(pSrc + 4 * i + Lanes::cb);
        const V even = Lanes::PackBytes(Lanes::And(a, low), Lanes::And(b, low));
        const V odd = Lanes::PackBytes(Lanes::Srl16(a, 8), Lanes::Srl16(b, 8));
        const V chroma = bChromaFirst ? even : odd;
        Lanes::Store(pY + 2 * i, bChromaFirst ? odd : even);
        Lanes::StoreHalves(pFirst + i, pSecond + i,
                           Lanes::PackBytes(Lanes::And(chroma, low), Lanes::Srl16(chroma, 8)));
    };
    const size_t i = ForRegisters(nPairs, nVector, store);
    ResizeKernels::scalar.arrSplit[bChromaFirst](pSrc + 4 * i, pY + 2 * i, pFirst + i, pSecond + i,
                                                 nPairs - i);
}

template <bool bChromaFirst>
void Merge(const BYTE* pY, const BYTE* pFirst, const BYTE* pSecond, BYTE* pDst, size_t nPairs) noexcept
{
    constexpr size_t nVector = Lanes::cb / 2;
    const auto store = [=](size_t i)
    {
        const V chroma = Lanes::InterleaveHalves(pFirst + i, pSecond + i);
        const V luma = Lanes::Load(pY + 2 * i);
        const V even = bChromaFirst ? chroma : luma;
        const V odd = bChromaFirst ? luma : chroma;
        Lanes::StoreInTurn(pDst + 4 * i, Lanes::InterleaveLow(even, odd), Lanes::InterleaveHigh(even, odd));
    };
    const size_t i = ForRegisters(nPairs, nVector, store);
    ResizeKernels::scalar.arrMerge[bChromaFirst](pY + 2 * i, pFirst + i, pSecond + i, pDst + 4 * i,
                                                 nPairs - i);
}

/// The table of the includer's processor.
constexpr ResizeKernels kernelsOfLanes = {
    {Row1<ToLevels>, nullptr, RowsOf<ToLevels, 3>, RowsOf<ToLevels, 4>},
    {Sum1, nullptr, SumOf<3>, SumOf<4>},
    {Row1<ToNarrowSums>, nullptr, RowsOf<ToNarrowSums, 3>, RowsOf<ToNarrowSums, 4>},
    {Halve1, nullptr, Halve3, Halve4},
    {Seconds1, nullptr, Seconds3, Seconds4},
    Double,
    Blend,
    Add,
    Divide,
    Average,
    Sharpen,
    {Split<false>, Split<true>},
    {Merge<false>, Merge<true>},
    true};

} // namespace
