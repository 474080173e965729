// Frames that fit no sample: each place where a type is made, offered, accepted or set ends as for any other
// size that a format cannot have, before memory is taken.
#include "FilterSupport.h"

#include "Negotiation.h"

namespace
{

struct LargeFrame
{
    DWORD fccType;
    LONG nWidth, nHeight;
};

constexpr LargeFrame arrLarge[] = {
    {FOURCC_UYVY, 40000, 40000},                                       // 3.2 GB, negative as a length
    {FOURCC_RGB32, 30000, 30000},                                      // 3.6 GB
    {FOURCC_RGB32, 30000, -30000},                                     // the same
    {FOURCC_RGB32, 32768, 32768},                                      // 4 GiB, 0 as a length
    {FOURCC_ARGB32, 16384, 32768},                                     // 2 GiB
    {FOURCC_RGB24, 26756, 26756},                                      // 2 GiB and a little
    {FOURCC_I420, 2, 0x2AAAAAAC},                                      // the same
    {FOURCC_v210, 6, 16800000},                                        // whole blocks a row
    {FOURCC_r210, 1, 0x800000},                                        // the same
    {FOURCC_NV12, 32768, 32768},                                       // 2 GiB at 16 bits
    {FOURCC_RGB32, INT_MAX, INT_MIN}, {FOURCC_r210, INT_MAX, INT_MIN}, // 2^64, 0 even in 64 bits
};

std::string Str(const LargeFrame& large)
{
    char szText[64];
    snprintf(szText, sizeof(szText), "0x%08X %ld x %ld", static_cast<unsigned>(large.fccType), large.nWidth,
             large.nHeight);
    return szText;
}

/// A type that MTCreateVideo would not make: that of a small picture with another size in its header.
CMType LargeType(const LargeFrame& large, const GUID& guidFormat = FORMAT_VideoInfo)
{
    CMType mt = VideoType(large.fccType, 48, 48, 400000, guidFormat);
    BITMAPINFOHEADER& bmi = *MTGetBmpHeader(&mt);
    bmi.biWidth = large.nWidth;
    bmi.biHeight = large.nHeight;
    return mt;
}

class FrameSize : public FilterTest
{
protected:
    IAMStreamConfig& Config() { return Out(); }
};

TEST_F(FrameSize, OutputPropertiesEndInNoType)
{
    for (const LargeFrame& large : arrLarge)
    {
        SCOPED_TRACE(Str(large));
        for (const char* pszPicture : {"bars", "red"})
        {
            ASSERT_EQ(Control().SetPicture(Text(pszPicture)), S_OK);
            QG_VID_PROPS props{};
            props.fccType = static_cast<eQGFCC>(large.fccType);
            props.nWidth = large.nWidth;
            props.nHeight = large.nHeight;
            EXPECT_EQ(Control().SetOutputProps(&props), S_OK);
            EXPECT_FALSE(Inside().m_theMediaType.IsDefined());
            EXPECT_EQ(Inside().m_picOutput, PicProps{});
            EXPECT_EQ(InsideFilter().m_arrSupport.GetSize(), 0);
            EXPECT_EQ(Connect(), VFW_E_NO_ACCEPTABLE_TYPES);
            BYTE byBuffer = 0xEE;
            FillSampleBuffer(&byBuffer, 1);
            EXPECT_EQ(byBuffer, 0xEE);
            EXPECT_EQ(Inside().m_blobFrame.GetAllocSize(), 0u);
        }
        CMType mt = VideoType(FOURCC_RGB32, 16, 16);
        const CMType before = mt;
        EXPECT_EQ(Filter().BuildOutputType(mt, {FOURCC_UYVY, 720, 576, 720}), E_INVALIDARG);
        EXPECT_TRUE(MTEqual(&mt, &before));
    }
}

/// The largest frames of a kind are still offered. Nothing is composed here.
TEST_F(FrameSize, OneRowLessIsAFormat)
{
    for (const LargeFrame& largest :
         {LargeFrame{FOURCC_ARGB32, 16384, 32767}, LargeFrame{FOURCC_I420, 2, 0x2AAAAAAA},
          LargeFrame{FOURCC_r210, 1, 0x7FFFFF}, LargeFrame{FOURCC_v210, 2, 0xFFFFFF}})
    {
        SCOPED_TRACE(Str(largest));
        QG_VID_PROPS props{};
        props.fccType = static_cast<eQGFCC>(largest.fccType);
        props.nWidth = largest.nWidth;
        props.nHeight = largest.nHeight;
        EXPECT_EQ(Control().SetOutputProps(&props), S_OK);
        EXPECT_TRUE(Inside().m_theMediaType.IsDefined());
        ALLOCATOR_PROPERTIES rgProps = rgDefaultAllocatorProps;
        EXPECT_EQ(Out().AllocatorDecideProps(&rgProps), S_OK);
        EXPECT_EQ(rgProps.cbBuffer, SampleBytes(Inside().m_picOutput));
        EXPECT_GE(rgProps.cbBuffer, 0x7FFF0000);
    }
}

TEST_F(FrameSize, StreamFormatIsRefused)
{
    const QG_VID_PROPS before = Props();
    const CMType mtBefore = Inside().m_theMediaType;
    for (const LargeFrame& large : arrLarge)
    {
        for (const GUID& guidFormat : {FORMAT_VideoInfo, FORMAT_VideoInfo2})
        {
            CMType mt = LargeType(large, guidFormat);
            EXPECT_EQ(Config().SetFormat(&mt), VFW_E_INVALIDMEDIATYPE) << Str(large);
            EXPECT_EQ(Out().QueryAccept(&mt), S_FALSE) << Str(large);
        }
    }
    const QG_VID_PROPS after = Props();
    EXPECT_EQ(memcmp(&before, &after, sizeof(before)), 0);
    EXPECT_TRUE(MTEqual(&mtBefore, &Inside().m_theMediaType));
}

/// Rows so long that a frame of a few of them fits no sample; the picture itself is the one that is offered.
CMType LongRows()
{
    CMType mt = VideoType(FOURCC_RGB32, 8, 4);
    VIDEOINFOHEADER& header = *mt.VideoInfo();
    header.rcTarget = {0, 0, 8, 4};
    header.bmiHeader.biWidth = 0x10000000; // 4 GiB in 4 rows
    return mt;
}

TEST_F(FrameSize, LongRowsAreNotAccepted)
{
    ShowSmall();
    const CMType mt = LongRows();
    EXPECT_EQ(Out().QueryAccept(&mt), S_FALSE);
    EXPECT_EQ(Connect(&mt), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_FALSE(Out().IsConnected());
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB32, 8, 4, 8}));
}

TEST_F(FrameSize, TypeOnASampleIsRefused)
{
    ShowSmall(0x11);
    Inside().m_nStopFrame = 1;
    m_sink.m_pin.m_bCopyData = true;
    m_alloc.m_onLend = [](FakeSample& sample) { sample.m_mt = LongRows(); };
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream"));
    ASSERT_EQ(Filter().Stop(), S_OK);
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 2u);
    for (const auto& sample : samples)
    {
        EXPECT_EQ(sample.lActual, 128);
        EXPECT_EQ(sample.arrData, Bytes(128, 0x11));
    }
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB32, 8, 4, 8}));
}

TEST_F(FrameSize, AllocatorIsNotAsked)
{
    ShowSmall();
    m_sink.m_pin.m_pAllocator = &m_alloc;
    for (const LargeFrame& large : arrLarge)
    {
        SCOPED_TRACE(Str(large));
        Inside().m_picType = {large.fccType, large.nWidth, large.nHeight, large.nWidth};
        ALLOCATOR_PROPERTIES rgProps = rgDefaultAllocatorProps;
        EXPECT_EQ(Out().AllocatorDecideProps(&rgProps), E_INVALIDARG);
        EXPECT_EQ(rgProps.cbBuffer, 1);
        EXPECT_EQ(Out().AllocatorAgree(&m_sink.m_pin), E_INVALIDARG);
    }
    EXPECT_EQ(m_log.Count("alloc.SetProperties"), 0);
    EXPECT_EQ(m_log.Count("in.NotifyAllocator"), 0);
}

TEST_F(FrameSize, SupportedTypesAreThoseThatFit)
{
    // 28000 x 28000 fits at 12 and 16 bits a pixel.
    const CMType mt = VideoType(FOURCC_I420, 28000, 28000);
    Filter().RebuildSupportedTypes(&mt);
    std::vector<DWORD> codes;
    for (int i = 0; i < InsideFilter().m_arrSupport.GetSize(); i++)
    {
        codes.push_back(InsideFilter().m_arrSupport[i].subtype.Data1);
        EXPECT_GT(InsideFilter().m_arrSupport[i].VideoInfo()->bmiHeader.biSizeImage, 0u);
    }
    EXPECT_EQ(codes, (std::vector<DWORD>{FOURCC_YUY2, FOURCC_UYVY, FOURCC_YV12, FOURCC_YVYU, FOURCC_RGB565,
                                         FOURCC_RGB555, FOURCC_HDYC}));
}

TEST(FrameSizes, ConvertedTypes)
{
    AssertCapture asserts;
    for (const GUID& guidFormat : {FORMAT_VideoInfo, FORMAT_VideoInfo2})
    {
        CMType mt = VideoType(FOURCC_RGB32, 4, 4);
        const CMType before = mt;
        for (const LargeFrame& large : arrLarge)
        {
            const CMType mtBase = LargeType(large, guidFormat);
            EXPECT_EQ(ConvertVideoType(mt, &mtBase, guidFormat, 0, -1, 0, 0), VFW_E_INVALID_MEDIA_TYPE)
                << Str(large);
        }
        // A base that fits, and a format in which it does not; with bytes behind the header as well.
        CMType mtBase = VideoType(FOURCC_I420, 28000, 28000, 400000, guidFormat);
        EXPECT_EQ(ConvertVideoType(mt, &mtBase, guidFormat, FOURCC_RGB32, -1, 0, 0), E_INVALIDARG);
        Bytes block(mtBase.pbFormat, mtBase.pbFormat + mtBase.cbFormat);
        block.resize(block.size() + 8, 0x55);
        ASSERT_EQ(mtBase.SetFormat(static_cast<ULONG>(block.size()), block.data()), S_OK);
        EXPECT_EQ(ConvertVideoType(mt, &mtBase, FORMAT_VideoInfo, FOURCC_RGB32, -1, 0, 0), E_INVALIDARG);
        EXPECT_TRUE(MTEqual(&mt, &before));
    }
}

} // namespace
