// Ten graphs that fail in ten ways. What docs/troubleshooting.md quotes from the log has to stand in the log
// of the same failure.
#include "Failure.h"
#include "NightSink.h"
#include "Pictures.h"
#include "qxlog/LoggedFilter.h"
#include "support/FakeAllocator.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <regex>

namespace
{

using std::string;
using std::vector;

/// A line without what differs from build to build and from run to run: where the sources lie, the number of
/// a line in them, and the address of the graph.
string Settled(const string& sLine)
{
    static const std::regex s_source(R"((\.\./)*([a-zA-Z/]+\.cpp)\(\d+\))");
    static const std::regex s_graph(R"(JoinFilterGraph\( 0x[0-9A-F]+,)");
    return std::regex_replace(std::regex_replace(sLine, s_source, "$2(N)"), s_graph,
                              "JoinFilterGraph( GRAPH,");
}

/// The lines that the document quotes below a heading, without time and numbers, as "8 text".
vector<string> QuotedLines(const string& sHeading)
{
    std::ifstream file(std::filesystem::path(QX_TROUBLESHOOTING));
    EXPECT_TRUE(file.good()) << QX_TROUBLESHOOTING;
    static const std::regex s_stamp(R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \d+:\d+ )");
    vector<string> lines;
    bool bHere = false, bLog = false;
    for (string sLine; std::getline(file, sLine);)
    {
        if (sLine.rfind("## ", 0) == 0)
            bHere = sLine == "## " + sHeading;
        else if (bHere && sLine.rfind("```", 0) == 0)
            bLog = sLine == "```log";
        else if (bHere && bLog)
        {
            EXPECT_TRUE(std::regex_search(sLine, s_stamp)) << "no line of the log: " << sLine;
            lines.push_back(Settled(std::regex_replace(sLine, s_stamp, "")));
        }
    }
    return lines;
}

class NightCall : public testing::Test
{
protected:
    NightCall()
    {
        m_source = m_logged.CreateSource();
        Check(m_source->QueryInterface(__uuidof(IQXStillSource), reinterpret_cast<void**>(&m_control)),
              "no control interface");
    }

    /// Source and sink in a graph, not connected yet.
    void AddBoth()
    {
        m_graph = std::make_unique<FilterGraph>();
        m_graph->Add(m_source, L"Source");
        m_graph->Add(&m_sink, L"Sink");
    }
    HRESULT Connect() { return m_graph->Connect(m_source, &m_sink); }

    /// Runs the graph until a line of the filter's worker stands in the log.
    void RunUntil(const string& sText)
    {
        m_graph->Run();
        EXPECT_TRUE(m_logged.WaitFor(sText)) << sText;
        m_graph->Stop();
    }

    /// Takes all apart. The lines quoted below the heading have to stand in the log, in their order.
    /// \return the log
    vector<string> ExpectQuoted(const string& sHeading)
    {
        m_graph.reset();
        m_control.Release();
        m_source.Release();
        vector<string> log = m_logged.Finish();
        for (string& sLine : log)
        {
            const string sFolder = ToUtf8(m_folder.Path().wstring());
            if (const size_t n = sLine.find(sFolder); n != string::npos)
                sLine.replace(n, sFolder.size(), "C:\\pictures");
            sLine = Settled(sLine);
        }
        const vector<string> quoted = QuotedLines(sHeading);
        EXPECT_FALSE(quoted.empty()) << "nothing quoted below \"" << sHeading << "\"";
        auto it = log.begin();
        for (const string& sLine : quoted)
        {
            it = std::find(it, log.end(), sLine);
            if (it == log.end())
            {
                ADD_FAILURE() << "not in the log, or not behind the line before: " << sLine;
                break;
            }
            ++it;
        }
        if (HasFailure())
        {
            for (const string& sLine : log)
                printf("    %s\n", sLine.c_str());
        }
        return log;
    }

    ComScope m_com;
    TempFolder m_folder;
    FakeAllocator m_allocator;
    NightSink m_sink;
    LoggedFilter m_logged;
    CComPtr<IBaseFilter> m_source;
    CComPtr<IQXStillSource> m_control;
    std::unique_ptr<FilterGraph> m_graph;
};

TEST_F(NightCall, RefusedFormat)
{
    AddBoth();
    m_sink.m_pin.m_accept = [](const AM_MEDIA_TYPE*) { return VFW_E_TYPE_NOT_ACCEPTED; };
    EXPECT_EQ(Connect(), VFW_E_NO_ACCEPTABLE_TYPES);
    ExpectQuoted("The sink refuses the format");
}

TEST_F(NightCall, RefusedAllocator)
{
    AddBoth();
    m_sink.m_pin.m_pAllocator = &m_allocator;
    m_sink.m_pin.m_hrNotify = VFW_E_NO_ALLOCATOR;
    EXPECT_EQ(Connect(), VFW_E_NO_ALLOCATOR);
    ExpectQuoted("The sink refuses every allocator");
}

TEST_F(NightCall, OddWidth)
{
    AddBoth();
    EXPECT_EQ(m_control->SetOutputFormat(CComBSTR(L"UYVY"), 101, 50), S_OK);
    EXPECT_EQ(Connect(), VFW_E_NO_ACCEPTABLE_TYPES);
    ExpectQuoted("The width is odd");
}

TEST_F(NightCall, MissingFile)
{
    EXPECT_EQ(SetPicture(m_source, m_folder.Name(L"missing.tga")), E_INVALIDARG);
    EXPECT_EQ(SetPicture(m_source, m_folder.Name(L"missing\\missing.tga")),
              HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    // Of a list only the names are looked for at first.
    const Bytes file = PlainTga("a", 40, 40, 6).file;
    const std::wstring sList = m_folder.Write(L"a.tga", file) + L"|" + m_folder.Write(L"b.tga", file);
    ASSERT_EQ(SetPicture(m_source, sList), S_OK);
    AddBoth();
    ASSERT_EQ(Connect(), S_OK);
    std::filesystem::remove(m_folder.Name(L"b.tga"));
    RunUntil("2 ###Err### [CCoQXStillSourceOut]: Send(): PrepareSample()=0x1"); // the end of the list
    ExpectQuoted("The picture is not there");
}

TEST_F(NightCall, BrokenFile)
{
    Bytes file = PlainTga("cut", 40, 40, 6).file;
    file.resize(file.size() / 2);
    EXPECT_EQ(SetPicture(m_source, m_folder.Write(L"logo.tga", file)), E_FAIL);
    ExpectQuoted("The picture is broken");
}

// The application's own change has a result and no line; that of the sink comes with a sample.
TEST_F(NightCall, FormatChangeWhileRunning)
{
    AddBoth();
    m_sink.m_pin.m_pAllocator = &m_allocator;
    CMType mtOther;
    std::atomic<bool> bRuns = false; // the sink asks behind the line of Run
    m_allocator.m_onLend = [&](FakeSample& sample)
    {
        if (bRuns && !mtOther.IsDefined())
        {
            mtOther = m_sink.m_pin.ConnectionType();
            mtOther.subtype = MEDIASUBTYPE_YUY2;
            reinterpret_cast<VIDEOINFOHEADER*>(mtOther.pbFormat)->bmiHeader.biCompression =
                MEDIASUBTYPE_YUY2.Data1;
            sample.SetMediaType(&mtOther);
        }
    };
    ASSERT_EQ(Connect(), S_OK);
    m_graph->Run();
    bRuns = true;
    EXPECT_EQ(m_control->SetOutputFormat(CComBSTR(L"RGB32"), 320, 240), VFW_E_NOT_STOPPED);
    RunUntil("2 ###Err### [CCoQXStillSourceOut] SetMediaTypeFromSample(): new mediatype is not accepted");
    ExpectQuoted("The format changes while the graph runs");
}

TEST_F(NightCall, UnconnectedPause)
{
    AddBoth();
    EXPECT_EQ(m_source->Pause(), VFW_E_WRONG_STATE);
    for (const string& sLine : ExpectQuoted("The filter is not connected"))
    {
        for (const char* pszStart : {"[Filter Graph]", "NewSegment", "connection established"})
            EXPECT_EQ(sLine.find(pszStart), string::npos) << sLine;
    }
}

TEST_F(NightCall, BufferTooSmall)
{
    AddBoth();
    m_sink.m_pin.m_pAllocator = &m_allocator;
    ASSERT_EQ(Connect(), S_OK);
    m_allocator.m_rgActual.cbBuffer = 1000; // promised more, gives less
    RunUntil("2 ###Err### [CCoQXStillSourceOut]: Send(): PrepareSample()=0x80004005");
    ExpectQuoted("The sink's buffers are too small");
}

TEST_F(NightCall, NoMemory)
{
    AddBoth();
    m_sink.m_pin.m_pAllocator = &m_allocator;
    ASSERT_EQ(Connect(), S_OK);
    m_allocator.m_hrGetBuffer = E_OUTOFMEMORY;
    RunUntil("2 ###Err### [CCoQXStillSourceOut]: Send(): m_spAllocOut->GetBuffer()=0x8007000E");
    ExpectQuoted("There is no memory");
}

TEST_F(NightCall, SinkThatStops)
{
    AddBoth();
    ASSERT_EQ(Connect(), S_OK);
    m_sink.m_pin.m_hrReceive = VFW_E_RUNTIME_ERROR;
    RunUntil("2 ###Err### [CCoQXStillSourceOut] SendSample(): spMemInput->Receive()=0x8004020B");
    ExpectQuoted("The sink takes no more frames");
}

} // namespace
