#pragma once
/// Scales a plane row by row: whoever writes the rows decides where they go, and whoever has the source where
/// its rows come from.

#include "asm/SIMD64Resize.h"
#include "imgconverter/CopyRows.h"
#include "imgconverter/ResizeWeights.h"

/// A region of a picture, in samples of all channels and in memory rows.
struct RoiRect
{
    LONG nLeft;
    LONG nTop;
    LONG nWidth;
    LONG nHeight;
};

/// The geometry of one plane.
struct PlaneScale
{
    RoiSize srcSize; ///< the whole source
    RoiRect srcRoi;  ///< lies inside it; filters reach over its edges up to those of the source
    RoiSize dstSize;
    ResizeFactor factorX; ///< area averages take the ratio of region and output instead
    ResizeFactor factorY;
};

/// Where the weights of an output row begin in a table that has nTaps of them for each row.
constexpr size_t FirstWeight(LONG nRow, LONG nTaps) noexcept
{
    return static_cast<size_t>(nRow) * static_cast<size_t>(nTaps);
}

/// Alignment of the work memory.
constexpr size_t cbWorkAlign = 64;

/// Hands out pieces of one block; without a block it only counts them.
class CWork
{
public:
    explicit CWork(BYTE* pb) noexcept : m_pb(pb) {}

    template <class T>
    T* Take(size_t nCount) noexcept
    {
        T* p = m_pb ? reinterpret_cast<T*>(m_pb + m_cbTaken) : nullptr;
        m_cbTaken += (nCount * sizeof(T) + cbWorkAlign - 1) & ~(cbWorkAlign - 1);
        return p;
    }
    size_t Taken() const noexcept { return m_cbTaken; }

private:
    BYTE* m_pb;
    size_t m_cbTaken = 0;
};

/// The rows of a plane.
class IRowSource
{
public:
    /// \return the first sample of a row, which stays until the next call but one
    virtual const BYTE* Row(LONG nRow) noexcept = 0;

protected:
    ~IRowSource() = default;
};

/// Rows in memory.
class CRowsInMemory final : public IRowSource
{
public:
    CRowsInMemory(const BYTE* pSrc, ptrdiff_t nStep) noexcept : m_pSrc(pSrc), m_nStep(nStep) {}
    const BYTE* Row(LONG nRow) noexcept override { return m_pSrc + nRow * m_nStep; }

private:
    const BYTE* m_pSrc;
    ptrdiff_t m_nStep;
};

/// One plane of 1, 3 or 4 interleaved channels of 8 bits on its way. Weights are computed once, when it is
/// opened; rows of the source are scaled across when the first output row needs them, and kept as long as one
/// does.
class CPlaneScaler
{
public:
    /// \return bytes of work memory that Open needs; 0 where it refuses the job or needs none
    static size_t WorkSize(const PlaneScale& scale, int nInterpolation, int nChannels) noexcept;

    /// \param nInterpolation an eInterpolation
    /// \param pWork WorkSize bytes, aligned to cbWorkAlign, which stay while rows are scaled
    /// \return ePS_Done; ePS_SizeError for an empty or misplaced region; ePS_Interpolation for an unknown
    /// value; ePS_NullPointer where work memory lacks
    ePrimitiveStatus Open(const PlaneScale& scale, int nInterpolation, int nChannels, BYTE* pWork) noexcept;

    /// Writes an output row. Rows are asked for one after the other from 0 on.
    /// \param source the rows of the whole source \param pDst receives the width of the output
    void ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
    {
        (this->*m_pfnRow)(source, nRow, pDst);
    }

private:
    using PFNROW = void (CPlaneScaler::*)(IRowSource& source, LONG nRow, BYTE* pDst);

    /// How a job is done.
    struct Way
    {
        ePrimitiveStatus eStatus;
        PFNROW pfnRow;
        void (CPlaneScaler::*pfnLayOut)(CWork& work);
        void (CPlaneScaler::*pfnPrepare)();
    };
    static const Way wayNearest, wayHalve, wayDouble, wayFilter, wayAreaNarrow, wayArea, wayAreaWide;
    static const Way waySizeError, wayInterpolation;

    static const Way& FindWay(const PlaneScale& scale, int nInterpolation, int nChannels) noexcept;
    static const Way& FindAreaWay(const PlaneScale& scale) noexcept;
    size_t LayOut(const Way& way, const PlaneScale& scale, int nInterpolation, int nChannels,
                  BYTE* pWork) noexcept;

    void LayOutNothing(CWork& work) noexcept;
    void LayOutNearest(CWork& work) noexcept;
    void LayOutFilter(CWork& work) noexcept;
    void LayOutAreaNarrow(CWork& work) noexcept;
    void LayOutArea(CWork& work) noexcept;
    void LayOutAreaWide(CWork& work) noexcept;
    void LayOutTaps(CWork& work, LONG nTapsAcross, LONG nTapsDown) noexcept;
    template <class TSample>
    void LayOutRows(CWork& work, LONG nSlots) noexcept;

    void PrepareNothing() noexcept {}
    void PrepareNearest() noexcept;
    void PrepareFilter() noexcept;
    void PrepareArea() noexcept;
    void PrepareTaps() noexcept;

    void RowNearest(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;
    void RowHalve(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;
    void RowDouble(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;
    void RowFilter(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;
    void RowAreaNarrow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;
    void RowArea(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;
    void RowAreaWide(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;

    template <class TSample>
    using PFNACROSS = void (*)(const ResizeRowTaps& taps, const ResizeRowPair<TSample>& rows) noexcept;
    template <class TSample>
    const TSample* Across(IRowSource& source, LONG nSrcRow, LONG nRow, PFNACROSS<TSample> pfn) noexcept;
    bool IsWanted(LONG nSrcRow, LONG nRow) const noexcept;

    ResizeAxis AxisX() const noexcept;
    ResizeAxis AxisY() const noexcept;
    size_t Samples() const noexcept;
    /// The weights of an output row, one for each tap down.
    const int16_t* WeightsDown(LONG nRow) const noexcept;

    PlaneScale m_scale;
    eInterpolation m_eMode;
    size_t m_nChannels;
    PFNROW m_pfnRow;
    const ResizeKernels* m_pKernels;

    // Across: the start and the weights of each output, and their windows.
    int32_t* m_pStart;
    int16_t* m_pWeights;
    ResizeWindow* m_pWindows;
    int32_t* m_pPlaces;
    LONG m_nTapsAcross;
    ResizeRowTaps m_taps;

    // Down: the same of each output row.
    int32_t* m_pStartDown;
    int16_t* m_pWeightsDown;
    LONG m_nTapsDown;

    // Rows that were scaled across, in turn in their slots.
    void* m_pRows;
    LONG m_nSlots;
    size_t m_nRowSamples; ///< from one slot to the next
    LONG m_nNext;         ///< source rows before it are scaled, as far as anybody needs them

    uint32_t* m_pSums;     ///< the output row in the making
    uint64_t* m_pWideSums; ///< the same
    ResizeDivisor m_divisor;
    ResizeNarrowDivisor m_narrowDivisor;
    const BYTE* m_pLastDst; ///< the output row before, where it can serve again
};
