// The making, the query and the removal of a filter category.
#include <gtest/gtest.h>

#include <thread>

#include "dstl/WinAPI/Atl.h"
#include "dstl/dshowx/DSRegister.h"
#include "support/LogCapture.h"

#include <uuids.h>

namespace
{

constexpr CLSID clsidOwn = {0x2E2AD23C, 0x9A2D, 0x4C0B, {0xB4, 0x64, 1, 1, 2, 3, 5, 8}};
constexpr wchar_t szOwn[] = L"{2E2AD23C-9A2D-4C0B-B464-010102030508}";
constexpr wchar_t szOwnKey[] = L"CLSID\\{2E2AD23C-9A2D-4C0B-B464-010102030508}";
constexpr wchar_t szCategories[] = L"CLSID\\{DA4E3DA0-D07D-11D0-BD50-00A0C911CE86}\\Instance";

using Texts = std::vector<std::string>;

bool Exists(HKEY hKey, const std::wstring& sPath)
{
    CRegKey key;
    return key.Open(hKey, sPath.c_str(), KEY_READ) == ERROR_SUCCESS;
}

class Category : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))); }
    void TearDown() override
    {
        AssertCapture asserts;
        DSTLRegisterCategory(FALSE, clsidOwn, L"Test category", 0);
        CoUninitialize();
    }
};

TEST_F(Category, IsMadeQueriedAndRemoved)
{
    AssertCapture asserts;
    EXPECT_EQ(S_FALSE, DSTLRegisterCategory(FALSE, clsidOwn, nullptr, 0));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), DSTLRegisterCategory(TRUE, clsidOwn, nullptr, 0));

    EXPECT_EQ(S_OK, DSTLRegisterCategory(TRUE, clsidOwn, L"Test category", 0x345678));
    EXPECT_EQ(S_OK, DSTLRegisterCategory(FALSE, clsidOwn, nullptr, 0));
    EXPECT_EQ(S_OK, DSTLRegisterCategory(TRUE, clsidOwn, nullptr, 0));
    CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS,
              key.Open(HKEY_CLASSES_ROOT, (std::wstring(szCategories) + L"\\" + szOwn).c_str()));
    wchar_t sz[64] = L"";
    ULONG nChars = 64;
    EXPECT_EQ(ERROR_SUCCESS, key.QueryStringValue(L"FriendlyName", sz, &nChars));
    EXPECT_STREQ(L"Test category", sz);
    DWORD dwMerit = 0;
    EXPECT_EQ(ERROR_SUCCESS, key.QueryDWORDValue(L"Merit", dwMerit));
    EXPECT_EQ(0x345678u, dwMerit);
    key.Close();

    // A category that exists is left as it is.
    EXPECT_EQ(S_OK, DSTLRegisterCategory(TRUE, clsidOwn, L"Other name", 1));
    ASSERT_EQ(ERROR_SUCCESS,
              key.Open(HKEY_CLASSES_ROOT, (std::wstring(szCategories) + L"\\" + szOwn).c_str()));
    nChars = 64;
    EXPECT_EQ(ERROR_SUCCESS, key.QueryStringValue(L"FriendlyName", sz, &nChars));
    EXPECT_STREQ(L"Test category", sz);
    key.Close();

    // As a filter that came and went leaves it.
    ASSERT_EQ(ERROR_SUCCESS, key.Create(HKEY_CLASSES_ROOT, (std::wstring(szOwnKey) + L"\\Instance").c_str()));
    key.Close();
    EXPECT_EQ(S_OK, DSTLRegisterCategory(FALSE, clsidOwn, L"Test category", 0));
    EXPECT_FALSE(Exists(HKEY_CLASSES_ROOT, szOwnKey));
    EXPECT_FALSE(Exists(HKEY_CLASSES_ROOT, std::wstring(szCategories) + L"\\" + szOwn));
    EXPECT_EQ(S_FALSE, DSTLRegisterCategory(FALSE, clsidOwn, nullptr, 0));
    EXPECT_EQ(Texts{}, asserts.Texts());
    // And once more: nothing to remove is no failure.
    EXPECT_EQ(S_FALSE, DSTLRegisterCategory(FALSE, clsidOwn, L"Test category", 0));
    EXPECT_EQ(Texts{}, asserts.Texts());
}

TEST_F(Category, WithAFilterInItStays)
{
    AssertCapture asserts;
    ASSERT_EQ(S_OK, DSTLRegisterCategory(TRUE, clsidOwn, L"Test category", 0));
    CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS,
              key.Create(HKEY_CLASSES_ROOT, (std::wstring(szOwnKey) + L"\\Instance\\filter").c_str()));
    key.Close();
    EXPECT_EQ(S_FALSE, DSTLRegisterCategory(FALSE, clsidOwn, L"Test category", 0));
    EXPECT_EQ(S_OK, DSTLRegisterCategory(TRUE, clsidOwn, nullptr, 0));
    EXPECT_TRUE(Exists(HKEY_CLASSES_ROOT, szOwnKey));
    ASSERT_EQ(ERROR_SUCCESS, key.Open(HKEY_CLASSES_ROOT, (std::wstring(szOwnKey) + L"\\Instance").c_str()));
    EXPECT_EQ(ERROR_SUCCESS, key.DeleteSubKey(L"filter"));
    key.Close();
    EXPECT_EQ(S_OK, DSTLRegisterCategory(FALSE, clsidOwn, L"Test category", 0));
    EXPECT_EQ(Texts{}, asserts.Texts());
}

TEST(CategoryWithoutCom, CannotBeMade)
{
    // A thread that has no apartment, in a process without a multithreaded one.
    std::thread(
        []
        {
            AssertCapture asserts;
            EXPECT_EQ(CO_E_NOTINITIALIZED, DSTLRegisterCategory(TRUE, clsidOwn, L"Test category", 0));
            EXPECT_EQ(Texts{"DSTLRegisterCategory( TRUE ): CoCreateInstance(CLSID_FilterMapper2) FAILED"},
                      asserts.Texts());
        })
        .join();
}

/// A tree of keys that stands in for HKEY_CLASSES_ROOT in this process.
class CategoryInAnotherTree : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
        CRegKey software;
        ASSERT_EQ(ERROR_SUCCESS, software.Open(HKEY_CURRENT_USER, L"Software"));
        software.RecurseDeleteKey(L"QxCategoryTest");
        ASSERT_EQ(ERROR_SUCCESS, m_root.Create(software, L"QxCategoryTest"));
        ASSERT_EQ(ERROR_SUCCESS, RegOverridePredefKey(HKEY_CLASSES_ROOT, m_root));
    }
    void TearDown() override
    {
        RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        m_root.Close();
        CRegKey software;
        software.Open(HKEY_CURRENT_USER, L"Software");
        software.RecurseDeleteKey(L"QxCategoryTest");
        CoUninitialize();
    }
    void Make(const std::wstring& sPath)
    {
        CRegKey key;
        ASSERT_EQ(ERROR_SUCCESS, key.Create(m_root, sPath.c_str()));
    }
    CRegKey m_root;
};

TEST_F(CategoryInAnotherTree, NoClassKey)
{
    AssertCapture asserts;
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), DSTLRegisterCategory(FALSE, clsidOwn, L"n", 0));
    EXPECT_EQ(Texts{"DSTLRegisterCategory( FALSE ): keyClsid.Open( CLSID ) FAILED"}, asserts.Texts());
}

TEST_F(CategoryInAnotherTree, CategoryWithoutAListOfFilters)
{
    AssertCapture asserts;
    Make(szOwnKey);
    EXPECT_EQ(S_FALSE, DSTLRegisterCategory(FALSE, clsidOwn, L"n", 0));
    EXPECT_TRUE(Exists(m_root, szOwnKey));
    EXPECT_EQ(Texts{}, asserts.Texts());
}

TEST_F(CategoryInAnotherTree, NotInTheListOfCategories)
{
    AssertCapture asserts;
    Make(szCategories);
    Make(std::wstring(szOwnKey) + L"\\Instance");
    EXPECT_EQ(S_FALSE, DSTLRegisterCategory(FALSE, clsidOwn, L"n", 0));
    EXPECT_FALSE(Exists(m_root, szOwnKey));
    EXPECT_EQ(Texts{"DSTLRegisterCategory( FALSE ): ActiveMovie -> RecurseDeleteKey() FAILED"},
              asserts.Texts());
}

TEST_F(CategoryInAnotherTree, NoListOfCategories)
{
    AssertCapture asserts;
    Make(std::wstring(szOwnKey) + L"\\Instance");
    EXPECT_EQ(S_FALSE, DSTLRegisterCategory(FALSE, clsidOwn, nullptr, 0));
    EXPECT_EQ(S_FALSE, DSTLRegisterCategory(FALSE, clsidOwn, L"n", 0));
    EXPECT_FALSE(Exists(m_root, szOwnKey));
    EXPECT_EQ(Texts{"DSTLRegisterCategory( FALSE ): ActiveMovie -> RecurseDeleteKey() FAILED"},
              asserts.Texts());
}

TEST_F(CategoryInAnotherTree, AKeyThatCannotBeDeleted)
{
    AssertCapture asserts;
    Make(std::wstring(szOwnKey) + L"\\Instance");
    Make(std::wstring(szCategories) + L"\\" + szOwn);
    // A name with a zero in it, which only the native interface can open.
    CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS, key.Open(m_root, szOwnKey));
    struct UnicodeString
    {
        USHORT nLength;
        USHORT nMaximum;
        const wchar_t* psz;
    };
    struct ObjectAttributes
    {
        ULONG nSize;
        HANDLE hRoot;
        const UnicodeString* pName;
        ULONG dwAttributes;
        void* pSecurity;
        void* pQuality;
    };
    using PFNNTCREATEKEY = LONG(WINAPI*)(HANDLE*, ACCESS_MASK, const ObjectAttributes*, ULONG,
                                         const UnicodeString*, ULONG, ULONG*);
    using PFNNTDELETEKEY = LONG(WINAPI*)(HANDLE);
    const HMODULE hNtdll = GetModuleHandleW(L"ntdll.dll");
    const auto pfnCreateKey =
        reinterpret_cast<PFNNTCREATEKEY>(reinterpret_cast<void*>(GetProcAddress(hNtdll, "NtCreateKey")));
    const auto pfnDeleteKey =
        reinterpret_cast<PFNNTDELETEKEY>(reinterpret_cast<void*>(GetProcAddress(hNtdll, "NtDeleteKey")));
    const UnicodeString name = {6, 6, L"a\0b"};
    const ObjectAttributes attributes = {sizeof(attributes), key, &name, 0, nullptr, nullptr};
    HANDLE hOdd = nullptr;
    ASSERT_EQ(0, pfnCreateKey(&hOdd, KEY_ALL_ACCESS | DELETE, &attributes, 0, nullptr, 0, nullptr));

    EXPECT_EQ(S_FALSE, DSTLRegisterCategory(FALSE, clsidOwn, L"n", 0));
    EXPECT_EQ(Texts{"DSTLRegisterCategory( FALSE ): CLSID -> RecurseDeleteKey() FAILED"}, asserts.Texts());
    EXPECT_TRUE(Exists(m_root, szOwnKey));
    EXPECT_TRUE(Exists(m_root, std::wstring(szCategories) + L"\\" + szOwn));
    EXPECT_EQ(0, pfnDeleteKey(hOdd));
    CloseHandle(hOdd);
}

TEST_F(CategoryInAnotherTree, TheMapperFails)
{
    // No key can be made below one that was deleted.
    CRegKey software;
    ASSERT_EQ(ERROR_SUCCESS, software.Open(HKEY_CURRENT_USER, L"Software"));
    ASSERT_EQ(ERROR_SUCCESS, software.DeleteSubKey(L"QxCategoryTest"));
    AssertCapture asserts;
    EXPECT_TRUE(FAILED(DSTLRegisterCategory(TRUE, clsidOwn, nullptr, 0)));
    EXPECT_EQ(Texts{}, asserts.Texts());
    EXPECT_TRUE(FAILED(DSTLRegisterCategory(TRUE, clsidOwn, L"n", 0)));
    EXPECT_EQ(Texts{"DSTLRegisterCategory( TRUE ): IFilterMapper2::CreateCategory() FAILED"},
              asserts.Texts());
}

} // namespace
