#pragma once
/// A test chart of our own: shows at a glance whether a picture is upside down, mirrored, skewed, cut at an
/// edge, out of shape, or wrong in colour.

#include <cstdint>
#include <vector>

struct ChartPixel
{
    uint8_t blue;
    uint8_t green;
    uint8_t red;
    uint8_t alpha;
};

/// Pixels row by row from the top.
struct Chart
{
    int width = 0;
    int height = 0;
    std::vector<ChartPixel> pixels;

    ChartPixel& At(int x, int y)
    {
        return pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }
    const ChartPixel& At(int x, int y) const { return const_cast<Chart*>(this)->At(x, y); }
};

/// Draws the chart. Corners: red top left, green top right, blue bottom left, white bottom right; a white
/// line all around; colour bars; ramps of grey, red, green and blue; a circle, and a letter F in it.
/// @param width, height at least 1; small charts lose detail, not their corners
/// @param alphaRamp a last strip fades from opaque to transparent; else everything is opaque
Chart DrawChart(int width, int height, bool alphaRamp);
