#pragma once
/// The stack of a thread for the log.

#include "dstl/WinAPI/Platform.h"

/// Frames that are told: all, and of a fast walk.
inline constexpr int nMostFrames = 62;
inline constexpr int nFastFrames = 12;

/// Reports a line with its arguments at the level of errors, then one line for each frame, the innermost
/// first: its address, and the module with the offset in it. A stack that is damaged ends the walk. It can
/// stand in the filter expression of a guarded block.
/// \param pep the exception whose context is walked; null for the stack of hThread as it is
/// \param hThread a thread, stopped for the time of the walk; of the current one, or null, the caller's own
/// stack
/// \param bFast tell the innermost frames alone
/// \param dwContinue the result
/// \return dwContinue
DWORD _LogDumpCallStack(EXCEPTION_POINTERS* pep, HANDLE hThread, BOOL bFast, DWORD dwContinue) noexcept;
