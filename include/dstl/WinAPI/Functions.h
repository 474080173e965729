#pragma once
/// Small helpers.

#include "dstl/WinAPI/Platform.h"

/// Turns the separators of a path that is stored where a backslash cannot stand.
/// \param bToBackslash each '|' becomes '\'; otherwise each '\' becomes '|'
inline void DSTLTurnBars(wchar_t* psz, bool bToBackslash) noexcept
{
    if (psz == nullptr)
        return;
    const wchar_t chFrom = bToBackslash ? L'|' : L'\\';
    const wchar_t chTo = bToBackslash ? L'\\' : L'|';
    for (; *psz != 0; psz++)
    {
        if (*psz == chFrom)
            *psz = chTo;
    }
}
