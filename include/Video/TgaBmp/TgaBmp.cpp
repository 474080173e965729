#include "Video/TgaBmp/TgaBmp.h"

#include "Video/TgaBmp/BmpFile.h"
#include "Video/TgaBmp/Tga.h"
#include "Video/TgaBmp/TgaRows.h"
#include "dstl/WinAPI/File.h"
#include "dstl/dshowx/DSTrace.h"

#include <cstring>

bool MakeTgaBmpHeader(DWORD nColumns, DWORD nRows, DWORD fccType, BITMAPINFOHEADER* pbmi) noexcept
{
    *pbmi = BITMAPINFOHEADER{};
    pbmi->biSize = sizeof(*pbmi);
    pbmi->biWidth = static_cast<LONG>(nColumns);
    pbmi->biHeight = static_cast<LONG>(nRows);
    pbmi->biPlanes = 1;
    pbmi->biBitCount = fccType == FOURCC_RGB24 ? 24 : 32;
    pbmi->biCompression = BI_RGB;
    const ULONGLONG cbImage = TgaBitmapSize(nColumns, nRows, fccType);
    pbmi->biSizeImage = static_cast<DWORD>(cbImage);
    return cbImage <= MAXDWORD;
}

HRESULT TgaBmpConv(const wchar_t* pszFile, DWORD fccType, BITMAPINFOHEADER* pbmi, BYTE** ppBmp,
                   BYTE** ppAlpha, bool bForceAlpha) noexcept
{
    DSASSERT(pszFile != NULL);
    if (pszFile == NULL)
        return E_INVALIDARG;
    DSASSERT(fccType == FOURCC_RGB24 || fccType == FOURCC_RGB32 || fccType == FOURCC_ARGB32);
    if (!(fccType == FOURCC_RGB24 || fccType == FOURCC_RGB32 || fccType == FOURCC_ARGB32))
        return E_INVALIDARG;
    DSASSERT(pbmi != NULL);
    if (pbmi == NULL)
        return E_INVALIDARG;
    DSASSERT(ppBmp != NULL);
    if (ppBmp == NULL)
        return E_POINTER;

    *pbmi = BITMAPINFOHEADER{};
    *ppBmp = NULL;
    if (ppAlpha != NULL)
        *ppAlpha = NULL;

    // A bitmap without an alpha plane can be made while the file is read.
    CTga tga;
    CTaskBytes pBmp;
    CTga::eBitmap eBitmap = CTga::eBitmap_ToConvert;
    HRESULT hr = ppAlpha == NULL ? tga.LoadFile(pszFile, fccType, &pBmp, &eBitmap) : tga.LoadFile(pszFile);
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### TgaBmpConv(): tga.LoadFile( '%s' )=0x%X\n", pszFile,
              hr);
        return hr;
    }

    BITMAPINFOHEADER bmi;
    if (eBitmap == CTga::eBitmap_NoMemory || !MakeTgaBmpHeader(tga.Columns(), tga.Rows(), fccType, &bmi))
        return E_OUTOFMEMORY;
    CTaskBytes pAlpha;
    if (eBitmap == CTga::eBitmap_ToConvert)
    {
        if (!AllocTgaBitmap(tga.Columns(), tga.Rows(), fccType, &pBmp))
            return E_OUTOFMEMORY;
        if (ppAlpha != NULL && (tga.HasAlpha() || bForceAlpha))
        {
            // Not every depth writes the plane.
            pAlpha.AllocZeroed(AlignTgaRow(tga.Columns()) * tga.Rows());
            if (!pAlpha)
                return E_OUTOFMEMORY;
        }
        hr = tga.ConvertToBmp(fccType, pBmp.Get(), pAlpha.Get());
        if (FAILED(hr))
        {
            trace(atlTraceGeneral, eTL_Error, L"###Err### TgaBmpConv(): tga.ConvertToBmp()=0x%X\n", hr);
            return hr;
        }
    }
    *pbmi = bmi;
    *ppBmp = pBmp.Detach();
    if (ppAlpha != NULL)
        *ppAlpha = pAlpha.Detach();
    return S_OK;
}

namespace
{
HRESULT SaveTraced(const wchar_t* pszFile, const BITMAPINFOHEADER& bmi, const BYTE* pBmp) noexcept
{
    const HRESULT hr = SaveBmpToFile(pszFile, bmi, pBmp);
    if (FAILED(hr)) // the doubled bracket is deliberate: the text is known by it
        trace(atlTraceGeneral, eTL_Error, L"###Err### TgaToBmpFile(): SaveBmpToFile(( '%s' )=0x%X\n", pszFile,
              hr);
    return hr;
}
} // namespace

HRESULT TgaToBmpFile(const wchar_t* pszTgaFile, const wchar_t* pszBmpFile,
                     const wchar_t* pszAlphaFile) noexcept
{
    DSASSERT(pszBmpFile != NULL);
    if (pszBmpFile == NULL)
        return E_INVALIDARG;

    BITMAPINFOHEADER bmi;
    CTaskBytes pBmp;
    CTaskBytes pAlpha;
    HRESULT hr = TgaBmpConv(pszTgaFile, FOURCC_ARGB32, &bmi, pBmp.Out(), pAlpha.Out(), true);
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error, L"###Err### TgaToBmpFile(): TgaBmpConv( '%s' )=0x%X\n", pszTgaFile,
              hr);
        return hr;
    }
    hr = SaveTraced(pszBmpFile, bmi, pBmp.Get());
    if (FAILED(hr) || pszAlphaFile == NULL)
        return hr;

    const size_t nWidth = static_cast<size_t>(bmi.biWidth);
    const size_t cbAlphaRow = (nWidth + 3) & ~size_t{3};
    BYTE* pbOut = pBmp.Get();
    for (LONG y = 0; y < bmi.biHeight; ++y)
    {
        const BYTE* pbAlpha = pAlpha.Get() + y * cbAlphaRow;
        for (size_t x = 0; x < nWidth; ++x, pbOut += 4)
            std::memset(pbOut, pbAlpha[x], 4);
    }
    return SaveTraced(pszAlphaFile, bmi, pBmp.Get());
}

HRESULT SaveBmpToFile(const wchar_t* pszBmpFile, const BITMAPINFOHEADER& bmi, const BYTE* pBmp) noexcept
{
    DSASSERT(pszBmpFile != NULL);
    if (pszBmpFile == NULL)
        return E_INVALIDARG;
    DSASSERT(bmi.biSizeImage > 0);
    if (bmi.biSizeImage == 0)
        return E_INVALIDARG;
    DSASSERT(pBmp != NULL);
    if (pBmp == NULL)
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
    CFileHandle file(
        CreateFileW(pszBmpFile, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, NULL));
    if (!file.IsOpen())
        return DSTLLastError();
    const struct
    {
        const void* p;
        DWORD cb;
    } rgPieces[] = {{rgHeaders, sizeof(rgHeaders)}, {pBmp, bmi.biSizeImage}};
    for (const auto& piece : rgPieces)
    {
        DWORD cbWritten = 0;
        if (!WriteFile(file.Get(), piece.p, piece.cb, &cbWritten, NULL))
            return DSTLLastError();
        if (cbWritten != piece.cb)
            return E_FAIL;
    }
    return S_OK;
}
