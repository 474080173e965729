#pragma once
/// The colour spaces that pictures are measured in. Each works on pixels of 4 bytes, writes three bytes of
/// each and hands on the fourth. Source and destination may be the same.

#include "dstl/WinAPI/Platform.h"

#include <cstddef>

class CPerf;

/// B, G, R to H, L, S, in single precision: hue of 360 degrees, lightness and saturation as 0 to 255.
void RGBToHLS(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept;

/// The same in units of a byte, rounded to the nearest, with the first byte as red: the buffer has blue
/// there, so hues come out mirrored. Deliberate.
void RGBToHLSBytes(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept;

/// To Y, U, V of full range, with the first byte as red although the buffer has blue there. U wraps around,
/// V is clamped. All of this is deliberate.
void RGBToYUVBytes(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept;

/// Hands on the pixels as they are.
void RGBToRGB(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept;

using PFNKEYSPACE = void (*)(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept;

/// The counter that the conversion of a measurement is timed under: "[RGB->HLS]" or "[RGB->YUV]", one for the
/// process, made on first use. \param nMode eImgKey \return null for RGB, where nothing is converted
CPerf* KeySpaceCounter(int nMode) noexcept;
