#pragma once
/// The conversions once more, sample by sample and stage by stage, in the order and with the buffers that
/// their description names, for comparison.

#include "Common/Common.h"

#include <array>
#include <string>
#include <vector>

struct ConvertResult
{
    HRESULT hr = S_OK;
    std::vector<BYTE> input;
    std::vector<BYTE> output;
    std::vector<std::string> asserts;
};

/// What Img_Convert has to leave in both buffers.
ConvertResult ReferenceConvert(std::vector<BYTE> input, std::vector<BYTE> output, const PicProps& picInput,
                               const PicProps& picOutput, const RECT* prcInput, const RECT* prcOutput,
                               bool bMirrorToBuffer, bool bTemp);

using Pixel = std::array<int, 3>; ///< B, G, R

/// Y of one pixel.
int ReferenceY(const Pixel& px);

/// U and V of the sum of pixels: 'Y' as from RGB to YUY2, 'U' as from 32 bits to UYVY, 'P' as to planar.
std::array<int, 2> ReferenceChroma(const std::vector<Pixel>& pixels, char chPath);

/// RGB by constant set 'A', 'B' or 'C'.
Pixel ReferenceRgb(int y, int u, int v, char chSet);
