// The registry wrapper.
#include <gtest/gtest.h>

#include "dstl/WinAPI/Atl.h"

namespace
{

constexpr wchar_t szRoot[] = L"Software\\QxAtlRegKeyTest";

class RegKey : public testing::Test
{
protected:
    void SetUp() override { Remove(); }
    void TearDown() override { Remove(); }
    static void Remove()
    {
        CRegKey key;
        if (key.Open(HKEY_CURRENT_USER, L"Software") == ERROR_SUCCESS)
            key.RecurseDeleteKey(L"QxAtlRegKeyTest");
    }
    static LONG OpenRoot(CRegKey& key) { return key.Open(HKEY_CURRENT_USER, szRoot); }
};

TEST_F(RegKey, CreatesOpensAndCloses)
{
    CRegKey key;
    EXPECT_EQ(nullptr, key.Get());
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, OpenRoot(key));
    EXPECT_EQ(nullptr, key.Get());
    DWORD dwDisposition = 0;
    EXPECT_EQ(ERROR_SUCCESS, key.Create(HKEY_CURRENT_USER, szRoot, nullptr, REG_OPTION_NON_VOLATILE,
                                        KEY_READ | KEY_WRITE, nullptr, &dwDisposition));
    EXPECT_EQ(DWORD{REG_CREATED_NEW_KEY}, dwDisposition);
    const HKEY hKey = key;
    EXPECT_NE(nullptr, hKey);
    // A failed Open leaves the key.
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.Open(HKEY_CURRENT_USER, L"Software\\QxAtlRegKeyTest\\none"));
    EXPECT_EQ(hKey, key.Get());
    EXPECT_EQ(ERROR_SUCCESS, key.Create(HKEY_CURRENT_USER, szRoot, nullptr, REG_OPTION_NON_VOLATILE,
                                        KEY_READ | KEY_WRITE, nullptr, &dwDisposition));
    EXPECT_EQ(DWORD{REG_OPENED_EXISTING_KEY}, dwDisposition);
    EXPECT_EQ(ERROR_SUCCESS, key.Close());
    EXPECT_EQ(nullptr, key.Get());
    EXPECT_EQ(ERROR_SUCCESS, key.Close());
    EXPECT_EQ(ERROR_SUCCESS, OpenRoot(key));
    HKEY hDetached = key.Detach();
    EXPECT_EQ(nullptr, key.Get());
    key.Attach(hDetached);
    EXPECT_EQ(hDetached, key.Get());
}

TEST_F(RegKey, Texts)
{
    CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS, key.Create(HKEY_CURRENT_USER, szRoot));
    EXPECT_EQ(ERROR_SUCCESS, key.SetStringValue(nullptr, L"default"));
    EXPECT_EQ(ERROR_SUCCESS, key.SetStringValue(L"name", L"value"));
    EXPECT_EQ(ERROR_INVALID_DATA, key.SetStringValue(L"name", nullptr));

    wchar_t sz[16] = L"";
    ULONG nChars = 16;
    EXPECT_EQ(ERROR_SUCCESS, key.QueryStringValue(nullptr, sz, &nChars));
    EXPECT_STREQ(L"default", sz);
    EXPECT_EQ(8u, nChars);
    nChars = 16;
    EXPECT_EQ(ERROR_SUCCESS, key.QueryStringValue(L"name", sz, &nChars));
    EXPECT_STREQ(L"value", sz);
    // The size alone, then too little room.
    nChars = 0;
    EXPECT_EQ(ERROR_SUCCESS, key.QueryStringValue(L"name", nullptr, &nChars));
    EXPECT_EQ(6u, nChars);
    nChars = 5;
    EXPECT_EQ(ERROR_MORE_DATA, key.QueryStringValue(L"name", sz, &nChars));
    EXPECT_EQ(6u, nChars);
    nChars = 16;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.QueryStringValue(L"none", sz, &nChars));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, key.QueryStringValue(L"name", sz, nullptr));
    EXPECT_EQ(ERROR_SUCCESS, key.DeleteValue(L"name"));
    nChars = 16;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.QueryStringValue(L"name", sz, &nChars));
}

TEST_F(RegKey, ATextWithoutTerminatorIsTerminated)
{
    CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS, key.Create(HKEY_CURRENT_USER, szRoot));
    ASSERT_EQ(ERROR_SUCCESS,
              RegSetValueExW(key, L"bare", 0, REG_SZ, reinterpret_cast<const BYTE*>(L"abc"), 6));
    wchar_t sz[4];
    memset(sz, 0x55, sizeof(sz));
    ULONG nChars = 4;
    EXPECT_EQ(ERROR_SUCCESS, key.QueryStringValue(L"bare", sz, &nChars));
    EXPECT_STREQ(L"abc", sz);
    EXPECT_EQ(4u, nChars);
    nChars = 3;
    EXPECT_EQ(ERROR_MORE_DATA, key.QueryStringValue(L"bare", sz, &nChars));
}

TEST_F(RegKey, Numbers)
{
    CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS, key.Create(HKEY_CURRENT_USER, szRoot));
    EXPECT_EQ(ERROR_SUCCESS, key.SetDWORDValue(L"n", 0x80000001));
    EXPECT_EQ(ERROR_SUCCESS, key.SetStringValue(L"s", L"1"));
    DWORD dw = 7;
    EXPECT_EQ(ERROR_SUCCESS, key.QueryDWORDValue(L"n", dw));
    EXPECT_EQ(0x80000001u, dw);
    EXPECT_EQ(ERROR_INVALID_DATA, key.QueryDWORDValue(L"s", dw));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.QueryDWORDValue(L"none", dw));
    EXPECT_EQ(0x80000001u, dw);
    wchar_t sz[8];
    ULONG nChars = 8;
    EXPECT_EQ(ERROR_INVALID_DATA, key.QueryStringValue(L"n", sz, &nChars));
    DWORD dwType = 0;
    ULONG nBytes = 0;
    EXPECT_EQ(ERROR_SUCCESS, key.QueryValue(L"n", &dwType, nullptr, &nBytes));
    EXPECT_EQ(DWORD{REG_DWORD}, dwType);
    EXPECT_EQ(4u, nBytes);
}

TEST_F(RegKey, DeletesWithAllBelow)
{
    CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS, key.Create(HKEY_CURRENT_USER, szRoot));
    for (int i = 0; i < 12; ++i)
    {
        CRegKey below;
        const std::wstring sPath = L"tree\\branch" + std::to_wstring(i) + L"\\twig\\leaf";
        ASSERT_EQ(ERROR_SUCCESS, below.Create(key, sPath.c_str()));
        ASSERT_EQ(ERROR_SUCCESS, below.SetStringValue(L"v", L"x"));
    }
    const std::wstring sLong = L"tree\\" + std::wstring(255, L'k');
    {
        CRegKey below;
        ASSERT_EQ(ERROR_SUCCESS, below.Create(key, sLong.c_str()));
    }
    EXPECT_NE(ERROR_SUCCESS, key.DeleteSubKey(L"tree"));
    EXPECT_EQ(ERROR_SUCCESS, key.DeleteSubKey(L"tree\\branch3\\twig\\leaf"));
    EXPECT_EQ(ERROR_SUCCESS, key.RecurseDeleteKey(L"tree"));
    CRegKey gone;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, gone.Open(key, L"tree"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.RecurseDeleteKey(L"tree"));
}

} // namespace
