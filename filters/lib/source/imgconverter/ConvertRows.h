#pragma once
/// Walking two blocks with the row kernels of a conversion.

#include "imgconverter/Block.h"
#include "imgconverter/ConversionMatrix.h"

/// Whether a conversion can run on a size: done, the warning that the last row stays out, a size error, or a
/// null pointer where two stages lack their buffer.
ePrimitiveStatus CheckConversion(const Conversion& conversion, RoiSize roi, bool bHasTemp) noexcept;

/// Converts what lies in both pictures. The first planes may run backward. A last column that only one side
/// has is filled up with its neighbour for the sake of the shared chroma, and not touched on the other side.
void ConvertRows(const Conversion& conversion, const BlockPair& blocks) noexcept;
