#pragma once
/// Times and counts as text for the log.

#include "dstl/WinAPI/Platform.h"

#include <cstddef>

/// Characters that RefTimeText and MediaTimeText need, terminator included.
inline constexpr size_t cchTimeText = 32;

/// A time in units of 100 ns as seconds: 12345678 is 1.234'5678. The lowest value is "-", the highest "*".
/// \param pszConv cchTimeText characters
/// \return pszConv; null, after an assertion, without a buffer
const wchar_t* RefTimeText(LONGLONG rtTime, wchar_t* pszConv) noexcept;

/// A count with its digits in groups of three. The lowest value gives the literal text "MINLONGLONG", which
/// is returned instead of the buffer.
/// \param pszConv cchTimeText characters
/// \return pszConv or the literal; null, after an assertion, without a buffer
const wchar_t* MediaTimeText(LONGLONG llTime, wchar_t* pszConv) noexcept;

/// Buffer of a time text within one trace call: trace(..., L"%s\n", RefTimeText(rt, CTimeText().sz)).
struct CTimeText
{
    wchar_t sz[cchTimeText];
};
