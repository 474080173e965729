#pragma once
/// Registers of 16 and of 32 bytes under one set of names, so that a kernel is written once. Included by the
/// files that are compiled for one processor level each, so everything here is local to its includer.
///
/// A register of 32 bytes is two lanes that do the same work on two blocks of memory. Loads and stores take
/// the distance from one block to the other; left out, the blocks are neighbours. No operation carries bytes
/// from lane to lane, except those that say so.

#include "dstl/WinAPI/Platform.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <immintrin.h>

namespace
{

int LoadInt(const void* p)
{
    int n;
    std::memcpy(&n, p, sizeof(n));
    return n;
}

/// The operations that both registers have: the instruction of each has one name but for its prefix mm.
/// Numbers are the bits of an element; elements are unsigned unless the name says Signed.
///
/// - Madd: products of signed words, neighbours added. MaddBytes: bytes of this times signed bytes of the
///   other, neighbours added. AddNeighbours: sums of neighbouring words, those of this first.
/// - MulRounded16: (product + 0x4000) >> 15. MulEven32: 64-bit products of the even elements.
/// - Quotient32: signed, rounded towards 0; exact where both and the quotient fit a float.
/// - Low and High interleave the lower or upper halves. Pack saturates, this one's elements first.
/// - Evens32 and Odds32 take every second element, this one's first. OddWords takes the odd words of the
///   other. Choose takes the bytes of the other where the mask has ones.
/// - Join<n>: the bytes of this from n on, then those of the next.
// clang-format off
#define QX_VECTOR_OPERATIONS(V, mm)                                                                          \
    V operator&(V o) const { return {v & o.v}; }                                                             \
    V operator|(V o) const { return {v | o.v}; }                                                             \
    V Add16(V o) const { return {mm##_add_epi16(v, o.v)}; }                                                  \
    V AddSigned16(V o) const { return {mm##_adds_epi16(v, o.v)}; }                                           \
    V Add32(V o) const { return {mm##_add_epi32(v, o.v)}; }                                                  \
    V Sub16(V o) const { return {mm##_sub_epi16(v, o.v)}; }                                                  \
    V MaxSigned16(V o) const { return {mm##_max_epi16(v, o.v)}; }                                            \
    V MinSigned32(V o) const { return {mm##_min_epi32(v, o.v)}; }                                            \
    V Equal8(V o) const { return {mm##_cmpeq_epi8(v, o.v)}; }                                                \
    V Choose(V o, V mask) const { return {mm##_blendv_epi8(v, o.v, mask.v)}; }                               \
    V MulLow16(V o) const { return {mm##_mullo_epi16(v, o.v)}; }                                             \
    V MulHigh16(V o) const { return {mm##_mulhi_epu16(v, o.v)}; }                                            \
    V MulRounded16(V o) const { return {mm##_mulhrs_epi16(v, o.v)}; }                                        \
    V MulLow32(V o) const { return {mm##_mullo_epi32(v, o.v)}; }                                             \
    V MulEven32(V o) const { return {mm##_mul_epu32(v, o.v)}; }                                              \
    V Madd(V o) const { return {mm##_madd_epi16(v, o.v)}; }                                                  \
    V MaddBytes(V o) const { return {mm##_maddubs_epi16(v, o.v)}; }                                          \
    V AddNeighbours(V o) const { return {mm##_hadd_epi16(v, o.v)}; }                                         \
    V Quotient32(V o) const                                                                                  \
    {                                                                                                        \
        return {mm##_cvttps_epi32(mm##_div_ps(mm##_cvtepi32_ps(v), mm##_cvtepi32_ps(o.v)))};                 \
    }                                                                                                        \
    V Left16(int n) const { return {mm##_slli_epi16(v, n)}; }                                                \
    V Left32(int n) const { return {mm##_slli_epi32(v, n)}; }                                                \
    V Left64(int n) const { return {mm##_slli_epi64(v, n)}; }                                                \
    V Right16(int n) const { return {mm##_srli_epi16(v, n)}; }                                               \
    V Right16(V16 count) const { return {mm##_srl_epi16(v, count.v)}; }                                      \
    V Right32(int n) const { return {mm##_srli_epi32(v, n)}; }                                               \
    V Right64(int n) const { return {mm##_srli_epi64(v, n)}; }                                               \
    V Right64(V16 count) const { return {mm##_srl_epi64(v, count.v)}; }                                      \
    V RightSigned16(int n) const { return {mm##_srai_epi16(v, n)}; }                                         \
    V RightSigned32(int n) const { return {mm##_srai_epi32(v, n)}; }                                         \
    V Shuffle(V order) const { return {mm##_shuffle_epi8(v, order.v)}; }                                     \
    V Low8(V o) const { return {mm##_unpacklo_epi8(v, o.v)}; }                                               \
    V High8(V o) const { return {mm##_unpackhi_epi8(v, o.v)}; }                                              \
    V Low16(V o) const { return {mm##_unpacklo_epi16(v, o.v)}; }                                             \
    V High16(V o) const { return {mm##_unpackhi_epi16(v, o.v)}; }                                            \
    V Low64(V o) const { return {mm##_unpacklo_epi64(v, o.v)}; }                                             \
    V Pack16(V o) const { return {mm##_packus_epi16(v, o.v)}; }                                              \
    V Pack32(V o) const { return {mm##_packus_epi32(v, o.v)}; }                                              \
    V PackSigned32(V o) const { return {mm##_packs_epi32(v, o.v)}; }                                         \
    V OddWords(V o) const { return {mm##_blend_epi16(v, o.v, 0xAA)}; }                                       \
    V Evens32(V o) const { return Pick32<0x88>(o); }                                                         \
    V Odds32(V o) const { return Pick32<0xDD>(o); }                                                          \
    template <int n>                                                                                         \
    V Join(V oNext) const { return {mm##_alignr_epi8(oNext.v, v, n)}; }                                      \
    static V Set8(int n) { return {mm##_set1_epi8(static_cast<char>(n))}; }                                  \
    static V Set16(int n) { return {mm##_set1_epi16(static_cast<short>(n))}; }                               \
    static V Set32(int n) { return {mm##_set1_epi32(n)}; }                                                   \
    static V Set64(int64_t n) { return {mm##_set1_epi64x(n)}; }                                              \
    static V Zero() { return Set32(0); }                                                                     \
    /* Two words, or four bytes, again and again. */                                                         \
    static V Words(int n0, int n1) { return Set32(static_cast<int>((unsigned(n1) << 16) | (n0 & 0xFFFF))); } \
    static V Bytes(int n0, int n1, int n2, int n3)                                                           \
    {                                                                                                        \
        return Words((n0 & 0xFF) | (n1 & 0xFF) << 8, (n2 & 0xFF) | (n3 & 0xFF) << 8);                        \
    }
// clang-format on

/// One lane. Distances and second places have no meaning here.
struct V16
{
    static constexpr size_t nLanes = 1;
    static constexpr size_t cb = 16;
    __m128i v;

    QX_VECTOR_OPERATIONS(V16, _mm)

    static V16 Load(const void* p, size_t = 16) { return {_mm_loadu_si128(static_cast<const __m128i*>(p))}; }
    static V16 LoadAligned(const void* p) { return {_mm_load_si128(static_cast<const __m128i*>(p))}; }
    /// 8 bytes into the low half of a lane.
    static V16 LoadHalf(const void* p, size_t = 8)
    {
        return {_mm_loadl_epi64(static_cast<const __m128i*>(p))};
    }
    /// 4 bytes into the low quarter of a lane.
    static V16 LoadQuarter(const void* p, size_t = 4) { return {_mm_cvtsi32_si128(LoadInt(p))}; }
    /// 4 bytes from each of four places, given as offsets; the next lane has the next four places.
    static V16 LoadQuarters(const BYTE* p, const int32_t* pPlaces)
    {
        __m128i v = _mm_cvtsi32_si128(LoadInt(p + pPlaces[0]));
        v = _mm_insert_epi32(v, LoadInt(p + pPlaces[1]), 1);
        v = _mm_insert_epi32(v, LoadInt(p + pPlaces[2]), 2);
        return {_mm_insert_epi32(v, LoadInt(p + pPlaces[3]), 3)};
    }
    /// A lane from each of two places.
    static V16 LoadLanes(const void* p, const void*) { return Load(p); }
    static V16 LoadHalfLanes(const void* p, const void*) { return LoadHalf(p); }
    /// As many bytes as make a register of words, in the order of memory.
    static V16 LoadWords(const void* p) { return {_mm_cvtepu8_epi16(LoadHalf(p).v)}; }
    /// The bytes of the low and of the high halves of lanes, as words.
    V16 LowWords() const { return {_mm_cvtepu8_epi16(v)}; }
    V16 HighWords() const { return High8(Zero()); }
    /// A run from each of two places, half as long as the register each, byte by byte in turn.
    static V16 LoadInTurn(const void* p0, const void* p1) { return LoadHalf(p0).Low8(LoadHalf(p1)); }

    void Store(void* p, size_t = 16) const { _mm_storeu_si128(static_cast<__m128i*>(p), v); }
    /// The low and the high halves of lanes.
    void StoreLow(void* p, size_t = 8) const { _mm_storel_epi64(static_cast<__m128i*>(p), v); }
    void StoreHigh(void* p, size_t = 8) const { _mm_storeh_pi(static_cast<__m64*>(p), _mm_castsi128_ps(v)); }
    void StoreLanes(void* p, void*) const { Store(p); }
    /// The halves of the register.
    void StoreHalves(void* pFirst, void* pSecond) const
    {
        StoreLow(pFirst);
        StoreHigh(pSecond);
    }
    /// Two registers, lane by lane in turn.
    static void StoreInTurn(void* p, V16 a, V16 b)
    {
        a.Store(p);
        b.Store(static_cast<BYTE*>(p) + cb);
    }

    /// A shift count that is not a constant.
    static V16 Count(int n) { return {_mm_cvtsi32_si128(n)}; }
    /// The same lane everywhere.
    static V16 Same(V16 lane) { return lane; }
    /// The order of the bytes of a lane: the place of each, or -1 for a zero.
    template <class... T>
    static V16 Order(T... nPlaces)
    {
        return {_mm_setr_epi8(static_cast<char>(nPlaces)...)};
    }
    /// After a Pack of two registers that hold a run: its bytes in the order of memory, across the lanes.
    V16 InOrder() const { return *this; }

private:
    template <int n>
    V16 Pick32(V16 o) const
    {
        return {_mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(v), _mm_castsi128_ps(o.v), n))};
    }
};

#ifdef __AVX2__

/// Two lanes. For what its functions do see V16.
struct V32
{
    static constexpr size_t nLanes = 2;
    static constexpr size_t cb = 32;
    __m256i v;

    QX_VECTOR_OPERATIONS(V32, _mm256)

    V16 Lane0() const { return {_mm256_castsi256_si128(v)}; }
    V16 Lane1() const { return {_mm256_extracti128_si256(v, 1)}; }
    static V32 Lanes(V16 lane0, V16 lane1)
    {
        return {_mm256_inserti128_si256(_mm256_castsi128_si256(lane0.v), lane1.v, 1)};
    }

    static V32 Load(const void* p, size_t nDistance = 16)
    {
        if (nDistance == 16)
            return {_mm256_loadu_si256(static_cast<const __m256i*>(p))};
        return LoadLanes(p, Behind(p, nDistance));
    }
    static V32 LoadAligned(const void* p) { return {_mm256_load_si256(static_cast<const __m256i*>(p))}; }
    static V32 LoadHalf(const void* p, size_t nDistance = 8)
    {
        if (nDistance == 8)
            return {_mm256_permute4x64_epi64(_mm256_castsi128_si256(V16::Load(p).v), 0x50)};
        return LoadHalfLanes(p, Behind(p, nDistance));
    }
    static V32 LoadQuarter(const void* p, size_t nDistance = 4)
    {
        return Lanes(V16::LoadQuarter(p), V16::LoadQuarter(Behind(p, nDistance)));
    }
    static V32 LoadQuarters(const BYTE* p, const int32_t* pPlaces)
    {
        return Lanes(V16::LoadQuarters(p, pPlaces), V16::LoadQuarters(p, pPlaces + 4));
    }
    static V32 LoadLanes(const void* p0, const void* p1) { return Lanes(V16::Load(p0), V16::Load(p1)); }
    static V32 LoadHalfLanes(const void* p0, const void* p1)
    {
        return Lanes(V16::LoadHalf(p0), V16::LoadHalf(p1));
    }
    static V32 LoadWords(const void* p) { return {_mm256_cvtepu8_epi16(V16::Load(p).v)}; }
    V32 LowWords() const { return Low8(Zero()); }
    V32 HighWords() const { return High8(Zero()); }
    static V32 LoadInTurn(const void* p0, const void* p1)
    {
        const V16 first = V16::Load(p0);
        const V16 second = V16::Load(p1);
        return Lanes(first.Low8(second), first.High8(second));
    }

    void Store(void* p, size_t nDistance = 16) const
    {
        if (nDistance == 16)
            _mm256_storeu_si256(static_cast<__m256i*>(p), v);
        else
            StoreLanes(p, static_cast<BYTE*>(p) + nDistance);
    }
    void StoreLow(void* p, size_t nDistance = 8) const
    {
        Lane0().StoreLow(p);
        Lane1().StoreLow(static_cast<BYTE*>(p) + nDistance);
    }
    void StoreHigh(void* p, size_t nDistance = 8) const
    {
        Lane0().StoreHigh(p);
        Lane1().StoreHigh(static_cast<BYTE*>(p) + nDistance);
    }
    void StoreLanes(void* p0, void* p1) const
    {
        Lane0().Store(p0);
        Lane1().Store(p1);
    }
    void StoreHalves(void* pFirst, void* pSecond) const { StoreLanes(pFirst, pSecond); }
    static void StoreInTurn(void* p, V32 a, V32 b)
    {
        V32{_mm256_permute2x128_si256(a.v, b.v, 0x20)}.Store(p);
        V32{_mm256_permute2x128_si256(a.v, b.v, 0x31)}.Store(static_cast<BYTE*>(p) + cb);
    }

    static V32 Same(V16 lane) { return {_mm256_broadcastsi128_si256(lane.v)}; }
    /// Written so that the compiler sees a constant of the whole width.
    template <class... T>
    static V32 Order(T... nPlaces)
    {
        return {_mm256_setr_epi8(static_cast<char>(nPlaces)..., static_cast<char>(nPlaces)...)};
    }
    V32 InOrder() const { return {_mm256_permute4x64_epi64(v, 0xD8)}; }

private:
    static const void* Behind(const void* p, size_t nDistance)
    {
        return static_cast<const BYTE*>(p) + nDistance;
    }
    template <int n>
    V32 Pick32(V32 o) const
    {
        return {_mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(v), _mm256_castsi256_ps(o.v), n))};
    }
};

/// The widest register of the level.
using VWide = V32;
#else
using VWide = V16;
#endif

#undef QX_VECTOR_OPERATIONS

/// The function that takes what is too short for a register: the form for one lane, and after it the scalar
/// one. Every form hands its rest on this way.
template <class V, class TFunction>
TFunction Narrower(TFunction pfnOneLane, TFunction pfnScalar)
{
    return V::nLanes > 1 ? pfnOneLane : pfnScalar;
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

/// Calls store(i, p) for each register of bytes of an output that nothing may be written behind. The sources
/// have slack that store may read.
template <class V, class TStore>
inline __attribute__((always_inline)) void StoreBytes(BYTE* pDst, size_t nSamples, TStore store)
{
    size_t i = 0;
    for (; i + V::cb <= nSamples; i += V::cb)
        store(i, pDst + i);
    if (i < nSamples)
    {
        BYTE arrLast[V::cb];
        store(i, arrLast);
        std::memcpy(pDst + i, arrLast, nSamples - i);
    }
}

} // namespace
