#pragma once
/// What lies around the pixels of a TGA file: header, image ID, colour map, footer.

#include "Video/TgaBmp/TgaHeader.h"
#include "Video/TgaBmp/TgaInput.h"

#include <memory>

/// Pixels are fetched four bytes at a time, so zero bytes stand behind every buffer of pixels.
/// \return cb bytes and that slack, which is zero; null when there is no memory
std::unique_ptr<BYTE[]> AllocTgaPixels(DWORD cb) noexcept;

/// Reads the parts of an open file in their order. Each operation returns the first failure and has traced it.
class CTgaParser
{
public:
    CTgaParser(CTgaInput& input, HANDLE hFile) noexcept : m_input(input), m_hFile(hFile) {}

    /// \param pcbFile out: size of the file
    HRESULT ReadSize(ULONGLONG* pcbFile) noexcept;
    /// Reads the header and refuses what this reader does not know.
    HRESULT ReadHeader(TGAHeader* pHeader) noexcept;
    /// Passes over the image ID.
    HRESULT SkipId(const TGAHeader& header) noexcept;
    /// \param pcbEntry out: bytes of an entry, 1 to 4
    HRESULT ReadColMap(const TGAHeader& header, DWORD* pcbEntry, std::unique_ptr<BYTE[]>* ppColMap) noexcept;
    /// \param cbRest bytes behind the image
    HRESULT ReadFooter(DWORD cbRest) noexcept;

    /// Bytes of the file that the parts have taken.
    DWORD BytesTaken() const noexcept { return m_cbTaken; }

private:
    CTgaInput& m_input;
    const HANDLE m_hFile;
    DWORD m_cbTaken = 0;
};
