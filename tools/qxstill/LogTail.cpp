#include "LogTail.h"
#include "Failure.h"
#include <algorithm>
#include <utility>

namespace
{
constexpr size_t g_piece = 65536;
constexpr DWORD g_pause = 200; // milliseconds between two looks at a file that is followed

COwnedHandle OpenShared(const std::wstring& path)
{
    return COwnedHandle(CreateFileW(path.c_str(), GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

ULONGLONG SizeOf(HANDLE file)
{
    LARGE_INTEGER size = {};
    return GetFileSizeEx(file, &size) ? static_cast<ULONGLONG>(size.QuadPart) : 0;
}

bool IsSameFile(HANDLE a, HANDLE b)
{
    BY_HANDLE_FILE_INFORMATION infoA = {};
    BY_HANDLE_FILE_INFORMATION infoB = {};
    return GetFileInformationByHandle(a, &infoA) && GetFileInformationByHandle(b, &infoB) &&
           infoA.dwVolumeSerialNumber == infoB.dwVolumeSerialNumber &&
           infoA.nFileIndexHigh == infoB.nFileIndexHigh && infoA.nFileIndexLow == infoB.nFileIndexLow;
}
} // namespace

LogTail::LogTail(const std::wstring& path) : m_path(path), m_file(OpenShared(path))
{
    if (!m_file)
        throw Failure("cannot read the log \"" + ToUtf8(path) + "\"", DSTLLastError());
}

std::string LogTail::ReadAt(ULONGLONG offset, size_t size) const
{
    std::string bytes(size, '\0');
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    DWORD read = 0;
    if (!ReadFile(m_file.Get(), bytes.data(), static_cast<DWORD>(size), &read, &place))
    {
        const HRESULT hr = DSTLLastError();
        if (hr != HRESULT_FROM_WIN32(ERROR_HANDLE_EOF))
            throw Failure("cannot read the log \"" + ToUtf8(m_path) + "\"", hr);
        read = 0;
    }
    bytes.resize(read);
    return bytes;
}

void LogTail::PutLast(size_t lines, const LogOutput& output)
{
    const ULONGLONG end = SizeOf(m_file.Get());
    ULONGLONG begin = end;
    // Backwards, until one line end more is found than lines are wanted; that of the last line does not
    // count.
    size_t found = 0;
    while (begin > 0 && lines > 0)
    {
        const size_t size = static_cast<size_t>(std::min<ULONGLONG>(begin, g_piece));
        const std::string piece = ReadAt(begin - size, size);
        size_t at = piece.size();
        while (at > 0)
        {
            if (piece[at - 1] == '\n' && begin - size + at != end && ++found == lines)
                break;
            --at;
        }
        begin = begin - size + at;
        if (at > 0)
            break;
    }
    m_next = begin;
    while (m_next < end)
    {
        const std::string piece =
            ReadAt(m_next, static_cast<size_t>(std::min<ULONGLONG>(end - m_next, g_piece)));
        if (piece.empty())
            return;
        m_next += piece.size();
        output(piece);
    }
}

// Goes over to the file that has the name by now, if it is another one or was cut.
bool LogTail::Reopen()
{
    COwnedHandle file = OpenShared(m_path);
    if (!file)
        return false; // between the old and the new one
    if (IsSameFile(file.Get(), m_file.Get()) && SizeOf(file.Get()) >= m_next)
        return false;
    m_file = std::move(file);
    m_next = 0;
    return true;
}

void LogTail::PutNew(const LogOutput& output)
{
    do
    {
        for (;;)
        {
            const std::string piece = ReadAt(m_next, g_piece);
            if (piece.empty())
                break;
            m_next += piece.size();
            output(piece);
        }
    } while (Reopen());
}

void LogTail::Follow(HANDLE stop, const LogOutput& output)
{
    do
        PutNew(output);
    while (WaitForSingleObject(stop, g_pause) == WAIT_TIMEOUT);
}
