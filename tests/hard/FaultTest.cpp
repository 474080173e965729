/// Memory, events, semaphores and threads that are not to be had, at every moment of a filter's life and at
/// random under several hosts: results are failures, nothing hangs, nothing stays behind.
///
/// QX_HARD_SEED and QX_HARD_OPERATIONS as for the random hosts; the default is 5000 operations.

#include "HardFaults.h"

#include "CoQXStillSource.h"

#include <cstdio>
#include <ctime>

#include "ProcessUsage.h"
#include "Stress.h"
#include "support/LogCapture.h"

namespace
{

/// A filter of this program, in which the faults are.
HardSource MakeSource()
{
    HardSource source;
    CComObject<CCoQXStillSource>* pFilter = nullptr;
    if (FAILED(CComObject<CCoQXStillSource>::CreateInstance(&pFilter)))
        return source;
    source.spFilter = static_cast<IBaseFilter*>(pFilter);
    source.spControl = static_cast<IQXStillSource*>(pFilter);
    source.spPin = static_cast<IPin*>(pFilter->OutPin());
    return source;
}

/// Bytes in blocks of all heaps.
size_t HeapBytes()
{
    HANDLE arrHeaps[64] = {};
    const DWORD nHeaps = GetProcessHeaps(64, arrHeaps);
    size_t cb = 0;
    for (DWORD i = 0; i < nHeaps && i < 64; i++)
    {
        HeapLock(arrHeaps[i]);
        PROCESS_HEAP_ENTRY entry{};
        while (HeapWalk(arrHeaps[i], &entry))
            cb += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
        HeapUnlock(arrHeaps[i]);
    }
    return cb;
}

bool NoObjectLives()
{
    for (int i = 0; i < nTestLimitMs && _Module.GetLockCount() != 0; i++)
        Sleep(1);
    return _Module.GetLockCount() == 0;
}

constexpr const char* arrKindNames[] = {"heap", "task memory", "pages", "event", "semaphore", "thread"};
static_assert(std::size(arrKindNames) == eFT_Count);

/// A short life: creation, pictures, connection, some frames, stop, end. Results are failures or successes.
/// \param pPictures all of them are set, one after the other, or null for none
void LiveOnce(std::vector<HRESULT>& results, const HardPictures* pPictures)
{
    HardPin pin;
    const HardBitmap bitmap(16, 8, 32, 9);
    HardSource source = MakeSource();
    if (!source.spPin)
    {
        results.push_back(E_OUTOFMEMORY);
        return;
    }
    if (pPictures != nullptr)
    {
        for (const std::wstring& sName : pPictures->Names())
            source.SetPicture(sName);
    }
    const CComBSTR bsPicture(L"red|blue|bars");
    const CComBSTR bsFormat(L"RGB32");
    results.push_back(source.spControl->SetPicture(bsPicture));
    results.push_back(source.spControl->SetPictureHandle(bitmap.Handle()));
    results.push_back(source.spControl->SetOutputFormat(bsFormat, 16, 8));
    LPOLESTR psz = nullptr;
    CComPtr<IFileSourceFilter> spFile;
    if (SUCCEEDED(source.spFilter->QueryInterface(IID_IFileSourceFilter, reinterpret_cast<void**>(&spFile))))
        results.push_back(spFile->GetCurFile(&psz, nullptr));
    CoTaskMemFree(psz);
    results.push_back(source.spPin->Connect(&pin, nullptr));
    results.push_back(source.spFilter->Run(0));
    results.push_back(source.spFilter->Stop());
    results.push_back(source.spPin->Disconnect());
    source.Release();
    EXPECT_EQ(pin.Refs(), 0);
}

/// Every call of a kind that the host's thread makes in a filter's life, one after the other: what fails
/// leaves nothing behind.
TEST(Faults, EveryCallOfALife)
{
    constexpr int nLives = 2;
    constexpr size_t cbSlack = 512; // the platform's own
    const HardCom com;
    const HardPictures pictures;
    Watchdog watchdog;
    std::vector<HRESULT> results;
    for (int i = 0; i < 20; i++)
        LiveOnce(results, &pictures); // fills the caches
    for (int eKind = 0; eKind < eFT_Count; eKind++)
    {
        int nCalls = 0;
        for (;; nCalls++)
        {
            watchdog.Step(nCalls, arrKindNames[eKind]);
            bool bFailed = false;
            size_t cbBefore = 0;
            for (int i = 0; i <= nLives; i++)
            {
                if (i == 1)
                    cbBefore = HeapBytes();
                results = {};
                const AssertCapture asserts; // what fails is asserted here and there
                const OneFault fault(static_cast<eFault>(eKind), nCalls);
                LiveOnce(results, &pictures);
                bFailed = fault.HasFailed();
            }
            results = {};
            ASSERT_TRUE(NoObjectLives()) << arrKindNames[eKind] << " " << nCalls;
            if (!bFailed)
                break;
            EXPECT_LE(HeapBytes(), cbBefore + cbSlack) << arrKindNames[eKind] << " " << nCalls;
            ASSERT_LT(nCalls, 10000);
        }
        std::printf("%s: %d calls\n", arrKindNames[eKind], nCalls);
        EXPECT_GT(nCalls, 0) << arrKindNames[eKind];
        // Without a fault all is well.
        LiveOnce(results, nullptr);
        EXPECT_EQ(results, std::vector<HRESULT>(8, S_OK));
    }
}

TEST(Faults, AtRandomUnderRandomHosts)
{
    constexpr int nThreads = 3;
    const HardCom com;
    const HardPictures pictures;
    Watchdog watchdog(nThreads);
    StressPlan plan;
    plan.nSeed =
        static_cast<uint64_t>(NumberFromEnvironment("QX_HARD_SEED", static_cast<long long>(time(nullptr))));
    plan.nOperations = NumberFromEnvironment("QX_HARD_OPERATIONS", 5000);
    plan.nThreads = nThreads;
    plan.fnCreate = &MakeSource;
    plan.bFaults = true;
    std::printf("seed %llu\n", static_cast<unsigned long long>(plan.nSeed));
    std::fflush(stdout);
    RunStress(plan, pictures, watchdog); // fills the caches
    ASSERT_TRUE(NoObjectLives());

    const Usage before = CurrentUsage();
    for (const unsigned nOneIn : {1000u, 100u, 20u})
    {
        SCOPED_TRACE("one call in " + std::to_string(nOneIn));
        const AssertCapture asserts; // gone with what it has collected when the memory is counted
        SetFaults(plan.nSeed, nOneIn);
        const StressResult result = RunStress(plan, pictures, watchdog);
        SetFaults(0, 0);
        EXPECT_EQ(result.nOperations, plan.nOperations);
        ASSERT_TRUE(NoObjectLives());
        EXPECT_EQ(FakeTypeEnum::s_nLiving, 0);
        std::printf("one in %u: %lld filters, %lld frames\n", nOneIn, result.nFilters, result.nFrames);
    }
    const Usage after = CurrentUsage();
    for (int eKind = 0; eKind < eFT_Count; eKind++)
    {
        std::printf("%s: %lld faults\n", arrKindNames[eKind], FaultsSoFar(static_cast<eFault>(eKind)));
        EXPECT_GT(FaultsSoFar(static_cast<eFault>(eKind)), 0) << arrKindNames[eKind];
    }
    Tell(before, after);
    EXPECT_LE(after.handles, before.handles + 16);
    EXPECT_LE(after.heapBytes, before.heapBytes + 64 * 1024);
    EXPECT_LE(after.privateBytes, before.privateBytes + 8 * 1024 * 1024);

    // And then all is well.
    std::vector<HRESULT> results;
    LiveOnce(results, nullptr);
    EXPECT_EQ(results, std::vector<HRESULT>(8, S_OK));
}

} // namespace
