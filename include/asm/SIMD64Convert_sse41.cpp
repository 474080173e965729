#include "asm/SIMD64ConvertForms.h"

constinit const ConvertKernels ConvertKernels::sse41 = convertVector;
