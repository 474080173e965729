#include "AlphaPolicy.h"

#include <cstring>

#include "AlphaPlane.h"
#include "dstl/WinAPI/Blob.h"

namespace
{

using CPlane = CBLOBHolder<CHeapMemory>;

bool SameBytes(const CPlane& blobOne, const CPlane& blobTwo) noexcept
{
    return blobOne.GetSize() == blobTwo.GetSize() &&
           (blobOne.GetSize() == 0 || memcmp(blobOne.GetPtr(), blobTwo.GetPtr(), blobOne.GetSize()) == 0);
}

} // namespace

HRESULT ClassifyAlpha(const BYTE* pbPixels, DWORD cbPixels, PicProps& picSource) noexcept
{
    constexpr DWORD cbPixel = 4;
    const DWORD cbPlane = cbPixels / cbPixel;
    CPlane blobAlpha;
    CPlane blobZero;
    CPlane blobSolid;
    if (FAILED(blobAlpha.Alloc(cbPlane, true, 0)) || FAILED(blobZero.Alloc(cbPlane, true, 0)) ||
        FAILED(blobSolid.Alloc(cbPlane, true, 0xFF)))
        return E_OUTOFMEMORY;

    const size_t nRowWidth = static_cast<DWORD>(picSource.nRowWidth);
    ExtractAlpha(pbPixels, cbPixels, cbPixel * nRowWidth, blobAlpha.GetPtr(), cbPlane, nRowWidth,
                 picSource.nWidth, AbsHeight(picSource.nHeight));
    const bool bPlain = SameBytes(blobAlpha, blobZero) || SameBytes(blobAlpha, blobSolid);
    picSource.fccType = bPlain ? FOURCC_RGB32 : FOURCC_ARGB32;
    return S_OK;
}

HRESULT ClassifyHandleAlpha(const BITMAPINFOHEADER& biImage, BYTE* pbPixels, DWORD cbPixels,
                            bool& bAlpha) noexcept
{
    CPlane blobAlpha;
    CPlane blobZero;
    if (FAILED(blobAlpha.Alloc(biImage.biSizeImage, true, 0)) ||
        FAILED(blobZero.Alloc(biImage.biSizeImage, true, 0)))
        return E_OUTOFMEMORY;

    // Both steps are four times those of the rows, so that only every fourth row is looked at and the rows
    // end after a quarter of the picture: this is deliberate.
    const size_t nRowWidth = static_cast<DWORD>(biImage.biWidth);
    ExtractAlpha(pbPixels, cbPixels, 16 * nRowWidth, blobAlpha.GetPtr(), blobAlpha.GetSize(), 4 * nRowWidth,
                 biImage.biWidth, AbsHeight(biImage.biHeight));
    bAlpha = !SameBytes(blobAlpha, blobZero);
    if (!bAlpha)
        SetAlphaSolid(pbPixels, cbPixels);
    return S_OK;
}
