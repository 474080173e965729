#include "FileWriter.h"
#include <algorithm>

HRESULT WriteWholeFile(const std::wstring& path, const void* bytes, size_t size)
{
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return DSTLLastError();
    HRESULT hr = S_OK;
    const BYTE* next = static_cast<const BYTE*>(bytes);
    while (size > 0 && SUCCEEDED(hr))
    {
        // One call takes a 32-bit count.
        const DWORD piece = static_cast<DWORD>(std::min<size_t>(size, 1u << 30));
        DWORD written = 0;
        if (!WriteFile(file, next, piece, &written, nullptr))
            hr = DSTLLastError();
        else if (written != piece)
            hr = HRESULT_FROM_WIN32(ERROR_DISK_FULL);
        next += piece;
        size -= piece;
    }
    if (!CloseHandle(file) && SUCCEEDED(hr))
        hr = DSTLLastError();
    if (FAILED(hr))
        DeleteFileW(path.c_str());
    return hr;
}
