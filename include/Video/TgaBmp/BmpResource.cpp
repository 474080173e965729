#include "Video/TgaBmp/BmpHeader.h"

#include "Video/TgaBmp/BmpFile.h"
#include "dstl/dshowx/DSTrace.h"

#include <cstring>

namespace
{
/// The bytes of a resource, which last as long as its module.
struct ResourceBytes
{
    const BYTE* pb;
    DWORD cb;
};

/// The headers at the start of a BMP file.
struct BmpHeaders
{
    BITMAPFILEHEADER file;
    BITMAPINFOHEADER info;
};

HRESULT FindBytes(HMODULE hModule, UINT nResource, const wchar_t* pszType, ResourceBytes& bytes) noexcept
{
    const HRSRC hResource = FindResourceW(hModule, MAKEINTRESOURCEW(nResource), pszType);
    if (hResource == nullptr)
        return DSTLLastError();
    bytes.cb = SizeofResource(hModule, hResource);
    if (bytes.cb == 0)
        return DSTLLastError();
    const HGLOBAL hLoaded = LoadResource(hModule, hResource);
    if (hLoaded == nullptr)
        return DSTLLastError();
    bytes.pb = static_cast<const BYTE*>(LockResource(hLoaded));
    return bytes.pb != nullptr ? S_OK : E_FAIL;
}

/// Reads the headers, mends the size of the pixels and sees that all of them are there.
HRESULT ReadHeaders(const ResourceBytes& bytes, BmpHeaders& headers) noexcept
{
    if (bytes.cb < cbBmpHeaders)
        return E_FAIL;
    std::memcpy(&headers.file, bytes.pb, sizeof(headers.file));
    std::memcpy(&headers.info, bytes.pb + sizeof(headers.file), sizeof(headers.info));
    if (headers.file.bfType != wBmpType || headers.file.bfOffBits < cbBmpHeaders ||
        headers.file.bfOffBits >= headers.file.bfSize || headers.info.biSize != sizeof(headers.info))
        return E_FAIL;
    if (!TestAndCorrectBmpHeader(&headers.info))
        return E_FAIL;
    const ULONGLONG cbEnd = ULONGLONG{headers.file.bfOffBits} + headers.info.biSizeImage;
    return cbEnd <= headers.file.bfSize && cbEnd <= bytes.cb ? S_OK : E_FAIL;
}
} // namespace

HRESULT LoadBmpResource(HMODULE hModule, UINT nResource, const wchar_t* pszType, BITMAPINFOHEADER* pBmpHeader,
                        BYTE** ppPicture) noexcept
{
    DSASSERT(pBmpHeader != NULL);
    if (pBmpHeader == nullptr)
        return E_INVALIDARG;
    DSASSERT(ppPicture != NULL);
    if (ppPicture == nullptr)
        return E_POINTER;
    *pBmpHeader = BITMAPINFOHEADER{};
    *ppPicture = nullptr;
    SetLastError(ERROR_SUCCESS);
    if (hModule == nullptr)
        hModule = GetModuleHandleW(nullptr);

    ResourceBytes bytes{};
    HRESULT hr = FindBytes(hModule, nResource, pszType, bytes);
    if (FAILED(hr))
        return hr;
    BmpHeaders headers{};
    hr = ReadHeaders(bytes, headers);
    if (FAILED(hr))
        return hr;
    CTaskBytes pPicture(headers.info.biSizeImage);
    if (!pPicture)
        return E_OUTOFMEMORY;
    std::memcpy(pPicture.Get(), bytes.pb + headers.file.bfOffBits, headers.info.biSizeImage);
    *pBmpHeader = headers.info;
    *ppPicture = pPicture.Detach();
    return S_OK;
}
