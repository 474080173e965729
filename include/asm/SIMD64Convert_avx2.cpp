#include "asm/SIMD64ConvertForms.h"

void AddConvertKernels_avx2(ConvertKernels& kernels) noexcept
{
    AddForms(kernels);
}
