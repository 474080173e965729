#include "AspectRects.h"

#include <algorithm>
#include <climits>

namespace
{

/// Rounds half away from zero. What no LONG can hold (an empty side divides by zero) becomes the nearest
/// limit, and what is no number 0, so that the rectangles stay defined.
LONG RoundToLong(double dbl) noexcept
{
    if (!(dbl == dbl))
        return 0;
    dbl += dbl < 0 ? -0.5 : 0.5;
    constexpr double dblLimit = INT_MAX;
    return static_cast<LONG>(std::clamp(dbl, -dblLimit, dblLimit));
}

/// Adds without overflow; only margins of degenerate pictures come near the limits.
LONG Add(LONG n, long long nDelta) noexcept
{
    return static_cast<LONG>(std::clamp<long long>(n + nDelta, INT_MIN, INT_MAX));
}

void Shrink(RECT& rc, LONG nX, LONG nY) noexcept
{
    rc.left = Add(rc.left, nX);
    rc.right = Add(rc.right, -static_cast<long long>(nX));
    rc.top = Add(rc.top, nY);
    rc.bottom = Add(rc.bottom, -static_cast<long long>(nY));
}

double Width(const RECT& rc) noexcept
{
    return static_cast<double>(rc.right) - rc.left;
}

double Height(const RECT& rc) noexcept
{
    return static_cast<double>(rc.bottom) - rc.top;
}

double PositiveOrOne(double dbl) noexcept
{
    return dbl > 0 ? dbl : 1.0;
}

} // namespace

void CalcAspectRects(const PicProps* pIn, const PicProps* /*pOut*/, int nMode, RECT* prcIn, RECT* prcOut,
                     double dblIn, double dblOut) noexcept
{
    // Both defaults come from the picture, also that of the frame's rectangle: this is deliberate.
    const RECT rcWhole = {0, 0, pIn->nWidth,
                          static_cast<LONG>(std::min<DWORD>(AbsHeight(pIn->nHeight), INT_MAX))};
    RECT& rcIn = *prcIn;
    RECT& rcOut = *prcOut;
    if (IsRectEmpty(&rcIn))
        rcIn = rcWhole;
    if (IsRectEmpty(&rcOut))
        rcOut = rcWhole;
    if (nMode < eAR_LetterBox)
        return;

    const double kIn = PositiveOrOne(dblIn);
    const double kOut = PositiveOrOne(dblOut);
    const double srcW = Width(rcIn) * kIn;
    const double srcH = Height(rcIn);
    const double dstW = Width(rcOut) * kOut;
    const double dstH = Height(rcOut);
    const double scaleX = dstW / srcW;
    const double scaleY = dstH / srcH;
    const double scale = nMode == eAR_LetterBox ? std::min(scaleX, scaleY) : std::max(scaleX, scaleY);

    double marginX = (dstW - srcW * scale) / 2;
    double marginY = (dstH - srcH * scale) / 2;
    double cropX = 0;
    double cropY = 0;
    if (marginX < 0)
    {
        cropX = -marginX / scale;
        marginX = 0;
    }
    if (marginY < 0)
    {
        cropY = -marginY / scale;
        marginY = 0;
    }
    cropX /= kIn;
    marginX /= kOut;

    Shrink(rcIn, RoundToLong(cropX), RoundToLong(cropY));
    Shrink(rcOut, RoundToLong(marginX), RoundToLong(marginY));
}

double PixelAspect(LONG nWidth, LONG nHeight, SHORT nAspectX, SHORT nAspectY) noexcept
{
    if (nAspectX <= 0 || nAspectY <= 0)
        return 1.0;
    return (static_cast<double>(nWidth) / nHeight) / (static_cast<double>(nAspectX) / nAspectY);
}

RECT MarginsOfRect(const RECT& rcConvertOut) noexcept
{
    return {rcConvertOut.left, rcConvertOut.top, rcConvertOut.left, rcConvertOut.top};
}

int MarginRects(LONG nWidth, LONG nHeight, const RECT& rcMargins, RECT arrRects[4]) noexcept
{
    const LONG nMiddleEnd = Add(nHeight, -static_cast<long long>(rcMargins.bottom));
    int nRects = 0;
    if (rcMargins.left > 0)
        arrRects[nRects++] = {0, rcMargins.top, rcMargins.left, nMiddleEnd};
    if (rcMargins.right > 0)
        arrRects[nRects++] = {nWidth - rcMargins.right, rcMargins.top, nWidth, nMiddleEnd};
    if (rcMargins.top > 0)
        arrRects[nRects++] = {0, 0, nWidth, rcMargins.top};
    if (rcMargins.bottom > 0)
        arrRects[nRects++] = {0, nMiddleEnd, nWidth, nHeight};
    return nRects;
}
