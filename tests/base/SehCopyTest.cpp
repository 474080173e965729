#include "dstl/WinAPI/SehCopy.h"

#include "dstl/WinAPI/Platform.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace
{

/// Two pages, the second one without access.
class GuardedPage
{
public:
    GuardedPage()
    {
        m_pb = static_cast<BYTE*>(VirtualAlloc(nullptr, 8192, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD dwEarlier = 0;
        VirtualProtect(m_pb + 4096, 4096, PAGE_NOACCESS, &dwEarlier);
    }
    ~GuardedPage() { VirtualFree(m_pb, 0, MEM_RELEASE); }
    /// The address of the last n accessible bytes.
    BYTE* Last(size_t n) const { return m_pb + 4096 - n; }

private:
    BYTE* m_pb;
};

std::string Text(const void* pDst, const void* pSrc, size_t cb, unsigned nCode)
{
    char szText[200];
    snprintf(szText, sizeof(szText),
             "###Err### SEH_CopyMemory( pDst=0x%X, pSrc=0x%X, cb=0x%X ): Exception 0x%X\n",
             static_cast<unsigned>(reinterpret_cast<UINT_PTR>(pDst)),
             static_cast<unsigned>(reinterpret_cast<UINT_PTR>(pSrc)), static_cast<unsigned>(cb), nCode);
    return szText;
}

constexpr unsigned nAccessViolation = 0xC0000005;

TEST(SehCopy, CopiesEverySize)
{
    LogCapture log;
    std::vector<BYTE> source(300), target(300);
    for (size_t i = 0; i < source.size(); i++)
        source[i] = static_cast<BYTE>(i * 7 + 1);
    for (size_t cb = 0; cb <= 256; cb++)
    {
        std::fill(target.begin(), target.end(), BYTE(0xCC));
        EXPECT_TRUE(SEH_CopyMemory(target.data() + 3, source.data() + 1, cb));
        EXPECT_EQ(memcmp(target.data() + 3, source.data() + 1, cb), 0);
        EXPECT_EQ(target[2], 0xCC);
        EXPECT_EQ(target[3 + cb], 0xCC);
    }
    EXPECT_TRUE(log.Lines().empty());
}

TEST(SehCopy, NothingToCopyIsNoFault)
{
    EXPECT_TRUE(SEH_CopyMemory(nullptr, nullptr, 0));
}

TEST(SehCopy, NullPointersAreReported)
{
    LogCapture log;
    BYTE rgb[16] = {1, 2, 3};
    EXPECT_FALSE(SEH_CopyMemory(nullptr, rgb, 16));
    EXPECT_FALSE(SEH_CopyMemory(rgb, nullptr, 16));
    EXPECT_EQ(log.Texts(2), (std::vector<std::string>{Text(nullptr, rgb, 16, nAccessViolation),
                                                      Text(rgb, nullptr, 16, nAccessViolation)}));
    EXPECT_EQ(rgb[2], 3);
}

TEST(SehCopy, AFaultInTheMiddleEndsTheCopy)
{
    LogCapture log;
    const GuardedPage page;
    std::vector<BYTE> buffer(200, 0x11);
    memset(page.Last(100), 0x22, 100);
    EXPECT_TRUE(SEH_CopyMemory(buffer.data(), page.Last(100), 100));
    EXPECT_FALSE(SEH_CopyMemory(buffer.data(), page.Last(100), 101));
    EXPECT_FALSE(SEH_CopyMemory(page.Last(100), buffer.data(), 200));
    EXPECT_EQ(log.Texts(2),
              (std::vector<std::string>{Text(buffer.data(), page.Last(100), 101, nAccessViolation),
                                        Text(page.Last(100), buffer.data(), 200, nAccessViolation)}));
    EXPECT_EQ(buffer[99], 0x22);
    EXPECT_EQ(buffer[100], 0x11);
}

TEST(SehCopy, GuardPagesAreReportedWithTheirCode)
{
    LogCapture log;
    auto* pb = static_cast<BYTE*>(
        VirtualAlloc(nullptr, 4096, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE | PAGE_GUARD));
    BYTE by = 0;
    EXPECT_FALSE(SEH_CopyMemory(&by, pb, 1));
    EXPECT_EQ(log.Texts(2), std::vector<std::string>{Text(&by, pb, 1, 0x80000001)});
    EXPECT_TRUE(SEH_CopyMemory(&by, pb, 1)); // the guard is gone after its first report
    VirtualFree(pb, 0, MEM_RELEASE);
}

TEST(SehCopy, ThousandsOfFaultsInManyThreads)
{
    struct Copier
    {
        static DWORD WINAPI Run(void* pv)
        {
            const auto* pPage = static_cast<const GuardedPage*>(pv);
            BYTE rgb[64] = {};
            DWORD nFailed = 0;
            for (int i = 0; i < 2500; i++)
            {
                nFailed += !SEH_CopyMemory(rgb, pPage->Last(10), 11);
                nFailed += !SEH_CopyMemory(pPage->Last(0), rgb, 1);
            }
            return nFailed;
        }
    };
    LogCapture log;
    GuardedPage page;
    HANDLE threads[4];
    for (HANDLE& h : threads)
        h = CreateThread(nullptr, 0, &Copier::Run, &page, 0, nullptr);
    ASSERT_EQ(WaitForMultipleObjects(4, threads, TRUE, 120000), WAIT_OBJECT_0);
    for (HANDLE h : threads)
    {
        DWORD nFailed = 0;
        GetExitCodeThread(h, &nFailed);
        EXPECT_EQ(nFailed, 5000u);
        CloseHandle(h);
    }
    EXPECT_EQ(log.Lines().size(), 20000u);
}

} // namespace
