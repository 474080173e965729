#pragma once
/// Pictures of every format that the platform decodes. By content, whatever the name.

#include "dstl/Old/GDIPlusHelpers.h"

/// Decodes a file or a bitmap handle by GDI+, which must have been started. Frames are FOURCC_ARGB32,
/// bottom-up.
/// \param pszFile the file; not looked at where there is a handle
/// \param bAlpha true: straight alpha, false: premultiplied
/// \param arrImages the frames are appended; those that cannot be decoded are left out
/// \param bFirstOnly true: ends with the first frame that could be decoded
/// \return S_OK when arrImages holds anything afterwards, whoever put it there; E_FAIL when not; E_INVALIDARG
/// without an object; E_OUTOFMEMORY, with the frames that were appended before
HRESULT LoadFramesByGdiPlus(const wchar_t* pszFile, HBITMAP hBitmap, bool bAlpha,
                            CSimpleArray2<PictureFrame>& arrImages, bool bFirstOnly) noexcept;
