#pragma once
/// The contract of a log DLL. This header stands alone: it needs the platform's headers and nothing else, so
/// that anyone can write a log DLL with it, in any compiler whose classes have the platform's layout.
///
/// A log DLL is a 64-bit DLL that exports Exp_GetLogObject. The default value of the key
/// HKEY_CURRENT_USER\Software\_DSTLLOG64 names it, with '|' for each '\'. A module that writes a log looks
/// there once, when it is loaded: it loads the DLL, gets the log object, attaches, writes, and detaches when
/// it is unloaded.

#include <windows.h>
#include <unknwn.h>

/// The key, below HKEY_CURRENT_USER, and the most characters that its value may have.
inline constexpr wchar_t szQXLogKey[] = L"Software\\_DSTLLOG64";
inline constexpr int cchQXLogPath = 259;

/// The names of the two exports.
inline constexpr char szQXLogExport[] = "Exp_GetLogObject";
inline constexpr char szQXLogFileExport[] = "Exp_GetLogFile";

/// The log object. It belongs to the log DLL and is not counted: it has to live as long as the DLL is loaded.
///
/// The order of the operations is the table that clients call through. Only Attach, Detach and Write are
/// called; the others are spare, and a log DLL may answer E_NOTIMPL in each of them. No operation may let an
/// exception out, as its caller is a module that another compiler may have built.
struct ILogObject : public IUnknown
{
    /// A client comes. Called once by each client, before its first message.
    /// \param pplog where the client keeps its pointer to this object
    /// \param dwReserved1 0
    /// \param dwReserved2 0
    /// \return not looked at
    virtual HRESULT STDMETHODCALLTYPE Attach(ILogObject** pplog, DWORD dwReserved1, DWORD dwReserved2) = 0;

    /// Spare. How many clients are attached.
    virtual HRESULT STDMETHODCALLTYPE GetClientCount(DWORD* pnClients) = 0;

    /// A client goes. Called while the client is being unloaded, so nothing may be waited for that needs
    /// another thread to begin or to end.
    /// \param pplog the pointer that was given to Attach; it has to be set to null
    /// \return not looked at
    virtual HRESULT STDMETHODCALLTYPE Detach(ILogObject** pplog) = 0;

    /// Spare. Brings to the disk what was written.
    virtual HRESULT STDMETHODCALLTYPE Flush() = 0;

    /// One message. Called on any thread, on several at once, also on one that streams: it should be quick.
    /// \param pszMessage UTF-16, ending with 0. The first character of a trace line is its level plus 1 and
    /// its text starts at the second one, at most 1,022 characters; every other message is text from its
    /// first character on and of any length (QXLogLevel tells the two apart). Either may have several lines,
    /// with "\n" or "\r\n" between them. The memory is the caller's. A message in read-only memory stays as
    /// it is until the client detaches, so that a log DLL may know it again by its address
    /// \return not looked at
    virtual HRESULT STDMETHODCALLTYPE Write(const wchar_t* pszMessage) = 0;
};

/// The export Exp_GetLogObject: gives the log object, not counted.
/// \return 0 on success. Any other number: the client does not attach
using PFNGETLOGOBJECT = int(WINAPI*)(ILogObject** pplog);

/// The export Exp_GetLogFile, which is optional and serves "qxstill log" alone: where the messages go to.
/// \param pszPath receives the full name of the file, with its terminator
/// \param cchPath characters of room
/// \return the length of the name, or 0 when there is none or the room does not suffice
using PFNGETLOGFILE = DWORD(WINAPI*)(wchar_t* pszPath, DWORD cchPath);

/// The level of a message: 0 to 8 for a trace line (2 error, 4 warning, 8 main event), -1 for other text, as
/// of an assertion or of the picture of a graph.
inline int QXLogLevel(const wchar_t* pszMessage) noexcept
{
    const unsigned ch = static_cast<unsigned>(pszMessage[0]);
    return ch >= 1 && ch <= 9 ? static_cast<int>(ch) - 1 : -1;
}

/// The text of a message, behind the level if it has one.
inline const wchar_t* QXLogText(const wchar_t* pszMessage) noexcept
{
    return pszMessage + (QXLogLevel(pszMessage) >= 0 ? 1 : 0);
}
