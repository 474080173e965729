#pragma once
/// "qxstill time": how fast the filter delivers frames.

#include "SourceFilter.h"

struct TimeOptions
{
    SourceOptions source;
    long frames = 1000;
    std::string sink = "auto"; ///< "auto", "platform" or "own"
    double timeout = 20;       ///< seconds without a frame after which to give up
};

/// Throws Failure.
void RunTime(const TimeOptions& options);
