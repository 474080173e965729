#include "Chart.h"
#include <algorithm>

namespace
{
constexpr ChartPixel g_white = {255, 255, 255, 255};
constexpr ChartPixel g_backdrop = {56, 48, 40, 255};
constexpr ChartPixel g_grid = {96, 88, 80, 255};

constexpr ChartPixel g_bars[] = {
    {255, 255, 255, 255}, {0, 255, 255, 255}, {255, 255, 0, 255}, {0, 255, 0, 255},
    {255, 0, 255, 255},   {0, 0, 255, 255},   {255, 0, 0, 255},   {0, 0, 0, 255},
};

// Which channels follow each ramp: blue, green, red.
constexpr bool g_ramps[][3] = {
    {true, true, true}, {false, false, true}, {false, true, false}, {true, false, false}};

// The letter F, five columns by seven rows, top row first.
constexpr const char* g_letter[] = {"#####", "#....", "#....", "####.", "#....", "#....", "#...."};

void Fill(Chart& chart, int left, int top, int right, int bottom, ChartPixel pixel)
{
    for (int y = std::max(top, 0); y < std::min(bottom, chart.height); ++y)
    {
        for (int x = std::max(left, 0); x < std::min(right, chart.width); ++x)
            chart.At(x, y) = pixel;
    }
}

void DrawGrid(Chart& chart)
{
    const int step = std::max(4, chart.height / 12);
    for (int y = 0; y < chart.height; ++y)
    {
        for (int x = 0; x < chart.width; ++x)
            chart.At(x, y) = x % step == 0 || y % step == 0 ? g_grid : g_backdrop;
    }
}

void DrawBars(Chart& chart, int top, int bottom)
{
    constexpr int count = static_cast<int>(std::size(g_bars));
    for (int i = 0; i < count; ++i)
        Fill(chart, chart.width * i / count, top, chart.width * (i + 1) / count, bottom, g_bars[i]);
}

void DrawRamps(Chart& chart, int top, int bottom)
{
    constexpr int count = static_cast<int>(std::size(g_ramps));
    const int last = std::max(chart.width - 1, 1);
    for (int i = 0; i < count; ++i)
    {
        const int rampTop = top + (bottom - top) * i / count;
        const int rampBottom = top + (bottom - top) * (i + 1) / count;
        for (int x = 0; x < chart.width; ++x)
        {
            const uint8_t level = static_cast<uint8_t>(x * 255 / last);
            const ChartPixel pixel = {g_ramps[i][0] ? level : uint8_t{0}, g_ramps[i][1] ? level : uint8_t{0},
                                      g_ramps[i][2] ? level : uint8_t{0}, 255};
            Fill(chart, x, rampTop, x + 1, rampBottom, pixel);
        }
    }
}

void DrawCircle(Chart& chart, int centreX, int centreY, int radius)
{
    const int width = std::max(1, radius / 24);
    for (int y = -radius; y <= radius; ++y)
    {
        for (int x = -radius; x <= radius; ++x)
        {
            const int square = x * x + y * y;
            if (square <= radius * radius && square > (radius - width) * (radius - width))
                Fill(chart, centreX + x, centreY + y, centreX + x + 1, centreY + y + 1, g_white);
        }
    }
}

void DrawLetter(Chart& chart, int centreX, int centreY, int height)
{
    const int cell = std::max(1, height / 7);
    for (int row = 0; row < 7; ++row)
    {
        for (int column = 0; column < 5; ++column)
        {
            const int left = centreX + (2 * column - 5) * cell / 2;
            const int top = centreY + (2 * row - 7) * cell / 2;
            if (g_letter[row][column] == '#')
                Fill(chart, left, top, left + cell, top + cell, g_white);
        }
    }
}

// From opaque on the left to transparent on the right, over a plain colour.
void DrawAlphaRamp(Chart& chart, int top, int bottom)
{
    const int last = std::max(chart.width - 1, 1);
    for (int x = 0; x < chart.width; ++x)
    {
        const uint8_t alpha = static_cast<uint8_t>(255 - x * 255 / last);
        Fill(chart, x, top, x + 1, bottom, {64, 160, 240, alpha});
    }
}

void DrawEdges(Chart& chart)
{
    Fill(chart, 0, 0, chart.width, 1, g_white);
    Fill(chart, 0, chart.height - 1, chart.width, chart.height, g_white);
    Fill(chart, 0, 0, 1, chart.height, g_white);
    Fill(chart, chart.width - 1, 0, chart.width, chart.height, g_white);

    const int side = std::max(1, std::min(chart.width, chart.height) / 12);
    const int right = chart.width - side;
    const int bottom = chart.height - side;
    Fill(chart, 0, 0, side, side, {0, 0, 255, 255});
    Fill(chart, right, 0, chart.width, side, {0, 255, 0, 255});
    Fill(chart, 0, bottom, side, chart.height, {255, 0, 0, 255});
    Fill(chart, right, bottom, chart.width, chart.height, g_white);
}
} // namespace

Chart DrawChart(int width, int height, bool alphaRamp)
{
    Chart chart;
    chart.width = width;
    chart.height = height;
    chart.pixels.resize(static_cast<size_t>(width) * static_cast<size_t>(height));

    const int unit = height / 12; // the chart is laid out in twelfths of its height
    DrawGrid(chart);
    DrawBars(chart, unit, 4 * unit);
    DrawRamps(chart, 8 * unit, 10 * unit);
    if (alphaRamp)
        DrawAlphaRamp(chart, 10 * unit, 11 * unit);
    const int radius = std::min(width, height) / 3;
    DrawCircle(chart, width / 2, height / 2, radius);
    DrawLetter(chart, width / 2, 6 * unit, 3 * unit);
    DrawEdges(chart);
    return chart;
}
