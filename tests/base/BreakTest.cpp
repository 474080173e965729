// The answer "retry" of the debug report, and the platform's texts of a code.
#include "dstl/dshowx/DSTrace.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

int g_nBreaks = 0;

/// Steps over break instructions, as a debugger does.
LONG CALLBACK OnException(EXCEPTION_POINTERS* pPointers)
{
    if (pPointers->ExceptionRecord->ExceptionCode != EXCEPTION_BREAKPOINT)
        return EXCEPTION_CONTINUE_SEARCH;
    g_nBreaks++;
    constexpr BYTE byBreak = 0xCC;
    if (*reinterpret_cast<const BYTE*>(pPointers->ContextRecord->Rip) == byBreak)
        pPointers->ContextRecord->Rip++;
    return EXCEPTION_CONTINUE_EXECUTION;
}

TEST(AssertionBreak, TheAnswerRetryExecutesABreak)
{
    LogCapture log;
    AssertCapture asserts(1);
    g_nBreaks = 0;
    void* const pvHandler = AddVectoredExceptionHandler(1, &OnException);
    EXPECT_EQ(assertion(false, "f", 1, "e"), 4);
    RemoveVectoredExceptionHandler(pvHandler);
    EXPECT_EQ(g_nBreaks, 1);
    EXPECT_EQ(asserts.Texts(), std::vector<std::string>{"e"});
    const std::vector<std::string> texts = log.Texts(nLevelRaw);
    ASSERT_EQ(texts.size(), 2u);
    EXPECT_EQ(texts[1], "\nexit ASSERT");
}

TEST(AssertionBreak, OtherAnswersDoNot)
{
    for (const int nAnswer : {0, 2, -1})
    {
        AssertCapture asserts(nAnswer);
        g_nBreaks = 0;
        void* const pvHandler = AddVectoredExceptionHandler(1, &OnException);
        EXPECT_EQ(assertion(false, "f", 1, "e"), 5);
        RemoveVectoredExceptionHandler(pvHandler);
        EXPECT_EQ(g_nBreaks, 0);
    }
}

std::string SystemText(DWORD dwCode)
{
    wchar_t szText[1024] = {};
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, dwCode, 0, szText,
                   1024, nullptr);
    std::string sText = Utf8(szText);
    while (!sText.empty() && static_cast<unsigned char>(sText.back()) < 33)
        sText.pop_back();
    return sText;
}

DWORD WINAPI NoErrorText(HRESULT, WCHAR*, DWORD)
{
    return 0;
}

TEST(FormatHrTexts, TheTextOfDirectShowComesFirst)
{
    wchar_t szText[1024];
    ASSERT_EQ(FormatHr(szText, L"m", L"hr", HRESULT(0x80040200)), szText);
    const std::string sText = Utf8(szText);
    EXPECT_EQ(sText.rfind("hr=0x80040200 (-2147220992)\nm\n", 0), 0u) << sText;
    EXPECT_GT(sText.size(), strlen("hr=0x80040200 (-2147220992)\nm\n"));
}

TEST(FormatHrTexts, TheTextOfTheSystemStandsIn)
{
    const PFNERRORTEXT pfnEarlier = g_pfnErrorText;
    g_pfnErrorText = NoErrorText;
    wchar_t szText[1024];
    for (const DWORD dwCode : {2u, 5u, 0x80070005u, 0u})
    {
        char szFirst[100];
        snprintf(szFirst, sizeof(szFirst), "name=0x%08X (%i)\nno message\n", static_cast<unsigned>(dwCode),
                 static_cast<int>(dwCode));
        const std::string sSystem = SystemText(dwCode);
        EXPECT_FALSE(sSystem.empty()) << dwCode;
        ASSERT_EQ(FormatHr(szText, nullptr, L"name", static_cast<HRESULT>(dwCode)), szText);
        EXPECT_EQ(Utf8(szText), szFirst + sSystem);
    }
    ASSERT_EQ(FormatHr(szText, nullptr, L"name", HRESULT(0xA0BADF0D)), szText);
    EXPECT_EQ(Utf8(szText), "name=0xA0BADF0D (-1598365939)\nno message");
    g_pfnErrorText = pfnEarlier;
}

} // namespace
