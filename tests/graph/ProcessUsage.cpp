#include "ProcessUsage.h"
#include "FilterGraph.h"
#include <cstdint>
#include <cstdio>
#include <tlhelp32.h>

namespace
{
size_t CountHandles()
{
    constexpr uintptr_t last = 0x10000; // handles are multiples of four, the lowest free one is taken first
    size_t count = 0;
    for (uintptr_t value = 4; value < last; value += 4)
    {
        DWORD flags = 0;
        count += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != FALSE;
    }
    return count;
}

size_t CountHeapBytes()
{
    HANDLE heaps[64] = {};
    const DWORD heapCount = GetProcessHeaps(64, heaps);
    size_t bytes = 0;
    for (DWORD i = 0; i < heapCount && i < 64; ++i)
    {
        HeapLock(heaps[i]);
        PROCESS_HEAP_ENTRY entry = {};
        while (HeapWalk(heaps[i], &entry))
            bytes += entry.wFlags & PROCESS_HEAP_ENTRY_BUSY ? entry.cbData : 0;
        HeapUnlock(heaps[i]);
    }
    return bytes;
}

size_t CountPrivateBytes()
{
    size_t bytes = 0;
    const BYTE* address = nullptr;
    MEMORY_BASIC_INFORMATION info = {};
    while (VirtualQuery(address, &info, sizeof(info)) != 0)
    {
        bytes += info.State == MEM_COMMIT && info.Type == MEM_PRIVATE ? info.RegionSize : 0;
        const BYTE* next = static_cast<const BYTE*>(info.BaseAddress) + info.RegionSize;
        if (next <= address)
            break;
        address = next;
    }
    return bytes;
}

size_t CountThreads()
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE)
        return 0;
    size_t count = 0;
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL found = Thread32First(snapshot, &entry); found; found = Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(snapshot);
    return count;
}

size_t CountGdiObjects()
{
    if (const DWORD count = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS))
        return count;
    // Not counted here. A handle is a place in a table and a number above it, which may be left out here.
    constexpr uintptr_t places = 0x4000;
    size_t count = 0;
    for (uintptr_t place = 1; place < places; ++place)
        count += GetObjectType(reinterpret_cast<HGDIOBJ>(place)) != 0;
    return count;
}

void TellOne(const char* what, size_t before, size_t after)
{
    std::printf("%s %zu to %zu\n", what, before, after);
}
} // namespace

Usage CurrentUsage()
{
    return {CountHandles(), CountHeapBytes(), CountPrivateBytes(), CountThreads(), CountGdiObjects()};
}

size_t HeapBytesKeptByAnEmptyRun()
{
    constexpr size_t runs = 100;
    FilterGraph graph;
    graph.Run();
    graph.Stop();
    const size_t before = CountHeapBytes();
    for (size_t i = 0; i < runs; ++i)
    {
        graph.Run();
        graph.Stop();
    }
    const size_t after = CountHeapBytes();
    return after > before ? (after - before) / runs : 0;
}

void Tell(const Usage& before, const Usage& after)
{
    TellOne("handles", before.handles, after.handles);
    TellOne("bytes in heap blocks", before.heapBytes, after.heapBytes);
    TellOne("bytes in private pages", before.privateBytes, after.privateBytes);
    TellOne("threads", before.threads, after.threads);
    TellOne("GDI objects", before.gdiObjects, after.gdiObjects);
}
