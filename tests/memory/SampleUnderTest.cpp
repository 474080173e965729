#include "memory/SampleUnderTest.h"

LPCWSTR SampleUnderTest::GetClassName() const noexcept
{
    return L"Some sample";
}
