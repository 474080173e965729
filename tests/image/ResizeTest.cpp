// The resizer where nothing has to be scaled, and what it refuses.
#include "ImageTest.h"
#include "PictureBuffer.h"

namespace
{

TEST(Resize, EqualSizesAreACopy)
{
    constexpr RECT rcFrom = {2, 1, 8, 5};
    constexpr RECT rcTo = {4, 2, 10, 6};
    for (const DWORD fccType : arrUsableFormats)
    {
        for (const LONG nHeight : {6, -6})
        {
            for (const bool bRects : {false, true})
            {
                const PicProps picInput = {fccType, 10, nHeight, 12};
                const PicProps picOutput = {fccType, 10, -6, 0};
                SCOPED_TRACE(Str(picInput));
                PictureBuffer input(picInput);
                PictureBuffer copied(picOutput);
                PictureBuffer resized(picOutput);
                input.Fill(1);
                copied.Fill(2);
                resized.Fill(2);
                const RECT* prcFrom = bRects ? &rcFrom : nullptr;
                const RECT* prcTo = bRects ? &rcTo : nullptr;
                ASSERT_EQ(Img_Copy(input.Data(), copied.Data(), &picInput, &picOutput, prcFrom, prcTo), S_OK);
                for (const int nMode : {0, 1, 2, 4, 8, 0x20, 0x21, 0x22, 0x23, -1})
                {
                    EXPECT_EQ(Img_ResizeFrame(input.Data(), resized.Data(), &picInput, &picOutput, prcFrom,
                                              prcTo, nMode, nullptr, 0),
                              S_OK);
                    EXPECT_EQ(resized.Bytes(), copied.Bytes());
                }
                EXPECT_TRUE(resized.IsGuardWhole());
            }
        }
    }
}

/// The copy takes the rectangles as given: a clipped pair of equal size is cut once more in the same way.
TEST(Resize, ClippedToEqualSizes)
{
    const PicProps pic = {FOURCC_RGB32, 4, -4, 0};
    PictureBuffer input(pic);
    PictureBuffer copied(pic);
    PictureBuffer resized(pic);
    input.Fill(1);
    const RECT rcFrom = {-1, -1, 3, 3};
    const RECT rcTo = {1, 1, 5, 5};
    ASSERT_EQ(Img_Copy(input.Data(), copied.Data(), &pic, &pic, &rcFrom, &rcTo), S_OK);
    EXPECT_EQ(Img_ResizeFrame(input.Data(), resized.Data(), &pic, &pic, &rcFrom, &rcTo, 4, nullptr, 0), S_OK);
    EXPECT_EQ(resized.Bytes(), copied.Bytes());
}

TEST(Resize, RefusedArguments)
{
    BYTE arrInput[64] = {};
    BYTE arrOutput[64] = {};
    const PicProps pic = {FOURCC_RGB32, 4, 4, 0};
    const auto resize =
        [&](const BYTE* pbInput, BYTE* pbOutput, const PicProps* pInput, const PicProps* pOutput)
    { return Img_ResizeFrame(pbInput, pbOutput, pInput, pOutput, nullptr, nullptr, 4, nullptr, 0); };
    AssertCapture asserts;
    EXPECT_EQ(resize(arrInput, arrOutput, nullptr, &pic), E_INVALIDARG);
    EXPECT_EQ(resize(arrInput, arrOutput, &pic, nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts(2, "_pInputProps && _pOutputProps"));
    asserts.Clear();
    EXPECT_EQ(resize(nullptr, arrOutput, &pic, &pic), E_INVALIDARG);
    EXPECT_EQ(resize(arrInput, nullptr, &pic, &pic), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts(2, "_pbInput && _pbOutput"));
    asserts.Clear();

    const PicProps picAlpha = {FOURCC_ARGB32, 4, 4, 0};
    EXPECT_EQ(resize(arrInput, arrOutput, &pic, &picAlpha), E_INVALIDARG);
    for (const DWORD fccType : arrRefusedFormats)
    {
        const PicProps picRefused = {fccType, 4, 4, 0};
        EXPECT_EQ(resize(arrInput, arrOutput, &picRefused, &picRefused), E_INVALIDARG) << Str(picRefused);
    }
    const PicProps picOdd = {FOURCC_I420, 3, 4, 0};
    EXPECT_EQ(resize(arrInput, arrOutput, &picOdd, &picOdd), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts{});

    const RECT rcTurned = {2, 0, 1, 4};
    const RECT rcOutside = {4, 0, 8, 4};
    EXPECT_EQ(Img_ResizeFrame(arrInput, arrOutput, &pic, &pic, &rcTurned, nullptr, 4, nullptr, 0),
              E_INVALIDARG);
    EXPECT_EQ(Img_ResizeFrame(arrInput, arrOutput, &pic, &pic, &rcOutside, nullptr, 4, nullptr, 0), S_FALSE);
    EXPECT_EQ(Img_ResizeFrame(arrInput, arrOutput, &pic, &pic, nullptr, &rcOutside, 4, nullptr, 0), S_FALSE);
}

} // namespace
