#pragma once
/// "qxstill grab": shows a picture through the filter in a graph and writes the frames that come out.

#include <string>

struct GrabOptions
{
    std::string picture;       ///< what the filter is to show: a file, or any other name that it knows; UTF-8
    std::string out;           ///< the folder for the frames, UTF-8; made if missing
    long frames = 1;           ///< how many
    std::string format;        ///< pixel format to ask for; empty: the picture's
    std::string size;          ///< "WIDTHxHEIGHT" to ask for; empty: the picture's
    double rate = 0;           ///< frames a second to ask for; 0: the filter's own
    std::string sink = "auto"; ///< "auto", "platform" or "own"
    double timeout = 20;       ///< seconds without a frame after which to give up
};

/// Throws Failure.
void RunGrab(const GrabOptions& options);
