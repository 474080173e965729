#pragma once
/// The methods that make an output sample from at most four samples an axis: nearest neighbour, linear and
/// cubic interpolation, and its short cuts for one half and for twice. For the three steps of a method see
/// CPlaneScaler.

#include "imgconverter/ResizeAcross.h"

/// Nearest neighbour.
///
///     out[x] = source[floor((2x + 1) * nSrc / (2 * nDst))]           across and down
class CNearestScaler
{
public:
    explicit CNearestScaler(const PlaneJob& job) noexcept : m_job(job) {}

    void LayOut(CWork& work) noexcept;
    void Prepare(const ResizeKernels& kernels) noexcept;
    void ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;

private:
    void PickPixels(const BYTE* pSrc, BYTE* pDst) const noexcept;

    PlaneJob m_job;
    PFNRESIZESECONDS m_pfnSeconds; ///< where every second pixel is taken, or null
    int32_t* m_pAcross;            ///< source sample of each output
    int32_t* m_pDown;              ///< source row of each output row
    const BYTE* m_pLastDst;        ///< the output row before, or null
};

/// Both sides to one half. Linear interpolation and the area average come to the same here:
///
///     out[x, y] = the mean of source[2x, 2y] and its neighbours to the right, below, and both, half up
class CHalveScaler
{
public:
    explicit CHalveScaler(const PlaneJob& job) noexcept : m_job(job) {}

    void LayOut(CWork&) noexcept {}
    void Prepare(const ResizeKernels& kernels) noexcept;
    void ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;

private:
    PlaneJob m_job;
    PFNRESIZEHALVE m_pfnHalve;
};

/// One channel linear to twice both sides. The outputs of a sample lie a quarter of the way to its
/// neighbours:
///
///     out = (9 near + 3 besides + 3 above or below + 1 beyond both + 8) >> 4
class CDoubleScaler
{
public:
    explicit CDoubleScaler(const PlaneJob& job) noexcept : m_job(job) {}

    void LayOut(CWork&) noexcept {}
    void Prepare(const ResizeKernels& kernels) noexcept;
    void ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;

private:
    void DoubleEnd(const BYTE* pNear, const BYTE* pFar, LONG nPixel, BYTE* pDst) const noexcept;

    PlaneJob m_job;
    PFNRESIZEDOUBLE m_pfnDouble;
};

/// Linear and cubic interpolation, across and then down.
///
///     out[x] = sum of weight[x][k] * source[start[x] + k]           (weights: FilterWeights)
///
/// Rows scaled across hold 1/64 of a level; see PFNRESIZEBLEND for the rounding downward.
class CFilterScaler
{
public:
    CFilterScaler(const PlaneJob& job, eInterpolation eMode) noexcept : m_job(job), m_eMode(eMode) {}

    void LayOut(CWork& work) noexcept;
    void Prepare(const ResizeKernels& kernels) noexcept;
    void ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;

private:
    PlaneJob m_job;
    eInterpolation m_eMode;
    CAcrossRows<int16_t> m_rows;
    PFNRESIZEBLEND m_pfnBlend;
};
