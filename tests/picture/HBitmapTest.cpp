// Bitmap handles: what the loader reads from each depth, and what it says about a refusal.
#include "GdiPlusScope.h"
#include "TempFiles.h"
#include "Video/TgaBmp/BmpFile.h"
#include "asm/SIMD64Mix.h"
#include "dstl/Old/GDIPlusHelpers.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace
{
using Texts = std::vector<std::string>;

/// A bitmap whose pixels are known: a DIB section.
class Dib
{
public:
    Dib(WORD nBits, LONG nWidth, LONG nHeight)
    {
        struct
        {
            BITMAPINFOHEADER bmi;
            RGBQUAD rgColours[256];
        } info{};
        info.bmi.biSize = sizeof(info.bmi);
        info.bmi.biWidth = nWidth;
        info.bmi.biHeight = nHeight;
        info.bmi.biPlanes = 1;
        info.bmi.biBitCount = nBits;
        for (int i = 0; i < 256; ++i)
            info.rgColours[i] = {static_cast<BYTE>(i * 3), static_cast<BYTE>(i * 5), static_cast<BYTE>(i * 7),
                                 0};
        void* pvBits = nullptr;
        m_hBitmap = CreateDIBSection(nullptr, reinterpret_cast<BITMAPINFO*>(&info), DIB_RGB_COLORS, &pvBits,
                                     nullptr, 0);
        cbRow = (static_cast<size_t>(nWidth) * nBits + 31) / 32 * 4;
        nRows = AbsHeight(nHeight);
        // Nothing stands in the bits behind the last pixel of a row, so that whole rows can be compared.
        pixels = Pattern(cbRow * nRows, nBits);
        const size_t nUsed = static_cast<size_t>(nWidth) * nBits;
        for (size_t i = 0; i < pixels.size(); ++i)
        {
            const size_t nBit = i % cbRow * 8;
            if (nBit >= nUsed)
                pixels[i] = 0;
            else if (nBit + 8 > nUsed)
                pixels[i] &= static_cast<BYTE>(0xFF00u >> (nUsed - nBit));
        }
        if (pvBits != nullptr)
            std::memcpy(pvBits, pixels.data(), pixels.size());
        if (nHeight < 0) // read back bottom-up
        {
            for (size_t y = 0; y < nRows / 2; ++y)
                std::swap_ranges(pixels.begin() + static_cast<ptrdiff_t>(y * cbRow),
                                 pixels.begin() + static_cast<ptrdiff_t>((y + 1) * cbRow),
                                 pixels.begin() + static_cast<ptrdiff_t>((nRows - 1 - y) * cbRow));
        }
    }
    ~Dib() { DeleteObject(m_hBitmap); }
    Dib(const Dib&) = delete;
    Dib& operator=(const Dib&) = delete;

    operator HBITMAP() const { return m_hBitmap; }

    size_t cbRow;
    size_t nRows;
    Bytes pixels;

private:
    HBITMAP m_hBitmap;
};

struct HBitmap : testing::Test
{
    HBitmap() : sPath(folder.Write("any.file", {1})) {}

    HRESULT Load(HBITMAP hBitmap, bool bAlpha)
    {
        log.Clear();
        return CPicturePersist::LoadPicture(WideText(sPath), hBitmap, bAlpha, blob, props);
    }

    const GdiPlusScope gdiPlus;
    TempFolder folder;
    std::string sPath;
    CBLOBHolder<CTaskMemory> blob;
    PicProps props{};
    LogCapture log;
};

TEST_F(HBitmap, Arguments)
{
    BITMAPINFOHEADER bmi;
    BYTE by = 0;
    BYTE* pb = &by;
    EXPECT_EQ(CPicturePersist::LoadFromHBITMAP(nullptr, &bmi, &pb), E_INVALIDARG);
    EXPECT_EQ(CPicturePersist::LoadFromHBITMAP(nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(CPicturePersist::LoadFromHBITMAP(Dib(32, 2, 2), nullptr, nullptr), E_POINTER);
}

TEST_F(HBitmap, BadHandle)
{
    BITMAPINFOHEADER bmi{};
    BYTE by = 0;
    BYTE* pb = &by;
    SetLastError(ERROR_FILE_NOT_FOUND); // an error of the past
    const HRESULT hr =
        CPicturePersist::LoadFromHBITMAP(reinterpret_cast<HBITMAP>(ULONG_PTR{0x1234}), &bmi, &pb);
    EXPECT_TRUE(hr == E_FAIL || hr == HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE));
    EXPECT_EQ(bmi.biSize, 0u);
    EXPECT_EQ(pb, nullptr);
    EXPECT_EQ(Load(reinterpret_cast<HBITMAP>(ULONG_PTR{0x1234}), true), E_FAIL);
    char szHr[16];
    snprintf(szHr, sizeof(szHr), "0x%08X", static_cast<unsigned>(hr));
    EXPECT_EQ(log.Texts(2), Texts{"WARNING !!! CCoCharGen::CCGItem::InitImage - "
                                  "CPicturePersist::LoadFromHBITMAP('HANDLE') FAILED hr = " +
                                  std::string(szHr) + "\n"});
}

TEST_F(HBitmap, EveryDepth)
{
    for (WORD nBits : {1, 4, 8, 16, 24, 32})
    {
        for (LONG nHeight : {5, -5})
        {
            for (LONG nWidth : {1, 3, 8, 33})
            {
                SCOPED_TRACE(testing::Message() << nBits << " " << nWidth << " " << nHeight);
                const Dib dib(nBits, nWidth, nHeight);
                BITMAPINFOHEADER bmi{};
                CTaskBytes pPicture;
                ASSERT_EQ(CPicturePersist::LoadFromHBITMAP(dib, &bmi, pPicture.Out()), S_OK);
                EXPECT_EQ(bmi.biSize, 40u);
                EXPECT_EQ(bmi.biWidth, nWidth);
                EXPECT_EQ(AbsHeight(bmi.biHeight), 5u);
                EXPECT_EQ(bmi.biPlanes, 1);
                EXPECT_EQ(bmi.biBitCount, nBits);
                EXPECT_EQ(bmi.biSizeImage, dib.pixels.size());
                if (nBits == 24 || nBits == 32)
                {
                    EXPECT_EQ(bmi.biCompression, static_cast<DWORD>(BI_RGB));
                }
                ASSERT_TRUE(pPicture);
                if (bmi.biHeight > 0)
                {
                    EXPECT_EQ(Bytes(pPicture.Get(), pPicture.Get() + dib.pixels.size()), dib.pixels);
                }
                // Behind the pixels there are zeros up to four bytes a pixel.
                const size_t cbAll = static_cast<size_t>(nWidth) * 5 * 4;
                for (size_t i = dib.pixels.size(); i < cbAll; ++i)
                    ASSERT_EQ(pPicture.Get()[i], 0);
            }
        }
    }
}

TEST_F(HBitmap, OneOutputIsEnough)
{
    const Dib dib(32, 4, 3);
    BITMAPINFOHEADER bmi{};
    ASSERT_EQ(CPicturePersist::LoadFromHBITMAP(dib, &bmi, nullptr), S_OK);
    EXPECT_EQ(bmi.biSizeImage, 48u);
    CTaskBytes pPicture;
    ASSERT_EQ(CPicturePersist::LoadFromHBITMAP(dib, nullptr, pPicture.Out()), S_OK);
    EXPECT_EQ(Bytes(pPicture.Get(), pPicture.Get() + 48), dib.pixels);
}

TEST_F(HBitmap, TrueColourPictures)
{
    for (WORD nBits : {24, 32})
    {
        for (LONG nWidth : {1, 5, 8})
        {
            for (const bool bAlpha : {false, true})
            {
                const Dib dib(nBits, nWidth, 3);
                ASSERT_EQ(Load(dib, bAlpha), S_OK);
                EXPECT_EQ(props.fccType, nBits == 24 ? FOURCC_RGB24 : FOURCC_ARGB32);
                EXPECT_EQ(props.nWidth, nWidth);
                EXPECT_EQ(props.nHeight, 3);
                EXPECT_EQ(props.nRowWidth, nWidth);
                EXPECT_EQ(blob.GetSize(), static_cast<DWORD>(nWidth) * 12);
                Bytes expected = dib.pixels;
                expected.resize(blob.GetSize(), 0);
                if (bAlpha && nBits == 32)
                    Unpremultiply(expected.data(), expected.data(), expected.size() / 4);
                EXPECT_EQ(Bytes(blob.GetPtr(), blob.GetPtr() + blob.GetSize()), expected);
                EXPECT_TRUE(log.Lines().empty());
            }
        }
    }
}

/// The reader of handles hands on 24 and 32 bits only; GDI+ takes the others.
TEST_F(HBitmap, OtherDepthsGoToGdiPlus)
{
    for (WORD nBits : {1, 4, 8, 16})
    {
        SCOPED_TRACE(nBits);
        const Dib dib(nBits, 9, 3);
        ASSERT_EQ(Load(dib, true), S_OK);
        EXPECT_EQ(log.Texts(2),
                  Texts{"CCoCharGen::CCGItem::InitImage - "
                        "CPicturePersist::LoadFromHBITMAP('HANDLE') Bits:" +
                        std::to_string(nBits) + " Size:" + std::to_string(dib.pixels.size()) + "\n"});
        EXPECT_EQ(props.fccType, FOURCC_ARGB32);
        EXPECT_EQ(props.nWidth, 9);
        EXPECT_EQ(props.nHeight, 3);
        ASSERT_EQ(blob.GetSize(), 9u * 3 * 4);
        for (size_t i = 0; i < 27; ++i)
        {
            const BYTE* const pbRow = dib.pixels.data() + i / 9 * dib.cbRow;
            const size_t x = i % 9;
            Bytes expected;
            if (nBits == 16)
            {
                const unsigned n = pbRow[x * 2] | pbRow[x * 2 + 1] << 8;
                for (const unsigned nShift : {0, 5, 10})
                {
                    const unsigned c = (n >> nShift) & 31;
                    expected.push_back(static_cast<BYTE>(c << 3 | c >> 2));
                }
            }
            else
            {
                const unsigned n = pbRow[x * nBits / 8] >> (8 - nBits - x * nBits % 8) & ((1u << nBits) - 1);
                for (const unsigned c : {n * 3, n * 5, n * 7})
                    expected.push_back(static_cast<BYTE>(c));
            }
            expected.push_back(255);
            // The platform may take 16 bits through another format of 16 bits, where green has one bit more.
            const int nTolerance = nBits == 16 ? 4 : 0;
            for (size_t n = 0; n < 4; ++n)
                EXPECT_LE(std::abs(blob.GetPtr()[i * 4 + n] - expected[n]), nTolerance) << i << " " << n;
        }
    }
}

TEST_F(HBitmap, DeviceBitmap)
{
    const HDC hdc = GetDC(nullptr);
    const HBITMAP hBitmap = CreateCompatibleBitmap(hdc, 7, 5);
    ReleaseDC(nullptr, hdc);
    BITMAPINFOHEADER bmi{};
    CTaskBytes pPicture;
    EXPECT_EQ(CPicturePersist::LoadFromHBITMAP(hBitmap, &bmi, pPicture.Out()), S_OK);
    EXPECT_EQ(bmi.biWidth, 7);
    EXPECT_EQ(bmi.biHeight, 5);
    DeleteObject(hBitmap);
}
} // namespace
