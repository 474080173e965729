// File calls that fail while a BMP file is read: results, and that nothing is handed out or kept open.
#include "BmpBuilder.h"
#include "Video/TgaBmp/BmpFile.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstring>

extern "C"
{
    HANDLE WINAPI __real_CreateFileW(LPCWSTR pszName, DWORD dwAccess, DWORD dwShare,
                                     LPSECURITY_ATTRIBUTES pSecurity, DWORD dwDisposition, DWORD dwFlags,
                                     HANDLE hTemplate);
    BOOL WINAPI __real_ReadFile(HANDLE hFile, LPVOID pBuffer, DWORD cb, LPDWORD pcbRead,
                                LPOVERLAPPED pOverlapped);
    DWORD WINAPI __real_SetFilePointer(HANDLE hFile, LONG nDistance, PLONG pnHigh, DWORD dwMethod);
    BOOL WINAPI __real_CloseHandle(HANDLE hFile);
}

namespace
{
enum eFault
{
    eFault_None,
    eFault_Open,
    eFault_Read,
    eFault_ShortRead, ///< one byte fewer, and success
    eFault_Seek,
    eFault_Position,     ///< success, one byte too far
    eFault_PositionHigh, ///< success, 4 GiB too far
    eFault_Close,
};

struct Faults
{
    eFault fault = eFault_None;
    int nBadRead = 0;
    DWORD dwError = ERROR_SUCCESS;

    // What was asked for
    std::vector<DWORD> reads;
    int nOpen = 0;
};

Faults g_faults;

bool Strikes(eFault fault)
{
    if (g_faults.fault != fault)
        return false;
    SetLastError(g_faults.dwError);
    return true;
}
} // namespace

extern "C"
{
    HANDLE WINAPI __wrap_CreateFileW(LPCWSTR pszName, DWORD dwAccess, DWORD dwShare,
                                     LPSECURITY_ATTRIBUTES pSecurity, DWORD dwDisposition, DWORD dwFlags,
                                     HANDLE hTemplate)
    {
        if (Strikes(eFault_Open))
            return INVALID_HANDLE_VALUE;
        ++g_faults.nOpen;
        return __real_CreateFileW(pszName, dwAccess, dwShare, pSecurity, dwDisposition, dwFlags, hTemplate);
    }

    BOOL WINAPI __wrap_ReadFile(HANDLE hFile, LPVOID pBuffer, DWORD cb, LPDWORD pcbRead,
                                LPOVERLAPPED pOverlapped)
    {
        const bool bBad = static_cast<int>(g_faults.reads.size()) == g_faults.nBadRead;
        g_faults.reads.push_back(cb);
        if (bBad && Strikes(eFault_Read))
            return FALSE;
        const bool bShort = bBad && Strikes(eFault_ShortRead);
        return __real_ReadFile(hFile, pBuffer, bShort ? cb - 1 : cb, pcbRead, pOverlapped);
    }

    DWORD WINAPI __wrap_SetFilePointer(HANDLE hFile, LONG nDistance, PLONG pnHigh, DWORD dwMethod)
    {
        if (Strikes(eFault_Seek))
            return INVALID_SET_FILE_POINTER;
        const DWORD dwPosition = __real_SetFilePointer(hFile, nDistance, pnHigh, dwMethod);
        if (Strikes(eFault_PositionHigh))
            *pnHigh = 1;
        return Strikes(eFault_Position) ? dwPosition + 1 : dwPosition;
    }

    BOOL WINAPI __wrap_CloseHandle(HANDLE hFile)
    {
        --g_faults.nOpen;
        const BOOL bClosed = __real_CloseHandle(hFile);
        if (Strikes(eFault_Close))
            return FALSE;
        return bClosed;
    }
}

namespace
{
struct BmpReadFault : testing::Test
{
    BmpReadFault()
    {
        builder.gap = Bytes(2);
        builder.file.bfOffBits += 2;
        builder.file.bfSize += 2;
        sPath = folder.Write("a.bmp", builder.File());
        g_faults = Faults();
    }
    ~BmpReadFault() override { g_faults = Faults(); }

    HRESULT Load()
    {
        g_faults.reads.clear();
        g_faults.nOpen = 0;
        std::memset(&bmi, 0xCC, sizeof(bmi));
        SetLastError(ERROR_ACCESS_DENIED); // an error of the past
        const HRESULT hr = LoadBmpFile(WideText(sPath), &bmi, pPicture.Out());
        EXPECT_EQ(g_faults.nOpen, 0) << "the file stays open, or is closed twice";
        return hr;
    }

    /// \param dwError what the call leaves; ERROR_SUCCESS for nothing
    void ExpectFailure(eFault fault, DWORD dwError, HRESULT hr)
    {
        SCOPED_TRACE(testing::Message() << fault << " " << g_faults.nBadRead << " " << dwError);
        g_faults.fault = fault;
        g_faults.dwError = dwError;
        EXPECT_EQ(Load(), hr);
        const BITMAPINFOHEADER zero{};
        EXPECT_EQ(std::memcmp(&bmi, &zero, sizeof(bmi)), 0);
        EXPECT_FALSE(pPicture);
    }

    /// The call says that it failed: its error, or E_FAIL when it leaves none.
    void ExpectError(eFault fault)
    {
        ExpectFailure(fault, ERROR_CRC, HRESULT_FROM_WIN32(ERROR_CRC));
        ExpectFailure(fault, ERROR_SUCCESS, E_FAIL);
    }

    TempFolder folder;
    std::string sPath;
    BmpBuilder builder{24, 3, 2};
    BITMAPINFOHEADER bmi;
    CTaskBytes pPicture;
    LogCapture log;
};

TEST_F(BmpReadFault, AsExpected)
{
    ASSERT_EQ(Load(), S_OK);
    EXPECT_EQ(g_faults.reads, (std::vector<DWORD>{14, 40, 24}));
    EXPECT_EQ(Bytes(pPicture.Get(), pPicture.Get() + 24), builder.pixels);
}

TEST_F(BmpReadFault, Open)
{
    ExpectError(eFault_Open);
    EXPECT_TRUE(g_faults.reads.empty());
}

TEST_F(BmpReadFault, EachRead)
{
    for (const int nRead : {0, 1, 2})
    {
        g_faults.nBadRead = nRead;
        ExpectError(eFault_Read);
        EXPECT_EQ(g_faults.reads.size(), nRead + 1u);
        ExpectFailure(eFault_ShortRead, ERROR_CRC, E_FAIL);
        EXPECT_EQ(g_faults.reads.size(), nRead + 1u);
    }
}

TEST_F(BmpReadFault, SeekToThePixels)
{
    ExpectFailure(eFault_Seek, ERROR_SEEK, HRESULT_FROM_WIN32(ERROR_SEEK));
    ExpectFailure(eFault_Seek, ERROR_SUCCESS, E_FAIL); // a place that is not the one asked for
    ExpectFailure(eFault_Position, ERROR_SUCCESS, E_FAIL);
    ExpectFailure(eFault_PositionHigh, ERROR_SUCCESS, E_FAIL);
    EXPECT_EQ(g_faults.reads.size(), 2u);
}

/// Pixels that begin where the headers end are not looked for.
TEST_F(BmpReadFault, NoSeekWithoutAGap)
{
    builder = BmpBuilder(24, 3, 2);
    folder.Write("a.bmp", builder.File());
    g_faults.fault = eFault_Seek;
    g_faults.dwError = ERROR_SEEK;
    EXPECT_EQ(Load(), S_OK);
}

/// Only behind a good read is it a failure of its own.
TEST_F(BmpReadFault, Close)
{
    ExpectError(eFault_Close);
    EXPECT_EQ(g_faults.reads.size(), 3u);
    EXPECT_TRUE(log.Lines().empty());
}
} // namespace
