#pragma once
/// Which pictures have an alpha that says something.

#include "dstl/WinAPI/Platform.h"

#include "Common/Common.h"

/// Looks at the alpha of a picture of 32 bits a pixel: all transparent and all opaque say nothing.
/// \param pbPixels cbPixels bytes
/// \param picSource in and out: fccType becomes FOURCC_RGB32 or FOURCC_ARGB32
/// \return S_OK; E_OUTOFMEMORY
HRESULT ClassifyAlpha(const BYTE* pbPixels, DWORD cbPixels, PicProps& picSource) noexcept;

/// The same for the pixels of a bitmap handle, which become opaque when all are transparent.
/// \param biImage their format, biSizeImage being that of the whole picture
/// \param bAlpha out: whether the alpha says something
/// \return S_OK; E_OUTOFMEMORY
HRESULT ClassifyHandleAlpha(const BITMAPINFOHEADER& biImage, BYTE* pbPixels, DWORD cbPixels,
                            bool& bAlpha) noexcept;
