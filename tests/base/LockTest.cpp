#include "dstl/WinAPI/Wrappers.h"

#include <gtest/gtest.h>

namespace
{

struct CountingLock
{
    void Lock() { nLocked++; }
    void Unlock() { nLocked--; }
    int nLocked = 0;
};

TEST(ScopedLock, HoldsTheLockForItsScope)
{
    CountingLock object;
    {
        const CScopedLock lock(&object);
        EXPECT_EQ(object.nLocked, 1);
        {
            const CScopedLock lockInner(&object);
            EXPECT_EQ(object.nLocked, 2);
        }
        EXPECT_EQ(object.nLocked, 1);
    }
    EXPECT_EQ(object.nLocked, 0);
}

TEST(ScopedLock, ReleasesEarlyOnlyOnce)
{
    CountingLock object;
    {
        CScopedLock lock(&object);
        lock.Unlock();
        EXPECT_EQ(object.nLocked, 0);
        lock.Unlock();
    }
    EXPECT_EQ(object.nLocked, 0);
}

TEST(ScopedLock, NullDoesNothing)
{
    CScopedLock<CountingLock> lock(nullptr);
    lock.Unlock();
}

#ifndef QX_NATIVE

template <class TLock>
class RealLockTest : public testing::Test
{
};
using Locks = testing::Types<CCritSec, CComAutoCriticalSection>;
TYPED_TEST_SUITE(RealLockTest, Locks);

TYPED_TEST(RealLockTest, KeepsOtherThreadsOut)
{
    struct Shared
    {
        TypeParam crs;
        int nValue = 0;
        static DWORD WINAPI Run(void* pv)
        {
            auto* pShared = static_cast<Shared*>(pv);
            for (int i = 0; i < 20000; i++)
            {
                const CScopedLock lock(&pShared->crs);
                const CScopedLock lockAgain(&pShared->crs); // recursive
                pShared->nValue++;
            }
            return 0;
        }
    } shared;
    HANDLE threads[4];
    for (HANDLE& h : threads)
        h = CreateThread(nullptr, 0, &Shared::Run, &shared, 0, nullptr);
    EXPECT_EQ(WaitForMultipleObjects(4, threads, TRUE, 60000), WAIT_OBJECT_0);
    for (HANDLE h : threads)
        CloseHandle(h);
    EXPECT_EQ(shared.nValue, 80000);
}

#endif // QX_NATIVE

} // namespace
