// The text of a whole graph, for every failure of every object in it.
#include "diagnostics/FormatBlocks.h"
#include "diagnostics/ScriptGraph.h"
#include "dstl/dshowx/dumps/FilterChainParser.h"
#include "dstl/dshowx/dumps/SampleDump.h"
#include "dstl/dshowx/DSTrace.h"

#include <gtest/gtest.h>

namespace
{

const std::string sBegin = "\r\n[Filter Graph]------------------------------------------------------\r\n";
const std::string sEnd = "\r\n--------------------------------------------------------------------\r\n\r\n";

/// A source and a renderer in a graph, connected.
class FilterChain : public testing::Test
{
protected:
    FilterChain()
    {
        m_source.m_clsid = {0xE436EBB5, 0x524F, 0x11CE, {0x9F, 0x53, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70}};
        m_renderer.m_clsid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
        for (ScriptFilter* pFilter : {&m_source, &m_renderer})
        {
            pFilter->m_pGraph = &m_graph;
            m_graph.m_enum.m_answers.push_back({S_OK, pFilter});
        }
        m_out.m_pFilter = &m_source;
        m_in.m_pFilter = &m_renderer;
        m_out.m_pPeer = &m_in;
        m_in.m_pPeer = &m_out;
        m_source.m_enum.m_answers = {{S_OK, &m_out}};
        m_renderer.m_enum.m_answers = {{S_OK, &m_in}};
        VIDEOINFOHEADER video = {};
        video.bmiHeader = UyvyHeader();
        for (ScriptPin* pPin : {&m_out, &m_in})
            pPin->m_mt = CMType(guidVideo, guidUyvy, guidVideoInfo, sizeof(video),
                                reinterpret_cast<const BYTE*>(&video));
    }
    ~FilterChain() override
    {
        // Every reference that the parser got is given back.
        for (const long nRefs :
             {m_graph.m_nRefs, m_graph.m_enum.m_nRefs, m_source.m_nRefs, m_renderer.m_nRefs,
              m_source.m_enum.m_nRefs, m_renderer.m_enum.m_nRefs, m_out.m_nRefs, m_in.m_nRefs,
              m_source.m_source.m_nRefs, m_source.m_sink.m_nRefs})
            EXPECT_EQ(nRefs, 0);
        EXPECT_EQ(m_asserts.Texts(), m_expectedAsserts);
    }

    std::string Chain()
    {
        LPWSTR psz = nullptr;
        CFilterChainParser parser;
        EXPECT_EQ(parser.GetFiltersChain(&m_graph, &psz), S_OK);
        const std::string sText = Utf8(psz);
        CoTaskMemFree(psz);
        return sText;
    }

    const std::string sType = "( MEDIATYPE_Video / MEDIASUBTYPE_UYVY / FORMAT_VideoInfo 720*576 )\r\n";
    const std::string sSource = "\r\nFilter Async Reader (The source)\r\n";
    const std::string sSourcePins = "\tOUTPUT: [Out] -> [The renderer] [In] " + sType;
    const std::string sRenderer = "\r\nFilter {00000001-0002-0003-0405-060708090A0B} (The renderer)\r\n"
                                  "\tINPUT: [In] -> [The source] [Out] " +
                                  sType;

    ScriptGraph m_graph;
    ScriptFilter m_source{L"The source"};
    ScriptFilter m_renderer{L"The renderer"};
    ScriptPin m_out{L"Out", PINDIR_OUTPUT};
    ScriptPin m_in{L"In", PINDIR_INPUT};
    AssertCapture m_asserts;
    Texts m_expectedAsserts;
};

TEST_F(FilterChain, ASourceAndARenderer)
{
    EXPECT_EQ(Chain(), sBegin + sSource + sSourcePins + sRenderer + sEnd);
    EXPECT_EQ(m_out.m_nConnectedTo, 1); // not asked again for the type
}

TEST_F(FilterChain, NullPointers)
{
    LPWSTR psz = const_cast<LPWSTR>(L"x");
    CFilterChainParser parser;
    EXPECT_EQ(parser.GetFiltersChain(nullptr, &psz), E_POINTER);
    EXPECT_EQ(psz, nullptr);
    EXPECT_EQ(parser.GetFiltersChain(&m_graph, nullptr), E_POINTER);
    CTextAccumulator text;
    EXPECT_TRUE(parser.GetFilterData(text, nullptr));
    EXPECT_TRUE(parser.GetFileName(text, nullptr));
    EXPECT_TRUE(parser.GetPinData(text, nullptr));
    EXPECT_TRUE(parser.GetPinMediaType(text, nullptr));
    EXPECT_EQ(text.GetLength(), 0u);
    m_expectedAsserts = {"pGraph != NULL",  "ppszChain != NULL", "pFilter != NULL",
                         "pFilter != NULL", "pPin != NULL",      "pPin != NULL"};
}

TEST_F(FilterChain, AnEmptyGraphIsTheTwoRules)
{
    m_graph.m_enum.m_answers.clear();
    EXPECT_EQ(Chain(), sBegin + sEnd);
}

TEST_F(FilterChain, NoEnumeratorOfFilters)
{
    m_graph.m_hrEnum = E_OUTOFMEMORY;
    EXPECT_EQ(Chain(),
              sBegin +
                  "###Err### CFilterChainParser::GetFiltersChain(): pGraph->EnumFilters()=0x8007000E\r\n" +
                  sEnd);
    m_graph.m_hrEnum = S_OK;
    m_graph.m_bNullEnum = true;
    EXPECT_EQ(Chain(), sBegin +
                           "###Err### CFilterChainParser::GetFiltersChain(): pGraph->EnumFilters()=0x0\r\n" +
                           sEnd);
}

TEST_F(FilterChain, AnEnumeratorOfFiltersThatFails)
{
    m_graph.m_enum.m_answers[1] = {VFW_E_ENUM_OUT_OF_SYNC, nullptr, 0};
    EXPECT_EQ(Chain(), sBegin + sSource + sSourcePins +
                           "###Err### CFilterChainParser::GetFiltersChain(): spEnum->Next()=0x80040203\r\n" +
                           sEnd);
    EXPECT_EQ(m_graph.m_enum.m_nAsked, 2);
}

TEST_F(FilterChain, AnEnumeratorThatLiesAboutItsCount)
{
    m_graph.m_enum.m_answers[0].cFetched = 0;
    m_source.m_enum.m_answers[0].cFetched = 2;
    EXPECT_EQ(Chain(), sBegin + sSource + sSourcePins + sRenderer + sEnd);
    m_expectedAsserts = {"cFetched == 1", "cFetched == 1"};
}

TEST_F(FilterChain, EndlessEnumeratorsEnd)
{
    m_graph.m_enum.m_answers = {{S_OK, nullptr}};
    m_graph.m_enum.m_bEndless = true;
    EXPECT_EQ(Chain(),
              sBegin +
                  "###Err### CFilterChainParser::GetFiltersChain(): more than 1000 filters, the rest "
                  "is left out\r\n" +
                  sEnd);
    EXPECT_EQ(m_graph.m_enum.m_nAsked, 1001);
    m_expectedAsserts = Texts(1000, "pFilter != NULL");

    m_graph.m_enum.m_bEndless = false;
    m_graph.m_enum.m_answers = {{S_OK, &m_source}};
    m_source.m_enum.m_bEndless = true;
    std::string sPins;
    for (int i = 0; i < 1000; i++)
        sPins += sSourcePins;
    EXPECT_EQ(Chain(), sBegin + sSource + sPins +
                           "###Err### CFilterChainParser::GetFilterData(): more than 1000 pins, the rest is "
                           "left out\r\n\r\n" +
                           sEnd);
}

TEST_F(FilterChain, AThousandFiltersWithAThousandPinsAreAll)
{
    m_graph.m_enum.m_answers.assign(1000, {S_OK, &m_renderer});
    m_renderer.m_enum.m_answers.clear();
    std::string sFilters;
    for (int i = 0; i < 1000; i++)
        sFilters += "\r\nFilter {00000001-0002-0003-0405-060708090A0B} (The renderer)\r\n";
    EXPECT_EQ(Chain(), sBegin + sFilters + sEnd);
    EXPECT_EQ(m_graph.m_enum.m_nAsked, 1001);

    m_graph.m_enum.m_answers = {{S_OK, &m_source}};
    m_source.m_enum.m_answers.assign(1000, {S_OK, &m_out});
    std::string sPins;
    for (int i = 0; i < 1000; i++)
        sPins += sSourcePins;
    EXPECT_EQ(Chain(), sBegin + sSource + sPins + sEnd);
}

TEST_F(FilterChain, AFilterWithoutInformation)
{
    m_source.m_hrInfo = E_UNEXPECTED;
    const std::string sFailedPeer = "\r\nFilter {00000001-0002-0003-0405-060708090A0B} (The renderer)\r\n"
                                    "\tINPUT: [In]\r\n###Err### CFilterChainParser::GetPinData(): "
                                    "spConnectedFilter->QueryFilterInfo()=0x8000FFFF\r\n";
    EXPECT_EQ(
        Chain(),
        sBegin +
            "###Err### CFilterChainParser::GetFilterData(): pFilter->QueryFilterInfo()=0x8000FFFF\r\n\r\n" +
            sFailedPeer + sEnd);
}

TEST_F(FilterChain, AFilterWithoutAClass)
{
    m_source.m_hrClassId = E_OUTOFMEMORY;
    EXPECT_EQ(Chain(),
              sBegin +
                  "###Err### CFilterChainParser::GetFilterData(): pFilter->GetClassID()=0x8007000E\r\n\r\n" +
                  sRenderer + sEnd);
}

TEST_F(FilterChain, Files)
{
    m_source.m_bSource = true;
    EXPECT_EQ(Chain(), sBegin + sSource + sSourcePins + sRenderer + sEnd); // without a name: no line
    m_source.m_source.m_sName = L"";
    EXPECT_EQ(Chain(), sBegin + sSource + sSourcePins + sRenderer + sEnd);
    m_source.m_source.m_sName = L"C:\\pictures\\100% s.png";
    EXPECT_EQ(Chain(), sBegin + sSource + "\tINPUT FILE: \"C:\\pictures\\100% s.png\"\r\n" + sSourcePins +
                           sRenderer + sEnd);
    m_source.m_bSink = true;
    m_source.m_sink.m_sName = L"out.avi";
    EXPECT_EQ(Chain(), sBegin + sSource + "\tINPUT FILE: \"C:\\pictures\\100% s.png\"\r\n" +
                           "\tOUTPUT FILE: \"out.avi\"\r\n" + sSourcePins + sRenderer + sEnd);
    m_source.m_source.m_hr = E_UNEXPECTED;
    m_source.m_sink.m_hr = E_UNEXPECTED;
    EXPECT_EQ(
        Chain(),
        sBegin + sSource +
            "###Err### CFilterChainParser::GetFileName(): spFileSourceFilter->GetCurFile()=0x8000FFFF\r\n\r\n"
            "###Err### CFilterChainParser::GetFileName(): spFileSinkFilter->GetCurFile()=0x8000FFFF\r\n\r\n" +
            sSourcePins + sRenderer + sEnd);
}

TEST_F(FilterChain, NamesOfAnyLengthStayWhole)
{
    m_source.m_bSource = true;
    m_source.m_source.m_sName = std::wstring(40000, L'f');
    EXPECT_EQ(Chain(), sBegin + sSource + "\tINPUT FILE: \"" + std::string(40000, 'f') + "\"\r\n" +
                           sSourcePins + sRenderer + sEnd);
}

TEST_F(FilterChain, NamesThatAreNotEnded)
{
    m_source.m_bEndlessName = m_out.m_bEndlessName = true;
    const std::string sX(127, 'x'), sY(127, 'y');
    EXPECT_EQ(Chain(),
              sBegin + "\r\nFilter Async Reader (" + sX + ")\r\n\tOUTPUT: [" + sY +
                  "] -> [The renderer] [In] " + sType +
                  "\r\nFilter {00000001-0002-0003-0405-060708090A0B} (The renderer)\r\n\tINPUT: [In] -> [" +
                  sX + "] [" + sY + "] " + sType + sEnd);
}

TEST_F(FilterChain, NoPins)
{
    m_source.m_hrEnum = E_UNEXPECTED;
    EXPECT_EQ(Chain(),
              sBegin + sSource +
                  "###Err### CFilterChainParser::GetFilterData(): pFilter->EnumPins()=0x8000FFFF\r\n\r\n" +
                  sRenderer + sEnd);
    m_source.m_hrEnum = S_OK;
    m_source.m_enum.m_answers = {{VFW_E_ENUM_OUT_OF_SYNC, nullptr, 0}};
    EXPECT_EQ(Chain(),
              sBegin + sSource +
                  "###Err### CFilterChainParser::GetFilterData(): spEnum->Next()=0x80040203\r\n\r\n" +
                  sRenderer + sEnd);
    m_source.m_enum.m_answers.clear();
    EXPECT_EQ(Chain(), sBegin + sSource + sRenderer + sEnd);
}

TEST_F(FilterChain, AnUnconnectedPinAndTheNextOne)
{
    m_out.m_pPeer = nullptr;
    ScriptPin second(L"Second", PINDIR_INPUT);
    second.m_pFilter = &m_source;
    ScriptPin third(L"", 7);
    third.m_pFilter = &m_source;
    m_source.m_enum.m_answers = {{S_OK, &m_out}, {S_OK, &second}, {S_OK, &third}};
    EXPECT_EQ(Chain(), sBegin + sSource + "\tOUTPUT: [Out]    NOT CONNECTED\r\n" +
                           "\tINPUT: [Second]    NOT CONNECTED\r\n" + "\tUNKNOWN: []    NOT CONNECTED\r\n" +
                           sRenderer + sEnd);
    EXPECT_EQ(second.m_nRefs, 0);
}

TEST_F(FilterChain, AnUnconnectedPinThatSaysOk)
{
    m_out.m_pPeer = nullptr;
    m_out.m_hrConnectedTo = S_FALSE; // and a null pointer
    EXPECT_EQ(Chain(), sBegin + sSource + "\tOUTPUT: [Out]    NOT CONNECTED\r\n" + sRenderer + sEnd);
}

TEST_F(FilterChain, PinsThatFail)
{
    m_out.m_hrInfo = E_UNEXPECTED;
    EXPECT_EQ(
        Chain(),
        sBegin + sSource +
            "###Err### CFilterChainParser::GetPinData(): pPin->QueryPinInfo()=0x8000FFFF\r\n\r\n" +
            "\r\nFilter {00000001-0002-0003-0405-060708090A0B} (The renderer)\r\n\tINPUT: [In]\r\n"
            "###Err### CFilterChainParser::GetPinData(): spPinConnected->QueryPinInfo()=0x8000FFFF\r\n" +
            sEnd);
    m_out.m_hrInfo = S_OK;
    m_out.m_hrConnectedTo = E_UNEXPECTED;
    EXPECT_EQ(Chain(), sBegin + sSource +
                           "\tOUTPUT: [Out]\r\n###Err### CFilterChainParser::GetPinData(): "
                           "pPin->ConnectedTo()=0x8000FFFF\r\n" +
                           sRenderer + sEnd);
    m_out.m_hrConnectedTo = S_OK;
    m_out.m_hrType = E_OUTOFMEMORY;
    EXPECT_EQ(Chain(),
              sBegin + sSource +
                  "\tOUTPUT: [Out] -> [The renderer] [In] \r\n###Err### "
                  "CFilterChainParser::GetPinMediaType(): pPin->ConnectionMediaType()=0x8007000E\r\n" +
                  sRenderer + sEnd);
}

TEST_F(FilterChain, ObjectsThatBelongNowhere)
{
    m_graph.m_enum.m_answers.resize(1);
    m_renderer.m_pGraph = nullptr;
    EXPECT_EQ(Chain(), sBegin + sSource + sSourcePins + sEnd);
    m_expectedAsserts = {"rgFilterInfo.pGraph != NULL"};
    m_in.m_pFilter = nullptr;
    EXPECT_EQ(Chain(), sBegin + sSource + "\tOUTPUT: [Out] -> [] [In] " + sType + sEnd);
    m_expectedAsserts.push_back("rgInfo.pFilter != NULL");
    m_out.m_pFilter = nullptr;
    m_out.m_pPeer = nullptr;
    EXPECT_EQ(Chain(), sBegin + sSource + "\tOUTPUT: [Out]    NOT CONNECTED\r\n" + sEnd);
    m_expectedAsserts.push_back("rgInfo.pFilter != NULL");
}

TEST_F(FilterChain, TheFilterOfAPin)
{
    LogCapture log;
    const auto dumped = [&](IPin* pPin, const wchar_t* pszPrefix)
    {
        log.Clear();
        Debug_FilterFromPin(atlTraceGeneral, eTL_Main, pPin, pszPrefix);
        return log.Texts(eTL_Main);
    };
    EXPECT_EQ(dumped(&m_out, L""), Texts{"filter [The source] (Async Reader), pin [Out]\n"});
    EXPECT_EQ(dumped(&m_in, L"p: "),
              Texts{"p: filter [The renderer] ({00000001-0002-0003-0405-060708090A0B}), pin [In]\n"});
    EXPECT_EQ(dumped(nullptr, L"p: "), Texts{"###Err### p: Debug_FilterFromPin(): Empty pin pointer\n"});
    EXPECT_EQ(dumped(nullptr, nullptr), Texts{"###Err### Debug_FilterFromPin(): Empty pin pointer\n"});
    m_source.m_hrClassId = E_UNEXPECTED;
    EXPECT_EQ(dumped(&m_out, nullptr), Texts{"filter [The source] (GUID_NULL), pin [Out]\n"});
    m_source.m_hrInfo = E_UNEXPECTED;
    EXPECT_EQ(dumped(&m_out, L"p: "),
              Texts{"###Err### p: Debug_FilterFromPin(): rgInfo.pFilter->QueryFilterInfo()=0x8000FFFF\n"});
    m_out.m_pFilter = nullptr;
    m_out.m_bEndlessName = true;
    EXPECT_EQ(dumped(&m_out, L"p: "), Texts{"p: pin [" + std::string(127, 'y') + "] without a filter\n"});
    m_out.m_hrInfo = E_UNEXPECTED;
    EXPECT_EQ(dumped(&m_out, L"p: "),
              Texts{"###Err### p: Debug_FilterFromPin(): pPin->QueryPinInfo()=0x8000FFFF\n"});
    m_in.m_bEndlessName = m_renderer.m_bEndlessName = true;
    EXPECT_EQ(dumped(&m_in, L""),
              Texts{"filter [" + std::string(127, 'x') + "] ({00000001-0002-0003-0405-060708090A0B}), pin [" +
                    std::string(127, 'y') + "]\n"});
    log.Clear();
    Debug_FilterFromPin(atlTraceGeneral, eTL_Frame, &m_in, L"");
    Debug_FilterFromPin(0, eTL_Main, &m_in, L"");
    EXPECT_TRUE(log.Lines().empty());
}

} // namespace
