#pragma once
/// Small helpers.

#include "dstl/WinAPI/Platform.h"

/// Turns the separators of a path that is stored where a backslash cannot stand.
/// \param bToBackslash each '|' becomes '\'; otherwise each '\' becomes '|'
void DSTLTurnBars(wchar_t* psz, bool bToBackslash) noexcept;
