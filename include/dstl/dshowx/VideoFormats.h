#pragma once
/// The format blocks of video types, as far as they begin with a header that tells a frame's size.

#include "dstl/WinAPI/Platform.h"

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
};

inline constexpr VideoBlock rgVideoBlocks[] = {
    {guidFormatVideoInfo, sizeof(VIDEOINFOHEADER), offsetof(VIDEOINFOHEADER, bmiHeader), false, false},
    {guidFormatVideoInfo2, sizeof(VIDEOINFOHEADER2), offsetof(VIDEOINFOHEADER2, bmiHeader), true, false},
    {guidFormatMpegVideo, sizeof(MPEG1VIDEOINFO), offsetof(VIDEOINFOHEADER, bmiHeader), false, false},
    {guidFormatMpeg2Video, sizeof(MPEG2VIDEOINFO), offsetof(VIDEOINFOHEADER2, bmiHeader), true, true},
};

/// The row of a format type, or null for one without such a header.
inline const VideoBlock* FindVideoBlock(const GUID& guidFormat) noexcept
{
    for (const VideoBlock& rgBlock : rgVideoBlocks)
    {
        if (memcmp(&rgBlock.guidFormat, &guidFormat, sizeof(GUID)) == 0)
            return &rgBlock;
    }
    return nullptr;
}
