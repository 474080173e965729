#include "asm/SIMD64ResizeForms.h"

const ResizeKernels kernelsResizeSSE41 = kernelsOfLanes;
