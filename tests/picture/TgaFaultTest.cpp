// File calls that fail in the middle of a TGA file: each step's trace and result.
#include "Common/Common.h"
#include "OpenTga.h"
#include "TgaBuilder.h"
#include "Video/TgaBmp/TgaBmp.h"
#include "dstl/WinAPI/TaskBytes.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

extern "C"
{
    BOOL WINAPI __real_ReadFile(HANDLE hFile, LPVOID pBuffer, DWORD cb, LPDWORD pcbRead,
                                LPOVERLAPPED pOverlapped);
    DWORD WINAPI __real_SetFilePointer(HANDLE hFile, LONG nDistance, PLONG pnHigh, DWORD dwMethod);
    DWORD WINAPI __real_GetFileSize(HANDLE hFile, LPDWORD pdwHigh);
    HANDLE WINAPI __real_CreateFileW(LPCWSTR pszName, DWORD dwAccess, DWORD dwShare,
                                     LPSECURITY_ATTRIBUTES pSecurity, DWORD dwDisposition, DWORD dwFlags,
                                     HANDLE hTemplate);
}

namespace
{
constexpr LONGLONG nNever = -1;

/// Reads fail that would go beyond this place of the file.
LONGLONG g_nBadFrom = nNever;
LONGLONG g_nPosition = 0;
DWORD g_dwLongestRead = 0;
bool g_bSeekFails = false;
bool g_bSizeFails = false;
DWORD g_dwFalseSize = 0;   ///< 0: the true size
bool g_bOpenFails = false; ///< without an error code
} // namespace

extern "C"
{
    BOOL WINAPI __wrap_ReadFile(HANDLE hFile, LPVOID pBuffer, DWORD cb, LPDWORD pcbRead,
                                LPOVERLAPPED pOverlapped)
    {
        g_dwLongestRead = std::max(g_dwLongestRead, cb);
        const DWORD cbFile = __real_GetFileSize(hFile, nullptr);
        const LONGLONG nEnd = std::min<LONGLONG>(g_nPosition + cb, cbFile);
        if (g_nBadFrom != nNever && nEnd > g_nBadFrom)
        {
            SetLastError(ERROR_CRC);
            return FALSE;
        }
        const BOOL bRead = __real_ReadFile(hFile, pBuffer, cb, pcbRead, pOverlapped);
        g_nPosition += *pcbRead;
        return bRead;
    }

    DWORD WINAPI __wrap_SetFilePointer(HANDLE hFile, LONG nDistance, PLONG pnHigh, DWORD dwMethod)
    {
        if (g_bSeekFails)
        {
            SetLastError(ERROR_SEEK);
            return INVALID_SET_FILE_POINTER;
        }
        const DWORD dwPosition = __real_SetFilePointer(hFile, nDistance, pnHigh, dwMethod);
        g_nPosition = dwPosition;
        return dwPosition;
    }

    DWORD WINAPI __wrap_GetFileSize(HANDLE hFile, LPDWORD pdwHigh)
    {
        if (g_bSizeFails)
        {
            SetLastError(ERROR_NOT_READY);
            return INVALID_FILE_SIZE;
        }
        return g_dwFalseSize != 0 ? g_dwFalseSize : __real_GetFileSize(hFile, pdwHigh);
    }

    HANDLE WINAPI __wrap_CreateFileW(LPCWSTR pszName, DWORD dwAccess, DWORD dwShare,
                                     LPSECURITY_ATTRIBUTES pSecurity, DWORD dwDisposition, DWORD dwFlags,
                                     HANDLE hTemplate)
    {
        if (g_bOpenFails)
        {
            SetLastError(ERROR_SUCCESS);
            return INVALID_HANDLE_VALUE;
        }
        return __real_CreateFileW(pszName, dwAccess, dwShare, pSecurity, dwDisposition, dwFlags, hTemplate);
    }
}

namespace
{
using Texts = std::vector<std::string>;

const std::string sReadCall = "###Err### CTga::Read(): ReadFile()=0x80070017\n";

struct TgaFault : testing::Test
{
    TgaFault() { Reset(); }
    ~TgaFault() { Reset(); }

    static void Reset()
    {
        g_nBadFrom = nNever;
        g_bSeekFails = false;
        g_bSizeFails = false;
        g_dwFalseSize = 0;
        g_bOpenFails = false;
    }

    HRESULT Load(const TgaBuilder& builder)
    {
        sPath = folder.Write("picture.tga", builder.File());
        g_nPosition = 0;
        g_dwLongestRead = 0;
        log.Clear();
        return tga.LoadFile(WideText(sPath));
    }

    void ExpectFailure(const TgaBuilder& builder, Texts errors, const std::string& sHr, HRESULT hr)
    {
        EXPECT_EQ(Load(builder), hr);
        errors.push_back("###Err### CTga::LoadFile( '" + sPath + "' ): ReadFile()=" + sHr + "\n");
        EXPECT_EQ(log.Texts(2), errors);
        EXPECT_EQ(tga.Image(), nullptr);
    }

    /// Reading fails from this place on.
    void ExpectReadFailure(LONGLONG nBadFrom, const TgaBuilder& builder, const Texts& errors)
    {
        g_nBadFrom = nBadFrom;
        Texts expected = {sReadCall};
        expected.insert(expected.end(), errors.begin(), errors.end());
        ExpectFailure(builder, expected, "0x80070017", HRESULT_FROM_WIN32(ERROR_CRC));
        g_nBadFrom = nNever;
    }

    TempFolder folder;
    std::string sPath;
    OpenTga tga;
    LogCapture log;
};

/// An error code of zero stays zero: no failure, and nothing loaded. The conversion finds that out.
TEST_F(TgaFault, OpenWithoutAnErrorCode)
{
    ASSERT_EQ(Load(TgaBuilder::TrueColour(24)), S_OK);
    g_bOpenFails = true;
    EXPECT_EQ(tga.LoadFile(WideText(sPath)), S_OK);
    EXPECT_EQ(log.Texts(2), Texts{"###Err### CTga::LoadFile( '" + sPath + "' ): CreateFile()=0x0\n"});
    EXPECT_EQ(tga.Columns(), 0u);
    EXPECT_EQ(tga.Image(), nullptr);

    for (const bool bAlpha : {false, true})
    {
        AssertCapture asserts;
        log.Clear();
        BITMAPINFOHEADER bmi;
        CTaskBytes pBmp, pAlpha;
        EXPECT_EQ(TgaBmpConv(WideText(sPath), FOURCC_ARGB32, &bmi, pBmp.Out(),
                             bAlpha ? pAlpha.Out() : nullptr, false),
                  E_FAIL);
        EXPECT_EQ(asserts.Texts(), Texts{"Columns() > 0 && Rows() > 0"});
        EXPECT_EQ(log.Texts(2).back(), "###Err### TgaBmpConv(): tga.ConvertToBmp()=0x80004005\n");
        EXPECT_EQ(bmi.biSize, 0u);
        EXPECT_FALSE(pBmp);
        EXPECT_FALSE(pAlpha);
    }
}

TEST_F(TgaFault, Size)
{
    g_bSizeFails = true;
    ExpectFailure(TgaBuilder::TrueColour(24), {"###Err### CTga::ReadFile(): GetFileSize()=0x80070015\n"},
                  "0x80070015", HRESULT_FROM_WIN32(ERROR_NOT_READY));
}

TEST_F(TgaFault, Header)
{
    for (LONGLONG nBadFrom = 0; nBadFrom < 18; ++nBadFrom)
        ExpectReadFailure(nBadFrom, TgaBuilder::TrueColour(24),
                          {"###Err### CTga::ReadFile(): read header failed, hr=0x80070017\n"});
}

TEST_F(TgaFault, ColourMap)
{
    TgaBuilder builder = TgaBuilder::ColMap(24, 4);
    builder.id = Pattern(5);
    for (LONGLONG nBadFrom = 18; nBadFrom < 18 + 5 + 12; ++nBadFrom)
        ExpectReadFailure(nBadFrom, builder,
                          {"###Err### CTga::ReadFile(): read Color Map Data failed, hr=0x80070017\n"});
}

TEST_F(TgaFault, Image)
{
    ExpectReadFailure(18, TgaBuilder::TrueColour(24),
                      {"###Err### CTga::ReadFile(): read Uncompressed Image Data failed, hr=0x80070017\n"});
    // Far behind what is read ahead, in the last piece.
    const TgaBuilder builder = TgaBuilder::TrueColour(32, 3000, 2000);
    ExpectReadFailure(18 + 23'999'999, builder,
                      {"###Err### CTga::ReadFile(): read Uncompressed Image Data failed, hr=0x80070017\n"});
    EXPECT_EQ(g_dwLongestRead, 16u * 1024 * 1024);
}

TEST_F(TgaFault, Packets)
{
    const std::string sPacked = "###Err### CTga::ReadFile(): ReadRLEImage()=0x80070017\n";
    const TgaBuilder builder = TgaBuilder::TrueColour(24, 5, 1).Packed({2, 3}); // 1 + 6, then 1 + 3 bytes
    const auto bad = [&](LONGLONG nAt, const char* pszStep)
    {
        ExpectReadFailure(
            18 + nAt, builder,
            {std::string("###Err### CTga::ReadRLEImage(): Read( ") + pszStep + " )=0x80070017\n", sPacked});
    };
    bad(0, "count");
    for (LONGLONG nAt = 1; nAt < 7; ++nAt)
        bad(nAt, "uncompressed");
    bad(7, "count");
    for (LONGLONG nAt = 8; nAt < 11; ++nAt)
        bad(nAt, "compressed");
}

/// What nobody needs may be unreadable.
TEST_F(TgaFault, BehindTheImage)
{
    for (const bool bPacked : {false, true})
    {
        TgaBuilder builder = TgaBuilder::TrueColour(24, 5, 4);
        if (bPacked)
            builder = builder.Packed({2, 3});
        g_nBadFrom = static_cast<LONGLONG>(builder.File().size());
        builder.tail = Bytes(25, 1);
        EXPECT_EQ(Load(builder), S_OK);
        EXPECT_TRUE(log.Texts(2).empty());
    }
}

TEST_F(TgaFault, Footer)
{
    TgaBuilder builder = TgaBuilder::TrueColour(24);
    const LONGLONG nBadFrom = static_cast<LONGLONG>(builder.File().size());
    builder.tail = TgaBuilder::Footer(0, 0);
    ExpectReadFailure(nBadFrom, builder,
                      {"###Err### CTga::ReadFile(): read TGA FILE FOOTER failed, hr=0x80070017\n"});
}

TEST_F(TgaFault, SeekToTheFooter)
{
    TgaBuilder builder = TgaBuilder::TrueColour(24);
    builder.tail = TgaBuilder::Footer(0, 0);
    g_bSeekFails = true;
    ExpectFailure(builder,
                  {"###Err### CTga::SetPosition(): :SetFilePointer()=0x80070019\n",
                   "###Err### CTga::ReadFile(): Skip Image ID: SetPosition()=0x80070019\n"},
                  "0x80070019", HRESULT_FROM_WIN32(ERROR_SEEK));
}

/// The image ID lies in what is read ahead, unless the file ends within it.
TEST_F(TgaFault, SkippingTheImageId)
{
    for (size_t cbId : {0, 4})
    {
        TgaBuilder builder = TgaBuilder::TrueColour(24);
        builder.id = Pattern(5);
        Bytes file = builder.File();
        file.resize(18 + cbId);
        sPath = folder.Write("picture.tga", file);
        g_nPosition = 0;
        g_bSeekFails = true;
        log.Clear();
        EXPECT_EQ(tga.LoadFile(WideText(sPath)), HRESULT_FROM_WIN32(ERROR_SEEK));
        EXPECT_EQ(log.Texts(2),
                  (Texts{"###Err### CTga::SetPosition(): :SetFilePointer()=0x80070019\n",
                         "###Err### CTga::ReadFile(): Skip Image ID: SetPosition()=0x80070019\n",
                         "###Err### CTga::LoadFile( '" + sPath + "' ): ReadFile()=0x80070019\n"}));
    }
}

/// A size that does not fit the file, as of one that grows or shrinks while it is read. The rest is counted in
/// 32 bits, so that a file that tells too little seems to have gigabytes behind its image.
TEST_F(TgaFault, FalseSize)
{
    for (const bool bPacked : {false, true})
    {
        TgaBuilder builder = TgaBuilder::TrueColour(24);
        if (bPacked)
            builder = builder.Packed({1}); // six packets of four bytes
        const DWORD cbFile = static_cast<DWORD>(builder.File().size());
        for (DWORD dwSize : {1u, 17u, cbFile - 1, 1000u, 0xFFFFFFFFu})
        {
            SCOPED_TRACE(dwSize);
            g_dwFalseSize = dwSize;
            EXPECT_EQ(Load(builder), S_OK);
            EXPECT_EQ(Bytes(tga.Image(), tga.Image() + tga.m_cbImage), TgaBuilder::TrueColour(24).image);
            EXPECT_EQ(log.Texts(4),
                      Texts{"WARNING. CTga::ReadFile(): Unknown " + std::to_string(dwSize - cbFile - 26) +
                            " bytes between image data and TGA FILE FOOTER\n"});
            EXPECT_TRUE(log.Texts(2).empty());
        }
    }
}
} // namespace
