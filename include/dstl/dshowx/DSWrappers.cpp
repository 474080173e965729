#include "dstl/dshowx/DSWrappers.h"

#include <cstring>

#include "dstl/dshowx/DSTrace.h"

void CopyDSName(wchar_t (&szDst)[cchDSName], LPCWSTR pszSrc) noexcept
{
    size_t n = 0;
    if (pszSrc != nullptr)
    {
        while (n < cchDSName - 1 && pszSrc[n] != L'\0')
        {
            szDst[n] = pszSrc[n];
            ++n;
        }
    }
    // The rest as well, so that no older name shows behind a shorter one.
    memset(szDst + n, 0, (cchDSName - n) * sizeof(wchar_t));
}

int QueryPinDirection(IPin* pPin) noexcept
{
    // Moved by bytes, as a value outside the enumeration may not be read as one.
    int nDirection = -1;
    PIN_DIRECTION eDirection;
    static_assert(sizeof(eDirection) == sizeof(nDirection));
    memcpy(&eDirection, &nDirection, sizeof(eDirection));
    if (pPin != nullptr)
        pPin->QueryDirection(&eDirection);
    memcpy(&nDirection, &eDirection, sizeof(nDirection));
    return nDirection;
}

HRESULT DSTLNotImpl(LPCWSTR pszOperation) noexcept
{
    trace(atlTraceGeneral, eTL_Atl, L"ATL: %s not implemented.\n", pszOperation);
    return E_NOTIMPL;
}

HRESULT DSTLQueryInterface(IUnknown* p, REFIID riid, void** pp) noexcept
{
    DSASSERT(pp != NULL && *pp == NULL);
    if (pp == nullptr)
        return E_POINTER;
    DSASSERT(p != NULL);
    if (p == nullptr)
    {
        *pp = nullptr;
        return E_NOINTERFACE;
    }
    return p->QueryInterface(riid, pp);
}
