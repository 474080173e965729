#pragma once
/// What the benchmarks share. A benchmark is named "job/WIDTHxHEIGHT/contestant"; the closing table compares
/// the contestants of a job and a size.

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

/// The contestants of ours: everything else is a peer.
inline constexpr const char* pszOurs = "ours";
inline constexpr const char* pszOursSse41 = "ours_sse41";

/// Registers one contestant. \param nPixels of the larger side, for the throughput
inline void Register(const std::string& sJob, int nWidth, int nHeight, const std::string& sContestant,
                     std::function<void()> work)
{
    const std::string sName =
        sJob + "/" + std::to_string(nWidth) + "x" + std::to_string(nHeight) + "/" + sContestant;
    const double dblPixels = static_cast<double>(nWidth) * nHeight;
    benchmark::RegisterBenchmark(sName.c_str(),
                                 [work, dblPixels](benchmark::State& state)
                                 {
                                     for (auto _ : state)
                                     {
                                         work();
                                         benchmark::ClobberMemory();
                                     }
                                     state.counters["pixels"] = benchmark::Counter(
                                         dblPixels, benchmark::Counter::kIsIterationInvariantRate);
                                 });
}

/// Each subject registers its jobs.
void RegisterConvert();
void RegisterResize();
void RegisterComposition();
