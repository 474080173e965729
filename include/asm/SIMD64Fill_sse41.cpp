#include "asm/SIMD64Fill.h"

#include <smmintrin.h>

namespace
{

void Fill(BYTE* pDst, size_t cb, const FillPattern& pattern) noexcept
{
    constexpr size_t cbVector = 16;
    if (cb < 2 * FillPattern::cbPeriod)
    {
        FillKernels::scalar.pfnFill(pDst, cb, pattern);
        return;
    }
    // One store to where it is aligned, and on from there with the pattern turned by as much.
    const auto store = [](BYTE* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); };
    const auto load = [&pattern](size_t nAt)
    { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(pattern.arrBytes + nAt)); };
    store(pDst, load(0));
    const size_t cbHead = cbVector - (reinterpret_cast<UINT_PTR>(pDst) & (cbVector - 1));
    const __m128i v0 = load(cbHead);
    const __m128i v1 = load(cbHead + 16);
    const __m128i v2 = load(cbHead + 32);
    // Vectors 48 bytes apart hold the same: 48 is a whole number of 1, 2, 3 and 4 bytes too.
    size_t i = cbHead;
    for (; i + 96 <= cb; i += 96)
    {
        const auto p = reinterpret_cast<__m128i*>(pDst + i);
        _mm_store_si128(p, v0);
        _mm_store_si128(p + 1, v1);
        _mm_store_si128(p + 2, v2);
        _mm_store_si128(p + 3, v0);
        _mm_store_si128(p + 4, v1);
        _mm_store_si128(p + 5, v2);
    }
    // The rest, with a last vector that ends where the run ends.
    for (; i + cbVector <= cb; i += cbVector)
        store(pDst + i, load(i % FillPattern::cbPeriod));
    const size_t nLast = cb - cbVector;
    store(pDst + nLast, load(nLast % FillPattern::cbPeriod));
}

} // namespace

constinit const FillKernels FillKernels::sse41 = {Fill};
