#include "FrameCheck.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "dstl/dshowx/DSVideo.h"
#include "picture/TgaBuilder.h"

namespace
{

/// Bytes a pixel of the packed formats; 0 for planes.
size_t PixelBytes(DWORD fcc)
{
    switch (fcc)
    {
    case FOURCC_RGB32:
    case FOURCC_ARGB32:
        return 4;
    case FOURCC_RGB24:
        return 3;
    case FOURCC_I420:
    case FOURCC_YV12:
        return 0;
    default:
        return 2;
    }
}

bool IsRgb(DWORD fcc)
{
    return fcc == FOURCC_RGB24 || fcc == FOURCC_RGB32 || fcc == FOURCC_ARGB32 || fcc == FOURCC_RGB565 ||
           fcc == FOURCC_RGB555;
}

Format ModelFormat(DWORD fcc)
{
    return {"", fcc, IsRgb(fcc) ? PixelBytes(fcc) : 0};
}

/// Cuts what the model gives for two rows, from the top, without padding.
ModelRows Cut(const Layout& layout, const Bytes& bytes)
{
    const size_t nWidth = static_cast<size_t>(layout.nWidth);
    const size_t cbRow = layout.bPlanar ? nWidth : nWidth * layout.cbPixel;
    auto it = bytes.begin();
    const auto take = [&it](size_t cb)
    {
        const Bytes part(it, it + static_cast<ptrdiff_t>(cb));
        it += static_cast<ptrdiff_t>(cb);
        return part;
    };
    ModelRows rows;
    for (Bytes& row : rows.luma)
        row = take(cbRow);
    if (layout.bPlanar)
    {
        for (Bytes& row : rows.chroma)
            row = take(nWidth / 2);
    }
    return rows;
}

std::string RowDifference(const char* pszWhat, LONG y, const BYTE* pb, const Bytes& expected)
{
    const auto found = std::mismatch(expected.begin(), expected.end(), pb);
    if (found.first != expected.end())
    {
        const size_t n = static_cast<size_t>(found.first - expected.begin());
        return std::string(pszWhat) + " row " + std::to_string(y) + ", byte " + std::to_string(n) + ": " +
               std::to_string(*found.second) + " instead of " + std::to_string(*found.first);
    }
    return {};
}

} // namespace

Layout Layout::Of(const AM_MEDIA_TYPE& mt)
{
    const BITMAPINFOHEADER& bmi = HeaderOf(mt);
    const RECT& rcTarget = IsEqualGUID(mt.formattype, FORMAT_VideoInfo2)
                               ? reinterpret_cast<const VIDEOINFOHEADER2*>(mt.pbFormat)->rcTarget
                               : reinterpret_cast<const VIDEOINFOHEADER*>(mt.pbFormat)->rcTarget;
    Layout layout{};
    layout.fcc = mt.subtype.Data1;
    layout.nRowWidth = bmi.biWidth;
    layout.nWidth = rcTarget.right != rcTarget.left ? rcTarget.right - rcTarget.left : bmi.biWidth;
    layout.nHeight = std::abs(bmi.biHeight);
    layout.bBottomUp = IsRgb(layout.fcc) && bmi.biHeight > 0;
    layout.cbPixel = PixelBytes(layout.fcc);
    layout.bPlanar = layout.cbPixel == 0;
    const size_t nRow = static_cast<size_t>(layout.nRowWidth), nRows = static_cast<size_t>(layout.nHeight);
    layout.cbRow = layout.bPlanar ? nRow : (nRow * layout.cbPixel + 3) / 4 * 4;
    layout.cbChroma = layout.bPlanar ? nRow / 2 : 0;
    layout.cbFrame = layout.cbRow * nRows + layout.cbChroma * nRows;
    return layout;
}

RowModel OneColour(const Rgba& colour)
{
    return [colour, rows = ModelRows{}](const Layout& layout, LONG) mutable
    {
        if (rows.luma[0].empty())
        {
            const Format format = ModelFormat(layout.fcc);
            rows = Cut(layout, format.cbRgb != 0
                                   ? InMemory(Picture(layout.nWidth, 2, colour), format.cbRgb, false)
                                   : InMemory(Samples(layout.nWidth, 2, ColourYuv(colour)), layout.fcc));
        }
        return rows;
    };
}

RowModel FileShown(eKind eIs, std::function<Rgba(LONG x, LONG y)> fnColour)
{
    return [eIs, fnColour = std::move(fnColour)](const Layout& layout, LONG y)
    {
        Picture strip(layout.nWidth, 2, {0, 0, 0, 0});
        for (LONG row = 0; row < 2; row++)
        {
            for (LONG x = 0; x < layout.nWidth; x++)
                strip.At(x, row) = fnColour(x, y + row);
        }
        return Cut(layout, ExpectedFrame(ModelFormat(layout.fcc), eIs, strip, {layout.nWidth, 2},
                                         {0, 0, layout.nWidth, 2}, {0, 0}, false));
    };
}

Rgba ChartColour(LONG x, LONG y)
{
    const LONG nX = x / 2, nY = y / 2;
    return {nX & 0xFF, nY & 0xFF, (nX >> 8 & 0xF) << 4 | (nY >> 8 & 0xF), 255};
}

Bytes TgaOf(LONG nWidth, LONG nHeight, BYTE nBits, const std::function<Rgba(LONG x, LONG y)>& fnColour)
{
    TgaBuilder tga = TgaBuilder::TrueColour(nBits, 1, 1);
    tga.nWidth = static_cast<WORD>(nWidth);
    tga.nHeight = static_cast<WORD>(nHeight);
    const size_t cbPixel = nBits / 8u;
    tga.image.resize(static_cast<size_t>(nWidth) * static_cast<size_t>(nHeight) * cbPixel);
    BYTE* pb = tga.image.data();
    for (LONG y = nHeight - 1; y >= 0; y--) // the bottom row comes first
    {
        for (LONG x = 0; x < nWidth; x++, pb += cbPixel)
        {
            const Rgba c = fnColour(x, y);
            pb[0] = static_cast<BYTE>(c.b);
            pb[1] = static_cast<BYTE>(c.g);
            pb[2] = static_cast<BYTE>(c.r);
            if (cbPixel == 4)
                pb[3] = static_cast<BYTE>(c.a);
        }
    }
    return tga.File();
}

std::string Difference(const Layout& layout, const RowModel& model, const BYTE* pbFrame, size_t cbFrame)
{
    if (cbFrame != layout.cbFrame)
        return std::to_string(cbFrame) + " bytes instead of " + std::to_string(layout.cbFrame);
    const size_t cbLuma = layout.cbRow * static_cast<size_t>(layout.nHeight);
    for (LONG y = 0; y < layout.nHeight; y += 2)
    {
        const ModelRows rows = model(layout, y);
        for (LONG i = 0; i < 2 && y + i < layout.nHeight; i++)
        {
            const LONG nAt = layout.bBottomUp ? layout.nHeight - 1 - (y + i) : y + i;
            std::string s = RowDifference("picture,", y + i,
                                          pbFrame + layout.cbRow * static_cast<size_t>(nAt), rows.luma[i]);
            if (!s.empty())
                return s;
        }
        for (size_t i = 0; layout.bPlanar && i < 2; i++)
        {
            const BYTE* const pb =
                pbFrame + cbLuma + cbLuma / 4 * i + layout.cbChroma * static_cast<size_t>(y / 2);
            std::string s =
                RowDifference(i == 0 ? "first chroma," : "second chroma,", y / 2, pb, rows.chroma[i]);
            if (!s.empty())
                return s;
        }
    }
    return {};
}
