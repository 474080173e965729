#include "imgconverter/Block.h"
#include "imgconverter/ImgConverter.h"

#include "dstl/dshowx/DSTrace.h"

#include <cstdlib>
#include <memory>
#include <new>

namespace
{

using PFNCOPYROWS = ePrimitiveStatus (*)(const BYTE*, ptrdiff_t, BYTE*, ptrdiff_t, RoiSize) noexcept;

/// The copy of each format; a planar one copies Y at the full size and U and V at half of each dimension.
struct FormatCopy
{
    DWORD fccType;
    PFNCOPYROWS pfnCopy;
    bool bPlanar;
};

constexpr FormatCopy arrCopies[] = {
    {FOURCC_I420, CopyRows8, true},     {FOURCC_YV12, CopyRows8, true},
    {FOURCC_YUY2, CopyRows16, false},   {FOURCC_UYVY, CopyRows16, false},
    {FOURCC_HDYC, CopyRows16, false},   {FOURCC_YVYU, CopyRows16, false},
    {FOURCC_RGB565, CopyRows16, false}, {FOURCC_RGB555, CopyRows16, false},
    {FOURCC_RGB8, CopyRows8, false},    {FOURCC_RGB24, CopyRows24, false},
    {FOURCC_RGB32, CopyRows32, false},  {FOURCC_ARGB32, CopyRows32, false},
};

const FormatCopy* FindCopy(DWORD fccType) noexcept
{
    for (const FormatCopy& copy : arrCopies)
    {
        if (copy.fccType == fccType)
            return &copy;
    }
    return nullptr;
}

ePrimitiveStatus CopyPlane(const FormatCopy& copy, const BlockPair& blocks, int nPlane, RoiSize roi) noexcept
{
    if (roi.nWidth <= 0 || roi.nHeight <= 0)
        return ePS_Done;
    return copy.pfnCopy(blocks.src.Pixels(nPlane), blocks.src.arrStep[nPlane], blocks.dst.Pixels(nPlane),
                        blocks.dst.arrStep[nPlane], roi);
}

ePrimitiveStatus CopyBlock(const FormatCopy& copy, const BlockPair& blocks) noexcept
{
    const RoiSize roiChroma = {blocks.roi.nWidth / 2, blocks.roi.nHeight / 2};
    ePrimitiveStatus eStatus = CopyPlane(copy, blocks, 0, blocks.roi);
    for (int nPlane = 1; copy.bPlanar && nPlane < 3 && eStatus == ePS_Done; nPlane++)
        eStatus = CopyPlane(copy, blocks, nPlane, roiChroma);
    return eStatus;
}

/// True when rows may have been overwritten before they are read, in whichever order CopyRows takes them: two
/// layouts in one memory. Within one picture every plane moves as a whole.
bool LayoutsCollide(const FormatCopy& copy, const BlockPair& blocks, const PicProps& picInput,
                    const PicProps& picOutput) noexcept
{
    if (!FramesOverlap(blocks.src.pbFrame, picInput, blocks.dst.pbFrame, picOutput))
        return false;
    const bool bSamePlanes = blocks.src.pbFrame == blocks.dst.pbFrame &&
                             AbsHeight(picInput.nHeight) == AbsHeight(picOutput.nHeight);
    return blocks.src.arrStep[0] != blocks.dst.arrStep[0] || (copy.bPlanar && !bSamePlanes);
}

/// Copies the rectangle by way of a block of our own. \return S_OK; E_OUTOFMEMORY
HRESULT CopyThroughMemory(const FormatCopy& copy, const BlockPair& blocks) noexcept
{
    BlockPair blocksIn = blocks;
    BlockPair blocksOut = blocks;
    ptrdiff_t cbMemory = 0;
    for (int nPlane = 0; nPlane < (copy.bPlanar ? 3 : 1); nPlane++)
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
    CopyBlock(copy, blocksIn);
    CopyBlock(copy, blocksOut);
    return S_OK;
}

/// Lets the source run backward, from the last row of its block.
void TurnSource(BlockPair& blocks) noexcept
{
    blocks.src.arrStart[0] += blocks.src.arrStep[0] * (ptrdiff_t{blocks.roi.nHeight} - 1);
    blocks.src.arrStep[0] = -blocks.src.arrStep[0];
}

} // namespace

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
        TurnSource(blocks);
    const FormatCopy* pCopy = FindCopy(_pInputProps->fccType);
    DSASSERT_TEXT(pCopy != NULL, "");
    if (!pCopy || blocks.roi.nWidth <= 0 || blocks.roi.nHeight <= 0)
        return S_OK;
    if (LayoutsCollide(*pCopy, blocks, *_pInputProps, *_pOutputProps))
        return CopyThroughMemory(*pCopy, blocks);
    return CopyBlock(*pCopy, blocks) == ePS_Done ? S_OK : E_ACCESSDENIED;
}
