#pragma once
/// Format queries, row pitches, planes, offsets and rectangles: what every function of the image library
/// shares. No state, no allocation; any thread.

#include "Common/PixelFormats.h"

#include <cstdint>

/// Picture descriptor.
struct PicProps
{
    DWORD fccType;  ///< format code
    LONG nWidth;    ///< pixels, greater than 0
    LONG nHeight;   ///< rows, never 0; RGB: positive is bottom-up, negative top-down; YUV: always top-down
    LONG nRowWidth; ///< allocated row length in pixels; 0 means nWidth, otherwise not less than nWidth
};

/// Allocated row length in pixels.
constexpr LONG PicRow(const PicProps& pic) noexcept
{
    return pic.nRowWidth != 0 ? pic.nRowWidth : pic.nWidth;
}

/// Absolute height that does not overflow for the lowest value.
constexpr DWORD AbsHeight(LONG nHeight) noexcept
{
    return nHeight < 0 ? 0u - static_cast<DWORD>(nHeight) : static_cast<DWORD>(nHeight);
}

/// True for r210, ARGB32 and the five codes 0xE436EB7A to 0xE436EB7E.
bool IsRGBFormat(DWORD fccType) noexcept;

/// True for v210 and r210; an unknown code asserts and answers false.
bool Is10Bit(DWORD fccType) noexcept;

/// Bits a pixel as sizes and pitches count them; 0 for an unknown code. NV12 counts 16 here on purpose.
DWORD GetBitCount(DWORD fccType) noexcept;

/// True when the library can work on the descriptor. Each output is optional and written only on success.
bool GetPicFormat(const PicProps* _pProps, bool* pbYUVFormat, bool* pbPlanar, DWORD* pdwBitCount) noexcept;

/// Row pitch in bytes, of the first plane for a planar format; packed rows are padded to 4 bytes. 0 for a
/// null pointer. Like all sizes here the result keeps the low 32 bits.
DWORD GetPicRowBytes(const PicProps* _pProps) noexcept;

/// Row pitch in bytes from nRowWidth as it stands, without falling back to nWidth; 0 for a null pointer.
DWORD GetPicRowBytes10(const PicProps* _pProps) noexcept;

/// Exact frame size in bytes; 0 for an unknown format or a negative row length. A frame of 2^64 bytes, which
/// only r210 can have, gives the largest number.
uint64_t FrameBytes(const PicProps& pic) noexcept;

/// True when a sample can hold a frame, whose size then fits a signed 32-bit number. A negative row length
/// fits no sample; a frame of an unknown format has 0 bytes and fits.
bool FitsSample(const PicProps& pic) noexcept;

/// FrameBytes as a sample counts its length; 0 for a frame that fits none.
LONG SampleBytes(const PicProps& pic) noexcept;

/// The low 32 bits of FrameBytes; 0 for a null pointer. GetPicPlanes refuses a picture of 4 GiB or more, so
/// that no function works on it.
DWORD GetPicSize(const PicProps* _pProps) noexcept;

/// True for a frame of 4 GiB or more, whose end no offset of 32 bits reaches: no function works on it, not
/// even on a field of it, which can be smaller because it pads fewer rows.
bool IsPicTooLarge(const PicProps& pic) noexcept;

/// Byte offset and row pitch of each plane (Y or the only one, U, V). With bPlanarYUV packed YUV is seen as
/// three planes. Entries of planes that the format lacks stay as the caller set them.
/// \param pbMirror optional: true for a bottom-up picture
/// \return false for what GetPicFormat refuses, and for a frame of 4 GiB or more, whose end no offset reaches
bool GetPicPlanes(const PicProps* _pProps, DWORD arrShift[3], DWORD arrStep[3], bool* pbMirror,
                  bool bPlanarYUV) noexcept;

/// Byte offset of pixel (x, y) within each plane, y counted in memory rows. Rows of RGB8 count without
/// padding. On an odd y a 4:2:0 chroma offset stands in the middle of a chroma row; both are deliberate.
bool GetPicOffsets(const PicProps* _pProps, LONG x, LONG y, DWORD arrOffset[3], bool bPlanarYUV) noexcept;

/// Clips two rectangles against their pictures and rounds columns to even where a side is YUV. What one side
/// loses the other loses too, scaled by the ratio of their sizes.
/// \param psrcRect, pdstRect receive the rectangles on S_OK and S_FALSE; either can come out empty with S_OK
/// \param bScale the rectangles may differ in size; otherwise both are cut to the smaller width and height
/// \param _prcInput, _prcOutput optional: null means the whole picture
/// \return S_OK; S_FALSE when a rectangle lies outside its picture; E_INVALIDARG
HRESULT NormalizeRects(const PicProps* _pInputProps, const PicProps* _pOutputProps, RECT* psrcRect,
                       RECT* pdstRect, bool bScale, const RECT* _prcInput, const RECT* _prcOutput) noexcept;
