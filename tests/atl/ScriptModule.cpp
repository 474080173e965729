// A module that has nothing but a registry script among its resources.
#include "dstl/WinAPI/Platform.h"

extern "C" __declspec(dllexport) int QxAtlScriptModule()
{
    return 1;
}
