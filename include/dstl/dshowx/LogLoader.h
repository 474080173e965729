#pragma once
/// Finds the log object that trace lines and assertions go to. Its code is in DSTrace.cpp: the assertion of
/// the destructor names that file.

#include "dstl/WinAPI/Owner.h"
#include "dstl/dshowx/QXLog.h"

/// Loads the log DLL that HKEY_CURRENT_USER\Software\_DSTLLOG64 names and attaches to its log object. Every
/// failure means: no log.
class CLogLoader
{
public:
    CLogLoader() noexcept;
    ~CLogLoader();
    CLogLoader(const CLogLoader&) = delete;
    CLogLoader& operator=(const CLogLoader&) = delete;

    /// \param pplog receives the log object, not counted
    /// \return E_FAIL when there is none
    HRESULT GetLogObject(ILogObject** pplog) const noexcept;

    /// Whether a log DLL is loaded.
    bool HasModule() const noexcept { return static_cast<bool>(m_hModule); }

private:
    PFNGETLOGOBJECT m_pfnGetLog = nullptr;
    COwnedModule m_hModule;
    ILogObject* m_plog = nullptr;
};

/// Writes a text to the log of this module as it stands: without a level, of any length, in one message.
/// Nothing happens without a log.
void LogWriteText(const wchar_t* pszText) noexcept;
