// From the stored pixels of a TGA file to a packed bottom-up bitmap.

#include "Video/TgaBmp/Tga.h"

#include "Video/TgaBmp/TgaRows.h"
#include "dstl/dshowx/DSTrace.h"

#include <cstring>

namespace
{
/// Four bytes as they lie in memory: B, G, R, A of a 32-bit pixel.
DWORD FetchPixel(const BYTE* pb) noexcept
{
    DWORD dwPixel;
    std::memcpy(&dwPixel, pb, sizeof(dwPixel));
    return dwPixel;
}

/// One converted pixel.
struct Colour
{
    BYTE b, g, r;
    BYTE a;      ///< fourth byte of FOURCC_ARGB32
    bool bPlane; ///< a goes into the alpha plane as well
};

Colour MakeColour(DWORD dwPixel, DWORD nBPP) noexcept
{
    if (nBPP == 15 || nBPP == 16)
    {
        const TgaColour16 colour(dwPixel);
        return {colour.b, colour.g, colour.r, colour.a, true};
    }
    DSASSERT(nBPP == 24 || nBPP == 32); // any other depth goes on as if it were 32, without an alpha plane
    return {static_cast<BYTE>(dwPixel), static_cast<BYTE>(dwPixel >> 8), static_cast<BYTE>(dwPixel >> 16),
            nBPP == 24 ? byTgaOpaque : static_cast<BYTE>(dwPixel >> 24), nBPP == 32};
}
} // namespace

DWORD CTga::ColMapEntry(DWORD idx) const noexcept
{
    DSASSERT(idx < m_header.nColMapEntries);
    if (idx >= m_header.nColMapEntries || !m_pColMap)
        return 0;
    return FetchPixel(m_pColMap.get() + size_t{idx} * m_cbColMapEntry); // the map has four bytes of slack
}

HRESULT CTga::CheckOutput(DWORD fccType, const BYTE* pBmp) const noexcept
{
    DSASSERT(fccType == FOURCC_RGB24 || fccType == FOURCC_RGB32 || fccType == FOURCC_ARGB32);
    if (!(fccType == FOURCC_RGB24 || fccType == FOURCC_RGB32 || fccType == FOURCC_ARGB32))
        return E_INVALIDARG;
    DSASSERT(pBmp != NULL);
    if (pBmp == NULL)
        return E_INVALIDARG;
    DSASSERT(Columns() > 0 && Rows() > 0);
    if (!(Columns() > 0 && Rows() > 0))
        return E_FAIL;
    DSASSERT(Image() != NULL);
    if (Image() == NULL)
        return E_FAIL;
    return S_OK;
}

HRESULT CTga::ConvertToBmp(DWORD fccType, BYTE* pBmp, BYTE* pAlpha) const noexcept
{
    HRESULT hr = CheckOutput(fccType, pBmp);
    if (FAILED(hr))
        return hr;

    const wchar_t* pszTrace = NULL;
    switch (Mode())
    {
    case eTGAMode_ColMap:
        hr = Convert_ColMap(fccType, pBmp, pAlpha);
        pszTrace = L"###Err### CTga::ConvertToBmp(): Convert_ColMap()=0x%X\n";
        break;
    case eTGAMode_TrueColor:
        hr = Convert_TrueColor(fccType, pBmp, pAlpha);
        pszTrace = L"###Err### CTga::ConvertToBmp(): Convert_TrueColor()=0x%X\n";
        break;
    case eTGAMode_BW:
        hr = Convert_BW(fccType, pBmp, pAlpha);
        pszTrace = L"###Err### CTga::ConvertToBmp(): Convert_BW()=0x%X\n";
        break;
    default:
        DSASSERT_TEXT(false, "CTga::ConvertToBmp(): Unknown mode of picture");
        return E_FAIL;
    }
    if (FAILED(hr))
        trace(atlTraceGeneral, eTL_Error, pszTrace, hr);
    return hr;
}

/// \param row called for each row, bottom row first: (stored row, row of the bitmap, row of the alpha plane
/// or null)
template <class TRow>
void CTga::ConvertRows(DWORD fccType, BYTE* pBmp, BYTE* pAlpha, TRow&& row) const noexcept
{
    const DWORD nColumns = Columns();
    const DWORD nRows = Rows();
    const size_t cbSource = size_t{nColumns} * Depth();
    const size_t cbRow = AlignTgaRow(nColumns * TgaBitmapPixel(fccType));
    const size_t cbAlphaRow = AlignTgaRow(nColumns);

    if (pAlpha != NULL && !HasAlpha())
    {
        for (DWORD y = 0; y < nRows; ++y)
            std::memset(pAlpha + y * cbAlphaRow, byTgaOpaque, nColumns);
        pAlpha = NULL;
    }
    for (DWORD y = 0; y < nRows; ++y)
        row(Image() + BitmapRow(y) * cbSource, pBmp + y * cbRow,
            pAlpha != NULL ? pAlpha + y * cbAlphaRow : NULL);
}

/// Pixels one by one, with an assertion for each that has no meaning.
/// \param nextPixel gives the 32 bits of a pixel: (stored pixel)
template <class TNextPixel>
void CTga::ConvertPixels(DWORD fccType, BYTE* pBmp, BYTE* pAlpha, TNextPixel&& nextPixel) const noexcept
{
    const DWORD nBPP = BitsPerColour();
    const size_t cbPixel = TgaBitmapPixel(fccType);
    const auto row = [&](const BYTE* pbIn, BYTE* pbOut, BYTE* pbAlpha)
    {
        for (DWORD x = 0; x < Columns(); ++x, pbIn += Depth(), pbOut += cbPixel)
        {
            const Colour colour = MakeColour(nextPixel(pbIn), nBPP);
            pbOut[0] = colour.b;
            pbOut[1] = colour.g;
            pbOut[2] = colour.r;
            if (fccType == FOURCC_ARGB32)
                pbOut[3] = colour.a;
            else if (fccType == FOURCC_RGB32)
                pbOut[3] = 0;
            if (pbAlpha != NULL && colour.bPlane)
                pbAlpha[x] = colour.a;
        }
    };
    ConvertRows(fccType, pBmp, pAlpha, row);
}

HRESULT CTga::Convert_ColMap(DWORD fccType, BYTE* pBmp, BYTE* pAlpha) const noexcept
{
    const HRESULT hr = CheckOutput(fccType, pBmp);
    if (FAILED(hr))
        return hr;
    DSASSERT(Mode() == eTGAMode_ColMap);
    if (Mode() != eTGAMode_ColMap)
        return E_FAIL;
    DSASSERT(Depth() == 1 || Depth() == 2);
    if (!(Depth() == 1 || Depth() == 2))
        return E_FAIL;

    // nColMapFirst is deliberately not subtracted: index 0 is the first stored entry.
    if (Depth() == 1)
        ConvertPixels(fccType, pBmp, pAlpha, [this](const BYTE* pb) { return ColMapEntry(pb[0]); });
    else
        ConvertPixels(fccType, pBmp, pAlpha,
                      [this](const BYTE* pb) { return ColMapEntry(pb[0] | pb[1] << 8); });
    return S_OK;
}

HRESULT CTga::Convert_TrueColor(DWORD fccType, BYTE* pBmp, BYTE* pAlpha) const noexcept
{
    const HRESULT hr = CheckOutput(fccType, pBmp);
    if (FAILED(hr))
        return hr;
    DSASSERT(Mode() == eTGAMode_TrueColor);
    if (Mode() != eTGAMode_TrueColor)
        return E_FAIL;

    const TgaRowForms* pForms = FindTgaRowForms(BitsPerColour());
    if (pForms == NULL)
    {
        // Four bytes for any depth: the image has four bytes of slack.
        ConvertPixels(fccType, pBmp, pAlpha, [](const BYTE* pb) { return FetchPixel(pb); });
        return S_OK;
    }
    const auto row = [&](const BYTE* pbIn, BYTE* pbOut, BYTE* pbAlpha)
    {
        pForms->Find(fccType)(pbIn, pbOut, Columns());
        if (pbAlpha != NULL && pForms->pfnAlpha != NULL)
            pForms->pfnAlpha(pbIn, pbAlpha, Columns());
    };
    ConvertRows(fccType, pBmp, pAlpha, row);
    return S_OK;
}

HRESULT CTga::Convert_BW(DWORD, BYTE*, BYTE*) const noexcept
{
    // Black-and-white pictures load and are refused here: that is what callers count on.
    DSASSERT_TEXT(false, "CTga::Convert_BW(): not ready yet");
    return E_FAIL;
}
