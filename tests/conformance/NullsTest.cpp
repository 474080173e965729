// Every operation of every object with each pointer null, one at a time: the result, the assertion, no crash.
#include "Conformance.h"

#include <ocidl.h>

#include <functional>
#include <thread>

namespace
{

struct NullRow
{
    const char* pszCall;
    std::function<HRESULT()> fnCall;
    HRESULT hr;
    Lines asserts;
};

class Nulls : public Conformance
{
protected:
    void ExpectRows(const std::vector<NullRow>& rows)
    {
        for (const NullRow& row : rows)
        {
            m_trace.Clear();
            EXPECT_EQ(row.fnCall(), row.hr) << row.pszCall;
            EXPECT_EQ(Asserts(), row.asserts) << row.pszCall;
        }
    }
};

TEST_F(Nulls, Filter)
{
    IBaseFilter& f = Filter();
    FILTER_INFO info{};
    CComPtr<IPin> spPin;
    ExpectRows({
        {"QueryInterface", [&] { return f.QueryInterface(IID_IUnknown, nullptr); }, E_POINTER, {}},
        {"GetClassID", [&] { return f.GetClassID(nullptr); }, E_INVALIDARG, {"pClassID != NULL"}},
        {"GetState", [&] { return f.GetState(0, nullptr); }, E_POINTER, {"State != NULL"}},
        {"SetSyncSource", [&] { return f.SetSyncSource(nullptr); }, S_OK, {}},
        {"GetSyncSource", [&] { return f.GetSyncSource(nullptr); }, E_POINTER, {}},
        {"EnumPins", [&] { return f.EnumPins(nullptr); }, E_POINTER, {"ppEnum != NULL"}},
        {"FindPin, name",
         [&] { return f.FindPin(nullptr, &spPin); },
         E_POINTER,
         {"ppPin != NULL && Id != NULL"}},
        {"FindPin, pin",
         [&] { return f.FindPin(L"Video Out", nullptr); },
         E_POINTER,
         {"ppPin != NULL && Id != NULL"}},
        {"QueryFilterInfo", [&] { return f.QueryFilterInfo(nullptr); }, E_INVALIDARG, {"pInfo != NULL"}},
        {"JoinFilterGraph, name", [&] { return f.JoinFilterGraph(m_graph.Graph(), nullptr); }, S_OK, {}},
        {"JoinFilterGraph, both", [&] { return f.JoinFilterGraph(nullptr, nullptr); }, S_OK, {}},
        {"JoinFilterGraph, graph", [&] { return f.JoinFilterGraph(nullptr, L"name"); }, S_OK, {}},
        {"QueryVendorInfo", [&] { return f.QueryVendorInfo(nullptr); }, E_NOTIMPL, {}},
    });
    EXPECT_EQ(f.QueryFilterInfo(&info), S_OK);
    EXPECT_EQ(info.pGraph, nullptr);
    EXPECT_STREQ(info.achName, L"");
}

TEST_F(Nulls, ControlAndFile)
{
    IQXStillSource& c = Control();
    const CComPtr<IFileSourceFilter> spFile = Interface<IFileSourceFilter>(m_spFilter);
    ASSERT_TRUE(spFile);
    CComBSTR bsName;
    int nWidth = 0, nHeight = 0;
    LPOLESTR pszName = nullptr;
    AM_MEDIA_TYPE mt{};
    ExpectRows({
        {"SetOutputFormat", [&] { return c.SetOutputFormat(nullptr, 0, 0); }, S_OK, {}},
        {"GetOutputFormat, name", [&] { return c.GetOutputFormat(nullptr, &nWidth, &nHeight); }, S_OK, {}},
        {"GetOutputFormat, width", [&] { return c.GetOutputFormat(&bsName, nullptr, &nHeight); }, S_OK, {}},
        {"GetOutputFormat, height",
         [&]
         {
             bsName.Empty();
             return c.GetOutputFormat(&bsName, &nWidth, nullptr);
         },
         S_OK,
         {}},
        {"GetOutputFormat, all", [&] { return c.GetOutputFormat(nullptr, nullptr, nullptr); }, S_OK, {}},
        {"GetFrameRate", [&] { return c.GetFrameRate(nullptr); }, E_POINTER, {}},
        {"SetPicture", [&] { return c.SetPicture(nullptr); }, S_OK, {}}, // the bars
        {"SetPictureHandle", [&] { return c.SetPictureHandle(0); }, E_INVALIDARG, {}},
        {"SetOutputProps", [&] { return c.SetOutputProps(nullptr); }, E_POINTER, {}},
        {"GetOutputProps", [&] { return c.GetOutputProps(nullptr); }, E_POINTER, {}},
        {"Load, both", [&] { return spFile->Load(nullptr, nullptr); }, S_OK, {}},
        {"Load, name", [&] { return spFile->Load(nullptr, &mt); }, S_OK, {}},
        {"Load, type", [&] { return spFile->Load(L"red", nullptr); }, S_OK, {}},
        {"GetCurFile, both",
         [&] { return spFile->GetCurFile(nullptr, nullptr); },
         E_POINTER,
         {"ppszFileName"}},
        {"GetCurFile, name", [&] { return spFile->GetCurFile(nullptr, &mt); }, E_POINTER, {"ppszFileName"}},
        {"GetCurFile, type", [&] { return spFile->GetCurFile(&pszName, nullptr); }, S_OK, {}},
    });
    EXPECT_STREQ(pszName, L"red");
    CoTaskMemFree(pszName);
}

TEST_F(Nulls, Pin)
{
    IPin& p = Pin();
    IPin* pPin = nullptr;
    ULONG nPins = 0;
    const CMType mt = Offered();
    ExpectRows({
        {"QueryInterface", [&] { return p.QueryInterface(IID_IUnknown, nullptr); }, E_POINTER, {}},
        {"Connect, both", [&] { return p.Connect(nullptr, nullptr); }, E_POINTER, {"pReceivePin != NULL"}},
        {"Connect, pin", [&] { return p.Connect(nullptr, &mt); }, E_POINTER, {"pReceivePin != NULL"}},
        {"Connect, type", [&] { return p.Connect(&m_sink.m_pin, nullptr); }, S_OK, {}},
        {"ReceiveConnection", [&] { return p.ReceiveConnection(nullptr, nullptr); }, E_NOTIMPL, {}},
        {"ConnectedTo", [&] { return p.ConnectedTo(nullptr); }, E_POINTER, {"ppPin != NULL"}},
        {"ConnectionMediaType", [&] { return p.ConnectionMediaType(nullptr); }, E_POINTER, {"pmt != NULL"}},
        {"QueryPinInfo", [&] { return p.QueryPinInfo(nullptr); }, E_POINTER, {"pInfo != NULL"}},
        {"QueryDirection", [&] { return p.QueryDirection(nullptr); }, E_POINTER, {"pPinDir != NULL"}},
        {"QueryId", [&] { return p.QueryId(nullptr); }, E_POINTER, {"Id != NULL"}},
        {"QueryAccept", [&] { return p.QueryAccept(nullptr); }, S_FALSE, {"pmt != NULL"}},
        {"EnumMediaTypes", [&] { return p.EnumMediaTypes(nullptr); }, E_POINTER, {"ppEnum != NULL"}},
        {"QueryInternalConnections, pins",
         [&] { return p.QueryInternalConnections(nullptr, &nPins); },
         E_NOTIMPL,
         {}},
        {"QueryInternalConnections, count",
         [&] { return p.QueryInternalConnections(&pPin, nullptr); },
         E_NOTIMPL,
         {}},
    });
    Disconnect();
}

TEST_F(Nulls, StreamConfig)
{
    IAMStreamConfig& c = Config();
    int nCount = 0, nSize = 0;
    AM_MEDIA_TYPE* pmt = nullptr;
    VIDEO_STREAM_CONFIG_CAPS caps{};
    ExpectRows({
        {"QueryInterface", [&] { return c.QueryInterface(IID_IUnknown, nullptr); }, E_POINTER, {}},
        {"SetFormat", [&] { return c.SetFormat(nullptr); }, E_POINTER, {}},
        {"GetFormat", [&] { return c.GetFormat(nullptr); }, E_POINTER, {}},
        {"GetNumberOfCapabilities, count",
         [&] { return c.GetNumberOfCapabilities(nullptr, &nSize); },
         E_POINTER,
         {}},
        {"GetNumberOfCapabilities, size",
         [&] { return c.GetNumberOfCapabilities(&nCount, nullptr); },
         E_POINTER,
         {}},
        {"GetStreamCaps, type",
         [&] { return c.GetStreamCaps(0, nullptr, reinterpret_cast<BYTE*>(&caps)); },
         E_POINTER,
         {}},
        {"GetStreamCaps, caps", [&] { return c.GetStreamCaps(0, &pmt, nullptr); }, E_POINTER, {}},
    });
    EXPECT_EQ(pmt, nullptr);
}

TEST_F(Nulls, SeekingAndQuality)
{
    const CComPtr<IMediaSeeking> spSeeking = Interface<IMediaSeeking>(m_spPin);
    const CComPtr<IQualityControl> spQuality = Interface<IQualityControl>(m_spPin);
    ASSERT_TRUE(spSeeking);
    ASSERT_TRUE(spQuality);
    IMediaSeeking& s = *spSeeking;
    LONGLONG n = 0;
    GUID guid = TIME_FORMAT_MEDIA_TIME;
    ExpectRows({
        {"QueryInterface", [&] { return s.QueryInterface(IID_IUnknown, nullptr); }, E_POINTER, {}},
        {"GetCapabilities", [&] { return s.GetCapabilities(nullptr); }, E_POINTER, {"pCapabilities != NULL"}},
        {"CheckCapabilities",
         [&] { return s.CheckCapabilities(nullptr); },
         E_POINTER,
         {"pCapabilities != NULL"}},
        {"IsFormatSupported", [&] { return s.IsFormatSupported(nullptr); }, E_POINTER, {"pFormat != NULL"}},
        {"QueryPreferredFormat",
         [&] { return s.QueryPreferredFormat(nullptr); },
         E_POINTER,
         {"pFormat != NULL"}},
        {"GetTimeFormat", [&] { return s.GetTimeFormat(nullptr); }, E_POINTER, {"pFormat != NULL"}},
        {"IsUsingTimeFormat", [&] { return s.IsUsingTimeFormat(nullptr); }, E_POINTER, {"pFormat != NULL"}},
        {"SetTimeFormat", [&] { return s.SetTimeFormat(nullptr); }, E_POINTER, {"pFormat != NULL"}},
        {"GetDuration", [&] { return s.GetDuration(nullptr); }, E_POINTER, {"pDuration != NULL"}},
        {"GetStopPosition", [&] { return s.GetStopPosition(nullptr); }, E_POINTER, {"pStop != NULL"}},
        {"GetCurrentPosition",
         [&] { return s.GetCurrentPosition(nullptr); },
         E_POINTER,
         {"pCurrent != NULL"}},
        {"ConvertTimeFormat, target",
         [&] { return s.ConvertTimeFormat(nullptr, &guid, 0, &guid); },
         E_POINTER,
         {"pTarget != NULL"}},
        {"ConvertTimeFormat, formats",
         [&] { return s.ConvertTimeFormat(&n, nullptr, 0, nullptr); },
         E_NOTIMPL,
         {}},
        {"SetPositions, both",
         [&] {
             return s.SetPositions(nullptr, AM_SEEKING_AbsolutePositioning, nullptr,
                                   AM_SEEKING_RelativePositioning);
         },
         S_OK,
         {}},
        {"SetPositions, current",
         [&] { return s.SetPositions(nullptr, AM_SEEKING_AbsolutePositioning, &n, 0); },
         S_OK,
         {}},
        {"SetPositions, stop",
         [&] { return s.SetPositions(&n, 0, nullptr, AM_SEEKING_AbsolutePositioning); },
         S_OK,
         {}},
        {"GetPositions, both", [&] { return s.GetPositions(nullptr, nullptr); }, S_OK, {}},
        {"GetPositions, current", [&] { return s.GetPositions(nullptr, &n); }, S_OK, {}},
        {"GetPositions, stop", [&] { return s.GetPositions(&n, nullptr); }, S_OK, {}},
        {"GetAvailable, earliest",
         [&] { return s.GetAvailable(nullptr, &n); },
         E_POINTER,
         {"pEarliest != NULL"}},
        {"GetAvailable, latest", [&] { return s.GetAvailable(&n, nullptr); }, E_POINTER, {"pLatest != NULL"}},
        {"GetRate", [&] { return s.GetRate(nullptr); }, E_POINTER, {"pdRate != NULL"}},
        {"GetPreroll", [&] { return s.GetPreroll(nullptr); }, E_POINTER, {"pllPreroll != NULL"}},
        {"Notify",
         [&] {
             return spQuality->Notify(nullptr, Quality{Famine, 1000, 0, 0});
         },
         S_OK,
         {}},
        {"SetSink",
         [&] { return spQuality->SetSink(nullptr); },
         E_NOTIMPL,
         {"IQualityControl::SetSink() called on an output pin"}},
    });
}

TEST_F(Nulls, PagesAndPage)
{
    const CComPtr<ISpecifyPropertyPages> spPages = Interface<ISpecifyPropertyPages>(m_spPin);
    ASSERT_TRUE(spPages);
    std::thread apartment(
        [&]
        {
            ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
            CComPtr<IPropertyPage> spPage;
            ASSERT_EQ(CoCreateInstance(CLSID_QXStillSourcePage, nullptr, CLSCTX_INPROC_SERVER,
                                       IID_IPropertyPage, reinterpret_cast<void**>(&spPage)),
                      S_OK);
            IPropertyPage& p = *spPage;
            IUnknown* arrNone[] = {nullptr};
            ExpectRows({
                {"GetPages", [&] { return spPages->GetPages(nullptr); }, E_POINTER, {}},
                {"QueryInterface", [&] { return p.QueryInterface(IID_IUnknown, nullptr); }, E_POINTER, {}},
                {"SetPageSite", [&] { return p.SetPageSite(nullptr); }, S_OK, {}},
                {"Activate", [&] { return p.Activate(nullptr, nullptr, FALSE); }, E_POINTER, {}},
                {"GetPageInfo", [&] { return p.GetPageInfo(nullptr); }, E_POINTER, {}},
                {"SetObjects, none", [&] { return p.SetObjects(0, nullptr); }, S_OK, {}},
                {"SetObjects, array", [&] { return p.SetObjects(1, nullptr); }, E_POINTER, {}},
                {"SetObjects, object", [&] { return p.SetObjects(1, arrNone); }, E_POINTER, {}},
                {"Move", [&] { return p.Move(nullptr); }, E_POINTER, {}},
                {"Help", [&] { return p.Help(nullptr); }, E_NOTIMPL, {}},
                {"TranslateAccelerator", [&] { return p.TranslateAccelerator(nullptr); }, E_POINTER, {}},
                {"Apply", [&] { return p.Apply(); }, S_OK, {}},
            });
            spPage.Release();
            CoUninitialize();
        });
    apartment.join();
}

TEST_F(Nulls, EnumeratorsAndFactory)
{
    CComPtr<IEnumPins> spPins;
    ASSERT_EQ(Filter().EnumPins(&spPins), S_OK);
    CComPtr<IEnumMediaTypes> spTypes;
    ASSERT_EQ(Pin().EnumMediaTypes(&spTypes), S_OK);
    CComPtr<IClassFactory> spFactory;
    ASSERT_EQ(CoGetClassObject(CLSID_CoQXStillSource, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                               reinterpret_cast<void**>(&spFactory)),
              S_OK);
    ULONG n = 0;
    ExpectRows({
        {"pins, QueryInterface",
         [&] { return spPins->QueryInterface(IID_IUnknown, nullptr); },
         E_POINTER,
         {}},
        {"pins, Next", [&] { return spPins->Next(1, nullptr, &n); }, E_POINTER, {}},
        {"pins, Clone", [&] { return spPins->Clone(nullptr); }, E_POINTER, {"ppEnum != NULL"}},
        {"types, QueryInterface",
         [&] { return spTypes->QueryInterface(IID_IUnknown, nullptr); },
         E_POINTER,
         {}},
        {"types, Next", [&] { return spTypes->Next(1, nullptr, &n); }, E_POINTER, {}},
        {"types, Clone", [&] { return spTypes->Clone(nullptr); }, E_POINTER, {"ppEnum != NULL"}},
        {"factory, QueryInterface",
         [&] { return spFactory->QueryInterface(IID_IUnknown, nullptr); },
         E_POINTER,
         {}},
        {"factory, CreateInstance",
         [&] { return spFactory->CreateInstance(nullptr, IID_IUnknown, nullptr); },
         E_POINTER,
         {}},
    });
}

TEST_F(Nulls, AllocatorAndSample)
{
    m_pOffered = nullptr;
    ASSERT_EQ(Connect(), S_OK);
    const CComPtr<IMemAllocatorCallbackTemp> spAllocator =
        Interface<IMemAllocatorCallbackTemp>(m_sink.m_pin.NotifiedAllocator());
    ASSERT_TRUE(spAllocator);
    const CComPtr<IMemAllocatorEx> spEx = Interface<IMemAllocatorEx>(spAllocator);
    ASSERT_TRUE(spEx);
    IMemAllocatorCallbackTemp& a = *spAllocator;
    ALLOCATOR_PROPERTIES props = {2, 829440, 1, 0}, actual{};
    CComPtr<IMediaSample> spSample;
    ExpectRows({
        {"QueryInterface", [&] { return a.QueryInterface(IID_IUnknown, nullptr); }, E_POINTER, {}},
        {"SetProperties, request",
         [&] { return a.SetProperties(nullptr, &actual); },
         E_POINTER,
         {"pRequest != NULL"}},
        {"SetProperties, actual",
         [&] { return a.SetProperties(&props, nullptr); },
         E_POINTER,
         {"pActual != NULL"}},
        {"GetProperties", [&] { return a.GetProperties(nullptr); }, E_POINTER, {"pProps != NULL"}},
        {"SetNotify", [&] { return a.SetNotify(nullptr); }, S_OK, {}},
        {"GetFreeCount", [&] { return a.GetFreeCount(nullptr); }, E_POINTER, {"plBuffersFree != NULL"}},
        {"ReleaseBuffer", [&] { return a.ReleaseBuffer(nullptr); }, E_POINTER, {"pSample != NULL"}},
        {"GetBuffer, stopped",
         [&] { return a.GetBuffer(nullptr, nullptr, nullptr, 0); },
         E_POINTER,
         {"ppSample != NULL"}},
        {"SetMediaType", [&] { return spEx->SetMediaType(nullptr); }, S_OK, {}},
        {"Commit", [&] { return a.Commit(); }, S_OK, {}},
        {"GetBuffer",
         [&] { return a.GetBuffer(nullptr, nullptr, nullptr, 0); },
         E_POINTER,
         {"ppSample != NULL"}},
        {"GetBuffer, times", [&] { return a.GetBuffer(&spSample, nullptr, nullptr, 0); }, S_OK, {}},
    });
    ASSERT_TRUE(spSample);
    const CComPtr<IMediaSample2> spSample2 = Interface<IMediaSample2>(spSample);
    ASSERT_TRUE(spSample2);
    IMediaSample2& s = *spSample2;
    REFERENCE_TIME t = 5;
    BYTE record[sizeof(AM_SAMPLE2_PROPERTIES)] = {};
    ExpectRows({
        {"QueryInterface", [&] { return s.QueryInterface(IID_IUnknown, nullptr); }, E_POINTER, {}},
        {"GetPointer", [&] { return s.GetPointer(nullptr); }, E_POINTER, {"ppBuffer != NULL"}},
        {"GetTime, start", [&] { return s.GetTime(nullptr, &t); }, E_INVALIDARG, {"pTimeStart != NULL"}},
        {"GetTime, end", [&] { return s.GetTime(&t, nullptr); }, E_INVALIDARG, {"pTimeEnd != NULL"}},
        {"SetTime, both", [&] { return s.SetTime(nullptr, nullptr); }, S_OK, {}},
        {"SetTime, start", [&] { return s.SetTime(nullptr, &t); }, S_OK, {"pTimeEnd == NULL"}},
        {"SetTime, end", [&] { return s.SetTime(&t, nullptr); }, S_OK, {}},
        {"GetMediaType", [&] { return s.GetMediaType(nullptr); }, E_POINTER, {"ppMediaType != NULL"}},
        {"SetMediaType", [&] { return s.SetMediaType(nullptr); }, S_OK, {}},
        {"GetMediaTime, start",
         [&] { return s.GetMediaTime(nullptr, &t); },
         E_INVALIDARG,
         {"pTimeStart != NULL"}},
        {"GetMediaTime, end",
         [&] { return s.GetMediaTime(&t, nullptr); },
         E_INVALIDARG,
         {"pTimeEnd != NULL"}},
        {"SetMediaTime, both", [&] { return s.SetMediaTime(nullptr, nullptr); }, S_OK, {}},
        {"SetMediaTime, start", [&] { return s.SetMediaTime(nullptr, &t); }, S_OK, {"pTimeEnd == NULL"}},
        {"SetMediaTime, end",
         [&] { return s.SetMediaTime(&t, nullptr); },
         E_INVALIDARG,
         {"pTimeEnd != NULL"}},
        {"GetProperties, 0", [&] { return s.GetProperties(0, nullptr); }, S_OK, {}},
        {"GetProperties, 1",
         [&] { return s.GetProperties(1, nullptr); },
         E_POINTER,
         {"pbProperties != NULL"}},
        {"GetProperties, all",
         [&] { return s.GetProperties(sizeof(record), nullptr); },
         E_POINTER,
         {"pbProperties != NULL"}},
        {"SetProperties, 7", [&] { return s.SetProperties(7, nullptr); }, S_OK, {}},
        {"SetProperties, 8",
         [&] { return s.SetProperties(8, nullptr); },
         E_POINTER,
         {"pbProperties != NULL"}},
        {"SetProperties, all",
         [&] { return s.SetProperties(sizeof(record), nullptr); },
         E_POINTER,
         {"pbProperties != NULL"}},
    });
    spSample.Release();
    EXPECT_EQ(a.Decommit(), S_OK);
    Disconnect();
}

} // namespace
