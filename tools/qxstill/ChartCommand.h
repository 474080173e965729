#pragma once
/// "qxstill chart": draws the test chart into a file.

#include <string>

struct ChartOptions
{
    std::string out;  ///< the TGA file to write, UTF-8
    int width = 640;  ///< pixels, 1 to 65535
    int height = 360; ///< pixels, 1 to 65535
    int bits = 24;    ///< a pixel: 24, or 32 with a ramp of transparency
    bool runLength = false;
    bool topOrigin = false;
};

/// Throws Failure.
void RunChart(const ChartOptions& options);
