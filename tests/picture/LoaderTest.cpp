// The picture loader: which reader takes a name, what it hands on, and what it says about a refusal.
#include "BmpBuilder.h"
#include "GdiPlusScope.h"
#include "TgaBuilder.h"
#include "Video/TgaBmp/BmpFile.h"
#include "asm/SIMD64Mix.h"
#include "dstl/Old/GDIPlusHelpers.h"
#include "dstl/WinAPI/File.h"
#include "support/LogCapture.h"
#include "support/picture/JpegFiles.h"
#include "support/picture/PngFile.h"

#include <gtest/gtest.h>

namespace
{
using Texts = std::vector<std::string>;
using CBlob = CBLOBHolder<CTaskMemory>;

std::string TgaFailed(const std::string& sPath, const std::string& sHr)
{
    return "WARNING !!! CCoCharGen::CCGItem::InitImage - TgaBmpConv('" + sPath + "') FAILED hr = " + sHr +
           "\n";
}

std::string BmpFailed(const std::string& sPath, const std::string& sHr)
{
    return "WARNING CCoCharGen::CCGItem::InitImage - CPicturePersist::LoadFromFile('" + sPath +
           "') FAILED hr = " + sHr + "\n";
}

Bytes Premultiplied(Bytes pixels)
{
    PremultiplyAlpha(pixels.data(), pixels.size(), static_cast<DWORD>(pixels.size() / 4), 1);
    return pixels;
}

Bytes Straight(Bytes pixels)
{
    Unpremultiply(pixels.data(), pixels.data(), pixels.size() / 4);
    return pixels;
}

struct Loader : testing::Test
{
    HRESULT Load(const std::string& sName, const Bytes& bytes, bool bAlpha)
    {
        sPath = folder.Write(sName, bytes);
        return Load(bAlpha);
    }

    HRESULT Load(bool bAlpha)
    {
        log.Clear();
        return CPicturePersist::LoadPicture(WideText(sPath), nullptr, bAlpha, blob, props);
    }

    void ExpectPicture(DWORD fccType, LONG nWidth, LONG nHeight, Bytes pixels)
    {
        EXPECT_EQ(props.fccType, fccType);
        EXPECT_EQ(props.nWidth, nWidth);
        EXPECT_EQ(props.nHeight, nHeight);
        EXPECT_EQ(props.nRowWidth, nWidth);
        const DWORD cb = static_cast<DWORD>(nWidth) * AbsHeight(nHeight) * 4;
        EXPECT_EQ(blob.GetSize(), cb);
        EXPECT_EQ(blob.GetAllocSize(), cb);
        pixels.resize(cb, 0); // the recorded size is true for 24 bits as well
        ASSERT_NE(blob.GetPtr(), nullptr);
        EXPECT_EQ(Bytes(blob.GetPtr(), blob.GetPtr() + cb), pixels);
    }

    /// Loads nothing over a picture that is held.
    void ExpectRefused(const std::string& sName, const Bytes& bytes, const Texts& errors)
    {
        const BYTE* pb = blob.GetPtr();
        const DWORD cb = blob.GetSize();
        const PicProps propsBefore = props;
        EXPECT_EQ(Load(sName, bytes, false), E_FAIL);
        EXPECT_EQ(log.Texts(2), errors);
        EXPECT_EQ(blob.GetPtr(), pb);
        EXPECT_EQ(blob.GetSize(), cb);
        EXPECT_EQ(std::memcmp(&props, &propsBefore, sizeof(props)), 0);
    }

    const GdiPlusScope gdiPlus;
    TempFolder folder;
    std::string sPath;
    CBlob blob;
    PicProps props{1, 2, 3, 4};
    LogCapture log;
};

TEST_F(Loader, Extension)
{
    const struct
    {
        const wchar_t* pszName;
        int nOffset; ///< -1: the end
    } rgRows[] = {
        {L"a.tga", 1},  {L"C:\\x.y\\a.tga", 8}, {L"a.b.c", 3}, {L"a.", 1},         {L"", -1},
        {L".tga", -1},  {L"tga", -1},           {L".", -1},    {L"x.y\\a", -1},    {L"x.y/a", -1},
        {L"x.y:a", -1}, {L"x\\.tga", 2},        {L"..tga", 1}, {L"x.tga\\", -1},   {L"a b.T|x", 3},
        {L"C:.tga", 2}, {L"\\.tga", 1},         {L"a..", 2},   {L"a.b/c.d/e", -1}, {L"a/b.d", 3},
    };
    for (const auto& row : rgRows)
    {
        const int nLength = lstrlenW(row.pszName);
        EXPECT_EQ(CPicturePersist::FileExtension(row.pszName),
                  row.pszName + (row.nOffset < 0 ? nLength : row.nOffset))
            << Utf8(row.pszName);
    }
    EXPECT_EQ(CPicturePersist::FileExtension(nullptr), nullptr);
    const std::vector<wchar_t> longName(100001, L'a');
    std::vector<wchar_t> name = longName;
    name.back() = 0;
    EXPECT_EQ(CPicturePersist::FileExtension(name.data()), name.data() + 100000);
}

TEST_F(Loader, MissingFile)
{
    const HRESULT hrMissing = static_cast<HRESULT>(0x80070002);
    sPath = folder.Path("no.tga");
    EXPECT_EQ(Load(false), hrMissing);
    sPath = folder.Path("none\\no.bmp"); // whatever the reason
    EXPECT_EQ(Load(true), hrMissing);
    sPath = "";
    EXPECT_EQ(Load(true), hrMissing);
    sPath = folder.Path("no*.tga");
    EXPECT_EQ(Load(true), hrMissing);
    sPath = std::string(100000, 'a') + ".tga";
    EXPECT_EQ(Load(true), hrMissing);
    EXPECT_EQ(CPicturePersist::LoadPicture(nullptr, nullptr, true, blob, props), hrMissing);

    const HBITMAP hBitmap = CreateBitmap(2, 2, 1, 32, nullptr);
    CSimpleArray2<PictureFrame> arrImages;
    EXPECT_EQ(CPicturePersist::LoadFrames(WideText(folder.Path("no.tga")), hBitmap, true, arrImages, true),
              hrMissing)
        << "a handle does not help";
    DeleteObject(hBitmap);
    EXPECT_EQ(arrImages.GetSize(), 0);
    EXPECT_TRUE(log.Lines().empty());
    EXPECT_EQ(blob.GetSize(), 0u);
    EXPECT_EQ(props.nWidth, 2);
}

TEST_F(Loader, Tga)
{
    TgaBuilder builder = TgaBuilder::TrueColour(32, 5, 3);
    for (const char* pszName : {"a.tga", "a.TGA", "b.TgA"})
    {
        ASSERT_EQ(Load(pszName, builder.File(), true), S_OK);
        ExpectPicture(FOURCC_ARGB32, 5, 3, builder.image);
        ASSERT_EQ(Load(pszName, builder.File(), false), S_OK);
        ExpectPicture(FOURCC_ARGB32, 5, 3, Premultiplied(builder.image));
    }
    EXPECT_TRUE(log.Lines().empty());

    builder = TgaBuilder::TrueColour(24, 2, 2);
    builder.image = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    builder.fImageDesc = 0x20;
    ASSERT_EQ(Load("top.tga", builder.File(), false), S_OK);
    ExpectPicture(FOURCC_ARGB32, 2, 2, {7, 8, 9, 255, 10, 11, 12, 255, 1, 2, 3, 255, 4, 5, 6, 255});
}

TEST_F(Loader, Bmp32)
{
    for (LONG nHeight : {3, -3})
    {
        for (const char* pszName : {"a.bmp", "a.BMP"})
        {
            const BmpBuilder builder(32, 5, nHeight);
            ASSERT_EQ(Load(pszName, builder.File(), false), S_OK);
            ExpectPicture(FOURCC_ARGB32, 5, nHeight, builder.pixels);
            ASSERT_EQ(Load(pszName, builder.File(), true), S_OK);
            ExpectPicture(FOURCC_ARGB32, 5, nHeight, Straight(builder.pixels));
        }
    }
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(Loader, Bmp24)
{
    for (LONG nHeight : {4, -4})
    {
        for (LONG nWidth : {1, 2, 3, 4, 5, 640})
        {
            for (const bool bAlpha : {false, true})
            {
                const BmpBuilder builder(24, nWidth, nHeight);
                ASSERT_EQ(Load("a.bmp", builder.File(), bAlpha), S_OK);
                ExpectPicture(FOURCC_RGB24, nWidth, nHeight, builder.pixels);
            }
        }
    }
}

TEST_F(Loader, BmpWithoutImageSize)
{
    BmpBuilder builder(32, 4, 2);
    builder.info.biSizeImage = 0;
    ASSERT_EQ(Load("a.bmp", builder.File(), false), S_OK);
    EXPECT_EQ(log.Texts(4), Texts{"WARNING. CPicturePersist::TestAndCorrectBmpHeader(): correcting bad image "
                                  "size: old=0, new=32\n"});
    EXPECT_TRUE(log.Texts(2).empty());
    ExpectPicture(FOURCC_ARGB32, 4, 2, builder.pixels);
}

TEST_F(Loader, FormatCodeWithAFalseDepth)
{
    BmpBuilder builder(16, 4, 2);
    builder.info.biCompression = FOURCC_YUY2;
    builder.info.biBitCount = 32;
    Bytes pixels = builder.pixels;
    pixels.resize(32, 0);
    ASSERT_EQ(Load("a.bmp", builder.File(), true), S_OK);
    ExpectPicture(FOURCC_ARGB32, 4, 2, Straight(pixels));
}

/// The start of a PNG file, which nobody can decode.
const Bytes g_brokenPng = {0x89, 'P', 'N', 'G', 13, 10, 26, 10, 0, 0, 0, 13, 'I', 'H', 'D', 'R', 0, 0};

TEST_F(Loader, Refusals)
{
    ASSERT_EQ(Load("good.tga", TgaBuilder::TrueColour(32).File(), true), S_OK);

    const std::string sTga = folder.Path("a.tga");
    ExpectRefused("a.tga", g_brokenPng,
                  {"###Err### CTga::ReadFile(): Unknown image type: 78\n",
                   "###Err### CTga::LoadFile( '" + sTga + "' ): ReadFile()=0x80004005\n",
                   "###Err### TgaBmpConv(): tga.LoadFile( '" + sTga + "' )=0x80004005\n",
                   TgaFailed(sTga, "0x80004005")});
    ExpectRefused("a.tga", TgaBuilder::Grey().File(),
                  {"###Err### CTga::ConvertToBmp(): Convert_BW()=0x80004005\n",
                   "###Err### TgaBmpConv(): tga.ConvertToBmp()=0x80004005\n", TgaFailed(sTga, "0x80004005")});

    const std::string sBmp = folder.Path("a.bmp");
    ExpectRefused("a.bmp", g_brokenPng, {BmpFailed(sBmp, "0x80004005")});
    // GDI+ goes by content, and knows no TGA.
    for (const char* pszName : {"a.jpg", "a", "a.tg", "a.tgax"})
        ExpectRefused(pszName, TgaBuilder::TrueColour(32).File(), {});
    ExpectRefused("a.jpg", {}, {});
}

/// What the readers of this system refuse, GDI+ takes: always with 32 bits.
TEST_F(Loader, SecondTry)
{
    PngFile png;
    png.nWidth = 2;
    png.nHeight = 2;
    png.samples = {1, 2, 3, 255, 4, 5, 6, 255, 200, 100, 50, 51, 7, 8, 9, 0};
    const Bytes straight = {50, 100, 200, 51, 9, 8, 7, 0, 3, 2, 1, 255, 6, 5, 4, 255};
    const Bytes multiplied = {10, 20, 40, 51, 0, 0, 0, 0, 3, 2, 1, 255, 6, 5, 4, 255};

    for (const char* pszName : {"a.tga", "a.bmp", "a.png", "a.jpg", "a", "a.b.c"})
    {
        SCOPED_TRACE(pszName);
        ASSERT_EQ(Load(pszName, png.Encode(), true), S_OK);
        ExpectPicture(FOURCC_ARGB32, 2, 2, straight);
        ASSERT_EQ(Load(pszName, png.Encode(), false), S_OK);
        ExpectPicture(FOURCC_ARGB32, 2, 2, multiplied);
        // The traces of the first try are warnings only; other names have none.
        if (std::string(pszName) == "a.tga")
        {
            EXPECT_EQ(log.Texts(2).back(), TgaFailed(sPath, "0x80004005"));
        }
        else if (std::string(pszName) == "a.bmp")
        {
            EXPECT_EQ(log.Texts(2), Texts{BmpFailed(sPath, "0x80004005")});
        }
        else
        {
            EXPECT_EQ(log.Texts(2), Texts{});
        }
    }
}

TEST_F(Loader, BmpOfOtherDepths)
{
    // 8 bits with a palette: refused by the header already
    BmpBuilder palette(8, 4, 2);
    palette.pixels = {0, 1, 2, 255, 3, 3, 2, 1};
    for (int i = 0; i < 256; ++i)
        Append(palette.gap, {static_cast<BYTE>(i), static_cast<BYTE>(255 - i), static_cast<BYTE>(i * 3), 0});
    palette.file.bfOffBits += 1024;
    palette.file.bfSize += 1024;
    ASSERT_EQ(Load("a.bmp", palette.File(), false), S_OK);
    EXPECT_EQ(log.Texts(2), Texts{BmpFailed(sPath, "0x80004005")});
    ExpectPicture(FOURCC_ARGB32, 4, 2, {0, 255, 0, 255, 1, 254, 3, 255, 2, 253, 6, 255, 255, 0,   253, 255,
                                        3, 252, 9, 255, 3, 252, 9, 255, 2, 253, 6, 255, 1,   254, 3,   255});

    // 16 bits: read, and then dropped without a word
    BmpBuilder words(16, 2, 2);
    words.pixels = {0x1F, 0, 0xE0, 0x03, 0, 0x7C, 0xFF, 0x7F}; // blue, green; red, white, of five bits each
    ASSERT_EQ(Load("a.bmp", words.File(), true), S_OK);
    EXPECT_EQ(log.Texts(2), Texts{});
    ExpectPicture(FOURCC_ARGB32, 2, 2, {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255, 255, 255, 255});
}

/// Headers of 108 and 124 bytes are beyond the loader's own reader, in either row order.
TEST_F(Loader, BmpWithLongerHeaders)
{
    for (const DWORD cbHeader : {108, 124})
    {
        for (const LONG nHeight : {2, -2})
        {
            SCOPED_TRACE(testing::Message() << cbHeader << " " << nHeight);
            BmpBuilder builder(24, 3, nHeight);
            builder.info.biSize = cbHeader;
            builder.gap.assign(cbHeader - 40, 0);
            builder.file.bfOffBits += cbHeader - 40;
            builder.file.bfSize += cbHeader - 40;
            ASSERT_EQ(Load("a.bmp", builder.File(), true), S_OK);
            EXPECT_EQ(log.Texts(2), Texts{BmpFailed(sPath, "0x80004005")});
            Bytes expected;
            for (const size_t nRow : {0, 1})
            {
                for (size_t x = 0; x < 3; ++x)
                {
                    const BYTE* pb = builder.pixels.data() + (nHeight > 0 ? nRow : 1 - nRow) * 12 + x * 3;
                    Append(expected, {pb[0], pb[1], pb[2], 255});
                }
            }
            ExpectPicture(FOURCC_ARGB32, 3, 2, expected);
        }
    }
}

/// GDI+ decides about a file whose size is said to be smaller than it is, and takes it. It sees no alpha
/// there.
TEST_F(Loader, BmpWithAFalseFileSize)
{
    BmpBuilder shortSize(32, 4, 4);
    --shortSize.file.bfSize;
    ASSERT_EQ(Load("a.bmp", shortSize.File(), true), S_OK);
    EXPECT_EQ(log.Texts(2), Texts{BmpFailed(sPath, "0x80004005")});
    Bytes expected = shortSize.pixels;
    for (size_t i = 3; i < expected.size(); i += 4)
        expected[i] = 255;
    ExpectPicture(FOURCC_ARGB32, 4, 4, expected);
}

TEST_F(Loader, BmpByAnotherName)
{
    const BmpBuilder builder(24, 4, -2); // the loader's own reader would keep the top-down rows and 24 bits
    for (const char* pszName : {"a.tg", "a.tgax", "a", "a.bmpx"})
    {
        ASSERT_EQ(Load(pszName, builder.File(), true), S_OK);
        EXPECT_EQ(log.Texts(2), Texts{});
        Bytes expected;
        for (const size_t nRow : {1, 0})
        {
            for (size_t x = 0; x < 4; ++x)
            {
                const BYTE* pb = builder.pixels.data() + nRow * 12 + x * 3;
                Append(expected, {pb[0], pb[1], pb[2], 255});
            }
        }
        ExpectPicture(FOURCC_ARGB32, 4, 2, expected);
    }
}

TEST_F(Loader, JpegNeverTouchesTheOwnReaders)
{
    ASSERT_EQ(Load("a.jpg", g_jpegBaseline, false), S_OK);
    EXPECT_EQ(props.fccType, FOURCC_ARGB32);
    EXPECT_EQ(props.nWidth, 16);
    EXPECT_EQ(props.nHeight, 8);
    EXPECT_EQ(blob.GetSize(), 16u * 8 * 4);
    EXPECT_TRUE(log.Texts(2).empty());
}

TEST_F(Loader, FolderNamedLikeAPicture)
{
    sPath = folder.Path("folder.tga");
    std::filesystem::create_directory(sPath);
    EXPECT_EQ(Load(false), E_FAIL);
    EXPECT_EQ(log.Texts(2), (Texts{"###Err### CTga::LoadFile( '" + sPath + "' ): CreateFile()=0x80070005\n",
                                   "###Err### TgaBmpConv(): tga.LoadFile( '" + sPath + "' )=0x80070005\n",
                                   TgaFailed(sPath, "0x80070005")}));
}

/// TGA files may be open elsewhere for reading, BMP files may not.
TEST_F(Loader, Sharing)
{
    const auto open = [&] {
        return CreateFileW(WideText(sPath), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                           nullptr);
    };
    sPath = folder.Write("a.tga", TgaBuilder::TrueColour(32).File());
    {
        const COwnedHandle file(open());
        ASSERT_TRUE(file);
        EXPECT_EQ(Load(true), S_OK);
    }
    sPath = folder.Write("a.bmp", BmpBuilder(32, 2, 2).File());
    {
        const COwnedHandle file(open());
        ASSERT_TRUE(file);
        EXPECT_EQ(Load(true), S_OK) << "by GDI+, which shares";
        EXPECT_EQ(log.Texts(2), Texts{BmpFailed(sPath, "0x80070020")});
    }
    EXPECT_EQ(Load(true), S_OK) << "and nobody keeps a file open";
    EXPECT_TRUE(DeleteFileW(WideText(sPath)));
}

TEST_F(Loader, HolderTakesOver)
{
    ASSERT_EQ(blob.Alloc(1000, true, 0x77), S_OK);
    const TgaBuilder builder = TgaBuilder::TrueColour(32, 2, 1);
    ASSERT_EQ(Load("a.tga", builder.File(), true), S_OK);
    ExpectPicture(FOURCC_ARGB32, 2, 1, builder.image);
}

TEST_F(Loader, FramesAreAppended)
{
    CSimpleArray2<PictureFrame> arrImages;
    const BmpBuilder bmp(24, 5, -2);
    const TgaBuilder tga = TgaBuilder::TrueColour(32, 3, 2);
    const std::string sTga = folder.Write("a.tga", tga.File());
    const std::string sBmp = folder.Write("a.bmp", bmp.File());
    for (const bool bFirstOnly : {false, true})
    {
        EXPECT_EQ(CPicturePersist::LoadFrames(WideText(sTga), nullptr, true, arrImages, bFirstOnly), S_OK);
        EXPECT_EQ(CPicturePersist::LoadFrames(WideText(sBmp), nullptr, true, arrImages, bFirstOnly), S_OK);
    }
    ASSERT_EQ(arrImages.GetSize(), 4);
    for (int i = 0; i < 4; ++i)
    {
        const PictureFrame& frame = arrImages[i];
        EXPECT_EQ(frame.rtDuration, 0);
        EXPECT_EQ(frame.rtStart, 0);
        EXPECT_EQ(frame.props.fccType, i % 2 == 0 ? FOURCC_ARGB32 : FOURCC_RGB24);
        EXPECT_EQ(frame.props.nHeight, i % 2 == 0 ? 2 : -2);
        EXPECT_EQ(frame.blob.GetSize(), i % 2 == 0 ? 24u : 40u);
        EXPECT_EQ(std::memcmp(frame.blob.GetPtr(), i % 2 == 0 ? tga.image.data() : bmp.pixels.data(), 24), 0);
    }
    EXPECT_EQ(
        CPicturePersist::LoadFrames(WideText(folder.Write("a.x", {1})), nullptr, true, arrImages, false),
        S_OK)
        << "what the array holds counts, whoever put it there";
    EXPECT_EQ(arrImages.GetSize(), 4);
    CSimpleArray2<PictureFrame> arrNone;
    EXPECT_EQ(CPicturePersist::LoadFrames(WideText(folder.Path("a.x")), nullptr, true, arrNone, false),
              E_FAIL);
    EXPECT_EQ(arrNone.GetSize(), 0);
}

TEST_F(Loader, LoadFromFile)
{
    const BmpBuilder builder(24, 3, 2);
    const WideText name(folder.Write("a.bmp", builder.File()));
    BITMAPINFOHEADER bmi;
    CTaskBytes pPicture;
    ASSERT_EQ(CPicturePersist::LoadFromFile(name, &bmi, pPicture.Out()), S_OK);
    EXPECT_EQ(bmi.biWidth, 3);
    EXPECT_EQ(Bytes(pPicture.Get(), pPicture.Get() + 24), builder.pixels);
    EXPECT_TRUE(CPicturePersist::TestAndCorrectBmpHeader(&bmi));
}

TEST_F(Loader, GdiPlusStartsForEachCaller)
{
    ULONG_PTR rgTokens[2] = {};
    for (ULONG_PTR& nToken : rgTokens)
    {
        GdiPlusStart(&nToken);
        EXPECT_NE(nToken, 0u);
    }
    for (ULONG_PTR nToken : rgTokens)
        GdiPlusStop(nToken);
}
} // namespace
