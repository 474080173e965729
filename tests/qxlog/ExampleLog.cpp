// A log DLL that shows the filter's errors and warnings on the error output of its host.
#include "QXLog.h"

class CConsoleLog final : public ILogObject
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** ppv) noexcept override
    {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return 1; } // lives as long as the DLL
    ULONG STDMETHODCALLTYPE Release() noexcept override { return 1; }

    HRESULT STDMETHODCALLTYPE Attach(ILogObject**, DWORD, DWORD) noexcept override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetClientCount(DWORD*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Detach(ILogObject** pplog) noexcept override
    {
        *pplog = nullptr; // the client waits for this
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Flush() noexcept override { return E_NOTIMPL; }

    // Many threads at once: the conversion is the caller's own, and the system takes one text after the
    // other.
    HRESULT STDMETHODCALLTYPE Write(const wchar_t* pszMessage) noexcept override
    {
        if (QXLogLevel(pszMessage) > 4) // -1: an assertion, or the picture of a graph
            return S_OK;
        char sz[4096]; // enough for a trace line or an assertion; what is longer is left out
        const int cb =
            WideCharToMultiByte(CP_UTF8, 0, QXLogText(pszMessage), -1, sz, sizeof(sz), nullptr, nullptr);
        DWORD cbWritten = 0;
        if (cb > 1)
            WriteFile(GetStdHandle(STD_ERROR_HANDLE), sz, static_cast<DWORD>(cb - 1), &cbWritten, nullptr);
        return S_OK;
    }
};

static CConsoleLog g_log;

extern "C" __declspec(dllexport) int WINAPI Exp_GetLogObject(ILogObject** pplog)
{
    *pplog = &g_log;
    return 0;
}
