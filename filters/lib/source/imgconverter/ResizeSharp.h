#pragma once
/// A plane that is scaled and, where asked for, sharpened row by row.

#include "imgconverter/ResizeScaler.h"
#include "imgconverter/Sharpen.h"

/// How a plane is scaled and sharpened.
struct SharpScale
{
    PlaneScale scale;
    int nInterpolation; ///< an eInterpolation
    int nChannels;      ///< 1, 3 or 4
    bool bSharpen;
    SharpenKernel kernel; ///< of the sharpening
};

/// Rows of an output plane. Sharpening keeps the scaled rows above and below, and leaves the outermost ring
/// of the plane as it was scaled.
class CSharpScaler
{
public:
    /// \return bytes of work memory that Open needs
    static size_t WorkSize(const SharpScale& sharp) noexcept;

    /// \param pWork WorkSize bytes, aligned to cbWorkAlign, which stay while rows are written
    /// \return what CPlaneScaler::Open answers
    ePrimitiveStatus Open(const SharpScale& sharp, BYTE* pWork) noexcept;

    /// Writes an output row. Rows are asked for one after the other from 0 on. A frame that cannot be
    /// accessed is told of in the trace where rows are sharpened.
    ePrimitiveStatus WriteRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;

private:
    /// The row and its neighbours stand one below the other in a window of this many rows, which moves down
    /// when it is full.
    static constexpr LONG nRowsKept = 8;
    static constexpr LONG nRowsMoved = 2;

    BYTE* Kept(LONG nRow) const noexcept { return m_pKept + static_cast<size_t>(nRow - m_nFirst) * m_cbKept; }
    void ScaleNext(IRowSource& source) noexcept;
    void LayOut(CWork& work, const SharpScale& sharp) noexcept;

    CPlaneScaler m_scaler;
    SharpScale m_sharp;
    BYTE* m_pKept;
    size_t m_cbKept; ///< from one kept row to the next
    LONG m_nFirst;   ///< first row of the window
    LONG m_nNext;    ///< rows before it are scaled
};
