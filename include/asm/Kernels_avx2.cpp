// The kernels of processors that have AVX2.
#include "asm/SIMD64ConvertForms.h"
#include "asm/SIMD64FillForms.h"
#include "asm/SIMD64MixForms.h"
#include "asm/SIMD64ResizeForms.h"

constinit const ConvertKernels ConvertKernels::avx2 = convertForms;
constinit const FillKernels FillKernels::avx2 = fillForms;
constinit const MixKernels MixKernels::avx2 = mixForms;
constinit const ResizeKernels ResizeKernels::avx2 = resizeForms;
