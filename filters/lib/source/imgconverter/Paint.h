#pragma once
/// One colour and its opacity, painted into runs of bytes.

#include "asm/SIMD64Fill.h"
#include "asm/SIMD64Mix.h"

#include <cstddef>

class CPaint
{
public:
    /// \param nBytes 1 to 4: the bytes of dwColor, lowest first, that a run repeats
    /// \param nOpacity 0 to 255; at 255 the colour replaces what is there
    CPaint(DWORD dwColor, size_t nBytes, int nOpacity) noexcept;

    /// A run starts with the first byte of the colour.
    void Run(BYTE* pDst, size_t cb) const noexcept;

    /// nRows runs of cb bytes, nStep bytes apart.
    void Rows(BYTE* pDst, ptrdiff_t nStep, size_t cb, LONG nRows) const noexcept;

private:
    bool IsWhole(size_t cb) const noexcept { return cb % m_nBytes == 0; }

    const FillKernels& m_fill;
    FillPattern m_pattern;
    SHORT m_arrKeep[4];  ///< weights of what is there
    SHORT m_arrColor[4]; ///< weights of the colour
    size_t m_nBytes;
    bool m_bOpaque;
};
