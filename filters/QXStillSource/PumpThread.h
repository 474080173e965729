#pragma once
/// The worker thread of the pump, and whether it sends. Knows nothing of pins or samples.

#include "dstl/WinAPI/Threads.h"

/// State of the worker.
///
/// | from | event | to |
/// |---|---|---|
/// | idle | Start | sending |
/// | sending | Stop | stopping |
/// | stopping | the step is over | idle |
/// | stopping | Start | sending |
/// | any | Leave | leaving |
enum ePumpState
{
    ePump_Idle,     ///< no step is run until Start
    ePump_Sending,  ///< steps are run, or the worker sleeps until it is woken
    ePump_Stopping, ///< told to stop; the last step may still be running
    ePump_Leaving   ///< the thread ends with its current step
};

/// One worker. Every operation may be called on any thread, the worker included, with any lock held: the
/// only lock taken is a leaf, and only Stop with bWait waits for the worker.
class CPumpThread
{
public:
    /// One step, on the worker. \return milliseconds until the next one: 0 or INFINITE
    using PFNSTEP = DWORD (*)(void* pObject) noexcept;

    CPumpThread() noexcept = default;
    CPumpThread(const CPumpThread&) = delete;
    CPumpThread& operator=(const CPumpThread&) = delete;

    /// Starts the thread. pfnThreadProc( pObject ) has to call Loop.
    /// \return the result of starting the thread; without an event of its own the pump has no worker either
    HRESULT Init(void* pObject, PFNTHREADPROC pfnThreadProc) noexcept;
    /// The life of the thread: runs steps while it is told to, until Leave or End.
    void Loop(void* pObject, PFNSTEP pfnStep) noexcept;

    /// Lets the worker run steps.
    void Start() noexcept;
    /// Lets no further step begin. \param bWait returns when the current step is over; never on the worker
    void Stop(bool bWait) noexcept;
    /// On the worker: the thread ends with its current step.
    void Leave() noexcept;
    /// Ends the thread and waits for it, unless called on it.
    void End() noexcept { m_Thread.Stop(INFINITE, false, false); }

    /// Ends the sleep of a worker that sends; between two steps the worker takes it and goes on. \return false
    /// without a thread
    bool Wake() noexcept;

    /// Whether the caller is the worker.
    bool IsCurrent() const noexcept { return m_Thread.IsCurrent(); }
    /// Whether steps are to be run.
    bool IsStreaming() const noexcept { return m_eState == ePump_Sending; }
    /// Whether a step may be running.
    bool IsBusy() const noexcept { return m_eState == ePump_Sending || m_eState == ePump_Stopping; }

    /// Lets the worker begin no frame for the length of a scope: a seek flushes and moves the position.
    class CHold
    {
    public:
        explicit CHold(CPumpThread& pump) noexcept;
        ~CHold();
        CHold(const CHold&) = delete;
        CHold& operator=(const CHold&) = delete;

    private:
        CPumpThread& m_pump;
    };
    /// On the worker: waits while there is a hold, but not beyond a stop.
    void PassHolds() noexcept;

    CEvent m_evStopped;     ///< the worker has seen the end of streaming; automatic reset
    CSimpleThread m_Thread; ///< the worker, with its wake event

private:
    bool AwaitStep(DWORD dwTimeout) noexcept;

    std::atomic<bool> m_bWoken = false; ///< a wake has come that the worker may not have taken
    SRWLOCK m_lockState = SRWLOCK_INIT; ///< leaf; guards the two below
    std::atomic<ePumpState> m_eState = ePump_Idle;
    std::atomic<int> m_nHolds = 0;
    CONDITION_VARIABLE m_cvHolds = CONDITION_VARIABLE_INIT; ///< a hold has ended, or a stop has come
};
