#pragma once
/// A picture as the measuring functions read it: rows of 4 bytes a pixel.

#include "Common/Common.h"

#include <cstdint>
#include <memory>

class CKeyPicture
{
public:
    /// RGB32 and ARGB32 are read where they stand, everything else is converted. nRowWidth is taken as it
    /// stands: 0 makes all rows of an RGB32 picture the first one, and refuses other pictures.
    /// \param pbInput, pic not null, and valid as long as this is used
    /// \param pTemp optional: memory for the converted picture
    /// \return S_OK; E_INVALIDARG for an unusable descriptor or one without pixels; E_OUTOFMEMORY; what
    /// Img_Convert fails with
    HRESULT Open(const BYTE* pbInput, const PicProps& pic, BYTE* pTemp) noexcept;

    LONG Width() const noexcept { return m_nWidth; }
    int64_t Height() const noexcept { return m_nHeight; } ///< above 0

    /// True for an RGB picture whose first row in memory is the last one shown.
    bool IsMirror() const noexcept { return m_bMirror; }

    /// \param nRow a row in memory, below Height
    const BYTE* Row(int64_t nRow) const noexcept { return m_pRows + nRow * m_cbPitch; }

private:
    std::unique_ptr<BYTE[]> m_memory;
    const BYTE* m_pRows = nullptr;
    int64_t m_cbPitch = 0;
    int64_t m_nHeight = 0;
    LONG m_nWidth = 0;
    bool m_bMirror = false;
};
