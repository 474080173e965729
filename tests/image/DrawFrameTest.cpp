// Outlines, against an outline pixel by pixel.
#include "ImageTest.h"
#include "PictureBuffer.h"

#include "asm/Cpu.h"

#include <algorithm>
#include <climits>

namespace
{

constexpr DWORD dwColor = 0x00C08020;

/// One plane of bytes, painted by the same rules for each format.
struct Plane
{
    size_t nStart;
    size_t cbRow;
    LONG nWidth; // samples
    LONG nHeight;
    LONG nThickness;
    LONG cbSample;
    std::vector<BYTE> color;
};

void Paint(std::vector<BYTE>& bytes, const Plane& plane, DWORD dwSides, int nOpacity)
{
    const LONG t = plane.nThickness;
    const auto band = [&](LONG x0, LONG y0, LONG nWidth, LONG nHeight)
    {
        for (LONG y = y0; y < y0 + nHeight; y++)
        {
            for (LONG n = 0; n < nWidth * plane.cbSample; n++)
            {
                BYTE& b = bytes.at(plane.nStart + plane.cbRow * static_cast<size_t>(y) +
                                   static_cast<size_t>(x0 * plane.cbSample + n));
                const int c = plane.color[static_cast<size_t>(n) % plane.color.size()];
                b = static_cast<BYTE>(nOpacity == 255 ? c : (b * (255 - nOpacity) + c * nOpacity) >> 8);
            }
        }
    };
    if (dwSides & 1)
        band(0, 0, plane.nWidth, t);
    if (dwSides & 4)
        band(0, plane.nHeight - t, plane.nWidth, t);
    if (dwSides & 2)
        band(0, t, t, plane.nHeight - 2 * t);
    if (dwSides & 8)
        band(plane.nWidth - t, t, t, plane.nHeight - 2 * t);
}

std::vector<BYTE> ColorOf(DWORD fccType)
{
    if (fccType == FOURCC_RGB8)
        return {0x20};
    BYTE arrBytes[4];
    DWORD dwByteValid = 0;
    EXPECT_TRUE(GetFillColor(fccType, dwColor | 0xFF000000, arrBytes, &dwByteValid));
    return {arrBytes, arrBytes + dwByteValid};
}

std::vector<BYTE> ReferenceFrame(std::vector<BYTE> bytes, const PicProps& pic, const RECT& rc, int nThickness,
                                 int nOpacity, DWORD dwSides)
{
    const bool bRGB = IsRGBFormat(pic.fccType);
    const bool bMirror = bRGB && pic.nHeight > 0;
    const LONG nWidth = rc.right - rc.left;
    const LONG nHeight = rc.bottom - rc.top;
    LONG t = nThickness;
    if (!bRGB && t % 2 != 0)
        t++;
    t = std::min(t, std::min(nWidth, nHeight) / 2);
    if (bMirror)
        dwSides = (dwSides & 5) | (dwSides & 2) << 2 | (dwSides & 8) >> 2;
    const std::vector<BYTE> color = ColorOf(pic.fccType);
    const auto nRow = static_cast<size_t>(PicRow(pic));
    const size_t cbLuma = nRow * AbsHeight(pic.nHeight);
    const auto nFirst =
        static_cast<size_t>(bMirror ? static_cast<LONG>(AbsHeight(pic.nHeight)) - rc.bottom : rc.top);
    const auto nLeft = static_cast<size_t>(rc.left);
    if (pic.fccType != FOURCC_I420 && pic.fccType != FOURCC_YV12)
    {
        const size_t cbSample = GetBitCount(pic.fccType) / 8;
        const size_t cbRow = GetPicRowBytes(&pic);
        // The offset of RGB8 counts rows without padding.
        const size_t cbOffsetRow = pic.fccType == FOURCC_RGB8 ? nRow : cbRow;
        Paint(bytes,
              {nFirst * cbOffsetRow + nLeft * cbSample, cbRow, nWidth, nHeight, t,
               static_cast<LONG>(cbSample), color},
              dwSides, nOpacity);
        return bytes;
    }
    Paint(bytes, {nFirst * nRow + nLeft, nRow, nWidth, nHeight, t, 1, {color[0]}}, dwSides, nOpacity);
    for (size_t nPlane = 1; nPlane < 3; nPlane++)
    {
        const bool bSecond = (nPlane == 1) == (pic.fccType == FOURCC_YV12);
        const size_t nStart = cbLuma + (bSecond ? cbLuma / 4 : 0) + nFirst * nRow / 4 + nLeft / 2;
        Paint(bytes, {nStart, nRow / 2, nWidth / 2, nHeight / 2, t / 2, 1, {color[nPlane]}}, dwSides,
              nOpacity);
    }
    return bytes;
}

TEST(DrawFrame, EveryFormatOrderRectangleThicknessSideAndLevel)
{
    constexpr RECT arrRects[] = {{0, 0, 12, 10}, {2, 1, 9, 9}, {4, 3, 6, 8}, {1, 2, 11, 4}, {3, 3, 4, 4}};
    for (int nLevel = 0; nLevel < eCPU_Count; nLevel++)
    {
        const CCpuLimit limit(static_cast<eCPU>(nLevel));
        for (const DWORD fccType : arrUsableFormats)
        {
            for (const LONG nHeight : {10, -10})
            {
                for (const LONG nRowWidth : {0, 14})
                {
                    const PicProps pic = {fccType, 12, nHeight, nRowWidth};
                    for (const RECT& rcGiven : arrRects)
                    {
                        RECT rc = {};
                        RECT rcSame = {};
                        ASSERT_EQ(NormalizeRects(&pic, &pic, &rc, &rcSame, false, &rcGiven, &rcGiven), S_OK);
                        for (const int nThickness : {1, 2, 3, 4, 100, INT_MAX})
                        {
                            for (DWORD dwSides = 0; dwSides < 17; dwSides++)
                            {
                                const int nOpacity = dwSides % 2 == 0 ? 255 : 200;
                                PictureBuffer output(pic);
                                output.Fill(3);
                                const auto expected = ReferenceFrame(
                                    output.Bytes(), pic, rc, std::min(nThickness, 1000), nOpacity, dwSides);
                                ASSERT_EQ(Img_DrawFrame(output.Data(), &pic, dwColor, nThickness, &rcGiven,
                                                        nOpacity, dwSides),
                                          S_OK);
                                ASSERT_EQ(output.Bytes(), expected)
                                    << Str(pic) << ", " << Str(rcGiven) << ", thickness " << nThickness
                                    << ", sides " << dwSides;
                                ASSERT_TRUE(output.IsGuardWhole());
                            }
                        }
                    }
                }
            }
        }
    }
}

/// The sides as shown: the bottom-up picture has bit 1 at its bottom, and left and right exchanged.
TEST(DrawFrame, SidesOfABottomUpPicture)
{
    const PicProps pic = {FOURCC_RGB8, 4, 4, 0};
    const struct
    {
        DWORD dwSides;
        std::vector<BYTE> memory;
    } arrCases[] = {
        {eIS_Top, {1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {eIS_Bottom, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1}},
        {eIS_Left, {0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0}},
        {eIS_Right, {0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0}},
    };
    for (const auto& one : arrCases)
    {
        std::vector<BYTE> bytes(16, 0);
        EXPECT_EQ(Img_DrawFrame(bytes.data(), &pic, 0xABCDEF01, 1, nullptr, 255, one.dwSides), S_OK);
        EXPECT_EQ(bytes, one.memory) << one.dwSides;
    }
}

TEST(DrawFrame, ThicknessIsLimitedAndRounded)
{
    const PicProps pic = {FOURCC_RGB8, 5, -4, 8};
    std::vector<BYTE> bytes(32, 0);
    EXPECT_EQ(Img_DrawFrame(bytes.data(), &pic, 1, 99, nullptr, 999, eIS_Top), S_OK);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 1), 10); // two of four rows

    // A row of YUV has half a row for its outline.
    const PicProps picRow = {FOURCC_YUY2, 4, 1, 0};
    std::vector<BYTE> row(8, 0xEE);
    EXPECT_EQ(Img_DrawFrame(row.data(), &picRow, 1, 1, nullptr, 255, 15), S_OK);
    EXPECT_EQ(row, std::vector<BYTE>(8, 0xEE));

    // Rounded to 2, limited to 1: the bytes of the colour as they fall.
    const PicProps picTwo = {FOURCC_YUY2, 4, 3, 0};
    std::vector<BYTE> two(24, 0xEE);
    EXPECT_EQ(Img_DrawFrame(two.data(), &picTwo, 0, 1, nullptr, 255, eIS_Left | eIS_Right), S_OK);
    const std::vector<BYTE> middle(two.begin() + 8, two.begin() + 16);
    EXPECT_EQ(middle, (std::vector<BYTE>{16, 128, 0xEE, 0xEE, 0xEE, 0xEE, 16, 128}));
}

TEST(DrawFrame, AlphaIsFull)
{
    const PicProps pic = {FOURCC_ARGB32, 2, 2, 0};
    std::vector<BYTE> bytes(16, 0);
    EXPECT_EQ(Img_DrawFrame(bytes.data(), &pic, 0x00112233, 1, nullptr, 255, eIS_Top), S_OK);
    EXPECT_EQ(std::vector<BYTE>(bytes.begin(), bytes.begin() + 4),
              (std::vector<BYTE>{0x11, 0x22, 0x33, 0xFF}));
}

TEST(DrawFrame, Refusals)
{
    const PicProps pic = {FOURCC_RGB32, 4, 4, 0};
    std::vector<BYTE> bytes(64, 0xEE);
    AssertCapture asserts;
    EXPECT_EQ(Img_DrawFrame(nullptr, nullptr, 0, 0, nullptr, 255, 15), S_OK);
    EXPECT_EQ(Img_DrawFrame(nullptr, nullptr, 0, -1, nullptr, 255, 15), S_OK);
    EXPECT_EQ(Img_DrawFrame(bytes.data(), &pic, 0, INT_MIN, nullptr, 255, 15), S_OK);
    EXPECT_EQ(asserts.Texts(), Texts{});
    EXPECT_EQ(Img_DrawFrame(nullptr, &pic, 0, 1, nullptr, 255, 15), E_INVALIDARG);
    EXPECT_EQ(Img_DrawFrame(bytes.data(), nullptr, 0, 1, nullptr, 255, 15), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), (Texts{"_pbOutput != NULL", "_pOutputProps != NULL"}));
    asserts.Clear();
    for (const DWORD fccType : arrRefusedFormats)
    {
        const PicProps picRefused = {fccType, 2, 2, 2};
        EXPECT_EQ(Img_DrawFrame(bytes.data(), &picRefused, 0, 1, nullptr, 255, 15), E_INVALIDARG);
    }
    const RECT rcTurned = {2, 0, 1, 4};
    EXPECT_EQ(Img_DrawFrame(bytes.data(), &pic, 0, 1, &rcTurned, 255, 15), E_INVALIDARG);
    const RECT rcOutside = {4, 0, 8, 4};
    EXPECT_EQ(Img_DrawFrame(bytes.data(), &pic, 0, 1, &rcOutside, 255, 15), S_FALSE);
    const RECT rcLeftOf = {-4, 0, 0, 4};
    EXPECT_EQ(Img_DrawFrame(bytes.data(), &pic, 0, 1, &rcLeftOf, 255, 15), S_FALSE);
    EXPECT_EQ(asserts.Texts(), Texts{});
    EXPECT_EQ(bytes, std::vector<BYTE>(64, 0xEE));
}

} // namespace
