// The filter as a part of another object: identity, delegation, counts.
#include "Conformance.h"

namespace
{

/// An outer object that counts, hands on what it does not know, and has an interface of its own.
class Outer : public IAMFilterMiscFlags
{
public:
    STDMETHOD(QueryInterface)(REFIID riid, void** ppv) override
    {
        ++m_nQueries;
        if (IsEqualGUID(riid, IID_IUnknown) || IsEqualGUID(riid, IID_IAMFilterMiscFlags))
        {
            *ppv = static_cast<IAMFilterMiscFlags*>(this);
            AddRef();
            return S_OK;
        }
        if (m_spInner)
            return m_spInner->QueryInterface(riid, ppv);
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(InterlockedIncrement(&m_nRefs)); }
    STDMETHOD_(ULONG, Release)() override { return static_cast<ULONG>(InterlockedDecrement(&m_nRefs)); }
    STDMETHOD_(ULONG, GetMiscFlags)() override { return AM_FILTER_MISC_FLAGS_IS_SOURCE; }

    IUnknown* Unknown() { return this; }

    LONG m_nRefs = 1;
    int m_nQueries = 0;
    CComPtr<IUnknown> m_spInner;
};

class Aggregation : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
        ASSERT_EQ(CoCreateInstance(CLSID_CoQXStillSource, m_outer.Unknown(), CLSCTX_INPROC_SERVER,
                                   IID_IUnknown, reinterpret_cast<void**>(&m_outer.m_spInner)),
                  S_OK);
        EXPECT_EQ(m_outer.m_nRefs, 1);
    }
    void TearDown() override
    {
        EXPECT_EQ(m_outer.m_nRefs, 1);
        if (m_outer.m_spInner)
        {
            EXPECT_EQ(ReleaseLast(m_outer.m_spInner), 0u);
        }
        EXPECT_EQ(m_outer.m_nRefs, 1);
        EXPECT_EQ(m_sink.m_pin.Refs(), 0);
        EXPECT_EQ(m_alloc.Refs(), 0);
        EXPECT_EQ(m_graph.Refs(), 0);
        const HMODULE hModule = GetModuleHandleW(L"QXStillSource.dll");
        if (hModule != nullptr)
        {
            using CanUnload = HRESULT(STDAPICALLTYPE*)();
            EXPECT_EQ(reinterpret_cast<CanUnload>(
                          reinterpret_cast<void*>(GetProcAddress(hModule, "DllCanUnloadNow")))(),
                      S_OK);
        }
        CoUninitialize();
    }

    CallLog m_log;
    FakeGraph m_graph{&m_log};
    FakeFilter m_sink{&m_log};
    FakeAllocator m_alloc{&m_log};
    Outer m_outer;
};

/// An outer object may only ask for IUnknown: that one alone is its own to keep.
TEST_F(Aggregation, OnlyTheUnknown)
{
    for (const IID& iid : {IID_IBaseFilter, IID_IPersist, __uuidof(IQXStillSource)})
    {
        void* pv = &pv;
        EXPECT_EQ(CoCreateInstance(CLSID_CoQXStillSource, m_outer.Unknown(), CLSCTX_INPROC_SERVER, iid, &pv),
                  CLASS_E_NOAGGREGATION);
        EXPECT_EQ(pv, nullptr);
    }
}

TEST_F(Aggregation, IdentityAndDelegation)
{
    // The inner unknown has an identity and a count of its own.
    CComPtr<IUnknown> spInner;
    EXPECT_EQ(m_outer.m_spInner->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&spInner)), S_OK);
    EXPECT_EQ(spInner.p, m_outer.m_spInner.p);
    EXPECT_NE(spInner.p, m_outer.Unknown());
    EXPECT_EQ(m_outer.m_nRefs, 1);
    EXPECT_EQ(Refs(spInner.p), 2u);
    spInner.Release();

    for (const IID& iid :
         {IID_IPersist, IID_IMediaFilter, IID_IBaseFilter, IID_IFileSourceFilter, __uuidof(IQXStillSource)})
    {
        CComPtr<IUnknown> sp;
        ASSERT_EQ(m_outer.QueryInterface(iid, reinterpret_cast<void**>(&sp)), S_OK);
        EXPECT_EQ(m_outer.m_nRefs, 2);
        // Counting goes to the outer object.
        EXPECT_EQ(sp->AddRef(), 3u);
        EXPECT_EQ(m_outer.m_nRefs, 3);
        EXPECT_EQ(sp->Release(), 2u);
        EXPECT_EQ(Refs(m_outer.m_spInner.p), 1u);
        // Queries too: the outer object's identity, and its own interface.
        const int nQueries = m_outer.m_nQueries;
        CComPtr<IUnknown> spIdentity;
        EXPECT_EQ(sp->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&spIdentity)), S_OK);
        EXPECT_EQ(spIdentity.p, m_outer.Unknown());
        const CComPtr<IAMFilterMiscFlags> spFlags = Interface<IAMFilterMiscFlags>(sp);
        ASSERT_TRUE(spFlags);
        EXPECT_EQ(spFlags->GetMiscFlags(), ULONG{AM_FILTER_MISC_FLAGS_IS_SOURCE});
        EXPECT_EQ(m_outer.m_nQueries, nQueries + 2);
        void* pv = &pv;
        EXPECT_EQ(sp->QueryInterface(IID_IPin, &pv), E_NOINTERFACE);
        EXPECT_EQ(pv, nullptr);
    }
}

/// Whoever reaches the filter through its parts reaches the outer object.
TEST_F(Aggregation, PartsLeadToTheOuterObject)
{
    const CComPtr<IBaseFilter> spFilter = Interface<IBaseFilter>(m_outer.Unknown());
    ASSERT_TRUE(spFilter);
    CComPtr<IEnumPins> spPins;
    ASSERT_EQ(spFilter->EnumPins(&spPins), S_OK);
    EXPECT_EQ(m_outer.m_nRefs, 3); // an enumerator holds its filter
    CComPtr<IPin> spPin;
    ASSERT_EQ(spPins->Next(1, &spPin, nullptr), S_OK);
    PIN_INFO info{};
    ASSERT_EQ(spPin->QueryPinInfo(&info), S_OK);
    EXPECT_EQ(info.pFilter, spFilter.p);
    CComPtr<IUnknown> spIdentity;
    EXPECT_EQ(info.pFilter->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&spIdentity)), S_OK);
    EXPECT_EQ(spIdentity.p, m_outer.Unknown());
    info.pFilter->Release();
    EXPECT_EQ(m_outer.m_nRefs, 4);
}

TEST_F(Aggregation, StreamsLikeAnyOther)
{
    const CComPtr<IBaseFilter> spFilter = Interface<IBaseFilter>(m_outer.Unknown());
    ASSERT_TRUE(spFilter);
    EXPECT_EQ(m_graph.AddFilter(spFilter, L"part"), S_OK);
    CComPtr<IPin> spPin;
    ASSERT_EQ(spFilter->FindPin(L"Video Out", &spPin), S_OK);
    m_sink.m_pin.m_pAllocator = &m_alloc;
    ASSERT_EQ(spPin->Connect(&m_sink.m_pin, nullptr), S_OK);
    ASSERT_EQ(spFilter->Run(0), S_OK);
    EXPECT_TRUE(m_log.WaitFor("in.Receive", 3));
    EXPECT_TRUE(EndsInTime([&] { EXPECT_EQ(spFilter->Stop(), S_OK); }));
    EXPECT_EQ(spPin->Disconnect(), S_OK);
    EXPECT_EQ(spFilter->JoinFilterGraph(nullptr, nullptr), S_OK);
    spPin.Release();
}

} // namespace
