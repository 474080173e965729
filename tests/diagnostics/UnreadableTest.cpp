// Dumps of memory that nobody may read: each is reported, and nothing ends the host.
#include "diagnostics/FormatBlocks.h"
#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/dumps/FormatDump.h"
#include "dstl/dshowx/dumps/MediaTypeDump.h"
#include "dstl/dshowx/dumps/MediaTypeText.h"
#include "dstl/dshowx/dumps/MemoryDump.h"
#include "support/GuardedPages.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

/// So many readable bytes, of zero, and then a page that cannot be read.
class Unreadable : public testing::Test
{
protected:
    BYTE* Readable(size_t cb)
    {
        BYTE* const pb = m_pages.Place(cb, GuardedPages::AtEnd);
        memset(pb, 0, cb);
        return pb;
    }

    /// Whether a text is the report of the guarded copy.
    static bool IsCopyReport(const LogLine& line)
    {
        const std::string sStart = "###Err### SEH_CopyMemory( pDst=0x";
        const std::string sEnd = " ): Exception 0xC0000005\n";
        return line.nLevel == eTL_Error && line.sText.rfind(sStart, 0) == 0 &&
               line.sText.size() > sEnd.size() && line.sText.substr(line.sText.size() - sEnd.size()) == sEnd;
    }

    /// The lines but for the reports of the guarded copy, of which there are so many.
    Texts Others(int nReports)
    {
        Texts texts;
        for (const LogLine& line : m_log.Lines())
        {
            if (IsCopyReport(line))
                nReports--;
            else
                texts.push_back(line.sText);
        }
        EXPECT_EQ(nReports, 0);
        m_log.Clear();
        return texts;
    }

    GuardedPages m_pages;
    LogCapture m_log;
};

TEST_F(Unreadable, MemoryEndsWhereItCannotBeRead)
{
    const BYTE* const pb = Readable(40);
    Debug_Memory(atlTraceGeneral, eTL_Main, pb, 100000, L"p:");
    const std::string sRow = "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 |................|\n";
    EXPECT_EQ(Others(1), (Texts{"p: Trace from address 0x" + Address(pb) + " (100000 bytes)\n",
                                "  0000: " + sRow, "  0010: " + sRow}));
    Debug_Memory(atlTraceGeneral, eTL_Main, nullptr, 1, nullptr);
    EXPECT_EQ(Others(1), Texts{"Trace from address 0x0000000000000000 (1 bytes)\n"});
    Debug_Memory(atlTraceGeneral, eTL_Main, reinterpret_cast<void*>(~UINT_PTR(0)), SIZE_MAX, nullptr);
    EXPECT_EQ(Others(1), Texts{"Trace from address 0xFFFFFFFFFFFFFFFF (2147483647 bytes)\n"});
}

TEST_F(Unreadable, Headers)
{
    BYTE* const pb = Readable(10);
    Debug_BitmapInfoHeader(atlTraceGeneral, eTL_Main, reinterpret_cast<const BITMAPINFOHEADER*>(pb), L"p: ");
    EXPECT_EQ(Others(1), Texts{});
    Debug_WaveFormatEx(atlTraceGeneral, eTL_Main, reinterpret_cast<const WAVEFORMATEX*>(pb), L"p: ");
    EXPECT_EQ(Others(1), Texts{});
    Debug_DvInfo(atlTraceGeneral, eTL_Main, reinterpret_cast<const DvInfo*>(pb), L"p: ");
    EXPECT_EQ(Others(1), Texts{});
    Debug_MediaType(atlTraceGeneral, eTL_Main, reinterpret_cast<const AM_MEDIA_TYPE*>(pb), L"p: ");
    EXPECT_EQ(Others(1), Texts{});

    // Extra bytes that are not there.
    auto* const pWave = reinterpret_cast<WAVEFORMATEX*>(Readable(18));
    pWave->cbSize = 22;
    Debug_WaveFormatEx(atlTraceGeneral, eTL_Main, pWave, L"p: ");
    EXPECT_EQ(Others(1),
              (Texts{"p: WAVEFORMATEX: Tag=0x0, chan=0, nPerSec=0, nAvg=0, align=0, bits=0  size=22\n",
                     "p: WAVEFORMATEX extra bytes: Trace from address 0x" +
                         Address(reinterpret_cast<const BYTE*>(pWave) + 18) + " (22 bytes)\n"}));
}

/// A media type with a size that its block does not have.
AM_MEDIA_TYPE Lying(const GUID& guidFormat, BYTE* pb, ULONG cb)
{
    AM_MEDIA_TYPE mt = {};
    mt.majortype = guidVideo;
    mt.subtype = guidUyvy;
    mt.formattype = guidFormat;
    mt.pbFormat = pb;
    mt.cbFormat = cb;
    return mt;
}

TEST_F(Unreadable, AMediaTypeWithALyingSize)
{
    const struct
    {
        GUID guid;
        const char* pszName;
        int nReports; ///< the size of a frame is asked for first
    } rgRows[] = {
        {guidVideoInfo, "FORMAT_VideoInfo", 2},       {guidVideoInfo2, "FORMAT_VideoInfo2", 2},
        {guidMpegVideo, "FORMAT_MPEGVideo", 2},       {guidMpeg2Video, "FORMAT_MPEG2Video", 2},
        {guidWaveFormatEx, "FORMAT_WaveFormatEx", 1}, {guidDvInfo, "FORMAT_DvInfo", 1},
    };
    for (const auto& row : rgRows)
    {
        for (const ULONG cb : {136u, 0x7FFFFFFFu, 0xFFFFFFFFu})
        {
            AM_MEDIA_TYPE mt = Lying(row.guid, Readable(15), cb);
            Debug_MediaType(atlTraceGeneral, eTL_Main, &mt, L"p: ");
            EXPECT_EQ(Others(row.nReports),
                      Texts{"p: MT:( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / " + std::string(row.pszName) +
                            " ), size=0, cbForm=" + std::to_string(static_cast<int>(cb)) +
                            ", fix:false, compr:false\n"});
        }
    }
}

TEST_F(Unreadable, ASequenceHeaderThatIsNotThere)
{
    BYTE* const pb = Readable(136);
    const DWORD cbHeader = 5000;
    memcpy(pb + offsetof(MPEG2VIDEOINFO, cbSequenceHeader), &cbHeader, sizeof(cbHeader));
    const AM_MEDIA_TYPE mt = Lying(guidMpeg2Video, pb, 0xFFFFFFFF);
    Debug_MediaType(atlTraceGeneral, eTL_Main, &mt, nullptr);
    EXPECT_EQ(Others(1),
              (Texts{"MT:( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / FORMAT_MPEG2Video 0*0 ), size=0, cbForm=-1, "
                     "fix:false, compr:false\n",
                     "src=[0,0:0,0], targ=[0,0:0,0], rate=0, errRate=0, AvgT=0.000\n",
                     "BITMAPINFOHEADER:size=0, w=0, h=0, planes=0, bits=0, compress=BI_RGB, sizeImg=0\n",
                     "ilace=0x0, copProt=0x0, aspect={0,0}, ctrl=0x0\n",
                     "startCode=0x0, cbHeader=5000, profile=0, level=0, flags=0x0, seqHeader[0]=0x0\n",
                     "dwSequenceHeader[] first 1024 bytes: Trace from address 0x" + Address(pb + 132) +
                         " (1024 bytes)\n"}));
}

TEST_F(Unreadable, TheTextOfATypeOnlyLacksItsSize)
{
    const AM_MEDIA_TYPE mt = Lying(guidVideoInfo, Readable(60), 88);
    wchar_t szType[cchMediaTypeText];
    EXPECT_EQ(Utf8(ParseMediaType(&mt, szType, false)),
              "( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / FORMAT_VideoInfo )");
    EXPECT_EQ(Others(1), Texts{});
}

} // namespace
