// What the worker delivers.
#include "FilterSupport.h"

namespace
{

class Pump : public FilterTest
{
protected:
    /// Runs until the end of the stream.
    void RunToTheEnd()
    {
        const int nEnds = m_log.Count("in.EndOfStream");
        ASSERT_EQ(Filter().Pause(), S_OK);
        ASSERT_TRUE(m_log.WaitFor("in.EndOfStream", nEnds + 1));
    }
    /// The same, then a stop.
    void RunAndStop()
    {
        RunToTheEnd();
        ASSERT_EQ(Filter().Stop(), S_OK);
    }
};

TEST_F(Pump, StampsOfTheFrames)
{
    ShowSmall(0x11);
    Inside().m_nStopFrame = 5;
    m_sink.m_pin.m_bCopyData = true;
    ASSERT_EQ(Connect(), S_OK);
    RunAndStop();

    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 6u); // one more than the number says
    for (size_t i = 0; i < samples.size(); i++)
    {
        SCOPED_TRACE(i);
        const auto& sample = samples[i];
        const LONGLONG n = static_cast<LONGLONG>(i);
        EXPECT_EQ(sample.hrTime, S_OK);
        EXPECT_EQ(sample.tS, n * 400000);
        EXPECT_EQ(sample.tE, (n + 1) * 400000);
        EXPECT_EQ(sample.hrMediaTime, S_OK);
        EXPECT_EQ(sample.llMS, n);
        EXPECT_EQ(sample.llME, n + 1);
        EXPECT_TRUE(sample.bSync);
        EXPECT_EQ(sample.bDiscontinuity, i == 0);
        EXPECT_FALSE(sample.bPreroll);
        EXPECT_EQ(sample.lActual, 128);
        EXPECT_EQ(sample.arrData, Bytes(128, 0x11));
    }
    EXPECT_EQ(m_sink.m_pin.Segments(), (std::vector<FakeInputPin::Segment>{{0, 5 * 400000, 1.0}}));
    EXPECT_EQ(m_log.Count("in.EndOfStream"), 1);
    EXPECT_EQ(m_log.Count("in.Receive"), 6);
    EXPECT_EQ(m_log.Count("alloc.GetBuffer"), 7); // the last one goes back unsent
    EXPECT_EQ(m_alloc.Lent(), 0);
    EXPECT_EQ(Inside().m_nFrame, 6);
    EXPECT_EQ(Inside().m_rtCurrent, 6 * 400000);
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_F(Pump, TraceOfAStream)
{
    ShowSmall();
    Inside().m_nStopFrame = 2;
    ASSERT_EQ(Connect(), S_OK);
    m_trace.Clear();
    RunAndStop();
    EXPECT_EQ(m_trace.Texts(2),
              (std::vector<std::string>{"[CCoQXStillSourceOut]: NewSegment( 0.000 - 0.080)\n",
                                        "###Err### [CCoQXStillSourceOut]: Send(): PrepareSample()=0x1\n"}));
}

TEST_F(Pump, OrderOfCalls)
{
    ShowSmall();
    Inside().m_nStopFrame = 1;
    ASSERT_EQ(Connect(), S_OK);
    m_log.Clear();
    RunAndStop();
    std::vector<std::string> calls;
    for (const std::string& sCall : m_log.Calls())
    {
        if (sCall != "alloc.GetProperties")
            calls.push_back(sCall);
    }
    EXPECT_EQ(calls, (std::vector<std::string>{"alloc.Commit", "alloc.GetBuffer", "in.NewSegment",
                                               "in.Receive", "alloc.GetBuffer", "in.Receive",
                                               "alloc.GetBuffer", "in.EndOfStream", "alloc.Decommit"}));
}

TEST_F(Pump, FrameLengthOfTheType)
{
    ShowSmall();
    struct
    {
        REFERENCE_TIME rtType, rtFrame;
    } const rows[] = {{0, 400000}, {333667, 333667}, {1, 1}, {10000000, 10000000}};
    for (const auto& row : rows)
    {
        Inside().m_nFrame = 0;
        Inside().m_nStopFrame = 3;
        const CMType mt = VideoType(FOURCC_RGB32, 8, 4, row.rtType);
        ASSERT_EQ(Connect(&mt), S_OK);
        const size_t nBefore = m_sink.m_pin.Samples().size();
        RunAndStop();
        const auto samples = m_sink.m_pin.Samples();
        ASSERT_EQ(samples.size(), nBefore + 4);
        EXPECT_EQ(samples[nBefore + 3].tS, 3 * row.rtFrame);
        EXPECT_EQ(samples[nBefore + 3].tE, 4 * row.rtFrame);
        EXPECT_EQ(m_sink.m_pin.Segments().back(), (FakeInputPin::Segment{0, 3 * row.rtFrame, 1.0}));
        ASSERT_EQ(Out().Disconnect(), S_OK);
    }
}

TEST_F(Pump, ListIsCycled)
{
    for (int i = 0; i < 3; i++)
    {
        const BYTE by = static_cast<BYTE>(0x10 * (i + 1));
        m_folder.Write(std::to_string(i) + ".tga", SolidTga(8, 4, {by, by, by, 128}));
    }
    // A list whose names have an existing folder is taken for a pattern in it, so the list is put in place
    // here. place.
    ASSERT_EQ(Control().SetPicture(Text(m_folder.Path("0.tga"))), S_OK);
    for (int i = 1; i < 3; i++)
        ASSERT_TRUE(Inside().m_arrFiles.Add(CComBSTR(WideText(m_folder.Path(std::to_string(i) + ".tga")))));
    Inside().m_nStopFrame = 3;
    m_sink.m_pin.m_bCopyData = true;
    ASSERT_EQ(Connect(), S_OK);
    RunAndStop();
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 4u);
    const BYTE arrExpected[] = {0x08, 0x10, 0x18, 0x08}; // premultiplied
    for (size_t i = 0; i < 4; i++)
    {
        EXPECT_EQ(samples[i].arrData[0], arrExpected[i]) << i;
        EXPECT_EQ(samples[i].llMS, static_cast<LONGLONG>(i));
    }
}

TEST_F(Pump, FolderIsAList)
{
    for (int i = 0; i < 3; i++)
    {
        const BYTE by = static_cast<BYTE>(0x10 * (i + 1));
        m_folder.Write(std::to_string(i) + ".tga", SolidTga(8, 4, {by, by, by, 128}));
    }
    ASSERT_EQ(Control().SetPicture(Text(m_folder.Path())), S_OK);
    EXPECT_EQ(Inside().m_nStopFrame, 3);
    m_sink.m_pin.m_bCopyData = true;
    ASSERT_EQ(Connect(), S_OK);
    RunAndStop();
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 4u);
    EXPECT_EQ(samples[0].arrData, samples[3].arrData);
    EXPECT_NE(samples[0].arrData, samples[1].arrData);
    EXPECT_NE(samples[1].arrData, samples[2].arrData);
    EXPECT_NE(samples[0].arrData, samples[2].arrData);
}

TEST_F(Pump, EntryThatFailsLeavesThePicture)
{
    ShowSmall(0x11);
    const std::string sFile = m_folder.Write("a.tga", SolidTga(8, 4, {0x22, 0x22, 0x22, 0x22}));
    ASSERT_EQ(Control().SetPicture(Text("red|green|blue")), S_OK);
    Inside().m_arrFiles[1] = CComBSTR(L"C:\\no such folder\\x.tga");
    m_sink.m_pin.m_bCopyData = true;
    ASSERT_EQ(Connect(), S_OK);
    RunAndStop();
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 4u);
    for (const auto& sample : samples)
        EXPECT_EQ(sample.arrData, Bytes(128, 0x11));
}

TEST_F(Pump, ColoursInAListKeepTheFrame)
{
    ShowSmall(0x11);
    ASSERT_EQ(Control().SetPicture(Text("red|green")), S_OK);
    ASSERT_EQ(Connect(), S_OK);
    RunAndStop();
    EXPECT_EQ(m_sink.m_pin.Samples().size(), 3u);
    EXPECT_EQ(Inside().m_nSolidColor, 0xFF0000FF); // of frame 2, counted round
}

TEST_F(Pump, NoEnd)
{
    ShowSmall();
    for (const LONGLONG nStopFrame : {0LL, -1LL, -1000LL})
    {
        Inside().m_nFrame = 0;
        Inside().m_nStopFrame = nStopFrame;
        if (!Out().IsConnected())
        {
            ASSERT_EQ(Connect(), S_OK);
        }
        const int nBefore = m_log.Count("in.Receive");
        ASSERT_EQ(Filter().Pause(), S_OK);
        ASSERT_TRUE(m_log.WaitFor("in.Receive", nBefore + 50));
        ASSERT_EQ(Filter().Stop(), S_OK);
    }
    EXPECT_EQ(m_log.Count("in.EndOfStream"), 0);
}

TEST_F(Pump, SegmentOfTheStartValueWraps)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.Receive"));
    ASSERT_EQ(m_sink.m_pin.Segments().size(), 1u);
    EXPECT_EQ(m_sink.m_pin.Segments()[0].tStart, 0);
    EXPECT_EQ(m_sink.m_pin.Segments()[0].tStop, static_cast<REFERENCE_TIME>(193273528230000ull * 400000ull));
}

TEST_F(Pump, SleepsAfterTheEndUntilWoken)
{
    ShowSmall();
    Inside().m_nStopFrame = 1;
    ASSERT_EQ(Connect(), S_OK);
    RunToTheEnd();
    EXPECT_TRUE(Inside().m_pump.IsStreaming());
    // What a seek does: another position, a new segment, a wake.
    {
        CScopedLock lock(&Inside().m_crsPosition);
        Inside().m_nFrame = 0;
        Inside().m_rtCurrent = 0;
    }
    EXPECT_TRUE(Inside().m_pump.Wake());
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream", 2));
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 4u);
    EXPECT_EQ(samples[2].tS, 0);
    EXPECT_EQ(samples[2].llMS, 0);
    EXPECT_TRUE(samples[2].bDiscontinuity);
    EXPECT_EQ(m_sink.m_pin.Segments().size(), 2u);
    EXPECT_EQ(m_log.Count("in.Receive"), 4);
}

TEST_F(Pump, PositionBehindTheEndEndsAtOnce)
{
    ShowSmall();
    Inside().m_nStopFrame = 3;
    Inside().m_nFrame = 10;
    ASSERT_EQ(Connect(), S_OK);
    RunAndStop();
    EXPECT_EQ(m_log.Count("in.Receive"), 0);
    EXPECT_EQ(Inside().m_nFrame, 10); // does not move
    EXPECT_EQ(m_sink.m_pin.Segments(), (std::vector<FakeInputPin::Segment>{{10 * 400000, 3 * 400000, 1.0}}));
}

TEST_F(Pump, SecondRunGoesOnCounting)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    std::vector<LONGLONG> arrNext;
    for (int i = 0; i < 3; i++)
    {
        const size_t nBefore = m_sink.m_pin.Samples().size();
        ASSERT_EQ(Filter().Run(0), S_OK);
        ASSERT_TRUE(m_log.WaitFor("in.Receive", static_cast<int>(nBefore) + 3));
        ASSERT_EQ(Filter().Stop(), S_OK);
        const auto samples = m_sink.m_pin.Samples();
        const auto& first = samples[nBefore];
        EXPECT_EQ(first.tS, 0);
        EXPECT_TRUE(first.bDiscontinuity);
        EXPECT_FALSE(samples[nBefore + 1].bDiscontinuity);
        const LONGLONG nExpected = nBefore == 0 ? 0 : samples[nBefore - 1].llME;
        // One more when the stop came between stamping and Receive.
        EXPECT_GE(first.llMS, nExpected);
        EXPECT_LE(first.llMS, nExpected + 1);
        EXPECT_EQ(m_sink.m_pin.Segments().back().tStart, first.llMS * 400000);
    }
    EXPECT_EQ(m_sink.m_pin.Segments().size(), 3u);
}

TEST_F(Pump, TypeOnASampleIsTakenOver)
{
    Show(FOURCC_RGB32, 8, 4, Pattern(128));
    Inside().m_nStopFrame = 3;
    m_sink.m_pin.m_bCopyData = true;
    int nLent = 0;
    m_alloc.m_onLend = [&](FakeSample& sample)
    {
        if (nLent++ == 1)
            sample.m_mt = VideoType(FOURCC_RGB32, 8, -4, 200000, FORMAT_VideoInfo2);
    };
    ASSERT_EQ(Connect(), S_OK);
    RunAndStop();
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 4u);
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB32, 8, -4, 8}));
    EXPECT_NE(Header2(), nullptr);
    // The frame is made anew before the sample is filled: its rows are turned.
    EXPECT_EQ(samples[0].arrData, Pattern(128));
    for (int y = 0; y < 4; y++)
    {
        const Bytes row(samples[1].arrData.begin() + y * 32, samples[1].arrData.begin() + (y + 1) * 32);
        const Bytes source(samples[0].arrData.begin() + (3 - y) * 32,
                           samples[0].arrData.begin() + (4 - y) * 32);
        EXPECT_EQ(row, source) << y;
    }
    EXPECT_EQ(samples[2].arrData, samples[1].arrData);
    // And its frame length counts from there on.
    EXPECT_EQ(samples[0].tE, 400000);
    EXPECT_EQ(samples[1].tE, 600000);
    EXPECT_EQ(samples[3].tE, 1000000);
    EXPECT_TRUE(
        m_trace.Has(8, "[CCoQXStillSourceOut] SetMediaTypeFromSample(): new mediatype is received\n"));
}

TEST_F(Pump, TypeWithPaddedRowsOnTheFirstSample)
{
    // What a renderer does that wants its rows longer than the picture.
    Show(FOURCC_RGB32, 8, 4, Pattern(128));
    Inside().m_nStopFrame = 1;
    m_sink.m_pin.m_bCopyData = true;
    m_alloc.m_grant = [](ALLOCATOR_PROPERTIES& props) { props.cbBuffer = 256; };
    bool bFirst = true;
    m_alloc.m_onLend = [&](FakeSample& sample)
    {
        if (bFirst)
        {
            EXPECT_EQ(MTCreateVideo(&sample.m_mt, FOURCC_RGB32, FORMAT_VideoInfo, 8, 4, 16), S_OK);
        }
        bFirst = false;
    };
    ASSERT_EQ(Connect(), S_OK);
    RunAndStop();
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 2u);
    Bytes expected(256, 0);
    const Bytes pixels = Pattern(128);
    for (size_t y = 0; y < 4; y++)
        std::copy_n(pixels.begin() + static_cast<ptrdiff_t>(y * 32), 32,
                    expected.begin() + static_cast<ptrdiff_t>(y * 64));
    for (const auto& sample : samples)
    {
        EXPECT_EQ(sample.lActual, 256);
        EXPECT_EQ(sample.arrData, expected);
    }
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_F(Pump, RefusedTypeOnASampleChangesNothing)
{
    ShowSmall(0x11);
    Inside().m_nStopFrame = 2;
    m_sink.m_pin.m_bCopyData = true;
    m_alloc.m_onLend = [](FakeSample& sample) { sample.m_mt = VideoType(FOURCC_RGB24, 8, 4); };
    ASSERT_EQ(Connect(), S_OK);
    RunAndStop();
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 3u);
    EXPECT_EQ(samples[2].arrData, Bytes(128, 0x11));
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB32, 8, 4, 8}));
    EXPECT_EQ(
        m_trace.Count(
            2, "###Err### [CCoQXStillSourceOut] SetMediaTypeFromSample(): new mediatype is not accepted\n"),
        4);
}

TEST_F(Pump, RunsAlikeInPausedAndRunning)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.Receive", 3));
    ASSERT_EQ(Filter().Run(0), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.Receive", m_log.Count("in.Receive") + 3));
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.Receive", m_log.Count("in.Receive") + 3));
    ASSERT_EQ(Filter().Stop(), S_OK);
    EXPECT_EQ(m_sink.m_pin.Segments().size(), 1u); // no new start in between
    const auto samples = m_sink.m_pin.Samples();
    for (size_t i = 1; i < samples.size(); i++)
        EXPECT_EQ(samples[i].tS, samples[i - 1].tE);
}

} // namespace
