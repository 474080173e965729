// Trace lines and assertions as the log sees them. What belongs to the platform's texts is in LogLoaderTest.
#include "dstl/dshowx/DSTrace.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace
{

std::vector<wchar_t> Repeated(size_t nCount)
{
    std::vector<wchar_t> text(nCount, L'a');
    if (nCount != 0)
        text.back() = L'z';
    text.push_back(0);
    return text;
}

TEST(Trace, LevelsUpToEightArrive)
{
    for (const UINT nLevel : {0u, 1u, 2u, 4u, 8u})
    {
        LogCapture log;
        trace(atlTraceGeneral, nLevel, L"level %u %s %hs\n", nLevel, L"wide", "narrow");
        const std::vector<LogLine> expected = {
            {static_cast<int>(nLevel), "level " + std::to_string(nLevel) + " wide narrow\n"}};
        EXPECT_EQ(log.Lines(), expected);
    }
    for (const UINT nLevel : {9u, 10u, 12u, 255u, 0xFFFFFFFFu})
    {
        LogCapture log;
        trace(atlTraceGeneral, nLevel, L"dropped\n");
        EXPECT_TRUE(log.Lines().empty()) << nLevel;
    }
}

TEST(Trace, ACategoryOfZeroDropsTheLine)
{
    LogCapture log;
    trace(0, eTL_Error, L"dropped\n");
    trace(DWORD_PTR(0x100000000), eTL_Error, L"the low half counts\n");
    EXPECT_TRUE(log.Lines().empty());
    trace(atlTraceCOM, eTL_Error, L"x\n");
    trace(DWORD_PTR(0xFFFFFFFF00000001), eTL_Error, L"y\n");
    EXPECT_EQ(log.Texts(eTL_Error), (std::vector<std::string>{"x\n", "y\n"}));
}

TEST(Trace, LongLinesAreCut)
{
    for (const size_t nLength : {0u, 1u, 1021u, 1022u, 1023u, 1024u, 2000u, 100000u})
    {
        LogCapture log;
        const std::vector<wchar_t> text = Repeated(nLength);
        trace(atlTraceGeneral, eTL_Main, L"%s", text.data());
        trace(atlTraceGeneral, eTL_Main, text.data());
        const std::string expected = Utf8(text.data()).substr(0, 1022);
        EXPECT_EQ(log.Texts(eTL_Main), (std::vector<std::string>{expected, expected})) << nLength;
    }
}

TEST(Trace, ACutMayFallIntoANumber)
{
    LogCapture log;
    trace(atlTraceGeneral, eTL_Main, L"%s%u", Repeated(1020).data(), 12345u);
    EXPECT_EQ(log.Texts(eTL_Main), std::vector<std::string>{Utf8(Repeated(1020).data()) + "12"});
}

TEST(Trace, NoFormatNoLine)
{
    LogCapture log;
    trace(atlTraceGeneral, eTL_Main, nullptr);
    EXPECT_TRUE(log.Lines().empty());
}

TEST(Trace, TheLastErrorStaysAsItWas)
{
    LogCapture log;
    SetLastError(1234);
    trace(atlTraceGeneral, eTL_Main, L"x\n");
    EXPECT_EQ(GetLastError(), 1234u);
}

TEST(Trace, LinesOfManyThreadsArrive)
{
    LogCapture log;
    std::vector<std::thread> threads;
    for (int nThread = 0; nThread < 8; nThread++)
    {
        threads.emplace_back(
            [nThread]
            {
                for (int i = 0; i < 500; i++)
                    trace(atlTraceGeneral, eTL_Main, L"thread %i\n", nThread);
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(log.Lines().size(), 4000u);
    for (int nThread = 0; nThread < 8; nThread++)
        EXPECT_EQ(log.Count(eTL_Main, "thread " + std::to_string(nThread) + "\n"), 500);
}

TEST(Trace, PointersShowTheirLowHalf)
{
    EXPECT_EQ(TracePtr(reinterpret_cast<void*>(UINT_PTR(0x123456789ABCDEF0))), 0x9ABCDEF0u);
    EXPECT_EQ(TracePtr(nullptr), 0u);
}

DWORD WINAPI TestErrorText(HRESULT hr, WCHAR* pszText, DWORD cchText)
{
    static const wchar_t szText[] = L"text of the code\r\n";
    if (hr != 5 || cchText < sizeof(szText) / sizeof(szText[0]))
        return 0;
    memcpy(pszText, szText, sizeof(szText));
    return sizeof(szText) / sizeof(szText[0]) - 1;
}

DWORD WINAPI NoErrorText(HRESULT, WCHAR*, DWORD)
{
    return 0;
}

class AssertionTest : public testing::Test
{
protected:
    AssertionTest() { g_pfnErrorText = TestErrorText; }
    ~AssertionTest() override { g_pfnErrorText = m_pfnEarlier; }

    const PFNERRORTEXT m_pfnEarlier = g_pfnErrorText;
};

TEST_F(AssertionTest, AConditionThatHoldsDoesNothing)
{
    LogCapture log;
    AssertCapture asserts;
    SetLastError(5);
    EXPECT_EQ(assertion(true, "file.cpp", 12, "x == 1"), 1);
    EXPECT_EQ(DSASSERT(2 > 1), 1);
    EXPECT_EQ(DSASSERT_TEXT(2 > 1, "text"), 1);
    EXPECT_TRUE(log.Lines().empty());
    EXPECT_TRUE(asserts.Reports().empty());
    EXPECT_EQ(GetLastError(), 5u);
}

TEST_F(AssertionTest, AFailedConditionIsReportedToLogAndRuntime)
{
    LogCapture log;
    AssertCapture asserts;
    SetLastError(5);
    EXPECT_EQ(assertion(false, "path/file.cpp", 12, "x == 1"), 5);
    const std::vector<LogLine> expected = {{nLevelRaw, "###Err###\npath/file.cpp(12): ASSERT( \"x == 1\" )\n"
                                                       "GetLastError()=0x00000005 (5)\n\ntext of the code\n"},
                                           {nLevelRaw, "\nexit ASSERT"}};
    EXPECT_EQ(log.Lines(), expected);
    ASSERT_EQ(asserts.Reports().size(), 1u);
    const AssertCapture::Report report = asserts.Reports()[0];
    EXPECT_EQ(report.nType, 2);
    EXPECT_EQ(report.sFile, "path/file.cpp");
    EXPECT_EQ(report.nLine, 12);
    EXPECT_EQ(report.sText, "x == 1");
    EXPECT_EQ(GetLastError(), 5u);
}

TEST_F(AssertionTest, TheMacrosReportTheirExpressionOrText)
{
    AssertCapture asserts;
    const void* p = nullptr;
    EXPECT_EQ(DSASSERT(p != NULL), 5);
    EXPECT_EQ(DSASSERT_TEXT(p != NULL, "a text of its own"), 5);
    EXPECT_EQ(asserts.Texts(), (std::vector<std::string>{"p != NULL", "a text of its own"}));
    EXPECT_NE(asserts.Reports()[0].sFile.find("TraceTest.cpp"), std::string::npos);
}

TEST_F(AssertionTest, LongTextsAreCutAndEndTheirLine)
{
    LogCapture log;
    AssertCapture asserts;
    SetLastError(0);
    const std::string sLong(5000, 'e');
    EXPECT_EQ(assertion(false, "f", 1, sLong.c_str()), 5);
    const std::vector<LogLine> expected = {
        {nLevelRaw, ("###Err###\nf(1): ASSERT( \"" + sLong).substr(0, 1023)}, {nLevelRaw, "\nexit ASSERT"}};
    EXPECT_EQ(log.Lines(), expected);
    EXPECT_EQ(asserts.Texts(), std::vector<std::string>{sLong});
}

TEST_F(AssertionTest, WithoutAReportFunctionTheLogStillGetsTheLine)
{
    LogCapture log;
    const PFNDEBUGREPORT pfnEarlier = g_pfnDebugReport;
    g_pfnDebugReport = nullptr;
    EXPECT_EQ(assertion(false, "f", 1, "e"), 5);
    g_pfnDebugReport = pfnEarlier;
    EXPECT_EQ(log.Lines().size(), 2u);
}

TEST_F(AssertionTest, TheUsualReportGoesOn)
{
    EXPECT_EQ(g_pfnDebugReport(nReportTypeAssert, "f", 1, nullptr, "e"), 0);
    EXPECT_EQ(assertion(false, "f", 1, "e"), 5);
}

TEST_F(AssertionTest, CapturesNest)
{
    AssertCapture asserts;
    LogCapture log;
    trace(atlTraceGeneral, eTL_Main, L"1");
    DSASSERT_TEXT(false, "outer");
    {
        AssertCapture assertsInner;
        LogCapture logInner;
        trace(atlTraceGeneral, eTL_Main, L"2");
        DSASSERT_TEXT(false, "inner");
        EXPECT_EQ(assertsInner.Texts(), std::vector<std::string>{"inner"});
        EXPECT_EQ(logInner.Texts(eTL_Main), std::vector<std::string>{"2"});
    }
    trace(atlTraceGeneral, eTL_Main, L"3");
    DSASSERT_TEXT(false, "outer");
    EXPECT_EQ(asserts.Count("outer"), 2);
    EXPECT_EQ(asserts.Count("inner"), 0);
    EXPECT_EQ(log.Texts(eTL_Main), (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_TRUE(log.Has(eTL_Main, "2"));
    EXPECT_FALSE(log.Has(eTL_Error, "2"));
    log.Clear();
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(AssertionTest, ACaptureWaitsForALine)
{
    LogCapture log;
    std::thread thread([] { trace(atlTraceGeneral, eTL_Main, L"late"); });
    EXPECT_TRUE(log.WaitFor(eTL_Main, "late"));
    thread.join();
    EXPECT_TRUE(log.WaitFor(eTL_Main, "late", 0));
    EXPECT_FALSE(log.WaitFor(eTL_Main, "never", 1));
}

class FormatHrTest : public AssertionTest
{
protected:
    /// Formats into a buffer of just the size that is promised, with a guard behind it.
    std::string Call(const wchar_t* pszMessage, const wchar_t* pszName, HRESULT hr)
    {
        std::vector<wchar_t> buffer(1024 + 16, L'#');
        EXPECT_EQ(FormatHr(buffer.data(), pszMessage, pszName, hr), buffer.data());
        for (size_t i = 1024; i < buffer.size(); i++)
            EXPECT_EQ(buffer[i], L'#') << "written behind the buffer";
        buffer[1024] = 0;
        const std::string sText = Utf8(buffer.data());
        EXPECT_LT(sText.size(), 1024u);
        return sText;
    }
};

TEST_F(FormatHrTest, NullBufferOrName)
{
    wchar_t szText[1024] = L"kept";
    EXPECT_EQ(FormatHr(nullptr, L"message", L"name", 5), nullptr);
    EXPECT_EQ(FormatHr(szText, L"message", nullptr, 5), nullptr);
    EXPECT_EQ(Utf8(szText), "kept");
}

TEST_F(FormatHrTest, NameCodeMessageAndText)
{
    EXPECT_EQ(Call(L"message", L"hr", 5), "hr=0x00000005 (5)\nmessage\ntext of the code");
    EXPECT_EQ(Call(nullptr, L"hr", 5), "hr=0x00000005 (5)\nno message\ntext of the code");
    EXPECT_EQ(Call(L"", L"", 5), "=0x00000005 (5)\n\ntext of the code");
}

TEST_F(FormatHrTest, AnUnknownCodeKeepsTheFirstTwoLines)
{
    g_pfnErrorText = NoErrorText;
    EXPECT_EQ(Call(L"message", L"hr", HRESULT(0xA0BADF0D)), "hr=0xA0BADF0D (-1598365939)\nmessage");
    EXPECT_EQ(Call(nullptr, L"hr", HRESULT(0xA0BADF0D)), "hr=0xA0BADF0D (-1598365939)\nno message");
    EXPECT_EQ(Call(L"", L"hr", HRESULT(0xA0BADF0D)), "hr=0xA0BADF0D (-1598365939)");
}

TEST_F(FormatHrTest, TrailingCharactersBelow33AreCut)
{
    g_pfnErrorText = NoErrorText;
    EXPECT_EQ(Call(L"message \t\r\n \x1F", L"hr", HRESULT(0xA0BADF0D)),
              "hr=0xA0BADF0D (-1598365939)\nmessage");
    EXPECT_EQ(Call(L" \t m! ", L"hr", HRESULT(0xA0BADF0D)), "hr=0xA0BADF0D (-1598365939)\n \t m!");
}

TEST_F(FormatHrTest, LongNamesAndMessagesAreCut)
{
    const std::vector<wchar_t> text = Repeated(3000);
    EXPECT_EQ(Call(L"m", text.data(), 5), std::string(1023, 'a'));
    EXPECT_EQ(Call(text.data(), L"hr", 5), ("hr=0x00000005 (5)\n" + std::string(3000, 'a')).substr(0, 1023));
    EXPECT_EQ(Call(Repeated(1000).data(), L"hr", 5),
              "hr=0x00000005 (5)\n" + Utf8(Repeated(1000).data())); // five characters of room: no text
}

} // namespace
