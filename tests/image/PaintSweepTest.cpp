// Fills, mixes and measurements with random descriptors, rectangles and settings, and buffers of exactly the
// computed size: whatever the answer is, nothing beside the buffers is read or written.
#include "ImageTest.h"
#include "PictureBuffer.h"

#include <algorithm>
#include <climits>
#include <random>

namespace
{

class CRandomCalls
{
public:
    explicit CRandomCalls(unsigned nSeed) : m_random(nSeed) {}

    int Below(int n) { return static_cast<int>(m_random() % static_cast<unsigned>(n)); }

    /// Small numbers most of the time, and the ends of the range.
    LONG Coordinate()
    {
        constexpr LONG arrEnds[] = {INT_MIN, INT_MIN + 1, INT_MAX, INT_MAX - 1, -1, 0};
        return Below(12) == 0 ? arrEnds[Below(6)] : LONG{Below(60) - 20};
    }

    LONG Size()
    {
        constexpr LONG arrOdd[] = {INT_MIN, INT_MIN + 1, INT_MAX, INT_MAX - 1, 0x40000000, 0x10000, -1, 0};
        return Below(20) == 0 ? arrOdd[Below(8)] : LONG{Below(40) + 1};
    }

    PicProps Picture(DWORD fccType)
    {
        PicProps pic = {fccType, Size(), Size(), 0};
        if (Below(4) != 0 && pic.nWidth < INT_MAX - 1) // even widths, or YUV is hardly ever taken
            pic.nWidth &= ~1;
        if (Below(2) == 0 && pic.nHeight != INT_MIN)
            pic.nHeight = -pic.nHeight;
        if (Below(3) != 0)
            pic.nRowWidth = Below(10) == 0      ? Size()
                            : pic.nWidth < 1000 ? pic.nWidth + 2 * Below(5)
                                                : pic.nWidth;
        return pic;
    }

    DWORD Format()
    {
        return Below(20) == 0 ? arrRefusedFormats[Below(static_cast<int>(std::size(arrRefusedFormats)))]
                              : arrUsableFormats[Below(static_cast<int>(std::size(arrUsableFormats)))];
    }

    RECT Rect() { return {Coordinate(), Coordinate(), Coordinate(), Coordinate()}; }

    const RECT* MaybeRect(RECT& rc)
    {
        rc = Rect();
        return Below(3) == 0 ? nullptr : &rc;
    }

    int Setting() { return Below(6) == 0 ? Coordinate() : Below(300) - 20; }

private:
    std::mt19937 m_random;
};

/// Bytes of the frame as a caller counts them, or a size that no test allocates.
size_t FrameSize(const PicProps& pic)
{
    const int64_t nRow = PicRow(pic);
    const uint64_t nPixels = nRow < 0 ? 0 : static_cast<uint64_t>(nRow) * AbsHeight(pic.nHeight);
    return nPixels > 0x10000 ? SIZE_MAX : GetPicSize(&pic);
}

constexpr size_t cbLargest = 0x100000;

/// A frame that is allocated, or one of which no view fits 32 bits.
bool IsSafe(const PicProps& pic)
{
    const int64_t nRow = PicRow(pic);
    const uint64_t nRows = AbsHeight(pic.nHeight);
    const uint64_t nPixels = nRow < 0 ? 0 : static_cast<uint64_t>(nRow) * nRows;
    const bool bHuge =
        nPixels > UINT64_MAX / 32 || nPixels * std::max<DWORD>(GetBitCount(pic.fccType), 8) / 8 > UINT32_MAX;
    return FrameSize(pic) <= cbLargest || bHuge;
}

PictureBuffer Frame(const PicProps& pic, unsigned nSeed)
{
    PictureBuffer buffer(FrameSize(pic) <= cbLargest ? FrameSize(pic) : size_t{1});
    buffer.Fill(nSeed);
    return buffer;
}

TEST(PaintSweep, Fills)
{
    CRandomCalls random(1);
    AssertCapture asserts;
    for (unsigned n = 0; n < 60000; n++)
    {
        const PicProps pic = random.Picture(random.Format());
        if (!IsSafe(pic))
            continue;
        PictureBuffer output = Frame(pic, n);
        RECT rc;
        const RECT* const prc = random.MaybeRect(rc);
        const auto dwColor = static_cast<DWORD>(random.Setting()) * 0x01030507;
        const int nField = random.Below(3) == 0 ? random.Below(3) : -1;
        Img_Fill(output.Data(), &pic, dwColor, prc, random.Setting(), nField);
        Img_DrawFrame(output.Data(), &pic, dwColor, random.Setting(), prc, random.Setting(),
                      static_cast<DWORD>(random.Below(17)));
        ASSERT_TRUE(output.IsGuardWhole()) << Str(pic) << (prc ? Str(rc) : "whole");
        asserts.Clear();
    }
}

TEST(PaintSweep, Mixes)
{
    CRandomCalls random(2);
    AssertCapture asserts;
    for (unsigned n = 0; n < 60000; n++)
    {
        const DWORD fccType = random.Format();
        const PicProps picInput = random.Picture(fccType);
        const PicProps picOutput = random.Picture(random.Below(30) == 0 ? random.Format() : fccType);
        if (!IsSafe(picInput) || !IsSafe(picOutput))
            continue;
        PictureBuffer input = Frame(picInput, n);
        PictureBuffer alpha = Frame(picInput, n + 1);
        PictureBuffer output = Frame(picOutput, n + 2);
        const PicProps picPlane = {FOURCC_I420, picInput.nWidth, picInput.nHeight, picInput.nRowWidth};
        const size_t cbPlane = FrameSize(picPlane) <= cbLargest && PicRow(picPlane) > 0
                                   ? static_cast<size_t>(PicRow(picPlane)) * AbsHeight(picPlane.nHeight)
                                   : 1;
        PictureBuffer plane(cbPlane);
        plane.Fill(n + 3);
        RECT rcInput;
        RECT rcOutput;
        const RECT* const prcInput = random.MaybeRect(rcInput);
        const RECT* const prcOutput = random.MaybeRect(rcOutput);
        const int nField = random.Below(3) == 0 ? random.Below(3) : -1;
        Img_MixAlpha(input.Data(), alpha.Data(), output.Data(), &picInput, &picOutput, prcInput, prcOutput,
                     nField);
        const int nOpacity = random.Setting();
        Img_MixPicture(input.Data(), plane.Data(), output.Data(), nOpacity, &picInput, &picOutput,
                       random.Below(2) == 0, prcInput, prcOutput, nField);
        const int nSrcWeight = random.Below(2) == 0 ? random.Coordinate() : random.Setting();
        Img_Blend(input.Data(), output.Data(), nSrcWeight, random.Setting(), &picInput, &picOutput, prcInput,
                  prcOutput);
        ASSERT_TRUE(output.IsGuardWhole() && input.IsGuardWhole())
            << Str(picInput) << " to " << Str(picOutput);
        asserts.Clear();
    }
}

TEST(PaintSweep, Measurements)
{
    CRandomCalls random(3);
    AssertCapture asserts;
    for (unsigned n = 0; n < 8000; n++)
    {
        const PicProps pic = random.Picture(random.Format());
        if (!IsSafe(pic))
            continue;
        PictureBuffer input = Frame(pic, n);
        DWORD arrKey[2] = {n * 77777u, random.Below(2) == 0 ? n * 3333u : 0};
        POINT arrPoints[3];
        RECT arrRects[2];
        for (POINT& pt : arrPoints)
            pt = {random.Coordinate(), random.Coordinate()};
        for (RECT& rc : arrRects)
            rc = random.Rect();
        Img_CalcKey(input.Data(), &pic, random.Below(4), arrPoints, random.Below(3), arrRects,
                    random.Below(6), arrKey);
        Img_GetChromaKey(input.Data(), &pic, random.Below(5), arrKey, nullptr);
        asserts.Clear();
    }
}

/// A frame of 4 GiB whose view of a field has a row less is refused as the frame is.
TEST(PaintSweep, AFieldOfAHugeFrame)
{
    const PicProps pic = {FOURCC_RGB8, 0x10000000, 17, 0x10000000};
    PictureBuffer buffer(64);
    AssertCapture asserts;
    EXPECT_EQ(Img_Fill(buffer.Data(), &pic, 0, nullptr, 255, 0), E_INVALIDARG);
    EXPECT_EQ(Img_MixAlpha(buffer.Data(), buffer.Data(), buffer.Data(), &pic, &pic, nullptr, nullptr, 1),
              E_INVALIDARG);
    EXPECT_EQ(Img_Fill(buffer.Data(), &pic, 0, nullptr, 255, -1), E_INVALIDARG);
    EXPECT_EQ(Img_DrawFrame(buffer.Data(), &pic, 0, 1, nullptr, 255, 15), E_INVALIDARG);
}

} // namespace
