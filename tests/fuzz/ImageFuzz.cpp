// Calls of every public entry point of the image library, whose settings are the bytes of the input. Buffers
// have exactly the size that the public header tells, on the heap, where AddressSanitizer knows their bounds.
#include "image/ImageCalls.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace
{

/// Calls of all inputs, by entry point; told when the program ends.
struct CallCount
{
    unsigned long long arrCount[ImageCalls::nEntries] = {};

    ~CallCount()
    {
        unsigned long long nSum = 0;
        for (size_t i = 0; i < ImageCalls::nEntries; i++)
        {
            std::fprintf(stderr, "%12llu %s\n", arrCount[i], ImageCalls::NameOf(i));
            nSum += arrCount[i];
        }
        std::fprintf(stderr, "%12llu calls\n", nSum);
    }
};

const ImageCalls* g_pCalls = nullptr;

} // namespace

/// Names the call on top of a report.
extern "C" void __asan_on_error()
{
    if (g_pCalls)
        std::fprintf(stderr, "In %s\n", g_pCalls->Describe().c_str());
}

/// Memory that is refused is a result, not a finding. Blocks come back soon: nothing is freed that is used
/// again.
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1:quarantine_size_mb=16";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pb, size_t cb)
{
    static CallCount count;
    InputNumbers numbers({pb, cb});
    static HeapMemory memory;
    ImageCalls calls(numbers, memory);
    g_pCalls = &calls;
    while (!numbers.IsEmpty())
    {
        if (const char* const pszWrong = calls.Make())
        {
            std::fprintf(stderr, "%s: %s\n", calls.Describe().c_str(), pszWrong);
            std::abort();
        }
    }
    g_pCalls = nullptr;
    for (size_t i = 0; i < ImageCalls::nEntries; i++)
        count.arrCount[i] += calls.Count(i);
    return 0;
}
