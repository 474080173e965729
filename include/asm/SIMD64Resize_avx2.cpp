#include "asm/SIMD64ResizeForms.h"

constinit const ResizeKernels ResizeKernels::avx2 = kernelsOfLanes;
