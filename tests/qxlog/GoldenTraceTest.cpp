// The log of one whole life of the filter against each sink, compared with the files in the folder golden.
// See docs/testing.md for how to write them anew.
#include "AviMux.h"
#include "Failure.h"
#include "FrameSink.h"
#include "Pictures.h"
#include "FrameEnd.h"
#include "Commands.h"
#include "qxlog/LoggedFilter.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <memory>
#include <regex>

namespace
{

namespace fs = std::filesystem;
using std::string;
using std::vector;

constexpr LONGLONG g_nStopFrame = 2; // three frames, then the end of the stream
constexpr REFERENCE_TIME g_rtFrame = 400000;
const char g_szEnd[] = "2 ###Err### [CCoQXStillSourceOut]: Send(): PrepareSample()=0x1";

/// Puts a sink behind the source; a file that the sink writes lies in the folder. What the sink needs for as
/// long as the graph lives comes back.
using ConnectSink = std::function<std::shared_ptr<void>(FilterGraph&, IBaseFilter*, const TempFolder&)>;

/// A sink, and how it is put behind the source.
struct Sink
{
    const char* pszName; ///< also of the golden file
    ConnectSink connect;
    const char* pszEndAfterSeek = g_szEnd; ///< what the worker says last when it was sent back
};

void PrintTo(const Sink& sink, std::ostream* pStream)
{
    *pStream << sink.pszName;
}

class AllFrames final : public FrameReceiver
{
public:
    void SetFormat(const VideoFormat&) override {}
    HRESULT OnFrame(IMediaSample*) override { return S_OK; }
};

IMediaControl* Control(IBaseFilter* source, CComPtr<IMediaControl>& control)
{
    FILTER_INFO info = {};
    Check(source->QueryFilterInfo(&info), "no filter info");
    const HRESULT hr = info.pGraph->QueryInterface(IID_IMediaControl, reinterpret_cast<void**>(&control));
    info.pGraph->Release();
    Check(hr, "no media control");
    return control;
}

/// A text of the log without what differs from run to run: addresses, numbers of threads, the folder of the
/// picture.
string Settled(string s, const string& sFolder)
{
    for (size_t n = 0; (n = s.find(sFolder)) != string::npos;)
        s.replace(n, sFolder.size(), "FOLDER");
    static const std::pair<std::regex, const char*> s_rules[] = {
        {std::regex("0x[0-9A-Fa-f]{16}"), "ADDRESS"},
        {std::regex("\\[0x[0-9A-F]{8}\\]"), "[ADDRESS]"},
        {std::regex("\\( 0x(?!00000000)[0-9A-F]{8},"), "( ADDRESS,"},
        {std::regex("\\( 0x(?!00000000)[0-9A-F]+ \\)"), "( ADDRESS )"},
        {std::regex("thread 0x[0-9A-F]+ "), "thread NUMBER "},
    };
    for (const auto& [rule, pszText] : s_rules)
        s = std::regex_replace(s, rule, pszText);
    return s;
}

/// The texts of each thread in their order, as one text: threads do not wait for each other in the log.
string ByThread(const vector<ReadLine>& lines, const string& sFolder)
{
    vector<std::pair<unsigned long, string>> threads;
    for (const ReadLine& line : lines)
    {
        if (line.sText.rfind("qxlog64: opened by ", 0) == 0)
            continue;
        auto it = std::find_if(threads.begin(), threads.end(),
                               [&](const auto& thread) { return thread.first == line.dwThread; });
        if (it == threads.end())
            it = threads.insert(it, {line.dwThread, {}});
        it->second +=
            string(1, line.chLevel) + (line.bFurther ? "+ " : " ") + Settled(line.sText, sFolder) + "\n";
    }
    string s;
    for (size_t n = 0; n < threads.size(); n++)
        s += "--- thread " + std::to_string(n + 1) + "\n" + threads[n].second;
    return s;
}

/// Where the file has another line first.
string FirstDifference(const string& sActual, const string& sExpected)
{
    size_t nLine = 1, nBegin = 0;
    const size_t nCommon = std::min(sActual.size(), sExpected.size());
    for (size_t n = 0; n < nCommon && sActual[n] == sExpected[n]; n++)
    {
        if (sActual[n] == '\n')
        {
            nLine++;
            nBegin = n + 1;
        }
    }
    const auto Line = [nBegin](const string& s) { return s.substr(nBegin, s.find('\n', nBegin) - nBegin); };
    return "line " + std::to_string(nLine) + "\n  is:       " + Line(sActual) +
           "\n  expected: " + Line(sExpected);
}

class GoldenTrace : public testing::TestWithParam<Sink>
{
};

TEST_P(GoldenTrace, OfOneWholeLife)
{
    const ComScope com;
    const TempFolder folder;
    const std::wstring sPicture = folder.Write(L"picture.tga", PlainTga("golden", 64, 48, 5).file);
    LoggedFilter logged;
    {
        CComPtr<IBaseFilter> source = logged.CreateSource();
        ASSERT_EQ(SetPicture(source, sPicture), S_OK);
        std::shared_ptr<void> needed; // outlives the graph
        FilterGraph graph;
        graph.Add(source, L"Source");
        needed = GetParam().connect(graph, source, folder);
        const CComPtr<IPin> pin = FindPin(source, PINDIR_OUTPUT);
        CComPtr<IMediaSeeking> seeking;
        ASSERT_EQ(pin->QueryInterface(IID_IMediaSeeking, reinterpret_cast<void**>(&seeking)), S_OK);
        LONGLONG rtStop = g_nStopFrame * g_rtFrame;
        ASSERT_EQ(
            seeking->SetPositions(nullptr, AM_SEEKING_NoPositioning, &rtStop, AM_SEEKING_AbsolutePositioning),
            S_OK);

        CComPtr<IMediaControl> control;
        ASSERT_GE(Control(source, control)->Pause(), S_OK);
        graph.Run();
        ASSERT_TRUE(logged.WaitFor(g_szEnd, 1));
        LONGLONG rtStart = g_rtFrame; // the second frame
        ASSERT_EQ(seeking->SetPositions(&rtStart, AM_SEEKING_AbsolutePositioning, nullptr,
                                        AM_SEEKING_NoPositioning),
                  S_OK);
        ASSERT_TRUE(
            logged.WaitFor(GetParam().pszEndAfterSeek, GetParam().pszEndAfterSeek == g_szEnd ? 2 : 1));
        graph.Stop();
        EXPECT_EQ(pin->Disconnect(), S_OK);
    }
    const string sActual = ByThread(logged.FinishLines(), ToUtf8(folder.Path().wstring()));

    const fs::path path = fs::path(QX_GOLDEN_FOLDER) / (string(GetParam().pszName) + ".txt");
    if (GetEnvironmentVariableW(L"QX_GOLDEN_UPDATE", nullptr, 0) != 0)
    {
        std::ofstream(path, std::ios::binary) << sActual;
        return;
    }
    const string sExpected = ReadFileBytes(path);
    EXPECT_FALSE(sExpected.empty()) << path.string();
    EXPECT_TRUE(sActual == sExpected)
        << path.filename().string() << ": " << FirstDifference(sActual, sExpected);
    if (sActual != sExpected)
        printf("%s", sActual.c_str());
}

AllFrames g_frames;

/// A renderer of the platform that draws into a window of its own.
ConnectSink Renderer(const char* pszName, const wchar_t* pszFilter)
{
    return [=](FilterGraph& graph, IBaseFilter* source, const TempFolder&) -> std::shared_ptr<void>
    {
        for (const VideoRenderer& renderer : VideoRenderers())
        {
            if (string(renderer.name) != pszName)
                continue;
            const CComPtr<IBaseFilter> sink = CreateVideoRenderer(renderer);
            graph.Add(sink, pszFilter);
            Check(graph.Connect(source, sink), "no connection");
            return {};
        }
        throw Failure("there is no renderer of that name");
    };
}

const Sink g_sinks[] = {
    {"own-sink",
     [](FilterGraph& graph, IBaseFilter* source, const TempFolder&) -> std::shared_ptr<void>
     {
         CComPtr<IBaseFilter> sink;
         Check(CreateFrameSink(g_frames, sink), "no sink");
         graph.Add(sink, L"Sink");
         Check(graph.Connect(source, sink), "no connection");
         return {};
     }},
    {"null-renderer",
     [](FilterGraph& graph, IBaseFilter* source, const TempFolder&) -> std::shared_ptr<void>
     {
         PlatformSink sink;
         Check(CreatePlatformSink(g_frames, sink), "no null renderer");
         graph.Add(sink.renderer, L"Null Renderer");
         Check(graph.Connect(source, sink.renderer), "no connection");
         return {};
     }},
    {"sample-grabber",
     [](FilterGraph& graph, IBaseFilter* source, const TempFolder&) -> std::shared_ptr<void>
     {
         PlatformSink sink;
         Check(CreatePlatformSink(g_frames, sink), "no sample grabber");
         graph.Add(sink.grabber, L"Grabber");
         graph.Add(sink.renderer, L"Null Renderer");
         Check(graph.Connect(source, sink.grabber), "no connection");
         Check(graph.Connect(sink.grabber, sink.renderer), "no connection");
         return {};
     }},
    {"avi-mux",
     [](FilterGraph& graph, IBaseFilter* source, const TempFolder& folder) -> std::shared_ptr<void>
     {
         const auto file = std::make_shared<StreamFile>(folder.Name(L"out.avi"));
         CComPtr<IBaseFilter> mux;
         Check(ConnectAviMux(graph, source, *file, mux), "no connection");
         return file;
     },
     // It takes no time stamp before the end of the sample before.
     "2 ###Err### [CCoQXStillSourceOut] SendSample(): spMemInput->Receive()=0x80040228"},
    {"video-renderer", Renderer("video", L"Video Renderer")},
};

// These draw with Direct3D, which Wine has on a display only: tests/wine/trace-sinks runs them.
const Sink g_displaySinks[] = {
    {"vmr7", Renderer("vmr7", L"VMR-7")},
    {"vmr9", Renderer("vmr9", L"VMR-9")},
};

string TestName(const testing::TestParamInfo<Sink>& info)
{
    string s = info.param.pszName;
    std::replace(s.begin(), s.end(), '-', '_');
    return s;
}

INSTANTIATE_TEST_SUITE_P(Sinks, GoldenTrace, testing::ValuesIn(g_sinks), TestName);
INSTANTIATE_TEST_SUITE_P(Display, GoldenTrace, testing::ValuesIn(g_displaySinks), TestName);

} // namespace
