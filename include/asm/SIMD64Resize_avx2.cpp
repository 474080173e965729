#include "asm/SIMD64ResizeForms.h"

const ResizeKernels kernelsResizeAVX2 = kernelsOfLanes;
