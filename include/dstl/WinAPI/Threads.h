#pragma once
/// Handles, events, the worker thread, and a wait that keeps a message queue alive.

#include "dstl/WinAPI/Owner.h"
#include "dstl/dshowx/DSTrace.h"

#include <atomic>

/// An owned handle that is used as a handle.
class CHandle : public COwnedHandle
{
public:
    using COwnedHandle::COwnedHandle;
    virtual ~CHandle() = default;

    /// Use of a handle that must be there.
    operator HANDLE() const noexcept
    {
        DSASSERT(m_h != NULL);
        return m_h;
    }
};

/// An unnamed event.
class CEvent : public CHandle
{
public:
    /// Makes the event, not signalled, in the place of an earlier one.
    /// \return whether there is one
    bool Create(bool bManualReset) noexcept;
    bool Set() noexcept;
    bool Reset() noexcept;
};

/// What a thread runs; the result becomes the thread's exit code.
using PFNTHREADPROC = DWORD (*)(void* pObject);

struct ThreadStartInfo;

/// A thread handle and the start of a thread.
class CBaseThread
{
public:
    CBaseThread() noexcept = default;
    CBaseThread(const CBaseThread&) = delete;
    CBaseThread& operator=(const CBaseThread&) = delete;

    /// Whether the caller runs in this thread.
    bool IsCurrent() const noexcept
    {
        return m_hThread.Get() != nullptr && m_dwThreadId == GetCurrentThreadId();
    }

    CHandle m_hThread; ///< null when there is no thread
    DWORD m_dwThreadId = 0;

protected:
    ~CBaseThread() = default;

    /// Keeps the module loaded until the thread has left its code. Only from within the thread.
    void HoldModule() noexcept;

    /// Makes the thread, suspended.
    HRESULT ThreadStart(void* pObject, PFNTHREADPROC pfnThreadProc, unsigned nStackSize) noexcept;

private:
    ThreadStartInfo* m_pInfo = nullptr; ///< the thread's: there as long as the thread runs
};

/// A worker thread with its wake event. InitThread, Stop and destruction belong to one owner.
class CSimpleThread : public CBaseThread
{
public:
    CSimpleThread() noexcept = default;
    ~CSimpleThread();

    /// Ends any earlier thread and starts pfnThreadProc( pObject ) in a new one.
    /// \param nStackSize bytes, 0 for the usual size
    HRESULT InitThread(void* pObject, PFNTHREADPROC pfnThreadProc, unsigned nStackSize) noexcept;

    /// Ends the thread: clears m_bRun, wakes the thread and waits for its end.
    ///
    /// From within the thread itself there is nothing to wait for: its handles are let go, and it runs on to
    /// the end of its procedure, which must not use this object any more. The module stays loaded until then.
    /// \param dwWait milliseconds
    /// \param bTerminate kills a thread that did not end in time
    /// \param bMessageLoop handles window messages meanwhile
    void Stop(DWORD dwWait, bool bTerminate, bool bMessageLoop) noexcept;

    /// Signals the wake event. Wakes while the thread is busy collapse into one.
    /// \return false without a thread
    bool Wake() noexcept;

    CHandle m_hEvent;                ///< the wake event, automatic reset
    std::atomic<bool> m_bRun{false}; ///< the thread's procedure loops while this is true
};

/// Waits for a handle and handles the messages of the calling thread meanwhile.
/// \param dwTimeout milliseconds or INFINITE
/// \param bQuitOnWmQuit ends the wait at WM_QUIT, which is reposted
/// \return 0 when signalled, 1 at the timeout or a quit, a failure code otherwise
HRESULT DSWaitWithMessageLoop(HANDLE hHandle, DWORD dwTimeout, bool bQuitOnWmQuit) noexcept;
