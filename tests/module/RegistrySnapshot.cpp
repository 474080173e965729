#include "RegistrySnapshot.h"

#include <cstdio>
#include <vector>

#include "dstl/WinAPI/Atl.h"
#include "support/LogCapture.h"

namespace
{

std::wstring DataText(DWORD dwType, const std::vector<BYTE>& data, ULONG nBytes)
{
    if (dwType == REG_SZ || dwType == REG_EXPAND_SZ)
    {
        std::wstring sText(reinterpret_cast<const wchar_t*>(data.data()), nBytes / sizeof(wchar_t));
        while (!sText.empty() && sText.back() == 0)
            sText.pop_back();
        return sText;
    }
    wchar_t sz[16];
    if (dwType == REG_DWORD && nBytes == 4)
    {
        DWORD dw = 0;
        memcpy(&dw, data.data(), 4);
        wsprintfW(sz, L"dword:%08X", dw);
        return sz;
    }
    std::wstring sText = L"hex:";
    for (ULONG i = 0; i < nBytes; ++i)
    {
        wsprintfW(sz, L"%02X", data[i]);
        sText += sz;
    }
    return sText;
}

void Take(RegistrySnapshot& snapshot, HKEY hParent, const wchar_t* pszKey, const std::wstring& sPath)
{
    CRegKey key;
    if (key.Open(hParent, pszKey, KEY_READ) != ERROR_SUCCESS)
        return;
    snapshot[sPath];
    std::vector<wchar_t> name(16384);
    std::vector<BYTE> data(65536);
    for (DWORD i = 0;; ++i)
    {
        DWORD nChars = static_cast<DWORD>(name.size());
        ULONG nBytes = static_cast<ULONG>(data.size());
        DWORD dwType = REG_NONE;
        const LONG lRes = RegEnumValueW(key, i, name.data(), &nChars, nullptr, &dwType, data.data(), &nBytes);
        if (lRes != ERROR_SUCCESS)
            break;
        snapshot[sPath + L"|" + name.data()] = DataText(dwType, data, nBytes);
    }
    std::vector<std::wstring> below;
    for (DWORD i = 0;; ++i)
    {
        DWORD nChars = static_cast<DWORD>(name.size());
        if (RegEnumKeyExW(key, i, name.data(), &nChars, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            break;
        below.emplace_back(name.data());
    }
    for (const std::wstring& sName : below)
    {
        if (lstrcmpiW(sName.c_str(), L"Wow6432Node") != 0)
            Take(snapshot, key, sName.c_str(), sPath.empty() ? sName : sPath + L"\\" + sName);
    }
}

} // namespace

RegistrySnapshot TakeRegistrySnapshot()
{
    RegistrySnapshot snapshot;
    Take(snapshot, HKEY_LOCAL_MACHINE, L"Software\\Classes", L"");
    Take(snapshot, HKEY_CURRENT_USER, L"Software", L"HKCU");
    return snapshot;
}

RegistrySnapshot Added(const RegistrySnapshot& before, const RegistrySnapshot& after)
{
    RegistrySnapshot added;
    for (const auto& entry : after)
    {
        const auto found = before.find(entry.first);
        if (found == before.end() || found->second != entry.second)
            added.insert(entry);
    }
    return added;
}

std::string Lines(const RegistrySnapshot& snapshot)
{
    std::string sLines;
    for (const auto& [sKey, sData] : snapshot)
    {
        sLines += Utf8(sKey.c_str());
        sLines += " = ";
        sLines += Utf8(sData.c_str());
        sLines += '\n';
    }
    return sLines;
}
