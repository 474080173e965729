#pragma once
/// A copy that survives faults.

#include "dstl/WinAPI/Platform.h"

#include <cstddef>

/// Copies bytes; where source or target cannot be accessed, traces an error and stops there.
/// \return whether all bytes were copied
bool SEH_CopyMemory(void* pDst, const void* pSrc, size_t cb) noexcept;
