// From a TGA file to a bitmap in memory and to BMP files.
#include "Common/Common.h"
#include "TgaBuilder.h"
#include "Video/TgaBmp/BmpFile.h"
#include "Video/TgaBmp/TgaBmp.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{
using Texts = std::vector<std::string>;

bool IsZero(const BITMAPINFOHEADER& bmi)
{
    const BITMAPINFOHEADER zero{};
    return std::memcmp(&bmi, &zero, sizeof(bmi)) == 0;
}

struct TgaBmp : testing::Test
{
    TgaBmp() { std::memset(&bmi, 0xCC, sizeof(bmi)); }

    HRESULT Conv(const TgaBuilder& builder, DWORD fccType, bool bForceAlpha)
    {
        sPath = folder.Write("picture.tga", builder.File());
        return TgaBmpConv(WideText(sPath), fccType, &bmi, pBmp.Out(), pAlpha.Out(), bForceAlpha);
    }

    TempFolder folder;
    std::string sPath;
    BITMAPINFOHEADER bmi;
    CTaskBytes pBmp;
    CTaskBytes pAlpha;
    LogCapture log;
    AssertCapture asserts;
};

TEST_F(TgaBmp, Header)
{
    for (DWORD fccType : {FOURCC_RGB24, FOURCC_RGB32, FOURCC_ARGB32})
    {
        for (WORD nWidth : {1, 2, 3, 4, 5, 61})
        {
            ASSERT_EQ(Conv(TgaBuilder::TrueColour(24, nWidth, 7), fccType, false), S_OK);
            const unsigned nBits = fccType == FOURCC_RGB24 ? 24 : 32;
            const unsigned cbRow = (nWidth * nBits / 8 + 3) / 4 * 4;
            EXPECT_EQ(bmi.biSize, 40u);
            EXPECT_EQ(bmi.biWidth, nWidth);
            EXPECT_EQ(bmi.biHeight, 7);
            EXPECT_EQ(bmi.biPlanes, 1);
            EXPECT_EQ(bmi.biBitCount, nBits);
            EXPECT_EQ(bmi.biCompression, 0u);
            EXPECT_EQ(bmi.biSizeImage, cbRow * 7);
            EXPECT_EQ(bmi.biXPelsPerMeter, 0);
            EXPECT_EQ(bmi.biYPelsPerMeter, 0);
            EXPECT_EQ(bmi.biClrUsed, 0u);
            EXPECT_EQ(bmi.biClrImportant, 0u);
        }
    }
}

TEST_F(TgaBmp, PixelsAreBottomUp)
{
    TgaBuilder builder = TgaBuilder::TrueColour(32, 2, 2);
    builder.image = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    ASSERT_EQ(Conv(builder, FOURCC_ARGB32, false), S_OK);
    EXPECT_EQ(Bytes(pBmp.Get(), pBmp.Get() + 16), builder.image);
    builder.fImageDesc = 0x28;
    ASSERT_EQ(Conv(builder, FOURCC_ARGB32, false), S_OK);
    EXPECT_EQ(Bytes(pBmp.Get(), pBmp.Get() + 16),
              (Bytes{9, 10, 11, 12, 13, 14, 15, 16, 1, 2, 3, 4, 5, 6, 7, 8}));
    ASSERT_TRUE(pAlpha);
    EXPECT_EQ(pAlpha.Get()[0], 12);
    EXPECT_EQ(pAlpha.Get()[1], 16);
    EXPECT_EQ(pAlpha.Get()[4], 4);
    EXPECT_EQ(pAlpha.Get()[5], 8);
}

TEST_F(TgaBmp, AlphaPlaneOnDemand)
{
    TgaBuilder builder = TgaBuilder::TrueColour(32, 5, 3);
    ASSERT_EQ(Conv(builder, FOURCC_ARGB32, false), S_OK);
    EXPECT_TRUE(pBmp);
    EXPECT_FALSE(pAlpha) << "no alpha bits and none asked for";
    ASSERT_EQ(Conv(builder, FOURCC_ARGB32, true), S_OK);
    ASSERT_TRUE(pAlpha);
    for (size_t y = 0; y < 3; ++y)
        EXPECT_EQ(Bytes(pAlpha.Get() + y * 8, pAlpha.Get() + y * 8 + 5), Bytes(5, 255));
    builder.fImageDesc = 8;
    ASSERT_EQ(Conv(builder, FOURCC_ARGB32, false), S_OK);
    ASSERT_TRUE(pAlpha);
    EXPECT_EQ(pAlpha.Get()[1], builder.image[7]);

    BYTE* pSingle = nullptr;
    ASSERT_EQ(TgaBmpConv(WideText(sPath), FOURCC_ARGB32, &bmi, &pSingle, nullptr, true), S_OK);
    EXPECT_EQ(pSingle[3], builder.image[3]) << "the pixels have their alpha without a plane";
    CoTaskMemFree(pSingle);
}

TEST_F(TgaBmp, Arguments)
{
    const WideText name(folder.Write("picture.tga", TgaBuilder::TrueColour(24).File()));
    BYTE by = 0;
    BYTE* pb = &by;
    BYTE* pbAlpha = &by;
    EXPECT_EQ(TgaBmpConv(nullptr, 0, nullptr, nullptr, &pbAlpha, false), E_INVALIDARG);
    EXPECT_EQ(TgaBmpConv(name, 0, nullptr, nullptr, &pbAlpha, false), E_INVALIDARG);
    EXPECT_EQ(TgaBmpConv(name, FOURCC_RGB24, nullptr, nullptr, &pbAlpha, false), E_INVALIDARG);
    EXPECT_EQ(TgaBmpConv(name, FOURCC_RGB24, &bmi, nullptr, &pbAlpha, false), E_POINTER);
    EXPECT_EQ(asserts.Texts(),
              (Texts{"pszFile != NULL",
                     "fccType == FOURCC_RGB24 || fccType == FOURCC_RGB32 || fccType == FOURCC_ARGB32",
                     "pbmi != NULL", "ppBmp != NULL"}));
    EXPECT_EQ(pbAlpha, &by);
    EXPECT_FALSE(IsZero(bmi)) << "the outputs are zeroed behind the checks";
    EXPECT_EQ(TgaBmpConv(WideText(folder.Path("no.tga")), FOURCC_RGB24, &bmi, &pb, &pbAlpha, false),
              HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_TRUE(IsZero(bmi));
    EXPECT_EQ(pb, nullptr);
    EXPECT_EQ(pbAlpha, nullptr);
}

TEST_F(TgaBmp, MissingFile)
{
    const std::string sMissing = folder.Path("no.tga");
    EXPECT_EQ(TgaBmpConv(WideText(sMissing), FOURCC_ARGB32, &bmi, pBmp.Out(), nullptr, false),
              HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(log.Texts(2),
              (Texts{"###Err### CTga::LoadFile( '" + sMissing + "' ): CreateFile()=0x80070002\n",
                     "###Err### TgaBmpConv(): tga.LoadFile( '" + sMissing + "' )=0x80070002\n"}));
}

TEST_F(TgaBmp, BlackAndWhite)
{
    EXPECT_EQ(Conv(TgaBuilder::Grey(), FOURCC_ARGB32, true), E_FAIL);
    EXPECT_EQ(log.Texts(2), (Texts{"###Err### CTga::ConvertToBmp(): Convert_BW()=0x80004005\n",
                                   "###Err### TgaBmpConv(): tga.ConvertToBmp()=0x80004005\n"}));
    EXPECT_EQ(asserts.Texts(), Texts{"CTga::Convert_BW(): not ready yet"});
    EXPECT_TRUE(IsZero(bmi));
    EXPECT_FALSE(pBmp);
    EXPECT_FALSE(pAlpha);
}

/// The stored pixels of a file may fit 32 bits where the bitmap does not.
TEST_F(TgaBmp, BitmapOfFourGigabytes)
{
    const struct
    {
        DWORD fccType;
        DWORD nColumns;
        DWORD nRows;
        bool bFits;
    } rgRows[] = {
        {FOURCC_ARGB32, 32768, 32767, true},  {FOURCC_ARGB32, 32768, 32768, false},
        {FOURCC_RGB32, 65535, 16385, false},  {FOURCC_RGB32, 65535, 16384, true},
        {FOURCC_RGB24, 65535, 21845, true},   {FOURCC_RGB24, 65535, 21846, false},
        {FOURCC_ARGB32, 65535, 65535, false},
    };
    for (const auto& row : rgRows)
    {
        EXPECT_EQ(MakeTgaBmpHeader(row.nColumns, row.nRows, row.fccType, &bmi), row.bFits) << row.nRows;
        EXPECT_EQ(bmi.biWidth, static_cast<LONG>(row.nColumns));
        EXPECT_EQ(bmi.biHeight, static_cast<LONG>(row.nRows));
    }
}

Bytes BmpFileOf(const BITMAPINFOHEADER& bmi, const BYTE* pb)
{
    Bytes bytes = {'B', 'M'};
    AppendU32(bytes, 54 + bmi.biSizeImage);
    AppendU32(bytes, 0);
    AppendU32(bytes, 54);
    const BYTE* pbHeader = reinterpret_cast<const BYTE*>(&bmi);
    bytes.insert(bytes.end(), pbHeader, pbHeader + 40);
    bytes.insert(bytes.end(), pb, pb + bmi.biSizeImage);
    return bytes;
}

TEST_F(TgaBmp, SavedFile)
{
    for (DWORD fccType : {FOURCC_RGB24, FOURCC_ARGB32})
    {
        ASSERT_EQ(Conv(TgaBuilder::TrueColour(32, 4, 3), fccType, false), S_OK);
        bmi.biXPelsPerMeter = 1234; // the header is written as given
        ASSERT_EQ(SaveBmpToFile(WideText(folder.Path("out.bmp")), bmi, pBmp.Get()), S_OK);
        EXPECT_EQ(folder.Read("out.bmp"), BmpFileOf(bmi, pBmp.Get()));
    }
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(TgaBmp, SaveArguments)
{
    const WideText name(folder.Path("out.bmp"));
    BITMAPINFOHEADER bmiOut{};
    BYTE by = 0;
    EXPECT_EQ(SaveBmpToFile(nullptr, bmiOut, nullptr), E_INVALIDARG);
    EXPECT_EQ(SaveBmpToFile(name, bmiOut, nullptr), E_INVALIDARG);
    bmiOut.biSizeImage = 1;
    EXPECT_EQ(SaveBmpToFile(name, bmiOut, nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), (Texts{"pszBmpFile != NULL", "bmi.biSizeImage > 0", "pBmp != NULL"}));
    for (const DWORD cbImage : {0xFFFFFFFFu, 0xFFFFFFFFu - 53}) // the header of the file counts 32 bits
    {
        bmiOut.biSizeImage = cbImage;
        EXPECT_EQ(SaveBmpToFile(name, bmiOut, &by), E_INVALIDARG);
    }
    bmiOut.biSizeImage = 1;
    EXPECT_FALSE(folder.Has("out.bmp"));
    EXPECT_EQ(SaveBmpToFile(WideText(folder.Path()), bmiOut, &by), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
    EXPECT_EQ(SaveBmpToFile(WideText(folder.Path("none/out.bmp")), bmiOut, &by),
              HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
    EXPECT_TRUE(log.Texts(2).empty());
    EXPECT_EQ(SaveBmpToFile(name, bmiOut, &by), S_OK);
    EXPECT_EQ(folder.Read("out.bmp").size(), 55u);
}

TEST_F(TgaBmp, FileWithoutAlphaPicture)
{
    const TgaBuilder builder = TgaBuilder::TrueColour(24, 3, 2);
    ASSERT_EQ(Conv(builder, FOURCC_ARGB32, false), S_OK);
    EXPECT_EQ(TgaToBmpFile(WideText(sPath), WideText(folder.Path("out.bmp")), nullptr), S_OK);
    EXPECT_EQ(folder.Read("out.bmp"), BmpFileOf(bmi, pBmp.Get()));
    EXPECT_EQ(folder.Read("out.bmp").size(), 54u + 24);
}

TEST_F(TgaBmp, FileWithAlphaPicture)
{
    TgaBuilder builder = TgaBuilder::TrueColour(32, 3, 2);
    for (BYTE fDesc : {0x08, 0x00})
    {
        builder.fImageDesc = fDesc;
        ASSERT_EQ(Conv(builder, FOURCC_ARGB32, true), S_OK);
        EXPECT_EQ(TgaToBmpFile(WideText(sPath), WideText(folder.Path("out.bmp")),
                               WideText(folder.Path("alpha.bmp"))),
                  S_OK);
        EXPECT_EQ(folder.Read("out.bmp"), BmpFileOf(bmi, pBmp.Get()));
        Bytes grey;
        for (size_t i = 0; i < 6; ++i)
            Append(grey, Bytes(4, fDesc != 0 ? builder.image[i * 4 + 3] : 255));
        EXPECT_EQ(folder.Read("alpha.bmp"), BmpFileOf(bmi, grey.data()));
        EXPECT_EQ(folder.Read("alpha.bmp").size(), folder.Read("out.bmp").size());
    }
}

TEST_F(TgaBmp, FileFailures)
{
    const std::string sOut = folder.Path("out.bmp");
    const std::string sBad = folder.Path("none/bad.bmp");
    sPath = folder.Write("picture.tga", TgaBuilder::TrueColour(24).File());

    EXPECT_EQ(TgaToBmpFile(nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts{"pszBmpFile != NULL"});
    EXPECT_TRUE(log.Texts(2).empty());

    const std::string sMissing = folder.Path("no.tga");
    EXPECT_EQ(TgaToBmpFile(WideText(sMissing), WideText(sOut), nullptr),
              HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(log.Texts(2).back(), "###Err### TgaToBmpFile(): TgaBmpConv( '" + sMissing + "' )=0x80070002\n");
    EXPECT_FALSE(folder.Has("out.bmp"));

    log.Clear();
    EXPECT_EQ(TgaToBmpFile(WideText(sPath), WideText(sBad), WideText(sOut)),
              HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(log.Texts(2), Texts{"###Err### TgaToBmpFile(): SaveBmpToFile(( '" + sBad + "' )=0x80070003\n"});
    EXPECT_FALSE(folder.Has("out.bmp")) << "nothing goes on after a failure";

    log.Clear();
    EXPECT_EQ(TgaToBmpFile(WideText(sPath), WideText(sOut), WideText(sBad)),
              HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(log.Texts(2), Texts{"###Err### TgaToBmpFile(): SaveBmpToFile(( '" + sBad + "' )=0x80070003\n"});
    EXPECT_TRUE(folder.Has("out.bmp"));
}
} // namespace
