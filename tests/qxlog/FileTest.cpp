// The file of the log: what is kept when it grows, moves, goes, fails, and is written by many.
#include "LogFile.h"
#include "qxlog/FileCalls.h"
#include "qxlog/LogFiles.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using std::string;
using std::wstring;
using Texts = std::vector<string>;

class LogFileTest : public testing::Test
{
protected:
    LogFileTest() { g_calls = {}; }
    ~LogFileTest() { g_calls = {}; }
};

TEST_F(LogFileTest, AppendsOneLineAMessage)
{
    const OwnLogFile own;
    for (int n = 0; n < 2; n++)
    {
        CLogFile file;
        file.Prepare();
        EXPECT_TRUE(file.IsPrepared());
        file.Write(L"\x0009"
                   L"first\n");
        file.Write(L"\x0005second \u0416\n");
        file.Close();
        EXPECT_FALSE(file.IsPrepared());
    }
    EXPECT_EQ(ReadTexts(own.Path()), (Texts{"8 first", "4 second \xD0\x96", "8 first", "4 second \xD0\x96"}));
    const std::vector<ReadLine> lines = ReadLines(own.Path());
    ASSERT_EQ(lines.size(), 6u);
    for (const ReadLine& line : lines)
    {
        EXPECT_EQ(line.dwProcess, GetCurrentProcessId());
        EXPECT_EQ(line.dwThread, GetCurrentThreadId());
    }
    wchar_t szHost[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, szHost, MAX_PATH);
    const string sOpened = "qxlog64: opened by \"" + fs::path(szHost).string() + "\", times are UTC";
    for (const size_t n : {0u, 3u})
    {
        EXPECT_EQ(lines[n].chLevel, '-');
        EXPECT_EQ(lines[n].sText.substr(0, sOpened.size()), sOpened);
        EXPECT_EQ(lines[n].sText.size(), sOpened.size() + 6) << lines[n].sText;
    }
}

TEST_F(LogFileTest, FlushesOnErrors)
{
    const OwnLogFile own;
    CLogFile file;
    file.Prepare();
    file.Write(L"\x0009main event");
    file.Write(L"\x0005WARNING. x");
    EXPECT_EQ(g_calls.nFlushed, 0);
    file.Write(L"\x0003###Err### x");
    EXPECT_EQ(g_calls.nFlushed, 1);
    file.Write(L"###Err###\nf(1): ASSERT( \"x\" )\n");
    EXPECT_EQ(g_calls.nFlushed, 2);
    file.Write(L"\nexit ASSERT");
    EXPECT_EQ(g_calls.nFlushed, 2);
    file.Flush();
    EXPECT_EQ(g_calls.nFlushed, 3);
}

TEST_F(LogFileTest, WhatIsWrittenCanBeReadAtOnce)
{
    const OwnLogFile own;
    CLogFile file;
    file.Prepare();
    for (int n = 1; n <= 3; n++)
    {
        file.Write(L"\x0009line");
        EXPECT_EQ(ReadTexts(own.Path()).size(), static_cast<size_t>(n));
    }
}

TEST_F(LogFileTest, RotatesWhenTheSizeIsReached)
{
    const OwnLogFile own(L"1");
    CLogFile file;
    file.Prepare();
    // Each message is more than 1 KiB, so it fills a file of its own.
    const wstring sFill(1000, L'x');
    for (int n = 0; n < 6; n++)
        file.Write((std::to_wstring(n) + L" " + sFill).c_str());
    const auto Kept = [&](int n) { return Texts{"- " + std::to_string(n) + " " + string(1000, 'x')}; };
    EXPECT_EQ(ReadTexts(own.Path()), Kept(5));
    EXPECT_EQ(ReadTexts(own.Earlier(1)), Kept(4));
    EXPECT_EQ(ReadTexts(own.Earlier(2)), Kept(3));
    EXPECT_EQ(ReadTexts(own.Earlier(3)), Kept(2));
    EXPECT_FALSE(fs::exists(own.Earlier(4)));
    EXPECT_EQ(ReadLines(own.Path()).size(), 2u) << "each file tells who writes it";
}

TEST_F(LogFileTest, SmallMessagesFillAFileToItsLimit)
{
    const OwnLogFile own(L"4");
    CLogFile file;
    file.Prepare();
    const int nMessages = 150;
    for (int n = 0; n < nMessages; n++)
        file.Write((L"\x0009" + std::to_wstring(n)).c_str());
    Texts texts;
    for (const fs::path& path : {own.Earlier(3), own.Earlier(2), own.Earlier(1), own.Path()})
    {
        const Texts part = ReadTexts(path);
        texts.insert(texts.end(), part.begin(), part.end());
        if (path != own.Path() && fs::exists(path))
        {
            EXPECT_GE(fs::file_size(path), 4096u);
            EXPECT_LT(fs::file_size(path), 4096u + 100);
        }
    }
    ASSERT_EQ(texts.size(), static_cast<size_t>(nMessages));
    for (int n = 0; n < nMessages; n++)
        EXPECT_EQ(texts[static_cast<size_t>(n)], "8 " + std::to_string(n));
}

TEST_F(LogFileTest, ASizeOfZeroNeverRotates)
{
    const OwnLogFile own(L"0");
    CLogFile file;
    file.Prepare();
    const wstring sFill(5000, L'x');
    for (int n = 0; n < 20; n++)
        file.Write(sFill.c_str());
    EXPECT_EQ(ReadTexts(own.Path()).size(), 20u);
    EXPECT_FALSE(fs::exists(own.Earlier(1)));
}

TEST_F(LogFileTest, AFileThatCannotBeRenamedGrowsOn)
{
    const OwnLogFile own(L"1");
    CLogFile file;
    file.Prepare();
    const wstring sFill(1100, L'x');
    file.Write(sFill.c_str());
    g_calls.nMovesToFail = 1000;
    file.Write(sFill.c_str()); // tried: three renames
    EXPECT_EQ(g_calls.nMovesToFail, 997);
    EXPECT_EQ(ReadTexts(own.Path()).size(), 2u);
    file.Write(L"y"); // has grown by more than a quarter of the limit: tried again
    EXPECT_EQ(g_calls.nMovesToFail, 994);
    file.Write(L"z"); // has not
    EXPECT_EQ(g_calls.nMovesToFail, 994);
    EXPECT_EQ(ReadTexts(own.Path()).size(), 4u);
    g_calls.nMovesToFail = 0;
    file.Write(sFill.c_str());
    file.Write(L"new");
    EXPECT_EQ(ReadTexts(own.Path()), Texts{"- new"});
    EXPECT_EQ(ReadTexts(own.Earlier(1)).size(), 5u);
}

TEST_F(LogFileTest, AnUnwritablePathIsSilentAndTriedAgainLater)
{
    const OwnLogFile own;
    const fs::path folder = own.Path().parent_path() / L"missing";
    const fs::path path = folder / L"log.txt";
    SetEnvironmentVariableW(szVariableFile, path.c_str());
    CLogFile file;
    file.Prepare();
    file.Write(L"\x0003###Err### lost");
    file.Flush();
    EXPECT_FALSE(fs::exists(path));
    fs::create_directory(folder);
    g_calls.ullTick += 4999;
    file.Write(L"lost as well");
    EXPECT_FALSE(fs::exists(path));
    g_calls.ullTick += 1;
    file.Write(L"kept");
    EXPECT_EQ(ReadTexts(path), Texts{"- kept"});
}

TEST_F(LogFileTest, AFolderInThePlaceOfTheFile)
{
    const OwnLogFile own;
    fs::create_directory(own.Path());
    CLogFile file;
    file.Prepare();
    file.Write(L"lost");
    EXPECT_TRUE(fs::is_empty(own.Path()));
}

TEST_F(LogFileTest, AFullDiskIsTriedAgainLater)
{
    const OwnLogFile own;
    CLogFile file;
    file.Prepare();
    file.Write(L"before");
    g_calls.nWritesToFail = 1;
    file.Write(L"lost");
    EXPECT_EQ(g_calls.nWritesToFail, 0);
    file.Write(L"lost while nobody tries");
    g_calls.ullTick += 5000;
    file.Write(L"after");
    EXPECT_EQ(ReadTexts(own.Path()), (Texts{"- before", "- after"}));
    // The line of the opening fails as well as any other.
    file.Close();
    g_calls.nWritesToFail = 1;
    file.Prepare();
    file.Write(L"lost");
    EXPECT_EQ(g_calls.nWritesToFail, 0);
    EXPECT_EQ(ReadTexts(own.Path()).size(), 2u);
}

TEST_F(LogFileTest, AFileThatIsDeletedOrRenamedIsBegunAfresh)
{
    const OwnLogFile own;
    CLogFile file;
    file.Prepare();
    file.Write(L"1");
    fs::rename(own.Path(), own.Earlier(9));
    file.Write(L"2"); // not looked at for each line
    EXPECT_FALSE(fs::exists(own.Path()));
    g_calls.ullTick += 1000;
    file.Write(L"3");
    EXPECT_EQ(ReadTexts(own.Earlier(9)), (Texts{"- 1", "- 2"}));
    EXPECT_EQ(ReadTexts(own.Path()), Texts{"- 3"});
    EXPECT_TRUE(fs::remove(own.Path())) << "the log may be deleted while it is written";
    g_calls.ullTick += 1000;
    file.Write(L"4");
    EXPECT_EQ(ReadTexts(own.Path()), Texts{"- 4"});
    g_calls.ullTick += 1000;
    file.Write(L"5");
    EXPECT_EQ(ReadTexts(own.Path()), (Texts{"- 4", "- 5"}));
}

TEST_F(LogFileTest, AWriterThatKeepsTheLockHoldsNobodyUpForLong)
{
    const OwnLogFile own;
    CLogFile file;
    file.Prepare();
    file.Write(L"1");
    EXPECT_EQ(g_calls.msLastWait, 2000u);
    g_calls.bWaitsEnd = true;
    file.Write(L"2");
    EXPECT_EQ(g_calls.msLastWait, 2000u);
    file.Write(L"3");
    EXPECT_EQ(g_calls.msLastWait, 0u) << "waited for once only";
    file.Flush();
    g_calls.bWaitsEnd = false;
    file.Write(L"4");
    EXPECT_EQ(g_calls.msLastWait, 0u);
    file.Write(L"5");
    EXPECT_EQ(g_calls.msLastWait, 2000u);
    EXPECT_EQ(ReadTexts(own.Path()), (Texts{"- 1", "- 2", "- 3", "- 4", "- 5"}));
}

TEST_F(LogFileTest, WithoutANamedMutexThreadsAreKeptApart)
{
    const OwnLogFile own;
    g_calls.bNoNamedMutex = true;
    CLogFile file;
    file.Prepare();
    file.Write(L"x");
    EXPECT_EQ(ReadTexts(own.Path()), Texts{"- x"});
}

// Two objects stand for two processes: each has its handle, and their threads meet in the mutex alone.
TEST_F(LogFileTest, ConcurrentWritersLoseNothingAndRotateOnce)
{
    constexpr int nThreads = 6, nMessages = 300;
    const OwnLogFile own(L"100");
    CLogFile files[2];
    for (CLogFile& file : files)
        file.Prepare();
    std::vector<std::thread> threads;
    for (int t = 0; t < nThreads; t++)
    {
        threads.emplace_back(
            [&files, t]
            {
                for (int n = 0; n < nMessages; n++)
                {
                    const wstring s = L"thread " + std::to_wstring(t) + L" message " + std::to_wstring(n);
                    files[t % 2].Write(
                        (s + L" " + wstring(static_cast<size_t>(n % 50), L'.') + L"\n" + s).c_str());
                }
            });
    }
    for (std::thread& thread : threads)
        thread.join();

    Texts texts;
    for (const fs::path& path : {own.Earlier(3), own.Earlier(2), own.Earlier(1), own.Path()})
    {
        const Texts part = ReadTexts(path);
        texts.insert(texts.end(), part.begin(), part.end());
        if (path != own.Path() && fs::exists(path))
        {
            EXPECT_GE(fs::file_size(path), 102400u) << "rotated too early";
        }
    }
    EXPECT_TRUE(fs::exists(own.Earlier(1)));
    ASSERT_EQ(texts.size(), 2u * nThreads * nMessages);
    std::map<int, int> next;
    for (size_t n = 0; n < texts.size(); n += 2)
    {
        int t = -1, nMessage = -1;
        ASSERT_EQ(sscanf(texts[n].c_str(), "- thread %d message %d ", &t, &nMessage), 2) << texts[n];
        EXPECT_EQ(nMessage, next[t]++) << "the messages of a thread stand in their order";
        const string s = "thread " + std::to_string(t) + " message " + std::to_string(nMessage);
        EXPECT_EQ(texts[n], "- " + s + " " + string(static_cast<size_t>(nMessage % 50), '.'));
        EXPECT_EQ(texts[n + 1], "-+ " + s) << "a message stands together";
    }
}

TEST(LogSettings, TakesTheFileOfTheEnvironment)
{
    LogSettings settings = {};
    SetEnvironmentVariableW(szVariableFile, L"C:\\a\\..\\b\\log.txt");
    settings.Read();
    EXPECT_EQ(wstring(settings.szPath), L"C:\\b\\log.txt");
    EXPECT_EQ(settings.cbLimit, 10240u * 1024u);

    SetEnvironmentVariableW(szVariableFile, nullptr);
    settings.Read();
    EXPECT_EQ(fs::path(settings.szPath), fs::temp_directory_path() / L"qxlog64.log");
    EXPECT_TRUE(fs::path(settings.szPath).is_absolute());

    // A name that does not fit leads to no log.
    for (const size_t nLength : {1023u, 1024u, 5000u})
    {
        SetEnvironmentVariableW(szVariableFile, (L"C:\\" + wstring(nLength - 3, L'x')).c_str());
        settings.Read();
        EXPECT_EQ(wstring(settings.szPath), L"") << nLength;
    }
    SetEnvironmentVariableW(szVariableFile, (L"C:\\" + wstring(1000, L'x')).c_str());
    settings.Read();
    EXPECT_EQ(wstring(settings.szPath), L"C:\\" + wstring(1000, L'x'));
    SetEnvironmentVariableW(szVariableFile, nullptr);
}

TEST(LogSettings, TakesTheSizeOfTheEnvironment)
{
    struct Case
    {
        const wchar_t* pszSize;
        ULONGLONG cbLimit;
    };
    LogSettings settings = {};
    for (const Case& test :
         {Case{L"1", 1024}, Case{L"0", 0}, Case{L"4194304", 4194304ull * 1024}, Case{L"", cbDefaultLimit},
          Case{L"x", cbDefaultLimit}, Case{L"1x", cbDefaultLimit},
          Case{L"000000000000000000000000000001", cbDefaultLimit}})
    {
        SetEnvironmentVariableW(szVariableSize, test.pszSize);
        settings.Read();
        EXPECT_EQ(settings.cbLimit, test.cbLimit) << fs::path(test.pszSize).string();
    }
    SetEnvironmentVariableW(szVariableSize, nullptr);
}

} // namespace
