// What registration of the DLL leaves in the registry, entry by entry, and what its removal leaves: nothing.
#include <gtest/gtest.h>

#include "FilterData.h"
#include "LoadedModule.h"
#include "QXStillSource.h"
#include "RegistrySnapshot.h"
#include "Registration.h"
#include "support/LogCapture.h"

#include <uuids.h>

namespace
{

std::wstring Braced(REFGUID guid)
{
    wchar_t sz[39] = L"";
    StringFromGUID2(guid, sz, 39);
    return sz;
}

/// The mapper's packed record of the filter.
std::wstring ExpectedFilterData()
{
    const REGPINTYPES types[] = {{&MEDIATYPE_Video, &GUID_NULL}};
    // The mapper packs a record of the first version as one of the second.
    REGFILTERPINS2 pin = {};
    pin.dwFlags = REG_PINFLAG_B_OUTPUT;
    pin.cInstances = 1;
    pin.nMediaTypes = 1;
    pin.lpMediaType = types;
    REGFILTER2 rf2 = {};
    rf2.dwVersion = 2;
    rf2.dwMerit = 0x200000;
    rf2.cPins2 = 1;
    rf2.rgPins2 = &pin;

    CComPtr<IAMFilterData> spData;
    EXPECT_EQ(S_OK, CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER, IID_IAMFilterData,
                                     reinterpret_cast<void**>(&spData)));
    BYTE* pbData = nullptr;
    ULONG nBytes = 0;
    EXPECT_EQ(S_OK, spData->CreateFilterData(&rf2, &pbData, &nBytes));
    std::wstring sData = L"hex:";
    for (ULONG i = 0; i < nBytes; ++i)
    {
        wchar_t sz[8];
        wsprintfW(sz, L"%02X", pbData[i]);
        sData += sz;
    }
    CoTaskMemFree(pbData);
    return sData;
}

/// Paths are compared without regard to case: the registry keeps the case of the first who wrote a name.
RegistrySnapshot Lower(const RegistrySnapshot& snapshot)
{
    RegistrySnapshot lower;
    for (const auto& [sKey, sData] : snapshot)
    {
        std::wstring sLower = sKey;
        CharLowerW(sLower.data());
        lower[sLower] = sData;
    }
    return lower;
}

class DllRegistration : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
        // Whatever an interrupted run has left.
        m_module.Unregister();
        m_clean = TakeRegistrySnapshot();
    }
    void TearDown() override
    {
        m_module.Unregister();
        CoUninitialize();
    }

    RegistrySnapshot Expected() const
    {
        const std::wstring sFilter = Braced(CLSID_CoQXStillSource);
        const std::wstring sLib = Braced(LIBID_QXStillSourceLib);
        const std::wstring sOwn = Braced(CLSID_QXFilters);
        const std::wstring sClass = L"CLSID\\" + sFilter;
        const std::wstring sPage = Braced(CLSID_QXStillSourcePage);
        const std::wstring sPageClass = L"CLSID\\" + sPage;
        const std::wstring sLegacy = L"CLSID\\" + Braced(CLSID_LegacyAmFilterCategory);
        const std::wstring sCategories = L"CLSID\\" + Braced(CLSID_ActiveMovieCategories);
        const std::wstring sData = ExpectedFilterData();
        const std::wstring sFolder = m_module.File().substr(0, m_module.File().find_last_of(L'\\'));

        RegistrySnapshot expected = {
            // The script.
            {L"QXStillSource.CoQXStillSource.1|", L"Qorvex Still Source"},
            {L"QXStillSource.CoQXStillSource.1\\CLSID|", sFilter},
            {L"QXStillSource.CoQXStillSource|", L"Qorvex Still Source"},
            {L"QXStillSource.CoQXStillSource\\CLSID|", sFilter},
            {L"QXStillSource.CoQXStillSource\\CurVer|", L"QXStillSource.CoQXStillSource.1"},
            {sClass + L"|", L"Qorvex Still Source"},
            {sClass + L"\\ProgID|", L"QXStillSource.CoQXStillSource.1"},
            {sClass + L"\\VersionIndependentProgID|", L"QXStillSource.CoQXStillSource"},
            {sClass + L"\\InprocServer32|", m_module.File()},
            {sClass + L"\\InprocServer32|ThreadingModel", L"Both"},
            {sClass + L"\\TypeLib|", sLib},
            // The script of the property page.
            {L"QXStillSource.QXStillSourcePage.1|", L"QXStillSourcePage Class"},
            {L"QXStillSource.QXStillSourcePage.1\\CLSID|", sPage},
            {L"QXStillSource.QXStillSourcePage|", L"QXStillSourcePage Class"},
            {L"QXStillSource.QXStillSourcePage\\CLSID|", sPage},
            {L"QXStillSource.QXStillSourcePage\\CurVer|", L"QXStillSource.QXStillSourcePage.1"},
            {sPageClass + L"|", L"QXStillSourcePage Class"},
            {sPageClass + L"\\Programmable", L""},
            {sPageClass + L"\\InprocServer32|", m_module.File()},
            {sPageClass + L"\\InprocServer32|ThreadingModel", L"Apartment"},
            // The category.
            {sCategories + L"\\Instance\\" + sOwn + L"|CLSID", sOwn},
            {sCategories + L"\\Instance\\" + sOwn + L"|FriendlyName", L"Qorvex Filters"},
            {sCategories + L"\\Instance\\" + sOwn + L"|Merit", L"dword:00400000"},
            {L"CLSID\\" + sOwn + L"\\Instance", L""},
            // The filter in two categories.
            {sLegacy + L"\\Instance\\" + sFilter + L"|CLSID", sFilter},
            {sLegacy + L"\\Instance\\" + sFilter + L"|FriendlyName", L"Qorvex Still Source"},
            {sLegacy + L"\\Instance\\" + sFilter + L"|FilterData", sData},
            {L"CLSID\\" + sOwn + L"\\Instance\\" + sFilter + L"|CLSID", sFilter},
            {L"CLSID\\" + sOwn + L"\\Instance\\" + sFilter + L"|FriendlyName", L"Qorvex Still Source"},
            {L"CLSID\\" + sOwn + L"\\Instance\\" + sFilter + L"|FilterData", sData},
            // The type library, as the platform registers one.
            {L"TypeLib\\" + sLib, L""},
            {L"TypeLib\\" + sLib + L"\\1.0|", L"Qorvex Still Source 1.0 Type Library"},
            {L"TypeLib\\" + sLib + L"\\1.0\\0\\win64|", m_module.File()},
            {L"TypeLib\\" + sLib + L"\\1.0\\FLAGS|", L"8"},
            {L"TypeLib\\" + sLib + L"\\1.0\\HELPDIR|", sFolder},
        };
        // A value has a key, and a key the keys above it.
        RegistrySnapshot withKeys = expected;
        for (const auto& entry : expected)
        {
            std::wstring sKey = entry.first.substr(0, entry.first.find(L'|'));
            while (!sKey.empty())
            {
                withKeys.try_emplace(sKey);
                const size_t nEnd = sKey.find_last_of(L'\\');
                sKey.resize(nEnd == std::wstring::npos ? 0 : nEnd);
            }
        }
        return Added(Lower(m_clean), Lower(withKeys));
    }

    LoadedModule m_module;
    RegistrySnapshot m_clean;
};

TEST_F(DllRegistration, WritesExactlyItsEntriesAndRemovesThem)
{
    const RegistrySnapshot expected = Expected();
    EXPECT_EQ(S_OK, m_module.Register());
    const RegistrySnapshot once = TakeRegistrySnapshot();
    EXPECT_EQ(Lines(expected), Lines(Lower(Added(m_clean, once))));
    EXPECT_EQ("", Lines(Added(once, m_clean)));

    // Again: the same entries, none twice.
    EXPECT_EQ(S_OK, m_module.Register());
    const RegistrySnapshot twice = TakeRegistrySnapshot();
    EXPECT_EQ("", Lines(Added(once, twice)));
    EXPECT_EQ("", Lines(Added(twice, once)));

    EXPECT_EQ(S_OK, m_module.Unregister());
    const RegistrySnapshot removed = TakeRegistrySnapshot();
    EXPECT_EQ("", Lines(Added(m_clean, removed)));
    EXPECT_EQ("", Lines(Added(removed, m_clean)));
}

TEST_F(DllRegistration, RemovalWithoutRegistrationIsNoFailure)
{
    EXPECT_EQ(S_OK, m_module.Unregister());
    EXPECT_EQ(S_OK, m_module.Unregister());
    const RegistrySnapshot removed = TakeRegistrySnapshot();
    EXPECT_EQ("", Lines(Added(m_clean, removed)));
    EXPECT_EQ("", Lines(Added(removed, m_clean)));
}

TEST_F(DllRegistration, ReplacesWhatAnOlderBuildHasWritten)
{
    ASSERT_EQ(S_OK, m_module.Register());
    const RegistrySnapshot fresh = TakeRegistrySnapshot();
    CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS,
              key.Open(HKEY_CLASSES_ROOT, (L"CLSID\\" + Braced(CLSID_CoQXStillSource)).c_str()));
    EXPECT_EQ(ERROR_SUCCESS, key.SetStringValue(L"Leftover", L"x"));
    CRegKey below;
    EXPECT_EQ(ERROR_SUCCESS, below.Create(key, L"OldKey\\Deeper"));
    below.Close();
    key.Close();
    ASSERT_EQ(ERROR_SUCCESS, key.Open(HKEY_CLASSES_ROOT, (L"CLSID\\" + Braced(CLSID_LegacyAmFilterCategory) +
                                                          L"\\Instance\\" + Braced(CLSID_CoQXStillSource))
                                                             .c_str()));
    EXPECT_EQ(ERROR_SUCCESS, key.SetStringValue(L"FriendlyName", L"Old name"));
    key.Close();

    EXPECT_EQ(S_OK, m_module.Register());
    const RegistrySnapshot again = TakeRegistrySnapshot();
    EXPECT_EQ("", Lines(Added(fresh, again)));
    EXPECT_EQ("", Lines(Added(again, fresh)));
}

/// Names of the filters in a category whose class is clsid.
std::vector<std::string> NamesIn(REFCLSID clsidCategory, REFCLSID clsid)
{
    std::vector<std::string> names;
    CComPtr<ICreateDevEnum> spDevEnum;
    CComPtr<IEnumMoniker> spEnum;
    EXPECT_EQ(S_OK, CoCreateInstance(CLSID_SystemDeviceEnum, nullptr, CLSCTX_INPROC_SERVER,
                                     IID_ICreateDevEnum, reinterpret_cast<void**>(&spDevEnum)));
    if (spDevEnum->CreateClassEnumerator(clsidCategory, &spEnum, 0) != S_OK)
        return names;
    for (;;)
    {
        CComPtr<IMoniker> spMoniker;
        if (spEnum->Next(1, &spMoniker, nullptr) != S_OK)
            return names;
        CComPtr<IPropertyBag> spBag;
        if (FAILED(spMoniker->BindToStorage(nullptr, nullptr, IID_IPropertyBag,
                                            reinterpret_cast<void**>(&spBag))))
            continue;
        VARIANT varClass;
        VARIANT varName;
        VariantInit(&varClass);
        VariantInit(&varName);
        if (SUCCEEDED(spBag->Read(L"CLSID", &varClass, nullptr)) && varClass.vt == VT_BSTR &&
            Braced(clsid) == varClass.bstrVal)
        {
            EXPECT_EQ(S_OK, spBag->Read(L"FriendlyName", &varName, nullptr));
            names.push_back(Utf8(varName.bstrVal));
        }
        VariantClear(&varClass);
        VariantClear(&varName);
    }
}

TEST_F(DllRegistration, TheMapperListsTheFilterOnceInEachCategory)
{
    using Names = std::vector<std::string>;
    EXPECT_EQ(Names{}, NamesIn(CLSID_LegacyAmFilterCategory, CLSID_CoQXStillSource));
    for (int i = 0; i < 2; ++i)
    {
        ASSERT_EQ(S_OK, m_module.Register());
        EXPECT_EQ(Names{"Qorvex Still Source"}, NamesIn(CLSID_LegacyAmFilterCategory, CLSID_CoQXStillSource));
        EXPECT_EQ(Names{"Qorvex Still Source"}, NamesIn(CLSID_QXFilters, CLSID_CoQXStillSource));
        EXPECT_EQ(Names{"Qorvex Filters"}, NamesIn(CLSID_ActiveMovieCategories, CLSID_QXFilters));
    }
    ASSERT_EQ(S_OK, m_module.Unregister());
    EXPECT_EQ(Names{}, NamesIn(CLSID_LegacyAmFilterCategory, CLSID_CoQXStillSource));
    EXPECT_EQ(Names{}, NamesIn(CLSID_QXFilters, CLSID_CoQXStillSource));
    EXPECT_EQ(Names{}, NamesIn(CLSID_ActiveMovieCategories, CLSID_QXFilters));
}

TEST_F(DllRegistration, TheFilterIsCreatedByItsName)
{
    CLSID clsid = {};
    EXPECT_TRUE(FAILED(CLSIDFromProgID(L"QXStillSource.CoQXStillSource", &clsid)));
    ASSERT_EQ(S_OK, m_module.Register());
    for (const wchar_t* pszProgId : {L"QXStillSource.CoQXStillSource", L"QXStillSource.CoQXStillSource.1"})
    {
        ASSERT_EQ(S_OK, CLSIDFromProgID(pszProgId, &clsid));
        EXPECT_TRUE(IsEqualGUID(CLSID_CoQXStillSource, clsid));
        CComPtr<IBaseFilter> spFilter;
        EXPECT_EQ(S_OK, CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IBaseFilter,
                                         reinterpret_cast<void**>(&spFilter)));
        ASSERT_NE(nullptr, spFilter.p);
        CComQIPtr<IQXStillSource> spSource(spFilter);
        EXPECT_NE(nullptr, spSource.p);
    }
}

TEST_F(DllRegistration, TheCategoryStaysWhileAnotherFilterIsInIt)
{
    static const CLSID clsidOther = {0x5B0C2B6E, 0x3F11, 0x4B8C, {0x8D, 0x10, 9, 8, 7, 6, 5, 4}};
    ASSERT_EQ(S_OK, m_module.Register());
    CComPtr<IFilterMapper2> spMapper;
    ASSERT_EQ(S_OK, CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER, IID_IFilterMapper2,
                                     reinterpret_cast<void**>(&spMapper)));
    REGFILTER2 rf2 = {};
    rf2.dwVersion = 1;
    rf2.dwMerit = 0x200000;
    ASSERT_EQ(S_OK,
              spMapper->RegisterFilter(clsidOther, L"Another", nullptr, &CLSID_QXFilters, nullptr, &rf2));

    EXPECT_EQ(S_OK, m_module.Unregister());
    EXPECT_EQ(std::vector<std::string>{"Qorvex Filters"},
              NamesIn(CLSID_ActiveMovieCategories, CLSID_QXFilters));
    EXPECT_EQ(std::vector<std::string>{"Another"}, NamesIn(CLSID_QXFilters, clsidOther));
    EXPECT_TRUE(NamesIn(CLSID_QXFilters, CLSID_CoQXStillSource).empty());
    EXPECT_EQ(S_FALSE, DSTLRegisterCategory(FALSE, CLSID_QXFilters, L"Qorvex Filters", 0x400000));

    EXPECT_EQ(S_OK, spMapper->UnregisterFilter(&CLSID_QXFilters, nullptr, clsidOther));
    EXPECT_EQ(S_OK, DSTLRegisterCategory(FALSE, CLSID_QXFilters, L"Qorvex Filters", 0x400000));
    const RegistrySnapshot removed = TakeRegistrySnapshot();
    EXPECT_EQ("", Lines(Added(m_clean, removed)));
}

TEST_F(DllRegistration, AFailingScriptEndsItBeforeAnythingElse)
{
    // This program has no resources: the class, the category and the mapper stay untouched.
    const FilterRegistration registration = {
        101, 0x200000, {&CLSID_QXFilters, L"Qorvex Filters", 0x400000}, &GetPinInfo};
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_RESOURCE_DATA_NOT_FOUND),
              DSTLUpdateFilterRegistry(TRUE, CLSID_CoQXStillSource, registration));
    const RegistrySnapshot after = TakeRegistrySnapshot();
    EXPECT_EQ("", Lines(Added(m_clean, after)));
}

TEST_F(DllRegistration, WhereClassesCannotBeWrittenNothingIsMade)
{
    // For this process the classes are below a key that was deleted, where none can be made.
    CRegKey software;
    CRegKey deleted;
    ASSERT_EQ(ERROR_SUCCESS, software.Open(HKEY_CURRENT_USER, L"Software"));
    ASSERT_EQ(ERROR_SUCCESS, deleted.Create(software, L"QxRegistrationTest"));
    ASSERT_EQ(ERROR_SUCCESS, RegOverridePredefKey(HKEY_CLASSES_ROOT, deleted));
    ASSERT_EQ(ERROR_SUCCESS, software.DeleteSubKey(L"QxRegistrationTest"));
    const HRESULT hr = m_module.Register();
    EXPECT_EQ(ERROR_SUCCESS, RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr));
    // The script's failure is the result, and nothing was done after it.
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_KEY_DELETED), hr);
    const RegistrySnapshot after = TakeRegistrySnapshot();
    EXPECT_EQ("", Lines(Added(m_clean, after)));
}

} // namespace
