// Bitmaps that the system does not give: results, and that the screen's device context is given back. The
// linker leads the calls of GDI to the replacements here.
#include "TempFiles.h"
#include "dstl/Old/GDIPlusHelpers.h"
#include "dstl/WinAPI/TaskBytes.h"

#include <gtest/gtest.h>

namespace
{
/// What the test plays: a bitmap of 2 by 3 pixels of 32 bits.
struct Gdi
{
    int nBadCall = -1; ///< this call of GetDIBits fails
    DWORD dwError = ERROR_SUCCESS;

    // What was asked for
    int nCalls = 0, nContexts = 0;
    DWORD rgSizes[2] = {}, rgCompressions[2] = {};
    UINT rgLines[2] = {};
    const void* rgBits[2] = {};
};

Gdi g_gdi;

constexpr LONG nWidth = 2, nHeight = 3;
constexpr DWORD cbImage = nWidth * nHeight * 4;
const HDC g_hdc = reinterpret_cast<HDC>(ULONG_PTR{0xDC});
const HBITMAP g_hBitmap = reinterpret_cast<HBITMAP>(ULONG_PTR{0xB1});

HDC WINAPI FakeGetDC(HWND hwnd)
{
    EXPECT_EQ(hwnd, nullptr);
    ++g_gdi.nContexts;
    return g_hdc;
}

int WINAPI FakeReleaseDC(HWND, HDC hdc)
{
    EXPECT_EQ(hdc, g_hdc);
    --g_gdi.nContexts;
    SetLastError(ERROR_INVALID_HANDLE); // what releasing leaves there is nobody's result
    return 1;
}

int WINAPI FakeGetDIBits(HDC hdc, HBITMAP hBitmap, UINT nStart, UINT nLines, LPVOID pvBits,
                         LPBITMAPINFO pInfo, UINT nUsage)
{
    EXPECT_EQ(hdc, g_hdc);
    EXPECT_EQ(hBitmap, g_hBitmap);
    EXPECT_EQ(nStart, 0u);
    EXPECT_EQ(nUsage, static_cast<UINT>(DIB_RGB_COLORS));
    const int nCall = g_gdi.nCalls++;
    if (nCall < 2)
    {
        g_gdi.rgSizes[nCall] = pInfo->bmiHeader.biSize;
        g_gdi.rgCompressions[nCall] = pInfo->bmiHeader.biCompression;
        g_gdi.rgLines[nCall] = nLines;
        g_gdi.rgBits[nCall] = pvBits;
    }
    if (nCall == g_gdi.nBadCall)
    {
        SetLastError(g_gdi.dwError);
        return 0;
    }
    BITMAPINFOHEADER& bmi = pInfo->bmiHeader;
    bmi.biWidth = nWidth;
    bmi.biHeight = nHeight;
    bmi.biPlanes = 1;
    bmi.biBitCount = 32;
    bmi.biSizeImage = cbImage;
    if (nCall == 0)
        bmi.biCompression = BI_BITFIELDS; // as the system reports it
    if (pvBits != nullptr)
        memset(pvBits, 0x77, cbImage);
    return nHeight;
}
} // namespace

// GDI is imported: calls go through pointers of these names.
extern "C"
{
    decltype(&GetDC) __wrap___imp_GetDC = FakeGetDC;
    decltype(&ReleaseDC) __wrap___imp_ReleaseDC = FakeReleaseDC;
    decltype(&GetDIBits) __wrap___imp_GetDIBits = FakeGetDIBits;
}

namespace
{
struct HBitmapFault : testing::Test
{
    HBitmapFault() { g_gdi = Gdi(); }
    ~HBitmapFault() override { EXPECT_EQ(g_gdi.nContexts, 0) << "the device context is kept"; }

    HRESULT Load()
    {
        g_gdi.nCalls = 0;
        bmi = BITMAPINFOHEADER{};
        return CPicturePersist::LoadFromHBITMAP(g_hBitmap, &bmi, pPicture.Out());
    }

    BITMAPINFOHEADER bmi;
    CTaskBytes pPicture;
};

TEST_F(HBitmapFault, AsExpected)
{
    ASSERT_EQ(Load(), S_OK);
    EXPECT_EQ(g_gdi.nCalls, 2);
    EXPECT_EQ(g_gdi.rgSizes[0], 40u);
    EXPECT_EQ(g_gdi.rgLines[0], 0u); // the header first
    EXPECT_EQ(g_gdi.rgBits[0], nullptr);
    EXPECT_EQ(g_gdi.rgLines[1], 3u);
    EXPECT_EQ(g_gdi.rgBits[1], pPicture.Get());
    EXPECT_EQ(g_gdi.rgCompressions[1], static_cast<DWORD>(BI_RGB)); // no masks asked for
    EXPECT_EQ(bmi.biCompression, static_cast<DWORD>(BI_RGB));
    EXPECT_EQ(bmi.biSizeImage, cbImage);
    EXPECT_EQ(Bytes(pPicture.Get(), pPicture.Get() + cbImage), Bytes(cbImage, 0x77));
}

TEST_F(HBitmapFault, HeaderAlone)
{
    g_gdi.nBadCall = 1;
    EXPECT_EQ(CPicturePersist::LoadFromHBITMAP(g_hBitmap, &bmi, nullptr), S_OK);
    EXPECT_EQ(g_gdi.nCalls, 1);
}

TEST_F(HBitmapFault, NoHeader)
{
    g_gdi.nBadCall = 0;
    for (const DWORD dwError : {DWORD{ERROR_INVALID_HANDLE}, DWORD{ERROR_NOT_ENOUGH_MEMORY}})
    {
        g_gdi.dwError = dwError;
        EXPECT_EQ(Load(), HRESULT_FROM_WIN32(dwError));
    }
    g_gdi.dwError = ERROR_SUCCESS;
    EXPECT_EQ(Load(), E_FAIL);
    EXPECT_EQ(g_gdi.nCalls, 1);
    EXPECT_EQ(bmi.biSize, 0u);
    EXPECT_FALSE(pPicture);
}

/// The header is handed out by then, and the block stays with the caller.
TEST_F(HBitmapFault, NoPixels)
{
    g_gdi.nBadCall = 1;
    g_gdi.dwError = ERROR_NOT_ENOUGH_MEMORY;
    EXPECT_EQ(Load(), HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY));
    EXPECT_EQ(bmi.biSizeImage, cbImage);
    EXPECT_TRUE(pPicture);
    g_gdi.dwError = ERROR_SUCCESS;
    EXPECT_EQ(Load(), E_FAIL);
    EXPECT_TRUE(pPicture);
}
} // namespace
