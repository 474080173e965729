#include "LogLine.h"

#include <cstdio>
#include <cstring>
#include <cwchar>

namespace
{

bool IsBreak(wchar_t ch) noexcept
{
    return ch == L'\n' || ch == L'\r';
}

bool IsHighSurrogate(unsigned ch) noexcept
{
    return ch >= 0xD800 && ch < 0xDC00;
}

bool IsLowSurrogate(unsigned ch) noexcept
{
    return ch >= 0xDC00 && ch < 0xE000;
}

/// Collects small pieces, so that the receiver gets few large ones.
class CPieces
{
public:
    explicit CPieces(ILogBytes& bytes) noexcept : m_bytes(bytes) {}
    ~CPieces()
    {
        if (m_cch != 0)
            m_bytes.Put(m_sz, m_cch);
    }
    CPieces(const CPieces&) = delete;
    CPieces& operator=(const CPieces&) = delete;

    void Put(const char* pch, size_t cch) noexcept
    {
        if (cch > sizeof(m_sz) - m_cch)
        {
            m_bytes.Put(m_sz, m_cch);
            m_cch = 0;
        }
        memcpy(m_sz + m_cch, pch, cch); // a piece is much shorter than the room
        m_cch += cch;
    }

    void PutCharacter(unsigned ch) noexcept
    {
        char sz[8];
        size_t cch = 0;
        if (ch < 0x20 && ch != '\t')
            cch = static_cast<size_t>(snprintf(sz, sizeof(sz), "\\x%02X", ch));
        else if (ch < 0x80)
            sz[cch++] = static_cast<char>(ch);
        else
        {
            const int nMore = ch < 0x800 ? 1 : ch < 0x10000 ? 2 : 3; // bytes behind the first
            static constexpr unsigned rgFirst[] = {0, 0xC0, 0xE0, 0xF0};
            sz[cch++] = static_cast<char>(rgFirst[nMore] | ch >> (6 * nMore));
            for (int n = nMore - 1; n >= 0; n--)
                sz[cch++] = static_cast<char>(0x80 | (ch >> (6 * n) & 0x3F));
        }
        Put(sz, cch);
    }

private:
    ILogBytes& m_bytes;
    size_t m_cch = 0;
    char m_sz[4096];
};

/// Takes one character of UTF-16 text and moves behind it.
unsigned NextCharacter(const wchar_t*& psz, const wchar_t* pszEnd) noexcept
{
    const unsigned ch = static_cast<unsigned short>(*psz++);
    if (IsHighSurrogate(ch) && psz < pszEnd && IsLowSurrogate(static_cast<unsigned short>(*psz)))
        return 0x10000 + ((ch - 0xD800) << 10) + (static_cast<unsigned short>(*psz++) - 0xDC00);
    return IsHighSurrogate(ch) || IsLowSurrogate(ch) ? 0xFFFD : ch;
}

} // namespace

LogStamp LogStampNow() noexcept
{
    LogStamp stamp = {};
    GetLocalTime(&stamp.time);
    stamp.dwProcess = GetCurrentProcessId();
    stamp.dwThread = GetCurrentThreadId();
    return stamp;
}

void PutMessage(ILogBytes& bytes, const LogStamp& stamp, const wchar_t* pszMessage) noexcept
{
    const int nLevel = QXLogLevel(pszMessage);
    char szPrefix[96];
    const int cchPrefix = snprintf(
        szPrefix, sizeof(szPrefix), "%04u-%02u-%02u %02u:%02u:%02u.%03u %lu:%lu %c", stamp.time.wYear,
        stamp.time.wMonth, stamp.time.wDay, stamp.time.wHour, stamp.time.wMinute, stamp.time.wSecond,
        stamp.time.wMilliseconds, stamp.dwProcess, stamp.dwThread, nLevel < 0 ? '-' : '0' + nLevel);

    const wchar_t* psz = QXLogText(pszMessage);
    while (IsBreak(*psz))
        psz++;
    const wchar_t* pszEnd = psz + wcslen(psz);
    while (pszEnd > psz && IsBreak(pszEnd[-1]))
        pszEnd--;

    CPieces pieces(bytes);
    for (bool bFirst = true;; bFirst = false)
    {
        pieces.Put(szPrefix, static_cast<size_t>(cchPrefix));
        if (!bFirst)
            pieces.Put("+", 1);
        pieces.Put(" ", 1);
        while (psz < pszEnd && !IsBreak(*psz))
            pieces.PutCharacter(NextCharacter(psz, pszEnd));
        pieces.Put("\r\n", 2);
        if (psz == pszEnd)
            return;
        // "\r\n" is one break.
        psz += psz[0] == L'\r' && psz[1] == L'\n' ? 2 : 1;
    }
}

bool IsErrorMessage(const wchar_t* pszMessage) noexcept
{
    const int nLevel = QXLogLevel(pszMessage);
    return nLevel == 1 || nLevel == 2 || (nLevel < 0 && wcsstr(pszMessage, L"###Err###") != nullptr);
}
