#include "dstl/dshowx/dumps/FourccText.h"

#include "Common/PixelFormats.h"
#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/dumps/TextCopy.h"

namespace
{
/// Names of codes that are neither characters nor formats of the system.
struct CompressionName
{
    DWORD dwValue;
    const wchar_t* pszName;
};

constexpr CompressionName rgCompressionNames[] = {
    {0, L"BI_RGB"},        {1, L"BI_RLE8"},       {2, L"BI_RLE4"},           {3, L"BI_BITFIELDS"},
    {0xE436EB78, L"RGB1"}, {0xE436EB79, L"RGB4"}, {0x297C55AF, L"ARGB1555"}, {0x6E6415E6, L"ARGB4444"},
};

/// The name of a code that is no characters, or null.
const wchar_t* NameOf(DWORD fccType) noexcept
{
    const PixelFormat& format = FormatOf(fccType);
    if (IsKnown(format))
        return format.pszName;
    for (const CompressionName& rgName : rgCompressionNames)
    {
        if (rgName.dwValue == fccType)
            return rgName.pszName;
    }
    return nullptr;
}

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
    if (const wchar_t* const pszName = NameOf(fccType))
        CopyTextTo(pszFCC, cchFourccName, pszName);
    else
        wsprintfW(pszFCC, L"0x%X", fccType);
    return pszFCC;
}
