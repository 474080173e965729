// Connections: what is agreed, counts, and peers that refuse, or answer S_FALSE where S_OK is due.
#include "Conformance.h"

#include <algorithm>

namespace
{

/// A fresh filter's type.
CMType DefaultType(LONG biHeight = 576, REFERENCE_TIME rtFrame = 400000)
{
    return HostType(SubtypeOf(eQGFCC_UYVY), 720, biHeight, 0, FORMAT_VideoInfo, rtFrame);
}

class Peers : public Conformance
{
protected:
    /// Nothing is left of a connection that failed.
    void ExpectUnconnected(const CMType& mtBefore)
    {
        CComPtr<IPin> spPeer;
        EXPECT_EQ(Pin().ConnectedTo(&spPeer), VFW_E_NOT_CONNECTED);
        EXPECT_EQ(spPeer.p, nullptr);
        AM_MEDIA_TYPE mt{};
        EXPECT_EQ(Pin().ConnectionMediaType(&mt), VFW_E_NOT_CONNECTED);
        EXPECT_EQ(m_sink.m_pin.Refs(), 0);
        EXPECT_EQ(m_sink.Refs(), 0);
        EXPECT_EQ(m_alloc.Refs(), 0);
        EXPECT_EQ(FakeTypeEnum::s_nLiving, 0);
        EXPECT_EQ(Refs(m_spPin.p), m_nPinRefs);
        EXPECT_EQ(Refs(m_spFilter.p), m_nFilterRefs);
        const CMType mtNow = Offered();
        EXPECT_TRUE(MTEqual(&mtNow, &mtBefore)) << "the type of before is not restored";
    }
    void SetUp() override
    {
        Conformance::SetUp();
        m_nPinRefs = Refs(m_spPin.p);
        m_nFilterRefs = Refs(m_spFilter.p);
    }
    ULONG m_nPinRefs = 0, m_nFilterRefs = 0;
};

TEST_F(Peers, ConnectAndDisconnect)
{
    const CMType mtBefore = Offered();
    for (int i = 0; i < 3; i++)
    {
        m_log.Clear();
        ASSERT_EQ(Connect(), S_OK);
        Lines calls = m_log.Calls();
        // The log asks once more for the properties that it writes.
        calls.erase(std::unique(calls.begin(), calls.end()), calls.end());
        EXPECT_EQ(calls, (Lines{"in.EnumMediaTypes", "in.ReceiveConnection", "in.GetAllocatorRequirements",
                                "in.GetAllocator", "alloc.SetProperties", "in.NotifyAllocator",
                                "alloc.GetProperties"}));
        CComPtr<IPin> spPeer;
        EXPECT_EQ(Pin().ConnectedTo(&spPeer), S_OK);
        EXPECT_EQ(spPeer.p, static_cast<IPin*>(&m_sink.m_pin));
        spPeer.Release();
        const CMType mt = Connected(), mtPeer = m_sink.m_pin.ConnectionType();
        EXPECT_TRUE(MTEqual(&mt, &mtBefore));
        EXPECT_TRUE(MTEqual(&mtPeer, &mtBefore));
        EXPECT_EQ(m_sink.m_pin.Refs(), 2); // the peer, and its input
        EXPECT_EQ(m_alloc.Refs(), 1);
        EXPECT_EQ(m_sink.m_pin.NotifiedReadOnly(), FALSE);
        EXPECT_EQ(Pin().Connect(&m_sink.m_pin, nullptr), VFW_E_ALREADY_CONNECTED);

        m_log.Clear();
        EXPECT_EQ(Pin().Disconnect(), S_OK);
        EXPECT_EQ(m_log.Calls(), (Lines{"alloc.Decommit", "in.Disconnect"}));
        EXPECT_EQ(Pin().Disconnect(), S_FALSE);
        ExpectUnconnected(mtBefore);
    }
}

TEST_F(Peers, WhatCannotBeConnected)
{
    const CMType mtBefore = Offered();
    EXPECT_EQ(Pin().Connect(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(Pin().Connect(m_spPin, nullptr), VFW_E_INVALID_DIRECTION);
    m_sink.m_pin.m_eDir = PINDIR_OUTPUT;
    EXPECT_EQ(Connect(), VFW_E_INVALID_DIRECTION);
    m_sink.m_pin.m_eDir = PINDIR_INPUT;
    m_sink.m_pin.m_bMemInput = false;
    EXPECT_EQ(Connect(), E_NOINTERFACE);
    ExpectUnconnected(mtBefore);
    m_sink.m_pin.m_bMemInput = true;
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    EXPECT_EQ(Pin().Disconnect(), VFW_E_NOT_STOPPED);
    FakeInputPin other;
    EXPECT_EQ(Pin().Connect(&other, nullptr), VFW_E_ALREADY_CONNECTED);
    ASSERT_EQ(Filter().Stop(), S_OK);
    Disconnect();
}

/// A real major type is tried as it stands, whatever else is open in it; without one it is as if no type
/// came.
TEST_F(Peers, TypesGivenToConnect)
{
    const CMType mtBefore = Offered();
    const CMType mtOpen(GUID_NULL, GUID_NULL);
    const CMType mtOpenSub(MEDIATYPE_Video, GUID_NULL);
    const CMType mtOther = HostType(SubtypeOf(eQGFCC_YUY2), 720, 576);
    EXPECT_EQ(Connect(&mtOpenSub), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(Connect(&mtOther), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(m_log.Calls(), Lines{}); // the peer is not even asked
    ExpectUnconnected(mtBefore);
    m_sink.m_pin.m_arrTypes = {mtOther, DefaultType(576, 123)};
    ASSERT_EQ(Connect(&mtOpen), S_OK);
    const CMType mt = Connected();
    EXPECT_TRUE(MTEqual(&mt, &m_sink.m_pin.m_arrTypes[1]));
    Disconnect();
    // The last type is offered again.
    const CMType mtNow = Offered();
    EXPECT_TRUE(MTEqual(&mtNow, &mt));
}

/// The peer lists what it does not take, and takes what the pin has.
TEST_F(Peers, RefusesItsOwnAndTakesOurs)
{
    const CMType mtBefore = Offered();
    std::vector<REFERENCE_TIME> tried;
    m_sink.m_pin.m_arrTypes = {DefaultType(576, 1), DefaultType(-576, 2),
                               HostType(SubtypeOf(eQGFCC_RGB32), 720, 576), DefaultType(576, 3)};
    m_sink.m_pin.m_accept = [&](const AM_MEDIA_TYPE* pmt)
    {
        tried.push_back(MTFrameTime(pmt));
        return MTFrameTime(pmt) == 400000 ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    };
    ASSERT_EQ(Connect(), S_OK);
    EXPECT_EQ(tried, (std::vector<REFERENCE_TIME>{1, 2, 3, 400000}));
    const CMType mt = Connected();
    EXPECT_TRUE(MTEqual(&mt, &mtBefore));
    EXPECT_EQ(FakeTypeEnum::s_nLiving, 0);
    Disconnect();
    ExpectUnconnected(mtBefore);

    // A peer that takes nothing at all.
    m_sink.m_pin.m_accept = [](const AM_MEDIA_TYPE*) { return E_ACCESSDENIED; };
    EXPECT_EQ(Connect(), VFW_E_NO_ACCEPTABLE_TYPES);
    EXPECT_EQ(Connect(&mtBefore), E_ACCESSDENIED);
    ExpectUnconnected(mtBefore);
}

TEST_F(Peers, ListsThatAreBroken)
{
    const CMType mtBefore = Offered();
    m_sink.m_pin.m_arrTypes = {DefaultType(576, 1)};
    struct
    {
        const char* pszWhat;
        eFakeEnum eEnum;
        HRESULT hrEnum, hrReset, hrEnd;
        bool bNull;
    } const rows[] = {
        {"S_FALSE instead of an enumerator", eFE_Normal, S_FALSE, S_OK, S_FALSE, false},
        {"no enumerator", eFE_Normal, E_NOTIMPL, S_OK, S_FALSE, false},
        {"success without an enumerator", eFE_Normal, S_OK, S_OK, S_FALSE, true},
        {"a Reset that fails", eFE_Normal, S_OK, E_FAIL, S_FALSE, false},
        {"types that are null", eFE_NullTypes, S_OK, S_OK, S_FALSE, false},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.pszWhat);
        m_sink.m_pin.m_eEnum = row.eEnum;
        m_sink.m_pin.m_hrEnumMediaTypes = row.hrEnum;
        m_sink.m_pin.m_hrReset = row.hrReset;
        m_sink.m_pin.m_hrEnumEnd = row.hrEnd;
        m_sink.m_pin.m_bNullEnum = row.bNull;
        ASSERT_EQ(Connect(), S_OK); // with the pin's own type
        const CMType mt = Connected();
        EXPECT_TRUE(MTEqual(&mt, &mtBefore));
        Disconnect();
    }
    // A success of Reset that is not S_OK is none of these.
    m_sink.m_pin.m_eEnum = eFE_Normal;
    m_sink.m_pin.m_hrEnumMediaTypes = S_OK;
    m_sink.m_pin.m_bNullEnum = false;
    m_sink.m_pin.m_hrReset = S_FALSE;
    ASSERT_EQ(Connect(), S_OK);
    EXPECT_EQ(MTFrameTime(static_cast<const AM_MEDIA_TYPE*>(&static_cast<const CMType&>(Connected()))), 1);
    Disconnect();
    EXPECT_EQ(FakeTypeEnum::s_nLiving, 0);
}

TEST_F(Peers, SFalseFromReceiveConnection)
{
    const CMType mtBefore = Offered();
    m_sink.m_pin.m_accept = [](const AM_MEDIA_TYPE*) { return S_FALSE; };
    m_sink.m_pin.m_arrTypes = {DefaultType(-576)};
    EXPECT_EQ(Connect(), VFW_E_NO_ACCEPTABLE_TYPES);
    ExpectUnconnected(mtBefore);
    EXPECT_EQ(Connect(&mtBefore), VFW_E_TYPE_NOT_ACCEPTED);
    ExpectUnconnected(mtBefore);
    EXPECT_EQ(m_log.Count("in.ReceiveConnection"), 3);
    EXPECT_EQ(m_log.Count("in.GetAllocator"), 0);
}

/// The agreement on the allocator, step by step.
TEST_F(Peers, AnswersAboutTheAllocator)
{
    const CMType mtBefore = Offered();
    for (const HRESULT hr : {S_FALSE, E_ACCESSDENIED})
    {
        SCOPED_TRACE(testing::Message() << std::hex << hr);
        // No allocator, or one that does not take the properties: the filter's own.
        m_sink.m_pin.m_hrGetAllocator = hr;
        ASSERT_EQ(Connect(), S_OK);
        EXPECT_NE(m_sink.m_pin.NotifiedAllocator(), static_cast<IMemAllocator*>(&m_alloc));
        EXPECT_EQ(m_alloc.Refs(), 0);
        Disconnect();
        m_sink.m_pin.m_hrGetAllocator.reset();
        m_alloc.m_hrSetProperties = hr;
        ASSERT_EQ(Connect(), S_OK);
        EXPECT_NE(m_sink.m_pin.NotifiedAllocator(), static_cast<IMemAllocator*>(&m_alloc));
        EXPECT_EQ(m_alloc.Refs(), 0);
        Disconnect();
        m_alloc.m_hrSetProperties.reset();

        // A peer that does not want to be told: both allocators are tried, and the connection falls.
        m_log.Clear();
        m_sink.m_pin.m_hrNotify = hr;
        EXPECT_EQ(Connect(), FAILED(hr) ? hr : E_FAIL);
        EXPECT_EQ(m_log.Count("in.NotifyAllocator"), 2);
        EXPECT_EQ(m_log.Count("in.Disconnect"), 1);
        m_sink.m_pin.m_hrNotify = S_OK;
        m_sink.m_pin.Disconnect();
        ExpectUnconnected(mtBefore);
    }
}

TEST_F(Peers, PropertiesOfTheAllocator)
{
    struct
    {
        const char* pszWhat;
        ALLOCATOR_PROPERTIES rgRequire; ///< cBuffers, cbBuffer, cbAlign, cbPrefix
        ALLOCATOR_PROPERTIES rgRequest;
    } const rows[] = {
        {"nothing", {0, 0, 0, 0}, {2, 829440, 1, 0}},
        {"one buffer", {1, 100, 1, 0}, {2, 829440, 1, 0}},
        {"two buffers", {2, 829440, 1, 0}, {2, 829440, 1, 0}},
        {"more of everything", {5, 900000, 32, 8}, {5, 900000, 32, 8}},
        {"negative numbers", {-1, -1, -1, -1}, {2, 829440, 1, 0}},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.pszWhat);
        m_sink.m_pin.m_rgRequire = row.rgRequire;
        ASSERT_EQ(Connect(), S_OK);
        const auto expectSame = [&](const ALLOCATOR_PROPERTIES& a)
        {
            EXPECT_EQ(a.cBuffers, row.rgRequest.cBuffers);
            EXPECT_EQ(a.cbBuffer, row.rgRequest.cbBuffer);
            EXPECT_EQ(a.cbAlign, row.rgRequest.cbAlign);
            EXPECT_EQ(a.cbPrefix, row.rgRequest.cbPrefix);
        };
        expectSame(m_alloc.m_rgRequest);
        Disconnect();
        m_pOffered = nullptr; // the filter's own holds what it was asked for
        ASSERT_EQ(Connect(), S_OK);
        ALLOCATOR_PROPERTIES rgActual{};
        EXPECT_EQ(m_sink.m_pin.NotifiedAllocator()->GetProperties(&rgActual), S_OK);
        if (row.rgRequire.cbPrefix <= 0)
            expectSame(rgActual);
        else
            EXPECT_EQ((rgActual.cbBuffer + rgActual.cbPrefix) % rgActual.cbAlign, 0);
        Disconnect();
        m_pOffered = &m_alloc;
    }
    m_sink.m_pin.m_rgRequire.reset();

    // What the peer's allocator grants instead.
    struct
    {
        const char* pszWhat;
        void (*pfnGrant)(ALLOCATOR_PROPERTIES&);
        bool bTaken;
    } const grants[] = {
        {"more buffers", [](ALLOCATOR_PROPERTIES& p) { p.cBuffers = 9; }, true},
        {"larger buffers", [](ALLOCATOR_PROPERTIES& p) { p.cbBuffer *= 2; }, true},
        {"wider alignment", [](ALLOCATOR_PROPERTIES& p) { p.cbAlign = 64; }, true},
        {"a prefix", [](ALLOCATOR_PROPERTIES& p) { p.cbPrefix = 12; }, true},
        {"one buffer", [](ALLOCATOR_PROPERTIES& p) { p.cBuffers = 1; }, false},
        {"a byte less", [](ALLOCATOR_PROPERTIES& p) { p.cbBuffer--; }, false},
        {"no alignment", [](ALLOCATOR_PROPERTIES& p) { p.cbAlign = 0; }, false},
        {"an odd alignment", [](ALLOCATOR_PROPERTIES& p) { p.cbAlign = 3; }, false},
        {"a negative prefix", [](ALLOCATOR_PROPERTIES& p) { p.cbPrefix = -1; }, false},
    };
    for (const auto& row : grants)
    {
        m_alloc.m_grant = row.pfnGrant;
        ASSERT_EQ(Connect(), S_OK) << row.pszWhat;
        EXPECT_EQ(m_sink.m_pin.NotifiedAllocator() == static_cast<IMemAllocator*>(&m_alloc), row.bTaken)
            << row.pszWhat;
        EXPECT_EQ(m_alloc.Refs(), row.bTaken ? 1 : 0) << row.pszWhat;
        Disconnect();
    }
}

/// Commit and Decommit that do not say S_OK: the state stays, and the caller is told a failure.
TEST_F(Peers, SFalseFromCommitAndDecommit)
{
    ASSERT_EQ(Connect(), S_OK);
    for (const HRESULT hr : {S_FALSE, E_OUTOFMEMORY})
    {
        m_alloc.m_hrCommit = hr;
        EXPECT_EQ(Filter().Pause(), FAILED(hr) ? hr : E_FAIL);
        EXPECT_EQ(State(), State_Stopped);
        EXPECT_EQ(Filter().Run(0), FAILED(hr) ? hr : E_FAIL);
        EXPECT_EQ(State(), State_Stopped);
        m_alloc.m_hrCommit.reset();
        ASSERT_EQ(Filter().Pause(), S_OK);
        m_alloc.m_hrDecommit = hr;
        // Buffers come back for this: the worker must not hang in the allocator that stays committed.
        EXPECT_EQ(Filter().Stop(), FAILED(hr) ? hr : E_FAIL);
        EXPECT_EQ(State(), State_Paused);
        m_alloc.m_hrDecommit.reset();
        EXPECT_EQ(Filter().Stop(), S_OK);
        EXPECT_EQ(State(), State_Stopped);
    }
    EXPECT_EQ(m_log.Count("in.GetAllocator"), 1);
    Disconnect();
}

/// Anything but S_OK puts the stream to sleep; a stop and a start wake it.
TEST_F(Peers, AnswersOfReceiveAndGetBuffer)
{
    ASSERT_EQ(Connect(), S_OK);
    for (const HRESULT hr : {S_FALSE, HRESULT{VFW_E_WRONG_STATE}, HRESULT{VFW_E_NOT_COMMITTED}, E_FAIL})
    {
        m_log.Clear();
        m_sink.m_pin.m_onReceive = [&](IMediaSample*)
        {
            m_log.Add("refused");
            return hr;
        };
        ASSERT_EQ(Filter().Run(0), S_OK);
        EXPECT_TRUE(m_log.WaitFor("refused"));
        ASSERT_EQ(Filter().Pause(), S_OK);
        ASSERT_EQ(Filter().Run(0), S_OK); // neither wakes it
        ASSERT_EQ(Filter().Stop(), S_OK);
        EXPECT_EQ(m_log.Count("in.Receive"), 1);
        EXPECT_EQ(m_log.Count("in.NewSegment"), 1);
        EXPECT_EQ(m_log.Count("in.EndOfStream"), 0);
    }
    m_sink.m_pin.m_onReceive = nullptr;
    for (const HRESULT hr : {S_FALSE, E_FAIL, HRESULT{VFW_E_TIMEOUT}})
    {
        m_log.Clear();
        m_trace.Clear();
        m_alloc.m_hrGetBuffer = hr;
        ASSERT_EQ(Filter().Run(0), S_OK);
        char sz[100];
        snprintf(sz, sizeof(sz), "###Err### [CCoQXStillSourceOut]: Send(): m_spAllocOut->GetBuffer()=0x%X\n",
                 static_cast<unsigned>(FAILED(hr) ? hr : E_FAIL));
        EXPECT_TRUE(m_trace.WaitFor(eTL_Error, sz));
        ASSERT_EQ(Filter().Stop(), S_OK);
        EXPECT_EQ(m_log.Count("alloc.GetBuffer"), 1);
        EXPECT_EQ(m_log.Count("in.Receive"), 0);
        m_alloc.m_hrGetBuffer.reset();
    }
    m_log.Clear();
    ASSERT_EQ(Filter().Run(0), S_OK);
    EXPECT_TRUE(m_log.WaitFor("in.Receive", 3));
    ASSERT_EQ(Filter().Stop(), S_OK);
    Disconnect();
}

/// What a sample says of itself before it is filled does not stop the stream.
TEST_F(Peers, SFalseFromEverySampleQuery)
{
    ASSERT_EQ(Connect(), S_OK);
    for (const eSampleCall eCall : {eSC_QuerySample2, eSC_GetTime, eSC_IsSyncPoint, eSC_IsPreroll,
                                    eSC_IsDiscontinuity, eSC_GetMediaType})
    {
        m_alloc.m_onLend = [&](FakeSample& sample)
        { sample.Script(eCall, eCall == eSC_QuerySample2 ? E_NOINTERFACE : S_FALSE); };
        EXPECT_EQ(Deliver(2,
                          [](IMediaSample& sample) {
                              return sample.GetActualDataLength() == 829440 ? std::string()
                                                                            : std::string("length");
                          }),
                  Lines{})
            << eCall;
        m_alloc.m_onLend = [&](FakeSample& sample) { sample.Unscript(eCall); };
        EXPECT_EQ(Deliver(3, [](IMediaSample&) { return std::string(); }), Lines{});
    }
    Disconnect();
}

} // namespace
