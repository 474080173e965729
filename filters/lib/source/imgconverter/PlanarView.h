#pragma once
/// Packed 4:2:2 seen as planes and back.

#include "imgconverter/CopyRows.h"

/// Three planes: Y at the full width, the two chroma planes at half of it. The chroma of a picture with V
/// before U stands the other way round.
template <class TByte>
struct Planes422
{
    TByte* arrPlane[3];
    ptrdiff_t arrStep[3];
};

/// Packed Y, U, Y, V into planes. The width is even.
ePrimitiveStatus SplitYUY2(const BYTE* pSrc, ptrdiff_t nSrcStep, const Planes422<BYTE>& dst,
                           RoiSize size) noexcept;

/// Packed U, Y, V, Y into planes.
ePrimitiveStatus SplitUYVY(const BYTE* pSrc, ptrdiff_t nSrcStep, const Planes422<BYTE>& dst,
                           RoiSize size) noexcept;

/// Planes into packed Y, U, Y, V.
ePrimitiveStatus MergeYUY2(const Planes422<const BYTE>& src, BYTE* pDst, ptrdiff_t nDstStep,
                           RoiSize size) noexcept;

/// Planes into packed U, Y, V, Y, without a packed Y, U, Y, V between them.
ePrimitiveStatus MergeUYVY(const Planes422<const BYTE>& src, BYTE* pDst, ptrdiff_t nDstStep,
                           RoiSize size) noexcept;
