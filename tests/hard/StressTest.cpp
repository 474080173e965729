/// Random hosts. The seed is printed, and can be given to have the same operations again.
///
/// QX_HARD_SEED: the first seed, else taken from the clock. QX_HARD_OPERATIONS: operations for each seed,
/// 20000 unless told. QX_HARD_SEEDS: seeds, one after the other, 1 unless told.

#include <atomic>
#include <cstdio>
#include <ctime>

#include "ProcessUsage.h"
#include "Stress.h"

namespace
{

constexpr int nThreads = 3;
constexpr long long nWarmUp = 1500; // operations in which the platform fills its caches

TEST(Stress, RandomHostsLeaveNothingBehind)
{
    const HardCom com;
    const LoadedModule module;
    const HardPictures pictures;
    Watchdog watchdog(nThreads);

    StressPlan plan;
    plan.nSeed =
        static_cast<uint64_t>(NumberFromEnvironment("QX_HARD_SEED", static_cast<long long>(time(nullptr))));
    plan.nThreads = nThreads;
    plan.fnCreate = [&] { return HardSource(module); };
    plan.nOperations = nWarmUp;
    std::printf("seed %llu\n", static_cast<unsigned long long>(plan.nSeed));
    std::fflush(stdout);
    RunStress(plan, pictures, watchdog);

    plan.nOperations = NumberFromEnvironment("QX_HARD_OPERATIONS", 20000);
    const long long nSeeds = NumberFromEnvironment("QX_HARD_SEEDS", 1);
    const Usage before = CurrentUsage();
    StressResult all;
    const DWORD dwStart = GetTickCount();
    for (long long i = 0; i < nSeeds; i++, plan.nSeed++)
    {
        SCOPED_TRACE("seed " + std::to_string(plan.nSeed));
        if (nSeeds > 1)
        {
            std::printf("seed %llu\n", static_cast<unsigned long long>(plan.nSeed));
            std::fflush(stdout);
        }
        const StressResult result = RunStress(plan, pictures, watchdog);
        EXPECT_EQ(result.arrOddities, std::vector<std::string>{});
        ASSERT_TRUE(WaitUntilUnloadable(module));
        EXPECT_EQ(FakeTypeEnum::s_nLiving, 0);
        all.nOperations += result.nOperations;
        all.nFilters += result.nFilters;
        all.nFrames += result.nFrames;
        if (nSeeds > 1)
            Tell(before, CurrentUsage());
    }
    const Usage after = CurrentUsage();
    std::printf("%lld operations on %lld filters, %lld frames, in %.1f s\n", all.nOperations, all.nFilters,
                all.nFrames, (GetTickCount() - dwStart) / 1000.0);
    Tell(before, after);
    EXPECT_EQ(all.nOperations, plan.nOperations * nSeeds);
    EXPECT_GT(all.nFrames, 0);
    EXPECT_GT(all.nFilters, all.nOperations / 200);

    // A handle, or a few bytes, for each filter would be above these.
    EXPECT_LE(after.handles, before.handles + 16);
    EXPECT_LE(after.heapBytes, before.heapBytes + 64 * 1024);
    EXPECT_LE(after.privateBytes, before.privateBytes + 8 * 1024 * 1024);
}

} // namespace
