#include "dstl/Old/GDIPlusHelpers.h"

#include "Video/TgaBmp/BmpFile.h"
#include "Video/TgaBmp/TgaBmp.h"
#include "asm/SIMD64Mix.h"
#include "dstl/Old/GDIPlusFrames.h"
#include "dstl/WinAPI/SehCopy.h"
#include "dstl/dshowx/DSTrace.h"

#include <gdiplus.h>
#include <vfwmsgs.h>

#include <algorithm>
#include <cstring>

namespace
{
/// A header and the longest colour table behind it: GetDIBits fills one in for palette bitmaps.
struct DibHeader
{
    BITMAPINFOHEADER bmi;
    RGBQUAD rgColours[256];
};
static_assert(sizeof(DibHeader) == 1064);

/// What the readers of this system leave behind: a header and its pixels.
struct ReadPicture
{
    BITMAPINFOHEADER bmInfo{};
    CTaskBytes pPicture;

    bool IsTrueColour() const noexcept { return bmInfo.biBitCount == 32 || bmInfo.biBitCount == 24; }

    /// Files and handles of 32 bits hold premultiplied colour.
    void MakeStraight() noexcept
    {
        if (bmInfo.biBitCount == 32)
            Unpremultiply(pPicture.Get(), pPicture.Get(), RecordedPictureSize(bmInfo) / 4);
    }
};

HRESULT ReadHandle(HBITMAP hBitmap, bool bAlpha, ReadPicture& picture) noexcept
{
    const HRESULT hr = CPicturePersist::LoadFromHBITMAP(hBitmap, &picture.bmInfo, picture.pPicture.Out());
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error,
              L"WARNING !!! CCoCharGen::CCGItem::InitImage - CPicturePersist::LoadFromHBITMAP('%ws') FAILED "
              L"hr = 0x%08X\n",
              L"HANDLE", hr);
        return hr;
    }
    if (!picture.IsTrueColour())
    {
        trace(atlTraceGeneral, eTL_Error,
              L"CCoCharGen::CCGItem::InitImage - CPicturePersist::LoadFromHBITMAP('%ws') Bits:%d Size:%d\n",
              L"HANDLE", static_cast<int>(picture.bmInfo.biBitCount),
              static_cast<int>(picture.bmInfo.biSizeImage));
        return VFW_E_INVALID_MEDIA_TYPE;
    }
    if (bAlpha)
        picture.MakeStraight();
    return S_OK;
}

HRESULT ReadTga(const wchar_t* pszFile, bool bAlpha, ReadPicture& picture) noexcept
{
    const HRESULT hr =
        TgaBmpConv(pszFile, FOURCC_ARGB32, &picture.bmInfo, picture.pPicture.Out(), nullptr, false);
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error,
              L"WARNING !!! CCoCharGen::CCGItem::InitImage - TgaBmpConv('%ws') FAILED hr = 0x%08X\n", pszFile,
              hr);
        return hr;
    }
    if (!bAlpha) // TGA files hold straight alpha
        PremultiplyAlpha(picture.pPicture.Get(), static_cast<size_t>(picture.bmInfo.biWidth) * 4,
                         static_cast<DWORD>(picture.bmInfo.biWidth), AbsHeight(picture.bmInfo.biHeight));
    return S_OK;
}

HRESULT ReadBmp(const wchar_t* pszFile, bool bAlpha, ReadPicture& picture) noexcept
{
    const HRESULT hr = CPicturePersist::LoadFromFile(pszFile, &picture.bmInfo, picture.pPicture.Out());
    if (FAILED(hr))
    {
        trace(atlTraceGeneral, eTL_Error,
              L"WARNING CCoCharGen::CCGItem::InitImage - CPicturePersist::LoadFromFile('%ws') FAILED "
              L"hr = 0x%08X\n",
              pszFile, hr);
        return hr;
    }
    if (!picture.IsTrueColour())
        return E_FAIL;
    if (bAlpha)
        picture.MakeStraight();
    return S_OK;
}

/// The readers of this system, by the extension of the name.
struct Reader
{
    const wchar_t* pszExtension;
    HRESULT (*pfnRead)(const wchar_t* pszFile, bool bAlpha, ReadPicture& picture) noexcept;
};

constexpr Reader rgReaders[] = {{L".tga", ReadTga}, {L".BMP", ReadBmp}};

HRESULT ReadFileByExtension(const wchar_t* pszFile, bool bAlpha, ReadPicture& picture) noexcept
{
    const wchar_t* pszExtension = CPicturePersist::FileExtension(pszFile);
    for (const Reader& reader : rgReaders)
    {
        if (lstrcmpiW(pszExtension, reader.pszExtension) == 0)
            return reader.pfnRead(pszFile, bAlpha, picture);
    }
    return E_FAIL;
}

HRESULT AddFrame(ReadPicture& picture, CSimpleArray2<PictureFrame>& arrImages) noexcept
{
    if (!arrImages.Add(PictureFrame()))
        return E_OUTOFMEMORY;
    PictureFrame& frame = arrImages[arrImages.GetSize() - 1];
    frame.props.nWidth = picture.bmInfo.biWidth;
    frame.props.nHeight = picture.bmInfo.biHeight;
    frame.props.nRowWidth = picture.bmInfo.biWidth;
    frame.props.fccType = picture.bmInfo.biBitCount == 24 ? FOURCC_RGB24 : FOURCC_ARGB32;
    // For 24 bits this is deliberately more than the rows take; the readers made the block that large.
    const DSTLBLOB imgBlob = {RecordedPictureSize(picture.bmInfo), picture.pPicture.Detach()};
    frame.blob.Attach(&imgBlob);
    return S_OK;
}

bool FileExists(const wchar_t* pszFile) noexcept
{
    return GetFileAttributesW(pszFile) != INVALID_FILE_ATTRIBUTES;
}

/// Bytes that a block needs for GetDIBits and for what is recorded about it; 0 when that is too much.
DWORD DibBlockSize(const BITMAPINFOHEADER& bmi) noexcept
{
    const DWORD cbRecorded = PictureBlockSize(bmi);
    if (cbRecorded == 0)
        return 0;
    const ULONGLONG cbRow = (ULONGLONG{static_cast<DWORD>(bmi.biWidth)} * bmi.biBitCount + 31) / 32 * 4;
    const ULONGLONG cbRows = cbRow * AbsHeight(bmi.biHeight);
    return cbRows <= MAXDWORD ? std::max(cbRecorded, static_cast<DWORD>(cbRows)) : 0;
}

HRESULT ReadDib(HDC hdc, HBITMAP hBitmap, BITMAPINFOHEADER* pBmpHeader, BYTE** ppPicture) noexcept
{
    DibHeader dib{};
    dib.bmi.biSize = sizeof(dib.bmi);
    BITMAPINFO* pInfo = reinterpret_cast<BITMAPINFO*>(&dib);
    SetLastError(ERROR_SUCCESS);
    if (GetDIBits(hdc, hBitmap, 0, 0, nullptr, pInfo, DIB_RGB_COLORS) == 0)
        return DSTLLastError();
    // These two are reported with colour masks that say what every reader takes for granted.
    if (dib.bmi.biBitCount == 24 || dib.bmi.biBitCount == 32)
        dib.bmi.biCompression = BI_RGB;
    if (pBmpHeader != nullptr)
        SEH_CopyMemory(pBmpHeader, &dib.bmi, sizeof(dib.bmi));
    if (ppPicture == nullptr)
        return S_OK;

    const DWORD cbBlock = DibBlockSize(dib.bmi);
    if (cbBlock == 0)
        return E_OUTOFMEMORY;
    *ppPicture = static_cast<BYTE*>(CoTaskMemAlloc(cbBlock));
    if (*ppPicture == nullptr)
        return E_OUTOFMEMORY; // GetDIBits would take the null for another question about the header
    std::memset(*ppPicture, 0, cbBlock);
    SetLastError(ERROR_SUCCESS);
    if (GetDIBits(hdc, hBitmap, 0, AbsHeight(dib.bmi.biHeight), *ppPicture, pInfo, DIB_RGB_COLORS) == 0)
        return DSTLLastError(); // the block stays with the caller
    return S_OK;
}
} // namespace

void GdiPlusStart(ULONG_PTR* pToken) noexcept
{
    *pToken = 0;
    Gdiplus::GdiplusStartupInput gdiplusStartupInput(nullptr, FALSE, FALSE); // version 1
    // The result is not looked at: without GDI+ the pictures that need it fail to load.
    Gdiplus::GdiplusStartup(pToken, &gdiplusStartupInput, nullptr);
}

void GdiPlusStop(ULONG_PTR nToken) noexcept
{
    Gdiplus::GdiplusShutdown(nToken);
}

HRESULT CPicturePersist::LoadPicture(const wchar_t* pszFile, HBITMAP hBitmap, bool bAlpha,
                                     CBLOBHolder<CTaskMemory>& blob, PicProps& props) noexcept
{
    if (!FileExists(pszFile)) // whatever the reason
        return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);

    CSimpleArray2<PictureFrame> arrImages;
    const HRESULT hr = LoadFrames(pszFile, hBitmap, bAlpha, arrImages, true);
    if (FAILED(hr))
        return hr;
    DSASSERT(arrImages.GetSize());
    if (arrImages.GetSize() == 0)
        return E_FAIL;

    DSTLBLOB imgBlob;
    arrImages[0].blob.Detach(&imgBlob);
    blob.Attach(&imgBlob);
    props = arrImages[0].props;
    return S_OK;
}

HRESULT CPicturePersist::LoadFrames(const wchar_t* pszFile, HBITMAP hBitmap, bool bAlpha,
                                    CSimpleArray2<PictureFrame>& arrImages, bool bFirstOnly) noexcept
{
    if (!FileExists(pszFile)) // also in front of a handle
        return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);

    ReadPicture picture;
    const HRESULT hr = hBitmap != nullptr ? ReadHandle(hBitmap, bAlpha, picture)
                                          : ReadFileByExtension(pszFile, bAlpha, picture);
    if (SUCCEEDED(hr))
        return AddFrame(picture, arrImages);
    // The refusal of a reader is not final: GDI+ goes by content.
    return LoadFramesByGdiPlus(pszFile, hBitmap, bAlpha, arrImages, bFirstOnly);
}

HRESULT CPicturePersist::LoadFromFile(const wchar_t* pszFileName, BITMAPINFOHEADER* pBmpHeader,
                                      BYTE** ppPicture) noexcept
{
    return LoadBmpFile(pszFileName, pBmpHeader, ppPicture);
}

HRESULT CPicturePersist::LoadFromHBITMAP(HBITMAP hBitmap, BITMAPINFOHEADER* pBmpHeader,
                                         BYTE** ppPicture) noexcept
{
    if (hBitmap == nullptr)
        return E_INVALIDARG;
    if (pBmpHeader == nullptr && ppPicture == nullptr)
        return E_POINTER;

    if (ppPicture != nullptr)
        *ppPicture = nullptr;
    const COwnedScreenDc dc(GetDC(nullptr));
    return ReadDib(dc.Get(), hBitmap, pBmpHeader, ppPicture);
}

const wchar_t* CPicturePersist::FileExtension(const wchar_t* pszName) noexcept
{
    if (pszName == nullptr || *pszName == 0)
        return pszName;
    const wchar_t* pszEnd = pszName + lstrlenW(pszName);
    for (const wchar_t* psz = pszEnd - 1; psz > pszName; --psz)
    {
        if (*psz == L'.')
            return psz;
        if (*psz == L'/' || *psz == L'\\' || *psz == L':')
            break;
    }
    return pszEnd;
}
