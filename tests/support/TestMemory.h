#pragma once
/// Memory of the readers under a test's control, in the native build: COM task memory and what new
/// (std::nothrow) and arrays take. Blocks come full of one byte, are counted, and are refused where the test
/// says so. What a reader leaves unwritten in its result differs between two runs of it with two of these
/// bytes. The program links with -Wl,--wrap=CoTaskMemAlloc. One thread.

#include <cstddef>
#include <cstdint>

struct TestMemory
{
    uint8_t byFill = 0;
    size_t cbLimit = SIZE_MAX; ///< larger blocks are refused
    size_t cbLargest = 0;      ///< largest block that was asked for
    int nRefused = 0;
};

extern TestMemory g_memory;
