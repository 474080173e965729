#include "imgconverter/ResizePlane.h"

#include "asm/SIMD64Resize.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace
{

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

/// What a job keeps in its work memory.
struct WorkLayout
{
    int32_t* pStart;
    int16_t* pWeights;
    ResizeWindow* pWindows;
    int32_t* pWindowBase;
    ResizePixelWeights* pPixelWeights;
    int16_t* pWeightsDown; ///< of one output row
    int16_t* pRows;        ///< rows scaled across, for interpolation
    size_t nRowSamples;    ///< from one of them to the next
    int32_t* pRowSums;     ///< one row scaled across, for averages
    uint32_t* pSums;       ///< the output row in the making
};

/// How a job is done.
enum class eWay
{
    Refused,
    Nearest,
    Halve, ///< both sides to one half, linear or averaged
    Filter,
    AreaNarrow, ///< sums of 16 bits, for the ratios of everyday formats
    Area,       ///< sums of 32 bits
    AreaWide    ///< sums of 64 bits, for sides whose ratio has large terms
};

ResizeAxis AxisX(const PlaneScale& scale) noexcept
{
    return {scale.srcSize.nWidth, scale.srcRoi.nLeft, scale.srcRoi.nWidth, scale.dstSize.nWidth,
            scale.factorX};
}

ResizeAxis AxisY(const PlaneScale& scale) noexcept
{
    return {scale.srcSize.nHeight, scale.srcRoi.nTop, scale.srcRoi.nHeight, scale.dstSize.nHeight,
            scale.factorY};
}

bool IsUsable(const ResizeAxis& axis) noexcept
{
    return axis.nRoiStart >= 0 && axis.nRoiSize > 0 && axis.nRoiSize <= axis.nSrcSize &&
           axis.nRoiStart <= axis.nSrcSize - axis.nRoiSize && axis.nDstSize > 0 && axis.factor.nDst > 0 &&
           axis.factor.nSrc > 0;
}

uint64_t AreaTotal(const PlaneScale& scale) noexcept
{
    return static_cast<uint64_t>(AreaParts(AxisX(scale)).nSrc) *
           static_cast<uint64_t>(AreaParts(AxisY(scale)).nSrc);
}

bool FitsNarrowWeights(const ResizeAxis& axis) noexcept
{
    const ResizeFactor parts = AreaParts(axis);
    return std::min(parts.nDst, parts.nSrc) <= std::numeric_limits<int16_t>::max();
}

/// Every output lies in the middle of two samples of the region.
bool IsHalved(const ResizeAxis& axis) noexcept
{
    const auto half = [](LONG nSrc, LONG nDst) { return nSrc % 2 == 0 && nSrc / 2 == nDst; };
    return half(axis.nRoiSize, axis.nDstSize) && half(axis.factor.nSrc, axis.factor.nDst);
}

/// All of them give the same bytes.
eWay FindAreaWay(const PlaneScale& scale) noexcept
{
    const uint64_t nTotal = AreaTotal(scale);
    if (nTotal > nResizeMaxTotal || !FitsNarrowWeights(AxisX(scale)) || !FitsNarrowWeights(AxisY(scale)))
        return eWay::AreaWide;
    ResizeNarrowDivisor divisor;
    const bool bNarrow = AreaTaps(AxisX(scale)) <= 4 && AreaTaps(AxisY(scale)) <= nResizeNarrowRows &&
                         MakeResizeNarrowDivisor(nTotal, divisor);
    return bNarrow ? eWay::AreaNarrow : eWay::Area;
}

eWay FindWay(const PlaneScale& scale, int nInterpolation) noexcept
{
    if (!IsUsable(AxisX(scale)) || !IsUsable(AxisY(scale)))
        return eWay::Refused;
    if ((nInterpolation == eIP_Linear || nInterpolation == eIP_Super) && IsHalved(AxisX(scale)) &&
        IsHalved(AxisY(scale)))
        return eWay::Halve;
    switch (nInterpolation)
    {
    case eIP_Nearest:
        return eWay::Nearest;
    case eIP_Linear:
    case eIP_Cubic:
        return eWay::Filter;
    case eIP_Super:
        return FindAreaWay(scale);
    default:
        return eWay::Refused;
    }
}

/// Taps of the two axes.
struct TapCounts
{
    LONG nAcross;
    LONG nDown;
};

TapCounts CountTaps(const PlaneScale& scale, eWay way, eInterpolation eMode) noexcept
{
    if (way == eWay::Area || way == eWay::AreaNarrow)
        return {AreaTaps(AxisX(scale)), AreaTaps(AxisY(scale))};
    return {FilterTaps(AxisX(scale), eMode), FilterTaps(AxisY(scale), eMode)};
}

constexpr LONG Chunks(LONG nTaps) noexcept
{
    return (nTaps + 3) / 4;
}

size_t LayOut(WorkLayout& layout, const PlaneScale& scale, eWay way, eInterpolation eMode, int nChannels,
              BYTE* pWork) noexcept
{
    layout = {};
    CWork work(pWork);
    if (way == eWay::Refused || way == eWay::AreaWide || way == eWay::Halve)
        return 0;
    const auto nOutputs = static_cast<size_t>(scale.dstSize.nWidth);
    layout.pStart = work.Take<int32_t>(nOutputs);
    if (way == eWay::Nearest)
        return work.Taken();

    const TapCounts taps = CountTaps(scale, way, eMode);
    layout.pWeights = work.Take<int16_t>(nOutputs * static_cast<size_t>(taps.nAcross));
    layout.pWeightsDown = work.Take<int16_t>(static_cast<size_t>(taps.nDown));
    if (nChannels == 1)
    {
        const size_t nWindows = (nOutputs + 7) / 8 * static_cast<size_t>(Chunks(taps.nAcross));
        layout.pWindows = work.Take<ResizeWindow>(nWindows);
        layout.pWindowBase = work.Take<int32_t>(nWindows * 2);
    }
    else
        layout.pPixelWeights =
            work.Take<ResizePixelWeights>((nOutputs + 1) / 2 * static_cast<size_t>(Chunks(taps.nAcross)));
    constexpr size_t nRowAlign = cbWorkAlign / sizeof(int16_t);
    const size_t nSamples = nOutputs * static_cast<size_t>(nChannels) + nResizeRowSlack;
    layout.nRowSamples = (nSamples + nRowAlign - 1) / nRowAlign * nRowAlign;
    if (way == eWay::Area)
    {
        layout.pRowSums = work.Take<int32_t>(layout.nRowSamples);
        layout.pSums = work.Take<uint32_t>(layout.nRowSamples);
    }
    else
        layout.pRows = work.Take<int16_t>(layout.nRowSamples * static_cast<size_t>(taps.nDown));
    return work.Taken();
}

/// A job with everything that its ways share.
struct Job
{
    const BYTE* pSrc;
    ptrdiff_t nSrcStep;
    BYTE* pDst;
    ptrdiff_t nDstStep;
    const PlaneScale& scale;
    int nChannels;
    WorkLayout work;

    const BYTE* SrcRow(LONG nRow) const noexcept { return pSrc + nRow * nSrcStep; }
    BYTE* DstRow(LONG nRow) const noexcept { return pDst + nRow * nDstStep; }
    size_t Samples() const noexcept
    {
        return static_cast<size_t>(scale.dstSize.nWidth) * static_cast<size_t>(nChannels);
    }
};

template <int nChannels>
void PickPixels(const int32_t* pStart, const BYTE* pSrc, BYTE* pDst, LONG nOutputs) noexcept
{
    for (LONG i = 0; i < nOutputs; i++)
        std::memcpy(pDst + ptrdiff_t{i} * nChannels, pSrc + ptrdiff_t{pStart[i]} * nChannels, nChannels);
}

template <int nChannels>
void ScaleNearest(const Job& job) noexcept
{
    const ResizeAxis axisX = AxisX(job.scale);
    const ResizeAxis axisY = AxisY(job.scale);
    for (LONG i = 0; i < axisX.nDstSize; i++)
        job.work.pStart[i] = NearestSample(axisX, i);
    int32_t nLast = -1;
    for (LONG y = 0; y < axisY.nDstSize; y++)
    {
        const int32_t nRow = NearestSample(axisY, y);
        if (nRow == nLast)
            std::memcpy(job.DstRow(y), job.DstRow(y - 1), job.Samples());
        else
            PickPixels<nChannels>(job.work.pStart, job.SrcRow(nRow), job.DstRow(y), axisX.nDstSize);
        nLast = nRow;
    }
}

void ScaleHalf(const Job& job, const ResizeKernels& kernels) noexcept
{
    const PFNRESIZEHALVE pfnHalve = kernels.arrHalve[job.nChannels - 1];
    const RoiRect& roi = job.scale.srcRoi;
    const ptrdiff_t nLeft = ptrdiff_t{roi.nLeft} * job.nChannels;
    for (LONG y = 0; y < job.scale.dstSize.nHeight; y++)
        pfnHalve(job.SrcRow(roi.nTop + 2 * y) + nLeft, job.SrcRow(roi.nTop + 2 * y + 1) + nLeft,
                 job.DstRow(y), static_cast<size_t>(job.scale.dstSize.nWidth));
}

/// The taps of all outputs of a row, whose weights are in place.
ResizeRowTaps RowTaps(const Job& job, LONG nTaps, const ResizeKernels& kernels) noexcept
{
    ResizeRowTaps taps = {};
    taps.pStart = job.work.pStart;
    taps.pWeights = job.work.pWeights;
    taps.nTaps = nTaps;
    taps.nOutputs = job.scale.dstSize.nWidth;
    taps.cbRow = static_cast<size_t>(job.scale.srcSize.nWidth) * static_cast<size_t>(job.nChannels);
    taps.nChunks = Chunks(nTaps);
    if (!kernels.bPrepared)
        return taps;
    if (job.nChannels != 1)
    {
        MakeResizePixelWeights(taps, job.work.pPixelWeights);
        taps.pPixelWeights = job.work.pPixelWeights;
    }
    else if (MakeResizeWindows(taps, job.work.pWindows, job.work.pWindowBase))
    {
        taps.pWindows = job.work.pWindows;
        taps.pWindowBase = job.work.pWindowBase;
    }
    return taps;
}

/// Rows are scaled across when the first output row needs them, and kept as long as one does.
void ScaleFilter(const Job& job, eInterpolation eMode, const ResizeKernels& kernels) noexcept
{
    const ResizeAxis axisX = AxisX(job.scale);
    const ResizeAxis axisY = AxisY(job.scale);
    const LONG nTapsX = FilterTaps(axisX, eMode);
    const LONG nTapsY = FilterTaps(axisY, eMode);
    for (LONG i = 0; i < axisX.nDstSize; i++)
        job.work.pStart[i] = FilterWeights(axisX, eMode, i, job.work.pWeights + ptrdiff_t{i} * nTapsX);
    const ResizeRowTaps taps = RowTaps(job, nTapsX, kernels);
    const PFNRESIZEROW pfnRow = kernels.arrRow[job.nChannels - 1];

    const int16_t* arrRows[4] = {};
    int32_t nNext = 0; // rows before it are scaled, as far as anybody needs them
    for (LONG y = 0; y < axisY.nDstSize; y++)
    {
        const int32_t nFirst = FilterWeights(axisY, eMode, y, job.work.pWeightsDown);
        for (LONG k = 0; k < nTapsY; k++)
        {
            const int32_t nRow = nFirst + k;
            int16_t* pRow = job.work.pRows + job.work.nRowSamples * static_cast<size_t>(nRow % nTapsY);
            if (nRow >= nNext)
                pfnRow(taps, job.SrcRow(nRow), pRow);
            arrRows[k] = pRow;
        }
        nNext = std::max<int32_t>(nNext, nFirst + nTapsY);
        kernels.pfnBlend(arrRows, job.work.pWeightsDown, nTapsY, job.DstRow(y), job.Samples());
    }
}

void ScaleAreaNarrow(const Job& job, const ResizeKernels& kernels) noexcept
{
    const ResizeAxis axisX = AxisX(job.scale);
    const ResizeAxis axisY = AxisY(job.scale);
    const LONG nTapsX = AreaTaps(axisX);
    const LONG nTapsY = AreaTaps(axisY);
    for (LONG i = 0; i < axisX.nDstSize; i++)
        job.work.pStart[i] = AreaWeights(axisX, i, job.work.pWeights + ptrdiff_t{i} * nTapsX);
    const ResizeRowTaps taps = RowTaps(job, nTapsX, kernels);
    const PFNRESIZENARROW pfnNarrow = kernels.arrNarrow[job.nChannels - 1];
    ResizeNarrowDivisor divisor = {};
    MakeResizeNarrowDivisor(AreaTotal(job.scale), divisor);
    const ResizeFactor partsY = AreaParts(axisY);

    LONG nNext = 0; // rows before it are scaled
    for (LONG y = 0; y < axisY.nDstSize; y++)
    {
        const AreaSpan span = AreaOf(partsY, y);
        const uint16_t* arrRows[nResizeNarrowRows] = {};
        uint16_t arrWeights[nResizeNarrowRows] = {};
        for (LONG nRow = span.nFirst; nRow < span.nEnd; nRow++)
        {
            uint16_t* pRow = reinterpret_cast<uint16_t*>(job.work.pRows) +
                             job.work.nRowSamples * static_cast<size_t>(nRow % nTapsY);
            if (nRow >= nNext)
                pfnNarrow(taps, job.SrcRow(axisY.nRoiStart + nRow), pRow);
            arrRows[nRow - span.nFirst] = pRow;
            arrWeights[nRow - span.nFirst] = static_cast<uint16_t>(AreaWeight(partsY, y, nRow));
        }
        nNext = span.nEnd;
        kernels.pfnAverage(arrRows, arrWeights, span.nEnd - span.nFirst, divisor, job.DstRow(y),
                           job.Samples());
    }
}

void ScaleArea(const Job& job, const ResizeKernels& kernels) noexcept
{
    const ResizeAxis axisX = AxisX(job.scale);
    const ResizeAxis axisY = AxisY(job.scale);
    const LONG nTapsX = AreaTaps(axisX);
    for (LONG i = 0; i < axisX.nDstSize; i++)
        job.work.pStart[i] = AreaWeights(axisX, i, job.work.pWeights + ptrdiff_t{i} * nTapsX);
    const ResizeRowTaps taps = RowTaps(job, nTapsX, kernels);
    const PFNRESIZESUM pfnSum = kernels.arrSum[job.nChannels - 1];
    const ResizeDivisor divisor = MakeResizeDivisor(static_cast<uint32_t>(AreaTotal(job.scale)));
    const ResizeFactor partsY = AreaParts(axisY);

    LONG nLast = -1; // the row that stands in pRowSums: the one on the edge of two outputs serves both
    for (LONG y = 0; y < axisY.nDstSize; y++)
    {
        const AreaSpan span = AreaOf(partsY, y);
        for (LONG nRow = span.nFirst; nRow < span.nEnd; nRow++)
        {
            if (nRow != nLast)
                pfnSum(taps, job.SrcRow(axisY.nRoiStart + nRow), job.work.pRowSums);
            nLast = nRow;
            const auto nWeight = static_cast<uint32_t>(AreaWeight(partsY, y, nRow));
            kernels.pfnAdd(job.work.pSums, job.work.pRowSums, nWeight, nRow == span.nFirst, job.Samples());
        }
        kernels.pfnDivide(job.work.pSums, job.DstRow(y), divisor, job.Samples());
    }
}

BYTE WideAverage(const Job& job, const ResizeFactor& partsX, const ResizeFactor& partsY, LONG x, LONG y,
                 int nChannel, uint64_t nTotal) noexcept
{
    const AreaSpan spanX = AreaOf(partsX, x);
    const AreaSpan spanY = AreaOf(partsY, y);
    uint64_t nSum = nTotal / 2;
    for (LONG nRow = spanY.nFirst; nRow < spanY.nEnd; nRow++)
    {
        const BYTE* pRow = job.SrcRow(job.scale.srcRoi.nTop + nRow) +
                           ptrdiff_t{job.scale.srcRoi.nLeft} * job.nChannels + nChannel;
        uint64_t nRowSum = 0;
        for (LONG n = spanX.nFirst; n < spanX.nEnd; n++)
            nRowSum += pRow[ptrdiff_t{n} * job.nChannels] * static_cast<uint64_t>(AreaWeight(partsX, x, n));
        nSum += nRowSum * static_cast<uint64_t>(AreaWeight(partsY, y, nRow));
    }
    return static_cast<BYTE>(nSum / nTotal);
}

/// A frame has fewer than 2^32 samples, so that the sums stay below 2^40.
void ScaleAreaWide(const Job& job) noexcept
{
    const ResizeFactor partsX = AreaParts(AxisX(job.scale));
    const ResizeFactor partsY = AreaParts(AxisY(job.scale));
    const uint64_t nTotal = AreaTotal(job.scale);
    for (LONG y = 0; y < job.scale.dstSize.nHeight; y++)
    {
        BYTE* pDst = job.DstRow(y);
        for (LONG x = 0; x < job.scale.dstSize.nWidth; x++)
        {
            for (int c = 0; c < job.nChannels; c++)
                *pDst++ = WideAverage(job, partsX, partsY, x, y, c, nTotal);
        }
    }
}

} // namespace

size_t ResizeWorkSize(const PlaneScale& scale, int nInterpolation, int nChannels) noexcept
{
    WorkLayout layout;
    return LayOut(layout, scale, FindWay(scale, nInterpolation), static_cast<eInterpolation>(nInterpolation),
                  nChannels, nullptr);
}

template <int nChannels>
ePrimitiveStatus ResizePlane(const BYTE* pSrc, ptrdiff_t nSrcStep, BYTE* pDst, ptrdiff_t nDstStep,
                             const PlaneScale& scale, int nInterpolation, BYTE* pWork) noexcept
{
    if (!pSrc || !pDst)
        return ePS_NullPointer;
    if (!IsUsable(AxisX(scale)) || !IsUsable(AxisY(scale)))
        return ePS_SizeError;
    const eWay way = FindWay(scale, nInterpolation);
    if (way == eWay::Refused)
        return ePS_Interpolation;
    if (!pWork && way != eWay::AreaWide && way != eWay::Halve)
        return ePS_NullPointer;

    const auto eMode = static_cast<eInterpolation>(nInterpolation);
    Job job = {pSrc, nSrcStep, pDst, nDstStep, scale, nChannels, {}};
    LayOut(job.work, scale, way, eMode, nChannels, pWork);
    const ResizeKernels& kernels = GetResizeKernels();
    switch (way)
    {
    case eWay::Nearest:
        ScaleNearest<nChannels>(job);
        break;
    case eWay::Halve:
        ScaleHalf(job, kernels);
        break;
    case eWay::Filter:
        ScaleFilter(job, eMode, kernels);
        break;
    case eWay::AreaNarrow:
        ScaleAreaNarrow(job, kernels);
        break;
    case eWay::Area:
        ScaleArea(job, kernels);
        break;
    default:
        ScaleAreaWide(job);
        break;
    }
    return ePS_Done;
}

template ePrimitiveStatus ResizePlane<1>(const BYTE*, ptrdiff_t, BYTE*, ptrdiff_t, const PlaneScale&, int,
                                         BYTE*) noexcept;
template ePrimitiveStatus ResizePlane<3>(const BYTE*, ptrdiff_t, BYTE*, ptrdiff_t, const PlaneScale&, int,
                                         BYTE*) noexcept;
template ePrimitiveStatus ResizePlane<4>(const BYTE*, ptrdiff_t, BYTE*, ptrdiff_t, const PlaneScale&, int,
                                         BYTE*) noexcept;
