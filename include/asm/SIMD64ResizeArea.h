#pragma once
/// The resizer's vector forms of the exact area average. Included by the files that are compiled for one
/// processor level each, so everything here is local to its includer.
///
///     out[i] = (total / 2 + sum0[i] * weight0 + sum1[i] * weight1 + ...) / total
///
/// with the sums of SIMD64ResizeAcross.h. Sums are narrow, of 16 bits, where all of that fits, and otherwise
/// of 32 bits, which are added row by row.

#include "asm/SIMD64ResizeAcross.h"

namespace
{

template <class V>
struct ToNarrowSums
{
    using Sample = uint16_t;
    static const PFNRESIZENARROW* Plain() { return ResizeKernels::scalar.arrNarrow; }
    static V Pack(V a, V b) { return a.Pack32(b); }
};

/// Windows of a kind that only interpolation has do not occur here.
bool HasAreaWindows(const ResizeRowTaps& taps)
{
    return taps.eWindows == eResizeWindows::Whole || taps.eWindows == eResizeWindows::Gathered;
}

template <class V>
void NarrowRow1(const ResizeRowTaps& taps, const ResizeRowPair<uint16_t>& rows) noexcept
{
    if (HasAreaWindows(taps))
        RowOfWindows<V, ToNarrowSums<V>>(taps, rows);
    else
        ResizeKernels::scalar.arrNarrow[0](taps, rows);
}

template <class V, LONG nRows>
void AverageRows(const uint16_t* const* ppRows, const int16_t* pWeights, LONG nRowsLeft,
                 const ResizeNarrowDivisor& divisor, BYTE* pDst, size_t nSamples)
{
    constexpr bool bAny = nRows == 0;
    const LONG nCount = bAny ? nRowsLeft : nRows;
    V arrWeights[bAny ? nResizeNarrowRows : nRows];
    const uint16_t* arrRows[bAny ? nResizeNarrowRows : nRows];
    for (LONG k = 0; k < nCount; k++)
    {
        arrWeights[k] = V::Set16(pWeights[k]);
        arrRows[k] = ppRows[k];
    }
    const V half = V::Set16(divisor.nHalf);
    const V reciprocal = V::Set16(divisor.nReciprocal);
    const V16 shift = V16::Count(divisor.nShift);
    const auto mean = [&](size_t nAt)
    {
        V sum = half;
        for (LONG k = 0; k < nCount; k++)
            sum = sum.Add16(V::Load(arrRows[k] + nAt).MulLow16(arrWeights[k]));
        return sum.MulHigh16(reciprocal).Right16(shift);
    };
    StoreBytes<V>(pDst, nSamples,
                  [&](size_t i, BYTE* p) { mean(i).Pack16(mean(i + V::cb / 2)).InOrder().Store(p); });
}

template <class V>
void Average(const uint16_t* const* ppRows, const int16_t* pWeights, LONG nRows,
             const ResizeNarrowDivisor& divisor, BYTE* pDst, size_t nSamples) noexcept
{
    if (nRows == 2)
        AverageRows<V, 2>(ppRows, pWeights, nRows, divisor, pDst, nSamples);
    else if (nRows == 3)
        AverageRows<V, 3>(ppRows, pWeights, nRows, divisor, pDst, nSamples);
    else
        AverageRows<V, 0>(ppRows, pWeights, nRows, divisor, pDst, nSamples);
}

template <class V, bool bGathered>
void SumRows1(const ResizeRowTaps& taps, const ResizeRowPair<int32_t>& rows)
{
    const LONG nChunks = taps.nChunks;
    const size_t nPerGroup = static_cast<size_t>(nChunks) * 2;
    const size_t nGroups = taps.nGroups;
    for (size_t i = 0; i < nGroups; i++)
    {
        for (size_t nSide = 0; nSide < 2; nSide += V::nLanes)
        {
            const size_t nFirst = i * nPerGroup;
            const PairSums<V> sums = SumWindows<V, false, bGathered>(
                rows.arrSrc[0], rows.arrSrc[1], taps.pWindows + nFirst,
                taps.pPlaces + nFirst * 2 * nHalfPlaces<bGathered>, nSide, nChunks);
            const size_t nAt = i * static_cast<size_t>(nResizeGroupOutputs) + nSide * 8;
            V::StoreInTurn(rows.arrDst[0] + nAt, sums.arrRow[0][0], sums.arrRow[0][1]);
            V::StoreInTurn(rows.arrDst[1] + nAt, sums.arrRow[1][0], sums.arrRow[1][1]);
        }
    }
}

template <class V>
void SumRow1(const ResizeRowTaps& taps, const ResizeRowPair<int32_t>& rows) noexcept
{
    if (!HasAreaWindows(taps))
        ResizeKernels::scalar.arrSum[0](taps, rows);
    else if (taps.eWindows == eResizeWindows::Gathered)
        SumRows1<V, true>(taps, rows);
    else
        SumRows1<V, false>(taps, rows);
}

template <class V, int nChannels>
void SumRow(const ResizeRowTaps& taps, const ResizeRowPair<int32_t>& rows) noexcept
{
    const bool bWholeChunks = taps.nTaps % nResizeChunkTaps == 0;
    const ptrdiff_t nSafe = bWholeChunks ? SafeOutputs<nChannels, false>(taps) : 0;
    const LONG nChunks = taps.nChunks;
    for (ptrdiff_t i = 0; i < nSafe; i++)
    {
        for (size_t nRow = 0; nRow < 2; nRow += V::nLanes)
        {
            const ptrdiff_t nAt = ptrdiff_t{taps.pStart[i]} * nChannels;
            const V sum = SumPixel<V, nChannels, false>(rows.arrSrc[nRow] + nAt, rows.arrSrc[1] + nAt,
                                                        taps.pWeights + i * taps.nTaps, nChunks);
            sum.StoreLanes(rows.arrDst[nRow] + i * nChannels, rows.arrDst[1] + i * nChannels);
        }
    }
    RunPlain<int32_t>(ResizeKernels::scalar.arrSum[nChannels - 1], taps, rows, nSafe, taps.nOutputs,
                      nChannels);
}

template <class V>
void AddRow(uint32_t* pSums, const int32_t* pRow, uint32_t nWeight, bool bFirst, size_t nSamples) noexcept
{
    constexpr size_t nVector = V::cb / sizeof(uint32_t);
    const V weight = V::Set32(static_cast<int>(nWeight));
    size_t i = 0;
    for (; i + nVector <= nSamples; i += nVector)
    {
        const V product = V::Load(pRow + i).MulLow32(weight);
        (bFirst ? product : product.Add32(V::Load(pSums + i))).Store(pSums + i);
    }
    ResizeKernels::scalar.pfnAdd(pSums + i, pRow + i, nWeight, bFirst, nSamples - i);
}

template <class V>
void DivideRow(const uint32_t* pSums, BYTE* pDst, const ResizeDivisor& divisor, size_t nSamples) noexcept
{
    constexpr size_t nVector = V::cb / sizeof(uint32_t);
    const V half = V::Set32(static_cast<int>(divisor.nHalf));
    const V reciprocal = V::Set64(divisor.nReciprocal);
    const V16 shift = V16::Count(divisor.nShift);
    const auto quotients = [&](const uint32_t* p)
    {
        const V n = V::Load(p).Add32(half);
        const V even = n.MulEven32(reciprocal).Right64(shift);
        const V odd = n.Right64(32).MulEven32(reciprocal).Right64(shift);
        return even | odd.Left64(32);
    };
    const auto words = [&](const uint32_t* p)
    { return quotients(p).Pack32(quotients(p + nVector)).InOrder(); };
    const auto store = [=](size_t i)
    { words(pSums + i).Pack16(words(pSums + i + 2 * nVector)).InOrder().Store(pDst + i); };
    const size_t i = ForRegisters(nSamples, V::cb, store);
    ResizeKernels::scalar.pfnDivide(pSums + i, pDst + i, divisor, nSamples - i);
}

} // namespace
