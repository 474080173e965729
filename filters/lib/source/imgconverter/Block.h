#pragma once
/// The opening that the functions without scaling share: two pictures, two rectangles of one size, and the
/// pointers to their first pixels; and the views of the fields of interlaced pictures.

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

    /// Lets the nRows rows of the first plane run backward, from the last one.
    void RunBackward(LONG nRows) noexcept { ::RunBackward(arrStart[0], arrStep[0], nRows); }
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

/// Finds the blocks of a call without scaling. Buffers and descriptors must have been checked for null.
/// \return S_OK; E_INVALIDARG for an unusable descriptor or rectangle; S_FALSE when a rectangle lies outside
/// its picture; E_FAIL
HRESULT OpenBlocks(BlockPair& blocks, const BYTE* pbInput, BYTE* pbOutput, const PicProps* pInputProps,
                   const PicProps* pOutputProps, const RECT* prcInput, const RECT* prcOutput) noexcept;

/// Calls fnRow(pDst, pSrc, y) for each row of a plane.
template <class TFunction>
void ForEachRow(const BlockPair& blocks, int nPlane, const RoiSize& roi, const TFunction& fnRow) noexcept
{
    if (IsEmpty(roi))
        return;
    BYTE* const pDst = blocks.dst.Pixels(nPlane);
    const BYTE* const pSrc = blocks.src.Pixels(nPlane);
    for (ptrdiff_t y = 0; y < roi.nHeight; y++)
        fnRow(pDst + y * blocks.dst.arrStep[nPlane], pSrc + y * blocks.src.arrStep[nPlane], y);
}

/// One field of an interlaced picture, seen as a picture of its own: two rows of the frame make one row of
/// the view, the first field its left half and the second field its right half.
struct FieldView
{
    PicProps pic;
    RECT rc;
};

/// The steps are taken as they stand: a descriptor without nRowWidth becomes one that no function accepts,
/// and in a view of padded 24-bit rows the second field slides by the padding. Both are deliberate.
/// \param rc a normalised rectangle in rows of the frame
/// \return false for a row that is too long to be doubled
bool OpenField(FieldView& view, const PicProps& pic, const RECT& rc, bool bSecond) noexcept;
