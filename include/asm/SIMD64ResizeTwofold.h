#pragma once
/// The resizer's vector forms for both sides to one half and to twice. Included by the files that are
/// compiled for one processor level each, so everything here is local to its includer.
///
///     halve:   out[i] = (upper[2i] + upper[2i + 1] + lower[2i] + lower[2i + 1] + 2) >> 2
///     double:  out[2i], out[2i + 1] = (3 d[i] + d[i - 1] + 8) >> 4, (3 d[i] + d[i + 1] + 8) >> 4
///              with d[i] = 3 near[i] + far[i]
///     nearest: out[i] = source[2i + 1]                     (to one half only)

#include "asm/SIMD64Resize.h"
#include "asm/SIMD64Vectors.h"

namespace
{

/// The mean of each four pixels whose channels stand side by side, two of a row in turn.
template <class V>
V MeanOfFour(V upper, V lower)
{
    const V ones = V::Set8(1);
    return upper.MaddBytes(ones).Add16(lower.MaddBytes(ones)).Add16(V::Set16(2)).Right16(2);
}

template <class V>
void Halve1(const BYTE* pUpper, const BYTE* pLower, BYTE* pDst, size_t nOutputs) noexcept
{
    const auto mean = [=](size_t nAt) { return MeanOfFour(V::Load(pUpper + nAt), V::Load(pLower + nAt)); };
    const auto store = [=](size_t i) { mean(2 * i).Pack16(mean(2 * i + V::cb)).InOrder().Store(pDst + i); };
    const size_t i = ForRegisters(nOutputs, V::cb, store);
    ResizeKernels::scalar.arrHalve[0](pUpper + 2 * i, pLower + 2 * i, pDst + i, nOutputs - i);
}

/// Lanes take four pixels each, which are 12 bytes of a load of 16.
template <class V>
void Halve3(const BYTE* pUpper, const BYTE* pLower, BYTE* pDst, size_t nOutputs) noexcept
{
    constexpr size_t cbLane = 12;
    constexpr size_t nVector = 4 * V::nLanes; // outputs of two registers
    constexpr size_t cbRead = (2 * V::nLanes - 1) * cbLane + 16;
    const V pairs = V::Order(0, 3, 1, 4, 2, 5, 6, 9, 7, 10, 8, 11, -1, -1, -1, -1);
    const V close = V::Order(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1);
    const auto load = [=](const BYTE* p) { return V::Load(p, 2 * cbLane).Shuffle(pairs); };
    const auto mean = [=](size_t nAt) { return MeanOfFour(load(pUpper + nAt), load(pLower + nAt)); };
    size_t i = 0;
    // Reads end inside the source, and stores of 16 bytes for 12 inside the output.
    for (; 6 * i + cbRead <= 6 * nOutputs && 3 * i + cbLane * V::nLanes + 4 <= 3 * nOutputs; i += nVector)
        mean(6 * i).Pack16(mean(6 * i + cbLane)).Shuffle(close).Store(pDst + 3 * i, cbLane);
    ResizeKernels::scalar.arrHalve[2](pUpper + 6 * i, pLower + 6 * i, pDst + 3 * i, nOutputs - i);
}

template <class V>
void Halve4(const BYTE* pUpper, const BYTE* pLower, BYTE* pDst, size_t nOutputs) noexcept
{
    const V pairs = V::Order(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
    const auto mean = [=](size_t nAt)
    { return MeanOfFour(V::Load(pUpper + nAt).Shuffle(pairs), V::Load(pLower + nAt).Shuffle(pairs)); };
    const auto store = [=](size_t i)
    { mean(8 * i).Pack16(mean(8 * i + V::cb)).InOrder().Store(pDst + 4 * i); };
    const size_t i = ForRegisters(nOutputs, V::cb / 4, store);
    ResizeKernels::scalar.arrHalve[3](pUpper + 8 * i, pLower + 8 * i, pDst + 4 * i, nOutputs - i);
}

/// Rows blended downward, in quarters of a level: words of the low and the high halves of lanes.
template <class V>
struct Quarters
{
    V low;
    V high;
};

template <class V>
void Double(const BYTE* pNear, const BYTE* pFar, BYTE* pDst, size_t nPixels) noexcept
{
    const V three = V::Set16(0x0103); // of the near byte, and one of the far byte
    const V half = V::Set16(8);
    const auto down = [=](ptrdiff_t i)
    {
        const V nearBytes = V::Load(pNear + i);
        const V farBytes = V::Load(pFar + i);
        return Quarters<V>{nearBytes.Low8(farBytes).MaddBytes(three),
                           nearBytes.High8(farBytes).MaddBytes(three)};
    };
    const auto both = [=](V left, V middle, V right)
    {
        const V sum = middle.Add16(middle).Add16(middle).Add16(half);
        return sum.Add16(left).Right16(4) | sum.Add16(right).Right16(4).Left16(8);
    };
    const auto store = [=](size_t i)
    {
        const auto nAt = static_cast<ptrdiff_t>(i);
        const Quarters<V> left = down(nAt - 1);
        const Quarters<V> middle = down(nAt);
        const Quarters<V> right = down(nAt + 1);
        V::StoreInTurn(pDst + 2 * i, both(left.low, middle.low, right.low),
                       both(left.high, middle.high, right.high));
    };
    const size_t i = ForRegisters(nPixels, V::cb, store);
    ResizeKernels::scalar.pfnDouble(pNear + i, pFar + i, pDst + 2 * i, nPixels - i);
}

template <class V>
void Seconds1(const BYTE* pSrc, BYTE* pDst, size_t nOutputs) noexcept
{
    const auto second = [=](size_t nAt) { return V::Load(pSrc + nAt).Right16(8); };
    const auto store = [=](size_t i)
    { second(2 * i).Pack16(second(2 * i + V::cb)).InOrder().Store(pDst + i); };
    const size_t i = ForRegisters(nOutputs, V::cb, store);
    ResizeKernels::scalar.arrSeconds[0](pSrc + 2 * i, pDst + i, nOutputs - i);
}

void Seconds3(const BYTE* pSrc, BYTE* pDst, size_t nOutputs) noexcept
{
    ResizeKernels::scalar.arrSeconds[2](pSrc, pDst, nOutputs);
}

template <class V>
void Seconds4(const BYTE* pSrc, BYTE* pDst, size_t nOutputs) noexcept
{
    const auto store = [=](size_t i)
    { V::Load(pSrc + 8 * i).Odds32(V::Load(pSrc + 8 * i + V::cb)).InOrder().Store(pDst + 4 * i); };
    const size_t i = ForRegisters(nOutputs, V::cb / 4, store);
    ResizeKernels::scalar.arrSeconds[3](pSrc + 8 * i, pDst + 4 * i, nOutputs - i);
}

} // namespace
