#pragma once
/// From a TGA file to a bitmap in memory or to BMP files.

#include "dstl/WinAPI/Platform.h"

/// Makes the header of a bottom-up bitmap of 24 bits for FOURCC_RGB24 and else of 32.
/// \param nColumns, nRows 1 to 65535
/// \return false when the size of the bitmap does not fit 32 bits
bool MakeTgaBmpHeader(DWORD nColumns, DWORD nRows, DWORD fccType, BITMAPINFOHEADER* pbmi) noexcept;

/// Reads a TGA file into a bottom-up bitmap.
/// \param fccType FOURCC_RGB24, FOURCC_RGB32 or FOURCC_ARGB32 (straight alpha)
/// \param pbmi out: biSize 40, positive height, BI_RGB; zeroed on failure
/// \param ppBmp out: biSizeImage bytes, for the caller to free by CoTaskMemFree; null on failure
/// \param ppAlpha out, may be null: alpha plane of the same row order, rows of (biWidth + 3) & ~3 bytes, for
/// the caller to free by CoTaskMemFree; null on failure, and where the file has no alpha bits
/// \param bForceAlpha hand out an alpha plane, all 255, even if the file has no alpha bits
HRESULT TgaBmpConv(const wchar_t* pszFile, DWORD fccType, BITMAPINFOHEADER* pbmi, BYTE** ppBmp,
                   BYTE** ppAlpha, bool bForceAlpha) noexcept;

/// Writes a TGA file out as a 32-bit BMP file, and its alpha as a second one, grey.
/// \param pszAlphaFile may be null: no picture of the alpha
HRESULT TgaToBmpFile(const wchar_t* pszTgaFile, const wchar_t* pszBmpFile,
                     const wchar_t* pszAlphaFile) noexcept;
