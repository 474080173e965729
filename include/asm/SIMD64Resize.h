#pragma once
/// Row kernels of the resizer. Each exists as plain C++, which states the arithmetic, and in vector forms
/// that give the same bytes. A row is scaled across into wider samples first, then rows are blended downward.
///
/// Weights of the interpolating filters are whole numbers of 1/16384, those of one output sum up to 16384.
/// Scaled rows hold 1/64 of a level: a cubic filter leaves 0 to 255 by an eighth, so that they fit 16 bits.
/// The exact area average keeps whole sums of pixel fractions and divides once at the end.

#include "asm/Kernels.h"

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

/// Taps that the vector forms work on at a time.
constexpr LONG nResizeChunkTaps = 4;
/// Outputs of one channel that a pair of windows makes.
constexpr LONG nResizeGroupOutputs = 16;

/// What the vector forms for one channel need for four taps of eight outputs. Windows come in pairs: of the
/// 16 outputs of a pair the first window makes 0 to 3 and 8 to 11, the second one 4 to 7 and 12 to 15, so
/// that packing their sums puts all of them in order. Each half takes its four outputs from 16 bytes.
struct alignas(32) ResizeWindow
{
    BYTE arrFirst[32];       ///< shuffle: taps 0 and 1, each byte widened to a word
    BYTE arrSecond[32];      ///< taps 2 and 3
    int16_t arrWeight01[16]; ///< their weights
    int16_t arrWeight23[16];
};

/// How the 16 bytes of half a window are found.
enum class eResizeWindows
{
    None,     ///< no windows: the plain form runs
    Whole,    ///< 16 bytes from one place for each half
    Gathered, ///< four bytes from each of four places, where outputs lie too far apart
    Halved    ///< no windows: cubic to one half, where all outputs but the outermost have the same weights
};

/// How a row is scaled across.
struct ResizeRowTaps
{
    const int32_t* pStart;   ///< first source pixel of each output
    const int16_t* pWeights; ///< nTaps for each output
    LONG nTaps;              ///< pixels from pStart on, all inside the row
    LONG nOutputs;
    size_t cbRow; ///< bytes of the source row that may be read
    /// For one channel: a pair of windows for each nResizeChunkTaps of each nResizeGroupOutputs.
    const ResizeWindow* pWindows;
    const int32_t* pPlaces; ///< byte offsets for each half of a window
    eResizeWindows eWindows;
    size_t nGroups;                ///< of nResizeGroupOutputs
    LONG nChunks;                  ///< of nResizeChunkTaps
    LONG nHalvedFirst, nHalvedEnd; ///< outputs of eResizeWindows::Halved that have nResizeHalved weights
};

/// The weights of cubic interpolation in the middle of two pixels: nResizeHalvedInner for these two and minus
/// nResizeHalvedOuter for their neighbours.
constexpr int16_t nResizeHalvedInner = 9 * nResizeWeightOne / 16;
constexpr int16_t nResizeHalvedOuter = nResizeWeightOne / 16;

/// Two rows that are scaled across with the same weights; both may be the same one.
template <class TSample>
struct ResizeRowPair
{
    const BYTE* arrSrc[2];
    TSample* arrDst[2]; ///< with nResizeRowSlack samples to spare each
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

/// The taps of a row, without windows. For the parameters see ResizeRowTaps.
ResizeRowTaps MakeResizeTaps(const int32_t* pStart, const int16_t* pWeights, LONG nTaps, LONG nOutputs,
                             size_t cbRow) noexcept;

/// Windows of a row of one channel.
size_t ResizeWindowCount(LONG nTaps, LONG nOutputs) noexcept;
/// Places that a window has at most.
constexpr size_t nResizeWindowPlaces = 8;

/// Fills the windows of a row of one channel and names them in the taps; leaves a row alone that is too
/// short. \param pWindows ResizeWindowCount of them \param pPlaces nResizeWindowPlaces for each
void MakeResizeWindows(ResizeRowTaps& taps, ResizeWindow* pWindows, int32_t* pPlaces) noexcept;

/// Two rows across, to 16-bit samples of 1/64 level.
using PFNRESIZEROWS = void (*)(const ResizeRowTaps& taps, const ResizeRowPair<int16_t>& rows) noexcept;
/// Two rows across, four taps at most, to plain sums below 2^16.
using PFNRESIZENARROW = void (*)(const ResizeRowTaps& taps, const ResizeRowPair<uint16_t>& rows) noexcept;
/// Two rows across, to plain sums.
using PFNRESIZESUM = void (*)(const ResizeRowTaps& taps, const ResizeRowPair<int32_t>& rows) noexcept;
/// nTaps rows blended downward into nSamples bytes.
using PFNRESIZEBLEND = void (*)(const int16_t* const* ppRows, const int16_t* pWeights, LONG nTaps, BYTE* pDst,
                                size_t nSamples) noexcept;
/// Adds a row times a weight to the sums, or starts them.
using PFNRESIZEADD = void (*)(uint32_t* pSums, const int32_t* pRow, uint32_t nWeight, bool bFirst,
                              size_t nSamples) noexcept;
/// Sums to bytes.
using PFNRESIZEDIVIDE = void (*)(const uint32_t* pSums, BYTE* pDst, const ResizeDivisor& divisor,
                                 size_t nSamples) noexcept;
/// The average of nRows rows, at most nResizeNarrowRows: Add and Divide for narrow sums.
using PFNRESIZEAVERAGE = void (*)(const uint16_t* const* ppRows, const int16_t* pWeights, LONG nRows,
                                  const ResizeNarrowDivisor& divisor, BYTE* pDst, size_t nSamples) noexcept;
/// Two rows halved both ways: the mean of each four pixels, rounded half up, which is what linear
/// interpolation and the area average come to.
using PFNRESIZEHALVE = void (*)(const BYTE* pUpper, const BYTE* pLower, BYTE* pDst, size_t nOutputs) noexcept;
/// One channel doubled both ways, linear, without the outermost pixels: an output row lies at a quarter of
/// the way from its near to its far source row, and so do its two outputs a pixel, on either side of it.
/// \param pNear, pFar nPixels and one more on both sides \param pDst twice nPixels
using PFNRESIZEDOUBLE = void (*)(const BYTE* pNear, const BYTE* pFar, BYTE* pDst, size_t nPixels) noexcept;
/// The second of each two pixels.
using PFNRESIZESECONDS = void (*)(const BYTE* pSrc, BYTE* pDst, size_t nOutputs) noexcept;
/// A symmetrical kernel of 3 by 3 whose sums of 255 times its absolute values fit 15 bits.
struct ResizeSharpKernel
{
    int16_t nCorner;
    int16_t nEdge;
    int16_t nCentre;
    ResizeNarrowDivisor divisor;
};

/// Convolves a row, negative sums as 0 and quotients limited to 255.
/// \param ppRows the rows above, at and below the output; nPixel samples are read on both sides of each
using PFNRESIZESHARPEN = void (*)(const BYTE* const* ppRows, BYTE* pDst, size_t nSamples, size_t nPixel,
                                  const ResizeSharpKernel& kernel) noexcept;
/// nPairs times four bytes of packed 4:2:2 into planes: Y, and the two kinds of chroma as they come.
using PFNSPLIT422 = void (*)(const BYTE* pSrc, BYTE* pY, BYTE* pFirst, BYTE* pSecond, size_t nPairs) noexcept;
/// Planes into packed 4:2:2.
using PFNMERGE422 = void (*)(const BYTE* pY, const BYTE* pFirst, const BYTE* pSecond, BYTE* pDst,
                             size_t nPairs) noexcept;

/// Kernels by number of channels, less one; two channels have none.
struct ResizeKernels
{
    PFNRESIZEROWS arrRows[4];
    PFNRESIZESUM arrSum[4];
    PFNRESIZENARROW arrNarrow[4];
    PFNRESIZEHALVE arrHalve[4];
    PFNRESIZESECONDS arrSeconds[4];
    PFNRESIZEDOUBLE pfnDouble;
    PFNRESIZEBLEND pfnBlend;
    PFNRESIZEADD pfnAdd;
    PFNRESIZEDIVIDE pfnDivide;
    PFNRESIZEAVERAGE pfnAverage;
    PFNRESIZESHARPEN pfnSharpen;
    PFNSPLIT422 arrSplit[2]; ///< luma first (Y, U, Y, V), and chroma first (U, Y, V, Y)
    PFNMERGE422 arrMerge[2];
    bool bWindows; ///< the forms gain from windows

    static const ResizeKernels scalar; ///< states the arithmetic
    static const ResizeKernels sse41;
    static const ResizeKernels avx2;
};
