#include "dstl/dshowx/BmpHeader.h"

#include "dstl/dshowx/DSTrace.h"

HRESULT LoadBmpResource(HMODULE /*hModule*/, UINT /*nResource*/, const wchar_t* /*pszType*/,
                        BITMAPINFOHEADER* pBmpHeader, BYTE** ppPicture) noexcept
{
    if (!DSASSERT(pBmpHeader != NULL))
        return E_INVALIDARG;
    if (!DSASSERT(ppPicture != NULL))
        return E_POINTER;
    *pBmpHeader = BITMAPINFOHEADER{};
    *ppPicture = NULL;
    return E_NOTIMPL; // the module holds no pictures
}
