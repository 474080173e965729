#pragma once
/// Makes TIFF files (revision 6.0): RGB with or without alpha, 8 bits a sample, one page or several, not
/// compressed.

#include <cstdint>
#include <vector>

struct TiffPage
{
    uint32_t nWidth = 0;
    uint32_t nHeight = 0;
    bool bAlpha = false;          ///< a fourth sample, straight alpha
    std::vector<uint8_t> samples; ///< R, G, B and perhaps A, from the top left
};

std::vector<uint8_t> EncodeTiff(const std::vector<TiffPage>& pages);
