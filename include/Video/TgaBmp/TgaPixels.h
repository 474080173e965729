#pragma once
/// From a TGA file to its stored pixels: plain or out of packets, as a whole or band by band.

#include "Video/TgaBmp/TgaHeader.h"
#include "Video/TgaBmp/TgaInput.h"
#include "Video/TgaBmp/TgaRows.h"

/// Reads the image of an open file that stands at its first byte.
class CTgaPixelReader
{
public:
    /// \param header stays unchanged while the object is in use
    CTgaPixelReader(CTgaInput& input, HANDLE hFile, const TGAHeader& header) noexcept
        : m_input(input), m_hFile(hFile), m_header(header), m_nPixels(DWORD{header.nWidth} * header.nHeight),
          m_cbPixel(header.PixelBytes())
    {
    }

    /// Bytes of the stored pixels, counted in 32 bits.
    DWORD ImageSize() const noexcept { return m_nPixels * m_cbPixel; }
    /// Whether so many bytes of a file are enough for the image.
    bool CanHold(ULONGLONG cbRest) const noexcept;

    // Each reads the whole image. \param pcbRead out: bytes of the file that it took

    /// To pbImage, ImageSize() bytes.
    HRESULT ReadWhole(BYTE* pbImage, DWORD* pcbRead) noexcept;
    /// To a bitmap, converted row by row, bottom row first.
    /// \param pBmp as AllocTgaBitmap made it
    HRESULT ReadConverted(const TgaRowForms& forms, DWORD fccType, BYTE* pBmp, DWORD* pcbRead) noexcept;
    /// To nowhere: reports what is wrong with a file, at the cost of a band.
    HRESULT PassOver(DWORD* pcbRead) noexcept;

    /// Passes on how the reading of the image went.
    HRESULT Report(HRESULT hr) const noexcept;

private:
    /// How far the stored pixels are read.
    struct Progress
    {
        DWORD nRest;  ///< pixels that are still to come
        DWORD cbRead; ///< bytes of the file that the others took
    };

    template <class TPlace, class TOnBand>
    HRESULT ReadBands(DWORD nBand, TPlace&& place, TOnBand&& onBand, DWORD* pcbRead) noexcept;
    HRESULT ReadPixels(BYTE* pbOut, DWORD nWanted, Progress* pProgress, DWORD* pnGot) noexcept;
    HRESULT ReadPlain(BYTE* pbOut, DWORD nWanted, Progress* pProgress) noexcept;
    HRESULT ReadPacket(BYTE* pbOut, Progress* pProgress, DWORD* pnGot) noexcept;

    CTgaInput& m_input;
    const HANDLE m_hFile;
    const TGAHeader& m_header;
    const DWORD m_nPixels;
    const DWORD m_cbPixel;
};
