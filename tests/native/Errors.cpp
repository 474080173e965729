// The last error, one for each thread as on Windows.
#include "dstl/WinAPI/Platform.h"

namespace
{
thread_local DWORD t_dwLastError = ERROR_SUCCESS;
}

DWORD WINAPI GetLastError()
{
    return t_dwLastError;
}

void WINAPI SetLastError(DWORD dwError)
{
    t_dwLastError = dwError;
}
