#pragma once
/// Finds the log object that trace lines and assertions go to.

#include "dstl/WinAPI/Platform.h"

/// The log object of a log DLL. Of its operations only Attach, Detach and Write are called here.
/// Write takes concurrent calls.
struct ILogObject : public IUnknown
{
    /// A client comes. \param pplog where the client keeps its pointer
    virtual HRESULT STDMETHODCALLTYPE Attach(ILogObject** pplog, DWORD dwReserved1, DWORD dwReserved2) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetClientCount(DWORD* pnClients) = 0;
    /// A client goes. \param pplog the pointer of the client, which becomes null
    virtual HRESULT STDMETHODCALLTYPE Detach(ILogObject** pplog) = 0;
    virtual HRESULT STDMETHODCALLTYPE Flush() = 0;
    /// \param pszMessage the first character of a trace line is its level plus 1, of other text its first one
    virtual HRESULT STDMETHODCALLTYPE Write(const wchar_t* pszMessage) = 0;
};

/// The export Exp_GetLogObject of a log DLL. \return 0 on success
using PFNGETLOGOBJECT = int(WINAPI*)(ILogObject** pplog);

/// Loads the log DLL that HKEY_CURRENT_USER\Software\_DSTLLOG64 names and attaches to its log object. Every
/// failure means: no log.
class CLogLoader
{
public:
    CLogLoader() noexcept;
    ~CLogLoader();
    CLogLoader(const CLogLoader&) = delete;
    CLogLoader& operator=(const CLogLoader&) = delete;

    /// \param pplog receives the log object, not counted \return E_FAIL when there is none
    HRESULT GetLogObject(ILogObject** pplog) const noexcept;

    /// Whether a log DLL is loaded.
    bool HasModule() const noexcept { return m_hModule != nullptr; }

private:
    PFNGETLOGOBJECT m_pfnGetLog;
    HMODULE m_hModule;
    ILogObject* m_plog;
};
