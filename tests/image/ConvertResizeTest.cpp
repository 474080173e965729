// Conversion and scaling in one call.
#include "ImageTest.h"
#include "PictureBuffer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <random>

namespace
{

TEST(ConvertResize, ConvertsWithoutScalingWholePictures)
{
    const PicProps picInput = {FOURCC_RGB32, 4, -4, 0};
    const PicProps picOutput = {FOURCC_YUY2, 4, -4, 0};
    PictureBuffer input(picInput);
    PictureBuffer output(picOutput);
    PictureBuffer expected(picOutput);
    input.Fill(3);
    ASSERT_EQ(
        Img_Convert(input.Data(), expected.Data(), &picInput, &picOutput, nullptr, nullptr, true, nullptr),
        S_OK);
    const RECT rc = {0, 0, 2, 2}; // rectangles of one size do not scale and are not looked at again
    EXPECT_EQ(Img_ConvertResize(input.Data(), output.Data(), &picInput, &picOutput, &rc, &rc, false,
                                eIR_Linear, nullptr, 0),
              S_OK);
    EXPECT_EQ(output.Bytes(), expected.Bytes());
}

TEST(ConvertResize, ChecksItsArgumentsAndPassesResultsOn)
{
    BYTE arrInput[256] = {};
    BYTE arrOutput[256] = {};
    const PicProps picRgb = {FOURCC_RGB32, 4, -4, 0};
    const PicProps picYvyu = {FOURCC_YVYU, 4, -4, 0};
    AssertCapture asserts;
    EXPECT_EQ(
        Img_ConvertResize(arrInput, arrOutput, nullptr, &picRgb, nullptr, nullptr, false, 1, nullptr, 0),
        E_INVALIDARG);
    EXPECT_EQ(Img_ConvertResize(nullptr, arrOutput, &picRgb, &picRgb, nullptr, nullptr, false, 1, nullptr, 0),
              E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), (Texts{"_pInputProps && _pOutputProps", "_pbInput && _pbOutput"}));
    EXPECT_EQ(
        Img_ConvertResize(arrInput, arrOutput, &picRgb, &picYvyu, nullptr, nullptr, false, 1, nullptr, 0),
        E_NOTIMPL);
    const RECT rcOutside = {10, 0, 12, 4};
    EXPECT_EQ(
        Img_ConvertResize(arrInput, arrOutput, &picRgb, &picRgb, &rcOutside, nullptr, false, 1, nullptr, 0),
        S_FALSE);
}

// What one rectangle loses at the edge of its picture, the other loses multiplied.
TEST(ConvertResize, RectanglesAtTheEndsOfTheNumbers)
{
    BYTE arrInput[256] = {};
    BYTE arrOutput[256] = {};
    const PicProps picRgb = {FOURCC_RGB32, 4, -4, 0};
    constexpr LONG nLowest = std::numeric_limits<LONG>::min();
    constexpr LONG nHighest = std::numeric_limits<LONG>::max();
    const RECT arrRects[] = {{2, 2, 4, 4},
                             {nHighest - 1, 0, nHighest, 4},
                             {0, nHighest - 1, 4, nHighest},
                             {nLowest, nLowest, nLowest + 2, nLowest + 2},
                             {nLowest, 0, nHighest, 4}};
    for (const RECT& rcInput : arrRects)
    {
        for (const RECT& rcOutput : arrRects)
        {
            const HRESULT hr = Img_ConvertResize(arrInput, arrOutput, &picRgb, &picRgb, &rcInput, &rcOutput,
                                                 false, eIR_Linear, nullptr, 0);
            EXPECT_TRUE(hr == S_OK || hr == S_FALSE) << hr;
        }
    }
}

constexpr int arrModes[] = {eIR_Nearest, eIR_Linear, eIR_Cubic, eIR_Super, eIR_RequestBest, 0x23};

/// What the two stages leave when each is called on its own, the first one into memory of its exact size.
struct Chain
{
    HRESULT hr;
    std::vector<BYTE> output;
};

Chain RunChain(PictureBuffer& input, PictureBuffer output, const PicProps& picInput,
               const PicProps& picOutput, bool bFieldMode, int nMode, int nSharp,
               const RECT* prcInput = nullptr, const RECT* prcOutput = nullptr)
{
    const PicProps picBetween = {picOutput.fccType, picInput.nWidth, picInput.nHeight, 0};
    PictureBuffer between(picBetween);
    between.Clear();
    PictureBuffer temp(Img_GetBufferSize(&picInput, &picBetween));
    HRESULT hr = Img_Convert(input.Data(), between.Data(), &picInput, &picBetween, nullptr, nullptr, true,
                             temp.Data());
    if (SUCCEEDED(hr))
        hr = bFieldMode ? Img_ResizeFields(between.Data(), output.Data(), &picBetween, &picOutput, prcInput,
                                           prcOutput, nMode, nullptr, nSharp, -1)
                        : Img_ResizeFrame(between.Data(), output.Data(), &picBetween, &picOutput, prcInput,
                                          prcOutput, nMode, nullptr, nSharp);
    return {hr, output.Bytes()};
}

/// From pictures of two pixels on, whose frames are much smaller than the unit that the work memory behind
/// them starts on; with memory of the call and of the caller, each of its exact size. Bytes that a conversion
/// leaves out (alpha, an odd last row, padding that a field view slides into) are zeros.
TEST(ConvertResize, RunsBothStagesInMemoryOfAnySize)
{
    constexpr LONG arrSizes[][4] = {{8, 1, 4, 1},  {2, 2, 4, 4},  {2, 1, 6, 3},     {8, 2, 8, 4},
                                    {12, 8, 6, 4}, {6, 4, 30, 2}, {40, 24, 20, 36}, {10, 5, 6, 8}};
    for (const DWORD fccInput : {FOURCC_RGB24, FOURCC_RGB32, FOURCC_YUY2, FOURCC_UYVY, FOURCC_I420})
    {
        for (const DWORD fccOutput :
             {FOURCC_RGB24, FOURCC_ARGB32, FOURCC_YUY2, FOURCC_UYVY, FOURCC_I420, FOURCC_YV12})
        {
            if (fccInput == fccOutput)
                continue;
            for (const auto& arrSize : arrSizes)
            {
                for (const bool bFieldMode : {false, true})
                {
                    for (const int nSharp : {0, 20})
                    {
                        const PicProps picInput = {fccInput, arrSize[0], -arrSize[1], 0};
                        const PicProps picOutput = {fccOutput, arrSize[2], arrSize[3], 0};
                        SCOPED_TRACE(Str(picInput) + " to " + Str(picOutput) + (bFieldMode ? " fields" : "") +
                                     (nSharp ? " sharp" : ""));
                        PictureBuffer input(picInput);
                        PictureBuffer own(picOutput);
                        PictureBuffer given(picOutput);
                        PictureBuffer fresh(picOutput);
                        PictureBuffer temp(Img_GetBufferSizeEx(&picInput, &picOutput));
                        input.Fill(3);
                        own.Fill(4);
                        given.Fill(4);
                        fresh.Fill(4);
                        temp.Clear();
                        AssertCapture asserts;
                        const Chain expected = RunChain(input, std::move(fresh), picInput, picOutput,
                                                        bFieldMode, eIR_Linear, nSharp);
                        const HRESULT hrExpected = FAILED(expected.hr) ? expected.hr : S_OK;
                        EXPECT_EQ(Img_ConvertResize(input.Data(), own.Data(), &picInput, &picOutput, nullptr,
                                                    nullptr, bFieldMode, eIR_Linear, nullptr, nSharp),
                                  hrExpected);
                        EXPECT_EQ(Img_ConvertResize(input.Data(), given.Data(), &picInput, &picOutput,
                                                    nullptr, nullptr, bFieldMode, eIR_Linear, temp.Data(),
                                                    nSharp),
                                  hrExpected);
                        EXPECT_EQ(own.Bytes(), expected.output);
                        EXPECT_EQ(given.Bytes(), expected.output);
                        EXPECT_TRUE(own.IsGuardWhole() && given.IsGuardWhole() && temp.IsGuardWhole());
                    }
                }
            }
        }
    }
}

/// Pictures of unlike sizes and formats with rectangles of all kinds: the rectangles count for the scaling
/// alone, and nothing beside the memory of a call is touched.
TEST(ConvertResize, RandomCalls)
{
    std::mt19937 random(31);
    const auto between = [&random](LONG nLow, LONG nHigh)
    { return std::uniform_int_distribution<LONG>(nLow, nHigh)(random); };
    const auto picture = [&](DWORD fccType)
    {
        const LONG nWidth = between(1, 12) * 2;
        return PicProps{fccType, nWidth, between(1, 12) * (between(0, 1) == 0 ? 1 : -1),
                        between(0, 1) == 0 ? 0 : nWidth + between(0, 3) * 2};
    };
    const auto rect = [&]
    {
        const RECT rc = {between(-8, 24), between(-4, 12), 0, 0};
        return RECT{rc.left, rc.top, rc.left + between(0, 30), rc.top + between(0, 16)};
    };
    const auto format = [&] { return arrUsableFormats[between(0, std::size(arrUsableFormats) - 1)]; };
    int nScaled = 0;
    for (unsigned i = 0; i < 4000; i++)
    {
        const PicProps picInput = picture(format());
        const PicProps picOutput = picture(format());
        const bool bOneSize = picInput.nWidth == picOutput.nWidth &&
                              AbsHeight(picInput.nHeight) == AbsHeight(picOutput.nHeight);
        if (picInput.fccType == picOutput.fccType || bOneSize)
            continue;
        const RECT rcInput = rect();
        const RECT rcOutput = rect();
        const RECT* const prcInput = between(0, 1) == 0 ? nullptr : &rcInput;
        const RECT* const prcOutput = between(0, 1) == 0 ? nullptr : &rcOutput;
        const bool bFieldMode = between(0, 1) == 0;
        const int nMode = arrModes[between(0, std::size(arrModes) - 1)];
        const int nSharp = between(0, 2) == 0 ? between(-60, 60) : 0;
        SCOPED_TRACE(Str(picInput) + " to " + Str(picOutput) + ", " + (prcInput ? Str(rcInput) : "whole") +
                     " to " + (prcOutput ? Str(rcOutput) : "whole") + (bFieldMode ? " fields" : "") +
                     " mode " + std::to_string(nMode) + " sharp " + std::to_string(nSharp));
        PictureBuffer input(picInput);
        PictureBuffer output(picOutput);
        PictureBuffer fresh(picOutput);
        PictureBuffer temp(Img_GetBufferSizeEx(&picInput, &picOutput));
        input.Fill(i);
        output.Fill(i + 1);
        fresh.Fill(i + 1);
        temp.Clear();
        const std::vector<BYTE> before = input.Bytes();
        AssertCapture asserts;
        const Chain expected = RunChain(input, std::move(fresh), picInput, picOutput, bFieldMode, nMode,
                                        nSharp, prcInput, prcOutput);
        const Texts texts = asserts.Texts();
        asserts.Clear();
        // What the scaling does not do is a success of the whole.
        ASSERT_EQ(Img_ConvertResize(input.Data(), output.Data(), &picInput, &picOutput, prcInput, prcOutput,
                                    bFieldMode, nMode, between(0, 1) == 0 ? nullptr : temp.Data(), nSharp),
                  FAILED(expected.hr) ? expected.hr : S_OK);
        ASSERT_EQ(output.Bytes(), expected.output);
        ASSERT_EQ(input.Bytes(), before);
        ASSERT_EQ(asserts.Texts(), texts);
        ASSERT_TRUE(output.IsGuardWhole() && temp.IsGuardWhole());
        nScaled += expected.hr == S_OK;
    }
    EXPECT_GT(nScaled, 1000);
}

/// Red and blue, converted and scaled: the bytes that both stages are known to give.
TEST(ConvertResize, KnownColours)
{
    const PicProps picInput = {FOURCC_RGB32, 4, -2, 0};
    const PicProps picOutput = {FOURCC_YUY2, 8, -4, 0};
    std::vector<BYTE> input;
    for (int i = 0; i < 8; i++) // a row of red, a row of blue
        input.insert(input.end(),
                     {static_cast<BYTE>(i < 4 ? 0 : 255), 0, static_cast<BYTE>(i < 4 ? 255 : 0), 0});
    std::vector<BYTE> output(64, 0xEE);
    ASSERT_EQ(Img_ConvertResize(input.data(), output.data(), &picInput, &picOutput, nullptr, nullptr, false,
                                eIR_Nearest, nullptr, 0),
              S_OK);
    std::vector<BYTE> expected;
    for (int i = 0; i < 16; i++)
    {
        const std::vector<BYTE> pair =
            i < 8 ? std::vector<BYTE>{82, 90, 82, 240} : std::vector<BYTE>{41, 240, 41, 110};
        expected.insert(expected.end(), pair.begin(), pair.end());
    }
    EXPECT_EQ(output, expected);
}

/// Rows of two fields stay apart in field mode, and mix without it.
TEST(ConvertResize, FieldModeKeepsTheFieldsApart)
{
    const PicProps picInput = {FOURCC_RGB32, 4, -8, 0};
    const PicProps picOutput = {FOURCC_YUY2, 4, -4, 0};
    std::vector<BYTE> input;
    for (size_t y = 0; y < 8; y++)
        input.insert(input.end(), 16, static_cast<BYTE>(y % 2 == 0 ? 0 : 255));
    const auto lumas = [&](bool bFieldMode)
    {
        std::vector<BYTE> output(32, 0xEE);
        EXPECT_EQ(Img_ConvertResize(input.data(), output.data(), &picInput, &picOutput, nullptr, nullptr,
                                    bFieldMode, eIR_Linear, nullptr, 0),
                  S_OK);
        return std::vector<BYTE>{output[0], output[8], output[16], output[24]};
    };
    EXPECT_EQ(lumas(true), (std::vector<BYTE>{16, 235, 16, 235}));
    EXPECT_EQ(lumas(false), std::vector<BYTE>(4, 126)); // (16 + 235) / 2, half up
}

/// One format: only the scaling runs, whole or by rectangles of unlike size; without scaling the rectangles
/// count for nothing.
TEST(ConvertResize, OneFormat)
{
    const PicProps picSmall = {FOURCC_RGB32, 2, -1, 0};
    const PicProps picLarge = {FOURCC_RGB32, 4, -1, 0};
    const DWORD arrInput[] = {11, 22};
    DWORD arrOutput[4] = {};
    BYTE* const pbOutput = reinterpret_cast<BYTE*>(arrOutput);
    BYTE arrBytes[8];
    std::memcpy(arrBytes, arrInput, 8);
    EXPECT_EQ(Img_ConvertResize(arrBytes, pbOutput, &picSmall, &picLarge, nullptr, nullptr, false,
                                eIR_Nearest, nullptr, 0),
              S_OK);
    EXPECT_EQ(std::vector<DWORD>(arrOutput, arrOutput + 4), (std::vector<DWORD>{11, 11, 22, 22}));
    // Pictures of one size, rectangles of two.
    std::fill_n(arrOutput, 4, DWORD{99});
    const RECT rcSecond = {1, 0, 2, 1};
    EXPECT_EQ(Img_ConvertResize(arrBytes, pbOutput, &picSmall, &picSmall, &rcSecond, nullptr, false,
                                eIR_Nearest, nullptr, 0),
              S_OK);
    EXPECT_EQ(std::vector<DWORD>(arrOutput, arrOutput + 4), (std::vector<DWORD>{22, 22, 99, 99}));
    // Rectangles of one size: a copy of the whole.
    std::fill_n(arrOutput, 4, DWORD{99});
    EXPECT_EQ(Img_ConvertResize(arrBytes, pbOutput, &picSmall, &picSmall, &rcSecond, &rcSecond, false,
                                eIR_Nearest, nullptr, 0),
              S_OK);
    EXPECT_EQ(std::vector<DWORD>(arrOutput, arrOutput + 4), (std::vector<DWORD>{11, 22, 99, 99}));
}

/// A conversion that is refused ends the call. Of the scaling's results only negative ones are passed on: a
/// rectangle outside leaves the output as it was, and the call a success.
TEST(ConvertResize, ResultsOfTheStages)
{
    const PicProps picInput = {FOURCC_RGB32, 8, -8, 0};
    const PicProps picRefused = {FOURCC_YVYU, 12, -12, 0};
    const PicProps picOutput = {FOURCC_UYVY, 12, -12, 0};
    const RECT rcOutside = {20, 0, 24, 4};
    const RECT rcTurned = {4, 0, 2, 4};
    PictureBuffer input(picInput);
    PictureBuffer output(picOutput);
    output.Fill(5);
    const std::vector<BYTE> before = output.Bytes();
    AssertCapture asserts;
    for (const bool bFields : {false, true})
    {
        const auto run = [&](const PicProps& picTo, const RECT* prcInput)
        {
            return Img_ConvertResize(input.Data(), output.Data(), &picInput, &picTo, prcInput, nullptr,
                                     bFields, eIR_Linear, nullptr, 0);
        };
        EXPECT_EQ(run(picRefused, nullptr), E_NOTIMPL);
        EXPECT_EQ(run(picOutput, &rcOutside), S_OK);
        EXPECT_EQ(run(picOutput, &rcTurned), E_INVALIDARG);
    }
    EXPECT_EQ(asserts.Texts().size(), 2u); // those of the refused pair
    EXPECT_EQ(output.Bytes(), before);
}

/// A frame of 4 GiB or more is refused before memory of its size is asked for.
TEST(ConvertResize, RefusesHugeFramesAtOnce)
{
    BYTE arrInput[64] = {};
    BYTE arrOutput[64] = {};
    const PicProps picSmall = {FOURCC_YUY2, 4, 4, 0};
    const PicProps picHuge = {FOURCC_RGB32, 0x1000000, 0x1000000, 0};
    EXPECT_EQ(
        Img_ConvertResize(arrInput, arrOutput, &picHuge, &picSmall, nullptr, nullptr, false, 1, nullptr, 0),
        E_INVALIDARG);
    EXPECT_EQ(
        Img_ConvertResize(arrInput, arrOutput, &picSmall, &picHuge, nullptr, nullptr, true, 1, nullptr, 0),
        E_INVALIDARG);
}

} // namespace
