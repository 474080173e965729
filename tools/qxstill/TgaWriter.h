#pragma once
/// Truevision TGA files, written (TGA file format, version 2.0, without the footer).

#include "Chart.h"
#include <cstdint>
#include <vector>

struct TgaOptions
{
    bool alpha = false;     ///< 32 bits a pixel with eight of them alpha, else 24
    bool runLength = false; ///< image type 10 instead of 2; packets end with the row
    bool topOrigin = false; ///< rows stored from the top instead of from the bottom
};

/// The whole file. Width and height have to be 1 to 65535.
std::vector<uint8_t> EncodeTga(const Chart& chart, const TgaOptions& options);
