#include "LogDll.h"
#include "Failure.h"
#include "dstl/dshowx/QXLog.h"
#include <algorithm>
#include <filesystem>

namespace
{
void CheckKey(LSTATUS status, const char* what)
{
    if (status != ERROR_SUCCESS)
        throw Failure(std::string(what) + " " + g_logKeyName, HRESULT_FROM_WIN32(status));
}
} // namespace

std::optional<std::wstring> ReadLogDll()
{
    COwnedKey key;
    LSTATUS status = RegOpenKeyExW(HKEY_CURRENT_USER, szQXLogKey, 0, KEY_READ, key.Out());
    if (status == ERROR_FILE_NOT_FOUND)
        return {};
    CheckKey(status, "cannot open");

    DWORD type = 0;
    DWORD size = 0;
    status = RegQueryValueExW(key.Get(), nullptr, nullptr, &type, nullptr, &size);
    if (status == ERROR_FILE_NOT_FOUND)
        return {};
    CheckKey(status, "cannot read");
    if (type != REG_SZ && type != REG_EXPAND_SZ)
        throw Failure(std::string("the value of ") + g_logKeyName + " is no text");
    std::wstring path(size / sizeof(wchar_t), L'\0');
    CheckKey(
        RegQueryValueExW(key.Get(), nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(path.data()), &size),
        "cannot read");
    path.resize(std::min(path.find(L'\0'), path.size()));
    std::replace(path.begin(), path.end(), L'|', L'\\');
    return path;
}

void WriteLogDll(const std::wstring& path)
{
    if (path.size() > static_cast<size_t>(cchQXLogPath))
        throw Failure("the name \"" + ToUtf8(path) + "\" has more than " + std::to_string(cchQXLogPath) +
                      " characters, which the filter does not read; move the folder to a shorter name");
    std::wstring value = path;
    std::replace(value.begin(), value.end(), L'\\', L'|');
    COwnedKey key;
    CheckKey(
        RegCreateKeyExW(HKEY_CURRENT_USER, szQXLogKey, 0, nullptr, 0, KEY_WRITE, nullptr, key.Out(), nullptr),
        "cannot make");
    CheckKey(RegSetValueExW(key.Get(), nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                            static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t))),
             "cannot write");
}

void RemoveLogDll()
{
    {
        COwnedKey key;
        const LSTATUS status =
            RegOpenKeyExW(HKEY_CURRENT_USER, szQXLogKey, 0, KEY_READ | KEY_WRITE, key.Out());
        if (status == ERROR_FILE_NOT_FOUND)
            return;
        CheckKey(status, "cannot open");
        const LSTATUS removed = RegDeleteValueW(key.Get(), nullptr);
        if (removed != ERROR_FILE_NOT_FOUND)
            CheckKey(removed, "cannot empty");
        DWORD subkeys = 0;
        DWORD values = 0;
        CheckKey(RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, &values,
                                  nullptr, nullptr, nullptr, nullptr),
                 "cannot read");
        if (subkeys != 0 || values != 0)
            return;
    }
    CheckKey(RegDeleteKeyW(HKEY_CURRENT_USER, szQXLogKey), "cannot remove");
}

LogDll::LogDll(const std::wstring& path) : m_module(LoadLibraryW(path.c_str()))
{
    if (!m_module)
        throw Failure("the log DLL \"" + ToUtf8(path) + "\" does not load", DSTLLastError());
    if (!GetProcAddress(m_module.Get(), szQXLogExport))
        throw Failure("\"" + ToUtf8(path) + "\" is no log DLL: it does not export " + szQXLogExport);
}

std::wstring LogDll::File() const
{
    const auto getFile = reinterpret_cast<PFNGETLOGFILE>(
        reinterpret_cast<void*>(GetProcAddress(m_module.Get(), szQXLogFileExport)));
    wchar_t name[2048] = {};
    return getFile && getFile(name, 2048) != 0 ? name : std::wstring();
}

std::wstring OwnLogDll()
{
    std::wstring program(32768, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
    return (std::filesystem::path(program).parent_path() / L"qxlog64.dll").wstring();
}
