#pragma once
/// The resizer's vector forms of rows that are scaled across by taps, two rows at a time: what the filters
/// and the area average share. Included by the files that are compiled for one processor level each, so
/// everything here is local to its includer.
///
///     sum[i] = weight[i][0] * source[start[i]] + weight[i][1] * source[start[i] + 1] + ...
///
/// Rows of one channel take their outputs from windows: each lane has four of them. Rows of three and four
/// channels give each of the two source rows a lane.

#include "asm/SIMD64Resize.h"
#include "asm/SIMD64Vectors.h"

namespace
{

/// A value that two rows share stays in its register: left alone, the compiler loads it for each.
template <class V>
V Keep(V vector)
{
    asm("" : "+x"(vector.v));
    return vector;
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

// One channel.

/// Sums of a pair of windows, two rows.
template <class V>
struct PairSums
{
    V arrRow[2][2];
};

/// Places of half a window.
template <bool bGathered>
constexpr size_t nHalfPlaces = bGathered ? 4 : 1;

template <class V, bool bGathered>
V LoadWindow(const BYTE* pSrc, const int32_t* pPlaces)
{
    if constexpr (bGathered)
        return V::LoadQuarters(pSrc, pPlaces);
    else
        return V::LoadLanes(pSrc + pPlaces[0], pSrc + pPlaces[V::nLanes - 1]);
}

/// \param nSide first half of the windows that the lanes take
template <class V, bool bTwoTaps, bool bGathered>
inline __attribute__((always_inline)) PairSums<V>
SumWindows(const BYTE* pSrc0, const BYTE* pSrc1, const ResizeWindow* pWindows, const int32_t* pPlaces,
           size_t nSide, LONG nChunks)
{
    PairSums<V> sums;
    for (LONG k = 0; k < nChunks; k++)
    {
        for (size_t nWindow = 0; nWindow < 2; nWindow++)
        {
            const ResizeWindow& window = pWindows[static_cast<size_t>(k) * 2 + nWindow];
            const int32_t* p =
                pPlaces + ((static_cast<size_t>(k) * 2 + nWindow) * 2 + nSide) * nHalfPlaces<bGathered>;
            const V first = Keep(V::LoadAligned(window.arrFirst + 16 * nSide));
            const V weight01 = Keep(V::LoadAligned(window.arrWeight01 + 8 * nSide));
            const V source0 = LoadWindow<V, bGathered>(pSrc0, p);
            const V source1 = LoadWindow<V, bGathered>(pSrc1, p);
            V sum0 = source0.Shuffle(first).Madd(weight01);
            V sum1 = source1.Shuffle(first).Madd(weight01);
            if constexpr (!bTwoTaps)
            {
                const V second = Keep(V::LoadAligned(window.arrSecond + 16 * nSide));
                const V weight23 = Keep(V::LoadAligned(window.arrWeight23 + 8 * nSide));
                sum0 = sum0.Add32(source0.Shuffle(second).Madd(weight23));
                sum1 = sum1.Add32(source1.Shuffle(second).Madd(weight23));
            }
            sums.arrRow[0][nWindow] = k == 0 ? sum0 : sums.arrRow[0][nWindow].Add32(sum0);
            sums.arrRow[1][nWindow] = k == 0 ? sum1 : sums.arrRow[1][nWindow].Add32(sum1);
        }
    }
    return sums;
}

/// Rows of one group of taps, as all interpolating filters have. What the loop reads is copied to locals: as
/// far as the compiler knows, its stores could change taps and rows.
/// \tparam TTarget how sums become samples: Sample, Pack, and the plain kernels
template <class V, class TTarget, bool bTwoTaps, bool bGathered>
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
        for (size_t nSide = 0; nSide < 2; nSide += V::nLanes)
        {
            const PairSums<V> sums = SumWindows<V, bTwoTaps, bGathered>(
                pSrc0, pSrc1, pWindows + 2 * i, pPlaces + i * 4 * nHalfPlaces<bGathered>, nSide, 1);
            const size_t nAt = i * static_cast<size_t>(nResizeGroupOutputs) + nSide * 8;
            TTarget::Pack(sums.arrRow[0][0], sums.arrRow[0][1]).Store(pDst0 + nAt);
            TTarget::Pack(sums.arrRow[1][0], sums.arrRow[1][1]).Store(pDst1 + nAt);
        }
    }
}

/// Rows of windows.
template <class V, class TTarget>
void RowOfWindows(const ResizeRowTaps& taps, const ResizeRowPair<typename TTarget::Sample>& rows)
{
    const bool bTwoTaps = taps.nTaps <= 2;
    if (taps.eWindows == eResizeWindows::Gathered)
        bTwoTaps ? RowWindows<V, TTarget, true, true>(taps, rows)
                 : RowWindows<V, TTarget, false, true>(taps, rows);
    else
        bTwoTaps ? RowWindows<V, TTarget, true, false>(taps, rows)
                 : RowWindows<V, TTarget, false, false>(taps, rows);
}

// Three and four channels.

/// Taps of one pixel, of which each channel becomes four bytes: two taps widened to words.
template <class V, int nChannels>
V ShuffleTaps(int nTap)
{
    const int n = nTap * nChannels;
    const int m = n + nChannels;
    constexpr bool bFour = nChannels == 4;
    return V::Order(n, -1, m, -1, n + 1, -1, m + 1, -1, n + 2, -1, m + 2, -1, bFour ? n + 3 : -1, -1,
                    bFour ? m + 3 : -1, -1);
}

/// Two weights from memory for every pair of taps.
template <class V>
V WeightPair(const int16_t* pWeights)
{
    return V::Set32(LoadInt(pWeights));
}

/// Sums of the channels of one output, a row in each lane.
template <class V, int nChannels, bool bTwoTaps>
inline __attribute__((always_inline)) V SumPixel(const BYTE* p0, const BYTE* p1, const int16_t* pWeights,
                                                 LONG nChunks)
{
    const V shuffle01 = ShuffleTaps<V, nChannels>(0);
    if constexpr (bTwoTaps)
        return V::LoadHalfLanes(p0, p1).Shuffle(shuffle01).Madd(WeightPair<V>(pWeights));
    const V shuffle23 = ShuffleTaps<V, nChannels>(2);
    V sum = V::Zero();
    for (LONG k = 0; k < nChunks; k++)
    {
        const ptrdiff_t nAt = ptrdiff_t{k} * nResizeChunkTaps * nChannels;
        const int16_t* p = pWeights + ptrdiff_t{k} * nResizeChunkTaps;
        const V source = V::LoadLanes(p0 + nAt, p1 + nAt);
        const V first = source.Shuffle(shuffle01).Madd(WeightPair<V>(p));
        const V both = first.Add32(source.Shuffle(shuffle23).Madd(WeightPair<V>(p + 2)));
        sum = k == 0 ? both : sum.Add32(both);
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
template <class V, class TTarget, int nChannels, bool bTwoTaps>
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
        return SumPixel<V, nChannels, bTwoTaps>(p0 + nAt, p1 + nAt, pWeights + i * nTaps, 1);
    };
    const auto scale = [=](ptrdiff_t i, const BYTE* p0, const BYTE* p1, auto* pLow, auto* pHigh)
    {
        V packed = TTarget::Pack(sum(i, p0, p1), sum(i + 1, p0, p1));
        if constexpr (nChannels == 3)
            packed = packed.Shuffle(V::Order(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1));
        packed.StoreLanes(pLow + i * nChannels, pHigh + i * nChannels);
    };
    for (ptrdiff_t i = 0; i < nSafe; i += 2)
    {
        scale(i, pSrc0, pSrc1, pDst0, pDst1);
        if constexpr (V::nLanes == 1)
            scale(i, pSrc1, pSrc0, pDst1, pDst0);
    }
    RunPlain<typename TTarget::Sample>(TTarget::Plain()[nChannels - 1], taps, rows, nSafe, taps.nOutputs,
                                       nChannels);
}

template <class V, class TTarget, int nChannels>
void RowsOf(const ResizeRowTaps& taps, const ResizeRowPair<typename TTarget::Sample>& rows) noexcept
{
    if (taps.nTaps == 2)
        RowPixels<V, TTarget, nChannels, true>(taps, rows);
    else if (taps.nTaps == 4)
        RowPixels<V, TTarget, nChannels, false>(taps, rows);
    else
        TTarget::Plain()[nChannels - 1](taps, rows);
}

} // namespace
