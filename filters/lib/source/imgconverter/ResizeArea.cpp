#include "imgconverter/ResizeArea.h"

#include <algorithm>
#include <limits>

namespace
{

/// Rows of 32-bit sums that are kept: a pair, and the row that two outputs share.
constexpr LONG nSumSlots = 4;

/// Taps across: the vector forms take groups of four.
LONG TapsAcross(const ResizeAxis& axis) noexcept
{
    const int64_t nTaps = (int64_t{AreaSamples(axis)} + nResizeChunkTaps - 1) / nResizeChunkTaps;
    return static_cast<LONG>(std::min<int64_t>(nTaps * nResizeChunkTaps, axis.nSrcSize));
}

bool HasNarrowWeights(const ResizeAxis& axis) noexcept
{
    const ResizeFactor parts = AreaParts(axis);
    return std::min(parts.nDst, parts.nSrc) <= std::numeric_limits<int16_t>::max();
}

template <class TSample>
void FillWeights(const PlaneJob& job, const CAcrossRows<TSample>& rows) noexcept
{
    AreaWeights(job.across, rows.Across().nTaps, rows.Across().pStart, rows.Across().pWeights);
    AreaWeights(job.down, rows.Down().nTaps, rows.Down().pStart, rows.Down().pWeights);
}

} // namespace

uint64_t AreaTotal(const PlaneJob& job) noexcept
{
    return static_cast<uint64_t>(AreaParts(job.across).nSrc) *
           static_cast<uint64_t>(AreaParts(job.down).nSrc);
}

bool CNarrowAreaScaler::CanScale(const PlaneJob& job) noexcept
{
    ResizeNarrowDivisor divisor;
    return CAreaScaler::CanScale(job) && TapsAcross(job.across) <= nResizeChunkTaps &&
           AreaSamples(job.down) <= nResizeNarrowRows && MakeResizeNarrowDivisor(AreaTotal(job), divisor);
}

void CNarrowAreaScaler::LayOut(CWork& work) noexcept
{
    const LONG nTapsDown = AreaSamples(m_job.down);
    m_rows.LayOut(work, m_job, TapsAcross(m_job.across), nTapsDown, nTapsDown + 1);
}

void CNarrowAreaScaler::Prepare(const ResizeKernels& kernels) noexcept
{
    FillWeights(m_job, m_rows);
    m_rows.Prepare(m_job, kernels.arrNarrow[m_job.nChannels - 1], kernels.bWindows);
    m_pfnAverage = kernels.pfnAverage;
    MakeResizeNarrowDivisor(AreaTotal(m_job), m_divisor);
}

void CNarrowAreaScaler::ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    const AxisTaps& down = m_rows.Down();
    const uint16_t* arrRows[nResizeNarrowRows] = {};
    int16_t arrWeights[nResizeNarrowRows] = {};
    LONG nRows = 0;
    for (LONG k = 0; k < down.nTaps; k++)
    {
        const int16_t nWeight = down.Weights(nRow)[k];
        if (nWeight == 0)
            continue;
        arrRows[nRows] = m_rows.Row(source, down.pStart[nRow] + k, nRow);
        arrWeights[nRows] = nWeight;
        nRows++;
    }
    m_pfnAverage(arrRows, arrWeights, nRows, m_divisor, pDst, m_job.Samples());
}

bool CAreaScaler::CanScale(const PlaneJob& job) noexcept
{
    return AreaTotal(job) <= nResizeMaxTotal && HasNarrowWeights(job.across) && HasNarrowWeights(job.down);
}

void CAreaScaler::LayOut(CWork& work) noexcept
{
    m_rows.LayOut(work, m_job, TapsAcross(m_job.across), AreaSamples(m_job.down), nSumSlots);
    m_pSums = work.Take<uint32_t>(m_rows.RowSamples());
}

void CAreaScaler::Prepare(const ResizeKernels& kernels) noexcept
{
    FillWeights(m_job, m_rows);
    m_rows.Prepare(m_job, kernels.arrSum[m_job.nChannels - 1], kernels.bWindows);
    m_pfnAdd = kernels.pfnAdd;
    m_pfnDivide = kernels.pfnDivide;
    m_divisor = MakeResizeDivisor(static_cast<uint32_t>(AreaTotal(m_job)));
}

void CAreaScaler::ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    const AxisTaps& down = m_rows.Down();
    bool bFirst = true;
    for (LONG k = 0; k < down.nTaps; k++)
    {
        const int16_t nWeight = down.Weights(nRow)[k];
        if (nWeight == 0)
            continue;
        const int32_t* pRow = m_rows.Row(source, down.pStart[nRow] + k, nRow);
        m_pfnAdd(m_pSums, pRow, static_cast<uint32_t>(nWeight), bFirst, m_job.Samples());
        bFirst = false;
    }
    m_pfnDivide(m_pSums, pDst, m_divisor, m_job.Samples());
}

void CWideAreaScaler::LayOut(CWork& work) noexcept
{
    m_pSums = work.Take<uint64_t>(m_job.Samples());
}

void CWideAreaScaler::ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    const uint64_t nTotal = AreaTotal(m_job);
    const ResizeFactor parts = AreaParts(m_job.down);
    const AreaSpan span = AreaOf(parts, nRow);
    std::fill_n(m_pSums, m_job.Samples(), nTotal / 2);
    for (LONG nSrcRow = span.nFirst; nSrcRow < span.nEnd; nSrcRow++)
        AddRow(source.Row(m_job.down.nRoiStart + nSrcRow) + m_job.Left(),
               static_cast<uint64_t>(AreaWeight(parts, nRow, nSrcRow)));
    std::transform(m_pSums, m_pSums + m_job.Samples(), pDst,
                   [nTotal](uint64_t nSum) { return static_cast<BYTE>(nSum / nTotal); });
}

void CWideAreaScaler::AddRow(const BYTE* pSrc, uint64_t nRowWeight) noexcept
{
    const ResizeFactor parts = AreaParts(m_job.across);
    uint64_t* pSum = m_pSums;
    for (LONG x = 0; x < m_job.across.nDstSize; x++, pSum += m_job.nChannels)
    {
        const AreaSpan span = AreaOf(parts, x);
        for (LONG n = span.nFirst; n < span.nEnd; n++)
        {
            const uint64_t nWeight = nRowWeight * static_cast<uint64_t>(AreaWeight(parts, x, n));
            const BYTE* pPixel = pSrc + static_cast<size_t>(n) * m_job.nChannels;
            for (size_t c = 0; c < m_job.nChannels; c++)
                pSum[c] += pPixel[c] * nWeight;
        }
    }
}
