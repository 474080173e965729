#pragma once
/// BMP headers: the check that every picture of a file or a resource passes, and the reader of resources.

#include "dstl/WinAPI/Platform.h"

/// Tests whether the header describes a picture of a known format, and mends biSizeImage.
/// 40-byte headers of one plane and without a palette: BI_RGB and BI_BITFIELDS with 16, 24 or 32 bits, or a
/// format code in biCompression. Pictures of 4 GiB and more and negative widths are refused.
/// \param pBmpHeader in and out: biSizeImage is overwritten, with a warning, where it is not the true size
/// \return true when the header is usable
bool TestAndCorrectBmpHeader(BITMAPINFOHEADER* pBmpHeader) noexcept;

/// What the loader records as the size of a picture of whatever depth: width * |height| * 4 bytes, which is
/// more than the rows of a 24-bit picture take. \return 0 for a size that does not fit 32 bits
DWORD RecordedPictureSize(const BITMAPINFOHEADER& bmi) noexcept;

/// Bytes to allocate for the pixels, so that the recorded size is true too: the greater of it and
/// biSizeImage. \return 0 for a size that does not fit 32 bits
DWORD PictureBlockSize(const BITMAPINFOHEADER& bmi) noexcept;

/// Reads a BMP picture from the resources of a module.
/// \param hModule null: the module of the process
/// \param nResource number of the resource
/// \param pszType type of the resource, "CUSTOM" for the pictures of this server
/// \param pBmpHeader out: the header, mended by TestAndCorrectBmpHeader; zeroed on failure
/// \param ppPicture out: biSizeImage bytes of pixels, for the caller to free by CoTaskMemFree; null on failure
/// \return S_OK; E_INVALIDARG and E_POINTER for null arguments; the platform's error where there is no such
/// resource; E_FAIL for one that is no such picture; E_OUTOFMEMORY
HRESULT LoadBmpResource(HMODULE hModule, UINT nResource, const wchar_t* pszType, BITMAPINFOHEADER* pBmpHeader,
                        BYTE** ppPicture) noexcept;
