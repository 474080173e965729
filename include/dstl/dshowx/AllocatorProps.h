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
