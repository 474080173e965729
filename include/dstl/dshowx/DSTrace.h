#pragma once
/// Trace lines and assertions. Both go to a log object that a separate DLL provides (LogLoader.h); without
/// that DLL a trace call does nothing and an assertion still reaches the runtime's debug report.

#include "dstl/WinAPI/Platform.h"

/// Trace categories, named as ATL names them. The log does not show them; a category of value 0 drops the
/// line.
#ifndef __ATLTRACE_H__
inline constexpr DWORD_PTR atlTraceGeneral = 0x00000001;
inline constexpr DWORD_PTR atlTraceCOM = 0x00000002;
#endif

/// Levels in use. A line of a level above eTL_Max is dropped before it is formatted.
enum eTraceLevel : UINT
{
    eTL_Atl = 0,     ///< "ATL: ... not implemented"
    eTL_Fatal = 1,   ///< a thread had to be killed
    eTL_Error = 2,   ///< text starts with "###Err###"
    eTL_Warning = 4, ///< text starts with "WARNING."
    eTL_Main = 8,    ///< negotiation, commits, media types
    eTL_Frame = 10,  ///< frequent queries, not delivered
    eTL_Call = 12,   ///< detail of single calls, not delivered
    eTL_Max = eTL_Main
};

/// Characters of a trace line, terminator included; the first one holds the level plus 1.
inline constexpr size_t cchTraceLine = 1024;

/// Writes one line to the log. Longer texts are cut to 1,022 characters. %s takes wide text, %hs narrow text.
void trace(DWORD_PTR dwCategory, UINT nLevel, const wchar_t* pszFormat, ...) noexcept;

/// Whether a line of this level has a reader: for callers whose arguments take time to compute.
bool IsTraced(UINT nLevel) noexcept;

#ifdef QX_NO_TRACE
// A build whose trace calls are nothing, to measure what they cost without a log (bench/README.md). The arguments are
// compiled and not computed.
#define trace(...) (false ? trace(__VA_ARGS__) : static_cast<void>(0))
#define IsTraced(nLevel) (static_cast<void>(nLevel), false)
#endif

/// A pointer as the log prints it where a line has room for 32 bits: the low half.
inline unsigned TracePtr(const void* p) noexcept
{
    return static_cast<unsigned>(reinterpret_cast<UINT_PTR>(p));
}

/// Reports a failed condition to the log and to g_pfnDebugReport, and lets the caller go on.
/// \return 1 when the condition holds, 5 after a report, 4 after a report that asked for a break.
int assertion(bool bCondition, const char* pszFile, int nLine, const char* pszExpression) noexcept;

/// Builds "name=0xcode (decimal)\nmessage\nsystem text" in a buffer of 1,024 characters.
/// \return pszOut, or null when pszOut or pszName is null.
wchar_t* FormatHr(wchar_t* pszOut, const wchar_t* pszMessage, const wchar_t* pszName, HRESULT hr) noexcept;

/// The runtime's debug report, with the signature of _CrtDbgReport; the answer 1 asks for a break.
/// Replaceable, as not every runtime has one: the default answers 0.
using PFNDEBUGREPORT = int (*)(int nReportType, const char* pszFile, int nLine, const char* pszModule,
                               const char* pszMessage);
extern PFNDEBUGREPORT g_pfnDebugReport;

/// Where FormatHr looks first for the text of a code: AMGetErrorTextW, or what a test puts in its place.
using PFNERRORTEXT = DWORD(WINAPI*)(HRESULT hr, WCHAR* pszText, DWORD cchText);
extern PFNERRORTEXT g_pfnErrorText;

/// The report type that an assertion names (_CRT_ASSERT).
inline constexpr int nReportTypeAssert = 2;

/// An assertion that reports the expression itself. Nonzero result: it stands in every build and stops
/// nothing.
#define DSASSERT(expr) ((expr) ? 1 : assertion(false, __FILE__, __LINE__, #expr))

/// An assertion that reports a text of its own.
#define DSASSERT_TEXT(expr, text) ((expr) ? 1 : assertion(false, __FILE__, __LINE__, text))
