#pragma once
/// Mixes of two rows of bytes, and the alpha arithmetic of 32-bit pixels (B, G, R, A). A destination may be
/// one of the sources, at the same place.

#include "asm/Kernels.h"

#include <cstddef>
#include <cstdint>

/// Weights in 1/256 and centres of the bytes i mod 4.
struct BlendWeights
{
    SHORT arrA[4];
    SHORT arrB[4];
    SHORT arrCentre[4]; ///< 0 to 255: what the weights stretch the values around
};

/// Rows that are mixed by an alpha for each pixel. A straight one weighs the source with the alpha a, a
/// premultiplied one with an opacity of 0 to 255; the destination weighs 255 - a.
enum eMixRow : int
{
    eMR_Luma,       ///< straight, a byte a pixel
    eMR_LumaPre,    ///< around 16
    eMR_Chroma,     ///< straight, a byte for two alphas, which are averaged
    eMR_ChromaPre,  ///< around 128; what leaves the byte wraps
    eMR_Packed,     ///< straight, 2 bytes a pixel
    eMR_PackedPreY, ///< 2 bytes a pixel around 16 and 128; the opacity counts in steps of two
    eMR_PackedPreC, ///< 2 bytes a pixel around 128 and 16; the opacity counts in steps of two
    eMR_24,         ///< straight, 3 bytes a pixel
    eMR_24Pre,
    eMR_32, ///< straight, 4 bytes a pixel
    eMR_32Pre,
    eMR_Count
};

/// \param nSamples pixels, for chroma the bytes of its row
/// \param nOpacity 0 to 255 for premultiplied rows, not looked at otherwise
using PFNMIXROW = void (*)(BYTE* pDst, const BYTE* pSrc, const BYTE* pAlpha, size_t nSamples,
                           int nOpacity) noexcept;

using PFNBLEND = void (*)(BYTE* pDst, const BYTE* pA, const BYTE* pB, size_t cb,
                          const BlendWeights& weights) noexcept;

/// Composes BGRA pixels over BGRA pixels; the result is premultiplied.
using PFNCOMPOSE = void (*)(BYTE* pDst, const BYTE* pSrc, size_t nPixels) noexcept;

/// What the bytes of a pixel are multiplied by, in 1/256: colours by 65280 / alpha, rounded to nearest even
/// and at most 32767, or by 0 without alpha; alpha by 256.
struct UnpremultiplyFactors
{
    uint16_t b, g, r, a;
};

struct UnpremultiplyTable
{
    UnpremultiplyFactors arrFactors[256]; ///< by alpha
};
extern const UnpremultiplyTable unpremultiplyTable;

struct MixKernels
{
    /// (((a - c) x wA + (b - c) x wB) >> 8) + c, clamped to 0 to 255
    PFNBLEND pfnBlend;

    /// The same around 0; in whole groups of 16 bytes each product and their sum are limited to 65535 before
    /// the shift. This shows where a large weight meets a negative one.
    PFNBLEND pfnBlendSaturated;

    PFNMIXROW arrRows[eMR_Count];

    /// x x nOpacity / 255, rounded down
    void (*pfnScale)(BYTE* pDst, size_t cb, int nOpacity) noexcept;

    PFNCOMPOSE pfnComposeStraight; ///< the source is straight, the destination too
    PFNCOMPOSE pfnComposePre;      ///< the source is premultiplied

    /// Colours times 256 over alpha, rounded, at most 255; a pixel of alpha 0 stays.
    void (*pfnStraighten)(BYTE* pDst, size_t nPixels) noexcept;

    /// Colours times alpha / 255, rounded down; alpha stays.
    void (*pfnPremultiply)(BYTE* pDst, size_t nPixels) noexcept;

    /// Colours over alpha, which stays. Whole groups of four pixels go through unpremultiplyTable, so that a
    /// pixel of alpha 0 becomes black; the pixels that are left are straightened as by pfnStraighten.
    void (*pfnUnpremultiply)(BYTE* pDst, const BYTE* pSrc, size_t nPixels) noexcept;

    static const MixKernels scalar; ///< states the arithmetic
    static const MixKernels sse41;
    static const MixKernels avx2;
};

/// The blends by name, with the kernels of the level in force: plain bytes, around 0, whose products are
/// limited to 65535 (pfnBlendSaturated); chroma, around 128; packed rows, around a centre for each of the
/// bytes i mod 4.
void BlendBytes(BYTE* pDst, const BYTE* pA, const BYTE* pB, size_t cb, const SHORT wA[4],
                const SHORT wB[4]) noexcept;
void BlendChroma(BYTE* pDst, const BYTE* pA, const BYTE* pB, size_t cb, const SHORT wA[4],
                 const SHORT wB[4]) noexcept;
void BlendCentred(BYTE* pDst, const BYTE* pA, const BYTE* pB, size_t cb, const SHORT wA[4], const SHORT wB[4],
                  const BYTE c[4]) noexcept;

/// Makes straight pixels premultiplied, in place (pfnPremultiply). \param pbBits first row, rows of nWidth
/// pixels \param cbStep bytes from row to row
void PremultiplyAlpha(BYTE* pbBits, size_t cbStep, DWORD nWidth, DWORD nHeight) noexcept;

/// Makes premultiplied pixels straight (pfnUnpremultiply).
void Unpremultiply(BYTE* pbDst, const BYTE* pbSrc, size_t nPixels) noexcept;
