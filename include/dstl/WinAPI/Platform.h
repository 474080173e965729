#pragma once
/// The one place that brings in the Win32 headers. The native build finds the same record types in Wine's
/// headers and the few calls in tests/native.

#ifndef STRSAFE_NO_DEPRECATE
#define STRSAFE_NO_DEPRECATE // or dshow.h makes wsprintfW and _snwprintf unusable
#endif

#include <windows.h>
#include <objbase.h>

#undef GetClassName // the name of an operation of ours

/// The last error as an HRESULT; E_FAIL where a call failed without setting one.
inline HRESULT DSTLLastError() noexcept
{
    const DWORD dwError = GetLastError();
    return dwError != ERROR_SUCCESS ? HRESULT_FROM_WIN32(dwError) : E_FAIL;
}

/// A result that has to be a failure: the code itself if it is one, else E_FAIL.
constexpr HRESULT DSTLFailure(HRESULT hr) noexcept
{
    return hr < 0 ? hr : E_FAIL;
}
