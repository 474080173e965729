#include "imgconverter/ImgConverter.h"

#include "dstl/dshowx/DSTrace.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace
{

/// The scaling's work memory starts on a multiple of this behind the intermediate picture.
constexpr size_t cbFrameUnit = 512;

size_t RoundUpFrame(size_t cbFrame) noexcept
{
    return (cbFrame + cbFrameUnit - 1) / cbFrameUnit * cbFrameUnit;
}

bool AreSizesEqual(const RECT& rcFirst, const RECT& rcSecond) noexcept
{
    return rcFirst.right - rcFirst.left == rcSecond.right - rcSecond.left &&
           rcFirst.bottom - rcFirst.top == rcSecond.bottom - rcSecond.top;
}

bool IsUsable(const PicProps& pic) noexcept
{
    DWORD arrShift[3];
    DWORD arrStep[3];
    return GetPicPlanes(&pic, arrShift, arrStep, nullptr, false);
}

} // namespace

HRESULT Img_ConvertResize(BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                          const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput,
                          bool bFieldMode, int nMode, BYTE* pTemp, int nSharp) noexcept
{
    DSASSERT(_pInputProps && _pOutputProps);
    if (!_pInputProps || !_pOutputProps)
        return E_INVALIDARG;
    DSASSERT(_pbInput && _pbOutput);
    if (!_pbInput || !_pbOutput)
        return E_INVALIDARG;

    const bool bConvert = _pInputProps->fccType != _pOutputProps->fccType;
    bool bResize = _pInputProps->nWidth != _pOutputProps->nWidth ||
                   AbsHeight(_pInputProps->nHeight) != AbsHeight(_pOutputProps->nHeight);
    if (!bResize)
    {
        RECT srcRect;
        RECT dstRect;
        const HRESULT hr =
            NormalizeRects(_pInputProps, _pOutputProps, &srcRect, &dstRect, true, _prcInput, _prcOutput);
        if (hr != S_OK)
            return hr;
        bResize = !AreSizesEqual(srcRect, dstRect);
    }

    std::unique_ptr<BYTE[]> spTemp;
    const size_t cbTemp = Img_GetBufferSizeEx(_pInputProps, _pOutputProps); // of the caller's memory too
    if (!pTemp && bConvert && bResize)
    {
        // What both stages would refuse shall not cost the memory of its size first.
        if (!IsUsable(*_pInputProps) || !IsUsable(*_pOutputProps))
            return E_INVALIDARG;
        if (cbTemp <= PTRDIFF_MAX)
            spTemp.reset(new (std::nothrow) BYTE[cbTemp]);
        if (!spTemp)
            return E_OUTOFMEMORY;
        pTemp = spTemp.get();
    }
    const bool bOwnTemp = spTemp != nullptr;

    const BYTE* pbResize = _pbInput;
    BYTE* pTempResize = pTemp;
    PicProps picResize = *_pInputProps;
    if (bConvert || !bResize)
    {
        BYTE* pbTarget = _pbOutput;
        const PicProps* pTargetProps = _pOutputProps;
        if (bResize)
        {
            picResize = {_pOutputProps->fccType, _pInputProps->nWidth, _pInputProps->nHeight, 0};
            pTargetProps = &picResize;
            pbResize = pbTarget = pTemp;
            // Behind the rounded frame of a small picture too little is left, or nothing: the scaling then
            // makes its own memory.
            const size_t cbFrame = RoundUpFrame(GetPicSize(&picResize));
            // Some conversions leave bytes out (an odd last row, an alpha, what pads a row), which the
            // scaling reads all the same: out of our memory they come as zeros.
            if (bOwnTemp)
                std::memset(pTemp, 0, std::min(cbFrame, cbTemp));
            const bool bEnough =
                cbFrame <= cbTemp && cbTemp - cbFrame >= Img_GetBufferSize(&picResize, _pOutputProps);
            pTempResize = bEnough ? pTemp + cbFrame : nullptr;
        }
        // The conversion asks whether there is a buffer, and leaves it alone: it may begin with the target.
        const HRESULT hr =
            Img_Convert(_pbInput, pbTarget, _pInputProps, pTargetProps, nullptr, nullptr, true, pTemp);
        if (FAILED(hr))
            return hr;
    }
    if (!bResize)
        return S_OK;

    const HRESULT hr = bFieldMode ? Img_ResizeFields(pbResize, _pbOutput, &picResize, _pOutputProps,
                                                     _prcInput, _prcOutput, nMode, pTempResize, nSharp, -1)
                                  : Img_ResizeFrame(pbResize, _pbOutput, &picResize, _pOutputProps, _prcInput,
                                                    _prcOutput, nMode, pTempResize, nSharp);
    return FAILED(hr) ? hr : S_OK;
}
