// How a type reaches the pin and its peer, and which types it accepts.
#include "FilterSupport.h"

namespace
{

class OutputType : public FilterTest
{
protected:
    bool Accepts(const CMType& mt) { return Out().QueryAccept(&mt) == S_OK; }
};

TEST_F(OutputType, NotConnectedTakesEffectAtOnce)
{
    Inside().m_blobFrame.Alloc(100);
    EXPECT_EQ(Control().SetOutputFormat(Text("RGB24"), 64, 48), S_OK);
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB24, 64, 48, 64}));
    EXPECT_EQ(Inside().m_theMediaType.subtype.Data1, static_cast<DWORD>(FOURCC_RGB24));
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 0u);
    EXPECT_GE(Inside().m_blobFrame.GetAllocSize(), 100u);
}

TEST_F(OutputType, ApplyOutputType)
{
    Inside().m_blobFrame.Alloc(100);
    const CMType mt = VideoType(FOURCC_RGB32, 12, -10, 123);
    Out().ApplyOutputType(&mt);
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB32, 12, -10, 12}));
    EXPECT_TRUE(MTEqual(&Inside().m_theMediaType, &mt));
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 0u);
    const CMType mtEmpty;
    Out().ApplyOutputType(&mtEmpty);
    EXPECT_EQ(Inside().m_picOutput, PicProps{});
    EXPECT_FALSE(Inside().m_theMediaType.IsDefined());
    Out().ApplyOutputType(&mt);
    Out().ApplyOutputType(nullptr);
    EXPECT_EQ(Inside().m_picOutput, PicProps{});
    EXPECT_FALSE(Inside().m_theMediaType.IsDefined());
}

TEST_F(OutputType, ConnectedAndStoppedWithTheSameType)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    EXPECT_EQ(Control().SetOutputFormat(nullptr, 0, 0), S_OK);
    EXPECT_EQ(m_graph.Reconnections().size(), 0u);
    EXPECT_TRUE(m_trace.Has(8, "CCoQXStillSource CBaseFilter::MakeReconnect( Out ): reconnection stopped - "
                               "media types are equal\n"));
    EXPECT_TRUE(Out().IsConnected());
}

TEST_F(OutputType, ConnectedAndStoppedWithAnotherRate)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    m_graph.m_bReallyReconnect = true;
    EXPECT_EQ(Control().SetFrameRate(50), S_OK);
    ASSERT_EQ(m_graph.Reconnections().size(), 1u);
    EXPECT_TRUE(m_graph.Reconnections()[0].bEx);
    EXPECT_EQ(m_graph.Reconnections()[0].mt.VideoInfo()->AvgTimePerFrame, 200000);
    EXPECT_TRUE(Out().IsConnected());
    EXPECT_EQ(Header()->AvgTimePerFrame, 200000);
    EXPECT_EQ(m_sink.m_pin.ConnectionType().VideoInfo()->AvgTimePerFrame, 200000);
}

TEST_F(OutputType, ConnectedAndStoppedWithAnotherAspect)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    m_graph.m_bReallyReconnect = true;
    QG_VID_PROPS props = Props();
    props.nAspectX = 16;
    props.nAspectY = 9;
    EXPECT_EQ(Control().SetOutputProps(&props), S_OK);
    ASSERT_NE(Header2(), nullptr);
    EXPECT_EQ(Header2()->dwPictAspectRatioX, 16u);
    EXPECT_TRUE(Out().IsConnected());
}

TEST_F(OutputType, TypeIsNotStoredBeforeTheReconnection)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    REFERENCE_TIME rtFrame = 0;
    m_graph.m_onReconnect = [&](IPin*) { rtFrame = Header()->AvgTimePerFrame; };
    EXPECT_EQ(Control().SetFrameRate(50), S_OK);
    EXPECT_EQ(rtFrame, 400000);
    EXPECT_EQ(Header()->AvgTimePerFrame, 400000); // this graph did nothing
}

TEST_F(OutputType, AnotherSizeOrFormatBreaksTheConnection)
{
    struct
    {
        const char* pszFormat;
        int nWidth;
    } const rows[] = {{"", 16}, {"RGB24", 0}};
    for (const auto& row : rows)
    {
        ShowSmall();
        ASSERT_EQ(Control().SetOutputFormat(nullptr, 0, 0), S_OK);
        ASSERT_EQ(Connect(), S_OK);
        m_graph.m_bReallyReconnect = true;
        EXPECT_EQ(Control().SetOutputFormat(Text(row.pszFormat), row.nWidth, 0), VFW_E_TYPE_NOT_ACCEPTED);
        EXPECT_FALSE(Out().IsConnected());
        EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB32, 8, 4, 8})); // with its old type
        EXPECT_EQ(Props().nWidth, row.nWidth);                              // what was asked for is kept
        // On the pin that is not connected any more the next change takes effect.
        EXPECT_EQ(Control().SetOutputFormat(Text("RGB24"), 16, 2), S_OK);
        EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB24, 16, 2, 16}));
        ASSERT_EQ(Control().SetOutputFormat(nullptr, 0, 0), S_OK);
    }
}

TEST_F(OutputType, OldGraphReconnectsWithoutTheType)
{
    ShowSmall();
    m_graph.m_bGraph2 = false;
    ASSERT_EQ(Connect(), S_OK);
    m_graph.m_bReallyReconnect = true;
    EXPECT_EQ(Control().SetFrameRate(50), S_OK);
    ASSERT_EQ(m_graph.Reconnections().size(), 1u);
    EXPECT_FALSE(m_graph.Reconnections()[0].bEx);
    EXPECT_TRUE(Out().IsConnected());
    EXPECT_EQ(Header()->AvgTimePerFrame, 400000); // negotiated from its current type
}

TEST_F(OutputType, ConnectedAndNotStoppedDoesNothing)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    for (const bool bRun : {false, true})
    {
        ASSERT_EQ(bRun ? Filter().Run(0) : Filter().Pause(), S_OK);
        QG_VID_PROPS props = Props();
        props.dblRate = bRun ? 10 : 50;
        EXPECT_EQ(Control().SetOutputProps(&props), S_OK);
        EXPECT_EQ(Header()->AvgTimePerFrame, 400000);
        EXPECT_EQ(m_graph.Reconnections().size(), 0u);
    }
}

TEST_F(OutputType, QueryAccept)
{
    EXPECT_TRUE(Accepts(VideoType(FOURCC_UYVY, 720, 576)));
    EXPECT_TRUE(Accepts(VideoType(FOURCC_UYVY, 720, 576, 123456))); // another rate
    EXPECT_TRUE(Accepts(VideoType(FOURCC_UYVY, 720, 576, 0)));
    EXPECT_TRUE(Accepts(VideoType(FOURCC_UYVY, 720, -576)));
    EXPECT_TRUE(Accepts(VideoType(FOURCC_UYVY, 720, 576, 400000, FORMAT_VideoInfo2)));
    CMType mt = VideoType(FOURCC_UYVY, 720, 576, 400000, FORMAT_VideoInfo2);
    mt.VideoInfo2()->dwInterlaceFlags = 0xA5;
    mt.VideoInfo2()->dwPictAspectRatioX = 77;
    EXPECT_TRUE(Accepts(mt));
    // Rows of 768 pixels with a picture of 720 in them.
    CMType mtRows;
    ASSERT_EQ(MTCreateVideo(&mtRows, FOURCC_UYVY, FORMAT_VideoInfo, 720, 576, 768), S_OK);
    EXPECT_TRUE(Accepts(mtRows));

    EXPECT_FALSE(Accepts(VideoType(FOURCC_YUY2, 720, 576)));
    EXPECT_FALSE(Accepts(VideoType(FOURCC_HDYC, 720, 576)));
    EXPECT_FALSE(Accepts(VideoType(FOURCC_UYVY, 722, 576)));
    EXPECT_FALSE(Accepts(VideoType(FOURCC_UYVY, 720, 577)));
    EXPECT_FALSE(Accepts(CMType()));
    CMType mtAudio = VideoType(FOURCC_UYVY, 720, 576);
    mtAudio.majortype = MEDIATYPE_Audio;
    EXPECT_FALSE(Accepts(mtAudio));
    CMType mtNoFormat(MEDIATYPE_Video, MEDIASUBTYPE_UYVY);
    EXPECT_FALSE(Accepts(mtNoFormat));
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
    EXPECT_EQ(Out().QueryAccept(&mt), S_OK);
    EXPECT_EQ(Out().QueryAccept(&mtAudio), S_FALSE);
}

TEST_F(OutputType, QueryAcceptEitherRowOrderOfRgb)
{
    for (const int nHeight : {240, -240})
    {
        ASSERT_EQ(Control().SetOutputFormat(Text("RGB32"), 320, nHeight), S_OK);
        EXPECT_TRUE(Accepts(VideoType(FOURCC_RGB32, 320, 240)));
        EXPECT_TRUE(Accepts(VideoType(FOURCC_RGB32, 320, -240)));
        EXPECT_FALSE(Accepts(VideoType(FOURCC_ARGB32, 320, 240)));
        EXPECT_FALSE(Accepts(VideoType(FOURCC_RGB32, 320, 241)));
    }
}

TEST_F(OutputType, QueryAcceptNull)
{
    EXPECT_FALSE(Filter().QueryAcceptMT(nullptr));
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{"pmt != NULL"});
}

TEST_F(OutputType, ProposalOfTheOtherRowOrderIsTakenOver)
{
    ShowSmall();
    const CMType mt = VideoType(FOURCC_RGB32, 8, -4, 333333);
    ASSERT_EQ(Connect(&mt), S_OK);
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB32, 8, -4, 8}));
    EXPECT_EQ(Header()->AvgTimePerFrame, 333333);
    // What the graph negotiates is not written back.
    EXPECT_EQ(Props().nHeight, 0);
    EXPECT_EQ(Props().dblRate, 0.0);
}

TEST_F(OutputType, EnumeratorGivesExactlyOneType)
{
    CComPtr<IEnumMediaTypes> spEnum;
    ASSERT_EQ(Out().EnumMediaTypes(&spEnum), S_OK);
    AM_MEDIA_TYPE* pmt = nullptr;
    ULONG nFetched = 0;
    ASSERT_EQ(spEnum->Next(1, &pmt, &nFetched), S_OK);
    EXPECT_EQ(nFetched, 1u);
    EXPECT_TRUE(MTEqual(pmt, &Inside().m_theMediaType));
    EXPECT_EQ(Out().QueryAccept(pmt), S_OK);
    MTDelete(pmt);
    EXPECT_EQ(spEnum->Next(1, &pmt, &nFetched), S_FALSE);
    EXPECT_EQ(nFetched, 0u);
}

TEST_F(OutputType, AllocatorProps)
{
    ASSERT_EQ(Control().SetOutputFormat(Text("RGB32"), 64, 48), S_OK);
    constexpr LONG cbFrame = 64 * 48 * 4;
    struct
    {
        ALLOCATOR_PROPERTIES in, out;
    } const rows[] = {
        {{1, 1, 1, 0}, {2, cbFrame, 1, 0}},    {{0, 0, 0, 0}, {2, cbFrame, 1, 0}},
        {{2, 1, 2, 8}, {2, cbFrame, 2, 8}},    {{3, cbFrame + 1, 16, 0}, {3, cbFrame + 1, 16, 0}},
        {{-5, -5, -5, 0}, {2, cbFrame, 1, 0}}, {{100, INT_MAX, 4096, 4}, {100, INT_MAX, 4096, 4}},
    };
    for (const auto& row : rows)
    {
        ALLOCATOR_PROPERTIES props = row.in;
        EXPECT_EQ(Out().AllocatorDecideProps(&props), S_OK);
        EXPECT_EQ(props.cBuffers, row.out.cBuffers);
        EXPECT_EQ(props.cbBuffer, row.out.cbBuffer);
        EXPECT_EQ(props.cbAlign, row.out.cbAlign);
        EXPECT_EQ(props.cbPrefix, row.out.cbPrefix);
    }
    // The largest of the type's two sizes and of the frame counts.
    for (const bool bSampleSize : {false, true})
    {
        CMType mt = VideoType(FOURCC_RGB32, 64, 48);
        if (bSampleSize)
            mt.lSampleSize = 99999;
        else
            mt.VideoInfo()->bmiHeader.biSizeImage = 99999;
        Out().ApplyOutputType(&mt);
        ALLOCATOR_PROPERTIES props = {1, 1, 1, 0};
        EXPECT_EQ(Out().AllocatorDecideProps(&props), S_OK);
        EXPECT_EQ(props.cbBuffer, 99999) << bSampleSize;
    }
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
    const CMType mtEmpty;
    Out().ApplyOutputType(&mtEmpty);
    ALLOCATOR_PROPERTIES props = {1, 1, 1, 0};
    Out().AllocatorDecideProps(&props);
    EXPECT_EQ(m_asserts.Count("m_theMediaType.IsDefined()"), 1);
    EXPECT_EQ(props.cBuffers, 2);
}

TEST_F(OutputType, AllocatorIsAskedForTheFrame)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    EXPECT_EQ(m_alloc.m_rgRequest.cBuffers, 2);
    EXPECT_EQ(m_alloc.m_rgRequest.cbBuffer, 128);
    EXPECT_EQ(m_alloc.m_rgRequest.cbAlign, 1);
    EXPECT_EQ(m_alloc.m_rgRequest.cbPrefix, 0);
}

} // namespace
