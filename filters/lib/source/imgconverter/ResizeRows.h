#pragma once
/// What every scaling method of the resizer works on: the geometry of a plane, its rows, and work memory.

#include "imgconverter/CopyRows.h"
#include "imgconverter/ResizeWeights.h"

#include <cstddef>

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

/// A plane of interleaved channels that is to be scaled.
struct PlaneJob
{
    ResizeAxis across;
    ResizeAxis down;
    size_t nChannels; ///< 1, 3 or 4

    /// Samples of an output row.
    size_t Samples() const noexcept { return static_cast<size_t>(across.nDstSize) * nChannels; }
    /// From the first sample of a source row to that of the region.
    size_t Left() const noexcept { return static_cast<size_t>(across.nRoiStart) * nChannels; }
};

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
