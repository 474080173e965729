// The text of a message as it stands in the file.
#include "LogLine.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using std::string;
using std::wstring;

class Bytes final : public ILogBytes
{
public:
    void Put(const char* pch, size_t cch) noexcept override
    {
        s.append(pch, cch);
        nPieces++;
    }
    string s;
    int nPieces = 0;
};

const LogStamp g_stamp = {{2026, 3, 1, 9, 1, 4, 5, 67}, 4660, 22136};

string Put(const wstring& sMessage)
{
    Bytes bytes;
    PutMessage(bytes, g_stamp, sMessage.c_str());
    return bytes.s;
}

const string g_sHead = "2026-03-09 01:04:05.067 4660:22136 ";

TEST(LogLine, HasTimeProcessThreadLevelAndText)
{
    EXPECT_EQ(Put(L"\x0009text\n"), g_sHead + "8 text\r\n");
    EXPECT_EQ(Put(L"\x0003###Err### x"), g_sHead + "2 ###Err### x\r\n");
    EXPECT_EQ(Put(L"\x0001text"), g_sHead + "0 text\r\n");
    EXPECT_EQ(Put(L"no level"), g_sHead + "- no level\r\n");
}

TEST(LogLine, AnEmptyMessageIsALineAllTheSame)
{
    EXPECT_EQ(Put(L""), g_sHead + "- \r\n");
    EXPECT_EQ(Put(L"\x0005"), g_sHead + "4 \r\n");
    EXPECT_EQ(Put(L"\x0005\r\n\r\n"), g_sHead + "4 \r\n");
}

TEST(LogLine, FurtherLinesBearAPlus)
{
    EXPECT_EQ(Put(L"###Err###\nf.cpp(5): ASSERT( \"a != b\" )\nGetLastError()=0x00000000 (0)\n\nOk.\n"),
              g_sHead + "- ###Err###\r\n" + g_sHead + "-+ f.cpp(5): ASSERT( \"a != b\" )\r\n" + g_sHead +
                  "-+ GetLastError()=0x00000000 (0)\r\n" + g_sHead + "-+ \r\n" + g_sHead + "-+ Ok.\r\n");
    EXPECT_EQ(Put(L"\nexit ASSERT"), g_sHead + "- exit ASSERT\r\n");
    EXPECT_EQ(Put(L"\r\n[Filter Graph]--\r\n\r\nFilter x\r\n\tINPUT\r\n\r\n"),
              g_sHead + "- [Filter Graph]--\r\n" + g_sHead + "-+ \r\n" + g_sHead + "-+ Filter x\r\n" +
                  g_sHead + "-+ \tINPUT\r\n");
    EXPECT_EQ(Put(L"\x0009"
                  L"a\rb\n\rc"),
              g_sHead + "8 a\r\n" + g_sHead + "8+ b\r\n" + g_sHead + "8+ \r\n" + g_sHead + "8+ c\r\n");
}

TEST(LogLine, IsUtf8)
{
    EXPECT_EQ(Put(L"\u007F\u0080\u07FF\u0800\uFFFD"),
              g_sHead + "- \x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBD\r\n");
    EXPECT_EQ(Put(L"\xD83D\xDE00"), g_sHead + "- \xF0\x9F\x98\x80\r\n");
    EXPECT_EQ(Put(L"\xDBFF\xDFFF"), g_sHead + "- \xF4\x8F\xBF\xBF\r\n");
}

TEST(LogLine, HalfCharactersAreReplaced)
{
    const string sReplaced = "\xEF\xBF\xBD";
    EXPECT_EQ(Put(L"\xD83D"), g_sHead + "- " + sReplaced + "\r\n");
    EXPECT_EQ(Put(L"\xDE00\xD83D"), g_sHead + "- " + sReplaced + sReplaced + "\r\n");
    EXPECT_EQ(Put(L"\xD83Dx"), g_sHead + "- " + sReplaced + "x\r\n");
    EXPECT_EQ(Put(L"\xD83D\n\xDE00"),
              g_sHead + "- " + sReplaced + "\r\n" + g_sHead + "-+ " + sReplaced + "\r\n");
}

TEST(LogLine, ControlCharactersAreSpelled)
{
    EXPECT_EQ(Put(L"-\x0001\x001B[0m\t\x001F"), g_sHead + "- -\\x01\\x1B[0m\t\\x1F\r\n");
}

TEST(LogLine, OfAnyLengthArrivesInFewPieces)
{
    for (const size_t nLength : {4000u, 4095u, 4096u, 4097u, 1000000u})
    {
        wstring sMessage = L"-";
        string sExpected = "-";
        while (sMessage.size() < nLength)
        {
            sMessage += L'\u4E2D';
            sExpected += "\xE4\xB8\xAD";
        }
        Bytes bytes;
        PutMessage(bytes, g_stamp, sMessage.c_str());
        EXPECT_EQ(bytes.s, g_sHead + "- " + sExpected + "\r\n") << nLength;
        EXPECT_LE(bytes.nPieces, static_cast<int>(bytes.s.size() / 4000 + 1));
    }
    // A trace line is one piece, so it is one write even where no lock can be had.
    Bytes bytes;
    PutMessage(bytes, g_stamp, (L"\x0009" + wstring(1022, L'\u4E2D')).c_str());
    EXPECT_EQ(bytes.nPieces, 1);
}

TEST(LogLine, TellsErrors)
{
    EXPECT_TRUE(IsErrorMessage(L"\x0003###Err### x"));
    EXPECT_TRUE(IsErrorMessage(L"\x0003[x]: NewSegment( 0.000 - *)"));
    EXPECT_TRUE(IsErrorMessage(L"\x0002"));
    EXPECT_TRUE(IsErrorMessage(L"###Err###\nf(1): ASSERT"));
    EXPECT_TRUE(IsErrorMessage(L"\r\n[Filter Graph]--\r\n###Err### CFilterChainParser"));
    EXPECT_FALSE(IsErrorMessage(L"\x0005WARNING. x"));
    EXPECT_FALSE(IsErrorMessage(L"\x0009###Err###"));
    EXPECT_FALSE(IsErrorMessage(L"\x0001"));
    EXPECT_FALSE(IsErrorMessage(L"\r\n[Filter Graph]--\r\n"));
    EXPECT_FALSE(IsErrorMessage(L""));
}

TEST(LogLine, TheStampIsThatOfTheCaller)
{
    const LogStamp stamp = LogStampNow();
    EXPECT_EQ(stamp.dwProcess, GetCurrentProcessId());
    EXPECT_EQ(stamp.dwThread, GetCurrentThreadId());
    EXPECT_GE(stamp.time.wYear, 2000);
}

// What the header tells a writer of another log DLL.
static_assert(noexcept(QXLogLevel(nullptr)) && noexcept(QXLogText(nullptr)));

TEST(LogContract, TheFirstCharacterTellsTheLevel)
{
    for (int nLevel = 0; nLevel <= 8; nLevel++)
    {
        const wchar_t szMessage[] = {static_cast<wchar_t>(nLevel + 1), L'x', 0};
        EXPECT_EQ(QXLogLevel(szMessage), nLevel);
        EXPECT_EQ(wstring(QXLogText(szMessage)), L"x");
    }
    for (const wchar_t* pszMessage : {L"", L"\nexit ASSERT", L"\r\n[Filter", L"###Err###", L"\xFFFF"})
    {
        EXPECT_EQ(QXLogLevel(pszMessage), -1);
        EXPECT_EQ(QXLogText(pszMessage), pszMessage);
    }
}

} // namespace
