#include "imgconverter/ImgConverter.h"

#include "asm/SIMD64Fill.h"
#include "asm/SIMD64Mix.h"
#include "dstl/dshowx/DSTrace.h"
#include "imgconverter/Block.h"

#include <algorithm>
#include <cstddef>

namespace
{

/// The channels of a COLORREF with alpha.
struct Channels
{
    explicit Channels(DWORD dwColor) noexcept
        : r(dwColor & 0xFF), g(dwColor >> 8 & 0xFF), b(dwColor >> 16 & 0xFF), a(dwColor >> 24)
    {
    }
    int r, g, b, a;
};

DWORD ToByte(int n) noexcept
{
    return static_cast<DWORD>(std::clamp(n, 0, 255));
}

DWORD ToByte(double dbl) noexcept
{
    return ToByte(static_cast<int>(dbl < 0 ? dbl - 0.5 : dbl + 0.5));
}

template <class T>
DWORD PackYUV(T y, T u, T v) noexcept
{
    return ToByte(y) | ToByte(u) << 8 | ToByte(v) << 16;
}

/// A pixel of 16 bits.
WORD Word16(const PixelFormat& format, const Channels& color) noexcept
{
    const int nGreenBits = format.nGreenBits;
    return static_cast<WORD>(color.r >> 3 << (5 + nGreenBits) | color.g >> (8 - nGreenBits) << 5 |
                             color.b >> 3);
}

DWORD PackBytes(const BYTE (&arrBytes)[4]) noexcept
{
    return arrBytes[0] | arrBytes[1] << 8 | arrBytes[2] << 16 | DWORD{arrBytes[3]} << 24;
}

constexpr SHORT Weight(int n) noexcept
{
    return static_cast<SHORT>(n);
}

/// One colour and its opacity, painted into runs of bytes.
class CPaint
{
public:
    /// \param nBytes 1 to 4: the bytes of dwColor, lowest first, that a run repeats
    /// \param nOpacity 0 to 255; at 255 the colour replaces what is there
    CPaint(DWORD dwColor, size_t nBytes, int nOpacity) noexcept;

    /// A run starts with the first byte of the colour.
    void Run(BYTE* pDst, size_t cb) const noexcept;

    /// nRows runs of cb bytes, nStep bytes apart.
    void Rows(BYTE* pDst, ptrdiff_t nStep, size_t cb, LONG nRows) const noexcept;

private:
    bool IsWhole(size_t cb) const noexcept { return cb % m_nBytes == 0; }

    const FillKernels& m_fill;
    FillPattern m_pattern;
    SHORT m_arrKeep[4];  ///< weights of what is there
    SHORT m_arrColor[4]; ///< weights of the colour
    size_t m_nBytes;
    bool m_bOpaque;
};

CPaint::CPaint(DWORD dwColor, size_t nBytes, int nOpacity) noexcept
    : m_fill(Kernels<FillKernels>()), m_pattern(MakeFillPattern(dwColor, nBytes)),
      // The two weights add up to 255 of 256: everything but a full opacity darkens by a trace. Deliberate.
      m_arrKeep{Weight(255 - nOpacity), Weight(255 - nOpacity), Weight(255 - nOpacity),
                Weight(255 - nOpacity)},
      m_arrColor{Weight(nOpacity), Weight(nOpacity), Weight(nOpacity), Weight(nOpacity)}, m_nBytes(nBytes),
      m_bOpaque(nOpacity == 255)
{
}

void CPaint::Run(BYTE* pDst, size_t cb) const noexcept
{
    if (m_bOpaque)
    {
        m_fill.pfnFill(pDst, cb, m_pattern);
        return;
    }
    // The pattern in pieces, which a blend does not show: no row of the picture's width is needed for it.
    BYTE arrPiece[8 * FillPattern::cbPeriod];
    m_fill.pfnFill(arrPiece, std::min(cb, sizeof(arrPiece)), m_pattern);
    while (cb != 0)
    {
        const size_t cbPiece = std::min(cb, sizeof(arrPiece));
        BlendBytes(pDst, pDst, arrPiece, cbPiece, m_arrKeep, m_arrColor);
        pDst += cbPiece;
        cb -= cbPiece;
    }
}

void CPaint::Rows(BYTE* pDst, ptrdiff_t nStep, size_t cb, LONG nRows) const noexcept
{
    if (cb == 0 || nRows <= 0)
        return;
    if (static_cast<size_t>(nStep) == cb && IsWhole(cb))
    {
        Run(pDst, cb * static_cast<size_t>(nRows));
        return;
    }
    for (ptrdiff_t i = 0; i < nRows; i++)
        Run(pDst + i * nStep, cb);
}

/// The rectangle to be filled.
struct FillTarget
{
    BYTE* pbEnd; ///< of the frame
    const PicBlock<BYTE>& block;
    RoiSize roi;
};

/// nRows rows of cbRow bytes in one plane.
void FillPlane(const FillTarget& target, int nPlane, const CPaint& paint, size_t cbRow, LONG nRows) noexcept
{
    if (cbRow != 0 && nRows > 0)
        paint.Rows(target.block.Pixels(nPlane), target.block.arrStep[nPlane], cbRow, nRows);
}

void FillPlanes(const FillTarget& target, DWORD dwColor, int nOpacity) noexcept
{
    const auto cbRow = static_cast<size_t>(target.roi.nWidth & ~1);
    FillPlane(target, 0, CPaint(dwColor, 1, nOpacity), cbRow, target.roi.nHeight);
    for (int nPlane = 1; nPlane < 3; nPlane++)
        FillPlane(target, nPlane, CPaint(dwColor >> 8 * nPlane, 1, nOpacity), cbRow / 2,
                  target.roi.nHeight / 2);
}

/// Pixels, or pairs of them, whose bytes the paint repeats.
void FillPacked(const FillTarget& target, const PixelFormat& format, const CPaint& paint) noexcept
{
    const LONG nWidth = format.eModel == eCM_YUV ? target.roi.nWidth & ~1 : target.roi.nWidth;
    FillPlane(target, 0, paint, static_cast<size_t>(nWidth) * PixelBytes(format), target.roi.nHeight);
}

/// 4 bytes a pixel of 2, the upper two zero, whatever the opacity: a row runs on behind its rectangle, and
/// the next row paints over that. Deliberate; only the frame's end stops it.
void Fill16(const FillTarget& target, DWORD dwColor) noexcept
{
    const CPaint paint(dwColor, 4, 255);
    const size_t cbRow = static_cast<size_t>(target.roi.nWidth) * 4;
    const auto cbStep = static_cast<size_t>(target.block.arrStep[0]);
    const LONG nLast = target.roi.nHeight - 1;
    // What runs into the next row is painted over by it: only the last row has to run on.
    paint.Rows(target.block.Pixels(0), target.block.arrStep[0], std::min(cbRow, cbStep), nLast);
    BYTE* const pLast = target.block.Pixels(0) + nLast * target.block.arrStep[0];
    paint.Run(pLast, std::min(cbRow, static_cast<size_t>(target.pbEnd - pLast)));
}

/// A whole frame, or the view of a field, which begins with the frame and can end before it.
struct FillFrame
{
    BYTE* pbFrame;
    size_t cbFrame; ///< of the frame, also for the view of a field
    const PicProps& pic;
};

HRESULT FillRect(const FillFrame& frame, DWORD dwColor, const RECT* prcOutput, int nOpacity) noexcept
{
    BlockPair blocks;
    const HRESULT hr =
        OpenBlocks(blocks, frame.pbFrame, frame.pbFrame, &frame.pic, &frame.pic, prcOutput, prcOutput);
    if (FAILED(hr))
        return hr;
    if (hr != S_OK || IsEmpty(blocks.roi))
        return S_FALSE;

    BYTE arrColor[4];
    DWORD dwByteValid = 0;
    const bool bColor = GetFillColor(frame.pic.fccType, dwColor, arrColor, &dwByteValid);
    DSASSERT_TEXT(bColor, "");
    if (!bColor)
        return E_UNEXPECTED;
    const DWORD dwResColor = PackBytes(arrColor);

    const FillTarget target = {frame.pbFrame + frame.cbFrame, blocks.dst, blocks.roi};
    const PixelFormat& format = FormatOf(frame.pic.fccType);
    if (IsPlanar(format))
        FillPlanes(target, dwResColor, nOpacity);
    else if (HasByteComponents(format))
        FillPacked(target, format, CPaint(dwResColor, dwByteValid, nOpacity));
    else
        Fill16(target, dwResColor);
    return S_OK;
}

HRESULT FillField(const FillFrame& frame, DWORD dwColor, const RECT* prcOutput, int nOpacity,
                  int nField) noexcept
{
    const PicProps& pic = frame.pic;
    RECT rc;
    const HRESULT hr = NormalizeRects(&pic, &pic, &rc, &rc, false, prcOutput, prcOutput);
    if (hr != S_OK)
        return hr;
    // The first row in memory of a bottom-up picture belongs to the other field.
    const bool bTurned = IsRGBFormat(pic.fccType) && pic.nHeight > 0;
    const bool bSecond = bTurned ? nField == 0 : nField > 0;
    FieldView view;
    if (!OpenField(view, pic, rc, bSecond))
        return E_INVALIDARG;
    return FillRect({frame.pbFrame, frame.cbFrame, view.pic}, dwColor, &view.rc, nOpacity);
}

/// One plane of the rectangle.
struct FramePlane
{
    BYTE* pFirst;
    ptrdiff_t nStep;
    size_t cbPixel;
    RoiSize roi;
    LONG nThickness;
};

/// Bands follow memory rows. Every line starts with the first byte of the colour, so that a band of an odd
/// width takes the bytes as they fall.
void DrawPlane(const FramePlane& plane, const CPaint& paint, DWORD dwSides) noexcept
{
    const LONG nThickness = plane.nThickness;
    const LONG nBetween = plane.roi.nHeight - 2 * nThickness;
    if (nThickness <= 0 || plane.roi.nWidth <= 0 || nBetween < 0)
        return;
    const auto row = [&plane](LONG y) { return plane.pFirst + y * plane.nStep; };
    const size_t cbRow = static_cast<size_t>(plane.roi.nWidth) * plane.cbPixel;
    const size_t cbBand = static_cast<size_t>(nThickness) * plane.cbPixel;
    if (dwSides & eIS_Top)
        paint.Rows(row(0), plane.nStep, cbRow, nThickness);
    if (dwSides & eIS_Bottom)
        paint.Rows(row(plane.roi.nHeight - nThickness), plane.nStep, cbRow, nThickness);
    if (nBetween == 0)
        return;
    if (dwSides & eIS_Left)
        paint.Rows(row(nThickness), plane.nStep, cbBand, nBetween);
    if (dwSides & eIS_Right)
        paint.Rows(row(nThickness) + (cbRow - cbBand), plane.nStep, cbBand, nBetween);
}

/// The thickness of the bands: even for YUV, limited to half the smaller side.
LONG BandWidth(const PixelFormat& format, int nThickness, RoiSize roi) noexcept
{
    const LONG nLimit = std::min(roi.nWidth, roi.nHeight) / 2;
    // What is above the limit stays above it when rounded.
    const LONG nBand = std::min<LONG>(nThickness, nLimit + 1);
    return std::min(format.eModel == eCM_YUV ? (nBand + 1) & ~1 : nBand, nLimit);
}

/// Left and right change places; top and bottom stay, although the rows are turned. Deliberate.
DWORD SwapLeftRight(DWORD dwSides) noexcept
{
    DWORD dwResult = dwSides & ~DWORD{eIS_Left | eIS_Right};
    if (dwSides & eIS_Left)
        dwResult |= eIS_Right;
    if (dwSides & eIS_Right)
        dwResult |= eIS_Left;
    return dwResult;
}

} // namespace

DWORD RGBToYUV(DWORD dwColor, bool bExact) noexcept
{
    const Channels color(dwColor);
    const int r = color.r;
    const int g = color.g;
    const int b = color.b;
    if (bExact)
        return PackYUV(0.257 * r + 0.504 * g + 0.098 * b + 16, -0.148 * r - 0.291 * g + 0.439 * b + 128,
                       0.439 * r - 0.368 * g - 0.071 * b + 128);
    return PackYUV(((8421 * r + 16515 * g + 3211 * b) >> 15) + 16,
                   ((-4850 * r - 9535 * g + 14385 * b) >> 15) + 128,
                   ((14385 * r - 12059 * g - 2327 * b) >> 15) + 128);
}

bool GetFillColor(DWORD fccType, DWORD dwColor, BYTE _pbResColor[4], DWORD* pdwByteValid) noexcept
{
    DSASSERT(_pbResColor);
    if (!_pbResColor)
        return false;
    const PixelFormat& format = FormatOf(fccType);
    if (!format.bPixels || GroupBytes(format) == 0)
        return false;

    const Channels color(dwColor);
    const DWORD dwYUV = RGBToYUV(dwColor, true);
    const bool bYUV = format.eModel == eCM_YUV;
    const int arrValues[] = {bYUV ? static_cast<int>(dwYUV & 0xFF) : color.r,
                             bYUV ? static_cast<int>(dwYUV >> 8 & 0xFF) : color.g,
                             bYUV ? static_cast<int>(dwYUV >> 16) : color.b, color.a};
    BYTE arrColor[4] = {};
    DWORD nBytes = GroupBytes(format);
    if (IsPlanar(format))
    {
        nBytes = 3;
        std::copy_n(arrValues, nBytes, arrColor);
    }
    else if (HasByteComponents(format))
    {
        const std::array<BYTE, 4> order = PackedOrder(format);
        for (DWORD i = 0; i < nBytes; i++)
            arrColor[i] = static_cast<BYTE>(arrValues[order[i]]);
    }
    else
    {
        const WORD wPixel = Word16(format, color);
        arrColor[0] = LOBYTE(wPixel);
        arrColor[1] = HIBYTE(wPixel);
    }
    std::copy_n(arrColor, 4, _pbResColor);
    if (pdwByteValid)
        *pdwByteValid = nBytes;
    return true;
}

HRESULT Img_Fill(BYTE* _pbOutput, const PicProps* _pOutputProps, DWORD dwColor, const RECT* _prcOutput,
                 int nOpacity, int nField) noexcept
{
    nOpacity = std::clamp(nOpacity, 0, 255);
    DSASSERT(_pbOutput != NULL);
    DSASSERT(_pOutputProps != NULL);
    if (!_pbOutput || !_pOutputProps)
        return E_INVALIDARG;
    const FillFrame frame = {_pbOutput, FrameBytes(*_pOutputProps), *_pOutputProps};
    return nField >= 0 ? FillField(frame, dwColor, _prcOutput, nOpacity, nField)
                       : FillRect(frame, dwColor, _prcOutput, nOpacity);
}

HRESULT Img_DrawFrame(BYTE* _pbOutput, const PicProps* _pOutputProps, DWORD dwColor, int nThickness,
                      const RECT* _prcOutput, int nOpacity, DWORD dwSides) noexcept
{
    dwColor |= 0xFF000000;
    if (nThickness <= 0)
        return S_OK;
    nOpacity = std::clamp(nOpacity, 0, 255);
    DSASSERT(_pbOutput != NULL);
    DSASSERT(_pOutputProps != NULL);
    if (!_pbOutput || !_pOutputProps)
        return E_INVALIDARG;

    BlockPair blocks;
    const HRESULT hr =
        OpenBlocks(blocks, _pbOutput, _pbOutput, _pOutputProps, _pOutputProps, _prcOutput, _prcOutput);
    if (FAILED(hr))
        return hr;
    const RoiSize roi = blocks.roi;
    if (hr != S_OK || IsEmpty(roi))
        return S_FALSE;

    const PixelFormat& format = FormatOf(_pOutputProps->fccType);
    BYTE arrColor[4] = {static_cast<BYTE>(dwColor)};
    DWORD dwByteValid = 1;
    if (GroupBytes(format) != 0) // RGB8 takes the low byte
    {
        const bool bColor = GetFillColor(format.fccType, dwColor, arrColor, &dwByteValid);
        DSASSERT_TEXT(bColor, "");
        if (!bColor)
            return E_UNEXPECTED;
    }

    const LONG nBand = BandWidth(format, nThickness, roi);
    if (blocks.dst.bMirror)
        dwSides = SwapLeftRight(dwSides);
    if (!IsPlanar(format))
    {
        DrawPlane({blocks.dst.Pixels(0), blocks.dst.arrStep[0], PixelBytes(format), roi, nBand},
                  CPaint(PackBytes(arrColor), dwByteValid, nOpacity), dwSides);
        return S_OK;
    }
    for (int nPlane = 0; nPlane < PlaneCount(format); nPlane++)
    {
        const RoiSize roiPlane = nPlane == 0 ? roi : HalfSize(roi);
        if (roiPlane.nHeight > 0)
            DrawPlane({blocks.dst.Pixels(nPlane), blocks.dst.arrStep[nPlane], 1, roiPlane,
                       nPlane == 0 ? nBand : nBand >> 1},
                      CPaint(arrColor[nPlane], 1, nOpacity), dwSides);
    }
    return S_OK;
}
