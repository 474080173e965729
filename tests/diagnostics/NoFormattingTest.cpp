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

TEST_F(NoFormatting, WithoutACategory)
{
    for (const UINT nLevel : {0u, 2u, 8u})
        WriteAll(0, nLevel);
    EXPECT_EQ(g_nFormatted, 0);
    EXPECT_TRUE(m_log.Lines().empty());
    EXPECT_TRUE(m_sample.CallOrder().empty());
}

} // namespace
