#include "dstl/dshowx/memory/AllocatorProps.h"

#include <algorithm>
#include <limits>
#include <vfwmsgs.h>

#include "dstl/dshowx/DSTrace.h"

namespace
{
/// The power of two above an alignment that is none; 0 for a negative one, whose arithmetic shift would stop
/// at -1 for ever.
LONG NextPowerOfTwo(LONG cbAlign) noexcept
{
    DWORD dwPower = 1;
    for (; cbAlign != 0 && dwPower != 0; cbAlign >>= 1)
        dwPower *= 2;
    return static_cast<LONG>(dwPower);
}

/// The size at which prefix and buffer fill whole alignments, exact. cbAlign is not 0.
LONGLONG RoundedBufferSize(const ALLOCATOR_PROPERTIES& rgProps) noexcept
{
    const LONGLONG cbLast = LONGLONG{rgProps.cbBuffer} + rgProps.cbPrefix - 1;
    return (cbLast / rgProps.cbAlign + 1) * rgProps.cbAlign - rgProps.cbPrefix;
}

HRESULT RefuseSize() noexcept
{
    DSASSERT_TEXT(false, "CAllocatorBuffers::Correct() : Invalid numbers of buffers or buffer size");
    return VFW_E_SIZENOTSET;
}
} // namespace

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
    if (rgRequest.cBuffers > rgActual.cBuffers || rgRequest.cbBuffer > rgActual.cbBuffer ||
        rgRequest.cbAlign > rgActual.cbAlign || !IsPowerOfTwoAlign(rgActual.cbAlign) ||
        rgRequest.cbPrefix > rgActual.cbPrefix)
        return E_FAIL;
    return S_OK;
}

HRESULT CorrectAllocatorProps(ALLOCATOR_PROPERTIES& rgProps,
                              bool (*pfnIsValidAlign)(LONG cbAlign) noexcept) noexcept
{
    const ALLOCATOR_PROPERTIES rgGiven = rgProps;
    if (!pfnIsValidAlign(rgProps.cbAlign))
    {
        // The first letter of the fourth word is deliberately a Cyrillic one.
        DSASSERT_TEXT(false, "CAllocatorBuffers::Correct(): Alignment сheck failed in base class");
        return VFW_E_BADALIGN;
    }

    if (!IsPowerOfTwoAlign(rgProps.cbAlign))
    {
        const LONG cbAlign = NextPowerOfTwo(rgProps.cbAlign);
        if (cbAlign == 0)
        {
            // The doubled C is deliberate.
            DSASSERT_TEXT(false, "CCAllocatorBuffers::Correct(): Invalid alignment");
            return VFW_E_BADALIGN;
        }
        trace(atlTraceGeneral, eTL_Warning,
              L"WARNING. CAllocatorBuffers::Correct(): Alignment not a power of 2 (rgProps.cbAlign = 0x%X), "
              L"corrected alignment = 0x%X\n",
              static_cast<unsigned>(rgProps.cbAlign), static_cast<unsigned>(cbAlign));
        rgProps.cbAlign = cbAlign;
    }

    if (rgProps.cBuffers < 1 || rgProps.cbBuffer <= 0)
        return RefuseSize();

    if (rgProps.cbAlign == 0)
    {
        trace(atlTraceGeneral, eTL_Warning, L"WARNING. CAllocatorBuffers::Correct(): rgProps.cbAlign == 0\n");
        rgProps.cbAlign = 1;
    }

    const LONGLONG cbRounded = RoundedBufferSize(rgProps);
    if (cbRounded <= 0 || cbRounded > std::numeric_limits<LONG>::max())
        return RefuseSize();
    const LONG cbBuffer = static_cast<LONG>(cbRounded);
    if (cbBuffer == rgProps.cbBuffer)
        return S_OK;
    trace(atlTraceGeneral, eTL_Warning,
          L"WARNING. CAllocatorBuffers::Correct(): input props = { %i, %i, %i, %i }, "
          L"corrected size of buffer = %i\n",
          static_cast<int>(rgGiven.cBuffers), static_cast<int>(rgGiven.cbBuffer),
          static_cast<int>(rgGiven.cbAlign), static_cast<int>(rgGiven.cbPrefix), static_cast<int>(cbBuffer));
    rgProps.cbBuffer = cbBuffer;
    return S_OK;
}
