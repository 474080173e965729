#pragma once
/// "qxstill grab": shows a picture through the filter in a graph and writes the frames that come out.

#include "SourceFilter.h"

struct GrabOptions
{
    SourceOptions source;
    std::string out;           ///< the folder for the frames, UTF-8; made if missing
    long frames = 1;           ///< how many
    std::string sink = "auto"; ///< "auto", "platform" or "own"
    double timeout = 20;       ///< seconds without a frame after which to give up
};

/// Throws Failure.
void RunGrab(const GrabOptions& options);
