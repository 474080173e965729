#pragma once
/// Reader of BMP files.

#include "dstl/WinAPI/Platform.h"
#include "dstl/WinAPI/TaskBytes.h"

/// The letters "BM".
inline constexpr WORD wBmpType = 0x4D42;
/// File header and info header, without a gap.
inline constexpr DWORD cbBmpHeaders = sizeof(BITMAPFILEHEADER) + sizeof(BITMAPINFOHEADER);
static_assert(cbBmpHeaders == 54);

/// Reads a BMP file as it is stored. Nobody else may have the file open.
/// \param pBmpHeader out: the header, mended by TestAndCorrectBmpHeader; zeroed on failure
/// \param ppPicture out: biSizeImage bytes of pixels, for the caller to free by CoTaskMemFree; null on
/// failure.
///        The block is PictureBlockSize bytes long, what lies behind the pixels is zero
HRESULT LoadBmpFile(const wchar_t* pszFileName, BITMAPINFOHEADER* pBmpHeader, BYTE** ppPicture) noexcept;
