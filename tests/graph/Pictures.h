#pragma once
/// TGA files made by the tests, and the pixels that have to come out of the pin for them.

#include "Chart.h"
#include <cstdint>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

/// A picture file and what the filter has to make of it.
struct TgaCase
{
    std::string name;
    Bytes file;
    int width = 0;
    int height = 0;
    bool usesAlpha = false; ///< the frames are ARGB32, else RGB32
    Bytes frame;            ///< four bytes a pixel, B, G, R, A, bottom row first
};

/// Every kind of TGA file that the filter shows.
std::vector<TgaCase> TgaCases();

/// A small opaque 24-bit file whose pixels depend on `seed`, and its frame.
TgaCase PlainTga(const std::string& name, int width, int height, unsigned seed);
/// The same with 32 bits and all degrees of transparency.
TgaCase TransparentTga(const std::string& name, int width, int height, unsigned seed);
