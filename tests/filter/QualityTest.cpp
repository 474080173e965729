// IQualityControl of the pin: accepted, and without effect.
#include "FilterSupport.h"

namespace
{

class QualityControl : public FilterTest
{
};

TEST_F(QualityControl, MessagesHaveNoEffect)
{
    ShowSmall();
    Inside().m_nStopFrame = 4;
    ASSERT_EQ(Connect(), S_OK);
    CComPtr<IQualityControl> spQuality;
    ASSERT_EQ(static_cast<IPin*>(&Out())->QueryInterface(&spQuality), S_OK);
    m_trace.Clear();
    m_sink.m_pin.m_onReceive = [&](IMediaSample*)
    {
        Quality q = {m_sink.m_pin.Samples().size() % 2 == 0 ? Famine : Flood, 500, -400000, 400000};
        EXPECT_EQ(spQuality->Notify(&m_sink, q), S_OK);
        return S_OK;
    };
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream"));
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 5u);
    for (size_t i = 0; i < samples.size(); i++)
    {
        EXPECT_EQ(samples[i].llMS, static_cast<LONGLONG>(i));
        EXPECT_EQ(samples[i].tS, static_cast<LONGLONG>(i) * 400000);
        EXPECT_EQ(samples[i].tE, static_cast<LONGLONG>(i + 1) * 400000);
    }
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_F(QualityControl, RecordsOfEveryKind)
{
    m_trace.Clear();
    for (const Quality& q : {Quality{Famine, 0, 0, 0}, Quality{Flood, LONG_MAX, LLONG_MAX, LLONG_MIN},
                             Quality{Flood, LONG_MIN, LLONG_MIN, LLONG_MAX}})
    {
        EXPECT_EQ(Out().Notify(nullptr, q), S_OK);
    }
    EXPECT_EQ(m_trace.Lines(), std::vector<LogLine>{}); // frequent: not delivered
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
    EXPECT_EQ(Filter().Filter_Notify(nullptr, Quality{}), S_OK);
}

TEST_F(QualityControl, PinWithoutItsFilter)
{
    CComPtr<IQualityControl> spQuality = static_cast<IQualityControl*>(&Out());
    m_spFilter.Release();
    m_asserts.Clear();
    EXPECT_EQ(spQuality->Notify(nullptr, Quality{}), S_OK);
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{"pPin->m_pFilter != NULL"});
}

TEST_F(QualityControl, NoSink)
{
    CComPtr<IQualityControl> spQuality = static_cast<IQualityControl*>(&Out());
    m_trace.Clear();
    EXPECT_EQ(spQuality->SetSink(spQuality), E_NOTIMPL);
    EXPECT_EQ(spQuality->SetSink(nullptr), E_NOTIMPL);
    EXPECT_EQ(m_trace.Texts(2),
              std::vector<std::string>(2, "###Err### [CCoQXStillSourceOut] IQualityControl::SetSink\n"));
    EXPECT_EQ(m_asserts.Texts(),
              std::vector<std::string>(2, "IQualityControl::SetSink() called on an output pin"));
}

} // namespace
