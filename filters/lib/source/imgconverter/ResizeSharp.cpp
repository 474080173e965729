#include "imgconverter/ResizeSharp.h"

#include "dstl/WinAPI/SehCopy.h"

size_t CSharpScaler::WorkSize(const SharpScale& sharp) noexcept
{
    CSharpScaler scaler;
    CWork work(nullptr);
    scaler.LayOut(work, sharp);
    return work.Taken() + CPlaneScaler::WorkSize(sharp.scale, sharp.nInterpolation, sharp.nChannels);
}

void CSharpScaler::LayOut(CWork& work, const SharpScale& sharp) noexcept
{
    m_sharp = sharp;
    if (!sharp.bSharpen || sharp.scale.dstSize.nWidth <= 0)
        return;
    const size_t cbRow =
        static_cast<size_t>(sharp.scale.dstSize.nWidth) * static_cast<size_t>(sharp.nChannels);
    m_cbKept = (cbRow + cbWorkAlign - 1) / cbWorkAlign * cbWorkAlign;
    m_pKept = work.Take<BYTE>(m_cbKept * nRowsKept);
}

ePrimitiveStatus CSharpScaler::Open(const SharpScale& sharp, BYTE* pWork) noexcept
{
    CWork work(pWork);
    LayOut(work, sharp);
    m_nNext = 0;
    return m_scaler.Open(sharp.scale, sharp.nInterpolation, sharp.nChannels,
                         pWork ? pWork + work.Taken() : nullptr);
}

ePrimitiveStatus CSharpScaler::WriteRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    if (!m_sharp.bSharpen)
    {
        m_scaler.ScaleRow(source, nRow, pDst);
        return ePS_Done;
    }
    const RoiSize& size = m_sharp.scale.dstSize;
    const auto nChannels = static_cast<size_t>(m_sharp.nChannels);
    const size_t nSamples = static_cast<size_t>(size.nWidth) * nChannels;
    for (; m_nNext < size.nHeight && m_nNext <= nRow + 1; m_nNext++)
        m_scaler.ScaleRow(source, m_nNext, Kept(m_nNext));
    if (!SEH_CopyMemory(pDst, Kept(nRow), nSamples))
        return ePS_NullPointer;
    if (nRow > 0 && nRow < size.nHeight - 1 && size.nWidth > 2)
        FilterRow(Kept(nRow - 1) + nChannels, Kept(nRow) + nChannels, Kept(nRow + 1) + nChannels,
                  pDst + nChannels, nSamples - 2 * nChannels, m_sharp.nChannels, m_sharp.kernel);
    return ePS_Done;
}
