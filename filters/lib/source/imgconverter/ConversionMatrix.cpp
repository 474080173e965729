#include "imgconverter/ConversionMatrix.h"

namespace
{

// Classes of formats that share a row or a column of the matrix.
enum eSource : BYTE
{
    eS_RGB24,
    eS_RGB32,
    eS_ARGB32,
    eS_YUY2,
    eS_UYVY,
    eS_YVYU,
    eS_Planar,
    eS_Count
};

enum eTarget : BYTE
{
    eT_YUY2,
    eT_UYVY,
    eT_YVYU,
    eT_Planar,
    eT_RGB24,
    eT_RGB32,
    eT_ARGB32,
    eT_RGB565,
    eT_RGB555,
    eT_Count
};

/// A format's row and column; eS_Count and eT_Count where it has none.
struct FormatClass
{
    DWORD fccType;
    eSource eRow;
    eTarget eColumn;
};

constexpr FormatClass arrClasses[] = {
    {FOURCC_RGB24, eS_RGB24, eT_RGB24},    {FOURCC_RGB32, eS_RGB32, eT_RGB32},
    {FOURCC_ARGB32, eS_ARGB32, eT_ARGB32}, {FOURCC_YUY2, eS_YUY2, eT_YUY2},
    {FOURCC_UYVY, eS_UYVY, eT_UYVY},       {FOURCC_HDYC, eS_UYVY, eT_UYVY},
    {FOURCC_YVYU, eS_YVYU, eT_YVYU},       {FOURCC_I420, eS_Planar, eT_Planar},
    {FOURCC_YV12, eS_Planar, eT_Planar},   {FOURCC_RGB565, eS_Count, eT_RGB565},
    {FOURCC_RGB555, eS_Count, eT_RGB555},
};

constexpr Conversion CopyRowsOf(BYTE cbPixel)
{
    return {.eKind = eCK_CopyRows, .cbSrcPixel = cbPixel, .cbDstPixel = cbPixel};
}

constexpr Conversion Refused(const char* pszRefusal)
{
    return {.eKind = eCK_Refused, .pszRefusal = pszRefusal};
}

/// RGB to RGB: any size.
constexpr Conversion Exchange(PFNCONVERTROW ConvertKernels::*pfn, BYTE cbSrcPixel, BYTE cbDstPixel,
                              bool bKeepsBytes = false)
{
    return {.eKind = eCK_Row,
            .cbSrcPixel = cbSrcPixel,
            .cbDstPixel = cbDstPixel,
            .bKeepsBytes = bKeepsBytes,
            .pfnRow = pfn};
}

/// With a packed 4:2:2 side: pairs of pixels.
constexpr Conversion Packed(PFNCONVERTROW ConvertKernels::*pfn, BYTE cbSrcPixel, BYTE cbDstPixel,
                            bool bTwoStages = false)
{
    return {.eKind = eCK_Row,
            .nMinWidth = 2,
            .nMinHeight = 1,
            .cbSrcPixel = cbSrcPixel,
            .cbDstPixel = cbDstPixel,
            .bTwoStages = bTwoStages,
            .pfnRow = pfn};
}

constexpr Conversion ToPlanar(PFNTOPLANAR420 ConvertKernels::*pfn, BYTE cbSrcPixel, eOddHeight eOdd,
                              bool bSwapChroma = false)
{
    return {.eKind = eCK_ToPlanar420,
            .eOdd = eOdd,
            .nMinWidth = 2,
            .nMinHeight = 2,
            .cbSrcPixel = cbSrcPixel,
            .cbDstPixel = 1,
            .bSwapChroma = bSwapChroma,
            .pfnToPlanar = pfn};
}

constexpr Conversion PlanarToPacked(PFNFROMPLANAR420 ConvertKernels::*pfn, bool bSwapChroma)
{
    return {.eKind = eCK_FromPlanar420,
            .eOdd = eOH_LeaveOut,
            .nMinWidth = 2,
            .nMinHeight = 2,
            .cbSrcPixel = 1,
            .cbDstPixel = 2,
            .bSwapChroma = bSwapChroma,
            .pfnFromPlanar = pfn};
}

constexpr Conversion PlanarToRgb(PFNFROMPLANAR420 ConvertKernels::*pfn, BYTE cbDstPixel)
{
    return {.eKind = eCK_FromPlanar420,
            .eOdd = eOH_Warn,
            .nMinWidth = 1,
            .nMinHeight = 1,
            .cbSrcPixel = 1,
            .cbDstPixel = cbDstPixel,
            .pfnFromPlanar = pfn};
}

using K = ConvertKernels;

// The cells, named by what they run.
constexpr Conversion Nothing = {.eKind = eCK_Nothing};
constexpr Conversion CopyPlane = CopyRowsOf(1); // and U and V at half of each dimension
constexpr Conversion CopyRow16 = CopyRowsOf(2);
constexpr Conversion CopyRow24 = CopyRowsOf(3);
constexpr Conversion CopyRow32 = CopyRowsOf(4);

// One text serves two sources, and two texts name a format that the pair does not hold: deliberate.
constexpr Conversion Refused_1 = Refused("NOT SUPPORTED RGB32->YVYU x64");
constexpr Conversion Refused_2 = Refused("NOT SUPPORTED RGB32->YVYU x64");
constexpr Conversion Refused_3 = Refused("NOT SUPPORTED UYVY->YVYU x64");
constexpr Conversion Refused_4 = Refused("NOT SUPPORTED YVYU->YUY2 x64");
constexpr Conversion Refused_5 = Refused("NOT SUPPORTED YVYU->RGB24 x64");
constexpr Conversion Refused_6 = Refused("NOT SUPPORTED YVYU->RGB32 x64");

constexpr Conversion B24_YUY2 = Packed(&K::BGR24ToYUY2, 3, 2);
constexpr Conversion Two_UYVY = Packed(&K::BGR24ToUYVY, 3, 2, true);
constexpr Conversion B24_P420 = ToPlanar(&K::BGR24ToPlanar420, 3, eOH_Warn);
constexpr Conversion B24_B32_ = Exchange(&K::BGR24ToBGR32, 3, 4, true);

constexpr Conversion B32_YUY2 = Packed(&K::BGR32ToYUY2, 4, 2);
constexpr Conversion B32_UYVY = Packed(&K::BGR32ToUYVY, 4, 2);
constexpr Conversion B32_P420 = ToPlanar(&K::BGR32ToPlanar420, 4, eOH_Warn);
constexpr Conversion B32_B24_ = Exchange(&K::BGR32ToBGR24, 4, 3);
constexpr Conversion B32_BGRA = Exchange(&K::BGR32ToBGRA, 4, 4);

constexpr Conversion YUY2UYVY = Packed(&K::YUY2ToUYVY, 2, 2);
constexpr Conversion YUY2YVYU = Packed(&K::YUY2ToYVYU, 2, 2);
constexpr Conversion YUY2P420 = ToPlanar(&K::YUY2ToPlanar420, 2, eOH_LeaveOut);
constexpr Conversion YUY2_B24 = Packed(&K::YUY2ToBGR24, 2, 3);
constexpr Conversion YUY2BGRA = Packed(&K::YUY2ToBGRA, 2, 4);
constexpr Conversion YUY2_565 = Packed(&K::YUY2ToRGB565, 2, 2);
constexpr Conversion YUY2_555 = Packed(&K::YUY2ToRGB555, 2, 2);

constexpr Conversion UYVYYUY2 = Packed(&K::YUY2ToUYVY, 2, 2); // the exchange of bytes serves both ways
constexpr Conversion UYVYP420 = ToPlanar(&K::UYVYToPlanar420, 2, eOH_LeaveOut);
constexpr Conversion Two_RGB24 = Packed(&K::UYVYToBGR24, 2, 3, true);
constexpr Conversion UYVYBGRA = Packed(&K::UYVYToBGRA, 2, 4);

constexpr Conversion YVYUP420 = ToPlanar(&K::YUY2ToPlanar420, 2, eOH_LeaveOut, true);

constexpr Conversion P420YUY2 = PlanarToPacked(&K::Planar420ToYUY2, true);
constexpr Conversion P420UYVY = PlanarToPacked(&K::Planar420ToUYVY, true);
constexpr Conversion P420YVYU = PlanarToPacked(&K::Planar420ToYUY2, false);
constexpr Conversion P420_B24 = PlanarToRgb(&K::Planar420ToBGR24, 3);
constexpr Conversion P420BGRA = PlanarToRgb(&K::Planar420ToBGRA, 4);
constexpr Conversion P420_565 = PlanarToRgb(&K::Planar420ToRGB565, 2);
constexpr Conversion P420_555 = PlanarToRgb(&K::Planar420ToRGB555, 2);

// clang-format off
/// Rows are the source, columns the target. UYVY stands for HDYC, planar for I420 and YV12, as index 1 is always
/// U and index 2 always V. A pair that is not shown does nothing, successfully. Two_ runs in two stages, by way of
/// YUY2. From 32 bits to ARGB32 an alpha byte that the source has is copied, one that it lacks is set.
constexpr const Conversion* arrMatrix[eS_Count][eT_Count] = {
    //           YUY2        UYVY        YVYU        planar      RGB24       RGB32       ARGB32      RGB565     RGB555
    /* RGB24 */ {&B24_YUY2,  &Two_UYVY,  &Refused_1, &B24_P420,  &CopyRow24, &B24_B32_,  &B24_B32_,  &Nothing,  &Nothing},
    /* RGB32 */ {&B32_YUY2,  &B32_UYVY,  &Refused_2, &B32_P420,  &B32_B24_,  &CopyRow32, &B32_BGRA,  &Nothing,  &Nothing},
    /* ARGB32 */{&B32_YUY2,  &B32_UYVY,  &Refused_2, &B32_P420,  &B32_B24_,  &CopyRow32, &CopyRow32, &Nothing,  &Nothing},
    /* YUY2 */  {&CopyRow16, &YUY2UYVY,  &YUY2YVYU,  &YUY2P420,  &YUY2_B24,  &YUY2BGRA,  &YUY2BGRA,  &YUY2_565, &YUY2_555},
    /* UYVY */  {&UYVYYUY2,  &CopyRow16, &Refused_3, &UYVYP420,  &Two_RGB24, &UYVYBGRA,  &UYVYBGRA,  &Nothing,  &Nothing},
    /* YVYU */  {&Refused_4, &Refused_4, &CopyRow16, &YVYUP420,  &Refused_5, &Refused_6, &Refused_6, &Nothing,  &Nothing},
    /* planar */{&P420YUY2,  &P420UYVY,  &P420YVYU,  &CopyPlane, &P420_B24,  &P420BGRA,  &P420BGRA,  &P420_565, &P420_555},
};
// clang-format on

constexpr FormatClass classNone = {0, eS_Count, eT_Count};

constexpr const FormatClass& ClassOf(DWORD fccType) noexcept
{
    for (const FormatClass& formatClass : arrClasses)
    {
        if (formatClass.fccType == fccType)
            return formatClass;
    }
    return classNone;
}

/// One pair that asks for a buffer.
struct TempBufferNeed
{
    DWORD fccIn;
    DWORD fccOut;
    bool bOnlyWithMirror; ///< only where bMirrorToBuffer asks for an unchanged input
};

constexpr TempBufferNeed arrTempBufferNeeds[] = {
    {FOURCC_YV12, FOURCC_RGB32, false}, {FOURCC_UYVY, FOURCC_RGB565, true},
    {FOURCC_UYVY, FOURCC_RGB555, true}, {FOURCC_UYVY, FOURCC_RGB24, true},
    {FOURCC_HDYC, FOURCC_RGB565, true}, {FOURCC_HDYC, FOURCC_RGB555, true},
    {FOURCC_HDYC, FOURCC_RGB24, true},  {FOURCC_YVYU, FOURCC_ARGB32, true},
    {FOURCC_YVYU, FOURCC_RGB565, true}, {FOURCC_YVYU, FOURCC_RGB555, true},
    {FOURCC_YVYU, FOURCC_RGB24, true},  {FOURCC_YVYU, FOURCC_RGB32, true},
};

} // namespace

const Conversion& FindConversion(DWORD fccIn, DWORD fccOut) noexcept
{
    const eSource eRow = ClassOf(fccIn).eRow;
    const eTarget eColumn = ClassOf(fccOut).eColumn;
    return eRow == eS_Count || eColumn == eT_Count ? Nothing : *arrMatrix[eRow][eColumn];
}

bool NeedsTempBuffer(bool bMirrorToBuffer, DWORD fccIn, DWORD fccOut) noexcept
{
    for (const TempBufferNeed& need : arrTempBufferNeeds)
    {
        if (need.fccIn == fccIn && need.fccOut == fccOut)
            return bMirrorToBuffer || !need.bOnlyWithMirror;
    }
    return false;
}
