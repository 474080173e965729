#include "imgconverter/ImgConverter.h"

#include "dstl/dshowx/DSTrace.h"

namespace
{

/// True when one length scales into the other by exactly 1.
bool IsFactorOne(LONG nSrcFirst, LONG nSrcLast, LONG nDstFirst, LONG nDstLast) noexcept
{
    const LONGLONG nSrc = LONGLONG{nSrcLast} - nSrcFirst;
    const LONGLONG nDst = LONGLONG{nDstLast} - nDstFirst;
    return nSrc == nDst && nSrc != 0;
}

} // namespace

HRESULT Img_ResizeFrame(const BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                        const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput, int,
                        BYTE*, int nSharp) noexcept
{
    DSASSERT(_pInputProps && _pOutputProps);
    DSASSERT(_pbInput && _pbOutput);
    if (!_pInputProps || !_pOutputProps || !_pbInput || !_pbOutput)
        return E_INVALIDARG;
    if (_pInputProps->fccType != _pOutputProps->fccType)
        return E_INVALIDARG;

    DWORD srcShift[3] = {};
    DWORD srcStep[3] = {};
    DWORD dstShift[3] = {};
    DWORD dstStep[3] = {};
    if (!GetPicPlanes(_pInputProps, srcShift, srcStep, nullptr, true) ||
        !GetPicPlanes(_pOutputProps, dstShift, dstStep, nullptr, true))
        return E_INVALIDARG;

    RECT srcRect;
    RECT dstRect;
    const HRESULT hr =
        NormalizeRects(_pInputProps, _pOutputProps, &srcRect, &dstRect, true, _prcInput, _prcOutput);
    if (hr != S_OK)
        return hr;

    const bool bEqualSize = IsFactorOne(srcRect.left, srcRect.right, dstRect.left, dstRect.right) &&
                            IsFactorOne(srcRect.top, srcRect.bottom, dstRect.top, dstRect.bottom);
    if (bEqualSize && nSharp == 0)
        return Img_Copy(_pbInput, _pbOutput, _pInputProps, _pOutputProps, _prcInput, _prcOutput);
    return E_NOTIMPL;
}
