#pragma once
/// What all headers of the ATL subset stand on: the platform's headers, the owner and the assertion.

#include "dstl/WinAPI/Owner.h"

#include <oleauto.h>

#include <cstring>
#include <cwchar>
#include <new>
#include <type_traits>
#include <utility>

/// Tells sources that this subset is in use.
#define QX_ATL_SUBSET 1

#define ATL_NO_VTABLE

/// Where failed assertions of these headers go. The layer above installs its own report (see
/// dstl/WinAPI/Atl.h); one pointer for the whole program, so that the inline code below is the same in every
/// source file whichever headers that file includes.
using PFNATLASSERT = int (*)(bool bCondition, const char* pszFile, int nLine, const char* pszExpression);
inline PFNATLASSERT g_pfnAtlAssert = nullptr;

inline int AtlAssertFailed(const char* pszFile, int nLine, const char* pszExpression) noexcept
{
    return g_pfnAtlAssert != nullptr ? g_pfnAtlAssert(false, pszFile, nLine, pszExpression) : 0;
}

/// An assertion that reports and goes on; the text is given, as it is a fixed part of what the log shows.
#define ATLASSERT_TEXT(expr, text) (static_cast<void>((expr) ? 1 : AtlAssertFailed(__FILE__, __LINE__, text)))
/// Where the trace lines of these headers go; installed in the same way.
using PFNATLTRACE = void (*)(const wchar_t* pszText);
inline PFNATLTRACE g_pfnAtlTrace = nullptr;

inline void AtlTrace(const wchar_t* pszText) noexcept
{
    if (g_pfnAtlTrace != nullptr)
        g_pfnAtlTrace(pszText);
}

/// Writes a text to the log.
#ifndef ATLTRACE
#define ATLTRACE(text) AtlTrace(text)
#endif

#ifndef ATLASSERT
#define ATLASSERT(expr) ATLASSERT_TEXT(expr, #expr)
#endif
