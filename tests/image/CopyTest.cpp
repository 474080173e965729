// The copy between two pictures of one format, against a copy pixel by pixel.
#include "CopyReference.h"
#include "ImageTest.h"
#include "PictureBuffer.h"

#include <algorithm>
#include <climits>

namespace
{

/// Copies and compares with the reference; the input and what lies beside the buffers must stay as they are.
void ExpectCopy(const PicProps& picInput, const PicProps& picOutput, const RECT* prcInput,
                const RECT* prcOutput)
{
    SCOPED_TRACE(Str(picInput) + " to " + Str(picOutput) + ", " + (prcInput ? Str(*prcInput) : "whole") +
                 " to " + (prcOutput ? Str(*prcOutput) : "whole"));
    PictureBuffer input(picInput);
    PictureBuffer output(picOutput);
    input.Fill(1);
    output.Fill(2);
    const std::vector<BYTE> inputBefore = input.Bytes();
    const CopyResult expected =
        ReferenceCopy(inputBefore, output.Bytes(), picInput, picOutput, prcInput, prcOutput);

    EXPECT_EQ(Img_Copy(input.Data(), output.Data(), &picInput, &picOutput, prcInput, prcOutput), expected.hr);
    EXPECT_EQ(output.Bytes(), expected.bytes);
    EXPECT_EQ(input.Bytes(), inputBefore);
    EXPECT_TRUE(output.IsGuardWhole());
}

/// Signs of the height: bottom-up and top-down, which only RGB tells apart.
constexpr LONG arrOrders[] = {1, -1};

TEST(Copy, EveryFormatOrderSizeAndRowWidth)
{
    constexpr LONG arrSizes[][2] = {{1, 1}, {2, 2}, {2, 1}, {3, 5}, {6, 4}, {7, 3}, {16, 9}, {17, 8}};
    for (const DWORD fccType : arrUsableFormats)
    {
        const bool bEven = !IsRGBFormat(fccType);
        for (const auto& arrSize : arrSizes)
        {
            const LONG nWidth = bEven ? (arrSize[0] + 1) & ~1 : arrSize[0];
            for (const LONG nInputOrder : arrOrders)
            {
                for (const LONG nOutputOrder : arrOrders)
                {
                    for (const LONG nInputRow : {0l, 0l + nWidth, nWidth + 2l})
                    {
                        for (const LONG nOutputRow : {0l, nWidth + 4l})
                        {
                            const PicProps picInput = {fccType, nWidth, nInputOrder * arrSize[1],
                                                       static_cast<LONG>(nInputRow)};
                            const PicProps picOutput = {fccType, nWidth, nOutputOrder * arrSize[1],
                                                        static_cast<LONG>(nOutputRow)};
                            ExpectCopy(picInput, picOutput, nullptr, nullptr);
                        }
                    }
                }
            }
        }
    }
}

TEST(Copy, Rectangles)
{
    constexpr RECT arrRects[] = {{0, 0, 10, 8},    {1, 1, 5, 4},      {2, 2, 6, 6},      {3, 0, 4, 1},
                                 {9, 7, 10, 8},    {0, 3, 10, 4},     {-3, -2, 4, 3},    {-3, -2, 40, 30},
                                 {5, 5, 50, 6},    {10, 0, 12, 4},    {0, 8, 4, 10},     {-5, 0, 0, 4},
                                 {-5, -5, -1, -1}, {4, 4, 4, 8},      {6, 2, 5, 4},      {0, -4, 4, 0},
                                 {-8, 0, -7, 4},   {-100, 1, 100, 2}, {1, -100, 2, 100}, {7, 5, 8, 7}};
    for (const DWORD fccType : arrUsableFormats)
    {
        for (const LONG nInputOrder : arrOrders)
        {
            for (const LONG nOutputOrder : arrOrders)
            {
                const PicProps picInput = {fccType, 10, nInputOrder * 8, 12};
                const PicProps picOutput = {fccType, 14, nOutputOrder * 7, 0};
                for (const RECT& rcInput : arrRects)
                {
                    ExpectCopy(picInput, picOutput, &rcInput, nullptr);
                    ExpectCopy(picInput, picOutput, nullptr, &rcInput);
                    for (const RECT& rcOutput : arrRects)
                        ExpectCopy(picInput, picOutput, &rcInput, &rcOutput);
                }
            }
        }
    }
}

TEST(Copy, TurnsRowsWhenTheOrdersDiffer)
{
    const BYTE arrInput[] = {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0}; // RGB24, one pixel a row
    const PicProps picUp = {FOURCC_RGB24, 1, 3, 0};
    const PicProps picDown = {FOURCC_RGB24, 1, -3, 0};
    const std::vector<BYTE> turned = {7, 8, 9, 0xEE, 4, 5, 6, 0xEE, 1, 2, 3, 0xEE};
    const std::vector<BYTE> straight = {1, 2, 3, 0xEE, 4, 5, 6, 0xEE, 7, 8, 9, 0xEE};
    const struct
    {
        const PicProps& picInput;
        const PicProps& picOutput;
        const std::vector<BYTE>& expected;
    } arrCases[] = {{picUp, picUp, straight},
                    {picUp, picDown, turned},
                    {picDown, picUp, turned},
                    {picDown, picDown, straight}};
    for (const auto& one : arrCases)
    {
        std::vector<BYTE> output(12, 0xEE);
        EXPECT_EQ(Img_Copy(arrInput, output.data(), &one.picInput, &one.picOutput, nullptr, nullptr), S_OK);
        EXPECT_EQ(output, one.expected);
    }
}

/// Rectangles count from the top as shown, whatever the memory order.
TEST(Copy, RectangleOfABottomUpPicture)
{
    const PicProps picUp = {FOURCC_RGB32, 1, 4, 0};
    const PicProps picOut = {FOURCC_RGB32, 1, -2, 0};
    const DWORD arrInput[] = {40, 30, 20, 10}; // shown from the top: 10, 20, 30, 40
    DWORD arrOutput[] = {0, 0};
    const RECT rc = {0, 1, 1, 3};
    EXPECT_EQ(Img_Copy(reinterpret_cast<const BYTE*>(arrInput), reinterpret_cast<BYTE*>(arrOutput), &picUp,
                       &picOut, &rc, nullptr),
              S_OK);
    EXPECT_EQ(arrOutput[0], 20u);
    EXPECT_EQ(arrOutput[1], 30u);
}

TEST(Copy, SameBufferWithOverlap)
{
    const PicProps pic = {FOURCC_RGB32, 4, -3, 0};
    PictureBuffer buffer(pic);
    buffer.Fill(3);
    const std::vector<BYTE> before = buffer.Bytes();
    EXPECT_EQ(Img_Copy(buffer.Data(), buffer.Data(), &pic, &pic, nullptr, nullptr), S_OK);
    EXPECT_EQ(buffer.Bytes(), before);
    // One pixel to the right, row by row.
    const RECT rcFrom = {0, 1, 3, 2};
    const RECT rcTo = {1, 1, 4, 2};
    EXPECT_EQ(Img_Copy(buffer.Data(), buffer.Data(), &pic, &pic, &rcFrom, &rcTo), S_OK);
    std::vector<BYTE> expected = before;
    std::copy(before.begin() + 16, before.begin() + 28, expected.begin() + 20);
    EXPECT_EQ(buffer.Bytes(), expected);
}

/// Two frames in one memory, which start that many bytes into it.
struct SharedFrames
{
    PicProps picInput;
    PicProps picOutput;
    size_t nInput;
    size_t nOutput;
};

/// The output has to be what a copy between two memories gives; nothing beside it may change.
void ExpectSharedCopy(const SharedFrames& frames, const RECT* prcInput, const RECT* prcOutput)
{
    SCOPED_TRACE(Str(frames.picInput) + " at " + std::to_string(frames.nInput) + ", " +
                 (prcInput ? Str(*prcInput) : "whole") + " to " + Str(frames.picOutput) + " at " +
                 std::to_string(frames.nOutput) + ", " + (prcOutput ? Str(*prcOutput) : "whole"));
    PictureBuffer memory(std::max(frames.nInput + GetPicSize(&frames.picInput),
                                  frames.nOutput + GetPicSize(&frames.picOutput)));
    std::vector<BYTE> expected = memory.Fill(4).Bytes();
    const auto frame = [&expected](size_t nStart, const PicProps& pic)
    { return std::vector<BYTE>(expected.data() + nStart, expected.data() + nStart + GetPicSize(&pic)); };
    const CopyResult result =
        ReferenceCopy(frame(frames.nInput, frames.picInput), frame(frames.nOutput, frames.picOutput),
                      frames.picInput, frames.picOutput, prcInput, prcOutput);
    std::copy(result.bytes.begin(), result.bytes.end(),
              expected.begin() + static_cast<ptrdiff_t>(frames.nOutput));

    EXPECT_EQ(Img_Copy(memory.Data() + frames.nInput, memory.Data() + frames.nOutput, &frames.picInput,
                       &frames.picOutput, prcInput, prcOutput),
              result.hr);
    EXPECT_EQ(memory.Bytes(), expected);
    EXPECT_TRUE(memory.IsGuardWhole());
}

TEST(Copy, WithinOnePicture)
{
    constexpr RECT arrRects[] = {{0, 0, 10, 8}, {0, 0, 8, 6}, {2, 2, 10, 8}, {0, 1, 10, 8}, {0, 0, 10, 7},
                                 {2, 0, 10, 8}, {0, 0, 8, 8}, {4, 3, 6, 8},  {1, 1, 9, 4},  {0, 4, 10, 8}};
    for (const DWORD fccType : arrUsableFormats)
    {
        for (const LONG nInputOrder : arrOrders)
        {
            for (const LONG nOutputOrder : arrOrders)
            {
                const SharedFrames frames = {
                    {fccType, 10, nInputOrder * 8, 12}, {fccType, 10, nOutputOrder * 8, 12}, 0, 0};
                for (const RECT& rcInput : arrRects)
                {
                    for (const RECT& rcOutput : arrRects)
                        ExpectSharedCopy(frames, &rcInput, &rcOutput);
                }
            }
        }
    }
}

TEST(Copy, BetweenPicturesThatShareMemory)
{
    constexpr size_t arrStarts[][2] = {{0, 0}, {0, 4}, {4, 0}, {0, 60}, {60, 0}, {0, 132}, {132, 0}};
    for (const DWORD fccType : arrUsableFormats)
    {
        const PicProps arrPics[] = {{fccType, 10, 8, 0},  {fccType, 10, -8, 0}, {fccType, 10, 8, 14},
                                    {fccType, 10, -6, 0}, {fccType, 8, 8, 0},   {fccType, 16, 4, 0}};
        for (const PicProps& picInput : arrPics)
        {
            for (const PicProps& picOutput : arrPics)
            {
                for (const auto& arrStart : arrStarts)
                    ExpectSharedCopy({picInput, picOutput, arrStart[0], arrStart[1]}, nullptr, nullptr);
            }
        }
    }
}

TEST(Copy, RefusedArguments)
{
    BYTE arrInput[64] = {};
    BYTE arrOutput[64] = {};
    const PicProps pic = {FOURCC_RGB32, 4, 4, 0};
    AssertCapture asserts;
    EXPECT_EQ(Img_Copy(nullptr, arrOutput, &pic, &pic, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(Img_Copy(arrInput, nullptr, &pic, &pic, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(Img_Copy(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts(3, "_pbInput && _pbOutput"));
    asserts.Clear();
    EXPECT_EQ(Img_Copy(arrInput, arrOutput, nullptr, &pic, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(Img_Copy(arrInput, arrOutput, &pic, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts(2, "_pInputProps && _pOutputProps"));
    asserts.Clear();

    // Two formats, even two that are alike or unknown, before anything else is looked at.
    const PicProps picAlpha = {FOURCC_ARGB32, 4, 4, 0};
    const PicProps picUnknown = {1, 4, 4, 0};
    const PicProps picUyvy = {FOURCC_UYVY, 4, 4, 0};
    const PicProps picHdyc = {FOURCC_HDYC, 4, 4, 0};
    EXPECT_EQ(Img_Copy(arrInput, arrOutput, &pic, &picAlpha, nullptr, nullptr), E_NOTIMPL);
    EXPECT_EQ(Img_Copy(arrInput, arrOutput, &picUyvy, &picHdyc, nullptr, nullptr), E_NOTIMPL);
    EXPECT_EQ(Img_Copy(arrInput, arrOutput, &picUnknown, &pic, nullptr, nullptr), E_NOTIMPL);

    for (const DWORD fccType : arrRefusedFormats)
    {
        const PicProps picRefused = {fccType, 4, 4, 0};
        EXPECT_EQ(Img_Copy(arrInput, arrOutput, &picRefused, &picRefused, nullptr, nullptr), E_INVALIDARG);
    }
    const PicProps picOdd = {FOURCC_YUY2, 3, 4, 0};
    EXPECT_EQ(Img_Copy(arrInput, arrOutput, &picOdd, &picOdd, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts{});

    const PicProps picShort = {FOURCC_RGB32, 4, 4, 3};
    EXPECT_EQ(Img_Copy(arrInput, arrOutput, &picShort, &pic, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(Img_Copy(arrInput, arrOutput, &pic, &picShort, nullptr, nullptr), E_INVALIDARG);

    const RECT rcTurned = {2, 0, 1, 4};
    EXPECT_EQ(Img_Copy(arrInput, arrOutput, &pic, &pic, &rcTurned, nullptr), E_INVALIDARG);
    EXPECT_EQ(Img_Copy(arrInput, arrOutput, &pic, &pic, nullptr, &rcTurned), E_INVALIDARG);
    const RECT rcOutside = {4, 0, 8, 4};
    EXPECT_EQ(Img_Copy(arrInput, arrOutput, &pic, &pic, &rcOutside, nullptr), S_FALSE);
    EXPECT_EQ(Img_Copy(arrInput, arrOutput, &pic, &pic, nullptr, &rcOutside), S_FALSE);
}

/// Sizes that no buffer has: the one byte here must not be touched.
TEST(Copy, HostileDescriptors)
{
    constexpr LONG arrNumbers[] = {INT_MIN, INT_MIN + 1, -65536,  -2,      -1,          0,      1,
                                   2,       65536,       1 << 20, 1 << 30, INT_MAX - 1, INT_MAX};
    AssertCapture asserts;
    PictureBuffer input(1);
    PictureBuffer output(1);
    for (const DWORD fccType : arrUsableFormats)
    {
        for (const LONG nWidth : arrNumbers)
        {
            for (const LONG nHeight : arrNumbers)
            {
                for (const LONG nRowWidth : arrNumbers)
                {
                    const PicProps pic = {fccType, nWidth, nHeight, nRowWidth};
                    // A usable picture of a size that fits 32 bits would really be copied.
                    const double dblPixels = static_cast<double>(PicRow(pic)) * AbsHeight(nHeight);
                    if (nWidth > 0 && nHeight != 0 && dblPixels < 4294967296.0)
                        continue;
                    const HRESULT hr = Img_Copy(input.Data(), output.Data(), &pic, &pic, nullptr, nullptr);
                    EXPECT_TRUE(hr == E_INVALIDARG || hr == S_FALSE) << Str(pic) << std::hex << " " << hr;
                }
            }
        }
    }
    EXPECT_TRUE(output.IsGuardWhole());
}

} // namespace
