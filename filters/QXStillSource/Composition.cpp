// From the picture to the frame in output format.
#include "CoQXStillSource.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "AspectRects.h"
#include "dstl/dshowx/BmpHeader.h"
#include "dstl/dshowx/DSVideo.h"
#include "imgconverter/ImgConverter.h"

namespace
{

constexpr LONG nOpaque = 255;
constexpr int nWholeFrame = -1; // not one of the two fields

LONG AbsHeightLong(const PicProps& pic) noexcept
{
    return static_cast<LONG>(std::min<DWORD>(AbsHeight(pic.nHeight), INT_MAX));
}

/// Bytes of a picture that is no frame yet; 0 for one that no block can hold.
DWORD BlockBytes(const PicProps& pic) noexcept
{
    const uint64_t cbPicture = FrameBytes(pic);
    return cbPicture <= MAXDWORD ? static_cast<DWORD>(cbPicture) : 0;
}

/// The bytes in use, or null.
template <class TBlob>
BYTE* BlobData(const TBlob& blob) noexcept
{
    return blob.GetSize() != 0 ? blob.GetPtr() : nullptr;
}

/// Paints the margins of a frame. A null frame or a null format does nothing.
void FillMargins(BYTE* pbFrame, const PicProps* picFrame, DWORD dwColor, const RECT& rcMargins) noexcept
{
    if (pbFrame == nullptr || picFrame == nullptr)
        return;
    RECT arrRects[4];
    const int nRects = MarginRects(picFrame->nWidth, AbsHeightLong(*picFrame), rcMargins, arrRects);
    for (int i = 0; i < nRects; i++)
        Img_Fill(pbFrame, picFrame, dwColor, &arrRects[i], nOpaque, nWholeFrame);
}

/// Whether every byte of a frame gets written when a picture is scaled into a rectangle of it and the margins
/// are painted: the format can be scaled, its rows have no padding, and no chroma row lies in both.
bool IsWhollyWritten(const PicProps& picFrame, const RECT& rcPicture) noexcept
{
    bool bPlanar = false;
    DWORD dwBitCount = 0;
    if (!Img_CheckProps(&picFrame, false) || !GetPicFormat(&picFrame, nullptr, &bPlanar, &dwBitCount))
        return false;
    const uint64_t nPixels = static_cast<uint64_t>(picFrame.nWidth) * AbsHeight(picFrame.nHeight);
    const bool bEvenRows = rcPicture.top % 2 == 0 && rcPicture.bottom % 2 == 0;
    return FrameBytes(picFrame) * 8 == nPixels * dwBitCount && (!bPlanar || bEvenRows);
}

/// Scales a picture into a rectangle of the frame. What is not written is zero, whatever the block held
/// before.
void ScaleIntoFrame(CBLOBHolder<CTaskMemory>& blobFrame, const PicProps& picFrame, const RECT& rcFrame,
                    const BYTE* pbPicture, const PicProps& picPicture, const RECT& rcPicture,
                    eImgResize eMode) noexcept
{
    const bool bNewBlock = blobFrame.Resize(static_cast<DWORD>(SampleBytes(picFrame))) == S_OK;
    BYTE* const pbFrame = BlobData(blobFrame);
    if (pbFrame != nullptr && (bNewBlock || !IsWhollyWritten(picFrame, rcFrame)))
        blobFrame.Fill(0);
    const HRESULT hr =
        Img_ResizeFrame(pbPicture, pbFrame, &picPicture, &picFrame, &rcPicture, &rcFrame, eMode, nullptr, 0);
    if (hr != S_OK && pbFrame != nullptr)
        blobFrame.Fill(0);
}

} // namespace

HRESULT CCoQXStillSourceOut::FillSampleBuffer(BYTE* pbBuf, DWORD cbBuf) noexcept
{
    DSASSERT(pbBuf != NULL);
    if (pbBuf == nullptr)
        return E_INVALIDARG;
    CScopedLock crs(&m_crsPicture);
    if (m_blobFrame.GetSize() == 0)
    {
        const HRESULT hr = ComposeFrame();
        if (FAILED(hr))
            return hr;
    }
    if (m_blobFrame.IsValid())
        memcpy(pbBuf, m_blobFrame.GetPtr(), std::min(m_blobFrame.GetSize(), cbBuf));
    return S_OK;
}

HRESULT CCoQXStillSourceOut::ComposeFrame() noexcept
{
    const CCoQXStillSource* const pFilter = m_pFilter;
    if (pFilter == nullptr)
        return E_UNEXPECTED;
    const QG_VID_PROPS props = pFilter->GetProps();

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
    BYTE* pbSource = BlobData(blobPixels);

    // The format may claim more than the block holds, as after "transparent" over a 24-bit picture: what is
    // not there reads as zero.
    CBLOBHolder<CTaskMemory> blobPadded;
    const DWORD cbSource = BlockBytes(m_picSource);
    if (cbSource == 0)
    {
        pbSource = nullptr;
    }
    else if (pbSource != nullptr && blobPixels.GetSize() < cbSource)
    {
        blobPadded.Alloc(cbSource, true, 0);
        if (blobPadded.IsValid())
            memcpy(blobPadded.GetPtr(), pbSource, blobPixels.GetSize());
        pbSource = BlobData(blobPadded);
    }

    PicProps picImage = m_picSource;
    RECT rcConvertIn = {0, 0, picImage.nWidth, AbsHeightLong(picImage)};
    RECT rcConvertOut = {0, 0, m_picOutput.nWidth, AbsHeightLong(m_picOutput)};

    CBLOBHolder<CTaskMemory> blobBuffer;
    if (m_picSource.fccType != m_picOutput.fccType)
    {
        picImage.fccType = m_picOutput.fccType;
        picImage.nWidth &= ~1;
        picImage.nHeight = AbsHeightLong(picImage) & ~1;
        picImage.nRowWidth = picImage.nWidth;
        rcConvertIn = {0, 0, picImage.nWidth, picImage.nHeight};
        blobBuffer.Alloc(BlockBytes(picImage), true, 0);
        const HRESULT hr = Img_Convert(pbSource, BlobData(blobBuffer), &m_picSource, &picImage, &rcConvertIn,
                                       &rcConvertIn, true, nullptr);
        DSASSERT(hr == S_OK);
        pbSource = BlobData(blobBuffer);
    }

    // The default keeps the shape only of a picture that differs in both directions; one of the same height
    // is stretched, and this is deliberate. Values beyond the last one are letter-boxed.
    const bool bStretch = props.eKeepAspect == eQGKA_None ||
                          (props.eKeepAspect == eQGKA_Default &&
                           (m_picSource.nWidth == m_picOutput.nWidth ||
                            AbsHeight(m_picSource.nHeight) == AbsHeight(m_picOutput.nHeight)));
    if (!bStretch)
    {
        const double dblPixelAspect =
            PixelAspect(rcConvertOut.right - rcConvertOut.left, rcConvertOut.bottom - rcConvertOut.top,
                        props.nAspectX, props.nAspectY);
        CalcAspectRects(&picImage, &m_picOutput, props.eKeepAspect == eQGKA_Crop ? eAR_Crop : eAR_LetterBox,
                        &rcConvertIn, &rcConvertOut, 1.0, dblPixelAspect);
    }

    ScaleIntoFrame(m_blobFrame, m_picOutput, rcConvertOut, pbSource, picImage, rcConvertIn,
                   bLoaded ? eIR_Cubic : eIR_Nearest);
    FillMargins(BlobData(m_blobFrame), &m_picOutput, 0, MarginsOfRect(rcConvertOut));
    return S_OK;
}

HRESULT CCoQXStillSourceOut::MakeSolidPicture(CBLOBHolder<CTaskMemory>& blobImage) noexcept
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

HRESULT CCoQXStillSourceOut::MakeBuiltInPicture(CBLOBHolder<CTaskMemory>& blobImage) noexcept
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
