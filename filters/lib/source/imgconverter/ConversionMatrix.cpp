#include "imgconverter/ConversionMatrix.h"

namespace
{

using K = ConvertKernels;

constexpr Conversion Nothing = {};

/// The same bytes, on every plane.
constexpr Conversion Copy = {.eKind = eCK_CopyRows};

constexpr Conversion Refused(const char* pszRefusal) noexcept
{
    return {.eKind = eCK_Refused, .pszRefusal = pszRefusal};
}

/// RGB to RGB, pixel by pixel: any size.
constexpr Conversion Pixels(PFNCONVERTROW K::*pfn) noexcept
{
    return {.eKind = eCK_Row, .pfnRow = pfn};
}

/// The same where a byte of the target's pixels stays as it is.
constexpr Conversion ThreeOfFourBytes(PFNCONVERTROW K::*pfn) noexcept
{
    return {.eKind = eCK_Row, .bKeepsBytes = true, .pfnRow = pfn};
}

/// With a packed 4:2:2 side.
constexpr Conversion PixelPairs(PFNCONVERTROW K::*pfn) noexcept
{
    return {.eKind = eCK_Row, .nMinWidth = 2, .nMinHeight = 1, .pfnRow = pfn};
}

/// The same by way of YUY2, which asks for a temporary buffer.
constexpr Conversion PixelPairsInTwoStages(PFNCONVERTROW K::*pfn) noexcept
{
    return {.eKind = eCK_Row, .nMinWidth = 2, .nMinHeight = 1, .bTwoStages = true, .pfnRow = pfn};
}

constexpr Conversion RowPairsToPlanes(PFNTOPLANAR420 K::*pfn, eOddHeight eOdd) noexcept
{
    return {.eKind = eCK_ToPlanar420, .eOdd = eOdd, .nMinWidth = 2, .nMinHeight = 2, .pfnToPlanar = pfn};
}

constexpr Conversion RowPairsToPlanesSwapped(PFNTOPLANAR420 K::*pfn, eOddHeight eOdd) noexcept
{
    return {.eKind = eCK_ToPlanar420,
            .eOdd = eOdd,
            .nMinWidth = 2,
            .nMinHeight = 2,
            .bSwapChroma = true,
            .pfnToPlanar = pfn};
}

/// To packed 4:2:2.
constexpr Conversion PlanesToPairs(PFNFROMPLANAR420 K::*pfn) noexcept
{
    return {.eKind = eCK_FromPlanar420,
            .eOdd = eOH_LeaveOut,
            .nMinWidth = 2,
            .nMinHeight = 2,
            .pfnFromPlanar = pfn};
}

constexpr Conversion PlanesToPairsSwapped(PFNFROMPLANAR420 K::*pfn) noexcept
{
    return {.eKind = eCK_FromPlanar420,
            .eOdd = eOH_LeaveOut,
            .nMinWidth = 2,
            .nMinHeight = 2,
            .bSwapChroma = true,
            .pfnFromPlanar = pfn};
}

/// To RGB.
constexpr Conversion PlanesToPixels(PFNFROMPLANAR420 K::*pfn) noexcept
{
    return {
        .eKind = eCK_FromPlanar420, .eOdd = eOH_Warn, .nMinWidth = 1, .nMinHeight = 1, .pfnFromPlanar = pfn};
}

/// When a pair asks for a temporary buffer.
enum eTempNeed : BYTE
{
    eTN_Never,
    eTN_ToKeepInput, ///< only where bMirrorToBuffer asks for an unchanged input
    eTN_Always
};

/// One cell of the matrix. The sizes of pixels come from the formats.
struct ConversionPair
{
    constexpr ConversionPair(DWORD fccIn_, DWORD fccOut_, const Conversion& conversion_,
                             eTempNeed eTemp_ = eTN_Never) noexcept
        : fccIn(fccIn_), fccOut(fccOut_), conversion(conversion_), eTemp(eTemp_)
    {
        if (!HasPath(conversion))
            return;
        conversion.cbSrcPixel = PixelBytes(FormatOf(fccIn));
        conversion.cbDstPixel = PixelBytes(FormatOf(fccOut));
    }

    DWORD fccIn;
    DWORD fccOut;
    Conversion conversion;
    eTempNeed eTemp;
};

// clang-format off
/// All pairs, by source and target. A format without a pair of its own takes that of the format it is alike: HDYC
/// that of UYVY, YV12 that of I420, as index 1 is always U and index 2 always V. A pair that is not shown does
/// nothing, successfully. From 32 bits to ARGB32 an alpha byte that the source has is copied, one that it lacks is
/// set. One text serves two sources, and two texts name a format that the pair does not hold: deliberate.
constexpr ConversionPair arrMatrix[] = {
    {FOURCC_RGB24,  FOURCC_YUY2,   PixelPairs(&K::BGR24ToYUY2)},
    {FOURCC_RGB24,  FOURCC_UYVY,   PixelPairsInTwoStages(&K::BGR24ToUYVY)},
    {FOURCC_RGB24,  FOURCC_YVYU,   Refused("NOT SUPPORTED RGB32->YVYU x64")},
    {FOURCC_RGB24,  FOURCC_I420,   RowPairsToPlanes(&K::BGR24ToPlanar420, eOH_Warn)},
    {FOURCC_RGB24,  FOURCC_RGB24,  Copy},
    {FOURCC_RGB24,  FOURCC_RGB32,  ThreeOfFourBytes(&K::BGR24ToBGR32)},
    {FOURCC_RGB24,  FOURCC_ARGB32, ThreeOfFourBytes(&K::BGR24ToBGR32)},

    {FOURCC_RGB32,  FOURCC_YUY2,   PixelPairs(&K::BGR32ToYUY2)},
    {FOURCC_RGB32,  FOURCC_UYVY,   PixelPairs(&K::BGR32ToUYVY)},
    {FOURCC_RGB32,  FOURCC_YVYU,   Refused("NOT SUPPORTED RGB32->YVYU x64")},
    {FOURCC_RGB32,  FOURCC_I420,   RowPairsToPlanes(&K::BGR32ToPlanar420, eOH_Warn)},
    {FOURCC_RGB32,  FOURCC_RGB24,  Pixels(&K::BGR32ToBGR24)},
    {FOURCC_RGB32,  FOURCC_RGB32,  Copy},
    {FOURCC_RGB32,  FOURCC_ARGB32, Pixels(&K::BGR32ToBGRA)},

    {FOURCC_ARGB32, FOURCC_YUY2,   PixelPairs(&K::BGR32ToYUY2)},
    {FOURCC_ARGB32, FOURCC_UYVY,   PixelPairs(&K::BGR32ToUYVY)},
    {FOURCC_ARGB32, FOURCC_YVYU,   Refused("NOT SUPPORTED RGB32->YVYU x64")},
    {FOURCC_ARGB32, FOURCC_I420,   RowPairsToPlanes(&K::BGR32ToPlanar420, eOH_Warn)},
    {FOURCC_ARGB32, FOURCC_RGB24,  Pixels(&K::BGR32ToBGR24)},
    {FOURCC_ARGB32, FOURCC_RGB32,  Copy},
    {FOURCC_ARGB32, FOURCC_ARGB32, Copy},

    {FOURCC_YUY2,   FOURCC_YUY2,   Copy},
    {FOURCC_YUY2,   FOURCC_UYVY,   PixelPairs(&K::YUY2ToUYVY)},
    {FOURCC_YUY2,   FOURCC_YVYU,   PixelPairs(&K::YUY2ToYVYU)},
    {FOURCC_YUY2,   FOURCC_I420,   RowPairsToPlanes(&K::YUY2ToPlanar420, eOH_LeaveOut)},
    {FOURCC_YUY2,   FOURCC_RGB24,  PixelPairs(&K::YUY2ToBGR24)},
    {FOURCC_YUY2,   FOURCC_RGB32,  PixelPairs(&K::YUY2ToBGRA)},
    {FOURCC_YUY2,   FOURCC_ARGB32, PixelPairs(&K::YUY2ToBGRA)},
    {FOURCC_YUY2,   FOURCC_RGB565, PixelPairs(&K::YUY2ToRGB565)},
    {FOURCC_YUY2,   FOURCC_RGB555, PixelPairs(&K::YUY2ToRGB555)},

    {FOURCC_UYVY,   FOURCC_YUY2,   PixelPairs(&K::YUY2ToUYVY)}, // the exchange of bytes serves both ways
    {FOURCC_UYVY,   FOURCC_UYVY,   Copy},
    {FOURCC_UYVY,   FOURCC_YVYU,   Refused("NOT SUPPORTED UYVY->YVYU x64")},
    {FOURCC_UYVY,   FOURCC_I420,   RowPairsToPlanes(&K::UYVYToPlanar420, eOH_LeaveOut)},
    {FOURCC_UYVY,   FOURCC_RGB24,  PixelPairsInTwoStages(&K::UYVYToBGR24), eTN_ToKeepInput},
    {FOURCC_UYVY,   FOURCC_RGB32,  PixelPairs(&K::UYVYToBGRA)},
    {FOURCC_UYVY,   FOURCC_ARGB32, PixelPairs(&K::UYVYToBGRA)},
    {FOURCC_UYVY,   FOURCC_RGB565, Nothing, eTN_ToKeepInput},
    {FOURCC_UYVY,   FOURCC_RGB555, Nothing, eTN_ToKeepInput},

    {FOURCC_YVYU,   FOURCC_YUY2,   Refused("NOT SUPPORTED YVYU->YUY2 x64")},
    {FOURCC_YVYU,   FOURCC_UYVY,   Refused("NOT SUPPORTED YVYU->YUY2 x64")},
    {FOURCC_YVYU,   FOURCC_YVYU,   Copy},
    {FOURCC_YVYU,   FOURCC_I420,   RowPairsToPlanesSwapped(&K::YUY2ToPlanar420, eOH_LeaveOut)},
    {FOURCC_YVYU,   FOURCC_RGB24,  Refused("NOT SUPPORTED YVYU->RGB24 x64"), eTN_ToKeepInput},
    {FOURCC_YVYU,   FOURCC_RGB32,  Refused("NOT SUPPORTED YVYU->RGB32 x64"), eTN_ToKeepInput},
    {FOURCC_YVYU,   FOURCC_ARGB32, Refused("NOT SUPPORTED YVYU->RGB32 x64"), eTN_ToKeepInput},
    {FOURCC_YVYU,   FOURCC_RGB565, Nothing, eTN_ToKeepInput},
    {FOURCC_YVYU,   FOURCC_RGB555, Nothing, eTN_ToKeepInput},

    {FOURCC_I420,   FOURCC_YUY2,   PlanesToPairsSwapped(&K::Planar420ToYUY2)},
    {FOURCC_I420,   FOURCC_UYVY,   PlanesToPairsSwapped(&K::Planar420ToUYVY)},
    {FOURCC_I420,   FOURCC_YVYU,   PlanesToPairs(&K::Planar420ToYUY2)},
    {FOURCC_I420,   FOURCC_I420,   Copy},
    {FOURCC_I420,   FOURCC_RGB24,  PlanesToPixels(&K::Planar420ToBGR24)},
    {FOURCC_I420,   FOURCC_RGB32,  PlanesToPixels(&K::Planar420ToBGRA)},
    {FOURCC_YV12,   FOURCC_RGB32,  PlanesToPixels(&K::Planar420ToBGRA), eTN_Always}, // unlike I420: deliberate
    {FOURCC_I420,   FOURCC_ARGB32, PlanesToPixels(&K::Planar420ToBGRA)},
    {FOURCC_I420,   FOURCC_RGB565, PlanesToPixels(&K::Planar420ToRGB565)},
    {FOURCC_I420,   FOURCC_RGB555, PlanesToPixels(&K::Planar420ToRGB555)},
};
// clang-format on

const ConversionPair* FindExact(DWORD fccIn, DWORD fccOut) noexcept
{
    for (const ConversionPair& pair : arrMatrix)
    {
        if (pair.fccIn == fccIn && pair.fccOut == fccOut)
            return &pair;
    }
    return nullptr;
}

DWORD AlikeOf(DWORD fccType) noexcept
{
    const DWORD fccAlike = FormatOf(fccType).fccAlike;
    return fccAlike != 0 ? fccAlike : fccType;
}

const ConversionPair& FindPair(DWORD fccIn, DWORD fccOut) noexcept
{
    static constexpr ConversionPair pairNone = {0, 0, Nothing};
    const ConversionPair* pPair = FindExact(fccIn, fccOut);
    if (!pPair)
        pPair = FindExact(AlikeOf(fccIn), AlikeOf(fccOut));
    return pPair ? *pPair : pairNone;
}

} // namespace

const Conversion& FindConversion(DWORD fccIn, DWORD fccOut) noexcept
{
    return FindPair(fccIn, fccOut).conversion;
}

bool NeedsTempBuffer(bool bMirrorToBuffer, DWORD fccIn, DWORD fccOut) noexcept
{
    const eTempNeed eTemp = FindPair(fccIn, fccOut).eTemp;
    return eTemp == eTN_Always || (eTemp == eTN_ToKeepInput && bMirrorToBuffer);
}
