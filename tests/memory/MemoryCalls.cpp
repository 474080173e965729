// The linker's option --wrap leads each of these calls to its replacement here; the call itself is then to be
// had by the name __real_...
#include "memory/MemoryCalls.h"

#include <atomic>
#include <map>
#include <mutex>
#include <new>

namespace
{
std::atomic<long> g_arrCalls[eMC_Count];

struct Failure
{
    bool bArmed, bAll, bFailed;
    long nAfter;
};
thread_local Failure t_arrFailures[eMC_Count];

bool IsToFail(eMemoryCall eCall)
{
    ++g_arrCalls[eCall];
    Failure& failure = t_arrFailures[eCall];
    if (!failure.bArmed || failure.nAfter-- > 0)
        return false;
    failure.nAfter = 0;
    failure.bArmed = failure.bAll;
    failure.bFailed = true;
    return true;
}

struct Pages
{
    std::mutex lock;
    std::map<const BYTE*, size_t> blocks;
    size_t cbAsked = 0;
};

Pages& GetPages()
{
    static Pages& pages = *new Pages;
    return pages;
}

size_t CommittedBytes([[maybe_unused]] const BYTE* pb, size_t cbAsked)
{
    constexpr size_t cbPage = 4096;
#ifdef QX_NATIVE
    return (cbAsked + cbPage - 1) / cbPage * cbPage;
#else
    size_t cb = 0;
    MEMORY_BASIC_INFORMATION info = {};
    for (const BYTE* p = pb; p < pb + cbAsked; p += info.RegionSize)
    {
        if (VirtualQuery(p, &info, sizeof(info)) == 0 || info.RegionSize < cbPage)
            return 0;
        if (info.State == MEM_COMMIT && info.AllocationBase == pb)
            cb += info.RegionSize;
    }
    return cb;
#endif
}
} // namespace

long MemoryCallCount(eMemoryCall eCall)
{
    return g_arrCalls[eCall];
}

HeldPages GetHeldPages()
{
    Pages& pages = GetPages();
    const std::lock_guard lock(pages.lock);
    HeldPages held = {static_cast<long>(pages.blocks.size()), pages.cbAsked, 0};
    for (const auto& [pb, cb] : pages.blocks)
        held.cbCommitted += CommittedBytes(pb, cb);
    return held;
}

size_t HeldBlockSize(const void* p, const BYTE** ppBase)
{
    Pages& pages = GetPages();
    const std::lock_guard lock(pages.lock);
    const BYTE* const pb = static_cast<const BYTE*>(p);
    auto it = pages.blocks.upper_bound(pb);
    if (it == pages.blocks.begin())
        return 0;
    --it;
    if (pb >= it->first + it->second)
        return 0;
    if (ppBase != nullptr)
        *ppBase = it->first;
    return it->second;
}

FailingMemory::FailingMemory(eMemoryCall eCall, long nAfter, bool bAll) : m_eCall(eCall)
{
    t_arrFailures[eCall] = {true, bAll, false, nAfter};
}

FailingMemory::~FailingMemory()
{
    t_arrFailures[m_eCall] = {};
}

bool FailingMemory::HasFailed() const
{
    return t_arrFailures[m_eCall].bFailed;
}

// --- Pages and task memory

namespace
{
template <class TCall>
void* AllocPages(TCall real, SIZE_T cb, DWORD dwType, DWORD dwProtect)
{
    if (IsToFail(eMC_VirtualAlloc))
    {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    void* const p = real(nullptr, cb, dwType, dwProtect);
    if (p != nullptr)
    {
        Pages& pages = GetPages();
        const std::lock_guard lock(pages.lock);
        pages.blocks[static_cast<const BYTE*>(p)] = cb;
        pages.cbAsked += cb;
    }
    return p;
}

void ForgetPages(void* p)
{
    Pages& pages = GetPages();
    const std::lock_guard lock(pages.lock);
    const auto it = pages.blocks.find(static_cast<const BYTE*>(p));
    if (it == pages.blocks.end())
        return;
    pages.cbAsked -= it->second;
    pages.blocks.erase(it);
}
} // namespace

extern "C"
{
#ifdef QX_NATIVE
    void* WINAPI __real_VirtualAlloc(void*, SIZE_T, DWORD, DWORD);
    BOOL WINAPI __real_VirtualFree(void*, SIZE_T, DWORD);
    void* WINAPI __real_CoTaskMemAlloc(SIZE_T);

    void* WINAPI __wrap_VirtualAlloc(void* pWanted, SIZE_T cb, DWORD dwType, DWORD dwProtect)
    {
        if (pWanted != nullptr)
            return __real_VirtualAlloc(pWanted, cb, dwType, dwProtect);
        return AllocPages(&__real_VirtualAlloc, cb, dwType, dwProtect);
    }

    BOOL WINAPI __wrap_VirtualFree(void* p, SIZE_T cb, DWORD dwType)
    {
        ForgetPages(p);
        return __real_VirtualFree(p, cb, dwType);
    }

    void* WINAPI __wrap_CoTaskMemAlloc(SIZE_T cb)
    {
        return IsToFail(eMC_TaskMem) ? nullptr : __real_CoTaskMemAlloc(cb);
    }
#else
    using PFNVIRTUALALLOC = void*(WINAPI*)(void*, SIZE_T, DWORD, DWORD);
    using PFNVIRTUALFREE = BOOL(WINAPI*)(void*, SIZE_T, DWORD);
    using PFNTASKALLOC = void*(WINAPI*)(SIZE_T);
    extern PFNVIRTUALALLOC __real___imp_VirtualAlloc;
    extern PFNVIRTUALFREE __real___imp_VirtualFree;
    extern PFNTASKALLOC __real___imp_CoTaskMemAlloc;

    static void* WINAPI VirtualAllocOrFail(void* pWanted, SIZE_T cb, DWORD dwType, DWORD dwProtect)
    {
        if (pWanted != nullptr)
            return __real___imp_VirtualAlloc(pWanted, cb, dwType, dwProtect);
        return AllocPages(__real___imp_VirtualAlloc, cb, dwType, dwProtect);
    }

    static BOOL WINAPI VirtualFreeCounted(void* p, SIZE_T cb, DWORD dwType)
    {
        ForgetPages(p);
        return __real___imp_VirtualFree(p, cb, dwType);
    }

    static void* WINAPI TaskAllocOrFail(SIZE_T cb)
    {
        return IsToFail(eMC_TaskMem) ? nullptr : __real___imp_CoTaskMemAlloc(cb);
    }

    PFNVIRTUALALLOC __wrap___imp_VirtualAlloc = &VirtualAllocOrFail;
    PFNVIRTUALFREE __wrap___imp_VirtualFree = &VirtualFreeCounted;
    PFNTASKALLOC __wrap___imp_CoTaskMemAlloc = &TaskAllocOrFail;
#endif
}

// --- The heap

void* operator new(std::size_t cb, const std::nothrow_t&) noexcept
{
    if (IsToFail(eMC_New))
        return nullptr;
    try
    {
        return ::operator new(cb);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

void* operator new[](std::size_t cb, const std::nothrow_t&) noexcept
{
    if (IsToFail(eMC_New))
        return nullptr;
    try
    {
        return ::operator new[](cb);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}
