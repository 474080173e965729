#pragma once
/// Where a picture goes in a frame of another shape. Pure arithmetic.

#include "dstl/WinAPI/Platform.h"

#include "Common/Common.h"

/// What CalcAspectRects keeps.
enum eAspectRects : int
{
    eAR_Stretch = 0,   ///< nothing: the rectangles stay
    eAR_LetterBox = 1, ///< the whole picture, with bands in the frame
    eAR_Crop = 2       ///< the whole frame, with the picture cut
};

/// Cuts the picture, or leaves bands in the frame, so that the picture keeps its shape. Centred both ways.
/// \param pIn the picture \param pOut the frame
/// \param nMode below 1: only empty rectangles are set; 1: letter-box; any other: crop
/// \param prcIn in and out: the part of the picture to use \param prcOut in and out: where it goes.
///        An empty one of either is first set to the whole picture
/// \param dblIn, dblOut width of a pixel by its height in picture and frame; 0 or less counts as 1
void CalcAspectRects(const PicProps* pIn, const PicProps* pOut, int nMode, RECT* prcIn, RECT* prcOut,
                     double dblIn, double dblOut) noexcept;

/// Pixel aspect of a frame of the given size that shows a picture of nAspectX to nAspectY; 1 unless both are
/// greater than 0. 720 by 576 for 16 to 9 is 0.703125, the frame's shape by the picture's.
double PixelAspect(LONG nWidth, LONG nHeight, SHORT nAspectX, SHORT nAspectY) noexcept;

/// The margins (left, top, right, bottom) of a picture centred in a frame: right equals left, bottom top.
RECT MarginsOfRect(const RECT& rcConvertOut) noexcept;

/// The rectangles that margins cover in a frame of W by H: left, right, top, bottom, those above 0 only. The
/// two at the sides end where those above and below begin.
/// \return number of rectangles written
int MarginRects(LONG nWidth, LONG nHeight, const RECT& rcMargins, RECT arrRects[4]) noexcept;
