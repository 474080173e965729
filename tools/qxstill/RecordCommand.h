#pragma once
/// "qxstill record": writes frames to an AVI file through the platform's AVI mux.

#include "SourceFilter.h"
#include "StreamFile.h"

struct RecordOptions
{
    SourceOptions source;
    std::string out;     ///< the AVI file, UTF-8
    bool force = false;  ///< an existing file is written over, unless it is one of the pictures
    long frames = 100;   ///< how many; at least 2
    double timeout = 20; ///< seconds without progress after which to give up
};

/// Throws Failure, and leaves no file then; but an interruption leaves one with the frames up to it.
void RunRecord(const RecordOptions& options);

/// The same with a filter that is given, in an apartment that there is.
/// @param interrupted an event that ends the recording early
/// @param write writes the file's bytes
void Record(IBaseFilter* source, const RecordOptions& options, HANDLE interrupted,
            const WriteBytes& write = WriteToFile);
