#include "dstl/dshowx/DSParsers.h"

#include "dstl/dshowx/DSTrace.h"

#include <climits>
#include <cstring>

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

constexpr LONGLONG nTenthsPerMs = 10000; ///< units of 100 ns
constexpr int nMsPerSecond = 1000;
constexpr LONGLONG nLowSeconds = 1000000000; ///< seconds below this make the low part of the text

constexpr unsigned AbsRest(LONGLONG nValue, LONGLONG nDivisor) noexcept
{
    const LONGLONG nRest = nValue % nDivisor;
    return static_cast<unsigned>(nRest < 0 ? -nRest : nRest);
}

/// The printable characters of ASCII, whatever locale the host has set.
constexpr bool IsPrintable(BYTE c) noexcept
{
    return c >= 0x20 && c <= 0x7E;
}

/// Copies a text, terminator included.
void CopyText(wchar_t* pszTo, const wchar_t* pszFrom) noexcept
{
    while ((*pszTo++ = *pszFrom++) != 0)
    {
    }
}
} // namespace

const wchar_t* RefTimeText(LONGLONG rtTime, wchar_t* pszConv) noexcept
{
    DSASSERT(pszConv != NULL);
    if (!pszConv)
        return nullptr;

    if (rtTime == LLONG_MIN || rtTime == LLONG_MAX)
    {
        CopyText(pszConv, rtTime == LLONG_MIN ? L"-" : L"*");
        return pszConv;
    }

    const LONGLONG nAllMs = rtTime / nTenthsPerMs;
    const unsigned nTenths = AbsRest(rtTime, nTenthsPerMs);
    const LONGLONG nSeconds = nAllMs / nMsPerSecond;
    const unsigned nMs = AbsRest(nAllMs, nMsPerSecond);
    const int nHigh = static_cast<int>(nSeconds / nLowSeconds);
    const unsigned nLow = AbsRest(nSeconds, nLowSeconds);

    if (nHigh != 0)
    {
        if (nTenths != 0)
            wsprintfW(pszConv, L"%d%09u.%03u'%04u", nHigh, nLow, nMs, nTenths);
        else
            wsprintfW(pszConv, L"%d%09u.%03u", nHigh, nLow, nMs);
    }
    else if (rtTime < 0 && nSeconds == 0) // a zero has no sign to show
    {
        if (nTenths != 0)
            wsprintfW(pszConv, L"-%u.%03u'%04u", nLow, nMs, nTenths);
        else
            wsprintfW(pszConv, L"-%u.%03u", nLow, nMs);
    }
    else
    {
        if (nTenths != 0)
            wsprintfW(pszConv, L"%d.%03u'%04u", static_cast<int>(nSeconds), nMs, nTenths);
        else
            wsprintfW(pszConv, L"%d.%03u", static_cast<int>(nSeconds), nMs);
    }
    return pszConv;
}

const wchar_t* MediaTimeText(LONGLONG llTime, wchar_t* pszConv) noexcept
{
    DSASSERT(pszConv != NULL);
    if (!pszConv)
        return nullptr;
    if (llTime == LLONG_MIN)
        return L"MINLONGLONG"; // deliberately not in the caller's buffer

    wchar_t* pszEnd = pszConv;
    if (llTime < 0)
        *pszEnd++ = L'-';
    ULONGLONG nRest = static_cast<ULONGLONG>(llTime < 0 ? -llTime : llTime);
    bool bStarted = false;
    for (ULONGLONG nGroup = 1000000000000000000ull; nGroup != 0; nGroup /= 1000)
    {
        const unsigned nDigits = static_cast<unsigned>(nRest / nGroup);
        nRest %= nGroup;
        if (bStarted)
        {
            pszEnd += wsprintfW(pszEnd, L" %03u", nDigits);
        }
        else if (nDigits != 0 || nGroup == 1) // zero prints its last digit
        {
            pszEnd += wsprintfW(pszEnd, L"%u", nDigits);
            bStarted = true;
        }
    }
    return pszConv;
}

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
    CopyText(pszFCC, szCode);
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
            CopyText(pszFCC, rgName.pszName);
            return pszFCC;
        }
    }
    wsprintfW(pszFCC, L"0x%X", fccType);
    return pszFCC;
}

wchar_t* GuidText(const GUID& guid, wchar_t* pszName) noexcept
{
    DSASSERT(pszName != NULL);
    if (!pszName)
        return nullptr;

    const BYTE* const arr = guid.Data4;
    wsprintfW(pszName, L"{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", guid.Data1, guid.Data2,
              guid.Data3, arr[0], arr[1], arr[2], arr[3], arr[4], arr[5], arr[6], arr[7]);
    return pszName;
}

HRESULT Debug_MediaType(DWORD_PTR, UINT, const AM_MEDIA_TYPE*, const wchar_t*) noexcept
{
    return E_NOTIMPL;
}

HRESULT Debug_Sample(DWORD_PTR, UINT, IMediaSample*, const wchar_t*) noexcept
{
    return E_NOTIMPL;
}

HRESULT Debug_Allocator(DWORD_PTR, UINT, IMemAllocator*, const wchar_t*) noexcept
{
    return E_NOTIMPL;
}

HRESULT Debug_FilterFromPin(DWORD_PTR, UINT, IPin*, const wchar_t*) noexcept
{
    return E_NOTIMPL;
}

HRESULT Debug_Graph(DWORD_PTR, UINT, IFilterGraph*, const wchar_t*) noexcept
{
    return E_NOTIMPL;
}
