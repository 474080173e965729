// IAMStreamConfig.
#include "FilterSupport.h"

#include "imgconverter/ImgConverter.h"

namespace
{

class StreamConfig : public FilterTest
{
protected:
    IAMStreamConfig& Config() { return Out(); }
};

/// A format as GetFormat gives it.
struct Format
{
    AM_MEDIA_TYPE* pmt = nullptr;
    ~Format() { MTDelete(pmt); }
};

TEST_F(StreamConfig, SetFormatUnconnectedTakesTheCallersType)
{
    CMType mt = VideoType(FOURCC_RGB24, 64, -48, 333667);
    mt.VideoInfo()->dwBitRate = 777; // what the properties cannot say
    EXPECT_EQ(Config().SetFormat(&mt), S_OK);
    EXPECT_TRUE(MTEqual(&Out().m_theMediaType, &mt));
    EXPECT_EQ(Out().m_picOutput, (PicProps{FOURCC_RGB24, 64, -48, 64}));
    const QG_VID_PROPS props = Props();
    EXPECT_EQ(props.fccType, eQGFCC_RGB24);
    EXPECT_EQ(props.nWidth, 64);
    EXPECT_EQ(props.nHeight, -48);
    EXPECT_DOUBLE_EQ(props.dblRate, 10000000.0 / 333667);
    EXPECT_EQ(props.eInterlace, eQGI_Progressive);
    EXPECT_EQ(props.eKeepAspect, eQGKA_Crop);
    EXPECT_EQ(Filter().m_arrSupport.GetSize(), 0);
}

TEST_F(StreamConfig, SetFormatRefusals)
{
    const QG_VID_PROPS before = Props();
    const CMType mtBefore = Out().m_theMediaType;
    EXPECT_EQ(Config().SetFormat(nullptr), E_POINTER);
    CMType mt;
    EXPECT_EQ(Config().SetFormat(&mt), VFW_E_INVALIDMEDIATYPE);
    for (const DWORD fcc : {FOURCC_RGB565, FOURCC_RGB555, FOURCC_v210, FOURCC_r210, FOURCC_NV12, FOURCC_IYU2})
    {
        mt = VideoType(fcc, 64, 48);
        EXPECT_EQ(Config().SetFormat(&mt), VFW_E_INVALIDMEDIATYPE) << std::hex << fcc;
    }
    mt = VideoType(FOURCC_RGB32, 64, 48);
    mt.subtype = MEDIASUBTYPE_RGB8;
    EXPECT_EQ(Config().SetFormat(&mt), VFW_E_INVALIDMEDIATYPE);
    mt = VideoType(FOURCC_RGB32, 64, 48);
    mt.majortype = MEDIATYPE_Audio;
    EXPECT_EQ(Config().SetFormat(&mt), VFW_E_INVALIDMEDIATYPE);
    const QG_VID_PROPS after = Props();
    EXPECT_EQ(memcmp(&before, &after, sizeof(before)), 0);
    EXPECT_TRUE(MTEqual(&mtBefore, &Out().m_theMediaType));
}

TEST_F(StreamConfig, SetFormatOnlyWhenStopped)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    CMType mt = VideoType(FOURCC_RGB32, 8, 4, 200000);
    ASSERT_EQ(Filter().Pause(), S_OK);
    EXPECT_EQ(Config().SetFormat(&mt), VFW_E_NOT_STOPPED);
    EXPECT_EQ(Config().SetFormat(nullptr), E_POINTER);
    ASSERT_EQ(Filter().Run(0), S_OK);
    EXPECT_EQ(Config().SetFormat(&mt), VFW_E_NOT_STOPPED);
    EXPECT_EQ(Props().dblRate, 0.0);
}

TEST_F(StreamConfig, SetFormatConnectedReconnects)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    m_graph.m_bReallyReconnect = true;
    CMType mt = VideoType(FOURCC_RGB32, 8, -4, 200000);
    EXPECT_EQ(Config().SetFormat(&mt), S_OK);
    ASSERT_EQ(m_graph.Reconnections().size(), 1u);
    EXPECT_TRUE(MTEqual(&m_graph.Reconnections()[0].mt, &mt));
    EXPECT_TRUE(MTEqual(&Out().m_theMediaType, &mt));
    EXPECT_TRUE(Out().IsConnected());
    // The same again needs nothing.
    EXPECT_EQ(Config().SetFormat(&mt), S_OK);
    EXPECT_EQ(m_graph.Reconnections().size(), 1u);
    // Another size is refused by the pin itself, which stays disconnected.
    mt = VideoType(FOURCC_RGB32, 16, 4);
    EXPECT_EQ(Config().SetFormat(&mt), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_FALSE(Out().IsConnected());
    EXPECT_EQ(Out().m_picOutput, (PicProps{FOURCC_RGB32, 8, -4, 8}));
    EXPECT_EQ(Props().nWidth, 16);
}

TEST_F(StreamConfig, GetFormat)
{
    EXPECT_EQ(Config().GetFormat(nullptr), E_POINTER);
    {
        Format format;
        ASSERT_EQ(Config().GetFormat(&format.pmt), S_OK);
        EXPECT_TRUE(MTEqual(format.pmt, &Out().m_theMediaType));
        EXPECT_NE(format.pmt->pbFormat, Out().m_theMediaType.pbFormat); // a copy
        EXPECT_EQ(Config().SetFormat(format.pmt), S_OK);                // which can be set again
    }
    Show(FOURCC_RGB32, 8, 4, Bytes(128));
    ASSERT_EQ(Control().SetOutputFormat(Text("RGB32"), 8, 4), S_OK);
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    {
        Format format;
        ASSERT_EQ(Config().GetFormat(&format.pmt), S_OK);
        EXPECT_TRUE(MTEqual(format.pmt, &Out().m_theMediaType));
    }
    ASSERT_EQ(Filter().Stop(), S_OK);
    const CMType mtEmpty;
    Out().ApplyOutputType(&mtEmpty);
    Format format;
    ASSERT_EQ(Config().GetFormat(&format.pmt), S_OK);
    EXPECT_FALSE(MTIsSet(format.pmt));
}

/// The formats that the library works on, in the order of the table.
const DWORD arrFormats[] = {FOURCC_YUY2,  FOURCC_UYVY,   FOURCC_YV12,  FOURCC_YVYU, FOURCC_I420,
                            FOURCC_RGB32, FOURCC_ARGB32, FOURCC_RGB24, FOURCC_HDYC};
constexpr int nFormats = 9;

TEST_F(StreamConfig, NumberOfCapabilities)
{
    int nCount = 0, nSize = 0;
    EXPECT_EQ(Config().GetNumberOfCapabilities(&nCount, &nSize), S_OK);
    EXPECT_EQ(nCount, 4 * nFormats);
    EXPECT_EQ(nSize, 128);
    EXPECT_EQ(Config().GetNumberOfCapabilities(nullptr, &nSize), E_POINTER);
    EXPECT_EQ(Config().GetNumberOfCapabilities(&nCount, nullptr), E_POINTER);
}

void ExpectCaps(const VIDEO_STREAM_CONFIG_CAPS& caps)
{
    EXPECT_TRUE(IsEqualGUID(caps.guid, FORMAT_VideoInfo));
    EXPECT_EQ(caps.VideoStandard, 0u);
    for (const SIZE& size : {caps.InputSize, caps.MinCroppingSize, caps.MaxCroppingSize})
    {
        EXPECT_EQ(size.cx, 720);
        EXPECT_EQ(size.cy, 486);
    }
    EXPECT_EQ(caps.CropGranularityX, 2);
    EXPECT_EQ(caps.CropGranularityY, 2);
    EXPECT_EQ(caps.CropAlignX, 1);
    EXPECT_EQ(caps.CropAlignY, 1);
    EXPECT_EQ(caps.MinOutputSize.cx, 128);
    EXPECT_EQ(caps.MinOutputSize.cy, 96);
    EXPECT_EQ(caps.MaxOutputSize.cx, 2048);
    EXPECT_EQ(caps.MaxOutputSize.cy, 2048);
    EXPECT_EQ(caps.OutputGranularityX, 2);
    EXPECT_EQ(caps.OutputGranularityY, 2);
    EXPECT_EQ(caps.StretchTapsX, 0);
    EXPECT_EQ(caps.StretchTapsY, 0);
    EXPECT_EQ(caps.ShrinkTapsX, 0);
    EXPECT_EQ(caps.ShrinkTapsY, 0);
    EXPECT_EQ(caps.MinFrameInterval, 166667);
    EXPECT_EQ(caps.MaxFrameInterval, 10000000);
    EXPECT_EQ(caps.MinBitsPerSecond, 16384);
    EXPECT_EQ(caps.MaxBitsPerSecond, 1006632960);
}

TEST_F(StreamConfig, StreamCaps)
{
    for (int i = 0; i < 4 * nFormats + 4; i++)
    {
        SCOPED_TRACE(i);
        VIDEO_STREAM_CONFIG_CAPS caps;
        memset(&caps, 0xEE, sizeof(caps));
        Format format;
        ASSERT_EQ(Config().GetStreamCaps(i, &format.pmt, reinterpret_cast<BYTE*>(&caps)), S_OK);
        // The four indices of a format are one; those behind the last give the last of the table.
        const DWORD fcc = i / 4 < nFormats ? arrFormats[i / 4] : static_cast<DWORD>(FOURCC_NV12);
        PicProps pic{};
        EXPECT_GE(MTGetPicProps(format.pmt, &pic), 0);
        EXPECT_EQ(pic, (PicProps{fcc, 720, 486, 720}));
        EXPECT_TRUE(IsEqualGUID(format.pmt->formattype, FORMAT_VideoInfo));
        EXPECT_EQ(MTFrameTime(format.pmt), 333667);
        ExpectCaps(caps);
        // Each can be set, but for the one that is not supported.
        EXPECT_EQ(Config().SetFormat(format.pmt), i / 4 < nFormats ? S_OK : VFW_E_INVALIDMEDIATYPE);
    }
}

TEST_F(StreamConfig, StreamCapsPastTheEnd)
{
    for (const int i : {4 * nFormats + 4, 1000, INT_MAX})
    {
        BYTE arrCaps[128];
        memset(arrCaps, 0xEE, sizeof(arrCaps));
        Format format;
        EXPECT_EQ(Config().GetStreamCaps(i, &format.pmt, arrCaps), S_FALSE) << i;
        EXPECT_EQ(format.pmt, nullptr);
        EXPECT_EQ(std::count(arrCaps, arrCaps + 128, 0xEE), 128);
    }
}

TEST_F(StreamConfig, StreamCapsNullPointers)
{
    BYTE arrCaps[128];
    Format format;
    EXPECT_EQ(Config().GetStreamCaps(0, nullptr, arrCaps), E_POINTER);
    EXPECT_EQ(Config().GetStreamCaps(0, &format.pmt, nullptr), E_POINTER);
}

TEST_F(StreamConfig, StreamCapsOfANegativeIndexEnd)
{
    for (const int i : {-1, -4, INT_MIN})
    {
        BYTE arrCaps[128];
        Format format;
        EXPECT_EQ(Config().GetStreamCaps(i, &format.pmt, arrCaps), S_OK);
        ASSERT_NE(format.pmt, nullptr);
        EXPECT_EQ(format.pmt->subtype.Data1, arrFormats[0]); // counted down from nothing
    }
}

} // namespace
