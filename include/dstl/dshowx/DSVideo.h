#pragma once
/// Video media types: the table of formats, and the ways between a format code with a size, a
/// BITMAPINFOHEADER and a media type with a VIDEOINFOHEADER or VIDEOINFOHEADER2 block.
///
/// In a type the width of rcTarget is the picture's width and biWidth the length of a row in pixels. A
/// picture whose rows have no padding leaves both rectangles zero.

#include "Common/Common.h"
#include "dstl/dshowx/DSTypes.h"

#include <algorithm>
#include <array>

/// A pixel format as media types describe it.
struct MediaFormat
{
    const GUID* pSubtype; ///< its first 32 bits are the format's code
    WORD nBitCount;       ///< bits a pixel
    BYTE nHorzYtoUV;      ///< luma samples across for each chroma sample
    BYTE nVertYtoUV;      ///< the same down
    BYTE arrOffset[3];    ///< byte offsets of Y, U, V or R, G, B in a pixel group
    BYTE arrStep[3];      ///< bytes between successive samples of those components
    BYTE bPlanar;
    BYTE bYUV; ///< 0 for r210, which is RGB

    DWORD Code() const noexcept { return pSubtype->Data1; }
};

inline constexpr int nMediaFormats = static_cast<int>(
    std::ranges::count_if(arrPixelFormats, [](const PixelFormat& format) { return format.bMediaType; }));

/// The formats in the order in which they are offered: the first rows of arrPixelFormats.
extern const std::array<MediaFormat, nMediaFormats> rgFormat;

/// \return index in rgFormat, or -1
int FindFormat(DWORD fccType) noexcept;

/// \return index in rgFormat by the whole GUID, or -1
int FindSubtype(const GUID& guidSub) noexcept;

/// Looks at the subsampling alone: whether a sample can hold such a frame is said by FitsSample.
/// \param nRowWidth pixels, 0 for the width
/// \return index in rgFormat when the format can have this size, or -1
int CheckSize(DWORD fccType, LONG nWidth, LONG nHeight, LONG nRowWidth) noexcept;

/// \return bytes of a row of so many pixels
DWORD RowBytes(const MediaFormat& rgEntry, LONG nWidth) noexcept;

/// \return bytes of a frame, exact; 0 for a negative width
ULONGLONG ImageBytes(const MediaFormat& rgEntry, LONG nWidth, LONG nHeight) noexcept;

/// \return the low 32 bits of ImageBytes
DWORD ImageSize(const MediaFormat& rgEntry, LONG nWidth, LONG nHeight) noexcept;

/// \return S_OK; E_POINTER; E_INVALIDARG for an unknown code, and for a size that 32 bits do not hold
HRESULT ImageSizeOf(DWORD fccType, LONG nWidth, LONG nHeight, DWORD* pcbImageSize) noexcept;

/// Fills a plain header of 40 bytes: biCompression is the code for YUV and 0 for RGB.
/// \return S_OK; E_POINTER; E_INVALIDARG for an unknown code, and for a size that 32 bits do not hold
HRESULT MakeBmpHeader(DWORD fccType, LONG nWidth, LONG nHeight, BITMAPINFOHEADER* pBmpHeader) noexcept;

/// Makes a type with a format block.
/// \param pb cb bytes, or null for zeros
/// \return S_OK; E_POINTER; E_OUTOFMEMORY, pmt then being unchanged
HRESULT MTCreate(CMType* pmt, const GUID& guidMajor, const GUID& guidSub, const GUID& guidFormat, ULONG cb,
                 const BYTE* pb) noexcept;

/// Makes the type of a picture. AvgTimePerFrame is 0, the aspect of a VIDEOINFOHEADER2 is 4 by 3.
/// \param guidFormat FORMAT_VideoInfo or FORMAT_VideoInfo2
/// \param nRowWidth pixels, 0 for the width
/// \return S_OK; E_POINTER; E_INVALIDARG, also for a frame that fits no sample; E_OUTOFMEMORY; pmt is
/// unchanged on failure
HRESULT MTCreateVideo(CMType* pmt, DWORD fccType, const GUID& guidFormat, LONG nWidth, LONG nHeight,
                      LONG nRowWidth) noexcept;

namespace MTHelp
{
/// Makes the type of a picture from its header, of which biSize bytes are copied.
/// \param guidFormat FORMAT_VideoInfo or FORMAT_VideoInfo2
/// \param pBMPInfo biSize bytes at least
/// \return S_OK; E_POINTER; E_INVALIDARG, among others for BI_BITFIELDS and for a frame that fits no sample;
/// E_OUTOFMEMORY
HRESULT MTCreateVideo(CMType* pmt, const GUID& guidFormat, const BITMAPINFO* pBMPInfo) noexcept;
} // namespace MTHelp

/// Reads size and format of a video type that the table knows. Each output is optional and written only on
/// success. The height of a YUV format is positive, that of an RGB format keeps its sign.
/// \return index in rgFormat, or -1, also for a frame that fits no sample
int MTGetFormat(const AM_MEDIA_TYPE* pmt, LONG* pnWidth, LONG* pnHeight, LONG* pnRowWidth) noexcept;

/// The same into a picture descriptor, which stays as it was on failure.
/// \return index in rgFormat, -1 or E_POINTER
int MTGetPicProps(const AM_MEDIA_TYPE* pmt, PicProps* pPicProps) noexcept;

/// Reads size and format of any video type, for types that come from outside: the subtype need not be in the
/// table, the height keeps its sign. The descriptor is zero on failure.
/// \return S_OK; E_POINTER; VFW_E_INVALID_MEDIA_TYPE, also for a frame that fits no sample; -1 for a format
/// block that is too small
HRESULT MTGetVideoSize(const AM_MEDIA_TYPE* pmt, PicProps* pPicProps) noexcept;

/// The bitmap header in the format block of a video type.
/// \return null unless the format is FORMAT_VideoInfo or FORMAT_VideoInfo2 and the block holds the whole
/// record
BITMAPINFOHEADER* MTGetBmpHeader(const AM_MEDIA_TYPE* pmt) noexcept;

/// AvgTimePerFrame in the format block of a video type, for writing; MTFrameTime reads it.
/// \return null as MTGetBmpHeader
REFERENCE_TIME* MTGetFrameTime(const AM_MEDIA_TYPE* pmt) noexcept;
