#include "asm/SIMD64ConvertForms.h"

void AddConvertKernels_sse41(ConvertKernels& kernels) noexcept
{
    AddForms(kernels);
}
