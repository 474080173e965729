#include "imgconverter/Block.h"
#include "imgconverter/ImgConverter.h"
#include "imgconverter/Paint.h"

#include "dstl/dshowx/DSTrace.h"

#include <algorithm>
#include <utility>

namespace
{

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
    if (hr != S_OK || roi.nWidth <= 0 || roi.nHeight <= 0)
        return S_FALSE;

    const DWORD fccType = _pOutputProps->fccType;
    const LONG nLimit = std::min(roi.nWidth, roi.nHeight) / 2;
    LONG nBand =
        std::min<LONG>(nThickness, nLimit + 1); // what is above the limit stays above it when rounded
    if (!IsRGBFormat(fccType))
        nBand = (nBand + 1) & ~1;
    nBand = std::min(nBand, nLimit);

    BYTE arrColor[4] = {static_cast<BYTE>(dwColor)};
    DWORD dwByteValid = 1;
    if (fccType != FOURCC_RGB8)
    {
        const bool bColor = GetFillColor(fccType, dwColor, arrColor, &dwByteValid);
        DSASSERT_TEXT(bColor, "");
        if (!bColor)
            return E_UNEXPECTED;
    }

    if (blocks.dst.bMirror)
        dwSides = SwapLeftRight(dwSides);
    bool bPlanar = false;
    DWORD dwBitCount = 0;
    GetPicFormat(_pOutputProps, nullptr, &bPlanar, &dwBitCount);
    if (!bPlanar)
    {
        const DWORD dwResColor =
            arrColor[0] | arrColor[1] << 8 | arrColor[2] << 16 | DWORD{arrColor[3]} << 24;
        DrawPlane({blocks.dst.Pixels(0), blocks.dst.arrStep[0], dwBitCount / 8, roi, nBand},
                  CPaint(dwResColor, dwByteValid, nOpacity), dwSides);
        return S_OK;
    }
    DrawPlane({blocks.dst.Pixels(0), blocks.dst.arrStep[0], 1, roi, nBand}, CPaint(arrColor[0], 1, nOpacity),
              dwSides);
    const RoiSize roiChroma = {roi.nWidth / 2, roi.nHeight / 2};
    for (int nPlane = 1; nPlane < 3 && roiChroma.nHeight > 0; nPlane++)
        DrawPlane({blocks.dst.Pixels(nPlane), blocks.dst.arrStep[nPlane], 1, roiChroma, nBand >> 1},
                  CPaint(arrColor[nPlane], 1, nOpacity), dwSides);
    return S_OK;
}
