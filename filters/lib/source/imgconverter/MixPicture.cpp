#include "imgconverter/ImgConverter.h"
#include "imgconverter/MixBlock.h"

#include "asm/SIMD64Mix.h"
#include "dstl/dshowx/DSTrace.h"

#include <algorithm>

namespace
{

/// The rows of each format, straight and premultiplied.
struct FormatMix
{
    DWORD fccType;
    eMixRow eStraight;
    eMixRow ePre;
    bool bPlanar;   ///< two more planes of half size
    bool bTracePre; ///< the premultiplied row tells of itself
};

constexpr FormatMix arrMixes[] = {
    {FOURCC_I420, eMR_Luma, eMR_LumaPre, true, false},
    {FOURCC_YV12, eMR_Luma, eMR_LumaPre, true, false},
    {FOURCC_YUY2, eMR_Packed, eMR_PackedPreY, false, false},
    {FOURCC_YVYU, eMR_Packed, eMR_PackedPreY, false, false},
    {FOURCC_UYVY, eMR_Packed, eMR_PackedPreC, false, true},
    {FOURCC_HDYC, eMR_Packed, eMR_PackedPreC, false, true},
    {FOURCC_RGB24, eMR_24, eMR_24Pre, false, false},
    {FOURCC_RGB32, eMR_32, eMR_32Pre, false, false},
};

/// The rows of the alpha plane in the order of the input's rows in memory.
struct AlphaRows
{
    const BYTE* pFirst;
    ptrdiff_t nStep;
};

/// \return false when the place cannot be told
bool OpenAlpha(AlphaRows& alpha, const BYTE* pbAlpha, const PicProps& pic, const BlockPair& blocks,
               bool bMirrorAlpha) noexcept
{
    PicProps picAlpha = pic;
    picAlpha.fccType = FOURCC_RGB8; // rows without padding, and a pitch as it stands: nRowWidth of 0 stays 0
    DWORD arrOffset[3] = {};
    const LONG nRow = FirstMemoryRow(pic, blocks.srcRect, bMirrorAlpha);
    if (!GetPicOffsets(&picAlpha, blocks.srcRect.left, nRow, arrOffset, false))
        return false;
    alpha.pFirst = pbAlpha + arrOffset[0];
    alpha.nStep = pic.nRowWidth;
    if (bMirrorAlpha != blocks.src.bMirror)
    {
        alpha.pFirst += alpha.nStep * (ptrdiff_t{blocks.roi.nHeight} - 1);
        alpha.nStep = -alpha.nStep;
    }
    return true;
}

/// The weights of a premultiplied 4:2:2 row, which its trace names.
struct PackedWeights
{
    SHORT arrOpacity[4];
    SHORT arrCentre[4];
};

void TracePackedRow(const BYTE* pDst, const BYTE* pSrc, const BYTE* pAlpha, int nCount,
                    const PackedWeights& weights) noexcept
{
    const auto number = [](const void* p) { return static_cast<ULONGLONG>(reinterpret_cast<UINT_PTR>(p)); };
    constexpr const wchar_t* arrTexts[] = {
        L"SIMDMixAlpha_UYVY_C1_Premull(%I64X, %I64X, %I64X, %d, %I64X, %I64X) (1)\n",
        L"SIMDMixAlpha_UYVY_C1_Premull(%I64X, %I64X, %I64X, %d, %I64X, %I64X) (2)\n"};
    for (const wchar_t* pszText : arrTexts)
        trace(atlTraceGeneral, eTL_Error, pszText, number(pDst), number(pSrc), number(pAlpha), nCount,
              number(weights.arrOpacity), number(weights.arrCentre));
}

void MixByPlane(const BlockPair& blocks, const FormatMix& mix, const AlphaRows& alpha, int nOpacity) noexcept
{
    const MixKernels& kernels = Kernels<MixKernels>();
    const bool bPre = nOpacity >= 0;
    const PFNMIXROW pfnRow = kernels.arrRows[bPre ? mix.ePre : mix.eStraight];
    const auto nOpacity16 = static_cast<SHORT>(nOpacity);
    const PackedWeights weights = {{nOpacity16, nOpacity16, nOpacity16, nOpacity16}, {128, 16, 128, 16}};
    ForEachRow(blocks, 0, blocks.roi,
               [&](BYTE* pDst, const BYTE* pSrc, ptrdiff_t y)
               {
                   const BYTE* const pAlpha = alpha.pFirst + y * alpha.nStep;
                   if (bPre && mix.bTracePre)
                       TracePackedRow(pDst, pSrc, pAlpha, blocks.roi.nWidth, weights);
                   pfnRow(pDst, pSrc, pAlpha, static_cast<size_t>(blocks.roi.nWidth), nOpacity);
               });
    const PFNMIXROW pfnChroma = kernels.arrRows[bPre ? eMR_ChromaPre : eMR_Chroma];
    const RoiSize roiChroma = HalfSize(blocks.roi);
    for (int nPlane = 1; mix.bPlanar && nPlane < 3; nPlane++)
    {
        ForEachRow(blocks, nPlane, roiChroma,
                   [&](BYTE* pDst, const BYTE* pSrc, ptrdiff_t y)
                   {
                       pfnChroma(pDst, pSrc, alpha.pFirst + 2 * y * alpha.nStep,
                                 static_cast<size_t>(roiChroma.nWidth), nOpacity);
                   });
    }
}

/// The input's own alpha. The input's pixels of the rectangle are scaled where they stand.
void MixByOwnAlpha(const BlockPair& blocks, BYTE* pbInput, int nOpacity) noexcept
{
    const MixKernels& kernels = Kernels<MixKernels>();
    const auto nPixels = static_cast<size_t>(blocks.roi.nWidth);
    const PFNCOMPOSE pfnCompose = nOpacity < 0 ? kernels.pfnComposeStraight : kernels.pfnComposePre;
    ForEachRow(blocks, 0, blocks.roi,
               [&](BYTE* pDst, const BYTE* pSrc, ptrdiff_t)
               {
                   if (nOpacity >= 0 && nOpacity < 255)
                       kernels.pfnScale(pbInput + (pSrc - pbInput), nPixels * 4, nOpacity);
                   pfnCompose(pDst, pSrc, nPixels);
                   kernels.pfnStraighten(pDst, nPixels);
               });
}

} // namespace

HRESULT Img_MixPicture(BYTE* _pbInput, const BYTE* _pbAlpha, BYTE* _pbOutput, int nOpacity,
                       const PicProps* _pInAndAlphaProps, const PicProps* _pOutputProps, bool bMirrorAlpha,
                       const RECT* _prcInput, const RECT* _prcOutput, int nField) noexcept
{
    DSASSERT(_pbInput && _pbOutput);
    if (!_pbInput || !_pbOutput)
        return E_INVALIDARG;
    DSASSERT(_pInAndAlphaProps && _pOutputProps);
    if (!_pInAndAlphaProps || !_pOutputProps)
        return E_INVALIDARG;
    const bool bOwnAlpha = _pInAndAlphaProps->fccType == FOURCC_ARGB32;
    DSASSERT(_pbAlpha || _pInAndAlphaProps->fccType == FOURCC_ARGB32);
    if (!_pbAlpha && !bOwnAlpha)
        return E_INVALIDARG;
    if (_pInAndAlphaProps->fccType != _pOutputProps->fccType)
        return E_NOTIMPL;
    nOpacity = std::min(nOpacity, 255);

    if (nField >= 0)
    {
        FieldPair fields;
        const HRESULT hr =
            OpenFields(fields, *_pInAndAlphaProps, *_pOutputProps, _prcInput, _prcOutput, nField);
        if (hr != S_OK)
            return hr;
        return Img_MixPicture(_pbInput, _pbAlpha, _pbOutput, nOpacity, &fields.input.pic, &fields.output.pic,
                              bMirrorAlpha, &fields.input.rc, &fields.output.rc, -1);
    }

    BlockPair blocks;
    const HRESULT hr =
        OpenMix(blocks, _pbInput, _pbOutput, *_pInAndAlphaProps, *_pOutputProps, _prcInput, _prcOutput);
    if (hr != S_OK)
        return hr;
    if (IsEmpty(blocks.roi))
        return S_OK;
    if (bOwnAlpha)
    {
        MixByOwnAlpha(blocks, _pbInput, nOpacity);
        return S_OK;
    }

    AlphaRows alpha;
    if (!OpenAlpha(alpha, _pbAlpha, *_pInAndAlphaProps, blocks, bMirrorAlpha))
        return E_FAIL;
    for (const FormatMix& mix : arrMixes) // nothing is mixed in the formats of 8 and 16 bits
    {
        if (mix.fccType == _pInAndAlphaProps->fccType)
            MixByPlane(blocks, mix, alpha, nOpacity);
    }
    return S_OK;
}
