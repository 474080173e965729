#include "imgconverter/Block.h"

#include "dstl/dshowx/DSTrace.h"

#include <algorithm>
#include <cstdint>

namespace
{

/// Where a picture's planes and its rectangle lie, in bytes.
struct Layout
{
    DWORD arrShift[3] = {};
    DWORD arrStep[3] = {};
    DWORD arrOffset[3] = {};
    bool bMirror = false;
};

/// What of a size lies in a picture from a rectangle's first pixel on.
RoiSize Inside(RoiSize roi, const PicProps& pic, const RECT& rc) noexcept
{
    const LONGLONG nColumns = LONGLONG{pic.nWidth} - rc.left;
    const LONGLONG nRows = LONGLONG{AbsHeight(pic.nHeight)} - rc.top;
    return {static_cast<LONG>(std::min<LONGLONG>(roi.nWidth, nColumns)),
            static_cast<LONG>(std::min<LONGLONG>(roi.nHeight, nRows))};
}

template <class TByte>
void Place(PicBlock<TByte>& block, TByte* pbFrame, const Layout& layout) noexcept
{
    block.pbFrame = pbFrame;
    for (int i = 0; i < 3; i++)
    {
        block.arrStart[i] = ptrdiff_t{layout.arrShift[i]} + ptrdiff_t{layout.arrOffset[i]};
        block.arrStep[i] = static_cast<ptrdiff_t>(layout.arrStep[i]);
    }
    block.bMirror = layout.bMirror;
}

} // namespace

bool FramesOverlap(const BYTE* pbInput, const PicProps& picInput, const BYTE* pbOutput,
                   const PicProps& picOutput) noexcept
{
    const auto nInput = reinterpret_cast<uintptr_t>(pbInput);
    const auto nOutput = reinterpret_cast<uintptr_t>(pbOutput);
    return nInput < nOutput + FrameBytes(picOutput) && nOutput < nInput + FrameBytes(picInput);
}

LONG FirstMemoryRow(const PicProps& pic, const RECT& rc, bool bMirror) noexcept
{
    return bMirror ? static_cast<LONG>(AbsHeight(pic.nHeight) - static_cast<DWORD>(rc.bottom)) : rc.top;
}

void TurnDestination(BlockPair& blocks) noexcept
{
    if (blocks.src.bMirror == blocks.dst.bMirror)
        return;
    blocks.dst.arrStart[0] += blocks.dst.arrStep[0] * (ptrdiff_t{blocks.roi.nHeight} - 1);
    blocks.dst.arrStep[0] = -blocks.dst.arrStep[0];
}

HRESULT OpenBlocks(BlockPair& blocks, const BYTE* pbInput, BYTE* pbOutput, const PicProps* pInputProps,
                   const PicProps* pOutputProps, const RECT* prcInput, const RECT* prcOutput) noexcept
{
    Layout src;
    Layout dst;
    if (!GetPicPlanes(pInputProps, src.arrShift, src.arrStep, &src.bMirror, false) ||
        !GetPicPlanes(pOutputProps, dst.arrShift, dst.arrStep, &dst.bMirror, false))
        return E_INVALIDARG;

    RECT srcRect;
    RECT dstRect;
    const HRESULT hr =
        NormalizeRects(pInputProps, pOutputProps, &srcRect, &dstRect, false, prcInput, prcOutput);
    if (hr != S_OK)
        return hr;
    DSASSERT(srcRect.right - srcRect.left == dstRect.right - dstRect.left);
    DSASSERT(srcRect.bottom - srcRect.top == dstRect.bottom - dstRect.top);

    const LONG nSrcRow = FirstMemoryRow(*pInputProps, srcRect, src.bMirror);
    const LONG nDstRow = FirstMemoryRow(*pOutputProps, dstRect, dst.bMirror);
    if (!GetPicOffsets(pInputProps, srcRect.left, nSrcRow, src.arrOffset, false) ||
        !GetPicOffsets(pOutputProps, dstRect.left, nDstRow, dst.arrOffset, false))
        return E_FAIL;

    blocks.srcRect = srcRect;
    blocks.roi = {srcRect.right - srcRect.left, srcRect.bottom - srcRect.top};
    blocks.roiInside = Inside(Inside(blocks.roi, *pInputProps, srcRect), *pOutputProps, dstRect);
    Place(blocks.src, pbInput, src);
    Place(blocks.dst, pbOutput, dst);
    return S_OK;
}
