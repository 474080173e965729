#include "asm/SIMD64ConvertForms.h"

constinit const ConvertKernels ConvertKernels::avx2 = convertVector;
