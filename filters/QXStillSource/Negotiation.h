#pragma once
/// Media types from what was asked for, and back.

#include "dstl/WinAPI/Platform.h"

#include "QXStillSource.h"
#include "dstl/dshowx/DSVideo.h"

/// Leaves the interlace flags as they are.
inline constexpr LONG nKeepInterlaceFlags = -1;

/// Makes a type like another one in another pixel format.
/// \param mtNew out: unchanged on failure
/// \param formatType FORMAT_VideoInfo, FORMAT_VideoInfo2, or GUID_NULL for that of mtBase
/// \param fcc 0 for the format of mtBase
/// \param nInterlaceFlags for a VIDEOINFOHEADER2; nKeepInterlaceFlags takes those of mtBase
/// \param nAspectX, nAspectY for a VIDEOINFOHEADER2; unless both are set, those of mtBase or of its frame
/// \return S_OK; what MTCheckVideo answers; VFW_E_INVALID_MEDIA_TYPE; E_INVALIDARG; E_UNEXPECTED
HRESULT ConvertVideoType(CMType& mtNew, const AM_MEDIA_TYPE* mtBase, const GUID& formatType, DWORD fcc,
                         LONG nInterlaceFlags, LONG nAspectX, LONG nAspectY) noexcept;

/// Writes what a type says to the properties; eKeepAspect stays. A type that cannot be read, or a null
/// pointer, changes nothing.
void PropsFromMediaType(const AM_MEDIA_TYPE* pmt, QG_VID_PROPS* pProps) noexcept;
