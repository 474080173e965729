#include "imgconverter/Block.h"
#include "imgconverter/FieldView.h"
#include "imgconverter/ImgConverter.h"
#include "imgconverter/Paint.h"

#include "dstl/dshowx/DSTrace.h"

#include <algorithm>

namespace
{

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

void FillPairs(const FillTarget& target, DWORD dwColor, int nOpacity) noexcept
{
    const auto cbRow = static_cast<size_t>(target.roi.nWidth & ~1) * 2;
    FillPlane(target, 0, CPaint(dwColor, 4, nOpacity), cbRow, target.roi.nHeight);
}

void Fill24(const FillTarget& target, DWORD dwColor, int nOpacity) noexcept
{
    const size_t cbRow = static_cast<size_t>(target.roi.nWidth) * 3;
    FillPlane(target, 0, CPaint(dwColor, 3, nOpacity), cbRow, target.roi.nHeight);
}

void Fill32(const FillTarget& target, DWORD dwColor, int nOpacity) noexcept
{
    const size_t cbRow = static_cast<size_t>(target.roi.nWidth) * 4;
    FillPlane(target, 0, CPaint(dwColor, 4, nOpacity), cbRow, target.roi.nHeight);
}

/// 4 bytes a pixel of 2, the upper two zero, whatever the opacity: a row runs on behind its rectangle, and
/// the next row paints over that. Deliberate; only the frame's end stops it.
void Fill16(const FillTarget& target, DWORD dwColor, int) noexcept
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

/// How each format takes a colour.
struct FormatFill
{
    DWORD fccType;
    void (*pfnFill)(const FillTarget& target, DWORD dwColor, int nOpacity) noexcept;
};

constexpr FormatFill arrFills[] = {
    {FOURCC_I420, FillPlanes}, {FOURCC_YV12, FillPlanes}, {FOURCC_YUY2, FillPairs}, {FOURCC_UYVY, FillPairs},
    {FOURCC_HDYC, FillPairs},  {FOURCC_YVYU, FillPairs},  {FOURCC_RGB24, Fill24},   {FOURCC_RGB32, Fill32},
    {FOURCC_ARGB32, Fill32},   {FOURCC_RGB565, Fill16},   {FOURCC_RGB555, Fill16},
};

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
    if (hr != S_OK || blocks.roi.nWidth <= 0 || blocks.roi.nHeight <= 0)
        return S_FALSE;

    BYTE arrColor[4];
    const bool bColor = GetFillColor(frame.pic.fccType, dwColor, arrColor, nullptr);
    DSASSERT_TEXT(bColor, "");
    if (!bColor)
        return E_UNEXPECTED;
    const DWORD dwResColor = arrColor[0] | arrColor[1] << 8 | arrColor[2] << 16 | DWORD{arrColor[3]} << 24;

    const FillTarget target = {frame.pbFrame + frame.cbFrame, blocks.dst, blocks.roi};
    for (const FormatFill& fill : arrFills)
    {
        if (fill.fccType == frame.pic.fccType)
            fill.pfnFill(target, dwResColor, nOpacity);
    }
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

} // namespace

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
