#pragma once
/// Random operations of several host threads on a filter between a slow, a fast and a failing downstream pin.

#include "HardSupport.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "GraphSupport.h"
#include "support/FakeGraph.h"
#include "support/Watchdog.h"

/// A small generator whose numbers are the same everywhere.
class HardRandom
{
public:
    explicit HardRandom(uint64_t nSeed) : m_engine(nSeed) {}
    /// 0 to nCount - 1.
    int Below(int nCount) { return static_cast<int>(m_engine() % static_cast<uint64_t>(nCount)); }
    bool OneIn(int nCount) { return Below(nCount) == 0; }

private:
    std::mt19937_64 m_engine;
};

/// Picture files of several kinds, and bitmaps.
class HardPictures
{
public:
    HardPictures();
    /// Something that SetPicture takes, or refuses.
    const std::wstring& AnyName(HardRandom& random) const
    {
        return m_names[static_cast<size_t>(random.Below(static_cast<int>(m_names.size())))];
    }
    const std::vector<std::wstring>& Names() const { return m_names; }
    /// Something that SetPictureHandle takes, or refuses.
    int AnyHandle(HardRandom& random) const;

private:
    const TempFolder m_folder;
    std::vector<std::wstring> m_names;
    std::vector<std::unique_ptr<HardBitmap>> m_bitmaps;
};

/// What a run does and where.
struct StressPlan
{
    uint64_t nSeed = 1;
    long long nOperations = 20000;
    int nThreads = 3;
    std::function<HardSource()> fnCreate; ///< a new filter; one without a pin is a failure of memory
    /// Results that are none of the usual ones end the run as a failure, unless calls are made to fail.
    bool bFaults = false;
};

/// What came of it.
struct StressResult
{
    long long nOperations = 0;
    long long nFilters = 0;
    long long nFrames = 0;
    std::vector<std::string> arrOddities; ///< results that no operation may have
};

/// Runs a plan. A step that hangs ends the program with its name.
StressResult RunStress(const StressPlan& plan, const HardPictures& pictures, Watchdog& watchdog);
