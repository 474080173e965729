#pragma once
/// Formatting of wide text of 16-bit characters, with the meaning that the conversions have on Windows: in a
/// wide format %s, %ws and %ls take wide text, %hs and %S narrow text, %l has 32 bits, %I64 and %ll have 64.

#include "dstl/WinAPI/Platform.h"

#include <cstdarg>
#include <cstddef>

/// \return characters written, or -1 when the text does not fit; without room for a terminator there is none
int _vsnwprintf(wchar_t* pszOut, size_t cchOut, const wchar_t* pszFormat, va_list args);
int _snwprintf(wchar_t* pszOut, size_t cchOut, const wchar_t* pszFormat, ...);
