// The pin table, and the entry of a filter with the mapper.
#include <gtest/gtest.h>

#include "Registration.h"
#include "dstl/WinAPI/Atl.h"
#include "dstl/dshowx/DSRegister.h"
#include "support/LogCapture.h"

#include <uuids.h>

namespace
{

constexpr CLSID clsidTest = {0x6B5F9B2C, 0x8E2C, 0x4F64, {0x9A, 0x01, 2, 7, 1, 8, 2, 8}};
constexpr wchar_t szTestKey[] = L"CLSID\\{6B5F9B2C-8E2C-4F64-9A01-020701080208}";
constexpr wchar_t szTest[] = L"{6B5F9B2C-8E2C-4F64-9A01-020701080208}";
constexpr wchar_t szEntry[] =
    L"CLSID\\{083863F1-70DE-11D0-BD40-00A0C911CE86}\\Instance\\{6B5F9B2C-8E2C-4F64-9A01-020701080208}";

using Texts = std::vector<std::string>;

TEST(PinTable, OfTheStillSource)
{
    const CPinInfo* pInfo = nullptr;
    EXPECT_EQ(1u, GetPinInfo(-1, nullptr));
    EXPECT_EQ(1u, GetPinInfo(0, &pInfo));
    ASSERT_NE(nullptr, pInfo);
    EXPECT_EQ(PT_OUTPUT, pInfo->PinType());
    const REGFILTERPINS& pin = pInfo->Record();
    EXPECT_STREQ(L"Out", pin.strName);
    EXPECT_FALSE(pin.bRendered);
    EXPECT_TRUE(pin.bOutput);
    EXPECT_FALSE(pin.bZero);
    EXPECT_FALSE(pin.bMany);
    EXPECT_TRUE(IsEqualGUID(GUID_NULL, *pin.clsConnectsToFilter));
    EXPECT_EQ(nullptr, pin.strConnectsToPin);
    ASSERT_EQ(1u, pin.nMediaTypes);
    EXPECT_TRUE(IsEqualGUID(MEDIATYPE_Video, *pin.lpMediaType->clsMajorType));
    EXPECT_TRUE(IsEqualGUID(GUID_NULL, *pin.lpMediaType->clsMinorType));
    // One static row.
    const CPinInfo* pAgain = nullptr;
    GetPinInfo(0, &pAgain);
    EXPECT_EQ(pInfo, pAgain);
    for (int nIndex : {1, 2, -2, 1000000})
    {
        pAgain = pInfo;
        EXPECT_EQ(1u, GetPinInfo(nIndex, &pAgain));
        EXPECT_EQ(nullptr, pAgain);
    }
}

TEST(PinTable, BitsOfTheTypeWord)
{
    EXPECT_EQ(1, PT_RENDERED);
    EXPECT_EQ(2, PT_OUTPUT);
    EXPECT_EQ(4, PT_ZERO);
    EXPECT_EQ(8, PT_MANY);
    for (WORD wType = 0; wType < 16; ++wType)
    {
        AssertCapture asserts;
        const CPinInfo info(0, L"x", wType, 0, nullptr);
        const REGFILTERPINS& pin = info.Record();
        EXPECT_EQ((wType & 1) != 0, pin.bRendered != FALSE);
        EXPECT_EQ((wType & 2) != 0, pin.bOutput != FALSE);
        EXPECT_EQ((wType & 4) != 0, pin.bZero != FALSE);
        EXPECT_EQ((wType & 8) != 0, pin.bMany != FALSE);
        const Texts expected = (wType & 3) == 3
                                   ? Texts{"(wPinType & PT_RENDERED) == 0 || (wPinType & PT_OUTPUT) == 0"}
                                   : Texts{};
        EXPECT_EQ(expected, asserts.Texts());
    }
}

TEST(PinTable, NamesAreMadeOrCopied)
{
    EXPECT_STREQ(L"Out 0", CPinInfo(0, nullptr, PT_OUTPUT, 0, nullptr).Record().strName);
    EXPECT_STREQ(L"In 3", CPinInfo(3, nullptr, 0, 0, nullptr).Record().strName);
    EXPECT_STREQ(L"In 4294967295", CPinInfo(0xFFFFFFFF, nullptr, PT_RENDERED, 0, nullptr).Record().strName);
    EXPECT_STREQ(L"", CPinInfo(3, L"", PT_OUTPUT, 0, nullptr).Record().strName);
    for (size_t nChars : {1u, 126u, 127u, 128u, 1000u})
    {
        // With its terminator a name has at most 128 characters.
        const std::wstring sName(nChars, L'n');
        const CPinInfo info(0, sName.c_str(), PT_OUTPUT, 0, nullptr);
        EXPECT_EQ(std::min<size_t>(nChars, 127), wcslen(info.Record().strName));
        EXPECT_NE(sName.c_str(), info.Record().strName);
    }
}

class FilterEntry : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
        Remove();
    }
    void TearDown() override
    {
        EXPECT_EQ(S_OK, Update(FALSE));
        Remove();
        CoUninitialize();
    }
    static void Remove()
    {
        CRegKey key;
        key.Open(HKEY_CLASSES_ROOT, L"CLSID");
        key.RecurseDeleteKey(szTest);
    }
    static HRESULT Update(BOOL bRegister, PFNGETPININFO pfnGetPinInfo = &GetPinInfo)
    {
        return DSTLRegisterFilter(bRegister, clsidTest, 0x200000, &CLSID_LegacyAmFilterCategory,
                                  pfnGetPinInfo);
    }
    static std::wstring EntryName()
    {
        CRegKey key;
        wchar_t sz[300] = L"";
        ULONG nChars = 300;
        if (key.Open(HKEY_CLASSES_ROOT, szEntry, KEY_READ) != ERROR_SUCCESS ||
            key.QueryStringValue(L"FriendlyName", sz, &nChars) != ERROR_SUCCESS)
            return L"(none)";
        return sz;
    }
    static void MakeClass(const wchar_t* pszName)
    {
        CRegKey key;
        ASSERT_EQ(ERROR_SUCCESS, key.Create(HKEY_CLASSES_ROOT, szTestKey));
        if (pszName != nullptr)
        {
            ASSERT_EQ(ERROR_SUCCESS, key.SetStringValue(nullptr, pszName));
        }
    }
};

TEST_F(FilterEntry, TakesItsNameFromTheClass)
{
    AssertCapture asserts;
    MakeClass(L"The name");
    EXPECT_EQ(S_OK, Update(TRUE));
    EXPECT_EQ(L"The name", EntryName());
    MakeClass(L"Another name");
    EXPECT_EQ(S_OK, Update(TRUE));
    EXPECT_EQ(L"Another name", EntryName());
    EXPECT_EQ(S_OK, Update(FALSE));
    EXPECT_EQ(L"(none)", EntryName());
    EXPECT_EQ(S_OK, Update(FALSE));
    EXPECT_EQ(Texts{}, asserts.Texts());
}

TEST_F(FilterEntry, NeedsARegisteredClass)
{
    AssertCapture asserts;
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), Update(TRUE));
    EXPECT_EQ(Texts{"RegisterFilter( TRUE ): COM-object not registered"}, asserts.Texts());
    EXPECT_EQ(L"(none)", EntryName());
}

TEST_F(FilterEntry, NeedsAName)
{
    const Texts expected = {"RegisterFilter( TRUE ): name of filter not found"};
    {
        AssertCapture asserts;
        MakeClass(nullptr);
        EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), Update(TRUE));
        EXPECT_EQ(expected, asserts.Texts());
    }
    {
        AssertCapture asserts;
        MakeClass(L"");
        EXPECT_EQ(E_FAIL, Update(TRUE));
        EXPECT_EQ(expected, asserts.Texts());
    }
    CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS, key.Open(HKEY_CLASSES_ROOT, szTestKey));
    {
        AssertCapture asserts;
        ASSERT_EQ(ERROR_SUCCESS, key.SetDWORDValue(nullptr, 0x410041));
        EXPECT_EQ(E_FAIL, Update(TRUE));
        EXPECT_EQ(expected, asserts.Texts());
    }
    {
        AssertCapture asserts;
        ASSERT_EQ(ERROR_SUCCESS, key.SetStringValue(nullptr, L"name", REG_EXPAND_SZ));
        EXPECT_EQ(E_FAIL, Update(TRUE));
        EXPECT_EQ(expected, asserts.Texts());
    }
    {
        // 128 characters and a terminator are more than 256 bytes.
        AssertCapture asserts;
        MakeClass(std::wstring(128, L'n').c_str());
        EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_MORE_DATA), Update(TRUE));
        EXPECT_EQ(expected, asserts.Texts());
    }
    EXPECT_EQ(L"(none)", EntryName());
}

TEST_F(FilterEntry, NamesThatJustFit)
{
    AssertCapture asserts;
    const std::wstring sLongest(127, L'n');
    MakeClass(sLongest.c_str());
    EXPECT_EQ(S_OK, Update(TRUE));
    EXPECT_EQ(sLongest, EntryName());
    // 256 bytes of text without a terminator, here or behind it.
    const std::wstring sMore(130, L'b');
    const std::wstring sBare(128, L'b');
    CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS, key.Open(HKEY_CLASSES_ROOT, szTestKey));
    ASSERT_EQ(ERROR_SUCCESS,
              RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(sMore.data()), 256));
    EXPECT_EQ(S_OK, Update(TRUE));
    EXPECT_EQ(sBare, EntryName());
    EXPECT_EQ(Texts{}, asserts.Texts());
}

TEST_F(FilterEntry, AFailureRemovesTheEarlierEntry)
{
    MakeClass(L"The name");
    EXPECT_EQ(S_OK, Update(TRUE));
    Remove();
    AssertCapture asserts;
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), Update(TRUE));
    EXPECT_EQ(L"(none)", EntryName());
}

TEST_F(FilterEntry, APinWithoutARowIsReported)
{
    MakeClass(L"The name");
    AssertCapture asserts;
    const PFNGETPININFO pfnNone = [](int, const CPinInfo** ppInfo) -> UINT
    {
        if (ppInfo != nullptr)
            *ppInfo = nullptr;
        return 1;
    };
    EXPECT_EQ(E_POINTER, Update(TRUE, pfnNone));
    EXPECT_EQ(Texts{"pPin != NULL"}, asserts.Texts());
}

TEST_F(FilterEntry, AsManyPinsAsThereAre)
{
    MakeClass(L"The name");
    AssertCapture asserts;
    static int nAsked;
    nAsked = 0;
    const PFNGETPININFO pfnMany = [](int nIndex, const CPinInfo** ppInfo) -> UINT
    {
        nAsked += nIndex >= 0;
        if (ppInfo != nullptr)
            GetPinInfo(0, ppInfo);
        return 1000;
    };
    EXPECT_EQ(S_OK, Update(TRUE, pfnMany));
    EXPECT_EQ(int{nMaxRegisteredPins}, nAsked);
    EXPECT_EQ(Texts{}, asserts.Texts());
}

} // namespace
