// The search for the log DLL, against a registry of the test's own.
#include "base/ScriptLog.h"
#include "dstl/WinAPI/Functions.h"
#include "dstl/dshowx/DSTrace.h"
#include "dstl/dshowx/LogLoader.h"

#include "support/LogCapture.h"
#include "support/OwnRegistry.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace
{

using std::wstring;

/// The key of the loader, in a registry of its own.
class LoaderRegistry : public OwnRegistry
{
public:
    /// Stores the default value of the loader's key.
    static void SetValue(DWORD dwType, const void* pv, size_t cb)
    {
        HKEY hKey = nullptr;
        ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\_DSTLLOG64", 0, nullptr, 0, KEY_ALL_ACCESS,
                                  nullptr, &hKey, nullptr),
                  ERROR_SUCCESS);
        if (pv != nullptr)
        {
            EXPECT_EQ(RegSetValueExW(hKey, nullptr, 0, dwType, static_cast<const BYTE*>(pv),
                                     static_cast<DWORD>(cb)),
                      ERROR_SUCCESS);
        }
        RegCloseKey(hKey);
    }
    static void SetText(const wstring& sText)
    {
        SetValue(REG_SZ, sText.c_str(), (sText.size() + 1) * sizeof(wchar_t));
    }
};

/// The folder of the test program, with its last backslash.
wstring Folder()
{
    wchar_t szPath[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, szPath, MAX_PATH);
    wstring s(szPath);
    return s.substr(0, s.rfind(L'\\') + 1);
}

wstring WithBars(wstring s)
{
    DSTLTurnBars(s.data(), false);
    return s;
}

class LogLoaderTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_hScript = LoadLibraryW((Folder() + L"qxscriptlog.dll").c_str());
        ASSERT_NE(m_hScript, nullptr);
        m_pState = reinterpret_cast<PFNSCRIPTLOGGETSTATE>(
            reinterpret_cast<void*>(GetProcAddress(m_hScript, "ScriptLog_GetState")))();
        *m_pState = {};
    }
    void TearDown() override
    {
        FreeLibrary(m_hScript);
        EXPECT_EQ(GetModuleHandleW(L"qxscriptlog.dll"), nullptr) << "a loader did not free it";
    }

    /// A loader that found no log.
    static void ExpectSilent()
    {
        const CLogLoader loader;
        ILogObject* plog = nullptr;
        EXPECT_EQ(loader.GetLogObject(&plog), E_FAIL);
        EXPECT_EQ(plog, nullptr);
        EXPECT_FALSE(loader.HasModule());
    }

    LoaderRegistry m_registry;
    HMODULE m_hScript = nullptr;
    ScriptLogState* m_pState = nullptr;
};

TEST_F(LogLoaderTest, NoKey)
{
    ExpectSilent();
}

TEST_F(LogLoaderTest, NoValue)
{
    LoaderRegistry::SetValue(REG_SZ, nullptr, 0);
    ExpectSilent();
}

TEST_F(LogLoaderTest, AnEmptyValue)
{
    LoaderRegistry::SetText(L"");
    ExpectSilent();
    LoaderRegistry::SetValue(REG_SZ, L"", 0);
    ExpectSilent();
}

TEST_F(LogLoaderTest, APathThatLeadsNowhere)
{
    LoaderRegistry::SetText(L"C:|no such folder|log64.dll");
    ExpectSilent();
}

TEST_F(LogLoaderTest, ADllWithoutTheExportIsUnloadedAtOnce)
{
    LoaderRegistry::SetText(WithBars(Folder() + L"qxnolog.dll"));
    ExpectSilent();
    const CLogLoader loader;
    EXPECT_EQ(GetModuleHandleW(L"qxnolog.dll"), nullptr);
}

TEST_F(LogLoaderTest, AttachesAndDetaches)
{
    for (const bool bBars : {true, false})
    {
        *m_pState = {};
        const wstring sPath = Folder() + L"qxscriptlog.dll";
        LoaderRegistry::SetText(bBars ? WithBars(sPath) : sPath);
        {
            const CLogLoader loader;
            EXPECT_TRUE(loader.HasModule());
            EXPECT_EQ(m_pState->nGets, 1);
            EXPECT_EQ(m_pState->nAttached, 1);
            EXPECT_EQ(m_pState->dwAttach1, 0u);
            EXPECT_EQ(m_pState->dwAttach2, 0u);
            EXPECT_EQ(loader.GetLogObject(nullptr), E_POINTER);
            ILogObject* plog = nullptr;
            ASSERT_EQ(loader.GetLogObject(&plog), S_OK);
            ASSERT_NE(plog, nullptr);
            EXPECT_EQ(*m_pState->pplogAttach, plog);
            plog->Write(L"\x0009text");
            EXPECT_EQ(m_pState->nWritten, 1);
            EXPECT_EQ(wstring(m_pState->szLine), L"\x0009text");
            EXPECT_EQ(m_pState->nDetached, 0);
        }
        EXPECT_EQ(m_pState->nDetached, 1);
        EXPECT_EQ(m_pState->pplogDetach, m_pState->pplogAttach);
        EXPECT_EQ(m_pState->nOther, 0);
    }
}

TEST_F(LogLoaderTest, AFailedExportIsNotAttachedTo)
{
    LoaderRegistry::SetText(WithBars(Folder() + L"qxscriptlog.dll"));
    m_pState->nResult = 1;
    m_pState->bNoObject = true;
    {
        const CLogLoader loader;
        EXPECT_EQ(m_pState->nGets, 1);
        EXPECT_EQ(m_pState->nAttached, 0);
        ILogObject* plog = nullptr;
        EXPECT_EQ(loader.GetLogObject(&plog), E_FAIL);
        EXPECT_TRUE(loader.HasModule()) << "the module stays loaded until the end";
    }
    EXPECT_EQ(m_pState->nDetached, 0);

    // An object that the export left in spite of its failure is used.
    *m_pState = {};
    m_pState->nResult = -1;
    {
        const CLogLoader loader;
        EXPECT_EQ(m_pState->nAttached, 0);
        ILogObject* plog = nullptr;
        EXPECT_EQ(loader.GetLogObject(&plog), S_OK);
    }
    EXPECT_EQ(m_pState->nDetached, 1);
}

TEST_F(LogLoaderTest, AnExportThatSucceedsWithoutAnObject)
{
    LoaderRegistry::SetText(WithBars(Folder() + L"qxscriptlog.dll"));
    m_pState->bNoObject = true;
    const CLogLoader loader;
    ILogObject* plog = nullptr;
    EXPECT_EQ(loader.GetLogObject(&plog), E_FAIL);
    EXPECT_EQ(m_pState->nAttached, 0);
}

TEST_F(LogLoaderTest, ADetachThatKeepsThePointerIsAsserted)
{
    LoaderRegistry::SetText(WithBars(Folder() + L"qxscriptlog.dll"));
    m_pState->bKeepPointer = true;
    AssertCapture asserts;
    {
        const CLogLoader loader;
    }
    ASSERT_EQ(asserts.Texts(), std::vector<std::string>{"NULL == m_plog"});
    const std::string sFile = "include/dstl/dshowx/DSTrace.cpp";
    const std::string sReported = asserts.Reports()[0].sFile;
    EXPECT_EQ(sReported.substr(sReported.size() - std::min(sReported.size(), sFile.size())), sFile);
}

/// A path of so many characters to the script DLL, by steps that lead nowhere.
wstring PathOfLength(size_t nLength)
{
    wstring s = Folder();
    const wstring sName = L"qxscriptlog.dll";
    while (s.size() + sName.size() + 2 <= nLength)
        s += L".\\";
    if (s.size() + sName.size() < nLength)
        s += L"\\";
    return s + sName;
}

TEST_F(LogLoaderTest, PathsUpToTheBuffersSize)
{
    const wstring sFits = PathOfLength(259);
    ASSERT_EQ(sFits.size(), 259u);
    LoaderRegistry::SetText(WithBars(sFits));
    {
        const CLogLoader loader;
        EXPECT_TRUE(loader.HasModule());
    }
    // With its terminator this one is larger than the buffer; without it, it fills the buffer.
    const wstring sFills = PathOfLength(260);
    ASSERT_EQ(sFills.size(), 260u);
    LoaderRegistry::SetText(WithBars(sFills));
    ExpectSilent();
    LoaderRegistry::SetValue(REG_SZ, wstring(260, L'x').data(), 520);
    ExpectSilent();
    LoaderRegistry::SetText(wstring(100000, L'x'));
    ExpectSilent();
}

TEST_F(LogLoaderTest, ValuesOfOtherTypes)
{
    const DWORD dwValue = 0x00410041;
    LoaderRegistry::SetValue(REG_DWORD, &dwValue, sizeof(dwValue));
    ExpectSilent();
    LoaderRegistry::SetValue(REG_BINARY, "\x01\x02\x03", 3);
    ExpectSilent();
}

/// The module with a loader of its own.
class Probe
{
public:
    Probe()
    {
        m_hModule = LoadLibraryW((Folder() + L"qxtraceprobe.dll").c_str());
        EXPECT_NE(m_hModule, nullptr);
        pfnTrace = reinterpret_cast<void(WINAPI*)(UINT, const wchar_t*)>(
            reinterpret_cast<void*>(GetProcAddress(m_hModule, "Probe_Trace")));
        pfnAssert = reinterpret_cast<int(WINAPI*)(const char*, PFNDEBUGREPORT)>(
            reinterpret_cast<void*>(GetProcAddress(m_hModule, "Probe_Assert")));
        pfnFormatted = reinterpret_cast<int(WINAPI*)()>(
            reinterpret_cast<void*>(GetProcAddress(m_hModule, "Probe_Formatted")));
    }
    ~Probe() { FreeLibrary(m_hModule); }

    void(WINAPI* pfnTrace)(UINT, const wchar_t*) = nullptr;
    int(WINAPI* pfnAssert)(const char*, PFNDEBUGREPORT) = nullptr;
    int(WINAPI* pfnFormatted)() = nullptr; ///< texts built so far

private:
    HMODULE m_hModule;
};

std::string g_sReported;
int g_nReported;

int Report(int, const char*, int, const char*, const char* pszMessage)
{
    g_nReported++;
    g_sReported = pszMessage;
    return 0;
}

TEST_F(LogLoaderTest, AModuleWithoutALogIsSilentButReports)
{
    LogCapture log;
    const Probe probe;
    probe.pfnTrace(2, L"nobody listens");
    g_sReported.clear();
    EXPECT_EQ(probe.pfnAssert("an assertion without a log", &Report), 5);
    EXPECT_EQ(g_sReported, "an assertion without a log");
    EXPECT_TRUE(log.Lines().empty());

    // A log DLL that is named later is not seen until the module is loaded afresh.
    LoaderRegistry::SetText(WithBars(Folder() + L"qxtestlog.dll"));
    probe.pfnTrace(2, L"nobody listens yet");
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(LogLoaderTest, WithoutALogNoTextIsBuilt)
{
    constexpr int nTimes = 100000;
    const Probe probe;
    g_nReported = 0;
    for (int n = 0; n < nTimes; n++)
        probe.pfnAssert("each of many pixels", &Report);
    EXPECT_EQ(g_nReported, nTimes);
    EXPECT_EQ(probe.pfnFormatted(), 0);
}

TEST_F(LogLoaderTest, ATextOutlivesNoModule)
{
    LoaderRegistry::SetText(WithBars(Folder() + L"qxtestlog.dll"));
    for (int i = 0; i < 2; i++)
    {
        LogCapture log;
        const Probe probe;
        EXPECT_EQ(probe.pfnFormatted(), 0);
        for (int n = 0; n < 3; n++)
            probe.pfnAssert("a text that is kept", &Report);
        EXPECT_EQ(probe.pfnFormatted(), 2);
        EXPECT_EQ(log.Lines().size(), 6u);
        EXPECT_EQ(log.Lines()[4], log.Lines()[0]);
    }
}

TEST_F(LogLoaderTest, AModuleAttachesWhenItIsLoadedAndDetachesWhenItGoes)
{
    const auto pfnGetClients = reinterpret_cast<PFNTESTLOGGETCLIENTS>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"qxtestlog.dll"), "QxTestLog_GetClients")));
    ASSERT_NE(pfnGetClients, nullptr);
    const int nClients = pfnGetClients();
    EXPECT_GE(nClients, 1); // the test program itself

    LoaderRegistry::SetText(WithBars(Folder() + L"qxtestlog.dll"));
    LogCapture log;
    for (int i = 0; i < 3; i++)
    {
        const Probe probe;
        EXPECT_EQ(pfnGetClients(), nClients + 1);
        log.Clear();
        probe.pfnTrace(4, L"WARNING. From the other module\n");
        probe.pfnAssert("its assertion", &Report);
        const std::vector<LogLine> lines = log.Lines();
        ASSERT_EQ(lines.size(), 3u);
        EXPECT_EQ(lines[0], (LogLine{4, "WARNING. From the other module\n"}));
        EXPECT_EQ(lines[1].nLevel, nLevelRaw);
        EXPECT_EQ(lines[1].sText.rfind("###Err###\n", 0), 0u);
        EXPECT_NE(lines[1].sText.find("ASSERT( \"its assertion\" )\n"), std::string::npos);
        EXPECT_EQ(lines[2], (LogLine{nLevelRaw, "\nexit ASSERT"}));
    }
    EXPECT_EQ(pfnGetClients(), nClients);
}

TEST_F(LogLoaderTest, TheBufferOfALineStartsWithItsLevelPlusOne)
{
    LoaderRegistry::SetText(WithBars(Folder() + L"qxscriptlog.dll"));
    const Probe probe;
    for (const UINT nLevel : {0u, 1u, 2u, 4u, 8u})
    {
        memset(m_pState->szLine, 0x7F, sizeof(m_pState->szLine));
        probe.pfnTrace(nLevel, wstring(2000, L'a').c_str());
        EXPECT_EQ(m_pState->szLine[0], nLevel + 1);
        EXPECT_EQ(wstring(m_pState->szLine + 1), wstring(1022, L'a'));
        EXPECT_EQ(m_pState->szLine[1023], 0);
    }
    EXPECT_EQ(m_pState->nWritten, 5);
    probe.pfnTrace(9, L"dropped");
    EXPECT_EQ(m_pState->nWritten, 5);
}

} // namespace
