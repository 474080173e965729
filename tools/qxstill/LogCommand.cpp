#include "Commands.h"
#include "Failure.h"
#include "HResultText.h"
#include "Interrupt.h"
#include "LogDll.h"
#include "LogTail.h"
#include <cstdio>
#include <filesystem>

namespace
{
bool Exists(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Whether the log can be written, tried without leaving a trace.
HRESULT TryFile(const std::wstring& path)
{
    constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    COwnedHandle file(CreateFileW(path.c_str(), FILE_APPEND_DATA, shareAll, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file && GetLastError() == ERROR_FILE_NOT_FOUND)
        // A neighbour of it, as the log itself may be begun by a filter just now.
        file.Attach(CreateFileW((path + L".try").c_str(), GENERIC_WRITE | DELETE, shareAll, nullptr,
                                CREATE_NEW, FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    return file ? S_OK : DSTLLastError();
}

// Prints the file of a log DLL and throws if it cannot be written.
void TellFile(const std::wstring& dll)
{
    const std::wstring file = LogDll(dll).File();
    if (file.empty())
    {
        std::printf("log file    unknown, the log DLL does not tell\n");
        return;
    }
    std::error_code error;
    const auto size = std::filesystem::file_size(file, error);
    std::printf("log file    %s (%s)\n", ToUtf8(file).c_str(),
                error ? "not there yet" : (std::to_string(size) + " bytes").c_str());
    std::fflush(stdout);
    const HRESULT hr = TryFile(file);
    if (FAILED(hr))
        throw Failure("the log \"" + ToUtf8(file) + "\" cannot be written, so nothing is logged", hr);
}

void Print(std::string_view bytes)
{
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    std::fflush(stdout);
}
} // namespace

void RunLogOn()
{
    const std::wstring dll = OwnLogDll();
    if (!Exists(dll))
        throw Failure("there is no \"" + ToUtf8(dll) + "\"; it has to lie beside this program",
                      DSTLLastError());
    const LogDll check(dll);
    WriteLogDll(dll);
    std::printf("log         on, for programs that load the filter from now on\n");
    std::printf("log DLL     %s\n", ToUtf8(dll).c_str());
    TellFile(dll);
}

void RunLogOff()
{
    const std::optional<std::wstring> dll = ReadLogDll();
    RemoveLogDll();
    std::printf("log         off%s\n", dll ? ", for programs that load the filter from now on" : " already");
}

void RunLogWhere()
{
    std::printf("key         %s\n", g_logKeyName);
    const std::optional<std::wstring> dll = ReadLogDll();
    if (!dll)
    {
        std::printf("log         off: the key is not set\n");
        return;
    }
    std::printf("log         on\n");
    std::printf("log DLL     %s (%s)\n", ToUtf8(*dll).c_str(), Exists(*dll) ? "there" : "not there");
    std::fflush(stdout);
    TellFile(*dll);
}

void RunLogTail(const LogTailOptions& options)
{
    const std::wstring dll = ReadLogDll().value_or(OwnLogDll());
    const std::wstring file = LogDll(dll).File();
    if (file.empty())
        throw Failure("the log DLL \"" + ToUtf8(dll) + "\" does not tell where it writes");
    LogTail tail(file);
    tail.PutLast(options.lines, Print);
    if (!options.follow)
        return;
    const Interrupt interrupt;
    tail.Follow(interrupt.Event(), Print);
}
