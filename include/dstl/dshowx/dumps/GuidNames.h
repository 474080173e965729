#pragma once
/// Identifiers as text for the log: by name where they have one.

#include "dstl/WinAPI/Platform.h"

#include <cstddef>

/// Characters of an identifier in its usual form {xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}, terminator included.
inline constexpr size_t cchGuidText = 39;

/// Characters that every name of Guid2Name fits into, terminator included.
inline constexpr size_t cchGuidName = 128;

/// An identifier in its usual form: braces, capital hexadecimal digits.
/// \param pszName cchGuidText characters
/// \return pszName; null, after an assertion, without a buffer
wchar_t* GuidText(const GUID& guid, wchar_t* pszName) noexcept;

/// The name of an identifier from the table of names; else, for one that is made of a 32-bit value before the
/// standard tail, "TAG_0x" and the value below 0xFFFF ("TAG_0x55(MP3)"), or "FCC_" and its four characters;
/// else its usual form.
/// \param nMaxSym characters of the buffer, terminator included; a longer text is cut. cchGuidName is enough
/// \return pszName; null, after an assertion, without a buffer or room
wchar_t* Guid2Name(const GUID& guid, wchar_t* pszName, size_t nMaxSym) noexcept;

/// The name that the table has for an identifier; an empty text when it has none. Never null.
const wchar_t* GuidTableName(const GUID& guid) noexcept;

/// A row of the table of names.
struct GuidName
{
    const GUID* pGuid;
    const wchar_t* pszName;
};

/// A piece of the table. Its rows are in any order until the first look-up sorts them.
struct GuidNameNode
{
    GuidName* pGuidName;
    DWORD cElems;
    GuidNameNode* pNext;
};

/// The first node of the table, of which this program has one (GuidNameTable.cpp).
extern GuidNameNode g_GuidNames;

/// Buffer of an identifier's text within one trace call.
struct CGuidText
{
    wchar_t sz[cchGuidText];
};

/// Buffer of an identifier's name within one trace call: trace(..., L"%s\n", Guid2Name(guid, CGuidName().sz,
/// cchGuidName)).
struct CGuidName
{
    wchar_t sz[cchGuidName];
};
