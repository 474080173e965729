#pragma once
/// What the measuring functions share: a picture in rows of 4 bytes a pixel, and the colour spaces that they
/// measure it in.

#include "Common/Common.h"

#include <cstddef>
#include <cstdint>
#include <memory>

class CPerf;

/// A picture as it is measured.
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

/// The colour spaces. Each works on pixels of 4 bytes, writes three bytes of each and hands on the fourth.
/// Source and destination may be the same.
/// @{

/// B, G, R to H, L, S, in single precision: hue of 360 degrees, lightness and saturation as 0 to 255.
void RGBToHLS(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept;

/// The same in units of a byte, rounded to the nearest, with the first byte as red: the buffer has blue
/// there, so hues come out mirrored. Deliberate.
void RGBToHLSBytes(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept;

/// To Y, U, V of full range, with the first byte as red although the buffer has blue there. U wraps around,
/// V is clamped. All of this is deliberate.
void RGBToYUVBytes(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept;

/// Hands on the pixels as they are.
void RGBToRGB(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept;

/// @}

using PFNKEYSPACE = void (*)(const BYTE* pSrc, BYTE* pDst, size_t nPixels) noexcept;

/// The counter that the conversion of a measurement is timed under: "[RGB->HLS]" or "[RGB->YUV]", one for the
/// process, made on first use.
/// \param nMode eImgKey
/// \return null for RGB, where nothing is converted
CPerf* KeySpaceCounter(int nMode) noexcept;
