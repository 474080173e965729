// How a connection comes about, fails and ends.
#include "TestFilter.h"

namespace
{
const std::string sStart = "8 *************** [TestPin] start of connection to ";

class ConnectionTest : public FrameworkTest
{
protected:
    std::string Rejected(unsigned hr) const
    {
        return "8 *** WARNING *** [TestPin] connection not accepted, hr=" + Hex(hr) + "\n";
    }
    /// Lets the sink take nothing but this type.
    void AcceptOnly(const CMType& mt)
    {
        Peer().m_accept = [mt](const AM_MEDIA_TYPE* pmt)
        { return MTEqual(pmt, &mt) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED; };
    }
};

TEST_F(ConnectionTest, ThePinsOwnType)
{
    LogCapture log;
    EXPECT_EQ(Connect(), S_OK);
    EXPECT_EQ(Own(log),
              (Lines{sStart, "8 Empty media type\n", "8 [TestPin] AgreeExternMT() FAILED, hr=0x80040207\n",
                     "8 [TestPin] ExecConnection(): connection accepted\n",
                     "8 @@@@ [TestPin] CAllocatorMatch::AttachAllocator(): use downstream allocator\n",
                     "8 [TestPin] Allocator agreement successful\n",
                     "8 *************** [TestPin] connection established\n"}));
    EXPECT_TRUE(Pin().IsConnected());
    EXPECT_EQ(Pin().m_spConnected.p, static_cast<IPin*>(&Peer()));
    EXPECT_EQ(Pin().m_spMemInput.p, static_cast<IMemInputPin*>(&Peer()));
    EXPECT_EQ(Pin().m_spAllocOut.p, &m_alloc);
    EXPECT_EQ(m_calls.Calls(),
              (Lines{"in.EnumMediaTypes", "in.ReceiveConnection", "in.GetAllocatorRequirements",
                     "in.GetAllocator", "alloc.SetProperties", "in.NotifyAllocator", "alloc.GetProperties",
                     "alloc.GetProperties"})); // the last one is the dump's
    EXPECT_TRUE(MTEqual(&Pin().Type(), &m_mtStart));
    const CMType mtPeer = Peer().ConnectionType();
    EXPECT_TRUE(MTEqual(&mtPeer, &m_mtStart));

    CComPtr<IPin> spPeer;
    EXPECT_EQ(PinItf()->ConnectedTo(&spPeer), S_OK);
    EXPECT_EQ(spPeer.p, static_cast<IPin*>(&Peer()));
    CMType mt;
    EXPECT_EQ(PinItf()->ConnectionMediaType(&mt), S_OK);
    EXPECT_TRUE(MTEqual(&mt, &m_mtStart));
}

TEST_F(ConnectionTest, ThePeersTypesComeFirst)
{
    const CMType mtPeer = VideoType(32, 16);
    Peer().m_arrTypes = {mtPeer};
    LogCapture log;
    EXPECT_EQ(Connect(), S_OK);
    EXPECT_TRUE(MTEqual(&Pin().Type(), &mtPeer));
    EXPECT_EQ(Own(log)[2], "8 [TestPin] ExecConnection(): connection accepted\n");
}

TEST_F(ConnectionTest, APeerThatRefusesItsOwnTypesAndTakesOurs)
{
    Peer().m_arrTypes = {VideoType(32, 16), VideoType(64, 16)};
    AcceptOnly(m_mtStart);
    LogCapture log;
    EXPECT_EQ(Connect(), S_OK);
    EXPECT_TRUE(MTEqual(&Pin().Type(), &m_mtStart));
    EXPECT_EQ(Own(log),
              (Lines{sStart, "8 Empty media type\n",
                     "8 [TestPin] ExecConnection(): m_spConnected->ReceiveConnection()=0x8004022A\n",
                     "8 [TestPin] ExecConnection(): m_spConnected->ReceiveConnection()=0x8004022A\n",
                     "8 [TestPin] AgreeExternMT() FAILED, hr=0x80040207\n",
                     "8 [TestPin] ExecConnection(): connection accepted\n",
                     "8 @@@@ [TestPin] CAllocatorMatch::AttachAllocator(): use downstream allocator\n",
                     "8 [TestPin] Allocator agreement successful\n",
                     "8 *************** [TestPin] connection established\n"}));
    // Each failed attempt put the type back: two attempts with two changes each, then the last one.
    EXPECT_EQ(Pin().m_nApplied, 5);
}

TEST_F(ConnectionTest, TypesThatTheFilterRefusesAreNotOffered)
{
    const CMType mtGood = VideoType(64, 16);
    Peer().m_arrTypes = {VideoType(32, 16), mtGood};
    Filter().m_accept = [&](const AM_MEDIA_TYPE* pmt) { return MTEqual(pmt, &mtGood); };
    EXPECT_EQ(Connect(), S_OK);
    EXPECT_EQ(m_calls.Count("in.ReceiveConnection"), 1);
    EXPECT_TRUE(MTEqual(&Pin().Type(), &mtGood));
}

TEST_F(ConnectionTest, NobodyAgrees)
{
    Peer().m_accept = [](const AM_MEDIA_TYPE*) { return VFW_E_TYPE_NOT_ACCEPTED; };
    LogCapture log;
    EXPECT_EQ(Connect(), VFW_E_NO_ACCEPTABLE_TYPES);
    EXPECT_EQ(Own(log),
              (Lines{sStart, "8 Empty media type\n", "8 [TestPin] AgreeExternMT() FAILED, hr=0x80040207\n",
                     "8 [TestPin] ExecConnection(): m_spConnected->ReceiveConnection()=0x8004022A\n",
                     "8 [TestPin] AgreeInnerMT() FAILED, hr=0x80040207\n", Rejected(0x80040207)}));
    EXPECT_FALSE(Pin().IsConnected());
    EXPECT_EQ(Peer().Refs(), 0);
    EXPECT_TRUE(MTEqual(&Pin().Type(), &m_mtStart));
    EXPECT_EQ(m_calls.Count("in.Disconnect"), 0);
}

TEST_F(ConnectionTest, ATypeWithAMajorTypeIsAttemptedAlone)
{
    const CMType mtOther = VideoType(32, 16);
    Peer().m_arrTypes = {VideoType(64, 16)};
    EXPECT_EQ(Connect(&mtOther), S_OK);
    EXPECT_TRUE(MTEqual(&Pin().Type(), &mtOther));
    EXPECT_EQ(m_calls.Count("in.EnumMediaTypes"), 0);
}

TEST_F(ConnectionTest, AWildcardSubtypeIsAttemptedAsItStands)
{
    const CMType mtWild(MEDIATYPE_Video);
    Filter().m_accept = [](const AM_MEDIA_TYPE* pmt) { return !IsEqualGUID(pmt->subtype, GUID_NULL); };
    LogCapture log;
    EXPECT_EQ(Connect(&mtWild), VFW_E_TYPE_NOT_ACCEPTED);
    const Lines lines = Own(log);
    EXPECT_EQ(lines.front(), sStart);
    EXPECT_EQ(lines.back(), Rejected(0x8004022A));
    EXPECT_EQ(m_calls.Calls(), Lines{});
    EXPECT_EQ(Pin().m_nApplied, 0);
}

TEST_F(ConnectionTest, ATypeWithoutMajorTypeIsAsNone)
{
    const CMType mtPeer = VideoType(32, 16);
    Peer().m_arrTypes = {mtPeer};
    CMType mtWild = VideoType(64, 16);
    mtWild.majortype = GUID_NULL;
    EXPECT_EQ(Connect(&mtWild), S_OK);
    EXPECT_TRUE(MTEqual(&Pin().Type(), &mtPeer));
}

TEST_F(ConnectionTest, ResultsOfADirectAttempt)
{
    struct Row
    {
        HRESULT hrPeer, hr;
    };
    // Positive results of the peer become a failure.
    for (const Row& row :
         {Row{VFW_E_TYPE_NOT_ACCEPTED, VFW_E_TYPE_NOT_ACCEPTED}, Row{E_OUTOFMEMORY, E_OUTOFMEMORY},
          Row{S_FALSE, VFW_E_TYPE_NOT_ACCEPTED}, Row{0x40001, VFW_E_TYPE_NOT_ACCEPTED}})
    {
        Peer().m_accept = [&](const AM_MEDIA_TYPE*) { return row.hrPeer; };
        const CMType mtOther = VideoType(32, 16);
        LogCapture log;
        EXPECT_EQ(Connect(&mtOther), row.hr);
        const Lines lines = Own(log);
        ASSERT_EQ(lines.size(), 3u);
        EXPECT_EQ(lines[1], "8 [TestPin] ExecConnection(): m_spConnected->ReceiveConnection()=" +
                                Hex(static_cast<unsigned>(row.hrPeer)) + "\n");
        EXPECT_EQ(lines[2], Rejected(static_cast<unsigned>(row.hr)));
        EXPECT_TRUE(MTEqual(&Pin().Type(), &m_mtStart)); // restored
        EXPECT_FALSE(Pin().IsConnected());
    }
}

TEST_F(ConnectionTest, RefusalsBeforeAnAttempt)
{
    Peer().m_eDir = PINDIR_OUTPUT;
    LogCapture log;
    EXPECT_EQ(Connect(), VFW_E_INVALID_DIRECTION);
    Peer().m_eDir = PINDIR_INPUT;
    Filter().m_eState = State_Paused;
    EXPECT_EQ(Connect(), VFW_E_NOT_STOPPED);
    Peer().m_eDir = PINDIR_OUTPUT;
    EXPECT_EQ(Connect(), VFW_E_INVALID_DIRECTION); // looked at before the state
    Peer().m_eDir = PINDIR_INPUT;
    Filter().m_eState = State_Stopped;
    EXPECT_EQ(Connect(), S_OK);
    log.Clear();
    EXPECT_EQ(Connect(), VFW_E_ALREADY_CONNECTED);
    EXPECT_EQ(Own(log), (Lines{sStart, "8 Empty media type\n"}));
    EXPECT_TRUE(Peer().IsConnected()); // left alone
    FakeInputPin other;
    other.m_eDir = PINDIR_OUTPUT;
    EXPECT_EQ(PinItf()->Connect(&other, nullptr), VFW_E_ALREADY_CONNECTED); // looked at first
}

TEST_F(ConnectionTest, APeerOfUnknownDirection)
{
    Peer().m_eDir = 7;
    {
        AssertCapture asserts;
        EXPECT_EQ(Connect(&m_mtStart), S_OK);
        EXPECT_EQ(asserts.Count("ePinDirection == PINDIR_INPUT || ePinDirection == PINDIR_OUTPUT"), 2);
    }
    EXPECT_EQ(PinItf()->Disconnect(), S_OK);
    Peer().m_hrQueryDirection = E_FAIL;
    AssertCapture asserts;
    EXPECT_EQ(Connect(&m_mtStart), S_OK);
    EXPECT_EQ(asserts.Count("ePinDirection == PINDIR_INPUT || ePinDirection == PINDIR_OUTPUT"), 2);
}

TEST_F(ConnectionTest, ThePinsTypeIsNotSet)
{
    Pin().ApplyOutputType(nullptr);
    LogCapture log;
    EXPECT_EQ(Connect(), VFW_E_NO_ACCEPTABLE_TYPES);
    EXPECT_EQ(m_calls.Count("in.ReceiveConnection"), 0);
    EXPECT_EQ(Pin().ExecConnection(&Peer()), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_FALSE(Pin().IsConnected());
}

TEST_F(ConnectionTest, AssertionsOfTheSteps)
{
    struct Row
    {
        const char* pszName;
        std::function<HRESULT()> step;
        HRESULT hr;
        Lines asserts;
    };
    FakeInputPin other;
    other.m_eDir = PINDIR_OUTPUT;
    const Row rows[] = {
        {"TryTypes", [&] { return Pin().TryTypes(nullptr); }, E_POINTER, {"pReceivePin != NULL"}},
        {"AgreeExternMT", [&] { return Pin().AgreeExternMT(nullptr); }, E_POINTER, {"pReceivePin != NULL"}},
        {"AgreeInnerMT", [&] { return Pin().AgreeInnerMT(nullptr); }, E_POINTER, {"pReceivePin != NULL"}},
        {"TryMediaTypes",
         [&] { return Pin().TryMediaTypes(&Peer(), nullptr); },
         E_POINTER,
         {"pEnum != NULL"}},
        {"AttemptConnection",
         [&] { return Pin().AttemptConnection(&Peer(), nullptr); },
         E_POINTER,
         {"pmt != NULL"}},
        {"ExecConnection", [&] { return Pin().ExecConnection(nullptr); }, E_POINTER, {"pReceivePin != NULL"}},
        {"AgreeAllocator", [&] { return Pin().AgreeAllocator(); }, VFW_E_NOT_CONNECTED, {}},
        {"a peer of the same direction",
         [&]
         {
             other.m_accept = [](const AM_MEDIA_TYPE*) { return E_ABORT; };
             return Pin().ExecConnection(&other);
         },
         E_ABORT,
         {"IsCounterpart(pReceivePin)"}},
        {"a pin of the wrong direction",
         [&]
         {
             Pin().m_ePinDir = PINDIR_INPUT;
             const HRESULT hr = Connect();
             Pin().m_ePinDir = PINDIR_OUTPUT;
             return hr;
         },
         VFW_E_INVALID_DIRECTION,
         {"m_ePinDir == PINDIR_OUTPUT"}},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.pszName);
        AssertCapture asserts;
        EXPECT_EQ(row.step(), row.hr);
        EXPECT_EQ(asserts.Texts(), row.asserts);
    }
    ASSERT_EQ(Connect(), S_OK);
    AssertCapture asserts;
    EXPECT_EQ(Pin().AgreeAllocator(), S_OK);
    EXPECT_EQ(asserts.Texts(), (Lines{"!m_spMemInput", "!m_spAllocOut"}));
}

// --- Enumerators of peers

TEST_F(ConnectionTest, EnumeratorsOfPeers)
{
    struct Row
    {
        const char* pszName;
        HRESULT hrEnum;
        bool bNull;
        HRESULT hrReset, hrEnd;
        eFakeEnum eEnum;
        HRESULT hrExtern; ///< printed by the attempt with the peer's types
        Lines asserts;
    };
    const Row rows[] = {
        {"none", E_NOTIMPL, false, S_OK, S_FALSE, eFE_Normal, E_NOTIMPL, {}},
        {"a positive result", S_FALSE, false, S_OK, S_FALSE, eFE_Normal, S_FALSE, {}},
        {"null", S_OK, true, S_OK, S_FALSE, eFE_Normal, E_POINTER, {"pEnum != NULL"}},
        {"failing Reset", S_OK, false, E_ABORT, S_FALSE, eFE_Normal, E_ABORT, {}},
        {"positive Reset", S_OK, false, S_FALSE, S_FALSE, eFE_Normal, VFW_E_NO_ACCEPTABLE_TYPES, {}},
        {"failing end", S_OK, false, S_OK, VFW_E_ENUM_OUT_OF_SYNC, eFE_Normal, VFW_E_ENUM_OUT_OF_SYNC, {}},
        {"positive end", S_OK, false, S_OK, 0x40001, eFE_Normal, VFW_E_NO_ACCEPTABLE_TYPES, {}},
        {"null types",
         S_OK,
         false,
         S_OK,
         S_FALSE,
         eFE_NullTypes,
         VFW_E_NO_ACCEPTABLE_TYPES,
         {"pmt != NULL", "pmt != NULL"}},
    };
    Peer().m_arrTypes = {VideoType(32, 16)};
    AcceptOnly(m_mtStart);
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.pszName);
        Peer().m_hrEnumMediaTypes = row.hrEnum;
        Peer().m_bNullEnum = row.bNull;
        Peer().m_hrReset = row.hrReset;
        Peer().m_hrEnumEnd = row.hrEnd;
        Peer().m_eEnum = row.eEnum;
        LogCapture log;
        AssertCapture asserts;
        EXPECT_EQ(Connect(), S_OK); // with the pin's own type
        EXPECT_EQ(asserts.Texts(), row.asserts);
        EXPECT_TRUE(log.Has(
            8, "[TestPin] AgreeExternMT() FAILED, hr=" + Hex(static_cast<unsigned>(row.hrExtern)) + "\n"));
        EXPECT_EQ(PinItf()->Disconnect(), S_OK);
        EXPECT_EQ(FakeTypeEnum::s_nLiving, 0);
        EXPECT_EQ(Pin().AgreeExternMT(&Peer()),
                  FAILED(row.hrExtern) ? row.hrExtern : VFW_E_NO_ACCEPTABLE_TYPES);
    }
}

TEST_F(ConnectionTest, AnEnumeratorThatNeverEnds)
{
    Peer().m_arrTypes = {VideoType(32, 16)};
    AcceptOnly(m_mtStart);
    for (const eFakeEnum eMode : {eFE_Endless, eFE_EndlessNull})
    {
        Peer().m_eEnum = eMode;
        FakeTypeEnum::s_nFetched = 0;
        AssertCapture asserts;
        EXPECT_EQ(Connect(), S_OK);
        EXPECT_EQ(FakeTypeEnum::s_nFetched, 4096);
        EXPECT_EQ(PinItf()->Disconnect(), S_OK);
    }
}

// --- Hooks and call-backs

TEST_F(ConnectionTest, AFilterThatDoesNotCompleteTheConnection)
{
    struct Row
    {
        HRESULT hrHook, hr;
    };
    for (const Row& row : {Row{E_ABORT, E_ABORT}, Row{S_FALSE, VFW_E_TYPE_NOT_ACCEPTED}})
    {
        Filter().m_hrComplete = row.hrHook;
        m_calls.Clear();
        LogCapture log;
        EXPECT_EQ(Connect(&m_mtStart), row.hr);
        EXPECT_EQ(Own(log), (Lines{sStart, "8 [TestPin] ExecConnection(): connection accepted\n",
                                   "8 [TestPin] ExecConnection(): m_pFilter->Filter_CompleteConnect()=" +
                                       Hex(static_cast<unsigned>(row.hrHook)) + "\n",
                                   Rejected(static_cast<unsigned>(row.hr))}));
        EXPECT_EQ(m_calls.Calls(), (Lines{"in.ReceiveConnection", "in.Disconnect"}));
        EXPECT_FALSE(Peer().IsConnected());
    }
}

TEST_F(ConnectionTest, ThePeerMayAskBackWhileItIsConnected)
{
    HRESULT hrAccept = E_FAIL;
    bool bPeer = false;
    CMType mt;
    Peer().m_onReceiveConnection = [&](IPin* pPin)
    {
        CComPtr<IPin> spPeer;
        bPeer = pPin->ConnectedTo(&spPeer) == S_OK; // the peer is stored before it is asked
        hrAccept = pPin->QueryAccept(&m_mtStart);
        EXPECT_EQ(pPin->ConnectionMediaType(&mt), S_OK);
        EXPECT_EQ(pPin->Connect(&Peer(), nullptr), VFW_E_ALREADY_CONNECTED);
    };
    EXPECT_EQ(Connect(), S_OK);
    EXPECT_TRUE(bPeer);
    EXPECT_EQ(hrAccept, S_OK);
    EXPECT_TRUE(MTEqual(&mt, &m_mtStart));
}

TEST_F(ConnectionTest, APeerThatBreaksTheConnectionWhileItIsMade)
{
    Peer().m_onReceiveConnection = [](IPin* pPin) { EXPECT_EQ(pPin->Disconnect(), S_OK); };
    LogCapture log;
    EXPECT_EQ(Connect(&m_mtStart), VFW_E_NOT_CONNECTED);
    EXPECT_TRUE(log.Has(8, "[TestPin] Allocator agreement FAILED, hr=0x80040209\n"));
    EXPECT_FALSE(Pin().IsConnected());
    EXPECT_FALSE(Peer().IsConnected()) << "the peer is told, as it was connected only afterwards";
}

// --- Allocator and end

TEST_F(ConnectionTest, APeerWithoutSampleInput)
{
    Peer().m_bMemInput = false;
    LogCapture log;
    EXPECT_EQ(Connect(&m_mtStart), E_NOINTERFACE);
    EXPECT_EQ(Own(log),
              (Lines{sStart, "8 [TestPin] ExecConnection(): connection accepted\n",
                     "8 [TestPin] Allocator agreement FAILED, hr=0x80004002\n", Rejected(0x80004002)}));
    EXPECT_FALSE(Pin().IsConnected());
    EXPECT_FALSE(Peer().IsConnected());
    EXPECT_EQ(m_calls.Count("in.Disconnect"), 1);
    EXPECT_TRUE(MTEqual(&Pin().Type(), &m_mtStart));
}

TEST_F(ConnectionTest, NoAllocatorAtAll)
{
    m_sink.m_pin.m_pAllocator = nullptr;
    Pin().m_hrCreate = E_NOTIMPL; // the pin's own one cannot be made
    LogCapture log;
    EXPECT_EQ(Connect(&m_mtStart), E_NOTIMPL);
    EXPECT_EQ(Own(log),
              (Lines{sStart, "8 [TestPin] ExecConnection(): connection accepted\n",
                     "2 ###Err### [TestPin] CAllocatorMatch::MatchExternAllocator(): "
                     "pMemInput->GetAllocator()=0x8004020A\n",
                     "2 ###Err### [TestPin] CAllocatorMatch::MatchOurAllocator(): "
                     "pOutPin->AllocatorCreate()=0x80004001\n",
                     "8 ###Err### [TestPin] CStdAllocator::AllocatorAgree() - allocator agreement failed, "
                     "hr=0x80004001\n",
                     "8 [TestPin] Allocator agreement FAILED, hr=0x80004001\n", Rejected(0x80004001)}));
    EXPECT_EQ(m_calls.Count("in.Disconnect"), 1);
    EXPECT_FALSE(Peer().IsConnected());
}

TEST_F(ConnectionTest, Disconnect)
{
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    EXPECT_EQ(PinItf()->Disconnect(), VFW_E_NOT_STOPPED);
    ASSERT_EQ(Filter().Stop(), S_OK);
    m_calls.Clear();
    bool bStillPeer = true;
    Peer().m_onDisconnect = [&] { bStillPeer = Pin().IsConnected(); };
    EXPECT_EQ(PinItf()->Disconnect(), S_OK);
    EXPECT_FALSE(bStillPeer); // taken out before it is told
    EXPECT_EQ(m_calls.Calls(), (Lines{"alloc.Decommit", "in.Disconnect"}));
    EXPECT_FALSE(Pin().IsConnected());
    EXPECT_FALSE(Pin().m_spMemInput);
    EXPECT_FALSE(Pin().m_spAllocOut);
    EXPECT_FALSE(Pin().m_bActive);
    EXPECT_EQ(Pin().m_eAllocSrc, eAS_None);
    EXPECT_EQ(Pin().m_rgPropsOut.cBuffers, 0);
    EXPECT_EQ(Pin().m_rgPropsOut.cbBuffer, 0);
    EXPECT_TRUE(MTEqual(&Pin().Type(), &m_mtStart)); // offered again next time
    EXPECT_EQ(PinItf()->Disconnect(), S_FALSE);
    EXPECT_EQ(m_alloc.Refs(), 0);
    EXPECT_EQ(Peer().Refs(), 0);
}

TEST_F(ConnectionTest, AConnectionThatBreaksWhileItIsActiveCommitsTheNextAllocator)
{
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Pin().AllocatorActivate(true), S_OK);
    EXPECT_EQ(PinItf()->Disconnect(), S_OK);
    EXPECT_FALSE(m_alloc.IsCommitted());
    EXPECT_FALSE(Pin().m_bActive);
    ASSERT_EQ(Connect(), S_OK);
    EXPECT_EQ(Filter().Pause(), S_OK);
    EXPECT_TRUE(m_alloc.IsCommitted());
}

TEST_F(ConnectionTest, TheTypeOfTheLastConnectionIsOfferedAgain)
{
    const CMType mtOther = VideoType(32, 16);
    ASSERT_EQ(Connect(&mtOther), S_OK);
    ASSERT_EQ(PinItf()->Disconnect(), S_OK);
    ASSERT_EQ(Connect(), S_OK);
    const CMType mt = Peer().ConnectionType();
    EXPECT_TRUE(MTEqual(&mt, &mtOther));
}

TEST_F(ConnectionTest, ManyConnectionsLeaveNothingBehind)
{
    for (int i = 0; i < 1000; ++i)
    {
        ASSERT_EQ(Connect(), S_OK);
        if (i % 3 == 0)
        {
            ASSERT_EQ(Filter().Run(0), S_OK);
            ASSERT_EQ(Filter().Stop(), S_OK);
        }
        ASSERT_EQ(PinItf()->Disconnect(), S_OK);
        ASSERT_EQ(Peer().Refs(), 0);
        ASSERT_EQ(m_alloc.Refs(), 0);
    }
}
} // namespace
