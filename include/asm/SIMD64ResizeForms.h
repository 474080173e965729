#pragma once
/// The table of the resizer's vector forms, and the forms of what runs before and after the scaling:
/// sharpening, and packed 4:2:2 to planes and back. Included by the files that are compiled for one processor
/// level each, so everything here is local to its includer.

#include "asm/SIMD64ResizeArea.h"
#include "asm/SIMD64ResizeFilter.h"
#include "asm/SIMD64ResizeTwofold.h"

namespace
{

/// Sums and products wrap nowhere: see ResizeSharpKernel.
template <class V>
void Sharpen(const BYTE* const* ppRows, BYTE* pDst, size_t nSamples, size_t nPixel,
             const ResizeSharpKernel& kernel) noexcept
{
    const auto nSide = static_cast<ptrdiff_t>(nPixel);
    const BYTE* pAbove = ppRows[0];
    const BYTE* p = ppRows[1];
    const BYTE* pBelow = ppRows[2];
    const V corner = V::Set16(kernel.nCorner);
    const V edge = V::Set16(kernel.nEdge);
    const V centre = V::Set16(kernel.nCentre);
    const V half = V::Set16(kernel.divisor.nHalf);
    const V reciprocal = V::Set16(kernel.divisor.nReciprocal);
    const V16 shift = V16::Count(kernel.divisor.nShift);
    const auto four = [](const BYTE* p0, const BYTE* p1, const BYTE* p2, const BYTE* p3)
    { return V::LoadWords(p0).Add16(V::LoadWords(p1)).Add16(V::LoadWords(p2).Add16(V::LoadWords(p3))); };
    const auto levels = [=](size_t i)
    {
        const V corners =
            four(pAbove + i - nSide, pAbove + i + nSide, pBelow + i - nSide, pBelow + i + nSide);
        const V edges = four(pAbove + i, p + i - nSide, p + i + nSide, pBelow + i);
        const V sum = V::LoadWords(p + i)
                          .MulLow16(centre)
                          .Add16(half)
                          .Add16(corners.MulLow16(corner))
                          .Add16(edges.MulLow16(edge))
                          .MaxSigned16(V::Zero());
        return sum.MulHigh16(reciprocal).Right16(shift);
    };
    const auto store = [=](size_t i) { levels(i).Pack16(levels(i + V::cb / 2)).InOrder().Store(pDst + i); };
    const size_t i = ForRegisters(nSamples, V::cb, store);
    const BYTE* arrRest[] = {pAbove + i, p + i, pBelow + i};
    ResizeKernels::scalar.pfnSharpen(arrRest, pDst + i, nSamples - i, nPixel, kernel);
}

template <class V, bool bChromaFirst>
void Split(const BYTE* pSrc, BYTE* pY, BYTE* pFirst, BYTE* pSecond, size_t nPairs) noexcept
{
    const V low = V::Set16(0xFF);
    const auto store = [=](size_t i)
    {
        const V a = V::Load(pSrc + 4 * i);
        const V b = V::Load(pSrc + 4 * i + V::cb);
        const V even = (a & low).Pack16(b & low).InOrder();
        const V odd = a.Right16(8).Pack16(b.Right16(8)).InOrder();
        const V chroma = bChromaFirst ? even : odd;
        (bChromaFirst ? odd : even).Store(pY + 2 * i);
        (chroma & low).Pack16(chroma.Right16(8)).InOrder().StoreHalves(pFirst + i, pSecond + i);
    };
    const size_t i = ForRegisters(nPairs, V::cb / 2, store);
    ResizeKernels::scalar.arrSplit[bChromaFirst](pSrc + 4 * i, pY + 2 * i, pFirst + i, pSecond + i,
                                                 nPairs - i);
}

template <class V, bool bChromaFirst>
void Merge(const BYTE* pY, const BYTE* pFirst, const BYTE* pSecond, BYTE* pDst, size_t nPairs) noexcept
{
    const auto store = [=](size_t i)
    {
        const V chroma = V::LoadInTurn(pFirst + i, pSecond + i);
        const V luma = V::Load(pY + 2 * i);
        const V even = bChromaFirst ? chroma : luma;
        const V odd = bChromaFirst ? luma : chroma;
        V::StoreInTurn(pDst + 4 * i, even.Low8(odd), even.High8(odd));
    };
    const size_t i = ForRegisters(nPairs, V::cb / 2, store);
    ResizeKernels::scalar.arrMerge[bChromaFirst](pY + 2 * i, pFirst + i, pSecond + i, pDst + 4 * i,
                                                 nPairs - i);
}

using Levels = ToLevels<VWide>;
using NarrowSums = ToNarrowSums<VWide>;

constexpr ResizeKernels resizeForms = {
    .arrRows = {FilterRow1<VWide>, nullptr, RowsOf<VWide, Levels, 3>, RowsOf<VWide, Levels, 4>},
    .arrSum = {SumRow1<VWide>, nullptr, SumRow<VWide, 3>, SumRow<VWide, 4>},
    .arrNarrow = {NarrowRow1<VWide>, nullptr, RowsOf<VWide, NarrowSums, 3>, RowsOf<VWide, NarrowSums, 4>},
    .arrHalve = {Halve1<VWide>, nullptr, Halve3<VWide>, Halve4<VWide>},
    .arrSeconds = {Seconds1<VWide>, nullptr, Seconds3, Seconds4<VWide>},
    .pfnDouble = Double<VWide>,
    .pfnBlend = BlendDown<VWide>,
    .pfnAdd = AddRow<VWide>,
    .pfnDivide = DivideRow<VWide>,
    .pfnAverage = Average<VWide>,
    .pfnSharpen = Sharpen<VWide>,
    .arrSplit = {Split<VWide, false>, Split<VWide, true>},
    .arrMerge = {Merge<VWide, false>, Merge<VWide, true>},
    .bWindows = true,
};

} // namespace
