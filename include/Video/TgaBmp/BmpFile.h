#pragma once
/// BMP files, read and written.

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
/// failure. The block is PictureBlockSize bytes long, what lies behind the pixels is zero
HRESULT LoadBmpFile(const wchar_t* pszFileName, BITMAPINFOHEADER* pBmpHeader, BYTE** ppPicture) noexcept;

/// Writes a BMP file: 54 bytes of header, then bmi.biSizeImage bytes of pixels. A partial file stays on the
/// disk.
/// \return S_OK; E_INVALIDARG, also for a file of 4 GiB or more; the failure of the file
HRESULT SaveBmpToFile(const wchar_t* pszBmpFile, const BITMAPINFOHEADER& bmi, const BYTE* pBmp) noexcept;
