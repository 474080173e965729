#pragma once
/// The opening that the functions without scaling share: two pictures, two rectangles of one size, and the
/// pointers to their first pixels.

#include "Common/Common.h"
#include "imgconverter/CopyRows.h"

/// One picture of a call and the place of its rectangle.
template <class TByte>
struct PicBlock
{
    TByte* arrPixels[3];  ///< first pixel of the rectangle in each plane, in its lowest memory row
    ptrdiff_t arrStep[3]; ///< bytes from one memory row to the next
    bool bMirror;         ///< bottom-up
};

/// Both pictures of a call.
struct BlockPair
{
    PicBlock<const BYTE> src;
    PicBlock<BYTE> dst;
    RoiSize roi; ///< the common size, which is that of the source rectangle
};

/// Finds the blocks of a call without scaling. Buffers and descriptors must have been checked for null.
/// \return S_OK; E_INVALIDARG for an unusable descriptor or rectangle; S_FALSE when a rectangle lies outside
/// its picture; E_FAIL
HRESULT OpenBlocks(BlockPair& blocks, const BYTE* pbInput, BYTE* pbOutput, const PicProps* pInputProps,
                   const PicProps* pOutputProps, const RECT* prcInput, const RECT* prcOutput) noexcept;
