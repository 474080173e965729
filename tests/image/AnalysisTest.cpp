// Keys and graphs, against the same measured step by step.
#include "ImageTest.h"
#include "PictureBuffer.h"

#include "imgconverter/KeyPicture.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <deque>

namespace
{

using Pixel = std::array<BYTE, 4>;

Pixel In(PFNKEYSPACE pfnSpace, Pixel pixel)
{
    pfnSpace(pixel.data(), pixel.data(), 1);
    return pixel;
}

TEST(KeySpaces, KnownColours)
{
    // Bytes B, G, R.
    EXPECT_EQ(In(RGBToHLS, {0, 0, 0, 9}), (Pixel{0, 0, 0, 9}));
    EXPECT_EQ(In(RGBToHLS, {255, 255, 255, 9}), (Pixel{0, 255, 0, 9}));
    // 127.5 + 0.499999 is 128 in single precision.
    EXPECT_EQ(In(RGBToHLS, {0, 0, 255, 9}), (Pixel{0, 128, 255, 9}));   // red
    EXPECT_EQ(In(RGBToHLS, {0, 255, 0, 9}), (Pixel{85, 128, 255, 9}));  // green: 120 degrees
    EXPECT_EQ(In(RGBToHLS, {255, 0, 0, 9}), (Pixel{170, 128, 255, 9})); // blue: 240 degrees
    EXPECT_EQ(In(RGBToHLS, {255, 0, 254, 9}), (Pixel{212, 128, 255, 9}));
    EXPECT_EQ(In(RGBToHLSBytes, {255, 0, 0, 9}), (Pixel{0, 128, 255, 9})); // the first byte is red here
    EXPECT_EQ(In(RGBToHLSBytes, {0, 0, 255, 9}), (Pixel{170, 128, 255, 9}));
    EXPECT_EQ(In(RGBToHLSBytes, {100, 200, 50, 9}), (Pixel{71, 125, 153, 9}));
    EXPECT_EQ(In(RGBToHLSBytes, {255, 255, 255, 9}), (Pixel{0, 255, 0, 9}));
    EXPECT_EQ(In(RGBToYUVBytes, {0, 0, 0, 9}), (Pixel{0, 128, 128, 9}));
    EXPECT_EQ(In(RGBToYUVBytes, {255, 255, 255, 9}), (Pixel{255, 128, 128, 9}));
    EXPECT_EQ(In(RGBToYUVBytes, {255, 0, 0, 9}), (Pixel{76, 90, 255, 9}));
}

/// Hue, lightness and saturation in doubles; single precision may differ where a sum is cut.
TEST(KeySpaces, HueLightnessSaturation)
{
    for (int r = 0; r < 256; r += 5)
    {
        for (int g = 0; g < 256; g += 5)
        {
            for (int b = 0; b < 256; b += 5)
            {
                const double dblMax = std::max({r, g, b}) / 255.0;
                const double dblMin = std::min({r, g, b}) / 255.0;
                const double dblRange = dblMax - dblMin;
                double dblHue = 0;
                double dblSat = 0;
                if (dblRange != 0)
                {
                    const bool bRed = r >= g && r >= b;
                    const bool bGreen = !bRed && g >= b;
                    dblHue = (bRed     ? (g - b)
                              : bGreen ? (b - r)
                                       : (r - g)) *
                                 60 / 255.0 / dblRange +
                             (bRed     ? 0
                              : bGreen ? 120
                                       : 240);
                    dblHue += dblHue < 0 ? 360 : 0;
                    dblSat = dblRange / (dblMax + dblMin > 1 ? 2 - dblMax - dblMin : dblMax + dblMin);
                }
                const double arrExact[3] = {dblHue * 255 / 360, (dblMax + dblMin) / 2 * 255, dblSat * 255};
                const Pixel hls =
                    In(RGBToHLS, {static_cast<BYTE>(b), static_cast<BYTE>(g), static_cast<BYTE>(r), 0});
                const Pixel hlsBytes =
                    In(RGBToHLSBytes, {static_cast<BYTE>(r), static_cast<BYTE>(g), static_cast<BYTE>(b), 0});
                for (size_t i = 0; i < 3; i++)
                {
                    ASSERT_NEAR(hls[i], arrExact[i], 0.5001) << r << " " << g << " " << b;
                    ASSERT_NEAR(hlsBytes[i], arrExact[i], 0.5001) << r << " " << g << " " << b;
                }
            }
        }
    }
}

/// Colours whose bytes come out otherwise in double precision, and a checksum (FNV-1a, 32 bits) over a grid
/// of all: worked out apart from the library, each step rounded to single precision, from left to right.
TEST(KeySpaces, SinglePrecisionToTheBit)
{
    constexpr struct
    {
        BYTE b, g, r, h, l, s;
    } arrKnown[] = {
        {50, 25, 60, 225, 43, 105},    {125, 55, 250, 240, 153, 243}, {155, 190, 25, 118, 108, 196},
        {10, 175, 110, 59, 93, 227},   {215, 195, 215, 213, 205, 51}, {75, 185, 195, 39, 135, 128},
        {120, 185, 205, 33, 163, 117}, {205, 160, 165, 175, 183, 79}, {95, 175, 90, 88, 133, 88},
        {145, 125, 40, 136, 93, 145},  {180, 20, 215, 220, 118, 212},
    };
    for (const auto& known : arrKnown)
        EXPECT_EQ(In(RGBToHLS, {known.b, known.g, known.r, 0}), (Pixel{known.h, known.l, known.s, 0}))
            << int{known.b} << " " << int{known.g} << " " << int{known.r};

    DWORD dwHLS = 2166136261;
    DWORD dwHLSBytes = 2166136261;
    const auto add = [](DWORD& dwSum, const Pixel& pixel)
    {
        for (size_t i = 0; i < 3; i++)
            dwSum = (dwSum ^ pixel[i]) * 16777619;
    };
    for (int r = 0; r < 256; r += 5)
    {
        for (int g = 0; g < 256; g += 5)
        {
            for (int b = 0; b < 256; b += 5)
            {
                const Pixel pixel = {static_cast<BYTE>(b), static_cast<BYTE>(g), static_cast<BYTE>(r), 0};
                add(dwHLS, In(RGBToHLS, pixel));
                add(dwHLSBytes, In(RGBToHLSBytes, pixel));
            }
        }
    }
    EXPECT_EQ(dwHLS, 0x6996F997u);
    EXPECT_EQ(dwHLSBytes, 0x9130063Fu);
}

TEST(KeySpaces, LumaAndDifferences)
{
    for (int p0 = 0; p0 < 256; p0 += 3)
    {
        for (int p1 = 0; p1 < 256; p1 += 3)
        {
            for (int p2 = 0; p2 < 256; p2 += 3)
            {
                const int y = 19595 * p0 + 38470 * p1 + 7471 * p2;
                const auto shift = [](int n) { return static_cast<int>(std::floor(n / 65536.0)); };
                const int u = shift(shift(p2 * 65536 - y + 32767) * 32244) - 128;
                const int v = shift(shift(p0 * 65536 - y + 32767) * 57475) + 128;
                const Pixel expected = {static_cast<BYTE>(y / 65536), static_cast<BYTE>(u & 0xFF),
                                        static_cast<BYTE>(std::clamp(v, 0, 255)), 7};
                ASSERT_EQ(In(RGBToYUVBytes,
                             {static_cast<BYTE>(p0), static_cast<BYTE>(p1), static_cast<BYTE>(p2), 7}),
                          expected);
            }
        }
    }
}

struct KeyPair
{
    DWORD dwCentre = 0xEEEEEEEE;
    DWORD dwTolerance = 0;

    bool operator==(const KeyPair&) const = default;
};

std::ostream& operator<<(std::ostream& out, const KeyPair& key)
{
    return out << std::hex << key.dwCentre << " +- " << key.dwTolerance;
}

KeyPair ChromaKey(const PicProps& pic, const std::vector<BYTE>& bytes, int nMode, HRESULT hrExpected = S_OK)
{
    DWORD arrKey[2] = {};
    EXPECT_EQ(Img_GetChromaKey(bytes.data(), &pic, nMode, arrKey, nullptr), hrExpected);
    return {arrKey[0], arrKey[1]};
}

TEST(ChromaKey, OfAFlatPicture)
{
    const PicProps pic = {FOURCC_RGB32, 16, 16, 16};
    for (DWORD c = 0; c < 256; c++)
    {
        const std::vector<BYTE> bytes(1024, static_cast<BYTE>(c));
        const DWORD dwCentre = c < 2 ? 1 : c - 1;
        const DWORD dwTolerance = c == 1 ? 5 : 6;
        EXPECT_EQ(ChromaKey(pic, bytes, eIK_RGB), (KeyPair{dwCentre * 0x010101, dwTolerance * 0x010101}))
            << c;
    }
}

/// Steps over all pixels, with counters of all channels in a row.
KeyPair ReferenceChromaKey(const std::vector<Pixel>& pixels, int64_t nThreshold, int nMode)
{
    std::vector<int64_t> counts(4 * 256);
    for (Pixel pixel : pixels)
    {
        if (nMode == eIK_HLS)
            pixel = In(RGBToHLS, pixel);
        for (size_t i = 0; i < 4; i++)
            counts[i * 256 + pixel[i]]++;
    }
    DWORD arrKey[2] = {};
    for (int c = 0; c < 3; c++)
    {
        const auto at = [&](int v) { return c * 256 + v < 0 ? 0 : counts[static_cast<size_t>(c * 256 + v)]; };
        int64_t nMaxSum = 0;
        int nPeak = 0;
        for (int v = 1; v < 255; v++)
        {
            const int64_t nSum = at(v - 1) + at(v) + at(v + 1);
            if (nSum > nMaxSum)
            {
                nMaxSum = nSum;
                nPeak = v;
            }
        }
        int nTolerance = 0;
        for (int d = -64; d < 64; d++)
        {
            const int v = nPeak + d;
            if ((v >= 0 && v <= 255 && at(v) > nThreshold) || at(v) > nMaxSum / 14)
                nTolerance = std::max(nTolerance, std::abs(d));
        }
        const int nByte = nMode == eIK_HLS ? c : 2 - c;
        arrKey[0] |= static_cast<DWORD>(nPeak) << 8 * nByte;
        arrKey[1] |= static_cast<DWORD>(nTolerance + 5) << 8 * nByte;
    }
    return {arrKey[0], arrKey[1]};
}

std::vector<BYTE> RandomBytes(size_t cb, unsigned nSeed, int nSpread, int nBase)
{
    std::vector<BYTE> bytes(cb);
    for (BYTE& b : bytes)
    {
        nSeed = nSeed * 1664525u + 1013904223u;
        b = static_cast<BYTE>(nBase + static_cast<int>(nSeed >> 24) * nSpread / 256);
    }
    return bytes;
}

std::vector<Pixel> PixelsOf(const PicProps& pic, const std::vector<BYTE>& bytes)
{
    std::vector<Pixel> pixels;
    for (LONG y = 0; y < static_cast<LONG>(AbsHeight(pic.nHeight)); y++)
    {
        for (LONG x = 0; x < pic.nWidth; x++)
        {
            const BYTE* p = bytes.data() + (y * pic.nRowWidth + x) * 4;
            pixels.push_back({p[0], p[1], p[2], p[3]});
        }
    }
    return pixels;
}

TEST(ChromaKey, FollowsTheSteps)
{
    for (unsigned nSeed = 0; nSeed < 120; nSeed++)
    {
        const LONG nHeight = nSeed % 2 == 0 ? 30 : -30;
        const PicProps pic = {nSeed % 3 == 0 ? DWORD{FOURCC_ARGB32} : DWORD{FOURCC_RGB32}, 31, nHeight, 34};
        const int nSpread = static_cast<int>(nSeed % 12) * 10 + 2;
        const int nBase = static_cast<int>(nSeed * 37 % 200);
        const std::vector<BYTE> bytes = RandomBytes(34 * 30 * 4, nSeed, nSpread, nBase);
        for (const int nMode : {eIK_RGB, eIK_HLS})
        {
            // The threshold counts rows without their sign.
            EXPECT_EQ(ChromaKey(pic, bytes, nMode),
                      ReferenceChromaKey(PixelsOf(pic, bytes), 31 * 30 / 256, nMode))
                << nSeed << " " << nMode;
        }
    }
}

/// Values outside a channel read the neighbour's counters.
TEST(ChromaKey, ReadsTheNeighbouringChannel)
{
    const PicProps pic = {FOURCC_RGB32, 8, 8, 8};
    std::vector<BYTE> bytes;
    for (int i = 0; i < 64; i++)
        bytes.insert(bytes.end(), {255, 20, 100, 0}); // blue, green, red
    // Blue's peak is 254; green's 20 is 22 above it. Green's peak is 19; blue's 255 is 20 below it.
    EXPECT_EQ(ChromaKey(pic, bytes, eIK_RGB), (KeyPair{0xFE1363, 0x1B1906}));
}

TEST(ChromaKey, PlannedMemoryAndOtherFormats)
{
    for (const DWORD fccType : arrUsableFormats)
    {
        for (const LONG nHeight : {6, -6})
        {
            const PicProps pic = {fccType, 8, nHeight, 10};
            PictureBuffer input(pic);
            input.Fill(3);
            const std::vector<BYTE> before = input.Bytes();
            const bool bKeepsSign = IsRGBFormat(fccType);
            const PicProps picRGB = {FOURCC_RGB32, 8, bKeepsSign ? nHeight : -6, 10};
            std::vector<BYTE> rgb(240, 0);
            HRESULT hr = S_OK;
            if (fccType == FOURCC_RGB32 || fccType == FOURCC_ARGB32)
                rgb = before;
            else
                hr = Img_Convert(input.Data(), rgb.data(), &pic, &picRGB, nullptr, nullptr, true, nullptr);
            DWORD arrKey[2] = {7, 8};
            PictureBuffer temp(6 * 10 * 8 + 4176);
            EXPECT_EQ(Img_GetChromaKey(input.Data(), &pic, eIK_RGB, arrKey, temp.Data()),
                      FAILED(hr) ? hr : S_OK)
                << Str(pic);
            if (SUCCEEDED(hr))
            {
                const KeyPair expected = ReferenceChromaKey(PixelsOf(picRGB, rgb), 0, eIK_RGB);
                EXPECT_EQ((KeyPair{arrKey[0], arrKey[1]}), expected) << Str(pic);
                EXPECT_EQ(ChromaKey(pic, before, eIK_RGB), expected);
            }
            EXPECT_EQ(input.Bytes(), before);
            EXPECT_TRUE(temp.IsGuardWhole());
        }
    }
}

TEST(ChromaKey, Refusals)
{
    const PicProps pic = {FOURCC_RGB32, 2, 2, 2};
    const std::vector<BYTE> bytes(16, 0);
    DWORD arrKey[2] = {7, 8};
    AssertCapture asserts;
    EXPECT_EQ(Img_GetChromaKey(nullptr, &pic, 1, arrKey, nullptr), E_POINTER);
    EXPECT_EQ(Img_GetChromaKey(bytes.data(), nullptr, 2, arrKey, nullptr), E_POINTER);
    EXPECT_EQ(Img_GetChromaKey(bytes.data(), &pic, 2, nullptr, nullptr), E_POINTER);
    asserts.Clear();
    for (const int nMode : {-1, 0, 1, 4, 5, INT_MAX})
        EXPECT_EQ(Img_GetChromaKey(bytes.data(), &pic, nMode, arrKey, nullptr), E_INVALIDARG);
    for (const DWORD fccType : arrRefusedFormats)
    {
        const PicProps picRefused = {fccType, 2, 2, 2};
        EXPECT_EQ(Img_GetChromaKey(bytes.data(), &picRefused, 2, arrKey, nullptr), E_INVALIDARG);
    }
    const PicProps picNoRow = {FOURCC_RGB24, 2, 2, 0}; // converted rows would have no length
    EXPECT_EQ(Img_GetChromaKey(bytes.data(), &picNoRow, 2, arrKey, nullptr), E_INVALIDARG);
    const PicProps picNoPixels = {FOURCC_RGB32, 0, 2, 2};
    EXPECT_EQ(Img_GetChromaKey(bytes.data(), &picNoPixels, 2, arrKey, nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts{});
    EXPECT_EQ(arrKey[0], 7u);
    EXPECT_EQ(arrKey[1], 8u);
}

/// A key out of samples, with a list of them as the steps name it.
KeyPair ReferenceCalcKey(const std::vector<Pixel>& samples, bool bExchange)
{
    double arrCentre[4];
    int arrAxle[4];
    for (size_t i = 0; i < 4; i++)
    {
        int64_t nSum = 0;
        int nLow = 255;
        int nHigh = 0;
        for (const Pixel& sample : samples)
        {
            nSum += sample[i];
            nLow = std::min<int>(nLow, sample[i]);
            nHigh = std::max<int>(nHigh, sample[i]);
        }
        arrCentre[i] = std::floor(static_cast<double>(nSum) / static_cast<double>(samples.size()) + 0.5);
        const auto c = static_cast<int>(arrCentre[i]);
        arrAxle[i] = std::max({c - nLow, nHigh - c, i < 3 ? 1 : 0});
    }
    std::deque<Pixel> deqValues(samples.begin(), samples.end());
    auto it = deqValues.begin();
    while (it != deqValues.end() && !(arrAxle[0] == 255 && arrAxle[1] == 255 && arrAxle[2] == 255))
    {
        const double d0 = (*it)[0] - arrCentre[0];
        const double d1 = (*it)[1] - arrCentre[1];
        const double d2 = (*it)[2] - arrCentre[2];
        const double a0 = arrAxle[0];
        const double a1 = arrAxle[1];
        const double a2 = arrAxle[2];
        const double r = std::sqrt((d0 * d0) / (a0 * a0) + (d1 * d1) / (a1 * a1) + (d2 * d2) / (a0 * a2));
        if (r <= 1.0)
        {
            it = deqValues.erase(it);
            continue;
        }
        for (int i = 0; i < 3; i++)
            arrAxle[i] = std::min(static_cast<int>(arrAxle[i] * r + 1.0), 255);
        it = deqValues.begin();
    }
    KeyPair key = {0, 0};
    for (int i = 0; i < 3; i++)
    {
        const int nByte = bExchange ? 2 - i : i;
        key.dwCentre |= static_cast<DWORD>(arrCentre[i]) << 8 * nByte;
        key.dwTolerance |= static_cast<DWORD>(arrAxle[i]) << 8 * nByte;
    }
    return key;
}

PFNKEYSPACE SpaceOf(int nMode)
{
    return nMode == eIK_HLS ? RGBToHLS : nMode == eIK_YUV ? RGBToYUVBytes : RGBToRGB;
}

/// The sample of a point inside the picture.
Pixel SampleAt(const PicProps& pic, const std::vector<BYTE>& bytes, LONG x, LONG y, int nMode)
{
    const bool bMirror = pic.nHeight > 0;
    const LONG nRow = bMirror ? pic.nHeight - y : y;
    if (nRow >= static_cast<LONG>(AbsHeight(pic.nHeight)))
        return {};
    const BYTE* p = bytes.data() + (nRow * pic.nRowWidth + x) * 4;
    return In(SpaceOf(nMode), {p[0], p[1], p[2], p[3]});
}

TEST(CalcKey, OfOnePoint)
{
    const PicProps pic = {FOURCC_RGB32, 2, -2, 2};
    const std::vector<BYTE> bytes = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    POINT pt = {1, 0};
    DWORD arrKey[2] = {0x123456, 0}; // without a tolerance the earlier key does not count
    EXPECT_EQ(Img_CalcKey(bytes.data(), &pic, 1, &pt, 0, nullptr, eIK_RGB, arrKey), S_OK);
    EXPECT_EQ(arrKey[0], 0x050607u); // red first
    EXPECT_EQ(arrKey[1], 0x010101u);
    arrKey[1] = 0x80000000; // nor with a negative one
    EXPECT_EQ(Img_CalcKey(bytes.data(), &pic, 1, &pt, 0, nullptr, 77, arrKey), S_OK);
    EXPECT_EQ(arrKey[0], 0x050607u);
    EXPECT_EQ(arrKey[1], 0x010101u);
    // One with a tolerance widens the result, by its tolerance at least.
    arrKey[0] = 0x050607;
    arrKey[1] = 0x0A0A0A;
    EXPECT_EQ(Img_CalcKey(bytes.data(), &pic, 1, &pt, 0, nullptr, eIK_RGB, arrKey), S_OK);
    const std::vector<Pixel> samples = {{15, 6, 7, 0}, {0, 6, 7, 0}, {5, 16, 7, 0}, {5, 0, 7, 0},
                                        {5, 6, 17, 0}, {5, 6, 0, 0}, {5, 6, 7, 8}};
    EXPECT_EQ((KeyPair{arrKey[0], arrKey[1]}), ReferenceCalcKey(samples, true));
    EXPECT_GE(arrKey[1] & 0xFF, 0x0Au);
}

TEST(CalcKey, MovesPointsAndRectanglesIntoThePicture)
{
    const PicProps pic = {FOURCC_RGB32, 3, -2, 3};
    const std::vector<BYTE> bytes(24, 50);
    POINT arrPoints[] = {{-5, -7}, {3, 2}, {INT_MAX, INT_MIN}, {1, 1}};
    RECT arrRects[] = {{-1, -2, 9, 9}, {INT_MAX, INT_MIN, INT_MAX, INT_MAX}};
    DWORD arrKey[2] = {};
    EXPECT_EQ(Img_CalcKey(bytes.data(), &pic, 4, arrPoints, 2, arrRects, eIK_RGB, arrKey), S_OK);
    const LONG arrExpected[][2] = {{0, 0}, {2, 1}, {2, 0}, {1, 1}};
    for (size_t i = 0; i < 4; i++)
    {
        EXPECT_EQ(arrPoints[i].x, arrExpected[i][0]);
        EXPECT_EQ(arrPoints[i].y, arrExpected[i][1]);
    }
    EXPECT_EQ(Str(arrRects[0]), "0, 0, 2, 1");
    EXPECT_EQ(Str(arrRects[1]), "2, 0, 2, 1");
    EXPECT_EQ(arrKey[0], 0x323232u);
    EXPECT_EQ(arrKey[1], 0x010101u);
}

TEST(CalcKey, FirstRowOfABottomUpPictureIsZero)
{
    const PicProps pic = {FOURCC_RGB32, 1, 2, 1};
    const std::vector<BYTE> bytes = {10, 20, 30, 0, 40, 50, 60, 0}; // shown from the top: 40 50 60, 10 20 30
    const struct
    {
        LONG y;
        int nMode;
        DWORD dwCentre;
    } arrCases[] = {{0, eIK_RGB, 0}, {0, eIK_HLS, 0}, {0, eIK_YUV, 0}, {1, eIK_RGB, 0x28323C}};
    for (const auto& one : arrCases)
    {
        POINT pt = {0, one.y};
        DWORD arrKey[2] = {};
        EXPECT_EQ(Img_CalcKey(bytes.data(), &pic, 1, &pt, 0, nullptr, one.nMode, arrKey), S_OK);
        EXPECT_EQ(arrKey[0], one.dwCentre) << one.y << " " << one.nMode;
        EXPECT_EQ(arrKey[1], 0x010101u);
    }
}

TEST(CalcKey, FollowsTheSteps)
{
    for (unsigned nSeed = 0; nSeed < 200; nSeed++)
    {
        const PicProps pic = {FOURCC_RGB32, 12, nSeed % 2 == 0 ? 9 : -9, 13};
        const int nSpread = static_cast<int>(nSeed % 9) * 30 + 3;
        const std::vector<BYTE> bytes = RandomBytes(13 * 9 * 4, nSeed, nSpread, static_cast<int>(nSeed % 13));
        for (const int nMode : {int{eIK_RGB}, int{eIK_HLS}, int{eIK_YUV}, 0})
        {
            POINT arrPoints[] = {
                {static_cast<LONG>(nSeed % 12), static_cast<LONG>(nSeed % 9)}, {3, 8}, {11, 1}};
            RECT arrRects[] = {{2, 1, 4, 3}, {5, 5, 4, 4}, {7, 7, 7, 8}};
            const bool bExchange = nMode != eIK_HLS && nMode != eIK_YUV;
            DWORD arrKey[2] = {0x646E78, nSeed % 3 == 0 ? DWORD{0x0F7D0A} : DWORD{0}};
            std::vector<Pixel> samples;
            if (arrKey[1] != 0)
            {
                for (size_t i = 0; i < 3; i++)
                {
                    Pixel centre = {0x78, 0x6E, 0x64, 0};
                    Pixel axle = {0x0A, 0x7D, 0x0F, 0};
                    if (bExchange)
                    {
                        std::swap(centre[0], centre[2]);
                        std::swap(axle[0], axle[2]);
                    }
                    Pixel raised = centre;
                    raised[i] = static_cast<BYTE>(std::min(centre[i] + axle[i], 255));
                    Pixel lowered = centre;
                    lowered[i] = static_cast<BYTE>(std::max(centre[i] - axle[i], 0));
                    samples.push_back(raised);
                    samples.push_back(lowered);
                }
            }
            for (const POINT& pt : arrPoints)
                samples.push_back(SampleAt(pic, bytes, pt.x, pt.y, nMode));
            for (const RECT& rc : arrRects)
            {
                for (LONG y = rc.top; y <= rc.bottom; y++)
                {
                    for (LONG x = rc.left; x <= rc.right; x++)
                        samples.push_back(SampleAt(pic, bytes, x, y, nMode));
                }
            }
            ASSERT_EQ(Img_CalcKey(bytes.data(), &pic, 3, arrPoints, 3, arrRects, nMode, arrKey), S_OK);
            ASSERT_EQ((KeyPair{arrKey[0], arrKey[1]}), ReferenceCalcKey(samples, bExchange))
                << nSeed << " " << nMode;
        }
    }
}

TEST(CalcKey, Refusals)
{
    const PicProps pic = {FOURCC_RGB32, 2, -2, 2};
    const std::vector<BYTE> bytes(16, 0);
    POINT pt = {0, 0};
    RECT rc = {1, 1, 0, 0}; // holds no pixel
    DWORD arrKey[2] = {7, 0};
    AssertCapture asserts;
    EXPECT_EQ(Img_CalcKey(nullptr, &pic, 1, &pt, 0, nullptr, 2, arrKey), E_POINTER);
    EXPECT_EQ(Img_CalcKey(bytes.data(), nullptr, 1, &pt, 0, nullptr, 2, arrKey), E_POINTER);
    EXPECT_EQ(Img_CalcKey(bytes.data(), &pic, 1, &pt, 0, nullptr, 2, nullptr), E_POINTER);
    EXPECT_EQ(Img_CalcKey(bytes.data(), &pic, 1, nullptr, 1, nullptr, 2, arrKey), E_POINTER);
    asserts.Clear();
    EXPECT_EQ(Img_CalcKey(bytes.data(), &pic, 0, &pt, -1, &rc, 2, arrKey), S_FALSE);
    EXPECT_EQ(Img_CalcKey(bytes.data(), &pic, 0, nullptr, 1, &rc, 2, arrKey), E_UNEXPECTED);
    EXPECT_EQ(Img_CalcKey(bytes.data(), &pic, 3, nullptr, 0, &rc, 2, arrKey), E_UNEXPECTED);
    const PicProps picRefused = {FOURCC_v210, 2, 2, 2};
    EXPECT_EQ(Img_CalcKey(bytes.data(), &picRefused, 1, &pt, 0, nullptr, 2, arrKey), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts{});
    EXPECT_EQ(arrKey[0], 7u);
    // An earlier key alone is enough.
    arrKey[1] = 0x010101;
    EXPECT_EQ(Img_CalcKey(bytes.data(), &pic, 0, nullptr, 1, &rc, 2, arrKey), S_OK);
}

constexpr size_t cbGraph = 768 * 768 * 4;

Pixel GraphPixel(const std::vector<BYTE>& graph, size_t nSpace, size_t nTable, size_t x, size_t y)
{
    const BYTE* p = graph.data() + ((2 - nSpace) * 256 + y) * 0xC00 + nTable * 0x400 + x * 4;
    return {p[0], p[1], p[2], p[3]};
}

TEST(ImageGraph, Description)
{
    const PicProps pic = {FOURCC_RGB32, 2, 2, 2};
    const std::vector<BYTE> bytes(16, 0);
    PicProps picGraph = {};
    EXPECT_EQ(Img_GetImageGraph(bytes.data(), &pic, 1, nullptr, &picGraph), S_OK);
    EXPECT_EQ(picGraph.fccType, DWORD{FOURCC_RGB32});
    EXPECT_EQ(picGraph.nWidth, 256);
    EXPECT_EQ(picGraph.nHeight, 768);
    EXPECT_EQ(picGraph.nRowWidth, 768);
    AssertCapture asserts;
    EXPECT_EQ(Img_GetImageGraph(nullptr, &pic, 1, nullptr, &picGraph), E_POINTER);
    EXPECT_EQ(Img_GetImageGraph(bytes.data(), nullptr, 1, nullptr, &picGraph), E_POINTER);
    EXPECT_EQ(Img_GetImageGraph(bytes.data(), &pic, 1, nullptr, nullptr), E_POINTER);
    asserts.Clear();
    PicProps picUntouched = {};
    for (const int nMode : {-1, 0, 2, 3})
        EXPECT_EQ(Img_GetImageGraph(bytes.data(), &pic, nMode, nullptr, &picUntouched), E_INVALIDARG);
    // The picture comes first, with or without a graph.
    const PicProps picRefused = {FOURCC_v210, 2, 2, 2};
    const PicProps picNoPath = {FOURCC_YVYU, 2, 2, 2};
    EXPECT_EQ(Img_GetImageGraph(bytes.data(), &picRefused, 1, nullptr, &picUntouched), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts{});
    EXPECT_EQ(Img_GetImageGraph(bytes.data(), &picNoPath, 1, nullptr, &picUntouched), E_NOTIMPL);
    EXPECT_EQ(asserts.Texts(), Texts{"NOT SUPPORTED YVYU->RGB32 x64"});
    EXPECT_EQ(picUntouched.nWidth, 0);
}

TEST(ImageGraph, Tiles)
{
    const PicProps pic = {FOURCC_RGB32, 3, -1, 4};
    // Two pixels share green and red, one stands alone; what pads the row does not count.
    const std::vector<BYTE> bytes = {10, 20, 30, 0, 21, 20, 30, 0, 100, 200, 50, 0, 9, 9, 9, 9};
    PictureBuffer graph(cbGraph);
    graph.Fill(1);
    PicProps picGraph = {};
    ASSERT_EQ(Img_GetImageGraph(bytes.data(), &pic, 1, graph.Data(), &picGraph), S_OK);
    EXPECT_TRUE(graph.IsGuardWhole());
    const std::vector<BYTE> g = graph.Bytes();
    // The plain space: x and y are the two channels, the third is the average, the alpha twice the count.
    EXPECT_EQ(GraphPixel(g, 0, 0, 30, 20), (Pixel{15, 20, 30, 4}));
    EXPECT_EQ(GraphPixel(g, 0, 0, 50, 200), (Pixel{100, 200, 50, 2}));
    EXPECT_EQ(GraphPixel(g, 0, 1, 30, 10), (Pixel{10, 20, 30, 2}));
    EXPECT_EQ(GraphPixel(g, 0, 1, 30, 21), (Pixel{21, 20, 30, 2}));
    EXPECT_EQ(GraphPixel(g, 0, 2, 20, 10), (Pixel{10, 20, 30, 2}));
    EXPECT_EQ(GraphPixel(g, 0, 0, 1, 2), (Pixel{0, 2, 1, 0}));
    EXPECT_EQ(GraphPixel(g, 0, 2, 1, 2), (Pixel{2, 1, 0, 0}));
    // The space in the middle keeps clear what was not counted.
    const Pixel hls = In(RGBToHLSBytes, {100, 200, 50, 0});
    EXPECT_EQ(GraphPixel(g, 1, 0, hls[2], hls[1]), (Pixel{hls[0], hls[1], hls[2], 2}));
    EXPECT_EQ(GraphPixel(g, 1, 1, hls[2], hls[0]), (Pixel{hls[0], hls[1], hls[2], 2}));
    EXPECT_EQ(GraphPixel(g, 1, 2, hls[1], hls[0]), (Pixel{hls[0], hls[1], hls[2], 2}));
    EXPECT_EQ(GraphPixel(g, 1, 0, 1, 2), (Pixel{0, 0, 0, 0}));
    // In the last one the largest count, 4 here, shows as 255.
    const Pixel yuv = In(RGBToYUVBytes, {100, 200, 50, 0});
    EXPECT_EQ(GraphPixel(g, 2, 0, yuv[2], yuv[1]), (Pixel{yuv[0], yuv[1], yuv[2], 127}));
    EXPECT_EQ(GraphPixel(g, 2, 1, yuv[2], yuv[0]), (Pixel{yuv[0], yuv[1], yuv[2], 127}));
    EXPECT_EQ(GraphPixel(g, 2, 2, yuv[1], yuv[0]), (Pixel{yuv[0], yuv[1], yuv[2], 127}));
}

/// The first and the last entry of the tables count like all others.
TEST(ImageGraph, BlackAndWhite)
{
    const PicProps pic = {FOURCC_RGB32, 2, 1, 2};
    const std::vector<BYTE> bytes = {0, 0, 0, 0, 255, 255, 255, 0};
    PictureBuffer graph(cbGraph);
    PicProps picGraph = {};
    ASSERT_EQ(Img_GetImageGraph(bytes.data(), &pic, 1, graph.Data(), &picGraph), S_OK);
    const std::vector<BYTE> g = graph.Bytes();
    for (size_t nTable = 0; nTable < 3; nTable++)
    {
        EXPECT_EQ(GraphPixel(g, 0, nTable, 0, 0), (Pixel{0, 0, 0, 2})) << nTable;
        EXPECT_EQ(GraphPixel(g, 0, nTable, 255, 255), (Pixel{255, 255, 255, 2})) << nTable;
    }
    // In HLS both have no hue and no saturation, in YUV no colour.
    EXPECT_EQ(GraphPixel(g, 1, 0, 0, 0), (Pixel{0, 0, 0, 2}));
    EXPECT_EQ(GraphPixel(g, 1, 1, 0, 0), (Pixel{0, 127, 0, 4})); // (0 + 255) / 2, both counted
    EXPECT_EQ(GraphPixel(g, 1, 2, 0, 0), (Pixel{0, 0, 0, 2}));
    EXPECT_EQ(GraphPixel(g, 1, 0, 0, 255), (Pixel{0, 255, 0, 2}));
    EXPECT_EQ(GraphPixel(g, 2, 0, 128, 128), (Pixel{127, 128, 128, 255}));
    EXPECT_EQ(GraphPixel(g, 2, 1, 128, 0), (Pixel{0, 128, 128, 127}));
    EXPECT_EQ(GraphPixel(g, 2, 1, 128, 255), (Pixel{255, 128, 128, 127}));
}

TEST(ImageGraph, CountsEndAt255)
{
    const PicProps pic = {FOURCC_RGB32, 600, 1, 600};
    const std::vector<BYTE> bytes(2400, 128);
    PictureBuffer graph(cbGraph);
    PicProps picGraph = {};
    ASSERT_EQ(Img_GetImageGraph(bytes.data(), &pic, 1, graph.Data(), &picGraph), S_OK);
    for (size_t nTable = 0; nTable < 3; nTable++)
        EXPECT_EQ(GraphPixel(graph.Bytes(), 0, nTable, 128, 128), (Pixel{128, 128, 128, 255}));
    const PicProps picRefused = {FOURCC_r210, 2, 2, 2};
    EXPECT_EQ(Img_GetImageGraph(bytes.data(), &picRefused, 1, graph.Data(), &picGraph), E_INVALIDARG);
}

} // namespace
