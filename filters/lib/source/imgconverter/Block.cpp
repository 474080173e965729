#include "imgconverter/Block.h"

#include "dstl/dshowx/DSTrace.h"

#include <algorithm>
#include <cstdint>
#include <limits>

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

bool OpenField(FieldView& view, const PicProps& pic, const RECT& rc, bool bSecond) noexcept
{
    const int64_t nRow = PicRow(pic);
    const int64_t nWidth = pic.nWidth + nRow;
    const int64_t nRowWidth = pic.nRowWidth + nRow;
    constexpr int64_t nLimit = std::numeric_limits<LONG>::max() - 1; // leaves room to round up to even
    if (nRow <= 0 || nWidth <= 0 || nWidth > nLimit || nRowWidth > nLimit)
        return false;
    if (IsPicTooLarge(pic))
        return false;

    const auto nLeft = static_cast<LONG>(bSecond ? nRow : 0);
    view.pic = {pic.fccType, static_cast<LONG>(nWidth), pic.nHeight / 2, static_cast<LONG>(nRowWidth)};
    view.rc = {rc.left + nLeft, rc.top / 2, rc.right + nLeft, rc.bottom / 2};
    return true;
}
