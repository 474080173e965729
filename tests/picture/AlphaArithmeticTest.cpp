#include "TempFiles.h"
#include "asm/SIMD64Mix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cmath>

namespace
{
/// Every pair of colour and alpha, the colours in turn in B, G and R.
Bytes EveryPair()
{
    Bytes pixels;
    for (int a = 0; a < 256; ++a)
    {
        for (int c = 0; c < 256; ++c)
            Append(pixels, {static_cast<BYTE>(c), static_cast<BYTE>(c + 85), static_cast<BYTE>(c + 170),
                            static_cast<BYTE>(a)});
    }
    return pixels;
}

BYTE FirstStretch(int c, int a)
{
    if (a == 0)
        return 0;
    const float f = std::min(std::nearbyintf(65280.0f / static_cast<float>(a)), 32767.0f);
    return static_cast<BYTE>(std::min((c * static_cast<int>(f)) >> 8, 255));
}

BYTE LastStretch(int c, int a)
{
    if (a == 0)
        return static_cast<BYTE>(c);
    return static_cast<BYTE>(std::clamp(std::round(c * 256.0 / a), 0.0, 255.0));
}

/// Applies a formula to the colours of each pixel.
template <class TFormula>
Bytes Expected(const Bytes& before, TFormula formula)
{
    Bytes expected = before;
    for (size_t i = 0; i < before.size(); ++i)
    {
        if ((i & 3) != 3)
            expected[i] = formula(before[i], before[i | 3]);
    }
    return expected;
}

void ExpectEqual(const Bytes& pixels, const Bytes& expected)
{
    ASSERT_EQ(pixels.size(), expected.size());
    const auto [it, itExpected] = std::mismatch(pixels.begin(), pixels.end(), expected.begin());
    EXPECT_TRUE(it == pixels.end()) << "byte " << it - pixels.begin() << ": " << int{*it} << " for "
                                    << int{*itExpected};
}

TEST(Premultiply, EveryPair)
{
    Bytes pixels = EveryPair();
    const Bytes before = pixels;
    PremultiplyAlpha(pixels.data(), 256 * 4, 256, 256);
    ExpectEqual(pixels, Expected(before,
                                 [](int c, int a)
                                 {
                                     const int p = c * a;
                                     return static_cast<BYTE>((p + 1 + (p >> 8)) >> 8);
                                 }));
    // Whole alpha keeps a colour, no alpha takes it away.
    EXPECT_EQ(Bytes(pixels.end() - 1024, pixels.end()), Bytes(before.end() - 1024, before.end()));
    EXPECT_EQ(Bytes(pixels.begin(), pixels.begin() + 1024), Bytes(1024, 0));
}

TEST(Premultiply, RowStep)
{
    Bytes pixels(3 * 20, 200);
    PremultiplyAlpha(pixels.data(), 20, 3, 2);
    const BYTE c = (200 * 200 + 1 + ((200 * 200) >> 8)) >> 8;
    const Bytes row = {c, c, c, 200, c, c, c, 200, c, c, c, 200, 200, 200, 200, 200, 200, 200, 200, 200};
    Bytes expected = row;
    Append(expected, row);
    Append(expected, Bytes(20, 200));
    EXPECT_EQ(pixels, expected);
    PremultiplyAlpha(nullptr, 20, 3, 0);
}

/// Any width at any address, and nothing beside the pixels.
TEST(Premultiply, EveryWidth)
{
    const Bytes pairs = EveryPair();
    for (DWORD nWidth = 1; nWidth <= 21; ++nWidth)
    {
        for (size_t nAt = 1; nAt < 5; ++nAt)
        {
            const Bytes before(pairs.begin() + 100'000, pairs.begin() + 100'000 + nWidth * 4);
            Bytes pixels(nAt, 0xEE);
            Append(pixels, before);
            Append(pixels, Bytes(5, 0xEE));
            PremultiplyAlpha(pixels.data() + nAt, 0, nWidth, 1);
            Bytes expected(nAt, 0xEE);
            Append(expected, Expected(before,
                                      [](int c, int a)
                                      {
                                          const int p = c * a;
                                          return static_cast<BYTE>((p + 1 + (p >> 8)) >> 8);
                                      }));
            Append(expected, Bytes(5, 0xEE));
            ExpectEqual(pixels, expected);
        }
    }
}

TEST(Unpremultiply, Factors)
{
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(unpremultiplyTable.arrFactors[0].b, 0);
    EXPECT_EQ(unpremultiplyTable.arrFactors[1].b, 32767);
    EXPECT_EQ(unpremultiplyTable.arrFactors[2].b, 32640);
    EXPECT_EQ(unpremultiplyTable.arrFactors[255].b, 256);
    for (int a = 1; a < 256; ++a)
        EXPECT_EQ(unpremultiplyTable.arrFactors[a].b,
                  std::min(32767, static_cast<int>(std::nearbyintf(65280.0f / static_cast<float>(a)))));
}

TEST(Unpremultiply, EveryPairInTheFirstStretch)
{
    const Bytes before = EveryPair();
    Bytes pixels(before.size());
    Unpremultiply(pixels.data(), before.data(), before.size() / 4);
    ExpectEqual(pixels, Expected(before, FirstStretch));
}

TEST(Unpremultiply, EveryPairInTheLastStretch)
{
    const Bytes before = EveryPair();
    Bytes pixels(before.size());
    for (size_t i = 0; i < before.size() / 4; i += 2)
        Unpremultiply(&pixels[i * 4], &before[i * 4], 2);
    ExpectEqual(pixels, Expected(before, LastStretch));
}

TEST(Unpremultiply, StretchesMeet)
{
    for (size_t nPixels = 0; nPixels <= 13; ++nPixels)
    {
        Bytes before;
        for (size_t i = 0; i < nPixels; ++i)
            Append(before, {90, 1, 200, static_cast<BYTE>(i == 5 ? 0 : 100)});
        Bytes expected;
        for (size_t i = 0; i < before.size(); ++i)
        {
            const int a = before[i | 3];
            const bool bFirst = i / 4 < nPixels / 4 * 4;
            expected.push_back((i & 3) == 3 ? static_cast<BYTE>(a)
                               : bFirst     ? FirstStretch(before[i], a)
                                            : LastStretch(before[i], a));
        }
        Bytes pixels = before;
        Unpremultiply(pixels.data(), pixels.data(), nPixels); // in place
        EXPECT_EQ(pixels, expected);
    }
}

TEST(Unpremultiply, OpaqueAndClear)
{
    for (int c = 0; c < 256; ++c)
    {
        const BYTE by = static_cast<BYTE>(c);
        Bytes pixels;
        for (int i = 0; i < 6; ++i)
            Append(pixels, {by, by, by, static_cast<BYTE>(i % 2 == 0 ? 255 : 0)});
        Unpremultiply(pixels.data(), pixels.data(), 6);
        EXPECT_EQ(pixels[0], c) << "an opaque colour stays in the first stretch";
        EXPECT_EQ(pixels[4], 0) << "a clear one vanishes there";
        EXPECT_EQ(pixels[16], std::min(255, c + (c >= 128 ? 1 : 0))) << "the last stretch counts 256 levels";
        EXPECT_EQ(pixels[20], c) << "and leaves a clear colour alone";
    }
}
} // namespace
