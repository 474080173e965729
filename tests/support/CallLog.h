#pragma once
/// The calls that fakes have received, in order and across threads; and a limit in time for what may hang.

#include "dstl/WinAPI/Platform.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// Generous: a test that runs into it has failed.
inline constexpr int nTestLimitMs = 30000;

/// Order of calls of one or several fakes.
class CallLog
{
public:
    void Add(const std::string& sCall)
    {
        const std::lock_guard lock(m_lock);
        m_calls.push_back(sCall);
        m_changed.notify_all();
    }
    std::vector<std::string> Calls() const
    {
        const std::lock_guard lock(m_lock);
        return m_calls;
    }
    int Count(const std::string& sCall) const
    {
        const std::lock_guard lock(m_lock);
        return CountLocked(sCall);
    }
    /// Waits until the call has come nCount times in all. \return false when the time is over
    bool WaitFor(const std::string& sCall, int nCount = 1, int nMilliseconds = nTestLimitMs) const
    {
        std::unique_lock lock(m_lock);
        return m_changed.wait_for(lock, std::chrono::milliseconds(nMilliseconds),
                                  [&] { return CountLocked(sCall) >= nCount; });
    }
    void Clear()
    {
        const std::lock_guard lock(m_lock);
        m_calls.clear();
    }

private:
    int CountLocked(const std::string& sCall) const
    {
        int nCount = 0;
        for (const std::string& s : m_calls)
            nCount += s == sCall;
        return nCount;
    }

    mutable std::mutex m_lock;
    mutable std::condition_variable m_changed;
    std::vector<std::string> m_calls;
};

/// A door that holds callers up while it is closed.
class TestGate
{
public:
    void Close()
    {
        const std::lock_guard lock(m_lock);
        m_bOpen = false;
    }
    void Open()
    {
        const std::lock_guard lock(m_lock);
        m_bOpen = true;
        m_changed.notify_all();
    }
    /// \return false when the gate stayed closed for the whole limit
    bool Pass(int nMilliseconds = nTestLimitMs)
    {
        std::unique_lock lock(m_lock);
        ++m_nWaiting;
        m_changed.notify_all();
        const bool bOpen =
            m_changed.wait_for(lock, std::chrono::milliseconds(nMilliseconds), [&] { return m_bOpen; });
        --m_nWaiting;
        return bOpen;
    }
    /// Waits until somebody stands before the closed gate.
    bool WaitForWaiting(int nMilliseconds = nTestLimitMs)
    {
        std::unique_lock lock(m_lock);
        return m_changed.wait_for(lock, std::chrono::milliseconds(nMilliseconds),
                                  [&] { return !m_bOpen && m_nWaiting > 0; });
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_bOpen = true;
    int m_nWaiting = 0;
};

/// Runs a step on a thread of its own. \return whether it ended within the limit; a step that hangs is left
/// behind
inline bool EndsInTime(std::function<void()> fn, int nMilliseconds = nTestLimitMs)
{
    // A plain thread: under Wine a detached std::thread now and then never begins.
    auto pFn = std::make_unique<std::function<void()>>(std::move(fn));
    const HANDLE hThread = CreateThread(
        nullptr, 0,
        [](void* p) -> DWORD
        {
            const std::unique_ptr<std::function<void()>> pFn(static_cast<std::function<void()>*>(p));
            (*pFn)();
            return 0;
        },
        pFn.get(), 0, nullptr);
    if (hThread == NULL)
        return false;
    pFn.release(); // the thread's from here on
    const bool bEnded = WaitForSingleObject(hThread, static_cast<DWORD>(nMilliseconds)) == WAIT_OBJECT_0;
    CloseHandle(hThread);
    return bEnded;
}
