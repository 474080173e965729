#pragma once
/// What a video media type says about the frames that follow it.

#include "dstl/WinAPI/Platform.h"
#include <dshow.h>
#include <string>

/// The parts of a media type that a host needs to read a frame.
struct VideoFormat
{
    GUID subtype = GUID_NULL;
    GUID formatType = GUID_NULL;
    int width = 0;                ///< pixels
    int height = 0;               ///< pixels, always positive
    bool topDown = false;         ///< the first row in memory is the top one
    int bitsPerPixel = 0;         ///< of the stored frame
    long imageSize = 0;           ///< bytes, as the header tells
    REFERENCE_TIME frameTime = 0; ///< 100 ns units; 0 where the type does not say

    /// Bytes from one row of an RGB frame to the next: padded to four.
    size_t RowStep() const
    {
        return (static_cast<size_t>(width) * static_cast<size_t>(bitsPerPixel) + 31) / 32 * 4;
    }
};

/// Reads VIDEOINFOHEADER and VIDEOINFOHEADER2.
/// @return false if the type is no such video type.
bool ReadVideoFormat(const AM_MEDIA_TYPE& type, VideoFormat& format);

/// "RGB32", "YUY2", ...: the subtype's name, its four characters, or its identifier.
std::string SubtypeName(const GUID& subtype);

/// The whole format on one line.
std::string Describe(const VideoFormat& format);
