#pragma once
/// Source rows scaled across by weights, each once, and kept as long as an output row needs it: what
/// interpolation and the area average share.

#include "asm/SIMD64Resize.h"
#include "imgconverter/ResizeRows.h"

#include <cstdint>

/// Where the weights of an output begin in a table that has nTaps of them for each.
constexpr size_t FirstWeight(LONG nOutput, LONG nTaps) noexcept
{
    return static_cast<size_t>(nOutput) * static_cast<size_t>(nTaps);
}

/// The taps of all outputs of an axis.
struct AxisTaps
{
    int32_t* pStart;   ///< first source sample of each output
    int16_t* pWeights; ///< nTaps for each output
    LONG nTaps;

    void LayOut(CWork& work, const ResizeAxis& axis, LONG nTapsOfAxis) noexcept
    {
        nTaps = nTapsOfAxis;
        pStart = work.Take<int32_t>(static_cast<size_t>(axis.nDstSize));
        pWeights = work.Take<int16_t>(FirstWeight(axis.nDstSize, nTaps));
    }
    const int16_t* Weights(LONG nOutput) const noexcept { return pWeights + FirstWeight(nOutput, nTaps); }
};

/// \tparam TSample of the scaled rows: int16_t for levels, uint16_t and int32_t for sums
template <class TSample>
class CAcrossRows
{
public:
    using PFNACROSS = void (*)(const ResizeRowTaps& taps, const ResizeRowPair<TSample>& rows) noexcept;

    /// \param nSlots rows that are kept
    void LayOut(CWork& work, const PlaneJob& job, LONG nTapsAcross, LONG nTapsDown, LONG nSlots) noexcept;

    /// To be filled before Prepare.
    const AxisTaps& Across() const noexcept { return m_across; }
    const AxisTaps& Down() const noexcept { return m_down; }

    /// \param bWindows the kernel gains from windows
    void Prepare(const PlaneJob& job, PFNACROSS pfnAcross, bool bWindows) noexcept;

    /// A row scaled across, which stays until nSlots later ones are scaled.
    /// \param nRow the output row that needs it
    const TSample* Row(IRowSource& source, LONG nSrcRow, LONG nRow) noexcept;

    /// Samples from one slot to the next.
    size_t RowSamples() const noexcept { return m_nRowSamples; }

private:
    bool IsNeeded(LONG nSrcRow, LONG nRow) const noexcept;
    TSample* Slot(LONG nSrcRow) const noexcept
    {
        return m_pRows + static_cast<size_t>(nSrcRow % m_nSlots) * m_nRowSamples;
    }

    AxisTaps m_across;
    AxisTaps m_down;
    ResizeWindow* m_pWindows; ///< of m_across, for one channel
    int32_t* m_pPlaces;
    ResizeRowTaps m_taps; ///< m_across for the kernel
    PFNACROSS m_pfnAcross;

    TSample* m_pRows; ///< scaled rows, in turn in their slots
    LONG m_nSlots;
    size_t m_nRowSamples;
    LONG m_nNext; ///< source rows before it are scaled, as far as an output needs them
    LONG m_nSrcRows;
    LONG m_nDstRows;
};
