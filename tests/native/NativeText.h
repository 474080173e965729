#pragma once
/// Between 16-bit wide text and the UTF-8 of Linux paths. No wide-character call of the C library may be
/// used here: those take 32-bit characters.

#include "dstl/WinAPI/Platform.h"

#include <string>

namespace native
{

/// Characters before the terminator.
size_t Length(const WCHAR* psz) noexcept;

/// UTF-16 as UTF-8; lone surrogates become U+FFFD.
std::string ToUtf8(const WCHAR* psz);

/// A Windows path as a Linux one: UTF-8, forward slashes, no drive letter.
std::string ToPath(const WCHAR* psz);

/// Upper case as far as Latin-1 goes, which is what file names in tests need.
WCHAR ToUpper(WCHAR ch) noexcept;

} // namespace native
