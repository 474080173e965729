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
    RECT srcRect; ///< as shown, normalised
    RoiSize roi;  ///< the common size, which is that of the source rectangle; empty when below 1
    /// The part of roi that lies in both pictures. Columns rounded to even can reach one past the last column
    /// of an RGB picture of odd width; it must not be touched.
    RoiSize roiInside;
};

/// True when two usable pictures share memory.
bool FramesOverlap(const BYTE* pbInput, const PicProps& picInput, const BYTE* pbOutput,
                   const PicProps& picOutput) noexcept;

/// The memory row that a rectangle starts in: a bottom-up picture keeps the last row shown first.
LONG FirstMemoryRow(const PicProps& pic, const RECT& rc, bool bMirror) noexcept;

/// Lets the destination run backward, from the last row of its block, when the two row orders differ.
void TurnDestination(BlockPair& blocks) noexcept;

/// Finds the blocks of a call without scaling. Buffers and descriptors must have been checked for null.
/// \return S_OK; E_INVALIDARG for an unusable descriptor or rectangle; S_FALSE when a rectangle lies outside
/// its picture; E_FAIL
HRESULT OpenBlocks(BlockPair& blocks, const BYTE* pbInput, BYTE* pbOutput, const PicProps* pInputProps,
                   const PicProps* pOutputProps, const RECT* prcInput, const RECT* prcOutput) noexcept;
