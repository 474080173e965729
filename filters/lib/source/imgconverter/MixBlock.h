#pragma once
/// What the functions that mix one picture into another share: their refusals, their fields, their planes.

#include "imgconverter/Block.h"
#include "imgconverter/FieldView.h"

/// The two views of a field.
struct FieldPair
{
    FieldView input;
    FieldView output;
};

/// Finds the blocks of a mix, the destination turned where the row orders differ. Buffers and descriptors
/// must have been checked, the formats compared.
HRESULT OpenMix(BlockPair& blocks, const BYTE* pbInput, BYTE* pbOutput, const PicProps& picInput,
                const PicProps& picOutput, const RECT* prcInput, const RECT* prcOutput) noexcept;

/// The views of a field of both pictures: the input takes the field as it is numbered, the output too unless
/// two RGB pictures have heights of unlike sign; then it takes the other half.
/// \return what NormalizeRects returns; E_INVALIDARG for rows that are too long to be doubled
HRESULT OpenFields(FieldPair& fields, const PicProps& picInput, const PicProps& picOutput,
                   const RECT* prcInput, const RECT* prcOutput, int nField) noexcept;

/// True for a block without samples.
inline bool IsEmpty(const RoiSize& roi) noexcept
{
    return roi.nWidth <= 0 || roi.nHeight <= 0;
}

/// Half of each dimension, as the chroma of 4:2:0 has it.
inline RoiSize HalfSize(const RoiSize& roi) noexcept
{
    return {roi.nWidth / 2, roi.nHeight / 2};
}

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
