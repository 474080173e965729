#include "imgconverter/ImgConverter.h"

#include "dstl/dshowx/DSTrace.h"
#include "imgconverter/ConversionMatrix.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace
{

/// What the size queries answer for a null descriptor: an HRESULT as a plain number. No caller passes null.
constexpr size_t cbNullPointer = static_cast<DWORD>(E_INVALIDARG);

/// Rows of 8 pixels at least, cbPixel bytes for each pixel.
size_t BufferSize(const PicProps* pInputProps, const PicProps* pOutputProps, size_t cbPixel) noexcept
{
    DSASSERT(pInputProps && pOutputProps);
    if (!pInputProps || !pOutputProps)
        return cbNullPointer;
    const LONG nWidest = std::max({pInputProps->nWidth, pInputProps->nRowWidth, pOutputProps->nWidth,
                                   pOutputProps->nRowWidth, LONG{0}});
    const size_t nColumns = (static_cast<size_t>(nWidest) + 7) & ~size_t{7};
    const size_t nRows = std::max(AbsHeight(pInputProps->nHeight), AbsHeight(pOutputProps->nHeight));
    if (nRows != 0 && nColumns * cbPixel > SIZE_MAX / nRows)
        return SIZE_MAX;
    return nRows * nColumns * cbPixel;
}

/// A status as a result: negative ones as they stand, others as a Win32 error.
constexpr HRESULT StatusResult(ePrimitiveStatus eStatus) noexcept
{
    return eStatus < 0 ? static_cast<HRESULT>(eStatus)
                       : static_cast<HRESULT>(0x80070000u | (eStatus & 0xFFFF));
}

/// Bytes of a pair of pixels of at most 32 bits.
constexpr size_t cbPairMax = 8;

/// A row's last pixel of RGB, twice.
struct LastPair
{
    BYTE arrBytes[cbPairMax];

    LastPair(const BYTE* pPixel, size_t cbPixel) noexcept
    {
        std::memcpy(arrBytes, pPixel, cbPixel);
        std::memcpy(arrBytes + cbPixel, pPixel, cbPixel);
    }
};

/// One pixel of RGB to a pair of packed YUV, or back.
void ConvertLast(const Conversion& conversion, PFNCONVERTROW pfn, const BYTE* pSrc, BYTE* pDst) noexcept
{
    const bool bFromRgb = conversion.cbSrcPixel > 2;
    if (bFromRgb)
    {
        const LastPair pair(pSrc, conversion.cbSrcPixel);
        pfn(pair.arrBytes, pDst, 2);
        return;
    }
    BYTE arrPair[cbPairMax] = {};
    pfn(pSrc, arrPair, 2);
    std::memcpy(pDst, arrPair, conversion.cbDstPixel);
}

void ConvertPacked(const Conversion& conversion, PFNCONVERTROW pfn, const BlockPair& blocks) noexcept
{
    const auto nColumns = static_cast<size_t>(blocks.roiInside.nWidth);
    const size_t nWhole = conversion.nMinWidth == 2 ? nColumns & ~size_t{1} : nColumns;
    const size_t nSrcLast = nWhole * conversion.cbSrcPixel;
    const size_t nDstLast = nWhole * conversion.cbDstPixel;
    const BYTE* pSrc = blocks.src.Pixels(0);
    BYTE* pDst = blocks.dst.Pixels(0);
    for (ptrdiff_t y = 0; y < blocks.roiInside.nHeight; y++)
    {
        const BYTE* pSrcRow = pSrc + y * blocks.src.arrStep[0];
        BYTE* pDstRow = pDst + y * blocks.dst.arrStep[0];
        pfn(pSrcRow, pDstRow, nWhole);
        if (nWhole != nColumns)
            ConvertLast(conversion, pfn, pSrcRow + nSrcLast, pDstRow + nDstLast);
    }
}

void ConvertToPlanar(const Conversion& conversion, PFNTOPLANAR420 pfn, const BlockPair& blocks) noexcept
{
    const ptrdiff_t nRows = blocks.roiInside.nHeight & ~1;
    if (nRows == 0)
        return;
    const auto nColumns = static_cast<size_t>(blocks.roiInside.nWidth);
    const size_t nWhole = nColumns & ~size_t{1};
    const BYTE* pSrc = blocks.src.Pixels(0);
    BYTE* pY = blocks.dst.Pixels(0);
    BYTE* pU = blocks.dst.Pixels(conversion.bSwapChroma ? 2 : 1);
    BYTE* pV = blocks.dst.Pixels(conversion.bSwapChroma ? 1 : 2);
    for (ptrdiff_t y = 0; y < nRows; y += 2)
    {
        const BYTE* pSrc0 = pSrc + y * blocks.src.arrStep[0];
        const BYTE* pSrc1 = pSrc + (y + 1) * blocks.src.arrStep[0];
        BYTE* pY0 = pY + y * blocks.dst.arrStep[0];
        BYTE* pY1 = pY + (y + 1) * blocks.dst.arrStep[0];
        BYTE* pURow = pU + y / 2 * blocks.dst.arrStep[1];
        BYTE* pVRow = pV + y / 2 * blocks.dst.arrStep[2];
        pfn(pSrc0, pSrc1, pY0, pY1, pURow, pVRow, nWhole);
        if (nWhole != nColumns)
        {
            const LastPair pair0(pSrc0 + nWhole * conversion.cbSrcPixel, conversion.cbSrcPixel);
            const LastPair pair1(pSrc1 + nWhole * conversion.cbSrcPixel, conversion.cbSrcPixel);
            pfn(pair0.arrBytes, pair1.arrBytes, pY0 + nWhole, pY1 + nWhole, pURow + nWhole / 2,
                pVRow + nWhole / 2, 2);
        }
    }
}

void ConvertFromPlanar(const Conversion& conversion, PFNFROMPLANAR420 pfn, const BlockPair& blocks) noexcept
{
    const ptrdiff_t nRows = blocks.roiInside.nHeight & ~1;
    if (nRows == 0)
        return;
    const auto nColumns = static_cast<size_t>(blocks.roiInside.nWidth);
    const size_t nWhole = nColumns & ~size_t{1};
    const BYTE* pY = blocks.src.Pixels(0);
    const BYTE* pSecond = blocks.src.Pixels(conversion.bSwapChroma ? 2 : 1);
    const BYTE* pThird = blocks.src.Pixels(conversion.bSwapChroma ? 1 : 2);
    BYTE* pDst = blocks.dst.Pixels(0);
    for (ptrdiff_t y = 0; y < nRows; y += 2)
    {
        const BYTE* pY0 = pY + y * blocks.src.arrStep[0];
        const BYTE* pY1 = pY + (y + 1) * blocks.src.arrStep[0];
        const BYTE* pSecondRow = pSecond + y / 2 * blocks.src.arrStep[1];
        const BYTE* pThirdRow = pThird + y / 2 * blocks.src.arrStep[2];
        BYTE* pDst0 = pDst + y * blocks.dst.arrStep[0];
        BYTE* pDst1 = pDst + (y + 1) * blocks.dst.arrStep[0];
        pfn(pY0, pY1, pSecondRow, pThirdRow, pDst0, pDst1, nWhole);
        if (nWhole != nColumns)
        {
            BYTE arrPair0[cbPairMax] = {};
            BYTE arrPair1[cbPairMax] = {};
            pfn(pY0 + nWhole, pY1 + nWhole, pSecondRow + nWhole / 2, pThirdRow + nWhole / 2, arrPair0,
                arrPair1, 2);
            std::memcpy(pDst0 + nWhole * conversion.cbDstPixel, arrPair0, conversion.cbDstPixel);
            std::memcpy(pDst1 + nWhole * conversion.cbDstPixel, arrPair1, conversion.cbDstPixel);
        }
    }
}

void CopyPlanes(const Conversion& conversion, const BlockPair& blocks) noexcept
{
    const int nPlanes = conversion.cbSrcPixel == 1 ? 3 : 1; // a byte a pixel is that of planes
    for (int i = 0; i < nPlanes; i++)
    {
        const RoiSize roi = i == 0 ? blocks.roiInside : HalfSize(blocks.roiInside);
        if (!IsEmpty(roi))
            CopyRows(blocks.src.Pixels(i), blocks.src.arrStep[i], blocks.dst.Pixels(i), blocks.dst.arrStep[i],
                     roi, conversion.cbSrcPixel);
    }
}

/// Lets the input run backward, or flips its rows where they lie. An assertion where its format has no flip.
void TurnInput(BlockPair& blocks, BYTE* pbInput, DWORD fccIn, bool bMirrorToBuffer) noexcept
{
    const size_t cbPixel = FlipPixelBytes(fccIn);
    DSASSERT_TEXT(cbPixel != 0, bMirrorToBuffer ? "INVALID MIRROW" : "INVALID MIRROW INPUT");
    if (cbPixel == 0)
        return;
    if (bMirrorToBuffer)
        blocks.src.RunBackward(blocks.roi.nHeight);
    else
        FlipRows(pbInput + blocks.src.arrStart[0], blocks.src.arrStep[0], blocks.roiInside, cbPixel);
}

void FlipOutput(const BlockPair& blocks, DWORD fccOut) noexcept
{
    const size_t cbPixel = FlipPixelBytes(fccOut);
    DSASSERT_TEXT(cbPixel != 0, "INVALID MIRROW OUTPUT");
    if (cbPixel != 0)
        FlipRows(blocks.dst.pbFrame + blocks.dst.arrStart[0], blocks.dst.arrStep[0], blocks.roiInside,
                 cbPixel);
}

} // namespace

ePrimitiveStatus CheckConversion(const Conversion& conversion, RoiSize roi, bool bHasTemp) noexcept
{
    if (conversion.bTwoStages && !bHasTemp)
        return ePS_NullPointer;
    if (roi.nWidth < conversion.nMinWidth || roi.nHeight < conversion.nMinHeight)
        return conversion.nMinWidth == 0 ? ePS_Done : ePS_SizeError;
    const bool bOddHeight = (roi.nHeight & 1) != 0;
    return bOddHeight && conversion.eOdd == eOH_Warn ? ePS_OddLeftOut : ePS_Done;
}

void ConvertRows(const Conversion& conversion, const BlockPair& blocks) noexcept
{
    if (IsEmpty(blocks.roiInside))
        return;
    const ConvertKernels& kernels = Kernels<ConvertKernels>();
    switch (conversion.eKind)
    {
    case eCK_CopyRows:
        CopyPlanes(conversion, blocks);
        break;
    case eCK_Row:
        ConvertPacked(conversion, kernels.*conversion.pfnRow, blocks);
        break;
    case eCK_ToPlanar420:
        ConvertToPlanar(conversion, kernels.*conversion.pfnToPlanar, blocks);
        break;
    case eCK_FromPlanar420:
        ConvertFromPlanar(conversion, kernels.*conversion.pfnFromPlanar, blocks);
        break;
    case eCK_Nothing:
    case eCK_Refused:
        break;
    }
}

bool Img_CheckProps(const PicProps* _pProps, bool bAnyRGB) noexcept
{
    if (!GetPicFormat(_pProps, nullptr, nullptr, nullptr))
        return false;
    return bAnyRGB || FormatOf(_pProps->fccType).nGreenBits == 0;
}

HRESULT Img_GetRects(const PicProps* _pInputProps, const PicProps* _pOutputProps, RECT* psrcRect,
                     RECT* pdstRect, bool bScale, const RECT* _prcInput, const RECT* _prcOutput) noexcept
{
    if (!Img_CheckProps(_pInputProps, !bScale) || !Img_CheckProps(_pOutputProps, !bScale))
        return E_INVALIDARG;
    return NormalizeRects(_pInputProps, _pOutputProps, psrcRect, pdstRect, bScale, _prcInput, _prcOutput);
}

size_t Img_GetBufferSize(const PicProps* _pInputProps, const PicProps* _pOutputProps) noexcept
{
    return BufferSize(_pInputProps, _pOutputProps, 8);
}

size_t Img_GetBufferSizeEx(const PicProps* _pInputProps, const PicProps* _pOutputProps) noexcept
{
    return BufferSize(_pInputProps, _pOutputProps, 16);
}

HRESULT Img_Convert(BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                    const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput,
                    bool bMirrorToBuffer, BYTE* pTemp) noexcept
{
    DSASSERT(_pInputProps && _pOutputProps);
    if (!_pInputProps || !_pOutputProps)
        return E_INVALIDARG;
    DSASSERT(_pbInput && _pbOutput);
    if (!_pbInput || !_pbOutput)
        return E_INVALIDARG;

    BlockPair blocks;
    const HRESULT hr =
        OpenBlocks(blocks, _pbInput, _pbOutput, _pInputProps, _pOutputProps, _prcInput, _prcOutput);
    if (hr != S_OK)
        return hr;
    const bool bMirrorInput = blocks.src.bMirror && !blocks.dst.bMirror;
    const bool bMirrorOutput = blocks.dst.bMirror && !blocks.src.bMirror;

    // Both stages of a conversion run on a row while it is in the cache, and a turned source is read from its
    // last row on, so that no buffer is written. Whether there would be one still decides about the result.
    const DWORD fccIn = _pInputProps->fccType;
    const DWORD fccOut = _pOutputProps->fccType;
    const bool bHasTemp = pTemp != nullptr || (bMirrorInput && bMirrorToBuffer) ||
                          NeedsTempBuffer(bMirrorToBuffer, fccIn, fccOut);

    if (bMirrorInput)
        TurnInput(blocks, _pbInput, fccIn, bMirrorToBuffer);

    const Conversion& conversion = FindConversion(fccIn, fccOut);
    if (conversion.eKind == eCK_Refused)
    {
        assertion(false, __FILE__, __LINE__, conversion.pszRefusal);
        return E_NOTIMPL;
    }
    const ePrimitiveStatus eStatus = CheckConversion(conversion, blocks.roi, bHasTemp);
    if (eStatus < 0)
        return StatusResult(eStatus);

    // A destination whose every byte gets written is turned while it is written.
    const bool bTurnOutput =
        bMirrorOutput && eStatus == ePS_Done && conversion.eKind != eCK_Nothing && !conversion.bKeepsBytes;
    if (bTurnOutput)
        blocks.dst.RunBackward(blocks.roi.nHeight);
    ConvertRows(conversion, blocks);
    if (eStatus != ePS_Done)
        return StatusResult(eStatus);

    if (bMirrorOutput && !bTurnOutput)
        FlipOutput(blocks, fccOut);
    return S_OK;
}
