#pragma once
/// One field of an interlaced picture, seen as a picture of its own: two rows of the frame make one row of
/// the view, the first field its left half and the second field its right half.

#include "Common/Common.h"

struct FieldView
{
    PicProps pic;
    RECT rc;
};

/// The steps are taken as they stand: a descriptor without nRowWidth becomes one that no function accepts,
/// and in a view of padded 24-bit rows the second field slides by the padding. Both are deliberate. \param rc
/// a normalised rectangle in rows of the frame \return false for a row that is too long to be doubled
bool OpenField(FieldView& view, const PicProps& pic, const RECT& rc, bool bSecond) noexcept;
