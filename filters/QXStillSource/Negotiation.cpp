// Which media types the pin has, offers and accepts.
#include "Negotiation.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "CoQXStillSource.h"
#include "FrameRate.h"
#include "dstl/dshowx/VideoBlock.h"
#include "imgconverter/ImgConverter.h"

namespace
{

/// Flags of a VIDEOINFOHEADER2 for the field orders; both fields regular, bob or weave.
constexpr DWORD dwFlagsField1First = AMINTERLACE_IsInterlaced | AMINTERLACE_Field1First |
                                     AMINTERLACE_FieldPatBothRegular | AMINTERLACE_DisplayModeBobOrWeave;
constexpr DWORD dwFlagsField2First =
    AMINTERLACE_IsInterlaced | AMINTERLACE_FieldPatBothRegular | AMINTERLACE_DisplayModeBobOrWeave;
static_assert(dwFlagsField1First == 0xA5 && dwFlagsField2First == 0xA1);

/// The aspect ratio of a frame with square pixels, reduced. A negative height gives a negative part.
void SetFrameAspect(VIDEOINFOHEADER2& header, LONG nWidth, LONGLONG nHeight) noexcept
{
    const LONGLONG g = GreatestCommonDivisor(nWidth, nHeight < 0 ? -nHeight : nHeight);
    header.dwPictAspectRatioX = static_cast<DWORD>(nWidth / g);
    header.dwPictAspectRatioY = static_cast<DWORD>(nHeight / g);
}

/// The longer header of a type that MTCheckVideo has passed; null for another format type.
const VIDEOINFOHEADER2* Header2(const AM_MEDIA_TYPE& mt) noexcept
{
    return IsEqualGUID(mt.formattype, FORMAT_VideoInfo2)
               ? reinterpret_cast<const VIDEOINFOHEADER2*>(mt.pbFormat)
               : nullptr;
}

template <class THeader>
void CopyTimesAndRects(THeader& header, const VIDEOINFOHEADER& base) noexcept
{
    header.rcSource = base.rcSource;
    header.rcTarget = base.rcTarget;
    header.AvgTimePerFrame = base.AvgTimePerFrame;
}

/// Makes a FORMAT_VideoInfo type that keeps the palette or extra data behind the base's header. A base with
/// the longer header gives a block that is shorter by the difference, 24 bytes.
HRESULT CreateWithExtraData(CMType& mtNew, const AM_MEDIA_TYPE& mtBase, const VIDEOINFOHEADER& base,
                            DWORD fcc, LONG nHeight) noexcept
{
    const ULONG cbHeader = FindVideoBlock(mtBase.formattype)->HeaderBytes();
    if (mtBase.cbFormat <= cbHeader)
        return E_INVALIDARG; // nothing to keep
    if (!FitsSample({fcc, base.bmiHeader.biWidth, nHeight, 0}))
        return E_INVALIDARG;
    const size_t cbExtra = mtBase.cbFormat - cbHeader;
    const GUID guidSub = fcc == mtBase.subtype.Data1 ? mtBase.subtype : FourccSubtype(fcc);
    const HRESULT hr = MTCreate(&mtNew, MEDIATYPE_Video, guidSub, FORMAT_VideoInfo,
                                static_cast<ULONG>(sizeof(VIDEOINFOHEADER) + cbExtra), nullptr);
    if (FAILED(hr))
        return hr;
    VIDEOINFOHEADER* const pVH_New = mtNew.VideoInfo();
    pVH_New->bmiHeader = base.bmiHeader;
    pVH_New->bmiHeader.biHeight = nHeight;
    memcpy(pVH_New + 1, mtBase.pbFormat + cbHeader, cbExtra);
    mtNew.lSampleSize = pVH_New->bmiHeader.biSizeImage;
    return S_OK;
}

LONG AbsHeightLong(LONG nHeight) noexcept
{
    return static_cast<LONG>(std::min<DWORD>(AbsHeight(nHeight), INT_MAX));
}

SHORT ClampToShort(LONGLONG n) noexcept
{
    return static_cast<SHORT>(std::clamp<LONGLONG>(n, SHRT_MIN, SHRT_MAX));
}

/// ConvertVideoType to a VIDEOINFOHEADER2 block.
HRESULT ConvertToVideoInfo2(CMType& mtNew, const AM_MEDIA_TYPE& mtBase, const PicProps& picNew,
                            LONG nInterlaceFlags, LONG nAspectX, LONG nAspectY) noexcept
{
    const HRESULT hr = MTCreateVideo(&mtNew, picNew.fccType, FORMAT_VideoInfo2, picNew.nWidth, picNew.nHeight,
                                     picNew.nRowWidth);
    if (FAILED(hr))
        return hr;
    VIDEOINFOHEADER2& header = *mtNew.VideoInfo2();
    CopyTimesAndRects(header, CVideoBlockReader(mtBase).Header());
    if (const VIDEOINFOHEADER2* const pBase = Header2(mtBase))
    {
        header.dwInterlaceFlags = pBase->dwInterlaceFlags;
        header.dwPictAspectRatioX = pBase->dwPictAspectRatioX;
        header.dwPictAspectRatioY = pBase->dwPictAspectRatioY;
    }
    else
    {
        SetFrameAspect(header, picNew.nWidth, AbsHeight(picNew.nHeight));
    }
    if (nInterlaceFlags != nKeepInterlaceFlags)
        header.dwInterlaceFlags = static_cast<DWORD>(nInterlaceFlags);
    if (nAspectX != 0 && nAspectY != 0)
    {
        header.dwPictAspectRatioX = static_cast<DWORD>(nAspectX);
        header.dwPictAspectRatioY = static_cast<DWORD>(nAspectY);
    }
    return S_OK;
}

/// ConvertVideoType to a VIDEOINFOHEADER block.
HRESULT ConvertToVideoInfo(CMType& mtNew, const AM_MEDIA_TYPE& mtBase, const PicProps& picNew) noexcept
{
    const VIDEOINFOHEADER base = CVideoBlockReader(mtBase).Header();
    HRESULT hr = MTCreateVideo(&mtNew, picNew.fccType, FORMAT_VideoInfo, picNew.nWidth, picNew.nHeight,
                               picNew.nRowWidth);
    if (FAILED(hr))
        hr = CreateWithExtraData(mtNew, mtBase, base, picNew.fccType, picNew.nHeight);
    VIDEOINFOHEADER* const pVH_New = SUCCEEDED(hr) ? mtNew.VideoInfo() : nullptr;
    DSASSERT(pVH_New);
    if (pVH_New == nullptr)
        return E_INVALIDARG;
    CopyTimesAndRects(*pVH_New, base);
    pVH_New->dwBitRate = base.dwBitRate;
    pVH_New->dwBitErrorRate = base.dwBitErrorRate;
    return S_OK;
}

} // namespace

HRESULT CCoQXStillSource::BuildOutputType(CMType& mt, const PicProps& picBase) noexcept
{
    const QG_VID_PROPS props = GetProps();
    const DWORD fccType =
        props.fccType != eQGFCC_Default ? static_cast<DWORD>(props.fccType) : picBase.fccType;
    const LONG nWidth = props.nWidth != 0 ? props.nWidth : picBase.nWidth;
    const LONG nHeight = props.nHeight != 0 ? props.nHeight : picBase.nHeight;
    const bool bOwnAspect = props.nAspectX == 0 || props.nAspectY == 0;
    const bool bPlain =
        (props.eInterlace == eQGI_Default || props.eInterlace == eQGI_Progressive) && bOwnAspect;

    CMType mtOut;
    const HRESULT hr = MTCreateVideo(&mtOut, fccType, bPlain ? FORMAT_VideoInfo : FORMAT_VideoInfo2, nWidth,
                                     nHeight, nWidth);
    if (FAILED(hr))
        return hr;

    *MTGetFrameTime(&mtOut) = FrameTimeFromRate(props.dblRate);
    if (VIDEOINFOHEADER2* const pVH2 = mtOut.VideoInfo2())
    {
        // The 3D layouts are carried in the properties and change nothing here.
        if (props.eInterlace == eQGI_Field1First)
            pVH2->dwInterlaceFlags = dwFlagsField1First;
        else if (props.eInterlace == eQGI_Field2First)
            pVH2->dwInterlaceFlags = dwFlagsField2First;
        if (bOwnAspect)
        {
            SetFrameAspect(*pVH2, nWidth, nHeight);
        }
        else
        {
            pVH2->dwPictAspectRatioX = static_cast<DWORD>(props.nAspectX);
            pVH2->dwPictAspectRatioY = static_cast<DWORD>(props.nAspectY);
        }
    }
    return mt.Set(&mtOut);
}

void CCoQXStillSource::RebuildSupportedTypes(const AM_MEDIA_TYPE* mt) noexcept
{
    // Letters count alike in either case.
    constexpr DWORD dwLowerCase = 0x20202020;

    CSimpleArray2<CMType> arrSupport;
    if (mt != nullptr)
    {
        PicProps picBase{};
        const int nIndex = MTGetPicProps(mt, &picBase);
        DSASSERT(nIndex != -1);
        const DWORD fccWanted = static_cast<DWORD>(GetProps().fccType);
        for (int i = 0; nIndex >= 0 && i < nMediaFormats; i++)
        {
            const DWORD fcc = rgFormat[i].Code();
            const PicProps picTest = {fcc, picBase.nWidth, picBase.nHeight, picBase.nWidth};
            if (i == nIndex || (fccWanted != 0 && (fccWanted | dwLowerCase) != (fcc | dwLowerCase)) ||
                !Img_CheckProps(&picTest, true))
                continue;
            CMType mtSupport;
            if (ConvertVideoType(mtSupport, mt, mt->formattype, fcc, nKeepInterlaceFlags, 0, 0) != S_OK)
                continue;
            arrSupport.Add(mtSupport);
            // Made and dropped: only the first of the two is in the list, and this is deliberate.
            if (IsEqualGUID(mt->formattype, FORMAT_VideoInfo2))
                ConvertVideoType(mtSupport, mt, FORMAT_VideoInfo, fcc, nKeepInterlaceFlags, 0, 0);
        }
    }
    CScopedLock crs(&m_crsNames);
    std::swap(m_arrSupport, arrSupport);
}

bool CCoQXStillSource::QueryAcceptMT(const AM_MEDIA_TYPE* pmt) noexcept
{
    DSASSERT(pmt != NULL);
    PicProps picQuery{};
    if (pmt == nullptr || OutPin() == nullptr || MTGetPicProps(pmt, &picQuery) < 0)
        return false;
    const PicProps picOutput = OutPin()->GetPicProps();
    return picQuery.fccType == picOutput.fccType && picQuery.nWidth == picOutput.nWidth &&
           AbsHeight(picQuery.nHeight) == AbsHeight(picOutput.nHeight);
}

HRESULT CCoQXStillSource::UpdateOutputType() noexcept
{
    CCoQXStillSourceOut* const pOut = OutPin();
    if (pOut == nullptr)
        return E_UNEXPECTED;
    // A type that cannot be built stays empty: the pin then has none, and connecting it fails.
    CMType mt;
    BuildOutputType(mt, pOut->Picture().GetSourceProps());
    RebuildSupportedTypes(&mt);
    const HRESULT hr = pOut->ApplyUnconnected(&mt);
    // Not stored before the graph has connected the pin anew: a refusal leaves the old type.
    return hr == S_FALSE ? Reconnect(&mt) : hr;
}

HRESULT CCoQXStillSource::Reconnect(const AM_MEDIA_TYPE* pmt) noexcept
{
    return FilterState() == State_Stopped && !IsInCall() ? MakeReconnect(pmt, OutPin()) : S_OK;
}

HRESULT ConvertVideoType(CMType& mtNew, const AM_MEDIA_TYPE* mtBase, const GUID& formatType, DWORD fcc,
                         LONG nInterlaceFlags, LONG nAspectX, LONG nAspectY) noexcept
{
    HRESULT hr = MTCheckVideo(mtBase, false);
    if (FAILED(hr))
        return hr;
    PicProps picPropsBase{};
    hr = MTGetVideoSize(mtBase, &picPropsBase);
    if (FAILED(hr))
        return hr;

    PicProps picNew = picPropsBase;
    if (fcc != 0)
        picNew.fccType = fcc;
    if (!IsRGBFormat(picNew.fccType))
        picNew.nHeight = AbsHeightLong(picNew.nHeight);
    const GUID& guidFormat = IsEqualGUID(formatType, GUID_NULL) ? mtBase->formattype : formatType;

    if (IsEqualGUID(guidFormat, FORMAT_VideoInfo2))
        return ConvertToVideoInfo2(mtNew, *mtBase, picNew, nInterlaceFlags, nAspectX, nAspectY);
    if (IsEqualGUID(guidFormat, FORMAT_VideoInfo))
        return ConvertToVideoInfo(mtNew, *mtBase, picNew);
    return E_UNEXPECTED;
}

void PropsFromMediaType(const AM_MEDIA_TYPE* pmt, QG_VID_PROPS* pProps) noexcept
{
    PicProps pic{};
    if (pmt == nullptr || pProps == nullptr || MTGetPicProps(pmt, &pic) < 0)
        return;
    pProps->fccType = static_cast<eQGFCC>(pic.fccType);
    pProps->nWidth = pic.nWidth;
    pProps->nHeight = pic.nHeight;
    pProps->dblRate = RateFromFrameTime(MTFrameTime(pmt));

    const AM_MEDIA_TYPE* const _pMT = pmt;
    if (!IsEqualGUID(_pMT->formattype, FORMAT_VideoInfo2))
    {
        pProps->eInterlace = eQGI_Progressive;
        pProps->nAspectX = 0;
        pProps->nAspectY = 0;
        return;
    }
    DSASSERT(_pMT->cbFormat >= sizeof(VIDEOINFOHEADER2));
    const VIDEOINFOHEADER2& header = *Header2(*_pMT);
    if ((header.dwInterlaceFlags & AMINTERLACE_IsInterlaced) == 0)
        pProps->eInterlace = eQGI_Progressive;
    else
        pProps->eInterlace =
            (header.dwInterlaceFlags & AMINTERLACE_Field1First) != 0 ? eQGI_Field1First : eQGI_Field2First;
    // Written as they are in the properties, so signed: a top-down frame has a negative height. The divisor
    // is that of the absolute values, or it could turn both signs.
    const LONGLONG nAspectX = static_cast<LONG>(header.dwPictAspectRatioX);
    const LONGLONG nAspectY = static_cast<LONG>(header.dwPictAspectRatioY);
    const LONGLONG g = GreatestCommonDivisor(std::abs(nAspectX), std::abs(nAspectY));
    pProps->nAspectX = ClampToShort(nAspectX / g);
    pProps->nAspectY = ClampToShort(nAspectY / g);
}
