#include "dstl/WinAPI/SehCopy.h"

#include "dstl/dshowx/DSTrace.h"

// The copy routine is written in assembler, as the compiler has no guarded blocks. A fault inside the copy
// loop ends the routine with the exception's code as its result; every other fault passes on.
extern "C"
{
    DWORD DSTLGuardedCopy(void* pDst, const void* pSrc, size_t cb);
    extern const char DSTLGuardedCopyLoop[];
    extern const char DSTLGuardedCopyExit[];
    EXCEPTION_DISPOSITION DSTLGuardedCopyHandler(EXCEPTION_RECORD* pRecord, void* pFrame, CONTEXT* pContext,
                                                 void* pDispatcher);
}

// clang-format off
asm(R"(
    .text
    .p2align 4
    .globl DSTLGuardedCopy
    .globl DSTLGuardedCopyLoop
    .globl DSTLGuardedCopyExit
    .def DSTLGuardedCopy; .scl 2; .type 32; .endef
    .seh_proc DSTLGuardedCopy
DSTLGuardedCopy:
    pushq %rdi
    .seh_pushreg %rdi
    pushq %rsi
    .seh_pushreg %rsi
    .seh_endprologue
    movq %rcx, %rdi
    movq %rdx, %rsi
    movq %r8, %rcx
    xorl %eax, %eax
DSTLGuardedCopyLoop:
    rep movsb
DSTLGuardedCopyExit:
    popq %rsi
    popq %rdi
    ret
    .seh_handler DSTLGuardedCopyHandler, @except
    .seh_endproc
)");
// clang-format on

extern "C" EXCEPTION_DISPOSITION DSTLGuardedCopyHandler(EXCEPTION_RECORD* pRecord, void*, CONTEXT* pContext,
                                                        void*)
{
    constexpr DWORD dwUnwinding = 0x66; // all flags that tell of an unwinding in progress
    const DWORD64 nLoop = reinterpret_cast<DWORD64>(DSTLGuardedCopyLoop);
    const DWORD64 nExit = reinterpret_cast<DWORD64>(DSTLGuardedCopyExit);
    if ((pRecord->ExceptionFlags & dwUnwinding) != 0 || pContext->Rip < nLoop || pContext->Rip >= nExit)
        return ExceptionContinueSearch;
    pContext->Rax = pRecord->ExceptionCode;
    pContext->Rip = nExit;
    return ExceptionContinueExecution;
}

bool SEH_CopyMemory(void* pDst, const void* pSrc, size_t cb) noexcept
{
    const DWORD dwException = DSTLGuardedCopy(pDst, pSrc, cb);
    if (dwException == 0)
        return true;
    trace(atlTraceGeneral, eTL_Error,
          L"###Err### SEH_CopyMemory( pDst=0x%X, pSrc=0x%X, cb=0x%X ): Exception 0x%X\n", TracePtr(pDst),
          TracePtr(pSrc), static_cast<UINT>(cb), dwException);
    return false;
}
