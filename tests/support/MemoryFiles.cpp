#include "MemoryFiles.h"

#include <algorithm>
#include <cstring>

namespace memory
{
File g_file;
Folder g_folder;
Calls g_calls;

void Reset()
{
    g_file = File();
    g_folder = Folder();
    g_calls = Calls();
}
} // namespace memory

namespace
{
using namespace memory;
using Text = std::vector<WCHAR>;

/// Behind a handle of a file.
struct FileState
{
    uint64_t nPosition = 0;
};

/// Behind a handle of a search.
struct Search
{
    Text pattern;
    size_t nNext = 0;
};

uint64_t ToldSize()
{
    return g_file.cbTold != nNever ? g_file.cbTold : g_file.bytes.size();
}

FileState* FileOf(HANDLE hFile)
{
    if (hFile != nullptr && hFile != INVALID_HANDLE_VALUE)
        return static_cast<FileState*>(hFile);
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

WCHAR Folded(WCHAR ch)
{
    if (ch == '/')
        return '\\';
    return ch >= 'A' && ch <= 'Z' ? static_cast<WCHAR>(ch - 'A' + 'a') : ch;
}

bool Same(const Text& a, const Text& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](WCHAR x, WCHAR y) { return Folded(x) == Folded(y); });
}

/// "*" for any characters, "?" for one.
bool Matches(const Text& pattern, const Text& name)
{
    // Row by row of the table "the first i characters of the pattern take the first j of the name".
    std::vector<char> taken(name.size() + 1, 0);
    taken[0] = 1;
    for (const WCHAR ch : pattern)
    {
        std::vector<char> next(name.size() + 1, 0);
        next[0] = ch == '*' ? taken[0] : 0;
        for (size_t j = 1; j <= name.size(); ++j)
            next[j] = ch == '*' ? taken[j] | next[j - 1]
                                : taken[j - 1] & (ch == '?' || Folded(ch) == Folded(name[j - 1]));
        taken = next;
    }
    return taken[name.size()] != 0;
}

/// "*.*" finds names without a dot too.
bool Finds(const Text& pattern, const Text& name)
{
    static const Text all = {'*', '.', '*'};
    return pattern == all || Matches(pattern, name);
}

Text ToText(const WCHAR* psz)
{
    Text text;
    for (; *psz != 0; ++psz)
        text.push_back(*psz);
    return text;
}

bool IsSeparator(WCHAR ch)
{
    return ch == '\\' || ch == '/';
}

/// The folder's path with or without a separator behind it.
bool IsTheFolder(Text path)
{
    if (!path.empty() && IsSeparator(path.back()))
        path.pop_back();
    return !g_folder.path.empty() && Same(path, g_folder.path);
}

/// Splits behind the last separator. \return false without one
bool Split(const Text& text, Text& folder, Text& name)
{
    const auto it = std::find_if(text.rbegin(), text.rend(), IsSeparator);
    if (it == text.rend())
        return false;
    folder.assign(text.begin(), it.base());
    name.assign(it.base(), text.end());
    return true;
}

BOOL NextFound(Search& search, WIN32_FIND_DATAW* pData)
{
    while (search.nNext < g_folder.entries.size())
    {
        const Entry& entry = g_folder.entries[search.nNext++];
        if (!Finds(search.pattern, entry.name))
            continue;
        *pData = WIN32_FIND_DATAW();
        pData->dwFileAttributes = entry.dwAttributes;
        std::copy_n(entry.name.begin(), std::min<size_t>(entry.name.size(), MAX_PATH - 1), pData->cFileName);
        return TRUE;
    }
    SetLastError(ERROR_NO_MORE_FILES);
    return FALSE;
}
} // namespace

HANDLE WINAPI CreateFileW(LPCWSTR, DWORD dwAccess, DWORD dwShare, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE)
{
    g_calls.dwAccess = dwAccess;
    g_calls.dwShare = dwShare;
    if (g_file.bMissing)
    {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    ++g_calls.nOpens;
    return new FileState;
}

BOOL WINAPI CloseHandle(HANDLE hFile)
{
    FileState* const pFile = FileOf(hFile);
    if (!pFile)
        return FALSE;
    ++g_calls.nCloses;
    delete pFile;
    return TRUE;
}

DWORD WINAPI GetFileSize(HANDLE hFile, LPDWORD pdwHigh)
{
    if (!FileOf(hFile))
        return INVALID_FILE_SIZE;
    if (pdwHigh)
        *pdwHigh = static_cast<DWORD>(ToldSize() >> 32);
    return static_cast<DWORD>(ToldSize());
}

BOOL WINAPI GetFileSizeEx(HANDLE hFile, PLARGE_INTEGER pcb)
{
    if (!FileOf(hFile))
        return FALSE;
    pcb->QuadPart = static_cast<LONGLONG>(ToldSize());
    return TRUE;
}

BOOL WINAPI ReadFile(HANDLE hFile, LPVOID pBuffer, DWORD cb, LPDWORD pcbRead, LPOVERLAPPED)
{
    *pcbRead = 0;
    FileState* const pFile = FileOf(hFile);
    if (!pFile)
        return FALSE;
    ++g_calls.nReads;
    const uint64_t nFirst = std::min<uint64_t>(pFile->nPosition, g_file.bytes.size());
    const uint64_t nEnd = std::min<uint64_t>(nFirst + cb, g_file.bytes.size());
    if (nEnd > g_file.nBadFrom)
    {
        SetLastError(ERROR_CRC);
        return FALSE;
    }
    if (nEnd > nFirst)
        std::memcpy(pBuffer, g_file.bytes.data() + nFirst, nEnd - nFirst);
    *pcbRead = static_cast<DWORD>(nEnd - nFirst);
    g_calls.cbRead += *pcbRead;
    pFile->nPosition += *pcbRead;
    return TRUE;
}

BOOL WINAPI WriteFile(HANDLE hFile, LPCVOID, DWORD cb, LPDWORD pcbWritten, LPOVERLAPPED)
{
    *pcbWritten = cb;
    return FileOf(hFile) != nullptr;
}

DWORD WINAPI SetFilePointer(HANDLE hFile, LONG nDistance, PLONG pnHigh, DWORD dwMethod)
{
    FileState* const pFile = FileOf(hFile);
    if (!pFile)
        return INVALID_SET_FILE_POINTER;
    ++g_calls.nSeeks;
    const LONGLONG nMove =
        pnHigh ? static_cast<LONGLONG>(static_cast<ULONGLONG>(static_cast<DWORD>(*pnHigh)) << 32 |
                                       static_cast<DWORD>(nDistance))
               : nDistance;
    const uint64_t nBase = dwMethod == FILE_BEGIN     ? 0
                           : dwMethod == FILE_CURRENT ? pFile->nPosition
                                                      : g_file.bytes.size();
    const LONGLONG nNew = static_cast<LONGLONG>(nBase) + nMove;
    if (g_file.dwSeekError != 0 || nNew < 0)
    {
        SetLastError(g_file.dwSeekError != 0 ? g_file.dwSeekError : ERROR_NEGATIVE_SEEK);
        return INVALID_SET_FILE_POINTER;
    }
    pFile->nPosition = static_cast<uint64_t>(nNew);
    if (pnHigh)
        *pnHigh = static_cast<LONG>(nNew >> 32);
    SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(nNew);
}

BOOL WINAPI DeleteFileW(LPCWSTR)
{
    return FALSE;
}

DWORD WINAPI GetFileAttributesW(LPCWSTR pszName)
{
    const Text text = ToText(pszName);
    if (IsTheFolder(text))
        return FILE_ATTRIBUTE_DIRECTORY;
    Text folder, name;
    if (Split(text, folder, name) && IsTheFolder(folder))
    {
        for (const Entry& entry : g_folder.entries)
        {
            if (Same(entry.name, name))
                return entry.dwAttributes;
        }
    }
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_FILE_ATTRIBUTES;
}

/// The folder itself is found by its path, as an entry of the one above it.
HANDLE WINAPI FindFirstFileW(LPCWSTR pszPattern, WIN32_FIND_DATAW* pData)
{
    const Text text = ToText(pszPattern);
    Text folder, name;
    if (!text.empty() && !IsSeparator(text.back()) && IsTheFolder(text))
    {
        *pData = WIN32_FIND_DATAW();
        pData->dwFileAttributes = FILE_ATTRIBUTE_DIRECTORY;
        ++g_calls.nOpenSearches;
        return new Search{{}, g_folder.entries.size()};
    }
    if (Split(text, folder, name) && IsTheFolder(folder) && !name.empty())
    {
        Search search{name};
        if (NextFound(search, pData))
        {
            ++g_calls.nOpenSearches;
            return new Search(search);
        }
    }
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
}

BOOL WINAPI FindNextFileW(HANDLE hFind, WIN32_FIND_DATAW* pData)
{
    return NextFound(*static_cast<Search*>(hFind), pData);
}

BOOL WINAPI FindClose(HANDLE hFind)
{
    --g_calls.nOpenSearches;
    delete static_cast<Search*>(hFind);
    return TRUE;
}
