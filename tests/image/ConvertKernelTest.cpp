// The row kernels: all values against the formulas, and every vector form against the scalar one.
#include "ConvertReference.h"
#include "ImageTest.h"
#include "PictureBuffer.h"
#include "asm/SIMD64Convert.h"

#include <random>

namespace
{

constexpr eCPU arrLevels[] = {eCPU_Scalar, eCPU_SSE41, eCPU_AVX2};

class ConvertLevels : public testing::TestWithParam<eCPU>
{
protected:
    CCpuLimit m_limit{GetParam()};
    const ConvertKernels& m_kernels = Kernels<ConvertKernels>();
};

INSTANTIATE_TEST_SUITE_P(All, ConvertLevels, testing::ValuesIn(arrLevels));

TEST_P(ConvertLevels, RgbOfEveryYuv)
{
    constexpr size_t nValues = 256;
    std::array<Pixel, nValues> arrA;
    std::array<Pixel, nValues> arrB;
    std::array<Pixel, nValues> arrC;
    std::array<BYTE, nValues> arrY;
    for (size_t i = 0; i < nValues; i++)
        arrY[i] = static_cast<BYTE>(i);
    std::array<BYTE, nValues * 2> arrYUY2;
    std::array<BYTE, nValues * 2> arrUYVY;
    std::array<BYTE, nValues * 4> arrOut;
    std::array<BYTE, nValues * 4> arrFirst; // of two equal rows
    const auto isEqual = [&arrOut](const std::array<Pixel, nValues>& expected, size_t cb)
    {
        for (size_t i = 0; i < nValues; i++)
        {
            const BYTE* p = arrOut.data() + i * cb;
            if (p[0] != expected[i][0] || p[1] != expected[i][1] || p[2] != expected[i][2] ||
                (cb == 4 && p[3] != 255))
                return false;
        }
        return true;
    };
    for (int u = 0; u < 256; u++)
    {
        for (int v = 0; v < 256; v++)
        {
            std::array<BYTE, nValues / 2> arrU;
            std::array<BYTE, nValues / 2> arrV;
            arrU.fill(static_cast<BYTE>(u));
            arrV.fill(static_cast<BYTE>(v));
            for (int y = 0; y < 256; y++)
            {
                const auto i = static_cast<size_t>(y);
                arrA[i] = ReferenceRgb(y, u, v, 'A');
                arrB[i] = ReferenceRgb(y, u, v, 'B');
                arrC[i] = ReferenceRgb(y, u, v, 'C');
                const BYTE nChroma = y % 2 == 0 ? arrU[0] : arrV[0];
                arrYUY2[2 * i] = arrUYVY[2 * i + 1] = arrY[i];
                arrYUY2[2 * i + 1] = arrUYVY[2 * i] = nChroma;
            }
            m_kernels.YUY2ToBGRA(arrYUY2.data(), arrOut.data(), nValues);
            ASSERT_TRUE(isEqual(arrA, 4)) << u << ", " << v;
            m_kernels.YUY2ToBGR24(arrYUY2.data(), arrOut.data(), nValues);
            ASSERT_TRUE(isEqual(arrA, 3)) << u << ", " << v;
            m_kernels.UYVYToBGR24(arrUYVY.data(), arrOut.data(), nValues);
            ASSERT_TRUE(isEqual(arrA, 3)) << u << ", " << v;
            m_kernels.UYVYToBGRA(arrUYVY.data(), arrOut.data(), nValues);
            ASSERT_TRUE(isEqual(arrC, 4)) << u << ", " << v;
            m_kernels.Planar420ToBGRA(arrY.data(), arrY.data(), arrU.data(), arrV.data(), arrFirst.data(),
                                      arrOut.data(), nValues);
            ASSERT_TRUE(isEqual(arrB, 4)) << u << ", " << v;
            ASSERT_TRUE(arrFirst == arrOut) << u << ", " << v;
            m_kernels.Planar420ToBGR24(arrY.data(), arrY.data(), arrU.data(), arrV.data(), arrFirst.data(),
                                       arrOut.data(), nValues);
            ASSERT_TRUE(isEqual(arrB, 3)) << u << ", " << v;
            ASSERT_TRUE(std::equal(arrOut.begin(), arrOut.begin() + 3 * nValues, arrFirst.begin()))
                << u << ", " << v;
        }
    }
}

/// Rows of RGB as 24 and as 32 bits, the fourth byte being noise.
struct RgbRow
{
    std::vector<Pixel> pixels;
    std::vector<BYTE> bgr24;
    std::vector<BYTE> bgr32;

    explicit RgbRow(std::vector<Pixel> pixelsGiven) : pixels(std::move(pixelsGiven))
    {
        for (const Pixel& px : pixels)
        {
            for (const int n : px)
            {
                bgr24.push_back(static_cast<BYTE>(n));
                bgr32.push_back(static_cast<BYTE>(n));
            }
            bgr32.push_back(static_cast<BYTE>(bgr32.size() * 37));
        }
    }
};

/// Packed and planar results of rows of pixels against the formulas.
void ExpectYuv(const ConvertKernels& kernels, const RgbRow& row0, const RgbRow& row1)
{
    const size_t n = row0.pixels.size();
    struct PackedForm
    {
        PFNCONVERTROW pfn;
        bool b24;
        bool bUyvy;
        char chPath;
    };
    const PackedForm arrForms[] = {{kernels.BGR24ToYUY2, true, false, 'Y'},
                                   {kernels.BGR24ToUYVY, true, true, 'Y'},
                                   {kernels.BGR32ToYUY2, false, false, 'Y'},
                                   {kernels.BGR32ToUYVY, false, true, 'U'}};
    std::vector<BYTE> out(2 * n);
    std::vector<BYTE> expected(2 * n);
    for (const PackedForm& form : arrForms)
    {
        for (size_t i = 0; i < n; i += 2)
        {
            const auto arrUV = ReferenceChroma({row0.pixels[i], row0.pixels[i + 1]}, form.chPath);
            for (size_t k = 0; k < 2; k++)
            {
                expected[2 * (i + k) + (form.bUyvy ? 1 : 0)] =
                    static_cast<BYTE>(ReferenceY(row0.pixels[i + k]));
                expected[2 * (i + k) + (form.bUyvy ? 0 : 1)] = static_cast<BYTE>(arrUV[k]);
            }
        }
        form.pfn(form.b24 ? row0.bgr24.data() : row0.bgr32.data(), out.data(), n);
        ASSERT_TRUE(out == expected) << "form " << (&form - arrForms);
    }

    std::vector<BYTE> y0(n), y1(n), u(n / 2), v(n / 2);
    std::vector<BYTE> y0Expected(n), y1Expected(n), uExpected(n / 2), vExpected(n / 2);
    for (size_t i = 0; i < n; i++)
    {
        y0Expected[i] = static_cast<BYTE>(ReferenceY(row0.pixels[i]));
        y1Expected[i] = static_cast<BYTE>(ReferenceY(row1.pixels[i]));
    }
    for (size_t i = 0; i < n; i += 2)
    {
        const auto arrUV =
            ReferenceChroma({row0.pixels[i], row0.pixels[i + 1], row1.pixels[i], row1.pixels[i + 1]}, 'P');
        uExpected[i / 2] = static_cast<BYTE>(arrUV[0]);
        vExpected[i / 2] = static_cast<BYTE>(arrUV[1]);
    }
    for (const bool b24 : {true, false})
    {
        (b24 ? kernels.BGR24ToPlanar420 : kernels.BGR32ToPlanar420)(
            b24 ? row0.bgr24.data() : row0.bgr32.data(), b24 ? row1.bgr24.data() : row1.bgr32.data(),
            y0.data(), y1.data(), u.data(), v.data(), n);
        ASSERT_TRUE(y0 == y0Expected && y1 == y1Expected && u == uExpected && v == vExpected) << b24;
    }
}

TEST_P(ConvertLevels, YuvOfEveryCornerOfRgb)
{
    // Blocks of 2 by 2 pixels, each channel of each pixel 0 or 255: 12 bits.
    std::vector<Pixel> pixels0;
    std::vector<Pixel> pixels1;
    const auto corner = [](unsigned nBits) {
        return Pixel{nBits % 2 != 0 ? 255 : 0, nBits / 2 % 2 != 0 ? 255 : 0, nBits / 4 % 2 != 0 ? 255 : 0};
    };
    for (unsigned n = 0; n < 4096; n++)
    {
        pixels0.insert(pixels0.end(), {corner(n), corner(n >> 3)});
        pixels1.insert(pixels1.end(), {corner(n >> 6), corner(n >> 9)});
    }
    ExpectYuv(m_kernels, RgbRow(pixels0), RgbRow(pixels1));
}

TEST_P(ConvertLevels, YuvOfEveryColour)
{
    for (int b = 0; b < 256; b += 2)
    {
        for (int g = 0; g < 256; g++)
        {
            std::vector<Pixel> pixels0;
            std::vector<Pixel> pixels1;
            for (int r = 0; r < 256; r++)
            {
                pixels0.push_back({b, g, r});
                pixels1.push_back({b + 1, g, r});
            }
            ExpectYuv(m_kernels, RgbRow(pixels0), RgbRow(pixels1));
            if (HasFatalFailure())
                FAIL() << b << ", " << g;
        }
    }
}

TEST_P(ConvertLevels, YuvOfRandomColours)
{
    std::mt19937 random(5);
    for (int nRound = 0; nRound < 400; nRound++)
    {
        std::vector<Pixel> arrRows[2];
        for (std::vector<Pixel>& row : arrRows)
        {
            for (int i = 0; i < 2048; i++)
            {
                const unsigned n = random();
                row.push_back({static_cast<int>(n & 255), static_cast<int>(n >> 8 & 255),
                               static_cast<int>(n >> 16 & 255)});
            }
        }
        ExpectYuv(m_kernels, RgbRow(arrRows[0]), RgbRow(arrRows[1]));
        ASSERT_FALSE(HasFatalFailure()) << nRound;
    }
}

/// A buffer whose used bytes end where it ends and start anywhere.
class Piece
{
public:
    Piece(size_t cb, size_t nOffset, unsigned nSeed) : m_buffer(cb + nOffset), m_nOffset(nOffset)
    {
        m_buffer.Fill(nSeed);
    }
    BYTE* Data() { return m_buffer.Data() + m_nOffset; }
    std::vector<BYTE> Bytes() const { return m_buffer.Bytes(); }
    bool IsWhole() const { return m_buffer.IsGuardWhole(); }

private:
    PictureBuffer m_buffer;
    size_t m_nOffset;
};

struct RowForm
{
    const char* pszName;
    PFNCONVERTROW ConvertKernels::*pfn;
    size_t cbSrc;
    size_t cbDst;
    size_t nUnit;
};

constexpr RowForm arrRowForms[] = {
    {"BGR24ToYUY2", &ConvertKernels::BGR24ToYUY2, 3, 2, 2},
    {"BGR24ToUYVY", &ConvertKernels::BGR24ToUYVY, 3, 2, 2},
    {"BGR32ToYUY2", &ConvertKernels::BGR32ToYUY2, 4, 2, 2},
    {"BGR32ToUYVY", &ConvertKernels::BGR32ToUYVY, 4, 2, 2},
    {"BGR24ToBGR32", &ConvertKernels::BGR24ToBGR32, 3, 4, 1},
    {"BGR32ToBGR24", &ConvertKernels::BGR32ToBGR24, 4, 3, 1},
    {"BGR32ToBGRA", &ConvertKernels::BGR32ToBGRA, 4, 4, 1},
    {"YUY2ToUYVY", &ConvertKernels::YUY2ToUYVY, 2, 2, 2},
    {"YUY2ToYVYU", &ConvertKernels::YUY2ToYVYU, 2, 2, 2},
    {"YUY2ToBGR24", &ConvertKernels::YUY2ToBGR24, 2, 3, 2},
    {"YUY2ToBGRA", &ConvertKernels::YUY2ToBGRA, 2, 4, 2},
    {"YUY2ToRGB565", &ConvertKernels::YUY2ToRGB565, 2, 2, 2},
    {"YUY2ToRGB555", &ConvertKernels::YUY2ToRGB555, 2, 2, 2},
    {"UYVYToBGR24", &ConvertKernels::UYVYToBGR24, 2, 3, 2},
    {"UYVYToBGRA", &ConvertKernels::UYVYToBGRA, 2, 4, 2},
};

constexpr size_t nWidthMax = 130;

TEST_P(ConvertLevels, RowFormsEqualTheScalarOnes)
{
    CCpuLimit limit(eCPU_Scalar);
    const ConvertKernels& scalar = Kernels<ConvertKernels>();
    for (const RowForm& form : arrRowForms)
    {
        for (size_t nWidth = 0; nWidth <= nWidthMax; nWidth += form.nUnit)
        {
            for (size_t nOffset = 0; nOffset < 4; nOffset++)
            {
                const auto nSeed = static_cast<unsigned>(nWidth * 4 + nOffset);
                Piece src(nWidth * form.cbSrc, nOffset, nSeed);
                Piece expected(nWidth * form.cbDst, 3 - nOffset, nSeed + 1);
                Piece dst(nWidth * form.cbDst, 3 - nOffset, nSeed + 1);
                (scalar.*form.pfn)(src.Data(), expected.Data(), nWidth);
                (m_kernels.*form.pfn)(src.Data(), dst.Data(), nWidth);
                ASSERT_TRUE(dst.Bytes() == expected.Bytes()) << form.pszName << " " << nWidth;
                ASSERT_TRUE(dst.IsWhole()) << form.pszName << " " << nWidth;
            }
        }
    }
}

TEST_P(ConvertLevels, ToPlanarFormsEqualTheScalarOnes)
{
    struct Form
    {
        PFNTOPLANAR420 ConvertKernels::*pfn;
        size_t cbSrc;
    };
    constexpr Form arrForms[] = {{&ConvertKernels::BGR24ToPlanar420, 3},
                                 {&ConvertKernels::BGR32ToPlanar420, 4},
                                 {&ConvertKernels::YUY2ToPlanar420, 2},
                                 {&ConvertKernels::UYVYToPlanar420, 2}};
    CCpuLimit limit(eCPU_Scalar);
    const ConvertKernels& scalar = Kernels<ConvertKernels>();
    for (const Form& form : arrForms)
    {
        for (size_t n = 0; n <= nWidthMax; n += 2)
        {
            for (size_t nOffset = 0; nOffset < 4; nOffset++)
            {
                const auto nSeed = static_cast<unsigned>(n * 4 + nOffset);
                Piece src0(n * form.cbSrc, nOffset, nSeed);
                Piece src1(n * form.cbSrc, 3 - nOffset, nSeed + 1);
                Piece arrDst[2][4] = {{{n, nOffset, 7}, {n, 1, 8}, {n / 2, nOffset, 9}, {n / 2, 2, 10}},
                                      {{n, nOffset, 7}, {n, 1, 8}, {n / 2, nOffset, 9}, {n / 2, 2, 10}}};
                for (int i = 0; i < 2; i++)
                {
                    Piece* p = arrDst[i];
                    ((i == 0 ? scalar : m_kernels).*form.pfn)(src0.Data(), src1.Data(), p[0].Data(),
                                                              p[1].Data(), p[2].Data(), p[3].Data(), n);
                }
                for (int i = 0; i < 4; i++)
                {
                    ASSERT_TRUE(arrDst[1][i].Bytes() == arrDst[0][i].Bytes())
                        << (&form - arrForms) << " " << n << " plane " << i;
                    ASSERT_TRUE(arrDst[1][i].IsWhole());
                }
            }
        }
    }
}

TEST_P(ConvertLevels, FromPlanarFormsEqualTheScalarOnes)
{
    struct Form
    {
        PFNFROMPLANAR420 ConvertKernels::*pfn;
        size_t cbDst;
    };
    constexpr Form arrForms[] = {
        {&ConvertKernels::Planar420ToYUY2, 2},   {&ConvertKernels::Planar420ToUYVY, 2},
        {&ConvertKernels::Planar420ToBGR24, 3},  {&ConvertKernels::Planar420ToBGRA, 4},
        {&ConvertKernels::Planar420ToRGB565, 2}, {&ConvertKernels::Planar420ToRGB555, 2}};
    CCpuLimit limit(eCPU_Scalar);
    const ConvertKernels& scalar = Kernels<ConvertKernels>();
    for (const Form& form : arrForms)
    {
        for (size_t n = 0; n <= nWidthMax; n += 2)
        {
            for (size_t nOffset = 0; nOffset < 4; nOffset++)
            {
                const auto nSeed = static_cast<unsigned>(n * 4 + nOffset);
                Piece y0(n, nOffset, nSeed);
                Piece y1(n, 1, nSeed + 3);
                Piece second(n / 2, 3 - nOffset, nSeed + 1);
                Piece third(n / 2, nOffset, nSeed + 2);
                Piece arrDst[2][2] = {{{n * form.cbDst, 3 - nOffset, 5}, {n * form.cbDst, 2, 6}},
                                      {{n * form.cbDst, 3 - nOffset, 5}, {n * form.cbDst, 2, 6}}};
                for (int i = 0; i < 2; i++)
                    ((i == 0 ? scalar : m_kernels).*form.pfn)(y0.Data(), y1.Data(), second.Data(),
                                                              third.Data(), arrDst[i][0].Data(),
                                                              arrDst[i][1].Data(), n);
                for (int nRow = 0; nRow < 2; nRow++)
                {
                    ASSERT_TRUE(arrDst[1][nRow].Bytes() == arrDst[0][nRow].Bytes())
                        << (&form - arrForms) << " " << n << " row " << nRow;
                    ASSERT_TRUE(arrDst[1][nRow].IsWhole()) << (&form - arrForms) << " " << n;
                }
            }
        }
    }
}

TEST(Cpu, ALimitLowersAndIsTakenBack)
{
    const eCPU eBefore = CpuLevel();
    {
        CCpuLimit limit(eCPU_Scalar);
        EXPECT_EQ(CpuLevel(), eCPU_Scalar);
    }
    EXPECT_EQ(CpuLevel(), eBefore);
}

} // namespace
