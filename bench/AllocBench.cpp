// The filter's own allocator beside the platform's memory allocator, in one run: price of a buffer, and
// memory held over a burst. See README.md.
#include "dstl/dshowx/memory/GreedAllocator.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace
{
constexpr LONG cbMiB = 1024 * 1024;
constexpr int nRepetitions = 9; // of which the median counts

using Allocator = CComPtr<IMemAllocator>;

Allocator MakeOurs()
{
    Allocator spAlloc;
    CGreedMemoryAllocator::Create(&spAlloc);
    return spAlloc;
}

Allocator MakePlatforms()
{
    Allocator spAlloc;
    spAlloc.CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER);
    return spAlloc;
}

bool Commit(IMemAllocator* pAlloc, LONG nBuffers, LONG cbBuffer)
{
    ALLOCATOR_PROPERTIES rgRequest = {nBuffers, cbBuffer, 1, 0}, rgActual = {};
    return pAlloc != nullptr && pAlloc->SetProperties(&rgRequest, &rgActual) == S_OK &&
           pAlloc->Commit() == S_OK;
}

double Seconds()
{
    LARGE_INTEGER nNow, nFrequency;
    QueryPerformanceCounter(&nNow);
    QueryPerformanceFrequency(&nFrequency);
    return static_cast<double>(nNow.QuadPart) / static_cast<double>(nFrequency.QuadPart);
}

double Median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

/// One job: so many buffers in flight at once on each thread, taken and given back in turn.
struct Job
{
    std::string sName;
    int nThreads;
    LONG nInFlight; ///< on each thread
    LONG cbBuffer;
    bool bWrite; ///< each buffer is filled, as a frame would fill it
    int nRounds;
};

void Work(IMemAllocator* pAlloc, const Job& job)
{
    std::vector<CComPtr<IMediaSample>> samples(static_cast<size_t>(job.nInFlight));
    for (int n = 0; n < job.nRounds; ++n)
    {
        for (CComPtr<IMediaSample>& pSample : samples)
        {
            if (pAlloc->GetBuffer(&pSample, nullptr, nullptr, 0) != S_OK)
                std::abort();
            BYTE* pb = nullptr;
            if (job.bWrite && pSample->GetPointer(&pb) == S_OK)
                std::memset(pb, n, static_cast<size_t>(job.cbBuffer));
        }
        for (CComPtr<IMediaSample>& pSample : samples)
            pSample.Release();
    }
}

/// \return nanoseconds a buffer, over all threads
double Measure(IMemAllocator* pAlloc, const Job& job)
{
    const double dStart = Seconds();
    if (job.nThreads == 1)
        Work(pAlloc, job);
    else
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < job.nThreads; ++i)
            threads.emplace_back([&] { Work(pAlloc, job); });
        for (std::thread& thread : threads)
            thread.join();
    }
    return (Seconds() - dStart) * 1e9 / job.nRounds / job.nThreads / job.nInFlight;
}

int Compare()
{
    std::vector<Job> jobs = {{"one thread, 1 in flight, 1 MiB", 1, 1, cbMiB, false, 20000},
                             {"one thread, 1 in flight, 16 MiB", 1, 1, 16 * cbMiB, false, 20000},
                             {"4 threads, 1 in flight each, 1 MiB", 4, 1, cbMiB, false, 4000}};
    for (const LONG nInFlight : {2, 4})
    {
        for (const LONG nMiB : {1, 4, 16})
        {
            const std::string sName =
                "one thread, " + std::to_string(nInFlight) + " in flight, " + std::to_string(nMiB) + " MiB";
            jobs.push_back({sName, 1, nInFlight, nMiB * cbMiB, false, 500});
            jobs.push_back({sName + ", written", 1, nInFlight, nMiB * cbMiB, true, 32 / nMiB});
        }
    }
    std::printf("| job | ours, ns a buffer | platform's, ns a buffer | speed, ours to platform's "
                "|\n|---|---|---|---|\n");
    for (const Job& job : jobs)
    {
        const Allocator arrAllocs[] = {MakeOurs(), MakePlatforms()};
        std::vector<double> times[2];
        for (IMemAllocator* pAlloc : arrAllocs)
        {
            if (!Commit(pAlloc, job.nThreads * job.nInFlight, job.cbBuffer))
                return 1;
        }
        for (int n = 0; n <= nRepetitions; ++n)
        {
            for (int i = 0; i < 2; ++i)
            {
                const double dTime = Measure(arrAllocs[i], job);
                if (n > 0) // the first round warms up
                    times[i].push_back(dTime);
            }
        }
        const double dOurs = Median(times[0]), dPlatforms = Median(times[1]);
        std::printf("| %s | %.0f | %.0f | %.2f |\n", job.sName.c_str(), dOurs, dPlatforms,
                    dPlatforms / dOurs);
        std::fflush(stdout);
        for (IMemAllocator* pAlloc : arrAllocs)
            pAlloc->Decommit();
    }
    return 0;
}

/// Bytes in committed pages of this process that are no image and no mapping.
size_t CommittedBytes()
{
    size_t cb = 0;
    const BYTE* p = nullptr;
    MEMORY_BASIC_INFORMATION info = {};
    while (VirtualQuery(p, &info, sizeof(info)) != 0)
    {
        cb += info.State == MEM_COMMIT && info.Type == MEM_PRIVATE ? info.RegionSize : 0;
        const BYTE* const pNext = static_cast<const BYTE*>(info.BaseAddress) + info.RegionSize;
        if (pNext <= p)
            break;
        p = pNext;
    }
    return cb;
}

/// Two bursts, and what an allocator holds after each step: "step,in flight,ours MiB,platform's MiB".
int Curve()
{
    constexpr LONG nBuffers = 100, cbFrame = 16 * cbMiB;
    // Frames in flight to be reached one after the other.
    constexpr int arrTargets[] = {1, 0, 1, 0, 1, 12, 1, 0, 1, 0, 30, 5, 8, 0, 1, 0};
    std::vector<size_t> curves[2];
    std::vector<int> inFlight;
    const std::function<Allocator()> makers[] = {MakeOurs, MakePlatforms};
    for (int i = 0; i < 2; ++i)
    {
        const Allocator spAlloc = makers[i]();
        std::vector<CComPtr<IMediaSample>> samples;
        samples.reserve(nBuffers);
        const size_t cbBefore = CommittedBytes();
        const auto note = [&]
        {
            const size_t cbNow = CommittedBytes();
            curves[i].push_back(cbNow > cbBefore ? (cbNow - cbBefore) / cbMiB : 0);
            if (i == 0)
                inFlight.push_back(static_cast<int>(samples.size()));
        };
        note();
        if (!Commit(spAlloc, nBuffers, cbFrame))
            return 1;
        note();
        for (const int nTarget : arrTargets)
        {
            while (static_cast<int>(samples.size()) != nTarget)
            {
                if (static_cast<int>(samples.size()) > nTarget)
                    samples.erase(samples.begin()); // the oldest comes home first
                else
                {
                    CComPtr<IMediaSample> spSample;
                    if (spAlloc->GetBuffer(&spSample, nullptr, nullptr, AM_GBF_NOWAIT) != S_OK)
                        return 1;
                    samples.push_back(spSample);
                }
                note();
            }
        }
        spAlloc->Decommit();
        note();
    }
    std::printf("step,in flight,ours MiB,platform's MiB\n");
    for (size_t i = 0; i < inFlight.size(); ++i)
        std::printf("%u,%d,%u,%u\n", static_cast<unsigned>(i), inFlight[i],
                    static_cast<unsigned>(curves[0][i]), static_cast<unsigned>(curves[1][i]));
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const int nResult = argc > 1 && std::strcmp(argv[1], "curve") == 0 ? Curve() : Compare();
    CoUninitialize();
    return nResult;
}
