#include "LogFile.h"

#include "LogLine.h"

#include <cstdio>
#include <cwchar>

namespace
{

constexpr DWORD nShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// How long a writer waits for the others: long for a disk, short for a host whose neighbour stands in a
/// debugger.
constexpr DWORD msLock = 2000;
/// After an opening or a write that failed.
constexpr ULONGLONG msRetry = 5000;
/// Between two looks whether the file was deleted or renamed.
constexpr ULONGLONG msFollow = 1000;

/// The mutex of a file: the same one for all processes that name the file alike.
void MutexName(const wchar_t* pszPath, wchar_t (&szName)[40]) noexcept
{
    ULONGLONG ullHash = 0xCBF29CE484222325; // FNV-1a
    for (; *pszPath != 0; pszPath++)
    {
        const wchar_t ch = *pszPath >= L'a' && *pszPath <= L'z' ? *pszPath - L'a' + L'A' : *pszPath;
        ullHash = (ullHash ^ ch) * 0x100000001B3;
    }
    _snwprintf(szName, 39, L"Global\\QXLog-%016I64X", ullHash);
    szName[39] = 0;
}

/// Passes the bytes of a message to a file and keeps the first failure.
class CFileBytes final : public ILogBytes
{
public:
    explicit CFileBytes(HANDLE hFile) noexcept : m_hFile(hFile) {}
    void Put(const char* pch, size_t cch) noexcept override
    {
        DWORD cbWritten = 0;
        if (!WriteFile(m_hFile, pch, static_cast<DWORD>(cch), &cbWritten, nullptr) || cbWritten != cch)
            m_bFailed = true;
    }
    bool Failed() const noexcept { return m_bFailed; }

private:
    const HANDLE m_hFile;
    bool m_bFailed = false;
};

/// What tells one file from another as long as both exist.
struct FileNumber
{
    explicit FileNumber(HANDLE hFile) noexcept
    {
        BY_HANDLE_FILE_INFORMATION rgInfo = {};
        if (!GetFileInformationByHandle(hFile, &rgInfo))
            return;
        dwVolume = rgInfo.dwVolumeSerialNumber;
        ullIndex = static_cast<ULONGLONG>(rgInfo.nFileIndexHigh) << 32 | rgInfo.nFileIndexLow;
    }
    bool operator==(const FileNumber&) const noexcept = default;

    DWORD dwVolume = 0;
    ULONGLONG ullIndex = 0;
};

} // namespace

/// The mutex for a scope. Without it a message is written all the same: one of several pieces may then be
/// mixed with others.
class CLogFile::CLock
{
public:
    explicit CLock(CLogFile& file) noexcept : m_file(file)
    {
        const DWORD dwRet = WaitForSingleObject(file.m_hMutex.Get(), file.m_bStuck ? 0 : msLock);
        // WAIT_ABANDONED: the holder has died, and the file is in order whatever it did.
        m_bHeld = dwRet == WAIT_OBJECT_0 || dwRet == WAIT_ABANDONED;
        file.m_bStuck = !m_bHeld;
    }
    ~CLock()
    {
        if (m_bHeld)
            ReleaseMutex(m_file.m_hMutex.Get());
    }
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;

    bool IsHeld() const noexcept { return m_bHeld; }

private:
    CLogFile& m_file;
    bool m_bHeld;
};

/// Puts counts into the file.
class CLogFile::CRepeats final : public ILogRepeats
{
public:
    explicit CRepeats(CLogFile& file) noexcept : m_file(file) {}
    void PutRepeats(const wchar_t* pszMessage) noexcept override
    {
        if (m_file.m_hFile)
            m_file.Put(pszMessage);
    }

private:
    CLogFile& m_file;
};

void CLogFile::Prepare() noexcept
{
    m_settings.Read();
    wchar_t szName[40] = {};
    MutexName(m_settings.szPath, szName);
    m_hMutex.Attach(CreateMutexW(nullptr, FALSE, szName));
    if (!m_hMutex) // another user's: then the threads of this process are kept apart at least
        m_hMutex.Attach(CreateMutexW(nullptr, FALSE, nullptr));
    m_ullOpenAt = 0;
    m_bStuck = false;
    m_bPrepared = true;
}

void CLogFile::Close() noexcept
{
    if (m_fold.HasCounted())
        Flush();
    m_fold.Clear();
    m_hFile.Close();
    m_hMutex.Close();
    m_bPrepared = false;
}

bool CLogFile::Open() noexcept
{
    // Append access alone: each write goes to the end of the file, wherever that is by then.
    m_hFile.Attach(CreateFileW(m_settings.szPath, FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                               nShareAll, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    m_cbRotateAt = m_settings.cbLimit;
    m_ullFollowAt = GetTickCount64() + msFollow;
    return static_cast<bool>(m_hFile);
}

/// Opens the file if it is time to try.
bool CLogFile::OpenDue() noexcept
{
    if (m_settings.szPath[0] == 0 || GetTickCount64() < m_ullOpenAt)
        return false;
    if (Open())
    {
        PutOpening();
        return true;
    }
    m_ullOpenAt = GetTickCount64() + msRetry;
    return false;
}

/// Goes over to the file that now bears the name, if this one was deleted, renamed or rotated by another
/// process.
void CLogFile::FollowName() noexcept
{
    const FileNumber number(m_hFile.Get());
    // Closed first: a file that waits for its deletion then gives its name free.
    m_hFile.Close();
    if (!Open())
        m_ullOpenAt = GetTickCount64() + msRetry;
    else if (Size() == 0 || FileNumber(m_hFile.Get()) != number)
        PutOpening();
}

/// Renames the file and its predecessors, and begins a new one.
void CLogFile::Rotate(ULONGLONG cbFile) noexcept
{
    FollowName(); // another process may have done it
    if (!m_hFile || Size() < m_cbRotateAt)
        return;

    wchar_t szFrom[LogSettings::cchPath + 4] = {}, szTo[LogSettings::cchPath + 4] = {};
    for (int n = nEarlierFiles; n >= 1; n--)
    {
        _snwprintf(szTo, LogSettings::cchPath + 3, L"%s.%i", m_settings.szPath, n);
        if (n > 1)
            _snwprintf(szFrom, LogSettings::cchPath + 3, L"%s.%i", m_settings.szPath, n - 1);
        else
            wcscpy(szFrom, m_settings.szPath);
        if (!MoveFileExW(szFrom, szTo, MOVEFILE_REPLACE_EXISTING) && n == 1)
        {
            // Somebody holds the name. The file grows on; a later line tries again.
            m_cbRotateAt = cbFile + m_settings.cbLimit / 4 + 1;
            return;
        }
    }
    m_hFile.Close();
    OpenDue();
}

/// The first line of a process in a file: who writes, and how its times stand to UTC.
void CLogFile::PutOpening() noexcept
{
    wchar_t szHost[MAX_PATH + 1] = {};
    GetModuleFileNameW(nullptr, szHost, MAX_PATH);
    TIME_ZONE_INFORMATION rgZone = {};
    const DWORD dwZone = GetTimeZoneInformation(&rgZone);
    const long nBias = rgZone.Bias + (dwZone == TIME_ZONE_ID_DAYLIGHT   ? rgZone.DaylightBias
                                      : dwZone == TIME_ZONE_ID_STANDARD ? rgZone.StandardBias
                                                                        : 0);
    const long nMinutes = nBias < 0 ? -nBias : nBias;
    wchar_t szLine[MAX_PATH + 100] = {};
    _snwprintf(szLine, MAX_PATH + 99, L"qxlog64: opened by \"%s\", times are UTC%c%02li:%02li", szHost,
               nBias > 0 ? L'-' : L'+', nMinutes / 60, nMinutes % 60);
    Put(szLine);
}

void CLogFile::Put(const wchar_t* pszMessage) noexcept
{
    CFileBytes bytes(m_hFile.Get());
    PutMessage(bytes, LogStampNow(), pszMessage);
    if (bytes.Failed())
    {
        m_hFile.Close();
        m_ullOpenAt = GetTickCount64() + msRetry;
    }
}

ULONGLONG CLogFile::Size() const noexcept
{
    LARGE_INTEGER cb = {};
    return GetFileSizeEx(m_hFile.Get(), &cb) ? static_cast<ULONGLONG>(cb.QuadPart) : 0;
}

void CLogFile::Write(const wchar_t* pszMessage) noexcept
{
    const CLock lock(*this);
    if (!lock.IsHeld())
    {
        // The fields belong to the holder. An own handle writes the line without them.
        COwnedHandle hFile;
        hFile.Attach(CreateFileW(m_settings.szPath, FILE_APPEND_DATA | SYNCHRONIZE, nShareAll, nullptr,
                                 OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (hFile)
        {
            CFileBytes bytes(hFile.Get());
            PutMessage(bytes, LogStampNow(), pszMessage);
        }
        return;
    }
    if (!m_hFile && !OpenDue())
        return;
    if (GetTickCount64() >= m_ullFollowAt)
        FollowName();
    if (m_hFile && m_settings.cbLimit != 0)
    {
        const ULONGLONG cbFile = Size();
        if (cbFile >= m_cbRotateAt)
            Rotate(cbFile);
    }
    if (!m_hFile)
        return;
    CRepeats repeats(*this);
    if (m_fold.Take(pszMessage, repeats) || !m_hFile)
        return;
    Put(pszMessage);
    if (m_hFile && IsErrorMessage(pszMessage))
        FlushFileBuffers(m_hFile.Get());
}

void CLogFile::Flush() noexcept
{
    const CLock lock(*this);
    if (!lock.IsHeld())
        return;
    CRepeats repeats(*this);
    m_fold.PutAll(repeats);
    if (m_hFile)
        FlushFileBuffers(m_hFile.Get());
}
