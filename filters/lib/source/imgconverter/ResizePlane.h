#pragma once
/// Scales and sharpens planes of 1, 3 or 4 interleaved channels of 8 bits: row by row, or from memory to
/// memory.

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
    /// \return what CPlaneScaler::Open returns
    ePrimitiveStatus Open(const SharpScale& sharp, BYTE* pWork) noexcept;

    /// Writes an output row. Rows are asked for one after the other from 0 on. Where rows are
    /// sharpened, a frame that cannot be accessed is reported in the trace.
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

/// \return bytes of work memory that ResizePlane needs; 0 where it refuses the job or needs none
inline size_t ResizeWorkSize(const PlaneScale& scale, int nInterpolation, int nChannels) noexcept
{
    return CPlaneScaler::WorkSize(scale, nInterpolation, nChannels);
}

/// Scales a region into the destination and sharpens it where asked for.
/// \param pSrc first sample of the whole source; \param pDst first sample of the output's first row
/// \param nSrcStep, nDstStep bytes from one row to the next; a negative one walks upward in memory
/// \param pWork CSharpScaler::WorkSize bytes, aligned to cbWorkAlign
/// \return ePS_Done; ePS_SizeError for an empty or misplaced region; ePS_Interpolation for an unknown value;
/// ePS_NullPointer
ePrimitiveStatus ResizeSharpPlane(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                  const SharpScale& sharp, BYTE* pWork) noexcept;

/// The same for scaling alone. \param nInterpolation an eInterpolation \param pWork ResizeWorkSize bytes
inline ePrimitiveStatus ResizePlane1(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                     const PlaneScale& scale, int nInterpolation, BYTE* pWork) noexcept
{
    return ResizeSharpPlane(pSrc, nSrcStep, pDst, nDstStep, {scale, nInterpolation, 1, false, {}}, pWork);
}

inline ePrimitiveStatus ResizePlane3(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                     const PlaneScale& scale, int nInterpolation, BYTE* pWork) noexcept
{
    return ResizeSharpPlane(pSrc, nSrcStep, pDst, nDstStep, {scale, nInterpolation, 3, false, {}}, pWork);
}

inline ePrimitiveStatus ResizePlane4(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                                     const PlaneScale& scale, int nInterpolation, BYTE* pWork) noexcept
{
    return ResizeSharpPlane(pSrc, nSrcStep, pDst, nDstStep, {scale, nInterpolation, 4, false, {}}, pWork);
}
