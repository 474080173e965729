#include "base/ScriptLog.h"

#include <cstring>

namespace
{

ScriptLogState g_state;

class CScriptLog final : public ILogObject
{
public:
    STDMETHODIMP QueryInterface(REFIID, void**) override { return Other(); }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(Other()); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(Other()); }
    STDMETHODIMP Attach(ILogObject** pplog, DWORD dwReserved1, DWORD dwReserved2) override
    {
        g_state.nAttached++;
        g_state.pplogAttach = pplog;
        g_state.dwAttach1 = dwReserved1;
        g_state.dwAttach2 = dwReserved2;
        return S_OK;
    }
    STDMETHODIMP GetClientCount(DWORD*) override { return Other(); }
    STDMETHODIMP Detach(ILogObject** pplog) override
    {
        g_state.nDetached++;
        g_state.pplogDetach = pplog;
        if (!g_state.bKeepPointer)
            *pplog = nullptr;
        return S_OK;
    }
    STDMETHODIMP Flush() override { return Other(); }
    STDMETHODIMP Write(const wchar_t* pszMessage) override
    {
        g_state.nWritten++;
        for (size_t i = 0; i < 1024; i++)
        {
            g_state.szLine[i] = pszMessage[i];
            if (i > 0 && pszMessage[i] == 0)
                break;
        }
        return S_OK;
    }

private:
    static HRESULT Other()
    {
        g_state.nOther++;
        return E_NOTIMPL;
    }
};

CScriptLog g_log;

} // namespace

extern "C"
{

    int WINAPI Exp_GetLogObject(ILogObject** pplog)
    {
        g_state.nGets++;
        if (!g_state.bNoObject)
            *pplog = &g_log;
        return g_state.nResult;
    }

    ScriptLogState* WINAPI ScriptLog_GetState()
    {
        return &g_state;
    }
}
