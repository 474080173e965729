#include "asm/SIMD64Convert.h"

#include "asm/SIMD64ConvertFormulas.h"

namespace
{

struct Bgr
{
    int32_t b, g, r;

    constexpr Bgr operator+(const Bgr& other) const noexcept
    {
        return {b + other.b, g + other.g, r + other.r};
    }
};

Bgr Load(const BYTE* p) noexcept
{
    return {p[0], p[1], p[2]};
}

BYTE Luma(const Bgr& px) noexcept
{
    return static_cast<BYTE>((nLumaB * px.b + nLumaG * px.g + nLumaR * px.r + nLumaRound) >> 16);
}

BYTE Cb(const Bgr& sum, const ChromaRounding& rounding) noexcept
{
    return static_cast<BYTE>((nCbB * sum.b + nCbG * sum.g + nCbR * sum.r + rounding.nCb) >> rounding.nShift);
}

BYTE Cr(const Bgr& sum, const ChromaRounding& rounding) noexcept
{
    return static_cast<BYTE>((nCrB * sum.b + nCrG * sum.g + nCrR * sum.r + rounding.nCr) >> rounding.nShift);
}

BYTE Saturate(int32_t n) noexcept
{
    return static_cast<BYTE>(n < 0 ? 0 : n > 255 ? 255 : n);
}

Bgr ToBgr(const RgbSet& set, int32_t y, int32_t u, int32_t v) noexcept
{
    return {Saturate((set.nY * y + set.nBU * u + set.nB) >> 16),
            Saturate((set.nY * y + set.nGU * u + set.nGV * v + set.nG) >> 16),
            Saturate((set.nY * y + set.nRV * v + set.nR) >> 16)};
}

/// Where the four bytes of a pair of pixels stand.
struct Packing
{
    int nY0, nU, nY1, nV;
};

constexpr Packing packYUY2 = {0, 1, 2, 3};
constexpr Packing packUYVY = {1, 0, 3, 2};

/// Destinations of RGB: how one pixel is written.
struct Bgr24
{
    static constexpr size_t cbPixel = 3;
    static void Store(BYTE* p, const Bgr& px) noexcept
    {
        p[0] = static_cast<BYTE>(px.b);
        p[1] = static_cast<BYTE>(px.g);
        p[2] = static_cast<BYTE>(px.r);
    }
};

struct Bgra
{
    static constexpr size_t cbPixel = 4;
    static void Store(BYTE* p, const Bgr& px) noexcept
    {
        Bgr24::Store(p, px);
        p[3] = 255;
    }
};

/// Sixteen bits, the top bits of each channel, little-endian.
template <int nGreenBits>
struct Rgb16
{
    static constexpr size_t cbPixel = 2;
    static void Store(BYTE* p, const Bgr& px) noexcept
    {
        const int32_t nRed = (px.r >> 3) << (5 + nGreenBits);
        const int32_t nGreen = (px.g >> (8 - nGreenBits)) << 5;
        const int32_t n = nRed | nGreen | px.b >> 3;
        p[0] = static_cast<BYTE>(n);
        p[1] = static_cast<BYTE>(n >> 8);
    }
};

using Rgb565 = Rgb16<6>;
using Rgb555 = Rgb16<5>;

template <size_t cbPixel, Packing pack, ChromaRounding rounding>
void RgbToPacked(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept
{
    for (size_t i = 0; i + 1 < nPixels; i += 2, pSrc += 2 * cbPixel, pDst += 4)
    {
        const Bgr px0 = Load(pSrc);
        const Bgr px1 = Load(pSrc + cbPixel);
        pDst[pack.nY0] = Luma(px0);
        pDst[pack.nY1] = Luma(px1);
        pDst[pack.nU] = Cb(px0 + px1, rounding);
        pDst[pack.nV] = Cr(px0 + px1, rounding);
    }
}

template <size_t cbPixel>
void RgbToPlanar420(const BYTE* pSrc0, const BYTE* pSrc1, BYTE* pY0, BYTE* pY1, BYTE* pU, BYTE* pV,
                    size_t nPixels) noexcept
{
    for (size_t i = 0; i + 1 < nPixels; i += 2)
    {
        const Bgr px00 = Load(pSrc0 + i * cbPixel);
        const Bgr px01 = Load(pSrc0 + (i + 1) * cbPixel);
        const Bgr px10 = Load(pSrc1 + i * cbPixel);
        const Bgr px11 = Load(pSrc1 + (i + 1) * cbPixel);
        pY0[i] = Luma(px00);
        pY0[i + 1] = Luma(px01);
        pY1[i] = Luma(px10);
        pY1[i + 1] = Luma(px11);
        const Bgr sum = px00 + px01 + px10 + px11;
        pU[i / 2] = Cb(sum, chroma420);
        pV[i / 2] = Cr(sum, chroma420);
    }
}

template <Packing pack, RgbSet set, class TPixel>
void PackedToRgb(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept
{
    for (size_t i = 0; i + 1 < nPixels; i += 2, pSrc += 4, pDst += 2 * TPixel::cbPixel)
    {
        TPixel::Store(pDst, ToBgr(set, pSrc[pack.nY0], pSrc[pack.nU], pSrc[pack.nV]));
        TPixel::Store(pDst + TPixel::cbPixel, ToBgr(set, pSrc[pack.nY1], pSrc[pack.nU], pSrc[pack.nV]));
    }
}

template <class TPixel>
void PlanarToRgb(const BYTE* pY0, const BYTE* pY1, const BYTE* pU, const BYTE* pV, BYTE* pDst0, BYTE* pDst1,
                 size_t nPixels) noexcept
{
    for (size_t i = 0; i < nPixels; i++)
    {
        TPixel::Store(pDst0 + i * TPixel::cbPixel, ToBgr(rgbFrom420, pY0[i], pU[i / 2], pV[i / 2]));
        TPixel::Store(pDst1 + i * TPixel::cbPixel, ToBgr(rgbFrom420, pY1[i], pU[i / 2], pV[i / 2]));
    }
}

template <Packing pack>
void PackedToPlanar420(const BYTE* pSrc0, const BYTE* pSrc1, BYTE* pY0, BYTE* pY1, BYTE* pU, BYTE* pV,
                       size_t nPixels) noexcept
{
    for (size_t i = 0; i + 1 < nPixels; i += 2)
    {
        const BYTE* pPair0 = pSrc0 + 2 * i;
        const BYTE* pPair1 = pSrc1 + 2 * i;
        pY0[i] = pPair0[pack.nY0];
        pY0[i + 1] = pPair0[pack.nY1];
        pY1[i] = pPair1[pack.nY0];
        pY1[i + 1] = pPair1[pack.nY1];
        pU[i / 2] = pPair0[pack.nU];
        pV[i / 2] = pPair0[pack.nV];
    }
}

template <Packing pack>
void PlanarRowToPacked(const BYTE* pY, const BYTE* pSecond, const BYTE* pThird, BYTE* pDst,
                       size_t nPixels) noexcept
{
    for (size_t i = 0; i + 1 < nPixels; i += 2, pDst += 4)
    {
        pDst[pack.nY0] = pY[i];
        pDst[pack.nY1] = pY[i + 1];
        pDst[pack.nU] = pThird[i / 2]; // crossed on purpose: who wants U here exchanges the pointers
        pDst[pack.nV] = pSecond[i / 2];
    }
}

template <Packing pack>
void PlanarToPacked(const BYTE* pY0, const BYTE* pY1, const BYTE* pSecond, const BYTE* pThird, BYTE* pDst0,
                    BYTE* pDst1, size_t nPixels) noexcept
{
    PlanarRowToPacked<pack>(pY0, pSecond, pThird, pDst0, nPixels);
    PlanarRowToPacked<pack>(pY1, pSecond, pThird, pDst1, nPixels);
}

void YUY2ToUYVY(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept
{
    for (size_t i = 0; i < nPixels; i++)
    {
        pDst[2 * i] = pSrc[2 * i + 1];
        pDst[2 * i + 1] = pSrc[2 * i];
    }
}

void YUY2ToYVYU(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept
{
    for (size_t i = 0; i + 1 < nPixels; i += 2, pSrc += 4, pDst += 4)
    {
        pDst[0] = pSrc[0];
        pDst[1] = pSrc[3];
        pDst[2] = pSrc[2];
        pDst[3] = pSrc[1];
    }
}

void BGR24ToBGR32(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept
{
    for (size_t i = 0; i < nPixels; i++)
        Bgr24::Store(pDst + 4 * i, Load(pSrc + 3 * i));
}

void BGR32ToBGR24(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept
{
    for (size_t i = 0; i < nPixels; i++)
        Bgr24::Store(pDst + 3 * i, Load(pSrc + 4 * i));
}

void BGR32ToBGRA(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept
{
    for (size_t i = 0; i < nPixels; i++)
        Bgra::Store(pDst + 4 * i, Load(pSrc + 4 * i));
}

constexpr ConvertKernels kernelsScalar = {
    .BGR24ToYUY2 = RgbToPacked<3, packYUY2, chromaYUY2>,
    .BGR24ToUYVY = RgbToPacked<3, packUYVY, chromaYUY2>,
    .BGR32ToYUY2 = RgbToPacked<4, packYUY2, chromaYUY2>,
    .BGR32ToUYVY = RgbToPacked<4, packUYVY, chromaUYVY>,
    .BGR24ToBGR32 = BGR24ToBGR32,
    .BGR32ToBGR24 = BGR32ToBGR24,
    .BGR32ToBGRA = BGR32ToBGRA,
    .YUY2ToUYVY = YUY2ToUYVY,
    .YUY2ToYVYU = YUY2ToYVYU,
    .YUY2ToBGR24 = PackedToRgb<packYUY2, rgbFromYUY2, Bgr24>,
    .YUY2ToBGRA = PackedToRgb<packYUY2, rgbFromYUY2, Bgra>,
    .YUY2ToRGB565 = PackedToRgb<packYUY2, rgbFromYUY2, Rgb565>,
    .YUY2ToRGB555 = PackedToRgb<packYUY2, rgbFromYUY2, Rgb555>,
    .UYVYToBGR24 = PackedToRgb<packUYVY, rgbFromYUY2, Bgr24>,
    .UYVYToBGRA = PackedToRgb<packUYVY, rgbFromUYVY, Bgra>,
    .BGR24ToPlanar420 = RgbToPlanar420<3>,
    .BGR32ToPlanar420 = RgbToPlanar420<4>,
    .YUY2ToPlanar420 = PackedToPlanar420<packYUY2>,
    .UYVYToPlanar420 = PackedToPlanar420<packUYVY>,
    .Planar420ToYUY2 = PlanarToPacked<packYUY2>,
    .Planar420ToUYVY = PlanarToPacked<packUYVY>,
    .Planar420ToBGR24 = PlanarToRgb<Bgr24>,
    .Planar420ToBGRA = PlanarToRgb<Bgra>,
    .Planar420ToRGB565 = PlanarToRgb<Rgb565>,
    .Planar420ToRGB555 = PlanarToRgb<Rgb555>,
};

} // namespace

constinit const ConvertKernels ConvertKernels::scalar = kernelsScalar;
