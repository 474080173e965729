// Tells tests/wine/start that the program has begun: makes the folder that QX_START_MARK names.
#include "dstl/WinAPI/Platform.h"

namespace
{

struct StartMark
{
    StartMark() noexcept
    {
        wchar_t szMark[MAX_PATH];
        const DWORD cch = GetEnvironmentVariableW(L"QX_START_MARK", szMark, MAX_PATH);
        if (cch != 0 && cch < MAX_PATH)
            CreateDirectoryW(szMark, nullptr); // a call that no test puts another in the place of
    }
};

// Before any other object of the program: what these do is the program's own.
__attribute__((init_priority(101))) const StartMark g_mark;

} // namespace
