#pragma once
/// Media types and prefixes of lines as text for the log.

#include "dstl/WinAPI/Platform.h"

#include <strmif.h>

#include <cstddef>

/// Characters that ParseMediaType needs, terminator included.
inline constexpr size_t cchMediaTypeText = 512;

/// "( major / subtype / format )" by the names of Guid2Name; a video format ends with " width*height" of its
/// header. Nothing is read beyond cbFormat, and a block that cannot be read only lacks its size.
/// \param pmt null gives "Empty media type\n" \param pszMediaType cchMediaTypeText characters
/// \param bLineEnd end the text with "\r\n"
/// \return pszMediaType; null, after an assertion, without a buffer
wchar_t* ParseMediaType(const AM_MEDIA_TYPE* pmt, wchar_t* pszMediaType, bool bLineEnd) noexcept;

/// The prefix of lines about something with a name: "name: ". Empty without a name or with a buffer below 6
/// characters; a name longer than nMaxLength - 3 is cut to nMaxLength - 5 characters and "..: ".
/// \param pszPrefix nMaxLength characters \param nMaxLength characters of the buffer, terminator included
/// \return pszPrefix; null, after an assertion, without a buffer
wchar_t* NamePrefix(const wchar_t* pszName, wchar_t* pszPrefix, int nMaxLength) noexcept;
