// File calls of kernel32 on Linux files, with the error codes that Windows gives.
#include "NativeText.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// Behind a handle.
struct NativeFile
{
    int nFile;
};

DWORD ErrorOf(int nErrno)
{
    switch (nErrno)
    {
    case ENOENT:
        return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
        return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
        return ERROR_ACCESS_DENIED;
    case EEXIST:
        return ERROR_FILE_EXISTS;
    case EMFILE:
    case ENFILE:
        return ERROR_TOO_MANY_OPEN_FILES;
    case ENOSPC:
        return ERROR_DISK_FULL;
    case EINVAL:
        return ERROR_INVALID_PARAMETER;
    case EBADF:
        return ERROR_INVALID_HANDLE;
    case ENAMETOOLONG:
        return ERROR_FILENAME_EXCED_RANGE;
    default:
        return ERROR_GEN_FAILURE;
    }
}

/// A missing folder on the way is another error than a missing file in it.
DWORD OpenError(const std::string& strPath, int nErrno)
{
    const size_t nSlash = strPath.find_last_of('/');
    if (nErrno != ENOENT || nSlash == std::string::npos || nSlash == 0)
        return ErrorOf(nErrno);
    struct stat info;
    return stat(strPath.substr(0, nSlash).c_str(), &info) == 0 ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

NativeFile* FileOf(HANDLE hFile)
{
    if (!hFile || hFile == INVALID_HANDLE_VALUE)
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    return static_cast<NativeFile*>(hFile);
}

/// Open flags of a disposition; negative for an unknown one.
int DispositionFlags(DWORD dwDisposition)
{
    switch (dwDisposition)
    {
    case CREATE_NEW:
        return O_CREAT | O_EXCL;
    case CREATE_ALWAYS:
        return O_CREAT | O_TRUNC;
    case OPEN_EXISTING:
        return 0;
    case OPEN_ALWAYS:
        return O_CREAT;
    case TRUNCATE_EXISTING:
        return O_TRUNC;
    default:
        return -1;
    }
}

bool IsFolder(int nFile)
{
    struct stat info;
    return fstat(nFile, &info) == 0 && S_ISDIR(info.st_mode);
}

} // namespace

HANDLE WINAPI CreateFileW(LPCWSTR pszName, DWORD dwAccess, DWORD, LPSECURITY_ATTRIBUTES, DWORD dwDisposition,
                          DWORD, HANDLE)
{
    const int nDisposition = DispositionFlags(dwDisposition);
    if (!pszName || nDisposition < 0)
    {
        SetLastError(pszName ? ERROR_INVALID_PARAMETER : ERROR_PATH_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    if (!*pszName)
    {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    const bool bWrite = (dwAccess & GENERIC_WRITE) != 0;
    const int nAccess = !bWrite ? O_RDONLY : dwAccess & GENERIC_READ ? O_RDWR : O_WRONLY;
    const std::string strPath = native::ToPath(pszName);
    const int nFile = open(strPath.c_str(), nAccess | nDisposition | O_CLOEXEC, 0666);
    if (nFile < 0)
    {
        SetLastError(OpenError(strPath, errno));
        return INVALID_HANDLE_VALUE;
    }
    if (IsFolder(nFile))
    {
        close(nFile);
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }
    return new NativeFile{nFile};
}

BOOL WINAPI CloseHandle(HANDLE hFile)
{
    NativeFile* pFile = FileOf(hFile);
    if (!pFile)
        return FALSE;
    close(pFile->nFile);
    delete pFile;
    return TRUE;
}

DWORD WINAPI GetFileSize(HANDLE hFile, LPDWORD pdwHigh)
{
    NativeFile* pFile = FileOf(hFile);
    struct stat info;
    if (!pFile)
        return INVALID_FILE_SIZE;
    if (fstat(pFile->nFile, &info) != 0)
    {
        SetLastError(ErrorOf(errno));
        return INVALID_FILE_SIZE;
    }
    const auto cb = static_cast<ULONGLONG>(info.st_size);
    if (pdwHigh)
        *pdwHigh = static_cast<DWORD>(cb >> 32);
    return static_cast<DWORD>(cb);
}

BOOL WINAPI GetFileSizeEx(HANDLE hFile, PLARGE_INTEGER pcb)
{
    DWORD dwHigh = 0;
    const DWORD dwLow = GetFileSize(hFile, &dwHigh);
    if (dwLow == INVALID_FILE_SIZE && GetLastError() != ERROR_SUCCESS)
        return FALSE;
    pcb->QuadPart = static_cast<LONGLONG>((static_cast<ULONGLONG>(dwHigh) << 32) | dwLow);
    return TRUE;
}

BOOL WINAPI ReadFile(HANDLE hFile, LPVOID pBuffer, DWORD cb, LPDWORD pcbRead, LPOVERLAPPED)
{
    if (pcbRead)
        *pcbRead = 0;
    NativeFile* pFile = FileOf(hFile);
    if (!pFile)
        return FALSE;
    DWORD cbDone = 0;
    while (cbDone < cb)
    {
        const ssize_t n = read(pFile->nFile, static_cast<BYTE*>(pBuffer) + cbDone, cb - cbDone);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
        {
            // A handle that was opened for writing only is refused as an access, not as a bad handle.
            SetLastError(errno == EBADF ? ERROR_ACCESS_DENIED : ErrorOf(errno));
            return FALSE;
        }
        if (n == 0)
            break;
        cbDone += static_cast<DWORD>(n);
    }
    if (pcbRead)
        *pcbRead = cbDone;
    return TRUE;
}

BOOL WINAPI WriteFile(HANDLE hFile, LPCVOID pBuffer, DWORD cb, LPDWORD pcbWritten, LPOVERLAPPED)
{
    if (pcbWritten)
        *pcbWritten = 0;
    NativeFile* pFile = FileOf(hFile);
    if (!pFile)
        return FALSE;
    DWORD cbDone = 0;
    while (cbDone < cb)
    {
        const ssize_t n = write(pFile->nFile, static_cast<const BYTE*>(pBuffer) + cbDone, cb - cbDone);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
        {
            SetLastError(errno == EBADF ? ERROR_ACCESS_DENIED : ErrorOf(errno));
            return FALSE;
        }
        cbDone += static_cast<DWORD>(n);
        if (pcbWritten)
            *pcbWritten = cbDone;
    }
    return TRUE;
}

DWORD WINAPI SetFilePointer(HANDLE hFile, LONG nDistance, PLONG pnHigh, DWORD dwMethod)
{
    NativeFile* pFile = FileOf(hFile);
    if (!pFile)
        return INVALID_SET_FILE_POINTER;
    constexpr int arrWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END}; // FILE_BEGIN, FILE_CURRENT, FILE_END
    if (dwMethod > FILE_END)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_SET_FILE_POINTER;
    }
    const LONGLONG nWanted =
        pnHigh ? static_cast<LONGLONG>((static_cast<ULONGLONG>(static_cast<DWORD>(*pnHigh)) << 32) |
                                       static_cast<DWORD>(nDistance))
               : nDistance;
    const off_t nNew = lseek(pFile->nFile, nWanted, arrWhence[dwMethod]);
    if (nNew < 0)
    {
        SetLastError(errno == EINVAL ? ERROR_NEGATIVE_SEEK : ErrorOf(errno));
        return INVALID_SET_FILE_POINTER;
    }
    if (pnHigh)
        *pnHigh = static_cast<LONG>(nNew >> 32);
    SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(nNew);
}

DWORD WINAPI GetFileAttributesW(LPCWSTR pszName)
{
    if (!pszName || !*pszName)
    {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return INVALID_FILE_ATTRIBUTES;
    }
    const std::string strPath = native::ToPath(pszName);
    struct stat info;
    if (stat(strPath.c_str(), &info) != 0)
    {
        SetLastError(OpenError(strPath, errno));
        return INVALID_FILE_ATTRIBUTES;
    }
    if (S_ISDIR(info.st_mode))
        return FILE_ATTRIBUTE_DIRECTORY;
    return info.st_mode & S_IWUSR ? FILE_ATTRIBUTE_ARCHIVE : FILE_ATTRIBUTE_READONLY;
}

BOOL WINAPI DeleteFileW(LPCWSTR pszName)
{
    const std::string strPath = native::ToPath(pszName);
    if (unlink(strPath.c_str()) == 0)
        return TRUE;
    SetLastError(OpenError(strPath, errno));
    return FALSE;
}
