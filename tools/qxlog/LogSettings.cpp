#include "LogSettings.h"

#include <cwchar>

namespace
{

/// Takes the value of a variable.
/// \return false when it is not set, empty or longer than the room
template <DWORD nRoom>
bool ReadVariable(const wchar_t* pszName, wchar_t (&szValue)[nRoom]) noexcept
{
    const DWORD cch = GetEnvironmentVariableW(pszName, szValue, nRoom);
    return cch != 0 && cch < nRoom;
}

} // namespace

void LogSettings::Read() noexcept
{
    wchar_t szName[cchPath] = {};
    if (!ReadVariable(szVariableFile, szName))
    {
        // A name that is set but does not fit leads to no log, not to one in another place.
        const bool bTooLong = GetEnvironmentVariableW(szVariableFile, nullptr, 0) > cchPath;
        const DWORD cchFolder = bTooLong ? 0 : GetTempPathW(MAX_PATH + 1, szName); // ends with a backslash
        if (cchFolder == 0 || cchFolder > MAX_PATH)
            szName[0] = 0;
        else
            wcscpy(szName + cchFolder, szDefaultFile);
    }
    // Room for ".1" behind the name.
    const DWORD cch = szName[0] != 0 ? GetFullPathNameW(szName, cchPath - 2, szPath, nullptr) : 0;
    if (cch == 0 || cch >= cchPath - 2)
        szPath[0] = 0;

    cbLimit = cbDefaultLimit;
    wchar_t szSize[24] = {};
    if (!ReadVariable(szVariableSize, szSize))
        return;
    wchar_t* pszEnd = nullptr;
    const unsigned long nSize = wcstoul(szSize, &pszEnd, 10);
    if (pszEnd != szSize && *pszEnd == 0)
        cbLimit = nSize * 1024ull;
}
