#pragma once
/// Makes calls of the platform fail. The program is linked so that these calls pass through FailingCalls.cpp.

#include "dstl/WinAPI/Platform.h"

/// A call that can fail: once, on the thread that asked for it.
struct FailableCall
{
    DWORD dwThreadId; ///< 0 when the call works as ever
    DWORD dwError;    ///< the last error of the failure

    bool IsToFail()
    {
        if (dwThreadId != GetCurrentThreadId())
            return false;
        dwThreadId = 0;
        SetLastError(dwError);
        return true;
    }
};

extern FailableCall g_callBeginThread;
extern FailableCall g_callCreateEvent;
extern FailableCall g_callResumeThread; ///< the thread runs, but the call answers 2

/// The next call on this thread fails.
class FailingCall
{
public:
    FailingCall(FailableCall& call, DWORD dwError) : m_call(call)
    {
        m_call = {GetCurrentThreadId(), dwError};
    }
    ~FailingCall() { m_call = {}; }
    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;

private:
    FailableCall& m_call;
};
