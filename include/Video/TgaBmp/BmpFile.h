#pragma once
/// Reader of BMP files, and the owner of the pixel blocks that change hands here.

#include "dstl/WinAPI/Platform.h"

/// The letters "BM".
inline constexpr WORD wBmpType = 0x4D42;
/// File header and info header, without a gap.
inline constexpr DWORD cbBmpHeaders = sizeof(BITMAPFILEHEADER) + sizeof(BITMAPINFOHEADER);
static_assert(cbBmpHeaders == 54);

/// Owner of COM task memory.
class CTaskBytes
{
public:
    CTaskBytes() noexcept = default;
    explicit CTaskBytes(size_t cb) noexcept { Alloc(cb); }
    ~CTaskBytes() { CoTaskMemFree(m_pb); }
    CTaskBytes(const CTaskBytes&) = delete;
    CTaskBytes& operator=(const CTaskBytes&) = delete;

    explicit operator bool() const noexcept { return m_pb != NULL; }
    BYTE* Get() const noexcept { return m_pb; }

    /// Frees what was held; null afterwards when there is no memory.
    void Alloc(size_t cb) noexcept
    {
        CoTaskMemFree(m_pb);
        m_pb = static_cast<BYTE*>(CoTaskMemAlloc(cb));
    }

    /// Frees what was held, for a function that hands out a block.
    BYTE** Out() noexcept
    {
        CoTaskMemFree(m_pb);
        m_pb = NULL;
        return &m_pb;
    }

    /// Hands the block over.
    BYTE* Detach() noexcept
    {
        BYTE* pb = m_pb;
        m_pb = NULL;
        return pb;
    }

private:
    BYTE* m_pb = NULL;
};

/// Reads a BMP file as it is stored. Nobody else may have the file open.
/// \param pBmpHeader out: the header, mended by TestAndCorrectBmpHeader; zeroed on failure
/// \param ppPicture out: biSizeImage bytes of pixels, for the caller to free by CoTaskMemFree; null on
/// failure.
///        The block is PictureBlockSize bytes long, what lies behind the pixels is zero
HRESULT LoadBmpFile(const wchar_t* pszFileName, BITMAPINFOHEADER* pBmpHeader, BYTE** ppPicture) noexcept;
