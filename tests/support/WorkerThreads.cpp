#include "support/WorkerThreads.h"

#include "dstl/WinAPI/Platform.h"

#include <mutex>
#include <vector>

namespace
{

/// The worker threads that have written their first line.
class WorkerThreads
{
public:
    static WorkerThreads& Get()
    {
        static WorkerThreads& threads = *new WorkerThreads; // as a thread may write while the process ends
        return threads;
    }
    /// Called on the thread itself.
    void AddCurrent()
    {
        const HANDLE hThread = OpenThread(SYNCHRONIZE, FALSE, GetCurrentThreadId());
        const std::lock_guard<std::mutex> guard(m_lock);
        RemoveEnded();
        if (hThread != nullptr)
            m_threads.push_back(hThread);
    }
    bool WaitForAll(int nMilliseconds)
    {
        // Not under the lock, as one of them may start another.
        while (const HANDLE hThread = First())
        {
            const DWORD dwRet = WaitForSingleObject(hThread, static_cast<DWORD>(nMilliseconds));
            CloseHandle(hThread);
            if (dwRet != WAIT_OBJECT_0)
                return false;
        }
        return true;
    }

private:
    /// A handle of its own to a thread that is still running; null when there is none.
    HANDLE First()
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        RemoveEnded();
        HANDLE hThread = nullptr;
        if (!m_threads.empty())
            DuplicateHandle(GetCurrentProcess(), m_threads.front(), GetCurrentProcess(), &hThread, 0, FALSE,
                            DUPLICATE_SAME_ACCESS);
        return hThread;
    }
    void RemoveEnded()
    {
        std::erase_if(m_threads,
                      [](HANDLE hThread)
                      {
                          const bool bEnded = WaitForSingleObject(hThread, 0) == WAIT_OBJECT_0;
                          if (bEnded)
                              CloseHandle(hThread);
                          return bEnded;
                      });
    }

    std::mutex m_lock;
    std::vector<HANDLE> m_threads;
};

} // namespace

void AddCurrentWorker()
{
    WorkerThreads::Get().AddCurrent();
}

bool WaitForWorkers(int nMilliseconds)
{
    return WorkerThreads::Get().WaitForAll(nMilliseconds);
}
