/// The platform's AVI mux behind the filter: what lies in the file that comes out.

#include "AviMux.h"
#include "AviFile.h"
#include "Failure.h"
#include "GraphSupport.h"
#include "support/LogCapture.h"
#include <gtest/gtest.h>
#include <cstring>
#include <cwchar>
#include <fstream>
#include <iterator>

namespace
{
constexpr int g_width = 64;
constexpr int g_height = 48;
constexpr size_t g_frames = 4; // a list of three names delivers one frame more
constexpr int g_mainEvents = 8;
constexpr uint32_t g_keyFrame = 0x10;

class AviMux : public testing::Test
{
protected:
    AviMux() : m_source(m_module.CreateSource())
    {
        EXPECT_EQ(m_source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&m_control)),
                  S_OK);
        std::wstring list;
        for (unsigned seed = 1; seed <= 3; ++seed)
        {
            const TgaCase tga = PlainTga("avi", g_width, g_height, seed);
            list += (seed == 1 ? L"" : L"|") + m_folder.Write(std::to_wstring(seed) + L".tga", tga.file);
        }
        EXPECT_EQ(SetPicture(m_source, list), S_OK);
    }
    ~AviMux() override
    {
        m_control.Release();
        m_source.Release();
        EXPECT_EQ(m_module.CanUnloadNow(), S_OK);
    }

    Bytes Record()
    {
        const std::wstring path = m_folder.Name(L"out.avi");
        {
            StreamFile file(path);
            FilterGraph graph;
            graph.Add(m_source, L"Source");
            CComPtr<IBaseFilter> mux;
            Check(ConnectAviMux(graph, m_source, file, mux), "no connection to the AVI mux");
            graph.Run();
            WaitForTheEnd(graph);
            graph.Stop();
            EXPECT_EQ(file.Result(), S_OK);
        }
        std::ifstream file(std::filesystem::path(path), std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(file), {});
    }

    BITMAPINFOHEADER HeaderOfThePin()
    {
        CComPtr<IAMStreamConfig> config;
        Check(FindPin(m_source, PINDIR_OUTPUT)
                  ->QueryInterface(IID_IAMStreamConfig, reinterpret_cast<void**>(&config)),
              "no IAMStreamConfig");
        AM_MEDIA_TYPE* type = nullptr;
        Check(config->GetFormat(&type), "no format");
        EXPECT_TRUE(IsEqualGUID(type->formattype, FORMAT_VideoInfo));
        const BITMAPINFOHEADER header = reinterpret_cast<VIDEOINFOHEADER*>(type->pbFormat)->bmiHeader;
        CoTaskMemFree(type->pbFormat);
        CoTaskMemFree(type);
        return header;
    }

    ComScope m_com;
    FilterModule m_module;
    TempFolder m_folder;
    CComPtr<IBaseFilter> m_source;
    CComPtr<IQXStillSource> m_control;
};
class AviMuxFormat : public AviMux, public testing::WithParamInterface<const wchar_t*>
{
};
} // namespace

TEST_P(AviMuxFormat, FramesLieInTheFileAsTheyWereSent)
{
    ASSERT_EQ(m_control->SetOutputFormat(CComBSTR(GetParam()), 0, 0), S_OK);
    const BITMAPINFOHEADER header = HeaderOfThePin();
    const Bytes file = Record();
    AviFile avi;
    ASSERT_EQ(ReadAvi(file, avi), "");

    EXPECT_EQ(avi.microsecondsPerFrame, 40000u);
    EXPECT_EQ(avi.totalFrames, g_frames);
    EXPECT_EQ(avi.streams, 1u);
    EXPECT_EQ(avi.width, static_cast<uint32_t>(g_width));
    EXPECT_EQ(avi.height, static_cast<uint32_t>(g_height));
    EXPECT_EQ(avi.streamType, "vids");
    EXPECT_EQ(avi.length, g_frames);
    EXPECT_EQ(static_cast<uint64_t>(avi.rate), uint64_t{25} * avi.scale);
    ASSERT_GE(avi.format.size(), sizeof(header));
    EXPECT_EQ(std::memcmp(avi.format.data(), &header, sizeof(header)), 0);

    // The same frames as any other sink gets: the list begins anew, as the number of frames goes on.
    ASSERT_EQ(avi.frames.size(), g_frames);
    std::vector<ReceivedFrame> expected;
    {
        const CComPtr<IBaseFilter> other = m_module.CreateSource();
        CComPtr<IQXStillSource> control;
        ASSERT_EQ(other->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&control)), S_OK);
        ASSERT_EQ(SetPicture(other, CurrentFile(m_source)), S_OK);
        ASSERT_EQ(control->SetOutputFormat(CComBSTR(GetParam()), 0, 0), S_OK);
        FilterGraph graph;
        expected = PlayToEnd(graph, other, g_frames + 1);
    }
    ASSERT_EQ(expected.size(), g_frames);
    EXPECT_EQ(expected[3].bytes, expected[0].bytes);
    for (size_t i = 0; i < g_frames; ++i)
    {
        EXPECT_EQ(avi.frames[i].bytes.size(), header.biSizeImage);
        EXPECT_EQ(avi.frames[i].bytes, expected[i].bytes) << i;
        EXPECT_EQ(avi.frames[i].id.substr(0, 2), "00");
    }
    // Pictures in RGB do not convert to YVYU; its frames stay black.
    EXPECT_EQ(avi.frames[0].bytes == avi.frames[1].bytes, std::wcscmp(GetParam(), L"YVYU") == 0);

    ASSERT_EQ(avi.index.size(), g_frames);
    for (size_t i = 0; i < g_frames; ++i)
    {
        EXPECT_EQ(avi.index[i].id, avi.frames[i].id);
        EXPECT_EQ(avi.index[i].flags & g_keyFrame, g_keyFrame);
        EXPECT_EQ(avi.index[i].size, avi.frames[i].bytes.size());
        const uint32_t fromMovie = avi.frames[i].offset - avi.moviOffset;
        EXPECT_TRUE(avi.index[i].offset == fromMovie || avi.index[i].offset == avi.frames[i].offset)
            << avi.index[i].offset;
    }
}

// The mux takes VIDEOINFOHEADER alone, and the refusal reaches the host as one of all types.
TEST_F(AviMux, RefusesTheLongerHeader)
{
    QG_VID_PROPS properties = {};
    ASSERT_EQ(m_control->GetOutputProps(&properties), S_OK);
    properties.eInterlace = eQGI_Field1First;
    ASSERT_EQ(m_control->SetOutputProps(&properties), S_OK);

    StreamFile file(m_folder.Name(L"out.avi"));
    FilterGraph graph;
    graph.Add(m_source, L"Source");
    CComPtr<IBaseFilter> mux;
    const LogCapture log;
    EXPECT_EQ(ConnectAviMux(graph, m_source, file, mux), VFW_E_NO_ACCEPTABLE_TYPES);
    EXPECT_TRUE(log.Has(g_mainEvents, "[CCoQXStillSourceOut] ExecConnection(): "
                                      "m_spConnected->ReceiveConnection()=0x8004022A\n"));
    EXPECT_TRUE(log.Has(g_mainEvents,
                        "*** WARNING *** [CCoQXStillSourceOut] connection not accepted, hr=0x80040207\n"));
}

// Rows from the top: the height in the file is negative, and the rows lie in the other order.
TEST_F(AviMux, RowsFromTheTop)
{
    ASSERT_EQ(m_control->SetOutputFormat(CComBSTR(L"RGB32"), g_width, -g_height), S_OK);
    const Bytes file = Record();
    AviFile avi;
    ASSERT_EQ(ReadAvi(file, avi), "");
    BITMAPINFOHEADER header = {};
    ASSERT_GE(avi.format.size(), sizeof(header));
    std::memcpy(&header, avi.format.data(), sizeof(header));
    EXPECT_EQ(header.biHeight, -g_height);

    Bytes expected;
    const Bytes bottomUp = PlainTga("avi", g_width, g_height, 1).frame;
    constexpr size_t rowStep = g_width * 4;
    for (size_t y = g_height; y-- > 0;)
        expected.insert(expected.end(), bottomUp.begin() + y * rowStep, bottomUp.begin() + (y + 1) * rowStep);
    ASSERT_EQ(avi.frames.size(), g_frames);
    EXPECT_EQ(avi.frames[0].bytes, expected);
}

INSTANTIATE_TEST_SUITE_P(Formats, AviMuxFormat,
                         testing::Values(L"RGB24", L"RGB32", L"ARGB32", L"YUY2", L"UYVY", L"HDYC", L"I420",
                                         L"YV12", L"YVYU"),
                         [](const testing::TestParamInfo<const wchar_t*>& info)
                         { return ToUtf8(info.param); });
