#include "NativeText.h"

namespace native
{

namespace
{

constexpr bool IsHighSurrogate(WCHAR ch)
{
    return ch >= 0xD800 && ch < 0xDC00;
}

constexpr bool IsLowSurrogate(WCHAR ch)
{
    return ch >= 0xDC00 && ch < 0xE000;
}

void AppendUtf8(std::string& strOut, unsigned nCode)
{
    if (nCode < 0x80)
    {
        strOut += static_cast<char>(nCode);
        return;
    }
    const int nMore = nCode < 0x800 ? 1 : nCode < 0x10000 ? 2 : 3;
    constexpr unsigned arrLead[] = {0, 0xC0, 0xE0, 0xF0};
    strOut += static_cast<char>(arrLead[nMore] | (nCode >> (6 * nMore)));
    for (int i = nMore - 1; i >= 0; i--)
        strOut += static_cast<char>(0x80 | ((nCode >> (6 * i)) & 0x3F));
}

} // namespace

size_t Length(const WCHAR* psz) noexcept
{
    size_t n = 0;
    while (psz[n])
        n++;
    return n;
}

std::string ToUtf8(const WCHAR* psz)
{
    std::string strOut;
    for (; *psz; psz++)
    {
        unsigned nCode = *psz;
        if (IsHighSurrogate(psz[0]) && IsLowSurrogate(psz[1]))
        {
            nCode = 0x10000 + ((nCode - 0xD800) << 10) + (psz[1] - 0xDC00u);
            psz++;
        }
        else if (IsHighSurrogate(psz[0]) || IsLowSurrogate(psz[0]))
            nCode = 0xFFFD;
        AppendUtf8(strOut, nCode);
    }
    return strOut;
}

std::string ToPath(const WCHAR* psz)
{
    std::string str = ToUtf8(psz);
    if (str.size() >= 2 && str[1] == ':')
        str.erase(0, 2);
    for (char& ch : str)
    {
        if (ch == '\\')
            ch = '/';
    }
    return str;
}

WCHAR ToUpper(WCHAR ch) noexcept
{
    const bool bLower = (ch >= 'a' && ch <= 'z') || (ch >= 0xE0 && ch <= 0xFE && ch != 0xF7);
    return static_cast<WCHAR>(bLower ? ch - 0x20 : ch);
}

} // namespace native
