#include "imgconverter/ResizeAcross.h"

template <class TSample>
void CAcrossRows<TSample>::LayOut(CWork& work, const PlaneJob& job, LONG nTapsAcross, LONG nTapsDown,
                                  LONG nSlots) noexcept
{
    m_across.LayOut(work, job.across, nTapsAcross);
    m_down.LayOut(work, job.down, nTapsDown);
    if (job.nChannels == 1)
    {
        const size_t nWindows = ResizeWindowCount(nTapsAcross, job.across.nDstSize);
        m_pWindows = work.Take<ResizeWindow>(nWindows);
        m_pPlaces = work.Take<int32_t>(nWindows * nResizeWindowPlaces);
    }
    constexpr size_t nAlign = cbWorkAlign / sizeof(TSample);
    m_nRowSamples = (job.Samples() + nResizeRowSlack + nAlign - 1) / nAlign * nAlign;
    m_nSlots = nSlots;
    m_pRows = work.Take<TSample>(m_nRowSamples * static_cast<size_t>(nSlots));
}

template <class TSample>
void CAcrossRows<TSample>::Prepare(const PlaneJob& job, PFNACROSS pfnAcross, bool bWindows) noexcept
{
    m_taps = MakeResizeTaps(m_across.pStart, m_across.pWeights, m_across.nTaps, job.across.nDstSize,
                            static_cast<size_t>(job.across.nSrcSize) * job.nChannels);
    if (job.nChannels == 1 && bWindows)
        MakeResizeWindows(m_taps, m_pWindows, m_pPlaces);
    m_pfnAcross = pfnAcross;
    m_nNext = 0;
    m_nSrcRows = job.down.nSrcSize;
    m_nDstRows = job.down.nDstSize;
}

/// Whether this output row or one after it needs a source row that comes right behind those in the slots.
template <class TSample>
bool CAcrossRows<TSample>::IsNeeded(LONG nSrcRow, LONG nRow) const noexcept
{
    if (nSrcRow >= m_nSrcRows)
        return false;
    while (nRow < m_nDstRows && m_down.pStart[nRow] + m_down.nTaps <= nSrcRow)
        nRow++;
    return nRow < m_nDstRows && m_down.pStart[nRow] <= nSrcRow;
}

/// The kernel scales two rows at a time: the next one comes along where it will be needed.
template <class TSample>
const TSample* CAcrossRows<TSample>::Row(IRowSource& source, LONG nSrcRow, LONG nRow) noexcept
{
    if (nSrcRow >= m_nNext)
    {
        const LONG nSecond = IsNeeded(nSrcRow + 1, nRow) ? nSrcRow + 1 : nSrcRow;
        const BYTE* pFirst = source.Row(nSrcRow);
        const BYTE* pSecond = nSecond != nSrcRow ? source.Row(nSecond) : pFirst;
        m_pfnAcross(m_taps, {{pFirst, pSecond}, {Slot(nSrcRow), Slot(nSecond)}});
        m_nNext = nSecond + 1;
    }
    return Slot(nSrcRow);
}

template class CAcrossRows<int16_t>;
template class CAcrossRows<uint16_t>;
template class CAcrossRows<int32_t>;
