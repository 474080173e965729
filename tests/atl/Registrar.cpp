// Registry scripts of a module, from folders with awkward names.
#include <gtest/gtest.h>

#include <string>

#include "dstl/WinAPI/Atl.h"
#include "support/NewFolder.h"

namespace
{

constexpr wchar_t szKey[] = L"Software\\QxAtlScriptTest";

class Registrar : public testing::TestWithParam<const wchar_t*>
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
        // The module lies beside this program; its copy goes to a folder of the given name.
        wchar_t szSelf[MAX_PATH];
        ASSERT_NE(0u, GetModuleFileNameW(nullptr, szSelf, MAX_PATH));
        std::wstring sSource(szSelf);
        sSource.resize(sSource.find_last_of(L'\\') + 1);
        sSource += L"qx_atl_script.dll";
        m_sFolder = MakeNewFolder(std::wstring(GetParam()) + L" ").wstring();
        m_sFile = m_sFolder + L"\\script.dll";
        ASSERT_TRUE(CopyFileW(sSource.c_str(), m_sFile.c_str(), TRUE));
        m_hModule = LoadLibraryW(m_sFile.c_str());
        ASSERT_NE(nullptr, m_hModule);
        m_module.Init(nullptr, m_hModule);
    }
    void TearDown() override
    {
        FreeLibrary(m_hModule);
        DeleteFileW(m_sFile.c_str());
        RemoveDirectoryW(m_sFolder.c_str());
        CoUninitialize();
    }
    std::wstring m_sFolder;
    std::wstring m_sFile;
    HMODULE m_hModule = nullptr;
    CComModule m_module;
};

std::wstring Text(LPCWSTR pszKey, LPCWSTR pszValue)
{
    CRegKey key;
    wchar_t sz[600] = L"";
    ULONG nChars = 600;
    if (key.Open(HKEY_CURRENT_USER, pszKey, KEY_READ) != ERROR_SUCCESS ||
        key.QueryStringValue(pszValue, sz, &nChars) != ERROR_SUCCESS)
        return L"(none)";
    return sz;
}

TEST_P(Registrar, RunsTheScriptForwardsAndBackwards)
{
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_EQ(S_OK, m_module.UpdateRegistryFromResource(201, TRUE));
        EXPECT_EQ(L"It's a test", Text(szKey, nullptr));
        wchar_t szFile[MAX_PATH];
        ASSERT_NE(0u, GetModuleFileNameW(m_hModule, szFile, MAX_PATH));
        EXPECT_EQ(szFile, Text(L"Software\\QxAtlScriptTest\\File", nullptr));
        EXPECT_EQ(L"Both", Text(L"Software\\QxAtlScriptTest\\File", L"Text"));
        CRegKey key;
        DWORD dw = 0;
        EXPECT_EQ(ERROR_SUCCESS, key.Open(HKEY_CURRENT_USER, L"Software\\QxAtlScriptTest\\File", KEY_READ));
        EXPECT_EQ(ERROR_SUCCESS, key.QueryDWORDValue(L"Number", dw));
        EXPECT_EQ(42u, dw);
    }
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_EQ(S_OK, m_module.UpdateRegistryFromResource(201, FALSE));
        CRegKey key;
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.Open(HKEY_CURRENT_USER, szKey, KEY_READ));
        EXPECT_EQ(ERROR_SUCCESS, key.Open(HKEY_CURRENT_USER, L"Software", KEY_READ));
    }
}

TEST_P(Registrar, AMissingScriptFails)
{
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND),
              m_module.UpdateRegistryFromResource(202, TRUE));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND),
              m_module.UpdateRegistryFromResource(202, FALSE));
}

INSTANTIATE_TEST_SUITE_P(Folders, Registrar,
                         testing::Values(L"plain", L"one's", L"'quoted'", L"two''s", L"50% {of} it",
                                         L"\x00E4\x4E2D"),
                         [](const auto& info) { return std::to_string(info.index); });

} // namespace
