#include "imgconverter/ResizePlane.h"

#include "dstl/WinAPI/SehCopy.h"

#include <cstring>

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
    m_nFirst = m_nNext = 0;
    return m_scaler.Open(sharp.scale, sharp.nInterpolation, sharp.nChannels,
                         pWork ? pWork + work.Taken() : nullptr);
}

void CSharpScaler::ScaleNext(IRowSource& source) noexcept
{
    if (m_nNext == m_nFirst + nRowsKept)
    {
        std::memcpy(m_pKept, Kept(m_nNext - nRowsMoved), m_cbKept * nRowsMoved);
        m_nFirst = m_nNext - nRowsMoved;
    }
    m_scaler.ScaleRow(source, m_nNext, Kept(m_nNext));
    m_nNext++;
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
    while (m_nNext < size.nHeight && m_nNext <= nRow + 1)
        ScaleNext(source);
    if (!SEH_CopyMemory(pDst, Kept(nRow), nSamples))
        return ePS_NullPointer;
    if (nRow > 0 && nRow < size.nHeight - 1)
        FilterPlane(Kept(nRow) + nChannels, static_cast<ptrdiff_t>(m_cbKept), pDst + nChannels, 0,
                    {size.nWidth - 2, 1}, m_sharp.nChannels, m_sharp.kernel);
    return ePS_Done;
}

ePrimitiveStatus ResizeSharpPlane(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                  const SharpScale& sharp, BYTE* pWork) noexcept
{
    if (!pSrc || !pDst)
        return ePS_NullPointer;
    CSharpScaler scaler;
    ePrimitiveStatus eStatus = scaler.Open(sharp, pWork);
    CRowsInMemory rows(pSrc, nSrcStep);
    for (LONG y = 0; y < sharp.scale.dstSize.nHeight && eStatus == ePS_Done; y++)
        eStatus = scaler.WriteRow(rows, y, pDst + y * nDstStep);
    return eStatus;
}
