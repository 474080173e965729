#pragma once
/// The public entry points of the image library: plain functions over raw frame buffers, no objects, no
/// state.
///
/// Every call takes the buffers, a PicProps descriptor for each and optional rectangles (null: the whole
/// picture; right and bottom exclusive; row 0 is the top of the picture as shown, whatever the memory order).
/// Descriptors and input buffers stay unchanged unless a function says otherwise. A picture of unusable
/// descriptor, a rectangle without area or a null pointer gives E_INVALIDARG, but a null pointer E_POINTER
/// where colours are measured; S_FALSE means that a rectangle lies outside its picture and nothing was done.
/// "Empty" is below what clipping left of a rectangle.
///
/// A buffer holds GetPicSize bytes, needs no alignment, and belongs to the caller. Sizes and offsets have 32
/// bits: a frame of 4 GiB or more is refused with E_INVALIDARG by everything that works on pixels, on a field
/// of it too, and no byte of it is touched. GetPicSize cannot tell such a size; Img_CheckProps and
/// Img_GetRects, which touch no pixels, take it. Any thread may call anything at any time, for buffers of its
/// own. Nothing here keeps a pointer beyond the call.
///
/// YUV follows ITU-R BT.601 in studio range (Y 16 to 235, chroma 16 to 240), HDYC included, in every function
/// but those that measure; R, G and B run from 0 to 255:
/// - Y = 0.257 R + 0.504 G + 0.098 B + 16
/// - U = -0.148 R - 0.291 G + 0.439 B + 128
/// - V = 0.439 R - 0.368 G - 0.071 B + 128
/// - R = 1.164 (Y - 16) + 1.596 (V - 128), G = 1.164 (Y - 16) - 0.392 (U - 128) - 0.813 (V - 128),
///   B = 1.164 (Y - 16) + 2.017 (U - 128), each limited to 0 to 255
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

/// \return true when the descriptor is usable: a format of the library, a row not shorter than the picture,
/// for YUV an even width and row; without bAnyRGB the two 16-bit RGB formats are refused
bool Img_CheckProps(const PicProps* _pProps, bool bAnyRGB) noexcept;

/// Checks both descriptors, then clips and rounds the rectangles as NormalizeRects says.
/// \param psrcRect, pdstRect receive the rectangles on S_OK and S_FALSE
/// \param bScale the rectangles may differ in size; the 16-bit RGB formats are refused then
/// \return S_OK; S_FALSE when a rectangle lies outside its picture; E_INVALIDARG
HRESULT Img_GetRects(const PicProps* _pInputProps, const PicProps* _pOutputProps, RECT* psrcRect,
                     RECT* pdstRect, bool bScale, const RECT* _prcInput, const RECT* _prcOutput) noexcept;

/// \return bytes of the temporary buffer that Img_Convert and the resizer use; the number 0x80070057 for a
/// null pointer, the largest number for what no memory holds
size_t Img_GetBufferSize(const PicProps* _pInputProps, const PicProps* _pOutputProps) noexcept;

/// \return the same at twice the size, for Img_ConvertResize
size_t Img_GetBufferSizeEx(const PicProps* _pInputProps, const PicProps* _pOutputProps) noexcept;

/// Copies between two pictures of one format (E_NOTIMPL for two formats), turning rows where the row orders
/// differ. Bytes outside the rectangle, row padding included, stay as they are. The two frames may share
/// memory in any way: the output is what the input held before the call. Where row orders or row lengths
/// differ within shared memory the rectangle is copied twice (E_OUTOFMEMORY without memory for it). An empty
/// rectangle copies nothing and answers S_OK.
HRESULT Img_Copy(const BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                 const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput) noexcept;

/// Converts without scaling, by the formulas above. Chroma of RGB is the plain average of the pixels that
/// share it, without siting; chroma of YUV serves all its pixels as it stands. Values are in fixed point of
/// 16 bits, and how they round differs between pairs of formats by up to one, deliberately. No field
/// handling. The two frames must not share memory. No memory is allocated. Answers, beside those above:
/// - S_OK, also for a pair without a path, which leaves the output as it is but for the flip of a bottom-up
///   side
/// - E_NOTIMPL after an assertion for YVYU from RGB of 24 and 32 bits, UYVY and HDYC, and for YVYU to other
///   packed formats and to RGB of 24 and 32 bits
/// - 0xFFFFFFFA for a rectangle below 2 x 1 pixels with a packed YUV side, below 2 x 2 with a planar one
///   (1 x 1 from planar to RGB)
/// - 0xFFFFFFF8 for RGB24 to UYVY or HDYC and back without a buffer: pTemp, or the one that a turned source
///   or bMirrorToBuffer (UYVY to RGB24) stands for
/// - 0x80070023 when an odd last row was left out between RGB and a planar format; the rest was written
///
/// RGB24 to a 32-bit format leaves the fourth byte, RGB32 to ARGB32 sets it to 255, as YUV to 32 bits does;
/// other pairs of 32 bits keep it.
/// \param bMirrorToBuffer true: the input stays unchanged; false: a bottom-up input may be flipped in place
/// \param pTemp optional: Img_GetBufferSize bytes, see above; they stay as they are
HRESULT Img_Convert(BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                    const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput,
                    bool bMirrorToBuffer, BYTE* pTemp) noexcept;

/// Interpolation requests of the resizer.
enum eImgResize : int
{
    eIR_Nearest = 1,           ///< of two equally near samples the later one
    eIR_Linear = 2,            ///< between two samples
    eIR_Cubic = 4,             ///< over four samples, Catmull-Rom
    eIR_Super = 8,             ///< exact average of the area
    eIR_RequestNearest = 0x20, ///< as eIR_Nearest
    eIR_RequestLinear = 0x21,  ///< as eIR_Linear
    eIR_RequestBest = 0x22     ///< cubic when enlarging in either direction, supersampling otherwise
};

/// Scales a rectangle of one picture into a rectangle of another of the same format (E_INVALIDARG for two
/// formats). Rectangles of equal size without sharpening are an Img_Copy. Sample centres are aligned; filters
/// reach over the edges of the source rectangle, but in packed YUV, where its outermost samples count again.
/// Chroma is scaled linearly at most, and never sharpened. An interpolation value that is none scales nothing
/// and answers S_OK, as do the 16-bit RGB formats; values from 0x40 on are cubic in RGB of 24 and 32 bits.
/// Where the row orders of RGB differ the rows are turned, but never those of RGB8, deliberately.
/// \param nMode eImgResize
/// \param pTemp optional: Img_GetBufferSize bytes; without it a call makes at most one allocation
/// \param nSharp -50 (softest) to 50 (sharpest), 0 is none, what lies beyond acts as the nearest: a filter of
/// 3 x 3 over the scaled luma or RGB; the outermost ring of pixels stays as scaled
/// \return S_OK; E_INVALIDARG; S_FALSE when a rectangle lies outside its picture; E_OUTOFMEMORY
HRESULT Img_ResizeFrame(const BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                        const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput,
                        int nMode, BYTE* pTemp, int nSharp) noexcept;

/// Img_ResizeFrame for pictures of two interleaved fields, each of which is scaled on its own. Bottom-up
/// against top-down RGB exchanges the fields.
/// \param nField negative for both fields, 0 for the first only, 1 for the second only, above it for none
/// \return the failure of the first field, otherwise the answer of the second; both as Img_ResizeFrame
HRESULT Img_ResizeFields(const BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                         const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput,
                         int nMode, BYTE* pTemp, int nSharp, int nField) noexcept;

/// Converts, then scales, each where it is needed. The conversion takes whole pictures; only the scaling
/// knows the rectangles: without scaling they are ignored. What both need at once is allocated unless pTemp
/// is given.
/// \param bFieldMode scale with Img_ResizeFields, both fields, in place of Img_ResizeFrame
/// \param nMode, nSharp as of the resizer
/// \param pTemp optional: Img_GetBufferSizeEx bytes
/// \return S_OK, also when a rectangle lies outside and the sizes of the pictures differ; S_FALSE for that in
/// pictures of one size; the failures of Img_Convert and of the resizer; E_OUTOFMEMORY
HRESULT Img_ConvertResize(BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                          const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput,
                          bool bFieldMode, int nMode, BYTE* pTemp, int nSharp) noexcept;

/// Makes the colour of a format out of a COLORREF with alpha (0xAABBGGRR).
/// \param _pbResColor receives the bytes as they stand in memory (Y, U, V for planes), the rest zero; YUV as
/// RGBToYUV gives it with bExact
/// \param pdwByteValid optional: how many of the bytes count
/// \return false for a null pointer and for a format without a colour of its own, RGB8 among them
bool GetFillColor(DWORD fccType, DWORD dwColor, BYTE _pbResColor[4], DWORD* pdwByteValid) noexcept;

/// A colour by the formulas of ITU-R BT.601 above, limited to 0 to 255.
/// \param dwColor COLORREF, its alpha does not count
/// \param bExact in doubles, rounded half away from zero; otherwise in integers of 15 bits, rounded down
/// \return Y in byte 0, U in byte 1, V in byte 2, byte 3 is 0
DWORD RGBToYUV(DWORD dwColor, bool bExact) noexcept;

/// Fills or tints a rectangle with a colour. Answers S_FALSE for an empty rectangle and E_UNEXPECTED for a
/// format without a colour. A fill of RGB565 or RGB555 stores 4 bytes a pixel, the upper two zero, whatever
/// the opacity, so that it runs on beyond the rectangle, at most to the frame's end: deliberate.
/// \param dwColor COLORREF with alpha: 0xAABBGGRR
/// \param nOpacity 0 to 255; what lies beyond acts as the nearest. Below 255 a byte becomes
/// (byte x (255 - opacity) + colour x opacity) >> 8, deliberately a little darker than a true mix
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
/// \param _pbAlpha a buffer of the input's layout and size: 0 keeps the output's byte, 255 takes the input's
/// \param nField as in Img_Fill
HRESULT Img_MixAlpha(const BYTE* _pbInput, const BYTE* _pbAlpha, BYTE* _pbOutput,
                     const PicProps* _pInputProps, const PicProps* _pOutputProps, const RECT* _prcInput,
                     const RECT* _prcOutput, int nField) noexcept;

/// Mixes a picture into another of the same format by an alpha for each pixel; formats and empty rectangles
/// as in Img_MixAlpha.
/// \param _pbInput ARGB32 with an opacity of 0 to 254: its pixels inside the rectangle are scaled in place
/// \param _pbAlpha 8 bits a pixel of the input's size and of nRowWidth bytes a row, as that stands; ARGB32
/// uses its own alpha, and only there it may be null (E_INVALIDARG otherwise)
/// \param nOpacity below 0: straight input; otherwise a premultiplied one that weighs 0 to 255, what lies
/// beyond acts as 255. An output in ARGB32 is straight in both cases
/// \param bMirrorAlpha the alpha plane is bottom-up
/// \param nField as in Img_Fill
HRESULT Img_MixPicture(BYTE* _pbInput, const BYTE* _pbAlpha, BYTE* _pbOutput, int nOpacity,
                       const PicProps* _pInAndAlphaProps, const PicProps* _pOutputProps, bool bMirrorAlpha,
                       const RECT* _prcInput, const RECT* _prcOutput, int nField) noexcept;

/// Adds two pictures of one format (E_NOTIMPL for two formats) by weights in 1/256, chroma around its centre,
/// each byte limited to 0 to 255; 256 is the picture as it is.
/// In RGB and in planes of Y, products and sums above 65535 count as 65535, which shows beside a negative
/// weight; not so in the last bytes of a row, behind whole groups of 16: deliberate.
/// RGB8, RGB565 and RGB555 are left alone after an assertion, with S_OK; so is an empty rectangle.
/// \param nSrcWeight, nDstWeight clamped to -32768 to 32767
HRESULT Img_Blend(const BYTE* _pbInput, BYTE* _pbOutput, int nSrcWeight, int nDstWeight,
                  const PicProps* _pInputProps, const PicProps* _pOutputProps, const RECT* _prcInput,
                  const RECT* _prcOutput) noexcept;

/// Colour spaces of a measurement, a byte for each channel. A picture of RGB8, RGB565 or RGB555 counts as
/// black.
enum eImgKey : int
{
    eIK_RGB = 2,
    eIK_HLS = 3, ///< hue (255 is 360 degrees), lightness, saturation
    eIK_YUV = 4  ///< luma weights of ITU-R BT.601 in full range, with red and blue exchanged: deliberate
};

/// The key colour of a whole picture and the tolerance around it, out of its histograms.
/// \param _pInputProps nRowWidth has to be set: it is taken as it stands
/// \param nMode eIK_RGB or eIK_HLS, E_INVALIDARG for others
/// \param _pChromaKey two values: colour and tolerance, a channel a byte (R, G, B or H, L, S)
/// \param pTemp optional: |nHeight| x nRowWidth x 8 + 4176 bytes
/// \return S_OK; E_POINTER; E_INVALIDARG; E_OUTOFMEMORY; the failures of Img_Convert to RGB32
HRESULT Img_GetChromaKey(const BYTE* _pbInput, const PicProps* _pInputProps, int nMode, DWORD* _pChromaKey,
                         BYTE* pTemp) noexcept;

/// A key colour and tolerance that cover sample points and rectangles. S_FALSE when there are none,
/// E_UNEXPECTED when none of them holds a pixel.
/// \param _pInputProps nRowWidth has to be set: it is taken as it stands
/// \param _arrPoints, _arrRects clamped into the picture, where they stand; one of the two may be null. Right
/// and bottom are inclusive
/// \param nMode eIK_HLS, eIK_YUV, anything else is RGB
/// \param _pKey in and out, as in Img_GetChromaKey (Y, U, V for eIK_YUV); an earlier key with a tolerance
/// above 0 is covered too. Tolerances come out as 1 at least
/// \return as Img_GetChromaKey, beside those above
HRESULT Img_CalcKey(const BYTE* _pbInput, const PicProps* _pInputProps, int nPoints, POINT* _arrPoints,
                    int nRects, RECT* _arrRects, int nMode, DWORD* _pKey) noexcept;

/// Paints the distribution of a picture's colours: 768 x 768 pixels of 4 bytes, nine tiles of 256 x 256.
/// Rows of tiles from the first line on: YUV, HLS, RGB; each tile has a pair of channels as its axes, and
/// their third one on average, with the count in the alpha byte.
/// \param _pInputProps nRowWidth has to be set: it is taken as it stands
/// \param nMode 1, E_INVALIDARG for others
/// \param pbGraph optional: 2,359,296 bytes; a picture that cannot be measured is refused without it, too
/// \param _pGraphProps receives RGB32, width 256, height 768, row 768: the width of one tile, deliberately
/// \return as Img_GetChromaKey
HRESULT Img_GetImageGraph(const BYTE* _pbInput, const PicProps* _pInputProps, int nMode, BYTE* pbGraph,
                          PicProps* _pGraphProps) noexcept;
