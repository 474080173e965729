#include "imgconverter/ResizeScaler.h"

#include <type_traits>

namespace
{

PlaneJob JobOf(const PlaneScale& scale, int nChannels) noexcept
{
    const RoiRect& roi = scale.srcRoi;
    return {{scale.srcSize.nWidth, roi.nLeft, roi.nWidth, scale.dstSize.nWidth, scale.factorX},
            {scale.srcSize.nHeight, roi.nTop, roi.nHeight, scale.dstSize.nHeight, scale.factorY},
            static_cast<size_t>(nChannels)};
}

} // namespace

ePrimitiveStatus CPlaneScaler::SelectMethod(const PlaneScale& scale, int nInterpolation,
                                            int nChannels) noexcept
{
    const PlaneJob job = JobOf(scale, nChannels);
    if (!IsUsable(job.across) || !IsUsable(job.down))
        return ePS_SizeError;
    const bool bHalved = IsHalved(job.across) && IsHalved(job.down);
    const bool bDoubled = nChannels == 1 && IsDoubled(job.across) && IsDoubled(job.down);
    switch (nInterpolation)
    {
    case eIP_Nearest:
        m_method.emplace<CNearestScaler>(job);
        break;
    case eIP_Linear:
        if (bHalved)
            m_method.emplace<CHalveScaler>(job);
        else if (bDoubled)
            m_method.emplace<CDoubleScaler>(job);
        else
            m_method.emplace<CFilterScaler>(job, eIP_Linear);
        break;
    case eIP_Cubic:
        m_method.emplace<CFilterScaler>(job, eIP_Cubic);
        break;
    case eIP_Super:
        if (bHalved)
            m_method.emplace<CHalveScaler>(job);
        else
            SelectArea(job);
        break;
    default:
        return ePS_Interpolation;
    }
    return ePS_Done;
}

/// All of them give the same bytes; the narrowest sums are the fastest.
void CPlaneScaler::SelectArea(const PlaneJob& job) noexcept
{
    if (CNarrowAreaScaler::CanScale(job))
        m_method.emplace<CNarrowAreaScaler>(job);
    else if (CAreaScaler::CanScale(job))
        m_method.emplace<CAreaScaler>(job);
    else
        m_method.emplace<CWideAreaScaler>(job);
}

template <class TCall>
void CPlaneScaler::WithMethod(TCall call) noexcept
{
    std::visit(
        [&call](auto& method)
        {
            if constexpr (!std::is_same_v<decltype(method), std::monostate&>)
                call(method);
        },
        m_method);
}

size_t CPlaneScaler::LayOut(BYTE* pWork) noexcept
{
    CWork work(pWork);
    WithMethod([&work](auto& method) { method.LayOut(work); });
    return work.Taken();
}

size_t CPlaneScaler::WorkSize(const PlaneScale& scale, int nInterpolation, int nChannels) noexcept
{
    CPlaneScaler scaler;
    return scaler.SelectMethod(scale, nInterpolation, nChannels) == ePS_Done ? scaler.LayOut(nullptr) : 0;
}

ePrimitiveStatus CPlaneScaler::Open(const PlaneScale& scale, int nInterpolation, int nChannels,
                                    BYTE* pWork) noexcept
{
    const ePrimitiveStatus eStatus = SelectMethod(scale, nInterpolation, nChannels);
    if (eStatus != ePS_Done)
        return eStatus;
    if (LayOut(pWork) != 0 && !pWork)
        return ePS_NullPointer;
    const ResizeKernels& kernels = Kernels<ResizeKernels>();
    WithMethod([&kernels](auto& method) { method.Prepare(kernels); });
    return ePS_Done;
}

void CPlaneScaler::ScaleRow(IRowSource& source, LONG nRow, BYTE* pDst) noexcept
{
    WithMethod([&](auto& method) { method.ScaleRow(source, nRow, pDst); });
}
