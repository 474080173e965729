#pragma once
/// The numbers of the conversions, shared by the scalar and the vector forms.

#include "dstl/WinAPI/Platform.h"

#include <cstdint>

/// Luma from RGB: (nLumaB B + nLumaG G + nLumaR R + nLumaRound) >> 16, which is 0.098, 0.504 and 0.257 with
/// 16.5, so that it rounds to nearest.
inline constexpr int32_t nLumaB = 6423;
inline constexpr int32_t nLumaG = 33030;
inline constexpr int32_t nLumaR = 16843;
inline constexpr int32_t nLumaRound = 1081344;

/// Chroma from sums of B, G, R: 0.439, -0.291, -0.148 and -0.071, -0.368, 0.439.
inline constexpr int32_t nCbB = 28770;
inline constexpr int32_t nCbG = -19071;
inline constexpr int32_t nCbR = -9699;
inline constexpr int32_t nCrB = -4653;
inline constexpr int32_t nCrG = -24117;
inline constexpr int32_t nCrR = 28770;

/// Shift and constants of one RGB to YUV form. Only the low 8 bits of a chroma result count; no clamp.
struct ChromaRounding
{
    int nShift; ///< 16 and one for each halving of the sum
    int32_t nCb;
    int32_t nCr;
};

inline constexpr ChromaRounding chromaYUY2 = {17, 0x1004000, 0x1004000}; ///< 128 + 0.125
inline constexpr ChromaRounding chromaUYVY = {17, 0x1010000, 0x100FFFE}; ///< 128 + 0.5; Cr a hair below
inline constexpr ChromaRounding chroma420 = {18, 0x2008000, 0x2008000};  ///< 128 + 0.125

/// RGB from YUV: each channel is (nY Y + coefficient times U or V + constant) >> 16, saturated to 0 to 255,
/// with Y, U, V as bytes: 1.164 Y + 1.596 V, - 0.391 U - 0.813 V, + 2.017 U.
struct RgbSet
{
    int32_t nY;
    int32_t nRV;
    int32_t nGU;
    int32_t nGV;
    int32_t nBU;
    int32_t nR;
    int32_t nG;
    int32_t nB;
};

/// The same with U and V as distances from 128, the constant being one for all channels.
constexpr RgbSet CentredSet(int32_t nY, int32_t nRV, int32_t nGU, int32_t nGV, int32_t nBU, int32_t nRound)
{
    return {nY, nRV, nGU, nGV, nBU, nRound - 128 * nRV, nRound - 128 * (nGU + nGV), nRound - 128 * nBU};
}

/// From YUY2: truncates.
inline constexpr RgbSet rgbFromYUY2 = {76284, 104595, -25690, -53281, 132186, -14608761, 8887730, -18140365};
/// From planar 4:2:0: rounds to nearest.
inline constexpr RgbSet rgbFrom420 = CentredSet(76284, 104595, -25690, -53281, 132186, -1187776);
/// From UYVY to 32 bits: rounds to nearest, with coefficients of its own.
inline constexpr RgbSet rgbFromUYVY = CentredSet(76282, 104593, -25689, -53279, 132184, -1187744);
