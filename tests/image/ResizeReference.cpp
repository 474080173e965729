#include "ResizeReference.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

namespace
{

/// A source sample and its share.
struct Share
{
    LONG nSample;
    double dbl;
};

double CatmullRom(double d)
{
    d = std::fabs(d);
    if (d < 1)
        return (1.5 * d - 2.5) * d * d + 1;
    if (d < 2)
        return ((-0.5 * d + 2.5) * d - 4) * d + 2;
    return 0;
}

std::vector<Share> SharesOf(LONG nSrcSize, LONG nRoiStart, LONG nRoiSize, LONG nDstSize, ResizeFactor factor,
                            int nInterpolation, LONG x)
{
    std::vector<Share> shares;
    const double dblFactor = static_cast<double>(factor.nSrc) / factor.nDst;
    const double dblPlace = (x + 0.5) * dblFactor - 0.5;
    const auto add = [&](int64_t nSample, double dbl) {
        shares.push_back({static_cast<LONG>(std::clamp<int64_t>(nRoiStart + nSample, 0, nSrcSize - 1)), dbl});
    };
    const auto nFloor = static_cast<int64_t>(std::floor(dblPlace));
    switch (nInterpolation)
    {
    case eIP_Nearest:
        add((int64_t{2} * x + 1) * factor.nSrc / (int64_t{2} * factor.nDst), 1);
        break;
    case eIP_Linear:
        add(nFloor, 1 - (dblPlace - static_cast<double>(nFloor)));
        add(nFloor + 1, dblPlace - static_cast<double>(nFloor));
        break;
    case eIP_Cubic:
        for (int64_t n = nFloor - 1; n <= nFloor + 2; n++)
            add(n, CatmullRom(dblPlace - static_cast<double>(n)));
        break;
    default:
    {
        const double dblWidth = static_cast<double>(nRoiSize) / nDstSize;
        for (LONG n = 0; n < nRoiSize; n++)
        {
            const double dblCovered =
                std::min<double>(n + 1, (x + 1) * dblWidth) - std::max<double>(n, x * dblWidth);
            if (dblCovered > 0)
                add(n, dblCovered / dblWidth);
        }
    }
    }
    return shares;
}

} // namespace

Plane::Plane(LONG nWidth, LONG nHeight, int nPlaneChannels, ptrdiff_t nPadding)
    : size{nWidth, nHeight}, nChannels(nPlaneChannels), nStep(ptrdiff_t{nWidth} * nPlaneChannels + nPadding),
      bytes(static_cast<size_t>(nStep * (nHeight - 1) + ptrdiff_t{nWidth} * nPlaneChannels))
{
}

Plane& Plane::Fill(unsigned nSeed)
{
    for (BYTE& b : bytes)
    {
        nSeed = nSeed * 1664525u + 1013904223u;
        const auto n = static_cast<BYTE>(nSeed >> 24);
        b = n < 64 ? BYTE{0} : n > 192 ? BYTE{255} : n; // many extremes: that is where filters overshoot
    }
    return *this;
}

Plane& Plane::Flat(BYTE b)
{
    std::fill(bytes.begin(), bytes.end(), b);
    return *this;
}

PlaneScale WholeScale(RoiSize srcSize, RoiSize dstSize)
{
    return {srcSize,
            {0, 0, srcSize.nWidth, srcSize.nHeight},
            dstSize,
            {dstSize.nWidth, srcSize.nWidth},
            {dstSize.nHeight, srcSize.nHeight}};
}

double ReferenceSample(const Plane& src, const PlaneScale& scale, int nInterpolation, LONG x, LONG y,
                       int nChannel)
{
    const std::vector<Share> across = SharesOf(scale.srcSize.nWidth, scale.srcRoi.nLeft, scale.srcRoi.nWidth,
                                               scale.dstSize.nWidth, scale.factorX, nInterpolation, x);
    const std::vector<Share> down = SharesOf(scale.srcSize.nHeight, scale.srcRoi.nTop, scale.srcRoi.nHeight,
                                             scale.dstSize.nHeight, scale.factorY, nInterpolation, y);
    double dblSum = 0;
    for (const Share& row : down)
    {
        for (const Share& column : across)
            dblSum += row.dbl * column.dbl * src.At(column.nSample, row.nSample, nChannel);
    }
    return dblSum;
}

int ReferenceLevel(const Plane& src, const PlaneScale& scale, int nInterpolation, LONG x, LONG y,
                   int nChannel)
{
    const double dbl = ReferenceSample(src, scale, nInterpolation, x, y, nChannel);
    return std::clamp(static_cast<int>(std::floor(dbl + 0.5)), 0, 255);
}

ePrimitiveStatus RunPlane(Plane& src, Plane& dst, const PlaneScale& scale, int nInterpolation)
{
    const size_t cbWork = ResizeWorkSize(scale, nInterpolation, src.nChannels);
    const auto release = [](BYTE* p) { ::operator delete (p, std::align_val_t{cbWorkAlign}); };
    const std::unique_ptr<BYTE, decltype(release)> work(
        static_cast<BYTE*>(::operator new (cbWork + 1, std::align_val_t{cbWorkAlign})), release);
    // The byte too many keeps an empty block from being null; AddressSanitizer rounds blocks up to 8 anyway.
    switch (src.nChannels)
    {
    case 4:
        return ResizePlane4(src.Data(), src.nStep, dst.Data(), dst.nStep, scale, nInterpolation, work.get());
    case 3:
        return ResizePlane3(src.Data(), src.nStep, dst.Data(), dst.nStep, scale, nInterpolation, work.get());
    default:
        return ResizePlane1(src.Data(), src.nStep, dst.Data(), dst.nStep, scale, nInterpolation, work.get());
    }
}
