// Mixes of two pictures, against mixes byte by byte.
#include "ImageTest.h"
#include "MixReference.h"
#include "PictureBuffer.h"

#include "asm/Cpu.h"

#include <algorithm>
#include <climits>

namespace
{

constexpr LONG arrHeights[] = {6, -6};

/// Pairs of pictures of one format whose sizes, row orders and row widths differ.
std::vector<std::pair<PicProps, PicProps>> Pairs(DWORD fccType)
{
    std::vector<std::pair<PicProps, PicProps>> pairs;
    for (const LONG nInput : arrHeights)
    {
        for (const LONG nOutput : arrHeights)
        {
            pairs.push_back({{fccType, 38, nInput, 38}, {fccType, 38, nOutput, 0}});
            pairs.push_back({{fccType, 38, nInput, 42}, {fccType, 44, nOutput / 6 * 7, 50}});
        }
    }
    return pairs;
}

const RECT arrInputRects[] = {{0, 0, 38, 6}, {2, 1, 36, 5},   {1, 0, 20, 4},
                              {4, 2, 5, 3},  {-3, -1, 38, 9}, {36, 5, 50, 6}};
const RECT arrOutputRects[] = {{0, 0, 38, 6}, {3, 1, 50, 6}};

TEST(MixAlpha, EveryFormatOrderAndRectangle)
{
    for (int nLevel = 0; nLevel < eCPU_Count; nLevel++)
    {
        const CCpuLimit limit(static_cast<eCPU>(nLevel));
        for (const DWORD fccType : arrUsableFormats)
        {
            for (const auto& [picInput, picOutput] : Pairs(fccType))
            {
                for (const RECT& rcInput : arrInputRects)
                {
                    for (const RECT& rcOutput : arrOutputRects)
                    {
                        PictureBuffer input(picInput);
                        PictureBuffer alpha(picInput);
                        PictureBuffer output(picOutput);
                        input.Fill(1);
                        alpha.Fill(2);
                        output.Fill(3);
                        const MixCall call = {picInput, picOutput, &rcInput, &rcOutput};
                        const MixResult expected =
                            ReferenceMixAlpha(call, input.Bytes(), alpha.Bytes(), output.Bytes());
                        const HRESULT hr = Img_MixAlpha(input.Data(), alpha.Data(), output.Data(), &picInput,
                                                        &picOutput, &rcInput, &rcOutput, -1);
                        ASSERT_EQ(hr, expected.hr) << Str(picInput) << " " << Str(rcInput);
                        ASSERT_EQ(output.Bytes(), expected.output)
                            << Str(picInput) << " to " << Str(picOutput) << ", " << Str(rcInput) << " to "
                            << Str(rcOutput);
                        ASSERT_TRUE(output.IsGuardWhole());
                    }
                }
            }
        }
    }
}

TEST(MixPicture, EveryFormatOrderRectangleAndOpacity)
{
    for (int nLevel = 0; nLevel < eCPU_Count; nLevel++)
    {
        const CCpuLimit limit(static_cast<eCPU>(nLevel));
        for (const DWORD fccType : arrUsableFormats)
        {
            for (const auto& [picInput, picOutput] : Pairs(fccType))
            {
                for (const RECT& rcInput : arrInputRects)
                {
                    for (const int nOpacity : {-1, 0, 101, 254, 255, 1000, INT_MIN})
                    {
                        for (const bool bMirrorAlpha : {false, true})
                        {
                            PictureBuffer input(picInput);
                            PictureBuffer alpha(static_cast<size_t>(PicRow(picInput)) *
                                                AbsHeight(picInput.nHeight));
                            PictureBuffer output(picOutput);
                            input.Fill(4);
                            alpha.Fill(5);
                            output.Fill(6);
                            const MixCall call = {picInput, picOutput, &rcInput, &arrOutputRects[1]};
                            const MixResult expected = ReferenceMixPicture(
                                call, input.Bytes(), alpha.Bytes(), output.Bytes(), nOpacity, bMirrorAlpha);
                            const HRESULT hr =
                                Img_MixPicture(input.Data(), alpha.Data(), output.Data(), nOpacity, &picInput,
                                               &picOutput, bMirrorAlpha, &rcInput, &arrOutputRects[1], -1);
                            ASSERT_EQ(hr, expected.hr);
                            ASSERT_EQ(output.Bytes(), expected.output)
                                << Str(picInput) << " to " << Str(picOutput) << ", " << Str(rcInput)
                                << ", opacity " << nOpacity << ", mirror " << bMirrorAlpha;
                            ASSERT_EQ(input.Bytes(), expected.input);
                            ASSERT_TRUE(output.IsGuardWhole() && input.IsGuardWhole());
                        }
                    }
                }
            }
        }
    }
}

TEST(MixPicture, AlphaPitchIsTheRowWidthAsItStands)
{
    const PicProps pic = {FOURCC_RGB32, 1, -2, 0}; // without a row width all rows read the first alpha
    BYTE arrInput[8] = {255, 255, 255, 255, 255, 255, 255, 255};
    const BYTE arrAlpha[2] = {255, 0};
    BYTE arrOutput[8] = {};
    EXPECT_EQ(Img_MixPicture(arrInput, arrAlpha, arrOutput, -1, &pic, &pic, false, nullptr, nullptr, -1),
              S_OK);
    EXPECT_EQ(std::vector<BYTE>(arrOutput, arrOutput + 8), std::vector<BYTE>(8, 255));
}

TEST(MixPicture, OwnAlphaNeedsNoPlane)
{
    const PicProps pic = {FOURCC_ARGB32, 1, 1, 0};
    BYTE arrInput[4] = {200, 100, 50, 255};
    BYTE arrOutput[4] = {1, 2, 3, 4};
    EXPECT_EQ(Img_MixPicture(arrInput, nullptr, arrOutput, -1, &pic, &pic, false, nullptr, nullptr, -1),
              S_OK);
    // Composed it is the input; the turn to straight multiplies by 256 over 255.
    EXPECT_EQ(std::vector<BYTE>(arrOutput, arrOutput + 4), (std::vector<BYTE>{201, 100, 50, 255}));
    EXPECT_EQ(Img_MixPicture(arrInput, nullptr, arrOutput, 0, &pic, &pic, false, nullptr, nullptr, -1), S_OK);
    EXPECT_EQ(std::vector<BYTE>(arrInput, arrInput + 4), (std::vector<BYTE>{0, 0, 0, 0})); // scaled in place
    EXPECT_EQ(arrOutput[3], 255);
}

TEST(MixPicture, PremultipliedUYVYTracesEachRow)
{
    const PicProps pic = {FOURCC_UYVY, 2, 2, 2};
    BYTE arrInput[8] = {};
    const BYTE arrAlpha[4] = {};
    BYTE arrOutput[8] = {};
    LogCapture log;
    EXPECT_EQ(Img_MixPicture(arrInput, arrAlpha, arrOutput, 255, &pic, &pic, false, nullptr, nullptr, -1),
              S_OK);
    const Texts lines = log.Texts(2);
    ASSERT_EQ(lines.size(), 4u);
    for (size_t i = 0; i < 4; i++)
    {
        const size_t nRow = i / 2;
        char szStart[120];
        snprintf(szStart, sizeof(szStart), "SIMDMixAlpha_UYVY_C1_Premull(%llX, %llX, %llX, 2, ",
                 static_cast<unsigned long long>(reinterpret_cast<UINT_PTR>(arrOutput + 4 * nRow)),
                 static_cast<unsigned long long>(reinterpret_cast<UINT_PTR>(arrInput + 4 * nRow)),
                 static_cast<unsigned long long>(reinterpret_cast<UINT_PTR>(arrAlpha + 2 * nRow)));
        EXPECT_EQ(lines[i].rfind(szStart, 0), 0u) << lines[i];
        const std::string sEnd = i % 2 == 0 ? ") (1)\n" : ") (2)\n";
        EXPECT_EQ(lines[i].substr(lines[i].size() - sEnd.size()), sEnd) << lines[i];
    }
    // HDYC is mixed by the same rows.
    log.Clear();
    const PicProps picHDYC = {FOURCC_HDYC, 2, 2, 2};
    EXPECT_EQ(
        Img_MixPicture(arrInput, arrAlpha, arrOutput, 0, &picHDYC, &picHDYC, false, nullptr, nullptr, -1),
        S_OK);
    EXPECT_EQ(log.Texts(2).size(), 4u);
    log.Clear();
    EXPECT_EQ(Img_MixPicture(arrInput, arrAlpha, arrOutput, -1, &pic, &pic, false, nullptr, nullptr, -1),
              S_OK);
    const PicProps picYUY2 = {FOURCC_YUY2, 2, 2, 2};
    EXPECT_EQ(
        Img_MixPicture(arrInput, arrAlpha, arrOutput, 9, &picYUY2, &picYUY2, false, nullptr, nullptr, -1),
        S_OK);
    EXPECT_EQ(log.Texts(2), Texts{});
}

TEST(Blend, EveryFormatOrderRectangleAndWeight)
{
    constexpr int arrWeights[][2] = {{256, 0},           {0, 256},      {128, 128},
                                     {300, -100},        {-5000, 6000}, {100000, -100000},
                                     {INT_MIN, INT_MAX}, {512, -256},   {-256, 258}};
    for (int nLevel = 0; nLevel < eCPU_Count; nLevel++)
    {
        const CCpuLimit limit(static_cast<eCPU>(nLevel));
        AssertCapture asserts;
        for (const DWORD fccType : arrUsableFormats)
        {
            for (const auto& [picInput, picOutput] : Pairs(fccType))
            {
                for (const RECT& rcInput : arrInputRects)
                {
                    for (const auto& arrWeight : arrWeights)
                    {
                        PictureBuffer input(picInput);
                        PictureBuffer output(picOutput);
                        input.Fill(8);
                        output.Fill(9);
                        const MixCall call = {picInput, picOutput, &rcInput, nullptr};
                        const MixResult expected =
                            ReferenceBlend(call, input.Bytes(), output.Bytes(), arrWeight[0], arrWeight[1]);
                        asserts.Clear();
                        ASSERT_EQ(Img_Blend(input.Data(), output.Data(), arrWeight[0], arrWeight[1],
                                            &picInput, &picOutput, &rcInput, nullptr),
                                  expected.hr);
                        ASSERT_EQ(output.Bytes(), expected.output) << Str(picInput) << " " << Str(rcInput);
                        const bool bMixed = BytesPerSample(fccType) != 0;
                        ASSERT_EQ(asserts.Count(""), bMixed ? 0 : 1);
                        ASSERT_TRUE(output.IsGuardWhole());
                    }
                }
            }
        }
    }
}

/// A product of 102400 counts as 65535 in whole groups of 16 bytes of plain rows, and as it is behind them
/// and in packed rows.
TEST(Blend, ProductsSaturateInWholeGroups)
{
    for (int nLevel = 0; nLevel < eCPU_Count; nLevel++)
    {
        const CCpuLimit limit(static_cast<eCPU>(nLevel));
        const PicProps picY = {FOURCC_I420, 18, 2, 18};
        PictureBuffer input(picY);
        PictureBuffer output(picY);
        std::fill_n(input.Data(), input.Size(), BYTE{200});
        std::fill_n(output.Data(), output.Size(), BYTE{100});
        ASSERT_EQ(Img_Blend(input.Data(), output.Data(), 512, -256, &picY, &picY, nullptr, nullptr), S_OK);
        std::vector<BYTE> row(16, 155);
        row.resize(18, 255);
        EXPECT_EQ(std::vector<BYTE>(output.Data(), output.Data() + 18), row) << nLevel;

        const PicProps picPacked = {FOURCC_YUY2, 8, 1, 8};
        PictureBuffer packedInput(picPacked);
        PictureBuffer packedOutput(picPacked);
        std::fill_n(packedInput.Data(), packedInput.Size(), BYTE{200});
        std::fill_n(packedOutput.Data(), packedOutput.Size(), BYTE{100});
        ASSERT_EQ(Img_Blend(packedInput.Data(), packedOutput.Data(), 512, -256, &picPacked, &picPacked,
                            nullptr, nullptr),
                  S_OK);
        EXPECT_EQ(packedOutput.Bytes(), std::vector<BYTE>(16, 255)) << nLevel;
    }
}

/// The rows in memory of a picture of one column that differ from the first fill.
std::vector<int> Changed(const std::vector<BYTE>& bytes, size_t cbRow)
{
    std::vector<int> rows;
    for (size_t i = 0; i < bytes.size() / cbRow; i++)
    {
        if (bytes[i * cbRow] != 0)
            rows.push_back(static_cast<int>(i));
    }
    return rows;
}

/// The input's first bytes of row y are y + 1.
TEST(MixAlpha, Fields)
{
    const struct
    {
        LONG nInput, nOutput;
        int nField;
        std::vector<BYTE> rows; ///< what the output's memory rows hold
    } arrCases[] = {
        {-4, -4, 0, {1, 0, 3, 0}}, {-4, -4, 1, {0, 2, 0, 4}}, {4, 4, 0, {1, 0, 3, 0}},
        {4, 4, 1, {0, 2, 0, 4}},   {4, 4, 5, {0, 2, 0, 4}},   {4, -4, 0, {0, 3, 0, 1}},
        {4, -4, 1, {4, 0, 2, 0}},  {-4, 4, 0, {0, 3, 0, 1}},
    };
    for (const auto& one : arrCases)
    {
        const PicProps picInput = {FOURCC_RGB32, 1, one.nInput, 1};
        const PicProps picOutput = {FOURCC_RGB32, 1, one.nOutput, 1};
        std::vector<BYTE> input(16);
        for (size_t i = 0; i < 16; i++)
            input[i] = static_cast<BYTE>(i / 4 + 1);
        const std::vector<BYTE> alpha(16, 255);
        std::vector<BYTE> output(16, 0);
        std::vector<BYTE> expected(16);
        for (size_t i = 0; i < 16; i++)
            expected[i] = one.rows[i / 4];
        EXPECT_EQ(Img_MixAlpha(input.data(), alpha.data(), output.data(), &picInput, &picOutput, nullptr,
                               nullptr, one.nField),
                  S_OK);
        EXPECT_EQ(output, expected) << one.nInput << " " << one.nOutput << " " << one.nField;

        // A plane of alpha follows the input's half; only rows of that half are opaque.
        const bool bSecond = one.nField > 0;
        const std::vector<BYTE> plane =
            bSecond ? std::vector<BYTE>{0, 255, 0, 255} : std::vector<BYTE>{255, 0, 255, 0};
        std::fill(output.begin(), output.end(), BYTE{0});
        EXPECT_EQ(Img_MixPicture(input.data(), plane.data(), output.data(), -1, &picInput, &picOutput,
                                 one.nInput > 0, nullptr, nullptr, one.nField),
                  S_OK);
        EXPECT_EQ(output, expected) << one.nInput << " " << one.nOutput << " " << one.nField;
    }
    // YUV has one row order whatever the sign.
    const PicProps picUp = {FOURCC_YUY2, 2, 4, 2};
    const PicProps picDown = {FOURCC_YUY2, 2, -4, 2};
    const std::vector<BYTE> input(16, 9);
    const std::vector<BYTE> alpha(16, 255);
    std::vector<BYTE> output(16, 0);
    EXPECT_EQ(Img_MixAlpha(input.data(), alpha.data(), output.data(), &picUp, &picDown, nullptr, nullptr, 1),
              S_OK);
    EXPECT_EQ(Changed(output, 4), (std::vector<int>{1, 3}));
}

TEST(MixRefusals, InTheirOrder)
{
    const PicProps pic = {FOURCC_YUY2, 4, 4, 4};
    const PicProps picOther = {FOURCC_UYVY, 4, 4, 4};
    const PicProps picOwn = {FOURCC_ARGB32, 4, 4, 4};
    const PicProps picBad = {FOURCC_v210, 4, 4, 4};
    BYTE arrBytes[64] = {};
    BYTE* const pb = arrBytes;
    AssertCapture asserts;

    EXPECT_EQ(Img_MixAlpha(nullptr, pb, pb, &pic, &picOther, nullptr, nullptr, -1), E_INVALIDARG);
    EXPECT_EQ(Img_MixAlpha(pb, nullptr, pb, &pic, &picOther, nullptr, nullptr, -1), E_INVALIDARG);
    EXPECT_EQ(Img_MixAlpha(pb, pb, nullptr, &pic, &picOther, nullptr, nullptr, -1), E_INVALIDARG);
    EXPECT_EQ(Img_MixAlpha(pb, pb, pb, nullptr, &picOther, nullptr, nullptr, -1), E_INVALIDARG);
    EXPECT_EQ(Img_MixAlpha(pb, pb, pb, &pic, nullptr, nullptr, nullptr, -1), E_INVALIDARG);
    EXPECT_EQ(asserts.Reports().size(), 5u);
    asserts.Clear();
    EXPECT_EQ(Img_MixAlpha(pb, pb, pb, &pic, &picOther, nullptr, nullptr, -1), E_NOTIMPL);
    EXPECT_EQ(Img_MixAlpha(pb, pb, pb, &picBad, &picBad, nullptr, nullptr, -1), E_INVALIDARG);

    EXPECT_EQ(Img_Blend(pb, pb, 1, 1, &pic, &picOther, nullptr, nullptr), E_NOTIMPL);
    EXPECT_EQ(Img_Blend(pb, pb, 1, 1, &picBad, &picBad, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts{});
    EXPECT_EQ(Img_Blend(nullptr, pb, 1, 1, &pic, &picOther, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(Img_Blend(pb, nullptr, 1, 1, &pic, &picOther, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(Img_Blend(pb, pb, 1, 1, nullptr, &picOther, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(Img_Blend(pb, pb, 1, 1, &pic, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Reports().size(), 4u);
    asserts.Clear();

    EXPECT_EQ(Img_MixPicture(pb, nullptr, pb, -1, &pic, &picOther, false, nullptr, nullptr, -1),
              E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts{"_pbAlpha || _pInAndAlphaProps->fccType == FOURCC_ARGB32"});
    asserts.Clear();
    EXPECT_EQ(Img_MixPicture(nullptr, pb, pb, -1, &pic, &picOther, false, nullptr, nullptr, -1),
              E_INVALIDARG);
    EXPECT_EQ(Img_MixPicture(pb, pb, nullptr, -1, &pic, &picOther, false, nullptr, nullptr, -1),
              E_INVALIDARG);
    EXPECT_EQ(Img_MixPicture(pb, pb, pb, -1, nullptr, &picOther, false, nullptr, nullptr, -1), E_INVALIDARG);
    EXPECT_EQ(Img_MixPicture(pb, pb, pb, -1, &pic, nullptr, false, nullptr, nullptr, -1), E_INVALIDARG);
    EXPECT_EQ(asserts.Reports().size(), 4u);
    asserts.Clear();
    EXPECT_EQ(Img_MixPicture(pb, pb, pb, -1, &pic, &picOther, false, nullptr, nullptr, -1), E_NOTIMPL);
    EXPECT_EQ(Img_MixPicture(pb, nullptr, pb, -1, &picOwn, &pic, false, nullptr, nullptr, 0), E_NOTIMPL);
    EXPECT_EQ(Img_MixPicture(pb, pb, pb, -1, &picBad, &picBad, false, nullptr, nullptr, -1), E_INVALIDARG);

    const RECT rcOutside = {4, 0, 8, 4};
    const RECT rcTurned = {4, 0, 2, 4};
    for (const int nField : {-1, 0, 1})
    {
        EXPECT_EQ(Img_MixAlpha(pb, pb, pb, &pic, &pic, &rcOutside, nullptr, nField), S_FALSE);
        EXPECT_EQ(Img_MixAlpha(pb, pb, pb, &pic, &pic, nullptr, &rcTurned, nField), E_INVALIDARG);
        EXPECT_EQ(Img_MixPicture(pb, pb, pb, 3, &pic, &pic, false, nullptr, &rcOutside, nField), S_FALSE);
        EXPECT_EQ(Img_MixPicture(pb, pb, pb, 3, &pic, &pic, false, &rcTurned, nullptr, nField), E_INVALIDARG);
    }
    EXPECT_EQ(asserts.Texts(), Texts{});
    // A field needs the row width.
    const PicProps picNoRow = {FOURCC_YUY2, 4, 4, 0};
    EXPECT_EQ(Img_MixAlpha(pb, pb, pb, &picNoRow, &pic, nullptr, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(Img_MixPicture(pb, pb, pb, 3, &pic, &picNoRow, false, nullptr, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts(2, "_pProps->nRowWidth == 0 || _pProps->nRowWidth >= _pProps->nWidth"));
    EXPECT_EQ(std::count(arrBytes, arrBytes + 64, 0), 64);
}

TEST(MixRefusals, AnEmptyRectangleIsDone)
{
    const RECT rcEmpty = {-4, 0, 0, 4}; // clipped to no columns, and so is its partner
    const RECT rcOther = {0, 0, 4, 4};
    for (const DWORD fccType : arrUsableFormats)
    {
        const PicProps pic = {fccType, 8, 4, 8};
        std::vector<BYTE> input(128, 7);
        const std::vector<BYTE> alpha(128, 9);
        std::vector<BYTE> output(128, 3);
        AssertCapture asserts;
        EXPECT_EQ(Img_MixAlpha(input.data(), alpha.data(), output.data(), &pic, &pic, &rcEmpty, &rcOther, -1),
                  S_OK);
        EXPECT_EQ(Img_MixPicture(input.data(), alpha.data(), output.data(), 3, &pic, &pic, true, &rcEmpty,
                                 nullptr, -1),
                  S_OK);
        EXPECT_EQ(Img_Blend(input.data(), output.data(), 3, 4, &pic, &pic, &rcOther, &rcEmpty), S_OK);
        EXPECT_EQ(output, std::vector<BYTE>(128, 3));
        EXPECT_EQ(input, std::vector<BYTE>(128, 7));
    }
}

} // namespace
