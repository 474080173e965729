// From the picture to the frame in output format.
#include "Composition.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "AspectRects.h"
#include "dstl/WinAPI/Wrappers.h"
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
void ScaleIntoFrame(CBLOBHolder<CTaskMemory>& blobFrame, const PicProps& picFrame, const RECT& rcConvertOut,
                    const BYTE* pbPicture, const PicProps& picPicture, const RECT& rcPicture,
                    eImgResize eMode) noexcept
{
    const bool bNewBlock = blobFrame.Resize(static_cast<DWORD>(SampleBytes(picFrame))) == S_OK;
    BYTE* const pbFrame = BlobData(blobFrame);
    if (pbFrame != nullptr && (bNewBlock || !IsWhollyWritten(picFrame, rcConvertOut)))
        blobFrame.Fill(0);
    const HRESULT hr = Img_ResizeFrame(pbPicture, pbFrame, &picPicture, &picFrame, &rcPicture, &rcConvertOut,
                                       eMode, nullptr, 0);
    if (hr != S_OK && pbFrame != nullptr)
        blobFrame.Fill(0);
}

/// The pixels as the format claims them: a block that is too small, as after "transparent" over a 24-bit
/// picture, is copied to one that ends in zeros. \param blobPadded holds the copy \return null without pixels
BYTE* WholePixels(const PictureView& picture, CBLOBHolder<CTaskMemory>& blobPadded) noexcept
{
    const DWORD cbClaimed = BlockBytes(picture.pic);
    if (cbClaimed == 0 || picture.pbPixels == nullptr)
        return nullptr;
    if (picture.cbPixels >= cbClaimed)
        return picture.pbPixels;
    blobPadded.Alloc(cbClaimed, true, 0);
    if (blobPadded.IsValid())
        memcpy(blobPadded.GetPtr(), picture.pbPixels, picture.cbPixels);
    return BlobData(blobPadded);
}

/// Converts a picture, cut to an even size, to another format.
/// \param blobConverted holds the result \param picConverted out: its format \return its pixels, or null
BYTE* Converted(BYTE* pbSource, const PicProps& picSource, DWORD fccType,
                CBLOBHolder<CTaskMemory>& blobConverted, PicProps& picConverted) noexcept
{
    picConverted = picSource;
    picConverted.fccType = fccType;
    picConverted.nWidth &= ~1;
    picConverted.nHeight = AbsHeightLong(picConverted) & ~1;
    picConverted.nRowWidth = picConverted.nWidth;
    const RECT rcWhole = {0, 0, picConverted.nWidth, picConverted.nHeight};
    blobConverted.Alloc(BlockBytes(picConverted), true, 0);
    const HRESULT hr = Img_Convert(pbSource, BlobData(blobConverted), &picSource, &picConverted, &rcWhole,
                                   &rcWhole, true, nullptr);
    DSASSERT(hr == S_OK);
    return BlobData(blobConverted);
}

/// The aspect policy as a number. Moved by bytes, as a value outside the enumeration, which a host may set,
/// may not be read as one.
int AspectPolicy(const QG_VID_PROPS& props) noexcept
{
    int nPolicy = 0;
    static_assert(sizeof(nPolicy) == sizeof(props.eKeepAspect));
    memcpy(&nPolicy, &props.eKeepAspect, sizeof(nPolicy));
    return nPolicy;
}

/// Whether a picture fills the frame whatever its shape. The default keeps the shape only of a picture that
/// differs in both directions; one of the same height is stretched, and this is deliberate. Values beyond the
/// last one are letter-boxed.
bool IsStretched(int nPolicy, const PicProps& picSource, const PicProps& picOutput) noexcept
{
    return nPolicy == eQGKA_None ||
           (nPolicy == eQGKA_Default && (picSource.nWidth == picOutput.nWidth ||
                                         AbsHeight(picSource.nHeight) == AbsHeight(picOutput.nHeight)));
}

} // namespace

void ComposePicture(const PictureView& picture, const PicProps& picOutput, const QG_VID_PROPS& props,
                    CBLOBHolder<CTaskMemory>& blobFrame) noexcept
{
    CBLOBHolder<CTaskMemory> blobPadded;
    CBLOBHolder<CTaskMemory> blobConverted;
    BYTE* pbImage = WholePixels(picture, blobPadded);
    PicProps picImage = picture.pic;
    if (picImage.fccType != picOutput.fccType)
        pbImage = Converted(pbImage, picture.pic, picOutput.fccType, blobConverted, picImage);

    RECT rcConvertIn = {0, 0, picImage.nWidth, AbsHeightLong(picImage)};
    RECT rcConvertOut = {0, 0, picOutput.nWidth, AbsHeightLong(picOutput)};
    const int nPolicy = AspectPolicy(props);
    if (!IsStretched(nPolicy, picture.pic, picOutput))
    {
        const double dblPixelAspect =
            PixelAspect(rcConvertOut.right, rcConvertOut.bottom, props.nAspectX, props.nAspectY);
        CalcAspectRects(&picImage, &picOutput, nPolicy == eQGKA_Crop ? eAR_Crop : eAR_LetterBox, &rcConvertIn,
                        &rcConvertOut, 1.0, dblPixelAspect);
    }
    ScaleIntoFrame(blobFrame, picOutput, rcConvertOut, pbImage, picImage, rcConvertIn,
                   picture.bSmooth ? eIR_Cubic : eIR_Nearest);
    FillMargins(BlobData(blobFrame), &picOutput, 0, MarginsOfRect(rcConvertOut));
}
