#pragma once
/// Format codes as text for the log.

#include "dstl/WinAPI/Platform.h"

#include <cstddef>

/// Characters that Fourcc2Str needs, terminator included.
inline constexpr size_t cchFourccStr = 5;

/// Characters that Fourcc2Name needs, terminator included.
inline constexpr size_t cchFourccName = 16;

/// The four characters of a code, or an empty text when one of them is not printable ASCII (32 to 126).
/// \param pszFCC cchFourccStr characters
/// \return pszFCC; null, after an assertion, without a buffer
wchar_t* Fourcc2Str(DWORD fccType, wchar_t* pszFCC) noexcept;

/// The four characters of a code, else the name of an RGB format or compression, else "0x" and the number.
/// \param pszFCC cchFourccName characters
/// \return pszFCC; null, after an assertion, without a buffer
wchar_t* Fourcc2Name(DWORD fccType, wchar_t* pszFCC) noexcept;
