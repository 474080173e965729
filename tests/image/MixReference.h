#pragma once
/// What mixes of two pictures have to yield, worked out byte by byte.

#include "Common/Common.h"

#include <vector>

/// Two usable descriptors of one format and two rectangles, which may be null.
struct MixCall
{
    const PicProps& picInput;
    const PicProps& picOutput;
    const RECT* prcInput;
    const RECT* prcOutput;
};

struct MixResult
{
    HRESULT hr;
    std::vector<BYTE> input; ///< afterwards
    std::vector<BYTE> output;
};

/// Bytes of a sample of the first plane; 0 for the formats that are not mixed.
size_t BytesPerSample(DWORD fccType);

MixResult ReferenceMixAlpha(const MixCall& call, const std::vector<BYTE>& input,
                            const std::vector<BYTE>& alpha, const std::vector<BYTE>& output);

MixResult ReferenceMixPicture(const MixCall& call, const std::vector<BYTE>& input,
                              const std::vector<BYTE>& alpha, const std::vector<BYTE>& output, int nOpacity,
                              bool bMirrorAlpha);

MixResult ReferenceBlend(const MixCall& call, const std::vector<BYTE>& input, const std::vector<BYTE>& output,
                         int nSrcWeight, int nDstWeight);
