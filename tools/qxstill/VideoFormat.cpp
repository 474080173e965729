#include "VideoFormat.h"
#include "Failure.h"
#include <dvdmedia.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{
struct NamedSubtype
{
    const GUID* subtype;
    const char* name;
};

const NamedSubtype g_subtypes[] = {
    {&MEDIASUBTYPE_RGB8, "RGB8"},   {&MEDIASUBTYPE_RGB555, "RGB555"}, {&MEDIASUBTYPE_RGB565, "RGB565"},
    {&MEDIASUBTYPE_RGB24, "RGB24"}, {&MEDIASUBTYPE_RGB32, "RGB32"},   {&MEDIASUBTYPE_ARGB32, "ARGB32"},
};

// The tail of every subtype that is made from a four-character code.
bool IsFourccSubtype(const GUID& subtype)
{
    GUID base = MEDIASUBTYPE_YUY2;
    base.Data1 = subtype.Data1;
    return IsEqualGUID(base, subtype);
}

// The two header records agree in the fields read here.
template <class Header>
void ReadHeader(const Header& header, VideoFormat& format)
{
    format.width = header.bmiHeader.biWidth;
    format.height = std::abs(header.bmiHeader.biHeight);
    format.topDown = header.bmiHeader.biHeight < 0;
    format.bitsPerPixel = header.bmiHeader.biBitCount;
    format.imageSize = static_cast<long>(header.bmiHeader.biSizeImage);
    format.frameTime = header.AvgTimePerFrame;
}
} // namespace

bool ReadVideoFormat(const AM_MEDIA_TYPE& type, VideoFormat& format)
{
    if (!IsEqualGUID(type.majortype, MEDIATYPE_Video) || !type.pbFormat)
        return false;
    format = VideoFormat();
    format.subtype = type.subtype;
    format.formatType = type.formattype;
    if (IsEqualGUID(type.formattype, FORMAT_VideoInfo) && type.cbFormat >= sizeof(VIDEOINFOHEADER))
        ReadHeader(*reinterpret_cast<const VIDEOINFOHEADER*>(type.pbFormat), format);
    else if (IsEqualGUID(type.formattype, FORMAT_VideoInfo2) && type.cbFormat >= sizeof(VIDEOINFOHEADER2))
        ReadHeader(*reinterpret_cast<const VIDEOINFOHEADER2*>(type.pbFormat), format);
    else
        return false;
    // Rows of YUV run from the top whatever the sign of the height.
    format.topDown = format.topDown || IsFourccSubtype(type.subtype);
    return format.width > 0 && format.height > 0;
}

std::string SubtypeName(const GUID& subtype)
{
    for (const NamedSubtype& named : g_subtypes)
    {
        if (IsEqualGUID(*named.subtype, subtype))
            return named.name;
    }
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
