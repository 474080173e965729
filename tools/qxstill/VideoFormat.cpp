#include "VideoFormat.h"
#include "Common/PixelFormats.h"
#include "Failure.h"
#include "dstl/dshowx/VideoBlock.h"
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{
bool IsFourccSubtype(const GUID& subtype)
{
    return IsEqualGUID(FourccSubtype(subtype.Data1), subtype);
}
} // namespace

bool ReadVideoFormat(const AM_MEDIA_TYPE& type, VideoFormat& format)
{
    if (!IsEqualGUID(type.majortype, MEDIATYPE_Video) || !type.pbFormat)
        return false;
    format = VideoFormat();
    format.subtype = type.subtype;
    format.formatType = type.formattype;
    const CVideoBlockReader block(type);
    if (!block.IsPlain() || !block.HasHeader())
        return false;
    const VIDEOINFOHEADER header = block.Header();
    format.width = header.bmiHeader.biWidth;
    format.height = std::abs(header.bmiHeader.biHeight);
    format.topDown = header.bmiHeader.biHeight < 0;
    format.bitsPerPixel = header.bmiHeader.biBitCount;
    format.imageSize = static_cast<long>(header.bmiHeader.biSizeImage);
    format.frameTime = header.AvgTimePerFrame;
    // Rows of YUV run from the top whatever the sign of the height.
    format.topDown = format.topDown || IsFourccSubtype(type.subtype);
    return format.width > 0 && format.height > 0;
}

std::string SubtypeName(const GUID& subtype)
{
    const PixelFormat& format = FormatOf(subtype);
    if (IsKnown(format))
        return ToUtf8(format.pszName);
    if (IsFourccSubtype(subtype))
    {
        char name[5] = {};
        std::memcpy(name, &subtype.Data1, 4);
        return name;
    }
    wchar_t text[64] = {};
    StringFromGUID2(subtype, text, 64);
    return ToUtf8(text);
}

std::string Describe(const VideoFormat& format)
{
    char text[160] = {};
    std::snprintf(text, sizeof(text), "%s, %d x %d, %d bits, rows %s, %ld bytes a frame, ",
                  SubtypeName(format.subtype).c_str(), format.width, format.height, format.bitsPerPixel,
                  format.topDown ? "from the top" : "from the bottom", format.imageSize);
    std::string line = text;
    if (format.frameTime > 0)
    {
        std::snprintf(text, sizeof(text), "%.6g frames/s, ", 1e7 / static_cast<double>(format.frameTime));
        line += text;
    }
    return line +
           (IsEqualGUID(format.formatType, FORMAT_VideoInfo2) ? "VIDEOINFOHEADER2" : "VIDEOINFOHEADER");
}
