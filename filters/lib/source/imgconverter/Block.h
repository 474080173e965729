#pragma once
/// The opening that the functions without scaling share: two pictures, two rectangles of one size, and the
/// pointers to their first pixels.

#include "Common/Common.h"
#include "imgconverter/CopyRows.h"

/// One picture of a call and the place of its rectangle. Places are kept as offsets: that of an empty
/// rectangle, or of the chroma of a single row, can lie behind the frame, where not even a pointer may go.
template <class TByte>
struct PicBlock
{
    TByte* pbFrame;
    ptrdiff_t arrStart[3]; ///< first byte of the rectangle in each plane, in its lowest memory row
    ptrdiff_t arrStep[3];  ///< bytes from one memory row to the next
    bool bMirror;          ///< bottom-up

    /// Only for a plane of which the rectangle holds samples.
    TByte* Pixels(int nPlane) const noexcept { return pbFrame + arrStart[nPlane]; }
};

/// Both pictures of a call.
struct BlockPair
{
    PicBlock<const BYTE> src;
    PicBlock<BYTE> dst;
    RoiSize roi; ///< the common size, which is that of the source rectangle; empty when below 1
};

/// Finds the blocks of a call without scaling. Buffers and descriptors must have been checked for null.
/// \return S_OK; E_INVALIDARG for an unusable descriptor or rectangle; S_FALSE when a rectangle lies outside
/// its picture; E_FAIL
HRESULT OpenBlocks(BlockPair& blocks, const BYTE* pbInput, BYTE* pbOutput, const PicProps* pInputProps,
                   const PicProps* pOutputProps, const RECT* prcInput, const RECT* prcOutput) noexcept;
