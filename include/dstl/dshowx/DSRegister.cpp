#include "dstl/dshowx/DSRegister.h"

#include "dstl/WinAPI/Atl.h"

#include <algorithm>

#include <uuids.h>

namespace
{

/// Text of an identifier with braces, terminator included.
constexpr int cchGuid = 39;

/// A path of the registry that ends in an identifier or in what follows it.
constexpr size_t cchPath = 128;

struct GuidText
{
    explicit GuidText(REFGUID guid) noexcept { StringFromGUID2(guid, sz, cchGuid); }
    WCHAR sz[cchGuid] = L"";
};

/// Joins up to three texts; all of them are short and bounded.
struct KeyPath
{
    KeyPath(LPCWSTR psz1, LPCWSTR psz2, LPCWSTR psz3 = L"") noexcept
    {
        LPWSTR pszEnd = sz;
        for (LPCWSTR psz : {psz1, psz2, psz3})
        {
            while (*psz != 0 && pszEnd < sz + cchPath - 1)
                *pszEnd++ = *psz++;
        }
        *pszEnd = 0;
    }
    WCHAR sz[cchPath];
};

HRESULT CreateMapper(CComPtr<IFilterMapper2>& spMapper) noexcept
{
    return CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER, IID_IFilterMapper2,
                            reinterpret_cast<void**>(&spMapper));
}

HRESULT CreateCategory(REFCLSID clsidCategory, LPCWSTR pszName, DWORD dwMerit) noexcept
{
    CComPtr<IFilterMapper2> spMapper;
    HRESULT hr = CreateMapper(spMapper);
    DSASSERT_TEXT(SUCCEEDED(hr),
                  "DSTLRegisterCategory( TRUE ): CoCreateInstance(CLSID_FilterMapper2) FAILED");
    if (FAILED(hr))
        return DSTLFailure(hr);
    hr = spMapper->CreateCategory(clsidCategory, dwMerit, pszName);
    DSASSERT_TEXT(hr == S_OK, "DSTLRegisterCategory( TRUE ): IFilterMapper2::CreateCategory() FAILED");
    return hr;
}

/// Removes what CreateCategory left, once no filter is in the category any more.
/// \param keyInstances list of all categories
HRESULT RemoveEmptyCategory(LPCWSTR pszCategory, CRegKey& keyInstances) noexcept
{
    CRegKey keyClsid;
    LONG lRes = keyClsid.Open(HKEY_CLASSES_ROOT, L"CLSID", KEY_WRITE);
    DSASSERT_TEXT(lRes == ERROR_SUCCESS, "DSTLRegisterCategory( FALSE ): keyClsid.Open( CLSID ) FAILED");
    if (lRes != ERROR_SUCCESS)
        return HRESULT_FROM_WIN32(lRes);

    CRegKey keyFilters;
    lRes = keyFilters.Open(keyClsid, KeyPath(pszCategory, L"\\Instance").sz, KEY_QUERY_VALUE);
    if (lRes != ERROR_SUCCESS)
        return S_FALSE;
    DWORD nFilters = 0;
    lRes = RegQueryInfoKeyW(keyFilters, nullptr, nullptr, nullptr, &nFilters, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr, nullptr);
    if (lRes != ERROR_SUCCESS || nFilters != 0)
        return S_FALSE;
    keyFilters.Close();

    lRes = keyClsid.RecurseDeleteKey(pszCategory);
    DSASSERT_TEXT(lRes == ERROR_SUCCESS, "DSTLRegisterCategory( FALSE ): CLSID -> RecurseDeleteKey() FAILED");
    if (lRes != ERROR_SUCCESS)
        return S_FALSE;
    lRes = keyInstances.RecurseDeleteKey(pszCategory);
    DSASSERT_TEXT(lRes == ERROR_SUCCESS,
                  "DSTLRegisterCategory( FALSE ): ActiveMovie -> RecurseDeleteKey() FAILED");
    if (lRes != ERROR_SUCCESS)
        return S_FALSE;
    return S_OK;
}

/// The name under which the script has registered the class.
HRESULT ReadClassName(REFCLSID clsid, WCHAR (&szName)[129]) noexcept
{
    CRegKey key;
    LONG lRes = key.Open(HKEY_CLASSES_ROOT, KeyPath(L"CLSID\\", GuidText(clsid).sz).sz, KEY_READ);
    DSASSERT_TEXT(lRes == ERROR_SUCCESS, "RegisterFilter( TRUE ): COM-object not registered");
    if (lRes != ERROR_SUCCESS)
        return HRESULT_FROM_WIN32(lRes);

    // 256 bytes are read; the last character of the array stays a terminator whatever the value holds.
    DWORD dwType = REG_NONE;
    DWORD cbName = 256;
    lRes = key.QueryValue(nullptr, &dwType, szName, &cbName);
    const bool bName = lRes == ERROR_SUCCESS && dwType == REG_SZ && szName[0] != 0;
    DSASSERT_TEXT(bName, "RegisterFilter( TRUE ): name of filter not found");
    if (!bName)
        return lRes == ERROR_SUCCESS ? E_FAIL : HRESULT_FROM_WIN32(lRes);
    return S_OK;
}

/// Only a category of one's own is made and removed.
HRESULT CategoryStep(BOOL bRegister, REFCLSID clsidCategory, const FilterCategory& own) noexcept
{
    if (!IsEqualGUID(clsidCategory, *own.pclsid))
        return S_FALSE;
    return DSTLRegisterCategory(bRegister, clsidCategory, own.pszName, own.dwMerit);
}

} // namespace

CPinInfo::CPinInfo(UINT nIndex, LPCWSTR pszName, WORD wPinType, UINT nTypes, const REGPINTYPES* pTypes,
                   const CLSID* pclsConnectsToFilter, LPCWSTR pszConnectsToPin) noexcept
    : m_wPinType(wPinType), m_rgPin{}
{
    DSASSERT((wPinType & PT_RENDERED) == 0 || (wPinType & PT_OUTPUT) == 0);
    if (pszName != nullptr)
        lstrcpynW(m_szName, pszName, cchPinName);
    else
        wsprintfW(m_szName, (wPinType & PT_OUTPUT) != 0 ? L"Out %u" : L"In %u", nIndex);

    m_rgPin.strName = m_szName;
    m_rgPin.bRendered = (wPinType & PT_RENDERED) != 0;
    m_rgPin.bOutput = (wPinType & PT_OUTPUT) != 0;
    m_rgPin.bZero = (wPinType & PT_ZERO) != 0;
    m_rgPin.bMany = (wPinType & PT_MANY) != 0;
    m_rgPin.clsConnectsToFilter = pclsConnectsToFilter;
    m_rgPin.strConnectsToPin = const_cast<LPWSTR>(pszConnectsToPin);
    m_rgPin.nMediaTypes = nTypes;
    m_rgPin.lpMediaType = pTypes;
}

HRESULT DSTLRegisterCategory(BOOL bRegister, REFCLSID clsidCategory, LPCWSTR pszName, DWORD dwMerit) noexcept
{
    const KeyPath path(L"CLSID\\", GuidText(CLSID_ActiveMovieCategories).sz, L"\\Instance");
    const GuidText category(clsidCategory);

    CRegKey keyInstances;
    CRegKey keyCategory;
    LONG lRes = keyInstances.Open(HKEY_CLASSES_ROOT, path.sz, READ_CONTROL);
    if (lRes == ERROR_SUCCESS)
        lRes = keyCategory.Open(keyInstances, category.sz, READ_CONTROL);
    keyCategory.Close();

    if (pszName == nullptr)
    {
        if (bRegister)
            return HRESULT_FROM_WIN32(lRes);
        return lRes != ERROR_SUCCESS ? S_FALSE : S_OK;
    }
    if (!bRegister)
        return RemoveEmptyCategory(category.sz, keyInstances);
    return lRes == ERROR_SUCCESS ? S_OK : CreateCategory(clsidCategory, pszName, dwMerit);
}

HRESULT DSTLRegisterFilter(BOOL bRegister, REFCLSID clsid, DWORD dwMerit, const CLSID* pCategory,
                           PFNGETPININFO pfnGetPinInfo) noexcept
{
    CComPtr<IFilterMapper2> spMapper;
    HRESULT hr = CreateMapper(spMapper);
    if (FAILED(hr))
        return hr;
    // Before a new registration too: an entry of an older build may differ in its pins.
    hr = spMapper->UnregisterFilter(pCategory, nullptr, clsid);
    if (hr == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND))
        hr = S_OK;
    if (!bRegister)
        return hr;

    WCHAR szName[129] = L"";
    hr = ReadClassName(clsid, szName);
    if (FAILED(hr))
        return hr;

    REGFILTERPINS rgPins[nMaxRegisteredPins] = {};
    const UINT nPins = std::min(pfnGetPinInfo(-1, nullptr), nMaxRegisteredPins);
    for (UINT i = 0; i < nPins; ++i)
    {
        const CPinInfo* pPin = nullptr;
        pfnGetPinInfo(static_cast<int>(i), &pPin);
        DSASSERT(pPin != NULL);
        if (pPin == nullptr)
            return E_POINTER;
        rgPins[i] = pPin->Record();
    }
    REGFILTER2 rf2 = {};
    rf2.dwVersion = 1;
    rf2.dwMerit = dwMerit;
    rf2.cPins = nPins;
    rf2.rgPins = rgPins;
    return spMapper->RegisterFilter(clsid, szName, nullptr, pCategory, nullptr, &rf2);
}

HRESULT DSTLUpdateFilterRegistry(BOOL bRegister, REFCLSID clsid,
                                 const FilterRegistration& registration) noexcept
{
    const FilterCategory& own = registration.category;

    HRESULT hr = _Module.UpdateRegistryFromResource(registration.nScript, bRegister);
    if (SUCCEEDED(hr) && bRegister)
        hr = CategoryStep(TRUE, *own.pclsid, own);
    for (const CLSID* pCategory : {&CLSID_LegacyAmFilterCategory, own.pclsid})
    {
        if (SUCCEEDED(hr))
            hr = DSTLRegisterFilter(bRegister, clsid, registration.dwMerit, pCategory,
                                    registration.pfnGetPinInfo);
    }
    // Filters of others may be left in the category: its result is deliberately not the caller's.
    if (!bRegister)
        CategoryStep(FALSE, *own.pclsid, own);
    return hr;
}
