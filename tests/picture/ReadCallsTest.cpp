// How often the readers call the system for a picture: a call costs more than the decoding of many packets.
#include "BmpBuilder.h"
#include "Common/Common.h"
#include "TgaBuilder.h"
#include "Video/TgaBmp/BmpFile.h"
#include "Video/TgaBmp/TgaBmp.h"

#include <gtest/gtest.h>

namespace
{
int g_nReads = 0;

BOOL WINAPI CountedReadFile(HANDLE hFile, LPVOID pBuffer, DWORD cb, LPDWORD pcbRead, LPOVERLAPPED pOverlapped)
{
    static const auto pfnReadFile = reinterpret_cast<decltype(&ReadFile)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "ReadFile")));
    ++g_nReads;
    return pfnReadFile(hFile, pBuffer, cb, pcbRead, pOverlapped);
}
} // namespace

/// What calls of the system go through: this one takes the place of that in the import library, for the whole
/// program.
extern "C" decltype(&ReadFile) const __imp_ReadFile = CountedReadFile;

namespace
{
struct ReadCalls : testing::Test
{
    int Tga(const TgaBuilder& builder)
    {
        const WideText name(folder.Write("a.tga", builder.File()));
        BITMAPINFOHEADER bmi;
        CTaskBytes pPicture;
        g_nReads = 0;
        EXPECT_EQ(TgaBmpConv(name, FOURCC_ARGB32, &bmi, pPicture.Out(), NULL, false), S_OK);
        return g_nReads;
    }

    TempFolder folder;
};

/// 8 MB as it is to be: the header, then all the rest.
TEST_F(ReadCalls, Plain32)
{
    EXPECT_EQ(Tga(TgaBuilder::TrueColour(32, 1920, 1080)), 2);
}

/// 6 MB in bands of 45 rows: the header, 24 bands.
TEST_F(ReadCalls, Plain24)
{
    EXPECT_EQ(Tga(TgaBuilder::TrueColour(24, 1920, 1080)), 1 + 24);
}

/// A million packets in pieces of 256 KiB.
TEST_F(ReadCalls, Packed)
{
    const TgaBuilder builder = TgaBuilder::TrueColour(24, 1920, 1080).Packed({2, 2});
    const int nPieces = static_cast<int>(builder.image.size() / (256 * 1024));
    EXPECT_LE(Tga(builder), nPieces + 3);
    EXPECT_GE(nPieces, 15);
}

TEST_F(ReadCalls, Bmp)
{
    const WideText name(folder.Write("a.bmp", BmpBuilder(32, 1920, 1080).File()));
    BITMAPINFOHEADER bmi;
    CTaskBytes pPicture;
    g_nReads = 0;
    EXPECT_EQ(LoadBmpFile(name, &bmi, pPicture.Out()), S_OK);
    EXPECT_EQ(g_nReads, 3) << "file header, header, pixels";
}
} // namespace
