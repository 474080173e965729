#include "Conformance.h"

#include <cstdlib>
#include <cstring>

CComModule _Module;

namespace
{

/// The subtypes whose code is not the beginning of the standard tail.
constexpr GUID g_arrSubtypes[] = {
    {0xE436EB7A, 0x524F, 0x11CE, {0x9F, 0x53, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70}}, // RGB8
    {0xE436EB7B, 0x524F, 0x11CE, {0x9F, 0x53, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70}}, // RGB565
    {0xE436EB7C, 0x524F, 0x11CE, {0x9F, 0x53, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70}}, // RGB555
    {0xE436EB7D, 0x524F, 0x11CE, {0x9F, 0x53, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70}}, // RGB24
    {0xE436EB7E, 0x524F, 0x11CE, {0x9F, 0x53, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70}}, // RGB32
    {0x773C9AC0, 0x3274, 0x11D0, {0xB7, 0x24, 0x00, 0xAA, 0x00, 0x6C, 0x1A, 0x01}}, // ARGB32
};

struct BitCount
{
    DWORD fcc;
    WORD nBits;
};
constexpr BitCount g_arrBits[] = {
    {0xE436EB7A, 8},  {0xE436EB7B, 16}, {0xE436EB7C, 16}, {0xE436EB7D, 24},
    {0xE436EB7E, 32}, {0x773C9AC0, 32}, {0x32315659, 12}, {0x30323449, 12},
};

} // namespace

GUID SubtypeOf(DWORD fcc)
{
    for (const GUID& guid : g_arrSubtypes)
    {
        if (guid.Data1 == fcc)
            return guid;
    }
    return {fcc, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
}

BITMAPINFOHEADER& HeaderOf(AM_MEDIA_TYPE& mt)
{
    return IsEqualGUID(mt.formattype, FORMAT_VideoInfo2)
               ? reinterpret_cast<VIDEOINFOHEADER2*>(mt.pbFormat)->bmiHeader
               : reinterpret_cast<VIDEOINFOHEADER*>(mt.pbFormat)->bmiHeader;
}

const BITMAPINFOHEADER& HeaderOf(const AM_MEDIA_TYPE& mt)
{
    return HeaderOf(const_cast<AM_MEDIA_TYPE&>(mt));
}

CMType HostType(const GUID& guidSub, LONG nWidth, LONG biHeight, LONG nRowWidth, const GUID& guidFormat,
                REFERENCE_TIME rtFrame)
{
    const bool bHeader2 = IsEqualGUID(guidFormat, FORMAT_VideoInfo2);
    CMType mt(MEDIATYPE_Video, guidSub);
    EXPECT_EQ(mt.SetFormat(bHeader2 ? sizeof(VIDEOINFOHEADER2) : sizeof(VIDEOINFOHEADER), nullptr), S_OK);
    mt.formattype = guidFormat;
    mt.bFixedSizeSamples = TRUE;

    BITMAPINFOHEADER& bmi = HeaderOf(mt);
    bmi.biSize = sizeof(bmi);
    bmi.biWidth = nRowWidth != 0 ? nRowWidth : nWidth;
    bmi.biHeight = biHeight;
    bmi.biPlanes = 1;
    bmi.biBitCount = 16;
    for (const BitCount& row : g_arrBits)
    {
        if (row.fcc == guidSub.Data1)
            bmi.biBitCount = row.nBits;
    }
    // Codes of RGB are no compression.
    bmi.biCompression = guidSub.Data2 == 0 ? guidSub.Data1 : static_cast<DWORD>(BI_RGB);
    const LONG nHeight = std::abs(biHeight);
    const LONG cbRow =
        bmi.biBitCount == 12 ? bmi.biWidth * 3 / 2 : (bmi.biWidth * bmi.biBitCount / 8 + 3) & ~3;
    bmi.biSizeImage = static_cast<DWORD>(cbRow * nHeight);
    mt.lSampleSize = bmi.biSizeImage;

    const RECT rc = {0, 0, nWidth, nHeight};
    if (bHeader2)
    {
        auto& vih = *reinterpret_cast<VIDEOINFOHEADER2*>(mt.pbFormat);
        vih.AvgTimePerFrame = rtFrame;
        vih.dwPictAspectRatioX = static_cast<DWORD>(nWidth); // square pixels
        vih.dwPictAspectRatioY = static_cast<DWORD>(nHeight);
        if (bmi.biWidth != nWidth)
            vih.rcSource = vih.rcTarget = rc;
    }
    else
    {
        auto& vih = *reinterpret_cast<VIDEOINFOHEADER*>(mt.pbFormat);
        vih.AvgTimePerFrame = rtFrame;
        if (bmi.biWidth != nWidth)
            vih.rcSource = vih.rcTarget = rc;
    }
    return mt;
}

void Conformance::SetUp()
{
    ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
    ASSERT_EQ(CoCreateInstance(CLSID_CoQXStillSource, nullptr, CLSCTX_INPROC_SERVER, IID_IBaseFilter,
                               reinterpret_cast<void**>(&m_spFilter)),
              S_OK)
        << "the DLL has to be registered (CTest's fixture wine_conformance_prefix does so)";
    ASSERT_EQ(Filter().FindPin(L"Video Out", &m_spPin), S_OK);
    m_spControl = Interface<IQXStillSource>(m_spFilter);
    ASSERT_TRUE(m_spControl);
    m_spConfig = Interface<IAMStreamConfig>(m_spPin);
    ASSERT_TRUE(m_spConfig);
}

void Conformance::TearDown()
{
    if (m_spConfig)
    {
        m_sink.m_pin.m_gate.Open();
        const bool bEnded = EndsInTime(
            [this]
            {
                Filter().Stop();
                Disconnect();
                Filter().JoinFilterGraph(nullptr, nullptr);
            });
        if (!bEnded)
        {
            // Nothing that the hanging step uses may go.
            fputs("the filter hangs in Stop or Disconnect\n", stderr);
            fflush(stderr);
            _exit(3);
        }
        m_sink.m_pin.ReleaseSamples();
        EXPECT_EQ(CanUnloadNow(), S_FALSE);
    }
    m_spControl.Release();
    m_spConfig.Release();
    if (m_spFilter)
    {
        EXPECT_EQ(ReleaseLast(m_spFilter), 0u) << "somebody still holds the filter";
    }
    if (m_spPin)
    {
        EXPECT_EQ(ReleaseLast(m_spPin), 0u) << "somebody still holds the pin";
    }
    EXPECT_EQ(m_sink.m_pin.Refs(), 0);
    EXPECT_EQ(m_sink.Refs(), 0);
    EXPECT_EQ(m_alloc.Refs(), 0);
    EXPECT_EQ(m_alloc.Lent(), 0);
    EXPECT_EQ(m_graph.Refs(), 0);
    EXPECT_EQ(CanUnloadNow(), S_OK);
    CoUninitialize();
}

HRESULT Conformance::CanUnloadNow()
{
    const HMODULE hModule = GetModuleHandleW(L"QXStillSource.dll");
    if (hModule == nullptr)
        return S_OK; // COM has unloaded it
    using CanUnload = HRESULT(STDAPICALLTYPE*)();
    const auto pfn =
        reinterpret_cast<CanUnload>(reinterpret_cast<void*>(GetProcAddress(hModule, "DllCanUnloadNow")));
    return pfn != nullptr ? pfn() : E_FAIL;
}

HRESULT Conformance::SetPicture(const std::string& sName) const
{
    return Control().SetPicture(CComBSTR(static_cast<const wchar_t*>(WideText(sName))));
}

HRESULT Conformance::SetFormat(const char* pszFormat, int nWidth, int nHeight) const
{
    return Control().SetOutputFormat(CComBSTR(static_cast<const wchar_t*>(WideText(pszFormat))), nWidth,
                                     nHeight);
}

HRESULT Conformance::Connect(const AM_MEDIA_TYPE* pmt)
{
    m_sink.m_pin.m_pAllocator = m_pOffered;
    FILTER_INFO info{};
    EXPECT_EQ(Filter().QueryFilterInfo(&info), S_OK);
    if (info.pGraph != nullptr)
        info.pGraph->Release();
    else
        EXPECT_EQ(m_graph.AddFilter(m_spFilter, L"source"), S_OK);
    return Pin().Connect(&m_sink.m_pin, pmt);
}

void Conformance::Disconnect()
{
    Pin().Disconnect();
    m_sink.m_pin.Disconnect();
}

CMType Conformance::Connected() const
{
    CMType mt;
    Pin().ConnectionMediaType(&mt);
    return mt;
}

Lines Conformance::Deliver(int nFrames, const std::function<std::string(IMediaSample&)>& fnLook)
{
    Lines wrong;
    m_log.Clear();
    m_sink.m_pin.m_onReceive = [&, nSeen = 0](IMediaSample* pSample) mutable
    {
        const std::string s = fnLook(*pSample);
        if (!s.empty())
            wrong.push_back("frame " + std::to_string(nSeen) + ": " + s);
        if (++nSeen < nFrames)
            return S_OK;
        m_log.Add("delivered");
        return S_FALSE; // the worker sleeps
    };
    const HRESULT hrPause = Filter().Pause();
    const bool bDelivered = hrPause == S_OK && m_log.WaitFor("delivered");
    const HRESULT hrStop = Filter().Stop();
    m_sink.m_pin.m_onReceive = nullptr;
    if (hrPause != S_OK || !bDelivered || hrStop != S_OK)
        wrong.push_back("Pause " + std::to_string(hrPause) + ", Stop " + std::to_string(hrStop) +
                        (bDelivered ? "" : ", frames are missing"));
    return wrong;
}

CMType Conformance::Offered() const
{
    CComPtr<IEnumMediaTypes> spEnum;
    EXPECT_EQ(Pin().EnumMediaTypes(&spEnum), S_OK);
    AM_MEDIA_TYPE* pmt = nullptr;
    CMType mt;
    if (spEnum && spEnum->Next(1, &pmt, nullptr) == S_OK)
    {
        mt = pmt;
        MTDelete(pmt);
    }
    return mt;
}

CMType Conformance::Format() const
{
    AM_MEDIA_TYPE* pmt = nullptr;
    EXPECT_EQ(Config().GetFormat(&pmt), S_OK);
    const CMType mt(pmt);
    MTDelete(pmt);
    return mt;
}

Lines Conformance::Asserts() const
{
    Lines texts;
    for (const std::string& sLine : m_trace.Texts(nLevelRaw))
    {
        const std::string sBegin = "ASSERT( \"", sEnd = "\" )\n";
        const size_t nBegin = sLine.find(sBegin);
        const size_t nEnd = sLine.find(sEnd);
        if (nBegin != std::string::npos && nEnd != std::string::npos)
            texts.push_back(sLine.substr(nBegin + sBegin.size(), nEnd - nBegin - sBegin.size()));
    }
    return texts;
}

FILTER_STATE Conformance::State() const
{
    FILTER_STATE eState = State_Stopped;
    EXPECT_EQ(Filter().GetState(0, &eState), S_OK);
    return eState;
}
