#include "dstl/dshowx/LogLoader.h"

#include "dstl/WinAPI/Functions.h"
#include "dstl/dshowx/DSTrace.h"

namespace
{

constexpr DWORD cchPath = cchQXLogPath + 1;

/// Reads the path of the log DLL; the buffer has one character more than the value may fill.
bool ReadLogPath(wchar_t (&szPath)[cchPath + 1]) noexcept
{
    HKEY hKey = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, szQXLogKey, 0, KEY_READ, &hKey) != ERROR_SUCCESS)
        return false;
    DWORD cbValue = cchPath * sizeof(wchar_t);
    const LSTATUS nStatus =
        RegQueryValueExW(hKey, nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(szPath), &cbValue);
    RegCloseKey(hKey);
    return nStatus == ERROR_SUCCESS;
}

} // namespace

CLogLoader::CLogLoader() noexcept : m_pfnGetLog(nullptr), m_hModule(nullptr), m_plog(nullptr)
{
    wchar_t szPath[cchPath + 1] = {};
    if (!ReadLogPath(szPath))
        return;
    DSTLTurnBars(szPath, true);

    m_hModule = LoadLibraryW(szPath);
    if (m_hModule == nullptr)
        return;
    // By way of void*, as the types of the two functions have nothing in common.
    m_pfnGetLog =
        reinterpret_cast<PFNGETLOGOBJECT>(reinterpret_cast<void*>(GetProcAddress(m_hModule, szQXLogExport)));
    if (m_pfnGetLog == nullptr)
    {
        FreeLibrary(m_hModule);
        m_hModule = nullptr;
        return;
    }
    // After a failure m_plog stays as the export left it, deliberately without being attached.
    if (m_pfnGetLog(&m_plog) == 0 && m_plog != nullptr)
        m_plog->Attach(&m_plog, 0, 0);
}

CLogLoader::~CLogLoader()
{
    if (m_hModule == nullptr)
        return;
    if (m_plog != nullptr)
        m_plog->Detach(&m_plog);
    DSASSERT(NULL == m_plog);
    m_plog = nullptr;
    FreeLibrary(m_hModule);
    m_hModule = nullptr;
}

HRESULT CLogLoader::GetLogObject(ILogObject** pplog) const noexcept
{
    if (pplog == nullptr)
        return E_POINTER;
    if (m_plog == nullptr)
        return E_FAIL;
    *pplog = m_plog;
    return S_OK;
}
