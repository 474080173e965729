#include "dstl/dshowx/AllocatorProps.h"

#include <algorithm>

void AllocatorMaxProps(ALLOCATOR_PROPERTIES& rgProps, const ALLOCATOR_PROPERTIES& rgOther) noexcept
{
    rgProps.cBuffers = std::max(rgProps.cBuffers, rgOther.cBuffers);
    rgProps.cbBuffer = std::max(rgProps.cbBuffer, rgOther.cbBuffer);
    rgProps.cbAlign = std::max(rgProps.cbAlign, rgOther.cbAlign);
    rgProps.cbPrefix = std::max(rgProps.cbPrefix, rgOther.cbPrefix);
}

void AdjustAllocatorProps(ALLOCATOR_PROPERTIES& rgProps, DWORD cbImage, DWORD cbSample,
                          DWORD cbFrame) noexcept
{
    const LONG cbSize = static_cast<LONG>(std::max({cbImage, cbSample, cbFrame}));
    rgProps.cbBuffer = std::max({rgProps.cbBuffer, LONG{1}, cbSize});
    rgProps.cBuffers = std::max(rgProps.cBuffers, nMinBuffers);
    rgProps.cbAlign = std::max(rgProps.cbAlign, LONG{1});
}

HRESULT AllocatorTestProps(const ALLOCATOR_PROPERTIES& rgRequest,
                           const ALLOCATOR_PROPERTIES& rgActual) noexcept
{
    // Negated in unsigned arithmetic, where the lowest value does not overflow.
    const DWORD dwAlign = static_cast<DWORD>(rgActual.cbAlign);
    const bool bPowerOfTwo = ((0u - dwAlign) & dwAlign) == dwAlign;
    if (rgRequest.cBuffers > rgActual.cBuffers || rgRequest.cbBuffer > rgActual.cbBuffer ||
        rgRequest.cbAlign > rgActual.cbAlign || !bPowerOfTwo || rgRequest.cbPrefix > rgActual.cbPrefix)
        return E_FAIL;
    return S_OK;
}
