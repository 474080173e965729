#include "imgconverter/ImgConverter.h"
#include "imgconverter/MixBlock.h"

#include "asm/SIMD64Mix.h"
#include "dstl/dshowx/DSTrace.h"

#include <algorithm>
#include <iterator>

namespace
{

/// What the weights stretch the bytes of a format around.
struct FormatBlend
{
    DWORD fccType;
    BYTE cbSample;
    bool bPlanar;        ///< two more planes of half size, around 128
    const BYTE* pCentre; ///< of packed bytes i mod 4; null: plain bytes
};

constexpr BYTE arrLumaFirst[4] = {0, 128, 0, 128};
constexpr BYTE arrChromaFirst[4] = {128, 0, 128, 0};

constexpr FormatBlend arrBlends[] = {
    {FOURCC_I420, 1, true, nullptr},         {FOURCC_YV12, 1, true, nullptr},
    {FOURCC_YUY2, 2, false, arrLumaFirst},   {FOURCC_YVYU, 2, false, arrLumaFirst},
    {FOURCC_UYVY, 2, false, arrChromaFirst}, {FOURCC_HDYC, 2, false, arrChromaFirst},
    {FOURCC_RGB24, 3, false, nullptr},       {FOURCC_RGB32, 4, false, nullptr},
    {FOURCC_ARGB32, 4, false, nullptr},
};

SHORT Weight(int n) noexcept
{
    return static_cast<SHORT>(std::clamp(n, -32768, 32767));
}

} // namespace

HRESULT Img_Blend(const BYTE* _pbInput, BYTE* _pbOutput, int nSrcWeight, int nDstWeight,
                  const PicProps* _pInputProps, const PicProps* _pOutputProps, const RECT* _prcInput,
                  const RECT* _prcOutput) noexcept
{
    DSASSERT(_pbInput && _pbOutput);
    if (!_pbInput || !_pbOutput)
        return E_INVALIDARG;
    DSASSERT(_pInputProps && _pOutputProps);
    if (!_pInputProps || !_pOutputProps)
        return E_INVALIDARG;
    if (_pInputProps->fccType != _pOutputProps->fccType)
        return E_NOTIMPL;

    BlockPair blocks;
    const HRESULT hr =
        OpenMix(blocks, _pbInput, _pbOutput, *_pInputProps, *_pOutputProps, _prcInput, _prcOutput);
    if (hr != S_OK)
        return hr;

    const auto* const pEnd = std::end(arrBlends);
    const auto* const pBlend = std::find_if(arrBlends, pEnd,
                                            [_pInputProps](const FormatBlend& blend)
                                            { return blend.fccType == _pInputProps->fccType; });
    DSASSERT_TEXT(pBlend != pEnd, "");
    if (pBlend == pEnd)
        return S_OK;

    const SHORT nA = Weight(nSrcWeight);
    const SHORT nB = Weight(nDstWeight);
    const SHORT wA[4] = {nA, nA, nA, nA};
    const SHORT wB[4] = {nB, nB, nB, nB};
    const auto cbRow = static_cast<size_t>(blocks.roi.nWidth) * pBlend->cbSample;
    ForEachRow(blocks, 0, blocks.roi,
               [&](BYTE* pDst, const BYTE* pSrc, ptrdiff_t)
               {
                   if (pBlend->pCentre)
                       BlendCentred(pDst, pSrc, pDst, cbRow, wA, wB, pBlend->pCentre);
                   else
                       BlendBytes(pDst, pSrc, pDst, cbRow, wA, wB);
               });
    const RoiSize roiChroma = HalfSize(blocks.roi);
    for (int nPlane = 1; pBlend->bPlanar && nPlane < 3; nPlane++)
        ForEachRow(blocks, nPlane, roiChroma,
                   [&](BYTE* pDst, const BYTE* pSrc, ptrdiff_t)
                   { BlendChroma(pDst, pSrc, pDst, static_cast<size_t>(roiChroma.nWidth), wA, wB); });
    return S_OK;
}
