#include "StreamConfig.h"

#include <cstring>

#include "CoQXStillSource.h"
#include "FrameRate.h"
#include "Negotiation.h"
#include "imgconverter/ImgConverter.h"

namespace
{

/// Indices of GetStreamCaps for each format.
constexpr int nVariants = 4;

/// The variant that every index of a format gives: 29.97 frames of 720 by 486 per second.
constexpr LONG nCapsWidth = 720;
constexpr LONG nCapsHeight = 486;
constexpr REFERENCE_TIME rtCapsFrame = 333667;

static_assert(sizeof(VIDEO_STREAM_CONFIG_CAPS) == 128);

VIDEO_STREAM_CONFIG_CAPS MakeCaps(const GUID& guidFormat) noexcept
{
    constexpr SIZE sizeFrame = {nCapsWidth, nCapsHeight};
    // VideoStandard, StretchTapsX, StretchTapsY, ShrinkTapsX and ShrinkTapsY stay 0.
    VIDEO_STREAM_CONFIG_CAPS vidCaps{};
    vidCaps.guid = guidFormat;
    vidCaps.InputSize = sizeFrame;
    vidCaps.MinCroppingSize = sizeFrame;
    vidCaps.MaxCroppingSize = sizeFrame;
    vidCaps.CropGranularityX = 2;
    vidCaps.CropGranularityY = 2;
    vidCaps.CropAlignX = 1;
    vidCaps.CropAlignY = 1;
    vidCaps.MinOutputSize = {128, 96};
    vidCaps.MaxOutputSize = {2048, 2048};
    vidCaps.OutputGranularityX = 2;
    vidCaps.OutputGranularityY = 2;
    vidCaps.MinFrameInterval = 166667;
    vidCaps.MaxFrameInterval = 10000000;
    vidCaps.MinBitsPerSecond = 16384;
    vidCaps.MaxBitsPerSecond = 1006632960;
    return vidCaps;
}

} // namespace

template <class T>
STDMETHODIMP IAMStreamConfigWrapper<T>::SetFormat(AM_MEDIA_TYPE* pmt) noexcept
{
    if (pmt == nullptr)
        return E_POINTER;
    T& pin = Pin();
    const CComPtr<CCoQXStillSource> pFilter = pin.GetFilter();
    if (pFilter == nullptr)
        return E_UNEXPECTED;
    if (pFilter->FilterState() != State_Stopped)
        return VFW_E_NOT_STOPPED;
    PicProps picSet{};
    if (MTGetPicProps(pmt, &picSet) < 0 || !Img_CheckProps(&picSet, false))
        return VFW_E_INVALIDMEDIATYPE;

    pFilter->ChangeProps([=](QG_VID_PROPS& props) { PropsFromMediaType(pmt, &props); });
    CMType mtTemp;
    pFilter->BuildOutputType(mtTemp, pin.Picture().GetSourceProps());
    pFilter->RebuildSupportedTypes(&mtTemp);
    const HRESULT hr = pin.ApplyUnconnected(pmt); // with all that it says, not the one built from it
    return hr == S_FALSE ? pFilter->Reconnect(pmt) : hr;
}

template <class T>
STDMETHODIMP IAMStreamConfigWrapper<T>::GetFormat(AM_MEDIA_TYPE** ppmt) noexcept
{
    if (ppmt == nullptr)
        return E_POINTER;
    *ppmt = nullptr;
    CMType mtOut;
    if (FAILED(Pin().CopyMediaType(&mtOut)))
        return E_FAIL;
    return mtOut.CopyTo(ppmt);
}

template <class T>
STDMETHODIMP IAMStreamConfigWrapper<T>::GetNumberOfCapabilities(int* piCount, int* piSize) noexcept
{
    if (piCount == nullptr || piSize == nullptr)
        return E_POINTER;
    int nFormats = 0;
    for (const MediaFormat& format : rgFormat)
    {
        const PicProps picTest = {format.Code(), 720, 576, 720};
        nFormats += Img_CheckProps(&picTest, false) ? 1 : 0;
    }
    *piCount = nVariants * nFormats;
    *piSize = sizeof(VIDEO_STREAM_CONFIG_CAPS);
    return S_OK;
}

template <class T>
STDMETHODIMP IAMStreamConfigWrapper<T>::GetStreamCaps(int iIndex, AM_MEDIA_TYPE** ppmt, BYTE* pSCC) noexcept
{
    if (ppmt == nullptr || pSCC == nullptr)
        return E_POINTER;
    *ppmt = nullptr;

    // One variable counts the formats down and would then choose one of the four variants. It is 0 by that
    // time, so that all four are the first one: this is deliberate. So is it that the index behind the last
    // one gets through, with the last format of the table, supported or not.
    int nSelector = iIndex / nVariants;
    PicProps picOut = {0, nCapsWidth, nCapsHeight, nCapsWidth};
    for (const MediaFormat& format : rgFormat)
    {
        picOut.fccType = format.Code();
        if (!Img_CheckProps(&picOut, false))
            continue;
        if (nSelector <= 0)
            break;
        nSelector--;
    }
    if (nSelector > 0)
        return S_FALSE;

    CMType mtOut;
    const HRESULT hr = MTCreateVideo(&mtOut, picOut.fccType, FORMAT_VideoInfo, picOut.nWidth, picOut.nHeight,
                                     picOut.nRowWidth);
    if (FAILED(hr))
        return hr;
    *MTGetFrameTime(&mtOut) = rtCapsFrame;
    const VIDEO_STREAM_CONFIG_CAPS vidCaps = MakeCaps(mtOut.formattype);
    memcpy(pSCC, &vidCaps, sizeof(vidCaps));
    return mtOut.CopyTo(ppmt);
}

template class IAMStreamConfigWrapper<CCoQXStillSourceOut>;
