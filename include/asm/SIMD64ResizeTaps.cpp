// What the row kernels of the resizer are prepared with: windows of taps, divisors.
#include "asm/SIMD64Resize.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr LONG nOutputsHalf = 4;
constexpr int32_t cbWindow = 16;
/// Shuffle index that gives a zero byte.
constexpr BYTE nZeroByte = 0x80;

/// Half a window as it is filled.
struct Half
{
    BYTE* arrShuffle[2];    ///< of taps 0 and 1, and of 2 and 3
    int16_t* arrWeights[2]; ///< the same
    int32_t* pPlaces;
};

Half HalfOf(ResizeWindow& window, int32_t* pPlaces, LONG nHalf, LONG nPlaces) noexcept
{
    const LONG nBytes = nHalf * cbWindow;
    const LONG nWords = nBytes / 2;
    return {{window.arrFirst + nBytes, window.arrSecond + nBytes},
            {window.arrWeight01 + nWords, window.arrWeight23 + nWords},
            pPlaces + nHalf * nPlaces};
}

/// Tap k of the half's output i is the given byte of its 16.
void SetTap(const Half& half, LONG i, LONG k, LONG nByte, int16_t nWeight) noexcept
{
    const LONG nWord = i * 2 + (k & 1);
    half.arrShuffle[k / 2][nWord * 2] = static_cast<BYTE>(nByte);
    half.arrWeights[k / 2][nWord] = nWeight;
}

/// The outputs of a half and one group of their taps.
struct HalfTaps
{
    LONG nFirst; ///< output
    LONG nLast;  ///< behind the last output
    LONG nTap;   ///< first tap
    LONG nTaps;  ///< four at most
};

/// \return false when the four outputs lie too far apart
bool FillWhole(const ResizeRowTaps& taps, const HalfTaps& of, const Half& half) noexcept
{
    const auto nLimit = static_cast<int32_t>(taps.cbRow) - cbWindow;
    const int32_t nPlace = std::min<int32_t>(taps.pStart[of.nFirst] + of.nTap, nLimit);
    half.pPlaces[0] = nPlace;
    for (LONG i = of.nFirst; i < of.nLast; i++)
    {
        const LONG nByte = taps.pStart[i] + of.nTap - nPlace;
        if (nByte + of.nTaps > cbWindow)
            return false;
        const int16_t* pWeights = taps.pWeights + ptrdiff_t{i} * taps.nTaps + of.nTap;
        for (LONG k = 0; k < of.nTaps; k++)
            SetTap(half, i - of.nFirst, k, nByte + k, pWeights[k]);
    }
    return true;
}

void FillGathered(const ResizeRowTaps& taps, const HalfTaps& of, const Half& half) noexcept
{
    const auto nLimit = static_cast<int32_t>(taps.cbRow) - int32_t{nResizeChunkTaps};
    for (LONG i = of.nFirst; i < of.nLast; i++)
    {
        const int32_t nStart = taps.pStart[i] + of.nTap;
        const int32_t nPlace = std::min(nStart, nLimit);
        const LONG nOutput = i - of.nFirst;
        half.pPlaces[nOutput] = nPlace;
        const int16_t* pWeights = taps.pWeights + ptrdiff_t{i} * taps.nTaps + of.nTap;
        for (LONG k = 0; k < of.nTaps; k++)
            SetTap(half, nOutput, k, nOutput * nResizeChunkTaps + nStart - nPlace + k, pWeights[k]);
    }
}

/// All windows of a row in one of the two ways. \return false where that way does not fit
bool FillWindows(const ResizeRowTaps& taps, eResizeWindows eWindows, ResizeWindow* pWindows,
                 int32_t* pPlaces) noexcept
{
    const LONG nPlaces = eWindows == eResizeWindows::Gathered ? 4 : 1;
    const size_t nWindows = ResizeWindowCount(taps.nTaps, taps.nOutputs);
    std::memset(pPlaces, 0, nWindows * 2 * static_cast<size_t>(nPlaces) * sizeof(*pPlaces));
    for (size_t i = 0; i < nWindows; i++)
    {
        ResizeWindow& window = pWindows[i];
        std::memset(window.arrFirst, nZeroByte, sizeof(window.arrFirst));
        std::memset(window.arrSecond, nZeroByte, sizeof(window.arrSecond));
        std::memset(window.arrWeight01, 0, sizeof(window.arrWeight01));
        std::memset(window.arrWeight23, 0, sizeof(window.arrWeight23));
        const auto nPerGroup = static_cast<size_t>(taps.nChunks) * 2;
        const auto nGroup = static_cast<LONG>(i / nPerGroup);
        const auto nInGroup = static_cast<LONG>(i % nPerGroup);
        for (LONG nHalf = 0; nHalf < 2; nHalf++)
        {
            HalfTaps of = {};
            of.nFirst = nGroup * nResizeGroupOutputs + (2 * nHalf + nInGroup % 2) * nOutputsHalf;
            of.nLast = of.nFirst + std::min(nOutputsHalf, taps.nOutputs - of.nFirst);
            of.nTap = nInGroup / 2 * nResizeChunkTaps;
            of.nTaps = std::min<LONG>(taps.nTaps - of.nTap, nResizeChunkTaps);
            if (of.nFirst >= of.nLast)
                continue;
            const Half half = HalfOf(window, pPlaces + i * 2 * static_cast<size_t>(nPlaces), nHalf, nPlaces);
            if (eWindows == eResizeWindows::Gathered)
                FillGathered(taps, of, half);
            else if (!FillWhole(taps, of, half))
                return false;
        }
    }
    return true;
}

/// Finds the outputs that have nResizeHalved weights and lie two pixels apart.
/// \return false where that is not nearly all of them
bool FindHalved(ResizeRowTaps& taps) noexcept
{
    constexpr int16_t arrHalved[nResizeChunkTaps] = {-nResizeHalvedOuter, nResizeHalvedInner,
                                                     nResizeHalvedInner, -nResizeHalvedOuter};
    constexpr LONG nOutermost = 2; // on each side
    if (taps.nTaps != nResizeChunkTaps || taps.nOutputs <= 2 * nOutermost)
        return false;
    const auto isHalved = [&](LONG i) {
        return std::equal(arrHalved, arrHalved + nResizeChunkTaps, taps.pWeights + ptrdiff_t{i} * taps.nTaps);
    };
    LONG nFirst = 0;
    while (nFirst < nOutermost && !isHalved(nFirst))
        nFirst++;
    LONG nEnd = nFirst;
    while (nEnd < taps.nOutputs && isHalved(nEnd) &&
           taps.pStart[nEnd] == taps.pStart[nFirst] + 2 * (nEnd - nFirst))
        nEnd++;
    if (nEnd < taps.nOutputs - nOutermost)
        return false;
    taps.nHalvedFirst = nFirst;
    taps.nHalvedEnd = nEnd;
    return true;
}

} // namespace

ResizeRowTaps MakeResizeTaps(const int32_t* pStart, const int16_t* pWeights, LONG nTaps, LONG nOutputs,
                             size_t cbRow) noexcept
{
    ResizeRowTaps taps = {};
    taps.pStart = pStart;
    taps.pWeights = pWeights;
    taps.nTaps = nTaps;
    taps.nOutputs = nOutputs;
    taps.cbRow = cbRow;
    const auto nGroup = static_cast<size_t>(nResizeGroupOutputs);
    taps.nGroups = (static_cast<size_t>(nOutputs) + nGroup - 1) / nGroup;
    taps.nChunks = (nTaps + nResizeChunkTaps - 1) / nResizeChunkTaps;
    return taps;
}

size_t ResizeWindowCount(LONG nTaps, LONG nOutputs) noexcept
{
    const ResizeRowTaps taps = MakeResizeTaps(nullptr, nullptr, nTaps, nOutputs, 0);
    return taps.nGroups * static_cast<size_t>(taps.nChunks) * 2;
}

void MakeResizeWindows(ResizeRowTaps& taps, ResizeWindow* pWindows, int32_t* pPlaces) noexcept
{
    if (taps.cbRow < static_cast<size_t>(cbWindow))
        return;
    if (FindHalved(taps))
    {
        taps.eWindows = eResizeWindows::Halved;
        return;
    }
    taps.eWindows = eResizeWindows::Whole;
    if (!FillWindows(taps, taps.eWindows, pWindows, pPlaces))
    {
        taps.eWindows = eResizeWindows::Gathered;
        FillWindows(taps, taps.eWindows, pWindows, pPlaces);
    }
    taps.pWindows = pWindows;
    taps.pPlaces = pPlaces;
}

ResizeDivisor MakeResizeDivisor(uint32_t nTotal) noexcept
{
    int nBits = 0;
    while ((1u << nBits) < nTotal)
        nBits++;
    // Rounded up, the reciprocal is too large by less than nTotal / 2^nShift, which no n below 2^31 feels.
    const int nShift = 31 + nBits;
    const uint64_t nOne = uint64_t{1} << nShift;
    return {nTotal, nTotal / 2, static_cast<uint32_t>((nOne + nTotal - 1) / nTotal), nShift};
}

bool MakeResizeNarrowDivisor(uint64_t nTotal, ResizeNarrowDivisor& divisor) noexcept
{
    const uint64_t nLargest = 255 * nTotal + nTotal / 2;
    if (nTotal < 2 || nLargest > UINT16_MAX)
        return false;
    int nShift = 0;
    while ((uint64_t{2} << nShift) < nTotal)
        nShift++;
    const uint64_t nOne = uint64_t{1} << (16 + nShift);
    const uint64_t nReciprocal = (nOne + nTotal - 1) / nTotal;
    // The reciprocal is rounded up; what it is too large by must not reach the next quotient.
    if (nReciprocal > UINT16_MAX || nLargest * (nReciprocal * nTotal - nOne) >= nOne)
        return false;
    divisor = {static_cast<uint16_t>(nTotal / 2), static_cast<uint16_t>(nReciprocal), nShift};
    return true;
}
