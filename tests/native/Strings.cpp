// Text calls of kernel32, on 16-bit characters.
#include "NativeText.h"

int WINAPI lstrlenW(const WCHAR* psz)
{
    return psz ? static_cast<int>(native::Length(psz)) : 0;
}

WCHAR* WINAPI lstrcpyW(WCHAR* pszTo, const WCHAR* pszFrom)
{
    if (!pszTo || !pszFrom)
        return nullptr;
    WCHAR* psz = pszTo;
    while ((*psz++ = *pszFrom++) != 0)
    {
    }
    return pszTo;
}

WCHAR* WINAPI lstrcpynW(WCHAR* pszTo, const WCHAR* pszFrom, int cch)
{
    if (!pszTo || !pszFrom || cch <= 0)
        return nullptr;
    int i = 0;
    for (; i < cch - 1 && pszFrom[i]; i++)
        pszTo[i] = pszFrom[i];
    pszTo[i] = 0;
    return pszTo;
}

WCHAR* WINAPI lstrcatW(WCHAR* pszTo, const WCHAR* pszMore)
{
    if (!pszTo || !pszMore)
        return nullptr;
    lstrcpyW(pszTo + native::Length(pszTo), pszMore);
    return pszTo;
}

int WINAPI lstrcmpW(const WCHAR* pszA, const WCHAR* pszB)
{
    for (; *pszA && *pszA == *pszB; pszA++, pszB++)
    {
    }
    return *pszA < *pszB ? -1 : *pszA > *pszB;
}

int WINAPI lstrcmpiW(const WCHAR* pszA, const WCHAR* pszB)
{
    for (; *pszA && native::ToUpper(*pszA) == native::ToUpper(*pszB); pszA++, pszB++)
    {
    }
    const WCHAR a = native::ToUpper(*pszA);
    const WCHAR b = native::ToUpper(*pszB);
    return a < b ? -1 : a > b;
}

INT WINAPI StringFromGUID2(REFGUID guid, LPOLESTR psz, INT cch)
{
    constexpr int cchGuid = 39; // "{8-4-4-4-12}" and the terminator
    if (!psz || cch < cchGuid)
        return 0;
    // Byte order of the printed form: the first three fields are little-endian numbers.
    constexpr signed char arrOrder[] = {3, 2, 1, 0, -1, 5, 4, -1, 7, 6, -1, 8, 9, -1, 10, 11, 12, 13, 14, 15};
    constexpr char szDigits[] = "0123456789ABCDEF";
    const auto* pb = reinterpret_cast<const BYTE*>(&guid);
    *psz++ = '{';
    for (const signed char n : arrOrder)
    {
        if (n < 0)
        {
            *psz++ = '-';
            continue;
        }
        *psz++ = static_cast<WCHAR>(szDigits[pb[n] >> 4]);
        *psz++ = static_cast<WCHAR>(szDigits[pb[n] & 15]);
    }
    *psz++ = '}';
    *psz = 0;
    return cchGuid;
}
