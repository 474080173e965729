#pragma once
/// The filters of the resizer in double precision, written from their definitions.

#include "imgconverter/ResizePlane.h"

#include <vector>

/// A plane of its own memory with an exact size: the last row ends with its last sample.
struct Plane
{
    Plane(LONG nWidth, LONG nHeight, int nChannels, ptrdiff_t nPadding);

    Plane& Fill(unsigned nSeed);
    Plane& Flat(BYTE b);
    BYTE* Data() { return bytes.data(); }
    BYTE At(LONG x, LONG y, int nChannel) const
    {
        return bytes[static_cast<size_t>(y * nStep + ptrdiff_t{x} * nChannels + nChannel)];
    }

    RoiSize size;
    int nChannels;
    ptrdiff_t nStep;
    std::vector<BYTE> bytes;
};

/// A scale of a whole plane into a size.
PlaneScale WholeScale(RoiSize srcSize, RoiSize dstSize);

/// One sample of the output, not rounded.
double ReferenceSample(const Plane& src, const PlaneScale& scale, int nInterpolation, LONG x, LONG y,
                       int nChannel);

/// The same, rounded and limited.
int ReferenceLevel(const Plane& src, const PlaneScale& scale, int nInterpolation, LONG x, LONG y,
                   int nChannel);

/// ResizePlane with work memory of exactly the size that it asks for.
ePrimitiveStatus RunPlane(Plane& src, Plane& dst, const PlaneScale& scale, int nInterpolation);
