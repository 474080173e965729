#include "Common/Common.h"

#include "dstl/dshowx/DSTrace.h"

#include <bit>
#include <cstdint>

namespace
{

/// Bits a pixel as sizes and pitches count them.
constexpr DWORD SizeBits(const PixelFormat& format) noexcept
{
    return format.nSizeBits != 0 ? format.nSizeBits : format.nBits;
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
constexpr int64_t RowBytes(const PixelFormat& format, int64_t nRow) noexcept
{
    const RowBlocks& blocks = format.blocks;
    switch (format.eRows)
    {
    case eRR_Samples:
        return nRow;
    case eRR_Blocks:
        return (nRow + blocks.nPixels - 1) / blocks.nPixels *
               (blocks.nPixels / blocks.nGroup * blocks.cbGroup);
    case eRR_Padded:
        break;
    }
    return PackedRowBytes(nRow, SizeBits(format));
}

/// True where a call works on the samples in planes: planar formats, and packed YUV where it is seen as
/// planes.
constexpr bool IsSeenAsPlanes(const PixelFormat& format, bool bPlanarYUV) noexcept
{
    return IsPlanar(format) || (bPlanarYUV && format.eModel == eCM_YUV);
}

} // namespace

bool IsRGBFormat(DWORD fccType) noexcept
{
    return FormatOf(fccType).eModel == eCM_RGB;
}

bool Is10Bit(DWORD fccType) noexcept
{
    const eSampleDepth eDepth = FormatOf(fccType).eDepth;
    DSASSERT_TEXT(eDepth != eSD_NotListed, "Is10Bit(): unknown FOURCC code");
    return eDepth == eSD_10;
}

DWORD GetBitCount(DWORD fccType) noexcept
{
    return SizeBits(FormatOf(fccType));
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

    const PixelFormat& format = FormatOf(_pProps->fccType);
    if (!format.bPixels)
        return false;
    const bool bYUV = format.eModel == eCM_YUV;
    const bool bOddWidth = ((_pProps->nWidth | _pProps->nRowWidth) & 1) != 0;
    if (bYUV && bOddWidth)
        return false;

    if (pbYUVFormat)
        *pbYUVFormat = bYUV;
    if (pbPlanar)
        *pbPlanar = IsPlanar(format);
    if (pdwBitCount)
        *pdwBitCount = format.nBits;
    return true;
}

DWORD GetPicRowBytes(const PicProps* _pProps) noexcept
{
    return _pProps ? static_cast<DWORD>(RowBytes(FormatOf(_pProps->fccType), PicRow(*_pProps))) : 0;
}

DWORD GetPicRowBytes10(const PicProps* _pProps) noexcept
{
    return _pProps ? static_cast<DWORD>(RowBytes(FormatOf(_pProps->fccType), _pProps->nRowWidth)) : 0;
}

uint64_t FrameBytes(const PicProps& pic) noexcept
{
    if (PicRow(pic) < 0)
        return 0;
    const PixelFormat& format = FormatOf(pic.fccType);
    const uint64_t nRows = AbsHeight(pic.nHeight);
    if (!IsPlanar(format))
    {
        // Only r210 of the longest row and the lowest height reaches 2^64.
        const auto cbRow = static_cast<uint64_t>(RowBytes(format, PicRow(pic)));
        return nRows == 0 || cbRow <= UINT64_MAX / nRows ? cbRow * nRows : UINT64_MAX;
    }
    // All planes together, divided first so that the largest descriptor does not wrap.
    const uint64_t nPixels = static_cast<uint64_t>(PicRow(pic)) * nRows;
    return nPixels / 8 * SizeBits(format) + nPixels % 8 * SizeBits(format) / 8;
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
    const PixelFormat& format = FormatOf(_pProps->fccType);
    if (IsPicTooLarge(*_pProps))
        return false;

    arrShift[0] = 0;
    if (pbMirror)
        *pbMirror = format.eModel == eCM_RGB && _pProps->nHeight > 0;
    if (!IsSeenAsPlanes(format, bPlanarYUV))
    {
        arrStep[0] = static_cast<DWORD>(PackedRowBytes(PicRow(*_pProps), format.nBits));
        return true;
    }

    DSASSERT_TEXT(bPlanarYUV || IsPlanar(format), "bPlanarYUV");
    const bool bHasChroma = format.arrParts[1].cbStep != 0;
    DSASSERT_TEXT(bHasChroma, "Invalid Format");
    if (!bHasChroma)
        return false;
    const auto nRow = static_cast<DWORD>(PicRow(*_pProps));
    const DWORD cbLuma = nRow * AbsHeight(_pProps->nHeight);
    const DWORD nFirst = cbLuma;
    const DWORD nSecond = cbLuma + cbLuma / (format.nHorz * format.nVert);
    arrStep[0] = nRow;
    arrStep[1] = arrStep[2] = nRow / format.nHorz;
    arrShift[1] = IsUBeforeV(format) ? nFirst : nSecond;
    arrShift[2] = IsUBeforeV(format) ? nSecond : nFirst;
    return true;
}

bool GetPicOffsets(const PicProps* _pProps, LONG x, LONG y, DWORD arrOffset[3], bool bPlanarYUV) noexcept
{
    if (!_pProps)
        return GetPicFormat(_pProps, nullptr, nullptr, nullptr);

    // Offsets of a whole pitch wrap in 32 bits, hence the unsigned rows; the rest is exact in 64.
    const auto nMemRow = static_cast<DWORD>(y);
    const PixelFormat& format = FormatOf(_pProps->fccType);
    if (Is10Bit(_pProps->fccType))
    {
        const int64_t nColumn = int64_t{x} / format.blocks.nGroup * format.blocks.cbGroup;
        arrOffset[0] = GetPicRowBytes10(_pProps) * nMemRow + static_cast<DWORD>(nColumn);
        arrOffset[1] = arrOffset[2] = 0;
        return true;
    }

    if (!GetPicFormat(_pProps, nullptr, nullptr, nullptr))
        return false;
    const int64_t nRowStart = int64_t{PicRow(*_pProps)} * y;
    arrOffset[1] = arrOffset[2] = 0;
    if (IsSeenAsPlanes(format, bPlanarYUV))
    {
        arrOffset[0] = static_cast<DWORD>(nRowStart + x);
        // Shifts, not divisions: a place left of the picture or above it rounds down.
        const int nAcross = std::countr_zero(format.nHorz);
        const int nDown = std::countr_zero(format.nVert);
        arrOffset[1] = arrOffset[2] = static_cast<DWORD>((nRowStart >> (nAcross + nDown)) + (x >> nAcross));
    }
    else if (format.nBits == 8)
    {
        // Rows of bytes count without the padding that their pitch has: deliberate.
        arrOffset[0] = static_cast<DWORD>(nRowStart + x);
    }
    else
    {
        const auto cbRow = static_cast<DWORD>(PackedRowBytes(PicRow(*_pProps), format.nBits));
        arrOffset[0] = cbRow * nMemRow + static_cast<DWORD>((int64_t{x} * format.nBits) >> 3);
    }
    return true;
}
