#pragma once
/// The public entry points of the image library: plain functions over raw frame buffers, no objects, no
/// state.
///
/// Every call takes the buffers, a PicProps descriptor for each and optional rectangles (null: the whole
/// picture; right and bottom exclusive; row 0 is the top of the picture as shown, whatever the memory order).
/// Descriptors and input buffers stay unchanged unless a function says otherwise. A picture of unusable
/// descriptor or a null pointer gives E_INVALIDARG; S_FALSE means that a rectangle lies outside its picture
/// and nothing was done.
///
/// A buffer holds GetPicSize bytes, needs no alignment, and belongs to the caller. Sizes and offsets have 32
/// bits: a frame of 4 GiB or more is refused with E_INVALIDARG by everything that works on pixels, on a field
/// of it too, and no byte of it is touched. GetPicSize cannot tell such a size; Img_CheckProps and
/// Img_GetRects, which touch no pixels, take it. Any thread may call anything at any time, for buffers of its
/// own. YUV follows ITU-R BT.601 in studio range (Y 16 to 235, chroma 16 to 240) throughout.
///
/// This header is all that a user needs: it brings in the Win32 types, PicProps, the format codes and the
/// queries of sizes, planes and rectangles.

#include "Common/Common.h"

/// Detects the processor and traces it beside nUse, which has no other effect. One generic build of the pixel
/// primitives serves every processor, so there is no level to set.
/// \return the detected code (see ProcessorCode), not an HRESULT
int Img_InitConverter(int nUse) noexcept;

/// The code that Img_InitConverter reports for what CPUID leaf 1 gives in ECX and EDX: 0x45 SSE4.2, 0x44
/// SSE4.1, 0x43 SSSE3, 0x42 SSE3, 0x41 SSE2, 0x40 SSE, 0 none of these.
int ProcessorCode(DWORD dwEcx, DWORD dwEdx) noexcept;

/// \return true when the descriptor is usable; without bAnyRGB the two 16-bit RGB formats are refused
bool Img_CheckProps(const PicProps* _pProps, bool bAnyRGB) noexcept;

/// Checks both descriptors and normalises the rectangles.
HRESULT Img_GetRects(const PicProps* _pInputProps, const PicProps* _pOutputProps, RECT* psrcRect,
                     RECT* pdstRect, bool bScale, const RECT* _prcInput, const RECT* _prcOutput) noexcept;

/// \return bytes of the temporary buffer that Img_Convert and the resizer use; the number 0x80070057 for a
/// null pointer, the largest number for what no memory holds
size_t Img_GetBufferSize(const PicProps* _pInputProps, const PicProps* _pOutputProps) noexcept;

/// \return the same at twice the size, for Img_ConvertResize
size_t Img_GetBufferSizeEx(const PicProps* _pInputProps, const PicProps* _pOutputProps) noexcept;

/// Copies between two pictures of one format (E_NOTIMPL for two formats), turning rows where the row orders
/// differ. Bytes outside the rectangle, row padding included, stay as they are. The buffers may be the same
/// one. An empty rectangle copies nothing and answers S_OK.
HRESULT Img_Copy(const BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                 const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput) noexcept;

/// Converts without scaling; ITU-R BT.601, studio range, HDYC included. No field handling. The two frames must
/// not share memory. No memory is allocated. Answers, beside those above:
/// - S_OK, also for a pair without a path, which leaves the output as it is but for the flip of a bottom-up side
/// - E_NOTIMPL after an assertion for YVYU from RGB or UYVY, and for YVYU to other packed formats and RGB
/// - 0xFFFFFFFA for a rectangle below 2 x 1 pixels with a packed YUV side, below 2 x 2 with a planar one (1 x 1
///   from planar to RGB)
/// - 0xFFFFFFF8 for RGB24 to UYVY or HDYC and back without a buffer: pTemp, or the one that a turned source or
///   bMirrorToBuffer (UYVY to RGB24) stands for
/// - 0x80070023 when an odd last row was left out between RGB and a planar format; the rest was written
///
/// RGB24 to a 32-bit format leaves the fourth byte, RGB32 to ARGB32 sets it to 255, as YUV to 32 bits does.
/// \param bMirrorToBuffer true: the input stays unchanged; false: a bottom-up input may be flipped in place
/// \param pTemp optional: Img_GetBufferSize bytes, see above; they stay as they are
HRESULT Img_Convert(BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                    const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput,
                    bool bMirrorToBuffer, BYTE* pTemp) noexcept;

/// Interpolation requests of the resizer.
enum eImgResize : int
{
    eIR_Nearest = 1,
    eIR_Linear = 2,
    eIR_Cubic = 4,
    eIR_Super = 8,
    eIR_RequestNearest = 0x20,
    eIR_RequestLinear = 0x21,
    eIR_RequestBest = 0x22 ///< cubic when enlarging in either direction, supersampling otherwise
};

/// Scales a rectangle of one picture into a rectangle of another of the same format (E_INVALIDARG for two
/// formats). Rectangles of equal size without sharpening are an Img_Copy. Sample centres are aligned; filters
/// reach over the edges of the source rectangle, but in packed YUV, where its outermost samples count again.
/// Chroma is scaled linearly at most, and never sharpened. An interpolation value that is none scales nothing
/// and answers S_OK, as do the 16-bit RGB formats.
/// \param nMode eImgResize
/// \param pTemp optional: Img_GetBufferSize bytes; without it a call makes at most one allocation
/// \param nSharp -50 (softest) to 50 (sharpest), 0 is none; the outermost ring of pixels stays as scaled
/// \return S_OK; E_INVALIDARG; S_FALSE when a rectangle lies outside its picture; E_OUTOFMEMORY
HRESULT Img_ResizeFrame(const BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                        const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput,
                        int nMode, BYTE* pTemp, int nSharp) noexcept;

/// Img_ResizeFrame for pictures of two interleaved fields, each of which is scaled on its own. Bottom-up
/// against top-down RGB exchanges the fields.
/// \param nField negative for both fields, 0 for the first only, 1 for the second only
HRESULT Img_ResizeFields(const BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                         const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput,
                         int nMode, BYTE* pTemp, int nSharp, int nField) noexcept;

/// Converts, then scales, each where it is needed. The conversion takes whole pictures; only the scaling knows
/// the rectangles: without scaling they are ignored. What both need at once is allocated unless pTemp is given.
/// \param bFieldMode scale with Img_ResizeFields, both fields, in place of Img_ResizeFrame
/// \param nMode, nSharp as of the resizer
/// \param pTemp optional: Img_GetBufferSizeEx bytes
HRESULT Img_ConvertResize(BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                          const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput,
                          bool bFieldMode, int nMode, BYTE* pTemp, int nSharp) noexcept;

/// Makes the colour of a format out of a COLORREF with alpha (0xAABBGGRR).
/// \param _pbResColor receives the bytes as they stand in memory (Y, U, V for planes), the rest zero
/// \param pdwByteValid optional: how many of the bytes count
/// \return false for a null pointer and for a format without a colour of its own, RGB8 among them
bool GetFillColor(DWORD fccType, DWORD dwColor, BYTE _pbResColor[4], DWORD* pdwByteValid) noexcept;

/// ITU-R BT.601, studio range. \param bExact in doubles, rounded half away from zero; otherwise in integers
/// \return Y in byte 0, U in byte 1, V in byte 2
DWORD RGBToYUV(DWORD dwColor, bool bExact) noexcept;

/// Fills or tints a rectangle with a colour. Answers S_FALSE for an empty rectangle and E_UNEXPECTED for a
/// format without a colour. A fill of RGB565 or RGB555 stores 4 bytes a pixel, so that it runs on beyond the
/// rectangle, at most to the frame's end.
/// \param dwColor COLORREF with alpha: 0xAABBGGRR
/// \param nOpacity 0 to 255; what lies beyond acts as the nearest
/// \param nField below 0 the whole frame; 0 or above one field, which needs a descriptor with nRowWidth set
HRESULT Img_Fill(BYTE* _pbOutput, const PicProps* _pOutputProps, DWORD dwColor, const RECT* _prcOutput,
                 int nOpacity, int nField) noexcept;

/// Sides of an outline. They follow memory rows: in a bottom-up picture the top one is painted at the bottom
/// as shown, and left and right change places.
enum eImgSide : DWORD
{
    eIS_Top = 1,
    eIS_Left = 2,
    eIS_Bottom = 4,
    eIS_Right = 8
};

/// Paints an outline inside a rectangle. Answers S_FALSE for an empty rectangle.
/// \param dwColor COLORREF, its alpha is taken as 255; RGB8 takes the low byte
/// \param nThickness pixels; 0 or less paints nothing; even for YUV; limited to half the smaller side
/// \param nOpacity 0 to 255; what lies beyond acts as the nearest
/// \param dwSides eImgSide
HRESULT Img_DrawFrame(BYTE* _pbOutput, const PicProps* _pOutputProps, DWORD dwColor, int nThickness,
                      const RECT* _prcOutput, int nOpacity, DWORD dwSides) noexcept;

/// Mixes a picture into another of the same format (E_NOTIMPL for two formats) by an alpha for each byte.
/// RGB8, RGB565 and RGB555 are left alone, with S_OK; so is an empty rectangle.
/// \param _pbAlpha a buffer of the input's layout
/// \param nField as in Img_Fill
HRESULT Img_MixAlpha(const BYTE* _pbInput, const BYTE* _pbAlpha, BYTE* _pbOutput,
                     const PicProps* _pInputProps, const PicProps* _pOutputProps, const RECT* _prcInput,
                     const RECT* _prcOutput, int nField) noexcept;

/// Mixes a picture into another of the same format by an alpha for each pixel; formats and empty rectangles
/// as in Img_MixAlpha.
/// \param _pbInput ARGB32 with an opacity of 0 to 254: its pixels inside the rectangle are scaled in place
/// \param _pbAlpha 8 bits a pixel of the input's size and of nRowWidth bytes a row; ARGB32 uses its own
/// alpha, and only there it may be null (E_INVALIDARG otherwise) \param nOpacity below 0: straight input;
/// otherwise a premultiplied one that weighs 0 to 255 \param bMirrorAlpha the alpha plane is bottom-up
HRESULT Img_MixPicture(BYTE* _pbInput, const BYTE* _pbAlpha, BYTE* _pbOutput, int nOpacity,
                       const PicProps* _pInAndAlphaProps, const PicProps* _pOutputProps, bool bMirrorAlpha,
                       const RECT* _prcInput, const RECT* _prcOutput, int nField) noexcept;

/// Adds two pictures of one format (E_NOTIMPL for two formats) by weights in 1/256, chroma around its centre.
/// RGB8, RGB565 and RGB555 are left alone after an assertion, with S_OK; so is an empty rectangle.
/// \param nSrcWeight, nDstWeight clamped to -32768 to 32767
HRESULT Img_Blend(const BYTE* _pbInput, BYTE* _pbOutput, int nSrcWeight, int nDstWeight,
                  const PicProps* _pInputProps, const PicProps* _pOutputProps, const RECT* _prcInput,
                  const RECT* _prcOutput) noexcept;

/// Colour spaces of a measurement.
enum eImgKey : int
{
    eIK_RGB = 2,
    eIK_HLS = 3,
    eIK_YUV = 4
};

/// The key colour of a whole picture and the tolerance around it, out of its histograms.
/// \param _pInputProps nRowWidth has to be set: it is taken as it stands
/// \param nMode eIK_RGB or eIK_HLS, E_INVALIDARG for others
/// \param _pChromaKey two values: colour and tolerance, a channel a byte (R, G, B or H, L, S)
/// \param pTemp optional: |nHeight| x nRowWidth x 8 + 4176 bytes
HRESULT Img_GetChromaKey(const BYTE* _pbInput, const PicProps* _pInputProps, int nMode, DWORD* _pChromaKey,
                         BYTE* pTemp) noexcept;

/// A key colour and tolerance that cover sample points and rectangles. S_FALSE when there are none,
/// E_UNEXPECTED when none of them holds a pixel.
/// \param _pInputProps nRowWidth has to be set: it is taken as it stands
/// \param _arrPoints, _arrRects clamped into the picture, where they stand; one of the two may be null. Right
/// and bottom are inclusive
/// \param nMode eIK_HLS, eIK_YUV, anything else is RGB
/// \param _pKey in and out, as in Img_GetChromaKey; an earlier key with a tolerance above 0 is covered too
HRESULT Img_CalcKey(const BYTE* _pbInput, const PicProps* _pInputProps, int nPoints, POINT* _arrPoints,
                    int nRects, RECT* _arrRects, int nMode, DWORD* _pKey) noexcept;

/// Paints the distribution of a picture's colours: 768 x 768 pixels of 4 bytes, nine tiles of 256 x 256.
/// \param nMode 1, E_INVALIDARG for others
/// \param pbGraph optional; a picture that cannot be measured is refused without it, too
/// \param _pGraphProps receives RGB32, width 256, height 768, row 768: the width of one tile, deliberately
HRESULT Img_GetImageGraph(const BYTE* _pbInput, const PicProps* _pInputProps, int nMode, BYTE* pbGraph,
                          PicProps* _pGraphProps) noexcept;
