#include "Common/Common.h"

#include "dstl/dshowx/DSTrace.h"

#include <cstdint>

namespace
{

/// What Is10Bit says of a format.
enum eTenBit : BYTE
{
    eTB_No,
    eTB_Yes,
    eTB_NotListed ///< asserts
};

/// Where a YUV format keeps its chroma when it is seen as planes.
enum eChroma : BYTE
{
    eCH_None,
    eCH_420_UV,
    eCH_420_VU,
    eCH_422_UV,
    eCH_422_VU
};

/// Everything that the library knows about one format.
struct FormatFacts
{
    DWORD fccType;
    BYTE nBits; ///< a pixel, as sizes and pitches count them
    bool bYUV;
    bool bPlanar; ///< rows of the first plane have one byte a pixel and no padding
    bool bUsable; ///< the pixel functions take it
    eTenBit eTen;
    eChroma eLayout;
};

constexpr FormatFacts arrFormats[] = {
    // code          bits  YUV    planar usable ten bits       chroma
    {FOURCC_RGB8, 8, false, false, true, eTB_No, eCH_None},
    {FOURCC_RGB565, 16, false, false, true, eTB_No, eCH_None},
    {FOURCC_RGB555, 16, false, false, true, eTB_No, eCH_None},
    {FOURCC_RGB24, 24, false, false, true, eTB_No, eCH_None},
    {FOURCC_RGB32, 32, false, false, true, eTB_No, eCH_None},
    {FOURCC_ARGB32, 32, false, false, true, eTB_No, eCH_None},
    {FOURCC_YUY2, 16, true, false, true, eTB_No, eCH_422_UV},
    {FOURCC_UYVY, 16, true, false, true, eTB_No, eCH_422_UV},
    {FOURCC_HDYC, 16, true, false, true, eTB_No, eCH_422_UV},
    {FOURCC_YVYU, 16, true, false, true, eTB_No, eCH_422_VU},
    {FOURCC_I420, 12, true, true, true, eTB_No, eCH_420_UV},
    {FOURCC_YV12, 12, true, true, true, eTB_No, eCH_420_VU},
    {FOURCC_v210, 20, true, false, false, eTB_Yes, eCH_None},
    {FOURCC_r210, 32, false, false, false, eTB_Yes, eCH_None},
    {FOURCC_NV12, 16, true, true, false, eTB_No, eCH_None}, // more bits than its planes need: deliberate
    {FOURCC_Y422, 16, true, true, false, eTB_No, eCH_None},
    {FOURCC_Y444, 24, true, true, false, eTB_No, eCH_None},
    {FOURCC_IYU2, 24, true, false, false, eTB_No, eCH_None},
    {FOURCC_YVU9, 9, true, false, false, eTB_NotListed, eCH_None},
};

constexpr FormatFacts factsUnknown = {0, 0, false, false, false, eTB_NotListed, eCH_None};

constexpr const FormatFacts& FindFacts(DWORD fccType) noexcept
{
    for (const FormatFacts& facts : arrFormats)
    {
        if (facts.fccType == fccType)
            return facts;
    }
    return factsUnknown;
}

constexpr int64_t PadTo4(int64_t cb) noexcept
{
    return (cb + 3) & ~int64_t{3};
}

/// Bytes of a packed row, padded to 4. Nothing here wraps: a row is below 2^31 pixels of at most 32 bits.
constexpr int64_t PackedRowBytes(int64_t nRow, DWORD dwBitCount) noexcept
{
    return PadTo4((nRow * dwBitCount) >> 3);
}

/// Bytes of a row of nRow pixels.
constexpr int64_t RowBytes(const FormatFacts& facts, int64_t nRow) noexcept
{
    switch (facts.fccType)
    {
    case FOURCC_v210: // blocks of 48 pixels, 6 pixels in 16 bytes
        return (nRow + 47) / 48 * 128;
    case FOURCC_r210: // blocks of 64 pixels, one pixel in 4 bytes
        return (nRow + 63) / 64 * 256;
    default:
        return facts.bPlanar ? nRow : PackedRowBytes(nRow, facts.nBits);
    }
}

} // namespace

bool IsRGBFormat(DWORD fccType) noexcept
{
    const FormatFacts& facts = FindFacts(fccType);
    return facts.nBits != 0 && !facts.bYUV;
}

bool Is10Bit(DWORD fccType) noexcept
{
    const eTenBit eTen = FindFacts(fccType).eTen;
    DSASSERT_TEXT(eTen != eTB_NotListed, "Is10Bit(): unknown FOURCC code");
    return eTen == eTB_Yes;
}

DWORD GetBitCount(DWORD fccType) noexcept
{
    return FindFacts(fccType).nBits;
}

bool GetPicFormat(const PicProps* _pProps, bool* pbYUVFormat, bool* pbPlanar, DWORD* pdwBitCount) noexcept
{
    DSASSERT(_pProps != NULL);
    if (!_pProps)
        return false;
    const bool bRowHoldsWidth = _pProps->nRowWidth == 0 || _pProps->nRowWidth >= _pProps->nWidth;
    DSASSERT_TEXT(bRowHoldsWidth, "_pProps->nRowWidth == 0 || _pProps->nRowWidth >= _pProps->nWidth");
    if (!bRowHoldsWidth)
        return false;

    const FormatFacts& facts = FindFacts(_pProps->fccType);
    if (!facts.bUsable)
        return false;
    const bool bOddWidth = ((_pProps->nWidth | _pProps->nRowWidth) & 1) != 0;
    if (facts.bYUV && bOddWidth)
        return false;

    if (pbYUVFormat)
        *pbYUVFormat = facts.bYUV;
    if (pbPlanar)
        *pbPlanar = facts.bPlanar;
    if (pdwBitCount)
        *pdwBitCount = facts.nBits;
    return true;
}

DWORD GetPicRowBytes(const PicProps* _pProps) noexcept
{
    return _pProps ? static_cast<DWORD>(RowBytes(FindFacts(_pProps->fccType), PicRow(*_pProps))) : 0;
}

DWORD GetPicRowBytes10(const PicProps* _pProps) noexcept
{
    return _pProps ? static_cast<DWORD>(RowBytes(FindFacts(_pProps->fccType), _pProps->nRowWidth)) : 0;
}

uint64_t FrameBytes(const PicProps& pic) noexcept
{
    if (PicRow(pic) < 0)
        return 0;
    const FormatFacts& facts = FindFacts(pic.fccType);
    const uint64_t nRows = AbsHeight(pic.nHeight);
    if (!facts.bPlanar)
    {
        // Only r210 of the longest row and the lowest height reaches 2^64.
        const auto cbRow = static_cast<uint64_t>(RowBytes(facts, PicRow(pic)));
        return nRows == 0 || cbRow <= UINT64_MAX / nRows ? cbRow * nRows : UINT64_MAX;
    }
    // All planes together, divided first so that the largest descriptor does not wrap.
    const uint64_t nPixels = static_cast<uint64_t>(PicRow(pic)) * nRows;
    return nPixels / 8 * facts.nBits + nPixels % 8 * facts.nBits / 8;
}

bool FitsSample(const PicProps& pic) noexcept
{
    constexpr uint64_t cbLargest = INT32_MAX; // the length of a sample is a signed 32-bit number
    return PicRow(pic) >= 0 && FrameBytes(pic) <= cbLargest;
}

LONG SampleBytes(const PicProps& pic) noexcept
{
    return FitsSample(pic) ? static_cast<LONG>(FrameBytes(pic)) : 0;
}

DWORD GetPicSize(const PicProps* _pProps) noexcept
{
    return _pProps ? static_cast<DWORD>(FrameBytes(*_pProps)) : 0;
}

bool IsPicTooLarge(const PicProps& pic) noexcept
{
    return FrameBytes(pic) > UINT32_MAX;
}

bool GetPicPlanes(const PicProps* _pProps, DWORD arrShift[3], DWORD arrStep[3], bool* pbMirror,
                  bool bPlanarYUV) noexcept
{
    if (!GetPicFormat(_pProps, nullptr, nullptr, nullptr))
        return false;
    const FormatFacts& facts = FindFacts(_pProps->fccType);
    if (IsPicTooLarge(*_pProps))
        return false;

    const auto nRow = static_cast<DWORD>(PicRow(*_pProps));
    arrShift[0] = 0;
    if (pbMirror)
        *pbMirror = !facts.bYUV && _pProps->nHeight > 0;
    if (!facts.bPlanar && !(facts.bYUV && bPlanarYUV))
    {
        arrStep[0] = static_cast<DWORD>(PackedRowBytes(PicRow(*_pProps), facts.nBits));
        return true;
    }

    arrStep[0] = nRow;
    arrStep[1] = arrStep[2] = nRow >> 1;
    const DWORD cbLuma = nRow * AbsHeight(_pProps->nHeight);
    switch (facts.eLayout)
    {
    case eCH_420_UV:
        arrShift[1] = cbLuma;
        arrShift[2] = cbLuma + cbLuma / 4;
        return true;
    case eCH_420_VU:
        arrShift[1] = cbLuma + cbLuma / 4;
        arrShift[2] = cbLuma;
        return true;
    case eCH_422_UV:
        DSASSERT(bPlanarYUV);
        arrShift[1] = cbLuma;
        arrShift[2] = cbLuma + cbLuma / 2;
        return true;
    case eCH_422_VU:
        DSASSERT(bPlanarYUV);
        arrShift[1] = cbLuma + cbLuma / 2;
        arrShift[2] = cbLuma;
        return true;
    case eCH_None:
        break;
    }
    DSASSERT_TEXT(false, "Invalid Format");
    return false;
}

bool GetPicOffsets(const PicProps* _pProps, LONG x, LONG y, DWORD arrOffset[3], bool bPlanarYUV) noexcept
{
    if (!_pProps)
        return GetPicFormat(_pProps, nullptr, nullptr, nullptr);

    // Offsets of a whole pitch wrap in 32 bits, hence the unsigned rows; the rest is exact in 64.
    const auto nMemRow = static_cast<DWORD>(y);
    if (Is10Bit(_pProps->fccType))
    {
        const int64_t nColumn = _pProps->fccType == FOURCC_v210 ? int64_t{x} / 6 * 16 : int64_t{x} * 4;
        arrOffset[0] = GetPicRowBytes10(_pProps) * nMemRow + static_cast<DWORD>(nColumn);
        arrOffset[1] = arrOffset[2] = 0;
        return true;
    }

    if (!GetPicFormat(_pProps, nullptr, nullptr, nullptr))
        return false;
    const FormatFacts& facts = FindFacts(_pProps->fccType);
    const int64_t nPixel = int64_t{PicRow(*_pProps)} * y + x;
    arrOffset[1] = arrOffset[2] = 0;
    if (facts.bPlanar)
    {
        arrOffset[0] = static_cast<DWORD>(nPixel);
        const int64_t nChromaRow = (int64_t{PicRow(*_pProps)} * y) >> 2;
        arrOffset[1] = arrOffset[2] = static_cast<DWORD>(nChromaRow + (x >> 1));
    }
    else if (facts.bYUV && bPlanarYUV)
    {
        arrOffset[0] = static_cast<DWORD>(nPixel);
        arrOffset[1] = arrOffset[2] = static_cast<DWORD>(nPixel >> 1);
    }
    else if (facts.fccType == FOURCC_RGB8)
        arrOffset[0] = static_cast<DWORD>(nPixel); // without the padding that its pitch has: deliberate
    else
    {
        const auto cbRow = static_cast<DWORD>(PackedRowBytes(PicRow(*_pProps), facts.nBits));
        arrOffset[0] = cbRow * nMemRow + static_cast<DWORD>((int64_t{x} * facts.nBits) >> 3);
    }
    return true;
}
