#pragma once
/// The four test pictures as tables. Rows are counted from the top, columns from the left, both from 0; first
/// and last belong to it. The build draws BMP files from them, which become resources of the module. Compiled
/// for the machine that builds: no header of the platform here.

#include <array>
#include <cstddef>
#include <span>

struct Colour
{
    unsigned char nRed;
    unsigned char nGreen;
    unsigned char nBlue;
};

constexpr Colour Grey(int nLevel)
{
    const auto n = static_cast<unsigned char>(nLevel);
    return {n, n, n};
}

/// Columns of one colour.
struct Bar
{
    int nFirst;
    int nLast;
    Colour colour;
};

/// Rows that look the same.
struct Band
{
    int nFirst;
    int nLast;
    std::span<const Bar> bars;
};

/// A BMP file: BITMAPINFOHEADER, uncompressed, one plane, bottom row first. The fourth byte of 32 bits is
/// zero.
struct TestPicture
{
    const char* pszFile;
    int nWidth;
    int nHeight;
    int nBits;
    unsigned cbSizeImage;    ///< as the header has it; 0 is allowed there and deliberate here
    int nPelsPerMeter;       ///< in both directions
    unsigned cbBehindPixels; ///< zero bytes at the end of the file
    std::span<const Band> bands;
};

// --- barsSD: standard-definition bars with a reverse strip and a lower strip

inline constexpr Bar arrBarsSDTop[] = {
    {0, 101, {192, 192, 192}}, {102, 205, {192, 192, 0}}, {206, 309, {0, 192, 192}}, {310, 411, {0, 192, 0}},
    {412, 513, {192, 0, 192}}, {514, 615, {192, 0, 0}},   {616, 719, {0, 0, 192}},
};

inline constexpr Bar arrBarsSDReverse[] = {
    {0, 101, {0, 0, 192}},       {102, 205, {19, 19, 19}},  {206, 309, {192, 0, 192}},
    {310, 411, {19, 19, 19}},    {412, 513, {0, 192, 192}}, {514, 615, {19, 19, 19}},
    {616, 719, {192, 192, 192}},
};

inline constexpr Bar arrBarsSDLower[] = {
    {0, 127, {0, 33, 76}}, {128, 256, {255, 255, 255}}, {257, 385, {50, 0, 106}}, {386, 513, {19, 19, 19}},
    {514, 547, {9, 9, 9}}, {548, 581, {19, 19, 19}},    {582, 615, {29, 29, 29}}, {616, 719, {19, 19, 19}},
};

/// The last row alone: its dark zone is one column wider.
inline constexpr auto arrBarsSDLast = []
{
    auto bars = std::to_array(arrBarsSDLower);
    bars[4].nLast = 548;
    bars[5].nFirst = 549;
    return bars;
}();

inline constexpr Band arrBarsSD[] = {
    {0, 383, arrBarsSDTop},
    {384, 431, arrBarsSDReverse},
    {432, 574, arrBarsSDLower},
    {575, 575, arrBarsSDLast},
};

// --- barsHD: high-definition bars with side panels

inline constexpr Bar arrBarsHDTop[] = {
    {0, 99, {105, 105, 105}},  {100, 185, {193, 193, 193}}, {186, 273, {193, 193, 0}},
    {274, 359, {0, 193, 193}}, {360, 443, {0, 193, 0}},     {444, 529, {193, 0, 193}},
    {530, 615, {193, 0, 0}},   {616, 699, {0, 0, 193}},     {700, 799, {105, 105, 105}},
};

inline constexpr Bar arrBarsHDReference[] = {
    {0, 99, {0, 255, 255}},
    {100, 185, {5, 37, 80}},
    {186, 699, {193, 193, 193}},
    {700, 799, {0, 0, 255}},
};

/// Columns 186 to 699 rise through all levels from 5 to 254, each two columns wide and some three.
inline constexpr auto arrBarsHDRamp = []
{
    constexpr int nLowest = 5;
    constexpr int nHighest = 254;
    constexpr int arrWide[] = {10, 27, 45, 62, 80, 97, 115, 132, 150, 167, 185, 202, 220, 237};
    std::array<Bar, 3 + nHighest - nLowest + 1> bars{};
    size_t nBar = 0;
    bars[nBar++] = {0, 99, {255, 255, 0}};
    bars[nBar++] = {100, 185, {54, 5, 109}};
    int nColumn = 186;
    const int* pnWide = arrWide;
    for (int nLevel = nLowest; nLevel <= nHighest; ++nLevel)
    {
        int nColumns = 2;
        if (pnWide != std::end(arrWide) && *pnWide == nLevel)
        {
            nColumns = 3;
            ++pnWide;
        }
        bars[nBar++] = {nColumn, nColumn + nColumns - 1, Grey(nLevel)};
        nColumn += nColumns;
    }
    bars[nBar++] = {700, 799, {255, 0, 0}};
    return bars;
}();

inline constexpr Bar arrBarsHDLower[] = {
    {0, 99, Grey(43)},    {100, 229, Grey(5)}, {230, 399, Grey(255)}, {400, 479, Grey(5)},
    {480, 480, Grey(2)},  {481, 507, Grey(0)}, {508, 532, Grey(5)},   {533, 533, Grey(6)},
    {534, 561, Grey(10)}, {562, 587, Grey(5)}, {588, 615, Grey(13)},  {616, 699, Grey(5)},
    {700, 799, Grey(43)},
};

inline constexpr Band arrBarsHD[] = {
    {0, 262, arrBarsHDTop},
    {263, 299, arrBarsHDReference},
    {300, 337, arrBarsHDRamp},
    {338, 449, arrBarsHDLower},
};

// --- bars100 and bars75: eight bars over the whole height; white is full in both

inline constexpr Bar arrBars100Bars[] = {
    {0, 89, {255, 255, 255}},  {90, 179, {255, 255, 0}}, {180, 269, {0, 255, 255}}, {270, 359, {0, 255, 0}},
    {360, 449, {255, 0, 255}}, {450, 539, {255, 0, 0}},  {540, 629, {0, 0, 255}},   {630, 719, {0, 0, 0}},
};

inline constexpr Bar arrBars75Bars[] = {
    {0, 89, {255, 255, 255}},  {90, 179, {191, 191, 0}}, {180, 269, {0, 191, 191}}, {270, 359, {0, 191, 0}},
    {360, 449, {191, 0, 191}}, {450, 539, {191, 0, 0}},  {540, 629, {0, 0, 191}},   {630, 719, {0, 0, 0}},
};

inline constexpr Band arrBars100[] = {{0, 575, arrBars100Bars}};
inline constexpr Band arrBars75[] = {{0, 575, arrBars75Bars}};

// --- All of them

inline constexpr TestPicture arrTestPictures[] = {
    {"barsSD.bmp", 720, 576, 24, 1244160, 0, 0, arrBarsSD},
    {"barsHD.bmp", 800, 450, 24, 1080000, 3780, 0, arrBarsHD},
    {"bars100.bmp", 720, 576, 32, 0, 2834, 2, arrBars100},
    {"bars75.bmp", 720, 576, 32, 0, 2834, 2, arrBars75},
};

/// Whether the stretches follow each other without a gap from 0 to nEnd, which is no longer part of them.
template <class TStretch>
constexpr bool Tiles(std::span<const TStretch> stretches, int nEnd)
{
    int nNext = 0;
    for (const TStretch& stretch : stretches)
    {
        if (stretch.nFirst != nNext || stretch.nLast < stretch.nFirst)
            return false;
        nNext = stretch.nLast + 1;
    }
    return nNext == nEnd;
}

constexpr bool IsWhole(const TestPicture& picture)
{
    if (!Tiles(picture.bands, picture.nHeight))
        return false;
    for (const Band& band : picture.bands)
    {
        if (!Tiles(band.bars, picture.nWidth))
            return false;
    }
    return true;
}

static_assert(IsWhole(arrTestPictures[0]) && IsWhole(arrTestPictures[1]) && IsWhole(arrTestPictures[2]) &&
              IsWhole(arrTestPictures[3]));
