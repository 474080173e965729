#pragma once
/// The prefix of a dump's first line.

#include "dstl/dshowx/dumps/TextCopy.h"

/// A prefix (null: none) with the title of a dump or of a piece of memory behind it.
struct TitledPrefix
{
    static constexpr size_t cchTitled = 512;
    wchar_t sz[cchTitled];

    TitledPrefix(const wchar_t* pszPrefix, const wchar_t* pszTitle) noexcept
    {
        const size_t nCopied = CopyTextTo(sz, cchTitled, OrEmpty(pszPrefix));
        CopyTextTo(sz + nCopied, cchTitled - nCopied, pszTitle);
    }
};
