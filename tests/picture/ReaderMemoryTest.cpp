// What the readers take of memory, of reads and of the file itself, seen through the file calls and the
// memory.
#include "BmpBuilder.h"
#include "OpenTga.h"
#include "TgaBuilder.h"
#include "Video/TgaBmp/BmpFile.h"
#include "Video/TgaBmp/TgaBmp.h"
#include "support/LogCapture.h"
#include "support/MemoryFiles.h"
#include "support/TestMemory.h"

#include <gtest/gtest.h>

#include <climits>

namespace
{
using Texts = std::vector<std::string>;

/// Buffers of the readers themselves, whatever the picture.
constexpr size_t cbWorkingMemory = 600 * 1024;
constexpr size_t cbSmall = 64 * 1024;

const std::string sLoadFailed = "###Err### CTga::LoadFile( 'a.tga' ): ReadFile()=0x80004005\n";
const std::string sConvFailed = "###Err### TgaBmpConv(): tga.LoadFile( 'a.tga' )=0x80004005\n";
const std::string sPacketsFailed = "###Err### CTga::ReadFile(): ReadRLEImage()=0x80004005\n";
const std::string sPlainFailed =
    "###Err### CTga::ReadFile(): read Uncompressed Image Data failed, hr=0x80004005\n";

struct ReaderMemory : testing::Test
{
    ReaderMemory() { Reset(); }
    ~ReaderMemory() { Reset(); }

    void Reset()
    {
        memory::Reset();
        g_memory = TestMemory();
        log.Clear();
    }

    void Put(const Bytes& file)
    {
        Reset();
        memory::g_file.bytes = file;
    }

    HRESULT LoadTga(DWORD fccType = FOURCC_ARGB32)
    {
        const HRESULT hr = TgaBmpConv(L"a.tga", fccType, &bmi, pPicture.Out(), nullptr, false);
        EXPECT_EQ(memory::g_calls.nOpens, memory::g_calls.nCloses) << "the file stays open";
        EXPECT_EQ(SUCCEEDED(hr), static_cast<bool>(pPicture));
        return hr;
    }

    HRESULT LoadBmp()
    {
        const HRESULT hr = LoadBmpFile(L"a.bmp", &bmi, pPicture.Out());
        EXPECT_EQ(memory::g_calls.nOpens, memory::g_calls.nCloses) << "the file stays open";
        EXPECT_EQ(SUCCEEDED(hr), static_cast<bool>(pPicture));
        return hr;
    }

    LogCapture log;
    BITMAPINFOHEADER bmi;
    CTaskBytes pPicture;
};

// --- Promises that the file does not keep

TEST_F(ReaderMemory, TgaPromisesMoreThanItHolds)
{
    for (BYTE nDepth : {8, 16, 17, 24, 32})
    {
        TgaBuilder builder = TgaBuilder::TrueColour(nDepth, 5, 2);
        builder.nWidth = 30000;
        builder.nHeight = 30000;
        const size_t cbImage = builder.ImageSize();
        const Texts plain = {"###Err### CTga::Read(): cb=" + std::to_string(cbImage) +
                                 ", cbRead=" + std::to_string(builder.image.size()) + "\n",
                             sPlainFailed, sLoadFailed};
        Put(builder.File());
        CTga tga;
        EXPECT_EQ(tga.LoadFile(L"a.tga"), E_FAIL);
        EXPECT_EQ(log.Texts(2), plain);
        EXPECT_LE(g_memory.cbLargest, cbWorkingMemory);

        Put(builder.File());
        EXPECT_EQ(LoadTga(), E_FAIL);
        Texts expected = plain;
        expected.push_back(sConvFailed);
        EXPECT_EQ(log.Texts(2), expected);
        EXPECT_LE(g_memory.cbLargest, cbWorkingMemory);
    }
}

/// One packet of 128 pixels is the most that so many bytes can stand for.
TEST_F(ReaderMemory, TgaPacketsCannotMakeThePicture)
{
    TgaBuilder builder = TgaBuilder::TrueColour(24, 1280, 1000); // 10,000 packets at least
    builder.nImageType = 10;
    builder.image.clear();
    for (int i = 0; i < 9999; ++i)
        Append(builder.image, {0xFF, 1, 2, 3});
    const auto expectFailure = [&](const Texts& errors)
    {
        Put(builder.File());
        EXPECT_EQ(LoadTga(), E_FAIL);
        Texts expected = errors;
        expected.insert(expected.end(), {sPacketsFailed, sLoadFailed, sConvFailed});
        EXPECT_EQ(log.Texts(2), expected);
        EXPECT_LE(g_memory.cbLargest, cbWorkingMemory);
    };
    expectFailure({"###Err### CTga::Read(): cb=1, cbRead=0\n",
                   "###Err### CTga::ReadRLEImage(): Read( count )=0x80004005\n"});
    Append(builder.image, {0xFF, 1, 2});
    expectFailure({"###Err### CTga::Read(): cb=3, cbRead=2\n",
                   "###Err### CTga::ReadRLEImage(): Read( compressed )=0x80004005\n"});
    builder.image.push_back(3);
    Put(builder.File());
    EXPECT_EQ(LoadTga(), S_OK);
    EXPECT_EQ(g_memory.cbLargest, bmi.biSizeImage) << "the bitmap and no second picture";
}

TEST_F(ReaderMemory, BmpPromisesMoreThanItHolds)
{
    BmpBuilder builder(32, 5, 2);
    builder.info.biWidth = 30000;
    builder.info.biHeight = -30000;
    builder.file.bfSize = 0xFFFFFFFF;
    Put(builder.File());
    EXPECT_EQ(LoadBmp(), E_FAIL);
    EXPECT_EQ(g_memory.cbLargest, 0u);

    builder = BmpBuilder(24, 50, 20);
    Bytes file = builder.File();
    file.pop_back();
    Put(file);
    EXPECT_EQ(LoadBmp(), E_FAIL);
    EXPECT_EQ(g_memory.cbLargest, 0u);
}

TEST_F(ReaderMemory, BmpHeadersWithoutASize)
{
    const struct
    {
        LONG nWidth, nHeight;
    } rgRows[] = {{5, INT_MIN},       {INT_MIN, 5},    {INT_MIN, INT_MIN},
                  {INT_MAX, INT_MAX}, {0x40000001, 4}, {65536, 16384},
                  {65535, 65535},     {-1, 5},         {0x10000, -0x10000}};
    for (const auto& row : rgRows)
    {
        for (WORD nBits : {16, 24, 32})
        {
            BmpBuilder builder(nBits, 5, 2);
            builder.info.biWidth = row.nWidth;
            builder.info.biHeight = row.nHeight;
            builder.file.bfSize = 0xFFFFFFFF;
            Put(builder.File());
            EXPECT_EQ(LoadBmp(), E_FAIL) << row.nWidth << "x" << row.nHeight;
            EXPECT_EQ(g_memory.cbLargest, 0u);
        }
    }
}

// --- Memory that is not there

TEST_F(ReaderMemory, TgaWithoutMemoryForTheBitmap)
{
    for (BYTE nDepth : {16, 24, 32})
    {
        for (const bool bPacked : {false, true})
        {
            TgaBuilder builder = TgaBuilder::TrueColour(nDepth, 1000, 500);
            if (bPacked)
                builder = builder.Packed({2, 128});
            Put(builder.File());
            g_memory.cbLimit = cbWorkingMemory;
            EXPECT_EQ(LoadTga(), E_OUTOFMEMORY);
            EXPECT_EQ(g_memory.nRefused, 1);
            EXPECT_TRUE(log.Lines().empty());
        }
    }
}

/// What is wrong with the file comes before the memory of the bitmap.
TEST_F(ReaderMemory, TgaWithoutMemoryThatIsBroken)
{
    TgaBuilder builder = TgaBuilder::TrueColour(24, 1000, 500).Packed({2, 128});
    builder.image.pop_back();
    Put(builder.File());
    g_memory.cbLimit = cbWorkingMemory;
    EXPECT_EQ(LoadTga(), E_FAIL);
    EXPECT_EQ(g_memory.nRefused, 1);
    EXPECT_EQ(log.Texts(2).back(), sConvFailed);
}

TEST_F(ReaderMemory, TgaWithoutMemoryForTheStoredPixels)
{
    Put(TgaBuilder::TrueColour(24, 1000, 500).File());
    g_memory.cbLimit = cbWorkingMemory;
    OpenTga tga;
    EXPECT_EQ(tga.LoadFile(L"a.tga"), E_OUTOFMEMORY);
    EXPECT_EQ(g_memory.nRefused, 1);
    EXPECT_EQ(log.Texts(2), Texts{"###Err### CTga::LoadFile( 'a.tga' ): ReadFile()=0x8007000E\n"});
    EXPECT_EQ(tga.Columns(), 0u);
    EXPECT_EQ(memory::g_calls.nOpens, memory::g_calls.nCloses);
}

/// Colour-mapped pictures are read first: the stored pixels have their memory, the bitmap has none.
TEST_F(ReaderMemory, ColourMapWithoutMemoryForTheBitmap)
{
    Put(TgaBuilder::ColMap(24, 4, 8, 1000, 500).File());
    g_memory.cbLimit = cbWorkingMemory;
    EXPECT_EQ(LoadTga(), E_OUTOFMEMORY);
    EXPECT_EQ(g_memory.nRefused, 1);
    EXPECT_TRUE(log.Lines().empty());
}

/// The stored pixels would fit 32 bits, the bitmap does not: the file is gone through and nothing is held.
TEST_F(ReaderMemory, BitmapBeyond32Bits)
{
    TgaBuilder builder = TgaBuilder::ColMap(24, 4);
    builder.nImageType = 9;
    builder.nWidth = 65535;
    builder.nHeight = 16400;
    builder.image.clear();
    for (uint64_t n = uint64_t{65535} * 16400; n > 0; n -= std::min<uint64_t>(n, 128))
    {
        builder.image.push_back(static_cast<BYTE>(0x80 | (std::min<uint64_t>(n, 128) - 1)));
        builder.image.push_back(1);
    }
    Put(builder.File());
    EXPECT_EQ(LoadTga(), E_OUTOFMEMORY);
    EXPECT_LE(g_memory.cbLargest, cbWorkingMemory);
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(ReaderMemory, BmpWithoutMemory)
{
    Put(BmpBuilder(32, 100, 200).File());
    g_memory.cbLimit = 1000;
    EXPECT_EQ(LoadBmp(), E_OUTOFMEMORY);
    EXPECT_EQ(g_memory.nRefused, 1);
}

TEST_F(ReaderMemory, SmallPicturesTakeLittle)
{
    for (const bool bPacked : {false, true})
    {
        const TgaBuilder builder = TgaBuilder::TrueColour(24, 32, 32);
        Put((bPacked ? builder.Packed({3, 9}) : builder).File());
        EXPECT_EQ(LoadTga(), S_OK);
        EXPECT_LE(g_memory.cbLargest, cbSmall);
    }
}

// --- Bytes that nobody wrote

TEST_F(ReaderMemory, NothingOfOldMemory)
{
    for (WORD nWidth : {1, 2, 3, 4, 5, 130})
    {
        for (BYTE nDepth : {16, 24, 32})
        {
            for (BYTE fDesc : {0x00, 0x08, 0x28})
            {
                for (DWORD fccType : {FOURCC_RGB24, FOURCC_RGB32, FOURCC_ARGB32})
                {
                    TgaBuilder builder = TgaBuilder::TrueColour(nDepth, nWidth, 3);
                    builder.fImageDesc = fDesc;
                    Bytes bmp[2], alpha[2];
                    for (int i = 0; i < 2; ++i)
                    {
                        Put(builder.File());
                        g_memory.byFill = i == 0 ? 0x00 : 0xFF;
                        CTaskBytes pAlpha;
                        ASSERT_EQ(TgaBmpConv(L"a.tga", fccType, &bmi, pPicture.Out(), pAlpha.Out(), true),
                                  S_OK);
                        bmp[i].assign(pPicture.Get(), pPicture.Get() + bmi.biSizeImage);
                        alpha[i].assign(pAlpha.Get(), pAlpha.Get() + ((nWidth + 3u) & ~3u) * 3);
                        ASSERT_EQ(LoadTga(fccType), S_OK);
                        ASSERT_EQ(Bytes(pPicture.Get(), pPicture.Get() + bmi.biSizeImage), bmp[i]);
                    }
                    EXPECT_EQ(bmp[0], bmp[1]) << nWidth << " " << int{nDepth} << " " << fccType;
                    EXPECT_EQ(alpha[0], alpha[1]) << nWidth << " " << int{nDepth} << " " << fccType;
                }
            }
        }
        for (WORD nBits : {16, 24, 32})
        {
            Put(BmpBuilder(nBits, nWidth, 3).File());
            g_memory.byFill = 0xFF;
            ASSERT_EQ(LoadBmp(), S_OK);
            const Bytes block(pPicture.Get(),
                              pPicture.Get() + std::max<size_t>(nWidth * 3 * 4, bmi.biSizeImage));
            EXPECT_EQ(Bytes(block.begin() + bmi.biSizeImage, block.end()),
                      Bytes(block.size() - bmi.biSizeImage, 0));
        }
    }
}

// --- Calls

TEST_F(ReaderMemory, FewReads)
{
    constexpr int nPiece = 192 * 1024; // less than what the reader takes in one call
    constexpr int nOverhead = 3;       // the header, the rest of a piece, the footer
    const struct
    {
        BYTE nDepth;
        bool bPacked, bTop;
    } rgRows[] = {{24, false, false}, {24, false, true}, {32, false, true},
                  {24, true, false},  {32, true, false}, {32, true, true}};
    for (const auto& row : rgRows)
    {
        TgaBuilder builder = TgaBuilder::TrueColour(row.nDepth, 1920, 1080);
        builder.fImageDesc = row.bTop ? 0x20 : 0;
        if (row.bPacked)
            builder = builder.Packed({1, 2, 5});
        builder.tail = TgaBuilder::Footer(0, 0);
        Put(builder.File());
        ASSERT_EQ(LoadTga(), S_OK);
        const int nFile = static_cast<int>(memory::g_file.bytes.size());
        EXPECT_LE(memory::g_calls.nReads, nFile / nPiece + nOverhead);
        EXPECT_LE(memory::g_calls.nSeeks, 1);
        EXPECT_LE(memory::g_calls.cbRead, memory::g_file.bytes.size() + 26)
            << "nothing is read twice but the footer";
    }
    // As it is stored, in pieces of 16 MiB.
    Put(TgaBuilder::TrueColour(32, 1920, 1080).File());
    ASSERT_EQ(LoadTga(), S_OK);
    EXPECT_EQ(memory::g_calls.nReads, 2);
    Put(BmpBuilder(32, 1920, 1080).File());
    ASSERT_EQ(LoadBmp(), S_OK);
    EXPECT_EQ(memory::g_calls.nReads, 3);
}

TEST_F(ReaderMemory, SharingAndAccess)
{
    Put(TgaBuilder::TrueColour(32).File());
    ASSERT_EQ(LoadTga(), S_OK);
    EXPECT_EQ(memory::g_calls.dwAccess, GENERIC_READ);
    EXPECT_EQ(memory::g_calls.dwShare, DWORD{FILE_SHARE_READ});
    Put(BmpBuilder(32, 3, 3).File());
    ASSERT_EQ(LoadBmp(), S_OK);
    EXPECT_EQ(memory::g_calls.dwAccess, GENERIC_READ);
    EXPECT_EQ(memory::g_calls.dwShare, 0u);
}

// --- Files that change or lie

TEST_F(ReaderMemory, TgaBreaksOffWhileItIsRead)
{
    const TgaBuilder builder = TgaBuilder::TrueColour(24, 1000, 500);
    const Bytes whole = builder.File();
    for (size_t cb : {size_t{18}, size_t{19}, size_t{4096}, size_t{300000}, whole.size() - 1})
    {
        Put(Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(cb)));
        memory::g_file.cbTold = whole.size();
        EXPECT_EQ(LoadTga(), E_FAIL);
        EXPECT_EQ(log.Texts(2),
                  (Texts{"###Err### CTga::Read(): cb=1500000, cbRead=" + std::to_string(cb - 18) + "\n",
                         sPlainFailed, sLoadFailed, sConvFailed}));
    }
    const Bytes packed = builder.Packed({5, 100}).File();
    for (size_t cb = packed.size() - 40; cb < packed.size(); ++cb)
    {
        Put(Bytes(packed.begin(), packed.begin() + static_cast<ptrdiff_t>(cb)));
        memory::g_file.cbTold = packed.size();
        EXPECT_EQ(LoadTga(), E_FAIL);
    }
}

TEST_F(ReaderMemory, BmpBreaksOffWhileItIsRead)
{
    const Bytes whole = BmpBuilder(32, 100, 200).File();
    for (size_t cb : {size_t{54}, size_t{55}, whole.size() - 1})
    {
        Put(Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(cb)));
        memory::g_file.cbTold = whole.size();
        EXPECT_EQ(LoadBmp(), E_FAIL);
    }
}

/// Files of 4 GiB and more tell their low 32 bits; others may have grown.
TEST_F(ReaderMemory, TgaHoldsMoreThanItsSizeTells)
{
    const TgaBuilder builder = TgaBuilder::TrueColour(24, 1000, 500);
    for (const bool bPacked : {false, true})
    {
        Put((bPacked ? builder.Packed({5, 100}) : builder).File());
        ASSERT_EQ(LoadTga(), S_OK);
        const Bytes expected(pPicture.Get(), pPicture.Get() + bmi.biSizeImage);
        for (uint64_t cbTold : {uint64_t{0}, uint64_t{18}, uint64_t{1000}, uint64_t{0x100000010}})
        {
            memory::g_file.cbTold = cbTold;
            ASSERT_EQ(LoadTga(), S_OK) << cbTold;
            EXPECT_TRUE(Bytes(pPicture.Get(), pPicture.Get() + bmi.biSizeImage) == expected) << cbTold;
        }
        memory::g_file.cbTold = 18;
        memory::g_file.dwSeekError = ERROR_SEEK;
        log.Clear();
        EXPECT_EQ(LoadTga(), HRESULT_FROM_WIN32(ERROR_SEEK));
        EXPECT_EQ(log.Texts(2).front(), "###Err### CTga::SetPosition(): :SetFilePointer()=0x80070019\n");
    }
}

/// Every failure closes the file; LoadTga and LoadBmp look after that.
TEST_F(ReaderMemory, UnreadablePlaces)
{
    const Bytes tga = TgaBuilder::TrueColour(24, 1000, 500).File();
    const Bytes packed = TgaBuilder::TrueColour(24, 1000, 500).Packed({5, 100}).File();
    const Bytes bmp = BmpBuilder(32, 100, 200).File();
    for (uint64_t nBadFrom : {0, 17, 18, 53, 54, 60, 5000, 70000})
    {
        for (const Bytes* pFile : {&tga, &packed})
        {
            Put(*pFile);
            memory::g_file.nBadFrom = nBadFrom;
            EXPECT_EQ(LoadTga(), HRESULT_FROM_WIN32(ERROR_CRC));
            EXPECT_EQ(log.Texts(2).front(), "###Err### CTga::Read(): ReadFile()=0x80070017\n");
        }
        Put(bmp);
        memory::g_file.nBadFrom = nBadFrom;
        EXPECT_EQ(LoadBmp(), HRESULT_FROM_WIN32(ERROR_CRC));
    }
    Put({});
    memory::g_file.bMissing = true;
    EXPECT_EQ(LoadTga(), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(LoadBmp(), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
}
} // namespace
