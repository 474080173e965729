// The text of a graph without memory: whichever allocation fails, the dump ends with E_OUTOFMEMORY and keeps
// nothing.
#include "diagnostics/FormatBlocks.h"
#include "diagnostics/ScriptGraph.h"
#include "dstl/dshowx/dumps/FilterChainParser.h"
#include "framework/TestFilter.h"

namespace
{
/// Allocations until one fails; below 0: none does. For one thread, as thread_local would itself allocate.
int g_nHeapLeft = -1;
int g_nTaskLeft = -1;

bool IsToFail(int& nLeft)
{
    return nLeft >= 0 && nLeft-- == 0;
}

/// Lets one allocation fail while it lives. \param nAfter allocations that succeed first
class Failing
{
public:
    Failing(int& nLeft, int nAfter) : m_nLeft(nLeft) { m_nLeft = nAfter; }
    ~Failing() { m_nLeft = -1; }
    Failing(const Failing&) = delete;
    Failing& operator=(const Failing&) = delete;

private:
    int& m_nLeft;
};
} // namespace

extern "C"
{
    void* __real_malloc(size_t cb);
    void* __real_realloc(void* pv, size_t cb);
    using PfnTaskAlloc = LPVOID(WINAPI*)(SIZE_T);
    extern PfnTaskAlloc __real___imp_CoTaskMemAlloc;

    void* __wrap_malloc(size_t cb)
    {
        return IsToFail(g_nHeapLeft) ? nullptr : __real_malloc(cb);
    }
    void* __wrap_realloc(void* pv, size_t cb)
    {
        return IsToFail(g_nHeapLeft) ? nullptr : __real_realloc(pv, cb);
    }
    static LPVOID WINAPI FailingTaskAlloc(SIZE_T cb)
    {
        return IsToFail(g_nTaskLeft) ? nullptr : __real___imp_CoTaskMemAlloc(cb);
    }
    PfnTaskAlloc __wrap___imp_CoTaskMemAlloc = FailingTaskAlloc;
}

namespace
{

/// Two filters with files, connected, and a third with a pin of its own: every kind of line is there.
class GraphMemory : public testing::Test
{
protected:
    GraphMemory()
    {
        for (ScriptFilter* const pFilter : {&m_source, &m_writer, &m_lonely})
        {
            pFilter->m_pGraph = &m_graph;
            m_graph.m_enum.m_answers.push_back({S_OK, pFilter});
        }
        m_source.m_bSource = m_writer.m_bSink = true;
        m_source.m_source.m_sName = L"in.png";
        m_writer.m_sink.m_sName = std::wstring(9000, L'w'); // more than the text has room for at first
        m_out.m_pFilter = &m_source;
        m_in.m_pFilter = &m_writer;
        m_alone.m_pFilter = &m_lonely;
        m_out.m_pPeer = &m_in;
        m_in.m_pPeer = &m_out;
        m_source.m_enum.m_answers = {{S_OK, &m_out}};
        m_writer.m_enum.m_answers = {{S_OK, &m_in}};
        m_lonely.m_enum.m_answers = {{S_OK, &m_alone}};
        m_in.m_hrType = E_UNEXPECTED;
    }
    ~GraphMemory() override
    {
        for (const long nRefs :
             {m_graph.m_nRefs, m_graph.m_enum.m_nRefs, m_source.m_nRefs, m_writer.m_nRefs, m_lonely.m_nRefs,
              m_source.m_source.m_nRefs, m_writer.m_sink.m_nRefs, m_source.m_enum.m_nRefs,
              m_writer.m_enum.m_nRefs, m_lonely.m_enum.m_nRefs, m_out.m_nRefs, m_in.m_nRefs, m_alone.m_nRefs})
            EXPECT_EQ(nRefs, 0);
        EXPECT_EQ(m_asserts.Texts(), Texts{});
    }

    HRESULT Chain(std::string& sText)
    {
        LPWSTR psz = const_cast<LPWSTR>(L"x");
        const HRESULT hr = CFilterChainParser().GetFiltersChain(&m_graph, &psz);
        sText = psz != nullptr ? Utf8(psz) : "";
        EXPECT_EQ(psz == nullptr, FAILED(hr));
        CoTaskMemFree(psz);
        return hr;
    }

    const std::string m_sWhole =
        "\r\n[Filter Graph]------------------------------------------------------\r\n"
        "\r\nFilter GUID_NULL (Source)\r\n"
        "\tINPUT FILE: \"in.png\"\r\n"
        "\tOUTPUT: [Out] -> [Writer] [In] ( GUID_NULL / GUID_NULL / GUID_NULL )\r\n"
        "\r\nFilter GUID_NULL (Writer)\r\n"
        "\tOUTPUT FILE: \"" +
        std::string(9000, 'w') +
        "\"\r\n"
        "\tINPUT: [In] -> [Source] [Out] \r\n"
        "###Err### CFilterChainParser::GetPinMediaType(): pPin->ConnectionMediaType()=0x8000FFFF\r\n"
        "\r\nFilter GUID_NULL (Lonely)\r\n"
        "\tINPUT: [Alone]    NOT CONNECTED\r\n"
        "\r\n--------------------------------------------------------------------\r\n\r\n";

    ScriptGraph m_graph;
    ScriptFilter m_source{L"Source"}, m_writer{L"Writer"}, m_lonely{L"Lonely"};
    ScriptPin m_out{L"Out", PINDIR_OUTPUT}, m_in{L"In", PINDIR_INPUT}, m_alone{L"Alone", PINDIR_INPUT};
    AssertCapture m_asserts;
};

TEST_F(GraphMemory, WhicheverAllocationFails)
{
    constexpr int nMost = 100;
    int nFailures = 0;
    for (bool bFailed = true; bFailed && nFailures < nMost; nFailures++)
    {
        HRESULT hr = S_OK;
        LPWSTR psz = const_cast<LPWSTR>(L"x");
        {
            const Failing failing(g_nHeapLeft, nFailures);
            hr = CFilterChainParser().GetFiltersChain(&m_graph, &psz);
            bFailed = g_nHeapLeft < 0;
        }
        // The first room is only taken early: a text that has none makes its own.
        const bool bNeeded = bFailed && nFailures > 0;
        EXPECT_EQ(hr, bNeeded ? E_OUTOFMEMORY : S_OK) << nFailures;
        EXPECT_EQ(psz != nullptr ? Utf8(psz) : "", bNeeded ? "" : m_sWhole) << nFailures;
        EXPECT_EQ(psz == nullptr, bNeeded) << nFailures;
        CoTaskMemFree(psz);
    }
    EXPECT_GT(nFailures, 12); // a line takes one at least, and there are as many
    EXPECT_LT(nFailures, nMost);
}

TEST_F(GraphMemory, NoTaskMemoryForTheText)
{
    m_graph.m_enum.m_answers.clear();
    std::string sText;
    {
        const Failing failing(g_nTaskLeft, 0);
        EXPECT_EQ(Chain(sText), E_OUTOFMEMORY);
    }
    EXPECT_EQ(Chain(sText), S_OK);
    EXPECT_EQ(sText, "\r\n[Filter Graph]------------------------------------------------------\r\n"
                     "\r\n--------------------------------------------------------------------\r\n\r\n");
}

using GraphLog = FrameworkTest;

TEST_F(GraphLog, AFailureIsOneLine)
{
    ASSERT_EQ(Filter().JoinFilterGraph(m_graph.Graph(), L"Name"), S_OK);
    LogCapture log;
    {
        const Failing failing(g_nTaskLeft, 0);
        Filter().ParseGraphToLogFile();
    }
    EXPECT_EQ(
        log.Lines(),
        (std::vector<LogLine>{
            {eTL_Error,
             "###Err### TestFilter CBaseFilter::ParseGraphToLogFile(): GetFiltersChain()=0x8007000E\n"}}));
}

} // namespace
