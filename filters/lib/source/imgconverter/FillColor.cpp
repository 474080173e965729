#include "imgconverter/ImgConverter.h"

#include "dstl/dshowx/DSTrace.h"

#include <algorithm>
#include <iterator>

namespace
{

/// Names of the bytes that a colour is put together from.
enum eByte : BYTE
{
    eB_R,
    eB_G,
    eB_B,
    eB_A,
    eB_Y,
    eB_U,
    eB_V,
    eB_Low,  ///< of a 16-bit word
    eB_High, ///< of a 16-bit word
    eB_None
};

struct ColorLayout
{
    DWORD fccType;
    BYTE nValid;
    eByte arrBytes[4];
};

constexpr ColorLayout arrLayouts[] = {
    {FOURCC_RGB565, 2, {eB_Low, eB_High, eB_None, eB_None}},
    {FOURCC_RGB555, 2, {eB_Low, eB_High, eB_None, eB_None}},
    {FOURCC_RGB24, 3, {eB_B, eB_G, eB_R, eB_None}},
    {FOURCC_RGB32, 4, {eB_B, eB_G, eB_R, eB_A}},
    {FOURCC_ARGB32, 4, {eB_B, eB_G, eB_R, eB_A}},
    {FOURCC_I420, 3, {eB_Y, eB_U, eB_V, eB_None}},
    {FOURCC_YV12, 3, {eB_Y, eB_U, eB_V, eB_None}},
    {FOURCC_YUY2, 4, {eB_Y, eB_U, eB_Y, eB_V}},
    {FOURCC_YVYU, 4, {eB_Y, eB_V, eB_Y, eB_U}},
    {FOURCC_UYVY, 4, {eB_U, eB_Y, eB_V, eB_Y}},
    {FOURCC_HDYC, 4, {eB_U, eB_Y, eB_V, eB_Y}},
};

/// The channels of a COLORREF with alpha.
struct Channels
{
    explicit Channels(DWORD dwColor) noexcept
        : r(dwColor & 0xFF), g(dwColor >> 8 & 0xFF), b(dwColor >> 16 & 0xFF), a(dwColor >> 24)
    {
    }
    int r, g, b, a;
};

DWORD ToByte(int n) noexcept
{
    return static_cast<DWORD>(std::clamp(n, 0, 255));
}

DWORD ToByte(double dbl) noexcept
{
    return ToByte(static_cast<int>(dbl < 0 ? dbl - 0.5 : dbl + 0.5));
}

template <class T>
DWORD PackYUV(T y, T u, T v) noexcept
{
    return ToByte(y) | ToByte(u) << 8 | ToByte(v) << 16;
}

int Word16(DWORD fccType, const Channels& color) noexcept
{
    if (fccType == FOURCC_RGB565)
        return (color.r & 248) * 256 | (color.g & 252) * 8 | color.b >> 3;
    return (color.r & 248) * 128 | (color.g & 248) * 4 | color.b >> 3;
}

} // namespace

DWORD RGBToYUV(DWORD dwColor, bool bExact) noexcept
{
    const Channels color(dwColor);
    const int r = color.r;
    const int g = color.g;
    const int b = color.b;
    if (bExact)
        return PackYUV(0.257 * r + 0.504 * g + 0.098 * b + 16, -0.148 * r - 0.291 * g + 0.439 * b + 128,
                       0.439 * r - 0.368 * g - 0.071 * b + 128);
    return PackYUV(((8421 * r + 16515 * g + 3211 * b) >> 15) + 16,
                   ((-4850 * r - 9535 * g + 14385 * b) >> 15) + 128,
                   ((14385 * r - 12059 * g - 2327 * b) >> 15) + 128);
}

bool GetFillColor(DWORD fccType, DWORD dwColor, BYTE _pbResColor[4], DWORD* pdwByteValid) noexcept
{
    DSASSERT(_pbResColor);
    if (!_pbResColor)
        return false;
    const auto* const pEnd = std::end(arrLayouts);
    const auto* const pLayout = std::find_if(
        arrLayouts, pEnd, [fccType](const ColorLayout& layout) { return layout.fccType == fccType; });
    if (pLayout == pEnd)
        return false;

    const Channels color(dwColor);
    const DWORD dwYUV = RGBToYUV(dwColor, true);
    const int nWord = Word16(fccType, color);
    const int arrValues[] = {color.r,
                             color.g,
                             color.b,
                             color.a,
                             static_cast<int>(dwYUV & 0xFF),
                             static_cast<int>(dwYUV >> 8 & 0xFF),
                             static_cast<int>(dwYUV >> 16),
                             nWord & 0xFF,
                             nWord >> 8,
                             0};
    for (int i = 0; i < 4; i++)
        _pbResColor[i] = static_cast<BYTE>(arrValues[pLayout->arrBytes[i]]);
    if (pdwByteValid)
        *pdwByteValid = pLayout->nValid;
    return true;
}
