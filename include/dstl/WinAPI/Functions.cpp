#include "dstl/WinAPI/Functions.h"

void DSTLTurnBars(wchar_t* psz, bool bToBackslash) noexcept
{
    if (psz == nullptr)
        return;
    const wchar_t chFrom = bToBackslash ? L'|' : L'\\';
    const wchar_t chTo = bToBackslash ? L'\\' : L'|';
    for (; *psz != 0; psz++)
    {
        if (*psz == chFrom)
            *psz = chTo;
    }
}
