// Shows tests/wine/start that the program has started: creates the folder that QX_START_MARK names.
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
            CreateDirectoryW(szMark, nullptr); // a function that no test replaces
    }
};

// Constructed before any other object: what the constructors of a test do is part of the test.
__attribute__((init_priority(101))) const StartMark g_mark;

} // namespace
