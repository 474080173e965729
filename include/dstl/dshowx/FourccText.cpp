#include "dstl/dshowx/FourccText.h"

#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/TextCopy.h"

namespace
{
/// Names of compressions and of RGB formats, whose codes are no characters.
struct CompressionName
{
    DWORD dwValue;
    const wchar_t* pszName;
};

constexpr CompressionName rgCompressionNames[] = {
    {0, L"BI_RGB"},
    {1, L"BI_RLE8"},
    {2, L"BI_RLE4"},
    {3, L"BI_BITFIELDS"},
    {0xE436EB78, L"RGB1"},
    {0xE436EB79, L"RGB4"},
    {0xE436EB7A, L"RGB8"},
    {0xE436EB7B, L"RGB565"},
    {0xE436EB7C, L"RGB555"},
    {0xE436EB7D, L"RGB24"},
    {0xE436EB7E, L"RGB32"},
    {0x297C55AF, L"ARGB1555"},
    {0x6E6415E6, L"ARGB4444"},
    {0x773C9AC0, L"ARGB32"},
};

/// The printable characters of ASCII, whatever locale the host has set.
constexpr bool IsPrintable(BYTE c) noexcept
{
    return c >= 0x20 && c <= 0x7E;
}
} // namespace

wchar_t* Fourcc2Str(DWORD fccType, wchar_t* pszFCC) noexcept
{
    DSASSERT(pszFCC != NULL);
    if (!pszFCC)
        return nullptr;

    pszFCC[0] = 0;
    wchar_t szCode[cchFourccStr] = {};
    for (int i = 0; i < 4; ++i)
    {
        const BYTE c = static_cast<BYTE>(fccType >> (8 * i));
        if (!IsPrintable(c))
            return pszFCC;
        szCode[i] = c;
    }
    CopyTextTo(pszFCC, cchFourccStr, szCode);
    return pszFCC;
}

wchar_t* Fourcc2Name(DWORD fccType, wchar_t* pszFCC) noexcept
{
    DSASSERT(pszFCC != NULL);
    if (!pszFCC)
        return nullptr;

    if (*Fourcc2Str(fccType, pszFCC) != 0)
        return pszFCC;
    for (const CompressionName& rgName : rgCompressionNames)
    {
        if (rgName.dwValue == fccType)
        {
            CopyTextTo(pszFCC, cchFourccName, rgName.pszName);
            return pszFCC;
        }
    }
    wsprintfW(pszFCC, L"0x%X", fccType);
    return pszFCC;
}
