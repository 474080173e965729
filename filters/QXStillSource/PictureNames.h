#pragma once
/// Keywords of the public enumerations, for callers and tools; format codes by name; numbers of pictures.

#include "dstl/WinAPI/Platform.h"

#include "resource.h"

/// Keywords of eQGKeepAspect, indexed by value and closed by a null entry.
extern const wchar_t* const arrKeepAspectNames[];

/// Keywords of the field order, the values 0 to 3 of eQGInterlace, closed by a null entry.
extern const wchar_t* const arrInterlaceNames[];

/// What the name of a picture on the network begins with. The filter treats such a name like any other.
extern const wchar_t* const pszHttpPrefix;

/// Compares two names; 0 when they are equal. lstrcmpiW is one.
using PFNCOMPARENAMES = int(WINAPI*)(LPCWSTR, LPCWSTR);

/// Looks up a format by name.
/// \param pfcc out: the code; unchanged when the name is not in the table
bool FindFourccName(const wchar_t* pszName, PFNCOMPARENAMES pfnCompare, DWORD* pfcc) noexcept;

/// The first four bytes of a narrow text as a format code, the missing ones of a shorter text being zero.
DWORD FourccFromBytes(const char* psz, size_t cch) noexcept;

/// Built-in pictures and colours, as m_nPictureId names them. Any other value is the number of a resource.
enum ePictureId : LONG
{
    ePI_VideoQuality = -2, ///< "videoq": a resource by the height of the frame
    ePI_Bars = -1,         ///< "bars": a resource by the height of the frame
    ePI_SolidColor = 0,    ///< m_nSolidColor
    ePI_BarsSD = IDR_BARSSD,
    ePI_BarsHD = IDR_BARSHD,
    ePI_Bars100 = IDR_BARS100,
    ePI_Bars75 = IDR_BARS75
};

/// The resource of a built-in picture.
/// \param nPictureId any ePictureId but ePI_SolidColor \param nHeight of the frame, with its sign
UINT FindResourceNumber(LONG nPictureId, LONG nHeight) noexcept;
