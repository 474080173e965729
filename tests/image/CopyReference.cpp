#include "CopyReference.h"

#include <algorithm>

namespace
{

struct Rect
{
    long long left, top, right, bottom;
};

/// Where the samples of a picture lie, written down apart from the library.
class Picture
{
public:
    explicit Picture(const PicProps& pic)
        : m_pic(pic), m_nRow(pic.nRowWidth ? pic.nRowWidth : pic.nWidth), m_nHeight(std::abs(pic.nHeight))
    {
    }

    bool IsYUV() const { return !IsRGBFormat(m_pic.fccType); }
    bool IsPlanar() const { return m_pic.fccType == FOURCC_I420 || m_pic.fccType == FOURCC_YV12; }
    bool IsBottomUp() const { return !IsYUV() && m_pic.nHeight > 0; }
    long long Width() const { return m_pic.nWidth; }
    long long Height() const { return m_nHeight; }
    long long PixelBytes() const
    {
        return IsPlanar() ? 1 : static_cast<long long>(GetBitCount(m_pic.fccType)) / 8;
    }

    /// First byte of pixel (x, y), counted from the rectangle's start.
    long long Address(const Rect& rc, long long x, long long y) const
    {
        const long long nPitch = IsPlanar() ? m_nRow : (m_nRow * PixelBytes() + 3) / 4 * 4;
        // The block's lowest memory row, and how far the row lies above it.
        const long long nFirst = IsBottomUp() ? m_nHeight - rc.bottom : rc.top;
        const long long nFurther = IsBottomUp() ? rc.bottom - rc.top - 1 - y : y;
        // The start of an RGB8 block counts rows without their padding.
        const long long nStartPitch = m_pic.fccType == FOURCC_RGB8 ? m_nRow : nPitch;
        return nStartPitch * nFirst + nPitch * nFurther + (rc.left + x) * PixelBytes();
    }

    /// Byte of a 4:2:0 chroma sample, counted from the rectangle's start; nPlane 0 is U.
    long long ChromaAddress(const Rect& rc, int nPlane, long long x, long long y) const
    {
        const bool bSecond = (nPlane == 1) == (m_pic.fccType == FOURCC_I420);
        const long long cbLuma = m_nRow * m_nHeight;
        return cbLuma + (bSecond ? cbLuma / 4 : 0) + rc.top * m_nRow / 4 + rc.left / 2 + y * (m_nRow / 2) + x;
    }

private:
    PicProps m_pic;
    long long m_nRow;
    long long m_nHeight;
};

Rect Start(const RECT* prc, const Picture& pic)
{
    Rect rc =
        prc ? Rect{prc->left, prc->top, prc->right, prc->bottom} : Rect{0, 0, pic.Width(), pic.Height()};
    if (pic.IsYUV())
    {
        rc.left = (rc.left - (rc.left < 0 ? 1 : 0)) / 2 * 2;
        rc.right = (rc.right + (rc.right > 0 ? 1 : 0)) / 2 * 2;
    }
    return rc;
}

bool IsTurned(const RECT* prc)
{
    return prc && (prc->left >= prc->right || prc->top >= prc->bottom);
}

bool IsOutside(const Rect& rc, const Picture& pic)
{
    return rc.right < 0 || rc.left >= pic.Width() || rc.bottom < 0 || rc.top >= pic.Height();
}

/// Cuts both to what lies inside both pictures.
void Clip(Rect& src, Rect& dst, const Picture& picSrc, const Picture& picDst)
{
    const long long nWidth = std::min(src.right - src.left, dst.right - dst.left);
    const long long nHeight = std::min(src.bottom - src.top, dst.bottom - dst.top);
    const long long nLeft = std::max({0ll, -src.left, -dst.left});
    const long long nTop = std::max({0ll, -src.top, -dst.top});
    const long long nRight = std::min({nWidth, picSrc.Width() - src.left, picDst.Width() - dst.left});
    const long long nBottom = std::min({nHeight, picSrc.Height() - src.top, picDst.Height() - dst.top});
    src = {src.left + nLeft, src.top + nTop, src.left + nRight, src.top + nBottom};
    dst = {dst.left + nLeft, dst.top + nTop, dst.left + nRight, dst.top + nBottom};
}

} // namespace

CopyResult ReferenceCopy(const std::vector<BYTE>& input, const std::vector<BYTE>& output,
                         const PicProps& picInput, const PicProps& picOutput, const RECT* prcInput,
                         const RECT* prcOutput)
{
    CopyResult result = {S_OK, output};
    const Picture picSrc(picInput);
    const Picture picDst(picOutput);
    if (IsTurned(prcInput) || IsTurned(prcOutput))
        return {E_INVALIDARG, output};
    Rect src = Start(prcInput, picSrc);
    Rect dst = Start(prcOutput, picDst);
    Clip(src, dst, picSrc, picDst);
    if (IsOutside(src, picSrc) || IsOutside(dst, picDst))
        return {S_FALSE, output};

    const long long nWidth = src.right - src.left;
    const long long nHeight = src.bottom - src.top;
    for (long long y = 0; y < nHeight; y++)
    {
        for (long long x = 0; x < nWidth; x++)
        {
            for (long long i = 0; i < picSrc.PixelBytes(); i++)
                result.bytes.at(static_cast<size_t>(picDst.Address(dst, x, y) + i)) =
                    input.at(static_cast<size_t>(picSrc.Address(src, x, y) + i));
        }
    }
    for (int nPlane = 0; nPlane < 2 && picSrc.IsPlanar(); nPlane++)
    {
        for (long long y = 0; y < nHeight / 2; y++)
        {
            for (long long x = 0; x < nWidth / 2; x++)
                result.bytes.at(static_cast<size_t>(picDst.ChromaAddress(dst, nPlane, x, y))) =
                    input.at(static_cast<size_t>(picSrc.ChromaAddress(src, nPlane, x, y)));
        }
    }
    return result;
}
