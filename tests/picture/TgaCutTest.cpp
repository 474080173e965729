// TGA files cut at every byte, against a model of what the reader reads; and files of random bytes.
#include "Common/Common.h"
#include "OpenTga.h"
#include "TgaBuilder.h"
#include "Video/TgaBmp/TgaBmp.h"
#include "dstl/WinAPI/TaskBytes.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <random>

namespace
{
/// One piece of a file as the reader takes it: what it says when the piece is not there in full.
struct Piece
{
    size_t cb;
    std::vector<std::string> failure; ///< empty: the piece is skipped
};

std::vector<Piece> PiecesOf(const TgaBuilder& builder)
{
    const std::string sHr = "0x80004005\n";
    std::vector<Piece> pieces = {{18, {"###Err### CTga::ReadFile(): read header failed, hr=" + sHr}}};
    pieces.push_back({builder.id.size(), {}});
    if (builder.nColMapType != 0)
        pieces.push_back(
            {builder.colMap.size(), {"###Err### CTga::ReadFile(): read Color Map Data failed, hr=" + sHr}});
    if (builder.nImageType <= 3)
    {
        pieces.push_back({builder.image.size(),
                          {"###Err### CTga::ReadFile(): read Uncompressed Image Data failed, hr=" + sHr}});
        return pieces;
    }
    const std::string sPacked = "###Err### CTga::ReadFile(): ReadRLEImage()=" + sHr;
    for (size_t i = 0; i < builder.image.size();)
    {
        const BYTE byPacket = builder.image[i];
        const bool bRun = (byPacket & 0x80) != 0;
        const size_t cb = (bRun ? 1u : byPacket + 1u) * builder.Depth();
        pieces.push_back({1, {"###Err### CTga::ReadRLEImage(): Read( count )=" + sHr, sPacked}});
        pieces.push_back({cb,
                          {std::string("###Err### CTga::ReadRLEImage(): Read( ") +
                               (bRun ? "compressed" : "uncompressed") + " )=" + sHr,
                           sPacked}});
        i += 1 + cb;
    }
    return pieces;
}

/// The error lines about a file of which only cbFile bytes are there; none when they are enough.
std::vector<std::string> ErrorsOf(const std::vector<Piece>& pieces, size_t cbFile, const std::string& sPath)
{
    size_t nAt = 0;
    for (const Piece& piece : pieces)
    {
        if (!piece.failure.empty() && nAt + piece.cb > cbFile)
        {
            const size_t cbRead = cbFile > nAt ? cbFile - nAt : 0;
            std::vector<std::string> errors = {"###Err### CTga::Read(): cb=" + std::to_string(piece.cb) +
                                               ", cbRead=" + std::to_string(cbRead) + "\n"};
            errors.insert(errors.end(), piece.failure.begin(), piece.failure.end());
            errors.push_back("###Err### CTga::LoadFile( '" + sPath + "' ): ReadFile()=0x80004005\n");
            return errors;
        }
        nAt += piece.cb;
    }
    return {};
}

std::vector<std::string> WarningsOf(size_t cbRest)
{
    if (cbRest == 0 || cbRest == 26)
        return {};
    if (cbRest < 26)
        return {"WARNING. CTga::ReadFile(): Unknown " + std::to_string(cbRest) + " bytes after image data\n"};
    return {"WARNING. CTga::ReadFile(): Unknown " + std::to_string(cbRest - 26) +
            " bytes between image data and TGA FILE FOOTER\n"};
}

std::vector<TgaBuilder> Pictures()
{
    std::vector<TgaBuilder> pictures;
    for (BYTE nDepth : {8, 15, 24, 32})
    {
        TgaBuilder builder = TgaBuilder::TrueColour(nDepth, 5, 3);
        pictures.push_back(builder);
        builder.id = Pattern(7);
        pictures.push_back(builder.Packed({3, 4}));
    }
    for (BYTE nDepth : {15, 24, 32})
    {
        TgaBuilder builder = TgaBuilder::ColMap(nDepth, 3, nDepth == 24 ? 16 : 8, 4, 2);
        pictures.push_back(builder.Packed({2, 1}));
        builder.id = Pattern(20);
        pictures.push_back(builder);
    }
    pictures.push_back(TgaBuilder::Grey());
    pictures.push_back(TgaBuilder::Grey().Packed({1, 2}));
    return pictures;
}

TEST(TgaCut, EveryByte)
{
    const TempFolder folder;
    OpenTga tga;
    LogCapture log;
    AssertCapture asserts; // black-and-white pictures and odd depths
    for (const TgaBuilder& picture : Pictures())
    {
        const std::vector<Piece> pieces = PiecesOf(picture);
        TgaBuilder builder = picture;
        builder.tail = Bytes(3, 0xAB);
        Append(builder.tail,
               TgaBuilder::Footer(0, 0)); // no areas: warned about in full and without a signature
        const Bytes file = builder.File();
        const size_t cbNeeded = picture.File().size();
        for (size_t cb = 0; cb <= file.size(); ++cb)
        {
            SCOPED_TRACE(cb);
            const std::string sPath =
                folder.Write("cut.tga", Bytes(file.begin(), file.begin() + static_cast<ptrdiff_t>(cb)));
            log.Clear();
            const HRESULT hr = tga.LoadFile(WideText(sPath));
            ASSERT_EQ(hr, cb < cbNeeded ? E_FAIL : S_OK);
            ASSERT_EQ(log.Texts(2), ErrorsOf(pieces, cb, sPath));
            ASSERT_EQ(log.Texts(4), cb < cbNeeded ? std::vector<std::string>() : WarningsOf(cb - cbNeeded));
            ASSERT_EQ(tga.Image() == nullptr, cb < cbNeeded);

            // The same is said about a picture that is converted while it is read, and nothing is handed out.
            log.Clear();
            BITMAPINFOHEADER bmi;
            CTaskBytes pBmp;
            const HRESULT hrConv =
                TgaBmpConv(WideText(sPath), FOURCC_ARGB32, &bmi, pBmp.Out(), nullptr, false);
            std::vector<std::string> errors = ErrorsOf(pieces, cb, sPath);
            if (cb < cbNeeded)
                errors.push_back("###Err### TgaBmpConv(): tga.LoadFile( '" + sPath + "' )=0x80004005\n");
            else if (tga.Mode() == eTGAMode_BW)
                errors = {"###Err### CTga::ConvertToBmp(): Convert_BW()=0x80004005\n",
                          "###Err### TgaBmpConv(): tga.ConvertToBmp()=0x80004005\n"};
            ASSERT_EQ(hrConv, errors.empty() ? S_OK : E_FAIL);
            ASSERT_EQ(log.Texts(2), errors);
            ASSERT_EQ(log.Texts(4), cb < cbNeeded ? std::vector<std::string>() : WarningsOf(cb - cbNeeded));
            ASSERT_EQ(static_cast<bool>(pBmp), errors.empty());
            ASSERT_EQ(bmi.biSize, errors.empty() ? 40u : 0u);
        }
    }
}

/// Converts into buffers of just the size that the reader asks for.
void ConvertAll(const OpenTga& tga)
{
    for (DWORD fccType : {FOURCC_RGB24, FOURCC_RGB32, FOURCC_ARGB32})
    {
        const size_t cbPixel = fccType == FOURCC_RGB24 ? 3 : 4;
        Bytes bmp(((tga.Columns() * cbPixel + 3) & ~size_t{3}) * tga.Rows());
        Bytes alpha(((tga.Columns() + 3) & ~3u) * tga.Rows());
        const HRESULT hr = tga.ConvertToBmp(fccType, bmp.data(), alpha.data());
        const bool bIndexTooWide = tga.Mode() == eTGAMode_ColMap && tga.Depth() > 2;
        ASSERT_EQ(hr, tga.Mode() == eTGAMode_BW || bIndexTooWide ? E_FAIL : S_OK);
    }
}

TEST(TgaCut, RandomBytes)
{
    const TempFolder folder;
    std::mt19937 random(4711);
    const auto pick = [&](unsigned n) { return static_cast<BYTE>(random() % n); };
    const std::vector<TgaBuilder> pictures = Pictures();
    OpenTga tga;
    AssertCapture asserts;
    int nLoaded = 0;
    for (int i = 0; i < 1500; ++i)
    {
        TgaBuilder builder = pictures[random() % pictures.size()];
        builder.tail = Pattern(pick(60));
        Bytes file = builder.File();
        for (int n = pick(6); n > 0; --n)
        {
            size_t nAt = random() % 3 == 0 ? random() % 18 : random() % file.size();
            if (nAt == 13 || nAt == 15)
                continue; // sizes of gigabytes have a test of their own
            file[nAt] = random() % 2 == 0 ? pick(256) : static_cast<BYTE>(file[nAt] ^ (1u << pick(8)));
        }
        if (random() % 3 == 0)
            file.resize(random() % (file.size() + 1));
        const HRESULT hr = tga.LoadFile(WideText(folder.Write("random.tga", file)));
        if (hr != S_OK)
        {
            ASSERT_EQ(hr, E_FAIL);
            ASSERT_EQ(tga.Image(), nullptr);
            continue;
        }
        ++nLoaded;
        ASSERT_EQ(tga.m_cbImage, tga.Columns() * tga.Rows() * tga.Depth());
        ConvertAll(tga);
        asserts.Clear();
    }
    EXPECT_GT(nLoaded, 100);
}
} // namespace
