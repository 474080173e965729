#pragma once
/// Row kernels of the resizer. Each exists as plain C++, which states the arithmetic, and in vector forms
/// that give the same bytes. A row is scaled across into 16-bit samples first, then rows are blended
/// downward.
///
/// Weights of the interpolating filters are whole numbers of 1/16384, those of one output sum up to 16384.
/// Scaled rows hold 1/64 of a level: a cubic filter leaves 0 to 255 by an eighth, so that they fit 16 bits.
/// The exact area average keeps whole sums of pixel fractions and divides once at the end.

#include "dstl/WinAPI/Platform.h"

#include <cstddef>
#include <cstdint>

/// Bits of an interpolating weight.
constexpr int nResizeWeightBits = 14;
constexpr int nResizeWeightOne = 1 << nResizeWeightBits;
/// Fraction bits of a row that is scaled across.
constexpr int nResizeRowBits = 6;
/// Rows of an average of narrow sums.
constexpr LONG nResizeNarrowRows = 16;
/// Samples that a vector form may write behind the end of a scaled row.
constexpr size_t nResizeRowSlack = 32;

/// Pixels that the vector forms for one channel take from a window of 16 source bytes: four outputs a half.
struct alignas(32) ResizeWindow
{
    BYTE arrFirst[32];       ///< shuffle: taps 0 and 1 of eight outputs, each byte widened to a word
    BYTE arrSecond[32];      ///< taps 2 and 3
    int16_t arrWeight01[16]; ///< their weights
    int16_t arrWeight23[16];
};

/// The weights of four taps of two outputs, repeated for each of four channels: one output a half.
struct alignas(32) ResizePixelWeights
{
    int16_t arrWeight01[16];
    int16_t arrWeight23[16];
};

/// How a row is scaled across. All forms read pStart and pWeights; the rest is optional.
struct ResizeRowTaps
{
    const int32_t* pStart;   ///< first source pixel of each output
    const int16_t* pWeights; ///< nTaps for each output
    LONG nTaps;              ///< pixels from pStart on, all inside the row
    LONG nOutputs;
    size_t cbRow; ///< bytes of the source row that may be read
    /// Windows for one channel: nChunks (four taps each) for each eight outputs, or null where some do not
    /// fit.
    const ResizeWindow* pWindows;
    const int32_t* pWindowBase; ///< two byte offsets for each window
    /// Weights for three and four channels: nChunks for each two outputs, or null.
    const ResizePixelWeights* pPixelWeights;
    LONG nChunks; ///< groups of four taps
};

/// Divides sums by the number of parts that a full pixel has, rounding half up.
struct ResizeDivisor
{
    uint32_t nTotal; ///< at most nResizeMaxTotal
    uint32_t nHalf;
    uint32_t nReciprocal; ///< (n * nReciprocal) >> nShift equals n / nTotal for every n below 2^31
    int nShift;
};

/// The largest total whose sums stay below 2^31.
constexpr uint32_t nResizeMaxTotal = 1u << 23;

/// \param nTotal 1 to nResizeMaxTotal
ResizeDivisor MakeResizeDivisor(uint32_t nTotal) noexcept;

/// The same for sums below 2^16: ((n + nHalf) * nReciprocal >> 16) >> nShift.
struct ResizeNarrowDivisor
{
    uint16_t nHalf;
    uint16_t nReciprocal;
    int nShift;
};

/// \return false where sums of 255 * nTotal do not fit, or the reciprocal is not exact for all of them
bool MakeResizeNarrowDivisor(uint64_t nTotal, ResizeNarrowDivisor& divisor) noexcept;

/// Fills the windows of one channel.
/// \param pWindows, pWindowBase nChunks for each eight outputs begun, two bases each
/// \return false when four outputs lie too far apart for 16 bytes, or the row is too short
bool MakeResizeWindows(const ResizeRowTaps& taps, ResizeWindow* pWindows, int32_t* pWindowBase) noexcept;

/// Repeats the weights for three and four channels.
/// \param pPixelWeights nChunks for each two outputs begun
void MakeResizePixelWeights(const ResizeRowTaps& taps, ResizePixelWeights* pPixelWeights) noexcept;

/// A row across, to 16-bit samples of 1/64 level. pDst has nResizeRowSlack samples to spare.
using PFNRESIZEROW = void (*)(const ResizeRowTaps& taps, const BYTE* pSrc, int16_t* pDst) noexcept;
/// A row across, to plain sums. pDst has nResizeRowSlack samples to spare.
using PFNRESIZESUM = void (*)(const ResizeRowTaps& taps, const BYTE* pSrc, int32_t* pDst) noexcept;
/// nTaps rows blended downward into nSamples bytes.
using PFNRESIZEBLEND = void (*)(const int16_t* const* ppRows, const int16_t* pWeights, LONG nTaps, BYTE* pDst,
                                size_t nSamples) noexcept;
/// Adds a row times a weight to the sums, or starts them.
using PFNRESIZEADD = void (*)(uint32_t* pSums, const int32_t* pRow, uint32_t nWeight, bool bFirst,
                              size_t nSamples) noexcept;
/// Sums to bytes.
using PFNRESIZEDIVIDE = void (*)(const uint32_t* pSums, BYTE* pDst, const ResizeDivisor& divisor,
                                 size_t nSamples) noexcept;

/// A row across, four taps at most, to plain sums below 2^16. pDst has nResizeRowSlack samples to spare.
using PFNRESIZENARROW = void (*)(const ResizeRowTaps& taps, const BYTE* pSrc, uint16_t* pDst) noexcept;
/// The average of nRows rows, at most nResizeNarrowRows: Add and Divide for narrow sums.
using PFNRESIZEAVERAGE = void (*)(const uint16_t* const* ppRows, const uint16_t* pWeights, LONG nRows,
                                  const ResizeNarrowDivisor& divisor, BYTE* pDst, size_t nSamples) noexcept;
/// Two rows halved both ways: the mean of each four pixels, rounded half up, which is what linear
/// interpolation and the area average come to.
using PFNRESIZEHALVE = void (*)(const BYTE* pUpper, const BYTE* pLower, BYTE* pDst, size_t nOutputs) noexcept;
/// nPairs times four bytes of packed 4:2:2 into planes: Y, and the two kinds of chroma as they come.
using PFNSPLIT422 = void (*)(const BYTE* pSrc, BYTE* pY, BYTE* pFirst, BYTE* pSecond, size_t nPairs) noexcept;
/// Planes into packed 4:2:2.
using PFNMERGE422 = void (*)(const BYTE* pY, const BYTE* pFirst, const BYTE* pSecond, BYTE* pDst,
                             size_t nPairs) noexcept;

/// Kernels by number of channels, less one; two channels have none.
struct ResizeKernels
{
    PFNRESIZEROW arrRow[4];
    PFNRESIZESUM arrSum[4];
    PFNRESIZEBLEND pfnBlend;
    PFNRESIZEADD pfnAdd;
    PFNRESIZEDIVIDE pfnDivide;
    PFNRESIZENARROW arrNarrow[4];
    PFNRESIZEAVERAGE pfnAverage;
    PFNRESIZEHALVE arrHalve[4];
    PFNSPLIT422 arrSplit[2]; ///< luma first (Y, U, Y, V), and chroma first (U, Y, V, Y)
    PFNMERGE422 arrMerge[2];
    bool bPrepared; ///< the forms gain from windows and repeated weights
};

/// The kernels of the level that CpuLevel names.
const ResizeKernels& GetResizeKernels() noexcept;

extern const ResizeKernels kernelsResizeScalar;
extern const ResizeKernels kernelsResizeSSE41;
extern const ResizeKernels kernelsResizeAVX2;
