#pragma once
/// Raw memory for the log.

#include "dstl/WinAPI/Platform.h"

#include <cstddef>

/// Bytes of one row.
inline constexpr size_t cbMemoryRow = 16;

/// A heading with address and size, then rows of 16 bytes: offset, bytes in hexadecimal, characters. Memory
/// that cannot be read ends the trace with the report of the guarded copy.
/// \param pszPrefix stands before the heading alone; null or empty for none
void Debug_Memory(DWORD_PTR dwCategory, UINT nLevel, const void* pv, size_t cb,
                  const wchar_t* pszPrefix) noexcept;
