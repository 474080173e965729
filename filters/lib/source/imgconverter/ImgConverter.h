#pragma once
/// The public entry points of the image library: plain functions over raw frame buffers, no objects, no
/// state.
///
/// Every call takes the buffers, a PicProps descriptor for each and optional rectangles (null: the whole
/// picture; right and bottom exclusive; row 0 is the top of the picture as shown, whatever the memory order).
/// Descriptors and input buffers stay unchanged unless a function says otherwise. A picture of unusable
/// descriptor or a null pointer gives E_INVALIDARG; S_FALSE means that a rectangle lies outside its picture
/// and nothing was done.

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

/// Converts without scaling; ITU-R BT.601, studio range. Answers E_NOTIMPL.
/// \param bMirrorToBuffer true: the input stays unchanged; false: a bottom-up input may be flipped in place
/// \param pTemp optional: Img_GetBufferSize bytes
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
/// formats). Rectangles of equal size without sharpening are an Img_Copy; everything else answers E_NOTIMPL.
/// \param nMode eImgResize
/// \param pTemp optional: Img_GetBufferSize bytes
/// \param nSharp -50 (softest) to 50 (sharpest), 0 is none
HRESULT Img_ResizeFrame(const BYTE* _pbInput, BYTE* _pbOutput, const PicProps* _pInputProps,
                        const PicProps* _pOutputProps, const RECT* _prcInput, const RECT* _prcOutput,
                        int nMode, BYTE* pTemp, int nSharp) noexcept;

/// Fills a rectangle with a colour. Answers E_NOTIMPL.
/// \param dwColor COLORREF with alpha: 0xAABBGGRR
/// \param nOpacity 0 to 255
/// \param nField -1 the whole frame, 0 or 1 one field
HRESULT Img_Fill(BYTE* _pbOutput, const PicProps* _pOutputProps, DWORD dwColor, const RECT* _prcOutput,
                 int nOpacity, int nField) noexcept;
