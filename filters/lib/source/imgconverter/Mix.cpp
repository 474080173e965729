#include "imgconverter/ImgConverter.h"
#include "imgconverter/MixBlock.h"

#include "asm/SIMD64Mix.h"
#include "dstl/dshowx/DSTrace.h"

namespace
{

/// A mix reads one alpha for each byte of the input, at the same place of a buffer of the same layout.
void MixPlane(const BlockPair& blocks, const BYTE* pbAlpha, int nPlane, const RoiSize& roi,
              size_t cbSample) noexcept
{
    const PFNMIXROW pfnMix = Kernels<MixKernels>().arrRows[eMR_Luma];
    const auto cbRow = static_cast<size_t>(roi.nWidth) * cbSample;
    ForEachRow(blocks, nPlane, roi,
               [&](BYTE* pDst, const BYTE* pSrc, ptrdiff_t)
               { pfnMix(pDst, pSrc, pbAlpha + (pSrc - blocks.src.pbFrame), cbRow, 0); });
}

} // namespace

HRESULT Img_MixAlpha(const BYTE* _pbInput, const BYTE* _pbAlpha, BYTE* _pbOutput,
                     const PicProps* _pInputProps, const PicProps* _pOutputProps, const RECT* _prcInput,
                     const RECT* _prcOutput, int nField) noexcept
{
    DSASSERT(_pbInput && _pbAlpha && _pbOutput);
    if (!_pbInput || !_pbAlpha || !_pbOutput)
        return E_INVALIDARG;
    DSASSERT(_pInputProps && _pOutputProps);
    if (!_pInputProps || !_pOutputProps)
        return E_INVALIDARG;
    if (_pInputProps->fccType != _pOutputProps->fccType)
        return E_NOTIMPL;

    if (nField >= 0)
    {
        FieldPair fields;
        const HRESULT hr = OpenFields(fields, *_pInputProps, *_pOutputProps, _prcInput, _prcOutput, nField);
        if (hr != S_OK)
            return hr;
        return Img_MixAlpha(_pbInput, _pbAlpha, _pbOutput, &fields.input.pic, &fields.output.pic,
                            &fields.input.rc, &fields.output.rc, -1);
    }

    BlockPair blocks;
    const HRESULT hr =
        OpenMix(blocks, _pbInput, _pbOutput, *_pInputProps, *_pOutputProps, _prcInput, _prcOutput);
    if (hr != S_OK)
        return hr;

    switch (_pInputProps->fccType)
    {
    case FOURCC_I420:
    case FOURCC_YV12:
        MixPlane(blocks, _pbAlpha, 0, blocks.roi, 1);
        MixPlane(blocks, _pbAlpha, 1, HalfSize(blocks.roi), 1);
        MixPlane(blocks, _pbAlpha, 2, HalfSize(blocks.roi), 1);
        break;
    case FOURCC_YUY2:
    case FOURCC_YVYU:
    case FOURCC_UYVY:
    case FOURCC_HDYC:
        MixPlane(blocks, _pbAlpha, 0, blocks.roi, 2);
        break;
    case FOURCC_RGB24:
        MixPlane(blocks, _pbAlpha, 0, blocks.roi, 3);
        break;
    case FOURCC_RGB32:
    case FOURCC_ARGB32:
        MixPlane(blocks, _pbAlpha, 0, blocks.roi, 4);
        break;
    default: // nothing is mixed in the formats of 8 and 16 bits
        break;
    }
    return S_OK;
}
