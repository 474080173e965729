#include "MixReference.h"

#include <algorithm>
#include <cmath>

namespace
{

bool IsPlanar(DWORD fccType)
{
    return fccType == FOURCC_I420 || fccType == FOURCC_YV12;
}

bool IsMirror(const PicProps& pic)
{
    return IsRGBFormat(pic.fccType) && pic.nHeight > 0;
}

LONG Height(const PicProps& pic)
{
    return static_cast<LONG>(AbsHeight(pic.nHeight));
}

/// Where byte nByte of the row nRow of a rectangle stands, rows counted as shown.
size_t Place(const PicProps& pic, const RECT& rc, int nPlane, LONG nRow, LONG nByte)
{
    const LONG nRowWidth = PicRow(pic);
    LONG nAt = 0;
    if (!IsPlanar(pic.fccType))
    {
        const auto cbPixel = static_cast<LONG>(GetBitCount(pic.fccType) / 8);
        const LONG y = IsMirror(pic) ? Height(pic) - 1 - (rc.top + nRow) : rc.top + nRow;
        nAt = y * static_cast<LONG>(GetPicRowBytes(&pic)) + rc.left * cbPixel + nByte;
    }
    else if (nPlane == 0)
        nAt = (rc.top + nRow) * nRowWidth + rc.left + nByte;
    else
    {
        const LONG cbLuma = nRowWidth * Height(pic);
        const bool bSecond = (nPlane == 1) == (pic.fccType == FOURCC_YV12);
        nAt = cbLuma + (bSecond ? cbLuma / 4 : 0) + rc.top * nRowWidth / 4 + rc.left / 2 +
              nRow * (nRowWidth / 2) + nByte;
    }
    return static_cast<size_t>(nAt);
}

/// One byte of a mix.
struct MixPlace
{
    int nPlane;
    LONG nRow;  ///< of the plane's block, as shown
    LONG nByte; ///< of the row
    LONG cbRow;
    RECT srcRect;
    size_t nInput;
    size_t nOutput;
};

template <class TFunction>
HRESULT ForEachByte(const MixCall& call, const TFunction& fnByte)
{
    RECT srcRect = {};
    RECT dstRect = {};
    const HRESULT hr = NormalizeRects(&call.picInput, &call.picOutput, &srcRect, &dstRect, false,
                                      call.prcInput, call.prcOutput);
    const DWORD fccType = call.picInput.fccType;
    if (hr != S_OK || BytesPerSample(fccType) == 0)
        return hr;
    for (int nPlane = 0; nPlane < (IsPlanar(fccType) ? 3 : 1); nPlane++)
    {
        const LONG nHalf = nPlane == 0 ? 1 : 2;
        const LONG cbRow =
            (srcRect.right - srcRect.left) / nHalf * static_cast<LONG>(BytesPerSample(fccType));
        for (LONG nRow = 0; nRow < (srcRect.bottom - srcRect.top) / nHalf; nRow++)
        {
            for (LONG nByte = 0; nByte < cbRow; nByte++)
                fnByte(MixPlace{nPlane, nRow, nByte, cbRow, srcRect,
                                Place(call.picInput, srcRect, nPlane, nRow, nByte),
                                Place(call.picOutput, dstRect, nPlane, nRow, nByte)});
        }
    }
    return S_OK;
}

int Clamp(int n)
{
    return std::clamp(n, 0, 255);
}

/// The mix of a row that has an alpha a byte, in groups of 16 and a rest.
int MixByte(int s, int d, int a, LONG nByte, LONG cbRow)
{
    if (nByte < cbRow / 16 * 16)
        return (s * a + d * (255 - a) + 255) >> 8;
    return std::min(((s * a + 255) >> 8) + (((255 - a) * d + 255) >> 8), 255);
}

/// A byte of a blend around its centre.
int BlendByte(int s, int nA, int d, int nB, bool bChroma)
{
    const int c = bChroma ? 128 : 0;
    return Clamp((((s - c) * nA + (d - c) * nB) >> 8) + c);
}

/// A byte of a blend without a centre, in a whole group of 16: 16 bits hold each product and the sum.
int BlendInGroup(int s, int nA, int d, int nB)
{
    const double fSum = std::min(double{65535}, static_cast<double>(s) * nA) +
                        std::min(double{65535}, static_cast<double>(d) * nB);
    return Clamp(static_cast<int>(std::floor(std::min(double{65535}, fSum) / 256)));
}

int D(int v)
{
    return (v + 1 + (v >> 8)) >> 8;
}

/// The alpha of a pixel, by the place of its row as shown.
int AlphaAt(const MixCall& call, const std::vector<BYTE>& alpha, const RECT& rc, LONG x, LONG nRow,
            bool bMirrorAlpha)
{
    const PicProps& pic = call.picInput;
    const LONG nFirst = bMirrorAlpha ? Height(pic) - rc.bottom : rc.top;
    const LONG nFrom = bMirrorAlpha ? rc.bottom - rc.top - 1 - nRow : nRow;
    return alpha.at(static_cast<size_t>(nFirst * PicRow(pic) + rc.left + nFrom * pic.nRowWidth + x));
}

int MixPixelByte(DWORD fccType, const MixPlace& place, int s, int d, int a, int nOpacity)
{
    const auto pre = [&](int c, int o) { return (((s - c) * o + 255 + (d - c) * (255 - a)) >> 8) + c; };
    const bool bPre = nOpacity >= 0;
    if (IsPlanar(fccType) && place.nPlane == 0)
        return bPre ? Clamp(pre(16, nOpacity)) : MixByte(s, d, a, place.nByte, place.cbRow);
    if (IsPlanar(fccType))
        return (bPre ? pre(128, nOpacity) : (s * a + 255 + d * (255 - a)) >> 8) & 0xFF;
    if (bPre && BytesPerSample(fccType) == 2)
    {
        const bool bLumaFirst = fccType == FOURCC_YUY2 || fccType == FOURCC_YVYU;
        const bool bLuma = (place.nByte % 2 == 0) == bLumaFirst;
        return Clamp(pre(bLuma ? 16 : 128, nOpacity / 2 * 2));
    }
    return Clamp(bPre ? pre(0, nOpacity) : (s * a + 255 + d * (255 - a)) >> 8);
}

void ComposePixel(BYTE* pDst, const BYTE* pSrc, bool bStraight)
{
    const int sa = pSrc[3];
    const int da = pDst[3];
    const int a = sa + D(da * (255 - sa));
    for (int i = 0; i < 3; i++)
    {
        const int c = bStraight ? D(pSrc[i] * sa) + D(D(pDst[i] * da) * (255 - sa))
                                : std::min(255, pSrc[i] + D(pDst[i] * (255 - sa)));
        pDst[i] = static_cast<BYTE>(a == 0 ? c : std::min(std::floor(c * 256.0 / a + 0.5), 255.0));
    }
    pDst[3] = static_cast<BYTE>(a);
}

} // namespace

size_t BytesPerSample(DWORD fccType)
{
    if (IsPlanar(fccType))
        return 1;
    if (!IsRGBFormat(fccType))
        return 2;
    return fccType == FOURCC_RGB24 ? 3 : fccType == FOURCC_RGB32 || fccType == FOURCC_ARGB32 ? 4 : 0;
}

MixResult ReferenceMixAlpha(const MixCall& call, const std::vector<BYTE>& input,
                            const std::vector<BYTE>& alpha, const std::vector<BYTE>& output)
{
    MixResult result = {S_OK, input, output};
    result.hr =
        ForEachByte(call,
                    [&](const MixPlace& place)
                    {
                        BYTE& b = result.output.at(place.nOutput);
                        b = static_cast<BYTE>(MixByte(input.at(place.nInput), b, alpha.at(place.nInput),
                                                      place.nByte, place.cbRow));
                    });
    return result;
}

MixResult ReferenceMixPicture(const MixCall& call, const std::vector<BYTE>& input,
                              const std::vector<BYTE>& alpha, const std::vector<BYTE>& output, int nOpacity,
                              bool bMirrorAlpha)
{
    MixResult result = {S_OK, input, output};
    const DWORD fccType = call.picInput.fccType;
    nOpacity = std::min(nOpacity, 255);
    if (fccType == FOURCC_ARGB32)
    {
        result.hr =
            ForEachByte(call,
                        [&](const MixPlace& place)
                        {
                            BYTE& b = result.input.at(place.nInput);
                            if (nOpacity >= 0 && nOpacity < 255)
                                b = static_cast<BYTE>(D(b * nOpacity));
                            if (place.nByte % 4 == 3)
                                ComposePixel(&result.output.at(place.nOutput - 3), &b - 3, nOpacity < 0);
                        });
        return result;
    }
    result.hr = ForEachByte(
        call,
        [&](const MixPlace& place)
        {
            const auto at = [&](LONG x, LONG nRow)
            { return AlphaAt(call, alpha, place.srcRect, x, nRow, bMirrorAlpha); };
            const LONG x = place.nByte / static_cast<LONG>(BytesPerSample(fccType));
            const int a = place.nPlane == 0
                              ? at(x, place.nRow)
                              : (at(2 * x, 2 * place.nRow) + at(2 * x + 1, 2 * place.nRow)) >> 1;
            BYTE& b = result.output.at(place.nOutput);
            b = static_cast<BYTE>(MixPixelByte(fccType, place, input.at(place.nInput), b, a, nOpacity));
        });
    return result;
}

MixResult ReferenceBlend(const MixCall& call, const std::vector<BYTE>& input, const std::vector<BYTE>& output,
                         int nSrcWeight, int nDstWeight)
{
    MixResult result = {S_OK, input, output};
    const DWORD fccType = call.picInput.fccType;
    const int nA = std::clamp(nSrcWeight, -32768, 32767);
    const int nB = std::clamp(nDstWeight, -32768, 32767);
    result.hr = ForEachByte(call,
                            [&](const MixPlace& place)
                            {
                                bool bChroma = place.nPlane != 0;
                                if (BytesPerSample(fccType) == 2)
                                {
                                    const bool bLumaFirst = fccType == FOURCC_YUY2 || fccType == FOURCC_YVYU;
                                    bChroma = (place.nByte % 2 != 0) == bLumaFirst;
                                }
                                BYTE& b = result.output.at(place.nOutput);
                                const int s = input.at(place.nInput);
                                const bool bPlain = !bChroma && BytesPerSample(fccType) != 2;
                                const bool bInGroup = place.nByte < place.cbRow / 16 * 16;
                                b = static_cast<BYTE>(bPlain && bInGroup ? BlendInGroup(s, nA, b, nB)
                                                                         : BlendByte(s, nA, b, nB, bChroma));
                            });
    return result;
}
