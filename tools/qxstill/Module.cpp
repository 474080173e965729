// The module object that COM objects of the program count on.
#include "dstl/WinAPI/Atl.h"

CComModule _Module;
