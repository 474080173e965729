#include "imgconverter/ImgConverter.h"

#include "dstl/dshowx/DSTrace.h"

#include <cstdint>
#include <limits>

namespace
{

/// A frame of two interleaved fields as a picture of half the height: the rows of the fields lie side by
/// side. \return false for a frame that is too large, or a row that is too long to be doubled
bool PutSideBySide(PicProps& pic) noexcept
{
    const int64_t nWidth = int64_t{pic.nWidth} + PicRow(pic);
    const int64_t nRowWidth = int64_t{pic.nRowWidth} * 2;
    constexpr int64_t nLimit = std::numeric_limits<LONG>::max() - 1; // leaves room to round up to even
    if (IsPicTooLarge(pic) || nWidth > nLimit || nWidth < -nLimit || nRowWidth > nLimit ||
        nRowWidth < -nLimit)
        return false;
    pic.nWidth = static_cast<LONG>(nWidth);
    pic.nRowWidth = static_cast<LONG>(nRowWidth);
    pic.nHeight /= 2;
    return true;
}

/// The same rectangle of a field.
RECT FieldRect(const RECT& rc, LONG nRight) noexcept
{
    return {rc.left + nRight, rc.top / 2, rc.right + nRight, rc.bottom / 2};
}

} // namespace

HRESULT Img_ResizeFields(const BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                         const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput,
                         int nMode, BYTE* pTemp, int nSharp, int nField) noexcept
{
    DSASSERT(_pInputProps && _pOutputProps);
    DSASSERT(_pbInput && _pbOutput);
    if (!_pInputProps || !_pOutputProps || !_pbInput || !_pbOutput)
        return E_INVALIDARG;
    PicProps picInput = *_pInputProps;
    PicProps picOutput = *_pOutputProps;
    if (!PutSideBySide(picInput) || !PutSideBySide(picOutput))
        return E_INVALIDARG;

    RECT rcInput;
    RECT rcOutput;
    const HRESULT hr =
        NormalizeRects(_pInputProps, _pOutputProps, &rcInput, &rcOutput, true, _prcInput, _prcOutput);
    if (hr != S_OK)
        return hr;
    const RECT rectInput1 = FieldRect(rcInput, 0);
    const RECT rectOutput1 = FieldRect(rcOutput, 0);
    const RECT rectInput2 = FieldRect(rcInput, PicRow(*_pInputProps));
    const RECT rectOutput2 = FieldRect(rcOutput, PicRow(*_pOutputProps));

    // The rows of the first field shown are the second ones of the other row order.
    const bool bSwap =
        IsRGBFormat(_pInputProps->fccType) && (_pInputProps->nHeight < 0) != (_pOutputProps->nHeight < 0);
    HRESULT hrFirst = S_OK;
    HRESULT hrSecond = S_OK;
    if (nField <= 0)
        hrFirst = Img_ResizeFrame(_pbInput, _pbOutput, &picInput, &picOutput, &rectInput1,
                                  bSwap ? &rectOutput2 : &rectOutput1, nMode, pTemp, nSharp);
    if (nField < 0 || nField == 1)
        hrSecond = Img_ResizeFrame(_pbInput, _pbOutput, &picInput, &picOutput, &rectInput2,
                                   bSwap ? &rectOutput1 : &rectOutput2, nMode, pTemp, nSharp);
    return FAILED(hrFirst) ? hrFirst : hrSecond;
}
