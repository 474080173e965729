#pragma once
/// The pixel formats: one row a format. Whatever else depends on a format derives from its row, but for the
/// conversions between two formats, which the image library holds in one table of its own.

#include "dstl/WinAPI/Platform.h"

#include <algorithm>
#include <array>

/// Format codes. YUV: the FOURCC. RGB: the first 32 bits of the DirectShow subtype GUID.
enum eFourcc : DWORD
{
    FOURCC_RGB8 = 0xE436EB7A,
    FOURCC_RGB565 = 0xE436EB7B,
    FOURCC_RGB555 = 0xE436EB7C,
    FOURCC_RGB24 = 0xE436EB7D,
    FOURCC_RGB32 = 0xE436EB7E,
    FOURCC_ARGB32 = 0x773C9AC0,
    FOURCC_YUY2 = 0x32595559,
    FOURCC_UYVY = 0x59565955,
    FOURCC_HDYC = 0x43594448,
    FOURCC_YVYU = 0x55595659,
    FOURCC_I420 = 0x30323449,
    FOURCC_YV12 = 0x32315659,
    FOURCC_YVU9 = 0x39555659,
    FOURCC_IYU2 = 0x32555949,
    FOURCC_NV12 = 0x3231564E,
    FOURCC_Y422 = 0x32323459,
    FOURCC_Y444 = 0x34343459,
    FOURCC_v210 = 0x30313276,
    FOURCC_r210 = 0x30313272
};

/// The subtype of a FOURCC: the code in front of the standard tail {xxxxxxxx-0000-0010-8000-00AA00389B71}.
constexpr GUID FourccSubtype(DWORD fccType) noexcept
{
    return {fccType, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
}

/// The subtype of an RGB format without alpha.
constexpr GUID RgbSubtype(DWORD fccType) noexcept
{
    return {fccType, 0x524F, 0x11CE, {0x9F, 0x53, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70}};
}

enum eColorModel : BYTE
{
    eCM_YUV, ///< always top-down, widths are even
    eCM_RGB
};

/// How long a row of the first plane is.
enum eRowRule : BYTE
{
    eRR_Padded,  ///< all bits of its pixels, padded to 4 bytes
    eRR_Samples, ///< a byte a pixel, not padded: chroma lies in planes behind
    eRR_Blocks   ///< whole blocks, see RowBlocks
};

/// A row of blocks of nPixels pixels, in which each group of nGroup pixels takes cbGroup bytes.
struct RowBlocks
{
    BYTE nPixels = 0;
    BYTE nGroup = 0;
    BYTE cbGroup = 0;
};

/// What Is10Bit reports.
enum eSampleDepth : BYTE
{
    eSD_8, ///< 8 bits and fewer
    eSD_10,
    eSD_NotListed ///< asserts
};

/// Where the samples of a component lie.
struct Component
{
    BYTE nPlane = 0;  ///< in memory order
    BYTE nOffset = 0; ///< bytes from the start of a pixel group to its first sample
    BYTE cbStep = 0;  ///< bytes between successive samples
    BYTE nCentre = 0; ///< the value of no colour difference: 128 for chroma, otherwise 0
};

/// Everything that the system knows about one format.
struct PixelFormat
{
    DWORD fccType;
    const wchar_t* pszName;
    GUID guidSubtype;
    BYTE nBits;         ///< a pixel, all planes together
    BYTE nSizeBits = 0; ///< where sizes count another number of bits: that number
    eColorModel eModel = eCM_YUV;
    eRowRule eRows = eRR_Padded;
    RowBlocks blocks = {};
    eSampleDepth eDepth = eSD_8;
    BYTE nHorz = 1;             ///< luma samples across for each chroma sample
    BYTE nVert = 1;             ///< the same down
    Component arrParts[3] = {}; ///< Y, U, V or R, G, B
    BYTE nGreenBits = 0;        ///< of a pixel in a 16-bit word, whose red and blue have 5
    DWORD fccAlike = 0;         ///< format whose pixels it has, but for the order of planes; 0: none
    bool bAlpha = false;        ///< the fourth byte of a pixel is its opacity
    bool bMediaType = false;    ///< offered as a video media type, in the order of the rows
    bool bPixels = false;       ///< the image library works on its pixels
    bool bPlainBitmap = false;  ///< meant by a bitmap header of nBits without a code
    BYTE nNameRank = 0;         ///< names are compared in this order, without regard to case; 0: never
};

/// In the order in which media types are offered, then the others.
inline constexpr PixelFormat arrPixelFormats[] = {
    {.fccType = FOURCC_YUY2,
     .pszName = L"YUY2",
     .guidSubtype = FourccSubtype(FOURCC_YUY2),
     .nBits = 16,
     .nHorz = 2,
     .arrParts = {{.nOffset = 0, .cbStep = 2},
                  {.nOffset = 1, .cbStep = 4, .nCentre = 128},
                  {.nOffset = 3, .cbStep = 4, .nCentre = 128}},
     .bMediaType = true,
     .bPixels = true,
     .nNameRank = 7},
    {.fccType = FOURCC_UYVY,
     .pszName = L"UYVY",
     .guidSubtype = FourccSubtype(FOURCC_UYVY),
     .nBits = 16,
     .nHorz = 2,
     .arrParts = {{.nOffset = 1, .cbStep = 2},
                  {.nOffset = 0, .cbStep = 4, .nCentre = 128},
                  {.nOffset = 2, .cbStep = 4, .nCentre = 128}},
     .bMediaType = true,
     .bPixels = true,
     .nNameRank = 9},
    {.fccType = FOURCC_YV12,
     .pszName = L"YV12",
     .guidSubtype = FourccSubtype(FOURCC_YV12),
     .nBits = 12,
     .eRows = eRR_Samples,
     .nHorz = 2,
     .nVert = 2,
     .arrParts = {{.nPlane = 0, .cbStep = 1},
                  {.nPlane = 2, .cbStep = 1, .nCentre = 128},
                  {.nPlane = 1, .cbStep = 1, .nCentre = 128}},
     .fccAlike = FOURCC_I420,
     .bMediaType = true,
     .bPixels = true,
     .nNameRank = 10},
    {.fccType = FOURCC_YVYU,
     .pszName = L"YVYU",
     .guidSubtype = FourccSubtype(FOURCC_YVYU),
     .nBits = 16,
     .nHorz = 2,
     .arrParts = {{.nOffset = 0, .cbStep = 2},
                  {.nOffset = 3, .cbStep = 4, .nCentre = 128},
                  {.nOffset = 1, .cbStep = 4, .nCentre = 128}},
     .bMediaType = true,
     .bPixels = true,
     .nNameRank = 8},
    {.fccType = FOURCC_I420,
     .pszName = L"I420",
     .guidSubtype = FourccSubtype(FOURCC_I420),
     .nBits = 12,
     .eRows = eRR_Samples,
     .nHorz = 2,
     .nVert = 2,
     .arrParts = {{.nPlane = 0, .cbStep = 1},
                  {.nPlane = 1, .cbStep = 1, .nCentre = 128},
                  {.nPlane = 2, .cbStep = 1, .nCentre = 128}},
     .bMediaType = true,
     .bPixels = true,
     .nNameRank = 11},
    {.fccType = FOURCC_IYU2,
     .pszName = L"IYU2",
     .guidSubtype = FourccSubtype(FOURCC_IYU2),
     .nBits = 24,
     .arrParts = {{.nOffset = 2, .cbStep = 3},
                  {.nOffset = 1, .cbStep = 3, .nCentre = 128},
                  {.nOffset = 0, .cbStep = 3, .nCentre = 128}},
     .bMediaType = true},
    {.fccType = FOURCC_RGB32,
     .pszName = L"RGB32",
     .guidSubtype = RgbSubtype(FOURCC_RGB32),
     .nBits = 32,
     .eModel = eCM_RGB,
     .arrParts = {{.nOffset = 2, .cbStep = 4}, {.nOffset = 1, .cbStep = 4}, {.nOffset = 0, .cbStep = 4}},
     .bMediaType = true,
     .bPixels = true,
     .bPlainBitmap = true,
     .nNameRank = 2},
    {.fccType = FOURCC_ARGB32,
     .pszName = L"ARGB32",
     .guidSubtype = {FOURCC_ARGB32, 0x3274, 0x11D0, {0xB7, 0x24, 0x00, 0xAA, 0x00, 0x6C, 0x1A, 0x01}},
     .nBits = 32,
     .eModel = eCM_RGB,
     .arrParts = {{.nOffset = 2, .cbStep = 4}, {.nOffset = 1, .cbStep = 4}, {.nOffset = 0, .cbStep = 4}},
     .bAlpha = true,
     .bMediaType = true,
     .bPixels = true,
     .nNameRank = 1},
    {.fccType = FOURCC_RGB24,
     .pszName = L"RGB24",
     .guidSubtype = RgbSubtype(FOURCC_RGB24),
     .nBits = 24,
     .eModel = eCM_RGB,
     .arrParts = {{.nOffset = 2, .cbStep = 3}, {.nOffset = 1, .cbStep = 3}, {.nOffset = 0, .cbStep = 3}},
     .bMediaType = true,
     .bPixels = true,
     .bPlainBitmap = true,
     .nNameRank = 3},
    {.fccType = FOURCC_RGB565,
     .pszName = L"RGB565",
     .guidSubtype = RgbSubtype(FOURCC_RGB565),
     .nBits = 16,
     .eModel = eCM_RGB,
     .arrParts = {{.nOffset = 1, .cbStep = 2}, {.nOffset = 0, .cbStep = 2}, {.nOffset = 0, .cbStep = 2}},
     .nGreenBits = 6,
     .bMediaType = true,
     .bPixels = true,
     .bPlainBitmap = true,
     .nNameRank = 4},
    {.fccType = FOURCC_RGB555,
     .pszName = L"RGB555",
     .guidSubtype = RgbSubtype(FOURCC_RGB555),
     .nBits = 16,
     .eModel = eCM_RGB,
     .arrParts = {{.nOffset = 1, .cbStep = 2}, {.nOffset = 0, .cbStep = 2}, {.nOffset = 0, .cbStep = 2}},
     .nGreenBits = 5,
     .bMediaType = true,
     .bPixels = true,
     .nNameRank = 5},
    {.fccType = FOURCC_HDYC,
     .pszName = L"HDYC",
     .guidSubtype = FourccSubtype(FOURCC_HDYC),
     .nBits = 16,
     .nHorz = 2,
     .arrParts = {{.nOffset = 1, .cbStep = 2},
                  {.nOffset = 0, .cbStep = 4, .nCentre = 128},
                  {.nOffset = 2, .cbStep = 4, .nCentre = 128}},
     .fccAlike = FOURCC_UYVY,
     .bMediaType = true,
     .bPixels = true},
    {.fccType = FOURCC_v210,
     .pszName = L"v210",
     .guidSubtype = FourccSubtype(FOURCC_v210),
     .nBits = 20,
     .eRows = eRR_Blocks,
     .blocks = {.nPixels = 48, .nGroup = 6, .cbGroup = 16},
     .eDepth = eSD_10,
     .nHorz = 2,
     .arrParts = {{.nOffset = 1, .cbStep = 2}, {.nOffset = 0, .cbStep = 4}, {.nOffset = 2, .cbStep = 4}},
     .bMediaType = true},
    {.fccType = FOURCC_r210, // RGB, although its code is a FOURCC
     .pszName = L"r210",
     .guidSubtype = FourccSubtype(FOURCC_r210),
     .nBits = 32,
     .eModel = eCM_RGB,
     .eRows = eRR_Blocks,
     .blocks = {.nPixels = 64, .nGroup = 1, .cbGroup = 4},
     .eDepth = eSD_10,
     .arrParts = {{.nOffset = 0, .cbStep = 4}, {.nOffset = 1, .cbStep = 4}, {.nOffset = 2, .cbStep = 4}},
     .bMediaType = true},
    {.fccType = FOURCC_NV12,
     .pszName = L"NV12",
     .guidSubtype = FourccSubtype(FOURCC_NV12),
     .nBits = 12,
     .nSizeBits = 16, // more than its planes need: deliberate
     .eRows = eRR_Samples,
     .nHorz = 2,
     .nVert = 2,
     .arrParts = {{.nPlane = 0, .cbStep = 1},
                  {.nPlane = 1, .cbStep = 1, .nCentre = 128},
                  {.nPlane = 1, .cbStep = 1, .nCentre = 128}}, // without the pairs of U and V: deliberate
     .bMediaType = true},
    {.fccType = FOURCC_RGB8,
     .pszName = L"RGB8",
     .guidSubtype = RgbSubtype(FOURCC_RGB8),
     .nBits = 8,
     .eModel = eCM_RGB,
     .bPixels = true,
     .nNameRank = 6},
    {.fccType = FOURCC_YVU9,
     .pszName = L"YVU9",
     .guidSubtype = FourccSubtype(FOURCC_YVU9),
     .nBits = 9, // in rows of its own, not in planes: deliberate
     .eDepth = eSD_NotListed,
     .nHorz = 4,
     .nVert = 4,
     .nNameRank = 12},
    {.fccType = FOURCC_Y422,
     .pszName = L"Y422",
     .guidSubtype = FourccSubtype(FOURCC_Y422),
     .nBits = 16,
     .eRows = eRR_Samples,
     .nHorz = 2},
    {.fccType = FOURCC_Y444,
     .pszName = L"Y444",
     .guidSubtype = FourccSubtype(FOURCC_Y444),
     .nBits = 24,
     .eRows = eRR_Samples},
};

/// The row of a code that has none.
inline constexpr PixelFormat formatUnknown = {
    .fccType = 0, .pszName = L"", .guidSubtype = {}, .nBits = 0, .eDepth = eSD_NotListed};

/// The row of a format code, or formatUnknown.
constexpr const PixelFormat& FormatOf(DWORD fccType) noexcept
{
    for (const PixelFormat& format : arrPixelFormats)
    {
        if (format.fccType == fccType)
            return format;
    }
    return formatUnknown;
}

/// The row of a subtype by the whole GUID, or formatUnknown.
inline const PixelFormat& FormatOf(const GUID& guidSubtype) noexcept
{
    const PixelFormat& format = FormatOf(guidSubtype.Data1);
    return IsEqualGUID(format.guidSubtype, guidSubtype) ? format : formatUnknown;
}

/// The format that a bitmap header without a code means by its bits a pixel, or formatUnknown.
constexpr const PixelFormat& PlainBitmapFormat(WORD nBits) noexcept
{
    for (const PixelFormat& format : arrPixelFormats)
    {
        if (format.bPlainBitmap && format.nBits == nBits)
            return format;
    }
    return formatUnknown;
}

/// The format whose name is compared in this place, from 1 on, or formatUnknown behind the last.
constexpr const PixelFormat& FormatOfNameRank(BYTE nRank) noexcept
{
    for (const PixelFormat& format : arrPixelFormats)
    {
        if (format.nNameRank == nRank)
            return format;
    }
    return formatUnknown;
}

constexpr bool IsKnown(const PixelFormat& format) noexcept
{
    return format.nBits != 0;
}

/// True where chroma lies in planes behind the luma.
constexpr bool IsPlanar(const PixelFormat& format) noexcept
{
    return format.eRows == eRR_Samples;
}

/// Bytes of a pixel in the first plane.
constexpr BYTE PixelBytes(const PixelFormat& format) noexcept
{
    return IsPlanar(format) ? 1 : static_cast<BYTE>(format.nBits / 8);
}

constexpr int PlaneCount(const PixelFormat& format) noexcept
{
    return IsPlanar(format) ? 3 : 1;
}

/// True for packed YUV whose pixel groups begin with chroma.
constexpr bool IsChromaFirst(const PixelFormat& format) noexcept
{
    return format.eModel == eCM_YUV && format.arrParts[0].nOffset != 0;
}

/// True where U lies in front of V.
constexpr bool IsUBeforeV(const PixelFormat& format) noexcept
{
    const Component& u = format.arrParts[1];
    const Component& v = format.arrParts[2];
    return u.nPlane != v.nPlane ? u.nPlane < v.nPlane : u.nOffset < v.nOffset;
}

/// Bytes of a group of pixels in a packed row; 0 for a format without components.
constexpr BYTE GroupBytes(const PixelFormat& format) noexcept
{
    return std::max({format.arrParts[0].cbStep, format.arrParts[1].cbStep, format.arrParts[2].cbStep});
}

/// True where each component has bytes of its own.
constexpr bool HasByteComponents(const PixelFormat& format) noexcept
{
    return format.bPixels && GroupBytes(format) != 0 && format.nGreenBits == 0;
}

constexpr BYTE nNoComponent = 3;

/// The component that each byte of a packed pixel group belongs to; nNoComponent for a fourth byte of RGB.
constexpr std::array<BYTE, 4> PackedOrder(const PixelFormat& format) noexcept
{
    std::array<BYTE, 4> order = {nNoComponent, nNoComponent, nNoComponent, nNoComponent};
    for (BYTE nPart = 0; nPart < 3; nPart++)
    {
        const Component& part = format.arrParts[nPart];
        for (size_t i = part.nOffset; i < GroupBytes(format); i += part.cbStep)
            order[i] = nPart;
    }
    return order;
}
