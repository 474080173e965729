#include "LogDll.h"
#include "Failure.h"
#include "dstl/dshowx/QXLog.h"
#include <filesystem>

LogDll::LogDll(const std::wstring& path) : m_module(LoadLibraryW(path.c_str()))
{
    if (!m_module)
        throw Failure("the log DLL \"" + ToUtf8(path) + "\" does not load", DSTLLastError());
    if (!GetProcAddress(m_module, szQXLogExport))
    {
        FreeLibrary(m_module);
        throw Failure("\"" + ToUtf8(path) + "\" is no log DLL: it does not export " + szQXLogExport);
    }
}

LogDll::~LogDll()
{
    FreeLibrary(m_module);
}

std::wstring LogDll::File() const
{
    const auto getFile =
        reinterpret_cast<PFNGETLOGFILE>(reinterpret_cast<void*>(GetProcAddress(m_module, szQXLogFileExport)));
    wchar_t name[2048] = {};
    return getFile && getFile(name, 2048) != 0 ? name : std::wstring();
}

std::wstring OwnLogDll()
{
    std::wstring program(32768, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
    return (std::filesystem::path(program).parent_path() / L"qxlog64.dll").wstring();
}
