#pragma once
/// The format blocks of video types: which record a format type means, and the one reader of such a block.

#include "dstl/WinAPI/Platform.h"

#include <strmif.h>

#include <amvideo.h>
#include <dvdmedia.h>

#include <cstddef>
#include <cstring>

/// Literal values: not every import library has the platform's symbols, and with the right values.
/// @{
inline constexpr GUID guidFormatVideoInfo = {
    0x05589F80, 0xC356, 0x11CE, {0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A}};
inline constexpr GUID guidFormatVideoInfo2 = {
    0xF72A76A0, 0xEB0A, 0x11D0, {0xAC, 0xE4, 0x00, 0x00, 0xC0, 0xCC, 0x16, 0xBA}};
inline constexpr GUID guidFormatMpegVideo = {
    0x05589F82, 0xC356, 0x11CE, {0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A}};
inline constexpr GUID guidFormatMpeg2Video = {
    0xE06D80E3, 0xDB46, 0x11CF, {0xB4, 0xD1, 0x00, 0x80, 0x5F, 0x6C, 0xBB, 0xEA}};
/// @}

/// One format type whose block begins with a VIDEOINFOHEADER or a VIDEOINFOHEADER2.
struct VideoBlock
{
    GUID guidFormat;
    ULONG cbLeast;     ///< bytes of the whole record
    size_t nBmiOffset; ///< where its BITMAPINFOHEADER stands
    bool bHeader2;     ///< begins with a VIDEOINFOHEADER2
    bool bMpeg2;       ///< is an MPEG2VIDEOINFO

    /// Bytes of the VIDEOINFOHEADER or VIDEOINFOHEADER2 that it begins with.
    constexpr ULONG HeaderBytes() const noexcept
    {
        return static_cast<ULONG>(nBmiOffset + sizeof(BITMAPINFOHEADER));
    }

    /// True for FORMAT_VideoInfo and FORMAT_VideoInfo2, whose record is the header alone.
    constexpr bool IsPlain() const noexcept { return cbLeast == HeaderBytes(); }
};

inline constexpr VideoBlock rgVideoBlocks[] = {
    {.guidFormat = guidFormatVideoInfo,
     .cbLeast = sizeof(VIDEOINFOHEADER),
     .nBmiOffset = offsetof(VIDEOINFOHEADER, bmiHeader),
     .bHeader2 = false,
     .bMpeg2 = false},
    {.guidFormat = guidFormatVideoInfo2,
     .cbLeast = sizeof(VIDEOINFOHEADER2),
     .nBmiOffset = offsetof(VIDEOINFOHEADER2, bmiHeader),
     .bHeader2 = true,
     .bMpeg2 = false},
    {.guidFormat = guidFormatMpegVideo,
     .cbLeast = sizeof(MPEG1VIDEOINFO),
     .nBmiOffset = offsetof(VIDEOINFOHEADER, bmiHeader),
     .bHeader2 = false,
     .bMpeg2 = false},
    {.guidFormat = guidFormatMpeg2Video,
     .cbLeast = sizeof(MPEG2VIDEOINFO),
     .nBmiOffset = offsetof(VIDEOINFOHEADER2, bmiHeader),
     .bHeader2 = true,
     .bMpeg2 = true},
};
static_assert(sizeof(VIDEOINFOHEADER) == 88 && sizeof(VIDEOINFOHEADER2) == 112);
static_assert(sizeof(MPEG1VIDEOINFO) == 104 && sizeof(MPEG2VIDEOINFO) == 136);

/// The row of a format type, or null for one without such a header.
inline const VideoBlock* FindVideoBlock(const GUID& guidFormat) noexcept
{
    for (const VideoBlock& rgBlock : rgVideoBlocks)
    {
        if (IsEqualGUID(rgBlock.guidFormat, guidFormat))
            return &rgBlock;
    }
    return nullptr;
}

/// The row of FORMAT_VideoInfo or FORMAT_VideoInfo2, or null for any other format type.
inline const VideoBlock* FindPlainBlock(const GUID& guidFormat) noexcept
{
    const VideoBlock* const pBlock = FindVideoBlock(guidFormat);
    return pBlock && pBlock->IsPlain() ? pBlock : nullptr;
}

/// Reads the format block of a media type, which has to live as long as the reader. The block may be shorter
/// than its record and need not be aligned: ask HasHeader before anything is read.
class CVideoBlockReader
{
public:
    explicit CVideoBlockReader(const AM_MEDIA_TYPE& mt) noexcept
        : m_pRecord(mt.pbFormat ? FindVideoBlock(mt.formattype) : nullptr), m_pb(mt.pbFormat),
          m_cb(mt.cbFormat)
    {
    }

    /// The record that the block should be; null without a block and for another format type.
    const VideoBlock* Record() const noexcept { return m_pRecord; }

    /// True for FORMAT_VideoInfo and FORMAT_VideoInfo2, whole or not.
    bool IsPlain() const noexcept { return m_pRecord && m_pRecord->IsPlain(); }

    /// True when the block holds the VIDEOINFOHEADER or VIDEOINFOHEADER2 that its record begins with.
    bool HasHeader() const noexcept { return m_pRecord && m_cb >= m_pRecord->HeaderBytes(); }

    /// True when the block holds its whole record.
    bool IsWhole() const noexcept { return m_pRecord && m_cb >= m_pRecord->cbLeast; }

    /// The place of the bitmap header.
    BYTE* BmpHeader() const noexcept { return m_pb + m_pRecord->nBmiOffset; }

    /// Copies what both kinds of header have in common, which are the fields of a VIDEOINFOHEADER.
    VIDEOINFOHEADER Header() const noexcept
    {
        static_assert(offsetof(VIDEOINFOHEADER, rcTarget) == offsetof(VIDEOINFOHEADER2, rcTarget));
        static_assert(offsetof(VIDEOINFOHEADER, AvgTimePerFrame) ==
                      offsetof(VIDEOINFOHEADER2, AvgTimePerFrame));
        VIDEOINFOHEADER header;
        memcpy(&header, m_pb, offsetof(VIDEOINFOHEADER, bmiHeader));
        memcpy(&header.bmiHeader, BmpHeader(), sizeof(header.bmiHeader));
        return header;
    }

private:
    const VideoBlock* m_pRecord;
    BYTE* m_pb;
    ULONG m_cb;
};
