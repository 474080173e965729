// What a frame has to hold.
#include "FrameModel.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "dstl/dshowx/DSVideo.h"
#include "picture/BmpBuilder.h"
#include "picture/TgaBuilder.h"

namespace
{

constexpr Rgba g_rgbBlank = {0, 0, 0, 0};
constexpr Yuv g_yuvBlack = {16, 128, 128};

/// Luma of a pixel: the same coefficients in 16 bits of fraction, and 16.5.
int PixelLuma(const Rgba& c)
{
    return (6423 * c.b + 33030 * c.g + 16843 * c.r + 1081344) >> 16;
}

/// How the chroma of pixels that share it rounds: 128 and a part of one, in the fraction that nShift leaves.
struct ChromaRounding
{
    int nU, nV, nShift;
};

constexpr ChromaRounding g_roundPlanar = {0x2008000, 0x2008000, 18};
constexpr ChromaRounding g_roundPairs = {0x1004000, 0x1004000, 17};
constexpr ChromaRounding g_roundNearest = {0x1010000, 0x100FFFE, 17};

/// Luma of one pixel, chroma of the sum of all that share it.
Yuv PixelYuv(const Rgba& c, const Rgba& sum, const ChromaRounding& rounding)
{
    const int nU = 28770 * sum.b - 19071 * sum.g - 9699 * sum.r + rounding.nU;
    const int nV = -4653 * sum.b - 24117 * sum.g + 28770 * sum.r + rounding.nV;
    return {PixelLuma(c), (nU >> rounding.nShift) & 0xFF, (nV >> rounding.nShift) & 0xFF};
}

/// A colour that alpha has dimmed.
Rgba Premultiplied(const Rgba& c)
{
    const auto dim = [a = c.a](int n)
    {
        const int p = n * a;
        return (p + 1 + (p >> 8)) >> 8;
    };
    return {dim(c.r), dim(c.g), dim(c.b), c.a};
}

/// Puts a part of a picture into a frame.
template <class TPixel>
void Paste(Raster<TPixel>& frame, const RECT& rcTo, const Raster<TPixel>& picture, const POINT& from)
{
    for (LONG y = rcTo.top; y < rcTo.bottom; y++)
    {
        for (LONG x = rcTo.left; x < rcTo.right; x++)
            frame.At(x, y) = picture.At(from.x + x - rcTo.left, from.y + y - rcTo.top);
    }
}

constexpr bool IsPlanar(DWORD fcc)
{
    return fcc == FOURCC_I420 || fcc == FOURCC_YV12;
}

constexpr bool IsChromaFirst(DWORD fcc)
{
    return fcc == FOURCC_UYVY || fcc == FOURCC_HDYC;
}

void PutPixel(Bytes& bytes, const Rgba& c, size_t cb)
{
    for (const int n : {c.b, c.g, c.r, c.a})
    {
        if (cb-- == 0)
            return;
        bytes.push_back(static_cast<BYTE>(n));
    }
}

Samples PictureYuv(const Picture& picture, DWORD fcc, const ChromaRounding& rounding)
{
    Samples samples(picture.nWidth, picture.nHeight, g_yuvBlack);
    const LONG nDown = IsPlanar(fcc) ? 2 : 1;
    for (LONG y = 0; y < picture.nHeight; y++)
    {
        for (LONG x = 0; x < picture.nWidth; x++)
        {
            Rgba sum = g_rgbBlank;
            for (LONG dy = 0; dy < nDown; dy++)
            {
                for (LONG dx = 0; dx < 2; dx++)
                {
                    const Rgba& c = picture.At(x / 2 * 2 + dx, y / nDown * nDown + dy);
                    sum.r += c.r;
                    sum.g += c.g;
                    sum.b += c.b;
                }
            }
            samples.At(x, y) = PixelYuv(picture.At(x, y), sum, rounding);
        }
    }
    return samples;
}

constexpr bool IsBmp(eKind eIs)
{
    return eIs == eK_Bmp24 || eIs == eK_Bmp24TopDown;
}

/// The pixels of a file as a frame of RGB gets them, and as those of YUV are computed from them.
Picture Loaded(eKind eIs, DWORD fcc, Picture picture)
{
    for (Rgba& c : picture.pixels)
    {
        if (IsBmp(eIs))
            c.a = 0; // a fourth byte that nobody writes
        else if (eIs == eK_Tga24)
            c.a = 255;
        else if (fcc != FOURCC_ARGB32)
            c = Premultiplied(c);
    }
    return picture;
}

const ChromaRounding& RoundingOf(eKind eIs, DWORD fcc)
{
    if (IsPlanar(fcc))
        return g_roundPlanar;
    return IsChromaFirst(fcc) && !IsBmp(eIs) ? g_roundNearest : g_roundPairs;
}

} // namespace

Yuv ColourYuv(const Rgba& c)
{
    const auto round = [](double d) { return std::clamp(static_cast<int>(std::lround(d)), 0, 255); };
    return {round(0.257 * c.r + 0.504 * c.g + 0.098 * c.b + 16),
            round(-0.148 * c.r - 0.291 * c.g + 0.439 * c.b + 128),
            round(0.439 * c.r - 0.368 * c.g - 0.071 * c.b + 128)};
}

Picture Noise(LONG nWidth, LONG nHeight)
{
    Picture picture(nWidth, nHeight, g_rgbBlank);
    unsigned n = 12345;
    const auto next = [&n]
    {
        n = n * 1664525u + 1013904223u;
        return static_cast<int>(n >> 24);
    };
    for (Rgba& c : picture.pixels)
    {
        c.r = next();
        c.g = next();
        c.b = next();
        c.a = next();
    }
    return picture;
}

Bytes InMemory(const Picture& picture, size_t cb, bool bBottomUp)
{
    Bytes bytes;
    for (LONG y = 0; y < picture.nHeight; y++)
    {
        for (LONG x = 0; x < picture.nWidth; x++)
            PutPixel(bytes, picture.At(x, bBottomUp ? picture.nHeight - 1 - y : y), cb);
    }
    return bytes;
}

Bytes InMemory(const Samples& frame, DWORD fcc)
{
    Bytes bytes;
    const auto put = [&bytes](int n) { bytes.push_back(static_cast<BYTE>(n)); };
    if (IsPlanar(fcc))
    {
        for (const Yuv& sample : frame.pixels)
            put(sample.y);
        for (const bool bU : {fcc == FOURCC_I420, fcc != FOURCC_I420})
        {
            for (LONG y = 0; y < frame.nHeight; y += 2)
            {
                for (LONG x = 0; x < frame.nWidth; x += 2)
                    put(bU ? frame.At(x, y).u : frame.At(x, y).v);
            }
        }
        return bytes;
    }
    for (size_t i = 0; i < frame.pixels.size(); i += 2)
    {
        const Yuv& even = frame.pixels[i];
        const Yuv& odd = frame.pixels[i + 1];
        const std::array<int, 4> pair = IsChromaFirst(fcc)     ? std::array{even.u, even.y, even.v, odd.y}
                                        : (fcc == FOURCC_YVYU) ? std::array{even.y, even.v, odd.y, even.u}
                                                               : std::array{even.y, even.u, odd.y, even.v};
        std::for_each(pair.begin(), pair.end(), put);
    }
    return bytes;
}

Bytes FileOf(eKind eIs, const Picture& picture)
{
    const size_t cb = eIs == eK_Tga32 ? 4 : 3;
    const Bytes stored = InMemory(picture, cb, eIs != eK_Bmp24TopDown);
    if (IsBmp(eIs))
    {
        BmpBuilder bmp(24, picture.nWidth, eIs == eK_Bmp24 ? picture.nHeight : -picture.nHeight);
        bmp.pixels = stored;
        return bmp.File();
    }
    TgaBuilder tga = TgaBuilder::TrueColour(static_cast<BYTE>(cb * 8), static_cast<WORD>(picture.nWidth),
                                            static_cast<WORD>(picture.nHeight));
    tga.image = stored;
    return tga.File();
}

std::vector<std::string> Refusals(eKind eIs, DWORD fcc)
{
    if (fcc == FOURCC_YVYU)
        return {"NOT SUPPORTED RGB32->YVYU x64", "hr == S_OK"};
    if (IsChromaFirst(fcc) && eIs == eK_Bmp24TopDown)
        return {"hr == S_OK"}; // deliberate: nothing to work in, as no row has to be turned
    return {};
}

Bytes ExpectedFrame(const Format& format, eKind eIs, const Picture& picture, SIZE sizeFrame, const RECT& rcTo,
                    const POINT& from, bool bBottomUp)
{
    if (format.cbRgb != 0)
    {
        Picture frame(sizeFrame.cx, sizeFrame.cy, g_rgbBlank);
        Paste(frame, rcTo, Loaded(eIs, format.fcc, picture), from);
        return InMemory(frame, format.cbRgb, bBottomUp);
    }
    Samples frame(sizeFrame.cx, sizeFrame.cy, g_yuvBlack);
    const Samples samples =
        Refusals(eIs, format.fcc).empty()
            ? PictureYuv(Loaded(eIs, format.fcc, picture), format.fcc, RoundingOf(eIs, format.fcc))
            : Samples(picture.nWidth, picture.nHeight, Yuv{0, 0, 0});
    Paste(frame, rcTo, samples, from);
    return InMemory(frame, format.fcc);
}
