// What "qxstill log" does: the key that the filter reads, the log DLL, the end of the file.
#include "Failure.h"
#include "LogDll.h"
#include "LogTail.h"
#include "qxlog/LogFiles.h"

#include "dstl/dshowx/QXLog.h"
#include "support/OwnRegistry.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using std::string;
using std::wstring;

class LogKeyTest : public testing::Test
{
protected:
    static void SetValue(const wchar_t* pszName, DWORD dwType, const void* pv, DWORD cb)
    {
        ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, szQXLogKey, pszName, dwType, pv, cb), ERROR_SUCCESS);
    }
    static bool HasKey()
    {
        HKEY hKey = nullptr;
        if (RegOpenKeyExW(HKEY_CURRENT_USER, szQXLogKey, 0, KEY_READ, &hKey) != ERROR_SUCCESS)
            return false;
        RegCloseKey(hKey);
        return true;
    }

private:
    OwnRegistry m_registry;
};

TEST_F(LogKeyTest, IsWrittenWithBarsAndReadWithBackslashes)
{
    EXPECT_EQ(ReadLogDll(), std::nullopt);
    WriteLogDll(L"C:\\logs \u00E4\u0416\\qxlog64.dll");
    wchar_t szValue[300] = {};
    DWORD cb = sizeof(szValue), dwType = 0;
    EXPECT_EQ(RegGetValueW(HKEY_CURRENT_USER, szQXLogKey, nullptr, RRF_RT_ANY, &dwType, szValue, &cb),
              ERROR_SUCCESS);
    EXPECT_EQ(dwType, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(wstring(szValue), L"C:|logs \u00E4\u0416|qxlog64.dll");
    EXPECT_EQ(ReadLogDll(), L"C:\\logs \u00E4\u0416\\qxlog64.dll");
    RemoveLogDll();
    EXPECT_EQ(ReadLogDll(), std::nullopt);
    EXPECT_FALSE(HasKey());
    RemoveLogDll(); // once more does no harm
}

TEST_F(LogKeyTest, KeepsWhatElseIsInTheKey)
{
    WriteLogDll(L"C:\\x.dll");
    SetValue(L"other", REG_SZ, L"y", 4);
    RemoveLogDll();
    EXPECT_EQ(ReadLogDll(), std::nullopt);
    EXPECT_TRUE(HasKey());
    RemoveLogDll();
    EXPECT_TRUE(HasKey());
}

TEST_F(LogKeyTest, RefusesANameThatTheFilterDoesNotRead)
{
    WriteLogDll(L"C:\\" + wstring(256, L'x'));
    EXPECT_EQ(ReadLogDll()->size(), 259u);
    try
    {
        WriteLogDll(L"C:\\" + wstring(257, L'x'));
        ADD_FAILURE() << "accepted";
    }
    catch (const Failure& failure)
    {
        EXPECT_EQ(string(failure.what()),
                  "the name \"C:\\" + string(257, 'x') +
                      "\" has more than 259 characters, which the filter does not read; "
                      "move the folder to a shorter name");
    }
}

TEST_F(LogKeyTest, TellsAValueThatIsNoText)
{
    const DWORD dwValue = 1;
    SetValue(nullptr, REG_DWORD, &dwValue, sizeof(dwValue));
    try
    {
        ReadLogDll();
        ADD_FAILURE() << "accepted";
    }
    catch (const Failure& failure)
    {
        EXPECT_STREQ(failure.what(), "the value of HKEY_CURRENT_USER\\Software\\_DSTLLOG64 is no text");
    }
}

string FailureOf(const wstring& sDll)
{
    try
    {
        LogDll dll(sDll);
    }
    catch (const Failure& failure)
    {
        return failure.what();
    }
    return "";
}

TEST(LogDllOfTheTool, TellsItsFileAndWhatIsWrong)
{
    const OwnLogFile own;
    EXPECT_EQ(LogDll(OwnLogDll()).File(), own.Path().wstring());
    EXPECT_EQ(FailureOf(L"C:\\none\\none.dll").rfind("the log DLL \"C:\\none\\none.dll\" does not load: ", 0),
              0u);
    EXPECT_EQ(FailureOf(L"kernel32.dll"),
              "\"kernel32.dll\" is no log DLL: it does not export Exp_GetLogObject");
    // A log DLL that does not tell its file is one all the same.
    EXPECT_EQ(LogDll((fs::path(OwnLogDll()).parent_path() / L"qxtestlog.dll").wstring()).File(), L"");
    EXPECT_EQ(GetModuleHandleW(L"qxlog64.dll"), nullptr) << "not kept loaded";
}

class LogTailTest : public testing::Test
{
protected:
    void Append(const string& s) const
    {
        std::ofstream file(m_own.Path(), std::ios::binary | std::ios::app);
        file << s;
    }
    string Last(size_t nLines) const
    {
        string s;
        LogTail(m_own.Path().wstring()).PutLast(nLines, [&](std::string_view bytes) { s += bytes; });
        return s;
    }

    const OwnLogFile m_own;
};

TEST_F(LogTailTest, GivesTheLastLines)
{
    Append("");
    EXPECT_EQ(Last(5), "");
    Append("a\r\n");
    EXPECT_EQ(Last(0), "");
    EXPECT_EQ(Last(1), "a\r\n");
    EXPECT_EQ(Last(5), "a\r\n");
    Append("b\r\n\r\nc");
    EXPECT_EQ(Last(1), "c");
    EXPECT_EQ(Last(2), "\r\nc");
    EXPECT_EQ(Last(3), "b\r\n\r\nc");
    EXPECT_EQ(Last(4), "a\r\nb\r\n\r\nc");
    EXPECT_EQ(Last(1000000), "a\r\nb\r\n\r\nc");
}

TEST_F(LogTailTest, GoesThroughAFileOfManyPieces)
{
    // Line ends at and around the ends of the pieces that are read.
    string sAll;
    for (const size_t nLength : {65534u, 65535u, 65536u, 131071u, 10u, 65536u - 12u})
        sAll += string(nLength, 'x') + "\r\n";
    Append(sAll);
    size_t nBegin = sAll.size();
    for (size_t nLines = 1; nLines <= 6; nLines++)
    {
        nBegin = nBegin > 2 ? sAll.rfind('\n', nBegin - 2) : string::npos;
        nBegin = nBegin == string::npos ? 0 : nBegin + 1;
        EXPECT_TRUE(Last(nLines) == sAll.substr(nBegin)) << nLines;
    }
}

TEST_F(LogTailTest, FollowsTheFileAndItsSuccessors)
{
    Append("1\r\n2\r\n");
    string s;
    const auto output = [&s](std::string_view bytes) { s += bytes; };
    LogTail tail(m_own.Path().wstring());
    tail.PutLast(1, output);
    EXPECT_EQ(s, "2\r\n");
    tail.PutNew(output);
    EXPECT_EQ(s, "2\r\n");
    Append("3\r\n");
    tail.PutNew(output);
    EXPECT_EQ(s, "2\r\n3\r\n");

    // Written, then renamed, then begun afresh: nothing of it is missed.
    Append("4\r\n");
    fs::rename(m_own.Path(), m_own.Earlier(1));
    tail.PutNew(output);
    EXPECT_EQ(s, "2\r\n3\r\n4\r\n");
    Append("5\r\n");
    tail.PutNew(output);
    EXPECT_EQ(s, "2\r\n3\r\n4\r\n5\r\n");
    // Emptied in place.
    std::ofstream(m_own.Path(), std::ios::binary | std::ios::trunc) << "6";
    tail.PutNew(output);
    EXPECT_EQ(s, "2\r\n3\r\n4\r\n5\r\n6");
}

TEST_F(LogTailTest, FollowsUntilItIsStopped)
{
    Append("1\r\n");
    const HANDLE hStop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE hSeen = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    LogTail tail(m_own.Path().wstring());
    string s;
    std::thread thread(
        [&]
        {
            tail.Follow(hStop,
                        [&](std::string_view bytes)
                        {
                            s += bytes;
                            if (s.find("2\r\n") != string::npos)
                                SetEvent(hSeen);
                        });
        });
    Append("2\r\n");
    EXPECT_EQ(WaitForSingleObject(hSeen, 30000), WAIT_OBJECT_0);
    SetEvent(hStop);
    thread.join();
    EXPECT_EQ(s, "1\r\n2\r\n");
    CloseHandle(hStop);
    CloseHandle(hSeen);
}

TEST_F(LogTailTest, TellsThatThereIsNoFile)
{
    try
    {
        LogTail tail(m_own.Path().wstring());
        ADD_FAILURE() << "opened";
    }
    catch (const Failure& failure)
    {
        const string sBegin = "cannot read the log \"" + ToUtf8(m_own.Path().wstring()) +
                              "\": ERROR_FILE_NOT_FOUND (0x80070002)";
        EXPECT_EQ(string(failure.what()).substr(0, sBegin.size()), sBegin);
    }
}

} // namespace
