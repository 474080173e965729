// The log DLL that docs/diagnostics.md shows: it is the one that is built here, and it works.
#include "dstl/dshowx/QXLog.h"
#include "qxlog/LogFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace
{

TEST(ExampleLog, ShowsErrorsAndWarnings)
{
    const HMODULE hModule = LoadLibraryW(L"qxexamplelog.dll");
    ASSERT_NE(hModule, nullptr);
    const auto pfnGet =
        reinterpret_cast<PFNGETLOGOBJECT>(reinterpret_cast<void*>(GetProcAddress(hModule, szQXLogExport)));
    ASSERT_NE(pfnGet, nullptr);
    ILogObject* plog = nullptr;
    ASSERT_EQ(pfnGet(&plog), 0);
    plog->Attach(&plog, 0, 0);
    const OwnLogFile file; // takes the place of the error output
    const HANDLE hEarlier = GetStdHandle(STD_ERROR_HANDLE);
    const HANDLE hFile =
        CreateFileW(file.Path().c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW, 0, nullptr);
    ASSERT_NE(hFile, INVALID_HANDLE_VALUE);
    SetStdHandle(STD_ERROR_HANDLE, hFile);
    plog->Write(L"\x0003###Err### an error\n");
    plog->Write(L"\x0005WARNING. a warning\n");
    plog->Write(L"\x0009not shown\n");
    plog->Write(L"###Err###\nan assertion \u0416\n");
    plog->Write(std::wstring(5000, L'x').c_str()); // too long
    SetStdHandle(STD_ERROR_HANDLE, hEarlier);
    CloseHandle(hFile);
    plog->Detach(&plog);
    EXPECT_EQ(plog, nullptr);
    FreeLibrary(hModule);
    EXPECT_EQ(ReadFileBytes(file.Path()),
              "###Err### an error\nWARNING. a warning\n###Err###\nan assertion \xD0\x96\n");
}

TEST(ExampleLog, StandsInTheDocument)
{
    const auto Read = [](const char* pszPath)
    {
        std::string s = ReadFileBytes(pszPath);
        s.erase(std::remove(s.begin(), s.end(), '\r'), s.end());
        return s;
    };
    const std::string sExample = Read(QX_EXAMPLE);
    ASSERT_FALSE(sExample.empty());
    EXPECT_NE(Read(QX_DIAGNOSTICS).find("```cpp\n" + sExample + "```\n"), std::string::npos);
}

} // namespace
