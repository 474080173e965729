#include "dstl/dshowx/dumps/MediaTypeDump.h"

#include "dstl/WinAPI/SehCopy.h"
#include "dstl/dshowx/dumps/DumpGate.h"
#include "dstl/dshowx/dumps/FormatDump.h"
#include "dstl/dshowx/dumps/MediaTypeText.h"
#include "dstl/dshowx/dumps/MemoryDump.h"
#include "dstl/dshowx/dumps/TimeText.h"
#include "dstl/dshowx/dumps/TitledPrefix.h"
#include "dstl/dshowx/VideoBlock.h"

#include <algorithm>

namespace
{
constexpr GUID guidFormatWaveFormatEx = {
    0x05589F81, 0xC356, 0x11CE, {0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A}};
constexpr GUID guidFormatDvInfo = {
    0x05589F84, 0xC356, 0x11CE, {0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A}};

/// Bytes of a WAVEFORMATEX without cbSize, as plain PCM may have it.
constexpr ULONG cbPcm = 16;

bool Equal(const GUID& guid1, const GUID& guid2) noexcept
{
    return memcmp(&guid1, &guid2, sizeof(GUID)) == 0;
}

/// Where the lines of one dump go.
struct Output
{
    DWORD_PTR dwCategory;
    UINT nLevel;
    const wchar_t* pszPrefix;
};

const wchar_t* Word(BOOL b) noexcept
{
    return b ? L"true" : L"false";
}

void DumpBadFormat(const Output& out, const AM_MEDIA_TYPE& mt) noexcept
{
    trace(out.dwCategory, out.nLevel,
          L"###Err### Debug_MediaType(): bad format parameters, cbFormat=%i, pbFormat=0x%X\n",
          static_cast<int>(mt.cbFormat), TracePtr(mt.pbFormat));
}

/// What both video headers begin with, down to the frame time;
/// \tparam T VIDEOINFOHEADER, VIDEOINFOHEADER2
template <class T>
void DumpVideo(const Output& out, const T& video) noexcept
{
    const RECT& rcSrc = video.rcSource;
    const RECT& rcDst = video.rcTarget;
    trace(out.dwCategory, out.nLevel,
          L"%ssrc=[%i,%i:%i,%i], targ=[%i,%i:%i,%i], rate=%u, errRate=%u, AvgT=%s\n", out.pszPrefix,
          static_cast<int>(rcSrc.left), static_cast<int>(rcSrc.top), static_cast<int>(rcSrc.right),
          static_cast<int>(rcSrc.bottom), static_cast<int>(rcDst.left), static_cast<int>(rcDst.top),
          static_cast<int>(rcDst.right), static_cast<int>(rcDst.bottom),
          static_cast<unsigned>(video.dwBitRate), static_cast<unsigned>(video.dwBitErrorRate),
          RefTimeText(video.AvgTimePerFrame, CTimeText().sz));
    Debug_BitmapInfoHeader(out.dwCategory, out.nLevel, &video.bmiHeader, out.pszPrefix);
}

void DumpHeader2(const Output& out, const VIDEOINFOHEADER2& video) noexcept
{
    trace(out.dwCategory, out.nLevel, L"%silace=0x%X%s, copProt=0x%X, aspect={%i,%i}, ctrl=0x%X\n",
          out.pszPrefix, static_cast<unsigned>(video.dwInterlaceFlags),
          video.dwInterlaceFlags & AMINTERLACE_IsInterlaced ? L" (INTERLACED)" : L"",
          static_cast<unsigned>(video.dwCopyProtectFlags), static_cast<int>(video.dwPictAspectRatioX),
          static_cast<int>(video.dwPictAspectRatioY), static_cast<unsigned>(video.dwControlFlags));
}

void DumpMpeg2(const Output& out, const MPEG2VIDEOINFO& video, const AM_MEDIA_TYPE& mt) noexcept
{
    constexpr size_t cbMost = 1024; // of the sequence header
    constexpr size_t nSequenceHeader = offsetof(MPEG2VIDEOINFO, dwSequenceHeader);

    trace(out.dwCategory, out.nLevel,
          L"%sstartCode=0x%X, cbHeader=%u, profile=%u, level=%u, flags=0x%X, seqHeader[0]=0x%X\n",
          out.pszPrefix, static_cast<unsigned>(video.dwStartTimeCode),
          static_cast<unsigned>(video.cbSequenceHeader), static_cast<unsigned>(video.dwProfile),
          static_cast<unsigned>(video.dwLevel), static_cast<unsigned>(video.dwFlags),
          static_cast<unsigned>(video.dwSequenceHeader[0]));
    const size_t cbHeader = std::min<size_t>(video.cbSequenceHeader, mt.cbFormat - nSequenceHeader);
    if (cbHeader == 0)
        return;
    Debug_Memory(out.dwCategory, out.nLevel, mt.pbFormat + nSequenceHeader, std::min(cbHeader, cbMost),
                 TitledPrefix(out.pszPrefix, cbHeader > cbMost ? L"dwSequenceHeader[] first 1024 bytes:"
                                                               : L"dwSequenceHeader[] bytes:")
                     .sz);
}

void DumpVideoBlock(const Output& out, const VideoBlock& rgBlock, const AM_MEDIA_TYPE& mt) noexcept
{
    union // as large as the largest of them
    {
        VIDEOINFOHEADER header;
        VIDEOINFOHEADER2 header2;
        MPEG2VIDEOINFO mpeg2;
    } block;
    static_assert(sizeof(MPEG1VIDEOINFO) <= sizeof(block));
    if (!SEH_CopyMemory(&block, mt.pbFormat, rgBlock.cbLeast))
        return;
    if (!rgBlock.bHeader2)
    {
        DumpVideo(out, block.header);
        return;
    }
    DumpVideo(out, block.header2);
    DumpHeader2(out, block.header2);
    if (rgBlock.bMpeg2)
        DumpMpeg2(out, block.mpeg2, mt);
}

void DumpFormat(const Output& out, const AM_MEDIA_TYPE& mt) noexcept
{
    if ((mt.cbFormat == 0) != (mt.pbFormat == nullptr))
    {
        DumpBadFormat(out, mt);
        return;
    }
    if (mt.pbFormat == nullptr)
        return;

    const VideoBlock* const pVideo = FindVideoBlock(mt.formattype);
    const bool bWave = Equal(mt.formattype, guidFormatWaveFormatEx);
    const bool bDv = Equal(mt.formattype, guidFormatDvInfo);
    const ULONG cbLeast = pVideo != nullptr ? pVideo->cbLeast : bWave ? cbPcm : bDv ? sizeof(DvInfo) : 0;
    if (mt.cbFormat < cbLeast) // a block that cannot be what its type says
        DumpBadFormat(out, mt);
    else if (pVideo != nullptr)
        DumpVideoBlock(out, *pVideo, mt);
    else if (bWave)
        Debug_WaveFormatEx(out.dwCategory, out.nLevel, reinterpret_cast<const WAVEFORMATEX*>(mt.pbFormat),
                           out.pszPrefix, mt.cbFormat);
    else if (bDv)
        Debug_DvInfo(out.dwCategory, out.nLevel, reinterpret_cast<const DvInfo*>(mt.pbFormat), out.pszPrefix);
}
} // namespace

void Debug_MediaType(DWORD_PTR dwCategory, UINT nLevel, const AM_MEDIA_TYPE* pmt,
                     const wchar_t* pszPrefix) noexcept
{
    if (!IsDumped(dwCategory, nLevel))
        return;
    const Output out = {dwCategory, nLevel, OrEmpty(pszPrefix)};
    if (pmt == nullptr)
    {
        trace(dwCategory, nLevel, L"###Err### Debug_MediaType(): Empty media type pointer\n");
        return;
    }
    AM_MEDIA_TYPE mt;
    if (!SEH_CopyMemory(&mt, pmt, sizeof(mt)))
        return;

    wchar_t szType[cchMediaTypeText];
    trace(dwCategory, nLevel, L"%s%s, size=%i, cbForm=%i, fix:%s, compr:%s\n",
          TitledPrefix(out.pszPrefix, L"MT:").sz, ParseMediaType(&mt, szType, false),
          static_cast<int>(mt.lSampleSize), static_cast<int>(mt.cbFormat), Word(mt.bFixedSizeSamples),
          Word(mt.bTemporalCompression));
    if (mt.pUnk != nullptr)
        trace(dwCategory, nLevel, L"%s@@@@ pUnk = 0x%p\n", out.pszPrefix, static_cast<void*>(mt.pUnk));
    DumpFormat(out, mt);
}
