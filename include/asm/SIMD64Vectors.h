#pragma once
/// Registers of 16 and of 32 bytes under one set of names, so that a kernel is written once. Included by the
/// files that are compiled for one kind of processor each, so everything here is local to its includer.
///
/// A wide register is two lanes that do the same work on neighbouring blocks of pixels: all loads and stores
/// name the distance between the blocks, and no instruction carries bytes from lane to lane.

#include "dstl/WinAPI/Platform.h"

#include <cstddef>
#include <immintrin.h>

namespace
{

/// One lane.
struct V16
{
    static constexpr size_t nLanes = 1;
    __m128i v;

    template <size_t>
    static V16 Load(const BYTE* p)
    {
        return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))};
    }
    /// 8 bytes into the low half.
    template <size_t>
    static V16 LoadHalf(const BYTE* p)
    {
        return {_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))};
    }
    template <size_t>
    void Store(BYTE* p) const
    {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
    }
    template <size_t>
    void StoreLow(BYTE* p) const
    {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v);
    }
    template <size_t>
    void StoreHigh(BYTE* p) const
    {
        _mm_storeh_pi(reinterpret_cast<__m64*>(p), _mm_castsi128_ps(v));
    }
    static V16 Number(int n) { return {_mm_set1_epi32(n)}; }
    /// The bytes of a lane. Written so that the compiler sees a constant of the whole width.
    template <class... T>
    static V16 Order(T... nBytes)
    {
        return {_mm_setr_epi8(static_cast<char>(nBytes)...)};
    }

    V16 operator&(V16 o) const { return {_mm_and_si128(v, o.v)}; }
    V16 operator|(V16 o) const { return {_mm_or_si128(v, o.v)}; }
    V16 Add16(V16 o) const { return {_mm_add_epi16(v, o.v)}; }
    V16 Add32(V16 o) const { return {_mm_add_epi32(v, o.v)}; }
    V16 Madd(V16 o) const { return {_mm_madd_epi16(v, o.v)}; }
    /// Unsigned bytes of this times signed bytes of the other, in pairs.
    V16 MaddBytes(V16 o) const { return {_mm_maddubs_epi16(v, o.v)}; }
    V16 Bytes(V16 o) const { return {_mm_shuffle_epi8(v, o.v)}; }
    /// Sums of neighbouring words, those of this first.
    V16 AddNeighbours(V16 o) const { return {_mm_hadd_epi16(v, o.v)}; }
    template <int n>
    V16 Right32() const
    {
        return {_mm_srli_epi32(v, n)};
    }
    template <int n>
    V16 Right16() const
    {
        return {_mm_srli_epi16(v, n)};
    }
    /// Signed.
    template <int n>
    V16 RightSigned16() const
    {
        return {_mm_srai_epi16(v, n)};
    }
    template <int n>
    V16 Left16() const
    {
        return {_mm_slli_epi16(v, n)};
    }
    /// Even words of this, odd ones of the other.
    V16 EvenOddWords(V16 o) const { return {_mm_blend_epi16(v, o.v, 0xAA)}; }
    /// Even, respectively odd, 32-bit words of both, this one's first.
    V16 Evens(V16 o) const
    {
        return {_mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(v), _mm_castsi128_ps(o.v), 0x88))};
    }
    V16 Odds(V16 o) const
    {
        return {_mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(v), _mm_castsi128_ps(o.v), 0xDD))};
    }
    V16 Pack16(V16 o) const { return {_mm_packus_epi16(v, o.v)}; }
    V16 Low8(V16 o) const { return {_mm_unpacklo_epi8(v, o.v)}; }
    V16 High8(V16 o) const { return {_mm_unpackhi_epi8(v, o.v)}; }
    V16 Low16(V16 o) const { return {_mm_unpacklo_epi16(v, o.v)}; }
    V16 High16(V16 o) const { return {_mm_unpackhi_epi16(v, o.v)}; }
    /// The bytes of this from n on, then those of the next.
    template <int n>
    V16 Join(V16 oNext) const
    {
        return {_mm_alignr_epi8(oNext.v, v, n)};
    }
};

#ifdef __AVX2__

/// Two lanes, nStride bytes apart in memory.
struct V32
{
    static constexpr size_t nLanes = 2;
    __m256i v;

    template <size_t nStride>
    static V32 Load(const BYTE* p)
    {
        if constexpr (nStride == 16)
            return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))};
        else
            return {_mm256_inserti128_si256(_mm256_castsi128_si256(V16::Load<0>(p).v),
                                            V16::Load<0>(p + nStride).v, 1)};
    }
    template <size_t nStride>
    static V32 LoadHalf(const BYTE* p)
    {
        if constexpr (nStride == 8)
            return {_mm256_permute4x64_epi64(_mm256_castsi128_si256(V16::Load<0>(p).v), 0x50)};
        else
            return {_mm256_inserti128_si256(_mm256_castsi128_si256(V16::LoadHalf<0>(p).v),
                                            V16::LoadHalf<0>(p + nStride).v, 1)};
    }
    V16 Lane0() const { return {_mm256_castsi256_si128(v)}; }
    V16 Lane1() const { return {_mm256_extracti128_si256(v, 1)}; }
    template <size_t nStride>
    void Store(BYTE* p) const
    {
        if constexpr (nStride == 16)
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
        else
        {
            Lane0().Store<0>(p);
            Lane1().Store<0>(p + nStride);
        }
    }
    template <size_t nStride>
    void StoreLow(BYTE* p) const
    {
        Lane0().StoreLow<0>(p);
        Lane1().StoreLow<0>(p + nStride);
    }
    template <size_t nStride>
    void StoreHigh(BYTE* p) const
    {
        Lane0().StoreHigh<0>(p);
        Lane1().StoreHigh<0>(p + nStride);
    }
    static V32 Number(int n) { return {_mm256_set1_epi32(n)}; }
    template <class... T>
    static V32 Order(T... nBytes)
    {
        return {_mm256_setr_epi8(static_cast<char>(nBytes)..., static_cast<char>(nBytes)...)};
    }

    V32 operator&(V32 o) const { return {_mm256_and_si256(v, o.v)}; }
    V32 operator|(V32 o) const { return {_mm256_or_si256(v, o.v)}; }
    V32 Add16(V32 o) const { return {_mm256_add_epi16(v, o.v)}; }
    V32 Add32(V32 o) const { return {_mm256_add_epi32(v, o.v)}; }
    V32 Madd(V32 o) const { return {_mm256_madd_epi16(v, o.v)}; }
    V32 MaddBytes(V32 o) const { return {_mm256_maddubs_epi16(v, o.v)}; }
    V32 Bytes(V32 o) const { return {_mm256_shuffle_epi8(v, o.v)}; }
    V32 AddNeighbours(V32 o) const { return {_mm256_hadd_epi16(v, o.v)}; }
    template <int n>
    V32 Right32() const
    {
        return {_mm256_srli_epi32(v, n)};
    }
    template <int n>
    V32 Right16() const
    {
        return {_mm256_srli_epi16(v, n)};
    }
    template <int n>
    V32 RightSigned16() const
    {
        return {_mm256_srai_epi16(v, n)};
    }
    template <int n>
    V32 Left16() const
    {
        return {_mm256_slli_epi16(v, n)};
    }
    V32 EvenOddWords(V32 o) const { return {_mm256_blend_epi16(v, o.v, 0xAA)}; }
    V32 Evens(V32 o) const
    {
        return {
            _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(v), _mm256_castsi256_ps(o.v), 0x88))};
    }
    V32 Odds(V32 o) const
    {
        return {
            _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(v), _mm256_castsi256_ps(o.v), 0xDD))};
    }
    V32 Pack16(V32 o) const { return {_mm256_packus_epi16(v, o.v)}; }
    V32 Low8(V32 o) const { return {_mm256_unpacklo_epi8(v, o.v)}; }
    V32 High8(V32 o) const { return {_mm256_unpackhi_epi8(v, o.v)}; }
    V32 Low16(V32 o) const { return {_mm256_unpacklo_epi16(v, o.v)}; }
    V32 High16(V32 o) const { return {_mm256_unpackhi_epi16(v, o.v)}; }
    template <int n>
    V32 Join(V32 oNext) const
    {
        return {_mm256_alignr_epi8(oNext.v, v, n)};
    }
};

#endif

template <class V>
V Words(int nLow, int nHigh)
{
    return V::Number(static_cast<int>((static_cast<unsigned>(nHigh) << 16) | (nLow & 0xFFFF)));
}

/// Four bytes in each 32 bits.
template <class V>
V FourBytes(int n0, int n1, int n2, int n3)
{
    return Words<V>((n0 & 0xFF) | (n1 & 0xFF) << 8, (n2 & 0xFF) | (n3 & 0xFF) << 8);
}

} // namespace
