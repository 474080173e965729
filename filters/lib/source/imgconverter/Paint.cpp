#include "imgconverter/Paint.h"

#include <algorithm>

namespace
{

constexpr SHORT Weight(int n) noexcept
{
    return static_cast<SHORT>(n);
}

} // namespace

CPaint::CPaint(DWORD dwColor, size_t nBytes, int nOpacity) noexcept
    : m_fill(Kernels<FillKernels>()), m_pattern(MakeFillPattern(dwColor, nBytes)),
      // The two weights add up to 255 of 256: everything but a full opacity darkens by a trace. Deliberate.
      m_arrKeep{Weight(255 - nOpacity), Weight(255 - nOpacity), Weight(255 - nOpacity),
                Weight(255 - nOpacity)},
      m_arrColor{Weight(nOpacity), Weight(nOpacity), Weight(nOpacity), Weight(nOpacity)}, m_nBytes(nBytes),
      m_bOpaque(nOpacity == 255)
{
}

void CPaint::Run(BYTE* pDst, size_t cb) const noexcept
{
    if (m_bOpaque)
    {
        m_fill.pfnFill(pDst, cb, m_pattern);
        return;
    }
    // The pattern in pieces, which a blend does not show: no row of the picture's width is needed for it.
    BYTE arrPiece[8 * FillPattern::cbPeriod];
    m_fill.pfnFill(arrPiece, std::min(cb, sizeof(arrPiece)), m_pattern);
    while (cb != 0)
    {
        const size_t cbPiece = std::min(cb, sizeof(arrPiece));
        BlendBytes(pDst, pDst, arrPiece, cbPiece, m_arrKeep, m_arrColor);
        pDst += cbPiece;
        cb -= cbPiece;
    }
}

void CPaint::Rows(BYTE* pDst, ptrdiff_t nStep, size_t cb, LONG nRows) const noexcept
{
    if (cb == 0 || nRows <= 0)
        return;
    if (static_cast<size_t>(nStep) == cb && IsWhole(cb))
    {
        Run(pDst, cb * static_cast<size_t>(nRows));
        return;
    }
    for (ptrdiff_t i = 0; i < nRows; i++)
        Run(pDst + i * nStep, cb);
}
