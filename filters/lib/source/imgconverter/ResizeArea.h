#pragma once
/// The exact area average, across and then down.
///
///     out = (total / 2 + sum of weightX * weightY * source) / total
///
/// over the samples that an output covers, weights counting the parts of them that it covers (AreaParts), and
/// total all of its parts. Three classes give these bytes, for sums of 16, 32 and 64 bits.

#include "imgconverter/ResizeAcross.h"

/// Parts of an output.
uint64_t AreaTotal(const PlaneJob& job) noexcept;

/// Sums of 16 bits, for the ratios of everyday formats.
class CNarrowAreaScaler
{
public:
    /// \return true where neither the sums nor the rows of an output are too many
    static bool CanScale(const PlaneJob& job) noexcept;

    explicit CNarrowAreaScaler(const PlaneJob& job) noexcept : m_job(job) {}

    void LayOut(CWork& work) noexcept;
    void Prepare(const ResizeKernels& kernels) noexcept;
    void ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;

private:
    PlaneJob m_job;
    CAcrossRows<uint16_t> m_rows;
    PFNRESIZEAVERAGE m_pfnAverage;
    ResizeNarrowDivisor m_divisor;
};

/// Sums of 32 bits.
class CAreaScaler
{
public:
    static bool CanScale(const PlaneJob& job) noexcept;

    explicit CAreaScaler(const PlaneJob& job) noexcept : m_job(job) {}

    void LayOut(CWork& work) noexcept;
    void Prepare(const ResizeKernels& kernels) noexcept;
    void ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;

private:
    PlaneJob m_job;
    CAcrossRows<int32_t> m_rows;
    PFNRESIZEADD m_pfnAdd;
    PFNRESIZEDIVIDE m_pfnDivide;
    uint32_t* m_pSums; ///< of the output row
    ResizeDivisor m_divisor;
};

/// Sums of 64 bits, for sides whose ratio has large terms. A frame has fewer than 2^32 samples, so that the
/// sums stay below 2^40.
class CWideAreaScaler
{
public:
    explicit CWideAreaScaler(const PlaneJob& job) noexcept : m_job(job) {}

    void LayOut(CWork& work) noexcept;
    void Prepare(const ResizeKernels&) noexcept {}
    void ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept;

private:
    void AddRow(const BYTE* pSrc, uint64_t nRowWeight) noexcept;

    PlaneJob m_job;
    uint64_t* m_pSums; ///< of the output row
};
