#pragma once
/// Whose allocator a connection uses.

#include "dstl/WinAPI/Platform.h"
#include <dshow.h>
#include <string>

/// "internal (made by QXStillSource.dll), 2 buffers of ...". A pin does not tell whose allocator it uses, but
/// the input pin behind it knows the object, and the module that made the object tells: the filter's own
/// module, or another.
/// @param source the filter that sends @param input the connected pin that it sends to
std::string DescribeAllocator(IBaseFilter* source, IPin* input);
