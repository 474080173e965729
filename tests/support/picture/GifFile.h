#pragma once
/// Makes GIF files (GIF89a), still and animated, not compressed.

#include <cstdint>
#include <vector>

struct GifFrame
{
    uint16_t nLeft = 0;
    uint16_t nTop = 0;
    uint16_t nWidth = 0;
    uint16_t nHeight = 0;
    uint16_t nDelay = 0;   ///< hundredths of a second
    int nTransparent = -1; ///< index that shows what lies below; -1: none
    uint8_t nDisposal = 0; ///< 1: stays, 2: gives way to the background
    std::vector<uint8_t> indices;
};

struct GifFile
{
    uint16_t nWidth = 0;
    uint16_t nHeight = 0;
    std::vector<uint8_t> palette; ///< R, G, B; up to 256 entries
    bool bAnimated = false;       ///< with the extensions that carry delays
    std::vector<GifFrame> frames;

    std::vector<uint8_t> Encode() const;
};
