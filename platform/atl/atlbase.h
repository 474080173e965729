#pragma once
/// The part of ATL's base header that this system uses, for compilers that bring no ATL: locks, the registry
/// wrapper and the module. Written for builds without exceptions: what cannot get memory stays empty.
/// Pointers and strings are in atlcomcli.h, the class templates for COM objects in atlcom.h.

#include "atldef.h"
#include "atlcomcli.h"

// --- Locks

/// A critical section with explicit start and end.
class CComCriticalSection
{
public:
    CComCriticalSection() noexcept { memset(&m_sec, 0, sizeof(m_sec)); }
    CComCriticalSection(const CComCriticalSection&) = delete;
    CComCriticalSection& operator=(const CComCriticalSection&) = delete;

    HRESULT Init() noexcept
    {
        InitializeCriticalSection(&m_sec);
        return S_OK;
    }
    HRESULT Term() noexcept
    {
        DeleteCriticalSection(&m_sec);
        return S_OK;
    }
    HRESULT Lock() noexcept
    {
        EnterCriticalSection(&m_sec);
        return S_OK;
    }
    HRESULT Unlock() noexcept
    {
        LeaveCriticalSection(&m_sec);
        return S_OK;
    }

    CRITICAL_SECTION m_sec;
};

/// A critical section that lives as long as its object.
class CComAutoCriticalSection : public CComCriticalSection
{
public:
    CComAutoCriticalSection() noexcept { Init(); }
    ~CComAutoCriticalSection() { Term(); }
};

/// The lock of the single-threaded model.
class CComFakeCriticalSection
{
public:
    HRESULT Init() noexcept { return S_OK; }
    HRESULT Term() noexcept { return S_OK; }
    HRESULT Lock() noexcept { return S_OK; }
    HRESULT Unlock() noexcept { return S_OK; }
};

/// Counting for objects that several threads use, without a lock of their own.
class CComMultiThreadModelNoCS
{
public:
    static ULONG Increment(LONG* p) noexcept { return static_cast<ULONG>(InterlockedIncrement(p)); }
    static ULONG Decrement(LONG* p) noexcept { return static_cast<ULONG>(InterlockedDecrement(p)); }
    typedef CComFakeCriticalSection AutoCriticalSection;
    typedef CComFakeCriticalSection CriticalSection;
    typedef CComMultiThreadModelNoCS ThreadModelNoCS;
};

/// Counting and locking for objects that several threads use.
class CComMultiThreadModel
{
public:
    static ULONG Increment(LONG* p) noexcept { return static_cast<ULONG>(InterlockedIncrement(p)); }
    static ULONG Decrement(LONG* p) noexcept { return static_cast<ULONG>(InterlockedDecrement(p)); }
    typedef CComAutoCriticalSection AutoCriticalSection;
    typedef CComCriticalSection CriticalSection;
    typedef CComMultiThreadModelNoCS ThreadModelNoCS;
};

/// Plain counting for objects of one apartment thread.
class CComSingleThreadModel
{
public:
    static ULONG Increment(LONG* p) noexcept { return static_cast<ULONG>(++*p); }
    static ULONG Decrement(LONG* p) noexcept { return static_cast<ULONG>(--*p); }
    typedef CComFakeCriticalSection AutoCriticalSection;
    typedef CComFakeCriticalSection CriticalSection;
    typedef CComSingleThreadModel ThreadModelNoCS;
};

typedef CComMultiThreadModel CComObjectThreadModel;
typedef CComMultiThreadModel CComGlobalsThreadModel;

// --- Registry

/// An owned registry key. Results are Win32 error codes. A failed Open or Create leaves the key held as it
/// is.
class CRegKey : public COwnedKey
{
public:
    using COwnedKey::COwnedKey;

    operator HKEY() const noexcept { return m_h; }

    LONG Create(HKEY hKeyParent, LPCWSTR lpszKeyName, LPWSTR lpszClass = nullptr,
                DWORD dwOptions = REG_OPTION_NON_VOLATILE, REGSAM samDesired = KEY_READ | KEY_WRITE,
                LPSECURITY_ATTRIBUTES lpSecAttr = nullptr, LPDWORD lpdwDisposition = nullptr) noexcept;
    LONG Open(HKEY hKeyParent, LPCWSTR lpszKeyName, REGSAM samDesired = KEY_READ | KEY_WRITE) noexcept;
    LONG Close() noexcept { return COwnedKey::Close() ? ERROR_SUCCESS : ERROR_INVALID_HANDLE; }

    /// *pnBytes: room on entry, bytes of the value on return. A null pData asks for the size.
    LONG QueryValue(LPCWSTR pszValueName, DWORD* pdwType, void* pData, ULONG* pnBytes) noexcept;
    /// *pnChars: room on entry, characters with terminator on return. The text in pszValue is terminated.
    /// \return ERROR_INVALID_DATA for a value that is no text
    LONG QueryStringValue(LPCWSTR pszValueName, LPWSTR pszValue, ULONG* pnChars) noexcept;
    LONG QueryDWORDValue(LPCWSTR pszValueName, DWORD& dwValue) noexcept;
    LONG SetStringValue(LPCWSTR pszValueName, LPCWSTR pszValue, DWORD dwType = REG_SZ) noexcept;
    LONG SetDWORDValue(LPCWSTR pszValueName, DWORD dwValue) noexcept;
    LONG DeleteValue(LPCWSTR lpszValue) noexcept;
    /// Deletes a key that has no keys below it.
    LONG DeleteSubKey(LPCWSTR lpszSubKey) noexcept;
    /// Deletes a key with all below it.
    LONG RecurseDeleteKey(LPCWSTR lpszKey) noexcept;
};

inline LONG CRegKey::Create(HKEY hKeyParent, LPCWSTR lpszKeyName, LPWSTR lpszClass, DWORD dwOptions,
                            REGSAM samDesired, LPSECURITY_ATTRIBUTES lpSecAttr,
                            LPDWORD lpdwDisposition) noexcept
{
    DWORD dwDisposition = 0;
    HKEY hKey = nullptr;
    const LONG lRes = RegCreateKeyExW(hKeyParent, lpszKeyName, 0, lpszClass, dwOptions, samDesired, lpSecAttr,
                                      &hKey, &dwDisposition);
    if (lpdwDisposition != nullptr)
        *lpdwDisposition = dwDisposition;
    if (lRes == ERROR_SUCCESS)
        Attach(hKey);
    return lRes;
}

inline LONG CRegKey::Open(HKEY hKeyParent, LPCWSTR lpszKeyName, REGSAM samDesired) noexcept
{
    HKEY hKey = nullptr;
    const LONG lRes = RegOpenKeyExW(hKeyParent, lpszKeyName, 0, samDesired, &hKey);
    if (lRes == ERROR_SUCCESS)
        Attach(hKey);
    return lRes;
}

inline LONG CRegKey::QueryValue(LPCWSTR pszValueName, DWORD* pdwType, void* pData, ULONG* pnBytes) noexcept
{
    return RegQueryValueExW(m_h, pszValueName, nullptr, pdwType, static_cast<LPBYTE>(pData), pnBytes);
}

inline LONG CRegKey::QueryStringValue(LPCWSTR pszValueName, LPWSTR pszValue, ULONG* pnChars) noexcept
{
    if (pnChars == nullptr)
        return ERROR_INVALID_PARAMETER;
    DWORD dwType = REG_NONE;
    const ULONG nRoom = pszValue != nullptr ? *pnChars : 0;
    ULONG nBytes = nRoom * sizeof(WCHAR);
    const LONG lRes = QueryValue(pszValueName, &dwType, pszValue, &nBytes);
    *pnChars = (nBytes + sizeof(WCHAR) - 1) / sizeof(WCHAR);
    if (lRes != ERROR_SUCCESS)
        return lRes;
    if (dwType != REG_SZ && dwType != REG_EXPAND_SZ && dwType != REG_MULTI_SZ)
        return ERROR_INVALID_DATA;
    if (pszValue == nullptr)
        return ERROR_SUCCESS;
    // A value may have been stored without its terminator.
    const ULONG nChars = nBytes / sizeof(WCHAR);
    if (nChars == 0 || pszValue[nChars - 1] != 0)
    {
        if (nChars >= nRoom)
            return ERROR_MORE_DATA;
        pszValue[nChars] = 0;
        *pnChars = nChars + 1;
    }
    return ERROR_SUCCESS;
}

inline LONG CRegKey::QueryDWORDValue(LPCWSTR pszValueName, DWORD& dwValue) noexcept
{
    DWORD dwType = REG_NONE;
    DWORD dwData = 0;
    ULONG nBytes = sizeof(dwData);
    const LONG lRes = QueryValue(pszValueName, &dwType, &dwData, &nBytes);
    if (lRes != ERROR_SUCCESS)
        return lRes;
    if (dwType != REG_DWORD)
        return ERROR_INVALID_DATA;
    dwValue = dwData;
    return ERROR_SUCCESS;
}

inline LONG CRegKey::SetStringValue(LPCWSTR pszValueName, LPCWSTR pszValue, DWORD dwType) noexcept
{
    if (pszValue == nullptr)
        return ERROR_INVALID_DATA;
    const DWORD nBytes = static_cast<DWORD>((wcslen(pszValue) + 1) * sizeof(WCHAR));
    return RegSetValueExW(m_h, pszValueName, 0, dwType, reinterpret_cast<const BYTE*>(pszValue), nBytes);
}

inline LONG CRegKey::SetDWORDValue(LPCWSTR pszValueName, DWORD dwValue) noexcept
{
    return RegSetValueExW(m_h, pszValueName, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&dwValue),
                          sizeof(dwValue));
}

inline LONG CRegKey::DeleteValue(LPCWSTR lpszValue) noexcept
{
    return RegDeleteValueW(m_h, lpszValue);
}

inline LONG CRegKey::DeleteSubKey(LPCWSTR lpszSubKey) noexcept
{
    return RegDeleteKeyW(m_h, lpszSubKey);
}

inline LONG CRegKey::RecurseDeleteKey(LPCWSTR lpszKey) noexcept
{
    CRegKey key;
    LONG lRes = key.Open(m_h, lpszKey, KEY_READ | KEY_WRITE);
    if (lRes != ERROR_SUCCESS)
        return lRes;
    // Always the first one: what was deleted no longer counts, and what cannot be deleted ends the loop.
    WCHAR szSubKey[256];
    DWORD nChars = 256;
    while (RegEnumKeyExW(key, 0, szSubKey, &nChars, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS)
    {
        lRes = key.RecurseDeleteKey(szSubKey);
        if (lRes != ERROR_SUCCESS)
            return lRes;
        nChars = 256;
    }
    key.Close();
    return DeleteSubKey(lpszKey);
}

// --- Module

/// Makes an object and answers for riid. pv is the outer object, or what a class factory is to create with.
typedef HRESULT(WINAPI _ATL_CREATORFUNC)(void* pv, REFIID riid, LPVOID* ppv);

/// A class of the module; the map ends with a null class identifier.
struct _ATL_OBJMAP_ENTRY
{
    const CLSID* pclsid;
    HRESULT(WINAPI* pfnUpdateRegistry)(BOOL bRegister);
    _ATL_CREATORFUNC* pfnGetClassObject;
    _ATL_CREATORFUNC* pfnCreateInstance;
    IUnknown* pCF; ///< the class factory, once it was asked for
};

/// The platform's interpreter for registry scripts.
struct IAtlRegistrar : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE AddReplacement(LPCOLESTR key, LPCOLESTR item) = 0;
    virtual HRESULT STDMETHODCALLTYPE ClearReplacements() = 0;
    virtual HRESULT STDMETHODCALLTYPE ResourceRegisterSz(LPCOLESTR file, LPCOLESTR id, LPCOLESTR type) = 0;
    virtual HRESULT STDMETHODCALLTYPE ResourceUnregisterSz(LPCOLESTR file, LPCOLESTR id, LPCOLESTR type) = 0;
    virtual HRESULT STDMETHODCALLTYPE FileRegister(LPCOLESTR file) = 0;
    virtual HRESULT STDMETHODCALLTYPE FileUnregister(LPCOLESTR file) = 0;
    virtual HRESULT STDMETHODCALLTYPE StringRegister(LPCOLESTR data) = 0;
    virtual HRESULT STDMETHODCALLTYPE StringUnregister(LPCOLESTR data) = 0;
    virtual HRESULT STDMETHODCALLTYPE ResourceRegister(LPCOLESTR file, UINT id, LPCOLESTR type) = 0;
    virtual HRESULT STDMETHODCALLTYPE ResourceUnregister(LPCOLESTR file, UINT id, LPCOLESTR type) = 0;
};

inline constexpr CLSID CLSID_AtlRegistrar = {
    0x44EC053A, 0x400F, 0x11D0, {0x9D, 0xCD, 0x00, 0xA0, 0xC9, 0x03, 0x91, 0xD3}};
inline constexpr IID IID_IAtlRegistrar = {
    0x44EC053B, 0x400F, 0x11D0, {0x9D, 0xCD, 0x00, 0xA0, 0xC9, 0x03, 0x91, 0xD3}};

/// The module: its instance, its object map, and the count of what keeps it loaded.
class CComModule
{
public:
    CComModule() noexcept = default;
    CComModule(const CComModule&) = delete;
    CComModule& operator=(const CComModule&) = delete;

    /// p may be null for a module without classes; plibid names the type library.
    HRESULT Init(_ATL_OBJMAP_ENTRY* p, HINSTANCE h, const GUID* plibid = nullptr) noexcept;
    /// Lets the class factories go. May be called again.
    void Term() noexcept;

    HRESULT GetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) noexcept;

    /// Living objects, factories held from outside and explicit locks.
    LONG GetLockCount() const noexcept { return m_nLockCnt; }
    LONG Lock() noexcept { return InterlockedIncrement(&m_nLockCnt); }
    LONG Unlock() noexcept { return InterlockedDecrement(&m_nLockCnt); }

    HINSTANCE GetModuleInstance() const noexcept { return m_hInst; }
    HINSTANCE GetResourceInstance() const noexcept { return m_hInst; }

    /// Every class of the map in order, up to the first failure, then the type library if asked for.
    HRESULT RegisterServer(BOOL bRegTypeLib = FALSE, const CLSID* pCLSID = nullptr) noexcept;
    /// The type library if asked for, then every class from the last to the first; goes on after a failure.
    /// \return the first failure
    HRESULT UnregisterServer(BOOL bUnRegTypeLib = FALSE, const CLSID* pCLSID = nullptr) noexcept;

    /// The type library in the module's resources.
    HRESULT RegisterTypeLib() noexcept;
    /// S_OK also when it is not registered.
    HRESULT UnRegisterTypeLib() noexcept;

    /// Runs the script in resource nResID of type REGISTRY, forwards or backwards. %MODULE% is the module's
    /// file.
    HRESULT UpdateRegistryFromResource(UINT nResID, BOOL bRegister) noexcept;

    HINSTANCE m_hInst = nullptr;
    _ATL_OBJMAP_ENTRY* m_pObjMap = nullptr;
    const GUID* m_plibid = nullptr;
    LONG m_nLockCnt = 0;
    CComAutoCriticalSection m_csObjMap;

private:
    /// Longest file name of the system, terminator included.
    static constexpr DWORD cchMaxPath = 32768;

    HRESULT ModuleFile(CComBSTR& bsFile) const noexcept;
    HRESULT LoadOwnTypeLib(CComBSTR& bsFile, CComPtr<ITypeLib>& spTypeLib) const noexcept;
};

/// The one module object, defined by each DLL or program that makes COM objects.
extern CComModule _Module;

inline HRESULT CComModule::Init(_ATL_OBJMAP_ENTRY* p, HINSTANCE h, const GUID* plibid) noexcept
{
    m_hInst = h;
    m_pObjMap = p;
    m_plibid = plibid;
    return S_OK;
}

inline void CComModule::Term() noexcept
{
    for (_ATL_OBJMAP_ENTRY* pEntry = m_pObjMap; pEntry != nullptr && pEntry->pclsid != nullptr; ++pEntry)
    {
        CComPtr<IUnknown>().Attach(std::exchange(pEntry->pCF, nullptr));
    }
    m_pObjMap = nullptr;
}

inline HRESULT CComModule::GetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) noexcept
{
    if (ppv == nullptr)
        return E_POINTER;
    *ppv = nullptr;
    for (_ATL_OBJMAP_ENTRY* pEntry = m_pObjMap; pEntry != nullptr && pEntry->pclsid != nullptr; ++pEntry)
    {
        if (!IsEqualGUID(*pEntry->pclsid, rclsid))
            continue;
        HRESULT hr = S_OK;
        m_csObjMap.Lock();
        if (pEntry->pCF == nullptr)
        {
            hr = pEntry->pfnGetClassObject(reinterpret_cast<void*>(pEntry->pfnCreateInstance), IID_IUnknown,
                                           reinterpret_cast<void**>(&pEntry->pCF));
        }
        if (SUCCEEDED(hr))
            hr = pEntry->pCF->QueryInterface(riid, ppv);
        m_csObjMap.Unlock();
        return hr;
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

inline HRESULT CComModule::RegisterServer(BOOL bRegTypeLib, const CLSID* pCLSID) noexcept
{
    for (_ATL_OBJMAP_ENTRY* pEntry = m_pObjMap; pEntry != nullptr && pEntry->pclsid != nullptr; ++pEntry)
    {
        if (pCLSID != nullptr && !IsEqualGUID(*pCLSID, *pEntry->pclsid))
            continue;
        const HRESULT hr = pEntry->pfnUpdateRegistry(TRUE);
        if (FAILED(hr))
            return hr;
    }
    return bRegTypeLib ? RegisterTypeLib() : S_OK;
}

inline HRESULT CComModule::UnregisterServer(BOOL bUnRegTypeLib, const CLSID* pCLSID) noexcept
{
    HRESULT hrFirst = bUnRegTypeLib ? UnRegisterTypeLib() : S_OK;
    _ATL_OBJMAP_ENTRY* pEnd = m_pObjMap;
    while (pEnd != nullptr && pEnd->pclsid != nullptr)
        ++pEnd;
    for (_ATL_OBJMAP_ENTRY* pEntry = pEnd; pEntry != m_pObjMap;)
    {
        --pEntry;
        if (pCLSID != nullptr && !IsEqualGUID(*pCLSID, *pEntry->pclsid))
            continue;
        const HRESULT hr = pEntry->pfnUpdateRegistry(FALSE);
        if (FAILED(hr) && SUCCEEDED(hrFirst))
            hrFirst = hr;
    }
    return FAILED(hrFirst) ? hrFirst : S_OK;
}

inline HRESULT CComModule::ModuleFile(CComBSTR& bsFile) const noexcept
{
    CComBSTR bsBuffer(static_cast<int>(cchMaxPath));
    if (!bsBuffer)
        return E_OUTOFMEMORY;
    const DWORD nChars = GetModuleFileNameW(m_hInst, bsBuffer.m_str, cchMaxPath);
    if (nChars == 0 || nChars >= cchMaxPath)
        return HRESULT_FROM_WIN32(nChars == 0 ? GetLastError() : ERROR_INSUFFICIENT_BUFFER);
    bsFile = CComBSTR(static_cast<int>(nChars), bsBuffer.m_str);
    return bsFile.m_str != nullptr ? S_OK : E_OUTOFMEMORY;
}

inline HRESULT CComModule::LoadOwnTypeLib(CComBSTR& bsFile, CComPtr<ITypeLib>& spTypeLib) const noexcept
{
    const HRESULT hr = ModuleFile(bsFile);
    if (FAILED(hr))
        return hr;
    return LoadTypeLibEx(bsFile.m_str, REGKIND_NONE, &spTypeLib);
}

inline HRESULT CComModule::RegisterTypeLib() noexcept
{
    CComBSTR bsFile;
    CComPtr<ITypeLib> spTypeLib;
    const HRESULT hr = LoadOwnTypeLib(bsFile, spTypeLib);
    if (FAILED(hr))
        return hr;
    return ::RegisterTypeLib(spTypeLib, bsFile.m_str, nullptr);
}

inline HRESULT CComModule::UnRegisterTypeLib() noexcept
{
    CComBSTR bsFile;
    CComPtr<ITypeLib> spTypeLib;
    HRESULT hr = LoadOwnTypeLib(bsFile, spTypeLib);
    if (FAILED(hr))
        return hr;
    TLIBATTR* pAttr = nullptr;
    hr = spTypeLib->GetLibAttr(&pAttr);
    if (FAILED(hr))
        return hr;
    // An absent library is an error to the platform, but nothing is left to be done then.
    CComBSTR bsRegistered;
    if (SUCCEEDED(QueryPathOfRegTypeLib(pAttr->guid, pAttr->wMajorVerNum, pAttr->wMinorVerNum, pAttr->lcid,
                                        &bsRegistered)))
    {
        hr = ::UnRegisterTypeLib(pAttr->guid, pAttr->wMajorVerNum, pAttr->wMinorVerNum, pAttr->lcid,
                                 pAttr->syskind);
    }
    spTypeLib->ReleaseTLibAttr(pAttr);
    return hr;
}

inline HRESULT CComModule::UpdateRegistryFromResource(UINT nResID, BOOL bRegister) noexcept
{
    CComBSTR bsFile;
    HRESULT hr = ModuleFile(bsFile);
    if (FAILED(hr))
        return hr;
    // The script puts the name between apostrophes, where an apostrophe is written twice.
    UINT nQuotes = 0;
    for (UINT i = 0; i < bsFile.Length(); ++i)
        nQuotes += bsFile.m_str[i] == L'\'';
    CComBSTR bsQuoted(static_cast<int>(bsFile.Length() + nQuotes));
    if (!bsQuoted)
        return E_OUTOFMEMORY;
    OLECHAR* pchOut = bsQuoted.m_str;
    for (UINT i = 0; i < bsFile.Length(); ++i)
    {
        if (bsFile.m_str[i] == L'\'')
            *pchOut++ = L'\'';
        *pchOut++ = bsFile.m_str[i];
    }

    CComPtr<IAtlRegistrar> spRegistrar;
    hr = CoCreateInstance(CLSID_AtlRegistrar, nullptr, CLSCTX_INPROC_SERVER, IID_IAtlRegistrar,
                          reinterpret_cast<void**>(&spRegistrar));
    if (FAILED(hr))
        return hr;
    hr = spRegistrar->AddReplacement(L"MODULE", bsQuoted.m_str);
    if (FAILED(hr))
        return hr;
    return bRegister ? spRegistrar->ResourceRegister(bsFile.m_str, nResID, L"REGISTRY")
                     : spRegistrar->ResourceUnregister(bsFile.m_str, nResID, L"REGISTRY");
}
