#pragma once
/// Memory of media types: the functions that make, copy and free the bare AM_MEDIA_TYPE record. Format blocks
/// lie in COM task memory, because filters hand them to each other.

#include "dstl/WinAPI/Platform.h"

#include <strmif.h>
#include <uuids.h>

/// Makes a fresh value: everything zero, then the two GUIDs, fixed-size samples and a sample size of 1.
/// What the record held before is not freed.
void MTInit(AM_MEDIA_TYPE* pmt, const GUID& guidMajor = GUID_NULL, const GUID& guidSub = GUID_NULL) noexcept;

/// \param cb bytes of the block; 0 gives null
/// \param pb cb bytes to copy, or null for a block of zeros
/// \return a new block that the caller frees with CoTaskMemFree, or null
BYTE* MTAllocFormat(ULONG cb, const BYTE* pb) noexcept;

/// Copies the format block of a type. A record with a size but no block, or a block but no size, is refused.
/// \param ppbFormat the new block, which the caller owns; null when the type has none or on failure
/// \return S_OK; E_INVALIDARG; E_POINTER; E_UNEXPECTED for a malformed record; E_OUTOFMEMORY
HRESULT MTDupFormat(const AM_MEDIA_TYPE* pmt, BYTE** ppbFormat) noexcept;

/// Deep copy into a record that holds nothing yet (its content is overwritten, not freed).
/// \return S_OK; E_INVALIDARG or what MTDupFormat answers, pDst then being unchanged
HRESULT MTCopy(AM_MEDIA_TYPE* pDst, const AM_MEDIA_TYPE* pmt) noexcept;

/// \return a deep copy in task memory, which MTDelete frees; null for a null source or on failure
AM_MEDIA_TYPE* MTDup(const AM_MEDIA_TYPE* pmt) noexcept;

/// Frees the format block and releases pUnk, and leaves both empty. The rest of the record stays. Null is
/// allowed.
void MTFree(AM_MEDIA_TYPE* pmt) noexcept;

/// MTFree, then frees the record itself, which lies in task memory. Null is allowed.
void MTDelete(AM_MEDIA_TYPE* pmt) noexcept;
