// Samples: getting, sending, and the media type that comes with one.
#include "TestFilter.h"

namespace
{
class DeliveryTest : public FrameworkTest
{
};

TEST_F(DeliveryTest, GetSampleChecksItsArgument)
{
    AssertCapture asserts;
    EXPECT_EQ(Pin().GetSample(nullptr, 0), E_POINTER);
    EXPECT_EQ(asserts.Texts(), Lines{"ppSample != NULL"});
}

TEST_F(DeliveryTest, GetSampleWithoutAllocatorIsSilent)
{
    LogCapture log;
    IMediaSample* pSample = reinterpret_cast<IMediaSample*>(1);
    EXPECT_EQ(Pin().GetSample(&pSample, 0), VFW_E_NO_ALLOCATOR);
    EXPECT_EQ(pSample, nullptr);
    EXPECT_FALSE(Pin().HasAllocator());
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(DeliveryTest, GetSampleTable)
{
    struct Row
    {
        HRESULT hrBuffer;
        DWORD dwFlags;
        HRESULT hr;
        Lines lines;
    };
    const std::string sGet = "[TestPin] GetSample(): spMemAlloc->GetBuffer()=";
    const Row rows[] = {
        {VFW_E_TIMEOUT, AM_GBF_NOWAIT, VFW_E_TIMEOUT, {}}, // level 10
        {VFW_E_TIMEOUT, AM_GBF_NOWAIT | AM_GBF_PREVFRAMESKIPPED, VFW_E_TIMEOUT, {}},
        {VFW_E_TIMEOUT, 0, VFW_E_TIMEOUT, {"2 ###Err### " + sGet + "0x8004022E\n"}},
        {VFW_E_TIMEOUT, 3, VFW_E_TIMEOUT, {"2 ###Err### " + sGet + "0x8004022E\n"}},
        {VFW_E_NOT_COMMITTED, 0, VFW_E_NOT_COMMITTED, {"2 " + sGet + "VFW_E_NOT_COMMITTED\n"}},
        {VFW_E_NOT_COMMITTED, AM_GBF_NOWAIT, VFW_E_NOT_COMMITTED, {"2 " + sGet + "VFW_E_NOT_COMMITTED\n"}},
        {E_OUTOFMEMORY, 0, E_OUTOFMEMORY, {"2 ###Err### " + sGet + "0x8007000E\n"}},
        {S_FALSE, 0, E_FAIL, {"2 ###Err### " + sGet + "0x1\n"}},
        {0x40001, AM_GBF_NOWAIT, E_FAIL, {"2 ###Err### " + sGet + "0x40001\n"}},
    };
    ASSERT_EQ(Connect(), S_OK);
    for (const Row& row : rows)
    {
        SCOPED_TRACE(testing::Message() << std::hex << row.hrBuffer << " " << row.dwFlags);
        m_alloc.m_hrGetBuffer = row.hrBuffer;
        LogCapture log;
        CComPtr<IMediaSample> spSample;
        EXPECT_EQ(Pin().GetSample(&spSample, row.dwFlags), row.hr);
        EXPECT_FALSE(spSample);
        EXPECT_EQ(Own(log), row.lines);
    }
}

TEST_F(DeliveryTest, GetSampleHandsOutASample)
{
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    EXPECT_TRUE(Pin().HasAllocator());
    LogCapture log;
    CComPtr<IMediaSample> spSample;
    EXPECT_EQ(Pin().GetSample(&spSample, 0), S_OK);
    EXPECT_TRUE(spSample);
    EXPECT_EQ(m_alloc.Lent(), 1);
    EXPECT_EQ(Own(log), Lines{});
    CComPtr<IMediaSample> spOther;
    EXPECT_EQ(Pin().GetSample(&spOther, AM_GBF_NOWAIT), S_OK);
    CComPtr<IMediaSample> spThird;
    EXPECT_EQ(Pin().GetSample(&spThird, AM_GBF_NOWAIT), VFW_E_TIMEOUT);
}

TEST_F(DeliveryTest, SendSampleTable)
{
    struct Row
    {
        HRESULT hr;
        Lines lines;
    };
    const std::string sSend = "[TestPin] SendSample(): spMemInput->Receive()=";
    const Row rows[] = {
        {S_OK, {}},
        {S_FALSE, {"8 " + sSend + "S_FALSE\n"}},
        {VFW_E_NOT_COMMITTED, {"8 " + sSend + "VFW_E_NOT_COMMITTED\n"}},
        {VFW_E_WRONG_STATE, {"8 " + sSend + "VFW_E_WRONG_STATE\n"}},
        {E_FAIL, {"2 ###Err### " + sSend + "0x80004005\n"}},
        {VFW_E_SAMPLE_REJECTED, {"2 ###Err### " + sSend + "0x8004022B\n"}},
        {0x40001, {"2 ###Err### " + sSend + "0x40001\n"}},
    };
    ASSERT_EQ(Connect(), S_OK);
    FakeSample sample;
    for (const Row& row : rows)
    {
        SCOPED_TRACE(testing::Message() << std::hex << row.hr);
        Peer().m_hrReceive = row.hr;
        LogCapture log;
        EXPECT_EQ(Pin().SendSample(&sample), row.hr);
        EXPECT_EQ(Own(log), row.lines);
    }
    EXPECT_EQ(m_calls.Count("in.Receive"), 7);
}

TEST_F(DeliveryTest, SendSampleWithoutPeer)
{
    FakeSample sample;
    LogCapture log;
    EXPECT_EQ(Pin().SendSample(&sample), VFW_E_NOT_SAMPLE_CONNECTION);
    ASSERT_EQ(Connect(), S_OK);
    Pin().BreakConnection();
    log.Clear();
    EXPECT_EQ(Pin().SendSample(&sample), VFW_E_NOT_SAMPLE_CONNECTION);
    EXPECT_EQ(m_calls.Count("in.Receive"), 0);
    EXPECT_EQ(Own(log), Lines{});
}

TEST_F(DeliveryTest, SendSampleOfNothing)
{
    AssertCapture asserts;
    EXPECT_EQ(Pin().SendSample(nullptr), VFW_E_NOT_SAMPLE_CONNECTION);
    ASSERT_EQ(Connect(), S_OK);
    EXPECT_EQ(Pin().SendSample(nullptr), E_POINTER);
    EXPECT_EQ(asserts.Texts(), (Lines{"pSample != NULL", "pSample != NULL"}));
    EXPECT_EQ(m_calls.Count("in.Receive"), 0);
}

TEST_F(DeliveryTest, NoTypeOnTheSample)
{
    {
        AssertCapture asserts;
        EXPECT_EQ(Pin().SetMediaTypeFromSample(nullptr), E_POINTER);
        EXPECT_EQ(asserts.Texts(), Lines{"pSample != NULL"});
    }
    FakeSample sample;
    LogCapture log;
    EXPECT_EQ(Pin().SetMediaTypeFromSample(&sample), S_FALSE);
    for (const HRESULT hr : {E_NOTIMPL, E_OUTOFMEMORY, HRESULT(0x40001)})
    {
        sample.Script(eSC_GetMediaType, hr);
        EXPECT_EQ(Pin().SetMediaTypeFromSample(&sample), hr);
    }
    EXPECT_EQ(Own(log), Lines{});
    EXPECT_EQ(Pin().m_nApplied, 0);
    EXPECT_TRUE(MTEqual(&Pin().Type(), &m_mtStart));
}

TEST_F(DeliveryTest, ATypeOnTheSampleIsTakenOver)
{
    FakeSample sample;
    sample.m_mt = VideoType(16, -8);
    LogCapture log;
    EXPECT_EQ(Pin().SetMediaTypeFromSample(&sample), S_OK);
    EXPECT_EQ(Own(log), Lines{"8 [TestPin] SetMediaTypeFromSample(): new mediatype is received\n"});
    EXPECT_EQ(Pin().m_nApplied, 1);
    EXPECT_TRUE(MTEqual(&Pin().Type(), &sample.m_mt));
    EXPECT_EQ(Pin().GetPicProps().nHeight, -8);
}

TEST_F(DeliveryTest, ATypeThatIsRefused)
{
    FakeSample sample;
    sample.m_mt = VideoType(32, 16);
    Filter().m_accept = [](const AM_MEDIA_TYPE*) { return false; };
    LogCapture log;
    EXPECT_EQ(Pin().SetMediaTypeFromSample(&sample), VFW_E_INVALIDMEDIATYPE);
    EXPECT_EQ(Own(log),
              (Lines{"8 [TestPin] SetMediaTypeFromSample(): new mediatype is received\n",
                     "2 ###Err### [TestPin] SetMediaTypeFromSample(): new mediatype is not accepted\n"}));
    EXPECT_EQ(Pin().m_nApplied, 0);
}

TEST_F(DeliveryTest, ASampleThatClaimsATypeAndGivesNone)
{
    FakeSample sample;
    sample.m_bNullType = true;
    AssertCapture asserts;
    EXPECT_EQ(Pin().SetMediaTypeFromSample(&sample), VFW_E_INVALIDMEDIATYPE);
    EXPECT_EQ(asserts.Count("pmt != NULL"), 1);
    EXPECT_EQ(Pin().m_nApplied, 0);
}
} // namespace
