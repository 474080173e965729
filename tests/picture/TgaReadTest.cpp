// What the TGA reader takes and what it refuses, with every trace line.
#include "OpenTga.h"
#include "TgaBuilder.h"
#include "dstl/WinAPI/File.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>

namespace
{
std::string Text(const char* pszFormat, ...)
{
    char szText[2048];
    va_list args;
    va_start(args, pszFormat);
    vsnprintf(szText, sizeof(szText), pszFormat, args);
    va_end(args);
    return szText;
}

std::string LoadFailed(const std::string& sPath, HRESULT hr)
{
    return "###Err### CTga::LoadFile( '" + sPath + Text("' ): ReadFile()=0x%X\n", static_cast<unsigned>(hr));
}

using Texts = std::vector<std::string>;

bool IsEmpty(const OpenTga& tga)
{
    return tga.Columns() == 0 && tga.Rows() == 0 && tga.Depth() == 0 && tga.Image() == nullptr &&
           tga.Mode() == eTGAMode_None && tga.m_cbImage == 0 && tga.m_cbColMapEntry == 0 &&
           tga.m_pColMap == nullptr && tga.m_header.nImageType == 0 && tga.m_header.nBitDepth == 0 &&
           tga.m_header.fImageDesc == 0;
}

/// Loads a file and compares everything that is said about it.
struct TgaRead : testing::Test
{
    HRESULT Load(const TgaBuilder& builder) { return Load(builder.File()); }
    HRESULT Load(const Bytes& bytes)
    {
        sPath = folder.Write("picture.tga", bytes);
        log.Clear();
        asserts.Clear();
        return tga.LoadFile(WideText(sPath));
    }

    /// The file is refused with these error lines and the line of LoadFile behind them.
    void ExpectRefused(const TgaBuilder& builder, const Texts& errors, HRESULT hr = E_FAIL)
    {
        EXPECT_EQ(Load(builder), hr);
        Texts expected = errors;
        expected.push_back(LoadFailed(sPath, hr));
        EXPECT_EQ(log.Texts(2), expected);
        EXPECT_TRUE(IsEmpty(tga));
    }

    TempFolder folder;
    std::string sPath;
    OpenTga tga;
    LogCapture log;
    AssertCapture asserts;
};

TEST_F(TgaRead, IsEmptyAtFirst)
{
    EXPECT_TRUE(IsEmpty(tga));
}

TEST_F(TgaRead, NullName)
{
    ASSERT_EQ(Load(TgaBuilder::TrueColour(24)), S_OK);
    EXPECT_EQ(tga.LoadFile(nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts{"pszTgaFile != NULL"});
    EXPECT_EQ(tga.Columns(), 3u) << "the check comes before the clearing";
}

TEST_F(TgaRead, MissingFile)
{
    ASSERT_EQ(Load(TgaBuilder::TrueColour(24)), S_OK);
    const std::string sMissing = folder.Path("missing.tga");
    EXPECT_EQ(tga.LoadFile(WideText(sMissing)), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(log.Texts(2),
              Texts{"###Err### CTga::LoadFile( '" + sMissing + "' ): CreateFile()=0x80070002\n"});
    EXPECT_TRUE(IsEmpty(tga)) << "what was held is gone";
}

TEST_F(TgaRead, EveryImageType)
{
    for (int nType = 0; nType < 256; ++nType)
    {
        SCOPED_TRACE(nType);
        const int nKind = nType & 3;
        TgaBuilder builder = nKind == 1 ? TgaBuilder::ColMap(24, 4) : TgaBuilder::TrueColour(24);
        const bool bPlain = nType >= 1 && nType <= 3;
        const bool bPacked = nType >= 9 && nType <= 11;
        if (bPacked)
            builder = builder.Packed({2, 3});
        builder.nImageType = static_cast<BYTE>(nType);
        if (!bPlain && !bPacked)
        {
            ExpectRefused(builder, {Text("###Err### CTga::ReadFile(): Unknown image type: %d\n", nType)});
            continue;
        }
        EXPECT_EQ(Load(builder), S_OK);
        EXPECT_EQ(tga.Mode(), nKind);
        EXPECT_EQ(tga.m_header.nImageType, nKind) << "the type of a packed file is that of a plain one";
        EXPECT_TRUE(log.Texts(2).empty());
        EXPECT_TRUE(log.Texts(4).empty());
    }
}

TEST_F(TgaRead, ColourMapWhereThereMustBeOne)
{
    for (BYTE nType : {1, 9})
    {
        TgaBuilder builder = TgaBuilder::ColMap(24, 4);
        builder.nImageType = nType;
        builder.nColMapType = 0;
        ExpectRefused(builder,
                      {Text("###Err### CTga::ReadFile(): Invalid image type %u: color map not defined\n",
                            unsigned{nType})});
    }
}

TEST_F(TgaRead, ColourMapWhereThereMustBeNone)
{
    for (BYTE nType : {2, 3, 10, 11})
    {
        TgaBuilder builder = TgaBuilder::ColMap(24, 4); // a map without a fault
        builder.nImageType = nType;
        ExpectRefused(builder,
                      {Text("###Err### CTga::ReadFile(): Invalid image type %u: color map was defined\n",
                            unsigned{nType})});
    }
}

TEST_F(TgaRead, ZeroSize)
{
    for (auto [nWidth, nHeight] : {std::pair<WORD, WORD>{0, 5}, {7, 0}, {0, 0}})
    {
        TgaBuilder builder = TgaBuilder::TrueColour(24);
        builder.nWidth = nWidth;
        builder.nHeight = nHeight;
        ExpectRefused(builder,
                      {Text("###Err### CTga::ReadFile(): Invalid parameters of image: width=%u, height=%u\n",
                            unsigned{nWidth}, unsigned{nHeight})});
    }
}

TEST_F(TgaRead, EveryDepth)
{
    for (int nDepth = 0; nDepth < 256; ++nDepth)
    {
        SCOPED_TRACE(nDepth);
        TgaBuilder builder = TgaBuilder::TrueColour(static_cast<BYTE>(nDepth));
        if (nDepth == 0 || nDepth > 32)
        {
            ExpectRefused(builder, {Text("###Err### CTga::ReadFile(): Invalid depth of image: nBitDepth=%d\n",
                                         nDepth)});
            continue;
        }
        EXPECT_EQ(Load(builder), S_OK);
        EXPECT_EQ(tga.Depth(), (nDepth + 7u) / 8);
        EXPECT_EQ(tga.BitsPerColour(), static_cast<DWORD>(nDepth));
        EXPECT_EQ(tga.m_cbImage, builder.image.size());
        EXPECT_EQ(Bytes(tga.Image(), tga.Image() + tga.m_cbImage), builder.image);
    }
}

TEST_F(TgaRead, OrderOfTheChecks)
{
    TgaBuilder builder = TgaBuilder::TrueColour(24);
    builder.nBitDepth = 0;
    builder.nWidth = 0;
    builder.nColMapType = 1;
    builder.nImageType = 12;
    builder.fImageDesc = 0xD0;
    ExpectRefused(builder, {"###Err### CTga::ReadFile(): Unknown image type: 12\n"});
    builder.nImageType = 2;
    ExpectRefused(builder, {"###Err### CTga::ReadFile(): Invalid image type 2: color map was defined\n"});
    builder.nColMapType = 0;
    ExpectRefused(builder, {"###Err### CTga::ReadFile(): Invalid parameters of image: width=0, height=2\n"});
    builder.nWidth = 3;
    ExpectRefused(builder, {"###Err### CTga::ReadFile(): Invalid depth of image: nBitDepth=0\n"});
    EXPECT_TRUE(log.Texts(4).empty()) << "warnings come after the checks";
}

TEST_F(TgaRead, EveryImageDescriptor)
{
    for (int fDesc = 0; fDesc < 256; ++fDesc)
    {
        TgaBuilder builder = TgaBuilder::TrueColour(24);
        builder.fImageDesc = static_cast<BYTE>(fDesc);
        ASSERT_EQ(Load(builder), S_OK);
        Texts warnings;
        if ((fDesc & 0x10) != 0)
            warnings.push_back(Text(
                "WARNING. CTga::ReadFile(): Left/right bit is set, fImageDesc=0x%X: ignore it\n", fDesc));
        if ((fDesc & 0xC0) != 0)
            warnings.push_back(
                Text("WARNING. CTga::ReadFile(): Interleave flags are set, fImageDesc=0x%X\n", fDesc));
        EXPECT_EQ(log.Texts(4), warnings);
        EXPECT_EQ(tga.HasAlpha(), (fDesc & 0x0F) != 0);
        EXPECT_EQ(tga.IsTopOrigin(), (fDesc & 0x20) != 0);
        EXPECT_EQ(Bytes(tga.Image(), tga.Image() + tga.m_cbImage), builder.image) << "in file order";
    }
}

TEST_F(TgaRead, HeaderFields)
{
    TgaBuilder builder = TgaBuilder::ColMap(16, 259, 16, 300, 2);
    builder.nColMapFirst = 0x1234;
    builder.id = Pattern(255);
    builder.fImageDesc = 0x21;
    ASSERT_EQ(Load(builder), S_OK);
    const TGAHeader& header = tga.Header();
    EXPECT_EQ(header.nIdLength, 255);
    EXPECT_EQ(header.nColMapType, 1);
    EXPECT_EQ(header.nImageType, 1);
    EXPECT_EQ(header.nColMapFirst, 0x1234);
    EXPECT_EQ(header.nColMapEntries, 259);
    EXPECT_EQ(header.nColMapDepth, 16);
    EXPECT_EQ(header.nOriginX, 11);
    EXPECT_EQ(header.nOriginY, 12);
    EXPECT_EQ(header.nWidth, 300);
    EXPECT_EQ(header.nHeight, 2);
    EXPECT_EQ(header.nBitDepth, 16);
    EXPECT_EQ(header.fImageDesc, 0x21);
    EXPECT_EQ(tga.BitsPerColour(), 16u);
    EXPECT_EQ(tga.m_cbColMapEntry, 2u);
    EXPECT_EQ(Bytes(tga.m_pColMap.get(), tga.m_pColMap.get() + builder.colMap.size()), builder.colMap);
    EXPECT_EQ(Bytes(tga.Image(), tga.Image() + tga.m_cbImage), builder.image) << "the image ID is skipped";
}

TEST_F(TgaRead, BitsPerColourIsThatOfTheMap)
{
    ASSERT_EQ(Load(TgaBuilder::ColMap(24, 4)), S_OK);
    EXPECT_EQ(tga.BitsPerColour(), 24u);
    EXPECT_EQ(tga.Depth(), 1u);
}

TEST_F(TgaRead, ColourMapWithoutEntriesOrDepth)
{
    for (auto [nDepth, nEntries] : {std::pair<BYTE, WORD>{0, 4}, {24, 0}, {0, 0}})
    {
        TgaBuilder builder = TgaBuilder::ColMap(24, 4);
        builder.nColMapDepth = nDepth;
        builder.nColMapEntries = nEntries;
        ExpectRefused(
            builder,
            {Text("###Err### CTga::ReadFile(): Invalid parameters of Color Map Data: depth=%u, nEntries=%u\n",
                  unsigned{nDepth}, unsigned{nEntries})});
    }
}

TEST_F(TgaRead, EveryDepthOfTheColourMap)
{
    for (int nDepth = 1; nDepth < 256; ++nDepth)
    {
        SCOPED_TRACE(nDepth);
        TgaBuilder builder = TgaBuilder::ColMap(static_cast<BYTE>(nDepth), 5);
        if (nDepth <= 32)
        {
            EXPECT_EQ(Load(builder), S_OK);
            EXPECT_EQ(tga.m_cbColMapEntry, (nDepth + 7u) / 8);
            continue;
        }
        ExpectRefused(builder, {});
        EXPECT_EQ(asserts.Texts(), Texts{"CTga::ReadFile(): unsupported depth of Color Map Data"});
    }
}

TEST_F(TgaRead, WarningsAboutWhatFollowsTheImage)
{
    const Bytes footer00 = TgaBuilder::Footer(0, 0);
    const Bytes footer10 = TgaBuilder::Footer(1, 0);
    const Bytes footer01 = TgaBuilder::Footer(0, 0x01000000);
    Bytes footerBroken = TgaBuilder::Footer(1, 1);
    footerBroken.back() = 1; // the terminator of the signature counts
    const auto join = [](size_t cb, const Bytes& footer)
    {
        Bytes bytes(cb, 0xEE);
        Append(bytes, footer);
        return bytes;
    };
    const struct
    {
        Bytes tail;
        Texts warnings;
    } rgRows[] = {
        {{}, {}},
        {Bytes(1, 0), {"WARNING. CTga::ReadFile(): Unknown 1 bytes after image data\n"}},
        {Bytes(25, 0), {"WARNING. CTga::ReadFile(): Unknown 25 bytes after image data\n"}},
        {Bytes(26, 0), {}}, // nothing tells 26 spare bytes from a footer without areas
        {Bytes(27, 0),
         {"WARNING. CTga::ReadFile(): Unknown 1 bytes between image data and TGA FILE FOOTER\n"}},
        {Bytes(1000, 0),
         {"WARNING. CTga::ReadFile(): Unknown 974 bytes between image data and TGA FILE FOOTER\n"}},
        {footer00, {}},
        {join(7, footer00),
         {"WARNING. CTga::ReadFile(): Unknown 7 bytes between image data and TGA FILE FOOTER\n"}},
        {join(7, footer10), {}},
        {join(7, footer01), {}},
        {join(7, footerBroken),
         {"WARNING. CTga::ReadFile(): Unknown 7 bytes between image data and TGA FILE FOOTER\n"}},
        {join(200000, footer00),
         {"WARNING. CTga::ReadFile(): Unknown 200000 bytes between image data and TGA FILE FOOTER\n"}},
        {join(200000, footer10), {}},
    };
    for (const auto& row : rgRows)
    {
        for (const bool bPacked : {false, true})
        {
            SCOPED_TRACE(row.tail.size());
            TgaBuilder builder = TgaBuilder::TrueColour(24);
            builder.id = Pattern(9);
            if (bPacked)
                builder = builder.Packed({2, 2});
            builder.tail = row.tail;
            EXPECT_EQ(Load(builder), S_OK);
            EXPECT_EQ(log.Texts(4), row.warnings);
            EXPECT_TRUE(log.Texts(2).empty());
        }
    }
}

TEST_F(TgaRead, PacketsDecode)
{
    for (BYTE nDepth : {8, 15, 16, 24, 32})
    {
        for (const std::vector<int>& lengths : {std::vector<int>{1}, {128}, {1, 128}, {128, 1}, {3, 5, 7}})
        {
            Bytes decoded;
            const TgaBuilder builder = TgaBuilder::TrueColour(nDepth, 61, 17).Packed(lengths, &decoded);
            ASSERT_EQ(Load(builder), S_OK); // packets run across row ends here
            ASSERT_EQ(Bytes(tga.Image(), tga.Image() + tga.m_cbImage), decoded);
        }
    }
}

TEST_F(TgaRead, PacketsAcrossManyPiecesOfTheFile)
{
    Bytes decoded;
    const TgaBuilder builder = TgaBuilder::TrueColour(32, 400, 300).Packed({128, 2, 77, 1}, &decoded);
    ASSERT_GT(builder.image.size(), 256u * 1024);
    ASSERT_EQ(Load(builder), S_OK);
    EXPECT_EQ(Bytes(tga.Image(), tga.Image() + tga.m_cbImage), decoded);
}

TEST_F(TgaRead, LargePlainImage)
{
    const TgaBuilder builder = TgaBuilder::TrueColour(32, 4000, 1500); // 24 MB: more than one call reads
    ASSERT_EQ(Load(builder), S_OK);
    EXPECT_TRUE(Bytes(tga.Image(), tga.Image() + tga.m_cbImage) == builder.image);
}

TEST_F(TgaRead, PacketLongerThanTheImage)
{
    for (BYTE fRun : {0x00, 0x80})
    {
        TgaBuilder builder = TgaBuilder::TrueColour(24, 3, 2);
        builder.nImageType = 10;
        builder.image = {0x81, 1, 2, 3}; // two of the six pixels
        builder.image.push_back(static_cast<BYTE>(fRun | 4));
        Append(builder.image, Pattern(15));
        ExpectRefused(builder, {"###Err### CTga::ReadRLEImage(): Invalid image: nCount=5 > nRest=4\n",
                                "###Err### CTga::ReadFile(): ReadRLEImage()=0x80004005\n"});
        builder.image[4] = static_cast<BYTE>(fRun | 3);
        EXPECT_EQ(Load(builder), S_OK);
        builder.image[0] = 0xFF;
        ExpectRefused(builder, {"###Err### CTga::ReadRLEImage(): Invalid image: nCount=128 > nRest=6\n",
                                "###Err### CTga::ReadFile(): ReadRLEImage()=0x80004005\n"});
    }
}

TEST_F(TgaRead, LoadReplacesWhatWasHeld)
{
    ASSERT_EQ(Load(TgaBuilder::ColMap(32, 9)), S_OK);
    const TgaBuilder builder = TgaBuilder::TrueColour(16, 5, 1);
    ASSERT_EQ(Load(builder), S_OK);
    EXPECT_EQ(tga.m_pColMap, nullptr);
    EXPECT_EQ(tga.m_cbColMapEntry, 0u);
    EXPECT_EQ(tga.Mode(), eTGAMode_TrueColor);
    EXPECT_EQ(Bytes(tga.Image(), tga.Image() + tga.m_cbImage), builder.image);
    tga.Clear();
    EXPECT_TRUE(IsEmpty(tga));
}

/// Sizes of gigabytes in the header of a file of a few bytes: what is missing is told, counted in 32 bits.
TEST_F(TgaRead, HugeSizes)
{
    const struct
    {
        BYTE nDepth;
        const char* pszPlain;
        Texts packed;
    } rgRows[] = {
        {8,
         "cb=4294836225, cbRead=5",
         {"cb=3, cbRead=2", "###Err### CTga::ReadRLEImage(): Read( uncompressed )=0x80004005\n"}},
        {16,
         "cb=4294705154, cbRead=5",
         {"cb=8, cbRead=1", "###Err### CTga::ReadRLEImage(): Read( uncompressed )=0x80004005\n"}},
        {24,
         "cb=4294574083, cbRead=5",
         {"cb=15, cbRead=0", "###Err### CTga::ReadRLEImage(): Read( uncompressed )=0x80004005\n"}},
        {32,
         "cb=4294443012, cbRead=5",
         {"cb=1, cbRead=0", "###Err### CTga::ReadRLEImage(): Read( count )=0x80004005\n"}},
    };
    for (const auto& row : rgRows)
    {
        SCOPED_TRACE(unsigned{row.nDepth});
        TgaBuilder builder = TgaBuilder::TrueColour(row.nDepth, 1, 1);
        builder.nWidth = 65535;
        builder.nHeight = 65535;
        builder.image = {0x80, 1, 2, 3, 4};
        ExpectRefused(builder,
                      {Text("###Err### CTga::Read(): %s\n", row.pszPlain),
                       "###Err### CTga::ReadFile(): read Uncompressed Image Data failed, hr=0x80004005\n"});
        builder.nImageType = 10;
        ExpectRefused(builder, {Text("###Err### CTga::Read(): %s\n", row.packed[0].c_str()), row.packed[1],
                                "###Err### CTga::ReadFile(): ReadRLEImage()=0x80004005\n"});
    }
    EXPECT_TRUE(asserts.Texts().empty());
}

/// A size that comes out as nothing in 32 bits, and one that comes out as what the file holds.
TEST_F(TgaRead, SizesBeyondThirtyTwoBits)
{
    TgaBuilder builder = TgaBuilder::TrueColour(32, 1, 1);
    builder.nWidth = 32768;
    builder.nHeight = 32768;
    ExpectRefused(builder,
                  {"###Err### CTga::ReadFile(): read Uncompressed Image Data failed, hr=0x80070057\n"},
                  E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts{"cb > 0"});

    builder.nWidth = 32769;
    builder.image = Pattern(131071);
    ExpectRefused(builder,
                  {"###Err### CTga::Read(): cb=131072, cbRead=131071\n",
                   "###Err### CTga::ReadFile(): read Uncompressed Image Data failed, hr=0x80004005\n"});
    builder.image.push_back(0);
    ExpectRefused(builder, {}, E_OUTOFMEMORY);
    EXPECT_TRUE(asserts.Texts().empty());
}

TEST_F(TgaRead, ArgumentsOfRead)
{
    BYTE by = 0;
    EXPECT_EQ(tga.Read(INVALID_HANDLE_VALUE, 1, &by), E_FAIL);
    EXPECT_EQ(tga.Read(nullptr, 0, &by), E_INVALIDARG);
    EXPECT_EQ(tga.Read(nullptr, 1, nullptr), E_POINTER);
    EXPECT_EQ(asserts.Texts(), (Texts{"hFile != INVALID_HANDLE_VALUE", "cb > 0", "pbBuf != NULL"}));
    EXPECT_TRUE(log.Texts(2).empty());
    EXPECT_EQ(tga.Read(nullptr, 1, &by), HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE));
    EXPECT_EQ(log.Texts(2), Texts{"###Err### CTga::Read(): ReadFile()=0x80070006\n"});
}

TEST_F(TgaRead, ArgumentsOfReadFile)
{
    EXPECT_EQ(tga.ReadFile(INVALID_HANDLE_VALUE), E_FAIL);
    EXPECT_EQ(asserts.Texts(), Texts{"hFile != INVALID_HANDLE_VALUE"});
    EXPECT_EQ(tga.ReadFile(nullptr), HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE));
    EXPECT_EQ(log.Texts(2), Texts{"###Err### CTga::ReadFile(): GetFileSize()=0x80070006\n"});
}

TEST_F(TgaRead, ArgumentsOfSetPosition)
{
    EXPECT_EQ(tga.SetPosition(INVALID_HANDLE_VALUE, 1, FILE_CURRENT), E_FAIL);
    EXPECT_EQ(asserts.Texts(), Texts{"hFile != INVALID_HANDLE_VALUE"});
    EXPECT_EQ(tga.SetPosition(nullptr, 0, FILE_CURRENT), S_FALSE);
    EXPECT_TRUE(log.Texts(2).empty());
    EXPECT_EQ(tga.SetPosition(nullptr, 1, FILE_CURRENT), HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE));
    EXPECT_EQ(log.Texts(2), Texts{"###Err### CTga::SetPosition(): :SetFilePointer()=0x80070006\n"});
}

TEST_F(TgaRead, ArgumentsOfReadRLEImage)
{
    DWORD cb = 5;
    EXPECT_EQ(tga.ReadRLEImage(INVALID_HANDLE_VALUE, &cb), E_FAIL);
    EXPECT_EQ(cb, 0u);
    EXPECT_EQ(tga.ReadRLEImage(nullptr, nullptr), E_FAIL);
    tga.m_header.nImageType = 9;
    EXPECT_EQ(tga.ReadRLEImage(nullptr, nullptr), E_FAIL);
    tga.m_cbDepth = 5;
    EXPECT_EQ(tga.ReadRLEImage(nullptr, nullptr), E_FAIL);
    tga.m_header.nImageType = 12;
    EXPECT_EQ(tga.ReadRLEImage(nullptr, nullptr), E_FAIL);
    tga.m_header.nImageType = 11;
    tga.m_cbDepth = 4;
    EXPECT_EQ(tga.ReadRLEImage(nullptr, nullptr), E_FAIL);
    EXPECT_EQ(asserts.Texts(),
              (Texts{"hFile != INVALID_HANDLE_VALUE", "9 <= m_header.nImageType && m_header.nImageType <= 11",
                     "0 < m_cbDepth && m_cbDepth <= 4", "0 < m_cbDepth && m_cbDepth <= 4",
                     "9 <= m_header.nImageType && m_header.nImageType <= 11", "m_pImage != NULL"}));
}

TEST_F(TgaRead, PositionAndReadsAgree)
{
    const Bytes bytes = Pattern(150000);
    sPath = folder.Write("bytes", bytes);
    const COwnedHandle file(
        CreateFileW(WideText(sPath), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(file);
    size_t nAt = 0;
    const auto read = [&](DWORD cb)
    {
        Bytes got(cb);
        ASSERT_EQ(tga.Read(file.Get(), cb, got.data()), S_OK);
        ASSERT_EQ(got, Bytes(bytes.begin() + static_cast<ptrdiff_t>(nAt),
                             bytes.begin() + static_cast<ptrdiff_t>(nAt + cb)));
        nAt += cb;
    };
    const auto move = [&](LONG nDistance, DWORD dwMethod, size_t nWanted)
    {
        ASSERT_EQ(tga.SetPosition(file.Get(), nDistance, dwMethod), S_OK);
        nAt = nWanted;
    };
    read(18);
    move(255, FILE_CURRENT, 18 + 255);
    read(4);
    move(70000, FILE_CURRENT, nAt + 70000);
    read(100);
    move(-90, FILE_CURRENT, nAt - 90);
    read(70000);
    read(1);
    move(-26, FILE_END, bytes.size() - 26);
    read(26);
    move(1, FILE_BEGIN, 1);
    read(65537);
    Bytes got(150000);
    EXPECT_EQ(tga.Read(file.Get(), 150000, got.data()), E_FAIL);
    EXPECT_EQ(log.Texts(2), Texts{"###Err### CTga::Read(): cb=150000, cbRead=84462\n"});
}
} // namespace
