// The resizer's entry points: formats, rectangles, row orders, work memory, sharpening, fields.
#include "ImageTest.h"
#include "PictureBuffer.h"
#include "ResizeReference.h"

#include "imgconverter/Sharpen.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <memory>

namespace
{

/// A picture and its bytes.
struct Picture
{
    explicit Picture(const PicProps& picProps, unsigned nSeed = 1) : pic(picProps), buffer(picProps)
    {
        buffer.Fill(nSeed);
    }
    PicProps pic;
    PictureBuffer buffer;
};

HRESULT Resize(const Picture& from, Picture& to, int nMode, int nSharp = 0, const RECT* prcFrom = nullptr,
               const RECT* prcTo = nullptr, BYTE* pTemp = nullptr)
{
    return Img_ResizeFrame(from.buffer.Data(), to.buffer.Data(), &from.pic, &to.pic, prcFrom, prcTo, nMode,
                           pTemp, nSharp);
}

/// One plane of a rectangle of a picture as samples: rows as shown, chroma of YUV at its own size.
Plane TakePlane(const Picture& picture, const RECT& rc, int nPlane)
{
    const PicProps& pic = picture.pic;
    const BYTE* pb = picture.buffer.Data();
    const LONG nRow = PicRow(pic);
    const LONG nHeight = static_cast<LONG>(AbsHeight(pic.nHeight));
    DWORD arrShift[3] = {};
    DWORD arrStep[3] = {};
    bool bMirror = false;
    EXPECT_TRUE(GetPicPlanes(&pic, arrShift, arrStep, &bMirror, false));
    const LONG nHalfX = nPlane ? 2 : 1;
    const bool bPlanar = pic.fccType == FOURCC_I420 || pic.fccType == FOURCC_YV12;
    const LONG nHalfY = nPlane && bPlanar ? 2 : 1;
    DWORD dwBits = 0;
    GetPicFormat(&pic, nullptr, nullptr, &dwBits);
    const int nChannels = IsRGBFormat(pic.fccType) ? static_cast<int>(dwBits / 8) : 1;
    Plane plane((rc.right - rc.left) / nHalfX, (rc.bottom - rc.top) / nHalfY, nChannels, 0);
    for (LONG y = 0; y < plane.size.nHeight; y++)
    {
        for (LONG x = 0; x < plane.size.nWidth; x++)
        {
            LONG nMemRow = rc.top / nHalfY + y;
            if (bMirror)
                nMemRow = nHeight - 1 - nMemRow;
            const LONG nColumn = rc.left / nHalfX + x;
            for (int c = 0; c < nChannels; c++)
            {
                size_t nAt = 0;
                if (bPlanar)
                    nAt = arrShift[nPlane] + size_t{arrStep[nPlane]} * static_cast<size_t>(nMemRow) +
                          static_cast<size_t>(nColumn);
                else if (IsRGBFormat(pic.fccType))
                    nAt = size_t{arrStep[0]} * static_cast<size_t>(nMemRow) +
                          static_cast<size_t>(nColumn * nChannels + c);
                else
                {
                    const bool bChromaFirst = pic.fccType == FOURCC_UYVY || pic.fccType == FOURCC_HDYC;
                    const bool bSwap = pic.fccType == FOURCC_YVYU;
                    const LONG nByte =
                        nPlane == 0 ? nColumn * 2 + (bChromaFirst ? 1 : 0)
                                    : nColumn * 4 + (bChromaFirst ? 0 : 1) + ((nPlane == 2) != bSwap ? 2 : 0);
                    nAt = static_cast<size_t>(nMemRow) * static_cast<size_t>(nRow) * 2 +
                          static_cast<size_t>(nByte);
                }
                plane.Data()[y * plane.nStep + x * nChannels + c] = pb[nAt];
            }
        }
    }
    return plane;
}

RECT Whole(const PicProps& pic)
{
    return {0, 0, pic.nWidth, static_cast<LONG>(AbsHeight(pic.nHeight))};
}

/// What the resizer should make of a plane; mirrored pictures of one row order are scaled in memory order.
void ExpectScaled(const Plane& src, const Plane& dst, const PlaneScale& scale, int nInterpolation,
                  int nTolerance)
{
    for (LONG y = 0; y < scale.dstSize.nHeight; y++)
    {
        for (LONG x = 0; x < scale.dstSize.nWidth; x++)
        {
            for (int c = 0; c < src.nChannels; c++)
                ASSERT_LE(std::abs(dst.At(x, y, c) - ReferenceLevel(src, scale, nInterpolation, x, y, c)),
                          nTolerance)
                    << x << ", " << y << " channel " << c;
        }
    }
}

constexpr DWORD arrScaledFormats[] = {FOURCC_RGB8, FOURCC_RGB24, FOURCC_RGB32, FOURCC_ARGB32, FOURCC_YUY2,
                                      FOURCC_UYVY, FOURCC_HDYC,  FOURCC_YVYU,  FOURCC_I420,   FOURCC_YV12};

TEST(ResizeFrame, EveryFormatAndModeLikeTheReference)
{
    struct Sizes
    {
        LONG nSrcWidth, nSrcHeight, nDstWidth, nDstHeight;
    };
    constexpr Sizes arrSizes[] = {
        {12, 8, 20, 14}, {22, 14, 8, 6}, {12, 8, 30, 4}, {2, 2, 10, 10}, {34, 4, 2, 2}};
    for (const DWORD fccType : arrScaledFormats)
    {
        for (const Sizes& sizes : arrSizes)
        {
            for (const int nMode : {1, 2, 4, 8, 0x20, 0x21, 0x22})
            {
                for (const LONG nPadding : {0, 6})
                {
                    const Picture from({fccType, sizes.nSrcWidth, -sizes.nSrcHeight,
                                        nPadding ? sizes.nSrcWidth + nPadding : 0},
                                       7);
                    Picture to({fccType, sizes.nDstWidth, -sizes.nDstHeight,
                                nPadding ? sizes.nDstWidth + nPadding : 0},
                               8);
                    SCOPED_TRACE(Str(from.pic) + " to " + Str(to.pic) + " mode " + std::to_string(nMode));
                    ASSERT_EQ(Resize(from, to, nMode), S_OK);
                    ASSERT_TRUE(to.buffer.IsGuardWhole());
                    const bool bEnlarges =
                        sizes.nDstWidth > sizes.nSrcWidth || sizes.nDstHeight > sizes.nSrcHeight;
                    const int nInterpolation = nMode == 0x20   ? 1
                                               : nMode == 0x21 ? 2
                                               : nMode == 0x22 ? (bEnlarges ? 4 : 8)
                                                               : nMode;
                    for (int nPlane = 0; nPlane < (IsRGBFormat(fccType) ? 1 : 3); nPlane++)
                    {
                        const Plane src = TakePlane(from, Whole(from.pic), nPlane);
                        const Plane dst = TakePlane(to, Whole(to.pic), nPlane);
                        // Chroma is never scaled by more than linear interpolation.
                        const int nUsed = nPlane ? std::min(nInterpolation, 2) : nInterpolation;
                        ExpectScaled(src, dst, WholeScale(src.size, dst.size), nUsed, nUsed == 1 ? 0 : 1);
                        if (HasFatalFailure())
                            return;
                    }
                }
            }
        }
    }
}

/// Filters reach over the rectangle into the picture, but in packed YUV; nothing beside the output's
/// rectangle changes.
TEST(ResizeFrame, Rectangles)
{
    constexpr RECT rcFrom = {4, 2, 14, 8};
    constexpr RECT rcTo = {6, 4, 22, 14};
    for (const DWORD fccType : arrScaledFormats)
    {
        const Picture from({fccType, 20, -12, 22}, 3);
        Picture to({fccType, 24, -18, 28}, 4);
        Picture nearest({fccType, 24, -18, 28}, 4);
        SCOPED_TRACE(Str(from.pic));
        ASSERT_EQ(Resize(from, to, eIR_Cubic, 0, &rcFrom, &rcTo), S_OK);
        const bool bPacked = GetBitCount(fccType) == 16;
        for (int nPlane = 0; nPlane < (IsRGBFormat(fccType) ? 1 : 3); nPlane++)
        {
            const Plane src = TakePlane(from, bPacked ? rcFrom : Whole(from.pic), nPlane);
            const Plane dst = TakePlane(to, rcTo, nPlane);
            PlaneScale scale = WholeScale(src.size, dst.size);
            if (!bPacked)
            {
                const LONG nHalf = nPlane ? 2 : 1;
                scale.srcRoi = {rcFrom.left / nHalf, rcFrom.top / nHalf, 10 / nHalf, 6 / nHalf};
                scale.factorX = {16, 10};
                scale.factorY = {10, 6};
            }
            ExpectScaled(src, dst, scale, nPlane ? 2 : 4, 1);
            if (HasFatalFailure())
                return;
        }
        // Outside of the rectangle: the same as before.
        Picture fresh({fccType, 24, -18, 28}, 4);
        ASSERT_EQ(Resize(from, fresh, eIR_Cubic, 0, &rcFrom, &rcTo), S_OK);
        const std::vector<BYTE> before = PictureBuffer(to.pic).Fill(4).Bytes();
        const RECT arrBeside[] = {{0, 0, 24, 4}, {0, 14, 24, 18}, {0, 4, 6, 14}, {22, 4, 24, 14}};
        Picture untouched(to.pic, 4);
        for (const RECT& rc : arrBeside)
        {
            for (int nPlane = 0; nPlane < (IsRGBFormat(fccType) ? 1 : 3); nPlane++)
                EXPECT_EQ(TakePlane(to, rc, nPlane).bytes, TakePlane(untouched, rc, nPlane).bytes) << Str(rc);
        }
    }
}

/// Bottom-up pictures are scaled in memory order, and turned at the end where the orders differ.
TEST(ResizeFrame, RowOrders)
{
    for (const DWORD fccType : {FOURCC_RGB24, FOURCC_RGB32, FOURCC_ARGB32})
    {
        for (const int nMode : {1, 2, 4, 8})
        {
            for (const int nSharp : {0, 20})
            {
                for (const LONG nSign : {1, -1})
                {
                    const Picture from({fccType, 9, 8 * nSign, 0}, 5);
                    const RECT rcTo = {1, 2, 8, 7};
                    Picture same({fccType, 9, 10 * nSign, 0}, 6);
                    Picture other({fccType, 9, -10 * nSign, 0}, 6);
                    ASSERT_EQ(Resize(from, same, nMode, nSharp, nullptr, &rcTo), S_OK);
                    ASSERT_EQ(Resize(from, other, nMode, nSharp, nullptr, &rcTo), S_OK);
                    EXPECT_EQ(TakePlane(same, rcTo, 0).bytes, TakePlane(other, rcTo, 0).bytes)
                        << Str(from.pic) << " mode " << nMode;
                }
            }
        }
    }
}

/// One byte a pixel has no turning pass.
TEST(ResizeFrame, EightBitsAreNotTurned)
{
    const Picture from({FOURCC_RGB8, 8, 8, 0}, 5);
    Picture same({FOURCC_RGB8, 12, 4, 0}, 6);
    Picture other({FOURCC_RGB8, 12, -4, 0}, 6);
    ASSERT_EQ(Resize(from, same, 2), S_OK);
    ASSERT_EQ(Resize(from, other, 2), S_OK);
    EXPECT_EQ(same.buffer.Bytes(), other.buffer.Bytes());
}

TEST(ResizeFrame, SixteenBitRgbIsTurnedAtMost)
{
    for (const DWORD fccType : {FOURCC_RGB565, FOURCC_RGB555})
    {
        const Picture from({fccType, 6, 4, 0}, 5);
        Picture same({fccType, 8, 3, 0}, 6);
        const std::vector<BYTE> before = same.buffer.Bytes();
        EXPECT_EQ(Resize(from, same, 4), S_OK);
        EXPECT_EQ(same.buffer.Bytes(), before);
        Picture other({fccType, 8, -3, 0}, 6);
        EXPECT_EQ(Resize(from, other, 4), S_OK);
        std::vector<BYTE> turned(before.begin() + 32, before.end());
        turned.insert(turned.end(), before.begin() + 16, before.begin() + 32);
        turned.insert(turned.end(), before.begin(), before.begin() + 16);
        EXPECT_EQ(other.buffer.Bytes(), turned);
    }
}

TEST(ResizeFrame, UnknownInterpolationScalesNothing)
{
    for (const DWORD fccType : arrScaledFormats)
    {
        for (const int nMode : {0, 3, 16, 0x23, 0x24, 0x3F, -1})
        {
            const Picture from({fccType, 8, -8, 0}, 1);
            Picture to({fccType, 12, -12, 0}, 2);
            const std::vector<BYTE> before = to.buffer.Bytes();
            EXPECT_EQ(Resize(from, to, nMode), S_OK) << Str(from.pic) << " " << nMode;
            EXPECT_EQ(to.buffer.Bytes(), before) << Str(from.pic) << " " << nMode;
        }
    }
    // The other row order is turned all the same.
    const Picture from({FOURCC_RGB32, 2, 2, 0}, 1);
    Picture to({FOURCC_RGB32, 1, -2, 0}, 2);
    std::vector<BYTE> turned = to.buffer.Bytes();
    std::rotate(turned.begin(), turned.begin() + 4, turned.end());
    EXPECT_EQ(Resize(from, to, 0), S_OK);
    EXPECT_EQ(to.buffer.Bytes(), turned);
}

/// Large values are cubic for interleaved RGB of 24 and 32 bits.
TEST(ResizeFrame, LargeInterpolationValues)
{
    for (const DWORD fccType : arrScaledFormats)
    {
        const bool bCubic = fccType == FOURCC_RGB24 || fccType == FOURCC_RGB32 || fccType == FOURCC_ARGB32;
        for (const int nMode : {0x40, 0x41, 0x7FFFFFFF})
        {
            const Picture from({fccType, 8, -8, 0}, 1);
            Picture to({fccType, 12, -12, 0}, 2);
            Picture cubic({fccType, 12, -12, 0}, 2);
            if (bCubic)
            {
                ASSERT_EQ(Resize(from, cubic, eIR_Cubic), S_OK);
            }
            EXPECT_EQ(Resize(from, to, nMode), S_OK);
            EXPECT_EQ(to.buffer.Bytes(), cubic.buffer.Bytes()) << Str(from.pic) << " " << nMode;
        }
    }
}

TEST(ResizeFrame, BestRequest)
{
    const Picture from({FOURCC_RGB24, 20, -20, 0}, 1);
    const auto best = [&](LONG nWidth, LONG nHeight, int nMode)
    {
        Picture to({FOURCC_RGB24, nWidth, -nHeight, 0}, 2);
        EXPECT_EQ(Resize(from, to, nMode), S_OK);
        return to.buffer.Bytes();
    };
    EXPECT_EQ(best(30, 20, eIR_RequestBest), best(30, 20, eIR_Cubic));
    EXPECT_EQ(best(30, 10, eIR_RequestBest), best(30, 10, eIR_Cubic));
    EXPECT_EQ(best(10, 30, eIR_RequestBest), best(10, 30, eIR_Cubic));
    EXPECT_EQ(best(10, 10, eIR_RequestBest), best(10, 10, eIR_Super));
    EXPECT_EQ(best(20, 10, eIR_RequestBest), best(20, 10, eIR_Super));
    EXPECT_EQ(best(30, 20, eIR_RequestNearest), best(30, 20, eIR_Nearest));
    EXPECT_EQ(best(30, 20, eIR_RequestLinear), best(30, 20, eIR_Linear));
}

/// Work memory of the caller or of our own: the same result, and not a byte beyond the size.
TEST(ResizeFrame, WorkMemory)
{
    for (const DWORD fccType : arrScaledFormats)
    {
        for (const int nSharp : {0, 10})
        {
            for (const LONG nWidth : {2, 10, 40})
            {
                for (const int nMode : {1, 2, 4, 8})
                {
                    const Picture from({fccType, nWidth, -8, 0}, 1);
                    Picture own({fccType, 14, -6, 16}, 2);
                    Picture given({fccType, 14, -6, 16}, 2);
                    PictureBuffer temp(Img_GetBufferSize(&from.pic, &own.pic));
                    ASSERT_EQ(Resize(from, own, nMode, nSharp), S_OK);
                    for (const size_t nOff : {0, 1, 3})
                    {
                        PictureBuffer shifted(temp.Size() + nOff);
                        shifted.Fill(77);
                        given.buffer.Fill(2);
                        ASSERT_EQ(Resize(from, given, nMode, nSharp, nullptr, nullptr, shifted.Data() + nOff),
                                  S_OK);
                        EXPECT_EQ(given.buffer.Bytes(), own.buffer.Bytes()) << Str(from.pic) << " " << nMode;
                        EXPECT_TRUE(shifted.IsGuardWhole());
                    }
                }
            }
        }
    }
}

/// Packed and sharpened pictures are scaled in place as if the source stood elsewhere.
TEST(ResizeFrame, InPlace)
{
    struct Case
    {
        DWORD fccType;
        LONG nFromHeight, nToHeight;
        int nSharp;
    };
    constexpr Case arrCases[] = {{FOURCC_UYVY, -12, -20, 0},  {FOURCC_YUY2, -20, -12, 0},
                                 {FOURCC_UYVY, -12, -14, 20}, {FOURCC_RGB32, -12, -16, 20},
                                 {FOURCC_RGB24, 12, -12, 20}, {FOURCC_RGB32, 12, 12, -20}};
    for (const Case& c : arrCases)
    {
        for (const int nMode : {1, 2, 4, 8})
        {
            const PicProps picFrom = {c.fccType, 16, c.nFromHeight, 0};
            const PicProps picTo = {c.fccType, 16, c.nToHeight, 0};
            SCOPED_TRACE(Str(picFrom) + " to " + Str(picTo) + " mode " + std::to_string(nMode));
            const Picture from(picFrom, 3);
            Picture apart(picTo, 4);
            ASSERT_EQ(Resize(from, apart, nMode, c.nSharp), S_OK);
            PictureBuffer temp(Img_GetBufferSize(&picFrom, &picTo));
            for (BYTE* pTemp : {static_cast<BYTE*>(nullptr), temp.Data()})
            {
                PictureBuffer both(std::max(from.buffer.Size(), apart.buffer.Size()));
                std::memcpy(both.Data(), from.buffer.Data(), from.buffer.Size());
                ASSERT_EQ(Img_ResizeFrame(both.Data(), both.Data(), &picFrom, &picTo, nullptr, nullptr, nMode,
                                          pTemp, c.nSharp),
                          S_OK);
                EXPECT_TRUE(
                    std::equal(apart.buffer.Data(), apart.buffer.Data() + apart.buffer.Size(), both.Data()));
            }
        }
    }
}

TEST(Sharpen, Kernels)
{
    struct Case
    {
        int nSharp;
        int32_t nCorner, nEdge, nCentre, nDivisor;
    };
    constexpr Case arrCases[] = {
        {1, -1, -1, 59, 51},         {10, -1, -1, 50, 42},          {50, -1, -1, 10, 2}, {99, -1, -1, 10, 2},
        {-1, 1, 2, 51, 63},          {-10, 1, 2, 42, 54},           {-50, 1, 2, 2, 14},  {-99, 1, 2, 2, 14},
        {0x7FFFFFFF, -1, -1, 10, 2}, {-0x7FFFFFFF - 1, 1, 2, 2, 14}};
    for (const Case& c : arrCases)
    {
        const SharpenKernel kernel = MakeSharpenKernel(c.nSharp);
        const int32_t arrExpected[9] = {c.nCorner, c.nEdge,   c.nCorner, c.nEdge,  c.nCentre,
                                        c.nEdge,   c.nCorner, c.nEdge,   c.nCorner};
        EXPECT_TRUE(std::equal(arrExpected, arrExpected + 9, kernel.arrValues)) << c.nSharp;
        EXPECT_EQ(kernel.nDivisor, c.nDivisor) << c.nSharp;
        int32_t nSum = 0;
        for (const int32_t n : kernel.arrValues)
            nSum += n;
        EXPECT_EQ(nSum, kernel.nDivisor) << "gain of 1 at " << c.nSharp;
    }
}

/// The convolution of a plane by its definition; the ring stays.
Plane ReferenceSharpen(const Plane& plane, int nSharp)
{
    const SharpenKernel kernel = MakeSharpenKernel(nSharp);
    Plane result = plane;
    for (LONG y = 1; y < plane.size.nHeight - 1; y++)
    {
        for (LONG x = 1; x < plane.size.nWidth - 1; x++)
        {
            for (int c = 0; c < plane.nChannels; c++)
            {
                int32_t nSum = 0;
                for (int k = 0; k < 9; k++)
                    nSum += kernel.arrValues[k] * plane.At(x - 1 + k % 3, y - 1 + k / 3, c);
                const int32_t nLevel = nSum <= 0 ? 0 : (2 * nSum + kernel.nDivisor) / (2 * kernel.nDivisor);
                result.Data()[y * result.nStep + x * result.nChannels + c] =
                    static_cast<BYTE>(std::min(nLevel, 255));
            }
        }
    }
    return result;
}

TEST(Sharpen, FirstPlaneOnlyAndNotItsRing)
{
    for (const DWORD fccType : arrScaledFormats)
    {
        for (const int nSharp : {1, 10, 50, -1, -25, -50})
        {
            for (const LONG nWidth : {2, 4, 18})
            {
                for (const LONG nPadding : {0, 2})
                {
                    const Picture from({fccType, 10, -8, 0}, 1);
                    const PicProps pic = {fccType, nWidth, -12, nPadding ? nWidth + nPadding : 0};
                    Picture plain(pic, 2);
                    Picture sharp(pic, 2);
                    SCOPED_TRACE(Str(pic) + " " + std::to_string(nSharp));
                    ASSERT_EQ(Resize(from, plain, eIR_Linear), S_OK);
                    ASSERT_EQ(Resize(from, sharp, eIR_Linear, nSharp), S_OK);
                    EXPECT_EQ(TakePlane(sharp, Whole(pic), 0).bytes,
                              ReferenceSharpen(TakePlane(plain, Whole(pic), 0), nSharp).bytes);
                    for (int nPlane = 1; !IsRGBFormat(fccType) && nPlane < 3; nPlane++)
                        EXPECT_EQ(TakePlane(sharp, Whole(pic), nPlane).bytes,
                                  TakePlane(plain, Whole(pic), nPlane).bytes);
                }
            }
        }
    }
}

/// No scaling: the pass runs all the same.
TEST(Sharpen, EqualSizes)
{
    for (const DWORD fccType : arrScaledFormats)
    {
        const Picture from({fccType, 10, -8, 0}, 1);
        for (const int nMode : {1, 2, 4, 8})
        {
            Picture sharp({fccType, 10, -8, 0}, 2);
            ASSERT_EQ(Resize(from, sharp, nMode, 10), S_OK);
            EXPECT_EQ(TakePlane(sharp, Whole(sharp.pic), 0).bytes,
                      ReferenceSharpen(TakePlane(from, Whole(from.pic), 0), 10).bytes)
                << Str(from.pic) << " mode " << nMode;
        }
    }
}

TEST(Sharpen, StrengthIsLimited)
{
    const Picture from({FOURCC_UYVY, 10, 8, 0}, 1);
    const auto run = [&](int nSharp)
    {
        Picture to({FOURCC_UYVY, 16, 6, 0}, 2);
        EXPECT_EQ(Resize(from, to, eIR_Cubic, nSharp), S_OK);
        return to.buffer.Bytes();
    };
    EXPECT_EQ(run(99), run(50));
    EXPECT_EQ(run(-99), run(-50));
    EXPECT_NE(run(50), run(49));
}

/// Odd numbers of rows in 4:2:0: chroma has the lower half, and none of a single row.
TEST(ResizeFrame, OddRowsOf420)
{
    for (const auto& [nFrom, nTo] : {std::pair<LONG, LONG>{5, 9}, {9, 5}, {1, 8}, {8, 1}, {3, 3}, {1, 1}})
    {
        const Picture from({FOURCC_I420, 8, nFrom, 0}, 1);
        Picture to({FOURCC_I420, 12, nTo, 0}, 2);
        Picture before({FOURCC_I420, 12, nTo, 0}, 2);
        ASSERT_EQ(Resize(from, to, eIR_Cubic), S_OK);
        for (int nPlane = 0; nPlane < 3; nPlane++)
        {
            const Plane src = TakePlane(from, Whole(from.pic), nPlane);
            const Plane dst = TakePlane(to, Whole(to.pic), nPlane);
            PlaneScale scale = WholeScale(src.size, dst.size);
            scale.factorX = {12, 8};
            scale.factorY = {nTo, nFrom};
            if (src.size.nHeight == 0)
                EXPECT_EQ(dst.bytes, TakePlane(before, Whole(to.pic), nPlane).bytes);
            else if (dst.size.nHeight != 0)
                ExpectScaled(src, dst, scale, nPlane ? 2 : 4, 1);
            if (HasFatalFailure())
                return;
        }
    }
}

/// Each field on its own, in a frame of rows in turn.
TEST(ResizeFields, ScalesEachField)
{
    for (const DWORD fccType : {FOURCC_RGB32, FOURCC_YUY2, FOURCC_UYVY})
    {
        for (const LONG nRow : {0, 12})
        {
            const Picture from({fccType, 12, -16, nRow}, 1);
            Picture both({fccType, 20, -24, nRow ? 20 : 0}, 2);
            Picture first(both.pic, 2);
            Picture second(both.pic, 2);
            const Picture before(both.pic, 2);
            const auto run = [&](Picture& to, int nField)
            {
                return Img_ResizeFields(from.buffer.Data(), to.buffer.Data(), &from.pic, &to.pic, nullptr,
                                        nullptr, eIR_Linear, nullptr, 0, nField);
            };
            ASSERT_EQ(run(both, -1), S_OK);
            ASSERT_EQ(run(first, 0), S_OK);
            ASSERT_EQ(run(second, 1), S_OK);
            const size_t cbRow = GetPicRowBytes(&both.pic);
            const auto row = [cbRow](const Picture& picture, size_t y)
            {
                const BYTE* pb = picture.buffer.Data() + y * cbRow;
                return std::vector<BYTE>(pb, pb + cbRow);
            };
            for (size_t y = 0; y < 24; y++)
            {
                EXPECT_EQ(row(first, y), row(y % 2 ? before : both, y)) << y;
                EXPECT_EQ(row(second, y), row(y % 2 ? both : before, y)) << y;
            }
            // A field is the scale of the picture of its rows; left and right of it lies the other field, so
            // that the outermost columns are not those of a picture on its own.
            for (const size_t nField : {0, 1})
            {
                Picture field({fccType, 12, -8, 0});
                const size_t cbSrcRow = GetPicRowBytes(&from.pic);
                for (size_t y = 0; y < 8; y++)
                    std::memcpy(field.buffer.Data() + y * cbSrcRow,
                                from.buffer.Data() + (2 * y + nField) * cbSrcRow, cbSrcRow);
                Picture alone({fccType, 20, -12, 0});
                ASSERT_EQ(Resize(field, alone, eIR_Linear), S_OK);
                const size_t cbEdge = 8;
                for (size_t y = 0; y < 12; y++)
                {
                    const std::vector<BYTE> inFrame = row(both, 2 * y + nField);
                    const BYTE* pAlone = alone.buffer.Data() + y * cbRow;
                    EXPECT_TRUE(std::equal(inFrame.begin() + cbEdge, inFrame.end() - cbEdge, pAlone + cbEdge))
                        << y;
                }
            }
        }
    }
}

TEST(ResizeFields, RowOrdersExchangeTheFields)
{
    const Picture from({FOURCC_RGB32, 4, 8, 0}, 1);
    const auto touched = [&](LONG nHeight, int nField)
    {
        Picture to({FOURCC_RGB32, 8, nHeight, 0}, 2);
        const std::vector<BYTE> before = to.buffer.Bytes();
        EXPECT_EQ(Img_ResizeFields(from.buffer.Data(), to.buffer.Data(), &from.pic, &to.pic, nullptr, nullptr,
                                   2, nullptr, 0, nField),
                  S_OK);
        std::vector<size_t> rows;
        for (size_t y = 0; y < 8; y++)
        {
            if (!std::equal(before.begin() + static_cast<ptrdiff_t>(y * 32),
                            before.begin() + static_cast<ptrdiff_t>(y * 32 + 32), to.buffer.Data() + y * 32))
                rows.push_back(y);
        }
        return rows;
    };
    const std::vector<size_t> even = {0, 2, 4, 6};
    const std::vector<size_t> odd = {1, 3, 5, 7};
    EXPECT_EQ(touched(8, 0), even);
    EXPECT_EQ(touched(8, 1), odd);
    EXPECT_EQ(touched(-8, 0), odd);
    EXPECT_EQ(touched(-8, 1), even);
    EXPECT_EQ(touched(8, 2), std::vector<size_t>{});
}

TEST(ResizeFields, RefusedArguments)
{
    BYTE arrInput[256] = {};
    BYTE arrOutput[256] = {};
    const PicProps pic = {FOURCC_RGB32, 4, 4, 0};
    const auto run = [&](const BYTE* pbInput, BYTE* pbOutput, const PicProps* pInput, const PicProps* pOutput,
                         const RECT* prc = nullptr)
    { return Img_ResizeFields(pbInput, pbOutput, pInput, pOutput, prc, nullptr, 4, nullptr, 0, -1); };
    AssertCapture asserts;
    EXPECT_EQ(run(arrInput, arrOutput, nullptr, &pic), E_INVALIDARG);
    EXPECT_EQ(run(arrInput, arrOutput, &pic, nullptr), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts(2, "_pInputProps && _pOutputProps"));
    asserts.Clear();
    EXPECT_EQ(run(nullptr, arrOutput, &pic, &pic), E_INVALIDARG);
    EXPECT_EQ(run(arrInput, nullptr, &pic, &pic), E_INVALIDARG);
    EXPECT_EQ(asserts.Texts(), Texts(2, "_pbInput && _pbOutput"));
    asserts.Clear();

    const PicProps picAlpha = {FOURCC_ARGB32, 4, 4, 0};
    EXPECT_EQ(run(arrInput, arrOutput, &pic, &picAlpha), E_INVALIDARG);
    const RECT rcTurned = {2, 0, 1, 4};
    const RECT rcOutside = {4, 0, 8, 4};
    EXPECT_EQ(run(arrInput, arrOutput, &pic, &pic, &rcTurned), E_INVALIDARG);
    EXPECT_EQ(run(arrInput, arrOutput, &pic, &pic, &rcOutside), S_FALSE);
    const PicProps picLong = {FOURCC_RGB32, 0x7FFFFFFF, 1, 0};
    EXPECT_EQ(run(arrInput, arrOutput, &picLong, &picLong), E_INVALIDARG);
}

/// Rectangles of all kinds on small pictures, each in memory of its exact size.
TEST(ResizeFrame, SweepStaysInside)
{
    unsigned nSeed = 99;
    const auto between = [&nSeed](LONG nLow, LONG nHigh)
    {
        nSeed = nSeed * 1664525u + 1013904223u;
        return nLow + static_cast<LONG>((nSeed >> 8) % static_cast<unsigned>(nHigh - nLow + 1));
    };
    AssertCapture asserts;
    for (int i = 0; i < 6000; i++)
    {
        const DWORD fccType = arrUsableFormats[between(0, std::size(arrUsableFormats) - 1)];
        const LONG nUnit = IsRGBFormat(fccType) ? 1 : 2;
        const auto picture = [&]
        {
            const LONG nWidth = between(1, 20) * nUnit;
            return PicProps{fccType, nWidth, between(1, 20) * (between(0, 1) ? 1 : -1),
                            between(0, 1) ? 0 : nWidth + between(0, 5) * nUnit};
        };
        const auto rect = [&]
        {
            const LONG nLeft = between(-8, 24);
            const LONG nTop = between(-8, 24);
            return RECT{nLeft, nTop, nLeft + between(0, 40), nTop + between(0, 40)};
        };
        const Picture from(picture(), nSeed);
        Picture to(picture(), nSeed + 1);
        const RECT rcFrom = rect();
        const RECT rcTo = rect();
        const RECT* prcFrom = between(0, 2) ? &rcFrom : nullptr;
        const RECT* prcTo = between(0, 2) ? &rcTo : nullptr;
        constexpr int arrModes[] = {1, 2, 4, 8, 0x20, 0x21, 0x22, 0x23, 0x40};
        const int nMode = arrModes[between(0, 8)];
        const int nSharp = between(0, 2) ? 0 : between(-60, 60);
        SCOPED_TRACE(Str(from.pic) + " " + Str(rcFrom) + " to " + Str(to.pic) + " " + Str(rcTo) + " mode " +
                     std::to_string(nMode) + " sharp " + std::to_string(nSharp));
        PictureBuffer temp(Img_GetBufferSize(&from.pic, &to.pic));
        BYTE* pTemp = between(0, 1) ? temp.Data() : nullptr;
        HRESULT hr = S_OK;
        if (between(0, 3))
            hr = Resize(from, to, nMode, nSharp, prcFrom, prcTo, pTemp);
        else
            hr = Img_ResizeFields(from.buffer.Data(), to.buffer.Data(), &from.pic, &to.pic, prcFrom, prcTo,
                                  nMode, pTemp, nSharp, between(-1, 2));
        ASSERT_TRUE(hr == S_OK || hr == S_FALSE || hr == E_INVALIDARG) << std::hex << hr;
        ASSERT_TRUE(to.buffer.IsGuardWhole());
        ASSERT_TRUE(temp.IsGuardWhole());
    }
}

} // namespace
