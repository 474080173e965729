// Which interfaces the objects answer, which they do not, and that each object has one identity.
#include "Conformance.h"

#include <control.h>
#include <ocidl.h>

#include <thread>

namespace
{

struct Asked
{
    const char* pszName;
    IID iid;
};

/// Each query has to lead to the same identity, from every interface to every other.
void ExpectAnswers(IUnknown* pObject, const std::vector<Asked>& arrAsked)
{
    CComPtr<IUnknown> spIdentity;
    ASSERT_EQ(pObject->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&spIdentity)), S_OK);
    const ULONG nBefore = Refs(spIdentity.p);
    for (const Asked& from : arrAsked)
    {
        CComPtr<IUnknown> spFrom;
        ASSERT_EQ(pObject->QueryInterface(from.iid, reinterpret_cast<void**>(&spFrom)), S_OK) << from.pszName;
        EXPECT_EQ(Refs(spIdentity.p), nBefore + 1) << from.pszName;
        for (const Asked& to : arrAsked)
        {
            CComPtr<IUnknown> spTo, spUnknown;
            EXPECT_EQ(spFrom->QueryInterface(to.iid, reinterpret_cast<void**>(&spTo)), S_OK)
                << from.pszName << " to " << to.pszName;
            EXPECT_EQ(spFrom->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&spUnknown)), S_OK);
            EXPECT_EQ(spUnknown.p, spIdentity.p) << from.pszName << " to " << to.pszName;
        }
        EXPECT_EQ(spFrom->QueryInterface(from.iid, nullptr), E_POINTER) << from.pszName;
    }
    EXPECT_EQ(Refs(spIdentity.p), nBefore);
}

void ExpectRefuses(IUnknown* pObject, const std::vector<Asked>& arrAsked)
{
    const ULONG nBefore = Refs(pObject);
    for (const Asked& row : arrAsked)
    {
        void* pv = &pv;
        EXPECT_EQ(pObject->QueryInterface(row.iid, &pv), E_NOINTERFACE) << row.pszName;
        EXPECT_EQ(pv, nullptr) << row.pszName;
    }
    EXPECT_EQ(Refs(pObject), nBefore);
}

const Asked g_rowNull = {"GUID_NULL", GUID_NULL};

TEST_F(Conformance, InterfacesOfTheFilter)
{
    ExpectAnswers(m_spFilter, {{"IUnknown", IID_IUnknown},
                               {"IPersist", IID_IPersist},
                               {"IMediaFilter", IID_IMediaFilter},
                               {"IBaseFilter", IID_IBaseFilter},
                               {"IFileSourceFilter", IID_IFileSourceFilter},
                               {"IQXStillSource", __uuidof(IQXStillSource)}});
    // Seeking, quality and pages belong to the pin.
    ExpectRefuses(m_spFilter, {g_rowNull,
                               {"IPin", IID_IPin},
                               {"IMemInputPin", IID_IMemInputPin},
                               {"IMediaSeeking", IID_IMediaSeeking},
                               {"IMediaPosition", IID_IMediaPosition},
                               {"IQualityControl", IID_IQualityControl},
                               {"ISpecifyPropertyPages", IID_ISpecifyPropertyPages},
                               {"IAMStreamConfig", IID_IAMStreamConfig},
                               {"IAMFilterMiscFlags", IID_IAMFilterMiscFlags},
                               {"IPersistStream", IID_IPersistStream},
                               {"IReferenceClock", IID_IReferenceClock},
                               {"IDispatch", IID_IDispatch},
                               {"IClassFactory", IID_IClassFactory}});
}

TEST_F(Conformance, InterfacesOfThePin)
{
    ExpectAnswers(m_spPin, {{"IUnknown", IID_IUnknown},
                            {"IPin", IID_IPin},
                            {"IQualityControl", IID_IQualityControl},
                            {"IMediaSeeking", IID_IMediaSeeking},
                            {"IAMStreamConfig", IID_IAMStreamConfig}});
    ExpectRefuses(m_spPin, {g_rowNull,
                            {"IBaseFilter", IID_IBaseFilter},
                            {"IPersist", IID_IPersist},
                            {"IMemInputPin", IID_IMemInputPin},
                            {"IMemAllocator", IID_IMemAllocator},
                            {"IAsyncReader", IID_IAsyncReader},
                            {"IMediaPosition", IID_IMediaPosition},
                            {"IAMStreamControl", IID_IAMStreamControl},
                            {"IAMBufferNegotiation", IID_IAMBufferNegotiation},
                            {"IAMPushSource", IID_IAMPushSource},
                            {"IFileSourceFilter", IID_IFileSourceFilter},
                            {"IQXStillSource", __uuidof(IQXStillSource)},
                            {"IDispatch", IID_IDispatch}});
}

TEST_F(Conformance, InterfacesOfTheEnumerators)
{
    CComPtr<IEnumPins> spPins;
    ASSERT_EQ(Filter().EnumPins(&spPins), S_OK);
    ExpectAnswers(spPins, {{"IUnknown", IID_IUnknown}, {"IEnumPins", IID_IEnumPins}});
    ExpectRefuses(spPins, {g_rowNull,
                           {"IEnumMediaTypes", IID_IEnumMediaTypes},
                           {"IBaseFilter", IID_IBaseFilter},
                           {"IPin", IID_IPin}});
    CComPtr<IEnumMediaTypes> spTypes;
    ASSERT_EQ(Pin().EnumMediaTypes(&spTypes), S_OK);
    ExpectAnswers(spTypes, {{"IUnknown", IID_IUnknown}, {"IEnumMediaTypes", IID_IEnumMediaTypes}});
    ExpectRefuses(spTypes, {g_rowNull, {"IEnumPins", IID_IEnumPins}, {"IPin", IID_IPin}});
}

TEST_F(Conformance, InterfacesOfTheAllocatorAndTheSample)
{
    m_pOffered = nullptr;
    ASSERT_EQ(Connect(), S_OK);
    const CComPtr<IMemAllocator> spAllocator(m_sink.m_pin.NotifiedAllocator());
    ASSERT_TRUE(spAllocator);
    ExpectAnswers(spAllocator, {{"IUnknown", IID_IUnknown},
                                {"IMemAllocator", IID_IMemAllocator},
                                {"IMemAllocatorCallbackTemp", IID_IMemAllocatorCallbackTemp},
                                {"IMemAllocatorEx", __uuidof(IMemAllocatorEx)}});
    ExpectRefuses(spAllocator, {g_rowNull, {"IMediaSample", IID_IMediaSample}, {"IPin", IID_IPin}});

    ASSERT_EQ(spAllocator->Commit(), S_OK);
    CComPtr<IMediaSample> spSample;
    ASSERT_EQ(spAllocator->GetBuffer(&spSample, nullptr, nullptr, 0), S_OK);
    ExpectAnswers(spSample, {{"IUnknown", IID_IUnknown},
                             {"IMediaSample", IID_IMediaSample},
                             {"IMediaSample2", IID_IMediaSample2}});
    ExpectRefuses(spSample, {g_rowNull, {"IMemAllocator", IID_IMemAllocator}, {"IPin", IID_IPin}});
    EXPECT_EQ(ReleaseLast(spSample), 0u);
    EXPECT_EQ(spAllocator->Decommit(), S_OK);
}

TEST_F(Conformance, InterfacesOfTheFactory)
{
    CComPtr<IClassFactory> spFactory;
    ASSERT_EQ(CoGetClassObject(CLSID_CoQXStillSource, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                               reinterpret_cast<void**>(&spFactory)),
              S_OK);
    ExpectAnswers(spFactory, {{"IUnknown", IID_IUnknown}, {"IClassFactory", IID_IClassFactory}});
    ExpectRefuses(spFactory, {g_rowNull, {"IBaseFilter", IID_IBaseFilter}, {"IDispatch", IID_IDispatch}});
    void* pv = &pv;
    EXPECT_EQ(spFactory->CreateInstance(nullptr, IID_IPin, &pv), E_NOINTERFACE);
    EXPECT_EQ(pv, nullptr);
    EXPECT_EQ(spFactory->CreateInstance(nullptr, IID_IBaseFilter, nullptr), E_POINTER);
}

/// The page that the pin names is registered, and it is one. It belongs to an apartment of its own.
TEST_F(Conformance, ThePageOfThePin)
{
    const CComPtr<ISpecifyPropertyPages> spPages = Interface<ISpecifyPropertyPages>(m_spPin);
    ASSERT_TRUE(spPages);
    CAUUID pages{};
    ASSERT_EQ(spPages->GetPages(&pages), S_OK);
    ASSERT_EQ(pages.cElems, 1u);
    EXPECT_EQ(pages.pElems[0], CLSID_QXStillSourcePage);
    CoTaskMemFree(pages.pElems);
    std::thread apartment(
        []
        {
            ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
            CComPtr<IPropertyPage> spPage;
            ASSERT_EQ(CoCreateInstance(CLSID_QXStillSourcePage, nullptr, CLSCTX_INPROC_SERVER,
                                       IID_IPropertyPage, reinterpret_cast<void**>(&spPage)),
                      S_OK);
            ExpectAnswers(spPage, {{"IUnknown", IID_IUnknown}, {"IPropertyPage", IID_IPropertyPage}});
            ExpectRefuses(spPage,
                          {g_rowNull, {"IBaseFilter", IID_IBaseFilter}, {"IDispatch", IID_IDispatch}});
            EXPECT_EQ(ReleaseLast(spPage), 0u);
            CoUninitialize();
        });
    apartment.join();
}

TEST_F(Conformance, TheClassIsTheOneThatWasAskedFor)
{
    CLSID clsid = CLSID_NULL;
    EXPECT_EQ(Filter().GetClassID(&clsid), S_OK);
    EXPECT_EQ(clsid, CLSID_CoQXStillSource);

    CLSID clsidByName = CLSID_NULL;
    EXPECT_EQ(CLSIDFromProgID(L"QXStillSource.CoQXStillSource.1", &clsidByName), S_OK);
    EXPECT_EQ(clsidByName, CLSID_CoQXStillSource);
    EXPECT_EQ(CLSIDFromProgID(L"QXStillSource.CoQXStillSource", &clsidByName), S_OK);
    EXPECT_EQ(clsidByName, CLSID_CoQXStillSource);
}

} // namespace
