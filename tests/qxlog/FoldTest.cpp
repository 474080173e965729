// Messages that repeat: what stands in the file of them, and when.
#include "LogFile.h"
#include "qxlog/FileCalls.h"
#include "qxlog/LogFiles.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using std::string;
using std::wstring;
using Texts = std::vector<string>;

constexpr wchar_t szAssertion[] = L"###Err###\nf.cpp(1): ASSERT( \"x\" )\nGetLastError()=0x00000000 (0)\n";
constexpr wchar_t szExit[] = L"\nexit ASSERT";
const Texts g_assertion = {"- ###Err###", "-+ f.cpp(1): ASSERT( \"x\" )", "-+ GetLastError()=0x00000000 (0)"};

/// Parts of a file, one behind the other.
Texts operator+(Texts first, const Texts& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Texts Times(int nTimes, const Texts& texts)
{
    return nTimes == 0 ? Texts{} : Times(nTimes - 1, texts) + texts;
}

/// The counts of an assertion and its end.
Texts RepeatedAssertion(const string& sTimes)
{
    Texts texts = g_assertion;
    texts[0] = "- repeated " + sTimes + ": ###Err###";
    texts.push_back("- repeated " + sTimes + ": exit ASSERT");
    return texts;
}

const Texts g_passed = Times(3, g_assertion + Texts{"- exit ASSERT"});

class LogFold : public testing::Test
{
protected:
    LogFold()
    {
        g_calls = {};
        m_file.Prepare();
    }
    ~LogFold() override
    {
        m_file.Close();
        g_calls = {};
    }

    void Write(const wchar_t* psz)
    {
        if (!m_file.Count(psz)) // as the log object does
            m_file.Write(psz);
    }
    void Assert(int nTimes)
    {
        for (int n = 0; n < nTimes; n++)
        {
            Write(szAssertion);
            Write(szExit);
        }
    }
    Texts File() const { return ReadTexts(m_own.Path()); }

    const OwnLogFile m_own{L"16"}; // a hundredth of what the messages below would take
    CLogFile m_file;
};

TEST_F(LogFold, ThreeCopiesPassTheRestIsCounted)
{
    Write(L"\x0009"
          L"before\n");
    Assert(3);
    EXPECT_EQ(File(), Texts{"8 before"} + g_passed);
    Assert(10000);
    EXPECT_EQ(File(), Texts{"8 before"} + g_passed) << "counted, not written";
    Write(L"\x0003###Err### behind\n");
    EXPECT_EQ(File(),
              Texts{"8 before"} + g_passed + RepeatedAssertion("10000 times") + Texts{"2 ###Err### behind"});
    EXPECT_FALSE(fs::exists(m_own.Earlier(1))) << "what came before has not been pushed out";
}

TEST_F(LogFold, ACountHasTheLevelOfItsMessage)
{
    for (int n = 0; n < 4; n++)
        Write(L"\x0005WARNING. x\n");
    Write(L"\x0009y");
    EXPECT_EQ(File(), (Times(3, {"4 WARNING. x"}) + Texts{"4 repeated 1 time: WARNING. x", "8 y"}));
}

TEST_F(LogFold, OneLevelIsNotAnother)
{
    for (int n = 0; n < 3; n++)
    {
        Write(L"\x0005x");
        Write(L"\x0003x");
        Write(L"x");
    }
    EXPECT_EQ(File(), Times(3, {"4 x", "2 x", "- x"}));
}

// Which of the two messages comes next has no period.
TEST_F(LogFold, MessagesInAnyOrder)
{
    unsigned nRandom = 1;
    for (int n = 0; n < 5000; n++)
    {
        nRandom = nRandom * 1103515245 + 12345;
        Write((nRandom >> 16 & 1) != 0 ? L"first" : L"second");
    }
    Write(L"behind");
    const Texts texts = File();
    EXPECT_LE(texts.size(), 2u * 6 + 2 + 1) << "as many as pass before both are known, and two counts";
    int nTold = 0;
    for (const string& s : texts)
        nTold += s.rfind("- repeated ", 0) == 0 ? std::stoi(s.substr(11)) : 1;
    EXPECT_EQ(nTold, 5000 + 1);
    EXPECT_EQ(texts.back(), "- behind");
}

TEST_F(LogFold, ANewMessageBeginsANewRun)
{
    for (const wchar_t* psz : {L"a", L"a", L"a", L"b", L"a", L"a", L"c", L"a", L"b"})
        Write(psz);
    EXPECT_EQ(File(), (Texts{"- a", "- a", "- a", "- b", "- a", "- a", "- c", "- a", "- b"}));
}

TEST_F(LogFold, CountsAreWrittenEachSecond)
{
    Assert(3 + 500);
    g_calls.ullTick += 999;
    Assert(1);
    EXPECT_EQ(File(), g_passed);
    g_calls.ullTick += 1;
    Write(szAssertion); // brings the counts, its own with them
    Texts expected = RepeatedAssertion("501 times");
    expected[0] = "- repeated 502 times: ###Err###";
    EXPECT_EQ(File(), g_passed + expected);
    Write(szExit);
    Assert(20);
    g_calls.ullTick += 1000;
    Assert(1);
    expected = RepeatedAssertion("21 times");
    EXPECT_EQ(File().size(), g_passed.size() + 8);
}

TEST_F(LogFold, AMessageThatComesAgainLaterPasses)
{
    for (int n = 0; n < 5; n++)
    {
        Write(L"now and then");
        g_calls.ullTick += 1001;
    }
    EXPECT_EQ(File(), Times(5, {"- now and then"}));
    for (int n = 0; n < 10; n++)
        Write(L"now and then");
    g_calls.ullTick += 1001;
    Write(L"now and then");
    EXPECT_EQ(File(),
              (Times(8, {"- now and then"}) + Texts{"- repeated 7 times: now and then", "- now and then"}));
}

TEST_F(LogFold, EachThreadHasMessagesOfItsOwn)
{
    for (int n = 0; n < 2; n++)
        std::thread([&] { Assert(2); }).join(); // Wine gives both the same number, or two
    Assert(2);
    const Texts texts = File();
    EXPECT_GE(std::count(texts.begin(), texts.end(), "- exit ASSERT"), 5);
}

TEST_F(LogFold, LongMessagesPass)
{
    const wstring sFits(1023, L'x'), sLong(1024, L'x');
    for (int n = 0; n < 5; n++)
        Write(sFits.c_str());
    for (int n = 0; n < 5; n++)
        Write(sLong.c_str());
    EXPECT_EQ(File(), Times(3, {"- " + string(1023, 'x')}) +
                          Texts{"- repeated 2 times: " + string(1023, 'x')} +
                          Times(5, {"- " + string(1024, 'x')}));
}

TEST_F(LogFold, TheEndBringsTheCounts)
{
    Assert(5);
    m_file.Flush();
    EXPECT_EQ(File(), g_passed + RepeatedAssertion("2 times"));
    Assert(1);
    m_file.Close();
    EXPECT_EQ(File(), g_passed + RepeatedAssertion("2 times") + RepeatedAssertion("1 time"));
    m_file.Prepare();
    Assert(1);
    EXPECT_EQ(File().size(), g_passed.size() + 8 + 4) << "passes: the file was closed between";
}

TEST_F(LogFold, WhatIsReadOnlyIsKnownByItsAddress)
{
    Assert(3);
    EXPECT_FALSE(m_file.Count(szExit));
    Assert(1);
    g_calls.msLastWait = 77;
    EXPECT_TRUE(m_file.Count(szExit));
    Assert(1000);
    EXPECT_EQ(g_calls.msLastWait, 77u) << "neither the lock nor the file were needed";
    m_file.ForgetAddresses();
    EXPECT_FALSE(m_file.Count(szExit));

    // Memory that may change is looked at each time.
    wchar_t szText[] = L"one";
    for (int n = 0; n < 5; n++)
        Write(szText);
    EXPECT_FALSE(m_file.Count(szText));
    szText[0] = L'0';
    Write(szText);
    const Texts texts = File();
    EXPECT_EQ(texts[texts.size() - 2], "- repeated 2 times: one");
    EXPECT_EQ(texts.back(), "- 0ne");
}

TEST_F(LogFold, AFullDiskLosesCountsAndNothingElse)
{
    Assert(10);
    g_calls.nWritesToFail = 1;
    Write(L"lost with the counts");
    EXPECT_EQ(g_calls.nWritesToFail, 0);
    g_calls.ullTick += 5000;
    Write(L"after");
    const Texts texts = File();
    EXPECT_EQ(texts.back(), "- after");
}

TEST_F(LogFold, ManyThreadsLoseNoMessage)
{
    constexpr int nThreads = 4, nTimes = 20000;
    std::vector<std::thread> threads;
    for (int t = 0; t < nThreads; t++)
        threads.emplace_back([&] { Assert(nTimes); });
    for (std::thread& thread : threads)
        thread.join();
    m_file.Flush();
    int nTold = 0;
    for (const string& s : File())
    {
        if (s == "- exit ASSERT")
            nTold++;
        else if (s.rfind("- repeated ", 0) == 0 && s.find("exit ASSERT") != string::npos)
            nTold += std::stoi(s.substr(11));
    }
    EXPECT_EQ(nTold, nThreads * nTimes);
}

} // namespace
