#include "imgconverter/ResizeInterpolation.h"

#include <algorithm>
#include <cstring>

namespace
{

/// Four bytes a turn: a loop of one byte takes a quarter longer where it lies across lines of the code cache.
template <size_t nChannels>
void Pick(const int32_t* pStart, const BYTE* pSrc, BYTE* pDst, LONG nOutputs) noexcept
{
    constexpr LONG nTurn = nChannels == 1 ? 4 : 1;
    const auto pick = [=](LONG i)
    {
        std::memcpy(pDst + static_cast<size_t>(i) * nChannels, pSrc + ptrdiff_t{pStart[i]} * nChannels,
                    nChannels);
    };
    LONG i = 0;
    for (; nOutputs - i >= nTurn; i += nTurn)
    {
        for (LONG k = 0; k < nTurn; k++)
            pick(i + k);
    }
    for (; i < nOutputs; i++)
        pick(i);
}

using PFNPICK = void (*)(const int32_t* pStart, const BYTE* pSrc, BYTE* pDst, LONG nOutputs) noexcept;
/// By number of channels, less one.
constexpr PFNPICK arrPick[] = {Pick<1>, nullptr, Pick<3>, Pick<4>};

} // namespace

void CNearestScaler::LayOut(CWork& work) noexcept
{
    m_pAcross = work.Take<int32_t>(static_cast<size_t>(m_job.across.nDstSize));
    m_pDown = work.Take<int32_t>(static_cast<size_t>(m_job.down.nDstSize));
}

void CNearestScaler::Prepare(const ResizeKernels& kernels) noexcept
{
    NearestSamples(m_job.across, m_pAcross);
    NearestSamples(m_job.down, m_pDown);
    m_pfnSeconds = IsHalved(m_job.across) ? kernels.arrSeconds[m_job.nChannels - 1] : nullptr;
    m_pLastDst = nullptr;
}

void CNearestScaler::ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    const bool bSame = m_pLastDst && m_pDown[nRow] == m_pDown[nRow - 1];
    if (!bSame)
        PickPixels(source.Row(m_pDown[nRow]), pDst);
    else if (m_pLastDst != pDst)
        std::memcpy(pDst, m_pLastDst, m_job.Samples());
    m_pLastDst = pDst;
}

void CNearestScaler::PickPixels(const BYTE* pSrc, BYTE* pDst) const noexcept
{
    const LONG nOutputs = m_job.across.nDstSize;
    if (m_pfnSeconds)
        m_pfnSeconds(pSrc + m_job.Left(), pDst, static_cast<size_t>(nOutputs));
    else
        arrPick[m_job.nChannels - 1](m_pAcross, pSrc, pDst, nOutputs);
}

void CHalveScaler::Prepare(const ResizeKernels& kernels) noexcept
{
    m_pfnHalve = kernels.arrHalve[m_job.nChannels - 1];
}

void CHalveScaler::ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    const LONG nUpper = m_job.down.nRoiStart + 2 * nRow;
    const BYTE* pUpper = source.Row(nUpper) + m_job.Left();
    const BYTE* pLower = source.Row(nUpper + 1) + m_job.Left();
    m_pfnHalve(pUpper, pLower, pDst, static_cast<size_t>(m_job.across.nDstSize));
}

void CDoubleScaler::Prepare(const ResizeKernels& kernels) noexcept
{
    m_pfnDouble = kernels.pfnDouble;
}

void CDoubleScaler::ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    const LONG nNear = m_job.down.nRoiStart + nRow / 2;
    const LONG nFar = std::clamp<LONG>(nRow % 2 != 0 ? nNear + 1 : nNear - 1, 0, m_job.down.nSrcSize - 1);
    const BYTE* pNear = source.Row(nNear);
    const BYTE* pFar = source.Row(nFar);
    const LONG nLeft = m_job.across.nRoiStart;
    const LONG nWidth = m_job.across.nRoiSize;
    DoubleEnd(pNear, pFar, 0, pDst);
    if (nWidth == 1)
        return;
    DoubleEnd(pNear, pFar, nWidth - 1, pDst);
    m_pfnDouble(pNear + nLeft + 1, pFar + nLeft + 1, pDst + 2, static_cast<size_t>(nWidth - 2));
}

/// A pixel on either end may have no neighbour: it comes from a row of three with the nearest one.
void CDoubleScaler::DoubleEnd(const BYTE* pNear, const BYTE* pFar, LONG nPixel, BYTE* pDst) const noexcept
{
    const LONG nLast = m_job.across.nSrcSize - 1;
    const LONG nX = m_job.across.nRoiStart + nPixel;
    const LONG arrX[] = {std::max<LONG>(nX - 1, 0), nX, std::min<LONG>(nX + 1, nLast)};
    const BYTE arrNear[] = {pNear[arrX[0]], pNear[arrX[1]], pNear[arrX[2]]};
    const BYTE arrFar[] = {pFar[arrX[0]], pFar[arrX[1]], pFar[arrX[2]]};
    m_pfnDouble(arrNear + 1, arrFar + 1, pDst + 2 * nPixel, 1);
}

void CFilterScaler::LayOut(CWork& work) noexcept
{
    const LONG nTapsDown = FilterTaps(m_job.down, m_eMode);
    const LONG nSlots = nTapsDown + 1; // one more is scaled ahead
    m_rows.LayOut(work, m_job, FilterTaps(m_job.across, m_eMode), nTapsDown, nSlots);
}

void CFilterScaler::Prepare(const ResizeKernels& kernels) noexcept
{
    FilterWeights(m_job.across, m_eMode, m_rows.Across().pStart, m_rows.Across().pWeights);
    FilterWeights(m_job.down, m_eMode, m_rows.Down().pStart, m_rows.Down().pWeights);
    m_rows.Prepare(m_job, kernels.arrRows[m_job.nChannels - 1], kernels.bWindows);
    m_pfnBlend = kernels.pfnBlend;
}

void CFilterScaler::ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    const AxisTaps& down = m_rows.Down();
    const int16_t* arrRows[nFilterMostTaps] = {};
    for (LONG k = 0; k < down.nTaps; k++)
        arrRows[k] = m_rows.Row(source, down.pStart[nRow] + k, nRow);
    m_pfnBlend(arrRows, down.Weights(nRow), down.nTaps, pDst, m_job.Samples());
}
