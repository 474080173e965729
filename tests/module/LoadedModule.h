#pragma once
/// The filter's DLL, loaded from beside the test program, with its four exports.

#include <gtest/gtest.h>

#include <string>

#include "dstl/WinAPI/Atl.h"

class LoadedModule
{
public:
    LoadedModule()
    {
        wchar_t szSelf[MAX_PATH] = L"";
        GetModuleFileNameW(nullptr, szSelf, MAX_PATH);
        m_sFile = szSelf;
        m_sFile.resize(m_sFile.find_last_of(L'\\') + 1);
        m_sFile += L"QXStillSource.dll";
        m_hModule = LoadLibraryW(m_sFile.c_str());
        EXPECT_NE(nullptr, m_hModule);
        Find(m_pfnGetClassObject, "DllGetClassObject");
        Find(m_pfnCanUnloadNow, "DllCanUnloadNow");
        Find(m_pfnRegister, "DllRegisterServer");
        Find(m_pfnUnregister, "DllUnregisterServer");
    }
    ~LoadedModule() { FreeLibrary(m_hModule); }
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;

    HRESULT GetClassObject(REFCLSID rclsid, REFIID riid, void** ppv) const
    {
        return m_pfnGetClassObject(rclsid, riid, ppv);
    }
    HRESULT CanUnloadNow() const { return m_pfnCanUnloadNow(); }
    HRESULT Register() const { return m_pfnRegister(); }
    HRESULT Unregister() const { return m_pfnUnregister(); }
    const std::wstring& File() const { return m_sFile; }
    HMODULE Handle() const { return m_hModule; }

private:
    template <class T>
    void Find(T& pfn, const char* pszName)
    {
        pfn = reinterpret_cast<T>(reinterpret_cast<void*>(GetProcAddress(m_hModule, pszName)));
        EXPECT_NE(nullptr, pfn) << pszName;
    }
    HMODULE m_hModule = nullptr;
    std::wstring m_sFile;
    HRESULT(WINAPI* m_pfnGetClassObject)(REFCLSID, REFIID, void**) = nullptr;
    HRESULT(WINAPI* m_pfnCanUnloadNow)() = nullptr;
    HRESULT(WINAPI* m_pfnRegister)() = nullptr;
    HRESULT(WINAPI* m_pfnUnregister)() = nullptr;
};
