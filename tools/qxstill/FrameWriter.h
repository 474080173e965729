#pragma once
/// Frames as picture files.

#include "VideoFormat.h"
#include <string>

/// True if frames of this format can be written as they are: RGB24, RGB32 and ARGB32.
bool CanWriteFrames(const VideoFormat& format);

/// Writes one frame as a BMP file, rows stored from the bottom whatever their order in memory. RGB24 and
/// RGB32 become 24 bits a pixel (the fourth byte of RGB32 has no meaning); ARGB32 keeps its alpha in a file
/// with channel masks. The values are those of the frame: where the filter hands out colours multiplied by
/// alpha, so they are in the file.
/// @param size bytes at `bits`; a frame shorter than its format tells is refused with E_INVALIDARG.
HRESULT WriteFrameAsBmp(const std::wstring& path, const VideoFormat& format, const BYTE* bits, size_t size);
