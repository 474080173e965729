#include "AlphaPlane.h"

#include "asm/SIMD64Convert.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr size_t cbPixel = 4;    // B, G, R, A
constexpr size_t nAlphaByte = 3; // offset of A in a pixel

} // namespace

void ExtractAlpha(const BYTE* pbPixels, size_t cbPixels, size_t cbSourceStep, BYTE* pbAlpha, size_t cbAlpha,
                  size_t cbAlphaStep, DWORD nWidth, DWORD nHeight) noexcept
{
    if (pbAlpha == nullptr || cbAlpha == 0)
        return;
    memset(pbAlpha, 0, cbAlpha);
    if (pbPixels == nullptr || cbPixels == 0)
        return;

    const size_t nRows = cbSourceStep != 0 && cbAlphaStep != 0 ? nHeight : std::min<size_t>(nHeight, 1);
    for (size_t y = 0; y < nRows; y++)
    {
        // Behind the first row that lies outside either block there is nothing more to copy.
        const size_t cbSourceRow = y * cbSourceStep;
        const size_t cbAlphaRow = y * cbAlphaStep;
        if (cbSourceRow >= cbPixels || cbAlphaRow >= cbAlpha)
            break;
        const size_t nPixels = (cbPixels - cbSourceRow) / cbPixel; // whole ones
        const size_t nCount = std::min({static_cast<size_t>(nWidth), nPixels, cbAlpha - cbAlphaRow});
        const BYTE* pbSource = pbPixels + cbSourceRow + nAlphaByte;
        BYTE* pbTarget = pbAlpha + cbAlphaRow;
        for (size_t x = 0; x < nCount; x++)
            pbTarget[x] = pbSource[x * cbPixel];
    }
}

void SetAlphaSolid(BYTE* pbPixels, size_t cbPixels) noexcept
{
    if (pbPixels != nullptr)
        Kernels<ConvertKernels>().BGR32ToBGRA(pbPixels, pbPixels, cbPixels / cbPixel);
}
