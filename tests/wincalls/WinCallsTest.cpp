// The Win32 calls that the native build stands in for. The same expectations hold in both builds, so that
// what is tested natively behaves as it does on Windows.
#include "dstl/WinAPI/Platform.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <strmif.h>
#include <uuids.h>

namespace
{

/// A file of the working folder that goes with its test.
class ScratchFile
{
public:
    explicit ScratchFile(const WCHAR* pszName) : m_pszName(pszName) { DeleteFileW(m_pszName); }
    ~ScratchFile() { DeleteFileW(m_pszName); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    HANDLE Open(DWORD dwAccess, DWORD dwDisposition) const
    {
        return CreateFileW(m_pszName, dwAccess, FILE_SHARE_READ, nullptr, dwDisposition,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    }

private:
    const WCHAR* m_pszName;
};

HANDLE OpenExisting(const WCHAR* pszName)
{
    SetLastError(ERROR_SUCCESS);
    return CreateFileW(pszName, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
}

TEST(WinCalls, OpenErrors)
{
    constexpr struct
    {
        const WCHAR* pszName;
        DWORD dwError;
    } arrNames[] = {{L"no such file.tga", ERROR_FILE_NOT_FOUND},
                    {L"no such folder\\file.tga", ERROR_PATH_NOT_FOUND},
                    {L"", ERROR_PATH_NOT_FOUND},
                    {L".", ERROR_ACCESS_DENIED}};
    for (const auto& name : arrNames)
    {
        SCOPED_TRACE(Utf8(name.pszName));
        EXPECT_EQ(OpenExisting(name.pszName), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), name.dwError);
        if (name.dwError != ERROR_ACCESS_DENIED)
        {
            SetLastError(ERROR_SUCCESS);
            EXPECT_EQ(GetFileAttributesW(name.pszName), INVALID_FILE_ATTRIBUTES);
            EXPECT_EQ(GetLastError(), name.dwError);
        }
    }
    EXPECT_NE(GetFileAttributesW(L".") & FILE_ATTRIBUTE_DIRECTORY, 0u);
}

TEST(WinCalls, WriteReadAndSeek)
{
    // A name beyond Latin-1, one character of it a surrogate pair.
    const ScratchFile file(L"wincalls \u00e4\u0416\U0001F600.bin");
    HANDLE hFile = file.Open(GENERIC_WRITE, CREATE_NEW);
    ASSERT_NE(hFile, INVALID_HANDLE_VALUE);
    DWORD cb = 99;
    EXPECT_TRUE(WriteFile(hFile, "0123456789", 10, &cb, nullptr));
    EXPECT_EQ(cb, 10u);
    char arrRead[16] = {};
    EXPECT_FALSE(ReadFile(hFile, arrRead, 1, &cb, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(cb, 0u);
    EXPECT_TRUE(CloseHandle(hFile));

    EXPECT_EQ(file.Open(GENERIC_WRITE, CREATE_NEW), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_EXISTS));

    hFile = file.Open(GENERIC_READ, OPEN_EXISTING);
    ASSERT_NE(hFile, INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetFileSize(hFile, nullptr), 10u);
    EXPECT_EQ(SetFilePointer(hFile, 3, nullptr, FILE_BEGIN), 3u);
    EXPECT_EQ(SetFilePointer(hFile, 2, nullptr, FILE_CURRENT), 5u);
    EXPECT_EQ(SetFilePointer(hFile, -2, nullptr, FILE_END), 8u);
    // Short at the end of the file, nothing behind it, and no error either time.
    EXPECT_TRUE(ReadFile(hFile, arrRead, 16, &cb, nullptr));
    EXPECT_EQ(cb, 2u);
    EXPECT_EQ(std::memcmp(arrRead, "89", 2), 0);
    EXPECT_TRUE(ReadFile(hFile, arrRead, 16, &cb, nullptr));
    EXPECT_EQ(cb, 0u);
    // Before the start is an error and moves nothing; behind the end is none.
    EXPECT_EQ(SetFilePointer(hFile, -11, nullptr, FILE_END), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NEGATIVE_SEEK));
    EXPECT_EQ(SetFilePointer(hFile, 100, nullptr, FILE_BEGIN), 100u);
    EXPECT_FALSE(WriteFile(hFile, "x", 1, &cb, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_TRUE(CloseHandle(hFile));

    hFile = file.Open(GENERIC_WRITE, CREATE_ALWAYS);
    ASSERT_NE(hFile, INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetFileSize(hFile, nullptr), 0u);
    EXPECT_TRUE(CloseHandle(hFile));
}

TEST(WinCalls, InvalidHandle)
{
    DWORD cb = 0;
    char ch = 0;
    EXPECT_EQ(GetFileSize(INVALID_HANDLE_VALUE, nullptr), INVALID_FILE_SIZE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(ReadFile(INVALID_HANDLE_VALUE, &ch, 1, &cb, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(SetFilePointer(INVALID_HANDLE_VALUE, 1, nullptr, FILE_BEGIN), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST(WinCalls, Texts)
{
    EXPECT_EQ(lstrlenW(L"a\u0416\U0001F600"), 4);
    EXPECT_EQ(lstrlenW(nullptr), 0);
    EXPECT_EQ(lstrcmpiW(L"Bars.TGA", L"bARS.tga"), 0);
    EXPECT_EQ(lstrcmpiW(L"\u00c4", L"\u00e4"), 0);
    EXPECT_LT(lstrcmpiW(L"bar", L"bars"), 0);
    EXPECT_GT(lstrcmpiW(L"c", L"B"), 0);

    WCHAR szText[4] = {L'x', L'x', L'x', L'x'};
    EXPECT_EQ(lstrcpynW(szText, L"abcdef", 4), szText);
    EXPECT_EQ(Utf8(szText), "abc");
    lstrcpynW(szText, L"z", 4);
    EXPECT_EQ(Utf8(szText), "z");

    WCHAR szGuid[39];
    EXPECT_EQ(StringFromGUID2(MEDIASUBTYPE_RGB24, szGuid, 39), 39);
    EXPECT_EQ(Utf8(szGuid), "{E436EB7D-524F-11CE-9F53-0020AF0BA770}");
    EXPECT_EQ(StringFromGUID2(MEDIASUBTYPE_RGB24, szGuid, 38), 0);
}

TEST(WinCalls, Memory)
{
    void* p = CoTaskMemAlloc(0);
    EXPECT_NE(p, nullptr);
    p = CoTaskMemRealloc(p, 8);
    ASSERT_NE(p, nullptr);
    std::memcpy(p, "1234567", 8);
    p = CoTaskMemRealloc(p, 1000);
    EXPECT_STREQ(static_cast<char*>(p), "1234567");
    CoTaskMemFree(p);
    CoTaskMemFree(nullptr);

    auto* pb = static_cast<BYTE*>(VirtualAlloc(nullptr, 5000, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    ASSERT_NE(pb, nullptr);
    SYSTEM_INFO info = {};
    GetSystemInfo(&info);
    EXPECT_EQ(info.dwPageSize, 4096u);
    EXPECT_EQ(info.dwAllocationGranularity, 0x10000u);
    EXPECT_EQ(reinterpret_cast<UINT_PTR>(pb) % info.dwAllocationGranularity, 0u);
    EXPECT_EQ(pb[0] | pb[8191], 0);
    EXPECT_FALSE(VirtualFree(pb, 5000, MEM_RELEASE));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_TRUE(VirtualFree(pb, 0, MEM_RELEASE));
    EXPECT_EQ(VirtualAlloc(nullptr, 0, MEM_COMMIT, PAGE_READWRITE), nullptr);
}

TEST(WinCalls, Rectangles)
{
    RECT rc = {};
    EXPECT_TRUE(IsRectEmpty(&rc));
    EXPECT_TRUE(SetRect(&rc, 1, 2, 3, 4));
    EXPECT_FALSE(IsRectEmpty(&rc));
    rc.right = 1;
    EXPECT_TRUE(IsRectEmpty(&rc));
    rc = {1, 4, 3, 2};
    EXPECT_TRUE(IsRectEmpty(&rc));
    const RECT rcSame = rc;
    EXPECT_TRUE(EqualRect(&rc, &rcSame));
    EXPECT_TRUE(SetRectEmpty(&rc));
    EXPECT_FALSE(EqualRect(&rc, &rcSame));
}

} // namespace
