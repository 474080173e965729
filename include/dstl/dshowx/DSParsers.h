#pragma once
/// The DirectShow vocabulary as text for the log: times, identifiers and format codes, and dumps of media
/// types, samples, allocators, filters and graphs.
///
/// A text maker writes to the caller's buffer and returns it. Without a buffer it asserts and returns null.

#include "dstl/WinAPI/Platform.h"

#include <strmif.h>

/// Characters that RefTimeText and MediaTimeText need, terminator included.
inline constexpr size_t cchTimeText = 32;

/// Characters that Fourcc2Str needs, terminator included.
inline constexpr size_t cchFourccStr = 5;

/// Characters that Fourcc2Name needs, terminator included.
inline constexpr size_t cchFourccName = 16;

/// Characters of an identifier in its usual form {xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}, terminator included.
inline constexpr size_t cchGuidText = 39;

/// A time in units of 100 ns as seconds: 12345678 is 1.234'5678. The lowest value is "-", the highest "*".
/// \param pszConv cchTimeText characters
const wchar_t* RefTimeText(LONGLONG rtTime, wchar_t* pszConv) noexcept;

/// A count with its digits in groups of three. The lowest value gives the literal text "MINLONGLONG", which
/// is returned instead of the buffer. \param pszConv cchTimeText characters
const wchar_t* MediaTimeText(LONGLONG llTime, wchar_t* pszConv) noexcept;

/// The four characters of a code, or an empty text when one of them is not printable.
/// \param pszFCC cchFourccStr characters
wchar_t* Fourcc2Str(DWORD fccType, wchar_t* pszFCC) noexcept;

/// The four characters of a code, else the name of an RGB format or compression, else "0x" and the number.
/// \param pszFCC cchFourccName characters
wchar_t* Fourcc2Name(DWORD fccType, wchar_t* pszFCC) noexcept;

/// An identifier in its usual form: braces, capital hexadecimal digits.
/// \param pszName cchGuidText characters
wchar_t* GuidText(const GUID& guid, wchar_t* pszName) noexcept;

/// Buffer of a time text within one trace call: trace(..., L"%s\n", RefTimeText(rt, CTimeText().sz)).
struct CTimeText
{
    wchar_t sz[cchTimeText];
};

/// The same for an identifier.
struct CGuidText
{
    wchar_t sz[cchGuidText];
};

/// Dumps, each through trace() at the given level, every line with the prefix. Until they have an output they
/// write nothing and answer E_NOTIMPL.
/// @{
HRESULT Debug_MediaType(DWORD_PTR dwCategory, UINT nLevel, const AM_MEDIA_TYPE* pmt,
                        const wchar_t* pszPrefix) noexcept;
HRESULT Debug_Sample(DWORD_PTR dwCategory, UINT nLevel, IMediaSample* pSample,
                     const wchar_t* pszPrefix) noexcept;
HRESULT Debug_Allocator(DWORD_PTR dwCategory, UINT nLevel, IMemAllocator* pAllocator,
                        const wchar_t* pszPrefix) noexcept;
/// The filter that a pin belongs to.
HRESULT Debug_FilterFromPin(DWORD_PTR dwCategory, UINT nLevel, IPin* pPin, const wchar_t* pszPrefix) noexcept;
/// All filters of a graph with their connections.
HRESULT Debug_Graph(DWORD_PTR dwCategory, UINT nLevel, IFilterGraph* pGraph,
                    const wchar_t* pszPrefix) noexcept;
/// @}
