#include "Common/Common.h"
#include "dstl/dshowx/DSTrace.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace
{

/// A RECT whose steps cannot overflow.
struct WideRect
{
    int64_t left, top, right, bottom;

    int64_t Width() const noexcept { return right - left; }
    int64_t Height() const noexcept { return bottom - top; }
};

/// A size that may be huge (the absolute of the lowest height).
struct WideSize
{
    int64_t nWidth, nHeight;
};

WideSize SizeOf(const PicProps& pic) noexcept
{
    return {pic.nWidth, AbsHeight(pic.nHeight)};
}

/// The rectangle given, or the whole picture. False for one that is empty or turned.
bool StartRect(WideRect& rc, const RECT* prc, const WideSize& size) noexcept
{
    if (!prc)
    {
        rc = {0, 0, size.nWidth, size.nHeight};
        return true;
    }
    rc = {prc->left, prc->top, prc->right, prc->bottom};
    return prc->left < prc->right && prc->top < prc->bottom;
}

/// Left down and right up to an even column. Rows are never touched.
void RoundColumns(WideRect& rc) noexcept
{
    rc.left &= ~int64_t{1};
    rc.right = (rc.right + 1) & ~int64_t{1};
}

/// Ratio of two lengths; 1 where a length is 0, which a descriptor without pixels gives.
double Ratio(int64_t nTo, int64_t nFrom) noexcept
{
    return nTo == 0 || nFrom == 0 ? 1.0 : static_cast<double>(nTo) / static_cast<double>(nFrom);
}

/// Half away from zero. Limited to what no coordinate reaches, so that sums of a few stay exact.
int64_t Round(double dbl) noexcept
{
    constexpr double dblLimit = 1ll << 40;
    return static_cast<int64_t>(std::clamp(dbl < 0 ? dbl - 0.5 : dbl + 0.5, -dblLimit, dblLimit));
}

/// Moves a negative start to 0. \return how far below 0 it was, as a negative number or 0
double TakeStart(int64_t& nStart) noexcept
{
    const int64_t nBelow = std::min<int64_t>(nStart, 0);
    nStart -= nBelow;
    return static_cast<double>(nBelow);
}

/// Cuts an end to the picture. \return how far beyond it was, or 0
double TakeEnd(int64_t& nEnd, int64_t nLimit) noexcept
{
    const int64_t nBeyond = std::max<int64_t>(nEnd - nLimit, 0);
    nEnd -= nBeyond;
    return static_cast<double>(nBeyond);
}

/// Cuts both rectangles to their pictures: what one loses, the other loses too. The starts take the ratio of the
/// other direction, the ends their own. The crossing is deliberate.
/// \param rx, ry length in dst of a length in src
void Clip(WideRect& src, const WideSize& sizeInput, WideRect& dst, const WideSize& sizeOutput, double rx,
          double ry) noexcept
{
    dst.top -= Round(TakeStart(src.top) * rx);
    src.top -= Round(TakeStart(dst.top) / rx);
    dst.left -= Round(TakeStart(src.left) * ry);
    src.left -= Round(TakeStart(dst.left) / ry);
    dst.right -= Round(TakeEnd(src.right, sizeInput.nWidth) * rx);
    src.right -= Round(TakeEnd(dst.right, sizeOutput.nWidth) / rx);
    dst.bottom -= Round(TakeEnd(src.bottom, sizeInput.nHeight) * ry);
    src.bottom -= Round(TakeEnd(dst.bottom, sizeOutput.nHeight) / ry);
}

/// Compares ends with 0 and not with the starts, so that an empty rectangle inside the picture passes:
/// deliberate, whoever walks its rows finds none.
bool IsOutside(const WideRect& rc, const WideSize& size) noexcept
{
    return rc.right < 0 || rc.left >= size.nWidth || rc.bottom < 0 || rc.top >= size.nHeight;
}

LONG Narrow(int64_t n) noexcept
{
    return static_cast<LONG>(
        std::clamp<int64_t>(n, std::numeric_limits<LONG>::min(), std::numeric_limits<LONG>::max()));
}

RECT Narrow(const WideRect& rc) noexcept
{
    return {Narrow(rc.left), Narrow(rc.top), Narrow(rc.right), Narrow(rc.bottom)};
}

} // namespace

HRESULT NormalizeRects(const PicProps* _pInputProps, const PicProps* _pOutputProps, RECT* psrcRect,
                       RECT* pdstRect, bool bScale, const RECT* _prcInput, const RECT* _prcOutput) noexcept
{
    DSASSERT(_pInputProps && _pOutputProps);
    DSASSERT(psrcRect && pdstRect);
    if (!_pInputProps || !_pOutputProps || !psrcRect || !pdstRect)
        return E_INVALIDARG;
    // These three refuse nothing: the clipping below copes with whatever stands there.
    DSASSERT(_pInputProps->nWidth > 0);
    DSASSERT(_pInputProps->nRowWidth == 0 || _pInputProps->nRowWidth >= _pInputProps->nWidth);
    DSASSERT(_pInputProps->nHeight != 0);

    const WideSize sizeInput = SizeOf(*_pInputProps);
    const WideSize sizeOutput = SizeOf(*_pOutputProps);
    WideRect src;
    WideRect dst;
    if (!StartRect(src, _prcInput, sizeInput) || !StartRect(dst, _prcOutput, sizeOutput))
        return E_INVALIDARG;

    const bool bEvenColumns = !IsRGBFormat(_pInputProps->fccType) || !IsRGBFormat(_pOutputProps->fccType);
    if (bEvenColumns)
    {
        RoundColumns(src);
        RoundColumns(dst);
    }

    double rx = 1.0;
    double ry = 1.0;
    if (bScale)
    {
        rx = Ratio(dst.Width(), src.Width());
        ry = Ratio(dst.Height(), src.Height());
    }
    else
    {
        const int64_t nWidth = std::min(src.Width(), dst.Width());
        const int64_t nHeight = std::min(src.Height(), dst.Height());
        src.right = src.left + nWidth;
        src.bottom = src.top + nHeight;
        dst.right = dst.left + nWidth;
        dst.bottom = dst.top + nHeight;
    }

    Clip(src, sizeInput, dst, sizeOutput, rx, ry);
    if (bEvenColumns)
    {
        RoundColumns(src);
        RoundColumns(dst);
    }
    *psrcRect = Narrow(src);
    *pdstRect = Narrow(dst);
    return IsOutside(src, sizeInput) || IsOutside(dst, sizeOutput) ? S_FALSE : S_OK;
}
