#pragma once
/// The vector form of the fill. Included by the files that are compiled for one processor level each, so
/// everything here is local to its includer.

#include "asm/SIMD64Fill.h"
#include "asm/SIMD64Vectors.h"

namespace
{

template <class V>
void FillRun(BYTE* pDst, size_t cb, const FillPattern& pattern) noexcept
{
    if (cb < 2 * FillPattern::cbPeriod)
    {
        FillKernels::scalar.pfnFill(pDst, cb, pattern);
        return;
    }
    // One store to where it is aligned, and on from there with the pattern turned by as much.
    const auto load = [&pattern](size_t nAt) { return V::Load(pattern.arrBytes + nAt); };
    load(0).Store(pDst);
    const size_t cbHead = V::cb - (reinterpret_cast<UINT_PTR>(pDst) & (V::cb - 1));
    // Three registers, of 48 or 96 bytes in all, are a whole number of 1, 2, 3 and 4 bytes.
    const V v0 = load(cbHead);
    const V v1 = load(cbHead + V::cb);
    const V v2 = load(cbHead + 2 * V::cb);
    size_t i = cbHead;
    for (; i + 6 * V::cb <= cb; i += 6 * V::cb)
    {
        v0.Store(pDst + i);
        v1.Store(pDst + i + V::cb);
        v2.Store(pDst + i + 2 * V::cb);
        v0.Store(pDst + i + 3 * V::cb);
        v1.Store(pDst + i + 4 * V::cb);
        v2.Store(pDst + i + 5 * V::cb);
    }
    // The rest, with a last register that ends where the run ends.
    for (; i + V::cb <= cb; i += V::cb)
        load(i % FillPattern::cbPeriod).Store(pDst + i);
    const size_t nLast = cb - V::cb;
    load(nLast % FillPattern::cbPeriod).Store(pDst + nLast);
}

constexpr FillKernels fillForms = {.pfnFill = FillRun<VWide>};

} // namespace
