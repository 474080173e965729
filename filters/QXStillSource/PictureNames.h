#pragma once
/// Keywords of the public enumerations, for callers and tools, and format codes by name.

#include "dstl/WinAPI/Platform.h"

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
