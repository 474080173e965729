// The log object and the exports of qxlog64.dll.

#include "LogFile.h"

#include "dstl/dshowx/QXLog.h"

#include <atomic>
#include <new>

namespace
{

// Nothing here is destroyed when a process ends, as clients may still write then.
SRWLOCK g_lockClients = SRWLOCK_INIT; ///< exclusive: the file is prepared or closed; shared: it is written
alignas(CLogFile) constinit BYTE g_rgbFile[sizeof(CLogFile)] = {};
constinit std::atomic<long> g_nClients{0};

/// Constructed in its place when the DLL is loaded.
CLogFile& TheFile() noexcept
{
    return *std::launder(reinterpret_cast<CLogFile*>(g_rgbFile));
}

/// A client's thread must find its last error as it was.
class CKeepLastError
{
public:
    CKeepLastError() noexcept : m_dwError(GetLastError()) {}
    ~CKeepLastError() { SetLastError(m_dwError); }
    CKeepLastError(const CKeepLastError&) = delete;
    CKeepLastError& operator=(const CKeepLastError&) = delete;

private:
    const DWORD m_dwError;
};

/// Reads the settings if nobody has since the first client came.
void Prepare() noexcept
{
    AcquireSRWLockExclusive(&g_lockClients);
    if (!TheFile().IsPrepared())
        TheFile().Prepare();
    ReleaseSRWLockExclusive(&g_lockClients);
}

[[gnu::noinline]] void WriteToFile(const wchar_t* pszMessage) noexcept
{
    const CKeepLastError error;
    AcquireSRWLockShared(&g_lockClients);
    if (!TheFile().IsPrepared())
    {
        // A client that did not attach is served as well.
        ReleaseSRWLockShared(&g_lockClients);
        Prepare();
        AcquireSRWLockShared(&g_lockClients);
    }
    if (TheFile().IsPrepared())
        TheFile().Write(pszMessage);
    ReleaseSRWLockShared(&g_lockClients);
}

class CFileLog final : public ILogObject
{
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) noexcept override
    {
        if (ppv == nullptr)
            return E_POINTER;
        *ppv = IsEqualGUID(riid, IID_IUnknown) ? static_cast<IUnknown*>(this) : nullptr;
        return *ppv != nullptr ? S_OK : E_NOINTERFACE;
    }
    // Not counted: the object lives as long as the DLL.
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return 2; }
    STDMETHODIMP_(ULONG) Release() noexcept override { return 1; }

    STDMETHODIMP Attach(ILogObject** pplog, DWORD, DWORD) noexcept override
    {
        if (pplog == nullptr)
            return E_POINTER;
        const CKeepLastError error;
        g_nClients++;
        Prepare();
        return S_OK;
    }

    STDMETHODIMP GetClientCount(DWORD* pnClients) noexcept override
    {
        if (pnClients == nullptr)
            return E_POINTER;
        *pnClients = static_cast<DWORD>(g_nClients);
        return S_OK;
    }

    STDMETHODIMP Detach(ILogObject** pplog) noexcept override
    {
        if (pplog == nullptr)
            return E_POINTER;
        const CKeepLastError error;
        *pplog = nullptr;
        TheFile().ForgetAddresses();
        // Not waited for: a thread that ended inside a write, as when the process ends, never gives the lock
        // back.
        if (--g_nClients == 0 && TryAcquireSRWLockExclusive(&g_lockClients))
        {
            TheFile().Close();
            ReleaseSRWLockExclusive(&g_lockClients);
        }
        return S_OK;
    }

    STDMETHODIMP Flush() noexcept override
    {
        const CKeepLastError error;
        AcquireSRWLockShared(&g_lockClients);
        if (TheFile().IsPrepared())
            TheFile().Flush();
        ReleaseSRWLockShared(&g_lockClients);
        return S_OK;
    }

    STDMETHODIMP Write(const wchar_t* pszMessage) noexcept override
    {
        if (pszMessage == nullptr)
            return E_POINTER;
        if (!TheFile().Count(pszMessage))
            WriteToFile(pszMessage);
        return S_OK;
    }
};

constinit CFileLog g_log;

} // namespace

extern "C"
{

    int WINAPI Exp_GetLogObject(ILogObject** pplog) noexcept
    {
        if (pplog == nullptr)
            return E_POINTER;
        *pplog = &g_log;
        return 0;
    }

    DWORD WINAPI Exp_GetLogFile(wchar_t* pszPath, DWORD cchPath) noexcept
    {
        LogSettings settings = {};
        settings.Read();
        const size_t cch = wcslen(settings.szPath);
        if (pszPath == nullptr || cch >= cchPath)
            return 0;
        wcscpy(pszPath, settings.szPath);
        return static_cast<DWORD>(cch);
    }

    BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD dwReason, void* pvReserved) noexcept
    {
        if (dwReason == DLL_PROCESS_ATTACH)
        {
            DisableThreadLibraryCalls(hInstance);
            new (g_rgbFile) CLogFile;
        }
        else if (dwReason == DLL_PROCESS_DETACH && pvReserved == nullptr)
        {
            TheFile().Close(); // a client has gone without detaching; when the process ends the system closes
        }
        return TRUE;
    }
}
