#pragma once
/// From the stored pixels of a TGA file to a packed bottom-up bitmap.

#include "Video/TgaBmp/TgaHeader.h"

/// A picture as it lies in memory after reading. It owns nothing.
struct TgaStored
{
    const TGAHeader& header;
    eTGAMode eMode;
    const BYTE* pbImage;  ///< in file order, with four bytes of slack behind it; null: nothing
    const BYTE* pbColMap; ///< likewise
    DWORD cbColMapEntry;  ///< bytes of an entry of it

    DWORD Columns() const noexcept { return header.nWidth; }
    DWORD Rows() const noexcept { return header.nHeight; }
    DWORD Depth() const noexcept { return header.PixelBytes(); }
    const BYTE* Image() const noexcept { return pbImage; }
    eTGAMode Mode() const noexcept { return eMode; }
    DWORD BitsPerColour() const noexcept
    {
        return eMode == eTGAMode_ColMap ? header.nColMapDepth : header.nBitDepth;
    }
    /// The 32 bits at the start of an entry, little-endian; what lies behind the colour map reads as zero.
    DWORD ColMapEntry(DWORD idx) const noexcept;
};

/// Converts a stored picture to one bitmap. Arguments are those of CTga::ConvertToBmp.
class CTgaConverter
{
public:
    CTgaConverter(const TgaStored& tga, DWORD fccType, BYTE* pBmp, BYTE* pAlpha) noexcept
        : m_tga(tga), m_fccType(fccType), m_pBmp(pBmp), m_pAlpha(pAlpha)
    {
    }

    /// By the mode of the picture.
    HRESULT Convert() const noexcept;

    // One mode each; E_FAIL for a picture of another.
    HRESULT ConvertColMap() const noexcept;
    HRESULT ConvertTrueColor() const noexcept;
    /// Black-and-white pictures load and are refused here: that is what callers count on.
    HRESULT ConvertBW() const noexcept;

private:
    HRESULT CheckOutput() const noexcept;
    template <class TRow>
    void ConvertRows(TRow&& row) const noexcept;
    template <class TNextPixel>
    void ConvertPixels(TNextPixel&& nextPixel) const noexcept;

    // The names that the reports of the checks are known by.
    DWORD Columns() const noexcept { return m_tga.Columns(); }
    DWORD Rows() const noexcept { return m_tga.Rows(); }
    DWORD Depth() const noexcept { return m_tga.Depth(); }
    const BYTE* Image() const noexcept { return m_tga.Image(); }
    eTGAMode Mode() const noexcept { return m_tga.Mode(); }

    const TgaStored& m_tga;
    const DWORD m_fccType;
    BYTE* const m_pBmp;
    BYTE* const m_pAlpha;
};
