#include "Video/TgaBmp/TgaRows.h"

#include "asm/SIMD64Convert.h"

#include <algorithm>
#include <cstring>

namespace
{
template <size_t cbPixel>
void CopyPixels(const BYTE* pbIn, BYTE* pbOut, size_t nPixels) noexcept
{
    std::memcpy(pbOut, pbIn, nPixels * cbPixel);
}

template <size_t cbPixel, bool bAlpha>
void From16(const BYTE* pbIn, BYTE* pbOut, size_t nPixels) noexcept
{
    for (size_t x = 0; x < nPixels; ++x, pbIn += 2, pbOut += cbPixel)
    {
        const TgaColour16 colour(static_cast<DWORD>(pbIn[0] | pbIn[1] << 8));
        pbOut[0] = colour.b;
        pbOut[1] = colour.g;
        pbOut[2] = colour.r;
        if constexpr (cbPixel == 4)
            pbOut[3] = bAlpha ? colour.a : 0;
    }
}

void AlphaFrom16(const BYTE* pbIn, BYTE* pbOut, size_t nPixels) noexcept
{
    for (size_t x = 0; x < nPixels; ++x)
        pbOut[x] = TgaColour16(static_cast<DWORD>(pbIn[2 * x] | pbIn[2 * x + 1] << 8)).a;
}

/// The kernel keeps the fourth bytes, so they are set once, in a piece that stays in the cache; the bitmap
/// itself, fresh pages as a rule, is not read.
template <BYTE byFourth>
void From24To32(const BYTE* pbIn, BYTE* pbOut, size_t nPixels) noexcept
{
    constexpr size_t nPiece = 1024;
    alignas(64) BYTE rgPiece[nPiece * 4];
    std::memset(rgPiece, byFourth, std::min(nPixels, nPiece) * 4);
    const PFNCONVERTROW pfnWiden = Kernels<ConvertKernels>().BGR24ToBGR32;
    for (size_t x = 0; x < nPixels; x += nPiece)
    {
        const size_t n = std::min(nPixels - x, nPiece);
        pfnWiden(pbIn + x * 3, rgPiece, n);
        std::memcpy(pbOut + x * 4, rgPiece, n * 4);
    }
}

void From32To24(const BYTE* pbIn, BYTE* pbOut, size_t nPixels) noexcept
{
    Kernels<ConvertKernels>().BGR32ToBGR24(pbIn, pbOut, nPixels);
}

void From32ToRGB32(const BYTE* pbIn, BYTE* pbOut, size_t nPixels) noexcept
{
    constexpr DWORD dwColours = 0x00FFFFFF; // B, G, R from the lowest byte
    for (size_t x = 0; x < nPixels; ++x)
    {
        DWORD dwPixel;
        std::memcpy(&dwPixel, pbIn + x * 4, sizeof(dwPixel));
        dwPixel &= dwColours;
        std::memcpy(pbOut + x * 4, &dwPixel, sizeof(dwPixel));
    }
}

void AlphaFrom32(const BYTE* pbIn, BYTE* pbOut, size_t nPixels) noexcept
{
    for (size_t x = 0; x < nPixels; ++x)
        pbOut[x] = pbIn[x * 4 + 3];
}

// With 24 bits the alpha plane stays as the caller gave it, also where the header tells of alpha bits.
constexpr TgaRowForms rgForms[] = {
    {15, From16<3, false>, From16<4, false>, From16<4, true>, AlphaFrom16},
    {16, From16<3, false>, From16<4, false>, From16<4, true>, AlphaFrom16},
    {24, CopyPixels<3>, From24To32<0>, From24To32<byTgaOpaque>, nullptr},
    {32, From32To24, From32ToRGB32, CopyPixels<4>, AlphaFrom32},
};
} // namespace

const TgaRowForms* FindTgaRowForms(DWORD nBPP) noexcept
{
    for (const TgaRowForms& forms : rgForms)
    {
        if (forms.nBPP == nBPP)
            return &forms;
    }
    return nullptr;
}

bool AllocTgaBitmap(DWORD nColumns, DWORD nRows, DWORD fccType, CTaskBytes* pBmp) noexcept
{
    const size_t cbPixels = nColumns * TgaBitmapPixel(fccType);
    const size_t cbRow = AlignTgaRow(cbPixels);
    const ULONGLONG cbBitmap = TgaBitmapSize(nColumns, nRows, fccType);
    if (cbBitmap > MAXDWORD)
        return false;
    pBmp->Alloc(static_cast<size_t>(cbBitmap));
    if (!*pBmp)
        return false;
    if (cbPixels != cbRow)
    {
        for (DWORD y = 0; y < nRows; ++y)
            std::memset(pBmp->Get() + y * cbRow + cbPixels, 0, cbRow - cbPixels);
    }
    return true;
}
