// What to show: names, files and bitmap handles.
#include "CoQXStillSource.h"

#include <cstring>
#include <utility>

#include "AlphaPlane.h"
#include "dstl/dshowx/DSVideo.h"

namespace
{

/// A name that stands for a built-in picture or a colour.
struct SpecialName
{
    const wchar_t* pszName;
    LONG nPictureId;
    bool bColor;       ///< nSolidColor is to be stored
    DWORD nSolidColor; ///< 0xAABBGGRR
    bool bAlpha;       ///< the picture becomes one with alpha
};

/// Compared in this order; the first match decides.
constexpr SpecialName arrSpecialNames[] = {
    {L"", ePI_Bars, false, 0, false},
    {L"bars", ePI_Bars, false, 0, false},
    {L"videoq", ePI_VideoQuality, false, 0, false},
    {L"bars75", ePI_Bars75, false, 0, false},
    {L"bars100", ePI_Bars100, false, 0, false},
    {L"barsHD", ePI_BarsHD, false, 0, false},
    {L"barsSD", ePI_BarsSD, false, 0, false},
    {L"red", ePI_SolidColor, true, 0xFF0000FF, false},
    {L"green", ePI_SolidColor, true, 0xFF00FF00, false},
    {L"blue", ePI_SolidColor, true, 0xFFFF0000, false},
    {L"white", ePI_SolidColor, true, 0xFFFFFFFF, false},
    {L"black", ePI_SolidColor, true, 0xFF000000, false},
    {L"none", ePI_SolidColor, true, 0xFF000000, false}, // the same as "black"
    {L"transparent", ePI_SolidColor, true, 0, true},
};

const SpecialName* FindSpecialName(LPCWSTR pszName) noexcept
{
    for (const SpecialName& row : arrSpecialNames)
    {
        if (lstrcmpiW(pszName, row.pszName) == 0)
            return &row;
    }
    return nullptr;
}

using CPlane = CBLOBHolder<CHeapMemory>;

bool SameBytes(const CPlane& blobOne, const CPlane& blobTwo) noexcept
{
    return blobOne.GetSize() == blobTwo.GetSize() &&
           (blobOne.GetSize() == 0 || memcmp(blobOne.GetPtr(), blobTwo.GetPtr(), blobOne.GetSize()) == 0);
}

/// Whether the alpha of a loaded picture says anything: all transparent and all opaque say nothing.
/// \param picSource in and out: fccType becomes FOURCC_RGB32 or FOURCC_ARGB32
HRESULT ClassifyAlpha(const CBLOBHolder<CTaskMemory>& blobSource, PicProps& picSource) noexcept
{
    constexpr DWORD cbPixel = 4;
    const DWORD cbPlane = blobSource.GetSize() / cbPixel;
    CPlane blobAlpha;
    CPlane blobZero;
    CPlane blobSolid;
    if (FAILED(blobAlpha.Alloc(cbPlane, true, 0)) || FAILED(blobZero.Alloc(cbPlane, true, 0)) ||
        FAILED(blobSolid.Alloc(cbPlane, true, 0xFF)))
        return E_OUTOFMEMORY;

    const size_t nRowWidth = static_cast<DWORD>(picSource.nRowWidth);
    ExtractAlpha(blobSource.GetPtr(), blobSource.GetSize(), cbPixel * nRowWidth, blobAlpha.GetPtr(), cbPlane,
                 nRowWidth, picSource.nWidth, AbsHeight(picSource.nHeight));
    const bool bPlain = SameBytes(blobAlpha, blobZero) || SameBytes(blobAlpha, blobSolid);
    picSource.fccType = bPlain ? FOURCC_RGB32 : FOURCC_ARGB32;
    return S_OK;
}

/// The same for a bitmap handle, which is given a solid alpha when it has none.
/// \param mtTemp in and out: the subtype becomes MEDIASUBTYPE_ARGB32 for a picture with alpha
HRESULT ClassifyHandleAlpha(const BITMAPINFOHEADER& biImage, BYTE* pbPixels, DWORD cbPixels,
                            CMType& mtTemp) noexcept
{
    CPlane blobAlpha;
    CPlane blobZero;
    if (FAILED(blobAlpha.Alloc(biImage.biSizeImage, true, 0)) ||
        FAILED(blobZero.Alloc(biImage.biSizeImage, true, 0)))
        return E_OUTOFMEMORY;

    // Both steps are four times those of the rows, so that only every fourth row is looked at and the rows
    // end after a quarter of the picture: this is deliberate.
    const size_t nRowWidth = static_cast<DWORD>(biImage.biWidth);
    ExtractAlpha(pbPixels, cbPixels, 16 * nRowWidth, blobAlpha.GetPtr(), blobAlpha.GetSize(), 4 * nRowWidth,
                 biImage.biWidth, AbsHeight(biImage.biHeight));
    if (SameBytes(blobAlpha, blobZero))
        SetAlphaSolid(pbPixels, cbPixels);
    else
        mtTemp.subtype = MEDIASUBTYPE_ARGB32;
    return S_OK;
}

} // namespace

HRESULT CCoQXStillSourceOut::SelectPictureByName(const CCoQXStillSource* pFilter, LPCWSTR pszName) noexcept
{
    CScopedLock crs(&m_crsPicture);
    const LPCWSTR pszPicture = pszName != nullptr ? pszName : L"";
    if (const SpecialName* pSpecial = FindSpecialName(pszPicture))
    {
        // Neither the frame nor a loaded picture is dropped here: a loaded picture goes on being shown.
        m_nPictureId = pSpecial->nPictureId;
        if (pSpecial->bColor)
            m_nSolidColor = pSpecial->nSolidColor;
        if (pSpecial->bAlpha)
            m_picSource.fccType = FOURCC_ARGB32;
        return S_OK;
    }

    const bool bAlpha = pFilter->GetProps().fccType == eQGFCC_ARGB32;
    const HRESULT hr = CPicturePersist::LoadPicture(pszPicture, nullptr, bAlpha, m_blobSource, m_picSource);
    if (FAILED(hr))
        return hr;
    m_blobFrame.SetSize(0);
    return S_OK;
}

bool CCoQXStillSource::GetListEntry(LONGLONG nFrame, CComBSTR& bsName) noexcept
{
    CScopedLock crs(&m_apOut->m_crsPicture);
    const LONGLONG nEntries = m_arrFiles.GetSize();
    if (nEntries <= 1)
        return false;
    const LONGLONG nEntry = (nFrame % nEntries + nEntries) % nEntries; // a seek can go before the first frame
    bsName = m_arrFiles[static_cast<int>(nEntry)];
    return true;
}

STDMETHODIMP CCoQXStillSource::SetPicture(BSTR _bsFileName) noexcept
{
    CCoQXStillSourceOut* const pOut = OutPin();
    if (pOut == nullptr)
        return E_UNEXPECTED;

    CFileNames arrFiles;
    ScanFileList(_bsFileName, arrFiles);
    const int nEntries = arrFiles.GetSize();
    CComBSTR bsFirst;
    {
        CScopedLock crs(&pOut->m_crsPicture);
        m_arrFiles = std::move(arrFiles);
        if (nEntries > 0)
            bsFirst = m_arrFiles[0];
    }
    if (nEntries == 0)
        return E_INVALIDARG;

    HRESULT hr = pOut->SelectPictureByName(this, bsFirst);
    if (FAILED(hr))
        return hr;
    if (nEntries > 1)
    {
        // Within a call of the pin perhaps without the lock: the worker, which has it then, only reads the
        // number.
        const CScopedTryLock crs(&pOut->m_crsPosition, !pOut->IsInCall());
        pOut->m_nStopFrame = nEntries;
    }
    {
        CScopedLock crs(&pOut->m_crsPicture);
        PicProps& picSource = pOut->m_picSource;
        const bool bHasAlphaByte = picSource.fccType == FOURCC_RGB32 || picSource.fccType == FOURCC_ARGB32;
        if (bHasAlphaByte && pOut->m_blobSource.GetSize() != 0)
        {
            hr = ClassifyAlpha(pOut->m_blobSource, picSource);
            if (FAILED(hr))
                return hr;
        }
    }
    {
        CComBSTR bsFileName(_bsFileName);
        CScopedLock crs(&m_crsNames);
        std::swap(m_bsFileName.m_str, bsFileName.m_str);
    }
    return UpdateOutputType();
}

STDMETHODIMP CCoQXStillSource::SetPictureHandle(int _hBitmap) noexcept
{
    CCoQXStillSourceOut* const pOut = OutPin();
    if (_hBitmap == 0)
        return E_INVALIDARG;
    if (pOut == nullptr)
        return E_UNEXPECTED;

    BITMAPINFOHEADER biImage{};
    DSTLBLOB blobPicture{};
    const HBITMAP hBitmap =
        reinterpret_cast<HBITMAP>(static_cast<INT_PTR>(_hBitmap)); // widened with its sign
    HRESULT hr = CPicturePersist::LoadFromHBITMAP(hBitmap, &biImage, &blobPicture.pbData);
    blobPicture.cbData = biImage.biSizeImage;
    CBLOBHolder<CTaskMemory> blobImage;
    blobImage.Attach(&blobPicture); // frees the pixels wherever this ends, also those of a failed call
    if (FAILED(hr))
        return hr;

    CMType mtTemp;
    hr = MTHelp::MTCreateVideo(&mtTemp, FORMAT_VideoInfo, reinterpret_cast<const BITMAPINFO*>(&biImage));
    if (FAILED(hr))
        return hr;
    if (biImage.biBitCount == 32)
    {
        hr = ClassifyHandleAlpha(biImage, blobImage.GetPtr(), blobImage.GetSize(), mtTemp);
        if (FAILED(hr))
            return hr;
    }

    {
        CScopedLock crs(&pOut->m_crsPicture);
        const int nFormat = MTGetPicProps(&mtTemp, &pOut->m_picSource);
        DSASSERT(nFormat != -1);
        if (nFormat < 0)
            return E_INVALIDARG;
        pOut->m_blobFrame.SetSize(0);
        pOut->m_blobSource = std::move(blobImage);
    }
    return UpdateOutputType();
}
