// The allocator under threads: producers, consumers and a controller who never agree on anything.
#include "memory/AllocatorUnderTest.h"
#include "support/Watchdog.h"

#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <random>
#include <thread>

namespace
{
constexpr int nProducers = 4, nConsumers = 3;
constexpr DWORD nDefaultSeconds = 30;
constexpr unsigned nQuietEvery = 150; ///< steps of the controller

/// What a holder writes into its buffer: at the first and the last bytes, and on a page between.
struct Name
{
    unsigned nProducer;
    unsigned nNumber;
    bool operator==(const Name&) const = default;
};

std::vector<BYTE*> Places(IMediaSample* pSample)
{
    BYTE* pb = nullptr;
    EXPECT_EQ(pSample->GetPointer(&pb), S_OK);
    const LONG cb = pSample->GetSize();
    return {pb, pb + (cb - static_cast<LONG>(sizeof(Name))) / 2, pb + cb - sizeof(Name)};
}

/// A sample on its way from a producer to a consumer.
struct Parcel
{
    CComPtr<IMediaSample> spSample;
    Name name;
};

class Queue
{
public:
    void Put(Parcel parcel)
    {
        const std::lock_guard lock(m_lock);
        m_parcels.push_back(std::move(parcel));
        m_changed.notify_one();
    }
    /// \param n picks one of those that are there \return false at the end, when none is left
    bool Take(unsigned n, Parcel& parcel)
    {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [&] { return m_bEnd || !m_parcels.empty(); });
        if (m_parcels.empty())
            return false;
        const auto it = m_parcels.begin() + static_cast<ptrdiff_t>(n % m_parcels.size());
        parcel = std::move(*it);
        m_parcels.erase(it);
        return true;
    }
    void End()
    {
        const std::lock_guard lock(m_lock);
        m_bEnd = true;
        m_changed.notify_all();
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<Parcel> m_parcels;
    bool m_bEnd = false;
};

class StressTest : public AllocatorFixture
{
protected:
    bool IsOver() const { return GetTickCount64() >= m_nEnd; }

    /// Some work between two steps, of any length.
    static void Dawdle(std::mt19937& random)
    {
        const unsigned n = random() % 100;
        if (n < 5)
            Sleep(n % 3);
        else if (n < 30)
            SwitchToThread();
    }

    void Produce(unsigned nProducer)
    {
        std::mt19937 random(nProducer);
        const size_t nLane = nProducer;
        for (unsigned n = 1; !m_bStop; ++n)
        {
            const bool bWait = random() % 2 != 0;
            CComPtr<IMediaSample> spSample;
            m_watchdog.Step(n, bWait ? "GetBuffer, waiting" : "GetBuffer, not waiting", nLane);
            const HRESULT hr = Get(spSample, bWait ? 0 : AM_GBF_NOWAIT);
            m_watchdog.Step(n, "producer's work", nLane);
            if (hr == S_OK)
            {
                ++m_nGot;
                Parcel parcel = {std::move(spSample), {nProducer, n}};
                for (BYTE* pb : Places(parcel.spSample))
                    std::memcpy(pb, &parcel.name, sizeof(Name));
                m_queue.Put(std::move(parcel));
            }
            else
            {
                m_nBusy += hr == VFW_E_TIMEOUT;
                m_nNotCommitted += hr == VFW_E_NOT_COMMITTED;
                m_nStrange += hr != VFW_E_TIMEOUT && hr != VFW_E_NOT_COMMITTED;
                SwitchToThread();
            }
            Dawdle(random);
        }
        m_watchdog.Step(0, nullptr, nLane);
    }

    void Consume(unsigned nConsumer)
    {
        std::mt19937 random(100 + nConsumer);
        const size_t nLane = nProducers + nConsumer;
        Parcel parcel;
        for (unsigned n = 1;; ++n)
        {
            m_watchdog.Step(n, nullptr, nLane); // here it may wait for long
            if (!m_queue.Take(random(), parcel))
                break;
            m_watchdog.Step(n, "consumer's work", nLane);
            Dawdle(random);
            for (BYTE* pb : Places(parcel.spSample))
                m_nDamaged += std::memcmp(pb, &parcel.name, sizeof(Name)) != 0;
            m_watchdog.Step(n, "Release of a sample", nLane);
            parcel.spSample.Release();
            ++m_nReleased;
        }
    }

    /// Leaves a committed allocator alone until the producers have come forward by themselves: no commit or
    /// decommit helps out whom a return has failed to wake.
    void KeepQuiet(unsigned n, size_t nLane)
    {
        constexpr long nBuffers = 300;
        m_watchdog.Step(n, "Commit", nLane);
        m_nStrange += Alloc().Commit() != S_OK;
        m_watchdog.Step(n, "waiting for the producers", nLane);
        const long nUntil = m_nGot + nBuffers;
        while (m_nGot < nUntil)
            Sleep(1);
        ++m_nQuiet;
    }

    void Control()
    {
        std::mt19937 random(1000);
        constexpr size_t nLane = nProducers + nConsumers;
        for (unsigned n = 1; !IsOver(); ++n)
        {
            HRESULT hr = S_OK;
            ALLOCATOR_PROPERTIES rg = {static_cast<LONG>(random() % 6 + 1),
                                       static_cast<LONG>(random() % 200000 + 24), LONG{1} << random() % 8,
                                       static_cast<LONG>(random() % 3 * 4)};
            switch (random() % 4)
            {
            case 0:
                m_watchdog.Step(n, "Decommit", nLane);
                hr = Alloc().Decommit();
                m_nStrange += hr != S_OK;
                break;
            case 1:
                m_watchdog.Step(n, "SetProperties", nLane);
                hr = Alloc().SetProperties(&rg, &rg);
                m_nSet += hr == S_OK;
                m_nStrange += hr != S_OK && hr != VFW_E_ALREADY_COMMITTED && hr != VFW_E_BUFFERS_OUTSTANDING;
                break;
            default:
                m_watchdog.Step(n, "Commit", nLane);
                hr = Alloc().Commit();
                ++m_nCommits;
                m_nStrange += hr != S_OK;
                break;
            }
            if (random() % nQuietEvery == 0)
                KeepQuiet(n, nLane);
            m_watchdog.Step(n, "controller's work", nLane);
            if (random() % 3 == 0)
                Sleep(random() % 4);
        }
        m_bStop = true;
        m_watchdog.Step(0, "last Decommit", nLane);
        EXPECT_EQ(Alloc().Decommit(), S_OK); // wakes whoever waits
        m_watchdog.Step(0, nullptr, nLane);
    }

    static DWORD Seconds()
    {
        const char* const psz = std::getenv("QX_STRESS_SECONDS");
        return psz != nullptr ? static_cast<DWORD>(std::strtoul(psz, nullptr, 10)) : nDefaultSeconds;
    }

    const ULONGLONG m_nEnd = GetTickCount64() + Seconds() * 1000ull;
    std::atomic<bool> m_bStop = false;
    std::atomic<long> m_nGot = 0, m_nReleased = 0, m_nBusy = 0, m_nNotCommitted = 0, m_nDamaged = 0,
                      m_nStrange = 0, m_nCommits = 0, m_nSet = 0, m_nQuiet = 0;
    Queue m_queue;
    Watchdog m_watchdog{nProducers + nConsumers + 1};
};

/// For 30 seconds; QX_STRESS_SECONDS asks for another time.
TEST_F(StressTest, NothingIsLostOrHandedOutTwice)
{
    CommitWith({3, 100000, 1, 0});
    std::vector<std::thread> producers, consumers;
    for (unsigned i = 0; i < nConsumers; ++i)
        consumers.emplace_back([this, i] { Consume(i); });
    for (unsigned i = 0; i < nProducers; ++i)
        producers.emplace_back([this, i] { Produce(i); });
    Control();
    for (std::thread& thread : producers)
        thread.join();
    m_queue.End();
    for (std::thread& thread : consumers)
        thread.join();

    std::printf("%ld buffers, busy %ld times, not committed %ld times, %ld commits, properties set %ld "
                "times, quiet %ld times\n",
                m_nGot.load(), m_nBusy.load(), m_nNotCommitted.load(), m_nCommits.load(), m_nSet.load(),
                m_nQuiet.load());
    EXPECT_EQ(m_nDamaged, 0) << "two holders of one buffer";
    EXPECT_EQ(m_nStrange, 0) << "results that no state gives";
    EXPECT_EQ(m_nReleased, m_nGot);
    EXPECT_EQ(State(), AS_Prop);
    EXPECT_EQ(Refs(), 1);
    EXPECT_LE(GetHeldPages().nBlocks, 1);
    EXPECT_EQ(m_asserts.Texts(), Lines{});
    for (const auto* pCount : {&m_nGot, &m_nBusy, &m_nNotCommitted, &m_nCommits, &m_nSet, &m_nQuiet})
        EXPECT_GT(*pCount, 0) << "nothing was tested";
}
} // namespace
