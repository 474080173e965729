#pragma once
/// What the tests of the image library share.

#include "Common/Common.h"
#include "imgconverter/ImgConverter.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Texts = std::vector<std::string>;

/// The formats that the pixel functions take.
inline constexpr DWORD arrUsableFormats[] = {FOURCC_RGB8,  FOURCC_RGB565, FOURCC_RGB555, FOURCC_RGB24,
                                             FOURCC_RGB32, FOURCC_ARGB32, FOURCC_YUY2,   FOURCC_UYVY,
                                             FOURCC_HDYC,  FOURCC_YVYU,   FOURCC_I420,   FOURCC_YV12};

/// Codes that they refuse, known ones and made-up ones.
inline constexpr DWORD arrRefusedFormats[] = {FOURCC_v210, FOURCC_r210, FOURCC_NV12, FOURCC_Y422, FOURCC_Y444,
                                              FOURCC_IYU2, FOURCC_YVU9, 0,           1,           0xFFFFFFFF,
                                              0xE436EB79,  0xE436EB7F,  0x773C9AC1};

/// A rectangle that compares and prints.
inline std::string Str(const RECT& rc)
{
    return std::to_string(rc.left) + ", " + std::to_string(rc.top) + ", " + std::to_string(rc.right) + ", " +
           std::to_string(rc.bottom);
}

inline std::string Str(const PicProps& pic)
{
    char szCode[16];
    snprintf(szCode, sizeof(szCode), "0x%08X", static_cast<unsigned>(pic.fccType));
    return std::string(szCode) + " " + std::to_string(pic.nWidth) + " x " + std::to_string(pic.nHeight) +
           " row " + std::to_string(pic.nRowWidth);
}
