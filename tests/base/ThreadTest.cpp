#include "dstl/WinAPI/Threads.h"

#include "base/FailingCalls.h"
#include "support/LogCapture.h"
#include "support/WorkerThreads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace
{

constexpr DWORD dwLimit = 60000; // milliseconds that nothing here may take

std::string Text(const char* pszFormat, unsigned long n1, unsigned long n2 = 0, unsigned long n3 = 0)
{
    char szText[300];
    snprintf(szText, sizeof(szText), pszFormat, n1, n2, n3);
    return szText;
}

/// A thread's procedure that waits for its wake event, as the pump does, and counts.
struct Looper
{
    CSimpleThread thread;
    CEvent evStarted, evLooped;
    std::atomic<int> nWakes{0}, nStarts{0};
    bool bFieldsComplete = false;
    DWORD dwResult = 0;

    Looper()
    {
        evStarted.Create(false);
        evLooped.Create(false);
    }

    static DWORD Run(void* pv)
    {
        auto* p = static_cast<Looper*>(pv);
        p->bFieldsComplete = p->thread.m_hThread && p->thread.m_hEvent && p->thread.m_bRun &&
                             p->thread.m_dwThreadId == GetCurrentThreadId();
        p->nStarts++;
        p->evStarted.Set();
        while (p->thread.m_bRun)
        {
            WaitForSingleObject(p->thread.m_hEvent, INFINITE);
            if (!p->thread.m_bRun)
                break;
            p->nWakes++;
            p->evLooped.Set();
        }
        return p->dwResult;
    }
};

/// A thread's procedure that ends only when it is allowed to.
struct Stubborn
{
    CEvent evStarted, evMayEnd;
    Stubborn()
    {
        evStarted.Create(true);
        evMayEnd.Create(true);
    }
    static DWORD Run(void* pv)
    {
        auto* p = static_cast<Stubborn*>(pv);
        p->evStarted.Set();
        WaitForSingleObject(p->evMayEnd, INFINITE);
        return 3;
    }
};

HANDLE Duplicate(HANDLE h)
{
    HANDLE hCopy = nullptr;
    DuplicateHandle(GetCurrentProcess(), h, GetCurrentProcess(), &hCopy, 0, FALSE, DUPLICATE_SAME_ACCESS);
    return hCopy;
}

void ExpectNoThread(const CSimpleThread& thread)
{
    EXPECT_EQ(thread.m_hThread.Get(), nullptr);
    EXPECT_EQ(thread.m_hEvent.Get(), nullptr);
    EXPECT_EQ(thread.m_dwThreadId, 0u);
    EXPECT_FALSE(thread.m_bRun);
}

TEST(SimpleThread, StartsWithoutAThread)
{
    CSimpleThread thread;
    ExpectNoThread(thread);
    EXPECT_FALSE(thread.Wake());
}

TEST(SimpleThread, StopWithoutAThreadChangesNothing)
{
    LogCapture log;
    AssertCapture asserts;
    CSimpleThread thread;
    thread.m_bRun = true;
    for (const bool bTerminate : {false, true})
    {
        thread.Stop(INFINITE, bTerminate, false);
        thread.Stop(0, bTerminate, true);
        ExpectNoThread(thread);
    }
    EXPECT_TRUE(log.Lines().empty());
    EXPECT_TRUE(asserts.Texts().empty());
}

TEST(SimpleThread, MissingArgumentsAreRefused)
{
    Looper looper;
    AssertCapture asserts;
    EXPECT_EQ(looper.thread.InitThread(nullptr, &Looper::Run, 0), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), std::vector<std::string>{"pObject != NULL"});
    asserts.Clear();
    EXPECT_EQ(looper.thread.InitThread(&looper, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), std::vector<std::string>{"pfnThreadProc != NULL"});
    asserts.Clear();
    EXPECT_EQ(looper.thread.InitThread(nullptr, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), (std::vector<std::string>{"pObject != NULL", "pfnThreadProc != NULL"}));
    ExpectNoThread(looper.thread);

    // A running thread is left alone by a refused call.
    asserts.Clear();
    ASSERT_EQ(looper.thread.InitThread(&looper, &Looper::Run, 0), S_OK);
    EXPECT_EQ(looper.thread.InitThread(nullptr, &Looper::Run, 0), E_INVALIDARG);
    EXPECT_TRUE(looper.thread.m_bRun);
    EXPECT_NE(looper.thread.m_hThread.Get(), nullptr);
}

TEST(SimpleThread, RunsTheProcedureAndTracesStartAndEnd)
{
    LogCapture log;
    AssertCapture asserts;
    Looper looper;
    looper.dwResult = 0xAB12;
    ASSERT_EQ(looper.thread.InitThread(&looper, &Looper::Run, 0), S_OK);
    const DWORD dwThreadId = looper.thread.m_dwThreadId;
    const CHandle hThread(Duplicate(looper.thread.m_hThread));
    ASSERT_EQ(WaitForSingleObject(looper.evStarted, dwLimit), WAIT_OBJECT_0);
    EXPECT_TRUE(looper.bFieldsComplete);

    for (int i = 1; i <= 3; i++)
    {
        EXPECT_TRUE(looper.thread.Wake());
        ASSERT_EQ(WaitForSingleObject(looper.evLooped, dwLimit), WAIT_OBJECT_0);
        EXPECT_EQ(looper.nWakes, i);
    }

    looper.thread.Stop(INFINITE, false, false);
    ExpectNoThread(looper.thread);
    DWORD dwExitCode = 0;
    EXPECT_TRUE(GetExitCodeThread(hThread, &dwExitCode));
    EXPECT_EQ(dwExitCode, 0xAB12u);
    EXPECT_EQ(looper.nWakes, 3);

    const std::vector<LogLine> expected = {
        {8, Text("CSimpleThread::StartThread(): thread 0x%04lX started\n", dwThreadId)},
        {8,
         Text("CSimpleThread::StartThread(): thread 0x%04lX stopped, result=0x%lX\n", dwThreadId, 0xAB12)}};
    EXPECT_EQ(log.Lines(), expected);
    EXPECT_TRUE(asserts.Texts().empty());
}

TEST(SimpleThread, TheStackHasTheSizeAskedFor)
{
    struct Deep
    {
        static DWORD Run(void* pv)
        {
            volatile char sz[12 * 1024 * 1024];
            for (size_t i = 0; i < sizeof(sz); i += 4096)
                sz[sizeof(sz) - 1 - i] = 1;
            *static_cast<char*>(pv) = sz[0];
            return 0;
        }
    };
    char by = 0;
    CSimpleThread thread;
    ASSERT_EQ(thread.InitThread(&by, &Deep::Run, 16 * 1024 * 1024), S_OK);
    EXPECT_EQ(WaitForSingleObject(thread.m_hThread, dwLimit), WAIT_OBJECT_0);
}

TEST(SimpleThread, WakesWhileBusyCollapseIntoOne)
{
    struct Busy
    {
        CSimpleThread thread;
        CEvent evStarted, evGo;
        DWORD dwFirst = 99, dwSecond = 99;
        static DWORD Run(void* pv)
        {
            auto* p = static_cast<Busy*>(pv);
            p->evStarted.Set();
            WaitForSingleObject(p->evGo, INFINITE);
            p->dwFirst = WaitForSingleObject(p->thread.m_hEvent, 0);
            p->dwSecond = WaitForSingleObject(p->thread.m_hEvent, 0);
            return 0;
        }
    } busy;
    busy.evStarted.Create(true);
    busy.evGo.Create(true);
    ASSERT_EQ(busy.thread.InitThread(&busy, &Busy::Run, 0), S_OK);
    ASSERT_EQ(WaitForSingleObject(busy.evStarted, dwLimit), WAIT_OBJECT_0);
    for (int i = 0; i < 5; i++)
        EXPECT_TRUE(busy.thread.Wake());
    busy.evGo.Set();
    ASSERT_EQ(WaitForSingleObject(busy.thread.m_hThread, dwLimit), WAIT_OBJECT_0);
    EXPECT_EQ(busy.dwFirst, WAIT_OBJECT_0);
    EXPECT_EQ(busy.dwSecond, DWORD(WAIT_TIMEOUT));
}

TEST(SimpleThread, InitThreadEndsTheFirstThreadFirst)
{
    LogCapture log;
    Looper looper;
    ASSERT_EQ(looper.thread.InitThread(&looper, &Looper::Run, 0), S_OK);
    const DWORD dwFirst = looper.thread.m_dwThreadId;
    const CHandle hFirst(Duplicate(looper.thread.m_hThread));
    ASSERT_EQ(WaitForSingleObject(looper.evStarted, dwLimit), WAIT_OBJECT_0);
    ASSERT_EQ(looper.thread.InitThread(&looper, &Looper::Run, 0), S_OK);
    EXPECT_EQ(WaitForSingleObject(hFirst, 0), WAIT_OBJECT_0);
    ASSERT_EQ(WaitForSingleObject(looper.evStarted, dwLimit), WAIT_OBJECT_0);
    EXPECT_EQ(looper.nStarts, 2);
    EXPECT_TRUE(looper.thread.m_bRun);
    looper.thread.Stop(INFINITE, false, false);
    const std::vector<std::string> lines = log.Texts(8);
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], Text("CSimpleThread::StartThread(): thread 0x%04lX started\n", dwFirst));
    EXPECT_EQ(lines[1],
              Text("CSimpleThread::StartThread(): thread 0x%04lX stopped, result=0x%lX\n", dwFirst, 0));
}

TEST(SimpleThread, TheDestructorStops)
{
    Looper* const pLooper = new Looper;
    ASSERT_EQ(pLooper->thread.InitThread(pLooper, &Looper::Run, 0), S_OK);
    const CHandle hThread(Duplicate(pLooper->thread.m_hThread));
    ASSERT_EQ(WaitForSingleObject(pLooper->evStarted, dwLimit), WAIT_OBJECT_0);
    pLooper->thread.~CSimpleThread();
    EXPECT_EQ(WaitForSingleObject(hThread, 0), WAIT_OBJECT_0);
    new (&pLooper->thread) CSimpleThread;
    delete pLooper;
}

/// A thread that stops itself waits for nothing, and runs on without its object to the end of its procedure.
TEST(SimpleThread, StopFromWithinLetsTheThreadGo)
{
    struct SelfStopper
    {
        std::unique_ptr<CSimpleThread> spThread = std::make_unique<CSimpleThread>();
        CEvent evMayStop, evStopped, evMayEnd;
        bool bCurrent = false;
        bool bNoThread = false;
        static DWORD Run(void* pv)
        {
            auto* p = static_cast<SelfStopper*>(pv);
            WaitForSingleObject(p->evMayStop, INFINITE);
            p->bCurrent = p->spThread->IsCurrent();
            p->spThread->Stop(INFINITE, true, false);
            p->bNoThread = !p->spThread->m_hThread && !p->spThread->m_hEvent &&
                           p->spThread->m_dwThreadId == 0 && !p->spThread->m_bRun &&
                           !p->spThread->IsCurrent();
            p->spThread.reset();
            p->evStopped.Set();
            WaitForSingleObject(p->evMayEnd, INFINITE);
            return 17;
        }
    } stopper;
    ASSERT_TRUE(stopper.evMayStop.Create(true) && stopper.evStopped.Create(true) &&
                stopper.evMayEnd.Create(true));
    LogCapture log;
    AssertCapture asserts;
    ASSERT_EQ(stopper.spThread->InitThread(&stopper, &SelfStopper::Run, 0), S_OK);
    EXPECT_FALSE(stopper.spThread->IsCurrent());
    CHandle thread(Duplicate(stopper.spThread->m_hThread));
    stopper.evMayStop.Set();
    ASSERT_EQ(WaitForSingleObject(stopper.evStopped, dwLimit), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(thread, 0), static_cast<DWORD>(WAIT_TIMEOUT)); // neither awaited nor killed
    stopper.evMayEnd.Set();
    ASSERT_EQ(WaitForSingleObject(thread, dwLimit), WAIT_OBJECT_0);
    DWORD dwCode = 0;
    EXPECT_TRUE(GetExitCodeThread(thread, &dwCode));
    EXPECT_EQ(dwCode, 17u);
    EXPECT_TRUE(stopper.bCurrent);
    EXPECT_TRUE(stopper.bNoThread);
    EXPECT_EQ(log.Texts(2), std::vector<std::string>{});
    EXPECT_EQ(asserts.Texts(), std::vector<std::string>{});
}

TEST(SimpleThread, AThreadThatDoesNotEndInTimeIsLeftRunning)
{
    for (const bool bMessageLoop : {false, true})
    {
        LogCapture log;
        Stubborn stubborn;
        CSimpleThread thread;
        ASSERT_EQ(thread.InitThread(&stubborn, &Stubborn::Run, 0), S_OK);
        const CHandle hThread(Duplicate(thread.m_hThread));
        const DWORD dwThreadId = thread.m_dwThreadId;
        ASSERT_EQ(WaitForSingleObject(stubborn.evStarted, dwLimit), WAIT_OBJECT_0);
        thread.Stop(20, false, bMessageLoop);
        ExpectNoThread(thread);
        // The wait with messages tells a timeout as 1.
        EXPECT_EQ(log.Texts(2), std::vector<std::string>{
                                    Text("###Err### CSimpleThread<>::Stop(): WaitForSingleObject( wait "
                                         "time=%lu )=0x%lX for thread 0x%lX\n",
                                         20, bMessageLoop ? 1 : WAIT_TIMEOUT, dwThreadId)});
        EXPECT_TRUE(log.Texts(1).empty());
        stubborn.evMayEnd.Set();
        ASSERT_EQ(WaitForSingleObject(hThread, dwLimit), WAIT_OBJECT_0);
        DWORD dwExitCode = 0;
        EXPECT_TRUE(GetExitCodeThread(hThread, &dwExitCode));
        EXPECT_EQ(dwExitCode, 3u);
    }
}

TEST(SimpleThread, AThreadThatDoesNotEndInTimeCanBeKilled)
{
    LogCapture log;
    Stubborn stubborn;
    CSimpleThread thread;
    ASSERT_EQ(thread.InitThread(&stubborn, &Stubborn::Run, 0), S_OK);
    const CHandle hThread(Duplicate(thread.m_hThread));
    const DWORD dwThreadId = thread.m_dwThreadId;
    ASSERT_EQ(WaitForSingleObject(stubborn.evStarted, dwLimit), WAIT_OBJECT_0);
    log.Clear();
    thread.Stop(0, true, false);
    ExpectNoThread(thread);
    const std::vector<LogLine> expected = {
        {2, Text("###Err### CSimpleThread<>::Stop(): WaitForSingleObject( wait time=%lu )=0x%lX for thread "
                 "0x%lX\n",
                 0, WAIT_TIMEOUT, dwThreadId)},
        {1,
         Text("######### CSimpleThread<>::Stop(): call TerminateThread() for thread 0x%lX\n", dwThreadId)}};
    EXPECT_EQ(log.Lines(), expected);
    ASSERT_EQ(WaitForSingleObject(hThread, dwLimit), WAIT_OBJECT_0);
    DWORD dwExitCode = 0;
    EXPECT_TRUE(GetExitCodeThread(hThread, &dwExitCode));
    EXPECT_EQ(dwExitCode, 0xFFFFFFFFu);
}

TEST(SimpleThread, StopWithAMissingEventIsAsserted)
{
    struct Short
    {
        static DWORD Run(void*) { return 0; }
    };
    AssertCapture asserts;
    CSimpleThread thread;
    ASSERT_EQ(thread.InitThread(&asserts, &Short::Run, 0), S_OK);
    ASSERT_EQ(WaitForSingleObject(thread.m_hThread, dwLimit), WAIT_OBJECT_0);
    thread.m_hEvent.Close();
    thread.Stop(INFINITE, false, false);
    EXPECT_EQ(asserts.Texts(), std::vector<std::string>{"m_hEvent != NULL"});
    ExpectNoThread(thread);
}

TEST(SimpleThread, AThreadThatCannotBeMade)
{
    const struct
    {
        DWORD dwError;
        HRESULT hr;
    } rows[] = {{ERROR_NOT_ENOUGH_MEMORY, HRESULT(0x80070008)}, {0, E_FAIL}};
    for (const auto& row : rows)
    {
        LogCapture log;
        AssertCapture asserts;
        Looper looper;
        DWORD nBefore = 0, nAfter = 0;
        GetProcessHandleCount(GetCurrentProcess(), &nBefore);
        const FailingCall failing(g_callBeginThread, row.dwError);
        EXPECT_EQ(looper.thread.InitThread(&looper, &Looper::Run, 0), row.hr);
        EXPECT_EQ(asserts.Texts(),
                  std::vector<std::string>{"CBaseThread::ThreadStart(): can't create thread"});
        ExpectNoThread(looper.thread);
        GetProcessHandleCount(GetCurrentProcess(), &nAfter);
        EXPECT_EQ(nAfter, nBefore) << "the wake event was not closed";
        EXPECT_EQ(looper.nStarts, 0);
        // The next attempt succeeds.
        EXPECT_EQ(looper.thread.InitThread(&looper, &Looper::Run, 0), S_OK);
    }
}

TEST(SimpleThread, AnEventThatCannotBeMade)
{
    const struct
    {
        DWORD dwError;
        HRESULT hr;
    } rows[] = {{ERROR_NO_SYSTEM_RESOURCES, HRESULT(0x800705AA)}, {0, E_FAIL}};
    for (const auto& row : rows)
    {
        AssertCapture asserts;
        Looper looper;
        ASSERT_EQ(looper.thread.InitThread(&looper, &Looper::Run, 0), S_OK);
        const CHandle hFirst(Duplicate(looper.thread.m_hThread));
        SetLastError(ERROR_FILE_NOT_FOUND); // of some earlier call
        const FailingCall failing(g_callCreateEvent, row.dwError);
        EXPECT_EQ(looper.thread.InitThread(&looper, &Looper::Run, 0), row.hr);
        EXPECT_EQ(asserts.Texts(),
                  std::vector<std::string>{"CSimpleThread::InitThread(): can't create event"});
        ExpectNoThread(looper.thread);
        EXPECT_EQ(WaitForSingleObject(hFirst, 0), WAIT_OBJECT_0) << "the earlier thread was not ended first";
    }
    CEvent ev;
    ASSERT_TRUE(ev.Create(true));
    const FailingCall failing(g_callCreateEvent, ERROR_NO_SYSTEM_RESOURCES);
    EXPECT_FALSE(ev.Create(true));
    EXPECT_EQ(ev.Get(), nullptr);
}

TEST(SimpleThread, AnUnexpectedSuspendCountIsAsserted)
{
    AssertCapture asserts;
    Looper looper;
    const FailingCall failing(g_callResumeThread, 0);
    EXPECT_EQ(looper.thread.InitThread(&looper, &Looper::Run, 0), S_OK);
    EXPECT_EQ(asserts.Texts(), std::vector<std::string>{"dwRet == 1"});
}

TEST(SimpleThread, ManyStartsAndStopsLeaveNothingBehind)
{
    Looper looper;
    ASSERT_EQ(looper.thread.InitThread(&looper, &Looper::Run, 0), S_OK);
    looper.thread.Stop(INFINITE, false, false);
    DWORD nBefore = 0, nAfter = 0;
    GetProcessHandleCount(GetCurrentProcess(), &nBefore);
    for (int i = 0; i < 1000; i++)
    {
        ASSERT_EQ(looper.thread.InitThread(&looper, &Looper::Run, 0), S_OK);
        if (i % 3 != 0)
            looper.thread.Wake();
        if (i % 2 == 0)
            looper.thread.Stop(INFINITE, false, i % 4 == 0);
    }
    looper.thread.Stop(INFINITE, false, false);
    GetProcessHandleCount(GetCurrentProcess(), &nAfter);
    EXPECT_LE(nAfter, nBefore + 2);
    EXPECT_EQ(looper.nStarts, 1001);
}

// --- What the tests of this and of other programs rely on

TEST(WorkersOfATest, AreKnownFromTheirFirstLineToTheirEnd)
{
    LogCapture log;
    EXPECT_FALSE(log.WaitForWorkerStart(0));
    EXPECT_TRUE(WaitForWorkers(0));
    Stubborn one, two;
    CSimpleThread threadOne, threadTwo;
    ASSERT_EQ(threadOne.InitThread(&one, &Stubborn::Run, 0), S_OK);
    EXPECT_TRUE(log.WaitForWorkerStart());
    EXPECT_FALSE(WaitForWorkers(0));
    ASSERT_EQ(threadTwo.InitThread(&two, &Stubborn::Run, 0), S_OK);
    ASSERT_EQ(WaitForSingleObject(two.evStarted, dwLimit), WAIT_OBJECT_0);
    one.evMayEnd.Set();
    threadOne.Stop(dwLimit, false, false);
    EXPECT_FALSE(WaitForWorkers(0)); // there is another one
    two.evMayEnd.Set();
    EXPECT_TRUE(WaitForWorkers());
    threadTwo.Stop(dwLimit, false, false);
    // A line of another kind is not taken for the first one.
    log.Clear();
    trace(atlTraceGeneral, eTL_Main, L"CSimpleThread::StartThread(): thread 0x%04X stopped, result=0x0\n", 1);
    EXPECT_FALSE(log.WaitForWorkerStart(0));
}

} // namespace
