#include "imgconverter/ResizeScaler.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace
{

/// Rows of plain sums that are kept: a pair, and the row that two outputs share.
constexpr LONG nSumSlots = 4;

ResizeAxis AcrossOf(const PlaneScale& scale) noexcept
{
    return {scale.srcSize.nWidth, scale.srcRoi.nLeft, scale.srcRoi.nWidth, scale.dstSize.nWidth,
            scale.factorX};
}

ResizeAxis DownOf(const PlaneScale& scale) noexcept
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
    return static_cast<uint64_t>(AreaParts(AcrossOf(scale)).nSrc) *
           static_cast<uint64_t>(AreaParts(DownOf(scale)).nSrc);
}

/// Taps across: the vector forms take groups of four.
LONG AreaTapsAcross(const PlaneScale& scale) noexcept
{
    const ResizeAxis axis = AcrossOf(scale);
    const int64_t nTaps = (int64_t{AreaSamples(axis)} + nResizeChunkTaps - 1) / nResizeChunkTaps;
    return static_cast<LONG>(std::min<int64_t>(nTaps * nResizeChunkTaps, axis.nSrcSize));
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

/// Every sample of the region lies in the middle of two outputs.
bool IsDoubled(const ResizeAxis& axis) noexcept
{
    const auto twice = [](LONG nSrc, LONG nDst) { return nDst % 2 == 0 && nDst / 2 == nSrc; };
    return twice(axis.nRoiSize, axis.nDstSize) && twice(axis.factor.nSrc, axis.factor.nDst);
}

template <size_t nChannels>
void PickPixels(const int32_t* pStart, const BYTE* pSrc, BYTE* pDst, LONG nOutputs) noexcept
{
    for (LONG i = 0; i < nOutputs; i++)
        std::memcpy(pDst + static_cast<size_t>(i) * nChannels, pSrc + ptrdiff_t{pStart[i]} * nChannels,
                    nChannels);
}

using PFNPICK = void (*)(const int32_t* pStart, const BYTE* pSrc, BYTE* pDst, LONG nOutputs) noexcept;
constexpr PFNPICK arrPick[] = {PickPixels<1>, nullptr, PickPixels<3>, PickPixels<4>};

} // namespace

const CPlaneScaler::Way CPlaneScaler::waySizeError = {ePS_SizeError, nullptr, &CPlaneScaler::LayOutNothing,
                                                      nullptr};
const CPlaneScaler::Way CPlaneScaler::wayInterpolation = {ePS_Interpolation, nullptr,
                                                          &CPlaneScaler::LayOutNothing, nullptr};
const CPlaneScaler::Way CPlaneScaler::wayNearest = {
    ePS_Done, &CPlaneScaler::RowNearest, &CPlaneScaler::LayOutNearest, &CPlaneScaler::PrepareNearest};
/// Both sides to one half, linear or averaged.
const CPlaneScaler::Way CPlaneScaler::wayHalve = {
    ePS_Done, &CPlaneScaler::RowHalve, &CPlaneScaler::LayOutNothing, &CPlaneScaler::PrepareNothing};
/// One channel to twice its sides, linear.
const CPlaneScaler::Way CPlaneScaler::wayDouble = {
    ePS_Done, &CPlaneScaler::RowDouble, &CPlaneScaler::LayOutNothing, &CPlaneScaler::PrepareNothing};
const CPlaneScaler::Way CPlaneScaler::wayFilter = {ePS_Done, &CPlaneScaler::RowFilter,
                                                   &CPlaneScaler::LayOutFilter, &CPlaneScaler::PrepareFilter};
/// Sums of 16 bits, for the ratios of everyday formats.
const CPlaneScaler::Way CPlaneScaler::wayAreaNarrow = {
    ePS_Done, &CPlaneScaler::RowAreaNarrow, &CPlaneScaler::LayOutAreaNarrow, &CPlaneScaler::PrepareArea};
/// Sums of 32 bits.
const CPlaneScaler::Way CPlaneScaler::wayArea = {ePS_Done, &CPlaneScaler::RowArea, &CPlaneScaler::LayOutArea,
                                                 &CPlaneScaler::PrepareArea};
/// Sums of 64 bits, for sides whose ratio has large terms.
const CPlaneScaler::Way CPlaneScaler::wayAreaWide = {
    ePS_Done, &CPlaneScaler::RowAreaWide, &CPlaneScaler::LayOutAreaWide, &CPlaneScaler::PrepareNothing};

/// All of them give the same bytes.
const CPlaneScaler::Way& CPlaneScaler::FindAreaWay(const PlaneScale& scale) noexcept
{
    const uint64_t nTotal = AreaTotal(scale);
    if (nTotal > nResizeMaxTotal || !FitsNarrowWeights(AcrossOf(scale)) || !FitsNarrowWeights(DownOf(scale)))
        return wayAreaWide;
    ResizeNarrowDivisor divisor;
    const bool bNarrow = AreaTapsAcross(scale) <= nResizeChunkTaps &&
                         AreaSamples(DownOf(scale)) <= nResizeNarrowRows &&
                         MakeResizeNarrowDivisor(nTotal, divisor);
    return bNarrow ? wayAreaNarrow : wayArea;
}

const CPlaneScaler::Way& CPlaneScaler::FindWay(const PlaneScale& scale, int nInterpolation,
                                               int nChannels) noexcept
{
    if (!IsUsable(AcrossOf(scale)) || !IsUsable(DownOf(scale)))
        return waySizeError;
    if ((nInterpolation == eIP_Linear || nInterpolation == eIP_Super) && IsHalved(AcrossOf(scale)) &&
        IsHalved(DownOf(scale)))
        return wayHalve;
    if (nInterpolation == eIP_Linear && nChannels == 1 && IsDoubled(AcrossOf(scale)) &&
        IsDoubled(DownOf(scale)))
        return wayDouble;
    switch (nInterpolation)
    {
    case eIP_Nearest:
        return wayNearest;
    case eIP_Linear:
    case eIP_Cubic:
        return wayFilter;
    case eIP_Super:
        return FindAreaWay(scale);
    default:
        return wayInterpolation;
    }
}

ResizeAxis CPlaneScaler::AxisX() const noexcept
{
    return AcrossOf(m_scale);
}

ResizeAxis CPlaneScaler::AxisY() const noexcept
{
    return DownOf(m_scale);
}

size_t CPlaneScaler::Samples() const noexcept
{
    return static_cast<size_t>(m_scale.dstSize.nWidth) * m_nChannels;
}

const int16_t* CPlaneScaler::WeightsDown(LONG nRow) const noexcept
{
    return m_pWeightsDown + FirstWeight(nRow, m_nTapsDown);
}

size_t CPlaneScaler::WorkSize(const PlaneScale& scale, int nInterpolation, int nChannels) noexcept
{
    CPlaneScaler scaler;
    return scaler.LayOut(FindWay(scale, nInterpolation, nChannels), scale, nInterpolation, nChannels,
                         nullptr);
}

ePrimitiveStatus CPlaneScaler::Open(const PlaneScale& scale, int nInterpolation, int nChannels,
                                    BYTE* pWork) noexcept
{
    const Way& way = FindWay(scale, nInterpolation, nChannels);
    if (way.eStatus != ePS_Done)
        return way.eStatus;
    if (LayOut(way, scale, nInterpolation, nChannels, pWork) != 0 && !pWork)
        return ePS_NullPointer;
    m_pKernels = &Kernels<ResizeKernels>();
    m_pfnRow = way.pfnRow;
    m_nNext = 0;
    m_pLastDst = nullptr;
    (this->*way.pfnPrepare)();
    return ePS_Done;
}

size_t CPlaneScaler::LayOut(const Way& way, const PlaneScale& scale, int nInterpolation, int nChannels,
                            BYTE* pWork) noexcept
{
    m_scale = scale;
    m_eMode = static_cast<eInterpolation>(nInterpolation);
    m_nChannels = static_cast<size_t>(nChannels);
    CWork work(pWork);
    (this->*way.pfnLayOut)(work);
    return work.Taken();
}

void CPlaneScaler::LayOutNothing(CWork&) noexcept {}

void CPlaneScaler::LayOutNearest(CWork& work) noexcept
{
    m_pStart = work.Take<int32_t>(static_cast<size_t>(m_scale.dstSize.nWidth));
    m_pStartDown = work.Take<int32_t>(static_cast<size_t>(m_scale.dstSize.nHeight));
}

void CPlaneScaler::LayOutTaps(CWork& work, LONG nTapsAcross, LONG nTapsDown) noexcept
{
    LayOutNearest(work);
    m_nTapsAcross = nTapsAcross;
    m_nTapsDown = nTapsDown;
    m_pWeights =
        work.Take<int16_t>(static_cast<size_t>(m_scale.dstSize.nWidth) * static_cast<size_t>(nTapsAcross));
    m_pWeightsDown =
        work.Take<int16_t>(static_cast<size_t>(m_scale.dstSize.nHeight) * static_cast<size_t>(nTapsDown));
    if (m_nChannels != 1)
        return;
    const size_t nWindows = ResizeWindowCount(nTapsAcross, m_scale.dstSize.nWidth);
    m_pWindows = work.Take<ResizeWindow>(nWindows);
    m_pPlaces = work.Take<int32_t>(nWindows * nResizeWindowPlaces);
}

template <class TSample>
void CPlaneScaler::LayOutRows(CWork& work, LONG nSlots) noexcept
{
    constexpr size_t nAlign = cbWorkAlign / sizeof(TSample);
    m_nRowSamples = (Samples() + nResizeRowSlack + nAlign - 1) / nAlign * nAlign;
    m_nSlots = nSlots;
    m_pRows = work.Take<TSample>(m_nRowSamples * static_cast<size_t>(nSlots));
}

void CPlaneScaler::LayOutFilter(CWork& work) noexcept
{
    LayOutTaps(work, FilterTaps(AxisX(), m_eMode), FilterTaps(AxisY(), m_eMode));
    LayOutRows<int16_t>(work, m_nTapsDown + 1); // one more is scaled ahead
}

void CPlaneScaler::LayOutAreaNarrow(CWork& work) noexcept
{
    LayOutTaps(work, AreaTapsAcross(m_scale), AreaSamples(AxisY()));
    LayOutRows<uint16_t>(work, m_nTapsDown + 1);
}

void CPlaneScaler::LayOutArea(CWork& work) noexcept
{
    LayOutTaps(work, AreaTapsAcross(m_scale), AreaSamples(AxisY()));
    LayOutRows<int32_t>(work, nSumSlots);
    m_pSums = work.Take<uint32_t>(m_nRowSamples);
}

void CPlaneScaler::LayOutAreaWide(CWork& work) noexcept
{
    m_pWideSums = work.Take<uint64_t>(Samples());
}

void CPlaneScaler::PrepareNearest() noexcept
{
    NearestSamples(AxisX(), m_pStart);
    NearestSamples(AxisY(), m_pStartDown);
}

void CPlaneScaler::PrepareTaps() noexcept
{
    m_taps = MakeResizeTaps(m_pStart, m_pWeights, m_nTapsAcross, m_scale.dstSize.nWidth,
                            static_cast<size_t>(m_scale.srcSize.nWidth) * m_nChannels);
    if (m_nChannels == 1 && m_pKernels->bWindows)
        MakeResizeWindows(m_taps, m_pWindows, m_pPlaces);
}

void CPlaneScaler::PrepareFilter() noexcept
{
    FilterWeights(AxisX(), m_eMode, m_pStart, m_pWeights);
    FilterWeights(AxisY(), m_eMode, m_pStartDown, m_pWeightsDown);
    PrepareTaps();
}

void CPlaneScaler::PrepareArea() noexcept
{
    AreaWeights(AxisX(), m_nTapsAcross, m_pStart, m_pWeights);
    AreaWeights(AxisY(), m_nTapsDown, m_pStartDown, m_pWeightsDown);
    const uint64_t nTotal = AreaTotal(m_scale);
    m_divisor = MakeResizeDivisor(static_cast<uint32_t>(nTotal));
    MakeResizeNarrowDivisor(nTotal, m_narrowDivisor);
    PrepareTaps();
}

/// Whether this output row or one after it needs a source row that stands right behind those in the slots.
bool CPlaneScaler::IsWanted(LONG nSrcRow, LONG nRow) const noexcept
{
    if (nSrcRow >= m_scale.srcSize.nHeight)
        return false;
    while (nRow < m_scale.dstSize.nHeight && m_pStartDown[nRow] + m_nTapsDown <= nSrcRow)
        nRow++;
    return nRow < m_scale.dstSize.nHeight && m_pStartDown[nRow] <= nSrcRow;
}

/// A source row scaled across. The weights serve two rows at a time: the next one comes along where it will
/// be needed.
template <class TSample>
const TSample* CPlaneScaler::Across(IRowSource& source, LONG nSrcRow, LONG nRow,
                                    PFNACROSS<TSample> pfn) noexcept
{
    const auto slot = [this](LONG n)
    { return static_cast<TSample*>(m_pRows) + static_cast<size_t>(n % m_nSlots) * m_nRowSamples; };
    if (nSrcRow >= m_nNext)
    {
        const LONG nSecond = IsWanted(nSrcRow + 1, nRow) ? nSrcRow + 1 : nSrcRow;
        const BYTE* pFirst = source.Row(nSrcRow);
        const BYTE* pSecond = nSecond != nSrcRow ? source.Row(nSecond) : pFirst;
        pfn(m_taps, {{pFirst, pSecond}, {slot(nSrcRow), slot(nSecond)}});
        m_nNext = nSecond + 1;
    }
    return slot(nSrcRow);
}

void CPlaneScaler::RowNearest(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    const int32_t nSrcRow = m_pStartDown[nRow];
    const bool bSame = m_pLastDst && nSrcRow == m_pStartDown[nRow - 1];
    const BYTE* pLast = m_pLastDst;
    m_pLastDst = pDst;
    if (bSame)
    {
        if (pLast != pDst)
            std::memcpy(pDst, pLast, Samples());
        return;
    }
    const BYTE* pSrc = source.Row(nSrcRow);
    const ResizeAxis axis = AxisX();
    if (IsHalved(axis))
        m_pKernels->arrSeconds[m_nChannels - 1](pSrc + static_cast<size_t>(axis.nRoiStart) * m_nChannels,
                                                pDst, static_cast<size_t>(axis.nDstSize));
    else
        arrPick[m_nChannels - 1](m_pStart, pSrc, pDst, axis.nDstSize);
}

void CPlaneScaler::RowHalve(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    const RoiRect& roi = m_scale.srcRoi;
    const size_t nLeft = static_cast<size_t>(roi.nLeft) * m_nChannels;
    const BYTE* pUpper = source.Row(roi.nTop + 2 * nRow) + nLeft;
    const BYTE* pLower = source.Row(roi.nTop + 2 * nRow + 1) + nLeft;
    m_pKernels->arrHalve[m_nChannels - 1](pUpper, pLower, pDst, static_cast<size_t>(m_scale.dstSize.nWidth));
}

void CPlaneScaler::RowDouble(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    const LONG nNear = m_scale.srcRoi.nTop + nRow / 2;
    const LONG nFar = std::clamp<LONG>(nRow % 2 != 0 ? nNear + 1 : nNear - 1, 0, m_scale.srcSize.nHeight - 1);
    const BYTE* pNear = source.Row(nNear);
    const BYTE* pFar = source.Row(nFar);
    // The pixels on both ends may lack a neighbour: they come from a row of three with the nearest one.
    const LONG nLeft = m_scale.srcRoi.nLeft;
    const LONG nWidth = m_scale.srcRoi.nWidth;
    const auto doubleEnd = [&](LONG nPixel)
    {
        const LONG nLast = m_scale.srcSize.nWidth - 1;
        const LONG nX = nLeft + nPixel;
        const LONG arrX[] = {std::max<LONG>(nX - 1, 0), nX, std::min<LONG>(nX + 1, nLast)};
        const BYTE arrNear[] = {pNear[arrX[0]], pNear[arrX[1]], pNear[arrX[2]]};
        const BYTE arrFar[] = {pFar[arrX[0]], pFar[arrX[1]], pFar[arrX[2]]};
        m_pKernels->pfnDouble(arrNear + 1, arrFar + 1, pDst + 2 * nPixel, 1);
    };
    doubleEnd(0);
    if (nWidth == 1)
        return;
    doubleEnd(nWidth - 1);
    m_pKernels->pfnDouble(pNear + nLeft + 1, pFar + nLeft + 1, pDst + 2, static_cast<size_t>(nWidth - 2));
}

void CPlaneScaler::RowFilter(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    const int16_t* arrRows[4] = {};
    for (LONG k = 0; k < m_nTapsDown; k++)
        arrRows[k] = Across(source, m_pStartDown[nRow] + k, nRow, m_pKernels->arrRows[m_nChannels - 1]);
    m_pKernels->pfnBlend(arrRows, WeightsDown(nRow), m_nTapsDown, pDst, Samples());
}

void CPlaneScaler::RowAreaNarrow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    const uint16_t* arrRows[nResizeNarrowRows] = {};
    int16_t arrWeights[nResizeNarrowRows] = {};
    const int16_t* const pWeights = WeightsDown(nRow);
    LONG nRows = 0;
    for (LONG k = 0; k < m_nTapsDown; k++)
    {
        const int16_t nWeight = pWeights[k];
        if (nWeight == 0)
            continue;
        arrRows[nRows] = Across(source, m_pStartDown[nRow] + k, nRow, m_pKernels->arrNarrow[m_nChannels - 1]);
        arrWeights[nRows] = nWeight;
        nRows++;
    }
    m_pKernels->pfnAverage(arrRows, arrWeights, nRows, m_narrowDivisor, pDst, Samples());
}

void CPlaneScaler::RowArea(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    const int16_t* const pWeights = WeightsDown(nRow);
    bool bFirst = true;
    for (LONG k = 0; k < m_nTapsDown; k++)
    {
        const int16_t nWeight = pWeights[k];
        if (nWeight == 0)
            continue;
        const int32_t* pSums =
            Across(source, m_pStartDown[nRow] + k, nRow, m_pKernels->arrSum[m_nChannels - 1]);
        m_pKernels->pfnAdd(m_pSums, pSums, static_cast<uint32_t>(nWeight), bFirst, Samples());
        bFirst = false;
    }
    m_pKernels->pfnDivide(m_pSums, pDst, m_divisor, Samples());
}

/// A frame has fewer than 2^32 samples, so that the sums stay below 2^40.
void CPlaneScaler::RowAreaWide(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    const ResizeFactor partsX = AreaParts(AxisX());
    const ResizeFactor partsY = AreaParts(AxisY());
    const uint64_t nTotal = AreaTotal(m_scale);
    std::fill_n(m_pWideSums, Samples(), nTotal / 2);
    const AreaSpan spanY = AreaOf(partsY, nRow);
    for (LONG nSrcRow = spanY.nFirst; nSrcRow < spanY.nEnd; nSrcRow++)
    {
        const BYTE* pSrc = source.Row(m_scale.srcRoi.nTop + nSrcRow) +
                           static_cast<size_t>(m_scale.srcRoi.nLeft) * m_nChannels;
        const auto nRowWeight = static_cast<uint64_t>(AreaWeight(partsY, nRow, nSrcRow));
        uint64_t* pSum = m_pWideSums;
        for (LONG x = 0; x < m_scale.dstSize.nWidth; x++, pSum += m_nChannels)
        {
            const AreaSpan spanX = AreaOf(partsX, x);
            for (LONG n = spanX.nFirst; n < spanX.nEnd; n++)
            {
                const uint64_t nWeight = nRowWeight * static_cast<uint64_t>(AreaWeight(partsX, x, n));
                const BYTE* pPixel = pSrc + static_cast<size_t>(n) * m_nChannels;
                for (size_t c = 0; c < m_nChannels; c++)
                    pSum[c] += pPixel[c] * nWeight;
            }
        }
    }
    std::transform(m_pWideSums, m_pWideSums + Samples(), pDst,
                   [nTotal](uint64_t nSum) { return static_cast<BYTE>(nSum / nTotal); });
}
