#include "dstl/WinAPI/Containers.h"
#include "dstl/WinAPI/Functions.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

TEST(TextAccumulator, StartsEmpty)
{
    const CTextAccumulator text;
    EXPECT_EQ(Utf8(text.GetText()), "");
    EXPECT_EQ(text.GetLength(), 0u);
    EXPECT_EQ(text.GetCapacity(), 0u);
}

TEST(TextAccumulator, StartsWithRoom)
{
    CTextAccumulator text(4096);
    EXPECT_EQ(Utf8(text.GetText()), "");
    EXPECT_EQ(text.GetLength(), 0u);
    EXPECT_EQ(text.GetCapacity(), 4096u);
    const std::vector<wchar_t> line(4095, L'x');
    std::vector<wchar_t> lineZ = line;
    lineZ.push_back(0);
    EXPECT_TRUE(text.Append(lineZ.data()));
    EXPECT_EQ(text.GetCapacity(), 4096u);
    EXPECT_TRUE(text.Append(L"y"));
    EXPECT_GE(text.GetCapacity(), 4097u);
    EXPECT_EQ(Utf8(text.GetText()), std::string(4095, 'x') + "y");
}

TEST(TextAccumulator, AppendsBehindTheEnd)
{
    AssertCapture asserts;
    CTextAccumulator text;
    EXPECT_TRUE(text.Append(L"one"));
    EXPECT_EQ(text.GetLength(), 3u);
    EXPECT_TRUE(text.Append(L""));
    EXPECT_EQ(text.GetLength(), 3u);
    EXPECT_TRUE(text.Append(L", \x00E4\x4E8C"));
    EXPECT_EQ(text.GetLength(), 7u);
    EXPECT_EQ(Utf8(text.GetText()), "one, \xC3\xA4\xE4\xBA\x8C");
    EXPECT_TRUE(asserts.Texts().empty());
}

TEST(TextAccumulator, NoTextIsAssertedAndRefused)
{
    AssertCapture asserts;
    CTextAccumulator text;
    ASSERT_TRUE(text.Append(L"a"));
    EXPECT_FALSE(text.Append(nullptr));
    EXPECT_EQ(asserts.Texts(), std::vector<std::string>{"psz != NULL"});
    EXPECT_EQ(Utf8(text.GetText()), "a");
}

TEST(TextAccumulator, AnEmptyTextTakesNoMemory)
{
    CTextAccumulator text;
    EXPECT_TRUE(text.Append(L""));
    EXPECT_EQ(text.GetCapacity(), 0u);
}

TEST(TextAccumulator, ItsOwnTextMayBeAppended)
{
    CTextAccumulator text;
    ASSERT_TRUE(text.Append(L"ab"));
    for (int i = 0; i < 10; i++)
        ASSERT_TRUE(text.Append(text.GetText()));
    EXPECT_EQ(text.GetLength(), 2048u);
    std::string expected;
    for (int i = 0; i < 1024; i++)
        expected += "ab";
    EXPECT_EQ(Utf8(text.GetText()), expected);
    ASSERT_TRUE(text.Append(text.GetText() + 2047));
    EXPECT_EQ(Utf8(text.GetText()), expected + "b");
}

TEST(TextAccumulator, RoomThatCannotBeHadLeavesItEmpty)
{
    CTextAccumulator text(SIZE_MAX);
    EXPECT_EQ(text.GetCapacity(), 0u);
    EXPECT_EQ(Utf8(text.GetText()), "");
    EXPECT_TRUE(text.Append(L"a"));
    EXPECT_EQ(Utf8(text.GetText()), "a");
}

#ifndef QX_NATIVE
TEST(TurnBars, BothDirections)
{
    wchar_t szPath[] = L"C:|logs|log64.dll|";
    DSTLTurnBars(szPath, true);
    EXPECT_EQ(Utf8(szPath), "C:\\logs\\log64.dll\\");
    DSTLTurnBars(szPath, true);
    EXPECT_EQ(Utf8(szPath), "C:\\logs\\log64.dll\\");
    DSTLTurnBars(szPath, false);
    EXPECT_EQ(Utf8(szPath), "C:|logs|log64.dll|");
    wchar_t szEmpty[] = L"";
    DSTLTurnBars(szEmpty, true);
    EXPECT_EQ(Utf8(szEmpty), "");
    DSTLTurnBars(nullptr, true);
}
#endif

} // namespace
