#include "StillPicture.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "AlphaPolicy.h"
#include "Composition.h"
#include "dstl/Old/GDIPlusHelpers.h"
#include "dstl/WinAPI/Atl.h"
#include "Video/TgaBmp/BmpHeader.h"
#include "dstl/dshowx/DSVideo.h"
#include "imgconverter/ImgConverter.h"

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

constexpr LONG nOpaque = 255;
constexpr int nWholeFrame = -1; // not one of the two fields

} // namespace

HRESULT CStillPicture::SetList(LPCWSTR pszName, bool bKeepAlpha, int& nEntries) noexcept
{
    CFileNames arrFiles;
    ScanFileList(pszName, arrFiles);
    nEntries = arrFiles.GetSize();
    CComBSTR bsFirst;
    {
        CScopedLock crs(&m_crsPicture);
        m_arrFiles = std::move(arrFiles);
        if (nEntries > 0)
            bsFirst = m_arrFiles[0];
    }
    return nEntries > 0 ? SelectPictureByName(bsFirst, bKeepAlpha) : E_INVALIDARG;
}

void CStillPicture::SelectListEntry(LONGLONG nFrame, bool bKeepAlpha) noexcept
{
    CScopedLock crs(&m_crsPicture);
    const LONGLONG nEntries = m_arrFiles.GetSize();
    if (nEntries <= 1)
        return;
    const LONGLONG nEntry = (nFrame % nEntries + nEntries) % nEntries; // a seek can go before the first frame
    SelectPictureByName(m_arrFiles[static_cast<int>(nEntry)], bKeepAlpha);
}

HRESULT CStillPicture::SelectPictureByName(LPCWSTR pszName, bool bKeepAlpha) noexcept
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
    const HRESULT hr =
        CPicturePersist::LoadPicture(pszPicture, nullptr, bKeepAlpha, m_blobSource, m_picSource);
    if (FAILED(hr))
        return hr;
    m_blobFrame.SetSize(0);
    return S_OK;
}

void CStillPicture::SetPixels(CBLOBHolder<CTaskMemory>&& blobPixels, const PicProps& picPixels) noexcept
{
    CScopedLock crs(&m_crsPicture);
    m_picSource = picPixels;
    m_blobFrame.SetSize(0);
    m_blobSource = std::move(blobPixels);
}

HRESULT CStillPicture::ClassifyAlpha() noexcept
{
    CScopedLock crs(&m_crsPicture);
    const bool bHasAlphaByte = m_picSource.fccType == FOURCC_RGB32 || m_picSource.fccType == FOURCC_ARGB32;
    if (!bHasAlphaByte || m_blobSource.GetSize() == 0)
        return S_OK;
    return ::ClassifyAlpha(m_blobSource.GetPtr(), m_blobSource.GetSize(), m_picSource);
}

PicProps CStillPicture::GetSourceProps() const noexcept
{
    CScopedLock crs(&m_crsPicture);
    return m_picSource;
}

void CStillPicture::SetOutput(const PicProps& picOutput) noexcept
{
    CScopedLock crs(&m_crsPicture);
    m_blobFrame.SetSize(0);
    m_picOutput = picOutput;
}

HRESULT CStillPicture::FillSampleBuffer(BYTE* pbBuf, DWORD cbBuf, const QG_VID_PROPS& props) noexcept
{
    DSASSERT(pbBuf != NULL);
    if (pbBuf == nullptr)
        return E_INVALIDARG;
    CScopedLock crs(&m_crsPicture);
    if (m_blobFrame.GetSize() == 0)
    {
        const HRESULT hr = ComposeFrame(props);
        if (FAILED(hr))
            return hr;
    }
    if (m_blobFrame.IsValid())
        memcpy(pbBuf, m_blobFrame.GetPtr(), std::min(m_blobFrame.GetSize(), cbBuf));
    return S_OK;
}

HRESULT CStillPicture::ComposeFrame(const QG_VID_PROPS& props) noexcept
{
    // A colour or a built-in picture leaves its format in m_picSource, from where the next default type
    // comes.
    CBLOBHolder<CTaskMemory> blobImage;
    const bool bLoaded = m_blobSource.GetSize() != 0;
    if (!bLoaded)
    {
        const HRESULT hr =
            m_nPictureId == ePI_SolidColor ? MakeSolidPicture(blobImage) : MakeBuiltInPicture(blobImage);
        if (FAILED(hr))
            return hr;
    }
    const CBLOBHolder<CTaskMemory>& blobPixels = bLoaded ? m_blobSource : blobImage;
    ComposePicture({BlobData(blobPixels), blobPixels.GetSize(), m_picSource, bLoaded}, m_picOutput, props,
                   m_blobFrame);
    return S_OK;
}

HRESULT CStillPicture::MakeSolidPicture(CBLOBHolder<CTaskMemory>& blobImage) noexcept
{
    m_picSource = m_picOutput;
    blobImage.Alloc(static_cast<DWORD>(SampleBytes(m_picSource)), true, 0);
    BYTE* const pbImage = BlobData(blobImage);
    if (pbImage == nullptr)
        return S_OK; // the frame stays unfinished
    Img_Fill(pbImage, &m_picSource, m_nSolidColor, nullptr, nOpaque, nWholeFrame);
    if (m_picOutput.fccType == FOURCC_ARGB32 && m_nSolidColor == 0)
        blobImage.Fill(0);
    return S_OK;
}

HRESULT CStillPicture::MakeBuiltInPicture(CBLOBHolder<CTaskMemory>& blobImage) noexcept
{
    BITMAPINFOHEADER bmInfo{};
    DSTLBLOB blobPicture{};
    HRESULT hr =
        LoadBmpResource(_Module.GetResourceInstance(), FindResourceNumber(m_nPictureId, m_picOutput.nHeight),
                        L"CUSTOM", &bmInfo, &blobPicture.pbData);
    DSASSERT(hr == S_OK);
    blobPicture.cbData = bmInfo.biSizeImage;
    blobImage.Attach(&blobPicture);

    // After a failure the header is zero, which ends here.
    CMType mtTemp;
    hr = MTHelp::MTCreateVideo(&mtTemp, FORMAT_VideoInfo, reinterpret_cast<const BITMAPINFO*>(&bmInfo));
    if (FAILED(hr))
        return hr;
    const int nFormat = MTGetPicProps(&mtTemp, &m_picSource);
    DSASSERT(nFormat != -1);
    return nFormat < 0 ? E_INVALIDARG : S_OK;
}
