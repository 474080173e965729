// What goes wrong in a step of the pump: the worker sleeps, the counters stay, the graph is not told.
#include "FilterSupport.h"

namespace
{

const std::string sEnd = "###Err### [CCoQXStillSourceOut]: Send(): PrepareSample()=0x";

class PumpFailure : public FilterTest
{
protected:
    /// Starts and waits for the line that ends a failed step.
    void RunInto(const std::string& sLine)
    {
        ShowSmall();
        ASSERT_EQ(Connect(), S_OK);
        ASSERT_EQ(Filter().Pause(), S_OK);
        ASSERT_TRUE(m_trace.WaitFor(2, sLine)) << sLine;
    }
    /// The worker is asleep: another wake gives one more step that fails alike, and no sample comes.
    void ExpectAsleep(const std::string& sLine)
    {
        EXPECT_TRUE(Inside().m_pump.IsStreaming());
        EXPECT_EQ(m_log.Count("in.EndOfStream"), 0);
        const int nBefore = m_trace.Count(2, sLine);
        EXPECT_TRUE(Inside().m_pump.Wake());
        for (int i = 0; i < nTestLimitMs && m_trace.Count(2, sLine) == nBefore; i++)
            Sleep(1);
        EXPECT_EQ(m_trace.Count(2, sLine), nBefore + 1);
        EXPECT_EQ(m_log.Count("in.Receive"), 0);
        EXPECT_EQ(m_alloc.Lent(), 0);
    }
};

TEST_F(PumpFailure, GetBuffer)
{
    m_alloc.m_hrGetBuffer = E_OUTOFMEMORY;
    const std::string sLine =
        "###Err### [CCoQXStillSourceOut]: Send(): m_spAllocOut->GetBuffer()=0x8007000E\n";
    RunInto(sLine);
    ExpectAsleep(sLine);
    EXPECT_EQ(m_sink.m_pin.Segments().size(), 0u);
}

TEST_F(PumpFailure, GetBufferWithoutASample)
{
    m_alloc.m_bNullSample = true; // a success that gives none
    RunInto(sEnd + "80070057\n");
    ExpectAsleep(sEnd + "80070057\n");
    EXPECT_EQ(m_asserts.Count("pSample != NULL"), 2);
}

TEST_F(PumpFailure, LoadOfTheSample)
{
    m_alloc.m_onLend = [](FakeSample& sample) { sample.Script(eSC_GetPointer, E_FAIL); };
    RunInto("###Err### [CCoQXStillSourceOut]: PrepareSample(): sample.Load()=0x80004005\n");
    EXPECT_TRUE(m_trace.WaitFor(2, sEnd + "80004005\n"));
    ExpectAsleep(sEnd + "80004005\n");
    EXPECT_EQ(Inside().m_nFrame, 0);
    EXPECT_EQ(Inside().m_rtCurrent, 0);
}

TEST_F(PumpFailure, NoFrame)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    {
        // No picture but the one that does not exist.
        CScopedLock lock(&Inside().m_crsPicture);
        Inside().m_blobSource.SetSize(0);
        Inside().m_nPictureId = ePI_VideoQuality;
    }
    ASSERT_EQ(Filter().Pause(), S_OK);
    EXPECT_TRUE(m_trace.WaitFor(
        2, "###Err### [CCoQXStillSourceOut]: PrepareSample(): FillSampleBuffer()=0x80070057\n"));
    EXPECT_TRUE(m_trace.WaitFor(2, sEnd + "80070057\n"));
    ExpectAsleep(sEnd + "80070057\n");
    EXPECT_EQ(Inside().m_nFrame, 0);
    EXPECT_EQ(Inside().m_rtCurrent, 0);
}

TEST_F(PumpFailure, SaveOfTheSample)
{
    m_alloc.m_onLend = [](FakeSample& sample) { sample.Script(eSC_SetTime, E_ACCESSDENIED); };
    RunInto("###Err### [CCoQXStillSourceOut]: PrepareSample(): sample.Save()=0x80070005\n");
    EXPECT_TRUE(m_trace.WaitFor(2, sEnd + "80070005\n"));
    ExpectAsleep(sEnd + "80070005\n");
    EXPECT_EQ(Inside().m_nFrame, 0);
    EXPECT_EQ(Inside().m_rtCurrent, 0);
    m_asserts.Clear();
}

TEST_F(PumpFailure, BufferSmallerThanTheFrame)
{
    bool bIntact = true;
    int nWritten = -1;
    m_alloc.m_onLend = [&](FakeSample& sample)
    {
        if (nWritten >= 0)
            return;
        nWritten = 0;
        sample.Script(eSC_GetSize, 100); // what it says
    };
    m_alloc.m_grant = [](ALLOCATOR_PROPERTIES& props) { props.cBuffers = 2; };
    ShowSmall(0x11);
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(
        m_trace.WaitFor(2, "###Err### [CCoQXStillSourceOut]: PrepareSample(): sample.Save()=0x80004005\n"));
    EXPECT_EQ(m_asserts.Count("sample.m_cbBuf >= cbSize"), 1);
    ASSERT_EQ(Filter().Stop(), S_OK);
    // The copy went on, as far as the sample goes.
    FakeSample sample(128);
    sample.AddRef();
    sample.Script(eSC_GetSize, 100);
    InsideFilter().m_eState = State_Paused;
    EXPECT_EQ(Out().PrepareSample(&sample), E_FAIL);
    InsideFilter().m_eState = State_Stopped;
    EXPECT_EQ(Bytes(sample.Buffer(), sample.Buffer() + 100), Bytes(100, 0x11));
    EXPECT_EQ(Bytes(sample.Buffer() + 100, sample.Buffer() + 128), Bytes(28, FakeSample::byFill));
    bIntact = sample.GuardsIntact();
    EXPECT_TRUE(bIntact);
}

TEST_F(PumpFailure, NegativeBufferSize)
{
    ShowSmall(0x11);
    for (const LONG cbBuffer : {LONG{-1}, LONG{-128}, LONG{INT_MIN}})
    {
        FakeSample sample(100); // fewer than the frame has
        sample.AddRef();
        sample.Script(eSC_GetSize, cbBuffer);
        InsideFilter().m_eState = State_Paused;
        EXPECT_EQ(Out().PrepareSample(&sample), E_FAIL);
        InsideFilter().m_eState = State_Stopped;
        EXPECT_EQ(Bytes(sample.Buffer(), sample.Buffer() + 100), Bytes(100, FakeSample::byFill));
        EXPECT_TRUE(sample.GuardsIntact());
        EXPECT_EQ(sample.Calls(eSC_SetActualDataLength), 0);
    }
    EXPECT_EQ(Inside().m_nFrame, 0);
}

struct ReceiveRow
{
    HRESULT hr;
    UINT nLevel;
    const char* pszLine;
};

class PumpReceive : public PumpFailure, public testing::WithParamInterface<ReceiveRow>
{
};

TEST_P(PumpReceive, AnythingButSuccessEndsInSleep)
{
    ShowSmall();
    m_sink.m_pin.m_hrReceive = GetParam().hr;
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_trace.WaitFor(static_cast<int>(GetParam().nLevel), GetParam().pszLine));
    EXPECT_TRUE(Inside().m_pump.IsStreaming());
    // A wake gives one more frame, which counts on.
    EXPECT_TRUE(Inside().m_pump.Wake());
    ASSERT_TRUE(m_log.WaitFor("in.Receive", 2));
    ASSERT_EQ(Filter().Stop(), S_OK);
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 2u);
    EXPECT_EQ(samples[1].llMS, 1);
    EXPECT_EQ(samples[1].tS, 400000);
    EXPECT_EQ(m_log.Count("in.EndOfStream"), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Results, PumpReceive,
    testing::Values(
        ReceiveRow{S_FALSE, 8, "[CCoQXStillSourceOut] SendSample(): spMemInput->Receive()=S_FALSE\n"},
        ReceiveRow{VFW_E_WRONG_STATE, 8,
                   "[CCoQXStillSourceOut] SendSample(): spMemInput->Receive()=VFW_E_WRONG_STATE\n"},
        ReceiveRow{E_FAIL, 2,
                   "###Err### [CCoQXStillSourceOut] SendSample(): spMemInput->Receive()=0x80004005\n"},
        ReceiveRow{2, 2, "###Err### [CCoQXStillSourceOut] SendSample(): spMemInput->Receive()=0x2\n"}));

TEST_F(PumpFailure, GoesOnWhenTheFailureIsOver)
{
    m_alloc.m_hrGetBuffer = E_FAIL;
    RunInto("###Err### [CCoQXStillSourceOut]: Send(): m_spAllocOut->GetBuffer()=0x80004005\n");
    ASSERT_EQ(Filter().Stop(), S_OK);
    m_alloc.m_hrGetBuffer.reset();
    ASSERT_EQ(Filter().Pause(), S_OK);
    EXPECT_TRUE(m_log.WaitFor("in.Receive", 5));
}

TEST_F(PumpFailure, PrepareSampleArguments)
{
    EXPECT_EQ(Out().PrepareSample(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{"pSample != NULL"});
    FakeSample sample;
    sample.AddRef();
    EXPECT_EQ(Out().PrepareSample(&sample), VFW_E_WRONG_STATE); // stopped
    EXPECT_EQ(sample.CallOrder().size(), 0u);
}

TEST_F(PumpFailure, SendWithNothingToDo)
{
    EXPECT_EQ(Out().Send(), INFINITE); // stopped
    InsideFilter().m_eState = State_Paused;
    m_trace.Clear();
    EXPECT_EQ(Out().Send(), INFINITE); // without an allocator, and without a word
    EXPECT_EQ(m_trace.Texts(2), std::vector<std::string>{});
    InsideFilter().m_eState = State_Stopped;
}

} // namespace
