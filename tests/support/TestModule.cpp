// The module object of a test program: what the filter's DLL has in its Module.cpp.
#include "dstl/WinAPI/Atl.h"

CComModule _Module;
