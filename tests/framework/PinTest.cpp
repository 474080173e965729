// IPin apart from the connection.
#include "TestFilter.h"

#include "dstl/dshowx/DSSeeking.h"

namespace
{
class PinTest : public FrameworkTest
{
};

TEST_F(PinTest, NotThere)
{
    LogCapture log;
    EXPECT_EQ(PinItf()->ReceiveConnection(&Peer(), &m_mtStart), E_NOTIMPL);
    EXPECT_EQ(PinItf()->EndOfStream(), E_NOTIMPL);
    EXPECT_EQ(PinItf()->BeginFlush(), E_NOTIMPL);
    EXPECT_EQ(PinItf()->EndFlush(), E_NOTIMPL);
    EXPECT_EQ(PinItf()->NewSegment(0, 1, 1.0), E_NOTIMPL);
    ULONG n = 0;
    EXPECT_EQ(PinItf()->QueryInternalConnections(nullptr, &n), E_NOTIMPL);
    EXPECT_EQ(Own(log), (Lines{"0 ATL: IPinImpl::ReceiveConnection not implemented.\n",
                               "0 ATL: IPinImpl::EndOfStream not implemented.\n",
                               "0 ATL: IPinImpl::BeginFlush not implemented.\n",
                               "0 ATL: IPinImpl::EndFlush not implemented.\n",
                               "0 ATL: IPinImpl::NewSegment not implemented.\n"}));
}

TEST_F(PinTest, NullArguments)
{
    AssertCapture asserts;
    EXPECT_EQ(PinItf()->ConnectedTo(nullptr), E_POINTER);
    EXPECT_EQ(PinItf()->ConnectionMediaType(nullptr), E_POINTER);
    EXPECT_EQ(PinItf()->QueryPinInfo(nullptr), E_POINTER);
    EXPECT_EQ(PinItf()->QueryDirection(nullptr), E_POINTER);
    EXPECT_EQ(PinItf()->QueryId(nullptr), E_POINTER);
    EXPECT_EQ(PinItf()->EnumMediaTypes(nullptr), E_POINTER);
    EXPECT_EQ(PinItf()->Connect(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(PinItf()->QueryAccept(nullptr), S_FALSE);
    EXPECT_EQ(asserts.Texts(), (Lines{"ppPin != NULL", "pmt != NULL", "pInfo != NULL", "pPinDir != NULL",
                                      "Id != NULL", "ppEnum != NULL", "pReceivePin != NULL"}));
}

TEST_F(PinTest, Info)
{
    PIN_INFO info;
    memset(&info, 0xEE, sizeof(info));
    const LONG nRefs = Filter().m_dwRef;
    EXPECT_EQ(PinItf()->QueryPinInfo(&info), S_OK);
    EXPECT_EQ(info.pFilter, static_cast<IBaseFilter*>(&Filter()));
    EXPECT_EQ(Filter().m_dwRef, nRefs + 1);
    EXPECT_EQ(info.dir, PINDIR_OUTPUT);
    EXPECT_EQ(Utf8(info.achName), "Video Out");
    info.pFilter->Release();
    PIN_DIRECTION eDir = PINDIR_INPUT;
    EXPECT_EQ(PinItf()->QueryDirection(&eDir), S_OK);
    EXPECT_EQ(eDir, PINDIR_OUTPUT);
    LPWSTR pszId = nullptr;
    EXPECT_EQ(PinItf()->QueryId(&pszId), S_OK);
    EXPECT_EQ(Utf8(pszId), "Video Out");
    CoTaskMemFree(pszId);
}

TEST_F(PinTest, LongNames)
{
    for (const size_t cch : {1u, 127u, 128u, 260u, 100000u})
    {
        ASSERT_EQ(Filter().MakePin(std::wstring(cch, L'p').c_str()), S_OK);
        const std::string sExpected(std::min<size_t>(cch, 127), 'p');
        PIN_INFO info;
        memset(&info, 0xEE, sizeof(info));
        EXPECT_EQ(PinItf()->QueryPinInfo(&info), S_OK);
        EXPECT_EQ(Utf8(info.achName), sExpected);
        info.pFilter->Release();
        LPWSTR pszId = nullptr;
        EXPECT_EQ(PinItf()->QueryId(&pszId), S_OK);
        EXPECT_EQ(Utf8(pszId), sExpected);
        CoTaskMemFree(pszId);
    }
}

TEST_F(PinTest, QueryAccept)
{
    LogCapture log;
    EXPECT_EQ(PinItf()->QueryAccept(&m_mtStart), S_OK);
    Filter().m_accept = [](const AM_MEDIA_TYPE*) { return false; };
    EXPECT_EQ(PinItf()->QueryAccept(&m_mtStart), S_FALSE);
    EXPECT_EQ(Own(log), (Lines{"8 [TestPin] IPinImpl::QueryAccept()=S_OK [Out]\n",
                               "8 [TestPin] IPinImpl::QueryAccept()=S_FALSE [Out]\n"}));
}

TEST_F(PinTest, Unconnected)
{
    CComPtr<IPin> spPeer;
    spPeer.p = reinterpret_cast<IPin*>(1);
    EXPECT_EQ(PinItf()->ConnectedTo(&spPeer.p), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(spPeer.p, nullptr);
    CMType mt;
    EXPECT_EQ(PinItf()->ConnectionMediaType(&mt), VFW_E_NOT_CONNECTED);
    LogCapture log;
    EXPECT_EQ(PinItf()->Disconnect(), S_FALSE);
    EXPECT_EQ(Own(log), Lines{"8 [TestPin] IPinImpl::Disconnect() [Out]\n"});
    EXPECT_EQ(Pin().AllocatorActivate(true), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(Pin().AllocatorActivate(false), VFW_E_NOT_CONNECTED);
}

TEST_F(PinTest, TheDirectionShowsInTheTraces)
{
    Pin().m_ePinDir = PINDIR_INPUT;
    LogCapture log;
    EXPECT_EQ(PinItf()->Disconnect(), S_FALSE);
    EXPECT_EQ(Own(log), Lines{"8 [TestPin] IPinImpl::Disconnect() [In]\n"});
    Pin().m_ePinDir = PINDIR_OUTPUT;
}

/// A host may hold the pin longer than the filter lives: everything goes on to answer.
TEST_F(PinTest, APinWithoutItsFilter)
{
    CComPtr<IPin> spPin = PinItf();
    TestPin& pin = Pin();
    m_spFilter.Release();
    EXPECT_EQ(TestFilter::s_nLiving, 0);
    EXPECT_EQ(pin.m_pFilter, nullptr);

    PIN_INFO info;
    memset(&info, 0xEE, sizeof(info));
    EXPECT_EQ(spPin->QueryPinInfo(&info), S_OK);
    EXPECT_EQ(info.pFilter, nullptr);
    PIN_DIRECTION eDir;
    EXPECT_EQ(spPin->QueryDirection(&eDir), S_OK);
    CComPtr<IEnumMediaTypes> spEnum;
    EXPECT_EQ(spPin->EnumMediaTypes(&spEnum), S_OK);
    spEnum.Release();
    EXPECT_EQ(pin.FilterState(), State_Stopped);
    {
        LogCapture log;
        EXPECT_EQ(spPin->QueryAccept(&m_mtStart), S_FALSE);
        EXPECT_EQ(Own(log),
                  (Lines{"2 ###Err### [TestPin] QueryAcceptMT(): link between filter and pin is broken\n",
                         "8 [TestPin] IPinImpl::QueryAccept()=S_FALSE [Out]\n"}));
    }
    {
        AssertCapture asserts;
        EXPECT_EQ(spPin->Connect(&Peer(), nullptr), VFW_E_NO_ACCEPTABLE_TYPES);
        EXPECT_EQ(asserts.Texts(), Lines{"m_pFilter != NULL"});
        EXPECT_EQ(spPin->Connect(&Peer(), &m_mtStart), VFW_E_TYPE_NOT_ACCEPTED);
    }
    EXPECT_EQ(spPin->Disconnect(), S_FALSE);
    FakeSample sample;
    sample.m_mt = m_mtStart;
    EXPECT_EQ(pin.SetMediaTypeFromSample(&sample), VFW_E_INVALIDMEDIATYPE);
    spPin.Release();
    EXPECT_EQ(TestPin::s_nLiving, 0);
}

TEST_F(PinTest, AConnectedPinWithoutItsFilter)
{
    ASSERT_EQ(Connect(), S_OK);
    CComPtr<IPin> spPin = PinItf();
    {
        AssertCapture asserts;
        m_spFilter.Release();
        EXPECT_EQ(asserts.Texts(), Lines{"!m_apOut->IsConnected()"});
    }
    CMType mt;
    EXPECT_EQ(spPin->ConnectionMediaType(&mt), S_OK);
    EXPECT_EQ(spPin->Disconnect(), S_OK);
    EXPECT_FALSE(Peer().IsConnected());
}
/// The name accessor is the last operation of IPin's table and the first of the object's own.
TEST_F(PinTest, PlacesOfTheNameAccessor)
{
    using PFNNAME = LPCWSTR (*)(void*);
    IPin* pPin = PinItf();
    const auto pInterface = *reinterpret_cast<PFNNAME**>(pPin);
    EXPECT_EQ(Utf8(pInterface[18](pPin)), "[TestPin]"); // three of IUnknown, fifteen of IPin
    void* pObject = &Pin();
    EXPECT_EQ(pObject, static_cast<CPin*>(&Pin()));
    EXPECT_EQ(Utf8((*static_cast<PFNNAME**>(pObject))[0](pObject)), "[TestPin]");
}

class SeekingFields : public CMediaSeekingFields
{
public:
    using CMediaSeekingFields::m_arrTimeFormats;
    using CMediaSeekingFields::m_dblRate;
    using CMediaSeekingFields::m_dwCapabilities;
    using CMediaSeekingFields::m_nTimeFormat;
};

TEST_F(PinTest, StartValuesOfSeeking)
{
    SeekingFields pin;
    EXPECT_EQ(pin.m_arrTimeFormats.GetSize(), 0);
    EXPECT_EQ(pin.m_nTimeFormat, -1);
    EXPECT_EQ(pin.m_dwCapabilities, 31u);
    EXPECT_EQ(pin.m_dblRate, 1.0);
    EXPECT_EQ(pin.InitTimeFormats(), S_OK);
    EXPECT_EQ(pin.m_nTimeFormat, 0);
    ASSERT_EQ(pin.m_arrTimeFormats.GetSize(), 1);
    EXPECT_TRUE(IsEqualGUID(pin.m_arrTimeFormats[0], TIME_FORMAT_MEDIA_TIME));
}
} // namespace
