#pragma once
/// The arithmetic of allocator negotiation: what an output pin asks for and what it accepts. No COM, no
/// state.

#include "dstl/WinAPI/Platform.h"

#include <strmif.h>

/// The least number of buffers that the pin works with: one travels downstream while the next one is filled.
inline constexpr LONG nMinBuffers = 2;

/// What an output pin asks for before it knows its media type: one buffer of one byte, any address, no
/// prefix.
inline constexpr ALLOCATOR_PROPERTIES rgDefaultAllocatorProps = {1, 1, 1, 0};

/// Raises each field of rgProps to that of rgOther, in signed comparisons.
void AllocatorMaxProps(ALLOCATOR_PROPERTIES& rgProps, const ALLOCATOR_PROPERTIES& rgOther) noexcept;

/// Raises a request to what one frame needs: at least two buffers, any alignment, and room for the largest of
/// the three sizes. The sizes compare unsigned with each other; the largest then compares signed with
/// cbBuffer, so a size of 2 GiB or more leaves cbBuffer as it stood. \param cbImage biSizeImage of the media
/// type's header, bytes \param cbSample lSampleSize of the media type, bytes \param cbFrame size of the
/// output picture, bytes
void AdjustAllocatorProps(ALLOCATOR_PROPERTIES& rgProps, DWORD cbImage, DWORD cbSample,
                          DWORD cbFrame) noexcept;

/// Whether an allocator's answer serves a request: no field below what was asked for, and the alignment a
/// power of two by (-a & a) == a, which holds for 0 as well. More than requested is accepted. \return S_OK or
/// E_FAIL
HRESULT AllocatorTestProps(const ALLOCATOR_PROPERTIES& rgRequest,
                           const ALLOCATOR_PROPERTIES& rgActual) noexcept;

/// Makes of a request one that a buffer store can meet. The alignment becomes a power of two (3 becomes 4)
/// and at least 1, the size grows until prefix and buffer together fill whole alignments; a change is traced.
/// The number of buffers stays.
/// \param pfnIsValidAlign the memory policy's opinion of the alignment, asked first
/// \return S_OK; VFW_E_BADALIGN for a refused or a negative alignment; VFW_E_SIZENOTSET for less than one
/// buffer or byte, and for a size that grows beyond 31 bits. On a failure rgProps may be changed in part
HRESULT CorrectAllocatorProps(ALLOCATOR_PROPERTIES& rgProps,
                              bool (*pfnIsValidAlign)(LONG cbAlign) noexcept) noexcept;

/// Whether an alignment is a power of two by (-a & a) == a, which holds for 0 and the lowest value as well.
constexpr bool IsPowerOfTwoAlign(LONG cbAlign) noexcept
{
    const DWORD dwAlign = static_cast<DWORD>(cbAlign); // where the lowest value has a negative
    return ((0u - dwAlign) & dwAlign) == dwAlign;
}
