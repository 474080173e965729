// The log DLL of the tests: hands each message to the sink that the test program sets.

#include "support/TestLog.h"

#include <atomic>

namespace
{

// Nothing here has a destructor, as clients may still write while the process ends.
SRWLOCK g_lockSink = SRWLOCK_INIT;
PFNTESTLOGSINK g_pfnSink = nullptr;
constinit std::atomic<int> g_nClients{0};

class CTestLog final : public ILogObject
{
public:
    STDMETHODIMP QueryInterface(REFIID, void** ppv) override
    {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 1; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP Attach(ILogObject** pplog, DWORD, DWORD) override
    {
        if (pplog == nullptr || *pplog != this)
            return E_INVALIDARG;
        g_nClients++;
        return S_OK;
    }
    STDMETHODIMP GetClientCount(DWORD* pnClients) override
    {
        *pnClients = static_cast<DWORD>(g_nClients);
        return S_OK;
    }
    STDMETHODIMP Detach(ILogObject** pplog) override
    {
        if (pplog == nullptr)
            return E_POINTER;
        *pplog = nullptr;
        g_nClients--;
        return S_OK;
    }
    STDMETHODIMP Flush() override { return S_OK; }
    STDMETHODIMP Write(const wchar_t* pszMessage) override
    {
        AcquireSRWLockShared(&g_lockSink);
        if (g_pfnSink != nullptr)
            g_pfnSink(pszMessage);
        ReleaseSRWLockShared(&g_lockSink);
        return S_OK;
    }
};

CTestLog g_log;

} // namespace

extern "C"
{

    int WINAPI Exp_GetLogObject(ILogObject** pplog)
    {
        *pplog = &g_log;
        return 0;
    }

    void WINAPI QxTestLog_SetSink(PFNTESTLOGSINK pfnSink)
    {
        AcquireSRWLockExclusive(&g_lockSink);
        g_pfnSink = pfnSink;
        ReleaseSRWLockExclusive(&g_lockSink);
    }

    int WINAPI QxTestLog_GetClients()
    {
        return g_nClients;
    }
}
