// Dumps of allocators.
#include "diagnostics/FormatBlocks.h"
#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/dumps/SampleDump.h"
#include "support/FakeAllocator.h"

#include <gtest/gtest.h>

namespace
{

TEST(AllocatorDump, PropertiesAndFailures)
{
    LogCapture log;
    CallLog calls;
    FakeAllocator alloc(&calls);
    alloc.m_rgActual = {2, 829440, -1, 2147483647};
    Debug_Allocator(atlTraceGeneral, eTL_Main, &alloc, L"p: ");
    alloc.m_rgActual = {};
    Debug_Allocator(atlTraceGeneral, eTL_Main, &alloc, nullptr);
    alloc.m_hrGetProperties = E_UNEXPECTED;
    Debug_Allocator(atlTraceGeneral, eTL_Main, &alloc, L"p: ");
    Debug_Allocator(atlTraceGeneral, eTL_Main, nullptr, L"p: ");
    Debug_Allocator(atlTraceGeneral, eTL_Main, nullptr, L"");
    const std::string sAddress = Address(static_cast<IMemAllocator*>(&alloc));
    EXPECT_EQ(log.Texts(eTL_Main),
              (Texts{"p: IMemAllocator=0x" + sAddress + ", props = { 2, 829440, -1, 2147483647 }\n",
                     "IMemAllocator=0x" + sAddress + ", props = { 0, 0, 0, 0 }\n",
                     "###Err### p: Debug_Allocator(): pAllocator->GetProperties()=0x8000FFFF\n",
                     "###Err### p: Debug_Allocator(): Empty allocator pointer\n",
                     "###Err### Debug_Allocator(): Empty allocator pointer\n"}));
    EXPECT_EQ(log.Lines().size(), 5u);
    EXPECT_EQ(calls.Calls().size(), 3u);

    log.Clear();
    Debug_Allocator(atlTraceGeneral, eTL_Frame, &alloc, L"p: ");
    Debug_Allocator(0, eTL_Main, &alloc, L"p: ");
    EXPECT_TRUE(log.Lines().empty());
    EXPECT_EQ(calls.Calls().size(), 3u) << "an allocator was asked for a line that nobody reads";
}

} // namespace
