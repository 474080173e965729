#include "asm/SIMD64ResizeForms.h"

constinit const ResizeKernels ResizeKernels::sse41 = kernelsOfLanes;
