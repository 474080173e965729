// Fills, against a fill pixel by pixel.
#include "ImageTest.h"
#include "PictureBuffer.h"

#include "asm/Cpu.h"

#include <climits>

namespace
{

constexpr DWORD dwTestColor = 0x40C08020; // alpha 0x40, blue 0xC0, green 0x80, red 0x20

struct ColorBytes
{
    DWORD fccType;
    std::vector<BYTE> bytes; // of dwTestColor
};

const ColorBytes arrColors[] = {
    {FOURCC_RGB565, {0x18, 0x24}},
    {FOURCC_RGB555, {0x18, 0x12}},
    {FOURCC_RGB24, {0xC0, 0x80, 0x20}},
    {FOURCC_RGB32, {0xC0, 0x80, 0x20, 0x40}},
    {FOURCC_ARGB32, {0xC0, 0x80, 0x20, 0x40}},
    {FOURCC_I420, {108, 170, 81}},
    {FOURCC_YV12, {108, 170, 81}},
    {FOURCC_YUY2, {108, 170, 108, 81}},
    {FOURCC_YVYU, {108, 81, 108, 170}},
    {FOURCC_UYVY, {170, 108, 81, 108}},
    {FOURCC_HDYC, {170, 108, 81, 108}},
};

const std::vector<BYTE>* BytesOf(DWORD fccType)
{
    for (const ColorBytes& color : arrColors)
    {
        if (color.fccType == fccType)
            return &color.bytes;
    }
    return nullptr;
}

TEST(FillColor, EveryFormat)
{
    for (const ColorBytes& color : arrColors)
    {
        BYTE arrBytes[4] = {0xEE, 0xEE, 0xEE, 0xEE};
        DWORD dwByteValid = 0;
        ASSERT_TRUE(GetFillColor(color.fccType, dwTestColor, arrBytes, &dwByteValid));
        EXPECT_EQ(dwByteValid, color.bytes.size());
        EXPECT_EQ(std::vector<BYTE>(arrBytes, arrBytes + dwByteValid), color.bytes);
        EXPECT_TRUE(GetFillColor(color.fccType, dwTestColor, arrBytes, nullptr));
    }
    BYTE arrBytes[4] = {1, 2, 3, 4};
    DWORD dwByteValid = 9;
    EXPECT_FALSE(GetFillColor(FOURCC_RGB8, 0, arrBytes, &dwByteValid));
    for (const DWORD fccType : arrRefusedFormats)
        EXPECT_FALSE(GetFillColor(fccType, 0, arrBytes, &dwByteValid));
    EXPECT_EQ(dwByteValid, 9u);
    EXPECT_EQ(arrBytes[0], 1);

    AssertCapture asserts;
    EXPECT_FALSE(GetFillColor(FOURCC_RGB32, 0, nullptr, &dwByteValid));
    EXPECT_EQ(asserts.Texts(), Texts{"_pbResColor"});
}

TEST(FillColor, KnownYUV)
{
    const struct
    {
        DWORD dwColor, dwExact, dwFast;
    } arrKnown[] = {
        {0x000000, 0x808010, 0x808010}, // black: 16, 128, 128
        {0xFFFFFF, 0x8080EB, 0x7F80EB}, // white: 235, 128, 128; the fast form is one off
        {0x0000FF, 0xF05A52, 0xEF5A51}, // red
        {0x00FF00, 0x223691, 0x223590}, // green
        {0xFF0000, 0x6EF029, 0x6DEF28}, // blue
    };
    for (const auto& known : arrKnown)
    {
        EXPECT_EQ(RGBToYUV(known.dwColor, true), known.dwExact) << std::hex << known.dwColor;
        EXPECT_EQ(RGBToYUV(known.dwColor, false), known.dwFast) << std::hex << known.dwColor;
        EXPECT_EQ(RGBToYUV(known.dwColor | 0xFF000000, true), known.dwExact);
    }
}

/// The exact form in thousandths, away from the halves, where a double decides.
TEST(FillColor, ExactFormRoundsThousandths)
{
    constexpr int arrFactors[3][4] = {
        {257, 504, 98, 16000}, {-148, -291, 439, 128000}, {439, -368, -71, 128000}};
    constexpr int nStep = 3;
    for (int r = 0; r < 256; r += nStep)
    {
        for (int g = 0; g < 256; g += nStep)
        {
            for (int b = 0; b < 256; b += nStep)
            {
                const DWORD dwYUV = RGBToYUV(static_cast<DWORD>(r | g << 8 | b << 16), true);
                for (int i = 0; i < 3; i++)
                {
                    const auto& f = arrFactors[i];
                    const int n = f[0] * r + f[1] * g + f[2] * b + f[3];
                    if (n % 1000 == 500)
                        continue;
                    ASSERT_EQ(static_cast<int>(dwYUV >> 8 * i & 0xFF), (n + 500) / 1000)
                        << r << " " << g << " " << b;
                }
            }
        }
    }
}

/// The halves: the sums run from left to right in doubles, so that some of them fall short of the half. How
/// many do, and which, was counted apart from the library; a sum in another order gives others.
TEST(FillColor, ExactFormSumsFromLeftToRight)
{
    constexpr struct
    {
        DWORD r, g, b, nByte, nValue;
    } arrKnown[] = {
        {0, 123, 46, 0, 83}, {0, 126, 102, 0, 90}, {2, 9, 25, 0, 24},    {4, 47, 8, 0, 42},
        {2, 53, 21, 1, 122}, {2, 111, 23, 1, 106}, {2, 227, 27, 1, 74},  {3, 83, 23, 1, 114},
        {0, 112, 4, 2, 87},  {0, 175, 100, 2, 57}, {1, 10, 229, 2, 109}, {1, 36, 221, 2, 100},
    };
    for (const auto& known : arrKnown)
        EXPECT_EQ(RGBToYUV(known.r | known.g << 8 | known.b << 16, true) >> 8 * known.nByte & 0xFF,
                  known.nValue)
            << known.r << " " << known.g << " " << known.b;

    constexpr int arrFactors[3][4] = {
        {257, 504, 98, 16000}, {-148, -291, 439, 128000}, {439, -368, -71, 128000}};
    int arrHalves[3] = {};
    int arrShort[3] = {};
    for (int r = 0; r < 256; r++)
    {
        for (int g = 0; g < 256; g++)
        {
            for (int b = 0; b < 256; b++)
            {
                for (int i = 0; i < 3; i++)
                {
                    const auto& f = arrFactors[i];
                    const int n = f[0] * r + f[1] * g + f[2] * b + f[3];
                    if (n % 1000 != 500)
                        continue;
                    const DWORD dwYUV = RGBToYUV(static_cast<DWORD>(r | g << 8 | b << 16), true);
                    arrHalves[i]++;
                    arrShort[i] += static_cast<int>(dwYUV >> 8 * i & 0xFF) == n / 1000;
                }
            }
        }
    }
    EXPECT_EQ(std::vector<int>(arrHalves, arrHalves + 3), (std::vector<int>{16778, 16744, 16774}));
    EXPECT_EQ(std::vector<int>(arrShort, arrShort + 3), (std::vector<int>{358, 31, 114}));
}

/// What a fill has to yield.
struct FillResult
{
    HRESULT hr;
    std::vector<BYTE> bytes;
};

class CReferenceFill
{
public:
    CReferenceFill(const std::vector<BYTE>& before, const PicProps& pic, int nOpacity)
        : m_bytes(before), m_pic(pic), m_nOpacity(std::min(std::max(nOpacity, 0), 255))
    {
    }

    FillResult Run(const RECT* prc)
    {
        RECT rc = {};
        RECT rcSame = {};
        const HRESULT hr = NormalizeRects(&m_pic, &m_pic, &rc, &rcSame, false, prc, prc);
        if (hr != S_OK)
            return {hr, m_bytes};
        if (rc.left >= rc.right || rc.top >= rc.bottom)
            return {S_FALSE, m_bytes};
        const std::vector<BYTE>* pColor = BytesOf(m_pic.fccType);
        if (!pColor)
            return {E_UNEXPECTED, m_bytes};
        if (m_pic.fccType == FOURCC_I420 || m_pic.fccType == FOURCC_YV12)
            Planes(rc, *pColor);
        else if (pColor->size() == 2)
            Words(rc, *pColor);
        else
            Packed(rc, *pColor);
        return {S_OK, m_bytes};
    }

private:
    void Put(size_t nAt, BYTE b)
    {
        BYTE& byte = m_bytes.at(nAt);
        byte = m_nOpacity == 255 ? b : static_cast<BYTE>((byte * (255 - m_nOpacity) + b * m_nOpacity) >> 8);
    }

    LONG MemoryRow(LONG y) const
    {
        return IsRGBFormat(m_pic.fccType) && m_pic.nHeight > 0 ? m_pic.nHeight - 1 - y : y;
    }

    void Packed(const RECT& rc, const std::vector<BYTE>& color)
    {
        const LONG cbPixel = static_cast<LONG>(GetBitCount(m_pic.fccType)) / 8;
        for (LONG y = rc.top; y < rc.bottom; y++)
        {
            const size_t nRow = size_t{GetPicRowBytes(&m_pic)} * static_cast<size_t>(MemoryRow(y));
            for (LONG n = 0; n < (rc.right - rc.left) * cbPixel; n++)
                Put(nRow + static_cast<size_t>(rc.left * cbPixel + n),
                    color[static_cast<size_t>(n) % color.size()]);
        }
    }

    /// Four bytes a pixel of two, row after row as they lie in memory.
    void Words(const RECT& rc, const std::vector<BYTE>& color)
    {
        const LONG nFirst = std::min(MemoryRow(rc.top), MemoryRow(rc.bottom - 1));
        for (LONG y = 0; y < rc.bottom - rc.top; y++)
        {
            const size_t nStart = size_t{GetPicRowBytes(&m_pic)} * static_cast<size_t>(nFirst + y) +
                                  static_cast<size_t>(rc.left) * 2;
            for (size_t n = 0; n < static_cast<size_t>(rc.right - rc.left) * 4; n++)
            {
                if (nStart + n < m_bytes.size())
                    m_bytes[nStart + n] = n % 4 < 2 ? color[n % 4] : 0;
            }
        }
    }

    void Planes(const RECT& rc, const std::vector<BYTE>& color)
    {
        const auto nRow = static_cast<size_t>(PicRow(m_pic));
        const size_t cbLuma = nRow * AbsHeight(m_pic.nHeight);
        const auto nLeft = static_cast<size_t>(rc.left);
        const auto nTop = static_cast<size_t>(rc.top);
        const auto nWidth = static_cast<size_t>(rc.right - rc.left);
        const auto nHeight = static_cast<size_t>(rc.bottom - rc.top);
        for (size_t y = 0; y < nHeight; y++)
        {
            for (size_t x = 0; x < nWidth; x++)
                Put((nTop + y) * nRow + nLeft + x, color[0]);
        }
        for (size_t nPlane = 1; nPlane < 3; nPlane++)
        {
            const bool bSecond = (nPlane == 1) == (m_pic.fccType == FOURCC_YV12);
            const size_t nStart = cbLuma + (bSecond ? cbLuma / 4 : 0) + nTop * nRow / 4 + nLeft / 2;
            for (size_t y = 0; y < nHeight / 2; y++)
            {
                for (size_t x = 0; x < nWidth / 2; x++)
                    Put(nStart + y * (nRow / 2) + x, color[nPlane]);
            }
        }
    }

    std::vector<BYTE> m_bytes;
    const PicProps m_pic;
    const int m_nOpacity;
};

void ExpectFill(const PicProps& pic, const RECT* prc, int nOpacity)
{
    PictureBuffer output(pic);
    output.Fill(7);
    const FillResult expected = CReferenceFill(output.Bytes(), pic, nOpacity).Run(prc);
    const HRESULT hr = Img_Fill(output.Data(), &pic, dwTestColor, prc, nOpacity, -1);
    if (hr != expected.hr || output.Bytes() != expected.bytes || !output.IsGuardWhole())
    {
        ADD_FAILURE() << Str(pic) << ", " << (prc ? Str(*prc) : "whole") << ", opacity " << nOpacity
                      << ", result " << std::hex << hr << ", expected " << expected.hr;
    }
}

constexpr RECT arrRects[] = {{0, 0, 10, 8},
                             {1, 1, 5, 4},
                             {2, 2, 6, 6},
                             {3, 0, 4, 1},
                             {9, 7, 10, 8},
                             {0, 3, 10, 4},
                             {-3, -2, 4, 3},
                             {-3, -2, 40, 30},
                             {5, 5, 50, 6},
                             {10, 0, 12, 4},
                             {0, 8, 4, 10},
                             {-5, 0, 0, 4},
                             {-5, -5, -1, -1},
                             {4, 4, 4, 8},
                             {6, 2, 5, 4},
                             {0, -4, 4, 0},
                             {1, 1, 9, 7},
                             {INT_MIN, 0, 4, 4},
                             {0, 0, INT_MAX, INT_MAX},
                             {2, 3, 8, 6},
                             {INT_MIN, INT_MIN, INT_MAX, INT_MAX}};
constexpr int arrOpacities[] = {255, 300, 254, 128, 1, 0, -5, INT_MAX, INT_MIN};

TEST(Fill, EveryFormatOrderRectangleOpacityAndLevel)
{
    for (int nLevel = 0; nLevel < eCPU_Count; nLevel++)
    {
        const CCpuLimit limit(static_cast<eCPU>(nLevel));
        AssertCapture asserts;
        for (const DWORD fccType : arrUsableFormats)
        {
            for (const LONG nHeight : {8, -8, 7, -7})
            {
                for (const LONG nRowWidth : {0, 10, 14})
                {
                    const PicProps pic = {fccType, 10, nHeight, nRowWidth};
                    for (const int nOpacity : arrOpacities)
                    {
                        ExpectFill(pic, nullptr, nOpacity);
                        for (const RECT& rc : arrRects)
                            ExpectFill(pic, &rc, nOpacity);
                    }
                }
            }
        }
        for (const std::string& sText : asserts.Texts())
            ASSERT_EQ(sText, ""); // RGB8 has no colour
    }
}

TEST(Fill, EveryWidth)
{
    for (const DWORD fccType : arrUsableFormats)
    {
        if (fccType == FOURCC_RGB8)
            continue;
        const LONG nStep = IsRGBFormat(fccType) ? 1 : 2;
        for (LONG nWidth = nStep; nWidth <= 130; nWidth += nStep)
        {
            const PicProps pic = {fccType, nWidth, 4, 0};
            const RECT rc = {nStep, 1, nWidth, 3};
            ExpectFill(pic, nullptr, 255);
            ExpectFill(pic, nullptr, 100);
            ExpectFill(pic, &rc, 255);
            ExpectFill(pic, &rc, 100);
        }
        const PicProps picWide = {fccType, 4098, -2, 0};
        ExpectFill(picWide, nullptr, 255);
        ExpectFill(picWide, nullptr, 77);
    }
}

std::vector<BYTE> Filled(const PicProps& pic, DWORD dwColor, const RECT* prc, int nOpacity, int nField)
{
    std::vector<BYTE> bytes(GetPicSize(&pic), 0xEE);
    EXPECT_EQ(Img_Fill(bytes.data(), &pic, dwColor, prc, nOpacity, nField), S_OK);
    return bytes;
}

TEST(Fill, BlackWhiteAndOddColumns)
{
    const PicProps picYUY2 = {FOURCC_YUY2, 2, 1, 0};
    EXPECT_EQ(Filled(picYUY2, 0, nullptr, 255, -1), (std::vector<BYTE>{16, 128, 16, 128}));
    const PicProps pic24 = {FOURCC_RGB24, 4, 1, 0};
    EXPECT_EQ(Filled(pic24, 0, nullptr, 255, -1), std::vector<BYTE>(12, 0));
    const PicProps picUYVY = {FOURCC_UYVY, 2, 1, 0};
    EXPECT_EQ(Filled(picUYVY, 0x00FFFFFF, nullptr, 255, -1), (std::vector<BYTE>{128, 235, 128, 235}));
    const PicProps picWide = {FOURCC_YUY2, 6, 1, 0};
    const RECT rcOdd = {1, 0, 4, 1};
    EXPECT_EQ(Filled(picWide, 0, &rcOdd, 255, -1),
              (std::vector<BYTE>{16, 128, 16, 128, 16, 128, 16, 128, 0xEE, 0xEE, 0xEE, 0xEE}));
}

TEST(Fill, ANoOpacityDarkensByATrace)
{
    const PicProps pic = {FOURCC_RGB32, 1, 1, 0};
    const BYTE bDarker = 0xEE * 255 >> 8;
    EXPECT_EQ(Filled(pic, 0x12345678, nullptr, 0, -1), std::vector<BYTE>(4, bDarker));
    EXPECT_EQ(Filled(pic, 0x12345678, nullptr, -7, -1), std::vector<BYTE>(4, bDarker));
    EXPECT_EQ(Filled(pic, 0x12345678, nullptr, 256, -1), (std::vector<BYTE>{0x34, 0x56, 0x78, 0x12}));
    EXPECT_EQ(Filled(pic, 0xEEEEEEEE, nullptr, 254, -1), std::vector<BYTE>(4, 0xEE * 255 >> 8));
}

TEST(Fill, SixteenBitsRunOnToTheFramesEnd)
{
    const PicProps pic = {FOURCC_RGB565, 2, -2, 0};
    // Rows of 4 bytes; the fill of each is 8 bytes long, the second one is cut.
    EXPECT_EQ(Filled(pic, dwTestColor, nullptr, 0, -1),
              (std::vector<BYTE>{0x18, 0x24, 0, 0, 0x18, 0x24, 0, 0}));
    const PicProps picThree = {FOURCC_RGB555, 2, -3, 0};
    const RECT rcFirst = {0, 0, 2, 1};
    EXPECT_EQ(Filled(picThree, dwTestColor, &rcFirst, 255, -1),
              (std::vector<BYTE>{0x18, 0x12, 0, 0, 0x18, 0x12, 0, 0, 0xEE, 0xEE, 0xEE, 0xEE}));
    const RECT rcCut = {1, 2, 2, 3};
    EXPECT_EQ(Filled(picThree, dwTestColor, &rcCut, 255, -1),
              (std::vector<BYTE>{0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0x18, 0x12}));
}

TEST(Fill, Refusals)
{
    const PicProps pic = {FOURCC_RGB32, 4, 4, 0};
    std::vector<BYTE> bytes(64, 0xEE);
    const std::vector<BYTE> before = bytes;
    AssertCapture asserts;
    EXPECT_EQ(Img_Fill(nullptr, &pic, 0, nullptr, 255, -1), E_INVALIDARG);
    EXPECT_EQ(Img_Fill(bytes.data(), nullptr, 0, nullptr, 255, 0), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), (Texts{"_pbOutput != NULL", "_pOutputProps != NULL"}));
    asserts.Clear();
    for (const DWORD fccType : arrRefusedFormats)
    {
        const PicProps picRefused = {fccType, 2, 2, 2};
        EXPECT_EQ(Img_Fill(bytes.data(), &picRefused, 0, nullptr, 255, -1), E_INVALIDARG);
    }
    const PicProps picHuge = {FOURCC_RGB32, 65536, 65536, 0};
    EXPECT_EQ(Img_Fill(bytes.data(), &picHuge, 0, nullptr, 255, -1), E_INVALIDARG);
    const RECT rcTurned = {2, 0, 1, 4};
    EXPECT_EQ(Img_Fill(bytes.data(), &pic, 0, &rcTurned, 255, -1), E_INVALIDARG);
    const RECT rcOutside = {4, 0, 8, 4};
    EXPECT_EQ(Img_Fill(bytes.data(), &pic, 0, &rcOutside, 255, -1), S_FALSE);
    const RECT rcLeftOf = {-4, 0, 0, 4};
    EXPECT_EQ(Img_Fill(bytes.data(), &pic, 0, &rcLeftOf, 255, -1), S_FALSE);
    EXPECT_EQ(asserts.Texts(), Texts{});
    const PicProps pic8 = {FOURCC_RGB8, 4, 4, 0};
    EXPECT_EQ(Img_Fill(bytes.data(), &pic8, 0, nullptr, 255, -1), E_UNEXPECTED);
    EXPECT_EQ(asserts.Texts(), Texts{""});
    asserts.Clear();
    EXPECT_EQ(Img_Fill(bytes.data(), &pic8, 0, &rcLeftOf, 255, -1), S_FALSE);
    EXPECT_EQ(asserts.Texts(), Texts{});
    EXPECT_EQ(bytes, before);
}

/// The memory rows of a picture of one byte column that a fill touched.
std::vector<int> RowsOf(const std::vector<BYTE>& bytes, size_t cbRow)
{
    std::vector<int> rows;
    for (size_t i = 0; i < bytes.size(); i += cbRow)
    {
        if (bytes[i] != 0xEE)
            rows.push_back(static_cast<int>(i / cbRow));
    }
    return rows;
}

TEST(Fill, Fields)
{
    const struct
    {
        LONG nHeight;
        int nField;
        std::vector<int> rows;
    } arrCases[] = {{-6, 0, {0, 2, 4}}, {-6, 1, {1, 3, 5}}, {-6, 7, {1, 3, 5}}, {6, 0, {1, 3, 5}},
                    {6, 1, {0, 2, 4}},  {6, 2, {0, 2, 4}},  {-7, 1, {1, 3, 5}}, {-7, 0, {0, 2, 4}}};
    for (const auto& one : arrCases)
    {
        const PicProps pic = {FOURCC_RGB32, 2, one.nHeight, 2};
        EXPECT_EQ(RowsOf(Filled(pic, 0, nullptr, 255, one.nField), 8), one.rows)
            << one.nHeight << " " << one.nField;
    }
    const RECT rcRows = {1, 2, 2, 4}; // rows count in the frame
    const PicProps pic = {FOURCC_RGB32, 2, -6, 3};
    const std::vector<BYTE> bytes = Filled(pic, 0, &rcRows, 255, 1);
    std::vector<BYTE> expected(72, 0xEE);
    std::fill_n(expected.begin() + 3 * 12 + 4, 4, BYTE{0});
    EXPECT_EQ(bytes, expected);
}

TEST(Fill, FieldsOfPlanes)
{
    const PicProps pic = {FOURCC_I420, 4, 4, 4};
    const std::vector<BYTE> expected = {0xEE, 0xEE, 0xEE, 0xEE, 16,   16,   16,  16,  0xEE, 0xEE, 0xEE, 0xEE,
                                        16,   16,   16,   16,   0xEE, 0xEE, 128, 128, 0xEE, 0xEE, 128,  128};
    EXPECT_EQ(Filled(pic, 0, nullptr, 255, 1), expected);
    const PicProps picPositive = {FOURCC_UYVY, 2, 2, 2}; // YUV is top-down whatever the sign
    EXPECT_EQ(Filled(picPositive, 0, nullptr, 255, 1),
              (std::vector<BYTE>{0xEE, 0xEE, 0xEE, 0xEE, 128, 16, 128, 16}));
}

TEST(Fill, FieldOfPaddedRowsSlides)
{
    const PicProps pic = {FOURCC_RGB24, 1, -4, 1}; // rows of 4 bytes, view rows of 6 bytes padded to 8
    const std::vector<BYTE> bytes = Filled(pic, 0, nullptr, 255, 1);
    const std::vector<BYTE> expected = {0xEE, 0xEE, 0xEE, 0, 0, 0, 0xEE, 0xEE,
                                        0xEE, 0xEE, 0xEE, 0, 0, 0, 0xEE, 0xEE};
    EXPECT_EQ(bytes, expected);
}

/// The view of a field of three rows ends a row before the frame, and that of padded rows by its padding: a
/// fill of 16 bits runs on to the end of the frame.
TEST(Fill, FieldsOfSixteenBitsRunOnToTheFramesEnd)
{
    const PicProps picOdd = {FOURCC_RGB565, 2, -3, 2};
    EXPECT_EQ(Filled(picOdd, dwTestColor, nullptr, 255, 1),
              (std::vector<BYTE>{0xEE, 0xEE, 0xEE, 0xEE, 0x18, 0x24, 0, 0, 0x18, 0x24, 0, 0}));
    const PicProps picPadded = {FOURCC_RGB555, 3, -2, 3};
    EXPECT_EQ(Filled(picPadded, dwTestColor, nullptr, 255, 1),
              (std::vector<BYTE>{0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0x18, 0x12, 0, 0, 0x18, 0x12, 0, 0, 0x18,
                                 0x12}));
}

TEST(Fill, FieldRefusals)
{
    std::vector<BYTE> bytes(64, 0xEE);
    const std::vector<BYTE> before = bytes;
    AssertCapture asserts;
    const PicProps picNoRow = {FOURCC_RGB32, 4, 4, 0};
    EXPECT_EQ(Img_Fill(bytes.data(), &picNoRow, 0, nullptr, 255, 0), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts{"_pProps->nRowWidth == 0 || _pProps->nRowWidth >= _pProps->nWidth"});
    asserts.Clear();
    const PicProps pic = {FOURCC_RGB32, 4, 4, 4};
    const RECT rcOneRow = {0, 0, 4, 1}; // half a row is none
    EXPECT_EQ(Img_Fill(bytes.data(), &pic, 0, &rcOneRow, 255, 0), E_INVALIDARG);
    const RECT rcOutside = {0, 4, 4, 8};
    EXPECT_EQ(Img_Fill(bytes.data(), &pic, 0, &rcOutside, 255, 0), S_FALSE);
    const RECT rcTurned = {0, 4, 4, 2};
    EXPECT_EQ(Img_Fill(bytes.data(), &pic, 0, &rcTurned, 255, 0), E_INVALIDARG);
    const PicProps picWide = {FOURCC_RGB32, INT_MAX / 2 + 1, 2, INT_MAX / 2 + 1};
    EXPECT_EQ(Img_Fill(bytes.data(), &picWide, 0, nullptr, 255, 0), E_INVALIDARG);
    const PicProps picWidest = {FOURCC_RGB8, INT_MAX, 1, INT_MAX};
    EXPECT_EQ(Img_Fill(bytes.data(), &picWidest, 0, nullptr, 255, 1), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts{});
    EXPECT_EQ(bytes, before);
}

} // namespace
