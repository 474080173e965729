#include "TestMemory.h"

#include "dstl/WinAPI/Platform.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

TestMemory g_memory;

namespace
{
/// Fresh memory from the system, which large blocks are, is zero anyway and slow to fill.
constexpr size_t cbFilled = 64 * 1024;

void* Take(size_t cb)
{
    g_memory.cbLargest = std::max(g_memory.cbLargest, cb);
    if (cb > g_memory.cbLimit)
    {
        ++g_memory.nRefused;
        return nullptr;
    }
    void* const p = std::malloc(cb != 0 ? cb : 1);
    if (p)
        std::memset(p, g_memory.byFill, std::min(cb, cbFilled));
    return p;
}
} // namespace

extern "C" void* WINAPI __wrap_CoTaskMemAlloc(SIZE_T cb)
{
    return Take(cb);
}

void* operator new[](size_t cb, const std::nothrow_t&) noexcept
{
    return Take(cb);
}

void* operator new[](size_t cb)
{
    void* const p = std::malloc(cb != 0 ? cb : 1);
    if (!p)
        std::abort();
    return p;
}

void operator delete[](void* p) noexcept
{
    std::free(p);
}

void operator delete[](void* p, size_t) noexcept
{
    std::free(p);
}
