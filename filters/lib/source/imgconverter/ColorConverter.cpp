#include "imgconverter/ImgConverter.h"

#include "dstl/dshowx/DSTrace.h"

#include <algorithm>
#include <cstdint>

namespace
{

/// What the size queries answer for a null descriptor: an HRESULT as a plain number. No caller passes null.
constexpr size_t cbNullPointer = static_cast<DWORD>(E_INVALIDARG);

/// Rows of 8 pixels at least, cbPixel bytes for each pixel.
size_t BufferSize(const PicProps* pInputProps, const PicProps* pOutputProps, size_t cbPixel) noexcept
{
    DSASSERT(pInputProps && pOutputProps);
    if (!pInputProps || !pOutputProps)
        return cbNullPointer;
    const LONG nWidest = std::max({pInputProps->nWidth, pInputProps->nRowWidth, pOutputProps->nWidth,
                                   pOutputProps->nRowWidth, LONG{0}});
    const size_t nColumns = (static_cast<size_t>(nWidest) + 7) & ~size_t{7};
    const size_t nRows = std::max(AbsHeight(pInputProps->nHeight), AbsHeight(pOutputProps->nHeight));
    if (nRows != 0 && nColumns * cbPixel > SIZE_MAX / nRows)
        return SIZE_MAX;
    return nRows * nColumns * cbPixel;
}

} // namespace

bool Img_CheckProps(const PicProps* _pProps, bool bAnyRGB) noexcept
{
    if (!GetPicFormat(_pProps, nullptr, nullptr, nullptr))
        return false;
    return bAnyRGB || (_pProps->fccType != FOURCC_RGB565 && _pProps->fccType != FOURCC_RGB555);
}

HRESULT Img_GetRects(const PicProps* _pInputProps, const PicProps* _pOutputProps, RECT* psrcRect,
                     RECT* pdstRect, bool bScale, const RECT* _prcInput, const RECT* _prcOutput) noexcept
{
    if (!Img_CheckProps(_pInputProps, !bScale) || !Img_CheckProps(_pOutputProps, !bScale))
        return E_INVALIDARG;
    return NormalizeRects(_pInputProps, _pOutputProps, psrcRect, pdstRect, bScale, _prcInput, _prcOutput);
}

size_t Img_GetBufferSize(const PicProps* _pInputProps, const PicProps* _pOutputProps) noexcept
{
    return BufferSize(_pInputProps, _pOutputProps, 8);
}

size_t Img_GetBufferSizeEx(const PicProps* _pInputProps, const PicProps* _pOutputProps) noexcept
{
    return BufferSize(_pInputProps, _pOutputProps, 16);
}

HRESULT Img_Convert(BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                    const PicProps* _pOutputProps, const RECT*, const RECT*, bool, BYTE*) noexcept
{
    DSASSERT(_pInputProps && _pOutputProps);
    if (!_pInputProps || !_pOutputProps)
        return E_INVALIDARG;
    DSASSERT(_pbInput && _pbOutput);
    if (!_pbInput || !_pbOutput)
        return E_INVALIDARG;
    return E_NOTIMPL;
}
