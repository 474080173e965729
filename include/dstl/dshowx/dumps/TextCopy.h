#pragma once
/// Copies of wide text, by loops of our own: the wide functions of a runtime need not have characters of 16
/// bits.

#include <cstddef>

/// Copies a text to a buffer of nMax characters, cut if need be, and ends it.
/// \return characters copied
inline size_t CopyTextTo(wchar_t* pszTo, size_t nMax, const wchar_t* pszFrom) noexcept
{
    if (nMax == 0)
        return 0;
    size_t n = 0;
    for (; n + 1 < nMax && pszFrom[n] != 0; ++n)
        pszTo[n] = pszFrom[n];
    pszTo[n] = 0;
    return n;
}

/// A prefix of a line, or an empty text.
inline const wchar_t* OrEmpty(const wchar_t* psz) noexcept
{
    return psz != nullptr ? psz : L"";
}
