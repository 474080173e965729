#pragma once
/// Format blocks and what the log prints of addresses, for the tests of dumps.

#include "dstl/dshowx/DSTypes.h"
#include "support/LogCapture.h"

#include <amvideo.h>
#include <dvdmedia.h>
#include <mmreg.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

using Texts = std::vector<std::string>;

/// An address as %p prints it.
inline std::string Address(const void* pv)
{
    char sz[32];
    snprintf(sz, sizeof(sz), "%016llX", static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(pv)));
    return sz;
}

/// The low half of an address, as 0x%X prints it.
inline std::string LowHalf(const void* pv)
{
    char sz[32];
    snprintf(sz, sizeof(sz), "%X", static_cast<unsigned>(reinterpret_cast<uintptr_t>(pv)));
    return sz;
}

inline constexpr GUID guidUsualTail = {0, 0, 0x10, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};

inline GUID FourccGuid(DWORD dwCode)
{
    GUID guid = guidUsualTail;
    guid.Data1 = dwCode;
    return guid;
}

inline const GUID guidVideo = FourccGuid(0x73646976);
inline const GUID guidAudio = FourccGuid(0x73647561);
inline const GUID guidUyvy = FourccGuid(0x59565955);

inline constexpr GUID guidVideoInfo = {
    0x05589F80, 0xC356, 0x11CE, {0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A}};
inline constexpr GUID guidWaveFormatEx = {
    0x05589F81, 0xC356, 0x11CE, {0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A}};
inline constexpr GUID guidMpegVideo = {
    0x05589F82, 0xC356, 0x11CE, {0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A}};
inline constexpr GUID guidDvInfo = {
    0x05589F84, 0xC356, 0x11CE, {0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A}};
inline constexpr GUID guidVideoInfo2 = {
    0xF72A76A0, 0xEB0A, 0x11D0, {0xAC, 0xE4, 0x00, 0x00, 0xC0, 0xCC, 0x16, 0xBA}};
inline constexpr GUID guidMpeg2Video = {
    0xE06D80E3, 0xDB46, 0x11CF, {0xB4, 0xD1, 0x00, 0x80, 0x5F, 0x6C, 0xBB, 0xEA}};

/// The header of an UYVY frame of 720 by 576.
inline BITMAPINFOHEADER UyvyHeader()
{
    BITMAPINFOHEADER header = {};
    header.biSize = 40;
    header.biWidth = 720;
    header.biHeight = 576;
    header.biPlanes = 1;
    header.biBitCount = 16;
    header.biCompression = 0x59565955;
    header.biSizeImage = 829440;
    return header;
}
