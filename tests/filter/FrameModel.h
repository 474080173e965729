#pragma once
/// What a frame has to hold, computed from the coefficients of ITU-R BT.601 in studio range and the order of
/// bytes of each format, with no call into the library.

#include "dstl/dshowx/DSTypes.h"

#include <string>
#include <vector>

#include "picture/TempFiles.h"

struct Rgba
{
    int r, g, b, a;
};

struct Yuv
{
    int y, u, v;
};

/// A plain colour: in floating point, rounded half away from zero.
Yuv ColourYuv(const Rgba& c);

/// Pixels or samples, rows from the top as shown. Chroma that several pixels share stands in each of them.
template <class TPixel>
struct Raster
{
    LONG nWidth, nHeight;
    std::vector<TPixel> pixels;

    Raster(LONG w, LONG h, const TPixel& fill)
        : nWidth(w), nHeight(h), pixels(static_cast<size_t>(w * h), fill)
    {
    }
    TPixel& At(LONG x, LONG y) { return pixels[static_cast<size_t>(y * nWidth + x)]; }
    const TPixel& At(LONG x, LONG y) const { return pixels[static_cast<size_t>(y * nWidth + x)]; }
};
using Picture = Raster<Rgba>;
using Samples = Raster<Yuv>;

/// Pixels without any order, alpha included.
Picture Noise(LONG nWidth, LONG nHeight);

struct Format
{
    const char* pszName;
    DWORD fcc;
    size_t cbRgb; ///< bytes a pixel; 0 for YUV
};

/// RGB in memory, cb bytes a pixel. Rows are not padded: the width has to be a multiple of 4.
Bytes InMemory(const Picture& picture, size_t cb, bool bBottomUp);
/// YUV in memory: three planes, or pairs of pixels.
Bytes InMemory(const Samples& frame, DWORD fcc);

/// Kinds of files that differ in what becomes of their pixels.
enum eKind
{
    eK_Tga32,
    eK_Tga24,
    eK_Bmp24,
    eK_Bmp24TopDown
};

Bytes FileOf(eKind eIs, const Picture& picture);

/// Assertions of a frame without a path from the picture. Where the picture were, the frame is zero.
std::vector<std::string> Refusals(eKind eIs, DWORD fcc);

/// A frame that is black but for a part of a picture.
/// \param picture what the file holds, of the size that it has in the frame
/// \param from the corner of picture that comes to the upper left of rcTo
Bytes ExpectedFrame(const Format& format, eKind eIs, const Picture& picture, SIZE sizeFrame, const RECT& rcTo,
                    const POINT& from, bool bBottomUp);
