#pragma once
/// Row kernels of the format conversions: ITU-R BT.601 with studio range, integer arithmetic on 8-bit
/// samples.
///
/// The scalar forms (SIMD64Convert.cpp) state the arithmetic; the vector forms give the same bytes. A kernel
/// works on one row, or on the two rows that share their chroma. It reads and writes the samples of nPixels
/// columns and nothing beside them, at any alignment; source and destination must not overlap. Where a side
/// is YUV, nPixels is even.

#include "asm/Kernels.h"

#include <cstddef>

/// One row of pixels to one row of pixels.
using PFNCONVERTROW = void (*)(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept;

/// Two rows of pixels to two rows of Y and one of each chroma.
using PFNTOPLANAR420 = void (*)(const BYTE* pSrc0, const BYTE* pSrc1, BYTE* pY0, BYTE* pY1, BYTE* pU,
                                BYTE* pV, size_t nPixels) noexcept;

/// Two rows of Y and one of each chroma to two rows of pixels.
using PFNFROMPLANAR420 = void (*)(const BYTE* pY0, const BYTE* pY1, const BYTE* pSecond, const BYTE* pThird,
                                  BYTE* pDst0, BYTE* pDst1, size_t nPixels) noexcept;

struct ConvertKernels
{
    /// RGB to packed 4:2:2. BGR24ToUYVY and both YUY2 forms round chroma by 0.125, BGR32ToUYVY by 0.5.
    PFNCONVERTROW BGR24ToYUY2;
    PFNCONVERTROW BGR24ToUYVY;
    PFNCONVERTROW BGR32ToYUY2;
    PFNCONVERTROW BGR32ToUYVY;

    /// RGB to RGB, any number of pixels.
    PFNCONVERTROW BGR24ToBGR32; ///< leaves the fourth byte of the destination
    PFNCONVERTROW BGR32ToBGR24;
    PFNCONVERTROW BGR32ToBGRA; ///< sets the fourth byte to 255; may work in place

    /// Packed 4:2:2 among themselves.
    PFNCONVERTROW YUY2ToUYVY; ///< serves both ways
    PFNCONVERTROW YUY2ToYVYU;

    /// Packed 4:2:2 to RGB; UYVYToBGR24 has the constants of the YUY2 forms, UYVYToBGRA its own.
    PFNCONVERTROW YUY2ToBGR24;
    PFNCONVERTROW YUY2ToBGRA;
    PFNCONVERTROW YUY2ToRGB565;
    PFNCONVERTROW YUY2ToRGB555;
    PFNCONVERTROW UYVYToBGR24;
    PFNCONVERTROW UYVYToBGRA;

    /// To planar 4:2:0. From 4:2:2 the second row gives no chroma.
    PFNTOPLANAR420 BGR24ToPlanar420;
    PFNTOPLANAR420 BGR32ToPlanar420;
    PFNTOPLANAR420 YUY2ToPlanar420;
    PFNTOPLANAR420 UYVYToPlanar420;

    /// From planar 4:2:0. The two packed forms write the third plane in the place of U, the second in that of
    /// V; the RGB forms take U as the second and V as the third.
    PFNFROMPLANAR420 Planar420ToYUY2;
    PFNFROMPLANAR420 Planar420ToUYVY;
    PFNFROMPLANAR420 Planar420ToBGR24;
    PFNFROMPLANAR420 Planar420ToBGRA;
    PFNFROMPLANAR420 Planar420ToRGB565;
    PFNFROMPLANAR420 Planar420ToRGB555;

    static const ConvertKernels scalar; ///< states the arithmetic
    static const ConvertKernels sse41;
    static const ConvertKernels avx2;
};
