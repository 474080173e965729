// Every form of the resizer's kernels gives the bytes of the plain one.
#include "ResizeReference.h"

#include "asm/Cpu.h"
#include "asm/SIMD64Resize.h"
#include "imgconverter/ResizeScaler.h"
#include "imgconverter/Sharpen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

namespace
{

struct Form
{
    eCPU eLevel;
    const ResizeKernels* pKernels;
};

/// The vector forms that this processor runs.
std::vector<Form> Forms()
{
    std::vector<Form> forms;
    for (const Form& form : {Form{eCPU_SSE41, &ResizeKernels::sse41}, Form{eCPU_AVX2, &ResizeKernels::avx2}})
    {
        if (CpuLevel() >= form.eLevel)
            forms.push_back(form);
    }
    return forms;
}

constexpr int arrChannels[] = {1, 3, 4};

TEST(ResizeKernels, DivisorIsExact)
{
    std::mt19937 random(1);
    std::vector<uint32_t> totals;
    for (uint32_t n = 1; n <= 700; n++)
        totals.push_back(n);
    for (int n = 10; n <= 23; n++)
    {
        for (const uint32_t nTotal : {(1u << n) - 1, 1u << n, (1u << n) + 1})
            totals.push_back(std::min(nTotal, nResizeMaxTotal));
    }
    for (int i = 0; i < 500; i++)
        totals.push_back(random() % nResizeMaxTotal + 1);
    for (const uint32_t nTotal : totals)
    {
        const ResizeDivisor divisor = MakeResizeDivisor(nTotal);
        // The sums around every step of the quotient.
        std::vector<uint32_t> sums;
        for (uint64_t nLevel = 0; nLevel <= 255; nLevel++)
        {
            for (int64_t nOff = -1; nOff <= 1; nOff++)
            {
                const int64_t n = static_cast<int64_t>(nLevel * nTotal + nTotal / 2) + nOff;
                sums.push_back(static_cast<uint32_t>(std::clamp<int64_t>(n, 0, int64_t{255} * nTotal)));
            }
        }
        std::vector<BYTE> expected(sums.size());
        for (size_t i = 0; i < sums.size(); i++)
            expected[i] = static_cast<BYTE>((sums[i] + nTotal / 2) / nTotal);
        std::vector<BYTE> result(sums.size());
        ResizeKernels::scalar.pfnDivide(sums.data(), result.data(), divisor, sums.size());
        ASSERT_EQ(result, expected) << nTotal;
        for (const Form& form : Forms())
        {
            std::fill(result.begin(), result.end(), BYTE{0});
            form.pKernels->pfnDivide(sums.data(), result.data(), divisor, sums.size());
            ASSERT_EQ(result, expected) << nTotal << " level " << form.eLevel;
        }
    }
}

/// Every sum of every total that the narrow divisor takes.
/// Planes of the largest side: neither counts nor places may wrap in 32 bits.
TEST(ResizeKernels, TablesOfTheLargestPlane)
{
    static_assert(FirstWeight(0x20000000, 4) == 0x80000000);
    static_assert(FirstWeight(0x40000001, 4) == 0x100000004);
    static_assert(FirstWeight(std::numeric_limits<LONG>::max(), 8) == 0x3FFFFFFF8);
    const LONG nMost = std::numeric_limits<LONG>::max();
    for (const LONG nLess : {0, 1, 14, 15, 16})
        EXPECT_EQ(ResizeWindowCount(4, nMost - nLess),
                  nLess < 15 ? size_t{0x8000000} * 2 : size_t{0x7FFFFFF} * 2)
            << nLess;
}

TEST(ResizeKernels, NarrowDivisorIsExact)
{
    std::vector<Form> forms = Forms();
    forms.push_back({eCPU_Scalar, &ResizeKernels::scalar});
    int nTaken = 0;
    for (uint32_t nTotal = 0; nTotal <= 300; nTotal++)
    {
        ResizeNarrowDivisor divisor = {};
        if (!MakeResizeNarrowDivisor(nTotal, divisor))
            continue;
        nTaken++;
        std::vector<uint16_t> row(255 * nTotal + 1);
        std::vector<BYTE> expected(row.size());
        for (size_t i = 0; i < row.size(); i++)
        {
            row[i] = static_cast<uint16_t>(i);
            expected[i] = static_cast<BYTE>((i + nTotal / 2) / nTotal);
        }
        row.resize(row.size() + nResizeRowSlack);
        const uint16_t* arrRows[] = {row.data()};
        const int16_t nWeight = 1;
        for (const Form& form : forms)
        {
            std::vector<BYTE> result(expected.size());
            form.pKernels->pfnAverage(arrRows, &nWeight, 1, divisor, result.data(), result.size());
            ASSERT_EQ(result, expected) << nTotal << " level " << form.eLevel;
        }
    }
    EXPECT_GT(nTaken, 100);
    ResizeNarrowDivisor divisor = {};
    for (const uint32_t nTotal : {2, 4, 9, 16, 120}) // everyday reductions
        EXPECT_TRUE(MakeResizeNarrowDivisor(nTotal, divisor)) << nTotal;
    EXPECT_FALSE(MakeResizeNarrowDivisor(257, divisor));
    EXPECT_FALSE(MakeResizeNarrowDivisor(uint64_t{1} << 40, divisor));
}

TEST(ResizeKernels, Average)
{
    std::mt19937 random(7);
    ResizeNarrowDivisor divisor = {};
    ASSERT_TRUE(MakeResizeNarrowDivisor(120, divisor));
    for (size_t nSamples = 1; nSamples <= 130; nSamples++)
    {
        for (const LONG nRows : {1, 2, 3, 5, 16})
        {
            std::vector<uint16_t> rows[nResizeNarrowRows];
            const uint16_t* arrRows[nResizeNarrowRows] = {};
            int16_t arrWeights[nResizeNarrowRows] = {};
            for (LONG k = 0; k < nRows; k++)
            {
                rows[k].resize(nSamples + nResizeRowSlack);
                for (uint16_t& n : rows[k])
                    n = static_cast<uint16_t>(random() % 2041);
                arrRows[k] = rows[k].data();
                arrWeights[k] = static_cast<int16_t>(15 / nRows);
            }
            std::vector<BYTE> expected(nSamples);
            ResizeKernels::scalar.pfnAverage(arrRows, arrWeights, nRows, divisor, expected.data(), nSamples);
            for (const Form& form : Forms())
            {
                std::vector<BYTE> result(nSamples + 1, BYTE{0xA5});
                form.pKernels->pfnAverage(arrRows, arrWeights, nRows, divisor, result.data() + 1, nSamples);
                ASSERT_TRUE(std::equal(expected.begin(), expected.end(), result.begin() + 1))
                    << nSamples << " rows " << nRows << " level " << form.eLevel;
            }
        }
    }
}

/// All lengths with all tails; the output ends where its memory ends.
TEST(ResizeKernels, Blend)
{
    std::mt19937 random(2);
    for (size_t nSamples = 1; nSamples <= 130; nSamples++)
    {
        for (const LONG nTaps : {1, 2, 3, 4})
        {
            std::vector<int16_t> rows[4];
            const int16_t* arrRows[4] = {};
            int16_t arrWeights[4] = {};
            const bool bExtreme = random() % 2;
            int nRest = nResizeWeightOne;
            for (LONG k = 0; k < nTaps; k++)
            {
                rows[k].resize(nSamples + nResizeRowSlack);
                for (int16_t& n : rows[k])
                    n = static_cast<int16_t>(bExtreme ? (random() % 2 ? -2048 : 18368)
                                                      : static_cast<int>(random() % 20416) - 2048);
                arrRows[k] = rows[k].data();
                arrWeights[k] =
                    static_cast<int16_t>(k == nTaps - 1 ? nRest : static_cast<int>(random() % 12000) - 1200);
                nRest -= arrWeights[k];
            }
            if (nRest < -1228 || arrWeights[nTaps - 1] > 18000)
                continue;
            std::vector<BYTE> expected(nSamples);
            ResizeKernels::scalar.pfnBlend(arrRows, arrWeights, nTaps, expected.data(), nSamples);
            for (const Form& form : Forms())
            {
                std::vector<BYTE> result(nSamples + 1, BYTE{0xA5});
                form.pKernels->pfnBlend(arrRows, arrWeights, nTaps, result.data() + 1, nSamples);
                ASSERT_EQ(result[0], 0xA5);
                ASSERT_TRUE(std::equal(expected.begin(), expected.end(), result.begin() + 1))
                    << nSamples << " taps " << nTaps << " level " << form.eLevel;
            }
        }
    }
}

TEST(ResizeKernels, Add)
{
    std::mt19937 random(3);
    for (size_t nSamples = 1; nSamples <= 130; nSamples++)
    {
        for (const bool bFirst : {false, true})
        {
            std::vector<int32_t> row(nSamples);
            std::vector<uint32_t> sums(nSamples);
            for (size_t i = 0; i < nSamples; i++)
            {
                row[i] = static_cast<int32_t>(random() % 65536);
                sums[i] = random() % (1u << 30);
            }
            const uint32_t nWeight = random() % 16384;
            std::vector<uint32_t> expected = sums;
            ResizeKernels::scalar.pfnAdd(expected.data(), row.data(), nWeight, bFirst, nSamples);
            for (const Form& form : Forms())
            {
                std::vector<uint32_t> result = sums;
                form.pKernels->pfnAdd(result.data(), row.data(), nWeight, bFirst, nSamples);
                ASSERT_EQ(result, expected) << nSamples << " level " << form.eLevel;
            }
        }
    }
}

/// Two rows of memory of their exact size, one byte off, so that nothing is aligned by luck.
struct SourceRows
{
    SourceRows(size_t cbRow, std::mt19937& random)
    {
        for (std::vector<BYTE>& row : rows)
        {
            row.resize(cbRow + 1);
            for (BYTE& b : row)
                b = static_cast<BYTE>(random() % 3 ? random() : random() % 2 * 255);
        }
    }
    const BYTE* Row(size_t n) const { return rows[n].data() + 1; }

    std::vector<BYTE> rows[2];
};

/// What a kernel makes of two rows, without the slack; rows of one place when bOne.
template <class TSample>
std::vector<TSample> ScaleRows(void (*pfn)(const ResizeRowTaps&, const ResizeRowPair<TSample>&) noexcept,
                               const ResizeRowTaps& taps, const SourceRows& source, size_t nSamples,
                               bool bOne)
{
    std::vector<TSample> first(nSamples + nResizeRowSlack);
    std::vector<TSample> second(nSamples + nResizeRowSlack);
    if (bOne)
        pfn(taps, {{source.Row(1), source.Row(1)}, {second.data(), second.data()}});
    else
        pfn(taps, {{source.Row(0), source.Row(1)}, {first.data(), second.data()}});
    first.resize(nSamples);
    first.insert(first.end(), second.begin(), second.begin() + static_cast<ptrdiff_t>(nSamples));
    return first;
}

/// Which samples a row is scaled to.
enum eRowKind
{
    eRK_Levels,
    eRK_Narrow,
    eRK_Sums,
    eRK_Count
};

std::vector<int64_t> ScaleRows(const ResizeKernels& kernels, eRowKind eKind, const ResizeRowTaps& taps,
                               const SourceRows& source, int nChannels, bool bOne = false)
{
    const auto nSamples = static_cast<size_t>(taps.nOutputs * nChannels);
    const auto widen = [](const auto& samples)
    { return std::vector<int64_t>(samples.begin(), samples.end()); };
    switch (eKind)
    {
    case eRK_Levels:
        return widen(ScaleRows(kernels.arrRows[nChannels - 1], taps, source, nSamples, bOne));
    case eRK_Narrow:
        return widen(ScaleRows(kernels.arrNarrow[nChannels - 1], taps, source, nSamples, bOne));
    default:
        return widen(ScaleRows(kernels.arrSum[nChannels - 1], taps, source, nSamples, bOne));
    }
}

/// Windows in memory of their exact size.
class CWindows
{
public:
    explicit CWindows(ResizeRowTaps& taps)
        : m_windows(ResizeWindowCount(taps.nTaps, taps.nOutputs)),
          m_places(m_windows.size() * nResizeWindowPlaces)
    {
        MakeResizeWindows(taps, m_windows.data(), m_places.data());
    }

private:
    std::vector<ResizeWindow> m_windows;
    std::vector<int32_t> m_places;
};

void ExpectRowsLikePlain(const ResizeRowTaps& plain, eRowKind eKind, const SourceRows& source, int nChannels)
{
    const std::vector<int64_t> expected = ScaleRows(ResizeKernels::scalar, eKind, plain, source, nChannels);
    const std::vector<int64_t> expectedOne =
        ScaleRows(ResizeKernels::scalar, eKind, plain, source, nChannels, true);
    ResizeRowTaps taps = plain;
    CWindows windows(taps);
    EXPECT_EQ(taps.eWindows == eResizeWindows::None, plain.cbRow < 16);
    EXPECT_TRUE(taps.eWindows != eResizeWindows::Halved || eKind == eRK_Levels);
    for (const Form& form : Forms())
    {
        ASSERT_EQ(ScaleRows(*form.pKernels, eKind, plain, source, nChannels), expected)
            << "no windows, level " << form.eLevel;
        ASSERT_EQ(ScaleRows(*form.pKernels, eKind, taps, source, nChannels), expected)
            << "level " << form.eLevel;
        ASSERT_EQ(ScaleRows(*form.pKernels, eKind, taps, source, nChannels, true), expectedOne)
            << "one row, level " << form.eLevel;
    }
}

/// The rows across: output widths 1 to 130, sources of many widths, from one sample to ratios whose outputs
/// have no 16 bytes in common.
TEST(ResizeKernels, RowsAcross)
{
    std::mt19937 random(4);
    for (LONG nOutputs = 1; nOutputs <= 130; nOutputs++)
    {
        for (const LONG nSrc : {1, 2, 3, 4, 5, 7, 16, 17, 40, 131, 260, 1000})
        {
            for (const int nChannels : arrChannels)
            {
                const SourceRows source(static_cast<size_t>(nSrc * nChannels), random);
                const ResizeAxis axis = {nSrc, 0, nSrc, nOutputs, {nOutputs, nSrc}};
                for (const eInterpolation eMode : {eIP_Linear, eIP_Cubic, eIP_Super})
                {
                    SCOPED_TRACE(std::to_string(nSrc) + " to " + std::to_string(nOutputs) + " channels " +
                                 std::to_string(nChannels) + " mode " + std::to_string(eMode));
                    const bool bArea = eMode == eIP_Super;
                    const LONG nTaps = bArea ? std::min<LONG>((AreaSamples(axis) + 3) / 4 * 4, nSrc)
                                             : FilterTaps(axis, eMode);
                    std::vector<int32_t> starts(static_cast<size_t>(nOutputs));
                    std::vector<int16_t> weights(static_cast<size_t>(nOutputs * nTaps));
                    if (bArea)
                        AreaWeights(axis, nTaps, starts.data(), weights.data());
                    else
                        FilterWeights(axis, eMode, starts.data(), weights.data());
                    const ResizeRowTaps taps = MakeResizeTaps(starts.data(), weights.data(), nTaps, nOutputs,
                                                              static_cast<size_t>(nSrc * nChannels));
                    ExpectRowsLikePlain(taps, bArea ? eRK_Sums : eRK_Levels, source, nChannels);
                    if (bArea && nTaps <= 4 && AreaParts(axis).nSrc * 255 <= UINT16_MAX)
                        ExpectRowsLikePlain(taps, eRK_Narrow, source, nChannels);
                    if (HasFatalFailure())
                        return;
                }
            }
        }
    }
}

/// Halving has kernels of its own: they give what the general ways of both filters come to.
TEST(ResizeKernels, Halve)
{
    std::mt19937 random(8);
    std::vector<Form> forms = Forms();
    forms.push_back({eCPU_Scalar, &ResizeKernels::scalar});
    for (LONG nOutputs = 1; nOutputs <= 130; nOutputs++)
    {
        for (const int nChannels : arrChannels)
        {
            Plane src(2 * nOutputs, 2, nChannels, 0);
            for (BYTE& b : src.bytes)
                b = static_cast<BYTE>(random() % 3 ? random() : random() % 2 * 255);
            const BYTE* pLower = src.Data() + src.nStep;

            // The steps of linear interpolation, by the plain kernels.
            const ResizeAxis axis = {2 * nOutputs, 0, 2 * nOutputs, nOutputs, {nOutputs, 2 * nOutputs}};
            std::vector<int32_t> starts(static_cast<size_t>(nOutputs));
            std::vector<int16_t> weights(static_cast<size_t>(2 * nOutputs));
            FilterWeights(axis, eIP_Linear, starts.data(), weights.data());
            const ResizeRowTaps taps = MakeResizeTaps(starts.data(), weights.data(), 2, nOutputs,
                                                      static_cast<size_t>(2 * nOutputs * nChannels));
            const auto nSamples = static_cast<size_t>(nOutputs * nChannels);
            std::vector<int16_t> upperRow(nSamples);
            std::vector<int16_t> lowerRow(nSamples);
            ResizeKernels::scalar.arrRows[nChannels - 1](
                taps, {{src.Data(), pLower}, {upperRow.data(), lowerRow.data()}});
            const int16_t* arrRows[] = {upperRow.data(), lowerRow.data()};
            const int16_t arrHalves[] = {nResizeWeightOne / 2, nResizeWeightOne / 2};
            std::vector<BYTE> expected(nSamples);
            ResizeKernels::scalar.pfnBlend(arrRows, arrHalves, 2, expected.data(), nSamples);

            for (const Form& form : forms)
            {
                std::vector<BYTE> result(nSamples);
                form.pKernels->arrHalve[nChannels - 1](src.Data(), pLower, result.data(),
                                                       static_cast<size_t>(nOutputs));
                ASSERT_EQ(result, expected)
                    << nOutputs << " channels " << nChannels << " level " << form.eLevel;
            }
        }
    }
}

/// Cubic to one half goes without windows; the rows are those of the plain form, whole or from a region.
TEST(ResizeKernels, CubicHalves)
{
    std::mt19937 random(11);
    for (LONG nOutputs = 1; nOutputs <= 130; nOutputs++)
    {
        for (const LONG nBeside : {0, 1, 5})
        {
            const LONG nSrc = 2 * nOutputs + 2 * nBeside;
            const SourceRows source(static_cast<size_t>(nSrc), random);
            const ResizeAxis axis = {nSrc, nBeside, 2 * nOutputs, nOutputs, {nOutputs, 2 * nOutputs}};
            const LONG nTaps = FilterTaps(axis, eIP_Cubic);
            std::vector<int32_t> starts(static_cast<size_t>(nOutputs));
            std::vector<int16_t> weights(static_cast<size_t>(nOutputs * nTaps));
            FilterWeights(axis, eIP_Cubic, starts.data(), weights.data());
            const ResizeRowTaps plain =
                MakeResizeTaps(starts.data(), weights.data(), nTaps, nOutputs, static_cast<size_t>(nSrc));
            ResizeRowTaps taps = plain;
            const CWindows windows(taps);
            if (nOutputs >= 10)
            {
                EXPECT_EQ(taps.eWindows, eResizeWindows::Halved);
            }
            ExpectRowsLikePlain(plain, eRK_Levels, source, 1);
            if (HasFatalFailure())
                return;
        }
    }
}

TEST(ResizeKernels, Double)
{
    std::mt19937 random(12);
    std::vector<Form> forms = Forms();
    forms.push_back({eCPU_Scalar, &ResizeKernels::scalar});
    for (size_t nPixels = 0; nPixels <= 130; nPixels++)
    {
        const SourceRows source(nPixels + 2, random);
        const BYTE* pNear = source.Row(0) + 1;
        const BYTE* pFar = source.Row(1) + 1;
        std::vector<BYTE> expected(2 * nPixels);
        for (size_t i = 0; i < expected.size(); i++)
        {
            const size_t n = i / 2;
            const size_t nSide = i % 2 == 0 ? n - 1 : n + 1; // n - 1 of 0 is the sample before the first
            const int nSum = 9 * pNear[n] + 3 * *(pNear + static_cast<ptrdiff_t>(nSide)) + 3 * pFar[n] +
                             *(pFar + static_cast<ptrdiff_t>(nSide));
            expected[i] = static_cast<BYTE>((nSum + 8) / 16);
        }
        for (const Form& form : forms)
        {
            std::vector<BYTE> result(expected.size());
            form.pKernels->pfnDouble(pNear, pFar, result.data(), nPixels);
            ASSERT_EQ(result, expected) << nPixels << " level " << form.eLevel;
        }
    }
}

/// The second of each two pixels, which is the nearest one where a side is halved.
TEST(ResizeKernels, Seconds)
{
    std::mt19937 random(9);
    std::vector<Form> forms = Forms();
    forms.push_back({eCPU_Scalar, &ResizeKernels::scalar});
    for (size_t nOutputs = 1; nOutputs <= 130; nOutputs++)
    {
        for (const int nChannels : arrChannels)
        {
            const auto cbPixel = static_cast<size_t>(nChannels);
            const SourceRows source(2 * nOutputs * cbPixel, random);
            std::vector<BYTE> expected(nOutputs * cbPixel);
            for (size_t i = 0; i < expected.size(); i++)
                expected[i] = source.Row(0)[(2 * (i / cbPixel) + 1) * cbPixel + i % cbPixel];
            for (const Form& form : forms)
            {
                std::vector<BYTE> result(expected.size());
                form.pKernels->arrSeconds[nChannels - 1](source.Row(0), result.data(), nOutputs);
                ASSERT_EQ(result, expected)
                    << nOutputs << " channels " << nChannels << " level " << form.eLevel;
            }
        }
    }
}

/// Every strength, random levels and extremes, by the definition with a plain division.
TEST(ResizeKernels, Sharpen)
{
    std::mt19937 random(10);
    std::vector<Form> forms = Forms();
    forms.push_back({eCPU_Scalar, &ResizeKernels::scalar});
    for (int nSharp = -50; nSharp <= 50; nSharp++)
    {
        const SharpenKernel kernel = MakeSharpenKernel(nSharp);
        ResizeSharpKernel values = {static_cast<int16_t>(kernel.arrValues[0]),
                                    static_cast<int16_t>(kernel.arrValues[1]),
                                    static_cast<int16_t>(kernel.arrValues[4]),
                                    {}};
        ASSERT_TRUE(MakeResizeNarrowDivisor(static_cast<uint64_t>(kernel.nDivisor), values.divisor));
        for (const size_t nPixel : {1, 3, 4})
        {
            const size_t nSamples = 1 + random() % 130;
            const SourceRows outer(nSamples + 2 * nPixel, random);
            const SourceRows inner(nSamples + 2 * nPixel, random);
            const BYTE* arrRows[] = {outer.Row(0) + nPixel, inner.Row(0) + nPixel, outer.Row(1) + nPixel};
            std::vector<BYTE> expected(nSamples);
            for (size_t i = 0; i < nSamples; i++)
            {
                int nSum = kernel.nDivisor / 2;
                for (size_t k = 0; k < 9; k++)
                    nSum += kernel.arrValues[k] * (arrRows[k / 3] - nPixel)[i + k % 3 * nPixel];
                expected[i] = static_cast<BYTE>(std::clamp(nSum, 0, 255 * kernel.nDivisor) / kernel.nDivisor);
            }
            for (const Form& form : forms)
            {
                std::vector<BYTE> result(nSamples);
                form.pKernels->pfnSharpen(arrRows, result.data(), nSamples, nPixel, values);
                ASSERT_EQ(result, expected) << nSharp << " pixel " << nPixel << " level " << form.eLevel;
            }
        }
    }
}

/// Packed 4:2:2 into planes and back, by its definition.
TEST(ResizeKernels, SplitAndMerge)
{
    std::mt19937 random(6);
    std::vector<Form> forms = Forms();
    forms.push_back({eCPU_Scalar, &ResizeKernels::scalar});
    for (size_t nPairs = 1; nPairs <= 130; nPairs++)
    {
        for (const size_t nOrder : {0, 1})
        {
            std::vector<BYTE> packed(nPairs * 4 + 1);
            for (BYTE& b : packed)
                b = static_cast<BYTE>(random());
            std::vector<BYTE> luma;
            std::vector<BYTE> first;
            std::vector<BYTE> second;
            for (size_t i = 0; i < nPairs; i++)
            {
                const BYTE* p = packed.data() + 1 + 4 * i;
                luma.push_back(p[nOrder]);
                luma.push_back(p[nOrder + 2]);
                first.push_back(p[1 - nOrder]);
                second.push_back(p[3 - nOrder]);
            }
            for (const Form& form : forms)
            {
                std::vector<BYTE> y(nPairs * 2);
                std::vector<BYTE> u(nPairs);
                std::vector<BYTE> v(nPairs);
                form.pKernels->arrSplit[nOrder](packed.data() + 1, y.data(), u.data(), v.data(), nPairs);
                ASSERT_EQ(y, luma) << nPairs << " level " << form.eLevel;
                ASSERT_EQ(u, first) << nPairs << " level " << form.eLevel;
                ASSERT_EQ(v, second) << nPairs << " level " << form.eLevel;
                std::vector<BYTE> back(nPairs * 4 + 1, packed[0]);
                form.pKernels->arrMerge[nOrder](y.data(), u.data(), v.data(), back.data() + 1, nPairs);
                ASSERT_EQ(back, packed) << nPairs << " level " << form.eLevel;
            }
        }
    }
}

/// Whole planes at every level of the processor.
TEST(ResizeKernels, PlanesAtEveryLevel)
{
    unsigned nSeed = 5;
    const auto below = [&nSeed](LONG nLimit)
    {
        nSeed = nSeed * 1664525u + 1013904223u;
        return static_cast<LONG>((nSeed >> 8) % static_cast<unsigned>(nLimit));
    };
    for (int i = 0; i < 1500; i++)
    {
        const int nChannels = arrChannels[below(3)];
        Plane src(1 + below(130), 1 + below(12), nChannels, below(5));
        src.Fill(nSeed);
        const RoiSize dstSize = {1 + below(130), 1 + below(12)};
        PlaneScale scale = WholeScale(src.size, dstSize);
        scale.srcRoi.nLeft = below(src.size.nWidth);
        scale.srcRoi.nWidth = 1 + below(src.size.nWidth - scale.srcRoi.nLeft);
        scale.factorX.nSrc = scale.srcRoi.nWidth;
        const ptrdiff_t nPadding = below(5);
        for (const int nMode : {eIP_Nearest, eIP_Linear, eIP_Cubic, eIP_Super})
        {
            Plane expected(dstSize.nWidth, dstSize.nHeight, nChannels, nPadding);
            {
                const CCpuLimit limit(eCPU_Scalar);
                ASSERT_EQ(RunPlane(src, expected, scale, nMode), ePS_Done);
            }
            for (const eCPU eLevel : {eCPU_SSE41, eCPU_AVX2})
            {
                const CCpuLimit limit(eLevel);
                Plane dst(dstSize.nWidth, dstSize.nHeight, nChannels, nPadding);
                ASSERT_EQ(RunPlane(src, dst, scale, nMode), ePS_Done);
                ASSERT_EQ(dst.bytes, expected.bytes)
                    << src.size.nWidth << " x " << src.size.nHeight << " to " << dstSize.nWidth << " x "
                    << dstSize.nHeight << " mode " << nMode << " channels " << nChannels << " level "
                    << eLevel;
            }
        }
    }
}

} // namespace
