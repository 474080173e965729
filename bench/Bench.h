#pragma once
/// What the benchmarks share. A benchmark is named "job/WIDTHxHEIGHT/contestant"; the closing table compares
/// the contestants of a job and a size, in the order of their registration.

#include <functional>
#include <string>

/// The contestants of ours: everything else is a peer.
inline constexpr const char* pszOurs = "ours";
inline constexpr const char* pszOursSse41 = "ours_sse41";

/// What the SSE4.1 forms of every kernel reach of the AVX2 ones.
inline constexpr double dblSseTarget = 0.45;

/// Ratios of our throughput to that of the fastest peer.
struct Target
{
    double dblFirst; ///< to be reached; a row below it is listed as missed
    double dblAfter; ///< what the work aims at
};

/// Registers one contestant.
/// \param nWidth, nHeight of the larger side, for the throughput
/// \param prepare runs before the clock does
void Register(const std::string& sJob, int nWidth, int nHeight, const std::string& sContestant,
              std::function<void()> work, std::function<void()> prepare = {});

/// Sets the target of a row; one without is only shown.
void Expect(const std::string& sJob, int nWidth, int nHeight, Target target);

/// Each subject registers its jobs.
void RegisterConvert();
void RegisterFill();
void RegisterMix();
void RegisterResize();
void RegisterComposition();
#ifdef QX_BENCH_READERS
void RegisterReaders();
void RegisterLargePicture();
#endif
