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

bool IsUsable(const PicProps& pic) noexcept
{
    DWORD arrShift[3];
    DWORD arrStep[3];
    return GetPicPlanes(&pic, arrShift, arrStep, nullptr, false);
}

/// The second stage of a call.
struct Scaling
{
    const RECT* prcInput;
    const RECT* prcOutput;
    bool bFieldMode;
    int nMode;
    int nSharp;

    HRESULT Run(const BYTE* pbInput, BYTE* pbOutput, const PicProps& picInput, const PicProps& picOutput,
                BYTE* pTemp) const noexcept
    {
        return bFieldMode ? Img_ResizeFields(pbInput, pbOutput, &picInput, &picOutput, prcInput, prcOutput,
                                             nMode, pTemp, nSharp, -1)
                          : Img_ResizeFrame(pbInput, pbOutput, &picInput, &picOutput, prcInput, prcOutput,
                                            nMode, pTemp, nSharp);
    }
};

/// \param bResize receives whether the pictures or, in pictures of one size, the rectangles differ in size
/// \return S_OK; in pictures of one size what NormalizeRects returns
HRESULT NeedsScaling(const PicProps& picInput, const PicProps& picOutput, const Scaling& scaling,
                     bool& bResize) noexcept
{
    bResize =
        picInput.nWidth != picOutput.nWidth || AbsHeight(picInput.nHeight) != AbsHeight(picOutput.nHeight);
    if (bResize)
        return S_OK;
    RECT srcRect = {};
    RECT dstRect = {};
    const HRESULT hr =
        NormalizeRects(&picInput, &picOutput, &srcRect, &dstRect, true, scaling.prcInput, scaling.prcOutput);
    if (hr != S_OK)
        return hr; // rectangles outside the pictures, whose sizes may be none
    bResize = srcRect.right - srcRect.left != dstRect.right - dstRect.left ||
              srcRect.bottom - srcRect.top != dstRect.bottom - dstRect.top;
    return S_OK;
}

/// Both stages, with a whole picture in the output's format between them.
HRESULT ConvertThenScale(BYTE* pbInput, BYTE* pbOutput, const PicProps& picInput, const PicProps& picOutput,
                         const Scaling& scaling, BYTE* pTemp) noexcept
{
    const PicProps picBetween = {picOutput.fccType, picInput.nWidth, picInput.nHeight, 0};
    const size_t cbFrame = RoundUpFrame(FrameBytes(picBetween));
    const size_t cbTemp = Img_GetBufferSizeEx(&picInput, &picOutput); // of the caller's memory too
    std::unique_ptr<BYTE[]> spTemp;
    if (!pTemp)
    {
        // What both stages would refuse shall not cost the memory of its size first.
        if (!IsUsable(picInput) || !IsUsable(picOutput))
            return E_INVALIDARG;
        if (cbTemp <= PTRDIFF_MAX)
            spTemp.reset(new (std::nothrow) BYTE[cbTemp]);
        if (!spTemp)
            return E_OUTOFMEMORY;
        pTemp = spTemp.get();
        // Some conversions leave bytes out (an odd last row, an alpha, what pads a row), which the scaling
        // reads all the same: out of our memory they come as zeros.
        std::memset(pTemp, 0, std::min(cbFrame, cbTemp));
    }
    // The conversion asks whether there is a buffer, and leaves it alone: it may begin with the target.
    const HRESULT hr = Img_Convert(pbInput, pTemp, &picInput, &picBetween, nullptr, nullptr, true, pTemp);
    if (FAILED(hr))
        return hr;
    // Behind the rounded frame of a small picture too little is left, or nothing: the scaling then makes its
    // own memory.
    const bool bEnough = cbFrame <= cbTemp && cbTemp - cbFrame >= Img_GetBufferSize(&picBetween, &picOutput);
    return scaling.Run(pTemp, pbOutput, picBetween, picOutput, bEnough ? pTemp + cbFrame : nullptr);
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

    const Scaling scaling = {_prcInput, _prcOutput, bFieldMode, nMode, nSharp};
    bool bResize = false;
    HRESULT hr = NeedsScaling(*_pInputProps, *_pOutputProps, scaling, bResize);
    if (hr != S_OK)
        return hr;
    if (!bResize)
        hr = Img_Convert(_pbInput, _pbOutput, _pInputProps, _pOutputProps, nullptr, nullptr, true, pTemp);
    else if (_pInputProps->fccType == _pOutputProps->fccType)
        hr = scaling.Run(_pbInput, _pbOutput, *_pInputProps, *_pOutputProps, pTemp);
    else
        hr = ConvertThenScale(_pbInput, _pbOutput, *_pInputProps, *_pOutputProps, scaling, pTemp);
    return FAILED(hr) ? hr : S_OK;
}
