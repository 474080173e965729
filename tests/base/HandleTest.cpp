#include "dstl/WinAPI/Threads.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace
{

bool IsSignalled(HANDLE h)
{
    return WaitForSingleObject(h, 0) == WAIT_OBJECT_0;
}

bool IsOpen(HANDLE h)
{
    DWORD dwFlags = 0;
    return GetHandleInformation(h, &dwFlags) != FALSE;
}

TEST(Handle, IsClosedByItsOwner)
{
    static_assert(std::has_virtual_destructor_v<CHandle>);
    const HANDLE h = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    {
        const CHandle handle(h);
        EXPECT_EQ(handle.Get(), h);
        EXPECT_TRUE(IsOpen(h));
    }
    EXPECT_FALSE(IsOpen(h));
}

TEST(Handle, IsClosedByWayOfTheBaseClass)
{
    auto* pEvent = new CEvent;
    ASSERT_TRUE(pEvent->Create(true));
    const HANDLE h = pEvent->Get();
    const CHandle* pHandle = pEvent;
    delete pHandle;
    EXPECT_FALSE(IsOpen(h));
}

TEST(Handle, CloseAttachDetach)
{
    CHandle handle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const HANDLE hFirst = handle.Get();
    handle.Close();
    EXPECT_EQ(handle.Get(), nullptr);
    EXPECT_FALSE(IsOpen(hFirst));
    handle.Close();

    const HANDLE hSecond = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    handle.Attach(hSecond);
    handle.Attach(hSecond);
    EXPECT_TRUE(IsOpen(hSecond));
    handle.Attach(nullptr);
    EXPECT_FALSE(IsOpen(hSecond));

    handle.Attach(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const HANDLE hThird = handle.Detach();
    EXPECT_EQ(handle.Get(), nullptr);
    EXPECT_TRUE(IsOpen(hThird));
    CloseHandle(hThird);
}

TEST(Handle, UseWithoutAHandleIsAsserted)
{
    AssertCapture asserts;
    const CHandle handle;
    EXPECT_EQ(static_cast<HANDLE>(handle), nullptr);
    EXPECT_EQ(asserts.Texts(), std::vector<std::string>{"m_h != NULL"});
    const CHandle handleEvent(CreateEventW(nullptr, TRUE, TRUE, nullptr));
    EXPECT_TRUE(IsSignalled(handleEvent));
    EXPECT_EQ(asserts.Texts().size(), 1u);
}

TEST(Event, StartsWithoutAHandle)
{
    const CEvent ev;
    EXPECT_EQ(ev.Get(), nullptr);
}

TEST(Event, SetAndResetWithoutAHandle)
{
    AssertCapture asserts;
    CEvent ev;
    EXPECT_FALSE(ev.Set());
    EXPECT_FALSE(ev.Reset());
    EXPECT_EQ(asserts.Texts(), (std::vector<std::string>{"m_h != NULL", "m_h != NULL"}));
}

TEST(Event, ManualReset)
{
    CEvent ev;
    ASSERT_TRUE(ev.Create(true));
    EXPECT_FALSE(IsSignalled(ev));
    EXPECT_TRUE(ev.Set());
    EXPECT_TRUE(IsSignalled(ev));
    EXPECT_TRUE(IsSignalled(ev));
    EXPECT_TRUE(ev.Reset());
    EXPECT_FALSE(IsSignalled(ev));
}

TEST(Event, AutomaticReset)
{
    CEvent ev;
    ASSERT_TRUE(ev.Create(false));
    EXPECT_FALSE(IsSignalled(ev));
    EXPECT_TRUE(ev.Set());
    EXPECT_TRUE(ev.Set());
    EXPECT_TRUE(IsSignalled(ev));
    EXPECT_FALSE(IsSignalled(ev));
}

TEST(Event, CreateClosesAnEarlierOne)
{
    CEvent ev;
    ASSERT_TRUE(ev.Create(true));
    ASSERT_TRUE(ev.Set());
    HANDLE hFirst = nullptr;
    ASSERT_TRUE(DuplicateHandle(GetCurrentProcess(), ev.Get(), GetCurrentProcess(), &hFirst, 0, FALSE,
                                DUPLICATE_SAME_ACCESS));
    DWORD nBefore = 0, nAfter = 0;
    GetProcessHandleCount(GetCurrentProcess(), &nBefore);
    for (int i = 0; i < 100; i++)
        ASSERT_TRUE(ev.Create(false));
    GetProcessHandleCount(GetCurrentProcess(), &nAfter);
    EXPECT_EQ(nAfter, nBefore);
    EXPECT_FALSE(IsSignalled(ev));
    EXPECT_TRUE(IsSignalled(hFirst));
    CloseHandle(hFirst);
}

} // namespace
