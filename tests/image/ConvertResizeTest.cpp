// Conversion and scaling in one call.
#include "ImageTest.h"
#include "PictureBuffer.h"

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

} // namespace
