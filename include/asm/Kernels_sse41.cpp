// The kernels of processors that have SSE4.1.
#include "asm/SIMD64ConvertForms.h"
#include "asm/SIMD64FillForms.h"
#include "asm/SIMD64MixForms.h"
#include "asm/SIMD64ResizeForms.h"

constinit const ConvertKernels ConvertKernels::sse41 = convertForms;
constinit const FillKernels FillKernels::sse41 = fillForms;
constinit const MixKernels MixKernels::sse41 = mixForms;
constinit const ResizeKernels ResizeKernels::sse41 = resizeForms;
