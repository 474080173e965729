// Writing of BMP files that fails: results, order of the writes, and what is left on the disk.
#include "TempFiles.h"
#include "Video/TgaBmp/BmpFile.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>

extern "C"
{
    BOOL WINAPI __real_WriteFile(HANDLE hFile, LPCVOID pBuffer, DWORD cb, LPDWORD pcbWritten,
                                 LPOVERLAPPED pOverlapped);
    BOOL WINAPI __real_CloseHandle(HANDLE hFile);
}

namespace
{
constexpr int nNoWrite = -1;

int g_nBadWrite = nNoWrite; ///< this write stops after g_cbBad bytes
DWORD g_cbBad = 0;
bool g_bBadFails = false; ///< and says so; otherwise it reports success
DWORD g_dwError = ERROR_SUCCESS;
std::vector<DWORD> g_writes; ///< bytes asked for
int g_nCloses = 0;
} // namespace

extern "C"
{
    BOOL WINAPI __wrap_WriteFile(HANDLE hFile, LPCVOID pBuffer, DWORD cb, LPDWORD pcbWritten,
                                 LPOVERLAPPED pOverlapped)
    {
        g_writes.push_back(cb);
        if (static_cast<int>(g_writes.size()) - 1 != g_nBadWrite)
            return __real_WriteFile(hFile, pBuffer, cb, pcbWritten, pOverlapped);
        *pcbWritten = 0;
        if (g_cbBad != 0)
            __real_WriteFile(hFile, pBuffer, g_cbBad, pcbWritten, pOverlapped);
        SetLastError(g_dwError);
        return !g_bBadFails;
    }

    BOOL WINAPI __wrap_CloseHandle(HANDLE hFile)
    {
        ++g_nCloses;
        const BOOL bClosed = __real_CloseHandle(hFile);
        SetLastError(ERROR_INVALID_HANDLE); // what closing leaves there is nobody's result
        return bClosed;
    }
}

namespace
{
struct BmpSaveFault : testing::Test
{
    BmpSaveFault() { bmi.biSizeImage = static_cast<DWORD>(pixels.size()); }
    ~BmpSaveFault() override { g_nBadWrite = nNoWrite; }

    HRESULT Save()
    {
        g_writes.clear();
        g_nCloses = 0;
        return SaveBmpToFile(WideText(folder.Path("out.bmp")), bmi, pixels.data());
    }

    TempFolder folder;
    BITMAPINFOHEADER bmi{};
    Bytes pixels = Pattern(100);
    LogCapture log;
};

TEST_F(BmpSaveFault, WritesInTheirOrder)
{
    EXPECT_EQ(Save(), S_OK);
    EXPECT_EQ(g_writes, (std::vector<DWORD>{54, 100}));
    EXPECT_EQ(g_nCloses, 1);
}

TEST_F(BmpSaveFault, EachWriteEachWay)
{
    ASSERT_EQ(Save(), S_OK);
    const Bytes whole = folder.Read("out.bmp");
    for (const int nWrite : {0, 1})
    {
        for (const DWORD cb : {0u, 1u, 53u})
        {
            const struct
            {
                bool bFails;
                DWORD dwError;
                HRESULT hr;
            } rgRows[] = {{true, ERROR_DISK_FULL, HRESULT_FROM_WIN32(ERROR_DISK_FULL)},
                          {true, ERROR_SUCCESS, E_FAIL},
                          {false, ERROR_DISK_FULL, E_FAIL},
                          {false, ERROR_SUCCESS, E_FAIL}};
            for (const auto& row : rgRows)
            {
                SCOPED_TRACE(testing::Message() << nWrite << " " << cb << " " << row.bFails << row.dwError);
                g_nBadWrite = nWrite;
                g_cbBad = cb;
                g_bBadFails = row.bFails;
                g_dwError = row.dwError;
                EXPECT_EQ(Save(), row.hr);
                EXPECT_EQ(g_writes.size(), nWrite + 1u) << "nothing is written behind a gap";
                EXPECT_EQ(g_nCloses, 1) << "the file is closed whatever the writes did";
                const ptrdiff_t cbLeft = (nWrite == 0 ? 0 : 54) + static_cast<ptrdiff_t>(cb);
                EXPECT_EQ(folder.Read("out.bmp"), Bytes(whole.begin(), whole.begin() + cbLeft))
                    << "a partial file stays";
            }
        }
    }
    EXPECT_TRUE(log.Lines().empty()) << "the caller traces";
}
} // namespace
