// IMediaSeeking of the pin, as far as it does not touch the stream.
#include "FilterSupport.h"

#include <cmath>
#include <limits>

namespace
{

constexpr GUID guidMediaTime = {0x7B785574, 0x8C82, 0x11CF, {0xBC, 0x0C, 0x00, 0xAA, 0x00, 0xAC, 0x74, 0xF6}};
constexpr GUID guidFrame = {0x7B785570, 0x8C82, 0x11CF, {0xBC, 0x0C, 0x00, 0xAA, 0x00, 0xAC, 0x74, 0xF6}};

class Seeking : public FilterTest
{
protected:
    void SetUp() override
    {
        FilterTest::SetUp();
        m_spSeeking = static_cast<IMediaSeeking*>(&Out());
        m_trace.Clear();
        m_asserts.Clear();
    }
    void TearDown() override
    {
        m_spSeeking.Release();
        FilterTest::TearDown();
    }

    CComPtr<IMediaSeeking> m_spSeeking;
};

/// A pin whose generic fields a test may spoil.
class SpoiltSeeking : public Seeking
{
protected:
    struct Fields : CMediaSeekingFields
    {
        using CMediaSeekingFields::m_arrTimeFormats;
        using CMediaSeekingFields::m_dblRate;
        using CMediaSeekingFields::m_dwCapabilities;
        using CMediaSeekingFields::m_nTimeFormat;
    };
    CSimpleArray2<GUID>& Formats() { return Out().*(&Fields::m_arrTimeFormats); }
    LONG& Format() { return Out().*(&Fields::m_nTimeFormat); }
    DWORD& Capabilities() { return Out().*(&Fields::m_dwCapabilities); }
    double& Rate() { return Out().*(&Fields::m_dblRate); }
};

TEST_F(SpoiltSeeking, StartValues)
{
    ASSERT_EQ(Formats().GetSize(), 1);
    EXPECT_TRUE(IsEqualGUID(Formats()[0], guidMediaTime));
    EXPECT_EQ(Format(), 0);
    EXPECT_EQ(Capabilities(), 31u);
    EXPECT_EQ(Rate(), 1.0);
}

TEST_F(Seeking, IsOneObjectWithThePin)
{
    CComPtr<IPin> spPin;
    ASSERT_EQ(m_spSeeking->QueryInterface(&spPin), S_OK);
    EXPECT_EQ(spPin.p, static_cast<IPin*>(&Out()));
    EXPECT_TRUE(spPin.IsEqualObject(m_spSeeking));
    CComPtr<IMediaSeeking> spSeeking;
    ASSERT_EQ(spPin->QueryInterface(&spSeeking), S_OK);
    EXPECT_EQ(spSeeking.p, m_spSeeking.p);
}

TEST_F(Seeking, TheNameAccessorIsTheLastSlot)
{
    using PFNGETNAME = LPCWSTR (*)(void*);
    void* const pv = m_spSeeking.p;
    const PFNGETNAME* const pTable = *static_cast<const PFNGETNAME* const*>(pv);
    EXPECT_STREQ(pTable[20](pv), L"[CCoQXStillSourceOut]"); // behind GetPreroll
}

TEST_F(Seeking, LinesOfTheLog)
{
    struct
    {
        const char* pszLine; ///< null: of a level that is dropped
        std::function<HRESULT(IMediaSeeking&)> call;
    } const rows[] = {
        {"[CCoQXStillSourceOut] IMediaSeekingImpl::GetCapabilities\n",
         [](IMediaSeeking& s)
         {
             DWORD dw = 0;
             return s.GetCapabilities(&dw);
         }},
        {"[CCoQXStillSourceOut] IMediaSeekingImpl::CheckCapabilities\n",
         [](IMediaSeeking& s)
         {
             DWORD dw = 0;
             return s.CheckCapabilities(&dw);
         }},
        {"[CCoQXStillSourceOut] IMediaSeekingImpl::IsFormatSupported\n",
         [](IMediaSeeking& s) { return s.IsFormatSupported(&guidMediaTime); }},
        {"[CCoQXStillSourceOut] IMediaSeekingImpl::QueryPreferredFormat\n",
         [](IMediaSeeking& s)
         {
             GUID guid;
             return s.QueryPreferredFormat(&guid);
         }},
        {nullptr,
         [](IMediaSeeking& s)
         {
             GUID guid;
             return s.GetTimeFormat(&guid);
         }},
        {nullptr, [](IMediaSeeking& s) { return s.IsUsingTimeFormat(&guidMediaTime); }},
        {"[CCoQXStillSourceOut] IMediaSeekingImpl::SetTimeFormat\n",
         [](IMediaSeeking& s) { return s.SetTimeFormat(&guidMediaTime); }},
        {nullptr,
         [](IMediaSeeking& s)
         {
             LONGLONG ll;
             return s.GetDuration(&ll);
         }},
        {"[CCoQXStillSourceOut]: IMediaSeekingImpl::GetStopPosition\n",
         [](IMediaSeeking& s)
         {
             LONGLONG ll;
             return s.GetStopPosition(&ll);
         }},
        {"[CCoQXStillSourceOut]: IMediaSeekingImpl::GetCurrentPosition\n",
         [](IMediaSeeking& s)
         {
             LONGLONG ll;
             return s.GetCurrentPosition(&ll);
         }},
        {"[CCoQXStillSourceOut]: IMediaSeekingImpl::SetPositions\n",
         [](IMediaSeeking& s) { return s.SetPositions(nullptr, 0, nullptr, 0); }},
        {nullptr, [](IMediaSeeking& s) { return s.GetPositions(nullptr, nullptr); }},
        {"[CCoQXStillSourceOut]: IMediaSeekingImpl::GetAvailable\n",
         [](IMediaSeeking& s)
         {
             LONGLONG llFirst, llLast;
             return s.GetAvailable(&llFirst, &llLast);
         }},
        {"[CCoQXStillSourceOut]: IMediaSeekingImpl::SetRate\n",
         [](IMediaSeeking& s) { return s.SetRate(1.0); }},
        {"[CCoQXStillSourceOut]: IMediaSeekingImpl::GetRate\n",
         [](IMediaSeeking& s)
         {
             double dbl;
             return s.GetRate(&dbl);
         }},
    };
    for (const auto& row : rows)
    {
        m_trace.Clear();
        EXPECT_EQ(row.call(*m_spSeeking), S_OK);
        std::vector<LogLine> expected;
        if (row.pszLine != nullptr)
            expected.push_back({8, row.pszLine});
        EXPECT_EQ(m_trace.Lines(), expected);
    }
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_F(Seeking, WhatIsNotThere)
{
    LONGLONG ll = 77;
    EXPECT_EQ(m_spSeeking->ConvertTimeFormat(&ll, &guidMediaTime, 1, nullptr), E_NOTIMPL);
    EXPECT_EQ(m_spSeeking->GetPreroll(&ll), E_NOTIMPL);
    EXPECT_EQ(ll, 77);
    EXPECT_EQ(m_trace.Lines(),
              (std::vector<LogLine>{{8, "[CCoQXStillSourceOut]: IMediaSeekingImpl::ConvertTimeFormat\n"},
                                    {8, "[CCoQXStillSourceOut]: IMediaSeekingImpl::GetPreroll\n"}}));
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_F(Seeking, NullPointers)
{
    LONGLONG ll = 77;
    struct
    {
        const char* pszAssertion;
        HRESULT hr;
    } const rows[] = {
        {"pCapabilities != NULL", m_spSeeking->GetCapabilities(nullptr)},
        {"pCapabilities != NULL", m_spSeeking->CheckCapabilities(nullptr)},
        {"pFormat != NULL", m_spSeeking->IsFormatSupported(nullptr)},
        {"pFormat != NULL", m_spSeeking->QueryPreferredFormat(nullptr)},
        {"pFormat != NULL", m_spSeeking->GetTimeFormat(nullptr)},
        {"pFormat != NULL", m_spSeeking->IsUsingTimeFormat(nullptr)},
        {"pFormat != NULL", m_spSeeking->SetTimeFormat(nullptr)},
        {"pDuration != NULL", m_spSeeking->GetDuration(nullptr)},
        {"pStop != NULL", m_spSeeking->GetStopPosition(nullptr)},
        {"pCurrent != NULL", m_spSeeking->GetCurrentPosition(nullptr)},
        {"pTarget != NULL", m_spSeeking->ConvertTimeFormat(nullptr, &guidMediaTime, 1, &guidMediaTime)},
        {"pEarliest != NULL", m_spSeeking->GetAvailable(nullptr, &ll)},
        {"pLatest != NULL", m_spSeeking->GetAvailable(&ll, nullptr)},
        {"pdRate != NULL", m_spSeeking->GetRate(nullptr)},
        {"pllPreroll != NULL", m_spSeeking->GetPreroll(nullptr)},
    };
    std::vector<std::string> expected;
    for (const auto& row : rows)
    {
        EXPECT_EQ(row.hr, E_POINTER) << row.pszAssertion;
        expected.push_back(row.pszAssertion);
    }
    EXPECT_EQ(m_asserts.Texts(), expected);
    EXPECT_EQ(ll, 77);
}

TEST_F(Seeking, CapabilitiesThatAreAskedFor)
{
    DWORD dwCaps = 0;
    EXPECT_EQ(m_spSeeking->GetCapabilities(&dwCaps), S_OK);
    EXPECT_EQ(dwCaps, 31u);
    struct
    {
        DWORD dwWanted, dwLeft;
        HRESULT hr;
    } const rows[] = {
        {31, 31, S_OK},
        {AM_SEEKING_CanSeekAbsolute, 1, S_OK},
        {AM_SEEKING_CanGetStopPos | AM_SEEKING_CanGetCurrentPos, 24, S_OK},
        {AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanGetDuration, 1, S_FALSE},
        {0xFFFFFFFF, 31, S_FALSE},
        {AM_SEEKING_CanGetDuration, 0, E_FAIL},
        {AM_SEEKING_CanPlayBackwards | AM_SEEKING_CanDoSegments, 0, E_FAIL},
        {0, 0, S_OK}, // unchanged
    };
    for (const auto& row : rows)
    {
        DWORD dw = row.dwWanted;
        EXPECT_EQ(m_spSeeking->CheckCapabilities(&dw), row.hr) << row.dwWanted;
        EXPECT_EQ(dw, row.dwLeft) << row.dwWanted;
    }
}

TEST_F(Seeking, TimeFormats)
{
    GUID guid = GUID_NULL;
    EXPECT_EQ(m_spSeeking->IsFormatSupported(&guidMediaTime), S_OK);
    EXPECT_EQ(m_spSeeking->IsFormatSupported(&guidFrame), S_FALSE);
    EXPECT_EQ(m_spSeeking->IsFormatSupported(&GUID_NULL), S_FALSE);
    EXPECT_EQ(m_spSeeking->QueryPreferredFormat(&guid), S_OK);
    EXPECT_TRUE(IsEqualGUID(guid, guidMediaTime));
    guid = GUID_NULL;
    EXPECT_EQ(m_spSeeking->GetTimeFormat(&guid), S_OK);
    EXPECT_TRUE(IsEqualGUID(guid, guidMediaTime));
    EXPECT_EQ(m_spSeeking->IsUsingTimeFormat(&guidMediaTime), S_OK);
    EXPECT_EQ(m_spSeeking->IsUsingTimeFormat(&guidFrame), S_FALSE);
    EXPECT_EQ(m_spSeeking->SetTimeFormat(&guidFrame), E_INVALIDARG);
    EXPECT_EQ(m_spSeeking->SetTimeFormat(&GUID_NULL), E_INVALIDARG);
    EXPECT_EQ(m_spSeeking->SetTimeFormat(&guidMediaTime), S_OK);
    EXPECT_EQ(m_spSeeking->IsUsingTimeFormat(&guidMediaTime), S_OK);
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_F(Seeking, TimeFormatIsSetInEveryState)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    EXPECT_EQ(m_spSeeking->SetTimeFormat(&guidMediaTime), S_OK);
    ASSERT_EQ(Filter().Run(0), S_OK);
    EXPECT_EQ(m_spSeeking->SetTimeFormat(&guidMediaTime), S_OK);
    EXPECT_EQ(m_spSeeking->SetTimeFormat(&guidFrame), E_INVALIDARG);
}

TEST_F(SpoiltSeeking, SecondFormat)
{
    ASSERT_TRUE(Formats().Add(guidFrame));
    EXPECT_EQ(m_spSeeking->IsFormatSupported(&guidFrame), S_OK);
    EXPECT_EQ(m_spSeeking->SetTimeFormat(&guidFrame), S_OK);
    EXPECT_EQ(Format(), 1);
    GUID guid = GUID_NULL;
    EXPECT_EQ(m_spSeeking->GetTimeFormat(&guid), S_OK);
    EXPECT_TRUE(IsEqualGUID(guid, guidFrame));
    EXPECT_EQ(m_spSeeking->IsUsingTimeFormat(&guidFrame), S_OK);
    EXPECT_EQ(m_spSeeking->IsUsingTimeFormat(&guidMediaTime), S_FALSE);
    EXPECT_EQ(m_spSeeking->QueryPreferredFormat(&guid), S_OK);
    EXPECT_TRUE(IsEqualGUID(guid, guidMediaTime)); // the first one
}

TEST_F(SpoiltSeeking, IndexOutsideTheArray)
{
    for (const LONG nFormat : {-1L, 1L, LONG_MAX, LONG_MIN})
    {
        Format() = nFormat;
        GUID guid = guidFrame;
        EXPECT_EQ(m_spSeeking->GetTimeFormat(&guid), E_FAIL);
        EXPECT_TRUE(IsEqualGUID(guid, guidFrame));
        EXPECT_EQ(m_spSeeking->IsUsingTimeFormat(&guidMediaTime), E_INVALIDARG);
    }
    EXPECT_EQ(m_spSeeking->SetTimeFormat(&guidMediaTime), S_OK);
    EXPECT_EQ(Format(), 0);
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_F(SpoiltSeeking, NoFormats)
{
    Formats().RemoveAll();
    GUID guid = guidFrame;
    EXPECT_EQ(m_spSeeking->QueryPreferredFormat(&guid), E_FAIL);
    EXPECT_EQ(m_spSeeking->GetTimeFormat(&guid), E_FAIL);
    EXPECT_TRUE(IsEqualGUID(guid, guidFrame));
    EXPECT_EQ(m_spSeeking->IsUsingTimeFormat(&guidMediaTime), E_INVALIDARG);
    EXPECT_EQ(m_spSeeking->IsFormatSupported(&guidMediaTime), S_FALSE);
    EXPECT_EQ(m_spSeeking->SetTimeFormat(&guidMediaTime), E_INVALIDARG);
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_F(Seeking, Rates)
{
    double dblRate = 0;
    EXPECT_EQ(m_spSeeking->GetRate(&dblRate), S_OK);
    EXPECT_EQ(dblRate, 1.0);
    EXPECT_EQ(m_spSeeking->SetRate(3.0), S_OK);
    EXPECT_EQ(m_spSeeking->SetRate(0.0), E_INVALIDARG);
    EXPECT_EQ(m_spSeeking->SetRate(-0.0), E_INVALIDARG);
    EXPECT_EQ(m_spSeeking->GetRate(&dblRate), S_OK);
    EXPECT_EQ(dblRate, 3.0); // a refused one changes nothing
    for (const double dbl : {2.0, -1.0, 1e-300, -1e300, std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::denorm_min()})
    {
        EXPECT_EQ(m_spSeeking->SetRate(dbl), S_OK);
        EXPECT_EQ(m_spSeeking->GetRate(&dblRate), S_OK);
        EXPECT_EQ(dblRate, dbl);
    }
    EXPECT_EQ(m_spSeeking->SetRate(std::nan("")), S_OK);
    EXPECT_EQ(m_spSeeking->GetRate(&dblRate), S_OK);
    EXPECT_TRUE(std::isnan(dblRate));
}

TEST_F(Seeking, RateLeavesThePace)
{
    ShowSmall();
    Inside().m_nStopFrame = 3;
    ASSERT_EQ(Connect(), S_OK);
    EXPECT_EQ(m_spSeeking->SetRate(2.0), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    ASSERT_TRUE(m_log.WaitFor("in.EndOfStream"));
    EXPECT_EQ(m_spSeeking->SetRate(-2.0), S_OK);
    const auto samples = m_sink.m_pin.Samples();
    ASSERT_EQ(samples.size(), 4u);
    for (size_t i = 0; i < samples.size(); i++)
    {
        EXPECT_EQ(samples[i].tS, static_cast<LONGLONG>(i) * 400000);
        EXPECT_EQ(samples[i].tE, static_cast<LONGLONG>(i + 1) * 400000);
    }
    EXPECT_EQ(m_sink.m_pin.Segments(), (std::vector<FakeInputPin::Segment>{{0, 3 * 400000, 1.0}}));
}

} // namespace
