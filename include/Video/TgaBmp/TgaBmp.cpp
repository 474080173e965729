#include "Video/TgaBmp/TgaBmp.h"

#include "Video/TgaBmp/BmpFile.h"
#include "Video/TgaBmp/Tga.h"
#include "Video/TgaBmp/TgaRows.h"
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

namespace
{
/// Converts a loaded picture, with its alpha plane if one is wanted.
HRESULT MakeBitmap(const CTga& tga, DWORD fccType, bool bPlane, CTaskBytes& pBmp, CTaskBytes& pAlpha) noexcept
{
    if (!AllocTgaBitmap(tga.Columns(), tga.Rows(), fccType, &pBmp))
        return E_OUTOFMEMORY;
    if (bPlane)
    {
        // Not every depth writes the plane.
        pAlpha.AllocZeroed(AlignTgaRow(tga.Columns()) * tga.Rows());
        if (!pAlpha)
            return E_OUTOFMEMORY;
    }
    const HRESULT hr = tga.ConvertToBmp(fccType, pBmp.Get(), pAlpha.Get());
    if (FAILED(hr))
        trace(atlTraceGeneral, eTL_Error, L"###Err### TgaBmpConv(): tga.ConvertToBmp()=0x%X\n", hr);
    return hr;
}

HRESULT SaveTraced(const wchar_t* pszFile, const BITMAPINFOHEADER& bmi, const BYTE* pBmp) noexcept
{
    const HRESULT hr = SaveBmpToFile(pszFile, bmi, pBmp);
    if (FAILED(hr)) // the doubled bracket is deliberate: the text is known by it
        trace(atlTraceGeneral, eTL_Error, L"###Err### TgaToBmpFile(): SaveBmpToFile(( '%s' )=0x%X\n", pszFile,
              hr);
    return hr;
}
} // namespace

HRESULT TgaBmpConv(const wchar_t* pszFile, DWORD fccType, BITMAPINFOHEADER* pbmi, BYTE** ppBmp,
                   BYTE** ppAlpha, bool bForceAlpha) noexcept
{
    DSASSERT(pszFile != NULL);
    if (pszFile == nullptr)
        return E_INVALIDARG;
    DSASSERT(fccType == FOURCC_RGB24 || fccType == FOURCC_RGB32 || fccType == FOURCC_ARGB32);
    if (!(fccType == FOURCC_RGB24 || fccType == FOURCC_RGB32 || fccType == FOURCC_ARGB32))
        return E_INVALIDARG;
    DSASSERT(pbmi != NULL);
    if (pbmi == nullptr)
        return E_INVALIDARG;
    DSASSERT(ppBmp != NULL);
    if (ppBmp == nullptr)
        return E_POINTER;

    *pbmi = BITMAPINFOHEADER{};
    *ppBmp = nullptr;
    if (ppAlpha != nullptr)
        *ppAlpha = nullptr;

    // A bitmap without an alpha plane can be made while the file is read.
    CTga tga;
    CTaskBytes pBmp;
    CTga::eBitmap eBitmap = CTga::eBitmap_ToConvert;
    HRESULT hr = ppAlpha == nullptr ? tga.LoadFile(pszFile, fccType, &pBmp, &eBitmap) : tga.LoadFile(pszFile);
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
        hr = MakeBitmap(tga, fccType, ppAlpha != nullptr && (tga.HasAlpha() || bForceAlpha), pBmp, pAlpha);
        if (FAILED(hr))
            return hr;
    }
    *pbmi = bmi;
    *ppBmp = pBmp.Detach();
    if (ppAlpha != nullptr)
        *ppAlpha = pAlpha.Detach();
    return S_OK;
}

HRESULT TgaToBmpFile(const wchar_t* pszTgaFile, const wchar_t* pszBmpFile,
                     const wchar_t* pszAlphaFile) noexcept
{
    DSASSERT(pszBmpFile != NULL);
    if (pszBmpFile == nullptr)
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
    if (FAILED(hr) || pszAlphaFile == nullptr)
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
