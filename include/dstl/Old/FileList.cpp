#include "dstl/Old/FileList.h"

#include "dstl/WinAPI/Owner.h"

namespace
{
/// Characters of a name that the file system is asked about, terminator included. Longer names are cut.
constexpr int cchName = MAX_PATH;
/// Room for a name and what is put behind it.
constexpr int cchBuffer = 520;

bool IsSeparator(wchar_t ch) noexcept
{
    return ch == L'/' || ch == L'\\';
}

bool IsFolder(DWORD dwAttributes) noexcept
{
    return dwAttributes != INVALID_FILE_ATTRIBUTES && (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// Cuts a path behind its last separator. The first character is not looked at.
/// \return false when there is none
bool CutBehindSeparator(wchar_t* pszPath) noexcept
{
    for (int i = lstrlenW(pszPath) - 1; i > 0; --i)
    {
        if (IsSeparator(pszPath[i]))
        {
            pszPath[i + 1] = 0;
            return true;
        }
    }
    return false;
}

void AddName(const wchar_t* psz, CFileNames& arrFiles) noexcept
{
    CComBSTR bsName(psz);
    if (bsName.m_str != nullptr) // no memory: the list goes without it
        arrFiles.Add(bsName);
}

/// Splits at every "|", empty names included.
void AddNames(const wchar_t* pszName, CFileNames& arrFiles) noexcept
{
    CComBSTR cbsTemp(pszName);
    if (cbsTemp.m_str == nullptr)
        return;
    const UINT cch = SysStringLen(cbsTemp.m_str);
    wchar_t* pszEntry = cbsTemp.m_str;
    for (UINT i = 0; i <= cch; ++i)
    {
        wchar_t& ch = cbsTemp.m_str[i];
        if (ch != L'|' && ch != 0)
            continue;
        ch = 0;
        AddName(pszEntry, arrFiles);
        pszEntry = &ch + 1;
    }
}

void AddFound(const wchar_t* pszFolder, const wchar_t* pszFile, CFileNames& arrFiles) noexcept
{
    CComBSTR bsName(pszFolder);
    if (SUCCEEDED(bsName.Append(pszFile)) && bsName.m_str != nullptr)
        arrFiles.Add(bsName);
}

/// \param szPath the folder, with room for a separator
void AddFolder(const wchar_t* pszName, wchar_t (&szPath)[cchBuffer], CFileNames& arrFiles) noexcept
{
    wchar_t szFileName[cchBuffer] = {};
    lstrcpynW(szFileName, pszName, cchName);
    WIN32_FIND_DATAW fd{};
    COwnedFind find(FindFirstFileW(pszName, &fd));
    if (!find || IsFolder(fd.dwFileAttributes))
    {
        const int cch = lstrlenW(szFileName);
        const wchar_t chLast = cch > 0 ? szFileName[cch - 1] : 0;
        if (IsSeparator(chLast))
            lstrcatW(szFileName, L"*.*");
        else if (chLast != L'*')
            lstrcatW(szFileName, L"\\*.*");
        find.Close();
        find.Attach(FindFirstFileW(szFileName, &fd));
    }
    if (!find)
        return;

    const int cchPath = lstrlenW(szPath);
    if (cchPath == 0 || !IsSeparator(szPath[cchPath - 1]))
        lstrcatW(szPath, L"\\");
    do
    {
        // An exact comparison on purpose: a folder with any further attribute is listed like a file.
        if (fd.dwFileAttributes != FILE_ATTRIBUTE_DIRECTORY)
            AddFound(szPath, fd.cFileName, arrFiles);
    } while (FindNextFileW(find.Get(), &fd) == TRUE);
}
} // namespace

bool ScanFileList(const wchar_t* pszName, CFileNames& arrFiles) noexcept
{
    if (pszName == nullptr)
        pszName = L"";

    wchar_t szPath[cchBuffer] = {};
    lstrcpynW(szPath, pszName, cchName);
    DWORD dwAttributes = GetFileAttributesW(szPath);
    if (dwAttributes == INVALID_FILE_ATTRIBUTES && CutBehindSeparator(szPath))
        dwAttributes = GetFileAttributesW(szPath);

    // Without a folder it is a plain name or a list of names, taken in full length and never tested.
    if (IsFolder(dwAttributes))
        AddFolder(pszName, szPath, arrFiles);
    else
        AddNames(pszName, arrFiles);
    return arrFiles.GetSize() != 0;
}
