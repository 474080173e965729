#pragma once
/// What a copy between two pictures of one format has to yield, worked out pixel by pixel.

#include "Common/Common.h"

#include <vector>

struct CopyResult
{
    HRESULT hr;
    std::vector<BYTE> bytes; ///< the output buffer afterwards
};

/// Needs usable descriptors of one format and buffers of GetPicSize bytes.
CopyResult ReferenceCopy(const std::vector<BYTE>& input, const std::vector<BYTE>& output,
                         const PicProps& picInput, const PicProps& picOutput, const RECT* prcInput,
                         const RECT* prcOutput);
