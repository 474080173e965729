#include "dstl/WinAPI/Threads.h"

#include <process.h>

#include <new>

bool CEvent::Create(bool bManualReset) noexcept
{
    Close(); // an earlier one goes first
    Attach(CreateEventW(nullptr, bManualReset, FALSE, nullptr));
    return m_h != nullptr;
}

bool CEvent::Set() noexcept
{
    DSASSERT(m_h != NULL);
    return m_h != nullptr && SetEvent(m_h);
}

bool CEvent::Reset() noexcept
{
    DSASSERT(m_h != NULL);
    return m_h != nullptr && ResetEvent(m_h);
}

/// What a thread needs to know. On the heap, as the thread object may be given another thread, or go, while
/// this one runs.
struct ThreadStartInfo
{
    void* pObject;
    PFNTHREADPROC pfnThreadProc;
    HMODULE hModule = nullptr; ///< held for the thread, which gives it back with its last step
};

namespace
{

unsigned __stdcall StartThread(void* pvInfo)
{
    trace(atlTraceGeneral, eTL_Main, L"CSimpleThread::StartThread(): thread 0x%04X started\n",
          static_cast<UINT>(GetCurrentThreadId()));
    auto* pInfo = static_cast<ThreadStartInfo*>(pvInfo);
    void* const pv = pInfo->pObject;

    DSASSERT(pv != NULL);
    const DWORD dwResult = pInfo->pfnThreadProc(pv);
    trace(atlTraceGeneral, eTL_Main, L"CSimpleThread::StartThread(): thread 0x%04X stopped, result=0x%X\n",
          static_cast<UINT>(GetCurrentThreadId()), static_cast<UINT>(dwResult));
    const HMODULE hModule = pInfo->hModule;
    delete pInfo;
    if (hModule != nullptr)
        FreeLibraryAndExitThread(hModule,
                                 dwResult); // nobody waits for the thread: there may be no code to return to
    return dwResult;
}

} // namespace

HRESULT CBaseThread::ThreadStart(void* pObject, PFNTHREADPROC pfnThreadProc, unsigned nStackSize) noexcept
{
    unsigned nThreadId = 0;
    uintptr_t nThread = 0;
    auto* pInfo = new (std::nothrow) ThreadStartInfo{pObject, pfnThreadProc};
    if (pInfo != nullptr)
        nThread = _beginthreadex(nullptr, nStackSize, StartThread, pInfo, CREATE_SUSPENDED, &nThreadId);
    else
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    if (nThread == 0)
    {
        const HRESULT hr = DSTLLastError();
        delete pInfo;
        DSASSERT_TEXT(false, "CBaseThread::ThreadStart(): can't create thread");
        return hr;
    }
    m_hThread.Attach(reinterpret_cast<HANDLE>(nThread));
    m_dwThreadId = nThreadId;
    m_pInfo = pInfo;
    return S_OK;
}

void CBaseThread::HoldModule() noexcept
{
    // The address tells the module.
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(reinterpret_cast<UINT_PTR>(&StartThread)),
                       &m_pInfo->hModule);
}

CSimpleThread::~CSimpleThread()
{
    Stop(INFINITE, false, false);
}

HRESULT CSimpleThread::InitThread(void* pObject, PFNTHREADPROC pfnThreadProc, unsigned nStackSize) noexcept
{
    DSASSERT(pObject != NULL);
    DSASSERT(pfnThreadProc != NULL);
    if (pObject == nullptr || pfnThreadProc == nullptr)
        return E_INVALIDARG;

    Stop(INFINITE, false, false);

    SetLastError(ERROR_SUCCESS);
    CEvent evWake;
    if (!evWake.Create(false))
    {
        const HRESULT hr = DSTLLastError();
        DSASSERT_TEXT(false, "CSimpleThread::InitThread(): can't create event");
        return hr;
    }
    const HRESULT hr = ThreadStart(pObject, pfnThreadProc, nStackSize);
    if (FAILED(hr))
        return hr;

    // The thread is still suspended: it finds the fields complete.
    m_hEvent.Attach(evWake.Detach());
    m_bRun = true;
    const DWORD dwRet = ResumeThread(m_hThread);
    DSASSERT(dwRet == 1);
    return S_OK;
}

void CSimpleThread::Stop(DWORD dwWait, bool bTerminate, bool bMessageLoop) noexcept
{
    m_bRun = false;
    if (IsCurrent())
    {
        HoldModule();
    }
    else if (m_hThread)
    {
        DSASSERT_TEXT(m_hEvent, "m_hEvent != NULL");
        Wake();
        const DWORD dwRet = bMessageLoop ? static_cast<DWORD>(DSWaitWithMessageLoop(m_hThread, dwWait, true))
                                         : WaitForSingleObject(m_hThread, dwWait);
        if (dwRet != WAIT_OBJECT_0)
        {
            trace(atlTraceGeneral, eTL_Error,
                  L"###Err### CSimpleThread<>::Stop(): WaitForSingleObject( wait time=%u )=0x%X for thread "
                  L"0x%X\n",
                  static_cast<UINT>(dwWait), static_cast<UINT>(dwRet), static_cast<UINT>(m_dwThreadId));
            if (bTerminate)
            {
                trace(atlTraceGeneral, eTL_Fatal,
                      L"######### CSimpleThread<>::Stop(): call TerminateThread() for thread 0x%X\n",
                      static_cast<UINT>(m_dwThreadId));
                TerminateThread(m_hThread, static_cast<DWORD>(-1));
            }
        }
    }
    m_hThread.Close();
    m_hEvent.Close();
    m_dwThreadId = 0;
}

bool CSimpleThread::Wake() noexcept
{
    if (!m_hThread)
        return false;
    SetEvent(m_hEvent.Get()); // without an event nobody is woken
    return true;
}

namespace
{

/// QS_ALLINPUT with QS_ALLPOSTMESSAGE.
constexpr DWORD dwWakeMask = 0x4FF;

/// The time of a wait, which may be without end.
class CTimeLeft
{
public:
    explicit CTimeLeft(DWORD dwTimeout) noexcept
        : m_dwTimeout(dwTimeout), m_dwStart(dwTimeout != INFINITE ? GetTickCount() : 0), m_dwLeft(dwTimeout)
    {
    }
    DWORD Get() const noexcept { return m_dwLeft; }
    /// Brings the time up to date.
    /// \return whether it is over
    bool IsOver() noexcept
    {
        if (m_dwTimeout == INFINITE)
            return false;
        const DWORD dwGone = GetTickCount() - m_dwStart;
        if (dwGone >= m_dwTimeout)
            return true;
        m_dwLeft = m_dwTimeout - dwGone;
        return false;
    }

private:
    const DWORD m_dwTimeout;
    const DWORD m_dwStart;
    DWORD m_dwLeft;
};

} // namespace

HRESULT DSWaitWithMessageLoop(HANDLE hHandle, DWORD dwTimeout, bool bQuitOnWmQuit) noexcept
{
    DSASSERT(hHandle != NULL);
    if (hHandle == nullptr)
        return E_INVALIDARG;

    CTimeLeft timeLeft(dwTimeout);
    for (;;)
    {
        SetLastError(ERROR_SUCCESS);
        const DWORD dwRet = MsgWaitForMultipleObjects(1, &hHandle, FALSE, timeLeft.Get(), dwWakeMask);
        if (dwRet == WAIT_OBJECT_0)
            return S_OK;
        if (dwRet == WAIT_TIMEOUT)
            return S_FALSE;
        if (dwRet != WAIT_OBJECT_0 + 1)
            return DSTLLastError();

        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE))
        {
            if (bQuitOnWmQuit && msg.message == WM_QUIT)
            {
                trace(atlTraceGeneral, eTL_Error, L"### DSWaitWithMessageLoop(): WM_QUIT ###\n");
                PostQuitMessage(static_cast<int>(msg.wParam)); // for the loop of the thread's owner
                return S_FALSE;
            }
            TranslateMessage(&msg);
            DispatchMessageW(&msg);

            const DWORD dwSignalled = WaitForSingleObject(hHandle, 0);
            if (dwSignalled == WAIT_OBJECT_0)
                return S_OK;
            if (dwSignalled != WAIT_TIMEOUT)
                return DSTLLastError();
            if (timeLeft.IsOver())
                return S_FALSE;
        }
        // A wake without a message of ours must not begin the whole time anew.
        if (timeLeft.IsOver())
            return S_FALSE;
    }
}
