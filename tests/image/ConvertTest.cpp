// Conversions through Img_Convert, against the stage-by-stage reference.
#include "ConvertReference.h"
#include "ImageTest.h"
#include "PictureBuffer.h"

#include <random>

namespace
{

struct Call
{
    PicProps picInput;
    PicProps picOutput;
    const RECT* prcInput = nullptr;
    const RECT* prcOutput = nullptr;
    bool bMirrorToBuffer = true;
    bool bTemp = false;
};

std::string Describe(const Call& call)
{
    return Str(call.picInput) + " to " + Str(call.picOutput) + ", " +
           (call.prcInput ? Str(*call.prcInput) : "whole") + " to " +
           (call.prcOutput ? Str(*call.prcOutput) : "whole") +
           (call.bMirrorToBuffer ? " buffer" : " in place") + (call.bTemp ? " temp" : "");
}

/// Runs a call in buffers of the exact sizes and compares everything it leaves. \return its result
HRESULT ExpectConvert(const Call& call, unsigned nSeed = 1)
{
    PictureBuffer input(call.picInput);
    PictureBuffer output(call.picOutput);
    input.Fill(nSeed);
    output.Fill(nSeed + 77);
    PictureBuffer temp(call.bTemp ? Img_GetBufferSize(&call.picInput, &call.picOutput) : 0);
    const ConvertResult expected =
        ReferenceConvert(input.Bytes(), output.Bytes(), call.picInput, call.picOutput, call.prcInput,
                         call.prcOutput, call.bMirrorToBuffer, call.bTemp);
    AssertCapture asserts;
    const HRESULT hr =
        Img_Convert(input.Data(), output.Data(), &call.picInput, &call.picOutput, call.prcInput,
                    call.prcOutput, call.bMirrorToBuffer, call.bTemp ? temp.Data() : nullptr);
    EXPECT_EQ(hr, expected.hr) << Describe(call);
    EXPECT_TRUE(input.Bytes() == expected.input) << "input of " << Describe(call);
    EXPECT_TRUE(output.Bytes() == expected.output) << "output of " << Describe(call);
    EXPECT_EQ(asserts.Texts(), expected.asserts) << Describe(call);
    EXPECT_TRUE(input.IsGuardWhole() && output.IsGuardWhole()) << Describe(call);
    return hr;
}

/// Every combination of row orders, buffer rule and temporary buffer of a pair.
void ExpectEveryWay(PicProps picInput, PicProps picOutput, const RECT* prcInput = nullptr,
                    const RECT* prcOutput = nullptr)
{
    for (int nWay = 0; nWay < 16; nWay++)
    {
        Call call = {picInput, picOutput, prcInput, prcOutput, (nWay & 4) != 0, (nWay & 8) != 0};
        call.picInput.nHeight *= (nWay & 1) != 0 ? -1 : 1;
        call.picOutput.nHeight *= (nWay & 2) != 0 ? -1 : 1;
        ExpectConvert(call, static_cast<unsigned>(nWay + 1));
    }
}

class ConvertPairs : public testing::TestWithParam<DWORD>
{
};

TEST_P(ConvertPairs, EveryTargetOrderAndSize)
{
    constexpr LONG arrSizes[][2] = {{2, 1}, {2, 2}, {4, 3}, {6, 4}, {34, 5}, {70, 6}, {130, 2}};
    for (const DWORD fccOutput : arrUsableFormats)
    {
        for (const auto& arrSize : arrSizes)
            ExpectEveryWay({GetParam(), arrSize[0], arrSize[1], 0}, {fccOutput, arrSize[0], arrSize[1], 0});
    }
}

TEST_P(ConvertPairs, PaddedRowsAndUnlikeSizes)
{
    for (const DWORD fccOutput : arrUsableFormats)
    {
        ExpectEveryWay({GetParam(), 18, 6, 22}, {fccOutput, 18, 6, 0});
        ExpectEveryWay({GetParam(), 18, 6, 0}, {fccOutput, 18, 6, 38});
        ExpectEveryWay({GetParam(), 36, 4, 40}, {fccOutput, 20, 8, 22});
        ExpectEveryWay({GetParam(), 12, 9, 0}, {fccOutput, 66, 5, 70});
    }
}

TEST_P(ConvertPairs, OddWidthsStayInsideTheirPictures)
{
    const bool bInputRgb = IsRGBFormat(GetParam());
    for (const DWORD fccOutput : arrUsableFormats)
    {
        const bool bOutputRgb = IsRGBFormat(fccOutput);
        for (LONG nWidth = 1; nWidth <= 35; nWidth += 2)
        {
            const LONG nEven = nWidth + 1;
            ExpectEveryWay({GetParam(), bInputRgb ? nWidth : nEven, 4, 0},
                           {fccOutput, bOutputRgb ? nWidth : nEven, 4, 0});
        }
    }
}

TEST_P(ConvertPairs, Rectangles)
{
    constexpr RECT arrRects[] = {{0, 0, 10, 8}, {1, 1, 5, 4},     {2, 2, 6, 6},  {3, 0, 4, 1},
                                 {9, 7, 10, 8}, {-3, -2, 4, 3},   {5, 5, 50, 6}, {10, 0, 12, 4},
                                 {0, 8, 4, 10}, {4, 4, 4, 8},     {-5, 0, 0, 4}, {-100, 1, 100, 2},
                                 {6, 2, 5, 4},  {1, -100, 2, 100}};
    for (const DWORD fccOutput : arrUsableFormats)
    {
        for (const RECT& rcInput : arrRects)
        {
            for (const RECT& rcOutput : arrRects)
            {
                ExpectConvert(
                    {{GetParam(), 10, 8, 12}, {fccOutput, 14, 7, 0}, &rcInput, &rcOutput, true, true});
                ExpectConvert(
                    {{GetParam(), 10, -8, 0}, {fccOutput, 10, 7, 0}, &rcInput, &rcOutput, false, true});
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, ConvertPairs, testing::ValuesIn(arrUsableFormats));

TEST(Convert, RandomCalls)
{
    std::mt19937 random(20);
    const auto pick = [&random](LONG nLow, LONG nHigh)
    { return static_cast<LONG>(std::uniform_int_distribution<int>(nLow, nHigh)(random)); };
    const auto picture = [&]()
    {
        const DWORD fcc = arrUsableFormats[pick(0, static_cast<LONG>(std::size(arrUsableFormats)) - 1)];
        const LONG nEven = IsRGBFormat(fcc) ? 1 : 2;
        const LONG nWidth = pick(1, 90 / nEven) * nEven;
        const LONG nRowWidth = pick(0, 1) == 0 ? 0 : nWidth + pick(0, 5) * nEven;
        return PicProps{fcc, nWidth, pick(1, 12) * (pick(0, 1) * 2 - 1), nRowWidth};
    };
    const auto rect = [&]()
    {
        const RECT rc = {pick(-10, 80), pick(-4, 11), 0, 0};
        return RECT{rc.left, rc.top, rc.left + pick(0, 90), rc.top + pick(0, 14)};
    };
    for (unsigned i = 0; i < 20000; i++)
    {
        const RECT rcInput = rect();
        const RECT rcOutput = rect();
        ExpectConvert({picture(), picture(), pick(0, 2) == 0 ? nullptr : &rcInput,
                       pick(0, 2) == 0 ? nullptr : &rcOutput, pick(0, 1) == 1, pick(0, 1) == 1},
                      i);
        if (testing::Test::HasFailure())
            return;
    }
}

/// Converts one small block and gives the bytes it left.
std::vector<BYTE> ConvertBytes(std::vector<BYTE> input, DWORD fccInput, DWORD fccOutput, LONG nWidth,
                               LONG nHeight, HRESULT hrExpected = S_OK, BYTE nBefore = 0xEE)
{
    const PicProps picInput = {fccInput, nWidth, -nHeight, 0};
    const PicProps picOutput = {fccOutput, nWidth, -nHeight, 0};
    input.resize(GetPicSize(&picInput));
    std::vector<BYTE> output(GetPicSize(&picOutput), nBefore);
    std::vector<BYTE> temp(Img_GetBufferSize(&picInput, &picOutput));
    EXPECT_EQ(
        Img_Convert(input.data(), output.data(), &picInput, &picOutput, nullptr, nullptr, true, temp.data()),
        hrExpected);
    return output;
}

using Bytes = std::vector<BYTE>;

TEST(Convert, KnownColours)
{
    // White, black, red, blue, green of 24 bits.
    EXPECT_EQ(ConvertBytes(Bytes(6, 255), FOURCC_RGB24, FOURCC_YUY2, 2, 1), (Bytes{235, 128, 235, 128}));
    EXPECT_EQ(ConvertBytes(Bytes(6, 0), FOURCC_RGB24, FOURCC_YUY2, 2, 1), (Bytes{16, 128, 16, 128}));
    EXPECT_EQ(ConvertBytes({0, 0, 255, 0, 0, 255}, FOURCC_RGB24, FOURCC_YUY2, 2, 1)[0], 82);
    EXPECT_EQ(ConvertBytes({255, 0, 0, 255, 0, 0}, FOURCC_RGB24, FOURCC_YUY2, 2, 1)[0], 41);
    EXPECT_EQ(ConvertBytes({0, 255, 0, 0, 255, 0}, FOURCC_RGB24, FOURCC_YUY2, 2, 1)[0], 145);
    // Black and white from YUY2 (truncated) and from planes (rounded).
    EXPECT_EQ(ConvertBytes({16, 128, 16, 128}, FOURCC_YUY2, FOURCC_RGB32, 2, 1),
              (Bytes{0, 0, 0, 255, 0, 0, 0, 255}));
    EXPECT_EQ(ConvertBytes({235, 128, 235, 128}, FOURCC_YUY2, FOURCC_RGB32, 2, 1),
              (Bytes{254, 254, 254, 255, 254, 254, 254, 255}));
    EXPECT_EQ(ConvertBytes({235, 235, 235, 235, 128, 128}, FOURCC_I420, FOURCC_RGB32, 2, 2), Bytes(16, 255));
    EXPECT_EQ(ConvertBytes({128, 235, 128, 235}, FOURCC_UYVY, FOURCC_RGB32, 2, 1), Bytes(8, 255));
    // UYVY to 24 bits goes the way of YUY2 and truncates.
    EXPECT_EQ(ConvertBytes({128, 235, 128, 235}, FOURCC_UYVY, FOURCC_RGB24, 2, 1),
              (Bytes{254, 254, 254, 254, 254, 254, 0xEE, 0xEE}));
}

TEST(Convert, AlphaBytes)
{
    const Bytes pixels = {1, 2, 3, 0, 4, 5, 6, 9};
    EXPECT_EQ(ConvertBytes(pixels, FOURCC_RGB32, FOURCC_ARGB32, 2, 1), (Bytes{1, 2, 3, 255, 4, 5, 6, 255}));
    EXPECT_EQ(ConvertBytes(pixels, FOURCC_ARGB32, FOURCC_ARGB32, 2, 1), pixels);
    EXPECT_EQ(ConvertBytes(pixels, FOURCC_ARGB32, FOURCC_RGB32, 2, 1), pixels);
    EXPECT_EQ(ConvertBytes(pixels, FOURCC_RGB32, FOURCC_RGB32, 2, 1), pixels);
    EXPECT_EQ(ConvertBytes({1, 2, 3, 4, 5, 6}, FOURCC_RGB24, FOURCC_ARGB32, 2, 1),
              (Bytes{1, 2, 3, 0xEE, 4, 5, 6, 0xEE}));
    EXPECT_EQ(ConvertBytes({1, 2, 3, 4, 5, 6}, FOURCC_RGB24, FOURCC_RGB32, 2, 1),
              (Bytes{1, 2, 3, 0xEE, 4, 5, 6, 0xEE}));
}

TEST(Convert, BottomUp24ToUyvyNeedsNoBufferAndTopDownDoes)
{
    const PicProps picBottomUp = {FOURCC_RGB24, 4, 2, 0};
    const PicProps picTopDown = {FOURCC_RGB24, 4, -2, 0};
    for (const DWORD fcc : {DWORD{FOURCC_UYVY}, DWORD{FOURCC_HDYC}})
    {
        const PicProps picOutput = {fcc, 4, 2, 0};
        EXPECT_EQ(ExpectConvert({picBottomUp, picOutput}), S_OK);
        EXPECT_EQ(ExpectConvert({picTopDown, picOutput}), static_cast<HRESULT>(0xFFFFFFF8));
        EXPECT_EQ(ExpectConvert({picBottomUp, picOutput, nullptr, nullptr, false}),
                  static_cast<HRESULT>(0xFFFFFFF8));
        EXPECT_EQ(ExpectConvert({picTopDown, picOutput, nullptr, nullptr, true, true}), S_OK);
        const PicProps picRgb = {FOURCC_RGB24, 4, -2, 0};
        EXPECT_EQ(ExpectConvert({picOutput, picRgb}), S_OK);
        EXPECT_EQ(ExpectConvert({picOutput, picRgb, nullptr, nullptr, false}),
                  static_cast<HRESULT>(0xFFFFFFF8));
    }
}

TEST(Convert, PairsWithoutAPathSucceedAndWriteNothing)
{
    EXPECT_EQ(ConvertBytes({1, 2, 3, 4}, FOURCC_UYVY, FOURCC_RGB565, 2, 1), Bytes(4, 0xEE));
    EXPECT_NE(ConvertBytes({1, 2, 3, 4}, FOURCC_YUY2, FOURCC_RGB565, 2, 1), Bytes(4, 0xEE));
    EXPECT_EQ(ConvertBytes({1, 2, 3, 4}, FOURCC_RGB8, FOURCC_YUY2, 2, 1), Bytes(4, 0xEE));
    EXPECT_EQ(ConvertBytes({1, 2, 3, 4}, FOURCC_YUY2, FOURCC_RGB8, 2, 1), Bytes(4, 0xEE));
}

/// Rows of two bytes, one pixel of 16 bits: what a call leaves in both buffers.
struct Rows16
{
    HRESULT hr;
    Bytes input;
    Bytes output;
};

Rows16 ConvertRows16(PicProps picInput, PicProps picOutput, bool bMirrorToBuffer)
{
    Rows16 rows = {S_OK, {1, 2, 0, 0, 3, 4, 0, 0}, {5, 6, 0, 0, 7, 8, 0, 0}};
    rows.hr = Img_Convert(rows.input.data(), rows.output.data(), &picInput, &picOutput, nullptr, nullptr,
                          bMirrorToBuffer, nullptr);
    return rows;
}

/// A pair without a path: a mirrored side is turned all the same, where it stands.
TEST(Convert, PairsWithoutAPathTurnAMirroredSide)
{
    const PicProps picUp = {FOURCC_RGB565, 1, 2, 0};
    const PicProps picDown = {FOURCC_RGB565, 1, -2, 0};
    const Bytes input = {1, 2, 0, 0, 3, 4, 0, 0};
    const Bytes output = {5, 6, 0, 0, 7, 8, 0, 0};
    for (const bool bMirrorToBuffer : {true, false})
    {
        const Rows16 toUp = ConvertRows16(picDown, picUp, bMirrorToBuffer);
        EXPECT_EQ(toUp.hr, S_OK);
        EXPECT_EQ(toUp.input, input);
        EXPECT_EQ(toUp.output, (Bytes{7, 8, 0, 0, 5, 6, 0, 0}));
        const Rows16 toDown = ConvertRows16(picUp, picDown, bMirrorToBuffer);
        EXPECT_EQ(toDown.hr, S_OK);
        EXPECT_EQ(toDown.input, bMirrorToBuffer ? input : (Bytes{3, 4, 0, 0, 1, 2, 0, 0}));
        EXPECT_EQ(toDown.output, output);
        for (const PicProps& pic : {picUp, picDown})
        {
            const Rows16 same = ConvertRows16(pic, pic, bMirrorToBuffer);
            EXPECT_EQ(same.hr, S_OK);
            EXPECT_EQ(same.input, input);
            EXPECT_EQ(same.output, output);
        }
    }
}

/// Rows that are longer than the pieces in which a turn exchanges them.
TEST(Convert, TurnsLongRowsWhereTheyStand)
{
    for (const LONG nWidth : {341, 342, 500, 1024, 1367})
    {
        for (const LONG nHeight : {2, 5})
        {
            const PicProps picUp = {FOURCC_RGB24, nWidth, nHeight, 0};
            const PicProps picDown = {FOURCC_RGB24, nWidth, -nHeight, 0};
            PictureBuffer input(picUp);
            PictureBuffer output(picDown);
            input.Fill(6);
            output.Fill(7);
            const Bytes before = input.Bytes();
            EXPECT_EQ(
                Img_Convert(input.Data(), output.Data(), &picUp, &picDown, nullptr, nullptr, false, nullptr),
                S_OK);
            const auto row = [&picUp](const Bytes& bytes, LONG y)
            {
                const ptrdiff_t nStart = ptrdiff_t{y} * GetPicRowBytes(&picUp);
                return Bytes(bytes.begin() + nStart, bytes.begin() + nStart + ptrdiff_t{3} * picUp.nWidth);
            };
            for (LONG y = 0; y < nHeight; y++)
            {
                EXPECT_EQ(row(input.Bytes(), y), row(before, nHeight - 1 - y)) << nWidth << " row " << y;
                EXPECT_EQ(row(output.Bytes(), y), row(before, nHeight - 1 - y)) << nWidth << " row " << y;
            }
            EXPECT_TRUE(input.IsGuardWhole() && output.IsGuardWhole());
        }
    }
}

/// A bottom-up input that is turned where it stands is turned before the pair is refused.
TEST(Convert, RefusalsComeAfterTheTurnOfTheInput)
{
    const PicProps picUp = {FOURCC_RGB32, 2, 2, 0};
    const PicProps picOutput = {FOURCC_YVYU, 2, 2, 0};
    Bytes input = {1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2, 2, 2};
    Bytes output(8, 0xEE);
    AssertCapture asserts;
    EXPECT_EQ(Img_Convert(input.data(), output.data(), &picUp, &picOutput, nullptr, nullptr, false, nullptr),
              E_NOTIMPL);
    EXPECT_EQ(input, (Bytes{2, 2, 2, 2, 2, 2, 2, 2, 1, 1, 1, 1, 1, 1, 1, 1}));
    EXPECT_EQ(output, Bytes(8, 0xEE));
}

/// An odd number of rows ends the call with its warning before the output is turned.
TEST(Convert, TheWarningComesBeforeTheTurnOfTheOutput)
{
    const PicProps picInput = {FOURCC_I420, 2, 3, 0};
    const PicProps picUp = {FOURCC_RGB32, 2, 3, 0};
    Bytes input = {235, 235, 16, 16, 90, 90, 128, 128, 128};
    Bytes output(24, 0xEE);
    EXPECT_EQ(Img_Convert(input.data(), output.data(), &picInput, &picUp, nullptr, nullptr, true, nullptr),
              static_cast<HRESULT>(0x80070023));
    EXPECT_EQ(output, (Bytes{255, 255, 255, 255, 255,  255,  255,  255,  0,    0,    0,    255,
                             0,   0,   0,   255, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));
    // An even one is turned: the first row shown stands last.
    const PicProps picInputEven = {FOURCC_I420, 2, 2, 0};
    const PicProps picUpEven = {FOURCC_RGB24, 2, 2, 0};
    Bytes inputEven = {235, 235, 16, 16, 128, 128};
    Bytes outputEven(16, 0xEE);
    EXPECT_EQ(Img_Convert(inputEven.data(), outputEven.data(), &picInputEven, &picUpEven, nullptr, nullptr,
                          true, nullptr),
              S_OK);
    EXPECT_EQ(outputEven, (Bytes{0, 0, 0, 0, 0, 0, 0xEE, 0xEE, 255, 255, 255, 255, 255, 255, 0xEE, 0xEE}));
}

TEST(Convert, BottomUpToBottomUpCopiesStraight)
{
    const PicProps pic = {FOURCC_RGB24, 1, 2, 0};
    Bytes input = {1, 2, 3, 0, 4, 5, 6, 0};
    Bytes output(8, 0xEE);
    EXPECT_EQ(Img_Convert(input.data(), output.data(), &pic, &pic, nullptr, nullptr, false, nullptr), S_OK);
    EXPECT_EQ(output, (Bytes{1, 2, 3, 0xEE, 4, 5, 6, 0xEE}));
    EXPECT_EQ(input, (Bytes{1, 2, 3, 0, 4, 5, 6, 0}));
}

TEST(Convert, ARectangleOutsideThePictureWritesNothing)
{
    const PicProps pic = {FOURCC_RGB32, 4, -2, 0};
    const RECT rcRightOf = {4, 0, 8, 2};
    Bytes input(32, 1);
    Bytes output(32, 0xEE);
    EXPECT_EQ(Img_Convert(input.data(), output.data(), &pic, &pic, &rcRightOf, nullptr, true, nullptr),
              S_FALSE);
    EXPECT_EQ(output, Bytes(32, 0xEE));
}

TEST(Convert, RefusedPairsAssert)
{
    AssertCapture asserts;
    ConvertBytes({}, FOURCC_RGB32, FOURCC_YVYU, 2, 1, E_NOTIMPL);
    ConvertBytes({}, FOURCC_RGB24, FOURCC_YVYU, 2, 1, E_NOTIMPL);
    ConvertBytes({}, FOURCC_HDYC, FOURCC_YVYU, 2, 1, E_NOTIMPL);
    ConvertBytes({}, FOURCC_YVYU, FOURCC_YUY2, 2, 1, E_NOTIMPL);
    ConvertBytes({}, FOURCC_YVYU, FOURCC_RGB24, 2, 1, E_NOTIMPL);
    ConvertBytes({}, FOURCC_YVYU, FOURCC_ARGB32, 2, 1, E_NOTIMPL);
    EXPECT_EQ(asserts.Texts(), (Texts{"NOT SUPPORTED RGB32->YVYU x64", "NOT SUPPORTED RGB32->YVYU x64",
                                      "NOT SUPPORTED UYVY->YVYU x64", "NOT SUPPORTED YVYU->YUY2 x64",
                                      "NOT SUPPORTED YVYU->RGB24 x64", "NOT SUPPORTED YVYU->RGB32 x64"}));
}

TEST(Convert, PlanarOrdersExchangeTheirPlanesInMemory)
{
    EXPECT_EQ(ConvertBytes({1, 2, 3, 4, 5, 6}, FOURCC_I420, FOURCC_YV12, 2, 2), (Bytes{1, 2, 3, 4, 6, 5}));
    EXPECT_EQ(ConvertBytes({1, 2, 3, 4, 5, 6}, FOURCC_I420, FOURCC_YUY2, 2, 2),
              (Bytes{1, 5, 2, 6, 3, 5, 4, 6}));
    EXPECT_EQ(ConvertBytes({1, 2, 3, 4, 5, 6}, FOURCC_YV12, FOURCC_YVYU, 2, 2),
              (Bytes{1, 5, 2, 6, 3, 5, 4, 6}));
    EXPECT_EQ(ConvertBytes({1, 2, 3, 4, 5, 6}, FOURCC_I420, FOURCC_UYVY, 2, 2),
              (Bytes{5, 1, 6, 2, 5, 3, 6, 4}));
}

TEST(Convert, OddHeightsBetweenRgbAndPlanesWarn)
{
    const HRESULT hrWarning = static_cast<HRESULT>(0x80070023);
    const Bytes planes = ConvertBytes(Bytes(24, 255), FOURCC_RGB32, FOURCC_I420, 2, 3, hrWarning);
    EXPECT_EQ(Bytes(planes.begin(), planes.begin() + 6), (Bytes{235, 235, 235, 235, 0xEE, 0xEE}));
    ConvertBytes({}, FOURCC_I420, FOURCC_RGB24, 2, 1, hrWarning);
    ConvertBytes({}, FOURCC_RGB24, FOURCC_YV12, 2, 1, static_cast<HRESULT>(0xFFFFFFFA));
    ConvertBytes({}, FOURCC_YUY2, FOURCC_I420, 2, 3, S_OK);
}

TEST(Convert, RefusesWhatTheLibraryDoesNotKnow)
{
    BYTE arrInput[256] = {};
    BYTE arrOutput[256] = {};
    const PicProps picRgb = {FOURCC_RGB32, 4, 4, 0};
    for (const DWORD fcc : arrRefusedFormats)
    {
        const PicProps pic = {fcc, 4, 4, 0};
        AssertCapture asserts;
        EXPECT_EQ(Img_Convert(arrInput, arrOutput, &pic, &picRgb, nullptr, nullptr, true, nullptr),
                  E_INVALIDARG);
        EXPECT_EQ(Img_Convert(arrInput, arrOutput, &picRgb, &pic, nullptr, nullptr, true, nullptr),
                  E_INVALIDARG);
    }
}

} // namespace
