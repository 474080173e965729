#pragma once
/// The memory calls of the program, which the linker leads through here: pages, COM task memory, and the heap
/// as the product uses it (new that does not throw). Counts them, knows the pages that are held, and makes a
/// call fail.

#include "dstl/WinAPI/Platform.h"

#include <cstddef>

enum eMemoryCall
{
    eMC_VirtualAlloc,
    eMC_New, ///< operator new with nothrow
    eMC_TaskMem,
    eMC_Count
};

/// Calls since the start of the program, on all threads; failed ones included.
long MemoryCallCount(eMemoryCall eCall);

/// Pages that VirtualAlloc gave and VirtualFree has not taken back.
struct HeldPages
{
    long nBlocks;
    size_t cbAsked;     ///< sum of the sizes asked for
    size_t cbCommitted; ///< bytes in committed pages, as the system tells
};
HeldPages GetHeldPages();

/// Bytes of the block that the address lies in, as asked for; 0 outside of all blocks.
size_t HeldBlockSize(const void* p, const BYTE** ppBase = nullptr);

/// Lets one call of this thread fail, while it lives.
class FailingMemory
{
public:
    /// \param nAfter calls that succeed first \param bAll all calls behind that one fail as well
    FailingMemory(eMemoryCall eCall, long nAfter, bool bAll = false);
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;

    /// Whether a call has failed by now.
    bool HasFailed() const;

private:
    const eMemoryCall m_eCall;
};
