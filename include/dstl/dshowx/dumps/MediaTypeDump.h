#pragma once
/// Dump of a media type.

#include "dstl/WinAPI/Platform.h"

#include <strmif.h>

/// The type in one line, then what its format block holds, as far as it is as large as its format type says
/// and can be read. As with every dump: each line goes through trace() at the given level and starts with the
/// prefix (null: none), and nothing is touched where the level has no reader.
void Debug_MediaType(DWORD_PTR dwCategory, UINT nLevel, const AM_MEDIA_TYPE* pmt,
                     const wchar_t* pszPrefix) noexcept;
