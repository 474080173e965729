#pragma once
/// Makes PNG files (ISO/IEC 15948) of every colour type and depth, not compressed.

#include <cstdint>
#include <vector>

/// Colour types as the file states them.
enum ePngColour : uint8_t
{
    ePNG_Grey = 0,
    ePNG_Rgb = 2,
    ePNG_Palette = 3,
    ePNG_GreyAlpha = 4,
    ePNG_Rgba = 6
};

struct PngFile
{
    uint32_t nWidth = 0;
    uint32_t nHeight = 0;
    uint8_t nDepth = 8; ///< bits a sample: 1, 2, 4, 8, 16
    ePngColour colour = ePNG_Rgba;
    bool bInterlaced = false;      ///< Adam7
    std::vector<uint16_t> samples; ///< from the top left, channel by channel
    std::vector<uint8_t> palette;  ///< R, G, B
    /// What the chunk tRNS holds: alpha of the palette's first entries, or a colour of 16 bits a channel.
    std::vector<uint8_t> transparency;

    int Channels() const;
    std::vector<uint8_t> Encode() const;
};
