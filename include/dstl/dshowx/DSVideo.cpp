#include "dstl/dshowx/DSVideo.h"

#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/VideoBlock.h"

#include <cstring>
#include <limits>

namespace
{
constexpr MediaFormat Describe(const PixelFormat& format) noexcept
{
    const Component(&parts)[3] = format.arrParts;
    return {.pSubtype = &format.guidSubtype,
            .nBitCount = format.nBits,
            .nHorzYtoUV = format.nHorz,
            .nVertYtoUV = format.nVert,
            .arrOffset = {parts[0].nOffset, parts[1].nOffset, parts[2].nOffset},
            .arrStep = {parts[0].cbStep, parts[1].cbStep, parts[2].cbStep},
            .bPlanar = IsPlanar(format),
            .bYUV = format.eModel == eCM_YUV};
}

constexpr std::array<MediaFormat, nMediaFormats> DescribeAll() noexcept
{
    std::array<MediaFormat, nMediaFormats> formats{};
    for (size_t i = 0; i < formats.size(); ++i)
        formats[i] = Describe(arrPixelFormats[i]);
    return formats;
}
static_assert(std::ranges::all_of(arrPixelFormats, arrPixelFormats + nMediaFormats, &PixelFormat::bMediaType),
              "formats that are offered come first");

/// Aspect that a fresh VIDEOINFOHEADER2 gets, whatever the size: who needs another overwrites it.
constexpr DWORD dwDefaultAspectX = 4;
constexpr DWORD dwDefaultAspectY = 3;

void CheckRowWidth(const MediaFormat& rgEntry, LONG nWidth) noexcept
{
    DSASSERT_TEXT(nWidth % rgEntry.nHorzYtoUV == 0, "nWidth % rgFormat.nHorzYtoUV == 0");
}

/// How the format block of a type holds its picture.
enum class eBlock
{
    Missing, ///< no video type, no block, or another format type
    Short,   ///< smaller than its record, which has been asserted
    Whole
};

/// What a whole block says about the picture. Copied out, as a foreign block need not be aligned.
struct BlockSize
{
    LONGLONG nTargetWidth; ///< width of rcTarget; 64 bits, as any rectangle may stand there
    LONG nRowWidth;
    LONG nHeight;
};

eBlock ReadBlock(const AM_MEDIA_TYPE* pmt, BlockSize* pSize) noexcept
{
    const CVideoBlockReader block(*pmt);
    if (pmt->majortype != MEDIATYPE_Video || !block.IsPlain())
        return eBlock::Missing;
    DSASSERT_TEXT(block.HasHeader(), block.Record()->bHeader2 ? "pmt->cbFormat >= sizeof(VIDEOINFOHEADER2)"
                                                              : "pmt->cbFormat >= sizeof(VIDEOINFOHEADER)");
    if (!block.HasHeader())
        return eBlock::Short;

    const VIDEOINFOHEADER header = block.Header();
    pSize->nTargetWidth = LONGLONG{header.rcTarget.right} - header.rcTarget.left;
    pSize->nRowWidth = header.bmiHeader.biWidth;
    pSize->nHeight = header.bmiHeader.biHeight;
    return eBlock::Whole;
}

/// Settles the width: an empty target means the whole row.
/// \return false for an empty picture or a target that is wider than a row
bool SettleWidth(const BlockSize& rgSize, LONG* pnWidth) noexcept
{
    if (rgSize.nRowWidth == 0 || rgSize.nHeight == 0)
        return false;
    const LONGLONG nWidth = rgSize.nTargetWidth != 0 ? rgSize.nTargetWidth : rgSize.nRowWidth;
    if (nWidth > rgSize.nRowWidth || nWidth < std::numeric_limits<LONG>::min())
        return false;
    *pnWidth = static_cast<LONG>(nWidth);
    return true;
}
} // namespace

constexpr std::array<MediaFormat, nMediaFormats> rgFormat = DescribeAll();

int FindFormat(DWORD fccType) noexcept
{
    for (int i = 0; i < nMediaFormats; ++i)
        if (rgFormat[i].Code() == fccType)
            return i;
    return -1;
}

int FindSubtype(const GUID& guidSub) noexcept
{
    for (int i = 0; i < nMediaFormats; ++i)
        if (*rgFormat[i].pSubtype == guidSub)
            return i;
    return -1;
}

int CheckSize(DWORD fccType, LONG nWidth, LONG nHeight, LONG nRowWidth) noexcept
{
    if (nWidth == 0 || nHeight == 0)
        return -1;
    if (nRowWidth != 0 && nRowWidth < nWidth)
        return -1;
    const int nIndex = FindFormat(fccType);
    if (nIndex < 0)
        return -1;

    const MediaFormat& rgEntry = rgFormat[nIndex];
    if (nWidth % rgEntry.nHorzYtoUV != 0 || nRowWidth % rgEntry.nHorzYtoUV != 0 ||
        nHeight % rgEntry.nVertYtoUV != 0)
        return -1;
    return nIndex;
}

DWORD RowBytes(const MediaFormat& rgEntry, LONG nWidth) noexcept
{
    CheckRowWidth(rgEntry, nWidth);

    const PicProps pic = {rgEntry.Code(), nWidth, 1, nWidth};
    return GetPicRowBytes(&pic);
}

ULONGLONG ImageBytes(const MediaFormat& rgEntry, LONG nWidth, LONG nHeight) noexcept
{
    DSASSERT_TEXT(nHeight % rgEntry.nVertYtoUV == 0, "nHeight % rgFormat.nVertYtoUV == 0");
    CheckRowWidth(rgEntry, nWidth);
    if (!rgEntry.bPlanar)
        return FrameBytes({rgEntry.Code(), nWidth, nHeight, nWidth});
    if (nWidth < 0)
        return 0;
    // What the planes need, which is less than FrameBytes for NV12.
    const ULONGLONG nColumns = static_cast<ULONGLONG>(nWidth);
    const ULONGLONG nRows = AbsHeight(nHeight);
    return nColumns * nRows + (nColumns / rgEntry.nHorzYtoUV) * (nRows / rgEntry.nVertYtoUV) * 2;
}

DWORD ImageSize(const MediaFormat& rgEntry, LONG nWidth, LONG nHeight) noexcept
{
    return static_cast<DWORD>(ImageBytes(rgEntry, nWidth, nHeight));
}

HRESULT ImageSizeOf(DWORD fccType, LONG nWidth, LONG nHeight, DWORD* pcbImageSize) noexcept
{
    DSASSERT(pcbImageSize != NULL);
    if (!pcbImageSize)
        return E_POINTER;
    *pcbImageSize = 0;
    const int nIndex = FindFormat(fccType);
    if (nIndex < 0)
        return E_INVALIDARG;
    const ULONGLONG cbImage = ImageBytes(rgFormat[nIndex], nWidth, nHeight);
    if (cbImage > MAXDWORD)
        return E_INVALIDARG;
    *pcbImageSize = static_cast<DWORD>(cbImage);
    return S_OK;
}

HRESULT MakeBmpHeader(DWORD fccType, LONG nWidth, LONG nHeight, BITMAPINFOHEADER* pBmpHeader) noexcept
{
    DSASSERT(pBmpHeader != NULL);
    if (!pBmpHeader)
        return E_POINTER;
    const int nIndex = FindFormat(fccType);
    if (nIndex < 0)
        return E_INVALIDARG;

    const MediaFormat& rgEntry = rgFormat[nIndex];
    const ULONGLONG cbImage = ImageBytes(rgEntry, nWidth, nHeight);
    if (cbImage > MAXDWORD)
        return E_INVALIDARG;
    *pBmpHeader = {};
    pBmpHeader->biSize = sizeof(BITMAPINFOHEADER);
    pBmpHeader->biWidth = nWidth;
    pBmpHeader->biHeight = nHeight;
    pBmpHeader->biPlanes = 1;
    pBmpHeader->biBitCount = rgEntry.nBitCount;
    pBmpHeader->biCompression = rgEntry.bYUV ? fccType : static_cast<DWORD>(BI_RGB);
    pBmpHeader->biSizeImage = static_cast<DWORD>(cbImage);
    return S_OK;
}

HRESULT MTCreate(CMType* pmt, const GUID& guidMajor, const GUID& guidSub, const GUID& guidFormat, ULONG cb,
                 const BYTE* pb) noexcept
{
    DSASSERT(pmt != NULL);
    if (!pmt)
        return E_POINTER;

    BYTE* pbFormat = nullptr;
    if (cb != 0)
    {
        pbFormat = MTAllocFormat(cb, pb);
        if (!pbFormat)
            return E_OUTOFMEMORY;
    }
    const GUID guidFormatKept = guidFormat; // it may be the one of the type that Reset clears
    pmt->Reset(guidMajor, guidSub);
    pmt->formattype = guidFormatKept;
    pmt->cbFormat = cb;
    pmt->pbFormat = pbFormat;
    return S_OK;
}

HRESULT MTCreateVideo(CMType* pmt, DWORD fccType, const GUID& guidFormat, LONG nWidth, LONG nHeight,
                      LONG nRowWidth) noexcept
{
    const VideoBlock* const pRecord = FindPlainBlock(guidFormat);
    if (!pRecord)
        return E_INVALIDARG;
    const int nIndex = CheckSize(fccType, nWidth, nHeight, nRowWidth);
    if (nIndex < 0 || !FitsSample({fccType, nWidth, nHeight, nRowWidth}))
        return E_INVALIDARG;
    if (nRowWidth == 0)
        nRowWidth = nWidth;

    union
    {
        VIDEOINFOHEADER rgInfo;
        VIDEOINFOHEADER2 rgInfo2;
        BYTE arrBytes[sizeof(VIDEOINFOHEADER2)];
    } block;
    memset(&block, 0, sizeof(block));

    if (nRowWidth != nWidth)
    {
        const RECT rcPicture = {0, 0, nWidth, static_cast<LONG>(AbsHeight(nHeight))};
        block.rgInfo.rcSource = block.rgInfo.rcTarget = rcPicture; // they lie alike in both records
    }
    if (pRecord->bHeader2)
    {
        block.rgInfo2.dwPictAspectRatioX = dwDefaultAspectX;
        block.rgInfo2.dwPictAspectRatioY = dwDefaultAspectY;
    }
    BITMAPINFOHEADER& bmiHeader = pRecord->bHeader2 ? block.rgInfo2.bmiHeader : block.rgInfo.bmiHeader;
    HRESULT hr = MakeBmpHeader(fccType, nRowWidth, nHeight, &bmiHeader);
    if (FAILED(hr))
        return hr;

    hr = MTCreate(pmt, MEDIATYPE_Video, *rgFormat[nIndex].pSubtype, guidFormat, pRecord->cbLeast,
                  block.arrBytes);
    if (FAILED(hr))
        return hr;
    pmt->lSampleSize = bmiHeader.biSizeImage;
    return S_OK;
}

HRESULT MTHelp::MTCreateVideo(CMType* pmt, const GUID& guidFormat, const BITMAPINFO* pBMPInfo) noexcept
{
    DSASSERT(pBMPInfo != NULL);
    if (!pBMPInfo)
        return E_INVALIDARG;
    const BITMAPINFOHEADER& bmiHeader = pBMPInfo->bmiHeader;
    DSASSERT(bmiHeader.biSize >= sizeof(BITMAPINFOHEADER));
    if (bmiHeader.biSize < sizeof(BITMAPINFOHEADER))
        return E_INVALIDARG;

    const VideoBlock* const pRecord = FindPlainBlock(guidFormat);
    if (!pRecord)
        return E_INVALIDARG;

    GUID guidSub = FourccSubtype(bmiHeader.biCompression);
    switch (bmiHeader.biCompression)
    {
    case BI_RGB:
    {
        const PixelFormat& format = PlainBitmapFormat(bmiHeader.biBitCount);
        if (!IsKnown(format))
        {
            DSASSERT_TEXT(false, "MTHelp::MTCreateVideo() : Unsupported BMP::biBitCount");
            return E_INVALIDARG;
        }
        guidSub = format.guidSubtype;
        break;
    }
    case BI_RLE8:
    case BI_RLE4:
    case BI_BITFIELDS:
        DSASSERT_TEXT(false, "MTHelp::MTCreateVideo() : Unsupported BMP::biCompression");
        return E_INVALIDARG;
    default: // a FOURCC
        break;
    }

    if (!FitsSample({guidSub.Data1, bmiHeader.biWidth, bmiHeader.biHeight, 0}))
        return E_INVALIDARG;

    // The header may be longer than the plain one; a length that no block can hold has no memory either.
    const ULONGLONG cbBlock = ULONGLONG{pRecord->nBmiOffset} + bmiHeader.biSize;
    if (cbBlock > MAXDWORD)
        return E_OUTOFMEMORY;
    const HRESULT hr =
        MTCreate(pmt, MEDIATYPE_Video, guidSub, guidFormat, static_cast<ULONG>(cbBlock), nullptr);
    if (FAILED(hr))
        return hr;
    memcpy(pmt->pbFormat + pRecord->nBmiOffset, pBMPInfo, bmiHeader.biSize);
    pmt->lSampleSize = bmiHeader.biSizeImage;
    return S_OK;
}

int MTGetFormat(const AM_MEDIA_TYPE* pmt, LONG* pnWidth, LONG* pnHeight, LONG* pnRowWidth) noexcept
{
    DSASSERT(pmt != NULL);
    if (!pmt)
        return -1;

    BlockSize rgSize;
    LONG nWidth = 0;
    if (ReadBlock(pmt, &rgSize) != eBlock::Whole || !SettleWidth(rgSize, &nWidth))
        return -1;
    const int nIndex = FindSubtype(pmt->subtype);
    if (nIndex < 0)
        return -1;

    const MediaFormat& rgEntry = rgFormat[nIndex];
    LONG nHeight = rgSize.nHeight;
    if (!FitsSample({rgEntry.Code(), nWidth, nHeight, rgSize.nRowWidth}))
        return -1;
    if (nHeight < 0 && rgEntry.bYUV) // YUV pictures have no bottom-up form
        nHeight = -nHeight;          // the lowest height, which has no positive counterpart, fits no sample
    if (nWidth % rgEntry.nHorzYtoUV != 0 || rgSize.nRowWidth % rgEntry.nHorzYtoUV != 0 ||
        nHeight % rgEntry.nVertYtoUV != 0)
        return -1;

    if (pnWidth)
        *pnWidth = nWidth;
    if (pnHeight)
        *pnHeight = nHeight;
    if (pnRowWidth)
        *pnRowWidth = rgSize.nRowWidth;
    return nIndex;
}

int MTGetPicProps(const AM_MEDIA_TYPE* pmt, PicProps* pPicProps) noexcept
{
    DSASSERT(pPicProps != NULL);
    if (!pPicProps)
        return E_POINTER;
    const int nIndex = MTGetFormat(pmt, &pPicProps->nWidth, &pPicProps->nHeight, &pPicProps->nRowWidth);
    if (nIndex >= 0)
        pPicProps->fccType = rgFormat[nIndex].Code();
    return nIndex;
}

HRESULT MTGetVideoSize(const AM_MEDIA_TYPE* pmt, PicProps* pPicProps) noexcept
{
    if (!pmt || !pPicProps)
        return E_POINTER;
    *pPicProps = {};

    BlockSize rgSize;
    switch (ReadBlock(pmt, &rgSize))
    {
    case eBlock::Missing:
        return VFW_E_INVALID_MEDIA_TYPE;
    case eBlock::Short:
        return -1;
    case eBlock::Whole:
        break;
    }
    LONG nWidth = 0;
    if (!SettleWidth(rgSize, &nWidth))
        return VFW_E_INVALID_MEDIA_TYPE;

    const PicProps pic = {pmt->subtype.Data1, nWidth, rgSize.nHeight, rgSize.nRowWidth};
    if (!FitsSample(pic))
        return VFW_E_INVALID_MEDIA_TYPE;
    *pPicProps = pic;
    return S_OK;
}

BITMAPINFOHEADER* MTGetBmpHeader(const AM_MEDIA_TYPE* pmt) noexcept
{
    if (!pmt || pmt->majortype != MEDIATYPE_Video)
        return nullptr;
    const CVideoBlockReader block(*pmt);
    return block.IsPlain() && block.HasHeader() ? reinterpret_cast<BITMAPINFOHEADER*>(block.BmpHeader())
                                                : nullptr;
}

REFERENCE_TIME* MTGetFrameTime(const AM_MEDIA_TYPE* pmt) noexcept
{
    if (!MTGetBmpHeader(pmt))
        return nullptr;
    return &reinterpret_cast<VIDEOINFOHEADER*>(pmt->pbFormat)->AvgTimePerFrame; // in both records alike
}
