// IBaseFilter apart from the states: identity, clock, pins, graph.
#include "TestFilter.h"

namespace
{
class FilterTest : public FrameworkTest
{
};

/// A clock whose IPersist is scriptable.
class FakeClock : public IReferenceClock, public IPersist
{
public:
    bool m_bPersist = true;
    HRESULT m_hrClassID = S_OK;
    long m_nRefs = 0;

    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) override
    {
        *ppv = nullptr;
        if (!IsEqualGUID(riid, IID_IPersist) || !m_bPersist)
            return E_NOINTERFACE;
        *ppv = static_cast<IPersist*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++m_nRefs); }
    STDMETHOD_(ULONG, Release)() override { return static_cast<ULONG>(--m_nRefs); }
    STDMETHOD(GetTime)(REFERENCE_TIME*) override { return E_NOTIMPL; }
    STDMETHOD(AdviseTime)(REFERENCE_TIME, REFERENCE_TIME, HEVENT, DWORD_PTR*) override { return E_NOTIMPL; }
    STDMETHOD(AdvisePeriodic)(REFERENCE_TIME, REFERENCE_TIME, HSEMAPHORE, DWORD_PTR*) override
    {
        return E_NOTIMPL;
    }
    STDMETHOD(Unadvise)(DWORD_PTR) override { return E_NOTIMPL; }
    STDMETHOD(GetClassID)(CLSID* pClassID) override
    {
        *pClassID = CLSID_TestFilter;
        return m_hrClassID;
    }
};

TEST_F(FilterTest, FreshFilter)
{
    EXPECT_EQ(Filter().m_eState, State_Stopped);
    EXPECT_EQ(Filter().m_tStart, 0);
    EXPECT_TRUE(Filter().m_bGraphDumpDue);
    EXPECT_EQ(Filter().m_pFilterGraphJoin, nullptr);
    EXPECT_EQ(Filter().m_pEventSink, nullptr);
    EXPECT_FALSE(Filter().m_spClock);
    EXPECT_STREQ(Utf8(Filter().m_szName).c_str(), "");
    EXPECT_EQ(Utf8(Pin().m_szName), "Video Out");
    EXPECT_EQ(Pin().m_pFilter, &Filter());
    EXPECT_EQ(Pin().m_ePinDir, PINDIR_OUTPUT);
}

TEST_F(FilterTest, ClassID)
{
    CLSID clsid = CLSID_NULL;
    EXPECT_EQ(Filter().GetClassID(&clsid), S_OK);
    EXPECT_TRUE(IsEqualGUID(clsid, CLSID_TestFilter));
    AssertCapture asserts;
    EXPECT_EQ(Filter().GetClassID(nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Lines{"pClassID != NULL"});
}

TEST_F(FilterTest, NullArguments)
{
    AssertCapture asserts;
    LogCapture log;
    CComPtr<IPin> spPin;
    EXPECT_EQ(Filter().GetState(0, nullptr), E_POINTER);
    EXPECT_EQ(Filter().GetSyncSource(nullptr), E_POINTER);
    EXPECT_EQ(Filter().EnumPins(nullptr), E_POINTER);
    EXPECT_EQ(Filter().FindPin(nullptr, &spPin), E_POINTER);
    EXPECT_EQ(Filter().FindPin(L"x", nullptr), E_POINTER);
    EXPECT_EQ(Filter().QueryFilterInfo(nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), (Lines{"State != NULL", "ppEnum != NULL", "ppPin != NULL && Id != NULL",
                                      "ppPin != NULL && Id != NULL", "pInfo != NULL"}));
    EXPECT_EQ(Own(log),
              (Lines{"8 TestFilter IBaseFilterImpl::GetSyncSource\n",
                     "8 TestFilter IBaseFilterImpl::FindPin\n", "8 TestFilter IBaseFilterImpl::FindPin\n",
                     "8 TestFilter IBaseFilterImpl::QueryFilterInfo\n"}));
}

TEST_F(FilterTest, VendorInfo)
{
    LogCapture log;
    LPWSTR psz = nullptr;
    EXPECT_EQ(Filter().QueryVendorInfo(&psz), E_NOTIMPL);
    EXPECT_EQ(psz, nullptr);
    EXPECT_EQ(Own(log), Lines{"0 ATL: IBaseFilterImpl::QueryVendorInfo not implemented.\n"});
}

TEST_F(FilterTest, SyncSource)
{
    FakeClock clock;
    FakeClock other;
    LogCapture log;
    const std::string sClock = Hex(TracePtr(static_cast<IReferenceClock*>(&clock)));
    EXPECT_EQ(Filter().SetSyncSource(&clock), S_OK);
    EXPECT_EQ(clock.m_nRefs, 1);
    clock.m_hrClassID = E_ABORT;
    EXPECT_EQ(Filter().SetSyncSource(&clock), S_OK);
    EXPECT_EQ(clock.m_nRefs, 1);
    clock.m_bPersist = false;
    EXPECT_EQ(Filter().SetSyncSource(&clock), S_OK);

    CComPtr<IReferenceClock> spClock;
    EXPECT_EQ(Filter().GetSyncSource(&spClock), S_OK);
    EXPECT_EQ(spClock.p, &clock);
    EXPECT_EQ(clock.m_nRefs, 2);
    spClock.Release();

    EXPECT_EQ(Filter().SetSyncSource(&other), S_OK);
    EXPECT_EQ(clock.m_nRefs, 0);
    EXPECT_EQ(other.m_nRefs, 1);
    EXPECT_EQ(Filter().SetSyncSource(nullptr), S_OK);
    EXPECT_EQ(other.m_nRefs, 0);
    EXPECT_EQ(Filter().GetSyncSource(&spClock), S_OK);
    EXPECT_FALSE(spClock);

    const std::string sOther = Hex(TracePtr(static_cast<IReferenceClock*>(&other)));
    EXPECT_EQ(Own(log), (Lines{"8 TestFilter IBaseFilterImpl::SetSyncSource( " + sClock +
                                   " ): CLSID = {1A2B3C4D-5E6F-4A5B-8C9D-0E1F2A3B4C5D}\n",
                               "2 ###Err### TestFilter IBaseFilterImpl::SetSyncSource( " + sClock +
                                   " ): spPersist->GetClassID()=0x80004004\n",
                               "4 WARNING. TestFilter IBaseFilterImpl::SetSyncSource( " + sClock +
                                   " ): clock hasn't CLSID\n",
                               "8 TestFilter IBaseFilterImpl::GetSyncSource\n",
                               "8 TestFilter IBaseFilterImpl::SetSyncSource( " + sOther +
                                   " ): CLSID = {1A2B3C4D-5E6F-4A5B-8C9D-0E1F2A3B4C5D}\n",
                               "8 TestFilter IBaseFilterImpl::SetSyncSource( NULL )\n",
                               "8 TestFilter IBaseFilterImpl::GetSyncSource\n"}));
}

TEST_F(FilterTest, TheClockGoesWithTheFilter)
{
    FakeClock clock;
    Filter().SetSyncSource(&clock);
    m_spFilter.Release();
    EXPECT_EQ(clock.m_nRefs, 0);
}

TEST_F(FilterTest, FindPin)
{
    CComPtr<IPin> spPin;
    EXPECT_EQ(Filter().FindPin(L"Video Out", &spPin), S_OK);
    EXPECT_EQ(spPin.p, PinItf());
    spPin.Release();

    struct Row
    {
        LPCWSTR pszId;
    };
    for (const Row& row : {Row{L"x"}, Row{L""}, Row{L"video out"}, Row{L"Video Out "}, Row{L"Video Ou"}})
    {
        spPin.p = reinterpret_cast<IPin*>(1);
        EXPECT_EQ(Filter().FindPin(row.pszId, &spPin.p), VFW_E_NOT_FOUND);
        EXPECT_EQ(spPin.p, nullptr);
    }

    LPWSTR pszId = nullptr;
    EXPECT_EQ(PinItf()->QueryId(&pszId), S_OK);
    EXPECT_EQ(Filter().FindPin(pszId, &spPin), S_OK);
    EXPECT_EQ(spPin.p, PinItf());
    CoTaskMemFree(pszId);
}

TEST_F(FilterTest, JoinAndLeave)
{
    LogCapture log;
    char szGraph[32];
    snprintf(szGraph, sizeof(szGraph), "0x%08X", TracePtr(m_graph.Graph()));
    EXPECT_EQ(Filter().JoinFilterGraph(m_graph.Graph(), L"Still"), S_OK);
    EXPECT_EQ(Filter().m_pFilterGraphJoin, m_graph.Graph());
    EXPECT_EQ(Filter().m_pEventSink, static_cast<IMediaEventSink*>(&m_graph));
    EXPECT_EQ(m_graph.Refs(), 0); // neither the graph nor its sink is counted

    FILTER_INFO info;
    memset(&info, 0xEE, sizeof(info));
    EXPECT_EQ(Filter().QueryFilterInfo(&info), S_OK);
    EXPECT_EQ(Utf8(info.achName), "Still");
    EXPECT_EQ(info.pGraph, m_graph.Graph());
    EXPECT_EQ(m_graph.Refs(), 1);
    info.pGraph->Release();

    {
        AssertCapture asserts;
        FakeGraph other;
        EXPECT_EQ(Filter().JoinFilterGraph(other.Graph(), L"Other"), E_FAIL);
        EXPECT_EQ(asserts.Texts(), Lines{"pT->m_pFilterGraphJoin == NULL || pGraph == NULL"});
        EXPECT_EQ(Filter().m_pFilterGraphJoin, m_graph.Graph());
        EXPECT_EQ(Utf8(Filter().m_szName), "Still");
    }

    EXPECT_EQ(Filter().JoinFilterGraph(nullptr, L"ignored"), S_OK);
    EXPECT_EQ(Filter().JoinFilterGraph(nullptr, nullptr), S_OK); // leaving twice is allowed
    EXPECT_EQ(Filter().m_pFilterGraphJoin, nullptr);
    EXPECT_EQ(Filter().m_pEventSink, nullptr);
    EXPECT_EQ(Filter().QueryFilterInfo(&info), S_OK);
    EXPECT_EQ(Utf8(info.achName), "");
    EXPECT_EQ(info.pGraph, nullptr);

    const Lines lines = Own(log);
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[0],
              "8 TestFilter IBaseFilterImpl::JoinFilterGraph( " + std::string(szGraph) + ", 'Still' )\n");
    EXPECT_EQ(lines[1], "8 TestFilter IBaseFilterImpl::QueryFilterInfo\n");
    EXPECT_EQ(lines[3], "8 TestFilter IBaseFilterImpl::JoinFilterGraph( 0x00000000, 'ignored' )\n");
    EXPECT_EQ(lines[4], "8 TestFilter IBaseFilterImpl::JoinFilterGraph( 0x00000000, '' )\n");
}

TEST_F(FilterTest, AGraphWithoutEventSinkRefusesTheJoin)
{
    m_graph.m_hrEventSink = E_NOINTERFACE;
    EXPECT_EQ(Filter().JoinFilterGraph(m_graph.Graph(), L"Still"), E_NOINTERFACE);
    EXPECT_EQ(Filter().m_pFilterGraphJoin, nullptr);
    EXPECT_EQ(Filter().m_pEventSink, nullptr);
    EXPECT_EQ(Utf8(Filter().m_szName), "");
    m_graph.m_hrEventSink = S_OK;
    EXPECT_EQ(Filter().JoinFilterGraph(m_graph.Graph(), nullptr), S_OK); // a name is not needed
    EXPECT_EQ(Utf8(Filter().m_szName), "");
}

TEST_F(FilterTest, NamesOfManyLengths)
{
    for (const size_t cch : {0u, 1u, 126u, 127u, 128u, 129u, 260u, 100000u})
    {
        const std::wstring sName(cch, L'n');
        EXPECT_EQ(Filter().JoinFilterGraph(m_graph.Graph(), sName.c_str()), S_OK);
        FILTER_INFO info;
        memset(&info, 0xEE, sizeof(info));
        EXPECT_EQ(Filter().QueryFilterInfo(&info), S_OK);
        EXPECT_EQ(Utf8(info.achName), std::string(std::min<size_t>(cch, 127), 'n'));
        info.pGraph->Release();
        Filter().JoinFilterGraph(nullptr, nullptr);
    }
}

TEST_F(FilterTest, QueryInterface)
{
    for (const IID& iid : {IID_IUnknown, IID_IPersist, IID_IMediaFilter, IID_IBaseFilter})
    {
        CComPtr<IUnknown> sp;
        EXPECT_EQ(Filter().QueryInterface(iid, reinterpret_cast<void**>(&sp)), S_OK);
    }
    CComPtr<IUnknown> sp;
    EXPECT_EQ(Filter().QueryInterface(IID_IPin, reinterpret_cast<void**>(&sp)), E_NOINTERFACE);
    EXPECT_EQ(PinItf()->QueryInterface(IID_IBaseFilter, reinterpret_cast<void**>(&sp)), E_NOINTERFACE);
}

TEST_F(FilterTest, PinNames)
{
    struct Row
    {
        LPCWSTR pszName;
        const char* pszExpected;
    };
    for (const Row& row : {Row{nullptr, "Out"}, Row{L"", "Out"}, Row{L"Other", "Other"}})
    {
        EXPECT_EQ(Filter().MakePin(row.pszName), S_OK);
        EXPECT_EQ(Utf8(Pin().m_szName), row.pszExpected);
        EXPECT_EQ(TestPin::s_nLiving, 1); // the earlier pin has gone
    }
    Filter().ClearPin();
    EXPECT_EQ(Filter().OutPin(), nullptr);
    EXPECT_EQ(TestPin::s_nLiving, 0);
    Filter().ClearPin();
}

TEST_F(FilterTest, AConnectedPinIsClearedWithALine)
{
    ASSERT_EQ(Connect(), S_OK);
    CComPtr<CComObject<TestPin>> spPin = m_spFilter->m_apOut;
    LogCapture log;
    AssertCapture asserts;
    Filter().ClearPin();
    EXPECT_EQ(asserts.Texts(), Lines{"!m_apOut->IsConnected()"});
    EXPECT_EQ(Own(log), Lines{"2 ###Err### TestFilter ClearPin(): Pin not disconnected\n"});
    EXPECT_EQ(spPin->m_pFilter, nullptr);
    EXPECT_EQ(spPin->Disconnect(), S_OK);
}

TEST_F(FilterTest, APinIsNotToBeClearedWhileTheFilterRuns)
{
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_EQ(Filter().Pause(), S_OK);
    CComPtr<CComObject<TestPin>> spPin = m_spFilter->m_apOut;
    {
        AssertCapture asserts;
        Filter().ClearPin();
        EXPECT_EQ(asserts.Texts(), (Lines{"static_cast<T*>(this)->FilterState() == State_Stopped",
                                          "!m_apOut->IsConnected()"}));
    }
    {
        AssertCapture asserts;
        m_spFilter.Release();
        EXPECT_EQ(asserts.Texts(), Lines{"m_eState == State_Stopped"});
    }
    EXPECT_EQ(spPin->Disconnect(), S_OK);
    EXPECT_FALSE(m_alloc.IsCommitted());
}

TEST_F(FilterTest, NoPinAtAll)
{
    Filter().ClearPin();
    EXPECT_EQ(Filter().Pause(), VFW_E_WRONG_STATE);
    EXPECT_EQ(Filter().Run(0), VFW_E_WRONG_STATE);
    EXPECT_EQ(Filter().Stop(), VFW_E_NOT_CONNECTED);
    CComPtr<IPin> spPin;
    EXPECT_EQ(Filter().FindPin(L"Video Out", &spPin), VFW_E_NOT_FOUND);
    CComPtr<IEnumPins> spEnum;
    EXPECT_EQ(Filter().EnumPins(&spEnum), S_OK);
    EXPECT_EQ(spEnum->Next(1, &spPin, nullptr), S_FALSE);
}
/// The name accessor is the last operation of IBaseFilter's table and the first of the object's own; the
/// creation of the pin follows there.
TEST_F(FilterTest, PlacesOfTheNameAccessor)
{
    using PFNNAME = LPCWSTR (*)(void*);
    IBaseFilter* pFilter = &Filter();
    const auto pInterface = *reinterpret_cast<PFNNAME**>(pFilter);
    EXPECT_EQ(Utf8(pInterface[15](pFilter)), "TestFilter"); // three of IUnknown, twelve of the interface
    void* pObject = &Filter();
    EXPECT_EQ(pObject, static_cast<CFilterCore*>(&Filter()));
    EXPECT_EQ(Utf8((*static_cast<PFNNAME**>(pObject))[0](pObject)), "TestFilter");
    using PFNCREATE = HRESULT (*)(void*);
    const CComPtr<IPin> spOld = PinItf();
    EXPECT_EQ((*static_cast<PFNCREATE**>(pObject))[1](pObject), S_OK);
    EXPECT_NE(PinItf(), spOld.p);
}

/// The outer object of an aggregate.
class Outer : public IUnknown
{
public:
    long m_nRefs = 0;
    STDMETHOD(QueryInterface)(REFIID, void** ppv) override
    {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++m_nRefs); }
    STDMETHOD_(ULONG, Release)() override { return static_cast<ULONG>(--m_nRefs); }
};

TEST_F(FilterTest, AggregatedFilterCountsInItsOuterObject)
{
    Outer outer;
    CComPtr<IUnknown> spInner;
    ASSERT_EQ(
        TestFilter::_CreatorClass::CreateInstance(&outer, IID_IUnknown, reinterpret_cast<void**>(&spInner)),
        S_OK);
    EXPECT_EQ(outer.m_nRefs, 0);
    CComPtr<IBaseFilter> spFilter;
    ASSERT_EQ(spInner->QueryInterface(IID_IBaseFilter, reinterpret_cast<void**>(&spFilter)), S_OK);
    EXPECT_EQ(outer.m_nRefs, 1);
    CComPtr<IEnumPins> spEnum;
    ASSERT_EQ(spFilter->EnumPins(&spEnum), S_OK);
    EXPECT_EQ(outer.m_nRefs, 2);
    CComPtr<IPin> spPin;
    ASSERT_EQ(spEnum->Next(1, &spPin, nullptr), S_OK);
    PIN_INFO info;
    ASSERT_EQ(spPin->QueryPinInfo(&info), S_OK);
    EXPECT_EQ(info.pFilter, spFilter.p);
    EXPECT_EQ(outer.m_nRefs, 3);
    info.pFilter->Release();
    spEnum.Release();
    spFilter.Release();
    EXPECT_EQ(outer.m_nRefs, 0);
    spInner.Release();
    EXPECT_EQ(TestFilter::s_nLiving, 1); // the fixture's
    ASSERT_EQ(spPin->QueryPinInfo(&info), S_OK);
    EXPECT_EQ(info.pFilter, nullptr);
}
} // namespace
