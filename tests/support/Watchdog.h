#pragma once
/// Ends the program when a step takes longer than the limit, and says which one.

#include "dstl/WinAPI/Platform.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>

class Watchdog
{
public:
    /// \param nLanes threads that tell their steps \param dwLimit milliseconds a step may take; it may take
    /// twice as long until it is noticed
    explicit Watchdog(size_t nLanes = 1, DWORD dwLimit = 30000)
        : m_nLanes(nLanes), m_dwLimit(dwLimit), m_lanes(std::make_unique<Lane[]>(nLanes)),
          m_thread([this] { Watch(); })
    {
    }
    ~Watchdog()
    {
        SetEvent(m_hEnd);
        m_thread.join();
        CloseHandle(m_hEnd);
    }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /// A step begins. \param pszName lives for ever; null: the lane has no more steps to be watched
    void Step(long long nRound, const char* pszName, size_t nLane = 0)
    {
        Lane& lane = m_lanes[nLane];
        lane.nRound = nRound;
        lane.pszName = pszName;
        ++lane.nSteps;
    }

private:
    struct Lane
    {
        std::atomic<long long> nRound = 0, nSteps = 0;
        std::atomic<const char*> pszName = nullptr;
        long long nBefore = -1; ///< the watching thread's
    };

    void Watch()
    {
        while (WaitForSingleObject(m_hEnd, m_dwLimit) == WAIT_TIMEOUT)
        {
            for (size_t i = 0; i < m_nLanes; ++i)
            {
                Lane& lane = m_lanes[i];
                const long long nNow = lane.nSteps;
                const char* const pszName = lane.pszName;
                if (nNow == lane.nBefore && pszName != nullptr)
                {
                    std::fprintf(stderr, "round %lld of lane %u hangs in the step \"%s\"\n",
                                 lane.nRound.load(), static_cast<unsigned>(i), pszName);
                    std::fflush(stderr);
                    TerminateProcess(GetCurrentProcess(), 3);
                }
                lane.nBefore = nNow;
            }
        }
    }

    const size_t m_nLanes;
    const DWORD m_dwLimit;
    const HANDLE m_hEnd = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const std::unique_ptr<Lane[]> m_lanes;
    std::thread m_thread; // last: it begins when the rest is there
};
