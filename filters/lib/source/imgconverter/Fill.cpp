#include "imgconverter/ImgConverter.h"

#include "dstl/dshowx/DSTrace.h"

HRESULT Img_Fill(BYTE* _pbOutput, const PicProps* _pOutputProps, DWORD, const RECT*, int, int) noexcept
{
    DSASSERT(_pbOutput != NULL);
    DSASSERT(_pOutputProps != NULL);
    if (!_pbOutput || !_pOutputProps)
        return E_INVALIDARG;
    return E_NOTIMPL;
}
