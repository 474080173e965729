#include "imgconverter/Block.h"
#include "imgconverter/ImgConverter.h"

#include "dstl/dshowx/DSTrace.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <new>

namespace
{

void SwapBytes(BYTE* pFirst, BYTE* pSecond, size_t cb) noexcept
{
    BYTE arrPiece[1024];
    for (size_t i = 0; i < cb; i += sizeof(arrPiece))
    {
        const size_t cbPiece = std::min(cb - i, sizeof(arrPiece));
        std::memcpy(arrPiece, pFirst + i, cbPiece);
        std::memcpy(pFirst + i, pSecond + i, cbPiece);
        std::memcpy(pSecond + i, arrPiece, cbPiece);
    }
}

ePrimitiveStatus CopyPlane(const PixelFormat& format, const BlockPair& blocks, int nPlane,
                           RoiSize roi) noexcept
{
    if (IsEmpty(roi))
        return ePS_Done;
    return CopyRows(blocks.src.Pixels(nPlane), blocks.src.arrStep[nPlane], blocks.dst.Pixels(nPlane),
                    blocks.dst.arrStep[nPlane], roi, PixelBytes(format));
}

ePrimitiveStatus CopyBlock(const PixelFormat& format, const BlockPair& blocks) noexcept
{
    ePrimitiveStatus eStatus = ePS_Done;
    for (int nPlane = 0; nPlane < PlaneCount(format) && eStatus == ePS_Done; nPlane++)
        eStatus = CopyPlane(format, blocks, nPlane, nPlane == 0 ? blocks.roi : HalfSize(blocks.roi));
    return eStatus;
}

/// True when rows may have been overwritten before they are read, in whichever order CopyRows takes them: two
/// layouts in one memory. Within one picture every plane moves as a whole.
bool LayoutsCollide(const PixelFormat& format, const BlockPair& blocks, const PicProps& picInput,
                    const PicProps& picOutput) noexcept
{
    if (!FramesOverlap(blocks.src.pbFrame, picInput, blocks.dst.pbFrame, picOutput))
        return false;
    const bool bSamePlanes = blocks.src.pbFrame == blocks.dst.pbFrame &&
                             AbsHeight(picInput.nHeight) == AbsHeight(picOutput.nHeight);
    return blocks.src.arrStep[0] != blocks.dst.arrStep[0] || (IsPlanar(format) && !bSamePlanes);
}

/// Copies the rectangle by way of a block of our own. \return S_OK; E_OUTOFMEMORY
HRESULT CopyThroughMemory(const PixelFormat& format, const BlockPair& blocks) noexcept
{
    BlockPair blocksIn = blocks;
    BlockPair blocksOut = blocks;
    ptrdiff_t cbMemory = 0;
    for (int nPlane = 0; nPlane < PlaneCount(format); nPlane++)
    {
        const ptrdiff_t nStep = std::abs(blocks.src.arrStep[nPlane]);
        blocksIn.dst.arrStart[nPlane] = blocksOut.src.arrStart[nPlane] = cbMemory;
        blocksIn.dst.arrStep[nPlane] = blocksOut.src.arrStep[nPlane] = nStep;
        cbMemory += nStep * blocks.roi.nHeight;
    }
    const std::unique_ptr<BYTE[]> spMemory(new (std::nothrow) BYTE[static_cast<size_t>(cbMemory)]);
    if (!spMemory)
        return E_OUTOFMEMORY;
    blocksOut.src.pbFrame = blocksIn.dst.pbFrame = spMemory.get();
    CopyBlock(format, blocksIn);
    CopyBlock(format, blocksOut);
    return S_OK;
}

} // namespace

ePrimitiveStatus CopyRows(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep, RoiSize roi,
                          size_t cbSample) noexcept
{
    if (!pSrc || !pDst)
        return ePS_NullPointer;
    if (roi.nWidth <= 0 || roi.nHeight <= 0)
        return ePS_Done;

    const size_t cbRow = static_cast<size_t>(roi.nWidth) * cbSample;
    const auto nRows = static_cast<size_t>(roi.nHeight);
    const bool bOneBlock = nSrcStep == nDstStep && nSrcStep > 0 && static_cast<size_t>(nSrcStep) == cbRow;
    if (bOneBlock)
    {
        std::memmove(pDst, pSrc, cbRow * nRows);
        return ePS_Done;
    }
    // A block that moves onto its own next rows is copied from its last row on. Offsets instead of moving
    // pointers: those would pass the start of the buffer after the last turned row.
    const bool bOntoNextRows =
        nSrcStep == nDstStep && pSrc != pDst && std::less<>()(pSrc, pDst) == (nSrcStep > 0);
    for (size_t i = 0; i < nRows; i++)
    {
        const auto nRow = static_cast<ptrdiff_t>(bOntoNextRows ? nRows - 1 - i : i);
        std::memmove(pDst + nRow * nDstStep, pSrc + nRow * nSrcStep, cbRow);
    }
    return ePS_Done;
}

size_t FlipPixelBytes(DWORD fccType) noexcept
{
    const PixelFormat& format = FormatOf(fccType);
    const bool bFlips = format.bPixels && format.eModel == eCM_RGB && PixelBytes(format) > 1;
    return bFlips ? PixelBytes(format) : 0;
}

void FlipRows(BYTE* pBlock, ptrdiff_t nStep, RoiSize roi, size_t cbPixel) noexcept
{
    if (roi.nWidth <= 0 || roi.nHeight <= 1)
        return;
    const size_t cbRow = static_cast<size_t>(roi.nWidth) * cbPixel;
    const ptrdiff_t nRows = roi.nHeight;
    for (ptrdiff_t i = 0; i < nRows / 2; i++)
        SwapBytes(pBlock + i * nStep, pBlock + (nRows - 1 - i) * nStep, cbRow);
}

HRESULT Img_Copy(const BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                 const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput) noexcept
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
        OpenBlocks(blocks, _pbInput, _pbOutput, _pInputProps, _pOutputProps, _prcInput, _prcOutput);
    if (hr != S_OK)
        return hr;
    if (blocks.src.bMirror != blocks.dst.bMirror)
        blocks.src.RunBackward(blocks.roi.nHeight);
    const PixelFormat& format = FormatOf(_pInputProps->fccType);
    DSASSERT_TEXT(format.bPixels, "");
    if (!format.bPixels || IsEmpty(blocks.roi))
        return S_OK;
    if (LayoutsCollide(format, blocks, *_pInputProps, *_pOutputProps))
        return CopyThroughMemory(format, blocks);
    return CopyBlock(format, blocks) == ePS_Done ? S_OK : E_ACCESSDENIED;
}
