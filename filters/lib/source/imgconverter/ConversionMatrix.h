#pragma once
/// Which conversion leads from one format to another, and how it walks two blocks.

#include "asm/SIMD64Convert.h"
#include "imgconverter/Block.h"

/// How a conversion walks its pictures.
enum eConversionKind : BYTE
{
    eCK_Nothing,       ///< no path: nothing is done, successfully
    eCK_Refused,       ///< an assertion and E_NOTIMPL
    eCK_CopyRows,      ///< the same bytes, on every plane
    eCK_Row,           ///< row by row
    eCK_ToPlanar420,   ///< two rows to two rows of Y and one of each chroma
    eCK_FromPlanar420, ///< rows of Y, each chroma row twice
};

/// What an odd number of rows means to a 4:2:0 side. Its last row is never converted.
enum eOddHeight : BYTE
{
    eOH_Convert, ///< no 4:2:0 side
    eOH_LeaveOut,
    eOH_Warn ///< left out and told
};

/// How one format becomes another.
struct Conversion
{
    eConversionKind eKind = eCK_Nothing;
    eOddHeight eOdd = eOH_Convert;
    LONG nMinWidth = 0; ///< a smaller rectangle is a size error; 0: an empty one has nothing to do
    LONG nMinHeight = 0;
    BYTE cbSrcPixel = 0; ///< of the first plane
    BYTE cbDstPixel = 0;
    bool bTwoStages = false;  ///< by way of YUY2 in a temporary buffer, without which there is an error
    bool bSwapChroma = false; ///< the U and V pointers of the planar side are exchanged
    bool bKeepsBytes = false; ///< leaves bytes of the destination's pixels as they were
    const char* pszRefusal = nullptr;
    PFNCONVERTROW ConvertKernels::*pfnRow = nullptr;
    PFNTOPLANAR420 ConvertKernels::*pfnToPlanar = nullptr;
    PFNFROMPLANAR420 ConvertKernels::*pfnFromPlanar = nullptr;
};

/// True where pixels are written.
constexpr bool HasPath(const Conversion& conversion) noexcept
{
    return conversion.eKind != eCK_Nothing && conversion.eKind != eCK_Refused;
}

/// The conversion of a pair of formats; eCK_Nothing for a pair that the matrix does not hold.
const Conversion& FindConversion(DWORD fccIn, DWORD fccOut) noexcept;

/// True for the pairs that were thought to need a second buffer. What really needs one is bTwoStages; the two
/// differ, and a two-stage conversion without a buffer is an error: deliberate.
bool NeedsTempBuffer(bool bMirrorToBuffer, DWORD fccIn, DWORD fccOut) noexcept;

/// Whether a conversion can run on a size: done, the warning that the last row stays out, a size error, or a
/// null pointer where two stages lack their buffer.
ePrimitiveStatus CheckConversion(const Conversion& conversion, RoiSize roi, bool bHasTemp) noexcept;

/// Converts what lies in both pictures. The first planes may run backward. A last column that only one side
/// has is filled up with its neighbour for the sake of the shared chroma, and not touched on the other side.
void ConvertRows(const Conversion& conversion, const BlockPair& blocks) noexcept;
