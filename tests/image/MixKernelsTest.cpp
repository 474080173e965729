// The kernels of fills and mixes: the scalar forms against their formulas, the vector forms against the
// scalar ones, bit for bit.
#include "ImageTest.h"
#include "PictureBuffer.h"

#include "asm/SIMD64Fill.h"
#include "asm/SIMD64Mix.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace
{

constexpr size_t nWidths = 130;
constexpr size_t arrLongWidths[] = {131, 190, 191, 192, 193, 223, 255, 256, 383, 384, 385, 1000, 4095};

std::vector<eCPU> VectorLevels()
{
    std::vector<eCPU> levels;
    for (int nLevel = eCPU_SSE41; nLevel <= CpuLevel(); nLevel++)
        levels.push_back(static_cast<eCPU>(nLevel));
    return levels;
}

/// Bytes at a chosen distance from an aligned place, in a block that ends with them.
class CUnaligned
{
public:
    CUnaligned(size_t cb, size_t nOffset, unsigned nSeed) : m_buffer(cb + nOffset), m_nOffset(nOffset)
    {
        m_buffer.Fill(nSeed);
    }
    BYTE* Data() { return m_buffer.Data() + m_nOffset; }
    std::vector<BYTE> Bytes() const { return m_buffer.Bytes(); }
    bool IsGuardWhole() const { return m_buffer.IsGuardWhole(); }

private:
    PictureBuffer m_buffer;
    size_t m_nOffset;
};

TEST(FillKernels, EveryPatternWidthAndPlace)
{
    std::vector<size_t> widths(arrLongWidths, std::end(arrLongWidths));
    for (size_t cb = 0; cb <= nWidths; cb++)
        widths.push_back(cb);
    for (int nLevel = eCPU_Scalar; nLevel <= CpuLevel(); nLevel++)
    {
        const FillKernels& kernels = KernelsOf<FillKernels>(static_cast<eCPU>(nLevel));
        for (size_t nBytes = 1; nBytes <= 4; nBytes++)
        {
            const FillPattern pattern = MakeFillPattern(0x44332211, nBytes);
            for (const size_t cb : widths)
            {
                for (const size_t nOffset : {0, 1, 3, 15, 16, 17, 31, 33})
                {
                    CUnaligned dst(cb, nOffset, 5);
                    std::vector<BYTE> expected = dst.Bytes();
                    for (size_t i = 0; i < cb; i++)
                        expected[nOffset + i] = static_cast<BYTE>(0x11 * (i % nBytes + 1));
                    kernels.pfnFill(dst.Data(), cb, pattern);
                    ASSERT_EQ(dst.Bytes(), expected)
                        << nLevel << " " << nBytes << " " << cb << " " << nOffset;
                    ASSERT_TRUE(dst.IsGuardWhole());
                }
            }
        }
    }
}

TEST(FillKernels, TheLimitChoosesTheForm)
{
    const CCpuLimit limit(eCPU_Scalar);
    EXPECT_EQ(&Kernels<FillKernels>(), &FillKernels::scalar);
    EXPECT_EQ(&Kernels<MixKernels>(), &MixKernels::scalar);
}

int Clamp(int n)
{
    return std::clamp(n, 0, 255);
}

/// The formulas of each row, for byte i of nSamples samples.
struct RowFormula
{
    eMixRow eRow;
    size_t cbSample;
    size_t nAlphas; ///< a sample
    std::function<int(int s, int d, int a, int nOpacity, size_t i, size_t nSamples)> fnMix;
};

int Straight(int s, int d, int a)
{
    return (s * a + 255 + d * (255 - a)) >> 8;
}

int Centred(int s, int d, int a, int nOpacity, int c)
{
    return Clamp((((s - c) * nOpacity + 255 + (255 - a) * (d - c)) >> 8) + c);
}

const RowFormula arrFormulas[] = {
    {eMR_Luma, 1, 1,
     [](int s, int d, int a, int, size_t i, size_t nSamples)
     {
         if (i < nSamples / 16 * 16)
             return (std::min(s * a + d * (255 - a), 65535) + 255) >> 8;
         return std::min(((s * a + 255) >> 8) + (((255 - a) * d + 255) >> 8), 255);
     }},
    {eMR_LumaPre, 1, 1, [](int s, int d, int a, int o, size_t, size_t) { return Centred(s, d, a, o, 16); }},
    {eMR_Chroma, 1, 2, [](int s, int d, int a, int, size_t, size_t) { return Straight(s, d, a); }},
    {eMR_ChromaPre, 1, 2,
     [](int s, int d, int a, int o, size_t, size_t)
     { return ((((s - 128) * o + 255 + (d - 128) * (255 - a)) >> 8) - 128) & 0xFF; }},
    {eMR_Packed, 2, 1, [](int s, int d, int a, int, size_t, size_t) { return Clamp(Straight(s, d, a)); }},
    {eMR_PackedPreY, 2, 1,
     [](int s, int d, int a, int o, size_t i, size_t)
     { return Centred(s, d, a, o / 2 * 2, i % 2 == 0 ? 16 : 128); }},
    {eMR_PackedPreC, 2, 1,
     [](int s, int d, int a, int o, size_t i, size_t)
     { return Centred(s, d, a, o / 2 * 2, i % 2 == 0 ? 128 : 16); }},
    {eMR_24, 3, 1, [](int s, int d, int a, int, size_t, size_t) { return Clamp(Straight(s, d, a)); }},
    {eMR_24Pre, 3, 1, [](int s, int d, int a, int o, size_t, size_t) { return Centred(s, d, a, o, 0); }},
    {eMR_32, 4, 1, [](int s, int d, int a, int, size_t, size_t) { return Clamp(Straight(s, d, a)); }},
    {eMR_32Pre, 4, 1, [](int s, int d, int a, int o, size_t, size_t) { return Centred(s, d, a, o, 0); }},
};
static_assert(std::size(arrFormulas) == eMR_Count);

int AlphaOf(const RowFormula& formula, const BYTE* pAlpha, size_t i)
{
    if (formula.nAlphas == 2)
        return (pAlpha[2 * i] + pAlpha[2 * i + 1]) >> 1;
    return pAlpha[i / formula.cbSample];
}

constexpr int arrOpacities[] = {0, 1, 2, 3, 127, 128, 254, 255};

TEST(MixKernels, RowsFollowTheirFormulas)
{
    for (int nLevel = eCPU_Scalar; nLevel <= CpuLevel(); nLevel++)
    {
        const MixKernels& kernels = KernelsOf<MixKernels>(static_cast<eCPU>(nLevel));
        for (const RowFormula& formula : arrFormulas)
        {
            unsigned nSeed = 1;
            for (size_t nSamples = 0; nSamples <= nWidths; nSamples++)
            {
                for (const int nOpacity : arrOpacities)
                {
                    const size_t nOffset = nSeed % 33;
                    CUnaligned dst(nSamples * formula.cbSample, nOffset, nSeed++);
                    CUnaligned src(nSamples * formula.cbSample, nSeed % 31, nSeed + 1000);
                    CUnaligned alpha(nSamples * formula.nAlphas, nSeed % 29, nSeed + 2000);
                    std::vector<BYTE> expected = dst.Bytes();
                    for (size_t i = 0; i < nSamples * formula.cbSample; i++)
                    {
                        BYTE& b = expected[nOffset + i];
                        b = static_cast<BYTE>(formula.fnMix(
                            src.Data()[i], b, AlphaOf(formula, alpha.Data(), i), nOpacity, i, nSamples));
                    }
                    kernels.arrRows[formula.eRow](dst.Data(), src.Data(), alpha.Data(), nSamples, nOpacity);
                    ASSERT_EQ(dst.Bytes(), expected) << nLevel << " row " << formula.eRow << ", " << nSamples
                                                     << " samples, opacity " << nOpacity;
                    ASSERT_TRUE(dst.IsGuardWhole());
                }
            }
        }
    }
}

/// Corners of all values, where sums are the largest and the lowest.
TEST(MixKernels, RowsOfExtremeValues)
{
    constexpr BYTE arrValues[] = {0, 1, 15, 16, 17, 127, 128, 129, 254, 255};
    constexpr size_t nSamples = 64;
    for (const eCPU eLevel : VectorLevels())
    {
        for (const RowFormula& formula : arrFormulas)
        {
            for (const BYTE s : arrValues)
            {
                for (const BYTE d : arrValues)
                {
                    for (const BYTE a : arrValues)
                    {
                        for (const int nOpacity : arrOpacities)
                        {
                            const std::vector<BYTE> src(nSamples * formula.cbSample, s);
                            const std::vector<BYTE> alpha(nSamples * formula.nAlphas, a);
                            std::vector<BYTE> dst(src.size(), d);
                            std::vector<BYTE> expected = dst;
                            MixKernels::scalar.arrRows[formula.eRow](expected.data(), src.data(),
                                                                     alpha.data(), nSamples, nOpacity);
                            KernelsOf<MixKernels>(eLevel).arrRows[formula.eRow](
                                dst.data(), src.data(), alpha.data(), nSamples, nOpacity);
                            ASSERT_EQ(dst, expected) << eLevel << " row " << formula.eRow;
                        }
                    }
                }
            }
        }
    }
}

/// One weight and one centre each for all bytes.
BlendWeights MakeBlendWeights(SHORT nA, SHORT nB, SHORT nCentre)
{
    return {{nA, nA, nA, nA}, {nB, nB, nB, nB}, {nCentre, nCentre, nCentre, nCentre}};
}

TEST(MixKernels, BlendsByName)
{
    const BYTE arrA[] = {0, 1, 127, 128, 200, 255};
    const BYTE arrB[] = {9, 8, 7, 6, 5, 4};
    const SHORT arrOne[4] = {256, 256, 256, 256};
    const SHORT arrHalf[4] = {128, 128, 128, 128};
    const SHORT arrNone[4] = {0, 0, 0, 0};
    const BYTE arrCentre[4] = {0, 128, 0, 128};
    const auto result = [](const BYTE(&arr)[6]) { return std::vector<BYTE>(arr, arr + 6); };
    BYTE arrDst[6] = {};
    BlendBytes(arrDst, arrA, arrB, 6, arrOne, arrNone);
    EXPECT_EQ(result(arrDst), result(arrA));
    BlendBytes(arrDst, arrA, arrB, 6, arrHalf, arrNone);
    EXPECT_EQ(result(arrDst), (std::vector<BYTE>{0, 0, 63, 64, 100, 127}));
    BlendChroma(arrDst, arrA, arrB, 6, arrHalf, arrNone);
    EXPECT_EQ(result(arrDst), (std::vector<BYTE>{64, 64, 127, 128, 164, 191}));
    BlendCentred(arrDst, arrA, arrB, 6, arrHalf, arrNone, arrCentre);
    EXPECT_EQ(result(arrDst), (std::vector<BYTE>{0, 64, 63, 128, 100, 191}));
}

TEST(MixKernels, Blends)
{
    const BlendWeights arrWeights[] = {
        MakeBlendWeights(256, 0, 0),         MakeBlendWeights(0, 256, 0),
        MakeBlendWeights(127, 128, 0),       MakeBlendWeights(-32768, 32767, 0),
        MakeBlendWeights(32767, 32767, 128), MakeBlendWeights(-32768, -32768, 128),
        MakeBlendWeights(300, -100, 0),      {{1, 20, 300, 4000}, {-5, 60, -700, 8000}, {0, 128, 16, 255}},
    };
    for (int nLevel = eCPU_Scalar; nLevel <= CpuLevel(); nLevel++)
    {
        unsigned nSeed = 1;
        for (const BlendWeights& weights : arrWeights)
        {
            for (size_t cb = 0; cb <= nWidths; cb++)
            {
                CUnaligned dst(cb, nSeed % 33, nSeed);
                CUnaligned a(cb, nSeed % 31, nSeed + 100);
                CUnaligned b(cb, nSeed % 17, nSeed + 200);
                std::vector<BYTE> expected = dst.Bytes();
                for (size_t i = 0; i < cb; i++)
                {
                    const int c = weights.arrCentre[i % 4];
                    const int nSum =
                        (a.Data()[i] - c) * weights.arrA[i % 4] + (b.Data()[i] - c) * weights.arrB[i % 4];
                    expected[nSeed % 33 + i] =
                        static_cast<BYTE>(Clamp(static_cast<int>(std::floor(nSum / 256.0)) + c));
                }
                KernelsOf<MixKernels>(static_cast<eCPU>(nLevel))
                    .pfnBlend(dst.Data(), a.Data(), b.Data(), cb, weights);
                ASSERT_EQ(dst.Bytes(), expected) << nLevel << " " << cb;
                ASSERT_TRUE(dst.IsGuardWhole());
                nSeed++;
            }
        }
    }
}

/// Products and sums above 65535 end at 255.
TEST(MixKernels, BlendsSaturate)
{
    const BYTE arrA[17] = {255, 255, 255, 255, 255, 255, 255, 255, 255,
                           255, 255, 255, 255, 255, 255, 255, 255};
    for (int nLevel = eCPU_Scalar; nLevel <= CpuLevel(); nLevel++)
    {
        const MixKernels& kernels = KernelsOf<MixKernels>(static_cast<eCPU>(nLevel));
        BYTE arrDst[17] = {};
        kernels.pfnBlend(arrDst, arrA, arrA, 17, MakeBlendWeights(32767, 32767, 0));
        EXPECT_EQ(std::vector<BYTE>(arrDst, arrDst + 17), std::vector<BYTE>(17, 255));
        kernels.pfnBlend(arrDst, arrA, arrA, 17, MakeBlendWeights(-1, 0, 0));
        EXPECT_EQ(std::vector<BYTE>(arrDst, arrDst + 17), std::vector<BYTE>(17, 0));
    }
}

/// All pairs of bytes with weights of either sign and on both sides of the limit: in whole groups of 16,
/// 65535 is the largest product and the largest sum.
TEST(MixKernels, BlendBytesOfEveryValue)
{
    constexpr SHORT arrWeights[] = {-32768, -256, -1, 0, 1, 255, 256, 257, 258, 512, 32767};
    constexpr size_t cb = 256 + 5;
    for (int nLevel = eCPU_Scalar; nLevel <= CpuLevel(); nLevel++)
    {
        const CCpuLimit limit(static_cast<eCPU>(nLevel));
        for (const SHORT nA : arrWeights)
        {
            for (const SHORT nB : arrWeights)
            {
                const SHORT wA[4] = {nA, nA, nA, nA};
                const SHORT wB[4] = {nB, nB, nB, nB};
                for (int b = 0; b < 256; b++)
                {
                    std::vector<BYTE> first(cb), second(cb, static_cast<BYTE>(b)), dst(cb), expected(cb);
                    for (size_t i = 0; i < cb; i++)
                    {
                        first[i] = static_cast<BYTE>(i);
                        int nProductA = first[i] * nA;
                        int nProductB = b * nB;
                        if (i < cb / 16 * 16)
                        {
                            nProductA = std::min(nProductA, 65535);
                            nProductB = std::min(nProductB, 65535);
                        }
                        expected[i] = static_cast<BYTE>(Clamp((nProductA + nProductB) >> 8));
                    }
                    BlendBytes(dst.data(), first.data(), second.data(), cb, wA, wB);
                    ASSERT_EQ(dst, expected) << nLevel << ", " << nA << " and " << nB << ", byte " << b;
                }
            }
        }
    }
}

/// The saturating row itself, also where BlendBytes need not take it, with a weight for each byte.
TEST(MixKernels, BlendsSaturated)
{
    constexpr BlendWeights arrWeights[] = {{{512, -256, 300, 20}, {-256, 512, -4000, 60}, {}},
                                           {{32767, -32768, 1, 0}, {-32768, 32767, 0, 256}, {}}};
    for (const eCPU eLevel : VectorLevels())
    {
        unsigned nSeed = 1;
        for (const BlendWeights& weights : arrWeights)
        {
            for (size_t cb = 0; cb <= nWidths; cb++, nSeed++)
            {
                CUnaligned a(cb, nSeed % 31, nSeed);
                CUnaligned b(cb, nSeed % 17, nSeed + 100);
                CUnaligned dst(cb, nSeed % 33, nSeed + 200);
                std::vector<BYTE> expected(cb);
                MixKernels::scalar.pfnBlendSaturated(expected.data(), a.Data(), b.Data(), cb, weights);
                KernelsOf<MixKernels>(eLevel).pfnBlendSaturated(dst.Data(), a.Data(), b.Data(), cb, weights);
                ASSERT_EQ(std::vector<BYTE>(dst.Data(), dst.Data() + cb), expected) << eLevel << " " << cb;
                ASSERT_TRUE(dst.IsGuardWhole());
            }
        }
    }
}

int D(int v)
{
    return (v + 1 + (v >> 8)) >> 8;
}

TEST(MixKernels, Scales)
{
    for (int nLevel = eCPU_Scalar; nLevel <= CpuLevel(); nLevel++)
    {
        for (int nOpacity = 0; nOpacity < 256; nOpacity++)
        {
            std::vector<BYTE> bytes(256 + nOpacity % 16);
            std::vector<BYTE> expected(bytes.size());
            for (size_t i = 0; i < bytes.size(); i++)
            {
                bytes[i] = static_cast<BYTE>(i);
                expected[i] = static_cast<BYTE>(D(static_cast<int>(i & 0xFF) * nOpacity));
            }
            KernelsOf<MixKernels>(static_cast<eCPU>(nLevel)).pfnScale(bytes.data(), bytes.size(), nOpacity);
            ASSERT_EQ(bytes, expected) << nLevel << " " << nOpacity;
        }
    }
}

TEST(MixKernels, Composes)
{
    for (int nLevel = eCPU_Scalar; nLevel <= CpuLevel(); nLevel++)
    {
        const MixKernels& kernels = KernelsOf<MixKernels>(static_cast<eCPU>(nLevel));
        for (unsigned nSeed = 0; nSeed < 400; nSeed++)
        {
            const size_t nPixels = nSeed % (nWidths + 1);
            CUnaligned dst(nPixels * 4, nSeed % 5, nSeed);
            CUnaligned src(nPixels * 4, nSeed % 7, nSeed + 1);
            for (size_t i = 3; i < nPixels * 4; i += 4) // many alphas are 0 or 255
            {
                src.Data()[i] = src.Data()[i] < 80 ? 0 : src.Data()[i] > 180 ? 255 : src.Data()[i];
                dst.Data()[i] = dst.Data()[i] < 60 ? 0 : dst.Data()[i] > 200 ? 255 : dst.Data()[i];
            }
            CUnaligned dstPre(nPixels * 4, nSeed % 3, nSeed);
            std::copy_n(dst.Data(), nPixels * 4, dstPre.Data());
            std::vector<BYTE> straight(dst.Data(), dst.Data() + nPixels * 4);
            std::vector<BYTE> pre = straight;
            for (size_t i = 0; i < nPixels * 4; i++)
            {
                const int s = src.Data()[i];
                const int d = dst.Data()[i];
                const int sa = src.Data()[i | 3];
                const int da = dst.Data()[i | 3];
                const int nAlpha = sa + D(da * (255 - sa));
                const bool bAlpha = i % 4 == 3;
                straight[i] = static_cast<BYTE>(bAlpha ? nAlpha : D(s * sa) + D(D(d * da) * (255 - sa)));
                pre[i] = static_cast<BYTE>(bAlpha ? nAlpha : std::min(255, s + D(d * (255 - sa))));
            }
            kernels.pfnComposeStraight(dst.Data(), src.Data(), nPixels);
            ASSERT_EQ(std::vector<BYTE>(dst.Data(), dst.Data() + nPixels * 4), straight) << nLevel;
            kernels.pfnComposePre(dstPre.Data(), src.Data(), nPixels);
            ASSERT_EQ(std::vector<BYTE>(dstPre.Data(), dstPre.Data() + nPixels * 4), pre) << nLevel;
            ASSERT_TRUE(dst.IsGuardWhole() && dstPre.IsGuardWhole());
        }
    }
}

/// Every colour over every alpha.
TEST(MixKernels, Straightens)
{
    for (int nLevel = eCPU_Scalar; nLevel <= CpuLevel(); nLevel++)
    {
        for (int a = 0; a < 256; a++)
        {
            constexpr size_t nPixels = 259;
            std::vector<BYTE> bytes(nPixels * 4);
            std::vector<BYTE> expected(nPixels * 4);
            for (size_t i = 0; i < bytes.size(); i++)
            {
                const auto c = static_cast<int>((i / 4 + i % 4 * 85) & 0xFF);
                const bool bAlpha = i % 4 == 3;
                bytes[i] = static_cast<BYTE>(bAlpha ? a : c);
                expected[i] = bytes[i];
                if (!bAlpha && a != 0)
                    expected[i] = static_cast<BYTE>(std::min(std::floor(c * 256.0 / a + 0.5), 255.0));
            }
            KernelsOf<MixKernels>(static_cast<eCPU>(nLevel)).pfnStraighten(bytes.data(), nPixels);
            ASSERT_EQ(bytes, expected) << nLevel << " " << a;
        }
    }
}

} // namespace
