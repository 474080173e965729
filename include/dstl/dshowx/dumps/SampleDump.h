#pragma once
/// Dumps of samples, of allocators and of the filter behind a pin. As with every dump: each line goes through
/// trace() at the given level and starts with the prefix (null: none), and the object is not asked anything
/// where the level has no reader.

#include "dstl/WinAPI/Platform.h"

#include <strmif.h>

/// Times, flags and buffer of a sample in one line, and the media type attached to it.
void Debug_Sample(DWORD_PTR dwCategory, UINT nLevel, IMediaSample* pSample,
                  const wchar_t* pszPrefix) noexcept;

/// The properties of an allocator: count, size, alignment and prefix of its buffers.
void Debug_Allocator(DWORD_PTR dwCategory, UINT nLevel, IMemAllocator* pAllocator,
                     const wchar_t* pszPrefix) noexcept;

/// The filter that a pin belongs to: its name in the graph, its class, and the pin's name.
void Debug_FilterFromPin(DWORD_PTR dwCategory, UINT nLevel, IPin* pPin, const wchar_t* pszPrefix) noexcept;
