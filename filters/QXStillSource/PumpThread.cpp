#include "PumpThread.h"

namespace
{

/// Holds the leaf lock for a scope.
class CStateLock
{
public:
    explicit CStateLock(SRWLOCK& lock) noexcept : m_lock(lock) { AcquireSRWLockExclusive(&m_lock); }
    ~CStateLock() { ReleaseSRWLockExclusive(&m_lock); }
    CStateLock(const CStateLock&) = delete;
    CStateLock& operator=(const CStateLock&) = delete;

private:
    SRWLOCK& m_lock;
};

} // namespace

HRESULT CPumpThread::Init(void* pObject, PFNTHREADPROC pfnThreadProc) noexcept
{
    const HRESULT hr = m_Thread.InitThread(pObject, pfnThreadProc, 0);
    if (FAILED(hr))
        return hr;
    if (!m_evStopped.Create(false))
        End(); // nobody could wait for the worker
    return S_OK;
}

/// Waits for a wake. Where the next step is due at once, a wake that has come meanwhile is taken, lest it run a
/// step of its own later; without one the event is not asked, which costs more than a small frame.
/// \return false when the thread is to end, or the wait failed
bool CPumpThread::AwaitStep(DWORD dwTimeout) noexcept
{
    if (dwTimeout == 0 && !m_bWoken)
        return true;
    m_bWoken = false;
    const DWORD dwRet = WaitForSingleObject(m_Thread.m_hEvent, dwTimeout);
    if (!m_Thread.m_bRun)
        return false;
    DSASSERT(dwRet == WAIT_OBJECT_0 || dwRet == WAIT_TIMEOUT);
    return dwRet != WAIT_FAILED; // it would fail for ever; whoever waits for this thread sees its end
}

void CPumpThread::Loop(void* pObject, PFNSTEP pfnStep) noexcept
{
    DWORD dwTimeout = INFINITE;
    while (m_Thread.m_bRun)
    {
        if (!AwaitStep(dwTimeout))
            break;
        bool bSends = false; // decided with the lock held: a start behind it comes with a wake of its own
        {
            CStateLock lock(m_lockState);
            bSends = m_eState == ePump_Sending;
            if (m_eState == ePump_Stopping)
            {
                m_eState = ePump_Idle;
                ResetEvent(m_Thread.m_hEvent); // the wake of the stop, should it not have been needed
            }
            if (m_eState == ePump_Idle)
                m_evStopped.Set();
        }
        dwTimeout = bSends ? pfnStep(pObject) : INFINITE;
    }
}

void CPumpThread::Start() noexcept
{
    {
        CStateLock lock(m_lockState);
        if (m_eState != ePump_Leaving)
            m_eState = ePump_Sending;
    }
    Wake();
}

bool CPumpThread::Wake() noexcept
{
    const bool bThread = m_Thread.Wake();
    m_bWoken = true; // behind the event, so that whoever sees it finds the event set
    return bThread;
}

void CPumpThread::Stop(bool bWait) noexcept
{
    {
        CStateLock lock(m_lockState);
        if (!IsBusy())
            return;
        if (m_eState == ePump_Sending)
            m_evStopped.Reset();
        m_eState = Wake() ? ePump_Stopping : ePump_Idle; // without a worker nobody would answer
        if (m_eState == ePump_Idle)
            return;
    }
    WakeAllConditionVariable(&m_cvHolds);
    if (!bWait || IsCurrent())
        return;
    const HANDLE arrWait[] = {m_evStopped, m_Thread.m_hThread}; // or its end, should it have failed
    const DWORD dwRet = WaitForMultipleObjects(2, arrWait, FALSE, INFINITE);
    DSASSERT(dwRet == WAIT_OBJECT_0);
}

void CPumpThread::Leave() noexcept
{
    {
        CStateLock lock(m_lockState);
        m_eState = ePump_Leaving;
    }
    m_Thread.m_bRun = false;
}

CPumpThread::CHold::CHold(CPumpThread& pump) noexcept : m_pump(pump)
{
    CStateLock lock(m_pump.m_lockState);
    ++m_pump.m_nHolds;
}

CPumpThread::CHold::~CHold()
{
    {
        CStateLock lock(m_pump.m_lockState);
        --m_pump.m_nHolds;
    }
    WakeAllConditionVariable(&m_pump.m_cvHolds);
}

void CPumpThread::PassHolds() noexcept
{
    if (m_nHolds == 0)
        return;
    CStateLock lock(m_lockState);
    while (m_nHolds != 0 && m_eState == ePump_Sending)
        SleepConditionVariableSRW(&m_cvHolds, &m_lockState, INFINITE, 0);
}
