// The control interface, apart from pictures.
#include "FilterSupport.h"

#include <cmath>

namespace
{

class FilterControl : public FilterTest
{
};

TEST_F(FilterControl, StartValues)
{
    const QG_VID_PROPS props = Props();
    EXPECT_EQ(props.nWidth, 0);
    EXPECT_EQ(props.nHeight, 0);
    EXPECT_EQ(props.fccType, eQGFCC_Default);
    EXPECT_EQ(props.eInterlace, eQGI_Default);
    EXPECT_EQ(props.nAspectX, 0);
    EXPECT_EQ(props.nAspectY, 0);
    EXPECT_EQ(props.eKeepAspect, eQGKA_Crop);
    EXPECT_EQ(props.dblRate, 0.0);

    EXPECT_EQ(InsideFilter().m_bsFileName.m_str, nullptr);
    EXPECT_EQ(Inside().m_arrFiles.GetSize(), 0);
    EXPECT_EQ(Inside().m_nPictureId, -1);
    EXPECT_EQ(Inside().m_nSolidColor, 0u);
    EXPECT_EQ(Inside().m_picSource, (PicProps{0x59565955, 720, 576, 720}));
    EXPECT_EQ(Inside().m_blobSource.GetSize(), 0u);
    EXPECT_EQ(Inside().m_blobFrame.GetSize(), 0u);
    EXPECT_EQ(Inside().m_picOutput, (PicProps{0x59565955, 720, 576, 720}));
    EXPECT_EQ(Inside().m_rtCurrent, 0);
    EXPECT_EQ(Inside().m_nFrame, 0);
    EXPECT_EQ(Inside().m_nStopFrame, 193273528230000);
    EXPECT_FALSE(Inside().m_pump.IsStreaming());
    EXPECT_TRUE(m_trace.Has(2, "CCoQXStillSource::FinalConstruct\n"));
    EXPECT_TRUE(m_trace.Has(2, "CCoQXStillSourceOut::FinalConstruct\n"));
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_F(FilterControl, ReleaseEndsTheWorker)
{
    m_trace.Clear();
    m_spFilter.Release();
    EXPECT_TRUE(m_trace.Has(2, "CCoQXStillSourceOut::FinalRelease\n"));
    const std::vector<LogLine> lines = m_trace.Lines();
    ASSERT_FALSE(lines.empty());
    // The thread ends after the line of the release.
    EXPECT_EQ(lines.front().sText, "CCoQXStillSourceOut::FinalRelease\n");
    EXPECT_NE(lines.back().sText.find("stopped, result=0x0"), std::string::npos) << lines.back().sText;
}

TEST_F(FilterControl, InterfacesOfTheFilter)
{
    struct
    {
        const IID* piid;
        HRESULT hr;
    } const rows[] = {
        {&IID_IUnknown, S_OK},
        {&IID_IBaseFilter, S_OK},
        {&IID_IMediaFilter, S_OK},
        {&IID_IPersist, S_OK},
        {&IID_IFileSourceFilter, S_OK},
        {&IID_IQXStillSource, S_OK},
        {&IID_ISpecifyPropertyPages, E_NOINTERFACE},
        {&IID_IMediaSeeking, E_NOINTERFACE},
        {&IID_IQualityControl, E_NOINTERFACE},
        {&IID_IPin, E_NOINTERFACE},
    };
    for (const auto& row : rows)
    {
        CComPtr<IUnknown> sp;
        EXPECT_EQ(
            static_cast<IBaseFilter*>(m_spFilter)->QueryInterface(*row.piid, reinterpret_cast<void**>(&sp)),
            row.hr);
        EXPECT_EQ(sp != nullptr, row.hr == S_OK);
    }
}

TEST_F(FilterControl, InterfacesOfThePin)
{
    struct
    {
        const IID* piid;
        HRESULT hr;
    } const rows[] = {
        {&IID_IUnknown, S_OK},
        {&IID_IPin, S_OK},
        {&IID_IAMStreamConfig, S_OK},
        {&IID_IMediaSeeking, S_OK},
        {&IID_IQualityControl, S_OK},
        {&IID_ISpecifyPropertyPages, S_OK},
        {&IID_IMemInputPin, E_NOINTERFACE},
    };
    for (const auto& row : rows)
    {
        CComPtr<IUnknown> sp;
        EXPECT_EQ(static_cast<IPin*>(&Out())->QueryInterface(*row.piid, reinterpret_cast<void**>(&sp)),
                  row.hr);
        EXPECT_EQ(sp != nullptr, row.hr == S_OK);
    }
}

TEST_F(FilterControl, Names)
{
    EXPECT_EQ(Utf8(Filter().GetClassName()), "CCoQXStillSource");
    EXPECT_EQ(Utf8(Out().GetClassName()), "[CCoQXStillSourceOut]");
    PIN_INFO info{};
    EXPECT_EQ(Out().QueryPinInfo(&info), S_OK);
    CComPtr<IBaseFilter>().Attach(info.pFilter);
    EXPECT_EQ(Utf8(info.achName), "Video Out");
    CLSID clsid{};
    EXPECT_EQ(Filter().GetClassID(&clsid), S_OK);
    EXPECT_TRUE(IsEqualGUID(clsid, CLSID_CoQXStillSource));
}

struct FormatRow
{
    const char* pszName;
    DWORD fcc;
};

TEST_F(FilterControl, SetOutputFormatNames)
{
    const FormatRow rows[] = {
        {"ARGB32", 0x773C9AC0},
        {"RGB32", 0xE436EB7E},
        {"RGB24", 0xE436EB7D},
        {"RGB565", 0xE436EB7B},
        {"RGB555", 0xE436EB7C},
        {"RGB8", 0xE436EB7A},
        {"YUY2", 0x32595559},
        {"YVYU", 0x55595659},
        {"UYVY", 0x59565955},
        {"YV12", 0x32315659},
        {"I420", 0x30323449},
        {"YVU9", 0x39555659},
        {"argb32", 0x773C9AC0},
        {"yuy2", 0x32595559},
        {"HDYC", 0x43594448},
        {"v210", 0x30313276},
        {"r210", 0x30313272},
        {"NV12", 0x3231564E},
        {"hdyc", 0x63796468},
        {"V210", 0x30313256},
        {"ABC", 0x00434241},
        {"A", 0x00000041},
        {"UYVY2", 0x59565955},
        {"whatever", 0x74616877},
        {"", 0},
    };
    for (const FormatRow& row : rows)
    {
        EXPECT_EQ(Control().SetOutputFormat(Text(row.pszName), 16, 8), S_OK) << row.pszName;
        EXPECT_EQ(static_cast<DWORD>(Props().fccType), row.fcc) << row.pszName;
    }
    m_asserts.Clear();
}

TEST_F(FilterControl, SetOutputFormatLongName)
{
    EXPECT_EQ(Control().SetOutputFormat(Text(std::string(100000, 'Z')), 0, 0), S_OK);
    EXPECT_EQ(static_cast<DWORD>(Props().fccType), 0x5A5A5A5Au);
}

TEST_F(FilterControl, SetOutputFormatStoresAndUpdates)
{
    EXPECT_EQ(Control().SetOutputFormat(Text("RGB32"), 320, -240), S_OK);
    const QG_VID_PROPS props = Props();
    EXPECT_EQ(props.nWidth, 320);
    EXPECT_EQ(props.nHeight, -240);
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB32, 320, -240, 320}));
    ASSERT_NE(Header(), nullptr);
    EXPECT_EQ(Header()->bmiHeader.biHeight, -240);
}

TEST_F(FilterControl, SetOutputFormatEmptyResetsToThePicture)
{
    EXPECT_EQ(Control().SetOutputFormat(Text("RGB32"), 320, 240), S_OK);
    EXPECT_EQ(Control().SetOutputFormat(Text(""), 0, 0), S_OK);
    EXPECT_EQ(Props().fccType, eQGFCC_Default);
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_UYVY, 720, 576, 720}));
    EXPECT_EQ(Control().SetOutputFormat(Text("RGB32"), 320, 240), S_OK);
    EXPECT_EQ(Control().SetOutputFormat(nullptr, 0, 0), S_OK); // a null BSTR is an empty one
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_UYVY, 720, 576, 720}));
    EXPECT_EQ(m_asserts.Texts(), std::vector<std::string>{});
}

TEST_F(FilterControl, GetOutputFormatGivesWhatWasAskedFor)
{
    CComBSTR bs;
    int nWidth = 1, nHeight = 1;
    EXPECT_EQ(Control().GetOutputFormat(&bs, &nWidth, &nHeight), S_OK);
    ASSERT_NE(bs.m_str, nullptr);
    EXPECT_EQ(Utf8(bs), "");
    EXPECT_EQ(nWidth, 0); // not those of the current type
    EXPECT_EQ(nHeight, 0);

    struct
    {
        const char* pszSet;
        const char* pszGet;
    } const rows[] = {{"argb32", "ARGB32"}, {"RGB24", "RGB24"}, {"uyvy", "UYVY"}, {"HDYC", "HDYC"},
                      {"v210", "v210"},     {"RGB8", "RGB8"},   {"ab", "0x6261"}};
    for (const auto& row : rows)
    {
        Control().SetOutputFormat(Text(row.pszSet), 12, -34);
        CComBSTR bsName;
        EXPECT_EQ(Control().GetOutputFormat(&bsName, &nWidth, &nHeight), S_OK);
        EXPECT_EQ(Utf8(bsName), row.pszGet);
        EXPECT_EQ(nWidth, 12);
        EXPECT_EQ(nHeight, -34);
    }
}

TEST_F(FilterControl, GetOutputFormatSkipsNullPointers)
{
    EXPECT_EQ(Control().GetOutputFormat(nullptr, nullptr, nullptr), S_OK);
    Control().SetOutputFormat(Text("YUY2"), 64, 32);
    int n = 0;
    EXPECT_EQ(Control().GetOutputFormat(nullptr, &n, nullptr), S_OK);
    EXPECT_EQ(n, 64);
    EXPECT_EQ(Control().GetOutputFormat(nullptr, nullptr, &n), S_OK);
    EXPECT_EQ(n, 32);
    CComBSTR bs;
    EXPECT_EQ(Control().GetOutputFormat(&bs, nullptr, nullptr), S_OK);
    EXPECT_EQ(Utf8(bs), "YUY2");
}

TEST_F(FilterControl, FrameRate)
{
    double dblRate = 1.0;
    EXPECT_EQ(Control().GetFrameRate(&dblRate), S_OK);
    EXPECT_EQ(dblRate, 0.0);
    EXPECT_EQ(Control().SetFrameRate(29.97), S_OK);
    EXPECT_EQ(Control().GetFrameRate(&dblRate), S_OK);
    EXPECT_EQ(dblRate, 29.97); // as stored
    EXPECT_EQ(Header()->AvgTimePerFrame, 333667);
    EXPECT_EQ(Control().SetFrameRate(-3), S_OK);
    EXPECT_EQ(Control().GetFrameRate(&dblRate), S_OK);
    EXPECT_EQ(dblRate, -3.0);
    EXPECT_EQ(Header()->AvgTimePerFrame, 400000);
    EXPECT_EQ(Control().GetFrameRate(nullptr), E_POINTER);
}

TEST_F(FilterControl, OutputPropsAreABlock)
{
    QG_VID_PROPS props{};
    memset(&props, 0, sizeof(props));
    props.nWidth = 352;
    props.nHeight = -288;
    props.fccType = eQGFCC_RGB24;
    props.eInterlace = eQGI_Progressive_3DInterlaced;
    props.nAspectX = -5;
    props.nAspectY = 32767;
    props.eKeepAspect = static_cast<eQGKeepAspect>(77);
    props.dblRate = 12.5;
    EXPECT_EQ(Control().SetOutputProps(&props), S_OK);
    QG_VID_PROPS got{};
    memset(&got, 0, sizeof(got));
    EXPECT_EQ(Control().GetOutputProps(&got), S_OK);
    EXPECT_EQ(memcmp(&props, &got, sizeof(props)), 0);
    EXPECT_EQ(Inside().m_picOutput, (PicProps{FOURCC_RGB24, 352, -288, 352}));
    EXPECT_EQ(Control().SetOutputProps(nullptr), E_POINTER);
    EXPECT_EQ(Control().GetOutputProps(nullptr), E_POINTER);
}

TEST_F(FilterControl, OnlyWhenStopped)
{
    ShowSmall();
    ASSERT_EQ(Connect(), S_OK);
    const QG_VID_PROPS before = Props();
    ASSERT_EQ(Filter().Pause(), S_OK);
    EXPECT_EQ(Control().SetOutputFormat(Text("RGB24"), 1, 2), VFW_E_NOT_STOPPED);
    EXPECT_EQ(Control().SetFrameRate(10), VFW_E_NOT_STOPPED);
    EXPECT_EQ(memcmp(&before, &InsideFilter().m_VidProps, sizeof(before)), 0);
    ASSERT_EQ(Filter().Run(0), S_OK);
    EXPECT_EQ(Control().SetOutputFormat(nullptr, 1, 2), VFW_E_NOT_STOPPED);
    EXPECT_EQ(Control().SetFrameRate(10), VFW_E_NOT_STOPPED);

    // Its neighbour has no such test: the record is replaced, the stream goes on in its type.
    QG_VID_PROPS props = before;
    props.nWidth = 4000;
    props.dblRate = 10;
    const PicProps picOutput = Inside().m_picOutput;
    EXPECT_EQ(Control().SetOutputProps(&props), S_OK);
    EXPECT_EQ(Props().nWidth, 4000);
    EXPECT_EQ(Inside().m_picOutput, picOutput);
    EXPECT_EQ(Header()->AvgTimePerFrame, 400000);
    EXPECT_EQ(m_log.Count("graph.ReconnectEx"), 0);
    EXPECT_EQ(Filter().Pause(), S_OK);
    EXPECT_EQ(Control().SetOutputProps(&props), S_OK);
}

TEST_F(FilterControl, HostileSizesEndInNoType)
{
    for (const int nWidth : {INT_MIN, -1, 0, 1, 3, 100000, INT_MAX})
    {
        for (const int nHeight : {INT_MIN, INT_MIN + 1, -1, 1, 100000, INT_MAX})
        {
            for (const DWORD fcc : {0ul, 0x32595559ul, 0x32315659ul, 0xE436EB7Eul, 0xFFFFFFFFul, 0x41ul})
            {
                QG_VID_PROPS props{};
                props.nWidth = nWidth;
                props.nHeight = nHeight;
                props.fccType = static_cast<eQGFCC>(fcc);
                props.nAspectX = nWidth > 0 ? 16 : -16;
                props.nAspectY = 9;
                EXPECT_EQ(Control().SetOutputProps(&props), S_OK);
                BYTE arr[64] = {};
                FillSampleBuffer(arr, sizeof(arr));
            }
        }
    }
}

} // namespace
