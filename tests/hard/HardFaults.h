#pragma once
/// Lets calls of the platform fail at random, on every thread of the program, which is linked so that they
/// pass through HardFaults.cpp: heap (new that does not throw), COM task memory, pages, events, semaphores,
/// threads.

#include <cstdint>

enum eFault
{
    eFT_Heap,
    eFT_TaskMemory,
    eFT_Pages,
    eFT_Event,
    eFT_Semaphore,
    eFT_Thread,
    eFT_Count
};

/// From now on one call in `nOneIn` of each kind fails; 0 lets all of them work.
void SetFaults(uint64_t nSeed, unsigned nOneIn);
/// Calls of a kind that have been made to fail.
long long FaultsSoFar(eFault eKind);

/// Lets the calls of one kind fail on this thread: the one behind nAfter others.
class OneFault
{
public:
    OneFault(eFault eKind, long nAfter);
    ~OneFault();
    OneFault(const OneFault&) = delete;
    OneFault& operator=(const OneFault&) = delete;
    bool HasFailed() const;
};
