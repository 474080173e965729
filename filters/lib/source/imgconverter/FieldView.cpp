#include "imgconverter/FieldView.h"

#include <cstdint>
#include <limits>

bool OpenField(FieldView& view, const PicProps& pic, const RECT& rc, bool bSecond) noexcept
{
    const int64_t nRow = PicRow(pic);
    const int64_t nWidth = pic.nWidth + nRow;
    const int64_t nRowWidth = pic.nRowWidth + nRow;
    constexpr int64_t nLimit = std::numeric_limits<LONG>::max() - 1; // leaves room to round up to even
    if (nRow <= 0 || nWidth <= 0 || nWidth > nLimit || nRowWidth > nLimit)
        return false;
    if (IsPicTooLarge(pic))
        return false;

    const auto nLeft = static_cast<LONG>(bSecond ? nRow : 0);
    view.pic = {pic.fccType, static_cast<LONG>(nWidth), pic.nHeight / 2, static_cast<LONG>(nRowWidth)};
    view.rc = {rc.left + nLeft, rc.top / 2, rc.right + nLeft, rc.bottom / 2};
    return true;
}
