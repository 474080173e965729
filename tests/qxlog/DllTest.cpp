// qxlog64.dll as its clients load it.
#include "dstl/dshowx/QXLog.h"
#include "qxlog/LogFiles.h"

#include <gtest/gtest.h>

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

fs::path Folder()
{
    wchar_t szPath[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, szPath, MAX_PATH);
    return fs::path(szPath).parent_path();
}

/// The DLL, loaded as the filter loads it, and one client.
class Client
{
public:
    Client()
    {
        m_hModule = LoadLibraryW((Folder() / L"qxlog64.dll").c_str());
        EXPECT_NE(m_hModule, nullptr);
        EXPECT_EQ(Export<PFNGETLOGOBJECT>(szQXLogExport)(&m_plog), 0);
        EXPECT_EQ(m_plog->Attach(&m_plog, 0, 0), S_OK);
    }
    ~Client()
    {
        EXPECT_EQ(m_plog->Detach(&m_plog), S_OK);
        EXPECT_EQ(m_plog, nullptr);
        FreeLibrary(m_hModule);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    template <class T>
    T Export(const char* pszName) const
    {
        return reinterpret_cast<T>(reinterpret_cast<void*>(GetProcAddress(m_hModule, pszName)));
    }
    ILogObject* operator->() const { return m_plog; }

private:
    HMODULE m_hModule = nullptr;
    ILogObject* m_plog = nullptr;
};

TEST(LogDll, WritesWhatItIsGiven)
{
    const OwnLogFile own;
    {
        const Client client;
        EXPECT_EQ(client->Write(L"\x0009main \u00E4\n"), S_OK);
        EXPECT_EQ(client->Write(L"###Err###\nf(1)\n"), S_OK);
        EXPECT_EQ(client->Flush(), S_OK);
    }
    EXPECT_EQ(ReadTexts(own.Path()), (Texts{"8 main \xC3\xA4", "- ###Err###", "-+ f(1)"}));
}

TEST(LogDll, AnswersForeignCalls)
{
    const OwnLogFile own;
    const Client client;
    EXPECT_EQ(client->Attach(nullptr, 0, 0), E_POINTER);
    EXPECT_EQ(client->Detach(nullptr), E_POINTER);
    EXPECT_EQ(client->Write(nullptr), E_POINTER);
    EXPECT_EQ(client->GetClientCount(nullptr), E_POINTER);
    EXPECT_EQ(client.Export<PFNGETLOGOBJECT>(szQXLogExport)(nullptr), E_POINTER);
    DWORD nClients = 0;
    EXPECT_EQ(client->GetClientCount(&nClients), S_OK);
    EXPECT_EQ(nClients, 1u);
    EXPECT_EQ(client->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    void* pv = nullptr;
    EXPECT_EQ(client->QueryInterface(IID_IUnknown, &pv), S_OK);
    EXPECT_NE(pv, nullptr);
    EXPECT_EQ(client->QueryInterface(IID_IClassFactory, &pv), E_NOINTERFACE);
    EXPECT_EQ(pv, nullptr);
    EXPECT_EQ(client->AddRef(), 2u);
    EXPECT_EQ(client->Release(), 1u);
}

TEST(LogDll, TellsItsFile)
{
    const OwnLogFile own;
    const Client client;
    const auto pfnFile = client.Export<PFNGETLOGFILE>(szQXLogFileExport);
    ASSERT_NE(pfnFile, nullptr);
    const wstring sPath = own.Path().wstring();
    wchar_t szPath[1024] = {};
    EXPECT_EQ(pfnFile(szPath, 1024), sPath.size());
    EXPECT_EQ(wstring(szPath), sPath);
    EXPECT_EQ(pfnFile(szPath, static_cast<DWORD>(sPath.size() + 1)), sPath.size());
    EXPECT_EQ(pfnFile(szPath, static_cast<DWORD>(sPath.size())), 0u);
    EXPECT_EQ(pfnFile(szPath, 0), 0u);
    EXPECT_EQ(pfnFile(nullptr, 1024), 0u);
    EXPECT_FALSE(fs::exists(own.Path())) << "the file is made by the first message";
}

TEST(LogDll, TheLastErrorOfTheThreadStays)
{
    const OwnLogFile own;
    const Client client;
    SetLastError(4711);
    client->Write(L"first message: the file is opened");
    EXPECT_EQ(GetLastError(), 4711u);
    client->Write(L"\x0003###Err### flushed");
    EXPECT_EQ(GetLastError(), 4711u);
    client->Flush();
    EXPECT_EQ(GetLastError(), 4711u);
}

TEST(LogDll, IsUnloadedAndLoadedAgain)
{
    const OwnLogFile first;
    for (int n = 0; n < 5; n++)
    {
        const Client client;
        client->Write((L"\x0009load " + std::to_wstring(n)).c_str());
    }
    EXPECT_EQ(GetModuleHandleW(L"qxlog64.dll"), nullptr);
    EXPECT_EQ(ReadTexts(first.Path()), (Texts{"8 load 0", "8 load 1", "8 load 2", "8 load 3", "8 load 4"}));
    EXPECT_TRUE(fs::remove(first.Path())) << "nobody keeps the file open";

    // Each load looks at the environment.
    const OwnLogFile second;
    {
        const Client client;
        client->Write(L"in the second file");
    }
    EXPECT_EQ(ReadTexts(second.Path()), Texts{"- in the second file"});
    EXPECT_FALSE(fs::exists(first.Path()));
}

TEST(LogDll, SurvivesAClientThatGoesWithoutDetaching)
{
    const OwnLogFile own;
    const HMODULE hModule = LoadLibraryW((Folder() / L"qxlog64.dll").c_str());
    ASSERT_NE(hModule, nullptr);
    ILogObject* plog = nullptr;
    reinterpret_cast<PFNGETLOGOBJECT>(reinterpret_cast<void*>(GetProcAddress(hModule, szQXLogExport)))(&plog);
    ASSERT_NE(plog, nullptr);
    plog->Write(L"from one that never attached");
    FreeLibrary(hModule);
    EXPECT_EQ(GetModuleHandleW(L"qxlog64.dll"), nullptr);
    EXPECT_EQ(ReadTexts(own.Path()), Texts{"- from one that never attached"});
    EXPECT_TRUE(fs::remove(own.Path()));
}

TEST(LogDll, ClosesTheFileWithTheLastClient)
{
    const OwnLogFile own;
    const Client first;
    {
        const Client second;
        DWORD nClients = 0;
        second->GetClientCount(&nClients);
        EXPECT_EQ(nClients, 2u);
        second->Write(L"second");
    }
    first->Write(L"first");
    EXPECT_EQ(ReadTexts(own.Path()), (Texts{"- second", "- first"}));
}

TEST(LogDll, VeryLongMessagesStandWhole)
{
    const OwnLogFile own;
    const size_t nLength = 3 << 20;
    {
        const Client client;
        client->Write(wstring(nLength, L'\u0416').c_str());
        client->Write(L"behind");
    }
    string sExpected = "- ";
    for (size_t n = 0; n < nLength; n++)
        sExpected += "\xD0\x96";
    const Texts texts = ReadTexts(own.Path());
    ASSERT_EQ(texts.size(), 2u);
    EXPECT_TRUE(texts[0] == sExpected);
    EXPECT_EQ(texts[1], "- behind");
}

TEST(LogDll, ManyThreadsLoseNothing)
{
    constexpr int nThreads = 8, nMessages = 400;
    const OwnLogFile own;
    {
        const Client client;
        std::vector<std::thread> threads;
        for (int t = 0; t < nThreads; t++)
        {
            threads.emplace_back(
                [&client, t]
                {
                    for (int n = 0; n < nMessages; n++)
                        client->Write((L"\x0009" + std::to_wstring(t) + L" " + std::to_wstring(n)).c_str());
                });
        }
        for (std::thread& thread : threads)
            thread.join();
    }
    std::map<int, int> next;
    for (const string& s : ReadTexts(own.Path()))
    {
        int t = -1, n = -1;
        ASSERT_EQ(sscanf(s.c_str(), "8 %d %d", &t, &n), 2) << s;
        EXPECT_EQ(n, next[t]++);
    }
    for (int t = 0; t < nThreads; t++)
        EXPECT_EQ(next[t], nMessages);
}

/// Starts the writing program of the tests.
HANDLE StartWriter(int nWriter, int nMessages)
{
    wstring sCommand = L"\"" + (Folder() / L"qxlogwriter.exe").wstring() + L"\" " + std::to_wstring(nWriter) +
                       L" " + std::to_wstring(nMessages);
    STARTUPINFOW rgStart = {};
    rgStart.cb = sizeof(rgStart);
    PROCESS_INFORMATION rgInfo = {};
    if (!CreateProcessW(nullptr, sCommand.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &rgStart,
                        &rgInfo))
        return nullptr;
    CloseHandle(rgInfo.hThread);
    return rgInfo.hProcess;
}

TEST(LogDll, ACrashBehindRepeatedLinesLeavesThemAndTheLastLine)
{
    const OwnLogFile own;
    const HANDLE hProcess = StartWriter(0, 0);
    ASSERT_NE(hProcess, nullptr);
    EXPECT_EQ(WaitForSingleObject(hProcess, 120000), WAIT_OBJECT_0);
    DWORD dwExit = 0;
    GetExitCodeProcess(hProcess, &dwExit);
    EXPECT_NE(dwExit, 0u) << "it has not crashed";
    CloseHandle(hProcess);
    EXPECT_EQ(ReadTexts(own.Path()), (Texts{"8 the same", "8 the same", "8 the same",
                                            "8 repeated 997 times: the same", "2 ###Err### the last line"}));
}

TEST(LogDll, TheLastClientBringsTheCounts)
{
    const OwnLogFile own;
    {
        const Client client;
        for (int n = 0; n < 100; n++)
        {
            SetLastError(4711);
            client->Write(L"the same");
            EXPECT_EQ(GetLastError(), 4711u);
        }
    }
    EXPECT_EQ(ReadTexts(own.Path()),
              (Texts{"- the same", "- the same", "- the same", "- repeated 97 times: the same"}));
}

TEST(LogDll, TwoProcessesWriteOneFileAndRotateIt)
{
    constexpr int nWriters = 2, nMessages = 1500;
    const OwnLogFile own(L"100");
    HANDLE handles[nWriters] = {};
    for (int w = 0; w < nWriters; w++)
        handles[w] = StartWriter(w, nMessages);
    for (const HANDLE h : handles)
    {
        ASSERT_NE(h, nullptr);
        EXPECT_EQ(WaitForSingleObject(h, 120000), WAIT_OBJECT_0);
        DWORD dwExit = 99;
        GetExitCodeProcess(h, &dwExit);
        EXPECT_EQ(dwExit, 0u);
        CloseHandle(h);
    }
    std::map<int, int> next;
    std::map<int, unsigned long> process;
    for (const fs::path& path : {own.Earlier(3), own.Earlier(2), own.Earlier(1), own.Path()})
    {
        for (const ReadLine& line : ReadLines(path))
        {
            if (line.sText.rfind("qxlog64: opened by", 0) == 0)
                continue;
            int w = -1, n = -1;
            ASSERT_EQ(sscanf(line.sText.c_str(), "writer %d message %d", &w, &n), 2) << line.sText;
            EXPECT_EQ(n, next[w]++) << "writer " << w;
            process.emplace(w, line.dwProcess);
            EXPECT_EQ(line.dwProcess, process[w]);
        }
    }
    EXPECT_TRUE(fs::exists(own.Earlier(1))) << "rotated";
    EXPECT_FALSE(fs::exists(own.Earlier(3))) << "nothing was pushed out";
    EXPECT_NE(process[0], process[1]);
    for (int w = 0; w < nWriters; w++)
        EXPECT_EQ(next[w], nMessages);
}

} // namespace
