#include "Video/TgaBmp/TgaConvert.h"

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

DWORD TgaStored::ColMapEntry(DWORD idx) const noexcept
{
    // The text is known by this name.
    DSASSERT_TEXT(idx < header.nColMapEntries, "idx < m_header.nColMapEntries");
    if (idx >= header.nColMapEntries || pbColMap == nullptr)
        return 0;
    return FetchPixel(pbColMap + size_t{idx} * cbColMapEntry);
}

HRESULT CTgaConverter::CheckOutput() const noexcept
{
    const DWORD fccType = m_fccType;
    const BYTE* const pBmp = m_pBmp;
    DSASSERT(fccType == FOURCC_RGB24 || fccType == FOURCC_RGB32 || fccType == FOURCC_ARGB32);
    if (!(fccType == FOURCC_RGB24 || fccType == FOURCC_RGB32 || fccType == FOURCC_ARGB32))
        return E_INVALIDARG;
    DSASSERT(pBmp != NULL);
    if (pBmp == nullptr)
        return E_INVALIDARG;
    DSASSERT(Columns() > 0 && Rows() > 0);
    if (!(Columns() > 0 && Rows() > 0))
        return E_FAIL;
    DSASSERT(Image() != NULL);
    if (Image() == nullptr)
        return E_FAIL;
    return S_OK;
}

HRESULT CTgaConverter::Convert() const noexcept
{
    HRESULT hr = CheckOutput();
    if (FAILED(hr))
        return hr;

    const wchar_t* pszTrace = nullptr;
    switch (Mode())
    {
    case eTGAMode_ColMap:
        hr = ConvertColMap();
        pszTrace = L"###Err### CTga::ConvertToBmp(): Convert_ColMap()=0x%X\n";
        break;
    case eTGAMode_TrueColor:
        hr = ConvertTrueColor();
        pszTrace = L"###Err### CTga::ConvertToBmp(): Convert_TrueColor()=0x%X\n";
        break;
    case eTGAMode_BW:
        hr = ConvertBW();
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
void CTgaConverter::ConvertRows(TRow&& row) const noexcept
{
    const DWORD nColumns = Columns();
    const DWORD nRows = Rows();
    const size_t cbSource = size_t{nColumns} * Depth();
    const size_t cbRow = AlignTgaRow(nColumns * TgaBitmapPixel(m_fccType));
    const size_t cbAlphaRow = AlignTgaRow(nColumns);

    BYTE* pAlpha = m_pAlpha;
    if (pAlpha != nullptr && !m_tga.header.HasAlpha())
    {
        for (DWORD y = 0; y < nRows; ++y)
            std::memset(pAlpha + y * cbAlphaRow, byTgaOpaque, nColumns);
        pAlpha = nullptr;
    }
    for (DWORD y = 0; y < nRows; ++y)
        row(Image() + TgaBitmapRow(m_tga.header, y) * cbSource, m_pBmp + y * cbRow,
            pAlpha != nullptr ? pAlpha + y * cbAlphaRow : nullptr);
}

/// Pixels one by one, with an assertion for each that has no meaning.
/// \param nextPixel gives the 32 bits of a pixel: (stored pixel)
template <class TNextPixel>
void CTgaConverter::ConvertPixels(TNextPixel&& nextPixel) const noexcept
{
    const DWORD nBPP = m_tga.BitsPerColour();
    const size_t cbPixel = TgaBitmapPixel(m_fccType);
    const auto row = [&](const BYTE* pbIn, BYTE* pbOut, BYTE* pbAlpha)
    {
        for (DWORD x = 0; x < Columns(); ++x, pbIn += Depth(), pbOut += cbPixel)
        {
            const Colour colour = MakeColour(nextPixel(pbIn), nBPP);
            pbOut[0] = colour.b;
            pbOut[1] = colour.g;
            pbOut[2] = colour.r;
            if (m_fccType == FOURCC_ARGB32)
                pbOut[3] = colour.a;
            else if (m_fccType == FOURCC_RGB32)
                pbOut[3] = 0;
            if (pbAlpha != nullptr && colour.bPlane)
                pbAlpha[x] = colour.a;
        }
    };
    ConvertRows(row);
}

HRESULT CTgaConverter::ConvertColMap() const noexcept
{
    const HRESULT hr = CheckOutput();
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
        ConvertPixels([this](const BYTE* pb) { return m_tga.ColMapEntry(pb[0]); });
    else
        ConvertPixels([this](const BYTE* pb) { return m_tga.ColMapEntry(pb[0] | pb[1] << 8); });
    return S_OK;
}

HRESULT CTgaConverter::ConvertTrueColor() const noexcept
{
    const HRESULT hr = CheckOutput();
    if (FAILED(hr))
        return hr;
    DSASSERT(Mode() == eTGAMode_TrueColor);
    if (Mode() != eTGAMode_TrueColor)
        return E_FAIL;

    const TgaRowForms* pForms = FindTgaRowForms(m_tga.BitsPerColour());
    if (pForms == nullptr)
    {
        // Four bytes for any depth: the image has four bytes of slack.
        ConvertPixels([](const BYTE* pb) { return FetchPixel(pb); });
        return S_OK;
    }
    const auto row = [&](const BYTE* pbIn, BYTE* pbOut, BYTE* pbAlpha)
    {
        pForms->Find(m_fccType)(pbIn, pbOut, Columns());
        if (pbAlpha != nullptr && pForms->pfnAlpha != nullptr)
            pForms->pfnAlpha(pbIn, pbAlpha, Columns());
    };
    ConvertRows(row);
    return S_OK;
}

HRESULT CTgaConverter::ConvertBW() const noexcept
{
    DSASSERT_TEXT(false, "CTga::Convert_BW(): not ready yet");
    return E_FAIL;
}
