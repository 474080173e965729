#include "dstl/Old/DecodedFrame.h"

#include <cstring>

HRESULT CopyRowsBottomUp(const DecodedRows& rows, DSTLBLOB* pBlob) noexcept
{
    *pBlob = DSTLBLOB{};
    constexpr ULONGLONG cbPixel = 4;
    const LONGLONG nStride = rows.nStride; // its absolute value need not fit 32 bits
    const ULONGLONG cbRow = static_cast<ULONGLONG>(nStride < 0 ? -nStride : nStride);
    const ULONGLONG cbPixels = rows.nWidth * cbPixel;
    if (rows.pbTop == nullptr || cbPixels == 0 || rows.nHeight == 0 || cbRow < cbPixels)
        return S_FALSE;
    const ULONGLONG cb = cbRow * rows.nHeight;
    if (cb > MAXDWORD)
        return E_OUTOFMEMORY;
    BYTE* const pbBlock = static_cast<BYTE*>(CoTaskMemAlloc(static_cast<size_t>(cb)));
    if (pbBlock == nullptr)
        return E_OUTOFMEMORY;

    BYTE* pbDst = pbBlock;
    for (DWORD y = rows.nHeight; y > 0; --y)
    {
        const BYTE* const pbSrc = rows.pbTop + static_cast<LONGLONG>(y - 1) * nStride;
        std::memcpy(pbDst, pbSrc, static_cast<size_t>(cbPixels));
        std::memset(pbDst + cbPixels, 0, static_cast<size_t>(cbRow - cbPixels));
        pbDst += cbRow;
    }
    pBlob->cbData = static_cast<DWORD>(cb);
    pBlob->pbData = pbBlock;
    return S_OK;
}
