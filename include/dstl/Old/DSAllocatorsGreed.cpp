#include "dstl/Old/DSAllocatorsGreed.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace
{
/// Bytes in front of a negative prefix: whole alignments, so that the aligned address keeps its alignment.
uint64_t LeadBytes(const ALLOCATOR_PROPERTIES& rgProps) noexcept
{
    if (rgProps.cbPrefix >= 0)
        return 0;
    const uint64_t cbAlign = static_cast<uint64_t>(rgProps.cbAlign);
    const uint64_t cbMissing = static_cast<uint64_t>(-static_cast<int64_t>(rgProps.cbPrefix));
    return (cbMissing + cbAlign - 1) / cbAlign * cbAlign;
}

/// Bytes by which an address of the system's may have to move up to be aligned. dwPageSize plays no
/// part: addresses lie on the allocation granularity.
uint64_t AlignSlack(LONG cbAlign) noexcept
{
    SYSTEM_INFO rgSysInfo = {};
    GetSystemInfo(&rgSysInfo);
    const uint64_t cbWanted = static_cast<uint64_t>(cbAlign);
    const uint64_t cbGiven = rgSysInfo.dwAllocationGranularity;
    if (cbWanted <= cbGiven)
        return 0;
    return IsPowerOfTwoAlign(cbAlign) ? cbWanted - cbGiven : cbWanted;
}
} // namespace

bool CGreedArrayOnVirtualAlloc::AllocSlot(GreedBufferSlot& slot,
                                          const ALLOCATOR_PROPERTIES& rgProps) const noexcept
{
    slot.pbRawBuffer = static_cast<BYTE*>(VirtualAlloc(nullptr, m_cbAllocSize, MEM_COMMIT, PAGE_READWRITE));
    if (slot.pbRawBuffer == nullptr)
        return false;
    const uintptr_t nMask = static_cast<uintptr_t>(rgProps.cbAlign) - 1;
    const uintptr_t nRaw = reinterpret_cast<uintptr_t>(slot.pbRawBuffer);
    const uintptr_t nOffset = ((nRaw + nMask) & ~nMask) - nRaw + LeadBytes(rgProps);
    slot.pbAlignedBuffer = slot.pbRawBuffer + nOffset + rgProps.cbPrefix;
    return true;
}

bool CGreedArrayOnVirtualAlloc::AllocArray(ALLOCATOR_PROPERTIES rgProps, GreedBufferSlot** ppBuffers) noexcept
{
    DSASSERT(ppBuffers && rgProps.cBuffers > 0 && rgProps.cbBuffer > 0 && rgProps.cbAlign >= 0);
    DSASSERT_TEXT(IsPowerOfTwoAlign(rgProps.cbAlign),
                  "(-rgProps.cbAlign & rgProps.cbAlign) == rgProps.cbAlign");
    if (rgProps.cbAlign < 1)
        rgProps.cbAlign = 1;
    if (ppBuffers == nullptr || *ppBuffers == nullptr)
        return false;

    // Wider than the sum of the fields, which a hostile request could make wrap to less than a buffer.
    const int64_t cbAllocSize = static_cast<int64_t>(static_cast<DWORD>(rgProps.cbBuffer)) +
                                rgProps.cbPrefix +
                                static_cast<int64_t>(LeadBytes(rgProps) + AlignSlack(rgProps.cbAlign));
    const bool bFits = cbAllocSize <= std::numeric_limits<DWORD>::max();
    m_cbAllocSize = bFits ? static_cast<DWORD>(cbAllocSize) : 0;

    GreedBufferSlot* const pBuffers = *ppBuffers;
    for (LONG i = 0; i < rgProps.cBuffers; i++)
        pBuffers[i] = {};
    constexpr LONG nFilled = 2; // of the last slots
    for (LONG i = std::max<LONG>(rgProps.cBuffers - nFilled, 0); i < rgProps.cBuffers; i++)
    {
        if (m_cbAllocSize == 0 || !AllocSlot(pBuffers[i], rgProps))
        {
            FreeArray(nullptr, 0);
            return false;
        }
    }
    m_rgAllocProps = rgProps;
    return true;
}

bool CGreedArrayOnVirtualAlloc::AllocOne(GreedBufferSlot* pBuffer) noexcept
{
    DSASSERT(pBuffer);
    DSASSERT(m_cbAllocSize);
    if (pBuffer == nullptr || m_cbAllocSize == 0)
        return false;
    DSASSERT(m_rgAllocProps.cbAlign);
    return AllocSlot(*pBuffer, m_rgAllocProps);
}

void CGreedArrayOnVirtualAlloc::FreeOne(GreedBufferSlot& slot) noexcept
{
    if (slot.pbRawBuffer == nullptr)
        return;
    VirtualFree(slot.pbRawBuffer, 0, MEM_RELEASE);
    slot = {};
}

void CGreedArrayOnVirtualAlloc::FreeArray(GreedBufferSlot* pBuffers, DWORD nBuffers) noexcept
{
    if (pBuffers != nullptr)
    {
        DSASSERT_TEXT(static_cast<DWORD>(m_rgAllocProps.cBuffers) == nBuffers,
                      "m_rgAllocProps.cBuffers == nBuffers");
        for (DWORD i = 0; i < nBuffers; i++)
        {
            FreeOne(pBuffers[i]);
            pBuffers[i] = {};
        }
    }
    m_cbAllocSize = 0;
    m_rgAllocProps = {};
}
