#pragma once
/// What a delivered frame has to hold, row by row: the layout that its media type tells a host, and the
/// pixels that the model of frames computes by itself.

#include "Conformance.h"
#include "FrameModel.h"

#include <functional>

/// The layout of a frame, as a host reads it from a media type. All from the published meaning of the
/// records.
struct Layout
{
    DWORD fcc;
    LONG nWidth;    ///< pixels of a row that show something
    LONG nHeight;   ///< absolute
    LONG nRowWidth; ///< pixels of a row, padding included
    bool bBottomUp;
    bool bPlanar;
    size_t cbPixel;  ///< of packed formats
    size_t cbRow;    ///< from one row to the next
    size_t cbChroma; ///< from one row of chroma to the next
    size_t cbFrame;

    static Layout Of(const AM_MEDIA_TYPE& mt);
};

/// A row as the model gives it, with nothing around: packed pixels, or luma; and for a planar format the two
/// rows of chroma, in their order in memory.
struct ModelRows
{
    Bytes luma[2], chroma[2];
};

/// Gives the rows y and y + 1 of a frame (the second may be beyond the end and is then not looked at).
using RowModel = std::function<ModelRows(const Layout& layout, LONG y)>;

/// One colour everywhere. \param alpha of the colour as the frame has to show it
RowModel OneColour(const Rgba& colour);
/// A file of a kind, shown pixel by pixel. \param fnColour of its pixels
RowModel FileShown(eKind eIs, std::function<Rgba(LONG x, LONG y)> fnColour);

/// A colour that tells every row and every column from the others, alike in pairs of both, so that pixels
/// that share their chroma have the same.
Rgba ChartColour(LONG x, LONG y);

/// A TGA file of these colours. \param nBits 24 or 32
Bytes TgaOf(LONG nWidth, LONG nHeight, BYTE nBits, const std::function<Rgba(LONG x, LONG y)>& fnColour);

/// Compares a frame; what the padding holds is nobody's business. \return empty, or where it differs
std::string Difference(const Layout& layout, const RowModel& model, const BYTE* pbFrame, size_t cbFrame);
