#pragma once
/// The loops over the rows of a conversion, for blocks of pixels that know their own arithmetic. Included by
/// the files that are compiled for one kind of processor each, so everything here is local to its includer.

#include "asm/SIMD64Convert.h"
#include "asm/SIMD64Vectors.h"

namespace
{

/// Pixels of a turn of the loop: a line of the cache in a plane of bytes.
constexpr size_t nGroup = 64;

/// How far ahead of the loop sources and destinations are asked for: long enough for memory to answer, short
/// enough for the lines to be there still. A destination's lines are read before they are written.
constexpr size_t cbSrcAhead = 2048;
constexpr size_t cbDstAhead = 512;

/// Asks for cb bytes cbAhead further on; any address will do, also behind a row and behind a picture.
template <size_t cb, size_t cbAhead>
void Prefetch(const BYTE* p)
{
    const UINT_PTR nAddress = reinterpret_cast<UINT_PTR>(p) + cbAhead;
    for (size_t i = 0; i < cb; i += 64)
        _mm_prefetch(reinterpret_cast<const char*>(nAddress + i), _MM_HINT_T0);
}

/// Whole blocks, then one that ends with the row and does some pixels again. block does nBlock pixels from a
/// column on, and prefetch asks for what nGroup pixels further on take.
template <size_t nBlock, class TBlock, class TPrefetch>
void RunBlocks(size_t nPixels, TBlock block, TPrefetch prefetch)
{
    size_t i = 0;
    for (; i + nGroup <= nPixels; i += nGroup)
    {
        prefetch(i);
        for (size_t k = 0; k < nGroup; k += nBlock)
            block(i + k);
    }
    for (; i + nBlock <= nPixels; i += nBlock)
        block(i);
    if (i < nPixels)
        block(nPixels - nBlock);
}

/// Columns of a block.
template <class V, class TBlock>
constexpr size_t BlockPixels()
{
    return TBlock::nLanePixels * V::nLanes;
}

// A row that is shorter than a block is handed on.

template <class V, class TBlock, auto pKernel>
void RunRow(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept
{
    if (nPixels < BlockPixels<V, TBlock>())
        return Narrower<V>(RunRow<V16, TBlock, pKernel>, ConvertKernels::scalar.*pKernel)(pSrc, pDst,
                                                                                          nPixels);
    RunBlocks<BlockPixels<V, TBlock>()>(
        nPixels,
        [=](size_t i) { TBlock::template Do<V>(pSrc + i * TBlock::cbSrc, pDst + i * TBlock::cbDst); },
        [=](size_t i)
        {
            Prefetch<nGroup * TBlock::cbSrc, cbSrcAhead>(pSrc + i * TBlock::cbSrc);
            Prefetch<nGroup * TBlock::cbDst, cbDstAhead>(pDst + i * TBlock::cbDst);
        });
}

template <class V, class TBlock, auto pKernel>
void RunToPlanar(const BYTE* pSrc0, const BYTE* pSrc1, BYTE* pY0, BYTE* pY1, BYTE* pU, BYTE* pV,
                 size_t nPixels) noexcept
{
    if (nPixels < BlockPixels<V, TBlock>())
        return Narrower<V>(RunToPlanar<V16, TBlock, pKernel>,
                           ConvertKernels::scalar.*pKernel)(pSrc0, pSrc1, pY0, pY1, pU, pV, nPixels);
    RunBlocks<BlockPixels<V, TBlock>()>(
        nPixels,
        [=](size_t i)
        {
            TBlock::template Do<V>(pSrc0 + i * TBlock::cbSrc, pSrc1 + i * TBlock::cbSrc, pY0 + i, pY1 + i,
                                   pU + i / 2, pV + i / 2);
        },
        [=](size_t i)
        {
            Prefetch<nGroup * TBlock::cbSrc, cbSrcAhead>(pSrc0 + i * TBlock::cbSrc);
            Prefetch<nGroup * TBlock::cbSrc, cbSrcAhead>(pSrc1 + i * TBlock::cbSrc);
        });
}

template <class V, class TBlock, auto pKernel>
void RunFromPlanar(const BYTE* pY0, const BYTE* pY1, const BYTE* pSecond, const BYTE* pThird, BYTE* pDst0,
                   BYTE* pDst1, size_t nPixels) noexcept
{
    if (nPixels < BlockPixels<V, TBlock>())
        return Narrower<V>(RunFromPlanar<V16, TBlock, pKernel>,
                           ConvertKernels::scalar.*pKernel)(pY0, pY1, pSecond, pThird, pDst0, pDst1, nPixels);
    RunBlocks<BlockPixels<V, TBlock>()>(
        nPixels,
        [=](size_t i)
        {
            TBlock::template Do<V>(pY0 + i, pY1 + i, pSecond + i / 2, pThird + i / 2,
                                   pDst0 + i * TBlock::cbDst, pDst1 + i * TBlock::cbDst);
        },
        [=](size_t i)
        {
            Prefetch<nGroup * TBlock::cbDst, cbDstAhead>(pDst0 + i * TBlock::cbDst);
            Prefetch<nGroup * TBlock::cbDst, cbDstAhead>(pDst1 + i * TBlock::cbDst);
        });
}

/// One row after the other, where the chroma costs less than a second place to write to.
template <class V, class TBlock, auto pKernel>
void RunFromPlanarByRow(const BYTE* pY0, const BYTE* pY1, const BYTE* pSecond, const BYTE* pThird,
                        BYTE* pDst0, BYTE* pDst1, size_t nPixels) noexcept
{
    if (nPixels < BlockPixels<V, TBlock>())
        return Narrower<V>(RunFromPlanarByRow<V16, TBlock, pKernel>,
                           ConvertKernels::scalar.*pKernel)(pY0, pY1, pSecond, pThird, pDst0, pDst1, nPixels);
    const auto row = [=](const BYTE* pY, BYTE* pDst)
    {
        RunBlocks<BlockPixels<V, TBlock>()>(
            nPixels,
            [=](size_t i)
            { TBlock::template Do<V>(pY + i, pSecond + i / 2, pThird + i / 2, pDst + i * TBlock::cbDst); },
            [=](size_t i) { Prefetch<nGroup * TBlock::cbDst, cbDstAhead>(pDst + i * TBlock::cbDst); });
    };
    row(pY0, pDst0);
    row(pY1, pDst1);
}

/// Kernels without a vector form.
template <PFNCONVERTROW ConvertKernels::*pKernel>
void RunScalar(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept
{
    (ConvertKernels::scalar.*pKernel)(pSrc, pDst, nPixels);
}

template <PFNFROMPLANAR420 ConvertKernels::*pKernel>
void RunScalar(const BYTE* pY0, const BYTE* pY1, const BYTE* pSecond, const BYTE* pThird, BYTE* pDst0,
               BYTE* pDst1, size_t nPixels) noexcept
{
    (ConvertKernels::scalar.*pKernel)(pY0, pY1, pSecond, pThird, pDst0, pDst1, nPixels);
}

} // namespace
