#include "imgconverter/ImgConverter.h"

#include "dstl/dshowx/DSTrace.h"
#include "imgconverter/Block.h"
#include "imgconverter/ConversionMatrix.h"
#include "imgconverter/ConvertRows.h"
#include "imgconverter/Flip.h"

#include <algorithm>
#include <cstdint>

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

/// Lets the rows of a block run backward, from the last one.
template <class TByte>
void TurnRows(PicBlock<TByte>& block, LONG nHeight) noexcept
{
    block.arrStart[0] += block.arrStep[0] * (ptrdiff_t{nHeight} - 1);
    block.arrStep[0] = -block.arrStep[0];
}

} // namespace

bool Img_CheckProps(const PicProps* _pProps, bool bAnyRGB) noexcept
{
    if (!GetPicFormat(_pProps, nullptr, nullptr, nullptr))
        return false;
    return bAnyRGB || (_pProps->fccType != FOURCC_RGB565 && _pProps->fccType != FOURCC_RGB555);
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
    {
        const size_t cbPixel = FlipPixelBytes(fccIn);
        if (bMirrorToBuffer)
        {
            DSASSERT_TEXT(cbPixel != 0, "INVALID MIRROW");
            if (cbPixel != 0)
                TurnRows(blocks.src, blocks.roi.nHeight);
        }
        else
        {
            DSASSERT_TEXT(cbPixel != 0, "INVALID MIRROW INPUT");
            if (cbPixel != 0)
                FlipRows(_pbInput + blocks.src.arrStart[0], blocks.src.arrStep[0], blocks.roiInside, cbPixel);
        }
    }

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
        TurnRows(blocks.dst, blocks.roi.nHeight);
    ConvertRows(conversion, blocks);
    if (eStatus != ePS_Done)
        return StatusResult(eStatus);

    if (bMirrorOutput && !bTurnOutput)
    {
        const size_t cbPixel = FlipPixelBytes(fccOut);
        DSASSERT_TEXT(cbPixel != 0, "INVALID MIRROW OUTPUT");
        if (cbPixel != 0)
            FlipRows(_pbOutput + blocks.dst.arrStart[0], blocks.dst.arrStep[0], blocks.roiInside, cbPixel);
    }
    return S_OK;
}
