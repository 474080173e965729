// COM task memory, the process heap and pages. Everything goes to the C library's heap, so that
// AddressSanitizer sees the exact bounds of each block.
#include "dstl/WinAPI/Platform.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

void* WINAPI CoTaskMemAlloc(SIZE_T cb)
{
    return std::malloc(cb ? cb : 1);
}

void* WINAPI CoTaskMemRealloc(void* p, SIZE_T cb)
{
    if (cb == 0)
    {
        std::free(p);
        return nullptr;
    }
    return std::realloc(p, cb);
}

void WINAPI CoTaskMemFree(void* p)
{
    std::free(p);
}

HANDLE WINAPI GetProcessHeap()
{
    static int nHeap;
    return &nHeap;
}

void* WINAPI HeapAlloc(HANDLE, DWORD dwFlags, SIZE_T cb)
{
    const SIZE_T cbBlock = cb ? cb : 1;
    return dwFlags & HEAP_ZERO_MEMORY ? std::calloc(1, cbBlock) : std::malloc(cbBlock);
}

BOOL WINAPI HeapFree(HANDLE, DWORD, void* p)
{
    std::free(p);
    return TRUE;
}

namespace
{
constexpr SIZE_T cbPage = 4096;
constexpr SIZE_T cbGranularity = 0x10000; ///< addresses of VirtualAlloc are multiples of it
} // namespace

void WINAPI GetSystemInfo(SYSTEM_INFO* pInfo)
{
    *pInfo = {};
    pInfo->dwPageSize = cbPage;
    pInfo->dwAllocationGranularity = cbGranularity;
}

void* WINAPI VirtualAlloc(void* pWanted, SIZE_T cb, DWORD dwType, DWORD)
{
    if (cb == 0 || cb > SIZE_MAX - cbPage)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    // Only whole reserve-and-commit blocks have a stand-in; pages at a wanted place have none.
    if (pWanted || !(dwType & MEM_COMMIT))
    {
        SetLastError(ERROR_INVALID_ADDRESS);
        return nullptr;
    }
    const SIZE_T cbBlock = (cb + cbPage - 1) & ~(cbPage - 1);
    void* p = nullptr;
    if (posix_memalign(&p, cbGranularity, cbBlock) != 0)
    {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    std::memset(p, 0, cbBlock);
    return p;
}

BOOL WINAPI VirtualFree(void* p, SIZE_T cb, DWORD dwType)
{
    if (dwType != MEM_RELEASE || cb != 0)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    std::free(p);
    return TRUE;
}
