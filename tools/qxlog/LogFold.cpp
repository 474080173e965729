#include "LogFold.h"

#include "dstl/dshowx/QXLog.h"

#include <cstdio>
#include <cwchar>

namespace
{

/// Whether memory can be read and not written. The contract of a log DLL has such a message stay as it is.
bool IsReadOnly(const void* pv) noexcept
{
    MEMORY_BASIC_INFORMATION info = {};
    return VirtualQuery(pv, &info, sizeof(info)) != 0 && info.State == MEM_COMMIT &&
           info.Protect == PAGE_READONLY;
}

/// Length of a text, or cchMost when it has more characters than that.
size_t LengthUpTo(const wchar_t* psz, size_t cchMost) noexcept
{
    size_t cch = 0;
    while (cch < cchMost && psz[cch] != 0)
        cch++;
    return cch;
}

} // namespace

bool CLogFold::Text::IsOf(const wchar_t* pszMessage, DWORD dwOwner) const noexcept
{
    return cch != 0 && dwThread == dwOwner && wcscmp(sz, pszMessage) == 0;
}

/// \param pszMessage shorter than cchText
void CLogFold::Text::Begin(const wchar_t* pszMessage, DWORD dwOwner) noexcept
{
    dwThread = dwOwner;
    nPut = nCounted;
    nPassed = 0;
    cch = wcslen(pszMessage);
    wmemcpy(sz, pszMessage, cch + 1);
}

bool CLogFold::Take(const wchar_t* pszMessage, ILogRepeats& repeats) noexcept
{
    const ULONGLONG ullNow = GetTickCount64();
    if (LengthUpTo(pszMessage, cchText) == cchText)
    {
        EndRun(repeats);
        return false;
    }
    const DWORD dwThread = GetCurrentThreadId();
    Text* pText = nullptr;
    for (Text& text : m_texts)
    {
        if (text.IsOf(pszMessage, dwThread))
            pText = &text;
    }
    if (pText == nullptr || ullNow - pText->ullLast > msRun)
    {
        EndRun(repeats);
        if (pText == nullptr)
        {
            pText = &m_texts[m_nNext];
            m_nNext = (m_nNext + 1) % nTexts;
            pText->Begin(pszMessage, dwThread);
        }
        pText->ullLast = ullNow;
        return false;
    }
    if (pText->nPassed < nMore)
    {
        PutAll(repeats);
        pText->nPassed++;
        pText->ullLast = ullNow;
        return false;
    }
    if (!HasCounted())
        m_ullPutAt = ullNow + msRun;
    pText->AddOne(ullNow);
    if (ullNow >= m_ullPutAt)
        PutAll(repeats);
    else if (IsReadOnly(pszMessage))
        m_known[pText - m_texts] = pszMessage;
    return true;
}

void CLogFold::PutAll(ILogRepeats& repeats) noexcept
{
    for (size_t n = 0; n < nTexts; n++) // the oldest first
    {
        Text& text = m_texts[(m_nNext + n) % nTexts];
        const ULONGLONG nTimes = text.Pending();
        if (nTimes == 0)
            continue;
        text.nPut += nTimes;
        const wchar_t* psz = QXLogText(text.sz);
        wchar_t szLine[cchText + 64];
        wchar_t* pszOut = szLine;
        if (psz != text.sz)
            *pszOut++ = text.sz[0]; // the level
        while (*psz == L'\r' || *psz == L'\n')
            psz++;
        pszOut += _snwprintf(pszOut, 60, L"repeated %I64u %ls: ", nTimes, nTimes == 1 ? L"time" : L"times");
        wcscpy(pszOut, psz);
        repeats.PutRepeats(szLine);
    }
    m_ullPutAt = GetTickCount64() + msRun;
}

/// What comes next begins a run: every message passes again.
void CLogFold::EndRun(ILogRepeats& repeats) noexcept
{
    ForgetAddresses();
    for (Text& text : m_texts)
        text.nPassed = 0;
    PutAll(repeats);
}

bool CLogFold::HasCounted() const noexcept
{
    for (const Text& text : m_texts)
    {
        if (text.Pending() != 0)
            return true;
    }
    return false;
}

void CLogFold::ForgetAddresses() noexcept
{
    for (std::atomic<const wchar_t*>& known : m_known)
        known = nullptr;
}

void CLogFold::Clear() noexcept
{
    ForgetAddresses();
    for (Text& text : m_texts)
        text.Begin(L"", 0);
    m_nNext = 0;
}
