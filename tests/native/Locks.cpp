// Critical sections and the number of a thread.
#include "dstl/WinAPI/Platform.h"

#include <pthread.h>

#include <atomic>

namespace
{

pthread_mutex_t* Mutex(CRITICAL_SECTION* pcrs)
{
    return reinterpret_cast<pthread_mutex_t*>(pcrs->DebugInfo);
}

/// \param nLocked 0 for a lock that the caller has got
BOOL SetOwner(CRITICAL_SECTION* pcrs, int nLocked)
{
    if (nLocked != 0)
        return FALSE;
    pcrs->RecursionCount++;
    __atomic_store_n(&pcrs->OwningThread, ULongToHandle(GetCurrentThreadId()), __ATOMIC_RELAXED);
    return TRUE;
}

} // namespace

DWORD WINAPI GetCurrentThreadId()
{
    static std::atomic<DWORD> s_nThreads = 0;
    thread_local const DWORD nThread = ++s_nThreads;
    return nThread;
}

void WINAPI InitializeCriticalSection(CRITICAL_SECTION* pcrs)
{
    *pcrs = {};
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    auto* const pMutex = new pthread_mutex_t;
    pthread_mutex_init(pMutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    pcrs->DebugInfo = reinterpret_cast<decltype(pcrs->DebugInfo)>(pMutex);
}

void WINAPI DeleteCriticalSection(CRITICAL_SECTION* pcrs)
{
    pthread_mutex_destroy(Mutex(pcrs));
    delete Mutex(pcrs);
}

void WINAPI EnterCriticalSection(CRITICAL_SECTION* pcrs)
{
    SetOwner(pcrs, pthread_mutex_lock(Mutex(pcrs)));
}

BOOL WINAPI TryEnterCriticalSection(CRITICAL_SECTION* pcrs)
{
    return SetOwner(pcrs, pthread_mutex_trylock(Mutex(pcrs)));
}

void WINAPI LeaveCriticalSection(CRITICAL_SECTION* pcrs)
{
    if (--pcrs->RecursionCount == 0)
        __atomic_store_n(&pcrs->OwningThread, nullptr, __ATOMIC_RELAXED);
    pthread_mutex_unlock(Mutex(pcrs));
}
