#include "Video/TgaBmp/BmpFile.h"

#include "dstl/WinAPI/File.h"
#include "Video/TgaBmp/BmpHeader.h"
#include "dstl/dshowx/DSTrace.h"

#include <cstring>

namespace
{
HRESULT ReadExactly(HANDLE hFile, void* pBuf, DWORD cb) noexcept
{
    DWORD cbRead = 0;
    if (!ReadPieces(hFile, pBuf, cb, &cbRead))
        return DSTLLastError();
    return cbRead == cb ? S_OK : E_FAIL;
}

HRESULT ReadBmp(HANDLE hFile, BITMAPINFOHEADER* pBmpInfo, CTaskBytes& pPicture) noexcept
{
    BITMAPFILEHEADER rgBmpFileHdr{};
    HRESULT hr = ReadExactly(hFile, &rgBmpFileHdr, sizeof(rgBmpFileHdr));
    if (FAILED(hr))
        return hr;
    if (rgBmpFileHdr.bfType != wBmpType || rgBmpFileHdr.bfOffBits < cbBmpHeaders ||
        rgBmpFileHdr.bfOffBits >= rgBmpFileHdr.bfSize)
        return E_FAIL;

    BITMAPINFOHEADER rgBmpInfo{};
    hr = ReadExactly(hFile, &rgBmpInfo, sizeof(rgBmpInfo));
    if (FAILED(hr))
        return hr;
    if (!TestAndCorrectBmpHeader(&rgBmpInfo) ||
        ULONGLONG{rgBmpFileHdr.bfOffBits} + rgBmpInfo.biSizeImage > rgBmpFileHdr.bfSize)
        return E_FAIL;

    if (rgBmpFileHdr.bfOffBits > cbBmpHeaders)
    {
        LONG lDistanceToMoveHigh = 0;
        const DWORD dwPosition = SetFilePointer(hFile, static_cast<LONG>(rgBmpFileHdr.bfOffBits),
                                                &lDistanceToMoveHigh, FILE_BEGIN);
        if (dwPosition == INVALID_SET_FILE_POINTER && GetLastError() != ERROR_SUCCESS)
            return DSTLLastError();
        if (lDistanceToMoveHigh != 0 || dwPosition != rgBmpFileHdr.bfOffBits)
            return E_FAIL;
    }

    // Nobody else has the file, so what is missing now stays missing: no memory for it.
    if (EndsBefore(hFile, ULONGLONG{rgBmpFileHdr.bfOffBits} + rgBmpInfo.biSizeImage))
        return E_FAIL;
    const DWORD cbBlock = PictureBlockSize(rgBmpInfo);
    if (cbBlock == 0)
        return E_OUTOFMEMORY;
    pPicture.Alloc(cbBlock);
    if (!pPicture)
        return E_OUTOFMEMORY;
    hr = ReadExactly(hFile, pPicture.Get(), rgBmpInfo.biSizeImage);
    if (FAILED(hr))
        return hr;
    std::memset(pPicture.Get() + rgBmpInfo.biSizeImage, 0, cbBlock - rgBmpInfo.biSizeImage);
    *pBmpInfo = rgBmpInfo;
    return S_OK;
}
} // namespace

HRESULT LoadBmpFile(const wchar_t* pszFileName, BITMAPINFOHEADER* pBmpHeader, BYTE** ppPicture) noexcept
{
    DSASSERT(pszFileName != NULL);
    if (pszFileName == nullptr)
        return E_INVALIDARG;
    DSASSERT(pBmpHeader != NULL);
    if (pBmpHeader == nullptr)
        return E_INVALIDARG;
    DSASSERT(ppPicture != NULL);
    if (ppPicture == nullptr)
        return E_POINTER;

    *pBmpHeader = BITMAPINFOHEADER{};
    *ppPicture = nullptr;
    SetLastError(ERROR_SUCCESS);
    // No sharing, unlike the TGA reader, and to stay so.
    COwnedHandle file(CreateFileW(pszFileName, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file)
        return DSTLLastError();

    BITMAPINFOHEADER rgBmpInfo{};
    CTaskBytes pPicture;
    const HRESULT hr = ReadBmp(file.Get(), &rgBmpInfo, pPicture);
    if (FAILED(hr))
        return hr;
    if (!file.Close())
        return DSTLLastError();
    *pBmpHeader = rgBmpInfo;
    *ppPicture = pPicture.Detach();
    return S_OK;
}

HRESULT SaveBmpToFile(const wchar_t* pszBmpFile, const BITMAPINFOHEADER& bmi, const BYTE* pBmp) noexcept
{
    DSASSERT(pszBmpFile != NULL);
    if (pszBmpFile == nullptr)
        return E_INVALIDARG;
    DSASSERT(bmi.biSizeImage > 0);
    if (bmi.biSizeImage == 0)
        return E_INVALIDARG;
    DSASSERT(pBmp != NULL);
    if (pBmp == nullptr)
        return E_INVALIDARG;
    if (bmi.biSizeImage > MAXDWORD - cbBmpHeaders)
        return E_INVALIDARG; // bfSize does not hold the length of the file

    BITMAPFILEHEADER header{};
    header.bfType = wBmpType;
    header.bfSize = cbBmpHeaders + bmi.biSizeImage;
    header.bfOffBits = cbBmpHeaders;
    BYTE rgHeaders[cbBmpHeaders] = {};
    std::memcpy(rgHeaders, &header, sizeof(header));
    std::memcpy(rgHeaders + sizeof(header), &bmi, sizeof(bmi));

    SetLastError(ERROR_SUCCESS);
    COwnedHandle file(
        CreateFileW(pszBmpFile, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return DSTLLastError();
    const struct
    {
        const void* p;
        DWORD cb;
    } rgPieces[] = {{rgHeaders, sizeof(rgHeaders)}, {pBmp, bmi.biSizeImage}};
    for (const auto& piece : rgPieces)
    {
        DWORD cbWritten = 0;
        if (!WriteFile(file.Get(), piece.p, piece.cb, &cbWritten, nullptr))
            return DSTLLastError();
        if (cbWritten != piece.cb)
            return E_FAIL;
    }
    return S_OK;
}
