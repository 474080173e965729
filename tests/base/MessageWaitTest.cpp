// The wait that keeps a message queue alive. The messages go to a window without a display.
#include "dstl/WinAPI/Threads.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace
{

constexpr UINT WM_TEST = WM_APP + 1;

class MessageWaitTest : public testing::Test
{
protected:
    void SetUp() override
    {
        WNDCLASSW wc = {};
        wc.lpfnWndProc = &OnMessage;
        wc.hInstance = GetModuleHandleW(nullptr);
        wc.lpszClassName = L"QxMessageWaitTest";
        RegisterClassW(&wc);
        m_hWnd = CreateWindowExW(0, wc.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, wc.hInstance,
                                 nullptr);
        ASSERT_NE(m_hWnd, nullptr);
        ASSERT_TRUE(m_ev.Create(true));
        Drain();
    }
    void TearDown() override
    {
        s_onMessage = nullptr;
        DestroyWindow(m_hWnd);
        Drain();
    }

    /// \return messages that were left in the queue
    static std::vector<UINT> Drain()
    {
        std::vector<UINT> messages;
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE))
            messages.push_back(msg.message);
        return messages;
    }

    static LRESULT CALLBACK OnMessage(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
    {
        if (nMessage != WM_TEST)
            return DefWindowProcW(hWnd, nMessage, wParam, lParam);
        if (s_onMessage)
            s_onMessage(wParam);
        return 42;
    }

    static inline std::function<void(WPARAM)> s_onMessage;
    HWND m_hWnd = nullptr;
    CEvent m_ev;
    AssertCapture m_asserts;
    LogCapture m_log;
};

TEST_F(MessageWaitTest, NoHandle)
{
    EXPECT_EQ(DSWaitWithMessageLoop(nullptr, 0, false), E_INVALIDARG);
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{"hHandle != NULL"});
}

TEST_F(MessageWaitTest, ASignalledHandle)
{
    m_ev.Set();
    for (const DWORD dwTimeout : {DWORD(0), DWORD(1000), DWORD(INFINITE)})
        EXPECT_EQ(DSWaitWithMessageLoop(m_ev.Get(), dwTimeout, true), 0);
}

TEST_F(MessageWaitTest, TheTimeout)
{
    EXPECT_EQ(DSWaitWithMessageLoop(m_ev.Get(), 0, false), 1);
    const DWORD dwStart = GetTickCount();
    EXPECT_EQ(DSWaitWithMessageLoop(m_ev.Get(), 50, false), 1);
    EXPECT_GE(GetTickCount() - dwStart, 45u);
}

TEST_F(MessageWaitTest, AHandleThatIsNone)
{
    const HANDLE hClosed = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    CloseHandle(hClosed);
    EXPECT_EQ(DSWaitWithMessageLoop(hClosed, 0, false), HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE));
    EXPECT_TRUE(m_asserts.Texts().empty());
}

TEST_F(MessageWaitTest, AnAbandonedMutexIsAFailure)
{
    struct Abandon
    {
        static DWORD WINAPI Run(void* pv)
        {
            WaitForSingleObject(pv, INFINITE);
            return 0;
        }
    };
    const CHandle hMutex(CreateMutexW(nullptr, FALSE, nullptr));
    const CHandle hThread(CreateThread(nullptr, 0, &Abandon::Run, hMutex.Get(), 0, nullptr));
    ASSERT_EQ(WaitForSingleObject(hThread, 60000), WAIT_OBJECT_0);
    EXPECT_EQ(DSWaitWithMessageLoop(hMutex.Get(), 0, false), E_FAIL);
    ReleaseMutex(hMutex);
}

TEST_F(MessageWaitTest, MessagesAreDispatchedMeanwhile)
{
    std::vector<WPARAM> seen;
    s_onMessage = [&](WPARAM wParam)
    {
        seen.push_back(wParam);
        if (wParam == 3)
            m_ev.Set();
    };
    for (const WPARAM wParam : {1, 2, 3, 4})
        PostMessageW(m_hWnd, WM_TEST, wParam, 0);
    // The handle is looked at after each message: the fourth one stays in the queue.
    EXPECT_EQ(DSWaitWithMessageLoop(m_ev.Get(), INFINITE, false), 0);
    EXPECT_EQ(seen, (std::vector<WPARAM>{1, 2, 3}));
    EXPECT_EQ(Drain(), std::vector<UINT>{WM_TEST});
}

TEST_F(MessageWaitTest, AMessageOfAnotherThreadIsAnswered)
{
    struct Sender
    {
        HWND hWnd;
        CEvent* pev;
        LRESULT nResult;
        static DWORD WINAPI Run(void* pv)
        {
            auto* p = static_cast<Sender*>(pv);
            p->nResult = SendMessageW(p->hWnd, WM_TEST, 0, 0);
            p->pev->Set();
            return 0;
        }
    } sender = {m_hWnd, &m_ev, 0};
    const CHandle hThread(CreateThread(nullptr, 0, &Sender::Run, &sender, 0, nullptr));
    EXPECT_EQ(DSWaitWithMessageLoop(m_ev.Get(), 60000, false), 0);
    EXPECT_EQ(sender.nResult, 42);
    WaitForSingleObject(hThread, 60000);
}

TEST_F(MessageWaitTest, AFloodOfMessagesDoesNotPutTheTimeoutOff)
{
    s_onMessage = [&](WPARAM wParam) { PostMessageW(m_hWnd, WM_TEST, wParam + 1, 0); };
    PostMessageW(m_hWnd, WM_TEST, 0, 0);
    const DWORD dwStart = GetTickCount();
    EXPECT_EQ(DSWaitWithMessageLoop(m_ev.Get(), 100, false), 1);
    EXPECT_GE(GetTickCount() - dwStart, 90u);
    s_onMessage = nullptr;
}

TEST_F(MessageWaitTest, ATimeoutOfZeroHandlesOneMessage)
{
    int nSeen = 0;
    s_onMessage = [&](WPARAM) { nSeen++; };
    PostMessageW(m_hWnd, WM_TEST, 0, 0);
    PostMessageW(m_hWnd, WM_TEST, 0, 0);
    EXPECT_EQ(DSWaitWithMessageLoop(m_ev.Get(), 0, false), 1);
    EXPECT_EQ(nSeen, 1);
}

TEST_F(MessageWaitTest, AFloodWithoutATimeoutEndsWithTheHandle)
{
    s_onMessage = [&](WPARAM wParam)
    {
        PostMessageW(m_hWnd, WM_TEST, wParam + 1, 0);
        if (wParam == 1000)
            m_ev.Set();
    };
    PostMessageW(m_hWnd, WM_TEST, 0, 0);
    EXPECT_EQ(DSWaitWithMessageLoop(m_ev.Get(), INFINITE, true), 0);
}

TEST_F(MessageWaitTest, QuitEndsTheWaitAndIsReposted)
{
    PostQuitMessage(77);
    EXPECT_EQ(DSWaitWithMessageLoop(m_ev.Get(), INFINITE, true), 1);
    EXPECT_EQ(m_log.Texts(2), std::vector<std::string>{"### DSWaitWithMessageLoop(): WM_QUIT ###\n"});
    MSG msg = {};
    ASSERT_TRUE(PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(msg.message, UINT(WM_QUIT));
    EXPECT_EQ(msg.wParam, 77u);
}

TEST_F(MessageWaitTest, QuitIsAMessageLikeAnyWhenTheFlagIsOff)
{
    PostQuitMessage(77);
    EXPECT_EQ(DSWaitWithMessageLoop(m_ev.Get(), 50, false), 1);
    EXPECT_TRUE(m_log.Lines().empty());
    EXPECT_TRUE(Drain().empty());
}

TEST_F(MessageWaitTest, AThreadIsStoppedWhileItTalksToAWindow)
{
    struct Talker
    {
        CSimpleThread thread;
        HWND hWnd;
        LRESULT nResult = 0;
        static DWORD Run(void* pv)
        {
            auto* p = static_cast<Talker*>(pv);
            WaitForSingleObject(p->thread.m_hEvent, INFINITE);
            p->nResult = SendMessageW(p->hWnd, WM_TEST, 0, 0);
            return 0;
        }
    } talker;
    talker.hWnd = m_hWnd;
    ASSERT_EQ(talker.thread.InitThread(&talker, &Talker::Run, 0), S_OK);
    talker.thread.Stop(60000, false, true);
    EXPECT_EQ(talker.nResult, 42);
    EXPECT_TRUE(m_log.Texts(2).empty());
}

} // namespace
