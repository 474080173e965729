#pragma once
/// "qxstill show": a picture in the window of a renderer.

#include "SourceFilter.h"

struct ShowOptions
{
    SourceOptions source;
    std::string renderer = "video"; ///< a name of VideoRenderers
    double seconds = 5;             ///< how long; 0: until the window is closed
    std::string window;             ///< "WIDTHxHEIGHT" of the picture's area; empty: the frame's size
    std::string position;           ///< "X,Y" of the window's upper left corner; empty: the platform's choice
    bool borderless = false;        ///< no frame and no title
    double then = 0; ///< the frame rate to change to halfway, while the graph is stopped; 0: none
};

/// Throws Failure.
void RunShow(const ShowOptions& options);
