#pragma once
/// The question that every dump begins with.

#include "dstl/dshowx/DSTrace.h"

/// Whether a line of this category and level has a reader. A dump without one touches nothing.
inline bool IsDumped(DWORD_PTR dwCategory, UINT nLevel) noexcept
{
    return static_cast<DWORD>(dwCategory) != 0 && IsTraced(nLevel);
}
