#include "imgconverter/ImgConverter.h"

#include "asm/SIMD64Mix.h"
#include "dstl/dshowx/DSTrace.h"
#include "imgconverter/Block.h"

#include <algorithm>

namespace
{

/// The two views of a field.
struct FieldPair
{
    FieldView input;
    FieldView output;
};

/// Finds the blocks of a mix, the destination turned where the row orders differ. Buffers and descriptors
/// must have been checked, the formats compared.
HRESULT OpenMix(BlockPair& blocks, const BYTE* pbInput, BYTE* pbOutput, const PicProps& picInput,
                const PicProps& picOutput, const RECT* prcInput, const RECT* prcOutput) noexcept
{
    const HRESULT hr = OpenBlocks(blocks, pbInput, pbOutput, &picInput, &picOutput, prcInput, prcOutput);
    if (hr == S_OK && blocks.src.bMirror != blocks.dst.bMirror)
        blocks.dst.RunBackward(blocks.roi.nHeight);
    return hr;
}

/// The views of a field of both pictures: the input takes the field as it is numbered, the output too unless
/// two RGB pictures have heights of unlike sign; then it takes the other half.
/// \return what NormalizeRects returns; E_INVALIDARG for rows that are too long to be doubled
HRESULT OpenFields(FieldPair& fields, const PicProps& picInput, const PicProps& picOutput,
                   const RECT* prcInput, const RECT* prcOutput, int nField) noexcept
{
    RECT srcRect;
    RECT dstRect;
    const HRESULT hr = NormalizeRects(&picInput, &picOutput, &srcRect, &dstRect, false, prcInput, prcOutput);
    if (hr != S_OK)
        return hr;
    const bool bSecond = nField > 0;
    const bool bUnlike = IsRGBFormat(picInput.fccType) && (picInput.nHeight > 0) != (picOutput.nHeight > 0);
    if (!OpenField(fields.input, picInput, srcRect, bSecond) ||
        !OpenField(fields.output, picOutput, dstRect, bSecond != bUnlike))
        return E_INVALIDARG;
    return S_OK;
}

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

/// The row that mixes a packed format or the first plane.
eMixRow MixRowOf(const PixelFormat& format, bool bPre) noexcept
{
    if (format.eModel == eCM_RGB && PixelBytes(format) == 3)
        return bPre ? eMR_24Pre : eMR_24;
    if (format.eModel == eCM_RGB)
        return bPre ? eMR_32Pre : eMR_32;
    if (IsPlanar(format))
        return bPre ? eMR_LumaPre : eMR_Luma;
    return !bPre ? eMR_Packed : IsChromaFirst(format) ? eMR_PackedPreC : eMR_PackedPreY;
}

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
        RunBackward(alpha.pFirst, alpha.nStep, blocks.roi.nHeight);
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

void MixByPlane(const BlockPair& blocks, const PixelFormat& format, const AlphaRows& alpha,
                int nOpacity) noexcept
{
    const MixKernels& kernels = Kernels<MixKernels>();
    const bool bPre = nOpacity >= 0;
    const PFNMIXROW pfnRow = kernels.arrRows[MixRowOf(format, bPre)];
    const bool bTrace = bPre && IsChromaFirst(format);
    const auto nOpacity16 = static_cast<SHORT>(nOpacity);
    const PackedWeights weights = {{nOpacity16, nOpacity16, nOpacity16, nOpacity16}, {128, 16, 128, 16}};
    ForEachRow(blocks, 0, blocks.roi,
               [&](BYTE* pDst, const BYTE* pSrc, ptrdiff_t y)
               {
                   const BYTE* const pAlpha = alpha.pFirst + y * alpha.nStep;
                   if (bTrace)
                       TracePackedRow(pDst, pSrc, pAlpha, blocks.roi.nWidth, weights);
                   pfnRow(pDst, pSrc, pAlpha, static_cast<size_t>(blocks.roi.nWidth), nOpacity);
               });
    const PFNMIXROW pfnChroma = kernels.arrRows[bPre ? eMR_ChromaPre : eMR_Chroma];
    const RoiSize roiChroma = HalfSize(blocks.roi);
    for (int nPlane = 1; nPlane < PlaneCount(format); nPlane++)
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

SHORT Weight(int n) noexcept
{
    return static_cast<SHORT>(std::clamp(n, -32768, 32767));
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

    const PixelFormat& format = FormatOf(_pInputProps->fccType);
    if (!HasByteComponents(format))
        return S_OK;
    for (int nPlane = 0; nPlane < PlaneCount(format); nPlane++)
        MixPlane(blocks, _pbAlpha, nPlane, nPlane == 0 ? blocks.roi : HalfSize(blocks.roi),
                 PixelBytes(format));
    return S_OK;
}

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
    const PixelFormat& format = FormatOf(_pInAndAlphaProps->fccType);
    const bool bOwnAlpha = format.bAlpha;
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
    if (HasByteComponents(format)) // nothing is mixed in the formats of 8 and 16 bits
        MixByPlane(blocks, format, alpha, nOpacity);
    return S_OK;
}

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

    const PixelFormat& format = FormatOf(_pInputProps->fccType);
    DSASSERT_TEXT(HasByteComponents(format), "");
    if (!HasByteComponents(format))
        return S_OK;

    const SHORT nA = Weight(nSrcWeight);
    const SHORT nB = Weight(nDstWeight);
    const SHORT wA[4] = {nA, nA, nA, nA};
    const SHORT wB[4] = {nB, nB, nB, nB};
    const auto cbRow = static_cast<size_t>(blocks.roi.nWidth) * PixelBytes(format);
    const bool bCentred = format.eModel == eCM_YUV && !IsPlanar(format);
    BYTE arrCentre[4] = {};
    for (size_t i = 0; bCentred && i < 4; i++)
        arrCentre[i] = format.arrParts[PackedOrder(format)[i]].nCentre;
    ForEachRow(blocks, 0, blocks.roi,
               [&](BYTE* pDst, const BYTE* pSrc, ptrdiff_t)
               {
                   if (bCentred)
                       BlendCentred(pDst, pSrc, pDst, cbRow, wA, wB, arrCentre);
                   else
                       BlendBytes(pDst, pSrc, pDst, cbRow, wA, wB);
               });
    const RoiSize roiChroma = HalfSize(blocks.roi);
    for (int nPlane = 1; nPlane < PlaneCount(format); nPlane++)
        ForEachRow(blocks, nPlane, roiChroma,
                   [&](BYTE* pDst, const BYTE* pSrc, ptrdiff_t)
                   { BlendChroma(pDst, pSrc, pDst, static_cast<size_t>(roiChroma.nWidth), wA, wB); });
    return S_OK;
}
