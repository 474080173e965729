#pragma once
/// Reader of TGA files: parser, pixel reader and converter in one object.

#include "Common/Common.h"
#include "Video/TgaBmp/TgaConvert.h"
#include "Video/TgaBmp/TgaInput.h"
#include "dstl/WinAPI/TaskBytes.h"

#include <memory>

/// One TGA file in memory. LoadFile reads it, ConvertToBmp turns it into a packed bottom-up bitmap, any
/// number of times. Errors and warnings are traced. Made to live on the stack; not thread-safe.
class CTga
{
public:
    CTga() noexcept = default;
    ~CTga() = default;
    CTga(const CTga&) = delete;
    CTga& operator=(const CTga&) = delete;

    /// Frees the buffers and zeroes every member.
    void Clear() noexcept;

    /// Reads a file in place of what was held. A failed load leaves the object empty.
    HRESULT LoadFile(const wchar_t* pszTgaFile) noexcept;

    /// What became of the bitmap that LoadFile was to make.
    enum eBitmap
    {
        eBitmap_Made,
        eBitmap_ToConvert, ///< the picture is in Image(): ConvertToBmp is needed
        eBitmap_NoMemory,  ///< the file is sound, and nothing of it is held
    };

    /// Reads a file as the other LoadFile does, with the same results and traces. A picture whose conversion
    /// has nothing to report is converted piece by piece while it is read: its stored pixels never lie in
    /// memory as a whole.
    /// \param fccType as for ConvertToBmp
    /// \param pBmp out: with eBitmap_Made the bitmap as ConvertToBmp makes it, row ends zeroed; Image() is
    /// null
    HRESULT LoadFile(const wchar_t* pszTgaFile, DWORD fccType, CTaskBytes* pBmp, eBitmap* peBitmap) noexcept;

    /// Converts the loaded picture. Black-and-white pictures are refused.
    /// \param fccType FOURCC_RGB24, FOURCC_RGB32 or FOURCC_ARGB32
    /// \param pBmp out: Rows() rows of (Columns() * bytes + 3) & ~3 bytes, bytes being 3 or 4; bottom row
    /// first. Bytes behind the last pixel of a row are not written
    /// \param pAlpha out, may be null: Rows() rows of (Columns() + 3) & ~3 bytes; 255 without alpha bits
    HRESULT ConvertToBmp(DWORD fccType, BYTE* pBmp, BYTE* pAlpha) const noexcept;

    DWORD Columns() const noexcept { return m_header.nWidth; }
    DWORD Rows() const noexcept { return m_header.nHeight; }
    /// Bytes of a stored pixel.
    DWORD Depth() const noexcept { return m_cbDepth; }
    /// Stored pixels in file order, rows not aligned.
    const BYTE* Image() const noexcept { return m_pImage.get(); }
    eTGAMode Mode() const noexcept { return m_eMode; }
    DWORD BitsPerColour() const noexcept { return Stored().BitsPerColour(); }
    bool IsTopOrigin() const noexcept { return m_header.IsTopOrigin(); }
    bool HasAlpha() const noexcept { return m_header.HasAlpha(); }
    const TGAHeader& Header() const noexcept { return m_header; }

    /// The 32 bits at the start of an entry, little-endian, whatever the size of an entry. What lies behind
    /// the colour map reads as zero.
    DWORD ColMapEntry(DWORD idx) const noexcept { return Stored().ColMapEntry(idx); }

protected:
    /// Parses the file from its start.
    HRESULT ReadFile(HANDLE hFile) noexcept;
    /// Decodes the packets of a run-length encoded image into m_pImage.
    /// \param pcbRead out, may be null: bytes consumed from the file; 0 on failure
    HRESULT ReadRLEImage(HANDLE hFile, DWORD* pcbRead) noexcept;
    /// Reads exactly cb bytes.
    HRESULT Read(HANDLE hFile, DWORD cb, void* pbBuf) noexcept;
    /// Moves to another place of the file; S_FALSE, without moving, for the distance 0.
    HRESULT SetPosition(HANDLE hFile, LONG nDistance, DWORD dwMoveMethod) noexcept;

    HRESULT Convert_ColMap(DWORD fccType, BYTE* pBmp, BYTE* pAlpha) const noexcept;
    HRESULT Convert_TrueColor(DWORD fccType, BYTE* pBmp, BYTE* pAlpha) const noexcept;
    HRESULT Convert_BW(DWORD fccType, BYTE* pBmp, BYTE* pAlpha) const noexcept;

    TGAHeader m_header{};
    eTGAMode m_eMode = eTGAMode_None;
    DWORD m_cbColMapEntry = 0; ///< bytes of a colour map entry, 1 to 4
    std::unique_ptr<BYTE[]> m_pColMap;
    DWORD m_cbDepth = 0; ///< bytes of a stored pixel, 1 to 4
    DWORD m_cbImage = 0; ///< bytes of m_pImage without the slack behind it
    std::unique_ptr<BYTE[]> m_pImage;

private:
    /// The bitmap that is to be made while the file is read.
    struct Wish
    {
        DWORD fccType;
        CTaskBytes* pBmp;
        eBitmap eMade;
    };
    HRESULT Load(const wchar_t* pszTgaFile, Wish* pWish) noexcept;
    HRESULT Parse(HANDLE hFile, Wish* pWish) noexcept;
    HRESULT ReadImage(HANDLE hFile, DWORD cbBefore, ULONGLONG cbFile, Wish* pWish, DWORD* pcbRead) noexcept;
    HRESULT TakePixels(HANDLE hFile, Wish* pWish, DWORD* pcbRead) noexcept;

    TgaStored Stored() const noexcept
    {
        return {m_header, m_eMode, m_pImage.get(), m_pColMap.get(), m_cbColMapEntry};
    }

    CTgaInput m_input;
};
