// What is above the threshold, or has no category, is not formatted: every formatting call of the program is
// counted, by way of the linker.
#include "diagnostics/FormatBlocks.h"
#include "dstl/dshowx/DSParsers.h"
#include "dstl/dshowx/DSTrace.h"
#include "support/FakeSample.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cwchar>

namespace
{
int g_nFormatted;
}

extern "C"
{
    using PfnVsnwprintf = int(__cdecl*)(wchar_t*, size_t, const wchar_t*, va_list);
    using PfnWsprintf = int(WINAPIV*)(LPWSTR, LPCWSTR, ...);
    extern PfnVsnwprintf __real___imp__vsnwprintf;

    static int __cdecl CountedVsnwprintf(wchar_t* psz, size_t cch, const wchar_t* pszFormat, va_list args)
    {
        g_nFormatted++;
        return __real___imp__vsnwprintf(psz, cch, pszFormat, args);
    }
    static int WINAPIV CountedWsprintf(LPWSTR psz, LPCWSTR pszFormat, ...)
    {
        g_nFormatted++;
        va_list args;
        va_start(args, pszFormat);
        const int nLength = wvsprintfW(psz, pszFormat, args);
        va_end(args);
        return nLength;
    }

    PfnVsnwprintf __wrap___imp__vsnwprintf = CountedVsnwprintf;
    PfnWsprintf __wrap___imp_wsprintfW = CountedWsprintf;
}

namespace
{

class NoFormatting : public testing::Test
{
protected:
    NoFormatting()
    {
        g_nFormatted = 0;
        m_video.bmiHeader = UyvyHeader();
        m_mt = CMType(guidVideo, guidUyvy, guidVideoInfo, sizeof(m_video),
                      reinterpret_cast<const BYTE*>(&m_video));
        g_nFormatted = 0;
        m_log.Clear();
    }

    /// Every dump and a line, with things and with nulls.
    void WriteAll(DWORD_PTR dwCategory, UINT nLevel)
    {
        const WAVEFORMATEX wave = {};
        const DvInfo dv = {};
        trace(dwCategory, nLevel, L"%s %i\n", L"line", 1);
        Debug_MediaType(dwCategory, nLevel, &m_mt, L"p: ");
        Debug_MediaType(dwCategory, nLevel, nullptr, L"p: ");
        Debug_Sample(dwCategory, nLevel, &m_sample, L"p: ");
        Debug_Sample(dwCategory, nLevel, nullptr, L"p: ");
        Debug_Allocator(dwCategory, nLevel, nullptr, L"p: ");
        Debug_FilterFromPin(dwCategory, nLevel, nullptr, L"p: ");
        Debug_BitmapInfoHeader(dwCategory, nLevel, &m_video.bmiHeader, L"p: ");
        Debug_WaveFormatEx(dwCategory, nLevel, &wave, L"p: ");
        Debug_DvInfo(dwCategory, nLevel, &dv, L"p: ");
        Debug_Memory(dwCategory, nLevel, &dv, sizeof(dv), L"p: ");
    }

    VIDEOINFOHEADER m_video = {};
    CMType m_mt;
    FakeSample m_sample;
    LogCapture m_log;
};

TEST_F(NoFormatting, TheCounterCounts)
{
    trace(atlTraceGeneral, eTL_Main, L"line\n");
    EXPECT_EQ(g_nFormatted, 1);
    WriteAll(atlTraceGeneral, eTL_Main);
    EXPECT_GT(g_nFormatted, 20);
    EXPECT_GT(m_log.Lines().size(), 15u);
    EXPECT_FALSE(m_sample.CallOrder().empty());
}

TEST_F(NoFormatting, AboveLevelEight)
{
    for (const UINT nLevel : {9u, 10u, 11u, 12u, 100u, 0xFFFFFFFFu})
        WriteAll(atlTraceGeneral, nLevel);
    EXPECT_EQ(g_nFormatted, 0);
    EXPECT_TRUE(m_log.Lines().empty());
    EXPECT_TRUE(m_sample.CallOrder().empty());
}

// A picture may fail for each of its pixels: the text of a place is built once, and each failure is reported.
TEST_F(NoFormatting, TheSameAssertionOnceMore)
{
    constexpr int nTimes = 100000;
    int nReports = 0;
    static int* s_pnReports;
    s_pnReports = &nReports;
    const PFNDEBUGREPORT pfnEarlier = g_pfnDebugReport;
    g_pfnDebugReport = [](int, const char*, int, const char*, const char*) { return ++*s_pnReports * 0; };
    SetLastError(ERROR_FILE_NOT_FOUND);
    for (int n = 0; n < nTimes; n++)
        DSASSERT_TEXT(n < 0, "the same each time");
    g_pfnDebugReport = pfnEarlier;
    EXPECT_EQ(g_nFormatted, 2) << "the text of the last error and the line, once";
    EXPECT_EQ(nReports, nTimes);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});

    const std::vector<LogLine> lines = m_log.Lines();
    ASSERT_EQ(lines.size(), 2u * nTimes);
    EXPECT_NE(lines[0].sText.find("ASSERT( \"the same each time\" )\nGetLastError()=0x00000002 (2)\n"),
              std::string::npos)
        << lines[0].sText;
    for (size_t n = 0; n < lines.size(); n++)
        ASSERT_EQ(lines[n], (n % 2 == 0 ? lines[0] : LogLine{nLevelRaw, "\nexit ASSERT"})) << n;
}

TEST_F(NoFormatting, AnotherLastErrorOrTextIsAnotherLine)
{
    const auto Fail = [] { DSASSERT_TEXT(false, "one place"); };
    for (const DWORD dwError : {5u, 6u, 5u, 6u})
    {
        SetLastError(dwError);
        Fail();
        const std::string sCode = "GetLastError()=0x0000000" + std::to_string(dwError);
        EXPECT_NE(m_log.Lines()[0].sText.find(sCode), std::string::npos) << m_log.Lines()[0].sText;
        m_log.Clear();
    }
    EXPECT_EQ(g_nFormatted, 4);

    // A text that may change is built each time.
    char szText[] = "text 0";
    for (int n = 1; n <= 3; n++)
    {
        szText[5]++;
        assertion(false, "f", 1, szText);
        EXPECT_NE(m_log.Lines()[0].sText.find("text " + std::to_string(n)), std::string::npos);
        m_log.Clear();
    }
}

TEST_F(NoFormatting, WithoutACategory)
{
    for (const UINT nLevel : {0u, 2u, 8u})
        WriteAll(0, nLevel);
    EXPECT_EQ(g_nFormatted, 0);
    EXPECT_TRUE(m_log.Lines().empty());
    EXPECT_TRUE(m_sample.CallOrder().empty());
}

} // namespace
