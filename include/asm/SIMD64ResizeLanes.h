#pragma once
/// Registers of the resizer's vector forms: one lane of 16 bytes, or two that do the same work. Included by
/// the files that are compiled for one kind of processor each, so everything here is local to its includer.
///
/// What is named Lanes takes or gives a place for each lane; what is not is a run of bytes in memory order.

#include "dstl/WinAPI/Platform.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <immintrin.h>

namespace
{

__m128i Load128(const void* p)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

__m128i Load64(const void* p)
{
    return _mm_loadl_epi64(static_cast<const __m128i*>(p));
}

void Store128(void* p, __m128i v)
{
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

int LoadInt(const void* p)
{
    int n;
    std::memcpy(&n, p, sizeof(n));
    return n;
}

/// 16 bytes from one place, or four from each of four places: offsets from pSrc.
template <bool bGathered>
__m128i LoadPlaces(const BYTE* pSrc, const int32_t* pPlaces)
{
    if constexpr (!bGathered)
        return Load128(pSrc + pPlaces[0]);
    __m128i v = _mm_cvtsi32_si128(LoadInt(pSrc + pPlaces[0]));
    v = _mm_insert_epi32(v, LoadInt(pSrc + pPlaces[1]), 1);
    v = _mm_insert_epi32(v, LoadInt(pSrc + pPlaces[2]), 2);
    return _mm_insert_epi32(v, LoadInt(pSrc + pPlaces[3]), 3);
}

#ifndef __AVX2__

struct Lanes
{
    using V = __m128i;
    static constexpr size_t nLanes = 1;
    static constexpr size_t cb = 16;

    static V Load(const void* p) { return Load128(p); }
    static V LoadAligned(const void* p) { return _mm_load_si128(static_cast<const V*>(p)); }
    static void Store(void* p, V v) { Store128(p, v); }
    static V LoadLanes(const BYTE* p, const BYTE*) { return Load128(p); }
    static V LoadLanes64(const BYTE* p, const BYTE*) { return Load64(p); }
    template <bool bGathered, size_t nPlaces>
    static V LoadWindow(const BYTE* pSrc, const int32_t* pPlaces)
    {
        return LoadPlaces<bGathered>(pSrc, pPlaces);
    }
    static void StoreLanes(void* p, void*, V v) { Store128(p, v); }
    static V Same(__m128i v) { return v; }
    static V SameInt(const void* p) { return _mm_shuffle_epi32(_mm_cvtsi32_si128(LoadInt(p)), 0); }

    /// Bytes to words, as many as fit.
    static V Widen(const BYTE* p) { return _mm_cvtepu8_epi16(Load64(p)); }

    static V Set8(int n) { return _mm_set1_epi8(static_cast<char>(n)); }
    static V Set16(int n) { return _mm_set1_epi16(static_cast<short>(n)); }
    static V Set32(int n) { return _mm_set1_epi32(n); }
    static V Set64(int64_t n) { return _mm_set1_epi64x(n); }
    static V And(V a, V b) { return _mm_and_si128(a, b); }
    static V Or(V a, V b) { return _mm_or_si128(a, b); }
    static V Add16(V a, V b) { return _mm_add_epi16(a, b); }
    static V Sub16(V a, V b) { return _mm_sub_epi16(a, b); }
    static V Add32(V a, V b) { return _mm_add_epi32(a, b); }
    static V Max16(V a, V b) { return _mm_max_epi16(a, b); }
    static V Sra16(V v, int n) { return _mm_srai_epi16(v, n); }
    static V Sra32(V v, int n) { return _mm_srai_epi32(v, n); }
    static V Srl16(V v, int n) { return _mm_srli_epi16(v, n); }
    static V Srl16(V v, __m128i n) { return _mm_srl_epi16(v, n); }
    static V Sll16(V v, int n) { return _mm_slli_epi16(v, n); }
    static V Srl64(V v, int n) { return _mm_srli_epi64(v, n); }
    static V Srl64(V v, __m128i n) { return _mm_srl_epi64(v, n); }
    static V Sll64(V v, int n) { return _mm_slli_epi64(v, n); }
    static V Madd(V a, V b) { return _mm_madd_epi16(a, b); }
    static V MaddBytes(V a, V b) { return _mm_maddubs_epi16(a, b); }
    static V MulRounded(V a, V b) { return _mm_mulhrs_epi16(a, b); }
    static V MulLow16(V a, V b) { return _mm_mullo_epi16(a, b); }
    static V MulHigh16(V a, V b) { return _mm_mulhi_epu16(a, b); }
    static V MulLow32(V a, V b) { return _mm_mullo_epi32(a, b); }
    static V MulEven(V a, V b) { return _mm_mul_epu32(a, b); }
    static V Shuffle(V v, V order) { return _mm_shuffle_epi8(v, order); }
    static V PackLanesSigned(V a, V b) { return _mm_packs_epi32(a, b); }
    static V PackLanesUnsigned(V a, V b) { return _mm_packus_epi32(a, b); }
    static V PackLanesBytes(V a, V b) { return _mm_packus_epi16(a, b); }
    static V PackWords(V a, V b) { return _mm_packus_epi32(a, b); }
    static V PackBytes(V a, V b) { return _mm_packus_epi16(a, b); }
    static V InterleaveLow(V a, V b) { return _mm_unpacklo_epi8(a, b); }
    static V InterleaveHigh(V a, V b) { return _mm_unpackhi_epi8(a, b); }
    /// The second of each two dwords.
    static V OddDwords(V a, V b)
    {
        return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), 0xDD));
    }
    /// Two registers whose lanes alternate in memory.
    static void StoreInTurn(void* p, V a, V b)
    {
        Store128(p, a);
        Store128(static_cast<BYTE*>(p) + cb, b);
    }
    /// The two halves of a run.
    static void StoreHalves(void* pFirst, void* pSecond, V v)
    {
        _mm_storel_epi64(static_cast<V*>(pFirst), v);
        _mm_storeh_pi(static_cast<__m64*>(pSecond), _mm_castsi128_ps(v));
    }
    /// Bytes of two half runs in turn, as a run.
    static V InterleaveHalves(const void* pFirst, const void* pSecond)
    {
        return _mm_unpacklo_epi8(Load64(pFirst), Load64(pSecond));
    }
};

#else

struct Lanes
{
    using V = __m256i;
    static constexpr size_t nLanes = 2;
    static constexpr size_t cb = 32;

    static V Load(const void* p) { return _mm256_loadu_si256(static_cast<const V*>(p)); }
    static V LoadAligned(const void* p) { return _mm256_load_si256(static_cast<const V*>(p)); }
    static void Store(void* p, V v) { _mm256_storeu_si256(static_cast<V*>(p), v); }
    static V Join(__m128i low, __m128i high)
    {
        return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
    }
    static V LoadLanes(const BYTE* pLow, const BYTE* pHigh) { return Join(Load128(pLow), Load128(pHigh)); }
    static V LoadLanes64(const BYTE* pLow, const BYTE* pHigh) { return Join(Load64(pLow), Load64(pHigh)); }
    template <bool bGathered, size_t nPlaces>
    static V LoadWindow(const BYTE* pSrc, const int32_t* pPlaces)
    {
        return Join(LoadPlaces<bGathered>(pSrc, pPlaces), LoadPlaces<bGathered>(pSrc, pPlaces + nPlaces));
    }
    static void StoreLanes(void* pLow, void* pHigh, V v)
    {
        Store128(pLow, _mm256_castsi256_si128(v));
        Store128(pHigh, _mm256_extracti128_si256(v, 1));
    }
    static V Same(__m128i v) { return _mm256_broadcastsi128_si256(v); }
    static V SameInt(const void* p) { return _mm256_set1_epi32(LoadInt(p)); }

    static V Widen(const BYTE* p) { return _mm256_cvtepu8_epi16(Load128(p)); }

    static V Set8(int n) { return _mm256_set1_epi8(static_cast<char>(n)); }
    static V Set16(int n) { return _mm256_set1_epi16(static_cast<short>(n)); }
    static V Set32(int n) { return _mm256_set1_epi32(n); }
    static V Set64(int64_t n) { return _mm256_set1_epi64x(n); }
    static V And(V a, V b) { return _mm256_and_si256(a, b); }
    static V Or(V a, V b) { return _mm256_or_si256(a, b); }
    static V Add16(V a, V b) { return _mm256_add_epi16(a, b); }
    static V Sub16(V a, V b) { return _mm256_sub_epi16(a, b); }
    static V Add32(V a, V b) { return _mm256_add_epi32(a, b); }
    static V Max16(V a, V b) { return _mm256_max_epi16(a, b); }
    static V Sra16(V v, int n) { return _mm256_srai_epi16(v, n); }
    static V Sra32(V v, int n) { return _mm256_srai_epi32(v, n); }
    static V Srl16(V v, int n) { return _mm256_srli_epi16(v, n); }
    static V Srl16(V v, __m128i n) { return _mm256_srl_epi16(v, n); }
    static V Sll16(V v, int n) { return _mm256_slli_epi16(v, n); }
    static V Srl64(V v, int n) { return _mm256_srli_epi64(v, n); }
    static V Srl64(V v, __m128i n) { return _mm256_srl_epi64(v, n); }
    static V Sll64(V v, int n) { return _mm256_slli_epi64(v, n); }
    static V Madd(V a, V b) { return _mm256_madd_epi16(a, b); }
    static V MaddBytes(V a, V b) { return _mm256_maddubs_epi16(a, b); }
    static V MulRounded(V a, V b) { return _mm256_mulhrs_epi16(a, b); }
    static V MulLow16(V a, V b) { return _mm256_mullo_epi16(a, b); }
    static V MulHigh16(V a, V b) { return _mm256_mulhi_epu16(a, b); }
    static V MulLow32(V a, V b) { return _mm256_mullo_epi32(a, b); }
    static V MulEven(V a, V b) { return _mm256_mul_epu32(a, b); }
    static V Shuffle(V v, V order) { return _mm256_shuffle_epi8(v, order); }
    static V PackLanesSigned(V a, V b) { return _mm256_packs_epi32(a, b); }
    static V PackLanesUnsigned(V a, V b) { return _mm256_packus_epi32(a, b); }
    static V PackLanesBytes(V a, V b) { return _mm256_packus_epi16(a, b); }
    /// Undoes what packing does to the order: lanes of the first source before those of the second.
    static V InOrder(V v) { return _mm256_permute4x64_epi64(v, 0xD8); }
    static V PackWords(V a, V b) { return InOrder(_mm256_packus_epi32(a, b)); }
    static V PackBytes(V a, V b) { return InOrder(_mm256_packus_epi16(a, b)); }
    static V InterleaveLow(V a, V b) { return _mm256_unpacklo_epi8(a, b); }
    static V InterleaveHigh(V a, V b) { return _mm256_unpackhi_epi8(a, b); }
    static V OddDwords(V a, V b)
    {
        return InOrder(
            _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0xDD)));
    }
    static void StoreInTurn(void* p, V a, V b)
    {
        Store(p, _mm256_permute2x128_si256(a, b, 0x20));
        Store(static_cast<BYTE*>(p) + cb, _mm256_permute2x128_si256(a, b, 0x31));
    }
    static void StoreHalves(void* pFirst, void* pSecond, V v) { StoreLanes(pFirst, pSecond, v); }
    static V InterleaveHalves(const void* pFirst, const void* pSecond)
    {
        const __m128i first = Load128(pFirst);
        const __m128i second = Load128(pSecond);
        return Join(_mm_unpacklo_epi8(first, second), _mm_unpackhi_epi8(first, second));
    }
};

#endif

} // namespace
