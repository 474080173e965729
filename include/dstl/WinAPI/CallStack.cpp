#include "dstl/WinAPI/CallStack.h"

#include "dstl/dshowx/DSTrace.h"

#include <iterator>

// The walk reads the stack of a thread that may have damaged it, so it runs in a guarded call, which the
// compiler cannot make: the platform's own handler ends it at its exit after any exception.
extern "C" void DSTLGuardedCall(void (*pfn)(void*), void* pv);

// clang-format off
asm(R"(
    .text
    .p2align 4
    .globl DSTLGuardedCall
    .def DSTLGuardedCall; .scl 2; .type 32; .endef
    .seh_proc DSTLGuardedCall
DSTLGuardedCall:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    movq %rcx, %rax
    movq %rdx, %rcx
.LDSTLGuardedCallBegin:
    call *%rax
    nop
.LDSTLGuardedCallEnd:
    nop
.LDSTLGuardedCallExit:
    addq $40, %rsp
    ret
    .seh_handler __C_specific_handler, @except
    .seh_handlerdata
    .long 1
    .rva .LDSTLGuardedCallBegin, .LDSTLGuardedCallEnd
    .long 1
    .rva .LDSTLGuardedCallExit
    .text
    .seh_endproc
)");
// clang-format on

namespace
{
/// Addresses of the frames of one stack, the innermost first.
struct Walk
{
    CONTEXT context;
    int nMost;
    int nFrames;
    DWORD64 rgAddresses[nMostFrames];
};

/// Follows the unwind information of the modules. What has none is a leaf, which keeps nothing on the stack.
void WalkFrames(void* pv)
{
    Walk& walk = *static_cast<Walk*>(pv);
    CONTEXT& context = walk.context;
    while (walk.nFrames < walk.nMost && context.Rip != 0)
    {
        walk.rgAddresses[walk.nFrames++] = context.Rip;
        const DWORD64 nStack = context.Rsp;
        DWORD64 nBase = 0;
        auto* const pFunction = RtlLookupFunctionEntry(context.Rip, &nBase, nullptr);
        if (pFunction == nullptr)
        {
            context.Rip = *reinterpret_cast<const DWORD64*>(context.Rsp);
            context.Rsp += sizeof(DWORD64);
        }
        else
        {
            void* pvHandlerData = nullptr;
            DWORD64 nFrame = 0;
            RtlVirtualUnwind(UNW_FLAG_NHANDLER, nBase, context.Rip, pFunction, &context, &pvHandlerData,
                             &nFrame, nullptr);
        }
        if (context.Rsp <= nStack)
            return; // a stack only gets shorter on the way out
    }
}

/// Keeps every other thread out of the loader, so that the one to be stopped does not hold what the walk
/// needs.
class CLoaderLock
{
public:
    CLoaderLock() noexcept
    {
        const HMODULE hNt = GetModuleHandleW(L"ntdll.dll");
        const auto pfnLock = Function<LONG(NTAPI*)(ULONG, ULONG*, ULONG_PTR*)>(hNt, "LdrLockLoaderLock");
        m_pfnUnlock = Function<LONG(NTAPI*)(ULONG, ULONG_PTR)>(hNt, "LdrUnlockLoaderLock");
        m_bLocked = pfnLock != nullptr && m_pfnUnlock != nullptr && pfnLock(0, nullptr, &m_nCookie) >= 0;
    }
    ~CLoaderLock()
    {
        if (m_bLocked)
            m_pfnUnlock(0, m_nCookie);
    }
    CLoaderLock(const CLoaderLock&) = delete;
    CLoaderLock& operator=(const CLoaderLock&) = delete;

private:
    template <class T>
    static T Function(HMODULE hModule, const char* pszName) noexcept
    {
        return hModule != nullptr
                   ? reinterpret_cast<T>(reinterpret_cast<void*>(GetProcAddress(hModule, pszName)))
                   : nullptr;
    }

    LONG(NTAPI* m_pfnUnlock)(ULONG, ULONG_PTR) = nullptr;
    ULONG_PTR m_nCookie = 0;
    bool m_bLocked = false;
};

/// Walks the stack of another thread, which stands still meanwhile. It may hold any lock: nothing here takes
/// one but the loader's, which is ours by then.
void WalkOther(Walk& walk, HANDLE hThread) noexcept
{
    const CLoaderLock lock;
    if (SuspendThread(hThread) == static_cast<DWORD>(-1))
        return;
    walk.context.ContextFlags = CONTEXT_FULL;
    if (GetThreadContext(hThread, &walk.context))
        DSTLGuardedCall(WalkFrames, &walk);
    ResumeThread(hThread);
}

void TraceFrame(int nFrame, DWORD64 nAddress) noexcept
{
    HMODULE hModule = nullptr;
    wchar_t szPath[MAX_PATH] = {};
    const auto* const pv = reinterpret_cast<LPCWSTR>(nAddress);
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            pv, &hModule) ||
        GetModuleFileNameW(hModule, szPath, static_cast<DWORD>(std::size(szPath)) - 1) == 0)
    {
        trace(atlTraceGeneral, eTL_Error, L"  #%02i 0x%p\n", nFrame, pv);
        return;
    }
    const wchar_t* pszName = szPath;
    for (const wchar_t* psz = szPath; *psz != 0; ++psz)
    {
        if (*psz == L'\\')
            pszName = psz + 1;
    }
    trace(atlTraceGeneral, eTL_Error, L"  #%02i 0x%p %s+0x%X\n", nFrame, pv, pszName,
          static_cast<unsigned>(nAddress - reinterpret_cast<DWORD64>(hModule)));
}
} // namespace

DWORD _LogDumpCallStack(EXCEPTION_POINTERS* pep, HANDLE hThread, BOOL bFast, DWORD dwContinue) noexcept
{
    if (!IsTraced(eTL_Error))
        return dwContinue;
    trace(atlTraceGeneral, eTL_Error,
          L"###Err### _LogDumpCallStack( pep=%08X, hThread=%08X, bFast=%i, dwContinue=%i )\n", TracePtr(pep),
          TracePtr(hThread), static_cast<int>(bFast), static_cast<int>(dwContinue));

    Walk walk;
    walk.nFrames = 0;
    walk.nMost = bFast ? nFastFrames : nMostFrames;
    const bool bOwn =
        hThread == nullptr || hThread == GetCurrentThread() || GetThreadId(hThread) == GetCurrentThreadId();
    if (pep != nullptr && pep->ContextRecord != nullptr)
    {
        walk.context = *pep->ContextRecord; // the walk changes it
        DSTLGuardedCall(WalkFrames, &walk);
    }
    else if (bOwn)
    {
        RtlCaptureContext(&walk.context);
        DSTLGuardedCall(WalkFrames, &walk);
    }
    else
    {
        WalkOther(walk, hThread);
    }
    for (int i = 0; i < walk.nFrames; ++i)
        TraceFrame(i, walk.rgAddresses[i]);
    return dwContinue;
}
