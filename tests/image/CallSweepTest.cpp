// Random calls of every public entry point, from fixed seeds, in memory that ends and starts at a page which
// nobody may touch.
#include "image/ImageCalls.h"
#include "ImageTest.h"

#ifdef QX_NATIVE
/// Memory that is refused is a result, not a finding.
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1";
}
#endif

namespace
{

void Sweep(CallMemory& memory, unsigned nSeed, unsigned long long nCalls)
{
    SeedNumbers numbers(nSeed);
    ImageCalls calls(numbers, memory);
    while (calls.Count() < nCalls)
    {
        if (const char* const pszWrong = calls.Make())
            FAIL() << calls.Describe() << ": " << pszWrong;
    }
    for (size_t i = 0; i < ImageCalls::nEntries; i++)
        EXPECT_GT(calls.Count(i), nCalls / (2 * ImageCalls::nEntries)) << ImageCalls::NameOf(i);
}

TEST(CallSweep, BuffersThatEndAtAPage)
{
    PageMemory memory(GuardedPages::AtEnd);
    Sweep(memory, 1, 60000);
}

TEST(CallSweep, BuffersThatStartAtAPage)
{
    PageMemory memory(GuardedPages::AtStart);
    Sweep(memory, 2, 60000);
}

TEST(CallSweep, BuffersOfTheHeap)
{
    HeapMemory memory;
    Sweep(memory, 3, 40000);
}

} // namespace
