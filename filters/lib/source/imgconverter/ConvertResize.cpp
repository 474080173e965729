#include "imgconverter/ImgConverter.h"

#include "dstl/dshowx/DSTrace.h"
#include "imgconverter/Block.h"
#include "imgconverter/ConvertedRows.h"
#include "imgconverter/ResizeFrame.h"

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

/// A call of both stages without the frame between them.
struct FusedCall
{
    const BYTE* pbInput;
    BYTE* pbOutput;
    const PicProps* pInputProps;
    const PicProps* pOutputProps;
    const RECT* prcInput;
    const RECT* prcOutput;
    int nMode;
    BYTE* pTemp;
    size_t cbTemp; ///< of the caller's memory
    int nSharp;
};

/// Converts each row when the scaling asks for it, which gives the bytes of the two stages without ever
/// writing the picture between them.
/// \return false where the stages have to run one after the other; nothing is done then
bool ConvertWhileScaling(const FusedCall& call, HRESULT& hr) noexcept
{
    if (!TakesRows(call.pOutputProps->fccType) || !IsUsable(*call.pInputProps) ||
        !IsUsable(*call.pOutputProps) ||
        FramesOverlap(call.pbInput, *call.pInputProps, call.pbOutput, *call.pOutputProps))
        return false;
    const PicProps picBetween = {call.pOutputProps->fccType, call.pInputProps->nWidth,
                                 call.pInputProps->nHeight, 0};
    RECT srcRect;
    RECT dstRect;
    if (NormalizeRects(&picBetween, call.pOutputProps, &srcRect, &dstRect, true, call.prcInput,
                       call.prcOutput) != S_OK ||
        (AreSizesEqual(srcRect, dstRect) && call.nSharp == 0)) // a copy
        return false;
    CConvertedRows rows;
    if (!rows.Open(call.pbInput, *call.pInputProps, picBetween))
        return false;

    const size_t cbRows = rows.WorkSize();
    const size_t cbScale = Img_GetBufferSize(&picBetween, call.pOutputProps);
    const bool bGiven = call.pTemp && call.cbTemp >= cbScale && call.cbTemp - cbScale >= cbRows;
    std::unique_ptr<BYTE[]> spRows;
    if (!bGiven)
        spRows.reset(new (std::nothrow) BYTE[cbRows]);
    if (!bGiven && !spRows)
        return false;
    rows.SetMemory(bGiven ? call.pTemp + cbScale : spRows.get());
    hr = ResizeFrameOfRows(rows, call.pbOutput, &picBetween, call.pOutputProps, call.prcInput, call.prcOutput,
                           call.nMode, bGiven ? call.pTemp : nullptr, call.nSharp);
    return true;
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

    const size_t cbTemp = Img_GetBufferSizeEx(_pInputProps, _pOutputProps); // of the caller's memory too
    HRESULT hrFused = S_OK;
    if (bConvert && bResize && !bFieldMode &&
        ConvertWhileScaling({_pbInput, _pbOutput, _pInputProps, _pOutputProps, _prcInput, _prcOutput, nMode,
                             pTemp, cbTemp, nSharp},
                            hrFused))
        return FAILED(hrFused) ? hrFused : S_OK;

    std::unique_ptr<BYTE[]> spTemp;
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
            const size_t cbFrame = RoundUpFrame(FrameBytes(picResize));
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
