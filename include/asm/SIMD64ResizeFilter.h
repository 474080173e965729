#pragma once
/// The resizer's vector forms of linear and cubic interpolation. Included by the files that are compiled for
/// one processor level each, so everything here is local to its includer.
///
///     across: row[i] = sum[i] >> 8, in 1/64 of a level      (see SIMD64ResizeAcross.h)
///     down:   out[i] = (16 + round(row0[i] * weight0) + round(row1[i] * weight1) + ...) >> 5, limited to a
///     byte
///
/// where round rounds to 1/32 of a level, half up.

#include "asm/SIMD64ResizeAcross.h"

namespace
{

/// Sums as levels.
template <class V>
struct ToLevels
{
    using Sample = int16_t;
    static const PFNRESIZEROWS* Plain() { return ResizeKernels::scalar.arrRows; }
    static V Pack(V a, V b)
    {
        constexpr int nShift = nResizeWeightBits - nResizeRowBits;
        return a.RightSigned32(nShift).PackSigned32(b.RightSigned32(nShift));
    }
};

/// Outputs of nResizeHalved weights as levels: those are whole sixteenths, so that no table is needed.
/// \param pSrc first tap of the first output \return outputs that were made: all or none
template <class V>
size_t HalveCubic(const BYTE* pSrc, int16_t* pDst, size_t nOutputs)
{
    constexpr int nSixteenthBits = nResizeRowBits - 4;
    const V inner = V::Set8(16 * nResizeHalvedInner / nResizeWeightOne);
    const V low = V::Set16(0xFF);
    const auto store = [=](size_t i)
    {
        const BYTE* p = pSrc + 2 * i;
        const V first = V::Load(p) & low;
        const V last = V::Load(p + 2).Right16(8);
        const V sum = V::Load(p + 1).MaddBytes(inner).Sub16(first.Add16(last));
        sum.Left16(nSixteenthBits).Store(pDst + i);
    };
    return ForRegisters(nOutputs, V::cb / 2, store);
}

/// Cubic to one half.
template <class V>
void RowHalved(const ResizeRowTaps& taps, const ResizeRowPair<int16_t>& rows)
{
    const PFNRESIZEROWS pfnPlain = ResizeKernels::scalar.arrRows[0];
    const ptrdiff_t nFirst = taps.nHalvedFirst;
    const auto nHalved = static_cast<size_t>(taps.nHalvedEnd - nFirst);
    const int32_t nStart = taps.pStart[nFirst];
    HalveCubic<V>(rows.arrSrc[0] + nStart, rows.arrDst[0] + nFirst, nHalved);
    const auto nMade =
        static_cast<ptrdiff_t>(HalveCubic<V>(rows.arrSrc[1] + nStart, rows.arrDst[1] + nFirst, nHalved));
    RunPlain(pfnPlain, taps, rows, 0, nFirst, 1);
    RunPlain(pfnPlain, taps, rows, nFirst + nMade, taps.nOutputs, 1);
}

template <class V>
void FilterRow1(const ResizeRowTaps& taps, const ResizeRowPair<int16_t>& rows) noexcept
{
    if (taps.eWindows == eResizeWindows::None)
        ResizeKernels::scalar.arrRows[0](taps, rows);
    else if (taps.eWindows == eResizeWindows::Halved)
        RowHalved<V>(taps, rows);
    else
        RowOfWindows<V, ToLevels<V>>(taps, rows);
}

template <class V, int nTaps>
void BlendRows(const int16_t* const* ppRows, const int16_t* pWeights, BYTE* pDst, size_t nSamples)
{
    V arrWeights[nTaps];
    const int16_t* arrRows[nTaps];
    for (int k = 0; k < nTaps; k++)
    {
        arrWeights[k] = V::Set16(pWeights[k]);
        arrRows[k] = ppRows[k];
    }
    const auto level = [&](size_t nAt)
    {
        V sum = V::Set16(1 << (nResizeRowBits - 2));
        for (int k = 0; k < nTaps; k++)
            sum = sum.Add16(V::Load(arrRows[k] + nAt).MulRounded16(arrWeights[k]));
        return sum.RightSigned16(nResizeRowBits - 1);
    };
    StoreBytes<V>(pDst, nSamples,
                  [&](size_t i, BYTE* p) { level(i).Pack16(level(i + V::cb / 2)).InOrder().Store(p); });
}

template <class V>
void BlendDown(const int16_t* const* ppRows, const int16_t* pWeights, LONG nTaps, BYTE* pDst,
               size_t nSamples) noexcept
{
    if (nTaps == 4)
        BlendRows<V, 4>(ppRows, pWeights, pDst, nSamples);
    else if (nTaps == 2)
        BlendRows<V, 2>(ppRows, pWeights, pDst, nSamples);
    else
        ResizeKernels::scalar.pfnBlend(ppRows, pWeights, nTaps, pDst, nSamples);
}

} // namespace
