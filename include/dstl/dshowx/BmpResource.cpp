#include "dstl/dshowx/BmpHeader.h"

#include "dstl/dshowx/DSTrace.h"

HRESULT LoadBmpResource(HMODULE /*hModule*/, UINT /*nResource*/, const wchar_t* /*pszType*/,
                        BITMAPINFOHEADER* pBmpHeader, BYTE** ppPicture) noexcept
{
    DSASSERT(pBmpHeader != NULL);
    if (pBmpHeader == NULL)
        return E_INVALIDARG;
    DSASSERT(ppPicture != NULL);
    if (ppPicture == NULL)
        return E_POINTER;
    *pBmpHeader = BITMAPINFOHEADER{};
    *ppPicture = NULL;
    return E_NOTIMPL; // the module holds no pictures
}
