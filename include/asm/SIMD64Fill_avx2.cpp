#include "asm/SIMD64Fill.h"

#include <immintrin.h>

namespace
{

void Fill(BYTE* pDst, size_t cb, const FillPattern& pattern) noexcept
{
    constexpr size_t cbVector = 32;
    if (cb < 2 * FillPattern::cbPeriod)
    {
        FillKernels::scalar.pfnFill(pDst, cb, pattern);
        return;
    }
    // One store to where it is aligned, and on from there with the pattern turned by as much.
    const auto store = [](BYTE* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); };
    const auto load = [&pattern](size_t nAt)
    { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pattern.arrBytes + nAt)); };
    store(pDst, load(0));
    const size_t cbHead = cbVector - (reinterpret_cast<UINT_PTR>(pDst) & (cbVector - 1));
    const __m256i v0 = load(cbHead);
    const __m256i v1 = load(cbHead + 32);
    const __m256i v2 = load(cbHead + 64);
    size_t i = cbHead;
    for (; i + 192 <= cb; i += 192)
    {
        store(pDst + i, v0);
        store(pDst + i + 32, v1);
        store(pDst + i + 64, v2);
        store(pDst + i + 96, v0);
        store(pDst + i + 128, v1);
        store(pDst + i + 160, v2);
    }
    // The rest, with a last vector that ends where the run ends.
    for (; i + cbVector <= cb; i += cbVector)
        store(pDst + i, load(i % FillPattern::cbPeriod));
    const size_t nLast = cb - cbVector;
    store(pDst + nLast, load(nLast % FillPattern::cbPeriod));
}

} // namespace

constinit const FillKernels FillKernels::avx2 = {Fill};
