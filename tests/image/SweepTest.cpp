// Random descriptors and rectangles, from a fixed seed: nothing crashes and nothing points outside a frame.
#include "CopyReference.h"
#include "ImageTest.h"
#include "PictureBuffer.h"

#include <climits>
#include <random>

namespace
{

class Random
{
public:
    explicit Random(unsigned nSeed) : m_engine(nSeed) {}

    LONG Between(LONG nLow, LONG nHigh)
    {
        const auto nSpan = static_cast<unsigned long long>(static_cast<long long>(nHigh) - nLow) + 1;
        return static_cast<LONG>(nLow + static_cast<long long>(m_engine() % nSpan));
    }

    template <class T, size_t n>
    T Of(const T (&arr)[n])
    {
        return arr[m_engine() % n];
    }

    /// Mostly small, sometimes at a limit, sometimes anything.
    LONG Number()
    {
        constexpr LONG arrLimits[] = {INT_MIN, INT_MIN + 1, INT_MAX, INT_MAX - 1, 0, 1, -1, 1 << 16, 1 << 30};
        switch (m_engine() % 8)
        {
        case 0:
            return Of(arrLimits);
        case 1:
            return Between(INT_MIN, INT_MAX);
        default:
            return Between(-20, 120);
        }
    }

    RECT Rect() { return {Number(), Number(), Number(), Number()}; }

private:
    std::mt19937_64 m_engine;
};

DWORD AnyFormat(Random& random)
{
    return random.Between(0, 3) ? random.Of(arrUsableFormats) : random.Of(arrRefusedFormats);
}

/// Every query takes every descriptor.
TEST(Sweep, QueriesTakeAnything)
{
    Random random(20240817);
    AssertCapture asserts;
    for (int i = 0; i < 60000; i++)
    {
        const PicProps picInput = {AnyFormat(random), random.Number(), random.Number(), random.Number()};
        const PicProps picOutput = {AnyFormat(random), random.Number(), random.Number(), random.Number()};
        const RECT rcInput = random.Rect();
        const RECT rcOutput = random.Rect();
        const RECT* prcInput = random.Between(0, 3) ? &rcInput : nullptr;
        const RECT* prcOutput = random.Between(0, 3) ? &rcOutput : nullptr;
        const bool bScale = random.Between(0, 1) != 0;

        GetPicRowBytes(&picInput);
        GetPicRowBytes10(&picInput);
        GetPicSize(&picInput);
        Img_GetBufferSize(&picInput, &picOutput);
        Img_GetBufferSizeEx(&picInput, &picOutput);
        DWORD arrShift[3] = {};
        DWORD arrStep[3] = {};
        DWORD arrOffset[3] = {};
        bool bMirror = false;
        GetPicPlanes(&picInput, arrShift, arrStep, &bMirror, bScale);
        GetPicOffsets(&picInput, rcInput.left, rcInput.top, arrOffset, bScale);

        RECT rcSrc = {};
        RECT rcDst = {};
        const HRESULT hr = NormalizeRects(&picInput, &picOutput, &rcSrc, &rcDst, bScale, prcInput, prcOutput);
        if (hr == S_OK)
        {
            // Inside both pictures, but for the rounding of the columns of an odd picture.
            SCOPED_TRACE(Str(picInput) + ", " + Str(picOutput) + ": " + Str(rcSrc) + " to " + Str(rcDst));
            ASSERT_GE(rcSrc.left, 0);
            ASSERT_GE(rcSrc.top, 0);
            ASSERT_LE(rcSrc.right, static_cast<long long>(picInput.nWidth) + (picInput.nWidth & 1));
            ASSERT_LE(static_cast<long long>(rcSrc.bottom),
                      static_cast<long long>(AbsHeight(picInput.nHeight)));
            ASSERT_GE(rcDst.left, 0);
            ASSERT_GE(rcDst.top, 0);
            ASSERT_LE(rcDst.right, static_cast<long long>(picOutput.nWidth) + (picOutput.nWidth & 1));
            ASSERT_LE(static_cast<long long>(rcDst.bottom),
                      static_cast<long long>(AbsHeight(picOutput.nHeight)));
        }
        else
        {
            ASSERT_TRUE(hr == S_FALSE || hr == E_INVALIDARG);
        }
        ASSERT_TRUE(hr != S_FALSE ||
                    Img_GetRects(&picInput, &picOutput, &rcSrc, &rcDst, bScale, prcInput, prcOutput) != S_OK);
        if (i % 1000 == 0)
            asserts.Clear();
    }
}

/// Every picture that is small enough to be real, against the reference.
TEST(Sweep, CopiesLikeTheReference)
{
    Random random(7);
    for (int i = 0; i < 30000; i++)
    {
        const DWORD fccType = random.Of(arrUsableFormats);
        const LONG nUnit = IsRGBFormat(fccType) ? 1 : 2;
        const auto picture = [&]
        {
            const LONG nWidth = random.Between(1, 20) * nUnit;
            const LONG nHeight = random.Between(1, 24) * (random.Between(0, 1) ? 1 : -1);
            const LONG nRowWidth = random.Between(0, 1) ? 0 : nWidth + random.Between(0, 5) * nUnit;
            return PicProps{fccType, nWidth, nHeight, nRowWidth};
        };
        const auto rect = [&]
        {
            const LONG nLeft = random.Between(-12, 30);
            const LONG nTop = random.Between(-12, 30);
            if (random.Between(0, 15) == 0)
                return random.Rect();
            return RECT{nLeft, nTop, nLeft + random.Between(0, 50), nTop + random.Between(0, 50)};
        };
        const PicProps picInput = picture();
        const PicProps picOutput = picture();
        const RECT rcInput = rect();
        const RECT rcOutput = rect();
        const RECT* prcInput = random.Between(0, 3) ? &rcInput : nullptr;
        const RECT* prcOutput = random.Between(0, 3) ? &rcOutput : nullptr;
        SCOPED_TRACE(Str(picInput) + " " + Str(rcInput) + " to " + Str(picOutput) + " " + Str(rcOutput));

        PictureBuffer input(picInput);
        PictureBuffer output(picOutput);
        input.Fill(static_cast<unsigned>(i));
        output.Fill(static_cast<unsigned>(i) + 1);
        const CopyResult expected =
            ReferenceCopy(input.Bytes(), output.Bytes(), picInput, picOutput, prcInput, prcOutput);
        ASSERT_EQ(Img_Copy(input.Data(), output.Data(), &picInput, &picOutput, prcInput, prcOutput),
                  expected.hr);
        ASSERT_EQ(output.Bytes(), expected.bytes);
        ASSERT_TRUE(output.IsGuardWhole());

        // Between rectangles of one size the resizer copies the same.
        RECT srcRect;
        RECT dstRect;
        if (NormalizeRects(&picInput, &picOutput, &srcRect, &dstRect, true, prcInput, prcOutput) != S_OK ||
            srcRect.right - srcRect.left != dstRect.right - dstRect.left ||
            srcRect.bottom - srcRect.top != dstRect.bottom - dstRect.top || srcRect.right == srcRect.left ||
            srcRect.bottom == srcRect.top)
            continue;
        ASSERT_EQ(Img_ResizeFrame(input.Data(), output.Data(), &picInput, &picOutput, prcInput, prcOutput, 4,
                                  nullptr, 0),
                  expected.hr);
        ASSERT_EQ(output.Bytes(), expected.bytes);
        ASSERT_TRUE(output.IsGuardWhole());
    }
}

} // namespace
