#include "imgconverter/Flip.h"

#include "Common/Common.h"

#include <algorithm>
#include <cstring>

namespace
{

void SwapBytes(BYTE* pFirst, BYTE* pSecond, size_t cb) noexcept
{
    BYTE arrPiece[1024];
    for (size_t i = 0; i < cb; i += sizeof(arrPiece))
    {
        const size_t cbPiece = std::min(cb - i, sizeof(arrPiece));
        std::memcpy(arrPiece, pFirst + i, cbPiece);
        std::memcpy(pFirst + i, pSecond + i, cbPiece);
        std::memcpy(pSecond + i, arrPiece, cbPiece);
    }
}

void ReverseRows(BYTE* pBlock, ptrdiff_t nStep, RoiSize roi, size_t cbPixel) noexcept
{
    if (roi.nWidth <= 0 || roi.nHeight <= 1)
        return;
    const size_t cbRow = static_cast<size_t>(roi.nWidth) * cbPixel;
    const ptrdiff_t nRows = roi.nHeight;
    for (ptrdiff_t i = 0; i < nRows / 2; i++)
        SwapBytes(pBlock + i * nStep, pBlock + (nRows - 1 - i) * nStep, cbRow);
}

} // namespace

size_t FlipPixelBytes(DWORD fccType) noexcept
{
    switch (fccType)
    {
    case FOURCC_RGB565:
    case FOURCC_RGB555:
        return 2;
    case FOURCC_RGB24:
        return 3;
    case FOURCC_RGB32:
    case FOURCC_ARGB32:
        return 4;
    default:
        return 0;
    }
}

void FlipRows2(BYTE* pBlock, ptrdiff_t nStep, RoiSize roi) noexcept
{
    ReverseRows(pBlock, nStep, roi, 2);
}

void FlipRows3(BYTE* pBlock, ptrdiff_t nStep, RoiSize roi) noexcept
{
    ReverseRows(pBlock, nStep, roi, 3);
}

void FlipRows4(BYTE* pBlock, ptrdiff_t nStep, RoiSize roi) noexcept
{
    ReverseRows(pBlock, nStep, roi, 4);
}

void FlipRows(BYTE* pBlock, ptrdiff_t nStep, RoiSize roi, size_t cbPixel) noexcept
{
    using PFNFLIPROWS = void (*)(BYTE * pBlock, ptrdiff_t nStep, RoiSize roi) noexcept;
    constexpr size_t cbFirst = 2;
    constexpr PFNFLIPROWS arrFlip[] = {FlipRows2, FlipRows3, FlipRows4};
    arrFlip[cbPixel - cbFirst](pBlock, nStep, roi);
}
