// Dumps of whole media types.
#include "diagnostics/FormatBlocks.h"
#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/dumps/FormatDump.h"
#include "dstl/dshowx/dumps/MediaTypeDump.h"
#include "support/FakeSample.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstring>

namespace
{

const std::string sBmi =
    "p: BITMAPINFOHEADER:size=40, w=720, h=576, planes=1, bits=16, compress=UYVY, sizeImg=829440\n";
const std::string sRects =
    "p: src=[-1,-2:-3,-4], targ=[-5,-6:-7,-8], rate=4294967294, errRate=4294967295, AvgT=0.040\n";

/// The part that both video headers begin with. \tparam T VIDEOINFOHEADER, VIDEOINFOHEADER2
template <class T>
void FillVideo(T& video)
{
    video.rcSource = {-1, -2, -3, -4};
    video.rcTarget = {-5, -6, -7, -8};
    video.dwBitRate = 0xFFFFFFFE;
    video.dwBitErrorRate = 0xFFFFFFFF;
    video.AvgTimePerFrame = 400000;
    video.bmiHeader = UyvyHeader();
}

class MediaTypeDump : public testing::Test
{
protected:
    Texts Dump(const AM_MEDIA_TYPE* pmt, const wchar_t* pszPrefix = L"p: ", UINT nLevel = eTL_Main)
    {
        m_log.Clear();
        Debug_MediaType(atlTraceGeneral, nLevel, pmt, pszPrefix);
        const Texts texts = m_log.Texts(static_cast<int>(nLevel));
        EXPECT_EQ(m_log.Lines().size(), texts.size());
        return texts;
    }

    LogCapture m_log;
    AssertCapture m_asserts;
};

template <class T>
CMType TypeOf(const GUID& guidFormat, const T& block)
{
    CMType mt(guidVideo, guidUyvy, guidFormat, sizeof(block), reinterpret_cast<const BYTE*>(&block));
    mt.lSampleSize = 829440;
    mt.bFixedSizeSamples = TRUE;
    mt.bTemporalCompression = FALSE;
    return mt;
}

std::string FirstLine(const std::string& sFormat, size_t cbFormat)
{
    return "p: MT:( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / " + sFormat +
           " ), size=829440, cbForm=" + std::to_string(cbFormat) + ", fix:true, compr:false\n";
}

TEST_F(MediaTypeDump, Null)
{
    EXPECT_EQ(Dump(nullptr), Texts{"###Err### Debug_MediaType(): Empty media type pointer\n"});
    EXPECT_EQ(Dump(nullptr, nullptr, eTL_Error),
              Texts{"###Err### Debug_MediaType(): Empty media type pointer\n"});
}

TEST_F(MediaTypeDump, WithoutAFormat)
{
    AM_MEDIA_TYPE mt = {};
    mt.majortype = guidVideo;
    mt.subtype = guidUyvy;
    mt.bTemporalCompression = TRUE;
    mt.lSampleSize = 0xFFFFFFFF;
    EXPECT_EQ(Dump(&mt),
              Texts{"p: MT:( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / GUID_NULL ), size=-1, cbForm=0, "
                    "fix:false, compr:true\n"});
    EXPECT_EQ(Dump(&mt, nullptr, eTL_Error), Texts{"MT:( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / GUID_NULL ), "
                                                   "size=-1, cbForm=0, fix:false, compr:true\n"});
    EXPECT_EQ(Dump(&mt, L"", eTL_Warning), Texts{"MT:( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / GUID_NULL ), "
                                                 "size=-1, cbForm=0, fix:false, compr:true\n"});
}

TEST_F(MediaTypeDump, AnUnknownPointerIsTold)
{
    FakeSample unknown;
    AM_MEDIA_TYPE mt = {};
    mt.pUnk = static_cast<IUnknown*>(&unknown);
    const long nRefs = unknown.Refs();
    EXPECT_EQ(Dump(&mt), (Texts{"p: MT:( GUID_NULL / GUID_NULL / GUID_NULL ), size=0, cbForm=0, fix:false, "
                                "compr:false\n",
                                "p: @@@@ pUnk = 0x" + Address(mt.pUnk) + "\n"}));
    EXPECT_EQ(unknown.Refs(), nRefs);
}

TEST_F(MediaTypeDump, SizeAndBlockHaveToAgree)
{
    BYTE by = 0;
    for (const GUID& guid : {guidVideoInfo, guidWaveFormatEx, guidDvInfo, GUID{}})
    {
        AM_MEDIA_TYPE mt = {};
        mt.formattype = guid;
        mt.cbFormat = 88;
        Texts texts = Dump(&mt);
        ASSERT_EQ(texts.size(), 2u);
        EXPECT_EQ(texts[1],
                  "###Err### Debug_MediaType(): bad format parameters, cbFormat=88, pbFormat=0x0\n");
        mt.cbFormat = 0xFFFFFFFF;
        texts = Dump(&mt);
        ASSERT_EQ(texts.size(), 2u);
        EXPECT_EQ(texts[1],
                  "###Err### Debug_MediaType(): bad format parameters, cbFormat=-1, pbFormat=0x0\n");
        mt.cbFormat = 0;
        mt.pbFormat = &by;
        texts = Dump(&mt);
        ASSERT_EQ(texts.size(), 2u);
        EXPECT_EQ(texts[1], "###Err### Debug_MediaType(): bad format parameters, cbFormat=0, pbFormat=0x" +
                                LowHalf(&by) + "\n");
    }
}

TEST_F(MediaTypeDump, VideoInfo)
{
    VIDEOINFOHEADER video = {};
    FillVideo(video);
    const CMType mt = TypeOf(guidVideoInfo, video);
    EXPECT_EQ(Dump(&mt), (Texts{FirstLine("FORMAT_VideoInfo 720*576", 88), sRects, sBmi}));

    struct
    {
        REFERENCE_TIME rt;
        const char* pszText;
    } const rgTimes[] = {{0, "0.000"}, {-1, "-0.000'0001"}, {LLONG_MIN, "-"}, {LLONG_MAX, "*"}};
    for (const auto& row : rgTimes)
    {
        video.AvgTimePerFrame = row.rt;
        const CMType mtTime = TypeOf(guidVideoInfo, video);
        const Texts texts = Dump(&mtTime);
        ASSERT_EQ(texts.size(), 3u);
        EXPECT_EQ(texts[1],
                  "p: src=[-1,-2:-3,-4], targ=[-5,-6:-7,-8], rate=4294967294, errRate=4294967295, AvgT=" +
                      std::string(row.pszText) + "\n");
    }
}

TEST_F(MediaTypeDump, MpegVideo)
{
    MPEG1VIDEOINFO video = {};
    FillVideo(video.hdr);
    const CMType mt = TypeOf(guidMpegVideo, video);
    EXPECT_EQ(Dump(&mt), (Texts{FirstLine("FORMAT_MPEGVideo 720*576", 104), sRects, sBmi}));
}

TEST_F(MediaTypeDump, VideoInfo2)
{
    VIDEOINFOHEADER2 video = {};
    FillVideo(video);
    video.dwInterlaceFlags = 0xABC0;
    video.dwCopyProtectFlags = 0xD;
    video.dwPictAspectRatioX = 0xFFFFFFFF;
    video.dwPictAspectRatioY = 0xFFFFFFFE;
    video.dwControlFlags = 0xFFFFFFFF;
    const CMType mt = TypeOf(guidVideoInfo2, video);
    EXPECT_EQ(Dump(&mt), (Texts{FirstLine("FORMAT_VideoInfo2 720*576", 112), sRects, sBmi,
                                "p: ilace=0xABC0, copProt=0xD, aspect={-1,-2}, ctrl=0xFFFFFFFF\n"}));
    video.dwInterlaceFlags = 0xABC1;
    const CMType mtInterlaced = TypeOf(guidVideoInfo2, video);
    EXPECT_EQ(Dump(&mtInterlaced),
              (Texts{FirstLine("FORMAT_VideoInfo2 720*576", 112), sRects, sBmi,
                     "p: ilace=0xABC1 (INTERLACED), copProt=0xD, aspect={-1,-2}, ctrl=0xFFFFFFFF\n"}));
}

/// An MPEG-2 block with so many bytes of sequence header.
CMType Mpeg2(DWORD cbTold, size_t cbReal)
{
    MPEG2VIDEOINFO video = {};
    FillVideo(video.hdr);
    video.dwStartTimeCode = 0xABC;
    video.cbSequenceHeader = cbTold;
    video.dwProfile = 0xFFFFFFFF;
    video.dwLevel = 0xFFFFFFFE;
    video.dwFlags = 0xFEDC;
    constexpr size_t nOffset = offsetof(MPEG2VIDEOINFO, dwSequenceHeader);
    std::vector<BYTE> block(std::max(sizeof(video), nOffset + cbReal), BYTE{0});
    memcpy(block.data(), &video, sizeof(video));
    for (size_t i = 0; i < std::max<size_t>(cbReal, 4); i++)
        block[nOffset + i] = static_cast<BYTE>(i < 4 ? 0xB3 : 0x42);
    CMType mt(guidVideo, guidUyvy, guidMpeg2Video, static_cast<ULONG>(block.size()), block.data());
    mt.lSampleSize = 829440;
    mt.bFixedSizeSamples = TRUE;
    mt.bTemporalCompression = FALSE;
    return mt;
}

Texts ExpectedMpeg2(const CMType& mt, DWORD cbTold, size_t cbTraced, const char* pszHeading)
{
    Texts expected = {FirstLine("FORMAT_MPEG2Video 720*576", mt.cbFormat), sRects, sBmi,
                      "p: ilace=0x0, copProt=0x0, aspect={0,0}, ctrl=0x0\n",
                      "p: startCode=0xABC, cbHeader=" + std::to_string(cbTold) +
                          ", profile=4294967295, level=4294967294, flags=0xFEDC, seqHeader[0]=0xB3B3B3B3\n"};
    if (cbTraced == 0)
        return expected;
    expected.push_back("p: " + std::string(pszHeading) + " Trace from address 0x" +
                       Address(mt.pbFormat + offsetof(MPEG2VIDEOINFO, dwSequenceHeader)) + " (" +
                       std::to_string(cbTraced) + " bytes)\n");
    for (size_t n = 0; n < cbTraced; n += 16)
    {
        char szOffset[16];
        snprintf(szOffset, sizeof(szOffset), "  %04X: ", static_cast<unsigned>(n));
        std::string sHex, sText;
        for (size_t i = n; i < n + 16; i++)
        {
            sHex += i >= cbTraced ? "   " : i < 4 ? "B3 " : "42 ";
            sText += i >= cbTraced ? "" : i < 4 ? "." : "B";
        }
        expected.push_back(szOffset + sHex + "|" + sText + "|\n");
    }
    return expected;
}

TEST_F(MediaTypeDump, Mpeg2Video)
{
    struct
    {
        DWORD cbTold;
        size_t cbReal, cbTraced;
        const char* pszHeading;
    } const rgRows[] = {
        {0, 0, 0, ""},
        {4, 4, 4, "dwSequenceHeader[] bytes:"},
        {20, 20, 20, "dwSequenceHeader[] bytes:"},
        {1024, 1024, 1024, "dwSequenceHeader[] bytes:"},
        {1025, 1025, 1024, "dwSequenceHeader[] first 1024 bytes:"},
        {1500, 1500, 1024, "dwSequenceHeader[] first 1024 bytes:"},
        // A size that lies: nothing beyond the block is traced.
        {0xFFFFFFFF, 20, 20, "dwSequenceHeader[] bytes:"},
        {0xFFFFFFFF, 0, 4, "dwSequenceHeader[] bytes:"},
        {0xFFFFFFFF, 1500, 1024, "dwSequenceHeader[] first 1024 bytes:"},
        {8, 20, 8, "dwSequenceHeader[] bytes:"},
    };
    for (const auto& row : rgRows)
    {
        const CMType mt = Mpeg2(row.cbTold, row.cbReal);
        EXPECT_EQ(Dump(&mt), ExpectedMpeg2(mt, row.cbTold, row.cbTraced, row.pszHeading))
            << row.cbTold << " " << row.cbReal;
    }
}

TEST_F(MediaTypeDump, ABlockSmallerThanItsFormatType)
{
    struct
    {
        GUID guid;
        const char* pszName;
        ULONG cbLeast;
        bool bSized; ///< the size of the frame is known one byte earlier
    } const rgRows[] = {
        {guidVideoInfo, "FORMAT_VideoInfo", 88, false},
        {guidVideoInfo2, "FORMAT_VideoInfo2", 112, false},
        {guidMpegVideo, "FORMAT_MPEGVideo", 104, true},
        {guidMpeg2Video, "FORMAT_MPEG2Video", 136, true},
        {guidWaveFormatEx, "FORMAT_WaveFormatEx", 16, false},
        {guidDvInfo, "FORMAT_DvInfo", 32, false},
    };
    for (const auto& row : rgRows)
    {
        CMType mt(guidVideo, guidUyvy);
        mt.lSampleSize = 829440;
        mt.bFixedSizeSamples = TRUE;
        mt.bTemporalCompression = FALSE;
        mt.SetFormat(row.cbLeast - 1, nullptr); // in a block of just that size
        mt.formattype = row.guid;
        EXPECT_EQ(
            Dump(&mt),
            (Texts{FirstLine(std::string(row.pszName) + (row.bSized ? " 0*0" : ""), row.cbLeast - 1),
                   "###Err### Debug_MediaType(): bad format parameters, cbFormat=" +
                       std::to_string(row.cbLeast - 1) + ", pbFormat=0x" + LowHalf(mt.pbFormat) + "\n"}));
        mt.SetFormat(row.cbLeast, nullptr);
        mt.formattype = row.guid;
        EXPECT_GE(Dump(&mt).size(), 2u);
        EXPECT_EQ(Dump(&mt)[1].find("###Err###"), std::string::npos);
    }
}

TEST_F(MediaTypeDump, SoundAndDv)
{
    BYTE rgWave[18 + 2] = {};
    WAVEFORMATEX wave = {0x55, 2, 44100, 16000, 1, 0, 2};
    memcpy(rgWave, &wave, 18);
    rgWave[18] = 0x31;
    CMType mt(guidAudio, FourccGuid(0x55), guidWaveFormatEx, sizeof(rgWave), rgWave);
    mt.lSampleSize = 1;
    mt.bFixedSizeSamples = TRUE;
    mt.bTemporalCompression = TRUE;
    EXPECT_EQ(
        Dump(&mt),
        (Texts{"p: MT:( MEDIATYPE_Audio / TAG_0x55(MP3) / FORMAT_WaveFormatEx ), size=1, cbForm=20, "
               "fix:true, compr:true\n",
               "p: WAVEFORMATEX: Tag=0x55, chan=2, nPerSec=44100, nAvg=16000, align=1, bits=0  size=2\n",
               "p: WAVEFORMATEX extra bytes: Trace from address 0x" + Address(mt.pbFormat + 18) +
                   " (2 bytes)\n",
               "  0000: 31 00" + std::string(43, ' ') + "|1.|\n"}));

    const DvInfo dv = {1, 2, 3, 4, 5, 6, {7, 8}};
    const CMType mtDv = TypeOf(guidDvInfo, dv);
    EXPECT_EQ(Dump(&mtDv), (Texts{FirstLine("FORMAT_DvInfo", 32),
                                  "p: DVINFO:\n"
                                  "\tdwDVAAuxSrc =00000001, dwDVAAuxCtl =00000002 (1st 5/6 DIF seq)\n"
                                  "\tdwDVAAuxSrc1=00000003, dwDVAAuxCtl1=00000004 (2nd 5/6 DIF seq)\n"
                                  "\tdwDVVAuxSrc =00000005, dwDVVAuxCtl =00000006 (Video)\n"
                                  "\tdwDVReserved[0]=00000007, dwDVReserved[1]=00000008\n"}));
}

TEST_F(MediaTypeDump, OtherFormatTypesEndWithTheFirstLine)
{
    const BYTE rgBytes[200] = {};
    CMType mt(guidVideo, guidUyvy, GUID{1, 2, 3, {4}}, sizeof(rgBytes), rgBytes);
    mt.lSampleSize = 829440;
    mt.bFixedSizeSamples = TRUE;
    mt.bTemporalCompression = FALSE;
    EXPECT_EQ(Dump(&mt), Texts{FirstLine("{00000001-0002-0003-0400-000000000000}", 200)});
}

TEST_F(MediaTypeDump, NothingIsWrittenAboveLevelEight)
{
    const CMType mt = Mpeg2(20, 20);
    for (const UINT nLevel : {9u, 10u, 12u, 0xFFFFFFFFu})
    {
        Debug_MediaType(atlTraceGeneral, nLevel, &mt, L"p: ");
        Debug_MediaType(atlTraceGeneral, nLevel, nullptr, L"p: ");
    }
    Debug_MediaType(0, eTL_Main, &mt, L"p: ");
    EXPECT_EQ(m_log.Lines(), std::vector<LogLine>{});
    EXPECT_EQ(m_asserts.Texts(), Texts{});
}

} // namespace
