// The stack of a thread: this one, one that waits, one of an exception, a damaged one.
#include "dstl/WinAPI/CallStack.h"
#include "dstl/dshowx/DSTrace.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace
{

std::string Head(const void* pep, const void* hThread, int nFast, int nContinue)
{
    char sz[200];
    snprintf(sz, sizeof(sz),
             "###Err### _LogDumpCallStack( pep=%08X, hThread=%08X, bFast=%i, dwContinue=%i )\n",
             TracePtr(pep), TracePtr(hThread), nFast, nContinue);
    return sz;
}

/// The frames of a report, which begins with its head; each has its number and an address.
std::vector<std::string> Frames(const LogCapture& log, const std::string& sHead)
{
    std::vector<std::string> texts = log.Texts(eTL_Error);
    EXPECT_EQ(log.Lines().size(), texts.size());
    EXPECT_FALSE(texts.empty());
    if (texts.empty())
        return texts;
    EXPECT_EQ(texts.front(), sHead);
    texts.erase(texts.begin());
    for (size_t i = 0; i < texts.size(); i++)
    {
        char sz[16];
        snprintf(sz, sizeof(sz), "  #%02i 0x", static_cast<int>(i));
        EXPECT_EQ(texts[i].rfind(sz, 0), 0u) << texts[i];
        EXPECT_EQ(texts[i].back(), '\n');
    }
    return texts;
}

bool Names(const std::vector<std::string>& frames, const char* pszModule)
{
    for (const std::string& sFrame : frames)
    {
        if (sFrame.find(std::string(" ") + pszModule + "+0x") != std::string::npos)
            return true;
    }
    return false;
}

__attribute__((noinline)) int Deep(int nLevel, BOOL bFast)
{
    if (nLevel == 0)
        return static_cast<int>(_LogDumpCallStack(nullptr, GetCurrentThread(), bFast, 7));
    const volatile int nResult = Deep(nLevel - 1, bFast); // no tail call
    return nResult;
}

TEST(CallStack, TheCallersOwn)
{
    LogCapture log;
    EXPECT_EQ(_LogDumpCallStack(nullptr, nullptr, FALSE, 1), 1u);
    const std::vector<std::string> frames = Frames(log, Head(nullptr, nullptr, 0, 1));
    EXPECT_GT(frames.size(), 3u);
    EXPECT_TRUE(Names(frames, "callstack_test.exe"));
    EXPECT_NE(frames[0].find(" callstack_test.exe+0x"), std::string::npos);
}

TEST(CallStack, AtMostSoManyFrames)
{
    LogCapture log;
    EXPECT_EQ(Deep(200, FALSE), 7);
    EXPECT_EQ(Frames(log, Head(nullptr, GetCurrentThread(), 0, 7)).size(), 62u);
    log.Clear();
    EXPECT_EQ(Deep(200, TRUE), 7);
    EXPECT_EQ(Frames(log, Head(nullptr, GetCurrentThread(), 1, 7)).size(), 12u);
}

TEST(CallStack, OfAThreadThatWaits)
{
    const HANDLE hReady = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE hEnd = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE hThread = nullptr;
    std::thread thread(
        [&]
        {
            DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &hThread, 0, FALSE,
                            DUPLICATE_SAME_ACCESS);
            SetEvent(hReady);
            WaitForSingleObject(hEnd, INFINITE);
        });
    ASSERT_EQ(WaitForSingleObject(hReady, 30000), WAIT_OBJECT_0);
    for (int i = 0; i < 50; i++)
    {
        LogCapture log;
        EXPECT_EQ(_LogDumpCallStack(nullptr, hThread, FALSE, 3), 3u);
        EXPECT_FALSE(Frames(log, Head(nullptr, hThread, 0, 3)).empty());
    }
    SetEvent(hEnd);
    thread.join();
    CloseHandle(hThread);
    CloseHandle(hEnd);
    CloseHandle(hReady);
}

TEST(CallStack, OfAThreadThatIsNone)
{
    LogCapture log;
    const HANDLE hNone = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    EXPECT_EQ(_LogDumpCallStack(nullptr, hNone, FALSE, 0), 0u);
    EXPECT_TRUE(Frames(log, Head(nullptr, hNone, 0, 0)).empty());
    CloseHandle(hNone);
}

TEST(CallStack, OfAnException)
{
    CONTEXT context;
    RtlCaptureContext(&context);
    EXCEPTION_RECORD record = {};
    EXCEPTION_POINTERS pointers = {&record, &context};
    const CONTEXT before = context;
    LogCapture log;
    EXPECT_EQ(_LogDumpCallStack(&pointers, GetCurrentThread(), FALSE, 1), 1u);
    EXPECT_TRUE(Names(Frames(log, Head(&pointers, GetCurrentThread(), 0, 1)), "callstack_test.exe"));
    EXPECT_EQ(context.Rip, before.Rip);
    EXPECT_EQ(context.Rsp, before.Rsp);
}

TEST(CallStack, ADamagedStackEndsTheWalk)
{
    CONTEXT context;
    RtlCaptureContext(&context);
    EXCEPTION_RECORD record = {};
    EXCEPTION_POINTERS pointers = {&record, &context};
    for (const DWORD64 nStack : {DWORD64(0), DWORD64(16), ~DWORD64(7), DWORD64(0x123456789ABCDEF0)})
    {
        context.Rsp = nStack; // of a function that is known
        LogCapture log;
        EXPECT_EQ(_LogDumpCallStack(&pointers, nullptr, FALSE, 1), 1u);
        EXPECT_GE(Frames(log, Head(&pointers, nullptr, 0, 1)).size(), 1u);
    }
    // A jump into nowhere: no unwind information, and no stack.
    context.Rip = 0x10;
    context.Rsp = 0x20;
    LogCapture log;
    EXPECT_EQ(_LogDumpCallStack(&pointers, nullptr, FALSE, 1), 1u);
    EXPECT_EQ(Frames(log, Head(&pointers, nullptr, 0, 1)),
              std::vector<std::string>{"  #00 0x0000000000000010\n"});
    // And none at all.
    context.Rip = 0;
    log.Clear();
    EXPECT_EQ(_LogDumpCallStack(&pointers, nullptr, FALSE, 1), 1u);
    EXPECT_TRUE(Frames(log, Head(&pointers, nullptr, 0, 1)).empty());
}

} // namespace
