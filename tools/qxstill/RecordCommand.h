#pragma once
/// "qxstill record": writes frames to an AVI file through the platform's AVI mux.

#include "SourceFilter.h"

struct RecordOptions
{
    SourceOptions source;
    std::string out;     ///< the AVI file, UTF-8; written over
    long frames = 100;   ///< how many; at least 2
    double timeout = 20; ///< seconds without progress after which to give up
};

/// Throws Failure.
void RunRecord(const RecordOptions& options);
