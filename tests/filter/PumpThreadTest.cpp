// The worker by itself: which wakes run a step.
#include "PumpThread.h"

#include <gtest/gtest.h>

#include <atomic>

namespace
{

/// Runs steps until their number is reached, and then sleeps.
class Worker
{
public:
    explicit Worker(int nSteps, int nWakes) : m_nSteps(nSteps), m_nWakes(nWakes)
    {
        EXPECT_TRUE(m_evAsleep.Create(false));
        EXPECT_EQ(m_pump.Init(this, &Thread), S_OK);
    }
    ~Worker() { m_pump.End(); }

    void Start() { m_pump.Start(); }
    /// Steps run once the last one has returned and the worker has rested.
    int StepsOfARun()
    {
        WaitForSingleObject(m_evAsleep, INFINITE);
        SwitchToThread(); // a step too many may begin now
        m_pump.Stop(true);
        return m_nDone;
    }

private:
    static DWORD WINAPI Thread(void* pv) noexcept
    {
        static_cast<Worker*>(pv)->m_pump.Loop(pv, &Step);
        return 0;
    }
    static DWORD Step(void* pv) noexcept
    {
        Worker& worker = *static_cast<Worker*>(pv);
        const int nDone = ++worker.m_nDone;
        if (nDone == 2)
        {
            for (int i = 0; i < worker.m_nWakes; i++)
                worker.m_pump.Wake();
        }
        if (nDone < worker.m_nSteps)
            return 0;
        worker.m_evAsleep.Set();
        return INFINITE;
    }

    const int m_nSteps;
    const int m_nWakes;
    std::atomic<int> m_nDone = 0;
    CEvent m_evAsleep;
    CPumpThread m_pump;
};

TEST(PumpThread, AWakeBetweenTwoStepsRunsNoneOfItsOwn)
{
    for (int nRun = 0; nRun < 100; nRun++)
    {
        for (const int nWakes : {0, 1, 3})
        {
            Worker worker(5, nWakes);
            worker.Start();
            ASSERT_EQ(worker.StepsOfARun(), 5) << nWakes << " wakes, run " << nRun;
        }
    }
}

} // namespace
