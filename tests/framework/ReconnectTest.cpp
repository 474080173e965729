// How a change of type is pushed through the graph.
#include "TestFilter.h"

namespace
{
class ReconnectTest : public FrameworkTest
{
protected:
    const CMType m_mtNew = VideoType(32, 16);
};

TEST_F(ReconnectTest, WithoutGraph)
{
    ASSERT_EQ(Connect(), S_OK);
    AssertCapture asserts;
    EXPECT_EQ(Filter().MakeReconnect(&m_mtNew, PinItf()), VFW_E_NOT_IN_GRAPH);
    EXPECT_EQ(asserts.Texts(), Lines{"m_pFilterGraphJoin != NULL"});
    EXPECT_EQ(Filter().ReconnectPin(PinItf(), &m_mtNew), VFW_E_NOT_IN_GRAPH);
    EXPECT_EQ(asserts.Texts(), (Lines{"m_pFilterGraphJoin != NULL", "m_pFilterGraphJoin != NULL"}));
}

TEST_F(ReconnectTest, NothingToDo)
{
    ASSERT_EQ(Filter().JoinFilterGraph(m_graph.Graph(), L"Still"), S_OK);
    LogCapture log;
    {
        AssertCapture asserts;
        EXPECT_EQ(Filter().MakeReconnect(&m_mtNew, nullptr), S_OK);
        EXPECT_EQ(asserts.Texts(), Lines{"pPin != NULL"});
    }
    EXPECT_EQ(Filter().MakeReconnect(&m_mtNew, PinItf()), S_OK); // not connected
    EXPECT_EQ(Own(log), Lines{});

    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    log.Clear();
    EXPECT_EQ(Filter().MakeReconnect(&m_mtNew, PinItf()), S_OK); // not stopped
    EXPECT_EQ(Own(log), Lines{});
    ASSERT_EQ(Filter().Stop(), S_OK);

    log.Clear();
    EXPECT_EQ(Filter().MakeReconnect(&m_mtStart, PinItf()), S_OK);
    EXPECT_EQ(Own(log), (Lines{"8 TestFilter CBaseFilter::MakeReconnect( Out )\n",
                               "8 TestFilter CBaseFilter::MakeReconnect( Out ): reconnection stopped - media "
                               "types are equal\n"}));
    EXPECT_TRUE(m_graph.Reconnections().empty());
    EXPECT_TRUE(Pin().IsConnected());
}

TEST_F(ReconnectTest, ANewTypeGoesToTheGraph)
{
    ASSERT_EQ(Filter().JoinFilterGraph(m_graph.Graph(), L"Still"), S_OK);
    ASSERT_EQ(Connect(), S_OK);
    for (const HRESULT hr : {S_OK, VFW_E_TYPE_NOT_ACCEPTED, S_FALSE})
    {
        m_graph.m_hrReconnect = hr;
        LogCapture log;
        EXPECT_EQ(Filter().MakeReconnect(&m_mtNew, PinItf()), hr);
        EXPECT_EQ(Own(log), Lines{"8 TestFilter CBaseFilter::MakeReconnect( Out )\n"});
    }
    const auto reconnections = m_graph.Reconnections();
    ASSERT_EQ(reconnections.size(), 3u);
    EXPECT_TRUE(reconnections[0].bEx);
    EXPECT_EQ(reconnections[0].pPin, PinItf());
    EXPECT_TRUE(MTEqual(&reconnections[0].mt, &m_mtNew));
    EXPECT_TRUE(MTEqual(&Pin().Type(), &m_mtStart)); // not stored before
}

TEST_F(ReconnectTest, ARealReconnectionAppliesTheType)
{
    ASSERT_EQ(Filter().JoinFilterGraph(m_graph.Graph(), L"Still"), S_OK);
    ASSERT_EQ(Connect(), S_OK);
    m_graph.m_bReallyReconnect = true;
    EXPECT_EQ(Filter().MakeReconnect(&m_mtNew, PinItf()), S_OK);
    EXPECT_TRUE(MTEqual(&Pin().Type(), &m_mtNew));
    const CMType mt = Peer().ConnectionType();
    EXPECT_TRUE(MTEqual(&mt, &m_mtNew));
}

TEST_F(ReconnectTest, AGraphWithoutTheSecondInterface)
{
    m_graph.m_bGraph2 = false;
    ASSERT_EQ(Filter().JoinFilterGraph(m_graph.Graph(), L"Still"), S_OK);
    ASSERT_EQ(Connect(), S_OK);
    m_graph.m_bReallyReconnect = true;
    EXPECT_EQ(Filter().MakeReconnect(&m_mtNew, PinItf()), S_OK);
    const auto reconnections = m_graph.Reconnections();
    ASSERT_EQ(reconnections.size(), 1u);
    EXPECT_FALSE(reconnections[0].bEx);
    EXPECT_FALSE(reconnections[0].bType);
    EXPECT_TRUE(MTEqual(&Pin().Type(), &m_mtStart)); // negotiated from its current type
}

TEST_F(ReconnectTest, AnInputPinIsReconnectedAtOnce)
{
    ASSERT_EQ(Filter().JoinFilterGraph(m_graph.Graph(), L"Still"), S_OK);
    ASSERT_EQ(Connect(), S_OK);
    LogCapture log;
    EXPECT_EQ(Filter().MakeReconnect(&m_mtStart, &Peer()), S_OK); // without a look at the type
    EXPECT_EQ(Own(log), Lines{"8 TestFilter CBaseFilter::MakeReconnect( In )\n"});
    EXPECT_EQ(m_graph.Reconnections().size(), 1u);
}

/// An output pin that says it is connected and does not know with which type.
class TypelessPin : public FakeInputPin
{
public:
    HRESULT m_hrType = E_ABORT;
    IPin* m_pPeer = nullptr;
    STDMETHOD(ConnectedTo)(IPin** ppPin) override
    {
        (*ppPin = m_pPeer)->AddRef();
        return S_OK;
    }
    STDMETHOD(ConnectionMediaType)(AM_MEDIA_TYPE*) override { return m_hrType; }
};

TEST_F(ReconnectTest, AConnectionWithoutType)
{
    ASSERT_EQ(Filter().JoinFilterGraph(m_graph.Graph(), L"Still"), S_OK);
    TypelessPin pin;
    pin.m_pPeer = &Peer();
    pin.m_eDir = PINDIR_OUTPUT;
    for (const HRESULT hr : {E_ABORT, S_FALSE})
    {
        pin.m_hrType = hr;
        LogCapture log;
        EXPECT_EQ(Filter().MakeReconnect(&m_mtNew, &pin), hr);
        EXPECT_EQ(
            Own(log),
            (Lines{"8 TestFilter CBaseFilter::MakeReconnect( Out )\n",
                   "2 ###Err### TestFilter CBaseFilter::MakeReconnect( Out ): pPin->ConnectionMediaType()=" +
                       Hex(static_cast<unsigned>(hr)) + "\n"}));
    }
    pin.m_eDir = 9;
    AssertCapture asserts;
    EXPECT_EQ(Filter().MakeReconnect(&m_mtNew, &pin), S_OK);
    EXPECT_EQ(asserts.Texts(), Lines{"ePinDir == PINDIR_INPUT || ePinDir == PINDIR_OUTPUT"});
    EXPECT_TRUE(m_graph.Reconnections().size() == 1u);
    EXPECT_EQ(pin.Refs(), 0);
}
} // namespace
