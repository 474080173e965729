#include "imgconverter/ConvertedRows.h"

namespace
{

constexpr size_t cbCacheLine = 64;

} // namespace

bool CConvertedRows::Open(const BYTE* pbInput, const PicProps& picInput, const PicProps& picTarget) noexcept
{
    m_pConversion = &FindConversion(picInput.fccType, picTarget.fccType);
    // Formats of one plane, every byte of the target written; an odd column would be filled up.
    if (m_pConversion->eKind != eCK_Row || m_pConversion->bKeepsBytes || picInput.nWidth % 2 != 0 ||
        OpenBlocks(m_blocks, pbInput, nullptr, &picInput, &picTarget, nullptr, nullptr) != S_OK)
        return false;
    const RoiSize& roi = m_blocks.roiInside;
    if (roi.nWidth != picTarget.nWidth || roi.nHeight != static_cast<LONG>(AbsHeight(picTarget.nHeight)) ||
        m_blocks.dst.bMirror || CheckConversion(*m_pConversion, roi, true) != ePS_Done)
        return false;
    if (m_blocks.src.bMirror) // rows are counted as shown
    {
        m_blocks.src.arrStart[0] += m_blocks.src.arrStep[0] * (ptrdiff_t{roi.nHeight} - 1);
        m_blocks.src.arrStep[0] = -m_blocks.src.arrStep[0];
    }
    m_cbRow = static_cast<size_t>(m_blocks.dst.arrStep[0]);
    return true;
}

const BYTE* CConvertedRows::Row(LONG nRow) noexcept
{
    BlockPair blocks = m_blocks;
    blocks.src.arrStart[0] += nRow * blocks.src.arrStep[0];
    blocks.dst.pbFrame = m_pRows + static_cast<size_t>(nRow) % nRowsKept * m_cbRow;
    blocks.dst.arrStart[0] = 0;
    blocks.roi.nHeight = 1;
    blocks.roiInside.nHeight = 1;
    ConvertRows(*m_pConversion, blocks);

    // While this row is split and scaled the next one comes into the cache.
    if (nRow + 1 < m_blocks.roiInside.nHeight)
    {
        const BYTE* pNext = blocks.src.Pixels(0) + blocks.src.arrStep[0];
        const size_t cbNext = static_cast<size_t>(m_blocks.roiInside.nWidth) * m_pConversion->cbSrcPixel;
        for (size_t i = 0; i < cbNext; i += cbCacheLine)
            __builtin_prefetch(pNext + i);
    }
    return blocks.dst.pbFrame;
}
