#include "dstl/dshowx/dumps/TimeText.h"

#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/dumps/TextCopy.h"

#include <climits>

namespace
{
constexpr LONGLONG nTenthsPerMs = 10000; ///< units of 100 ns
constexpr int nMsPerSecond = 1000;
constexpr LONGLONG nLowSeconds = 1000000000; ///< seconds below this make the low part of the text

constexpr unsigned AbsRest(LONGLONG nValue, LONGLONG nDivisor) noexcept
{
    const LONGLONG nRest = nValue % nDivisor;
    return static_cast<unsigned>(nRest < 0 ? -nRest : nRest);
}
} // namespace

const wchar_t* RefTimeText(LONGLONG rtTime, wchar_t* pszConv) noexcept
{
    DSASSERT(pszConv != NULL);
    if (!pszConv)
        return nullptr;

    if (rtTime == LLONG_MIN || rtTime == LLONG_MAX)
    {
        CopyTextTo(pszConv, cchTimeText, rtTime == LLONG_MIN ? L"-" : L"*");
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
