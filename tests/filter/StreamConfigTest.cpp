// IAMStreamConfig.
#include "FilterSupport.h"

#include <numeric>

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
    EXPECT_TRUE(MTEqual(&Inside().m_theMediaType, &mt));
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB24, 64, -48, 64}));
    const QG_VID_PROPS props = Props();
    EXPECT_EQ(props.fccType, eQGFCC_RGB24);
    EXPECT_EQ(props.nWidth, 64);
    EXPECT_EQ(props.nHeight, -48);
    EXPECT_DOUBLE_EQ(props.dblRate, 10000000.0 / 333667);
    EXPECT_EQ(props.eInterlace, eQGI_Progressive);
    EXPECT_EQ(props.eKeepAspect, eQGKA_Crop);
    EXPECT_EQ(InsideFilter().m_arrSupport.GetSize(), 0);
}

TEST_F(StreamConfig, SetFormatRefusals)
{
    const QG_VID_PROPS before = Props();
    const CMType mtBefore = Inside().m_theMediaType;
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
    EXPECT_TRUE(MTEqual(&mtBefore, &Inside().m_theMediaType));
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
    EXPECT_TRUE(MTEqual(&Inside().m_theMediaType, &mt));
    EXPECT_TRUE(Out().IsConnected());
    // The same again needs nothing.
    EXPECT_EQ(Config().SetFormat(&mt), S_OK);
    EXPECT_EQ(m_graph.Reconnections().size(), 1u);
    // Another size is refused by the pin itself, which stays disconnected.
    mt = VideoType(FOURCC_RGB32, 16, 4);
    EXPECT_EQ(Config().SetFormat(&mt), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_FALSE(Out().IsConnected());
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB32, 8, -4, 8}));
    EXPECT_EQ(Props().nWidth, 16);
}

TEST_F(StreamConfig, GetFormat)
{
    EXPECT_EQ(Config().GetFormat(nullptr), E_POINTER);
    {
        Format format;
        ASSERT_EQ(Config().GetFormat(&format.pmt), S_OK);
        EXPECT_TRUE(MTEqual(format.pmt, &Inside().m_theMediaType));
        EXPECT_NE(format.pmt->pbFormat, Inside().m_theMediaType.pbFormat); // a copy
        EXPECT_EQ(Config().SetFormat(format.pmt), S_OK);                   // which can be set again
    }
    Show(FOURCC_RGB32, 8, 4, Bytes(128));
    ASSERT_EQ(Control().SetOutputFormat(Text("RGB32"), 8, 4), S_OK);
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    {
        Format format;
        ASSERT_EQ(Config().GetFormat(&format.pmt), S_OK);
        EXPECT_TRUE(MTEqual(format.pmt, &Inside().m_theMediaType));
    }
    ASSERT_EQ(Filter().Stop(), S_OK);
    const CMType mtEmpty;
    Out().ApplyOutputType(&mtEmpty);
    Format format;
    ASSERT_EQ(Config().GetFormat(&format.pmt), S_OK);
    EXPECT_FALSE(MTIsSet(format.pmt));
}

// --- SetFormat(GetFormat())

/// Every combination of what a host can ask for, on an unconnected pin that shows a loaded picture.
class SetFormatAgain : public StreamConfig
{
protected:
    /// What a host sees of the pin's output.
    struct Output
    {
        CMType mt;
        Bytes frame;
    };

    void SetUp() override
    {
        StreamConfig::SetUp();
        Bytes pixels(40 * 20 * 4);
        std::iota(pixels.begin(), pixels.end(), BYTE{1});
        Show(FOURCC_RGB32, 40, 20, pixels);
    }
    Output Read()
    {
        Output output;
        Format format;
        EXPECT_EQ(Config().GetFormat(&format.pmt), S_OK);
        EXPECT_EQ(output.mt.Set(format.pmt), S_OK);
        output.frame.assign(GetPicSize(&Inside().m_picOutput), 0xEE);
        EXPECT_EQ(FillSampleBuffer(output.frame.data(), static_cast<DWORD>(output.frame.size())), S_OK);
        return output;
    }
    static void ExpectSame(const Output& before, const Output& after)
    {
        EXPECT_TRUE(MTEqual(&before.mt, &after.mt));
        EXPECT_TRUE(before.frame == after.frame);
    }
    static void ExpectSame(const QG_VID_PROPS& before, const QG_VID_PROPS& after)
    {
        EXPECT_EQ(before.nWidth, after.nWidth);
        EXPECT_EQ(before.nHeight, after.nHeight);
        EXPECT_EQ(before.fccType, after.fccType);
        EXPECT_EQ(before.eInterlace, after.eInterlace);
        EXPECT_EQ(before.nAspectX, after.nAspectX);
        EXPECT_EQ(before.nAspectY, after.nAspectY);
        EXPECT_EQ(before.eKeepAspect, after.eKeepAspect);
        EXPECT_EQ(before.dblRate, after.dblRate);
    }
    void SetAgain(HRESULT hrExpected = S_OK)
    {
        Format format;
        ASSERT_EQ(Config().GetFormat(&format.pmt), S_OK);
        EXPECT_EQ(Config().SetFormat(format.pmt), hrExpected);
    }
    /// The properties as a type holds them: progressive where no field order is given, the aspect reduced,
    /// or that of the frame.
    static QG_VID_PROPS AsTypeHoldsThem(QG_VID_PROPS props)
    {
        const bool bFields = props.eInterlace == eQGI_Field1First || props.eInterlace == eQGI_Field2First;
        const bool bOwn = props.nAspectX == 0 || props.nAspectY == 0;
        const bool bPlain =
            bOwn && (props.eInterlace == eQGI_Default || props.eInterlace == eQGI_Progressive);
        const int nX = bPlain ? 0 : bOwn ? props.nWidth : props.nAspectX;
        const int nY = bPlain ? 0 : bOwn ? props.nHeight : props.nAspectY;
        const int nDivisor = std::max(std::gcd(nX, nY), 1);
        props.nAspectX = static_cast<SHORT>(nX / nDivisor);
        props.nAspectY = static_cast<SHORT>(nY / nDivisor);
        if (!bFields)
            props.eInterlace = eQGI_Progressive;
        if (!IsRGBFormat(static_cast<DWORD>(props.fccType)))
            props.nHeight = std::abs(props.nHeight); // such a type has one order of rows
        return props;
    }
    void Check(const QG_VID_PROPS& props)
    {
        SCOPED_TRACE(testing::Message()
                     << std::hex << props.fccType << std::dec << ' ' << props.nWidth << 'x' << props.nHeight
                     << " fields " << props.eInterlace << " aspect " << props.nAspectX << ':'
                     << props.nAspectY << " keep " << props.eKeepAspect << " rate " << props.dblRate);
        QG_VID_PROPS set = props;
        ASSERT_EQ(Control().SetOutputProps(&set), S_OK);
        const Output output = Read();
        const PicProps pic = Inside().m_picOutput;
        if (!Img_CheckProps(&pic, false))
        {
            // What the library does not work on can be had, but not set.
            SetAgain(VFW_E_INVALIDMEDIATYPE);
            ExpectSame(output, Read());
            ExpectSame(props, Props());
            return;
        }
        SetAgain();
        ExpectSame(output, Read());
        const QG_VID_PROPS read = Props();
        QG_VID_PROPS expected = AsTypeHoldsThem(props);
        expected.dblRate = read.dblRate; // looked at on its own
        ExpectSame(expected, read);
        // Nothing is left to change, the next time, nor when the properties are set as they were read.
        SetAgain();
        ExpectSame(output, Read());
        ExpectSame(read, Props());
        set = read;
        ASSERT_EQ(Control().SetOutputProps(&set), S_OK);
        const Output again = Read();
        EXPECT_TRUE(output.frame == again.frame);
        const bool bAsGiven = (props.nAspectX == 0 || props.nAspectX == read.nAspectX) &&
                              (props.nAspectY == 0 || props.nAspectY == read.nAspectY) &&
                              props.nHeight == read.nHeight;
        EXPECT_TRUE(!bAsGiven || MTEqual(&output.mt, &again.mt));
    }
};

TEST_F(SetFormatAgain, ChangesNothingInAnyShape)
{
    constexpr struct
    {
        SHORT nX, nY;
    } arrAspects[] = {{0, 0},  {4, 3},   {32, 18}, {1, 1},     {0, 9},       {16, 0},
                      {4, -3}, {-16, 9}, {-1, -1}, {-32, -18}, {32767, 1},   {1, 32767},
                      {1, -1}, {-1, 1},  {0, -9},  {-16, 0},   {-32768, -1}, {-32768, -32768}};
    for (const MediaFormat& format : rgFormat)
    {
        for (const int nWidth : {48, 64})
        {
            for (const int nHeight : {48, -48, 36, -36})
            {
                for (const eQGInterlace eInterlace :
                     {eQGI_Default, eQGI_Progressive, eQGI_Field1First, eQGI_Field2First,
                      eQGI_Field1First_3DSide, eQGI_Progressive_3DTopBottom})
                {
                    for (const auto& aspect : arrAspects)
                        Check({nWidth, nHeight, static_cast<eQGFCC>(format.Code()), eInterlace, aspect.nX,
                               aspect.nY, eQGKA_LetterBox, 25.0});
                }
            }
        }
    }
}

TEST_F(SetFormatAgain, ChangesNothingAtAnyRate)
{
    const auto arrRates = {25.0, 50.0, 24.0, 30.0, 60.0, 29.97, 30000.0 / 1001, 59.94, 23.976,
                           7.0,  0.0,  -3.0, 1.0,  12.5, 0.001, 1e-6,           1e6,   1e7};
    for (const int nHeight : {36, -36})
    {
        for (const double dblRate : arrRates)
        {
            for (const eQGInterlace eInterlace : {eQGI_Progressive, eQGI_Field1First, eQGI_Field2First})
            {
                Check({48, nHeight, eQGFCC_RGB32, eInterlace, 0, 0, eQGKA_Crop, dblRate});
                // The rate of the type, from which the same type comes again.
                EXPECT_EQ(Props().dblRate, 1e7 / static_cast<double>(MTFrameTime(&Inside().m_theMediaType)));
            }
        }
    }
}

/// Bands alone would be left of a picture that is taken for 4 by 32767.
TEST_F(SetFormatAgain, LeavesThePictureInTheFrame)
{
    QG_VID_PROPS props = {64, -48, eQGFCC_RGB32, eQGI_Field1First, 0, 0, eQGKA_LetterBox, 25.0};
    ASSERT_EQ(Control().SetOutputProps(&props), S_OK);
    SetAgain();
    const Bytes frame = Read().frame;
    EXPECT_GT(std::count_if(frame.begin(), frame.end(), [](BYTE by) { return by != 0; }), 64 * 32 * 4 / 2);
    EXPECT_EQ(Props().nAspectX, 4);
    EXPECT_EQ(Props().nAspectY, -3);
}

// --- Capabilities

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
