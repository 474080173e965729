#include "OutputFile.h"
#include "Failure.h"
#include <algorithm>
#include <utility>

namespace
{
SharedFile MakeFile(const std::wstring& path, const std::wstring& temporaryPath)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        throw Failure("cannot write \"" + ToUtf8(path) + "\": it is a folder; add a file name to it");
    COwnedHandle file(CreateFileW(temporaryPath.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE,
                                  FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file)
        return std::make_shared<const COwnedHandle>(std::move(file));
    const HRESULT hr = DSTLLastError();
    if (hr == HRESULT_FROM_WIN32(ERROR_FILE_EXISTS))
        throw Failure("cannot write \"" + ToUtf8(path) + "\": \"" + ToUtf8(temporaryPath) +
                      "\" exists; delete it unless another program is still writing it");
    throw Failure("cannot write \"" + ToUtf8(path) + "\"", hr);
}
} // namespace

HRESULT WriteWholeFile(const std::wstring& path, const void* bytes, size_t size)
{
    COwnedHandle file(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return DSTLLastError();
    HRESULT hr = S_OK;
    const BYTE* next = static_cast<const BYTE*>(bytes);
    while (size > 0 && SUCCEEDED(hr))
    {
        // One call takes a 32-bit count.
        const DWORD piece = static_cast<DWORD>(std::min<size_t>(size, 1u << 30));
        DWORD written = 0;
        if (!WriteFile(file.Get(), next, piece, &written, nullptr))
            hr = DSTLLastError();
        else if (written != piece)
            hr = HRESULT_FROM_WIN32(ERROR_DISK_FULL);
        next += piece;
        size -= piece;
    }
    if (!file.Close() && SUCCEEDED(hr))
        hr = DSTLLastError();
    if (FAILED(hr))
        DeleteFileW(path.c_str());
    return hr;
}

UnfinishedFile::UnfinishedFile(std::wstring path)
    : m_path(std::move(path)), m_temporaryPath(m_path + L".part"), m_file(MakeFile(m_path, m_temporaryPath))
{
    Check(SetTemporary(true), "the file system refuses a temporary file");
}

HRESULT UnfinishedFile::SetTemporary(bool isTemporary) const
{
    FILE_DISPOSITION_INFO info = {};
    info.DeleteFile = isTemporary;
    return SetFileInformationByHandle(m_file->Get(), FileDispositionInfo, &info, sizeof(info))
               ? S_OK
               : DSTLLastError();
}

void UnfinishedFile::Finish(bool overwrite)
{
    HRESULT hr = SetTemporary(false);
    if (SUCCEEDED(hr) &&
        !MoveFileExW(m_temporaryPath.c_str(), m_path.c_str(), overwrite ? MOVEFILE_REPLACE_EXISTING : 0))
    {
        hr = DSTLLastError();
        SetTemporary(true);
    }
    if (FAILED(hr))
        throw Failure("cannot write \"" + ToUtf8(m_path) + "\"", hr);
}
